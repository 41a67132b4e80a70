#include "OwnThread.h"

#include <doctest/doctest.h>

#include <utility>

namespace ownthread {

namespace {

DWORD g_watchedThread = 0;
Outcome g_outcome;

LONG CALLBACK EndWatchedThread(EXCEPTION_POINTERS* info) {
  if (GetCurrentThreadId() != g_watchedThread) return EXCEPTION_CONTINUE_SEARCH;
  const EXCEPTION_RECORD& record = *info->ExceptionRecord;
  g_outcome.raised = true;
  g_outcome.code = record.ExceptionCode;
  g_outcome.flags = record.ExceptionFlags;
  g_outcome.parameters = record.NumberParameters;
  if (record.NumberParameters > 0) g_outcome.firstParameter = record.ExceptionInformation[0];
  ExitThread(2);
}

DWORD WINAPI RunBody(void* body) {
  (*static_cast<std::function<void()>*>(body))();
  return 1;
}

}  // namespace

Outcome Run(std::function<void()> body) {
  g_outcome = Outcome();
  PVOID handler = AddVectoredExceptionHandler(1, EndWatchedThread);
  DWORD id = 0;
  HANDLE thread = CreateThread(nullptr, 0, RunBody, &body, CREATE_SUSPENDED, &id);
  if (thread == nullptr) {
    RemoveVectoredExceptionHandler(handler);
    return g_outcome;
  }
  g_outcome.started = true;
  g_watchedThread = id;
  ResumeThread(thread);
  g_outcome.finished = WaitForSingleObject(thread, 20000) == WAIT_OBJECT_0;
  if (!g_outcome.finished) {
    TerminateThread(thread, 3);
    WaitForSingleObject(thread, 5000);
  }
  GetExitCodeThread(thread, &g_outcome.exitCode);
  CloseHandle(thread);
  RemoveVectoredExceptionHandler(handler);
  g_watchedThread = 0;
  return g_outcome;
}

Outcome RunChecked(std::function<void()> body) {
  Outcome outcome = Run(std::move(body));
  REQUIRE(outcome.started);
  CHECK(outcome.finished);
  CHECK(outcome.exitCode == (outcome.raised ? 2u : 1u));
  return outcome;
}

}  // namespace ownthread
