#include "OwnThread.h"
#include "ProgramLog.h"
#include "TestPaths.h"
#include "WideText.h"
#include "TracerBoxWatcher.h"

#include "foundation/DebugUtils.h"
#include "foundation/Diagnostics.h"
#include "resources/resource.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

namespace {

std::wstring PointerText(const void* pointer) {
  wchar_t text[64];
  _snwprintf(text, 63, L"%p", pointer);
  text[63] = 0;
  return text;
}

EXCEPTION_RECORD RecordOf(DWORD code, void* address) {
  EXCEPTION_RECORD record = {};
  record.ExceptionCode = code;
  record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
  record.ExceptionAddress = address;
  record.NumberParameters = 1;
  record.ExceptionInformation[0] = 77;
  return record;
}

const std::wstring kMemCheckFolder = L"\\My Documents";

std::wstring MemCheckPath(int tag) {
  return kMemCheckFolder + L"\\MemCheck" + std::to_wstring(tag) + L".bin";
}

}  // namespace

TEST_CASE("every private and system code has its name in the report table; others have none") {
  CHECK(U8(ExceptionName(0xeffffffc)) == "EXCEPTION_RESOURCE_LOADING_FAILED");
  CHECK(U8(ExceptionName(0xeffffffd)) == "EXCEPTION_UNRECOVERABLE_DB_ERROR");
  CHECK(U8(ExceptionName(0xc0000005)) == "EXCEPTION_ACCESS_VIOLATION");
  CHECK(U8(ExceptionName(0xc0000025)) == "EXCEPTION_NONCONTINUABLE_EXCEPTION");
  CHECK(U8(ExceptionName(0xc00000fd)) == "EXCEPTION_STACK_OVERFLOW");
  CHECK(U8(ExceptionName(0x80000001)) == "EXCEPTION_GUARD_PAGE");
  CHECK(U8(ExceptionName(0xc0000094)) == "EXCEPTION_INT_DIVIDE_BY_ZERO");
  CHECK(ExceptionName(0xefffffff) == nullptr);
  CHECK(ExceptionName(0) == nullptr);
  CHECK(EXCEPTION_RESOURCE_LOADING_FAILED == 0xeffffffcu);
  CHECK(EXCEPTION_UNRECOVERABLE_DB_ERROR == 0xeffffffdu);
}

TEST_CASE("LoadStringOrStop loads a label of the string table whole, \"@\" included") {
  Str text;
  LoadStringOrStop(text, IDS_LABEL_EMAIL1, L"C:\\src\\Test.cpp", 1);
  CHECK(U8(text) == "E-mail");
  LoadStringOrStop(text, IDS_LABEL_SUFFIX, L"C:\\src\\Test.cpp", 2);
  CHECK(U8(text) == "Suffix@Suf.");
  LOAD_STRING_OR_STOP(text, IDS_LABEL_FILE_AS);
  CHECK(U8(text) == "File As@FileAs");
  LOAD_STRING_OR_STOP(text, IDS_CLOSE);
  CHECK(U8(text) == "Close");
}

TEST_CASE("a missing string id raises 0xeffffffc, non-continuable, with the id as its one argument") {
  std::wstring log = FreshProgramLog();
  TracerBoxWatcher boxes;
  Str text;
  ownthread::Outcome raised =
      ownthread::RunChecked([&] { LoadStringOrStop(text, 39999, L"C:\\src\\item\\Caller.cpp", 31); });
  CHECK(raised.raised);
  CHECK(raised.code == 0xeffffffcu);
  CHECK((raised.flags & EXCEPTION_NONCONTINUABLE) != 0);
  CHECK(raised.parameters == 1u);
  CHECK(raised.firstParameter == 39999u);
  // The stop leaves a line in the log and shows nothing.
  std::vector<std::string> lines = LogLines(testpaths::ReadFileText(log));
  REQUIRE(lines.size() == 1);
  std::string stamp, rest;
  REQUIRE(SplitLogLine(lines[0], stamp, rest));
  CHECK(rest == "Resource loading failed (id: 39999)\t\tCaller.cpp:  (31)");
  CHECK(boxes.Count() == 0);
  DeleteFileW(log.c_str());
}

TEST_CASE("__DebugMsgBox: the text, captioned with the file's name after its last backslash and the line") {
  TracerBoxWatcher boxes(L"File.cpp : 12");
  __DebugMsgBox(L"C:\\work\\item\\File.cpp", 12, L"the text");
  std::vector<TracerBoxWatcher::Box> seen = boxes.Boxes();
  REQUIRE(seen.size() == 1);
  CHECK(U8(seen[0].text) == "the text");
  CHECK(seen[0].owner == nullptr);
}

