#include "foundation/DebugUtils.h"

#include "foundation/Handles.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <wchar.h>

namespace {

// The one global of the log. Written at start-up, read by any thread without a lock.
HMODULE g_logModule = nullptr;

const int kLogPathSize = 1024;

// Module path + ".log", or "\error.log" when there is no module or its name can't be read whole.
void LogFilePath(wchar_t* path, int size) {
  static const wchar_t kFallback[] = L"\\error.log";
  static const wchar_t kSuffix[] = L".log";
  const int suffixLength = static_cast<int>(wcslen(kSuffix));

  DWORD length = 0;
  if (g_logModule != nullptr)
    length = GetModuleFileNameW(g_logModule, path, static_cast<DWORD>(size - suffixLength));
  if (length == 0 || static_cast<int>(length) >= size - suffixLength - 1) {
    wcscpy(path, kFallback);
    return;
  }
  wcscpy(path + length, kSuffix);
}

// Writes `count` UTF-16 characters as `count` bytes of the ANSI code page, in pieces so that no
// allocation is needed on the way to a failure stop.
void WriteAnsi(HANDLE file, const wchar_t* text, int count) {
  const int kPiece = 256;
  char bytes[kPiece];
  while (count > 0) {
    int piece = count < kPiece ? count : kPiece;
    // Keep a surrogate pair in one piece.
    if (piece < count && piece > 1 && text[piece - 1] >= 0xD800 && text[piece - 1] <= 0xDBFF) --piece;
    memset(bytes, 0, sizeof(bytes));
    WideCharToMultiByte(CP_ACP, 0, text, piece, bytes, piece, nullptr, nullptr);
    DWORD written = 0;
    WriteFile(file, bytes, static_cast<DWORD>(piece), &written, nullptr);
    text += piece;
    count -= piece;
  }
}

void WriteAnsi(HANDLE file, const wchar_t* text) {
  if (text != nullptr) WriteAnsi(file, text, static_cast<int>(wcslen(text)));
}

}  // namespace

void SetLogModule(HMODULE module) { g_logModule = module; }

HMODULE GetLogModule() { return g_logModule; }

void LogError(const wchar_t* message, const wchar_t* file, const wchar_t* function, int line) {
  // Callers log a failure and then report its error: opening the log (which sets "already exists")
  // must not take it from them.
  LastErrorKeeper keep;
  wchar_t path[kLogPathSize];
  LogFilePath(path, kLogPathSize);

  KernelHandle owner(CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                 OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (owner.IsEmpty()) return;
  HANDLE log = owner.Get();
  SetFilePointer(log, 0, nullptr, FILE_END);

  // One reading of the clock for both halves, so that a line never mixes two seconds or two days.
  SYSTEMTIME now;
  GetLocalTime(&now);
  wchar_t stamp[64];
  if (GetDateFormatW(LOCALE_USER_DEFAULT, 0, &now, L"yyyy.MM.dd ", stamp, 64) > 0) WriteAnsi(log, stamp);
  if (GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &now, L"HH:mm:ss - ", stamp, 64) > 0) WriteAnsi(log, stamp);
  WriteAnsi(log, message);

  if (file != nullptr) {
    WriteAnsi(log, L"\t\t");
    WriteAnsi(log, file);
    WriteAnsi(log, L": ");
    WriteAnsi(log, function);
    wchar_t number[24];
    _snwprintf(number, 24, L" (%d)", line);
    number[23] = 0;
    WriteAnsi(log, number);
  }
  WriteAnsi(log, L"\r\n");
}

void LogCallFailure(const wchar_t* call, DWORD error, const wchar_t* subject, const wchar_t* file,
                    const wchar_t* function, int line) {
  // No allocation: this may run where memory is what failed.
  const int kMessageSize = 640;
  wchar_t message[kMessageSize];
  _snwprintf(message, kMessageSize - 1, L"%s failed, error %lu: %s", call != nullptr ? call : L"",
             static_cast<unsigned long>(error), subject != nullptr ? subject : L"");
  message[kMessageSize - 1] = 0;
  LogError(message, file, function, line);
}

void FailureStop(const wchar_t* message, const wchar_t* file, int line) {
  LogError(message, file, L"", line);
  RaiseException(kFailureStopCode, EXCEPTION_NONCONTINUABLE, 0, nullptr);
  // A non-continuable exception can't be resumed; should a handler try, the system raises again
  // instead of coming back here. Ending the process keeps the promise of not returning regardless.
  TerminateProcess(GetCurrentProcess(), kFailureStopCode);
  for (;;) Sleep(INFINITE);
}

void TracerBox(const wchar_t* format, ...) {
  const int kTextSize = 1024;
  wchar_t text[kTextSize];
  va_list args;
  va_start(args, format);
  _vsnwprintf(text, kTextSize - 1, format, args);
  va_end(args);
  text[kTextSize - 1] = 0;
  MessageBoxW(nullptr, text, kTracerCaption, MB_OK);
}
