// The tag language of the markup text and the font cache behind it.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include <vector>
#include "WideText.h"
#include "presentation/UserFonts.h"
#include "test_markup_text_support.h"

using namespace markuptest;

namespace {

const uint16_t kBold = 1, kItalic = 2, kUnderline = 4, kStrike = 8, kRule = 0x10;

struct Parsed {
  TestCache cache;
  MarkupText text;
  explicit Parsed(const wchar_t* source) {
    text.SetFontCache(&cache);
    text.Parse(source);
  }
  std::wstring plain() const { return Plain(text); }
  const MarkupCharAttr& at(int i) const { return text.GetAttrs()[i]; }
  std::vector<int> styles() const {
    std::vector<int> all;
    for (int i = 0; i < text.GetLength(); ++i) all.push_back(at(i).style);
    return all;
  }
  std::vector<unsigned> colors() const {
    std::vector<unsigned> all;
    for (int i = 0; i < text.GetLength(); ++i) all.push_back(at(i).color);
    return all;
  }
  LOGFONTW fontOf(int i) const {
    LOGFONTW record = {};
    HFONT font = cache.GetFont(at(i).fontIndex, nullptr);
    REQUIRE(font != nullptr);
    REQUIRE(GetObjectW(font, sizeof record, &record) == sizeof record);
    return record;
  }
};

}  // namespace

TEST_CASE("<x> and a<b show as typed: x is no tag, and the form doesn't fit at the end") {
  for (const wchar_t* source : {L"<x>", L"a<b", L"<X>y", L"</x>", L"<#>", L"<P>", L"</L>", L"<", L"<<B>",
                                L"a<#00ff0", L"<#00ff00", L"<P1", L"<P12", L"</B", L"<b", L"<l"}) {
    CAPTURE(U8(source));
    Parsed parsed(source);
    std::wstring expected = source;
    if (expected == L"<<B>") expected = L"<";
    CHECK(U8(parsed.plain()) == U8(expected));
    for (int style : parsed.styles()) CHECK(style == 0);
    for (unsigned color : parsed.colors()) CHECK(color == 0u);
  }
}

TEST_CASE("an unknown letter makes the '<' text at once, even where a later form would fit") {
  // "</X>..." has the frame of a closing tag: the '<' is text, though "<#..." can't follow anyway.
  Parsed closing(L"</X>z");
  CHECK(U8(closing.plain()) == "</X>z");
  // "<#1>" fits the frame of a three-character tag with the unknown letter '#'.
  Parsed three(L"<#>>>>>>>");
  CHECK(U8(three.plain()) == "<#>>>>>>>");
  // A '<' that is text doesn't hide a tag right behind it.
  Parsed behind(L"<</B>x");
  CHECK(U8(behind.plain()) == "<x");
}

TEST_CASE("\"<B>\" at the very end of a text is a tag and adds nothing") {
  Parsed parsed(L"ab<B>");
  CHECK(U8(parsed.plain()) == "ab");
  CHECK(parsed.text.GetLength() == 2);
  CHECK(parsed.styles() == std::vector<int>{0, 0});
  // Fonts are made for what characters use: the bold of the last tag has none.
  CHECK(parsed.cache.GetCount() == 1);
  CHECK(parsed.cache.FindFont(kBold) == -1);
  // A text of tags alone is empty.
  Parsed tagsOnly(L"<B><I></I><#102030></#><P12></P></B>");
  CHECK(tagsOnly.text.IsEmpty());
  CHECK(tagsOnly.text.GetPlainText() == nullptr);
  CHECK(tagsOnly.cache.GetCount() == 0);
}

TEST_CASE("\"</#>\" gives black, also inside a text that began with a colour") {
  Parsed parsed(L"<#FF0000>ab</#>cd");
  CHECK(U8(parsed.plain()) == "abcd");
  CHECK(parsed.colors() == std::vector<unsigned>{0x000000FF, 0x000000FF, 0, 0});
  // Colours are not nested either: one "</#>" after two colours is black.
  Parsed twice(L"<#00FF00>a<#0000FF>b</#>c");
  CHECK(twice.colors() == std::vector<unsigned>{0x0000FF00, 0x00FF0000, 0});
}

