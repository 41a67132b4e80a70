// The error log, the failure stop and the developers' "Pagemark Tracer" box.
//
// The log is a plain text file named after the module given to SetLogModule (its full path with ".log"
// added), or "\error.log" when no module is known. One line per event, no levels:
//   yyyy.MM.dd HH:mm:ss - message[\t\tfile: function (line)]\r\n
// written in the ANSI code page. Writing never fails loudly: a log that can't be opened drops the line.
#pragma once

#include <windows.h>

// Private exception code raised by FailureStop. Handlers further up may recognise it; nothing resumes it.
constexpr DWORD kFailureStopCode = 0xefffffff;

// The message and source position every checked allocation reports when it comes back empty.
constexpr const wchar_t* kMemoryNotAllocated = L"Memory not allocated!!!";
constexpr const wchar_t* kAllocationCheckFile = L"DebugUtils";
constexpr int kAllocationCheckLine = 172;

// Caption of the box that signals a broken assumption; the program goes on after it.
constexpr const wchar_t* kTracerCaption = L"Pagemark Tracer";

// Names the log file after this module. Called once at start-up; null means "\error.log".
void SetLogModule(HMODULE module);
HMODULE GetLogModule();

// Appends one line to the log. `file` may be null, and then the line ends after the message;
// `function` may be null or empty. The calling thread's last error is left as it was.
void LogError(const wchar_t* message, const wchar_t* file, const wchar_t* function, int line);

// Logs a platform call that failed, as one line "<call> failed, error <error>: <subject>", where the
// subject names what the call worked on (a path, a key). Leaves the last error as it was.
void LogCallFailure(const wchar_t* call, DWORD error, const wchar_t* subject, const wchar_t* file,
                    const wchar_t* function, int line);

// A broken invariant: logs the message with its source position, then raises kFailureStopCode as a
// non-continuable exception. Never returns, also when the log can't be written.
[[noreturn]] void FailureStop(const wchar_t* message, const wchar_t* file, int line);

// The check that follows every allocation: an empty result is a failure stop. Returns the pointer so
// that it can wrap the allocating expression.
template <class T>
inline T* CheckAllocation(T* pointer) {
  if (pointer == nullptr) FailureStop(kMemoryNotAllocated, kAllocationCheckFile, kAllocationCheckLine);
  return pointer;
}

// Shows a printf-style text (up to 1023 characters) in an ownerless message box captioned
// "Pagemark Tracer" and returns when it is dismissed.
void TracerBox(const wchar_t* format, ...);
