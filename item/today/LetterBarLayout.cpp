// How the letter bar divides its width among the cells: the letters get the largest font, from 10
// points at 96 dpi down to 5 pixels, at which all cells fit, and the width to spare is shared out.
#include "presentation/Gradient.h"
#include "presentation/Skin.h"
#include "today/LetterBar.h"

namespace {

const int kSmallestFont = 5;

SIZE TextSize(HDC dc, const Str& text) {
  SIZE size = {0, 0};
  GetTextExtentPoint32W(dc, text, text.GetLength(), &size);
  return size;
}

}  // namespace

// Measures every letter cell in the font selected into `dc`: their natural widths go into the cell
// widths, `total` gets the sum of (width - 1) plus the last cell's width, `tallest` the greatest text
// height. Returns the last cell's width.
int LetterBar::MeasureCells(HDC dc, int* total, int* tallest) {
  int lastWidth = imageWidth + 2 * ScaleX(2);
  if (lastWidth < ScaleX(5)) lastWidth = ScaleX(5);
  int letters = cellCount - 1;
  *total = lastWidth;
  *tallest = 0;
  cellWidths.SetSize(cellCount);
  TEXTMETRICW metrics;
  GetTextMetricsW(dc, &metrics);
  for (int i = 0; i < letters; ++i) {
    int textWidth = i < captions.GetSize() ? TextSize(dc, captions[i]).cx : 0;
    if (twoRows && i < secondCaptions.GetSize()) {
      int second = TextSize(dc, secondCaptions[i]).cx;
      if (second > textWidth) textWidth = second;
    }
    int width = textWidth + 2 * ScaleX(2);
    if (width < ScaleX(5)) width = ScaleX(5);
    int height = twoRows ? 2 * metrics.tmHeight : metrics.tmHeight + 2 * ScaleY(2);
    if (height < ScaleY(5)) height = ScaleY(5);
    cellWidths.SetAt(i, width);
    *total += width - 1;
    if (height > *tallest) *tallest = height;
  }
  return lastWidth;
}

void LetterBar::LayoutCells() {
  if (!hwnd) return;
  RECT client;
  GetClientRect(hwnd, &client);
  int clientWidth = client.right - client.left;
  int clientHeight = client.bottom - client.top;
  if (clientWidth < 1 || cellCount < 1) return;

  WindowDC screen(hwnd);
  if (screen.IsEmpty()) return;
  int total = 0;
  int tallest = 0;
  int lastWidth = 0;
  for (int height = ScaleY(10);; --height) {
    LOGFONTW wanted = logFont;
    wanted.lfHeight = -height;
    // The width follows the height: the stock font's own cell width would squeeze larger letters.
    wanted.lfWidth = 0;
    font.Reset(CreateFontIndirectW(&wanted));
    fontHeight = height;
    HGDIOBJ old = SelectObject(screen.Get(), font.Get());
    lastWidth = MeasureCells(screen.Get(), &total, &tallest);
    SelectObject(screen.Get(), old);
    // At the smallest font the cells stay as they are, even when they overflow the window.
    if (height <= kSmallestFont) break;
    if (total <= clientWidth && tallest <= clientHeight) break;
  }

  // The spare width is shared out evenly, in even steps so that the text stays centred on whole
  // pixels; the last cell takes the rest and ends at the right edge.
  int spare = clientWidth - total;
  int share = spare / cellCount;
  if (share % 2 != 0) share -= 1;
  for (int i = 0; i < cellCount - 1; ++i) cellWidths.SetAt(i, cellWidths[i] + share);
  cellWidths.SetAt(cellCount - 1, clientWidth - (cellCount - 1) * share - total + lastWidth);

  RedrawBackground();
  InvalidateRect(hwnd, nullptr, FALSE);
  UpdateWindow(hwnd);
}

void LetterBar::RedrawBackground() {
  if (!hwnd) return;
  RECT client;
  GetClientRect(hwnd, &client);
  int width = 0;
  for (int i = 0; i < cellWidths.GetSize(); ++i)
    if (cellWidths[i] > width) width = cellWidths[i];
  int height = client.bottom - client.top;
  background.Reset();
  backgroundWidth = backgroundHeight = 0;
  if (width < 1 || height < 1) return;
  WindowDC screen(hwnd);
  if (screen.IsEmpty()) return;
  background.Reset(CreateCompatibleBitmap(screen.Get(), width, height));
  if (background.IsEmpty()) return;
  HDC dc = CreateCompatibleDC(screen.Get());
  if (!dc) {
    background.Reset();
    return;
  }
  HGDIOBJ old = SelectObject(dc, background.Get());
  RECT all = {0, 0, width, height};
  FillVerticalGradient(dc, all, color1, color2);
  SelectObject(dc, old);
  DeleteDC(dc);
  backgroundWidth = width;
  backgroundHeight = height;
}
