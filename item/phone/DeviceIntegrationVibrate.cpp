// The vibrator: on a phone it is one of the notification components of coredll.dll, the first one that
// can't blink. It is looked for once, at the first vibration.
#include <nled.h>

#include "phone/DeviceIntegration.h"

namespace {

const int kNoVibrator = -1;
const int kDefaultVibrator = 1;

bool g_lookedUp = false;
int g_vibrator = kDefaultVibrator;
PFN_NLedSetDevice g_setDevice = nullptr;

// The system library stays loaded for the life of the process, as it does anyway on the device.
HMODULE SystemLibrary() { return LoadLibraryW(L"coredll.dll"); }

BOOL Switch(int led, INT state) {
  NLED_SETTINGS_INFO settings = {};
  settings.LedNum = static_cast<UINT>(led);
  settings.OffOnBlink = state;
  return g_setDevice(NLED_SETTINGS_INFO_ID, &settings);
}

}  // namespace

int FindVibrator() {
  HMODULE system = SystemLibrary();
  if (!system) return kNoVibrator;
  if (!GetProcAddress(system, "NLedSetDevice")) return kNoVibrator;
  PFN_NLedGetDeviceInfo getInfo = reinterpret_cast<PFN_NLedGetDeviceInfo>(
      reinterpret_cast<void*>(GetProcAddress(system, "NLedGetDeviceInfo")));
  if (!getInfo) return kDefaultVibrator;
  NLED_COUNT_INFO count = {};
  if (!getInfo(NLED_COUNT_INFO_ID, &count)) return kDefaultVibrator;
  for (UINT led = 0; led < count.cLeds; ++led) {
    NLED_SUPPORTS_INFO supports = {};
    supports.LedNum = led;
    if (getInfo(NLED_SUPPORTS_INFO_ID, &supports) && supports.lCycleAdjust == -1)
      return static_cast<int>(led);
  }
  return kDefaultVibrator;
}

BOOL Vibrate(DWORD ms) {
  if (!g_lookedUp) {
    g_lookedUp = true;
    g_vibrator = FindVibrator();
    HMODULE system = SystemLibrary();
    if (system)
      g_setDevice = reinterpret_cast<PFN_NLedSetDevice>(
          reinterpret_cast<void*>(GetProcAddress(system, "NLedSetDevice")));
    if (!g_setDevice) g_vibrator = kNoVibrator;
  }
  if (g_vibrator == kNoVibrator) return FALSE;
  if (!Switch(g_vibrator, NLED_ON)) return FALSE;
  Sleep(ms);
  return Switch(g_vibrator, NLED_OFF);
}
