// The item's own Today registration under HKLM\Software\Microsoft\Today\Items\Pagemark.
#include <doctest/doctest.h>
#include "TodayFixture.h"

using namespace testreg;

TEST_CASE_FIXTURE(TodayFixture, "IsTodayRegistered on a clean registry: 0, and an empty key is left behind") {
  REQUIRE_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kTodayItemKey));
  CHECK(IsTodayRegistered() == FALSE);
  CHECK(KeyExists(HKEY_LOCAL_MACHINE, kTodayItemKey));
  CHECK(ValueCount(HKEY_LOCAL_MACHINE, kTodayItemKey) == 0);
}

TEST_CASE_FIXTURE(TodayFixture, "Enabled stored as a string: not registered") {
  WriteString(HKEY_LOCAL_MACHINE, kTodayItemKey, L"Enabled", L"1");
  CHECK(IsTodayRegistered() == FALSE);
  WriteDword(HKEY_LOCAL_MACHINE, kTodayItemKey, L"Enabled", 0);
  CHECK(IsTodayRegistered() == FALSE);
  WriteDword(HKEY_LOCAL_MACHINE, kTodayItemKey, L"Enabled", 2);
  CHECK(IsTodayRegistered() == TRUE);
}

TEST_CASE_FIXTURE(TodayFixture,
                  "RegisterTodayItem writes the five values; twice gives the same values and 1") {
  for (int round = 0; round < 2; ++round) {
    CAPTURE(round);
    CHECK(RegisterTodayItem() == TRUE);
    CHECK(ValueCount(HKEY_LOCAL_MACHINE, kTodayItemKey) == 5);
    DWORD type = 0, number = 0;
    std::wstring text;
    CHECK(ReadValue(HKEY_LOCAL_MACHINE, kTodayItemKey, L"DLL", &type, &text, nullptr));
    CHECK(type == REG_SZ);
    wchar_t module[MAX_PATH];
    GetModuleFileNameW(nullptr, module, MAX_PATH);
    CHECK(text == module);
    struct Expected {
      const wchar_t* name;
      DWORD value;
    };
    for (Expected e : {Expected{L"Type", 4}, Expected{L"Enabled", 1}, Expected{L"Options", 0},
                       Expected{L"Selectability", 2}}) {
      CAPTURE(std::string(e.name, e.name + wcslen(e.name)));
      CHECK(ReadValue(HKEY_LOCAL_MACHINE, kTodayItemKey, e.name, &type, nullptr, &number));
      CHECK(type == REG_DWORD);
      CHECK(number == e.value);
    }
    CHECK(IsTodayRegistered() == TRUE);
  }
}

TEST_CASE_FIXTURE(TodayFixture, "UnRegisterTodayItem deletes the key and says so") {
  REQUIRE(RegisterTodayItem());
  CHECK(UnRegisterTodayItem() == TRUE);
  CHECK_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kTodayItemKey));
  CHECK(UnRegisterTodayItem() == FALSE);
}

TEST_CASE_FIXTURE(TodayFixture, "the assignment exported with the class returns its left side") {
  CPimToday a, b;
  CHECK(&(a = b) == &a);
}
