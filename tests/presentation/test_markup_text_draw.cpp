// Drawn markup text: pixels on a memory canvas, compared with what the platform draws of the same
// runs in the same fonts, and the colours, lines and clipping the engine promises.
#include <doctest/doctest.h>
#include <windows.h>
#include <algorithm>
#include <string>
#include <vector>
#include "WideText.h"
#include "test_markup_text_support.h"

using namespace markuptest;

namespace {

const COLORREF kWhite = RGB(255, 255, 255);
const COLORREF kBlack = RGB(0, 0, 0);

struct Drawn {
  TestCache cache;
  LOGFONTW base = BaseRecord();
  MarkupText text;
  Canvas canvas;
  Drawn(const wchar_t* source, int width, int height) : canvas(width, height) {
    text.SetFontCache(&cache);
    text.Parse(source);
  }
  HDC dc() const { return canvas.dc(); }
  int Draw(RECT rect, UINT flags) { return text.Draw(canvas.dc(), &rect, flags); }
  int LineHeight() const { return GdiLineHeight(canvas.dc(), base, text); }
};

// Draws what the engine must draw, with the platform's own measures: each run of one style and
// colour in its font, each character at the platform's advance of that character.
void DrawReference(Canvas& target, const LOGFONTW& base, const MarkupText& text, const RECT& rect,
                   UINT flags) {
  HDC dc = target.dc();
  std::vector<Line> lines =
      ReferenceLines(dc, base, text, rect.right - rect.left, (flags & DT_WORDBREAK) != 0);
  int lineHeight = GdiLineHeight(dc, base, text);
  int block = lineHeight * static_cast<int>(lines.size());
  int y = rect.top;
  if (flags & DT_BOTTOM)
    y = rect.bottom - block;
  else if (flags & DT_VCENTER)
    y = rect.top + (rect.bottom - block - rect.top) / 2;
  SetBkMode(dc, TRANSPARENT);
  for (const Line& line : lines) {
    const MarkupCharAttr* attrs = text.GetAttrs();
    if (attrs[line.first].style & 0x10) {
      HPEN pen = CreatePen(PS_SOLID, 1, attrs[line.first].color);
      HGDIOBJ old = SelectObject(dc, pen);
      POINT ends[2] = {{rect.left, y + lineHeight / 2}, {rect.right, y + lineHeight / 2}};
      Polyline(dc, ends, 2);
      SelectObject(dc, old);
      DeleteObject(pen);
      y += lineHeight;
      continue;
    }
    int x = rect.left;
    if (flags & DT_RIGHT)
      x = rect.right - line.width;
    else if (flags & DT_CENTER)
      x = rect.left + (rect.right - line.width - rect.left) / 2;
    std::wstring run;
    MarkupCharAttr runAttr = {};
    auto flush = [&]() {
      if (run.empty()) return;
      LOGFONTW record = ExpectedRecord(base, runAttr.style);
      SelectedFont font(dc, record);
      SetTextColor(dc, runAttr.color);
      RECT clip = rect;
      // Each character at the platform's advance of that character alone.
      std::vector<INT> advances;
      for (wchar_t ch : run) advances.push_back(GdiExtent(dc, record, std::wstring(1, ch)).cx);
      ExtTextOutW(dc, x, y, ETO_CLIPPED, &clip, run.c_str(), static_cast<UINT>(run.size()), advances.data());
      for (INT advance : advances) x += advance;
      run.clear();
    };
    for (int i = line.first; i < line.first + line.count; ++i) {
      wchar_t ch = text.GetPlainText()[i];
      if (i == line.skip || ch == L'\n' || ch == L'\r') continue;
      const MarkupCharAttr& attr = attrs[i];
      if (!run.empty() && ((attr.style & 0xFF0F) != (runAttr.style & 0xFF0F) || attr.color != runAttr.color))
        flush();
      runAttr = attr;
      run += ch;
    }
    flush();
    y += lineHeight;
  }
}

// Every row of `area` that is `color` from its left to its right end.
std::vector<int> FullRows(const Canvas& canvas, COLORREF color, const RECT& area) {
  std::vector<int> rows;
  for (int y = area.top; y < area.bottom; ++y) {
    bool full = true;
    for (int x = area.left; x < area.right && full; ++x) full = canvas.Pixel(x, y) == color;
    if (full) rows.push_back(y);
  }
  return rows;
}

}  // namespace

