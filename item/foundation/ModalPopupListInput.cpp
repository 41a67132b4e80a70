// What the popup list does with keys, taps and its scroll bar.
#include "foundation/ModalPopupList.h"

void ModalPopupList::OnKeyDown(UINT key) {
  int from = selected < 0 ? 0 : selected;
  switch (key) {
    case VK_UP:
    case VK_LEFT:
      MoveSelection(selected < 0 ? 0 : selected - 1);
      break;
    case VK_DOWN:
    case VK_RIGHT:
      MoveSelection(selected + 1);
      break;
    case VK_HOME:
      MoveSelection(0);
      break;
    case VK_END:
      MoveSelection(count - 1);
      break;
    case VK_PRIOR:
      MoveSelection(from - visibleRows);
      break;
    case VK_NEXT:
      MoveSelection(from + visibleRows);
      break;
    case VK_RETURN:
      Finish(true);
      break;
    case VK_ESCAPE:
      Finish(false);
      break;
    case VK_BACK:
      if (!typed.IsEmpty()) {
        typed = typed.Left(typed.GetLength() - 1);
        FindTyped();
      }
      break;
  }
}

void ModalPopupList::OnChar(wchar_t ch) {
  // Letters and digits build the type-ahead text; the keys above arrive here too and are ignored.
  if (!IsCharAlphaNumericW(ch)) return;
  typed += ch;
  FindTyped();
}

// The first item whose text begins with the typed text, in any case, takes the selection.
void ModalPopupList::FindTyped() {
  int typedLength = typed.GetLength();
  if (typedLength == 0) return;
  for (int i = 0; i < count; ++i) {
    const Str& text = slots[i]->text;
    if (text.GetLength() < typedLength) continue;
    if (CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, text, typedLength, typed, typedLength) ==
        CSTR_EQUAL) {
      SetSelection(i);
      return;
    }
  }
}

// Moving by keys clamps to the list and starts the type-ahead text anew.
void ModalPopupList::MoveSelection(int index) {
  if (count == 0) return;
  if (index < 0) index = 0;
  if (index >= count) index = count - 1;
  typed.Empty();
  SetSelection(index);
}

int ModalPopupList::RowAt(POINT point) const {
  RECT client;
  GetClientRect(hwnd, &client);
  if (!PtInRect(&client, point) || rowHeight <= 0) return -1;
  int row = topRow + point.y / rowHeight;
  return row < count ? row : -1;
}

void ModalPopupList::OnButtonDown(POINT point) {
  RECT client;
  GetClientRect(hwnd, &client);
  if (PtInRect(&client, point)) {
    pressed = true;
    int row = RowAt(point);
    if (row >= 0) SetSelection(row);
    return;
  }
  // The list holds the capture, so every tap comes here: one outside the window cancels, one on the
  // frame or the scroll bar goes to the platform's own handling.
  POINT screen = point;
  ClientToScreen(hwnd, &screen);
  RECT frame;
  GetWindowRect(hwnd, &frame);
  if (!PtInRect(&frame, screen)) {
    Finish(false);
    return;
  }
  LPARAM at = MAKELPARAM(screen.x, screen.y);
  LRESULT hit = DefWindowProcW(hwnd, WM_NCHITTEST, 0, at);
  ReleaseCapture();
  DefWindowProcW(hwnd, WM_NCLBUTTONDOWN, static_cast<WPARAM>(hit), at);
  if (hwnd) SetCapture(hwnd);
}

void ModalPopupList::OnButtonUp(POINT point) {
  if (!pressed) return;
  pressed = false;
  int row = RowAt(point);
  if (row < 0) return;
  SetSelection(row);
  Finish(true);
}

void ModalPopupList::OnMouseMove(POINT point) {
  if (!pressed) return;
  int row = RowAt(point);
  if (row >= 0 && row != selected) SetSelection(row);
}

void ModalPopupList::OnScroll(UINT request) {
  switch (request) {
    case SB_LINEUP:
      ScrollTo(topRow - 1);
      break;
    case SB_LINEDOWN:
      ScrollTo(topRow + 1);
      break;
    case SB_PAGEUP:
      ScrollTo(topRow - visibleRows);
      break;
    case SB_PAGEDOWN:
      ScrollTo(topRow + visibleRows);
      break;
    case SB_TOP:
      ScrollTo(0);
      break;
    case SB_BOTTOM:
      ScrollTo(count);
      break;
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION: {
      SCROLLINFO info = {};
      info.cbSize = sizeof(info);
      info.fMask = SIF_TRACKPOS;
      if (GetScrollInfo(hwnd, SB_VERT, &info)) ScrollTo(info.nTrackPos);
      break;
    }
  }
}
