#include <pimstore.h>

#include "plugins/PimObjectModelItems.h"

namespace {

const DWORD kAppointmentMinutes = 15;
const DWORD kCalendarWaitMs = 20000;
const DWORD kCalendarPollMs = 20;
// The calendar's command that opens the appointment it shows for editing.
const WPARAM kCalendarEditCommand = 105;

// Waits for the calendar to come to the front with the new appointment, and asks it to edit it.
DWORD WINAPI WaitForCalendar(void*) {
  for (DWORD waited = 0; waited <= kCalendarWaitMs; waited += kCalendarPollMs) {
    HWND front = GetForegroundWindow();
    wchar_t title[16];
    if (front && GetWindowTextW(front, title, 16) > 0 && lstrcmpW(title, L"Calendar") == 0) {
      PostMessageW(front, WM_COMMAND, kCalendarEditCommand, 0);
      return 0;
    }
    Sleep(kCalendarPollMs);
  }
  return 0;
}

// Sets a text property through `put`, which takes its own copy of the string.
HRESULT PutText(IAppointment* appointment, HRESULT (STDMETHODCALLTYPE IAppointment::*put)(BSTR),
                const Str& text) {
  BSTR value = SysAllocString(text);
  if (!value) return E_OUTOFMEMORY;
  HRESULT result = (appointment->*put)(value);
  SysFreeString(value);
  return result;
}

HRESULT FillAndShow(IAppointment* appointment, const Str& subject, const Str& body, const SYSTEMTIME& start) {
  HRESULT result = PutText(appointment, &IAppointment::put_Subject, subject);
  if (SUCCEEDED(result) && !body.IsEmpty()) result = PutText(appointment, &IAppointment::put_Body, body);
  DATE when = 0;
  SYSTEMTIME startTime = start;
  if (SUCCEEDED(result) && !SystemTimeToVariantTime(&startTime, &when)) result = E_INVALIDARG;
  if (SUCCEEDED(result)) result = appointment->put_Start(when);
  if (SUCCEEDED(result)) result = appointment->put_Duration(kAppointmentMinutes);
  if (SUCCEEDED(result)) result = appointment->Save();
  if (FAILED(result)) return result;
  HANDLE waiter = CreateThread(nullptr, 0, WaitForCalendar, nullptr, 0, nullptr);
  if (waiter) CloseHandle(waiter);
  result = appointment->Display();
  if (SUCCEEDED(result)) result = appointment->Save();
  return result;
}

}  // namespace

BOOL MakeCalendarAppointment(IPOutlookApp* app, const Str& subject, const Str& body,
                             const SYSTEMTIME& start) {
  IDispatch* item = nullptr;
  HRESULT result = app->CreateItem(olAppointmentItem, &item);
  if (SUCCEEDED(result)) {
    IAppointment* appointment = nullptr;
    result = item->QueryInterface(IID_IAppointment, reinterpret_cast<void**>(&appointment));
    item->Release();
    if (SUCCEEDED(result)) {
      result = FillAndShow(appointment, subject, body, start);
      appointment->Release();
    }
  }
  if (FAILED(result)) SetLastError(static_cast<DWORD>(result));
  return SUCCEEDED(result);
}
