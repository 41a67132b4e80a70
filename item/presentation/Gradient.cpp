#include "presentation/Gradient.h"

namespace {

int Blend(int from, int to, int step, int steps) {
  // steps > 0; rounds half away from the first colour.
  return from + ((to - from) * step * 2 + (to >= from ? steps : -steps)) / (steps * 2);
}

}  // namespace

void FillVerticalGradient(HDC dc, const RECT& rect, COLORREF top, COLORREF bottom) {
  int height = rect.bottom - rect.top;
  if (dc == nullptr || height <= 0 || rect.right <= rect.left) return;
  int steps = height > 1 ? height - 1 : 1;
  // One brush a row would cost a GDI object per line; ExtTextOut with an opaque rectangle fills with
  // the background colour and needs none.
  COLORREF oldColor = GetBkColor(dc);
  for (int row = 0; row < height; ++row) {
    COLORREF color = RGB(Blend(GetRValue(top), GetRValue(bottom), row, steps),
                         Blend(GetGValue(top), GetGValue(bottom), row, steps),
                         Blend(GetBValue(top), GetBValue(bottom), row, steps));
    RECT line = {rect.left, rect.top + row, rect.right, rect.top + row + 1};
    SetBkColor(dc, color);
    ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &line, nullptr, 0, nullptr);
  }
  SetBkColor(dc, oldColor);
}
