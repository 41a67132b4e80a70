// PhoneSelectList: the chooser's list of numbers. The selection moves by Up and Down and follows the
// stylus, scrolling a row every period while the stylus is held above or below the rows; a release
// on a row dials it. Every other key goes to the window.
#include "lists/PhoneSelectWnd.h"

namespace {

const wchar_t kListClass[] = L"PhoneSelectList";

}  // namespace

PhoneSelectList::PhoneSelectList(PhoneSelectListOwner* listOwner)
    : ClassWindow(kListClass, nullptr), owner(listOwner), rowCount(0), rowHeight(1), selected(-1), topRow(0),
      scrollDirection(0) {}

PhoneSelectList::~PhoneSelectList() {}

BOOL PhoneSelectList::Create(HWND parent, HINSTANCE module) {
  if (hwnd) return TRUE;
  instance = module;
  if (!RegisterClass(0, nullptr, LoadCursorW(nullptr, IDC_ARROW)) &&
      GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
    return FALSE;
  return ClassWindow::Create(L"", WS_CHILD | WS_VISIBLE, parent, RECT{0, 0, 0, 0}, 0);
}

void PhoneSelectList::Measure() {
  HFONT font = owner ? owner->GetSmallFont() : nullptr;
  HDC dc = GetDC(hwnd);
  HGDIOBJ old = font ? SelectObject(dc, font) : nullptr;
  TEXTMETRICW metrics;
  if (GetTextMetricsW(dc, &metrics)) rowHeight = 2 * (metrics.tmHeight + metrics.tmInternalLeading);
  if (old) SelectObject(dc, old);
  ReleaseDC(hwnd, dc);
  if (rowHeight < 1) rowHeight = 1;
}

void PhoneSelectList::SetCount(int count) {
  rowCount = count > 0 ? count : 0;
  selected = rowCount > 0 ? 0 : -1;
  topRow = 0;
  StopScrolling();
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
}

int PhoneSelectList::WholeRows() const {
  RECT client = {0, 0, 0, 0};
  if (hwnd) GetClientRect(hwnd, &client);
  const int whole = (client.bottom - client.top) / rowHeight;
  return whole > 0 ? whole : 1;
}

RECT PhoneSelectList::RowRect(int row) const {
  RECT client = {0, 0, 0, 0};
  if (hwnd) GetClientRect(hwnd, &client);
  const int top = (row - topRow) * rowHeight;
  return RECT{client.left, top, client.right, top + rowHeight};
}

int PhoneSelectList::RowAt(int x, int y) const {
  RECT client = {0, 0, 0, 0};
  if (hwnd) GetClientRect(hwnd, &client);
  if (x < client.left || x >= client.right || y < 0 || y >= client.bottom) return -1;
  const int row = topRow + y / rowHeight;
  return row < rowCount ? row : -1;
}

void PhoneSelectList::Select(int row) {
  if (row < 0 || row >= rowCount) return;
  const int before = selected;
  selected = row;
  const int whole = WholeRows();
  if (row < topRow || row >= topRow + whole) {
    int top = row + 1 - whole;
    const int last = rowCount - whole;
    if (top > last) top = last;
    if (top < 0) top = 0;
    topRow = top;
    if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
    return;
  }
  if (before != row) {
    RepaintRow(before);
    RepaintRow(row);
  }
}

void PhoneSelectList::RepaintRow(int row) {
  if (!hwnd || row < 0) return;
  RECT rect = RowRect(row);
  InvalidateRect(hwnd, &rect, FALSE);
}

LRESULT PhoneSelectList::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_PAINT: {
      PAINTSTRUCT paint;
      HDC dc = BeginPaint(hwnd, &paint);
      Paint(dc);
      EndPaint(hwnd, &paint);
      return 0;
    }
    case WM_ERASEBKGND:
      return 1;
    case WM_SIZE:
      // A selection the new height hides comes back into view.
      if (selected >= 0) Select(selected);
      InvalidateRect(hwnd, nullptr, FALSE);
      return 0;
    case WM_KEYDOWN:
      OnKeyDown(wParam, lParam);
      return 0;
    case WM_KEYUP:
      SendMessageW(GetParent(hwnd), WM_KEYUP, wParam, lParam);
      return 0;
    case WM_LBUTTONDOWN:
      OnPress(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
      return 0;
    case WM_MOUSEMOVE:
      if (GetCapture() == hwnd)
        OnDrag(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
      return 0;
    case WM_LBUTTONUP:
      if (GetCapture() == hwnd)
        OnRelease(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
      return 0;
    case WM_CAPTURECHANGED:
      StopScrolling();
      return 0;
    case WM_TIMER:
      if (wParam == kScrollTimer) OnScrollTimer();
      return 0;
    default:
      return DefWindowProcW(hwnd, message, wParam, lParam);
  }
}

void PhoneSelectList::OnKeyDown(WPARAM key, LPARAM lParam) {
  if (key == VK_UP) {
    if (selected > 0) Select(selected - 1);
    return;
  }
  if (key == VK_DOWN) {
    if (selected < rowCount - 1) Select(selected + 1);
    return;
  }
  SendMessageW(GetParent(hwnd), WM_KEYDOWN, key, lParam);
}

void PhoneSelectList::OnPress(int x, int y) {
  SetFocus(hwnd);
  const int row = RowAt(x, y);
  if (row >= 0) Select(row);
  SetCapture(hwnd);
}

void PhoneSelectList::OnDrag(int x, int y) {
  RECT client;
  GetClientRect(hwnd, &client);
  const int rowsBottom = (rowCount - topRow) * rowHeight;
  const int bottom = rowsBottom < client.bottom ? rowsBottom : client.bottom;
  const int direction = y < 0 ? -1 : (y >= bottom ? 1 : 0);
  if (direction == 0) {
    StopScrolling();
    const int row = RowAt(x < client.left ? client.left : (x >= client.right ? client.right - 1 : x), y);
    if (row >= 0) Select(row);
    return;
  }
  if (direction != scrollDirection) {
    scrollDirection = direction;
    SetTimer(hwnd, kScrollTimer, kScrollMs, nullptr);
  }
}

void PhoneSelectList::OnScrollTimer() {
  if (scrollDirection == 0) {
    KillTimer(hwnd, kScrollTimer);
    return;
  }
  const int row = selected + scrollDirection;
  if (row >= 0 && row < rowCount) Select(row);
}

void PhoneSelectList::OnRelease(int x, int y) {
  StopScrolling();
  ReleaseCapture();
  if (RowAt(x, y) >= 0)
    PostMessageW(GetParent(hwnd), WM_COMMAND, MAKEWPARAM(PhoneSelectWnd::kCommandDial, 0), 0);
}

void PhoneSelectList::StopScrolling() {
  if (scrollDirection != 0 && hwnd) KillTimer(hwnd, kScrollTimer);
  scrollDirection = 0;
}
