#include "foundation/Diagnostics.h"

#include "foundation/DebugUtils.h"
#include "foundation/Handles.h"

#include <stdarg.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

namespace {

struct CodeName {
  DWORD code;
  const wchar_t* name;
};

const CodeName kCodeNames[] = {
    {0x80000001, L"EXCEPTION_GUARD_PAGE"},
    {0x80000002, L"EXCEPTION_DATATYPE_MISALIGNMENT"},
    {0x80000003, L"EXCEPTION_BREAKPOINT"},
    {0x80000004, L"EXCEPTION_SINGLE_STEP"},
    {0xc0000005, L"EXCEPTION_ACCESS_VIOLATION"},
    {0xc0000006, L"EXCEPTION_IN_PAGE_ERROR"},
    {0xc0000008, L"EXCEPTION_INVALID_HANDLE"},
    {0xc000001d, L"EXCEPTION_ILLEGAL_INSTRUCTION"},
    {0xc0000025, L"EXCEPTION_NONCONTINUABLE_EXCEPTION"},
    {0xc0000026, L"EXCEPTION_INVALID_DISPOSITION"},
    {0xc000008c, L"EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
    {0xc000008d, L"EXCEPTION_FLT_DENORMAL_OPERAND"},
    {0xc000008e, L"EXCEPTION_FLT_DIVIDE_BY_ZERO"},
    {0xc000008f, L"EXCEPTION_FLT_INEXACT_RESULT"},
    {0xc0000090, L"EXCEPTION_FLT_INVALID_OPERATION"},
    {0xc0000091, L"EXCEPTION_FLT_OVERFLOW"},
    {0xc0000092, L"EXCEPTION_FLT_STACK_CHECK"},
    {0xc0000093, L"EXCEPTION_FLT_UNDERFLOW"},
    {0xc0000094, L"EXCEPTION_INT_DIVIDE_BY_ZERO"},
    {0xc0000095, L"EXCEPTION_INT_OVERFLOW"},
    {0xc0000096, L"EXCEPTION_PRIV_INSTRUCTION"},
    {0xc00000fd, L"EXCEPTION_STACK_OVERFLOW"},
    {0xeffffffc, L"EXCEPTION_RESOURCE_LOADING_FAILED"},
    {0xeffffffd, L"EXCEPTION_UNRECOVERABLE_DB_ERROR"},
};

const int kBoxTextSize = 1024;

// The thread-local slot of the saved exception records; taken by the first thread that saves one.
// Any thread may read it while another takes it, so it is read and written only through interlocked
// operations.
LONG g_exceptionSlot = -1;

// The slot, or -1 while none is taken.
LONG CurrentSlot() { return InterlockedCompareExchange(&g_exceptionSlot, -1, -1); }

DWORD ExceptionSlot() {
  LONG slot = CurrentSlot();
  if (slot != -1) return static_cast<DWORD>(slot);
  DWORD taken = TlsAlloc();
  if (taken == TLS_OUT_OF_INDEXES) return TLS_OUT_OF_INDEXES;
  // Two threads may race for the first slot: the loser gives its own back.
  LONG before = InterlockedCompareExchange(&g_exceptionSlot, static_cast<LONG>(taken), -1);
  if (before != -1) {
    TlsFree(taken);
    return static_cast<DWORD>(before);
  }
  return taken;
}

// The module that holds this code: the library in the product, the program in tools and tests.
HINSTANCE CodeModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&CodeModule), &module);
  return module;
}

const wchar_t* FileName(const wchar_t* path) {
  const wchar_t* name = path;
  for (const wchar_t* p = path; *p != 0; ++p) {
    if (*p == L'\\' || *p == L'/') name = p + 1;
  }
  return name;
}

}  // namespace

const wchar_t* ExceptionName(DWORD code) {
  for (const CodeName& entry : kCodeNames) {
    if (entry.code == code) return entry.name;
  }
  return nullptr;
}

void LoadStringOrStop(Str& out, UINT id, const wchar_t* file, int line) {
  // With a size of 0 the platform hands back the text in place, so any length fits.
  const wchar_t* text = nullptr;
  int length = LoadStringW(CodeModule(), id, reinterpret_cast<LPWSTR>(&text), 0);
  if (length > 0 && text != nullptr) {
    out = Str(text, length);
    return;
  }
  wchar_t message[96];
  _snwprintf(message, 95, L"Resource loading failed (id: %u)", id);
  message[95] = 0;
  LogError(message, file != nullptr ? FileName(file) : nullptr, L"", line);
  ULONG_PTR argument = id;
  RaiseException(EXCEPTION_RESOURCE_LOADING_FAILED, kPrivateExceptionFlags, 1, &argument);
  // The exception is not continuable; should a handler resume anyway, the caller gets an empty text.
  out.Empty();
}

