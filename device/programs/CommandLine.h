// What a program of the stand-in device was started with: its command line as the caller gave it.
#pragma once
#include <windows.h>

// The arguments of this process: the command line without the program's own name when the caller put
// it first (as desktop callers do), else the whole line (as the device's callers do).
const wchar_t* ProgramArguments(const wchar_t* programName);