TEST_CASE("<#004080><I>text</I></#> gives italic text in the colour 0x00804000") {
  Parsed parsed(L"<#004080><I>text</I></#>");
  REQUIRE(U8(parsed.plain()) == "text");
  for (int i = 0; i < 4; ++i) {
    CHECK(parsed.at(i).style == kItalic);
    CHECK(parsed.at(i).color == 0x00804000u);
    CHECK(parsed.fontOf(i).lfItalic == 1);
    CHECK(parsed.fontOf(i).lfWeight == FW_NORMAL);
  }
}

TEST_CASE("<P08> at 96 dpi gives lfHeight -10; </P> gives the base height") {
  Parsed parsed(L"<P08>a</P>b<p12>c</p>d");
  REQUIRE(U8(parsed.plain()) == "abcd");
  int dpi = ScreenDpiY();
  CHECK(parsed.at(0).style == 0x0800);
  CHECK(parsed.fontOf(0).lfHeight == 8 * dpi / -72);
  if (dpi == 96) CHECK(parsed.fontOf(0).lfHeight == -10);
  CHECK(parsed.at(1).style == 0);
  CHECK(parsed.fontOf(1).lfHeight == BaseRecord().lfHeight);
  CHECK(parsed.at(2).style == 0x0C00);
  CHECK(parsed.fontOf(2).lfHeight == 12 * dpi / -72);
  CHECK(parsed.at(3).style == 0);
  CHECK(parsed.at(1).fontIndex == parsed.at(3).fontIndex);
}

TEST_CASE("every tag form, upper and lower case, sets or clears its bit") {
  struct Case {
    const wchar_t* source;
    std::vector<int> styles;
  };
  const Case cases[] = {
      {L"<B>a</B>b<b>c</b>d", {kBold, 0, kBold, 0}},
      {L"<I>a</I>b<i>c</i>d", {kItalic, 0, kItalic, 0}},
      {L"<U>a</U>b<u>c</u>d", {kUnderline, 0, kUnderline, 0}},
      {L"<S>a</S>b<s>c</s>d", {kStrike, 0, kStrike, 0}},
      // The cases of a pair needn't match.
      {L"<B>a</b>b<i>c</I>d", {kBold, 0, kItalic, 0}},
      {L"<B><I><U><S>a</B>b</I>c</U>d</S>e",
       {kBold | kItalic | kUnderline | kStrike, kItalic | kUnderline | kStrike, kUnderline | kStrike, kStrike,
        0}},
  };
  for (const Case& c : cases) {
    CAPTURE(U8(c.source));
    Parsed parsed(c.source);
    CHECK(parsed.styles() == c.styles);
  }
}

TEST_CASE("<L> and <l> add a line feed marked as a rule, in the style and colour in force") {
  Parsed parsed(L"a<#00FF00><B><L>b<l>");
  REQUIRE(parsed.text.GetLength() == 4);
  CHECK(U8(parsed.plain()) == "a\nb\n");
  CHECK(parsed.styles() == std::vector<int>{0, kBold | kRule, kBold, kBold | kRule});
  CHECK(parsed.at(1).color == 0x0000FF00u);
  // The rule bit makes no font of its own.
  CHECK(parsed.at(1).fontIndex == parsed.at(2).fontIndex);
  CHECK(parsed.cache.GetCount() == 2);
}

TEST_CASE("tags are not paired: nested, repeated and unbalanced tags set and clear bits") {
  Parsed parsed(L"</B>a<B><B>b</B>c</I>d<I><U>e</B>f</U></U>g<P20><P10>h</P></P>i");
  REQUIRE(U8(parsed.plain()) == "abcdefghi");
  CHECK(parsed.styles() == std::vector<int>{0, kBold, 0, 0, kItalic | kUnderline, kItalic | kUnderline,
                                            kItalic, kItalic | 0x0A00, kItalic});
}

