#include "storage/events/DbEventsListener.h"

const wchar_t kDbEventsListenerClass[] = L"DB_EVENTS_LISTENER_CLS";

DbEventsListener::DbEventsListener() : target(nullptr), request() {
  request.dwSize = 20;  // the platform's size of the record
  request.dwFlags = CEDB_EXNOTIFICATION;
}

BOOL DbEventsListener::Create(HINSTANCE instance, DbEventTarget* owner) {
  target = owner;
  const BOOL created = HiddenTimerWindow::Create(instance, kDbEventsListenerClass);
  request.hwnd = hwnd;
  return created;
}

void DbEventsListener::Destroy() {
  HiddenTimerWindow::Destroy();
  request.hwnd = nullptr;
}

LRESULT DbEventsListener::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_DBNOTIFICATION: {
      CENOTIFICATION* note = reinterpret_cast<CENOTIFICATION*>(lParam);
      if (!note) return 0;
      DWORD kind = 0;
      switch (note->uType) {
        case DB_CEOID_CREATED:
          kind = ChangeCreated;
          break;
        case DB_CEOID_RECORD_DELETED:
          kind = ChangeDeleted;
          break;
        case DB_CEOID_CHANGED:
          kind = ChangeChanged;
          break;
        default:
          break;
      }
      const CEOID parent = note->oidParent;
      const CEOID oid = note->oid;
      // Every notification goes back to the platform, whatever its type.
      CeFreeNotification(&request, note);
      if (kind != 0 && target) target->OnDbEvent(kind, parent, oid);
      return 0;
    }
    case WM_TIMER:
      StopTimer();
      if (target) target->OnSaveTimer();
      return 0;
    default:
      return HiddenTimerWindow::WindowProc(message, wParam, lParam);
  }
}
