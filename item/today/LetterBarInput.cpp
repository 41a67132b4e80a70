// The letter bar's stylus: a tap is a press and a release on the same cell; a hold of 500 ms on the
// last cell is its long press. Leaving the cell with the stylus down takes the press back.
#include "today/KeyFeedback.h"
#include "today/LetterBar.h"

LRESULT LetterBar::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  POINT point = {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
  switch (message) {
    case WM_ERASEBKGND:
      return 1;
    case WM_SIZE:
      return 0;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(window, &ps);
      Paint(dc, ps.rcPaint);
      EndPaint(window, &ps);
      return 0;
    }
    case WM_PRINTCLIENT: {
      // Drawing into a context of the caller's, for a snapshot of the bar.
      RECT client;
      GetClientRect(window, &client);
      Paint(reinterpret_cast<HDC>(wParam), client);
      return 0;
    }
    case WM_LBUTTONDOWN:
      OnButtonDown(point);
      return 0;
    case WM_MOUSEMOVE:
      OnMouseMove(point);
      return 0;
    case WM_LBUTTONUP:
      OnButtonUp(point);
      return 0;
    case WM_TIMER:
      if (wParam == kHoldTimerId) OnHoldTimer();
      return 0;
    case WM_CANCELMODE:
      OnCancelMode();
      return DefWindowProcW(window, message, wParam, lParam);
    case WM_DESTROY:
      StopHoldTimer();
      return DefWindowProcW(window, message, wParam, lParam);
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}

void LetterBar::OnButtonDown(POINT point) {
  if (!enabled) return;
  pressedCell = CellAt(point);
  if (pressedCell < 0) return;
  SetCapture(hwnd);
  pressedLook = 1;
  InvalidateCell(pressedCell);
  if (pressedCell == cellCount - 1) {
    SetTimer(hwnd, kHoldTimerId, kHoldMs, nullptr);
  }
}

void LetterBar::OnMouseMove(POINT point) {
  if (pressedCell < 0) return;
  RECT cell;
  BOOL inside = GetCellRect(pressedCell, &cell) && PtInRect(&cell, point);
  if (inside != static_cast<BOOL>(pressedLook)) {
    pressedLook = inside ? 1 : 0;
    InvalidateCell(pressedCell);
  }
  if (!inside && pressedCell == cellCount - 1) StopHoldTimer();
}

void LetterBar::OnButtonUp(POINT point) {
  StopHoldTimer();
  int cell = pressedCell;
  if (cell >= 0) {
    ReleaseCapture();
    pressedLook = 0;
    InvalidateCell(cell);
    RECT rect;
    if (GetCellRect(cell, &rect) && PtInRect(&rect, point) && cell < commandIds.GetSize()) {
      PostCommand(commandIds[cell]);
      GiveFeedback();
    }
  }
  pressedCell = -1;
}

void LetterBar::OnHoldTimer() {
  StopHoldTimer();
  if (pressedCell < 0 || pressedCell != cellCount - 1) return;
  ReleaseCapture();
  if (!pressedLook) return;
  pressedLook = 0;
  InvalidateCell(pressedCell);
  // The long press is the last command id; no key feedback for it.
  if (commandIds.GetSize() > 0) PostCommand(commandIds[commandIds.GetSize() - 1]);
  pressedCell = -1;
}

void LetterBar::OnCancelMode() {
  StopHoldTimer();
  if (pressedCell < 0) return;
  ReleaseCapture();
  pressedLook = 0;
  InvalidateCell(pressedCell);
  pressedCell = -1;
}

void LetterBar::StopHoldTimer() {
  if (!hwnd) return;
  KillTimer(hwnd, kHoldTimerId);
  // A tick already queued must not arrive after the release.
  MSG queued;
  while (PeekMessageW(&queued, hwnd, WM_TIMER, WM_TIMER, PM_REMOVE)) {
  }
}

void LetterBar::GiveFeedback() { GiveKeyFeedback(instance); }
