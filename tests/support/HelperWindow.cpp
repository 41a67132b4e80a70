#include "HelperWindow.h"

#include <vector>

#include "HiddenWindow.h"
#include "SharedLog.h"
#include "TestPaths.h"
#include "WideText.h"
#include "sync/PimSync.h"

namespace helperwindow {

namespace {

const UINT_PTR kLifetimeTimer = 1;
const UINT kLifetimeMs = 120000;

std::string g_name;
std::wstring g_log;
WNDPROC g_procedure = nullptr;

LRESULT CALLBACK FrameProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_TIMER && wParam == kLifetimeTimer) {
    PostQuitMessage(2);
    return 0;
  }
  return g_procedure(window, message, wParam, lParam);
}

bool ReadCommandLine(std::wstring& name) {
  const std::vector<std::wstring> words = testpaths::ProgramArguments();
  if (words.size() < 3) return false;
  name = words[1];
  g_log = words[2];
  g_name = Ascii(name.c_str());
  return true;
}

}  // namespace

int Run(const wchar_t* windowClass, WNDPROC procedure, void (*leaving)()) {
  std::wstring name;
  if (!ReadCommandLine(name)) return 3;
  // The coordinator first: once the window can be found, commands may come.
  if (!PimSync::GetInstance()->Open()) return 5;
  g_procedure = procedure;
  HWND window = MakeHiddenWindow(windowClass, FrameProc, name.c_str());
  if (window == nullptr) return 4;
  SetTimer(window, kLifetimeTimer, kLifetimeMs, nullptr);

  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  if (leaving != nullptr) leaving();
  DestroyWindow(window);
  PimSync::DestroyInstance();
  return static_cast<int>(message.wParam);
}

void Log(const std::string& event) { sharedlog::AppendLine(g_log, g_name + " " + event); }

void Drain() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      break;
    }
    DispatchMessageW(&message);
  }
}

}  // namespace helperwindow
