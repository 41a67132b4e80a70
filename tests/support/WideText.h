// Wide text made readable for doctest's messages and for logs: UTF-8, or plain ASCII.
#pragma once

#include <string>

#include "foundation/Str.h"

// UTF-8 of `length` characters of a wide text (all of it up to its end for -1); "<null>" for none.
std::string U8(const wchar_t* text, int length = -1);
inline std::string U8(const Str& text) { return U8(static_cast<const wchar_t*>(text), text.GetLength()); }
inline std::string U8(const std::wstring& text) { return U8(text.c_str(), static_cast<int>(text.size())); }

// The ASCII characters of a text as they are, '?' for every other; empty for none.
std::string Ascii(const wchar_t* text);
