#include "HelperProcess.h"

#include <doctest/doctest.h>

#include <fstream>

#include "TestPaths.h"

namespace dstest {

std::wstring HelperLogPath() {
  wchar_t folder[MAX_PATH];
  DWORD length = GetTempPathW(MAX_PATH, folder);
  return std::wstring(folder, length) + L"pagemark_datasource_test.log";
}

void ClearHelperLog() { DeleteFileW(HelperLogPath().c_str()); }

std::vector<std::string> HelperLog() {
  std::vector<std::string> lines;
  std::ifstream in(HelperLogPath().c_str(), std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

HelperProcess::HelperProcess(const std::string& helperName) : name(helperName), process(), window(nullptr) {
  std::wstring wideName(name.begin(), name.end());
  std::wstring program = testpaths::BinDir() + L"datasource_helper.exe";
  std::wstring commandLine = L"\"" + program + L"\" " + wideName + L" \"" + HelperLogPath() + L"\"";
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  BOOL started = CreateProcessW(program.c_str(), &commandLine[0], nullptr, nullptr, FALSE, 0, nullptr,
                                nullptr, &startup, &process);
  REQUIRE_MESSAGE(started, "datasource_helper.exe can't be started, error " << GetLastError());
  const DWORD deadline = GetTickCount() + 30000;
  for (;;) {
    window = FindWindowW(dshelper::kDataSourceHelperClass, wideName.c_str());
    if (window != nullptr) break;
    if (WaitForSingleObject(process.hProcess, 0) == WAIT_OBJECT_0) {
      DWORD exitCode = 0;
      GetExitCodeProcess(process.hProcess, &exitCode);
      FAIL("helper " << name << " ended with " << exitCode << " before its window stood");
    }
    REQUIRE_MESSAGE(static_cast<LONG>(GetTickCount() - deadline) < 0,
                    "helper " << name << " has no window after 30 s");
    Sleep(20);
  }
}

HelperProcess::~HelperProcess() {
  if (process.hProcess == nullptr) return;
  if (WaitForSingleObject(process.hProcess, 0) == WAIT_TIMEOUT) {
    if (window != nullptr) PostMessageW(window, dshelper::CmdQuit, 0, 0);
    // While it closes, the helper may still speak to this process's windows.
    const DWORD deadline = GetTickCount() + 10000;
    while (MsgWaitForMultipleObjects(1, &process.hProcess, FALSE, 50, QS_ALLINPUT) != WAIT_OBJECT_0) {
      MSG message;
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
      if (static_cast<LONG>(GetTickCount() - deadline) >= 0) {
        TerminateProcess(process.hProcess, 9);
        WaitForSingleObject(process.hProcess, 10000);
        break;
      }
    }
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
}

LRESULT HelperProcess::Command(UINT command, WPARAM wParam, LPARAM lParam) {
  DWORD_PTR result = 0;
  LRESULT sent = SendMessageTimeoutW(window, command, wParam, lParam, SMTO_NORMAL, 60000, &result);
  if (sent == 0) {
    FAIL_CHECK("helper " << name << " didn't carry out command " << (command - WM_APP) << ", error "
                         << GetLastError());
    return -1;
  }
  return static_cast<LRESULT>(result);
}

}  // namespace dstest
