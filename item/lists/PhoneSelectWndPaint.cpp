// PhoneSelectWnd: painting. The heading (its picture, the picture's edge repeated to the right, the
// name in one or two lines), and the band at the bottom with the buttons on it.
#include "lists/PhoneSelectWnd.h"

#include "presentation/Skin.h"

namespace {

const UINT kLineFlags = DT_SINGLELINE | DT_NOPREFIX;
const UINT kWrapFlags = DT_WORDBREAK | DT_NOPREFIX;
const COLORREF kTransparentKey = RGB(0, 0, 0);

int TextWidth(HDC dc, const Str& text) {
  SIZE size = {0, 0};
  GetTextExtentPoint32W(dc, text, text.GetLength(), &size);
  return size.cx;
}

int LineHeight(HDC dc) {
  TEXTMETRICW metrics;
  return GetTextMetricsW(dc, &metrics) ? metrics.tmHeight : 0;
}

// The height `text` takes wrapped into `width` in the font of `dc`.
int WrappedHeight(HDC dc, const Str& text, int width) {
  RECT box = {0, 0, width, 0};
  DrawTextW(dc, text, text.GetLength(), &box, kWrapFlags | DT_CALCRECT);
  return box.bottom - box.top;
}

}  // namespace

void PhoneSelectWnd::FitWithDots(HDC dc, Str& text, int width) {
  Str kept = text;
  while (TextWidth(dc, text) > width && kept.GetLength() > 1) {
    kept = kept.Left(kept.GetLength() - 1);
    text = kept.GetLength() > 1 ? kept + L"..." : kept;
  }
}

void PhoneSelectWnd::Paint(HDC dc) {
  PaintHeading(dc);
  PaintButtons(dc);
}

void PhoneSelectWnd::PaintHeading(HDC dc) {
  FillRect(dc, &heading, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  const int height = heading.bottom - heading.top;
  int textLeft = heading.left;
  if (!headingBitmap.IsEmpty()) {
    HDC source = CreateCompatibleDC(dc);
    HGDIOBJ old = SelectObject(source, headingBitmap.Get());
    const int y = heading.top + (height - headingHeight) / 2;
    BitBlt(dc, heading.left, y, headingWidth, headingHeight, source, 0, 0, SRCCOPY);
    // The picture's last columns carry its band on to the right edge.
    const int edge = ScaleX(5) < headingWidth ? ScaleX(5) : headingWidth;
    for (int x = heading.left + headingWidth; edge > 0 && x < heading.right; x += edge)
      BitBlt(dc, x, y, edge, headingHeight, source, headingWidth - edge, 0, SRCCOPY);
    SelectObject(source, old);
    DeleteDC(source);
    textLeft += headingWidth;
  }
  if (name.IsEmpty()) return;

  SetTextColor(dc, kHeadingTextColor);
  SetBkMode(dc, TRANSPARENT);
  const int textRight = heading.right - ScaleX(4);
  const int width = textRight - textLeft;
  HGDIOBJ oldFont = SelectObject(dc, largeFont.Get());
  if (!second.IsEmpty()) {
    // Two lines, centred as a pair: the name large when it fits, the second line small.
    if (TextWidth(dc, name) > width) SelectObject(dc, smallFont.Get());
    Str first = name;
    FitWithDots(dc, first, width);
    const int firstHeight = LineHeight(dc);
    HGDIOBJ nameFont = GetCurrentObject(dc, OBJ_FONT);
    SelectObject(dc, smallFont.Get());
    Str next = second;
    FitWithDots(dc, next, width);
    const int nextHeight = LineHeight(dc);
    const int top = heading.top + (height - firstHeight - nextHeight) / 2;
    RECT secondBox = {textLeft, top + firstHeight, textRight, top + firstHeight + nextHeight};
    DrawTextW(dc, next, next.GetLength(), &secondBox, kLineFlags);
    SelectObject(dc, nameFont);
    RECT firstBox = {textLeft, top, textRight, top + firstHeight};
    DrawTextW(dc, first, first.GetLength(), &firstBox, kLineFlags);
  } else {
    // One text, wrapped: large, else small when large is higher than the heading, and cut to the
    // whole lines that fit when even that is too high.
    int textHeight = WrappedHeight(dc, name, width);
    if (textHeight > height) {
      SelectObject(dc, smallFont.Get());
      textHeight = WrappedHeight(dc, name, width);
      const int line = LineHeight(dc);
      if (textHeight > height && line > 0) textHeight = height / line * line;
    }
    const int top = heading.top + (height - textHeight) / 2;
    RECT box = {textLeft, top, textRight, top + textHeight};
    DrawTextW(dc, name, name.GetLength(), &box, kWrapFlags);
  }
  SelectObject(dc, oldFont);
}

void PhoneSelectWnd::PaintButtons(HDC dc) {
  RECT client;
  GetClientRect(hwnd, &client);
  int buttonHeight = 0;
  for (const Button& button : buttons)
    if (button.height > buttonHeight) buttonHeight = button.height;
  RECT band = {client.left, client.bottom - ScaleY(10) - buttonHeight, client.right, client.bottom};
  HBRUSH brush = CreateSolidBrush(kBandColor);
  FillRect(dc, &band, brush);
  DeleteObject(brush);

  HDC source = CreateCompatibleDC(dc);
  for (const Button& button : buttons) {
    if (!button.visible || !button.bitmap) continue;
    HGDIOBJ old = SelectObject(source, button.bitmap);
    GdiTransparentBlt(dc, button.rect.left, button.rect.top, button.width, button.height, source,
                      button.pressed ? button.width : 0, 0, button.width, button.height, kTransparentKey);
    SelectObject(source, old);
  }
  DeleteDC(source);
}
