// Painting: the owner draws each row in view, the list draws only its top line and the white strip
// under the last row.
#include "lists/CoolList.h"

UINT CoolList::RowState(int row) const {
  UINT state = 0;
  if (IsMarked(row)) state |= kRowMarked | kRowMarkedToo;
  if (focused) state |= kRowFocused;
  return state;
}

void CoolList::OnPaintMessage() {
  if (!GetUpdateRect(hwnd, nullptr, FALSE)) return;
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  RECT client;
  GetClientRect(hwnd, &client);
  RECT paint = ps.rcPaint;
  const BOOL whole = IsRectEmpty(&paint);
  if (whole) paint = client;

  if (topLine) {
    HPEN pen = CreatePen(PS_SOLID, 1, kTopLineColor);
    HGDIOBJ old = SelectObject(dc, pen);
    MoveToEx(dc, client.left, client.top, nullptr);
    LineTo(dc, client.right, client.top);
    SelectObject(dc, old);
    DeleteObject(pen);
    // The rows' rectangles start under the line already; the clip keeps an owner's overdraw off it.
    if (owner) ExcludeClipRect(dc, client.left, client.top, client.right, client.top + 1);
  }

  if (owner) {
    int end = topRow + visibleRows + 1;
    if (end > rowCount) end = rowCount;
    for (int row = topRow; row < end; ++row) {
      const RECT rect = RowRect(row);
      RECT common;
      if (whole || IntersectRect(&common, &rect, &paint)) owner->OnDrawRow(dc, rect, row, RowState(row));
    }
  }

  if (rowCount < visibleRows) {
    RECT rest = clientRect;
    const int below = RowRect(rowCount).top;
    if (below > rest.top) rest.top = below;
    if (rest.top < rest.bottom) FillRect(dc, &rest, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  }
  EndPaint(hwnd, &ps);
}
