// COOL.LIST: creation, the plain setters, the caret and the marks, and the message switch.
#include "lists/CoolList.h"

#include <windowsx.h>

namespace {

const wchar_t kClassName[] = L"COOL.LIST";

}  // namespace

CoolList::CoolList(HINSTANCE instance)
    : ClassWindow(kClassName, instance), owner(nullptr), rowHeight(0), rowCount(0), visibleRows(0),
      fullRows(0), topRow(0), caret(0), actionDown(0), actionLong(0), caretShown(0), focused(0), focusTap(0),
      trackingOff(1), moved(0), topLine(0), dragAnchor(0), dragRow(0), tapPoint{0, 0}, clientRect{0, 0, 0, 0},
      markedCount(0), lastHeight(0),
      topPart(0), actionTimer{kActionTimerId, 1, nullptr}, pressTimer{kPressTimerId, 1, nullptr},
      tapOnMarked(0), dragEnabled(1), noGesture(0) {}

// The window goes while this is still a CoolList, so that its own WM_DESTROY stops the timers.
CoolList::~CoolList() { Destroy(); }

BOOL CoolList::Create(const wchar_t* title, DWORD style, HWND parent, const RECT& rect, DWORD exStyle) {
  if (!ClassWindow::Create(title, style, parent, rect, exStyle)) return FALSE;
  actionTimer.window = hwnd;
  pressTimer.window = hwnd;
  return TRUE;
}

BOOL CoolList::Create(HWND parent, DWORD style) {
  // A second list finds the class registered already.
  RegisterClass(kClassStyle, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)), nullptr);
  RECT rect = {CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT};
  return Create(L"", style, parent, rect, 0);
}

void CoolList::Refresh() {
  if (!hwnd || !IsWindowVisible(hwnd)) return;
  if (visibleRows < rowCount) {
    RECT rect = clientRect;
    rect.bottom = rowHeight * rowCount + clientRect.top;
    InvalidateRect(hwnd, &rect, FALSE);
  } else {
    InvalidateRect(hwnd, nullptr, TRUE);
  }
  UpdateWindow(hwnd);
}

void CoolList::SetCaret(int row) {
  if (row == caret + 1) {
    MoveCaret(row, VK_DOWN);
  } else if (row == caret - 1) {
    MoveCaret(row, VK_UP);
  } else {
    caret = row;
    if (IsOutOfView(row)) ScrollTo(row, 0, 0, -1);
    // The selection shows through the marks, so the caret alone is marked from now on.
    ClearMarks();
    if (rowCount > 0) SetMark(caret, TRUE);
    if (hwnd) {
      InvalidateRect(hwnd, nullptr, FALSE);
      UpdateWindow(hwnd);
    }
  }
}

// --- marks -----------------------------------------------------------------------------------------

BOOL CoolList::IsMarked(int row) const {
  if (row < 0 || row >= rowCount) return FALSE;
  return (markBits[row / 32] >> (row % 32)) & 1;
}

void CoolList::SetMark(int row, BOOL on) {
  if (row < 0 || row >= rowCount) return;
  DWORD& word = markBits[row / 32];
  const DWORD bit = DWORD(1) << (row % 32);
  if (on && !(word & bit)) {
    word |= bit;
    ++markedCount;
  } else if (!on && (word & bit)) {
    word &= ~bit;
    --markedCount;
  }
}

void CoolList::ClearMarks() {
  for (int i = 0; i < markBits.GetSize(); ++i) markBits[i] = 0;
  markedCount = 0;
}

void CoolList::GetMarkedRows(Array<int>& rows) const {
  rows.RemoveAll();
  for (int word = 0; word < markBits.GetSize(); ++word) {
    DWORD bits = markBits[word];
    for (int bit = 0; bits != 0; ++bit, bits >>= 1)
      if (bits & 1) rows.Add(word * 32 + bit);
  }
}

void CoolList::MarkRow(int row) {
  SetMark(row, TRUE);
  InvalidateRow(row);
  // The owner may draw a run of marked rows joined, so marked neighbours change too.
  if (IsMarked(row - 1)) InvalidateRow(row - 1);
  if (IsMarked(row + 1)) InvalidateRow(row + 1);
  if (hwnd) UpdateWindow(hwnd);
}

void CoolList::InvalidateRow(int row) {
  if (!hwnd || row < FirstVisible() || row > LastVisible()) return;
  RECT rect = RowRect(row);
  InvalidateRect(hwnd, &rect, FALSE);
}

void CoolList::RepaintRow(int row) {
  if (!hwnd || row < FirstVisible() || row > LastVisible()) return;
  InvalidateRow(row);
  UpdateWindow(hwnd);
}

