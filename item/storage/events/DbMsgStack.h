// DbMsgStack: the queue of change notifications not yet applied, with the hidden window whose timer
// gathers a burst. Every event restarts the 500 ms timer, so the queue is handled once, half a
// second after the last event of a burst.
#pragma once
#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"
#include "storage/events/DbEventTarget.h"
#include "storage/events/HiddenTimerWindow.h"

extern const wchar_t kDbMsgStackClass[];  // "DB_MSG_STACK_WND_CLS"

class DbMsgStack : public HiddenTimerWindow {
 public:
  DbMsgStack();
  // Registers the class and creates the hidden window, a child of `parent` when one is given.
  virtual BOOL Create(HINSTANCE instance, DbEventTarget* target, HWND parent = nullptr);
  virtual void Push(DWORD kind, CEOID parent, CEOID oid);
  int Count() const { return changes.GetSize(); }
  const Array<PendingChange>& GetAll() const { return changes; }
  virtual void Clear();
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  using HiddenTimerWindow::Create;
  DbEventTarget* target;
  Array<PendingChange> changes;
};
