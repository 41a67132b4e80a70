// Measured layouts: the widths of characters and lines, and where lines break, checked against the
// platform's own measures of the same runs in the same fonts.
#include <doctest/doctest.h>
#include <windows.h>
#include <algorithm>
#include <string>
#include <vector>
#include "WideText.h"
#include "test_markup_text_support.h"

using namespace markuptest;

namespace {

struct Layout {
  TestCache cache;
  Canvas canvas{64, 64};
  LOGFONTW base = BaseRecord();
  MarkupText text;
  explicit Layout(const wchar_t* source) {
    text.SetFontCache(&cache);
    text.Parse(source);
    text.Measure(canvas.dc());
  }
  HDC dc() const { return canvas.dc(); }
  // The platform's width of a text in the font of `style`.
  int Width(const std::wstring& chars, uint16_t style = 0) const {
    return GdiExtent(canvas.dc(), ExpectedRecord(base, style), chars).cx;
  }
  std::vector<Line> Lines(int width, UINT flags = DT_WORDBREAK) {
    return EngineLines(dc(), text, width, flags);
  }
  int LineHeight() const { return GdiLineHeight(canvas.dc(), base, text); }
};

const wchar_t* const kSamples[] = {
    L"Hello <B>world</B>, this is <I>mixed</I> <U>styled</U> and <S>struck</S> text",
    L"Supercalifragilistic<B>expialidocious</B> and <I>antidisestablishmentarianism</I>",
    L"<B></B>empty<I></I> tags <U></U>between<S></S> <P12></P>words<#FF0000></#>",
    L"<B>unclosed bold and <I>italic to the <U>very end",
    L"<P14>Large</P> and small <P06>tiny words</P> <B><P10>mixed sizes</P></B> in one",
    L"line one\nline two\r\nline three\n\rfour\r\rfive\n\nsix",
    L"above<L>below <#FF0000>red</#> and a rule<l><L>twice",
    L"  leading blanks,   several   blanks and trailing  ",
    L"Stra\u00DFe \u00DCn\u00EFc\u00F6d\u00E9 \u0442\u0435\u043A\u0441\u0442 "
    L"<B>\u0394\u03B5\u03BB\u03C4\u03B1</B>",
    L"a<b c</x> <y> d<#12> e<P1> f",
};

}  // namespace

TEST_CASE("every character is measured alone in its own font, and the line height is the tallest") {
  for (const wchar_t* source : kSamples) {
    CAPTURE(U8(source));
    Layout layout(source);
    REQUIRE(layout.text.IsMeasured());
    for (int i = 0; i < layout.text.GetLength(); ++i) {
      const MarkupCharAttr& attr = layout.text.GetAttrs()[i];
      CAPTURE(i);
      CHECK(layout.text.GetAdvance(i) ==
            layout.Width(std::wstring(1, layout.text.GetPlainText()[i]), attr.style));
    }
    CHECK(layout.text.GetLineHeight() == layout.LineHeight());
  }
}

TEST_CASE("measured layouts of tagged texts break where the platform's widths say, at every width") {
  for (const wchar_t* source : kSamples) {
    CAPTURE(U8(source));
    Layout layout(source);
    int full = GdiWidth(layout.dc(), layout.base, layout.text, 0, layout.text.GetLength());
    for (int width = 0; width <= full + 8; width += (width < 40 ? 1 : 3)) {
      CAPTURE(width);
      for (UINT flags : {UINT(DT_WORDBREAK), UINT(0), kMarkupMeasureFlags}) {
        CAPTURE(flags);
        std::vector<Line> expected =
            ReferenceLines(layout.dc(), layout.base, layout.text, width, (flags & DT_WORDBREAK) != 0);
        std::vector<Line> lines = layout.Lines(width, flags);
        INFO("engine:\n" << Describe(lines, layout.text) << "expected:\n" << Describe(expected, layout.text));
        REQUIRE(lines == expected);
        // Each line's width is the platform's for its runs, without the blank of its wrap point.
        for (const Line& line : lines) {
          std::vector<int> skip;
          if (line.skip >= 0) skip.push_back(line.skip);
          CHECK(line.width == GdiWidth(layout.dc(), layout.base, layout.text, line.first, line.count, skip));
        }
        // The measure of a rectangle: the widest line, and the line height for each line.
        int widest = 0;
        for (const Line& line : lines) widest = std::max(widest, line.width);
        RECT rect = {7, 5, 7 + width, 6};
        int height = layout.text.Draw(layout.dc(), &rect, flags | DT_CALCRECT);
        CHECK(height == layout.LineHeight() * static_cast<int>(lines.size()));
        CHECK(rect.left == 7);
        CHECK(rect.top == 5);
        CHECK(rect.right == 7 + widest);
        CHECK(rect.bottom == 5 + height);
      }
    }
  }
}

