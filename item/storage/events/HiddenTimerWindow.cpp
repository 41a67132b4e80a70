#include "storage/events/HiddenTimerWindow.h"

HiddenTimerWindow::HiddenTimerWindow() : hwnd(nullptr), timerRunning(FALSE), timerId(0) {}

HiddenTimerWindow::~HiddenTimerWindow() { Destroy(); }

BOOL HiddenTimerWindow::Create(HINSTANCE instance, const wchar_t* className, HWND parent) {
  Destroy();
  // A class registered before (by an earlier open) is used as it is: the look-up is much cheaper than
  // a registration that fails.
  WNDCLASSW wc = {};
  if (!GetClassInfoW(instance, className, &wc)) {
    wc = WNDCLASSW();
    wc.lpfnWndProc = Proc;
    wc.hInstance = instance;
    wc.lpszClassName = className;
    if (!RegisterClassW(&wc) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) return FALSE;
  }
  // A child tells its parent nothing of its making and its end: nobody there listens.
  const DWORD exStyle = parent ? WS_EX_NOPARENTNOTIFY : 0;
  const DWORD style = parent ? WS_CHILD : 0;
  HWND created = CreateWindowExW(exStyle, className, L"", style, 0, 0, 0, 0, parent, nullptr, instance, this);
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
  // Each start has an id of its own, so that a tick of an earlier start that is still queued is told
  // apart and dropped.
  timerId = timerId % 0xFFFF + 1;
  timerRunning = SetTimer(hwnd, timerId, ms, nullptr) != 0;
}

void HiddenTimerWindow::StopTimer() {
  timerRunning = FALSE;
  if (!hwnd) return;
  if (timerId != 0) KillTimer(hwnd, timerId);
  // A tick queued before the kill may still arrive; Proc drops it. The queue isn't searched here: a
  // look into it would also take in messages that other threads send, in the middle of the caller.
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
  if (message == WM_NCDESTROY) {
    // Destroyed from outside, with its parent: the object is without window from now on, and its
    // timer went with the window.
    self->hwnd = nullptr;
    self->timerRunning = FALSE;
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    return DefWindowProcW(window, message, wParam, lParam);
  }
  // A tick of a timer stopped or started anew since it was queued never fires.
  if (message == WM_TIMER && (!self->timerRunning || wParam != self->timerId)) return 0;
  return self->WindowProc(message, wParam, lParam);
}
