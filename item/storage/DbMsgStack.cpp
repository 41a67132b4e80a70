#include "storage/DbMsgStack.h"

#include "storage/HiddenTimerWindow.h"

const wchar_t kDbMsgStackClass[] = L"DB_MSG_STACK_WND_CLS";

DbMsgStack::DbMsgStack() : hwnd(nullptr), timerRunning(FALSE), target(nullptr) {}

DbMsgStack::~DbMsgStack() { Destroy(); }

BOOL DbMsgStack::Create(HINSTANCE instance, DbEventTarget* owner) {
  Destroy();
  target = owner;
  hwnd = CreateHiddenWindow(instance, kDbMsgStackClass, Proc, this);
  return hwnd != nullptr;
}

void DbMsgStack::Destroy() {
  if (!hwnd) return;
  StopTimer();
  HWND window = hwnd;
  hwnd = nullptr;
  SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  DestroyWindow(window);
}

void DbMsgStack::Push(DWORD kind, CEOID parent, CEOID oid) {
  PendingChange change;
  change.kind = kind;
  change.parent = parent;
  change.oid = oid;
  changes.Add(change);
}

void DbMsgStack::Clear() { changes.RemoveAll(); }

void DbMsgStack::StartTimer(UINT ms) {
  if (!hwnd) return;
  timerRunning = StartWindowTimer(hwnd, ms);
}

void DbMsgStack::StopTimer() {
  StopWindowTimer(hwnd);
  timerRunning = FALSE;
}

LRESULT DbMsgStack::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_TIMER) {
    StopTimer();
    if (target) target->OnEventTimer();
    return 0;
  }
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

LRESULT CALLBACK DbMsgStack::Proc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  DbMsgStack* self = static_cast<DbMsgStack*>(HiddenWindowObject(hwnd, message, lParam));
  if (!self || self->hwnd != hwnd) {
    if (self && message == WM_CREATE) return 0;
    return DefWindowProcW(hwnd, message, wParam, lParam);
  }
  return self->WindowProc(message, wParam, lParam);
}