TEST_CASE("colour and size values are what wcstol reads from their characters") {
  struct Case {
    const wchar_t* source;
    unsigned color;
    int style;
  };
  const Case cases[] = {
      {L"<#123456>x", 0x00563412, 0}, {L"<#abcdef>x", 0x00EFCDAB, 0},
      {L"<#zz0000>x", 0, 0},                              // not hexadecimal: 0, and still a tag
      {L"<#12zz56>x", 0x00120000, 0},                     // 0x12: blue
      {L"<#0x00FF>x", 0x00FF0000, 0},                     // a "0x" is taken as wcstol takes it
      {L"<#-00001>x", 0x00FFFFFF, 0},                     // -1: all of its colour bytes
      {L"<#  00FF>x", 0x00FF0000, 0},                     // leading blanks are skipped
      {L"<P99>x", 0, 0x6300},         {L"<Pab>x", 0, 0},  // not a number: the base size
      {L"<P 9>x", 0, 0x0900},         {L"<P7x>x", 0, 0x0700},
      {L"<P-1>x", 0, 0xFF00},  // kept in eight bits
  };
  for (const Case& c : cases) {
    CAPTURE(U8(c.source));
    Parsed parsed(c.source);
    REQUIRE(U8(parsed.plain()) == "x");
    CHECK(parsed.at(0).color == c.color);
    CHECK(parsed.at(0).style == c.style);
  }
}

TEST_CASE("the font cache: one font per combination of style bits and size, made when first used") {
  TestCache cache;
  CHECK(cache.GetCount() == 0);
  CHECK(cache.FindFont(0) == -1);
  int plain = cache.GetFontIndex(0);
  CHECK(plain == 0);
  CHECK(cache.FindFont(0) == plain);
  // Bits 4 to 7 don't choose a font.
  CHECK(cache.GetFontIndex(kRule) == plain);
  CHECK(cache.GetFontIndex(0x00F0) == plain);
  int bold = cache.GetFontIndex(kBold);
  int sized = cache.GetFontIndex(kBold | 0x1400);
  CHECK(bold == 1);
  CHECK(sized == 2);
  CHECK(cache.GetFontIndex(kBold | kRule) == bold);
  CHECK(cache.GetCount() == 3);
  int overhang = -1;
  HFONT font = cache.GetFont(sized, &overhang);
  REQUIRE(font != nullptr);
  CHECK(overhang == 0);
  LOGFONTW record = {};
  GetObjectW(font, sizeof record, &record);
  LOGFONTW expected = ExpectedRecord(BaseRecord(), kBold | 0x1400);
  CHECK(record.lfHeight == expected.lfHeight);
  CHECK(record.lfWeight == FW_BOLD);
  CHECK(U8(record.lfFaceName) == U8(expected.lfFaceName));
  // Out of range: none, and no overhang.
  overhang = -1;
  CHECK(cache.GetFont(3, &overhang) == nullptr);
  CHECK(overhang == 0);
  CHECK(cache.GetFont(-1, nullptr) == nullptr);
  cache.Clear();
  CHECK(cache.GetCount() == 0);
  CHECK(cache.GetFont(0, nullptr) == nullptr);
  CHECK(cache.FindFont(0) == -1);
}

TEST_CASE("the font cache grows past its first thirty fonts") {
  TestCache cache;
  std::vector<HFONT> fonts;
  for (int i = 0; i < 70; ++i) {
    uint16_t style = static_cast<uint16_t>(((i % 16) & 0x0F) | ((i / 16 + 6) << 8));
    CHECK(cache.GetFontIndex(style) == i);
    fonts.push_back(cache.GetFont(i, nullptr));
    CHECK(fonts.back() != nullptr);
  }
  CHECK(cache.GetCount() == 70);
  for (int i = 0; i < 70; ++i) {
    uint16_t style = static_cast<uint16_t>(((i % 16) & 0x0F) | ((i / 16 + 6) << 8));
    CHECK(cache.FindFont(style) == i);
    int overhang = -1;
    CHECK(cache.GetFont(i, &overhang) == fonts[static_cast<size_t>(i)]);
    CHECK(overhang == 0);
    LOGFONTW record = {};
    GetObjectW(fonts[static_cast<size_t>(i)], sizeof record, &record);
    CHECK(record.lfHeight == ExpectedRecord(BaseRecord(), style).lfHeight);
    CHECK(record.lfItalic == ((style & kItalic) ? 1 : 0));
  }
}

