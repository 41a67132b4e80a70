// IdleWorkWindow: the hidden window whose timer gives the owner of the contacts database its slices of
// idle time. Unlike the other two windows' timers, this one goes on ticking until the owner stops it,
// which it does when no work is left.
#pragma once
#include <windows.h>

#include "storage/events/DbEventTarget.h"
#include "storage/events/HiddenTimerWindow.h"

extern const wchar_t kIdleWorkWindowClass[];  // "PIM_IDLE_WORK_WND_CLS"

class IdleWorkWindow : public HiddenTimerWindow {
 public:
  IdleWorkWindow();
  // Registers the class and creates the hidden window, a child of `parent` when one is given.
  virtual BOOL Create(HINSTANCE instance, DbEventTarget* target, HWND parent = nullptr);
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  using HiddenTimerWindow::Create;
  DbEventTarget* target;
};