TEST_CASE("__DebugMsgBox with a name and no backslash still shows its box and returns") {
  // Every caller passes a full path; a bare name stands whole in the caption.
  TracerBoxWatcher boxes(L"Bare.cpp : 3");
  __DebugMsgBox(L"Bare.cpp", 3, L"bare");
  CHECK(boxes.Texts() == std::vector<std::wstring>{L"bare"});
}

TEST_CASE("__DebugMsgBoxF formats into the box") {
  TracerBoxWatcher boxes(L"Format.cpp : 40");
  __DebugMsgBoxF(L"D:\\a\\b\\Format.cpp", 40, L"%d of %s", 3, L"seven");
  CHECK(boxes.Texts() == std::vector<std::wstring>{L"3 of seven"});
}

TEST_CASE("__DebugMsgBoxF with an empty format result shows the invalid-format text") {
  TracerBoxWatcher boxes(L"Format.cpp : 41");
  __DebugMsgBoxF(L"D:\\a\\Format.cpp", 41, L"");
  __DebugMsgBoxF(L"D:\\a\\Format.cpp", 41, L"%s", L"");
  std::vector<std::wstring> expected(2, L"Invalid format was used in __DebugMsgBoxF");
  CHECK(boxes.Texts() == expected);
}

TEST_CASE("__DebugMsgBoxF whose result doesn't fit in 1024 characters shows the invalid-format text") {
  TracerBoxWatcher boxes(L"Format.cpp : 42");
  std::wstring longText(1500, L'x');
  __DebugMsgBoxF(L"D:\\a\\Format.cpp", 42, L"%s", longText.c_str());
  CHECK(boxes.Texts() == std::vector<std::wstring>{L"Invalid format was used in __DebugMsgBoxF"});
}

TEST_CASE("__DebugTimeBox shows the label and the milliseconds since the start") {
  TracerBoxWatcher boxes(L"Time.cpp : 7");
  DWORD start = GetTickCount() - 5000;
  __DebugTimeBox(L"load", start, L"C:\\x\\Time.cpp", 7);
  DWORD after = GetTickCount() - start;
  std::vector<std::wstring> texts = boxes.Texts();
  REQUIRE(texts.size() == 1);
  REQUIRE(texts[0].substr(0, 6) == L"load: ");
  unsigned long shown = std::stoul(texts[0].substr(6));
  CHECK(shown >= 5000u);
  CHECK(shown <= after);
}

TEST_CASE("__DebugLastErrorBox shows the label and the thread's last error") {
  TracerBoxWatcher boxes(L"Error.cpp : 99");
  SetLastError(1234);
  __DebugLastErrorBox(L"open", L"C:\\x\\Error.cpp", 99);
  CHECK(boxes.Texts() == std::vector<std::wstring>{L"open: 1234"});
}

TEST_CASE("a saved exception record is a copy, kept per thread until it is freed") {
  FreeExceptionRecord();
  CHECK(GetExceptionRecord() == nullptr);

  int marker = 0;
  EXCEPTION_RECORD record = RecordOf(0xc0000005, &marker);
  SaveExceptionRecord(&record);
  EXCEPTION_RECORD* saved = GetExceptionRecord();
  REQUIRE(saved != nullptr);
  CHECK(saved != &record);
  CHECK(saved->ExceptionCode == 0xc0000005u);
  CHECK(saved->ExceptionAddress == &marker);
  CHECK(saved->ExceptionInformation[0] == 77u);

  // Another save reuses this thread's block.
  EXCEPTION_RECORD second = RecordOf(0xeffffffd, nullptr);
  SaveExceptionRecord(&second);
  CHECK(GetExceptionRecord() == saved);
  CHECK(saved->ExceptionCode == 0xeffffffdu);

  // Another thread has a slot of its own.
  EXCEPTION_RECORD* seenThere = reinterpret_cast<EXCEPTION_RECORD*>(1);
  HANDLE thread = CreateThread(
      nullptr, 0,
      [](void* out) -> DWORD {
        *static_cast<EXCEPTION_RECORD**>(out) = GetExceptionRecord();
        return 0;
      },
      &seenThere, 0, nullptr);
  REQUIRE(thread != nullptr);
  WaitForSingleObject(thread, 10000);
  CloseHandle(thread);
  CHECK(seenThere == nullptr);

  FreeExceptionRecord();
  CHECK(GetExceptionRecord() == nullptr);
}

