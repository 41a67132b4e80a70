// The frame of a helper process, the other side of HelperProcess.h. Started as  PROGRAM NAME LOGFILE,
// a helper opens the process's coordinator, makes a hidden window of its class titled NAME, hands the
// window's messages to its own procedure and runs until that procedure posts a quit, or for two
// minutes at the most, so that no helper outlives a test that lost it.
#pragma once
#include <windows.h>

#include <string>

namespace helperwindow {

// Runs the helper and gives its exit code: the quit's code, 2 when the lifetime ran out, 3 for a
// command line without NAME and LOGFILE, 5 when the coordinator can't be opened, 4 when the window
// can't be made. `leaving`, when given, runs after the last message, while the window still stands.
int Run(const wchar_t* windowClass, WNDPROC procedure, void (*leaving)() = nullptr);

// Appends "NAME event" to the shared log.
void Log(const std::string& event);

// Handles what is queued for the helper already; a quit met on the way stays for the message loop.
void Drain();

}  // namespace helperwindow
