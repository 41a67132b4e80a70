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

// Console output in text mode ends its lines with CR LF; lines are compared without the CR.
std::string WithoutCarriageReturns(const std::string& written) {
  std::string text;
  for (char c : written)
    if (c != '\r') text += c;
  return text;
}

}  // namespace

// Runs a program of the build with the test's store, its output caught.
Run Tool(const std::wstring& program, const std::wstring& arguments) {
  Run run;
  std::string out, err;
  run.code = testpaths::RunCaptured(testpaths::BinDir() + program, arguments, 120000, &out, &err,
                                    {{L"PAGEMARK_OBJECT_STORE", kStore}});
  run.out = WithoutCarriageReturns(out);
  run.err = WithoutCarriageReturns(err);
  // A run that could not be started or waited for is the harness's failure, not the program's: say so
  // in the test's output, whatever the caller checks.
  if (run.err.rfind("run: ", 0) == 0) MESSAGE(run.err);
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
  // A store some process still holds would be taken up as it is, contacts and all.
  REQUIRE(GetFileAttributesW(kStore) == INVALID_FILE_ATTRIBUTES);
  REQUIRE(Tool(L"ceadmin.exe", L"init").code == 0);
}
}  // namespace tooltest
