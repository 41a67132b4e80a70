#include "storage/events/IdleWorkWindow.h"

const wchar_t kIdleWorkWindowClass[] = L"PIM_IDLE_WORK_WND_CLS";

IdleWorkWindow::IdleWorkWindow() : target(nullptr) {}

BOOL IdleWorkWindow::Create(HINSTANCE instance, DbEventTarget* owner, HWND parent) {
  target = owner;
  return HiddenTimerWindow::Create(instance, kIdleWorkWindowClass, parent);
}

LRESULT IdleWorkWindow::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_TIMER) {
    if (target) target->OnIdleTimer();
    return 0;
  }
  return HiddenTimerWindow::WindowProc(message, wParam, lParam);
}
