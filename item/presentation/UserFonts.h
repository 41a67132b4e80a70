// Fonts shared by the painted windows: the user's two chosen fonts (the list's and the contact
// page's, kept in the settings subkeys ListFont and ViewFont), each in a plain and a bold form, the
// four standard "Tahoma" fonts, and the brush of the list's background. They live from
// CreateAllFonts to DeleteAllFonts; a window draws with them and never deletes them.
#pragma once
#include <windows.h>

// The height of an 8-point font at the logical resolution: -(dpiY * 8 / 72 + 0.5), truncated.
LONG DefaultFontHeight();

// The 8-point "Tahoma" that the standard fonts are made from: the system's stock font (stock object
// 13) with that height and face.
void GetBaseFontTemplate(LOGFONTW& font);

// The stock font with Name, Height and Flags of the subkey: bit 0 bold (weight 700, else 400),
// bit 1 italic, bit 2 underline, bit 3 strike-out; character set DEFAULT_CHARSET.
void LoadListFont(LOGFONTW& font);
void LoadViewFont(LOGFONTW& font);
// Writes Name, Height and Flags back. True when all three were written.
bool SaveListFont(const LOGFONTW& font);
bool SaveViewFont(const LOGFONTW& font);
// Replaces the two fonts made from the record: one as given, one with weight 700. The record is
// kept. True when both were made.
bool ApplyListFont(const LOGFONTW& font);
bool ApplyViewFont(const LOGFONTW& font);

// Loads and applies the list and view fonts, makes the four standard fonts and the list's background
// brush (0x00F7D3B5). Everything made before is replaced.
void CreateAllFonts();
void DeleteAllFonts();

// The fonts and brush made above; null before CreateAllFonts and after DeleteAllFonts.
HFONT GetListFont(bool bold);
HFONT GetViewFont(bool bold);
const LOGFONTW& GetListFontRecord();
const LOGFONTW& GetViewFontRecord();
// The 8-point "Tahoma", plain or bold, at its height or (`smaller`) one pixel less.
HFONT GetStandardFont(bool bold, bool smaller);
HBRUSH GetListBackgroundBrush();

// A font of `points` on the context of `window` (null: the screen): lfHeight = points * LOGPIXELSY
// / -72, the weight, character set 255, every other field 0. The caller deletes it.
HFONT CreatePointFont(HWND window, const wchar_t* face, int points, int weight);
