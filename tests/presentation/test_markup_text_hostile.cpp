// Hostile markup: random characters, unbalanced and nested tags, cut-off tags at the very end of
// memory, huge texts, and a mutation run. Nothing may crash or read behind the text, and what is
// parsed, wrapped and drawn must still follow the rules.
#include <doctest/doctest.h>
#include <windows.h>
#include <chrono>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>
#include "MutationLoop.h"
#include "WideText.h"
#include "test_markup_text_support.h"

using namespace markuptest;

namespace {

const COLORREF kWhite = RGB(255, 255, 255);

// A text placed so that its last character is the last one before a page that can't be read: a
// read behind the text faults at once.
class GuardedText {
 public:
  explicit GuardedText(const std::wstring& text) : base(nullptr), chars(nullptr) {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    size_t page = info.dwPageSize;
    size_t bytes = text.size() * sizeof(wchar_t);
    size_t dataPages = (bytes + page - 1) / page + 1;
    size = (dataPages + 1) * page;
    base = static_cast<char*>(VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    REQUIRE(base != nullptr);
    DWORD old = 0;
    REQUIRE(VirtualProtect(base + dataPages * page, page, PAGE_NOACCESS, &old));
    chars = reinterpret_cast<wchar_t*>(base + dataPages * page - bytes);
    if (bytes) memcpy(chars, text.data(), bytes);
    length = static_cast<int>(text.size());
  }
  ~GuardedText() { VirtualFree(base, 0, MEM_RELEASE); }
  const wchar_t* Chars() const { return chars; }
  int Length() const { return length; }

 private:
  char* base;
  size_t size;
  wchar_t* chars;
  int length;
};

struct RefChar {
  wchar_t ch;
  int style;
  unsigned color;
};

// The tag table read straight: the closing form, the three-character form, colour, size, in turn.
std::vector<RefChar> ReferenceParse(const std::wstring& s) {
  const std::wstring styleLetters = L"BbIiUuSs";
  const int styleBits[] = {1, 1, 2, 2, 4, 4, 8, 8};
  std::vector<RefChar> out;
  int style = 0;
  unsigned color = 0;
  size_t n = s.size();
  for (size_t i = 0; i < n;) {
    if (s[i] == L'<') {
      if (i + 3 < n && s[i + 1] == L'/' && s[i + 3] == L'>') {
        size_t letter = styleLetters.find(s[i + 2]);
        if (letter != std::wstring::npos) {
          style &= ~styleBits[letter];
          i += 4;
          continue;
        }
        if (s[i + 2] == L'P' || s[i + 2] == L'p') {
          style &= 0xFF;
          i += 4;
          continue;
        }
        if (s[i + 2] == L'#') {
          color = 0;
          i += 4;
          continue;
        }
      } else if (i + 2 < n && s[i + 2] == L'>') {
        size_t letter = styleLetters.find(s[i + 1]);
        if (letter != std::wstring::npos) {
          style |= styleBits[letter];
          i += 3;
          continue;
        }
        if (s[i + 1] == L'L' || s[i + 1] == L'l') {
          out.push_back({L'\n', style | 0x10, color});
          i += 3;
          continue;
        }
      } else if (i + 8 < n && s[i + 1] == L'#' && s[i + 8] == L'>') {
        unsigned rgb = static_cast<unsigned>(wcstol(s.substr(i + 2, 6).c_str(), nullptr, 16));
        color = RGB((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF);
        i += 9;
        continue;
      } else if (i + 4 < n && (s[i + 1] == L'P' || s[i + 1] == L'p') && s[i + 4] == L'>') {
        long points = wcstol(s.substr(i + 2, 2).c_str(), nullptr, 10);
        style = (style & 0xFF) | static_cast<int>((points & 0xFF) << 8);
        i += 5;
        continue;
      }
    }
    out.push_back({s[i], style, color});
    ++i;
  }
  return out;
}

// Parses `source` from the end of readable memory, then checks the parse against the table, the
// lines against the measures, and the drawing against the rect. Gives the first thing wrong.
std::string CheckHostile(const std::wstring& source, Canvas& canvas, uint32_t variant) {
  std::ostringstream why;
  TestCache cache;
  MarkupText text;
  text.SetFontCache(&cache);
  GuardedText guarded(source);
  text.Parse(guarded.Chars(), guarded.Length());

  std::vector<RefChar> expected = ReferenceParse(source);
  if (text.GetLength() != static_cast<int>(expected.size())) {
    why << "length " << text.GetLength() << " instead of " << expected.size();
    return why.str();
  }
  for (int i = 0; i < text.GetLength(); ++i) {
    const MarkupCharAttr& attr = text.GetAttrs()[i];
    const RefChar& ref = expected[static_cast<size_t>(i)];
    if (text.GetPlainText()[i] != ref.ch || attr.style != ref.style || attr.color != ref.color) {
      why << "character " << i << " differs from the table's reading";
      return why.str();
    }
    if (attr.fontIndex >= cache.GetCount() || cache.FindFont(attr.style) != attr.fontIndex) {
      why << "character " << i << " has font " << attr.fontIndex << " of " << cache.GetCount();
      return why.str();
    }
  }
  if (text.GetLength() > 0 && text.GetPlainText()[text.GetLength()] != 0) return "the plain text has no end";

  // Lines: every character on exactly one line, no line empty, none wider than the width unless it
  // holds a single character that counts.
  const int widths[] = {0, 1, 7, 30, 64, 1000};
  int width = widths[variant % 6];
  UINT flags = (variant & 8) ? DT_WORDBREAK : 0;
  if ((variant % 23) == 0) flags |= DT_SINGLELINE;
  text.Measure(canvas.dc());
  MarkupLines lines;
  text.BreakLines(width, flags, lines);
  int first = 0;
  for (int line = 0; line < lines.GetCount(); ++line) {
    int count = lines.charCount[line];
    if (count < 1) return "an empty line";
    int sum = 0;
    int counted = 0;
    for (int i = first; i < first + count; ++i) {
      wchar_t ch = text.GetPlainText()[i];
      bool skipped = false;
      for (int s = 0; s < lines.skipChars.GetSize(); ++s) skipped = skipped || lines.skipChars[s] == i;
      if (skipped || (!(flags & DT_SINGLELINE) && (ch == L'\n' || ch == L'\r'))) continue;
      sum += text.GetAdvance(i);
      ++counted;
    }
    if (sum != lines.width[line]) {
      why << "line " << line << " is " << lines.width[line] << " wide, its characters " << sum;
      return why.str();
    }
    if (!(flags & DT_SINGLELINE) && counted > 1 && sum > width) {
      why << "line " << line << " of " << counted << " characters is wider than " << width;
      return why.str();
    }
    first += count;
  }
  if (first != text.GetLength()) return "the lines don't hold every character";

  // Measuring gives the lines' height; drawing stays within the rect.
  RECT measure = {0, 0, width, 0};
  int height = text.Draw(canvas.dc(), &measure, flags | DT_CALCRECT);
  if (height != lines.GetCount() * text.GetLineHeight())
    return "the measured height is not lines times line height";
  canvas.Fill(kWhite);
  RECT rect = {6, 5, 6 + (width % 60) + 1, 5 + static_cast<int>(variant % 40) + 1};
  UINT drawFlags = flags | ((variant & 16) ? kMarkupEndEllipsis : 0) | ((variant & 32) ? DT_VCENTER : 0) |
                   ((variant & 64) ? DT_RIGHT : 0);
  if (variant & 128)
    text.DrawColored(canvas.dc(), &rect, drawFlags, RGB(0, 0, 255));
  else
    text.Draw(canvas.dc(), &rect, drawFlags);
  if (canvas.CountOutside(kWhite, rect) != 0) {
    RECT ink = canvas.Ink();
    why << "pixels drawn outside the rect (" << rect.left << "," << rect.top << ")-(" << rect.right << ","
        << rect.bottom << ") with flags " << drawFlags << ": ink (" << ink.left << "," << ink.top << ")-("
        << ink.right << "," << ink.bottom << ")";
    return why.str();
  }
  return std::string();
}

std::wstring RandomText(std::mt19937& random, size_t length) {
  static const wchar_t kAlphabet[] = L"<<<<//>>>##BbIiUuSsLlPp0123456789aFfx \n\r\t";
  std::wstring text;
  for (size_t i = 0; i < length; ++i) {
    uint32_t pick = random() % 10;
    if (pick < 8)
      text += kAlphabet[random() % (sizeof kAlphabet / sizeof kAlphabet[0] - 1)];
    else
      text += static_cast<wchar_t>(random() & 0xFFFF);
  }
  return text;
}

mutation::Bytes Utf16Bytes(const std::wstring& text) {
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(text.data());
  return mutation::Bytes(bytes, bytes + text.size() * sizeof(wchar_t));
}

}  // namespace

TEST_CASE("tags cut off at the very end of readable memory are text, and nothing behind is read") {
  Canvas canvas(80, 60);
  const wchar_t* const endings[] = {L"<",  L"</",      L"</B",       L"</#",  L"<B",  L"<L",
                                    L"<#", L"<#12345", L"<#123456",  L"<P",   L"<P1", L"<P12",
                                    L"a<", L"x</P",    L"<#1234567", L"<<<<", L"</</"};
  for (const wchar_t* ending : endings) {
    for (const wchar_t* before : {L"", L"text ", L"<B>bold <#FF0000>"}) {
      std::wstring source = std::wstring(before) + ending;
      CAPTURE(U8(source));
      for (uint32_t variant : {0u, 9u, 26u, 200u}) CHECK(CheckHostile(source, canvas, variant) == "");
      // The cut-off tag stays as it was typed.
      TestCache cache;
      MarkupText text;
      text.SetFontCache(&cache);
      GuardedText guarded(source);
      text.Parse(guarded.Chars(), guarded.Length());
      std::wstring plain = Plain(text);
      CHECK(plain.size() >= wcslen(ending));
      CHECK(U8(plain.substr(plain.size() - wcslen(ending))) == U8(ending));
    }
  }
}

TEST_CASE("random characters, unbalanced and nested tags parse by the table, wrap and draw in their rect") {
  Canvas canvas(80, 60);
  std::mt19937 random(20261126);
  for (uint32_t round = 0; round < 400; ++round) {
    std::wstring source = RandomText(random, random() % 120);
    CAPTURE(round);
    std::string why = CheckHostile(source, canvas, round);
    CHECK_MESSAGE(why == "", why);
  }
  // Deep nesting and tags without their pair.
  std::wstring deep;
  for (int i = 0; i < 500; ++i) deep += L"<B><I><U><S><#00FF00><P09>";
  deep += L"deep";
  for (int i = 0; i < 700; ++i) deep += L"</S></U></I></B></#></P>";
  deep += L"flat</B></B></B>";
  CHECK(CheckHostile(deep, canvas, 3) == "");
  TestCache cache;
  MarkupText text;
  text.SetFontCache(&cache);
  text.Parse(deep.c_str());
  CHECK(U8(Plain(text)) == "deepflat");
  CHECK(text.GetAttrs()[0].style == 0x090F);
  CHECK(text.GetAttrs()[4].style == 0);
  CHECK(text.GetAttrs()[4].color == 0u);
  CHECK(cache.GetCount() == 2);
}

TEST_CASE("every size and style a text can name makes a font of its own, within reach of the cache") {
  std::wstring source;
  for (int points = 0; points < 256; points += 5) {
    wchar_t tag[16];
    swprintf(tag, 16, L"<P%02d>", points % 100);
    source += tag;
    for (const wchar_t* style : {L"<B>", L"<I>", L"</B>", L"<U>", L"<S>", L"</I>"}) {
      source += style;
      source += L"x";
    }
  }
  Canvas canvas(80, 60);
  CHECK(CheckHostile(source, canvas, 7) == "");
}

TEST_CASE("huge texts parse, measure and wrap, and a run longer than the draw buffer is drawn whole") {
  std::wstring huge;
  std::mt19937 random(7);
  while (huge.size() < 300000) {
    huge += L"<B>bold</B> plain <#204080>coloured</#> <P12>large</P> ";
    if (random() % 5 == 0) huge += L"<L>";
    if (random() % 7 == 0) huge += L"\r\n";
    huge += RandomText(random, 20);
  }
  Canvas canvas(300, 200);
  TestCache cache;
  MarkupText text;
  text.SetFontCache(&cache);
  auto started = std::chrono::steady_clock::now();
  GuardedText guarded(huge);
  text.Parse(guarded.Chars(), guarded.Length());
  CHECK(text.GetLength() == static_cast<int>(ReferenceParse(huge).size()));
  RECT rect = {0, 0, 240, 0};
  int height = text.Draw(canvas.dc(), &rect, kMarkupMeasureFlags);
  CHECK(height > 0);
  CHECK(height % text.GetLineHeight() == 0);
  RECT view = {0, 0, 240, 200};
  CHECK(text.Draw(canvas.dc(), &view, DT_WORDBREAK) == height);
  CHECK(canvas.Count(RGB(0, 0, 0)) > 0);
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  MESSAGE("300,000 characters parsed, measured, wrapped and drawn in " << seconds << " s");

  // One run of 700 characters on one line: the last of them are drawn too, where they belong.
  std::wstring longRun(700, L'i');
  Canvas wide(4000, 20);
  MarkupText line;
  line.SetFontCache(&cache);
  line.Parse(longRun.c_str());
  RECT all = {0, 0, 4000, 20};
  line.Draw(wide.dc(), &all, DT_SINGLELINE);
  int full = 0;
  for (int i = 0; i < line.GetLength(); ++i) full += line.GetAdvance(i);
  REQUIRE(full < 4000);
  RECT ink = wide.Ink();
  CHECK(ink.right > full - line.GetAdvance(0));
  CHECK(ink.right <= full);
  RECT tail = {full - 10 * line.GetAdvance(0), 0, full, 20};
  CHECK(wide.Count(RGB(0, 0, 0), &tail) >= 10);
}

TEST_CASE("mutations: markup texts") {
  std::vector<mutation::Bytes> corpus;
  for (const wchar_t* source :
       {L"Hello <B>world</B>, <#C00000>this is <I>mixed</I></#> <U>styled</U> and <S>struck</S> text",
        L"<P14>Large</P> and small <P06>tiny</P> <B><#0000FF>blue bold</#></B> words<L>under a rule",
        L"line one\nline two\r\nline three\n\rfour<l></p></P></#></b></i></u></s>",
        L"<#zz0000>x<P-1>y<Pab>z<#-00001>w</X><x><#><P>", L"a<b"}) {
    corpus.push_back(Utf16Bytes(source));
  }
  Canvas canvas(80, 60);
  uint32_t variant = 0;
  const mutation::Summary summary = mutation::Run(
      "markup-text", corpus,
      [&](const mutation::Bytes& bytes, std::string& why) {
        std::wstring source(bytes.size() / sizeof(wchar_t), L'\0');
        if (!source.empty()) memcpy(&source[0], bytes.data(), source.size() * sizeof(wchar_t));
        why = CheckHostile(source, canvas, variant++);
        return why.empty();
      },
      1500, 16);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  CHECK(summary.inputs > 0);
  CHECK(summary.wrong == 0);
}