void __DebugMsgBox(const wchar_t* file, int line, const wchar_t* text) {
  wchar_t caption[MAX_PATH + 32];
  _snwprintf(caption, MAX_PATH + 31, L"%s : %i", file != nullptr ? FileName(file) : L"", line);
  caption[MAX_PATH + 31] = 0;
  MessageBoxW(nullptr, text, caption, MB_OK);
}

void __DebugMsgBoxF(const wchar_t* file, int line, const wchar_t* format, ...) {
  wchar_t text[kBoxTextSize];
  int length = -1;
  if (format != nullptr) {
    va_list args;
    va_start(args, format);
    length = _vsnwprintf(text, kBoxTextSize - 1, format, args);
    va_end(args);
  }
  text[kBoxTextSize - 1] = 0;
  if (length <= 0)
    __DebugMsgBox(file, line, L"Invalid format was used in __DebugMsgBoxF");
  else
    __DebugMsgBox(file, line, text);
}

void __DebugTimeBox(const wchar_t* label, DWORD startTicks, const wchar_t* file, int line) {
  DWORD elapsed = GetTickCount() - startTicks;
  __DebugMsgBoxF(file, line, L"%s: %i", label, static_cast<int>(elapsed));
}

void __DebugLastErrorBox(const wchar_t* label, const wchar_t* file, int line) {
  DWORD error = GetLastError();
  __DebugMsgBoxF(file, line, L"%s: %i", label, static_cast<int>(error));
}

void SaveExceptionRecord(const EXCEPTION_RECORD* record) {
  if (record == nullptr) return;
  DWORD slot = ExceptionSlot();
  if (slot == TLS_OUT_OF_INDEXES) return;
  EXCEPTION_RECORD* block = static_cast<EXCEPTION_RECORD*>(TlsGetValue(slot));
  if (block == nullptr) {
    block = CheckAllocation(static_cast<EXCEPTION_RECORD*>(LocalAlloc(LMEM_FIXED, sizeof(EXCEPTION_RECORD))));
    TlsSetValue(slot, block);
  }
  memcpy(block, record, sizeof(EXCEPTION_RECORD));
}

EXCEPTION_RECORD* GetExceptionRecord() {
  LONG slot = CurrentSlot();
  if (slot == -1) return nullptr;
  return static_cast<EXCEPTION_RECORD*>(TlsGetValue(static_cast<DWORD>(slot)));
}

void FreeExceptionRecord() {
  LONG slot = CurrentSlot();
  if (slot == -1) return;
  void* block = TlsGetValue(static_cast<DWORD>(slot));
  TlsSetValue(static_cast<DWORD>(slot), nullptr);
  if (block != nullptr) LocalFree(block);
}

void ReportException(const wchar_t* caption) {
  const EXCEPTION_RECORD* record = GetExceptionRecord();
  if (record == nullptr) return;
  wchar_t hex[16];
  const wchar_t* name = ExceptionName(record->ExceptionCode);
  if (name == nullptr) {
    _itow(static_cast<int>(record->ExceptionCode), hex, 16);
    name = hex;
  }
  wchar_t text[kBoxTextSize];
  _snwprintf(text, kBoxTextSize - 1, L"exception type: %s, exception address: %p", name,
             record->ExceptionAddress);
  text[kBoxTextSize - 1] = 0;
  MessageBoxW(nullptr, text, caption, MB_OK);
}

void MemCheck(const void* data, DWORD size, int tag) {
  if (data == nullptr || size == 0) return;
  // Rooted at the drive, where the device keeps "My Documents".
  wchar_t path[MAX_PATH];
  _snwprintf(path, MAX_PATH - 1, L"\\My Documents\\MemCheck%d.bin", tag);
  path[MAX_PATH - 1] = 0;

  if (GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES) {
    KernelHandle existing(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (existing.IsEmpty()) {
      LogCallFailure(L"CreateFileW", GetLastError(), path, L"Diagnostics", L"MemCheck", __LINE__);
      return;
    }
    DWORD fileSize = GetFileSize(existing.Get(), nullptr);
    DWORD read = 0;
    if (fileSize != 0) {
      LocalMemory image(CheckAllocation(LocalAlloc(LMEM_FIXED, size)));
      if (!ReadFile(existing.Get(), image.Get(), size, &read, nullptr)) read = 0;
    }
    // Closed before the image can be deleted.
    existing.Reset();
    // An image that can't stand for this block is dropped, so that the write below leaves
    // exactly `size` bytes behind.
    if (fileSize == 0 || fileSize != size || read != size) DeleteFileW(path);
  }

  KernelHandle image(
      CreateFileW(path, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (image.IsEmpty()) {
    LogCallFailure(L"CreateFileW", GetLastError(), path, L"Diagnostics", L"MemCheck", __LINE__);
    return;
  }
  DWORD written = 0;
  if (!WriteFile(image.Get(), data, size, &written, nullptr))
    LogCallFailure(L"WriteFile", GetLastError(), path, L"Diagnostics", L"MemCheck", __LINE__);
}