TEST_CASE("a line breaks behind the last blank that fits, and the blank is not counted") {
  Layout layout(L"Hello <B>world</B>");
  int width = layout.Width(L"Hello ") + layout.Width(L"wor", 1);
  std::vector<Line> lines = layout.Lines(width);
  REQUIRE(lines.size() == 2);
  CHECK(lines[0] == Line{0, 6, layout.Width(L"Hello"), 5});
  CHECK(lines[1] == Line{6, 5, layout.Width(L"world", 1), -1});
  // Without DT_WORDBREAK the line is cut where it is full.
  lines = layout.Lines(width, 0);
  REQUIRE(lines.size() == 2);
  CHECK(lines[0] == Line{0, 9, layout.Width(L"Hello ") + layout.Width(L"wor", 1), -1});
  CHECK(lines[1] == Line{9, 2, layout.Width(L"ld", 1), -1});
  // A blank that itself overflows ends the line and is left out.
  Layout blank(L"ab cd");
  lines = blank.Lines(blank.Width(L"ab"));
  REQUIRE(lines.size() == 2);
  CHECK(lines[0] == Line{0, 3, blank.Width(L"ab"), 2});
  CHECK(lines[1] == Line{3, 2, blank.Width(L"cd"), -1});
  // A blank at a line's first character is no wrap point.
  Layout leading(L"a bbbbbbbb");
  lines = leading.Lines(leading.Width(L"a bb"));
  REQUIRE(lines.size() >= 2);
  CHECK(lines[0] == Line{0, 2, leading.Width(L"a"), 1});
}

TEST_CASE("a word wider than the rect is cut at a character boundary and goes on; no line is empty") {
  Layout layout(L"mmmmmmmmmm");
  int three = layout.Width(L"mmm");
  std::vector<Line> lines = layout.Lines(three);
  REQUIRE(lines.size() == 4);
  CHECK(lines[0] == Line{0, 3, three, -1});
  CHECK(lines[1] == Line{3, 3, three, -1});
  CHECK(lines[2] == Line{6, 3, three, -1});
  CHECK(lines[3] == Line{9, 1, layout.Width(L"m"), -1});
  // One pixel less: two characters a line.
  lines = layout.Lines(three - 1);
  CHECK(lines.size() == 5);
  for (const Line& line : lines) CHECK(line.count == 2);
  // Behind a blank, a word too wide for a line of its own is cut as well.
  Layout words(L"ab <B>cdefghijkl</B>");
  int width = words.Width(L"cdef", 1);
  lines = words.Lines(width);
  REQUIRE(lines.size() >= 3);
  CHECK(lines[0] == Line{0, 3, words.Width(L"ab"), 2});
  CHECK(lines[1].first == 3);
  for (const Line& line : lines) {
    CHECK(line.count > 0);
    if (line.count > 1 && line.skip < 0) CHECK(line.width <= width);
  }
}

TEST_CASE("a line with only one character is never broken, even when the character is wider than the rect") {
  Layout layout(L"<P20>W</P>");
  int wide = layout.Width(L"W", 0x1400);
  REQUIRE(wide > 2);
  for (int width : {0, 1, wide - 1}) {
    std::vector<Line> lines = layout.Lines(width);
    REQUIRE(lines.size() == 1);
    CHECK(lines[0] == Line{0, 1, wide, -1});
  }
  // In a longer text each such character stands on a line of its own.
  Layout two(L"<P20>WW</P>");
  std::vector<Line> lines = two.Lines(wide - 1);
  REQUIRE(lines.size() == 2);
  CHECK(lines[1] == Line{1, 1, wide, -1});
}

TEST_CASE("a text ending in a line end has as many lines as the text without it") {
  for (const wchar_t* source : {L"one two three", L"<B>one</B> two\nthree", L"x", L"a<L>b"}) {
    for (const wchar_t* end : {L"\n", L"\r", L"\r\n", L"\n\r"}) {
      std::wstring ended = std::wstring(source) + end;
      CAPTURE(U8(ended));
      Layout plain(source);
      Layout withEnd(ended.c_str());
      for (int width : {1, 20, 40, 1000}) {
        CAPTURE(width);
        std::vector<Line> lines = plain.Lines(width);
        std::vector<Line> endedLines = withEnd.Lines(width);
        REQUIRE(endedLines.size() == lines.size());
        // The line end belongs to the last line and adds nothing to its width.
        CHECK(endedLines.back().count == lines.back().count + static_cast<int>(wcslen(end)));
        CHECK(endedLines.back().width == lines.back().width);
        RECT a = {0, 0, width, 0};
        RECT b = a;
        CHECK(plain.text.Draw(plain.dc(), &a, kMarkupMeasureFlags) ==
              withEnd.text.Draw(withEnd.dc(), &b, kMarkupMeasureFlags));
      }
    }
  }
  // Two line ends of one kind make two lines; an empty line between stands as its own.
  Layout twice(L"a\n\nb");
  std::vector<Line> lines = twice.Lines(1000);
  REQUIRE(lines.size() == 3);
  CHECK(lines[1] == Line{2, 1, 0, -1});
}

