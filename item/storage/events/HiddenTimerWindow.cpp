#include "storage/events/HiddenTimerWindow.h"

namespace {
const UINT_PTR kTimerId = 1;
}

HiddenTimerWindow::HiddenTimerWindow() : hwnd(nullptr), timerRunning(FALSE) {}

HiddenTimerWindow::~HiddenTimerWindow() { Destroy(); }

BOOL HiddenTimerWindow::Create(HINSTANCE instance, const wchar_t* className) {
  Destroy();
  WNDCLASSW wc = {};
  wc.lpfnWndProc = Proc;
  wc.hInstance = instance;
  wc.lpszClassName = className;
  if (!RegisterClassW(&wc) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) return FALSE;
  HWND created = CreateWindowExW(0, className, L"", 0, 0, 0, 0, 0, nullptr, nullptr, instance, this);
  hwnd = created;
  return hwnd != nullptr;
}

void HiddenTimerWindow::Destroy() {
  if (!hwnd) return;
  StopTimer();
  HWND window = hwnd;
  hwnd = nullptr;
  SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  DestroyWindow(window);
}

void HiddenTimerWindow::StartTimer(UINT ms) {
  if (!hwnd) return;
  StopTimer();
  timerRunning = SetTimer(hwnd, kTimerId, ms, nullptr) != 0;
}

void HiddenTimerWindow::StopTimer() {
  timerRunning = FALSE;
  if (!hwnd) return;
  KillTimer(hwnd, kTimerId);
  // A tick posted before the kill would otherwise still arrive.
  MSG msg;
  while (PeekMessageW(&msg, hwnd, WM_TIMER, WM_TIMER, PM_REMOVE)) {
  }
}

LRESULT HiddenTimerWindow::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

LRESULT CALLBACK HiddenTimerWindow::Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CREATE) {
    const CREATESTRUCTW* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    return 0;
  }
  HiddenTimerWindow* self = reinterpret_cast<HiddenTimerWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  // Messages before CreateWindowEx has returned, or after Destroy, take the default way.
  if (!self || self->hwnd != window) return DefWindowProcW(window, message, wParam, lParam);
  return self->WindowProc(message, wParam, lParam);
}