TEST_CASE("ReportException does nothing without a saved record") {
  FreeExceptionRecord();
  TracerBoxWatcher boxes(L"Crash");
  ReportException(L"Crash");
  CHECK(boxes.Count() == 0);
}

TEST_CASE("ReportException of the code 0xefffffff prints \"efffffff\"") {
  int marker = 0;
  EXCEPTION_RECORD record = RecordOf(0xefffffff, &marker);
  SaveExceptionRecord(&record);
  TracerBoxWatcher boxes(L"Crash");
  ReportException(L"Crash");
  CHECK(boxes.Texts() ==
        std::vector<std::wstring>{L"exception type: efffffff, exception address: " + PointerText(&marker)});
  FreeExceptionRecord();
}

TEST_CASE("ReportException names the codes of its table and prints other codes in lower-case hexadecimal") {
  int marker = 0;
  TracerBoxWatcher boxes(L"Report");
  EXCEPTION_RECORD record = RecordOf(0xc0000005, &marker);
  SaveExceptionRecord(&record);
  ReportException(L"Report");
  record = RecordOf(0xeffffffc, nullptr);
  SaveExceptionRecord(&record);
  ReportException(L"Report");
  record = RecordOf(0x1234abcd, &marker);
  SaveExceptionRecord(&record);
  ReportException(L"Report");
  FreeExceptionRecord();

  std::vector<std::wstring> expected = {
      L"exception type: EXCEPTION_ACCESS_VIOLATION, exception address: " + PointerText(&marker),
      L"exception type: EXCEPTION_RESOURCE_LOADING_FAILED, exception address: " + PointerText(nullptr),
      L"exception type: 1234abcd, exception address: " + PointerText(&marker),
  };
  CHECK(boxes.Texts() == expected);
}

TEST_CASE("MemCheck writes the bytes to \"My Documents\\MemCheck<tag>.bin\"") {
  CreateDirectoryW(kMemCheckFolder.c_str(), nullptr);
  std::wstring path = MemCheckPath(7);
  DeleteFileW(path.c_str());

  const char data[] = "0123456789abcdef";
  MemCheck(data, 16, 7);
  CHECK(testpaths::ReadFileText(path) == std::string(data, 16));
  DeleteFileW(path.c_str());
}

TEST_CASE("MemCheck replaces an image of another size and overwrites one of the same size") {
  CreateDirectoryW(kMemCheckFolder.c_str(), nullptr);
  std::wstring path = MemCheckPath(8);

  REQUIRE(testpaths::WriteFileText(path, std::string(40, 'z')));
  MemCheck("abcd", 4, 8);
  CHECK(testpaths::ReadFileText(path) == "abcd");

  REQUIRE(testpaths::WriteFileText(path, "wxyz"));
  MemCheck("ABCD", 4, 8);
  CHECK(testpaths::ReadFileText(path) == "ABCD");

  REQUIRE(testpaths::WriteFileText(path, ""));
  MemCheck("1234", 4, 8);
  CHECK(testpaths::ReadFileText(path) == "1234");
  DeleteFileW(path.c_str());
}

TEST_CASE("MemCheck without data or size writes nothing") {
  CreateDirectoryW(kMemCheckFolder.c_str(), nullptr);
  std::wstring path = MemCheckPath(9);
  DeleteFileW(path.c_str());
  MemCheck(nullptr, 8, 9);
  MemCheck("abc", 0, 9);
  CHECK_FALSE(testpaths::FileExists(path));
}

TEST_CASE(
    "MemCheck ends when an existing image can't be opened, and writes nothing it can't open for writing") {
  CreateDirectoryW(kMemCheckFolder.c_str(), nullptr);
  std::wstring path = MemCheckPath(10);

  // Held open without sharing: the read fails, and the call ends there.
  REQUIRE(testpaths::WriteFileText(path, "old!"));
  HANDLE held =
      CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  REQUIRE(held != INVALID_HANDLE_VALUE);
  MemCheck("new!", 4, 10);
  CloseHandle(held);
  CHECK(testpaths::ReadFileText(path) == "old!");

  // Held open for reading with others allowed to read: MemCheck reads it and keeps it, since its size
  // is right, and then can't open it for writing.
  held = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
  REQUIRE(held != INVALID_HANDLE_VALUE);
  MemCheck("new!", 4, 10);
  CloseHandle(held);
  CHECK(testpaths::ReadFileText(path) == "old!");
  DeleteFileW(path.c_str());
}
