/*
 * Notification LEDs and the vibrator (nled.h): coredll.dll's NLedGetDeviceInfo and NLedSetDevice.
 *
 * Plain C declarations with the platform's names, numbers and record layouts. A component whose
 * lCycleAdjust is -1 can't blink: on a phone that is the vibrator.
 */
#ifndef NLED_H
#define NLED_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Info ids of NLedGetDeviceInfo; NLED_SETTINGS_INFO_ID is also the one of NLedSetDevice. */
#define NLED_COUNT_INFO_ID 0
#define NLED_SUPPORTS_INFO_ID 1
#define NLED_SETTINGS_INFO_ID 2

/* NLED_SETTINGS_INFO.OffOnBlink */
#define NLED_OFF 0
#define NLED_ON 1
#define NLED_BLINK 2

struct NLED_COUNT_INFO {
  UINT cLeds;
};

struct NLED_SUPPORTS_INFO {
  UINT LedNum;       /* filled in by the caller; the first component is 0 */
  LONG lCycleAdjust; /* blink granularity in microseconds; -1: no blinking (a vibrator) */
  BOOL fAdjustTotalCycleTime;
  BOOL fAdjustOnTime;
  BOOL fAdjustOffTime;
  BOOL fMetaCycleOn;
  BOOL fMetaCycleOff;
};

struct NLED_SETTINGS_INFO {
  UINT LedNum;
  INT OffOnBlink; /* NLED_OFF, NLED_ON or NLED_BLINK */
  LONG TotalCycleTime;
  LONG OnTime;
  LONG OffTime;
  INT MetaCycleOn;
  INT MetaCycleOff;
};

BOOL NLedGetDeviceInfo(UINT nInfoId, void* pOutput);
BOOL NLedSetDevice(UINT nDeviceId, void* pInput);

typedef BOOL (*PFN_NLedGetDeviceInfo)(UINT nInfoId, void* pOutput);
typedef BOOL (*PFN_NLedSetDevice)(UINT nDeviceId, void* pInput);

#ifdef __cplusplus
}
#endif

#endif /* NLED_H */
