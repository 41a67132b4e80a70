// pimtool's verbs through the contact manager: open, check, rebuild, search, find-phone, add, update
// and delete, against the manager's own answers in this process.
#include <doctest/doctest.h>
#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "SearchTestSupport.h"
#include "StoreAdmin.h"
#include "ToolRun.h"
#include "manager/core/ContactManager.h"
#include "foundation/Settings.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/contact/ContactNames.h"
#include "storage/index/IndexStore.h"

using namespace tooltest;

namespace {

std::string HexOf(CEOID oid) {
  char text[16];
  snprintf(text, sizeof text, "%08lx", static_cast<unsigned long>(oid));
  return text;
}

// This process reads the tools' store too; the store is chosen at the first database call.
void UseToolStore() { SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", kStore); }

// Lets go of the tools' store at the end of a case, however it ends, so that the cases after it can
// make the store anew: this process keeps the store it chose open, and goes back to the device's own.
struct ToolStoreLeft {
  ~ToolStoreLeft() {
    SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", nullptr);
    PagemarkStoreUse(nullptr);
  }
};

std::string ListNameOf(ContactManager& manager, CEOID oid) {
  Str last, first, company, title;
  manager.ReadNameFields(oid, last, first, company, title);
  return ToUtf8(static_cast<const wchar_t*>(ListName(last, first, company, title)));
}

// The rows pimtool prints for a plain result.
std::vector<std::string> Rows(ContactManager& manager, const Array<CEOID>& ids) {
  std::vector<std::string> rows;
  for (int i = 0; i < ids.GetSize(); ++i) rows.push_back(HexOf(ids[i]) + "  " + ListNameOf(manager, ids[i]));
  return rows;
}

std::vector<std::string> GroupedRows(ContactManager& manager, const Array<uint32_t>& flat,
                                     const Array<Str>& titles) {
  std::vector<std::string> rows;
  int at = 0;
  for (int g = 0; at < flat.GetSize(); ++g) {
    const int size = static_cast<int>(flat[at++]);
    rows.push_back("[" + ToUtf8(static_cast<const wchar_t*>(titles[g])) + "]");
    for (int k = 0; k < size; ++k, ++at)
      rows.push_back(HexOf(flat[at]) + "  " + ListNameOf(manager, flat[at]));
  }
  return rows;
}

// The query the item builds for keypad digits: '2' the first group ... '9' the eighth, '1' the ninth.
Str KeypadQuery(const std::wstring& digits) {
  std::wstring keys;
  for (wchar_t d : digits) keys += GroupKeyOf(d == L'1' ? 8 : d - L'2');
  return Str(keys.c_str());
}

// The title line pimtool prints above each result of a search with several queries or sorts.
std::string SetTitle(const wchar_t* digits, int sort) {
  return "== keypad " + ToUtf8(digits) + ", sort " + std::to_string(sort);
}

// The results of such a search by their title lines, each the lines below its title; lines above the
// first title under "".
std::map<std::string, std::vector<std::string>> ResultSets(const std::string& out) {
  std::map<std::string, std::vector<std::string>> sets;
  std::string title;
  for (const std::string& line : Lines(out)) {
    if (line.rfind("== ", 0) == 0) {
      title = line;
      sets[title];
    } else {
      sets[title].push_back(line);
    }
  }
  return sets;
}

void CheckSound() {
  Run check = Tool(L"pimtool.exe", L"check");
  CHECK(check.code == 0);
  CHECK(check.out.rfind("index sound: ", 0) == 0);
}

}  // namespace

TEST_CASE("pimtool open says what it decided, and check finds both files sound") {
  FreshStore();
  REQUIRE(Tool(L"pimtool.exe", L"generate 200 --seed 3").code == 0);
  Run check = Tool(L"pimtool.exe", L"check");
  CHECK(check.code == 1);  // no index yet
  Run first = Tool(L"pimtool.exe", L"open");
  CHECK(first.code == 0);
  CHECK(first.out == "rebuilt\n200 contacts\n");
  Run second = Tool(L"pimtool.exe", L"open");
  CHECK(second.out == "in step\n200 contacts\n");
  CheckSound();
  REQUIRE(Tool(L"pimtool.exe", L"generate 3 --seed 4").code == 0);
  Run third = Tool(L"pimtool.exe", L"open");
  CHECK(third.out == "stale, inspected: removed 0, added 3, changed 0\n203 contacts\n");
  CheckSound();
  Run rebuild = Tool(L"pimtool.exe", L"rebuild");
  CHECK(rebuild.code == 0);
  CHECK(rebuild.out == "rebuilt: 203 contacts\n");
  CheckSound();
}

TEST_CASE("pimtool check reports a damaged index file and fails") {
  FreshStore();
  REQUIRE(Tool(L"pimtool.exe", L"generate 30 --seed 8").code == 0);
  REQUIRE(Tool(L"pimtool.exe", L"open").code == 0);
  CheckSound();
  // A link of the word tree's root pointing far outside the data.
  HANDLE file = CreateFileW(IndexStore::DefaultPath(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                            OPEN_EXISTING, 0, nullptr);
  REQUIRE(file != INVALID_HANDLE_VALUE);
  DWORD done = 0;
  uint32_t root = 0;
  SetFilePointer(file, 8, nullptr, FILE_BEGIN);
  REQUIRE(ReadFile(file, &root, 4, &done, nullptr));
  REQUIRE(root != 0);
  const uint32_t wild = 0x7ffffff0;
  SetFilePointer(file, static_cast<LONG>(root + 4), nullptr, FILE_BEGIN);  // its greater link
  REQUIRE(WriteFile(file, &wild, 4, &done, nullptr));
  CloseHandle(file);
  Run check = Tool(L"pimtool.exe", L"check");
  CHECK(check.code == 1);
  CHECK_FALSE(check.out.empty());
  CHECK(check.out.find("index sound") == std::string::npos);
}

TEST_CASE("pimtool add, update and delete go through the manager and the index follows") {
  FreshStore();
  REQUIRE(Tool(L"pimtool.exe", L"generate 50 --seed 9").code == 0);
  Run add =
      Tool(L"pimtool.exe", L"add LastName=Quimbleton FirstName=Harold \"MobilePhone=+7 900 123-45-67\"");
  REQUIRE(add.code == 0);
  const std::string id = Lines(add.out).at(0);
  REQUIRE(id.size() == 8);
  CheckSound();
  Run found = Tool(L"pimtool.exe", L"search --text quimbl");
  CHECK(found.out == id + "  Quimbleton, Harold\n");
  Run phone = Tool(L"pimtool.exe", L"find-phone 79001234567");
  CHECK(phone.out == id + "  Quimbleton, Harold  1234567\n");
  Run update =
      Tool(L"pimtool.exe", L"update " + std::wstring(id.begin(), id.end()) + L" Company=Zanzibarworks");
  CHECK(update.code == 0);
  CheckSound();
  CHECK(Tool(L"pimtool.exe", L"search --text zanzibarw").out == id + "  Quimbleton, Harold\n");
  // Several queries in one run: each result under its title line, an empty one too.
  CHECK(Tool(L"pimtool.exe", L"search --text zanzibarw --text nosuchword").out ==
        "== text zanzibarw, sort 0\n" + id + "  Quimbleton, Harold\n== text nosuchword, sort 0\n");
  Run removed = Tool(L"pimtool.exe", L"delete " + std::wstring(id.begin(), id.end()));
  CHECK(removed.code == 0);
  CheckSound();
  CHECK(Tool(L"pimtool.exe", L"search --text quimbl").out == "");
  CHECK(Tool(L"pimtool.exe", L"delete " + std::wstring(id.begin(), id.end())).code == 1);
  CHECK(Tool(L"pimtool.exe", L"add Nonsense=1").code == 2);
  CHECK(Tool(L"pimtool.exe", L"search --keypad 0").code == 2);
  CHECK(Tool(L"pimtool.exe", L"search --text a --keypad 2").code == 2);
}

TEST_CASE("pimtool search on 10,000 contacts prints the manager's own results and the reference's") {
  // This process reads the same store, chosen at its first database call, which is yet to come.
  UseToolStore();
  const ToolStoreLeft left;
  FreshStore();
  // The English letter groups, which the reference writes out by itself.
  const DWORD unset = 0xFFFFFFFFu;
  const DWORD typeBefore = GetSettingDword(SECTION_ABC, L"Type", unset);
  REQUIRE(SetSettingDword(SECTION_ABC, L"Type", 1, TRUE));
  REQUIRE(Tool(L"pimtool.exe", L"generate 10000 --seed 1").code == 0);
  REQUIRE(Tool(L"pimtool.exe", L"open").out == "rebuilt\n10000 contacts\n");
  CheckSound();
  ContactManager manager;
  REQUIRE(manager.Open(GetModuleHandleW(nullptr), nullptr, nullptr, nullptr));
  REQUIRE(manager.LastOpenReport().state == IndexInStep);
  CategoryFilter none;
  // One run of pimtool answers every query in every sort.
  const std::initializer_list<const wchar_t*> queries = {L"4", L"44", L"446", L"2", L"73", L"5263"};
  std::wstring arguments = L"search";
  for (const wchar_t* digits : queries) arguments += std::wstring(L" --keypad ") + digits;
  Run all = Tool(L"pimtool.exe", arguments + L" --sort 0 --sort 1 --sort 2");
  REQUIRE(all.code == 0);
  std::map<std::string, std::vector<std::string>> sets = ResultSets(all.out);
  CHECK(sets.size() == queries.size() * 3);
  for (const wchar_t* digits : queries) {
    CAPTURE(ToUtf8(digits));
    for (int sort : {0, 1, 2}) {
      CAPTURE(sort);
      REQUIRE(sets.count(SetTitle(digits, sort)) == 1);
      const std::vector<std::string>& printed = sets[SetTitle(digits, sort)];
      std::vector<std::string> expected;
      if (sort == 2) {
        Array<uint32_t> flat;
        Array<Str> titles;
        REQUIRE(manager.GroupedKeypadSearch(KeypadQuery(digits), none, flat, titles));
        expected = GroupedRows(manager, flat, titles);
      } else {
        Array<CEOID> ids;
        REQUIRE(manager.KeypadSearch(KeypadQuery(digits), sort, none, ids));
        if (std::wstring(digits) == L"4") REQUIRE(ids.GetSize() > 100);
        expected = Rows(manager, ids);
      }
      CHECK(printed == expected);
    }
  }
  // The reference works the results out from the rules over its own reading of the database.
  searchtest::Reference reference;
  REQUIRE(reference.Load(manager.Index()));
  for (const wchar_t* digits : {L"4", L"44", L"446"}) {
    const std::wstring query = static_cast<const wchar_t*>(KeypadQuery(digits));
    for (int sort : {0, 1, 2}) {
      CAPTURE(ToUtf8(digits));
      CAPTURE(sort);
      // What pimtool printed above, for the same store.
      const std::vector<std::string>& printed = sets[SetTitle(digits, sort)];
      std::vector<std::string> expected;
      if (sort == 2) {
        std::vector<uint32_t> flat;
        std::vector<std::wstring> titles;
        reference.Grouped(query, true, searchtest::RefFilter(), flat, titles);
        Array<uint32_t> flatArray;
        Array<Str> titleArray;
        for (uint32_t word : flat) flatArray.Add(word);
        for (const std::wstring& title : titles) titleArray.Add(Str(title.c_str()));
        expected = GroupedRows(manager, flatArray, titleArray);
      } else {
        Array<CEOID> ids;
        for (CEOID oid : reference.KeypadSearch(query, sort, searchtest::RefFilter())) ids.Add(oid);
        expected = Rows(manager, ids);
      }
      CHECK(printed == expected);
    }
  }
  if (typeBefore == unset)
    DeleteSettingValue(SECTION_ABC, L"Type");
  else
    SetSettingDword(SECTION_ABC, L"Type", typeBefore, TRUE);

  Run text = Tool(L"pimtool.exe", L"search --text \"an m\"");
  Array<CEOID> ids;
  REQUIRE(manager.Search(Str(L"an m"), 0, none, ids, nullptr));
  CHECK(Lines(text.out) == Rows(manager, ids));
  manager.Close();
  CheckSound();
}
