// skin.txt: the optional 8-bit text file beside the main program whose lines "key = value" change
// the colours of the skin. Keys are found by plain search of the file's bytes, block by block.
#pragma once
#include <windows.h>
#include "foundation/Str.h"

// The folder of ProgramPath (the setting cut before its last backslash, or all of it without one),
// a backslash, and "skin.txt".
Str GetSkinFilePath();

// Looks for `key` (ASCII) in the skin file and gives the text behind it, trimmed. The file is read
// in blocks of 4096 bytes, each searched by itself: a key or value that runs over the end of a block
// is not found there, or is cut at the block's end. False when the file is missing or empty, or no
// block holds the key with something behind it; `value` is empty then.
bool FindSkinValue(const wchar_t* key, Str& value);

// The value of `key` as text; as a colour written RRGGBB (hexadecimal, turned into the platform's
// 0x00BBGGRR); as a decimal number. True when the key was found; the conversions check nothing and
// give what the number parser makes of the text.
bool GetSkinString(const wchar_t* key, Str& value);
bool GetSkinColor(const wchar_t* key, COLORREF& color);
bool GetSkinInt(const wchar_t* key, int& number);
