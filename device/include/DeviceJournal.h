// The device journal: every action of the stand-in device that would reach the outside world on a
// phone (a call, an SMS, a mail, a page, a sound, a vibration) and every event of the Today host is
// appended here as one line, so that tests can read what the device did.
//
// File: "\windows\device-journal.txt" on the device's drive, UTF-8, one line per event:
//   <milliseconds since boot>\t<source>\t<event text>
#pragma once
#include <windows.h>

#define DEVICE_JOURNAL_PATH L"\\windows\\device-journal.txt"

// Appends one line; printf-style wide format. Safe from several processes at once.
void DeviceJournalWrite(const wchar_t* source, const wchar_t* format, ...);
