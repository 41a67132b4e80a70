// Registry reads and writes of the device bridges, on keys the platform owns.
#pragma once
#include <windows.h>
#include "foundation/Str.h"

namespace deviceregistry {

// The text of a REG_SZ value read with room for `maxBytes`, or empty when it can't be read.
Str ReadText(HKEY key, const wchar_t* value, DWORD maxBytes);
// True when the value was written as REG_SZ.
BOOL WriteText(HKEY key, const wchar_t* value, const wchar_t* text);
// A DWORD value of HKEY_CURRENT_USER\path, or 0 when it can't be read.
DWORD ReadCounter(const wchar_t* path, const wchar_t* value);

}  // namespace deviceregistry
