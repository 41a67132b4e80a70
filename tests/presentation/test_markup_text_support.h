// Shared by the markup text tests: a memory canvas to draw on and read back, the fonts the cache
// must make (built here from the style rules, not taken from the cache), the platform's own widths of
// runs in those fonts, and the lines a text must break into, found from those widths.
#pragma once
#include <windows.h>
#include <stdint.h>
#include <string>
#include <vector>
#include "presentation/MarkupText.h"

namespace markuptest {

// The base font of the tests: a sans-serif face at `height`, drawn without smoothing, so that every
// pixel of a glyph has the text's colour.
LOGFONTW BaseRecord(LONG height = -13);
// The record of the font that stands for `style` over `base`.
LOGFONTW ExpectedRecord(const LOGFONTW& base, uint16_t style);
// LOGPIXELSY of the screen.
int ScreenDpiY();

// A cache with BaseRecord() as its base.
struct TestCache : MarkupFontCache {
  explicit TestCache(LONG height = -13);
};

// A 32-bit top-down bitmap in a memory context, white at first.
class Canvas {
 public:
  Canvas(int width, int height);
  ~Canvas();
  HDC dc() const { return context; }
  int Width() const { return width; }
  int Height() const { return height; }
  void Fill(COLORREF color);
  // CLR_INVALID outside the canvas.
  COLORREF Pixel(int x, int y) const;
  // Pixels of `color` within `area` and the canvas (all of the canvas when null).
  int Count(COLORREF color, const RECT* area = nullptr) const;
  // Pixels that are not `color` outside `area`.
  int CountOutside(COLORREF color, const RECT& area) const;
  // The smallest rectangle holding every pixel that is not `background`; empty when there is none.
  RECT Ink(COLORREF background = RGB(255, 255, 255)) const;
  bool SameAs(const Canvas& other) const;
  // The first differing pixels and how many differ; empty when the canvases are the same.
  std::string Difference(const Canvas& other) const;
  std::vector<uint32_t> Bits() const;

 private:
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;
  HDC context;
  HBITMAP bitmap;
  HGDIOBJ old;
  uint32_t* bits;
  int width;
  int height;
};

// A font made from a record, selected into a context for the life of the object.
class SelectedFont {
 public:
  SelectedFont(HDC dc, const LOGFONTW& record);
  ~SelectedFont();

 private:
  HDC dc;
  HFONT font;
  HGDIOBJ old;
};

// GetTextExtentPoint32W of `text` in a font made from `record`.
SIZE GdiExtent(HDC dc, const LOGFONTW& record, const std::wstring& text);

std::wstring Plain(const MarkupText& text);

// The platform's width of characters [first, first + count) of a parsed text, measured as runs of one
// style each, in fonts made from ExpectedRecord; line ends and the characters in `skip` left out.
int GdiWidth(HDC dc, const LOGFONTW& base, const MarkupText& text, int first, int count,
             const std::vector<int>& skip = {});
// The tallest extent of the text's styles.
int GdiLineHeight(HDC dc, const LOGFONTW& base, const MarkupText& text);

struct Line {
  int first;
  int count;
  int width;
  int skip;  // the blank at the wrap point, or -1
  bool operator==(const Line& other) const {
    return first == other.first && count == other.count && width == other.width && skip == other.skip;
  }
};
std::string Describe(const std::vector<Line>& lines, const MarkupText& text);

// The engine's lines (BreakLines after Measure on `dc`).
std::vector<Line> EngineLines(HDC dc, MarkupText& text, int width, UINT flags);
// The lines the text must have at `width`: each line takes characters while the platform's width of
// the line so far fits (its first one always); at the first that doesn't, the line ends behind the
// last blank after its first character when wrapping at blanks, otherwise before that character.
// Line ends (CR LF and LF CR as one) close a line, and a rule stands on a line of its own.
std::vector<Line> ReferenceLines(HDC dc, const LOGFONTW& base, const MarkupText& text, int width,
                                 bool wordBreak);

}  // namespace markuptest
