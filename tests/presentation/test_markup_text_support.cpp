#include "test_markup_text_support.h"
#include <wchar.h>
#include <map>
#include <sstream>
#include "WideText.h"

namespace markuptest {

LOGFONTW BaseRecord(LONG height) {
  LOGFONTW record = {};
  record.lfHeight = height;
  record.lfWeight = FW_NORMAL;
  record.lfCharSet = DEFAULT_CHARSET;
  record.lfQuality = NONANTIALIASED_QUALITY;
  wcscpy(record.lfFaceName, L"Tahoma");
  return record;
}

LOGFONTW ExpectedRecord(const LOGFONTW& base, uint16_t style) {
  LOGFONTW record = base;
  record.lfWeight = (style & 1) ? FW_BOLD : FW_NORMAL;
  record.lfItalic = (style & 2) ? 1 : 0;
  record.lfUnderline = (style & 4) ? 1 : 0;
  record.lfStrikeOut = (style & 8) ? 1 : 0;
  int points = style >> 8;
  if (points) record.lfHeight = points * ScreenDpiY() / -72;
  return record;
}

int ScreenDpiY() {
  HDC screen = GetDC(nullptr);
  int dpi = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  return dpi;
}

TestCache::TestCache(LONG height) { SetBaseLogFont(BaseRecord(height)); }

Canvas::Canvas(int w, int h)
    : context(nullptr), bitmap(nullptr), old(nullptr), bits(nullptr), width(w), height(h) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  context = CreateCompatibleDC(nullptr);
  void* pixels = nullptr;
  bitmap = CreateDIBSection(context, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
  bits = static_cast<uint32_t*>(pixels);
  old = SelectObject(context, bitmap);
  Fill(RGB(255, 255, 255));
}

Canvas::~Canvas() {
  SelectObject(context, old);
  DeleteObject(bitmap);
  DeleteDC(context);
}

void Canvas::Fill(COLORREF color) {
  GdiFlush();
  uint32_t value = (GetRValue(color) << 16) | (GetGValue(color) << 8) | GetBValue(color);
  for (int i = 0; i < width * height; ++i) bits[i] = value;
}

COLORREF Canvas::Pixel(int x, int y) const {
  if (x < 0 || y < 0 || x >= width || y >= height) return CLR_INVALID;
  GdiFlush();
  uint32_t value = bits[y * width + x];
  return RGB((value >> 16) & 0xFF, (value >> 8) & 0xFF, value & 0xFF);
}

int Canvas::Count(COLORREF color, const RECT* area) const {
  RECT all = {0, 0, width, height};
  RECT within = all;
  if (area) IntersectRect(&within, area, &all);
  int found = 0;
  for (int y = within.top; y < within.bottom; ++y) {
    for (int x = within.left; x < within.right; ++x) found += Pixel(x, y) == color;
  }
  return found;
}

int Canvas::CountOutside(COLORREF color, const RECT& area) const {
  int found = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      POINT at = {x, y};
      if (!PtInRect(&area, at) && Pixel(x, y) != color) ++found;
    }
  }
  return found;
}

RECT Canvas::Ink(COLORREF background) const {
  RECT ink = {width, height, 0, 0};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      if (Pixel(x, y) == background) continue;
      if (x < ink.left) ink.left = x;
      if (y < ink.top) ink.top = y;
      if (x + 1 > ink.right) ink.right = x + 1;
      if (y + 1 > ink.bottom) ink.bottom = y + 1;
    }
  }
  if (ink.right == 0) SetRectEmpty(&ink);
  return ink;
}

std::vector<uint32_t> Canvas::Bits() const {
  GdiFlush();
  return std::vector<uint32_t>(bits, bits + width * height);
}

bool Canvas::SameAs(const Canvas& other) const { return Bits() == other.Bits(); }

std::string Canvas::Difference(const Canvas& other) const {
  std::vector<uint32_t> mine = Bits();
  std::vector<uint32_t> theirs = other.Bits();
  if (width != other.width || height != other.height) return "the sizes differ";
  int count = 0;
  std::ostringstream out;
  for (int i = 0; i < width * height; ++i) {
    if (mine[static_cast<size_t>(i)] == theirs[static_cast<size_t>(i)]) continue;
    if (count < 8)
      out << "(" << i % width << "," << i / width << ") " << std::hex << mine[static_cast<size_t>(i)]
          << " against " << theirs[static_cast<size_t>(i)] << std::dec << "; ";
    ++count;
  }
  if (count == 0) return std::string();
  out << count << " pixels differ";
  return out.str();
}

SelectedFont::SelectedFont(HDC into, const LOGFONTW& record) : dc(into), font(CreateFontIndirectW(&record)) {
  old = SelectObject(dc, font);
}

SelectedFont::~SelectedFont() {
  SelectObject(dc, old);
  DeleteObject(font);
}

// Fonts made once per record for the life of the program: the layouts measure many runs.
static HFONT FontFor(const LOGFONTW& record) {
  static std::map<std::vector<unsigned char>, HFONT> fonts;
  const unsigned char* bytes = reinterpret_cast<const unsigned char*>(&record);
  std::vector<unsigned char> key(bytes, bytes + sizeof record);
  auto found = fonts.find(key);
  if (found != fonts.end()) return found->second;
  HFONT font = CreateFontIndirectW(&record);
  fonts[key] = font;
  return font;
}

