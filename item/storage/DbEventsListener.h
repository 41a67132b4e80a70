// DbEventsListener: the hidden window that the contacts database sends its change notifications to.
// Each notification becomes a call of the target's OnDbEvent and is given back to the platform. The
// same window runs the save timer: two seconds after the last change of the index the target is told
// to save.
#pragma once
#include <windows.h>
#include <windbase.h>

#include "storage/DbEventTarget.h"

extern const wchar_t kDbEventsListenerClass[];  // "DB_EVENTS_LISTENER_CLS"

class DbEventsListener {
 public:
  DbEventsListener();
  virtual ~DbEventsListener();
  // Registers the class and creates the hidden window; false when either fails.
  virtual BOOL Create(HINSTANCE instance, DbEventTarget* target);
  virtual void Destroy();
  HWND GetHwnd() const { return hwnd; }
  // The request that opening the database hands to the platform: this window, extended notifications.
  CENOTIFYREQUEST* GetNotifyRequest() { return &request; }
  // Starts (or restarts) the save timer; nothing without a window.
  virtual void StartSaveTimer(UINT ms);
  // Stops it so that a tick already queued is thrown away too.
  virtual void StopSaveTimer();
  BOOL IsSaveTimerRunning() const { return timerRunning; }

  // Handles one message of the window; public so that the window procedure can reach it.
  virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);

 private:
  DbEventsListener(const DbEventsListener&);
  DbEventsListener& operator=(const DbEventsListener&);
  static LRESULT CALLBACK Proc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

  HWND hwnd;
  BOOL timerRunning;
  DbEventTarget* target;
  CENOTIFYREQUEST request;
};
