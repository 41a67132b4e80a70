// The vertical colour gradient behind the letter bar's cells and the popup's caption strip.
#pragma once
#include <windows.h>

// Fills `rect` row by row from `top` at its first row to `bottom` at its last, each channel
// interpolated linearly and rounded.
void FillVerticalGradient(HDC dc, const RECT& rect, COLORREF top, COLORREF bottom);
