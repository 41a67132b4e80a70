// DbEventsListener: the hidden window that the contacts database sends its change notifications to.
// Each notification becomes a call of the target's OnDbEvent and is given back to the platform. The
// same window runs the save timer: two seconds after the last change of the index the target is told
// to save.
#pragma once
#include <windows.h>
#include <windbase.h>

#include "storage/events/DbEventTarget.h"
#include "storage/events/HiddenTimerWindow.h"

extern const wchar_t kDbEventsListenerClass[];  // "DB_EVENTS_LISTENER_CLS"

class DbEventsListener : public HiddenTimerWindow {
 public:
  DbEventsListener();
  // Registers the class and creates the hidden window; false when either fails.
  virtual BOOL Create(HINSTANCE instance, DbEventTarget* target);
  void Destroy() override;
  // The request that opening the database hands to the platform: this window, extended notifications.
  CENOTIFYREQUEST* GetNotifyRequest() { return &request; }
  void StartSaveTimer(UINT ms) { StartTimer(ms); }
  void StopSaveTimer() { StopTimer(); }
  BOOL IsSaveTimerRunning() const { return IsTimerRunning(); }
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  using HiddenTimerWindow::Create;
  DbEventTarget* target;
  CENOTIFYREQUEST request;
};
