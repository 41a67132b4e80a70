// Drawing: the lines found for the rectangle's width, each as runs of one font and one colour, all
// runs of a line at the same top. Only lines that reach into the clip box are drawn.
#include "presentation/MarkupText.h"
#include "foundation/Handles.h"

namespace {

const int kRunChars = 256;
const wchar_t kDots[] = L"...";

bool IsLineEnd(wchar_t ch) { return ch == L'\n' || ch == L'\r'; }

// skipChars is in ascending order.
bool IsSkipped(const Array<int32_t>& skipChars, int index) {
  const int32_t* table = skipChars.GetData();
  int low = 0;
  int high = skipChars.GetSize();
  while (low < high) {
    int middle = low + (high - low) / 2;
    if (table[middle] == index) return true;
    if (table[middle] < index)
      low = middle + 1;
    else
      high = middle;
  }
  return false;
}

// One line's characters gathered into runs of one font and one colour, written with the measured
// advances so that the text stands exactly where the measure put it.
class RunWriter {
 public:
  RunWriter(HDC dc, int x, int y, UINT options, const RECT* clip)
      : dc(dc), x(x), y(y), options(options), clip(clip), used(0), runWidth(0) {}

  // Writes the run gathered so far; the next character begins a new one.
  void Flush() {
    if (used > 0) ExtTextOutW(dc, x, y, options, clip, chars, static_cast<UINT>(used), advances);
    x += runWidth;
    used = 0;
    runWidth = 0;
  }
  void Add(wchar_t ch, int advance) {
    if (used == kRunChars) Flush();
    chars[used] = ch;
    advances[used] = advance;
    ++used;
    runWidth += advance;
  }
  // Where the next character stands.
  int End() const { return x + runWidth; }

 private:
  HDC dc;
  int x;
  int y;
  UINT options;
  const RECT* clip;
  int used;
  int runWidth;
  wchar_t chars[kRunChars];
  INT advances[kRunChars];
};

}  // namespace

int MarkupText::Draw(HDC dc, RECT* rect, UINT flags) {
  if (length == 0 || !rect || !dc) return 0;
  if (flags & DT_CALCRECT) {
    if (rect->right < rect->left) rect->right = rect->left;
    if (rect->bottom < rect->top) rect->bottom = rect->top;
  } else if (rect->right - rect->left < 1 || rect->bottom - rect->top < 1) {
    return 0;
  }
  HGDIOBJ callersFont = GetCurrentObject(dc, OBJ_FONT);
  COLORREF callersColor = GetTextColor(dc);
  int callersMode = SetBkMode(dc, TRANSPARENT);

  Measure(dc);
  MarkupLines lines;
  BreakLines(rect->right - rect->left, flags, lines);
  int height = lineHeight * lines.GetCount();
  if (flags & DT_CALCRECT) {
    rect->right = rect->left + lines.Widest();
    rect->bottom = rect->top + height;
  } else {
    DrawLines(dc, *rect, flags, lines);
  }

  SelectObject(dc, callersFont);
  SetTextColor(dc, callersColor);
  SetBkMode(dc, callersMode);
  return height;
}

int MarkupText::DrawColored(HDC dc, RECT* rect, UINT flags, COLORREF color) {
  if (!dc) return 0;
  COLORREF callersColor = SetTextColor(dc, color);
  colorOverride = 1;
  int height = Draw(dc, rect, flags);
  colorOverride = 0;
  SetTextColor(dc, callersColor);
  return height;
}

