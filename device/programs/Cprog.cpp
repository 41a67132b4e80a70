// cprog.exe, the phone program of the device. Its main window (class "MSCprog") is what other programs
// wait for before they place a call; its call policy window (class "CallPol") takes service codes sent
// as WM_COPYDATA. The stand-in device has no radio: the start and each service code are written to the
// device journal. The program stays until its main window is closed, or ends by itself after five
// minutes, so that a device left alone comes to rest.
#include <windows.h>

#include <DeviceJournal.h>

#include "CommandLine.h"

namespace {

constexpr wchar_t kSource[] = L"cprog";
constexpr UINT_PTR kRestTimer = 1;
constexpr UINT kRestMs = 5 * 60 * 1000;

// A service code block: a word 1, a word with the offset of the number (20), and the number with its
// terminator at that offset.
void JournalServiceCode(const COPYDATASTRUCT* data) {
  if (!data || !data->lpData || data->cbData < 8) {
    DeviceJournalWrite(kSource, L"CallPol data %lu without a block",
                       data ? static_cast<unsigned long>(data->dwData) : 0ul);
    return;
  }
  const BYTE* block = static_cast<const BYTE*>(data->lpData);
  const DWORD first = reinterpret_cast<const DWORD*>(block)[0];
  const DWORD offset = reinterpret_cast<const DWORD*>(block)[1];
  wchar_t number[128] = L"";
  if (offset < data->cbData) {
    const wchar_t* text = reinterpret_cast<const wchar_t*>(block + offset);
    const DWORD room = (data->cbData - offset) / sizeof(wchar_t);
    DWORD n = 0;
    while (n < room && n < 127 && text[n]) {
      number[n] = text[n];
      ++n;
    }
    number[n] = 0;
  }
  DeviceJournalWrite(kSource, L"CallPol data %lu size %lu words %lu %lu number \"%ls\"",
                     static_cast<unsigned long>(data->dwData), static_cast<unsigned long>(data->cbData),
                     static_cast<unsigned long>(first), static_cast<unsigned long>(offset), number);
}

LRESULT CALLBACK PolicyProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_COPYDATA) {
    JournalServiceCode(reinterpret_cast<const COPYDATASTRUCT*>(lParam));
    return TRUE;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

LRESULT CALLBACK MainProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
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

HWND MakeWindow(HINSTANCE instance, const wchar_t* className, WNDPROC proc) {
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = proc;
  windowClass.hInstance = instance;
  windowClass.lpszClassName = className;
  RegisterClassW(&windowClass);
  // Hidden: the device's screen belongs to the programs in front.
  return CreateWindowExW(0, className, L"Phone", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, instance, nullptr);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
  const wchar_t* arguments = ProgramArguments(L"cprog.exe");
  if (*arguments)
    DeviceJournalWrite(kSource, L"run %ls", arguments);
  else
    DeviceJournalWrite(kSource, L"run");
  HWND policy = MakeWindow(instance, L"CallPol", PolicyProc);
  HWND main = MakeWindow(instance, L"MSCprog", MainProc);
  if (!main || !policy) return 1;
  SetTimer(main, kRestTimer, kRestMs, nullptr);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  DestroyWindow(policy);
  return 0;
}
