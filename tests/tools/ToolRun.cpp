#include "ToolRun.h"

#include <windows.h>

#include <fstream>
#include <sstream>

#include <doctest/doctest.h>

#include "TestPaths.h"
#include "foundation/Settings.h"
#include "storage/index/IndexStore.h"
#include "storage/props/PropsStore.h"

namespace tooltest {

const wchar_t kStore[] = L"\\Temp\\pimtool-test.cdb";

namespace {

std::string ReadFile(const std::wstring& path) {
  std::ifstream in(path.c_str(), std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  // Console output in text mode ends its lines with CR LF; compare lines without the CR.
  std::string text;
  for (char c : s.str())
    if (c != '\r') text += c;
  return text;
}

}  // namespace

// Runs a program of the build with the test's store, its output caught in files.
Run Tool(const std::wstring& program, const std::wstring& arguments) {
  std::wstring outPath = L"\\Temp\\pimtool-test.out", errPath = L"\\Temp\\pimtool-test.err";
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  HANDLE out =
      CreateFileW(outPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
  HANDLE err =
      CreateFileW(errPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
  wchar_t previous[MAX_PATH] = L"";
  const bool hadStore = GetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", previous, MAX_PATH) != 0;
  SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", kStore);
  std::wstring path = testpaths::BinDir() + program;
  std::wstring commandLine = L"\"" + path + L"\" " + arguments;
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = out;
  startup.hStdError = err;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  PROCESS_INFORMATION process = {};
  Run run;
  if (CreateProcessW(path.c_str(), &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                     &process)) {
    if (WaitForSingleObject(process.hProcess, 120000) == WAIT_OBJECT_0) {
      DWORD code = 0;
      GetExitCodeProcess(process.hProcess, &code);
      run.code = static_cast<int>(code);
    } else {
      TerminateProcess(process.hProcess, 1);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", hadStore ? previous : nullptr);
  CloseHandle(out);
  CloseHandle(err);
  run.out = ReadFile(outPath);
  run.err = ReadFile(errPath);
  return run;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::stringstream s(text);
  std::string line;
  while (std::getline(s, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

void FreshStore() {
  DeleteFileW(IndexStore::DefaultPath());
  DeleteFileW(PropsStore::DefaultPath());
  ClearDirtyMark(IndexStore::DefaultPath());
  ClearDirtyMark(PropsStore::DefaultPath());
  DeleteFileW(kStore);
  REQUIRE(Tool(L"ceadmin.exe", L"init").code == 0);
}
}  // namespace tooltest