TEST_CASE("A<L>B gives three lines: A, the rule and B") {
  Layout layout(L"A<L>B");
  REQUIRE(layout.text.GetLength() == 3);
  std::vector<Line> lines = layout.Lines(1000);
  REQUIRE(lines.size() == 3);
  CHECK(lines[0] == Line{0, 1, layout.Width(L"A"), -1});
  CHECK(lines[1] == Line{1, 1, 0, -1});
  CHECK(lines[2] == Line{2, 1, layout.Width(L"B"), -1});
  RECT rect = {0, 0, 1000, 0};
  CHECK(layout.text.Draw(layout.dc(), &rect, kMarkupMeasureFlags) == 3 * layout.LineHeight());
  // A rule after a line end doesn't join it: the line end closes its line, the rule stands alone.
  Layout afterEnd(L"A\r<L>B");
  lines = afterEnd.Lines(1000);
  REQUIRE(lines.size() == 3);
  CHECK(lines[0].count == 2);
  CHECK(lines[1] == Line{2, 1, 0, -1});
  // With DT_SINGLELINE the rule is one more character of the one line.
  lines = layout.Lines(1000, DT_SINGLELINE);
  REQUIRE(lines.size() == 1);
  CHECK(lines[0].count == 3);
}

TEST_CASE("DT_CALCRECT with a rect narrower than any character gives one line per character") {
  Layout layout(L"<B>ab</B>cdef<P14>gh</P>");
  int n = layout.text.GetLength();
  REQUIRE(n == 8);
  int widest = 0;
  for (int i = 0; i < n; ++i) widest = std::max(widest, layout.text.GetAdvance(i));
  for (int width : {1, 0, -5}) {
    CAPTURE(width);
    RECT rect = {10, 20, 10 + width, 20};
    int height = layout.text.Draw(layout.dc(), &rect, kMarkupMeasureFlags);
    CHECK(height == n * layout.LineHeight());
    CHECK(rect.left == 10);
    CHECK(rect.right == 10 + widest);
    CHECK(rect.bottom == 20 + height);
  }
  // A rect whose bottom is above its top is measured from its top.
  RECT upside = {0, 50, 1, 10};
  CHECK(layout.text.Draw(layout.dc(), &upside, DT_CALCRECT) == n * layout.LineHeight());
  CHECK(upside.bottom == 50 + n * layout.LineHeight());
}

TEST_CASE("DT_SINGLELINE: one line of every character, line ends included") {
  Layout layout(L"one\ntwo <B>three</B>\r\nfour");
  std::vector<Line> lines = layout.Lines(5, DT_SINGLELINE | DT_WORDBREAK);
  REQUIRE(lines.size() == 1);
  int sum = 0;
  for (int i = 0; i < layout.text.GetLength(); ++i) sum += layout.text.GetAdvance(i);
  CHECK(lines[0] == Line{0, layout.text.GetLength(), sum, -1});
  RECT rect = {0, 0, 5, 0};
  CHECK(layout.text.Draw(layout.dc(), &rect, DT_SINGLELINE | DT_CALCRECT) == layout.LineHeight());
  CHECK(rect.right == sum);
}

TEST_CASE("one large size anywhere makes every line of the text as tall") {
  Layout small(L"small words on lines");
  Layout mixed(L"small words on <P24>l</P>ines");
  CHECK(mixed.text.GetLineHeight() == GdiExtent(mixed.dc(), ExpectedRecord(mixed.base, 0x1800), L"l").cy);
  CHECK(mixed.text.GetLineHeight() > small.text.GetLineHeight());
  RECT rect = {0, 0, small.Width(L"small"), 0};
  int lines = static_cast<int>(mixed.Lines(rect.right).size());
  CHECK(mixed.text.Draw(mixed.dc(), &rect, kMarkupMeasureFlags) == lines * mixed.text.GetLineHeight());
}

TEST_CASE("measures are kept until Invalidate, then taken again in the cache's new fonts") {
  Layout layout(L"<B>kept</B> widths");
  int before = layout.text.GetAdvance(0);
  layout.cache.SetBaseLogFont(BaseRecord(-26));
  CHECK(layout.text.GetAdvance(0) == before);
  RECT rect = {0, 0, 1000, 0};
  layout.text.Draw(layout.dc(), &rect, DT_CALCRECT);
  CHECK(layout.text.GetAdvance(0) == before);
  layout.text.Invalidate();
  CHECK_FALSE(layout.text.IsMeasured());
  layout.text.Draw(layout.dc(), &rect, DT_CALCRECT);
  CHECK(layout.text.GetAdvance(0) == GdiExtent(layout.dc(), ExpectedRecord(BaseRecord(-26), 1), L"k").cx);
  CHECK(layout.text.GetAdvance(0) > before);
}
