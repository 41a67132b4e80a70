#include "Shell.h"

#include <DeviceJournal.h>

#include <cstdarg>
#include <cwchar>

namespace ayg {

HINSTANCE g_module = nullptr;

int ScaleY(int units) {
  HDC screen = GetDC(nullptr);
  int dpi = screen ? GetDeviceCaps(screen, LOGPIXELSY) : 96;
  if (screen) ReleaseDC(nullptr, screen);
  if (dpi <= 0) dpi = 96;
  return (units * dpi + 48) / 96;
}

RECT WorkArea() {
  RECT work{};
  if (!SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0) || IsRectEmpty(&work))
    SetRect(&work, 0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
  return work;
}

int NavigationBarHeight() { return ScaleY(26); }
int MenuBarHeight() { return ScaleY(26); }
int PanelHeight() { return ScaleY(80); }

RECT PanelRect() {
  RECT work = WorkArea();
  RECT panel = work;
  panel.bottom = work.bottom - MenuBarHeight();
  panel.top = panel.bottom - PanelHeight();
  return panel;
}

RECT VisibleDesktop(bool panelOn) {
  RECT visible = WorkArea();
  visible.top += NavigationBarHeight();
  if (panelOn) visible.bottom = PanelRect().top;
  return visible;
}

void Journal(const wchar_t* format, ...) {
  wchar_t line[1024];
  va_list args;
  va_start(args, format);
  _vsnwprintf(line, 1023, format, args);
  va_end(args);
  line[1023] = 0;
  DeviceJournalWrite(L"aygshell", L"%ls", line);
}

const wchar_t* ClassOf(HWND hwnd, wchar_t* buffer, int size) {
  if (!hwnd || GetClassNameW(hwnd, buffer, size) <= 0) lstrcpynW(buffer, L"-", size);
  return buffer;
}

}  // namespace ayg

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    ayg::g_module = module;
    DisableThreadLibraryCalls(module);
  }
  return TRUE;
}
