#include "HelperProcess.h"

#include <doctest/doctest.h>

#include "TestPaths.h"
#include "WideText.h"

namespace helperproc {

HelperProcess::HelperProcess(const HelperProgram& helperProgram, const std::string& helperName,
                             const std::wstring& logPath)
    : program(helperProgram), name(helperName), process(), window(nullptr) {
  const std::wstring wideName(name.begin(), name.end());
  const std::wstring path = testpaths::BinDir() + program.file;
  std::wstring commandLine = L"\"" + path + L"\" " + wideName + L" \"" + logPath + L"\"";
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  BOOL started = testpaths::StartProcess(path, commandLine, FALSE, &startup, &process);
  REQUIRE_MESSAGE(started, Ascii(program.file) << " can't be started, error " << GetLastError());
  // The window appears once the helper is ready for commands.
  const DWORD deadline = GetTickCount() + 30000;
  for (;;) {
    window = FindWindowW(program.windowClass, wideName.c_str());
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
    if (window != nullptr) PostMessageW(window, program.quitCommand, 0, 0);
    if (program.serveWhileLeaving) {
      WaitServing();
    } else if (WaitForSingleObject(process.hProcess, 10000) != WAIT_OBJECT_0) {
      TerminateProcess(process.hProcess, 9);
      WaitForSingleObject(process.hProcess, 10000);
    }
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
}

void HelperProcess::WaitServing() {
  const DWORD deadline = GetTickCount() + 10000;
  while (MsgWaitForMultipleObjects(1, &process.hProcess, FALSE, 50, QS_ALLINPUT) != WAIT_OBJECT_0) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    if (static_cast<LONG>(GetTickCount() - deadline) >= 0) {
      TerminateProcess(process.hProcess, 9);
      WaitForSingleObject(process.hProcess, 10000);
      return;
    }
  }
}

LRESULT HelperProcess::Command(UINT command, WPARAM wParam, LPARAM lParam) {
  DWORD_PTR result = 0;
  LRESULT sent = SendMessageTimeoutW(window, command, wParam, lParam, SMTO_NORMAL, program.answerMs, &result);
  if (sent == 0) {
    FAIL_CHECK("helper " << name << " didn't carry out command " << (command - WM_APP) << ", error "
                         << GetLastError());
    return -1;
  }
  return static_cast<LRESULT>(result);
}

void HelperProcess::Kill() {
  REQUIRE(TerminateProcess(process.hProcess, 9));
  REQUIRE(WaitForSingleObject(process.hProcess, 10000) == WAIT_OBJECT_0);
  const DWORD deadline = GetTickCount() + 10000;
  while (IsWindow(window)) {
    REQUIRE_MESSAGE(static_cast<LONG>(GetTickCount() - deadline) < 0, "the window of a killed helper stays");
    Sleep(10);
  }
}

}  // namespace helperproc
