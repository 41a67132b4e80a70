// calendar.exe, the calendar program of the device. Started with "-appointment OID" it shows that
// appointment of the "Appointments Database" in its window titled "Calendar", brought to the front; the
// appointment shown and every command the window receives are written to the device journal. The
// program stays until its window is closed, or ends by itself after five minutes, so that a device left
// alone comes to rest.
#include <windows.h>
#include <wchar.h>

#include <string>

#include <AppointmentRecord.h>
#include <DeviceJournal.h>

#include "CommandLine.h"

namespace {

constexpr wchar_t kSource[] = L"calendar";
constexpr UINT_PTR kRestTimer = 1;
constexpr UINT kRestMs = 5 * 60 * 1000;

std::wstring shown;  // the text the window paints

LRESULT CALLBACK MainProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_COMMAND:
      DeviceJournalWrite(kSource, L"command %u", static_cast<unsigned>(LOWORD(wParam)));
      return 0;
    case WM_PAINT: {
      PAINTSTRUCT paint;
      HDC dc = BeginPaint(window, &paint);
      RECT area;
      GetClientRect(window, &area);
      FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
      DrawTextW(dc, shown.c_str(), -1, &area, DT_LEFT | DT_TOP | DT_WORDBREAK);
      EndPaint(window, &paint);
      return 0;
    }
    case WM_TIMER:
      if (wParam == kRestTimer) DestroyWindow(window);
      return 0;
    case WM_DESTROY:
      DeviceJournalWrite(kSource, L"end");
      PostQuitMessage(0);
      return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
  const wchar_t* arguments = ProgramArguments(L"calendar.exe");
  unsigned long oid = 0;
  if (swscanf(arguments, L"-appointment %lu", &oid) == 1) {
    AppointmentRecord record;
    if (LoadAppointmentRecord(static_cast<CEOID>(oid), record)) {
      DeviceJournalWrite(kSource, L"show %lu %ls", oid, DescribeAppointment(record).c_str());
      wchar_t when[64];
      swprintf(when, 64, L"\n%04u-%02u-%02u %02u:%02u, %ld minutes", record.start.wYear, record.start.wMonth,
               record.start.wDay, record.start.wHour, record.start.wMinute, record.durationMinutes);
      shown = record.subject + when;
    } else {
      DeviceJournalWrite(kSource, L"show %lu missing", oid);
    }
  } else {
    DeviceJournalWrite(kSource, L"run");
  }

  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = MainProc;
  windowClass.hInstance = instance;
  windowClass.lpszClassName = L"Calendar";
  RegisterClassW(&windowClass);
  RECT work;
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  HWND window =
      CreateWindowExW(0, L"Calendar", L"Calendar", WS_POPUP | WS_VISIBLE, work.left, work.top,
                      work.right - work.left, work.bottom - work.top, nullptr, nullptr, instance, nullptr);
  if (!window) return 1;
  SetForegroundWindow(window);
  SetTimer(window, kRestTimer, kRestMs, nullptr);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return 0;
}
