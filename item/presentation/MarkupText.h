// Rich text for the painted windows: a wide string with a small tag language, parsed once into plain
// characters with an attribute each, measured once per character, and then wrapped and drawn with
// flags like those of DrawTextW. The platform's text drawing can't mix styles and colours in one
// paragraph; this can.
//
// Tags: <B> <I> <U> <S> (and lower case) switch bold, italic, underline and strike-out on, </B> </I>
// </U> </S> off; <L> is a horizontal rule on a line of its own; <#rrggbb> sets the colour and </#>
// sets black; <Pnn> sets a size in points and </P> goes back to the base size. Anything that is not
// exactly one of these forms is ordinary text, and tags are not paired: each one sets or clears bits.
#pragma once
#include <windows.h>
#include <stdint.h>
#include "foundation/Array.h"
#include "foundation/Str.h"
#include "presentation/MarkupFontCache.h"
#include "presentation/MarkupStyle.h"

// Flags of Draw beside the platform's DT_ values: a line too wide for the rectangle ends in "...".
const UINT kMarkupEndEllipsis = 0x0040;
// What the painted windows pass to measure a text: DT_CALCRECT, DT_WORDBREAK and 0x800.
const UINT kMarkupMeasureFlags = 0x0C10;
// With DT_WORDBREAK: a word too wide for its line (a mail address, a web address, a path) breaks after
// the last "@", ".", "/", "\\", "-" or "_" that fits on the line, and only without one at a character.
const UINT kMarkupAddressBreak = 0x10000;

// The lines of a text at one width: the character count and drawn width of each line, and the
// blanks at wrap points, which are not drawn.
struct MarkupLines {
  Array<int32_t> charCount;
  Array<int32_t> width;
  Array<int32_t> skipChars;

  int GetCount() const { return charCount.GetSize(); }
  int Widest() const;
};

class MarkupText {
 public:
  MarkupText();
  MarkupText(const MarkupText& other);
  MarkupText& operator=(const MarkupText& other);
  virtual ~MarkupText();

  // The cache that the text's fonts come from; to be set before Parse. Not owned.
  void SetFontCache(MarkupFontCache* cache) { fontCache = cache; }
  MarkupFontCache* GetFontCache() const { return fontCache; }

  // Replaces the content by the tagged `source`; a null or empty source leaves the text empty.
  void Parse(const wchar_t* source);
  void Parse(const wchar_t* source, int sourceLength);
  void Parse(const Str& source) { Parse(source, source.GetLength()); }
  void Clear();
  bool IsEmpty() const { return length == 0; }
  int GetLength() const { return static_cast<int>(length); }
  // The text without its tags, zero-terminated; null when empty.
  const wchar_t* GetPlainText() const { return text.GetData(); }
  // One attribute per character of the plain text; null when empty.
  const MarkupCharAttr* GetAttrs() const { return attrs.GetData(); }

  // Forgets the measures: for after a change of the cache's fonts.
  void Invalidate() { measured = 0; }
  bool IsMeasured() const { return measured != 0; }
  // Measures every character in its font on `dc`, unless that was done already.
  void Measure(HDC dc);
  // After Measure: the advance of a character in pixels, and the height of every line of the text.
  int GetAdvance(int index) const;
  int GetLineHeight() const { return lineHeight; }
  // After Measure: the lines at `rectWidth` under the DT_WORDBREAK and DT_SINGLELINE bits of `flags`.
  void BreakLines(int rectWidth, UINT flags, MarkupLines& lines) const;
  // How far the ink of any character reaches past its advance, in its own font (the slant of an
  // italic letter): what a line may stick out beyond its measured width. 0 for an empty text.
  int InkOverhang(HDC dc) const;

  // Draws into `rect`, or with DT_CALCRECT only gives `rect` the size of the text. Gives the height
  // drawn, lines times the line height; 0 for an empty text or, without DT_CALCRECT, an empty rect.
  int Draw(HDC dc, RECT* rect, UINT flags);
  // Draws all of it in `color`, whatever colours its tags give: a selected row.
  int DrawColored(HDC dc, RECT* rect, UINT flags, COLORREF color);

 private:
  void DrawLines(HDC dc, const RECT& rect, UINT flags, const MarkupLines& lines);

  uint32_t length;
  Array<wchar_t> text;
  Array<MarkupCharAttr> attrs;
  Array<int32_t> widths;
  uint32_t measured;
  MarkupFontCache* fontCache;
  int32_t lineHeight;
  uint32_t colorOverride;
};