TEST_CASE("the font cache starts from the system font and takes a new base font at the same indexes") {
  MarkupFontCache cache;
  LOGFONTW stock = {};
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof stock, &stock);
  CHECK(cache.GetBaseHeight() == stock.lfHeight);
  CHECK(U8(cache.GetBaseLogFont().lfFaceName) == U8(stock.lfFaceName));

  int plain = cache.GetFontIndex(0);
  int italic = cache.GetFontIndex(kItalic);
  int sized = cache.GetFontIndex(0x0A00);

  LOGFONTW base = BaseRecord(-20);
  cache.SetBaseLogFont(base);
  CHECK(cache.GetBaseHeight() == -20);
  CHECK(cache.GetCount() == 3);
  CHECK(cache.FindFont(kItalic) == italic);
  LOGFONTW record = {};
  GetObjectW(cache.GetFont(plain, nullptr), sizeof record, &record);
  CHECK(record.lfHeight == -20);
  CHECK(U8(record.lfFaceName) == "Tahoma");
  CHECK(record.lfQuality == NONANTIALIASED_QUALITY);
  GetObjectW(cache.GetFont(italic, nullptr), sizeof record, &record);
  CHECK(record.lfHeight == -20);
  CHECK(record.lfItalic == 1);
  // A size of its own stays.
  GetObjectW(cache.GetFont(sized, nullptr), sizeof record, &record);
  CHECK(record.lfHeight == 10 * ScreenDpiY() / -72);

  // The same height, pitch and family, character set and face: nothing happens, even when other
  // fields differ.
  HFONT kept = cache.GetFont(plain, nullptr);
  LOGFONTW same = base;
  same.lfQuality = ANTIALIASED_QUALITY;
  same.lfWidth = 3;
  cache.SetBaseLogFont(same);
  CHECK(cache.GetFont(plain, nullptr) == kept);
  CHECK(cache.GetBaseLogFont().lfQuality == NONANTIALIASED_QUALITY);
  CHECK(cache.GetBaseLogFont().lfWidth == 0);

  // SetBaseFont reads the record of a font.
  LOGFONTW other = BaseRecord(-9);
  HFONT handle = CreateFontIndirectW(&other);
  cache.SetBaseFont(handle);
  DeleteObject(handle);
  CHECK(cache.GetBaseHeight() == -9);
  GetObjectW(cache.GetFont(plain, nullptr), sizeof record, &record);
  CHECK(record.lfHeight == -9);
}

TEST_CASE("Parse replaces the former content; null and empty texts leave an empty text") {
  Parsed parsed(L"<B>abc");
  CHECK(parsed.text.GetLength() == 3);
  parsed.text.Parse(L"xy");
  CHECK(U8(parsed.plain()) == "xy");
  CHECK(parsed.styles() == std::vector<int>{0, 0});
  parsed.text.Parse(nullptr);
  CHECK(parsed.text.IsEmpty());
  CHECK(parsed.text.GetPlainText() == nullptr);
  parsed.text.Parse(L"");
  CHECK(parsed.text.IsEmpty());
  // A Str is read to its length, a zero in it included.
  Str withZero(L"a\0b<B>c", 7);
  parsed.text.Parse(withZero);
  CHECK(parsed.text.GetLength() == 4);
  CHECK(parsed.text.GetPlainText()[1] == 0);
  CHECK(parsed.styles() == std::vector<int>{0, 0, 0, kBold});
  parsed.text.Parse(Str());
  CHECK(parsed.text.IsEmpty());
  parsed.text.Parse(L"abc", 2);
  CHECK(U8(parsed.plain()) == "ab");
  CHECK(parsed.text.GetPlainText()[2] == 0);
  parsed.text.Clear();
  CHECK(parsed.text.IsEmpty());
  CHECK(parsed.text.GetLength() == 0);
}

