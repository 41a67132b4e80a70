#include "presentation/MarkupFontCache.h"
#include <wchar.h>
#include "foundation/Handles.h"
#include "presentation/MarkupStyle.h"
#include "presentation/Skin.h"

namespace {

const int kFirstCapacity = 30;

// The screen context the fonts are sized and inspected on: the skin's, or one of our own for the
// length of a call when no skin has been made.
class ScreenContext {
 public:
  ScreenContext() : dc(Skin::Get() ? Skin::Get()->GetScreenDC() : nullptr) {
    if (!dc) {
      own.Take(nullptr);
      dc = own.Get();
    }
  }
  HDC Get() const { return dc; }

 private:
  WindowDC own;
  HDC dc;
};

bool SameFace(const LOGFONTW& a, const LOGFONTW& b) {
  return wcsncmp(a.lfFaceName, b.lfFaceName, LF_FACESIZE) == 0;
}

}  // namespace

MarkupFontCache::MarkupFontCache() : count(0), capacity(kFirstCapacity), baseHeight(0) {
  keys.SetSize(capacity);
  fonts.SetSize(capacity);
  overhangs.SetSize(capacity);
  ZeroMemory(&logFont, sizeof logFont);
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof logFont, &logFont);
  // The stock font's cell width belongs to its own height; fonts of other sizes take the width their
  // face gives them.
  logFont.lfWidth = 0;
  baseHeight = logFont.lfHeight;
}

MarkupFontCache::~MarkupFontCache() {
  Clear();
  overhangs.RemoveAll();
  fonts.RemoveAll();
  keys.RemoveAll();
}

void MarkupFontCache::SetBaseFont(HFONT font) {
  LOGFONTW record;
  ZeroMemory(&record, sizeof record);
  if (!font || GetObjectW(font, sizeof record, &record) == 0) return;
  SetBaseLogFont(record);
}

void MarkupFontCache::SetBaseLogFont(const LOGFONTW& font) {
  if (font.lfHeight == logFont.lfHeight && font.lfPitchAndFamily == logFont.lfPitchAndFamily &&
      font.lfCharSet == logFont.lfCharSet && SameFace(font, logFont))
    return;
  logFont.lfHeight = font.lfHeight;
  logFont.lfPitchAndFamily = font.lfPitchAndFamily;
  logFont.lfCharSet = font.lfCharSet;
  wmemcpy(logFont.lfFaceName, font.lfFaceName, LF_FACESIZE);
  logFont.lfFaceName[LF_FACESIZE - 1] = 0;
  logFont.lfWidth = font.lfWidth;
  logFont.lfEscapement = font.lfEscapement;
  logFont.lfOrientation = font.lfOrientation;
  logFont.lfOutPrecision = font.lfOutPrecision;
  logFont.lfClipPrecision = font.lfClipPrecision;
  logFont.lfQuality = font.lfQuality;
  baseHeight = font.lfHeight;
  // Each font is made anew at its own index, so that the indexes held by parsed texts stay right.
  HFONT* table = fonts.GetData();
  for (int i = 0; i < count; ++i) {
    if (table[i]) DeleteObject(table[i]);
    table[i] = MakeFont(keys.GetData()[i], overhangs.GetData()[i]);
  }
}

int MarkupFontCache::FindFont(uint16_t style) const {
  uint16_t key = static_cast<uint16_t>(style & kFontKeyMask);
  const uint16_t* table = keys.GetData();
  for (int i = 0; i < count; ++i) {
    if (table[i] == key) return i;
  }
  return -1;
}

int MarkupFontCache::GetFontIndex(uint16_t style) {
  int found = FindFont(style);
  if (found >= 0) return found;
  if (count == capacity) {
    capacity *= 2;
    keys.SetSize(capacity);
    fonts.SetSize(capacity);
    overhangs.SetSize(capacity);
  }
  uint16_t key = static_cast<uint16_t>(style & kFontKeyMask);
  int index = count++;
  keys.GetData()[index] = key;
  fonts.GetData()[index] = MakeFont(key, overhangs.GetData()[index]);
  return index;
}

HFONT MarkupFontCache::GetFont(int index, int* overhang) const {
  bool known = index >= 0 && index < count;
  if (overhang) *overhang = known ? overhangs.GetData()[index] : 0;
  return known ? fonts.GetData()[index] : nullptr;
}

void MarkupFontCache::Clear() {
  HFONT* table = fonts.GetData();
  for (int i = 0; i < count; ++i) {
    if (table[i]) DeleteObject(table[i]);
    table[i] = nullptr;
  }
  count = 0;
}

HFONT MarkupFontCache::MakeFont(uint16_t key, int32_t& overhang) const {
  ScreenContext screen;
  LOGFONTW record = logFont;
  record.lfWeight = (key & kMarkupBold) ? FW_BOLD : FW_NORMAL;
  record.lfItalic = (key & kMarkupItalic) ? 1 : 0;
  record.lfUnderline = (key & kMarkupUnderline) ? 1 : 0;
  record.lfStrikeOut = (key & kMarkupStrikeOut) ? 1 : 0;
  int points = MarkupPointSize(key);
  // Truncated towards zero, negative for a character height.
  record.lfHeight = points ? points * GetDeviceCaps(screen.Get(), LOGPIXELSY) / -72 : baseHeight;
  HFONT font = CreateFontIndirectW(&record);
  overhang = 0;
  if (font && screen.Get()) {
    HGDIOBJ old = SelectObject(screen.Get(), font);
    TEXTMETRICW metrics;
    if (GetTextMetricsW(screen.Get(), &metrics)) overhang = metrics.tmOverhang;
    SelectObject(screen.Get(), old);
  }
  return font;
}
