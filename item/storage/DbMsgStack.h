// DbMsgStack: the queue of change notifications not yet applied, with the hidden window whose timer
// gathers a burst. Every event restarts the 500 ms timer, so the queue is handled once, half a
// second after the last event of a burst.
#pragma once
#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"
#include "storage/DbEventTarget.h"

extern const wchar_t kDbMsgStackClass[];  // "DB_MSG_STACK_WND_CLS"

class DbMsgStack {
 public:
  DbMsgStack();
  virtual ~DbMsgStack();
  virtual BOOL Create(HINSTANCE instance, DbEventTarget* target);
  virtual void Destroy();
  HWND GetHwnd() const { return hwnd; }

  virtual void Push(DWORD kind, CEOID parent, CEOID oid);
  int Count() const { return changes.GetSize(); }
  const Array<PendingChange>& GetAll() const { return changes; }
  virtual void Clear();

  // Starts (or restarts) the gathering timer; nothing without a window.
  virtual void StartTimer(UINT ms);
  // Stops it so that a tick already queued is thrown away too.
  virtual void StopTimer();
  BOOL IsTimerRunning() const { return timerRunning; }

  virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);

 private:
  DbMsgStack(const DbMsgStack&);
  DbMsgStack& operator=(const DbMsgStack&);
  static LRESULT CALLBACK Proc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

  HWND hwnd;
  BOOL timerRunning;
  DbEventTarget* target;
  Array<PendingChange> changes;
};
