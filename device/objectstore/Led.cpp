// The device's notification components behind NLedGetDeviceInfo and NLedSetDevice: two LEDs that
// blink and, as the last component, the vibrator, which can't blink (its cycle adjust is -1). The
// stand-in has no hardware: every change of a component is written to the device journal.
#include <windows.h>

#include <DeviceJournal.h>
#include <nled.h>

namespace {

constexpr wchar_t kSource[] = L"nled";

struct Component {
  const wchar_t* name;
  LONG cycleAdjust;
  BOOL blinks;
};

const Component kComponents[] = {
    {L"notification LED", 62500, TRUE},
    {L"radio LED", 62500, TRUE},
    {L"vibrator", -1, FALSE},
};
constexpr UINT kCount = sizeof kComponents / sizeof kComponents[0];

// What each component was last set to, in this process.
NLED_SETTINGS_INFO g_settings[kCount];

const wchar_t* StateName(INT state) {
  switch (state) {
    case NLED_OFF:
      return L"off";
    case NLED_ON:
      return L"on";
    default:
      return L"blink";
  }
}

}  // namespace

extern "C" BOOL NLedGetDeviceInfo(UINT nInfoId, void* pOutput) {
  if (!pOutput) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  switch (nInfoId) {
    case NLED_COUNT_INFO_ID:
      static_cast<NLED_COUNT_INFO*>(pOutput)->cLeds = kCount;
      return TRUE;
    case NLED_SUPPORTS_INFO_ID: {
      NLED_SUPPORTS_INFO* info = static_cast<NLED_SUPPORTS_INFO*>(pOutput);
      if (info->LedNum >= kCount) break;
      const Component& component = kComponents[info->LedNum];
      info->lCycleAdjust = component.cycleAdjust;
      info->fAdjustTotalCycleTime = component.blinks;
      info->fAdjustOnTime = component.blinks;
      info->fAdjustOffTime = component.blinks;
      info->fMetaCycleOn = FALSE;
      info->fMetaCycleOff = FALSE;
      return TRUE;
    }
    case NLED_SETTINGS_INFO_ID: {
      NLED_SETTINGS_INFO* info = static_cast<NLED_SETTINGS_INFO*>(pOutput);
      if (info->LedNum >= kCount) break;
      UINT number = info->LedNum;
      *info = g_settings[number];
      info->LedNum = number;
      return TRUE;
    }
    default:
      break;
  }
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}

extern "C" BOOL NLedSetDevice(UINT nDeviceId, void* pInput) {
  const NLED_SETTINGS_INFO* info = static_cast<const NLED_SETTINGS_INFO*>(pInput);
  if (nDeviceId != NLED_SETTINGS_INFO_ID || !info || info->LedNum >= kCount || info->OffOnBlink < NLED_OFF ||
      info->OffOnBlink > NLED_BLINK ||
      (info->OffOnBlink == NLED_BLINK && !kComponents[info->LedNum].blinks)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  g_settings[info->LedNum] = *info;
  DeviceJournalWrite(kSource, L"NLedSetDevice %u (%ls) %ls", info->LedNum, kComponents[info->LedNum].name,
                     StateName(info->OffOnBlink));
  return TRUE;
}
