// pimtool list over a store that had to be salvaged: the contacts that survived are listed, and the
// loss is said on standard error with a failing status, in the same numbers as ceadmin check.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "ToolRun.h"

using namespace tooltest;

namespace {

// Cuts the store file to `keep` of its bytes.
void Truncate(const wchar_t* path, double keep) {
  HANDLE file = CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  REQUIRE(file != INVALID_HANDLE_VALUE);
  const DWORD size = GetFileSize(file, nullptr);
  REQUIRE(size > 4096);
  SetFilePointer(file, static_cast<LONG>(size * keep), nullptr, FILE_BEGIN);
  CHECK(SetEndOfFile(file));
  CloseHandle(file);
}

// The damaged copies a salvage left beside the store.
void DeleteDamagedCopies() {
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW(L"\\Temp\\pimtool-test-damaged-*", &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    DeleteFileW((std::wstring(L"\\Temp\\") + found.cFileName).c_str());
  } while (FindNextFileW(search, &found));
  FindClose(search);
}

// The number in `text` just before `word` (" 12 lost" gives 12 for "lost"); -1 when there is none.
long NumberBefore(const std::string& text, const std::string& word) {
  const size_t at = text.find(" " + word);
  if (at == std::string::npos || at == 0) return -1;
  size_t start = at;
  while (start > 0 && isdigit(static_cast<unsigned char>(text[start - 1]))) --start;
  if (start == at) return -1;
  return std::stol(text.substr(start, at - start));
}

}  // namespace

TEST_CASE("list after a cut store: the surviving contacts, and the loss on standard error with status 1") {
  FreshStore();
  DeleteDamagedCopies();
  REQUIRE(Tool(L"pimtool.exe", L"generate 400 --seed 9").code == 0);
  Run whole = Tool(L"pimtool.exe", L"list");
  CHECK(whole.code == 0);
  CHECK(whole.err.empty());
  REQUIRE(Lines(whole.out).back() == "400 contacts");

  Truncate(kStore, 0.5);
  Run cut = Tool(L"pimtool.exe", L"list");
  CAPTURE(cut.err);
  CHECK(cut.code == 1);
  const std::vector<std::string> lines = Lines(cut.out);
  REQUIRE_FALSE(lines.empty());
  const long listed = NumberBefore(" " + lines.back(), "contacts");
  CHECK(listed > 0);
  CHECK(listed < 400);
  CHECK(static_cast<long>(lines.size()) == listed + 1);
  // Every contact that is listed stood in the list before, under the same id and name.
  for (size_t k = 0; k + 1 < lines.size(); ++k) {
    CAPTURE(lines[k]);
    CHECK(whole.out.find(lines[k] + "\n") != std::string::npos);
  }
  CHECK(cut.err.find("salvaged from a damaged file") != std::string::npos);
  const long lost = NumberBefore(cut.err, "records were lost");
  CHECK(lost >= 400 - listed);
  CHECK(cut.err.find("the damaged file is kept as ") != std::string::npos);

  // The device's own check says the same.
  Run check = Tool(L"ceadmin.exe", L"check");
  CHECK(check.code == 1);
  CHECK(NumberBefore(check.out, "lost") == lost);

  // It stays so: the listed contacts are not all the store held.
  Run again = Tool(L"pimtool.exe", L"list");
  CHECK(again.code == 1);
  CHECK(again.out == cut.out);
  CHECK(NumberBefore(again.err, "records were lost") == lost);
  DeleteDamagedCopies();
}