TEST_CASE("without a cache the text parses, and draws in the context's own font") {
  MarkupText text;
  text.Parse(L"<B>ab</B>c");
  REQUIRE(U8(Plain(text)) == "abc");
  CHECK(text.GetAttrs()[0].style == kBold);
  CHECK(text.GetAttrs()[0].fontIndex == kMarkupNoFont);
  Canvas canvas(100, 40);
  LOGFONTW base = BaseRecord();
  SelectedFont font(canvas.dc(), base);
  RECT rect = {0, 0, 100, 40};
  CHECK(text.Draw(canvas.dc(), &rect, DT_CALCRECT) == GdiExtent(canvas.dc(), base, L"abc").cy);
  CHECK(rect.right == GdiExtent(canvas.dc(), base, L"abc").cx);
}

TEST_CASE("a copy of a measured text draws as the original does") {
  TestCache cache;
  Canvas canvas(200, 100);
  MarkupText original;
  original.SetFontCache(&cache);
  original.Parse(L"<B>bold</B> and <P14>large</P> words");
  RECT rect = {0, 0, 60, 0};
  int height = original.Draw(canvas.dc(), &rect, kMarkupMeasureFlags);
  REQUIRE(height > 0);
  MarkupText copy(original);
  CHECK(copy.IsMeasured());
  CHECK(U8(Plain(copy)) == U8(Plain(original)));
  CHECK(copy.GetLineHeight() == original.GetLineHeight());
  for (int i = 0; i < copy.GetLength(); ++i) CHECK(copy.GetAdvance(i) == original.GetAdvance(i));
  RECT copied = {0, 0, 60, 0};
  CHECK(copy.Draw(canvas.dc(), &copied, kMarkupMeasureFlags) == height);
  CHECK(EqualRect(&copied, &rect));
  MarkupText assigned;
  assigned = original;
  CHECK(assigned.GetFontCache() == &cache);
  CHECK(assigned.GetAttrs()[0].style == kBold);
  // A copy of a text not yet measured measures on its first draw.
  MarkupText fresh;
  fresh.SetFontCache(&cache);
  fresh.Parse(L"<I>x</I>");
  MarkupText freshCopy = fresh;
  CHECK_FALSE(freshCopy.IsMeasured());
  RECT one = {0, 0, 100, 0};
  CHECK(freshCopy.Draw(canvas.dc(), &one, DT_CALCRECT) == GdiLineHeight(canvas.dc(), BaseRecord(), fresh));
}

TEST_CASE("the skin's 8-point \"Tahoma\" as the base: plain text in it, bold and sizes made from it") {
  LOGFONTW skinFont;
  GetBaseFontTemplate(skinFont);
  HFONT plainFont = CreateFontIndirectW(&skinFont);
  REQUIRE(plainFont != nullptr);
  MarkupFontCache cache;
  cache.SetBaseFont(plainFont);
  DeleteObject(plainFont);
  CHECK(cache.GetBaseHeight() == DefaultFontHeight());
  MarkupText text;
  text.SetFontCache(&cache);
  text.Parse(L"a<B>b</B><P10>c");
  LOGFONTW record = {};
  GetObjectW(cache.GetFont(text.GetAttrs()[0].fontIndex, nullptr), sizeof record, &record);
  CHECK(record.lfHeight == DefaultFontHeight());
  CHECK(U8(record.lfFaceName) == "Tahoma");
  CHECK(record.lfWeight == FW_NORMAL);
  GetObjectW(cache.GetFont(text.GetAttrs()[1].fontIndex, nullptr), sizeof record, &record);
  CHECK(record.lfHeight == DefaultFontHeight());
  CHECK(U8(record.lfFaceName) == "Tahoma");
  CHECK(record.lfWeight == FW_BOLD);
  GetObjectW(cache.GetFont(text.GetAttrs()[2].fontIndex, nullptr), sizeof record, &record);
  CHECK(record.lfHeight == 10 * ScreenDpiY() / -72);
  CHECK(U8(record.lfFaceName) == "Tahoma");
}
