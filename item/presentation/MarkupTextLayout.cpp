// Measuring and wrapping: each character is measured once, alone, in its own font; the lines of a
// width are then found from those widths alone, with no call to the platform.
#include "presentation/MarkupText.h"

namespace {

bool IsLineEnd(wchar_t ch) { return ch == L'\n' || ch == L'\r'; }

// LF CR and CR LF end one line together.
bool IsLineEndPair(wchar_t first, wchar_t second) {
  return (first == L'\n' && second == L'\r') || (first == L'\r' && second == L'\n');
}

void CloseLine(MarkupLines& lines, int count, int width) {
  lines.charCount.Add(count);
  lines.width.Add(width);
}

// The characters after which an address may go on on the next line.
bool IsAddressBreak(wchar_t ch) {
  return ch == L'@' || ch == L'.' || ch == L'/' || ch == L'\\' || ch == L'-' || ch == L'_';
}

int SumWidths(const int32_t* widths, int from, int to) {
  int sum = 0;
  for (int i = from; i < to; ++i) sum += widths[i];
  return sum;
}

}  // namespace

void MarkupText::Measure(HDC dc) {
  if (measured || !dc || length == 0) return;
  HGDIOBJ callersFont = GetCurrentObject(dc, OBJ_FONT);
  const wchar_t* chars = text.GetData();
  const MarkupCharAttr* charAttrs = attrs.GetData();
  int32_t* advances = widths.GetData();
  int height = 0;
  int overhang = 0;
  for (int i = 0; i < static_cast<int>(length); ++i) {
    uint16_t fontIndex = charAttrs[i].fontIndex;
    if (i == 0 || fontIndex != charAttrs[i - 1].fontIndex) {
      // The overhang of a font reaches into the next character: it belongs to the last one of a run.
      if (i > 0) advances[i - 1] += overhang;
      HFONT font = fontCache ? fontCache->GetFont(fontIndex, &overhang) : nullptr;
      if (!font) overhang = 0;
      SelectObject(dc, font ? static_cast<HGDIOBJ>(font) : callersFont);
    }
    SIZE size = {0, 0};
    GetTextExtentExPointW(dc, chars + i, 1, 0, nullptr, nullptr, &size);
    advances[i] = size.cx - overhang;
    if (size.cy > height) height = size.cy;
  }
  SelectObject(dc, callersFont);
  lineHeight = height;
  measured = 1;
}

int MarkupText::InkOverhang(HDC dc) const {
  if (!dc || length == 0) return 0;
  HGDIOBJ callersFont = GetCurrentObject(dc, OBJ_FONT);
  const wchar_t* chars = text.GetData();
  const MarkupCharAttr* charAttrs = attrs.GetData();
  int widest = 0;
  for (int i = 0; i < static_cast<int>(length); ++i) {
    if (i == 0 || charAttrs[i].fontIndex != charAttrs[i - 1].fontIndex) {
      HFONT font = fontCache ? fontCache->GetFont(charAttrs[i].fontIndex, nullptr) : nullptr;
      SelectObject(dc, font ? static_cast<HGDIOBJ>(font) : callersFont);
    }
    // A negative right bearing is ink beyond the advance; fonts without bearings have none.
    ABC abc = {0, 0, 0};
    if (GetCharABCWidthsW(dc, chars[i], chars[i], &abc) && -abc.abcC > widest) widest = -abc.abcC;
  }
  SelectObject(dc, callersFont);
  return widest;
}

void MarkupText::BreakLines(int rectWidth, UINT flags, MarkupLines& lines) const {
  lines.charCount.RemoveAll();
  lines.width.RemoveAll();
  lines.skipChars.RemoveAll();
  int n = static_cast<int>(length);
  if (n == 0) return;
  const int32_t* advances = widths.GetData();
  if (flags & DT_SINGLELINE) {
    CloseLine(lines, n, SumWidths(advances, 0, n));
    return;
  }
  const wchar_t* chars = text.GetData();
  const MarkupCharAttr* charAttrs = attrs.GetData();
  int start = 0;  // the first character of the line being filled
  int count = 0;
  int width = 0;
  for (int i = 0; i < n; ++i) {
    if (charAttrs[i].style & kMarkupRule) {
      if (count > 0) CloseLine(lines, count, width);
      CloseLine(lines, 1, 0);
      start = i + 1;
      count = 0;
      width = 0;
      continue;
    }
    if (IsLineEnd(chars[i])) {
      ++count;
      if (i + 1 < n && IsLineEndPair(chars[i], chars[i + 1]) && !(charAttrs[i + 1].style & kMarkupRule)) {
        ++i;
        ++count;
      }
      CloseLine(lines, count, width);
      start = i + 1;
      count = 0;
      width = 0;
      continue;
    }
    ++count;
    width += advances[i];
    // A line's first character always stays on it, however wide.
    if (count == 1 || width <= rectWidth) continue;

    int blank = -1;
    if (flags & DT_WORDBREAK) {
      for (int j = i; j > start; --j) {
        if (chars[j] == L' ') {
          blank = j;
          break;
        }
      }
    }
    if (blank >= 0) {
      // The line ends with the blank, which is not drawn; the word behind it goes on.
      CloseLine(lines, blank - start + 1, SumWidths(advances, start, blank));
      lines.skipChars.Add(blank);
      start = blank + 1;
      count = i - blank;
      width = SumWidths(advances, start, i + 1);
      if (count <= 1 || width <= rectWidth) continue;
      // The word behind the blank is too wide by itself: it is cut like a line without blanks.
    }
    if ((flags & DT_WORDBREAK) && (flags & kMarkupAddressBreak)) {
      int after = -1;
      for (int j = i - 1; j >= start && after < 0; --j)
        if (IsAddressBreak(chars[j])) after = j;
      if (after >= 0) {
        CloseLine(lines, after - start + 1, SumWidths(advances, start, after + 1));
        start = after + 1;
        count = i - after;
        width = SumWidths(advances, start, i + 1);
        if (count <= 1 || width <= rectWidth) continue;
      }
    }
    CloseLine(lines, count - 1, width - advances[i]);
    start = i;
    count = 1;
    width = advances[i];
  }
  if (count > 0) CloseLine(lines, count, width);
}