TEST_CASE("drawing with a rect of zero width returns 0 and touches nothing") {
  Drawn drawn(L"<B>some</B> <#FF0000>text</#><L>", 100, 60);
  HDC dc = drawn.dc();
  LOGFONTW callers = BaseRecord(-20);
  SelectedFont font(dc, callers);
  HGDIOBJ callersFont = GetCurrentObject(dc, OBJ_FONT);
  SetTextColor(dc, RGB(1, 2, 3));
  SetBkMode(dc, OPAQUE);
  for (RECT rect : {RECT{10, 10, 10, 50}, RECT{10, 10, 5, 50}, RECT{10, 10, 90, 10}, RECT{10, 10, 90, 0}}) {
    RECT given = rect;
    CHECK(drawn.text.Draw(dc, &rect, 0) == 0);
    CHECK(drawn.text.DrawColored(dc, &rect, DT_WORDBREAK, RGB(0, 0, 255)) == 0);
    CHECK(EqualRect(&rect, &given));
  }
  CHECK_FALSE(drawn.text.IsMeasured());
  CHECK(drawn.canvas.Count(kWhite) == 100 * 60);
  CHECK(GetCurrentObject(dc, OBJ_FONT) == callersFont);
  CHECK(GetTextColor(dc) == RGB(1, 2, 3));
  CHECK(GetBkMode(dc) == OPAQUE);
  // An empty text gives 0 and leaves the rect as it is, also when measured.
  MarkupText empty;
  RECT rect = {3, 4, 50, 60};
  CHECK(empty.Draw(dc, &rect, DT_CALCRECT) == 0);
  CHECK(rect.right == 50);
  CHECK(rect.bottom == 60);
  CHECK(empty.Draw(dc, &rect, 0) == 0);
  CHECK(drawn.canvas.Count(kWhite) == 100 * 60);
}

TEST_CASE("a drawn text is the platform's drawing of the same runs in the same fonts and colours") {
  const wchar_t* const sources[] = {
      L"Hello <B>world</B>, <#C00000>this is <I>mixed</I></#> <U>styled</U> and <S>struck</S> text",
      L"<P14>Large</P> and small <P06>tiny</P> <B><#0000FF>blue bold</#></B> words to wrap",
      L"first line\nsecond <#008000>line</#> goes on\r\nthird",
      L"<B>unclosed <I>tags <U>run to the end of the text",
  };
  const UINT flagSets[] = {DT_WORDBREAK,
                           DT_WORDBREAK | DT_CENTER,
                           DT_WORDBREAK | DT_RIGHT,
                           DT_WORDBREAK | DT_BOTTOM,
                           DT_WORDBREAK | DT_VCENTER,
                           0};
  for (const wchar_t* source : sources) {
    for (UINT flags : flagSets) {
      for (int width : {90, 140, 230}) {
        CAPTURE(U8(source));
        CAPTURE(flags);
        CAPTURE(width);
        Drawn drawn(source, 260, 160);
        RECT rect = {8, 6, 8 + width, 150};
        int height = drawn.Draw(rect, flags);
        CHECK(height > 0);
        Canvas expected(260, 160);
        DrawReference(expected, drawn.base, drawn.text, rect, flags);
        CHECK(drawn.canvas.Count(kWhite) < 260 * 160);
        CHECK(drawn.canvas.Difference(expected) == "");
      }
    }
  }
}

