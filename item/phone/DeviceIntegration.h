// Small bridges to the device: the default contacts program, the hardware keys, the counters of unread
// messages and missed calls, removal of a shell notification and a short vibration. Each reads or
// writes the platform's registry values or calls a platform export found at run time; only the
// vibrator's index is kept between calls. The home area code lives with the settings
// (GetAreaCode and SetAreaCode of foundation/Settings.h).
#pragma once
#include <windows.h>
#include "foundation/Str.h"

// The counters the phone keeps in the registry; 0 on any failure.
DWORD GetUnreadSmsCount();
DWORD GetMissedCallCount();

// Takes down the shell notification of the class id `clsidText` ("{...}") and `id`. True when the
// shell removed it.
BOOL RemoveNotification(const wchar_t* clsidText, DWORD id);

// Runs the vibrator for `ms` milliseconds; true when it was switched on and off again.
BOOL Vibrate(DWORD ms);
// The vibrator's number among the device's notification components: the first that can't blink, 1
// when none of them is such, -1 when the device has no NLedSetDevice.
int FindVibrator();

// Whether the platform's contacts command is this program.
BOOL IsDefaultContactsApp();
// Makes this program the device's contacts program (flag on), keeping the one before in "1temp", or
// gives the role back to it (flag off).
BOOL SetDefaultContactsApp(BOOL makeDefault);

// The first hardware key (0x40C1 to 0x40C5) whose command or default value holds `text`, any case;
// `keyName` takes its number in hexadecimal.
BOOL FindHardwareKey(const wchar_t* text, Str& keyName);
// Whether some key starts this program, the contacts or the speed dial.
BOOL IsAnyKeyAssigned();
// Whether some key starts this program.
BOOL IsKeyAssigned();
// Gives the contacts key (or else the speed dial key) to this program, keeping what it started before
// (flag on), or gives this program's key back to what it started before (flag off).
BOOL AssignHardwareKey(BOOL assign);
