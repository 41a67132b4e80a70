#include "CrashGuard.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <exception>
#include <stdexcept>

#include "foundation/DebugUtils.h"

namespace {

const UINT kCrashStatus = 1;

// Written with the least machinery: the heap or the C runtime may be what broke.
void WriteError(const char* text) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(strlen(text)), &written, nullptr);
}

LONG WINAPI OnUnhandled(EXCEPTION_POINTERS* info) {
  const EXCEPTION_RECORD* record = info != nullptr ? info->ExceptionRecord : nullptr;
  const DWORD code = record != nullptr ? record->ExceptionCode : 0;
  char text[160];
  if (code == kFailureStopCode)
    snprintf(text, sizeof text, "pimtool: stopped on a broken rule of the stored data (see the log)\n");
  else
    snprintf(text, sizeof text, "pimtool: crashed (exception 0x%08lx at %p)\n",
             static_cast<unsigned long>(code), record != nullptr ? record->ExceptionAddress : nullptr);
  WriteError(text);
  TerminateProcess(GetCurrentProcess(), kCrashStatus);
  return EXCEPTION_EXECUTE_HANDLER;
}

void OnTerminate() {
  WriteError("pimtool: crashed (an exception nobody caught)\n");
  TerminateProcess(GetCurrentProcess(), kCrashStatus);
}

}  // namespace

void InstallCrashGuard() {
  SetUnhandledExceptionFilter(OnUnhandled);
  std::set_terminate(OnTerminate);
  // No dialog of the system's own for a crash: the message above is the report.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
}

bool CauseFailure(const wchar_t* kind) {
  if (wcscmp(kind, L"fault") == 0) {
    volatile int* nowhere = reinterpret_cast<volatile int*>(static_cast<uintptr_t>(16));
    *nowhere = 1;
    return true;
  }
  if (wcscmp(kind, L"stop") == 0) FailureStop(L"a failure stop asked for", L"pimtool", __LINE__);
  if (wcscmp(kind, L"throw") == 0) throw std::runtime_error("an exception asked for");
  return false;
}
