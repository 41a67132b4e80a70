// The list's two long-press timers, and what their expiry does.
#include "lists/CoolList.h"

void CoolListTimer::Start(UINT ms) {
  SetTimer(window, id, ms, nullptr);
  idle = 0;
}

void CoolListTimer::Stop() {
  idle = 1;
  if (!window) return;
  KillTimer(window, id);
  // An expiry may already wait in the queue. Every WM_TIMER of the window is taken out; those of the
  // other timers go back in afterwards (not during the sweep, which would find them again).
  Array<MSG> others;
  MSG msg;
  while (PeekMessageW(&msg, window, WM_TIMER, WM_TIMER, PM_REMOVE | PM_NOYIELD))
    if (msg.wParam != id) others.Add(msg);
  for (int i = 0; i < others.GetSize(); ++i)
    PostMessageW(window, WM_TIMER, others[i].wParam, others[i].lParam);
}

void CoolList::OnTimerMessage(UINT_PTR id) {
  actionTimer.Stop();
  pressTimer.Stop();
  if (id == kPressTimerId) {
    trackingOff = 1;
    if (owner) owner->OnLongPress(tapPoint.x, tapPoint.y);
    TestStuckActionKey();
  } else if (id == kActionTimerId) {
    if (!actionDown) return;
    actionLong = 1;
    trackingOff = 1;
    if (caret >= topRow && caret < topRow + visibleRows && owner) {
      RECT rect = RowRect(caret);
      owner->OnLongPress(rect.left, rect.top + rowHeight / 2);
    }
  }
}