TEST_CASE("tag colours are drawn as given; \"</#>\" is black whatever the context's colour") {
  Drawn drawn(L"<P20><B><#FF0000>HH</#>HH</B>", 200, 60);
  SetTextColor(drawn.dc(), RGB(0, 0, 255));
  drawn.Draw(RECT{0, 0, 200, 60}, 0);
  int red = drawn.canvas.Count(RGB(255, 0, 0));
  int black = drawn.canvas.Count(kBlack);
  CHECK(red > 20);
  CHECK(black > 20);
  CHECK(drawn.canvas.Count(RGB(0, 0, 255)) == 0);
  // Nothing but the two colours on white: the fonts are drawn without smoothing.
  CHECK(red + black + drawn.canvas.Count(kWhite) == 200 * 60);
  // Red stands left of black.
  RECT leftHalf = {0, 0, drawn.text.GetAdvance(0) * 2, 60};
  CHECK(drawn.canvas.Count(RGB(255, 0, 0), &leftHalf) == red);
  CHECK(drawn.canvas.Count(kBlack, &leftHalf) == 0);
  // The context's colour is back afterwards.
  CHECK(GetTextColor(drawn.dc()) == RGB(0, 0, 255));
}

TEST_CASE("<#004080><I>text</I></#> is drawn italic in the colour 0x00804000") {
  Drawn drawn(L"<P16><#004080><I>text</I></#>", 120, 40);
  drawn.Draw(RECT{0, 0, 120, 40}, 0);
  int coloured = drawn.canvas.Count(0x00804000);
  CHECK(coloured > 20);
  CHECK(coloured + drawn.canvas.Count(kWhite) == 120 * 40);
  Canvas expected(120, 40);
  DrawReference(expected, drawn.base, drawn.text, RECT{0, 0, 120, 40}, 0);
  CHECK(drawn.canvas.SameAs(expected));
  // Upright, the same text draws other pixels.
  Drawn upright(L"<P16><#004080>text</#>", 120, 40);
  upright.Draw(RECT{0, 0, 120, 40}, 0);
  CHECK_FALSE(upright.canvas.SameAs(drawn.canvas));
}

TEST_CASE("underline and strike-out run through the blanks of their runs") {
  Drawn plain(L"<P14>a a</P>", 100, 40);
  Drawn underlined(L"<P14><U>a a</U></P>", 100, 40);
  Drawn struck(L"<P14><S>a a</S></P>", 100, 40);
  RECT rect = {0, 0, 100, 40};
  plain.Draw(rect, 0);
  underlined.Draw(rect, 0);
  struck.Draw(rect, 0);
  underlined.text.Measure(underlined.dc());
  int width = 0;
  for (int i = 0; i < underlined.text.GetLength(); ++i) width += underlined.text.GetAdvance(i);
  RECT across = {0, 0, width, underlined.text.GetLineHeight()};
  CHECK(FullRows(plain.canvas, kBlack, across).empty());
  std::vector<int> under = FullRows(underlined.canvas, kBlack, across);
  std::vector<int> strike = FullRows(struck.canvas, kBlack, across);
  REQUIRE_FALSE(under.empty());
  REQUIRE_FALSE(strike.empty());
  // The strike-out stands higher than the underline.
  CHECK(strike.back() < under.front());
  // The ink of the line goes no further than the text's width.
  RECT ink = underlined.canvas.Ink();
  CHECK(ink.right <= width + 1);
}

