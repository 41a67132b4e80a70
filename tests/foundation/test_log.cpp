#include "OwnThread.h"
#include "ProgramLog.h"
#include "TestPaths.h"
#include "WideText.h"
#include "TracerBoxWatcher.h"

#include "foundation/DebugUtils.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

TEST_CASE("the log is the module's path with .log added") {
  std::wstring path = FreshProgramLog();
  CHECK(GetLogModule() == GetModuleHandleW(nullptr));
  CHECK(path.size() > 8);
  CHECK(path.substr(path.size() - 8) == L".exe.log");
  LogError(L"first", L"Source", L"", 1);
  CHECK(testpaths::FileExists(path));
  DeleteFileW(path.c_str());
}

TEST_CASE("a line: local date and time, message, two tabs, file, function and line, CR LF") {
  std::wstring path = FreshProgramLog();
  std::string before = StampNow();
  LogError(L"Something broke", L"Source", L"Function", 42);
  std::string after = StampNow();

  std::string bytes = testpaths::ReadFileText(path);
  REQUIRE(bytes.size() >= 2);
  CHECK(bytes.substr(bytes.size() - 2) == "\r\n");
  std::vector<std::string> lines = LogLines(bytes);
  REQUIRE(lines.size() == 1);
  std::string stamp, rest;
  REQUIRE(SplitLogLine(lines[0], stamp, rest));
  CHECK(rest == "Something broke\t\tSource: Function (42)");
  CHECK(stamp >= before);
  CHECK(stamp <= after);
  DeleteFileW(path.c_str());
}

TEST_CASE("a log line with no file has only date, time and message") {
  std::wstring path = FreshProgramLog();
  LogError(L"Only the message", nullptr, L"ignored", 7);
  std::string bytes = testpaths::ReadFileText(path);
  std::vector<std::string> lines = LogLines(bytes);
  REQUIRE(lines.size() == 1);
  std::string stamp, rest;
  REQUIRE(SplitLogLine(lines[0], stamp, rest));
  CHECK(rest == "Only the message");
  CHECK(bytes.size() == stamp.size() + 3 + rest.size() + 2);
  CHECK(bytes.find('\t') == std::string::npos);
  DeleteFileW(path.c_str());
}

TEST_CASE("an empty or missing function leaves the gap between the colon and the line") {
  std::wstring path = FreshProgramLog();
  LogError(L"a", L"File", nullptr, 3);
  LogError(L"b", L"File", L"", -4);
  std::vector<std::string> rests = LogMessages(path);
  REQUIRE(rests.size() == 2);
  CHECK(rests[0] == "a\t\tFile:  (3)");
  CHECK(rests[1] == "b\t\tFile:  (-4)");
  DeleteFileW(path.c_str());
}

TEST_CASE("lines are appended to what the log holds") {
  std::wstring path = FreshProgramLog();
  HANDLE file =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  REQUIRE(file != INVALID_HANDLE_VALUE);
  DWORD written = 0;
  WriteFile(file, "earlier\r\n", 9, &written, nullptr);
  CloseHandle(file);

  LogError(L"one", nullptr, nullptr, 0);
  LogError(L"two", L"F", L"", 2);
  std::vector<std::string> lines = LogLines(testpaths::ReadFileText(path));
  REQUIRE(lines.size() == 3);
  CHECK(lines[0] == "earlier");
  std::string stamp, rest;
  REQUIRE(SplitLogLine(lines[1], stamp, rest));
  CHECK(rest == "one");
  REQUIRE(SplitLogLine(lines[2], stamp, rest));
  CHECK(rest == "two\t\tF:  (2)");
  DeleteFileW(path.c_str());
}

TEST_CASE("the text is written in the ANSI code page, one byte per character") {
  std::wstring path = FreshProgramLog();
  const wchar_t* message = L"caf\u00e9 \u4e2d!";
  LogError(message, L"Fil\u00e9", L"", 1);
  std::vector<std::string> lines = LogLines(testpaths::ReadFileText(path));
  REQUIRE(lines.size() == 1);
  std::string stamp, rest;
  REQUIRE(SplitLogLine(lines[0], stamp, rest));
  CHECK(rest.size() == wcslen(message) + 2 + 4 + 6);  // message, tabs, file, ":  (1)"

  CPINFO info;
  REQUIRE(GetCPInfo(CP_ACP, &info));
  if (info.MaxCharSize == 1) {
    char expected[64] = {};
    WideCharToMultiByte(CP_ACP, 0, message, -1, expected, sizeof(expected), nullptr, nullptr);
    char file[16] = {};
    WideCharToMultiByte(CP_ACP, 0, L"Fil\u00e9", -1, file, sizeof(file), nullptr, nullptr);
    CHECK(rest == std::string(expected) + "\t\t" + file + ":  (1)");
  }
  DeleteFileW(path.c_str());
}

TEST_CASE("without a module, or with one whose name can't be read, the log is \\error.log") {
  const std::wstring fallback = L"\\error.log";
  DeleteFileW(fallback.c_str());
  std::wstring programLog = LogPathOf(GetModuleHandleW(nullptr));
  DeleteFileW(programLog.c_str());

  SetLogModule(nullptr);
  LogError(L"no module", L"Here", L"", 1);
  SetLogModule(reinterpret_cast<HMODULE>(static_cast<uintptr_t>(0x7A5A0000)));
  LogError(L"not a module", nullptr, nullptr, 0);

  std::vector<std::string> rests = LogMessages(fallback);
  REQUIRE(rests.size() == 2);
  CHECK(rests[0] == "no module\t\tHere:  (1)");
  CHECK(rests[1] == "not a module");
  CHECK_FALSE(testpaths::FileExists(programLog));
  DeleteFileW(fallback.c_str());
  SetLogModule(GetModuleHandleW(nullptr));
}

