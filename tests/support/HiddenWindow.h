// A hidden window of this process that only receives messages: a small popup of `windowClass`, which
// is registered with `procedure` at its first use.
#pragma once
#include <windows.h>

HWND MakeHiddenWindow(const wchar_t* windowClass, WNDPROC procedure, const wchar_t* title);