void CoolList::RepaintRowsFrom(int row) {
  if (!hwnd) return;
  const int last = LastVisible();
  for (int r = row < FirstVisible() ? FirstVisible() : row; r <= last; ++r) InvalidateRow(r);
  UpdateWindow(hwnd);
}

void CoolList::RepaintMarkedInView() {
  if (markedCount == 0) return;
  const int last = LastVisible();
  for (int row = FirstVisible(); row <= last; ++row)
    if (IsMarked(row)) InvalidateRow(row);
}

void CoolList::SetTopLine(BOOL flag) {
  const BYTE on = flag ? 1 : 0;
  if (on == topLine) return;
  topLine = on;
  if (!hwnd) return;
  // The rows move one pixel to make room for the line, or take the pixel back.
  RECT client;
  GetClientRect(hwnd, &client);
  RECT uncovered;
  ScrollWindowEx(hwnd, 0, on ? 1 : -1, &client, &client, nullptr, &uncovered, 0);
  InvalidateRect(hwnd, &uncovered, FALSE);
  if (on) {
    RECT line = {client.left, client.top, client.right, client.top + 1};
    InvalidateRect(hwnd, &line, FALSE);
  }
  const int oldHeight = clientRect.bottom - clientRect.top;
  clientRect = RowArea();
  lastHeight = clientRect.bottom - clientRect.top;
  ComputeRowMetrics();
  // One pixel more for the rows may leave a strip under the last one, as a taller window would.
  GrowScroll(oldHeight);
}

RECT CoolList::RowArea() const {
  RECT rect = {0, 0, 0, 0};
  if (hwnd) GetClientRect(hwnd, &rect);
  if (topLine) {
    rect.top += 1;
    if (rect.bottom < rect.top) rect.bottom = rect.top;
  }
  return rect;
}

// --- focus -----------------------------------------------------------------------------------------

void CoolList::OnFocusMessage(BOOL gained) {
  focused = gained ? 1 : 0;
  if (owner) owner->OnFocusChanged(gained ? 1 : 0);
}

// --- the message switch ----------------------------------------------------------------------------

// Besides its own messages, the list answers three list box queries for readers outside the owner
// (tests, accessibility tools, other processes): LB_GETCOUNT gives the row count, LB_GETCURSEL the
// caret (-1 for an empty list) and LB_GETTOPINDEX the top row. They only read.
LRESULT CoolList::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      actionTimer.window = hwnd;
      pressTimer.window = hwnd;
      break;
    case WM_DESTROY:
      actionTimer.Stop();
      pressTimer.Stop();
      break;
    case WM_PAINT:
      OnPaintMessage();
      return 0;
    case WM_ERASEBKGND:
      // Rows paint their whole rectangle, and the strip under them is filled at WM_PAINT.
      return 0;
    case WM_GETDLGCODE:
      return DLGC_WANTALLKEYS;
    case WM_SIZE:
      OnSizeMessage();
      return 0;
    case WM_SETFOCUS:
      OnFocusMessage(TRUE);
      return 0;
    case WM_KILLFOCUS:
      OnFocusMessage(FALSE);
      return 0;
    case WM_KEYDOWN:
      OnKeyDownMessage(static_cast<UINT>(wParam), lParam);
      return 0;
    case WM_KEYUP:
      OnKeyUpMessage(static_cast<UINT>(wParam), lParam);
      return 0;
    case WM_CHAR:
      if (wParam != 13 && owner) owner->OnChar(hwnd, wParam, lParam);
      return 0;
    case WM_LBUTTONDOWN:
      OnPress(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      return 0;
    case WM_MOUSEMOVE:
      OnMove(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      return 0;
    case WM_LBUTTONUP:
      OnRelease(GET_Y_LPARAM(lParam));
      return 0;
    case WM_LBUTTONDBLCLK:
      OnDoubleTap(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
      return 0;
    case WM_TIMER:
      if (wParam != kPressTimerId && wParam != kActionTimerId) break;
      OnTimerMessage(wParam);
      return 0;
    case WM_VSCROLL:
      OnVScroll(LOWORD(wParam));
      return 0;
    case WM_MEASUREITEM:
      if (owner) return owner->OnMeasureItem(wParam, lParam);
      break;
    case WM_DRAWITEM:
      if (owner) return owner->OnDrawItem(wParam, lParam);
      break;
    case LB_GETCOUNT:
      return rowCount;
    case LB_GETCURSEL:
      return rowCount > 0 ? caret : LB_ERR;
    case LB_GETTOPINDEX:
      return topRow;
  }
  return ClassWindow::WindowProc(message, wParam, lParam);
}
