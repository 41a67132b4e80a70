#include "storage/DbEventsListener.h"

#include "storage/HiddenTimerWindow.h"

const wchar_t kDbEventsListenerClass[] = L"DB_EVENTS_LISTENER_CLS";

DbEventsListener::DbEventsListener() : hwnd(nullptr), timerRunning(FALSE), target(nullptr), request() {
  request.dwSize = 20;  // the platform's size of the record
  request.dwFlags = CEDB_EXNOTIFICATION;
}

DbEventsListener::~DbEventsListener() { Destroy(); }

BOOL DbEventsListener::Create(HINSTANCE instance, DbEventTarget* owner) {
  Destroy();
  target = owner;
  hwnd = CreateHiddenWindow(instance, kDbEventsListenerClass, Proc, this);
  request.hwnd = hwnd;
  return hwnd != nullptr;
}

void DbEventsListener::Destroy() {
  if (!hwnd) return;
  StopSaveTimer();
  HWND window = hwnd;
  hwnd = nullptr;
  request.hwnd = nullptr;
  SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  DestroyWindow(window);
}

void DbEventsListener::StartSaveTimer(UINT ms) {
  if (!hwnd) return;
  timerRunning = StartWindowTimer(hwnd, ms);
}

void DbEventsListener::StopSaveTimer() {
  StopWindowTimer(hwnd);
  timerRunning = FALSE;
}

LRESULT DbEventsListener::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_DBNOTIFICATION: {
      CENOTIFICATION* note = reinterpret_cast<CENOTIFICATION*>(lParam);
      if (!note) return 0;
      DWORD kind = 0;
      switch (note->uType) {
        case DB_CEOID_CREATED: kind = ChangeCreated; break;
        case DB_CEOID_RECORD_DELETED: kind = ChangeDeleted; break;
        case DB_CEOID_CHANGED: kind = ChangeChanged; break;
        default: break;
      }
      const CEOID parent = note->oidParent;
      const CEOID oid = note->oid;
      // Every notification goes back to the platform, whatever its type.
      CeFreeNotification(&request, note);
      if (kind != 0 && target) target->OnDbEvent(kind, parent, oid);
      return 0;
    }
    case WM_TIMER:
      StopSaveTimer();
      if (target) target->OnSaveTimer();
      return 0;
    default:
      return DefWindowProcW(hwnd, message, wParam, lParam);
  }
}

LRESULT CALLBACK DbEventsListener::Proc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  DbEventsListener* self = static_cast<DbEventsListener*>(HiddenWindowObject(hwnd, message, lParam));
  if (!self || self->hwnd != hwnd) {
    // Messages before CreateWindowEx has returned, or after Destroy.
    if (self && message == WM_CREATE) return 0;
    return DefWindowProcW(hwnd, message, wParam, lParam);
  }
  return self->WindowProc(message, wParam, lParam);
}
