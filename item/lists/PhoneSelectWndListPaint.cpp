// PhoneSelectList: painting. Each row goes through an off-screen bitmap of one row: its ground (the
// selection, or the alternating stripes), the label above and the number below at the right. White
// under the last row, and a thin frame line along the top and the bottom.
#include "lists/PhoneSelectWnd.h"

#include "presentation/Skin.h"

namespace {

const UINT kLabelFlags = DT_SINGLELINE | DT_NOPREFIX;
const UINT kNumberFlags = DT_SINGLELINE | DT_NOPREFIX | DT_RIGHT;

void Fill(HDC dc, const RECT& rect, COLORREF color) {
  HBRUSH brush = CreateSolidBrush(color);
  FillRect(dc, &rect, brush);
  DeleteObject(brush);
}

}  // namespace

void PhoneSelectList::DrawRow(HDC dc, const RECT& rect, int row) const {
  const bool isSelected = row == selected;
  Fill(dc, rect, isSelected ? kSelectedColor : (row % 2 == 0 ? kEvenColor : kOddColor));
  Str label, number;
  if (!owner || !owner->GetRowTexts(row, label, number)) return;
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, isSelected ? RGB(255, 255, 255) : RGB(0, 0, 0));
  const int h = rect.bottom - rect.top;
  const int left = rect.left + ScaleX(8);
  const int right = rect.right - ScaleX(8);

  HGDIOBJ old = SelectObject(dc, owner->GetLargeFont());
  PhoneSelectWnd::FitWithDots(dc, label, right - left);
  RECT upper = {left, rect.top + ScaleY(3), right, rect.bottom};
  DrawTextW(dc, label, label.GetLength(), &upper, kLabelFlags);

  SelectObject(dc, owner->GetSmallFont());
  RECT lower = {left, rect.top + h / 2 - ScaleY(3), right, rect.bottom};
  DrawTextW(dc, number, number.GetLength(), &lower, kNumberFlags);
  SelectObject(dc, old);
}

void PhoneSelectList::Paint(HDC dc) {
  RECT client;
  GetClientRect(hwnd, &client);
  const int width = client.right - client.left;
  if (width <= 0 || client.bottom <= 0) return;

  HDC memory = CreateCompatibleDC(dc);
  HBITMAP bitmap = CreateCompatibleBitmap(dc, width, rowHeight);
  HGDIOBJ oldBitmap = bitmap ? SelectObject(memory, bitmap) : nullptr;
  int y = 0;
  for (int row = topRow; row < rowCount && y < client.bottom; ++row, y += rowHeight) {
    RECT rect = {0, 0, width, rowHeight};
    if (bitmap) {
      DrawRow(memory, rect, row);
      BitBlt(dc, client.left, y, width, rowHeight, memory, 0, 0, SRCCOPY);
    } else {
      OffsetRect(&rect, client.left, y);
      DrawRow(dc, rect, row);
    }
  }
  if (oldBitmap) SelectObject(memory, oldBitmap);
  if (bitmap) DeleteObject(bitmap);
  DeleteDC(memory);

  if (y < client.bottom) {
    RECT rest = {client.left, y, client.right, client.bottom};
    FillRect(dc, &rest, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  }
  RECT topLine = {client.left, 0, client.right, ScaleY(1)};
  RECT bottomLine = {client.left, client.bottom - ScaleX(1), client.right, client.bottom};
  Fill(dc, topLine, kFrameColor);
  Fill(dc, bottomLine, kFrameColor);
}
