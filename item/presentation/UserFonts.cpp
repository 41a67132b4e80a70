#include "presentation/UserFonts.h"
#include <wchar.h>
#include "foundation/Handles.h"
#include "foundation/Settings.h"
#include "presentation/Skin.h"

namespace {

enum FontFlags { kFlagBold = 1, kFlagItalic = 2, kFlagUnderline = 4, kFlagStrikeOut = 8 };

// One user font: the record it was made from, and its plain and bold forms.
struct UserFont {
  LOGFONTW record;
  GdiObject<HFONT> plain;
  GdiObject<HFONT> bold;
};

struct FontSet {
  UserFont list;
  UserFont view;
  // Indexed by bold + 2 * smaller.
  GdiObject<HFONT> standard[4];
  GdiObject<HBRUSH> listBackground;
};

FontSet g_fonts;

const COLORREF kListBackground = 0x00F7D3B5;

void StockFont(LOGFONTW& font) {
  ZeroMemory(&font, sizeof font);
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof font, &font);
  // The stock font's cell width belongs to its own height; a font of another height takes the width
  // that its face gives it.
  font.lfWidth = 0;
}

void LoadUserFont(const wchar_t* subkey, LOGFONTW& font) {
  StockFont(font);
  GetSettingBuffer(subkey, L"Name", font.lfFaceName, LF_FACESIZE, L"Tahoma");
  font.lfHeight =
      static_cast<LONG>(GetSettingDword(subkey, L"Height", static_cast<DWORD>(DefaultFontHeight())));
  DWORD flags = GetSettingDword(subkey, L"Flags", 0);
  font.lfWeight = (flags & kFlagBold) ? FW_BOLD : FW_NORMAL;
  font.lfItalic = (flags & kFlagItalic) ? 1 : 0;
  font.lfUnderline = (flags & kFlagUnderline) ? 1 : 0;
  font.lfStrikeOut = (flags & kFlagStrikeOut) ? 1 : 0;
  font.lfCharSet = DEFAULT_CHARSET;
}

bool SaveUserFont(const wchar_t* subkey, const LOGFONTW& font) {
  DWORD flags = 0;
  if (font.lfWeight == FW_BOLD) flags |= kFlagBold;
  if (font.lfItalic) flags |= kFlagItalic;
  if (font.lfUnderline) flags |= kFlagUnderline;
  if (font.lfStrikeOut) flags |= kFlagStrikeOut;
  bool written = SetSettingString(subkey, L"Name", font.lfFaceName, FALSE) != FALSE;
  written = SetSettingDword(subkey, L"Height", static_cast<DWORD>(font.lfHeight), FALSE) != FALSE && written;
  written = SetSettingDword(subkey, L"Flags", flags, TRUE) != FALSE && written;
  return written;
}

bool ApplyUserFont(UserFont& target, const LOGFONTW& font) {
  target.plain.Reset();
  target.bold.Reset();
  target.record = font;
  LOGFONTW bold = font;
  bold.lfWeight = FW_BOLD;
  target.plain.Reset(CreateFontIndirectW(&font));
  target.bold.Reset(CreateFontIndirectW(&bold));
  return !target.plain.IsEmpty() && !target.bold.IsEmpty();
}

// One pixel less in magnitude, keeping the sign and never passing 0.
LONG OnePixelLess(LONG height) {
  if (height > 0) return height - 1;
  if (height < 0) return height + 1;
  return 0;
}

}  // namespace

LONG DefaultFontHeight() { return -static_cast<LONG>(Skin::dpiY * 8 / 72.0 + 0.5); }

void GetBaseFontTemplate(LOGFONTW& font) {
  StockFont(font);
  font.lfHeight = DefaultFontHeight();
  wcscpy(font.lfFaceName, L"Tahoma");
}

void LoadListFont(LOGFONTW& font) { LoadUserFont(SECTION_LIST_FONT, font); }
void LoadViewFont(LOGFONTW& font) { LoadUserFont(SECTION_VIEW_FONT, font); }
bool SaveListFont(const LOGFONTW& font) { return SaveUserFont(SECTION_LIST_FONT, font); }
bool SaveViewFont(const LOGFONTW& font) { return SaveUserFont(SECTION_VIEW_FONT, font); }
bool ApplyListFont(const LOGFONTW& font) { return ApplyUserFont(g_fonts.list, font); }
bool ApplyViewFont(const LOGFONTW& font) { return ApplyUserFont(g_fonts.view, font); }

void CreateAllFonts() {
  LOGFONTW font;
  LoadListFont(font);
  ApplyListFont(font);
  LoadViewFont(font);
  ApplyViewFont(font);

  LOGFONTW base;
  GetBaseFontTemplate(base);
  for (int smaller = 0; smaller < 2; ++smaller) {
    for (int bold = 0; bold < 2; ++bold) {
      LOGFONTW standard = base;
      if (smaller) standard.lfHeight = OnePixelLess(base.lfHeight);
      if (bold) standard.lfWeight = FW_BOLD;
      g_fonts.standard[bold + 2 * smaller].Reset(CreateFontIndirectW(&standard));
    }
  }
  g_fonts.listBackground.Reset(CreateSolidBrush(kListBackground));
}

void DeleteAllFonts() {
  g_fonts.list.plain.Reset();
  g_fonts.list.bold.Reset();
  g_fonts.view.plain.Reset();
  g_fonts.view.bold.Reset();
  for (GdiObject<HFONT>& standard : g_fonts.standard) standard.Reset();
  g_fonts.listBackground.Reset();
}

HFONT GetListFont(bool bold) { return bold ? g_fonts.list.bold.Get() : g_fonts.list.plain.Get(); }
HFONT GetViewFont(bool bold) { return bold ? g_fonts.view.bold.Get() : g_fonts.view.plain.Get(); }
const LOGFONTW& GetListFontRecord() { return g_fonts.list.record; }
const LOGFONTW& GetViewFontRecord() { return g_fonts.view.record; }
HFONT GetStandardFont(bool bold, bool smaller) {
  return g_fonts.standard[(bold ? 1 : 0) + (smaller ? 2 : 0)].Get();
}
HBRUSH GetListBackgroundBrush() { return g_fonts.listBackground.Get(); }

HFONT CreatePointFont(HWND window, const wchar_t* face, int points, int weight) {
  WindowDC dc(window);
  LOGFONTW font;
  ZeroMemory(&font, sizeof font);
  font.lfHeight = points * GetDeviceCaps(dc.Get(), LOGPIXELSY) / -72;
  font.lfWeight = weight;
  font.lfCharSet = 255;
  wcsncpy(font.lfFaceName, face, LF_FACESIZE - 1);
  return CreateFontIndirectW(&font);
}
