// The settings store over the registry root HKCU\Software\Zovrix\PIM.
#include <doctest/doctest.h>
#include <windows.h>
#include "TestRegistry.h"
#include "ProgramLog.h"
#include "TestPaths.h"
#include "WideText.h"
#include "foundation/DebugUtils.h"
#include "foundation/Settings.h"

using namespace testreg;

namespace {

const std::wstring kRoot = kSettingsRoot;
const std::wstring kSettings = kRoot + L"\\Settings";

struct CleanSettings {
  CleanSettings() { DeleteTree(HKEY_CURRENT_USER, kRoot); }
  ~CleanSettings() { DeleteTree(HKEY_CURRENT_USER, kRoot); }
};

}  // namespace

TEST_CASE_FIXTURE(CleanSettings, "a DWORD round-trips and an absent value gives the default") {
  CHECK(GetSettingDword(L"Settings", L"SortType", 7) == 7);
  CHECK(SetSettingDword(L"Settings", L"SortType", 1, TRUE));
  CHECK(GetSettingDword(L"Settings", L"SortType", 7) == 1);
  DWORD stored = 0;
  CHECK(ReadDword(HKEY_CURRENT_USER, kSettings, L"SortType", &stored));
  CHECK(stored == 1);
}

TEST_CASE_FIXTURE(CleanSettings, "a DWORD stored as text is as good as absent") {
  WriteString(HKEY_CURRENT_USER, kSettings, L"DialType", L"2");
  CHECK(GetSettingDword(L"Settings", L"DialType", 3) == 3);
}

TEST_CASE_FIXTURE(CleanSettings, "a text stored as a DWORD gives the default text") {
  WriteDword(HKEY_CURRENT_USER, kSettings, L"ProgramPath", 5);
  CHECK(wcscmp(GetSettingString(L"Settings", L"ProgramPath", L"fallback"), L"fallback") == 0);
}