TEST_CASE("a log that can't be opened drops the line quietly") {
  std::wstring path = FreshProgramLog();
  HANDLE held =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  REQUIRE(held != INVALID_HANDLE_VALUE);
  LogError(L"dropped", L"File", L"", 1);
  CloseHandle(held);
  CHECK(testpaths::ReadFileText(path).empty());
  DeleteFileW(path.c_str());
}

TEST_CASE("the failure stop logs one line and raises 0xefffffff, non-continuable, with no arguments") {
  std::wstring path = FreshProgramLog();
  ownthread::Outcome raised = ownthread::RunChecked([] { FailureStop(L"Broken invariant", L"Caller", 99); });
  CHECK(raised.raised);
  CHECK(raised.code == 0xefffffffu);
  CHECK(raised.code == kFailureStopCode);
  CHECK(raised.flags == static_cast<DWORD>(EXCEPTION_NONCONTINUABLE));
  CHECK(raised.parameters == 0u);
  std::vector<std::string> rests = LogMessages(path);
  REQUIRE(rests.size() == 1);
  CHECK(rests[0] == "Broken invariant\t\tCaller:  (99)");
  DeleteFileW(path.c_str());
}

TEST_CASE("a failure stop with an unwritable log still raises 0xefffffff") {
  std::wstring path = FreshProgramLog();
  // Held open without sharing: the stop's own open fails.
  HANDLE held =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  REQUIRE(held != INVALID_HANDLE_VALUE);
  ownthread::Outcome raised = ownthread::RunChecked([] { FailureStop(L"Nowhere to write", L"Caller", 5); });
  CloseHandle(held);
  CHECK(raised.raised);
  CHECK(raised.code == 0xefffffffu);
  CHECK(testpaths::ReadFileText(path).empty());
  DeleteFileW(path.c_str());
}

TEST_CASE("the allocation check stops on null with DebugUtils, line 172, \"Memory not allocated!!!\"") {
  std::wstring path = FreshProgramLog();
  ownthread::Outcome raised = ownthread::RunChecked([] { CheckAllocation(static_cast<int*>(nullptr)); });
  CHECK(raised.raised);
  CHECK(raised.code == 0xefffffffu);
  std::vector<std::string> rests = LogMessages(path);
  REQUIRE(rests.size() == 1);
  CHECK(rests[0] == "Memory not allocated!!!\t\tDebugUtils:  (172)");

  int value = 3;
  int* passed = nullptr;
  ownthread::Outcome none = ownthread::RunChecked([&] { passed = CheckAllocation(&value); });
  CHECK_FALSE(none.raised);
  CHECK(passed == &value);
  CHECK(LogMessages(path).size() == 1);
  DeleteFileW(path.c_str());
}

TEST_CASE("the tracer box: formatted text, caption \"Pagemark Tracer\", no owner; the caller goes on") {
  TracerBoxWatcher boxes;
  TracerBox(L"value %d and %s", 5, L"more");
  std::vector<TracerBoxWatcher::Box> seen = boxes.Boxes();
  REQUIRE(seen.size() == 1);
  CHECK(U8(seen[0].text) == "value 5 and more");
  CHECK(seen[0].owner == nullptr);

  TracerBoxWatcher otherCaption(L"Some other caption");
  TracerBox(L"second");
  CHECK(boxes.Count() == 2);
  CHECK(otherCaption.Count() == 0);
}

TEST_CASE("the watcher also sees boxes of other threads") {
  TracerBoxWatcher boxes;
  HANDLE thread = CreateThread(
      nullptr, 0,
      [](void*) -> DWORD {
        TracerBox(L"from a thread");
        return 0;
      },
      nullptr, 0, nullptr);
  REQUIRE(thread != nullptr);
  CHECK(boxes.WaitForBoxes(1, 10000));
  CHECK(WaitForSingleObject(thread, 10000) == WAIT_OBJECT_0);
  CloseHandle(thread);
  CHECK(boxes.Texts() == std::vector<std::wstring>{L"from a thread"});
}

TEST_CASE("a failed platform call is one line: the call, its error and what it worked on") {
  std::wstring path = FreshProgramLog();
  SetLastError(ERROR_SHARING_VIOLATION);
  LogCallFailure(L"CreateFileW", ERROR_ACCESS_DENIED, L"\\Temp\\pim_index1.dat", L"MappedFile", L"Open", 12);
  // The caller reports the failure's own error after logging it.
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  std::vector<std::string> rests = LogMessages(path);
  REQUIRE(rests.size() == 1);
  CHECK(rests[0] == "CreateFileW failed, error 5: \\Temp\\pim_index1.dat\t\tMappedFile: Open (12)");
  DeleteFileW(path.c_str());
}

TEST_CASE("writing a line leaves the last error as it was, also when the log already exists") {
  std::wstring path = FreshProgramLog();
  LogError(L"first", nullptr, nullptr, 0);
  // Opening an existing log sets "already exists"; the caller must not see it.
  SetLastError(ERROR_HANDLE_EOF);
  LogError(L"second", L"Source", L"", 2);
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_HANDLE_EOF));
  CHECK(LogMessages(path).size() == 2);
  DeleteFileW(path.c_str());
}
