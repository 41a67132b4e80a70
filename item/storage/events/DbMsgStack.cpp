#include "storage/events/DbMsgStack.h"

const wchar_t kDbMsgStackClass[] = L"DB_MSG_STACK_WND_CLS";

DbMsgStack::DbMsgStack() : target(nullptr) {}

BOOL DbMsgStack::Create(HINSTANCE instance, DbEventTarget* owner, HWND parent) {
  target = owner;
  return HiddenTimerWindow::Create(instance, kDbMsgStackClass, parent);
}

void DbMsgStack::Push(DWORD kind, CEOID parent, CEOID oid) {
  PendingChange change;
  change.kind = kind;
  change.parent = parent;
  change.oid = oid;
  changes.Add(change);
}

void DbMsgStack::Clear() { changes.RemoveAll(); }

LRESULT DbMsgStack::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_TIMER) {
    StopTimer();
    if (target) target->OnEventTimer();
    return 0;
  }
  return HiddenTimerWindow::WindowProc(message, wParam, lParam);
}