TEST_CASE_FIXTURE(CleanSettings, "strings are written with their terminator and read back whole") {
  CHECK(SetSettingString(L"Settings", L"FolderPath", L"\\Storage Card\\Pagemark", TRUE));
  DWORD type = 0;
  std::wstring text;
  CHECK(ReadValue(HKEY_CURRENT_USER, kSettings, L"FolderPath", &type, &text, nullptr));
  CHECK(type == REG_SZ);
  CHECK(text == L"\\Storage Card\\Pagemark");
  HKEY key;
  REQUIRE(RegOpenKeyExW(HKEY_CURRENT_USER, kSettings.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS);
  DWORD size = 0;
  RegQueryValueExW(key, L"FolderPath", nullptr, nullptr, nullptr, &size);
  RegCloseKey(key);
  CHECK(size == (wcslen(L"\\Storage Card\\Pagemark") + 1) * 2);
  CHECK(wcscmp(GetSettingString(L"Settings", L"FolderPath", L"x"), L"\\Storage Card\\Pagemark") == 0);
}

TEST_CASE_FIXTURE(CleanSettings, "a stored text is read as far as its first zero") {
  HKEY key;
  REQUIRE(RegCreateKeyExW(HKEY_CURRENT_USER, kSettings.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                          nullptr) == ERROR_SUCCESS);
  const wchar_t data[] = L"front\0back";
  RegSetValueExW(key, L"SkinPath", 0, REG_SZ, reinterpret_cast<const BYTE*>(data), sizeof data);
  RegCloseKey(key);
  Str text = GetSettingString(L"Settings", L"SkinPath", L"");
  CHECK(text.GetLength() == 5);
  CHECK(wcscmp(text, L"front") == 0);
}

TEST_CASE_FIXTURE(CleanSettings,
                  "GetSettingBuffer gives the default for a value as long as the buffer or longer") {
  SetSettingString(L"Settings", L"AreaCode", L"12345", TRUE);
  wchar_t buffer[8];
  GetSettingBuffer(L"Settings", L"AreaCode", buffer, 6, L"dflt");
  CHECK(wcscmp(buffer, L"12345") == 0);  // five characters fit a buffer of six
  GetSettingBuffer(L"Settings", L"AreaCode", buffer, 5, L"dflt");
  CHECK(wcscmp(buffer, L"dflt") == 0);  // as long as the buffer: the default, not a cut value
  GetSettingBuffer(L"Settings", L"AreaCode", buffer, 3, L"dflt");
  CHECK(wcscmp(buffer, L"dflt") == 0);  // longer: the default, whole
}

TEST_CASE_FIXTURE(CleanSettings, "binary values come back in a block of their own; other types give null") {
  const BYTE bytes[] = {'a', 0, 'b', 0, 'c', 0};
  CHECK(SetSettingBinary(L"ABC", L"Custom", bytes, sizeof bytes));
  DWORD size = 99;
  BYTE* block = GetSettingBinary(L"ABC", L"Custom", &size);
  REQUIRE(block != nullptr);
  CHECK(size == sizeof bytes);
  CHECK(memcmp(block, bytes, sizeof bytes) == 0);
  LocalFree(block);

  SetSettingDword(L"ABC", L"Type", 2, TRUE);
  CHECK(GetSettingBinary(L"ABC", L"Type", &size) == nullptr);
  CHECK(GetSettingBinary(L"ABC", L"Absent", &size) == nullptr);
  CHECK(size == 0);
}

TEST_CASE_FIXTURE(CleanSettings, "a read of an absent key creates nothing; a write creates the key") {
  CHECK(GetSettingDword(L"ListFont", L"Height", 123) == 123);
  CHECK_FALSE(KeyExists(HKEY_CURRENT_USER, kRoot + L"\\ListFont"));
  CHECK(OpenSettingsKey(L"ListFont", FALSE) == nullptr);
  CHECK(SetSettingDword(L"ListFont", L"Flags", 1, TRUE));
  CHECK(KeyExists(HKEY_CURRENT_USER, kRoot + L"\\ListFont"));
  HKEY key = OpenSettingsKey(L"ListFont", FALSE);
  CHECK(key != nullptr);
  if (key) RegCloseKey(key);
}

TEST_CASE_FIXTURE(CleanSettings,
                  "a null subkey or value name fails or gives the default without touching the registry") {
  CHECK(GetSettingDword(nullptr, L"TodayFailed", 42) == 42);
  CHECK(GetSettingDword(L"Settings", nullptr, 42) == 42);
  CHECK(wcscmp(GetSettingString(nullptr, L"ProgramPath", L"d"), L"d") == 0);
  CHECK(wcscmp(GetSettingString(L"Settings", nullptr, L"d"), L"d") == 0);
  DWORD size = 5;
  CHECK(GetSettingBinary(nullptr, L"Custom", &size) == nullptr);
  CHECK_FALSE(SetSettingDword(nullptr, L"TodayFailed", 1, TRUE));
  CHECK_FALSE(SetSettingDword(L"Settings", nullptr, 1, TRUE));
  CHECK_FALSE(SetSettingString(nullptr, L"ProgramPath", L"x", TRUE));
  CHECK_FALSE(SetSettingString(L"Settings", nullptr, L"x", TRUE));
  CHECK_FALSE(SetSettingBinary(L"ABC", nullptr, reinterpret_cast<const BYTE*>("ab"), 2));
  CHECK_FALSE(DeleteSettingValue(nullptr, L"x"));
  CHECK_FALSE(DeleteSettingValue(L"Settings", nullptr));
  CHECK_FALSE(DeleteSettingKey(nullptr));
  CHECK(OpenSettingsKey(nullptr, TRUE) == nullptr);
  // Not even the root was made by any of these.
  CHECK_FALSE(KeyExists(HKEY_CURRENT_USER, kRoot));
}

TEST_CASE_FIXTURE(CleanSettings, "DeleteSettingValue removes one value") {
  SetSettingDword(L"Settings", L"NameOnly", 1, FALSE);
  SetSettingDword(L"Settings", L"ListCyclic", 1, TRUE);
  CHECK(DeleteSettingValue(L"Settings", L"NameOnly"));
  CHECK(GetSettingDword(L"Settings", L"NameOnly", 0) == 0);
  CHECK(GetSettingDword(L"Settings", L"ListCyclic", 0) == 1);
  CHECK_FALSE(DeleteSettingValue(L"Settings", L"NameOnly"));
}

TEST_CASE_FIXTURE(CleanSettings, "DeleteSettingKey removes a key with subkeys, depth first") {
  WriteDword(HKEY_CURRENT_USER, kRoot + L"\\Templates", L"Count", 2);
  WriteString(HKEY_CURRENT_USER, kRoot + L"\\Templates\\A", L"0", L"x");
  WriteString(HKEY_CURRENT_USER, kRoot + L"\\Templates\\A\\Deep\\Deeper", L"v", L"y");
  WriteString(HKEY_CURRENT_USER, kRoot + L"\\Templates\\B", L"v", L"z");
  WriteDword(HKEY_CURRENT_USER, kSettings, L"Keep", 1);
  CHECK(DeleteSettingKey(L"Templates"));
  CHECK_FALSE(KeyExists(HKEY_CURRENT_USER, kRoot + L"\\Templates"));
  CHECK(GetSettingDword(L"Settings", L"Keep", 0) == 1);  // a sibling stays
}

TEST_CASE_FIXTURE(CleanSettings,
                  "DeleteSettingKey takes a path: the part before the last backslash is the parent") {
  WriteDword(HKEY_CURRENT_USER, kRoot + L"\\Settings\\Inner\\Leaf", L"v", 1);
  WriteDword(HKEY_CURRENT_USER, kRoot + L"\\Settings\\Inner", L"w", 1);
  CHECK(DeleteSettingKey(L"Settings\\Inner"));
  CHECK_FALSE(KeyExists(HKEY_CURRENT_USER, kRoot + L"\\Settings\\Inner"));
  CHECK(KeyExists(HKEY_CURRENT_USER, kSettings));
  CHECK_FALSE(DeleteSettingKey(L"Settings\\Inner"));  // already gone
}

TEST_CASE_FIXTURE(CleanSettings, "FlushSettings does nothing and succeeds") {
  CHECK(FlushSettings(L"Templates"));
  CHECK_FALSE(KeyExists(HKEY_CURRENT_USER, kRoot + L"\\Templates"));
}

TEST_CASE_FIXTURE(CleanSettings, "dirty marks live under the file's base name") {
  CHECK_FALSE(IsDirtyMark(L"\\a\\b\\pim_index1.dat"));
  CHECK(SetDirtyMark(L"\\a\\b\\pim_index1.dat"));
  DWORD mark = 0;
  CHECK(ReadDword(HKEY_CURRENT_USER, kSettings, L"pim_index1.dat", &mark));
  CHECK(mark == 1);
  CHECK(IsDirtyMark(L"\\other\\pim_index1.dat"));  // only the name counts
  CHECK(IsDirtyMark(L"pim_index1.dat"));           // a path without a backslash is taken whole
  CHECK_FALSE(IsDirtyMark(L"\\a\\b\\pim_index2.dat"));
  CHECK(ClearDirtyMark(L"\\a\\b\\pim_index1.dat"));
  CHECK_FALSE(IsDirtyMark(L"\\a\\b\\pim_index1.dat"));
}

TEST_CASE_FIXTURE(CleanSettings,
                  "the area code comes from the platform's key when it opens, else from Settings") {
  const std::wstring addrBook = L"Software\\Microsoft\\AddrBook";
  DeleteTree(HKEY_LOCAL_MACHINE, addrBook);
  SetSettingString(L"Settings", L"AreaCode", L"495", TRUE);
  CHECK(wcscmp(GetAreaCode(), L"495") == 0);

  // The key exists without the value: a failed read leaves the text empty and does not fall back.
  WriteDword(HKEY_LOCAL_MACHINE, addrBook, L"Other", 1);
  CHECK(GetAreaCode().GetLength() == 0);
  WriteString(HKEY_LOCAL_MACHINE, addrBook, L"Default_Area", L"812");
  CHECK(wcscmp(GetAreaCode(), L"812") == 0);
  CHECK(SetAreaCode(L"343"));
  std::wstring text;
  DWORD type = 0;
  CHECK(ReadValue(HKEY_LOCAL_MACHINE, addrBook, L"Default_Area", &type, &text, nullptr));
  CHECK(text == L"343");
  CHECK(wcscmp(GetSettingString(L"Settings", L"AreaCode", L""), L"495") == 0);
  DeleteTree(HKEY_LOCAL_MACHINE, addrBook);
  CHECK(SetAreaCode(L"383"));
  CHECK(wcscmp(GetSettingString(L"Settings", L"AreaCode", L""), L"383") == 0);
}

TEST_CASE_FIXTURE(CleanSettings, "absent keys and values give their defaults without a line in the log") {
  std::wstring log = FreshProgramLog();
  CHECK(GetSettingDword(L"Settings", L"Nothing", 3) == 3);
  CHECK(U8(GetSettingString(L"ListFont", L"Name", L"Tahoma")) == "Tahoma");
  DWORD size = 9;
  CHECK(GetSettingBinary(L"ABC", L"Custom", &size) == nullptr);
  REQUIRE(SetSettingDword(L"Settings", L"Present", 1, TRUE));
  CHECK(GetSettingDword(L"Settings", L"Absent", 4) == 4);
  CHECK_FALSE(DeleteSettingValue(L"Settings", L"Absent"));
  CHECK_FALSE(DeleteSettingKey(L"Templates"));
  CHECK(LogMessages(log).empty());
  DeleteFileW(log.c_str());
}

TEST_CASE_FIXTURE(CleanSettings,
                  "a registry call that fails is logged with the call, its error and the key") {
  REQUIRE(SetSettingDword(L"Settings", L"Present", 1, TRUE));
  std::wstring log = FreshProgramLog();
  // The platform refuses a key name of more than 255 characters, where its parent exists.
  std::wstring subkey(300, L'k');
  CHECK(GetSettingDword(subkey.c_str(), L"Value", 6) == 6);
  CHECK_FALSE(SetSettingDword(subkey.c_str(), L"Value", 1, TRUE));
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  std::vector<std::string> messages = LogMessages(log);
  REQUIRE(messages.size() == 2);
  const std::string key = "HKCU\\Software\\Zovrix\\PIM\\" + std::string(300, 'k');
  CHECK(messages[0].rfind("RegOpenKeyExW failed, error 87: " + key + "\t\tSettings: OpenSettingsKey (", 0) ==
        0);
  CHECK(messages[1].rfind("RegCreateKeyExW failed, error 87: " + key + "\t\tSettings: OpenSettingsKey (",
                          0) == 0);

  // A value name the platform refuses: the key opens, the write fails.
  std::wstring value(20000, L'v');
  CHECK_FALSE(SetSettingDword(L"Settings", value.c_str(), 1, TRUE));
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  messages = LogMessages(log);
  REQUIRE(messages.size() == 3);
  CHECK(messages[2].rfind("RegSetValueExW failed, error 87: HKCU\\Software\\Zovrix\\PIM\\Settings : vvv",
                          0) == 0);
  DeleteFileW(log.c_str());
}