void MarkupText::DrawLines(HDC dc, const RECT& rect, UINT flags, const MarkupLines& lines) {
  RECT clip;
  if (GetClipBox(dc, &clip) == ERROR) clip = rect;
  UINT options = 0;
  if (!(flags & DT_NOCLIP)) {
    IntersectRect(&clip, &clip, &rect);
    options = ETO_CLIPPED;
  }
  if (IsRectEmpty(&clip)) return;
  // The text output clips the glyphs; the clip region also holds what is drawn beside them: the
  // underline and strike-out of a run, and the rules.
  int savedState = 0;
  if (options & ETO_CLIPPED) {
    savedState = SaveDC(dc);
    IntersectClipRect(dc, clip.left, clip.top, clip.right, clip.bottom);
  }

  const wchar_t* chars = text.GetData();
  const MarkupCharAttr* charAttrs = attrs.GetData();
  const int32_t* advances = widths.GetData();
  HGDIOBJ callersFont = GetCurrentObject(dc, OBJ_FONT);
  // A font the cache doesn't have leaves the caller's font in place.
  auto selectFont = [&](uint16_t index) {
    HFONT font = fontCache ? fontCache->GetFont(index, nullptr) : nullptr;
    SelectObject(dc, font ? static_cast<HGDIOBJ>(font) : callersFont);
  };
  bool singleLine = (flags & DT_SINGLELINE) != 0;
  int rectWidth = rect.right - rect.left;
  int block = lineHeight * lines.GetCount();
  int y = rect.top;
  if (flags & DT_BOTTOM)
    y = rect.bottom - block;
  else if (flags & DT_VCENTER)
    y = rect.top + (rect.bottom - block - rect.top) / 2;

  int first = 0;
  for (int line = 0; line < lines.GetCount(); ++line, y += lineHeight) {
    int count = lines.charCount.GetData()[line];
    int lineStart = first;
    first += count;
    if (y + lineHeight <= clip.top || y >= clip.bottom) continue;

    if (count == 1 && (charAttrs[lineStart].style & kMarkupRule)) {
      // A rule is clipped as text is: one whose pixel row lies outside the clip box is not drawn.
      int ruleY = y + lineHeight / 2;
      if (ruleY < clip.top || ruleY >= clip.bottom) continue;
      COLORREF color = colorOverride ? GetTextColor(dc) : charAttrs[lineStart].color;
      if (!colorOverride) SetTextColor(dc, color);
      GdiObject<HPEN> pen(CreatePen(PS_SOLID, 1, color));
      HGDIOBJ callersPen = SelectObject(dc, pen.Get());
      POINT ends[2] = {{rect.left, ruleY}, {rect.right, ruleY}};
      Polyline(dc, ends, 2);
      SelectObject(dc, callersPen);
      continue;
    }

    // A character counts towards the line's width unless it is a wrap point's blank or a line end.
    auto counts = [&](int index) {
      return !IsSkipped(lines.skipChars, index) && (singleLine || !IsLineEnd(chars[index]));
    };
    int end = lineStart + count;
    int width = lines.width.GetData()[line];
    int dots = 0;
    uint16_t dotsFont = charAttrs[end - 1].fontIndex;
    if ((flags & kMarkupEndEllipsis) && width > rectWidth) {
      // The dots are measured and written in the font of the line's last character.
      selectFont(dotsFont);
      SIZE dot = {0, 0};
      GetTextExtentPoint32W(dc, kDots, 1, &dot);
      dots = 3;
      width += dots * dot.cx;
      while (width > rectWidth && end - lineStart > 1) {
        --end;
        if (counts(end)) width -= advances[end];
      }
      while (width > rectWidth && dots > 0) {
        --dots;
        width -= dot.cx;
      }
    }

    int x = rect.left;
    if (flags & DT_RIGHT)
      x = rect.right - width;
    else if (flags & DT_CENTER)
      x = rect.left + (rect.right - width - rect.left) / 2;

    RunWriter runs(dc, x, y, options, &clip);
    bool started = false;
    uint16_t runFont = 0;
    uint32_t runColor = 0;
    for (int i = lineStart; i < end; ++i) {
      if (!counts(i)) continue;
      const MarkupCharAttr& attr = charAttrs[i];
      bool newFont = !started || attr.fontIndex != runFont;
      bool newColor = !colorOverride && (!started || attr.color != runColor);
      if (newFont || newColor) runs.Flush();
      if (newFont) {
        selectFont(attr.fontIndex);
        runFont = attr.fontIndex;
      }
      if (newColor) {
        SetTextColor(dc, attr.color);
        runColor = attr.color;
      }
      started = true;
      runs.Add(chars[i], advances[i]);
    }
    runs.Flush();
    if (dots > 0) {
      selectFont(dotsFont);
      ExtTextOutW(dc, runs.End(), y, options, &clip, kDots, static_cast<UINT>(dots), nullptr);
    }
  }
  if (savedState) RestoreDC(dc, savedState);
}