SIZE GdiExtent(HDC dc, const LOGFONTW& record, const std::wstring& text) {
  HGDIOBJ old = SelectObject(dc, FontFor(record));
  SIZE size = {0, 0};
  GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
  SelectObject(dc, old);
  return size;
}

std::wstring Plain(const MarkupText& text) {
  if (text.GetLength() == 0) return std::wstring();
  return std::wstring(text.GetPlainText(), static_cast<size_t>(text.GetLength()));
}

static bool IsLineEnd(wchar_t ch) { return ch == L'\n' || ch == L'\r'; }

int GdiWidth(HDC dc, const LOGFONTW& base, const MarkupText& text, int first, int count,
             const std::vector<int>& skip) {
  const MarkupCharAttr* attrs = text.GetAttrs();
  const wchar_t* chars = text.GetPlainText();
  int width = 0;
  std::wstring run;
  int runKey = -1;
  auto flush = [&]() {
    if (!run.empty()) width += GdiExtent(dc, ExpectedRecord(base, static_cast<uint16_t>(runKey)), run).cx;
    run.clear();
  };
  for (int i = first; i < first + count; ++i) {
    if (IsLineEnd(chars[i])) continue;
    bool skipped = false;
    for (int s : skip) skipped = skipped || s == i;
    if (skipped) continue;
    int key = attrs[i].style & 0xFF0F;
    if (key != runKey) flush();
    runKey = key;
    run += chars[i];
  }
  flush();
  return width;
}

int GdiLineHeight(HDC dc, const LOGFONTW& base, const MarkupText& text) {
  int height = 0;
  for (int i = 0; i < text.GetLength(); ++i) {
    SIZE size = GdiExtent(dc, ExpectedRecord(base, text.GetAttrs()[i].style),
                          std::wstring(1, text.GetPlainText()[i]));
    if (size.cy > height) height = size.cy;
  }
  return height;
}

std::string Describe(const std::vector<Line>& lines, const MarkupText& text) {
  std::ostringstream out;
  for (const Line& line : lines) {
    std::wstring chars = Plain(text).substr(static_cast<size_t>(line.first), static_cast<size_t>(line.count));
    for (wchar_t& ch : chars) {
      if (ch == L'\n') ch = L'|';
      if (ch == L'\r') ch = L'~';
    }
    out << "[" << U8(chars) << "] w" << line.width;
    if (line.skip >= 0) out << " skip " << line.skip;
    out << "\n";
  }
  return out.str();
}

std::vector<Line> EngineLines(HDC dc, MarkupText& text, int width, UINT flags) {
  text.Measure(dc);
  MarkupLines lines;
  text.BreakLines(width, flags, lines);
  std::vector<Line> result;
  int first = 0;
  for (int i = 0; i < lines.GetCount(); ++i) {
    Line line = {first, lines.charCount[i], lines.width[i], -1};
    for (int s = 0; s < lines.skipChars.GetSize(); ++s) {
      if (lines.skipChars[s] >= first && lines.skipChars[s] < first + line.count)
        line.skip = lines.skipChars[s];
    }
    first += line.count;
    result.push_back(line);
  }
  return result;
}

std::vector<Line> ReferenceLines(HDC dc, const LOGFONTW& base, const MarkupText& text, int width,
                                 bool wordBreak) {
  std::vector<Line> lines;
  int n = text.GetLength();
  const wchar_t* chars = text.GetPlainText();
  auto isRule = [&](int i) { return (text.GetAttrs()[i].style & 0x10) != 0; };
  auto measure = [&](int from, int to) { return GdiWidth(dc, base, text, from, to - from); };
  int start = 0;
  while (start < n) {
    if (isRule(start)) {
      lines.push_back({start, 1, 0, -1});
      ++start;
      continue;
    }
    int end = start;  // characters [start, end) are on the line
    for (;;) {
      if (end == n || isRule(end)) {
        lines.push_back({start, end - start, measure(start, end), -1});
        start = end;
        break;
      }
      if (IsLineEnd(chars[end])) {
        int ends = 1;
        if (end + 1 < n && IsLineEnd(chars[end + 1]) && chars[end + 1] != chars[end] && !isRule(end + 1))
          ends = 2;
        lines.push_back({start, end - start + ends, measure(start, end), -1});
        start = end + ends;
        break;
      }
      if (end == start || measure(start, end + 1) <= width) {
        ++end;
        continue;
      }
      int blank = -1;
      for (int j = end; wordBreak && j > start && blank < 0; --j) {
        if (chars[j] == L' ') blank = j;
      }
      if (blank >= 0) {
        lines.push_back({start, blank - start + 1, measure(start, blank), blank});
        start = blank + 1;
      } else {
        lines.push_back({start, end - start, measure(start, end), -1});
        start = end;
      }
      break;
    }
  }
  return lines;
}

}  // namespace markuptest
