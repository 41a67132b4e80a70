// The tool's last word on a crash: an access violation, a failure stop of the item's code or any
// other exception nobody handled is reported on standard error and ends the tool with status 1, so
// that a crash can never look like success to a script.
#pragma once

// Installs the guard for the whole process.
void InstallCrashGuard();

// For the tests of the guard: makes the failure named by `kind` happen ("fault", "stop", "throw");
// false for an unknown kind.
bool CauseFailure(const wchar_t* kind);
