// Diagnostics round the failure stop: the private exception codes and their names, the string lookup
// that stops on a missing id, the exception report that the product's programs show from their
// guards, and the developers' debug boxes.
#pragma once

#include "foundation/Str.h"

#include <windows.h>

// Private exception codes. The failure stop's own code, kFailureStopCode (0xefffffff), is declared
// beside FailureStop in DebugUtils.h and has no name in the report: it is printed in hexadecimal.
constexpr DWORD EXCEPTION_UNRECOVERABLE_DB_ERROR = 0xeffffffd;   // a store refused a change
constexpr DWORD EXCEPTION_RESOURCE_LOADING_FAILED = 0xeffffffc;  // a string id is missing

// The flags word passed to RaiseException with the two codes above.
constexpr DWORD kPrivateExceptionFlags = 0xc0000025;

// The name of an exception code in the report, or null when the code has no name.
const wchar_t* ExceptionName(DWORD code);

// Loads string `id` of the module that holds this code into `out`, whatever its length. A missing
// id logs the id with the caller's position and raises EXCEPTION_RESOURCE_LOADING_FAILED with the id
// as its one argument; it does not come back then.
void LoadStringOrStop(Str& out, UINT id, const wchar_t* file, int line);

// The lookup with the caller's own source position.
#define PM_WIDE2(text) L##text
#define PM_WIDE(text) PM_WIDE2(text)
#define PM_WFILE PM_WIDE(__FILE__)
#define LOAD_STRING_OR_STOP(out, id) LoadStringOrStop((out), (id), PM_WFILE, __LINE__)

// Developers' boxes. The caption is "<name> : <line>", the name being the part of `file` after its
// last path separator (the whole of `file` when it has none).
void __DebugMsgBox(const wchar_t* file, int line, const wchar_t* text);
// Formats into 1024 characters; a format that fails or renders nothing shows
// "Invalid format was used in __DebugMsgBoxF" instead.
void __DebugMsgBoxF(const wchar_t* file, int line, const wchar_t* format, ...);
// "<label>: <milliseconds since startTicks>".
void __DebugTimeBox(const wchar_t* label, DWORD startTicks, const wchar_t* file, int line);
// "<label>: <the calling thread's last error>".
void __DebugLastErrorBox(const wchar_t* label, const wchar_t* file, int line);

// The exception record a guard caught, kept per thread until it is reported or freed.
// SaveExceptionRecord copies `record` into the thread's own block (made on the thread's first save).
void SaveExceptionRecord(const EXCEPTION_RECORD* record);
// The thread's saved record, or null when it has none.
EXCEPTION_RECORD* GetExceptionRecord();
// Forgets the thread's record and frees its block.
void FreeExceptionRecord();

// Shows "exception type: <name>, exception address: <address>" for the thread's saved record in a
// box with `caption`; an unnamed code is given in lower-case hexadecimal. Nothing without a record.
void ReportException(const wchar_t* caption);

// Keeps a binary image of `size` bytes at `data` in "\My Documents\MemCheck<tag>.bin" for a later
// comparison. An existing image that is empty or of another size is replaced.
void MemCheck(const void* data, DWORD size, int tag);
