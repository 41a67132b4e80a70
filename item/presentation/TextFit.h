// Texts cut to a width in pixels, ending in "..." when something was cut.
#pragma once
#include <windows.h>
#include "foundation/Str.h"

// `text` when it fits `width` in the font selected into `dc`; otherwise its longest beginning that
// leaves room for "...", with "..." added; an empty text when "..." alone is wider than `width`.
Str FitText(HDC dc, const wchar_t* text, int width);

// Cuts the text in a fixed buffer until it fits `width`: each step drops the last character and
// writes dots over the end, the last two characters becoming ".." and the one before them "."; with a
// single character left only the cut is made. True when the text was changed.
bool ShortenInPlace(wchar_t* buffer, int width, HDC dc);
