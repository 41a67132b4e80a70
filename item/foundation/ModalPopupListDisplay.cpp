// How the popup list looks and which of its rows it shows: white rows, the selected one in dark blue
// with white text.
#include "foundation/Handles.h"
#include "foundation/ModalPopupList.h"

namespace {

const COLORREF kBackColor = 0x00FFFFFF;
const COLORREF kTextColor = 0x00000000;
const COLORREF kSelectedBackColor = 0x00820000;
const COLORREF kSelectedTextColor = 0x00FFFFFF;

}  // namespace

void ModalPopupList::OnPaint() {
  PAINTSTRUCT paint;
  HDC dc = BeginPaint(hwnd, &paint);
  if (!dc) return;
  RECT client;
  GetClientRect(hwnd, &client);
  GdiObject<HBRUSH> back(CreateSolidBrush(kBackColor));
  GdiObject<HBRUSH> selectedBack(CreateSolidBrush(kSelectedBackColor));
  HGDIOBJ oldFont = SelectObject(dc, font ? font : GetStockObject(SYSTEM_FONT));
  SetBkMode(dc, TRANSPARENT);

  int y = client.top;
  for (int row = topRow; row < count && y < client.bottom; ++row, y += rowHeight) {
    const PopupListItem* item = slots[row];
    bool isSelected = (item->flags & kSelectedFlag) != 0;
    RECT line = {client.left, y, client.right, y + rowHeight};
    FillRect(dc, &line, isSelected ? selectedBack.Get() : back.Get());
    SetTextColor(dc, isSelected ? kSelectedTextColor : kTextColor);
    RECT text = {client.left + textMargin, y, client.right - textMargin, y + rowHeight};
    DrawTextW(dc, item->text, item->text.GetLength(), &text,
              DT_LEFT | DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
  }
  if (y < client.bottom) {
    RECT rest = {client.left, y, client.right, client.bottom};
    FillRect(dc, &rest, back.Get());
  }

  SelectObject(dc, oldFont);
  EndPaint(hwnd, &paint);
}

void ModalPopupList::ScrollTo(int row) {
  int last = count - visibleRows;
  if (row > last) row = last;
  if (row < 0) row = 0;
  if (row != topRow) {
    topRow = row;
    if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
  }
  UpdateScrollBar();
}

// Scrolls so that the selected row stands among the visible ones.
void ModalPopupList::ShowSelection() {
  if (selected < 0) return;
  if (selected < topRow)
    ScrollTo(selected);
  else if (selected >= topRow + visibleRows)
    ScrollTo(selected - visibleRows + 1);
}

void ModalPopupList::UpdateScrollBar() {
  if (!hwnd || !(GetWindowLongW(hwnd, GWL_STYLE) & WS_VSCROLL)) return;
  SCROLLINFO info = {};
  info.cbSize = sizeof(info);
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  info.nMin = 0;
  info.nMax = count > 0 ? count - 1 : 0;
  info.nPage = static_cast<UINT>(visibleRows);
  info.nPos = topRow;
  SetScrollInfo(hwnd, SB_VERT, &info, TRUE);
}