TEST_CASE("drawing is clipped to the rect unless DT_NOCLIP, and to the context's clip region") {
  RECT rect = {20, 10, 60, 30};
  Drawn clipped(L"<P20>WWWW MMMM</P>", 160, 80);
  clipped.Draw(rect, DT_WORDBREAK);
  CHECK(clipped.canvas.Count(kBlack, &rect) > 0);
  CHECK(clipped.canvas.CountOutside(kWhite, rect) == 0);

  Drawn free(L"<P20>WWWW MMMM</P>", 160, 80);
  free.Draw(rect, DT_WORDBREAK | DT_NOCLIP);
  CHECK(free.canvas.CountOutside(kWhite, rect) > 0);
  // Unclipped, the text is the same as the platform draws it at the same places.
  RECT ink = free.canvas.Ink();
  CHECK(ink.left >= rect.left);
  CHECK(ink.top >= rect.top);

  // A clip region of the context holds even without the rect's clipping.
  Drawn region(L"<P20>WWWW MMMM</P>", 160, 80);
  RECT inner = {30, 0, 50, 80};
  IntersectClipRect(region.dc(), inner.left, inner.top, inner.right, inner.bottom);
  region.Draw(rect, DT_WORDBREAK | DT_NOCLIP);
  CHECK(region.canvas.Count(kBlack, &inner) > 0);
  CHECK(region.canvas.CountOutside(kWhite, inner) == 0);
  // A rule whose row lies below the rect is clipped like the text of its line.
  Drawn rule(L"a<L>", 160, 80);
  int lineHeight = rule.LineHeight();
  RECT oneAndABit = {10, 10, 100, 10 + lineHeight + lineHeight / 2 - 1};
  rule.Draw(oneAndABit, DT_WORDBREAK);
  CHECK(rule.canvas.CountOutside(kWhite, oneAndABit) == 0);
  CHECK(rule.canvas.Count(kBlack, &oneAndABit) > 0);
  rule.canvas.Fill(kWhite);
  oneAndABit.bottom += 2;  // now the rule's row is the rect's last
  rule.Draw(oneAndABit, DT_WORDBREAK);
  RECT ruleRow = {10, 10 + lineHeight + lineHeight / 2, 100, 10 + lineHeight + lineHeight / 2 + 1};
  CHECK(rule.canvas.Count(kBlack, &ruleRow) == 90);
  // With no room left between clip region and rect, nothing at all is drawn.
  Drawn apart(L"<P20>WWWW</P><L>", 160, 80);
  IntersectClipRect(apart.dc(), 100, 0, 160, 80);
  apart.Draw(rect, DT_WORDBREAK);
  CHECK(apart.canvas.Count(kWhite) == 160 * 80);
}

TEST_CASE("a rule is a one-pixel line in its colour across the rect, in the middle of its line") {
  Drawn drawn(L"A<#0000FF><L></#>B", 120, 80);
  int lineHeight = drawn.LineHeight();
  RECT rect = {5, 2, 105, 2 + 3 * lineHeight};
  CHECK(drawn.Draw(rect, DT_WORDBREAK) == 3 * lineHeight);
  int y = rect.top + lineHeight + lineHeight / 2;
  for (int x = rect.left; x < rect.right; ++x) CHECK(drawn.canvas.Pixel(x, y) == RGB(0, 0, 255));
  CHECK(drawn.canvas.Pixel(rect.left - 1, y) == kWhite);
  CHECK(drawn.canvas.Pixel(rect.right, y) == kWhite);
  CHECK(drawn.canvas.Count(RGB(0, 0, 255)) == rect.right - rect.left);
  // A above the rule, B below it.
  RECT above = {0, 0, 120, rect.top + lineHeight};
  RECT below = {0, rect.top + 2 * lineHeight, 120, 80};
  CHECK(drawn.canvas.Count(kBlack, &above) > 0);
  CHECK(drawn.canvas.Count(kBlack, &below) > 0);
}

TEST_CASE("DrawColored draws text and rules in one colour, whatever their tags say") {
  Drawn drawn(L"<P14><#FF0000>HH<#00FF00>HH</#>HH<L>", 400, 140);
  SetTextColor(drawn.dc(), RGB(9, 9, 9));
  RECT rect = {0, 0, 400, 140};
  int height = drawn.text.DrawColored(drawn.dc(), &rect, DT_WORDBREAK, RGB(0, 0, 255));
  CHECK(height == 2 * drawn.LineHeight());
  int blue = drawn.canvas.Count(RGB(0, 0, 255));
  CHECK(blue > 400);
  CHECK(blue + drawn.canvas.Count(kWhite) == 400 * 140);
  CHECK(GetTextColor(drawn.dc()) == RGB(9, 9, 9));
  // The next plain Draw has its colours again.
  drawn.canvas.Fill(kWhite);
  drawn.Draw(rect, DT_WORDBREAK);
  CHECK(drawn.canvas.Count(RGB(255, 0, 0)) > 0);
  CHECK(drawn.canvas.Count(RGB(0, 255, 0)) > 0);
  CHECK(drawn.canvas.Count(kBlack) > 0);
}

TEST_CASE("the end ellipsis: characters come off the end until the line and \"...\" fit") {
  const wchar_t* source = L"Wilhelmina <B>Montgomery</B>";
  Drawn probe(source, 10, 10);
  probe.text.Measure(probe.dc());
  int dot = GdiExtent(probe.dc(), ExpectedRecord(probe.base, 1), L".").cx;
  int n = probe.text.GetLength();
  int full = 0;
  for (int i = 0; i < n; ++i) full += probe.text.GetAdvance(i);
  REQUIRE(dot > 0);
  for (int width = full + 2; width >= 1; width -= 7) {
    CAPTURE(width);
    Drawn drawn(source, 300, 40);
    RECT rect = {4, 4, 4 + width, 36};
    drawn.Draw(rect, DT_SINGLELINE | kMarkupEndEllipsis);
    // What must remain: the longest beginning (one character at least) that fits with three dots,
    // then as many dots as fit.
    int kept = n;
    int lineWidth = full;
    int dots = 0;
    if (full > width) {
      dots = 3;
      lineWidth += 3 * dot;
      while (lineWidth > width && kept > 1) lineWidth -= probe.text.GetAdvance(--kept);
      while (lineWidth > width && dots > 0) {
        --dots;
        lineWidth -= dot;
      }
    }
    Canvas expected(300, 40);
    MarkupText shown;
    TestCache cache;
    shown.SetFontCache(&cache);
    // The kept characters as tags and text again: regular up to 11, bold behind.
    std::wstring plainKept = Plain(probe.text).substr(0, static_cast<size_t>(kept));
    std::wstring tagged =
        plainKept.size() <= 11 ? plainKept : plainKept.substr(0, 11) + L"<B>" + plainKept.substr(11);
    shown.Parse(tagged.c_str());
    RECT wide = {4, 4, 300, 36};
    DrawReference(expected, BaseRecord(), shown, wide, DT_SINGLELINE);
    if (dots > 0) {
      HDC dc = expected.dc();
      SelectedFont font(dc, ExpectedRecord(BaseRecord(), 1));
      SetBkMode(dc, TRANSPARENT);
      SetTextColor(dc, kBlack);
      int x = 4 + GdiWidth(dc, BaseRecord(), shown, 0, shown.GetLength());
      RECT clip = rect;
      ExtTextOutW(dc, x, 4, ETO_CLIPPED, &clip, L"...", static_cast<UINT>(dots), nullptr);
    }
    // The reference drew without the rect's clipping of the text; clip its pixels the same way.
    for (int y = 0; y < 40; ++y) {
      for (int x = 0; x < 300; ++x) {
        POINT at = {x, y};
        if (!PtInRect(&rect, at)) SetPixel(expected.dc(), x, y, kWhite);
      }
    }
    CHECK(drawn.canvas.Difference(expected) == "");
  }
}

TEST_CASE("DT_VCENTER and DT_BOTTOM place the block; DT_BOTTOM wins; a tall block stands above the rect") {
  Drawn top(L"<P12>Hg</P>", 80, 200);
  int lineHeight = top.LineHeight();
  RECT rect = {0, 50, 80, 150};
  top.Draw(rect, 0);
  RECT inkTop = top.canvas.Ink();
  for (UINT flags : {UINT(DT_VCENTER), UINT(DT_BOTTOM), UINT(DT_BOTTOM | DT_VCENTER)}) {
    CAPTURE(flags);
    Drawn moved(L"<P12>Hg</P>", 80, 200);
    moved.Draw(rect, flags);
    RECT ink = moved.canvas.Ink();
    int shift = (flags & DT_BOTTOM) ? 100 - lineHeight : (100 - lineHeight) / 2;
    CHECK(ink.top == inkTop.top + shift);
    CHECK(ink.left == inkTop.left);
  }
  // Four lines in a rect of one line's height: centred, the block begins above the rect.
  Drawn tall(L"a\nb\nc\nd", 80, 200);
  RECT small = {0, 100, 80, 100 + tall.LineHeight()};
  tall.Draw(small, DT_VCENTER | DT_NOCLIP);
  RECT ink = tall.canvas.Ink();
  CHECK(ink.top < small.top);
  CHECK(ink.bottom > small.bottom);
}
