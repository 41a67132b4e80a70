// Shell notifications: put up, replaced and taken down by class and id, also from another module.
#include <doctest/doctest.h>
#include <windows.h>

#include <DeviceShell.h>
#include <aygshell.h>

#include "AygTestSupport.h"
#include "TestPaths.h"

using namespace aygtest;

namespace {

// {5E1D5D6B-5A3C-4E58-9A55-8E7A7C2D3F01}
const CLSID kClass = {0x5e1d5d6b, 0x5a3c, 0x4e58, {0x9a, 0x55, 0x8e, 0x7a, 0x7c, 0x2d, 0x3f, 0x01}};
const char kClassText[] = "{5E1D5D6B-5A3C-4E58-9A55-8E7A7C2D3F01}";

SHNOTIFICATIONDATA Notification(DWORD id, const wchar_t* title) {
  SHNOTIFICATIONDATA data{};
  data.cbStruct = sizeof data;
  data.dwID = id;
  data.npPriority = SHNP_INFORM;
  data.csDuration = 15;
  data.clsid = kClass;
  data.pszTitle = title;
  data.pszHTML = L"<p>3 missed calls</p>";
  return data;
}

bool Stored(DWORD id, std::wstring* title = nullptr) {
  wchar_t name[80];
  swprintf(name, 80, L"%hs %lu", kClassText, static_cast<unsigned long>(id));
  HKEY key;
  std::wstring path = std::wstring(DEVICE_NOTIFICATIONS_KEY) + L"\\" + name;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  wchar_t text[128] = L"";
  DWORD size = sizeof text - sizeof(wchar_t);
  RegQueryValueExW(key, L"Title", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
  RegCloseKey(key);
  if (title) *title = text;
  return true;
}

}  // namespace

TEST_CASE("SHNotificationAdd and SHNotificationRemove: by class and id; a second removal finds nothing") {
  SHNotificationRemove(&kClass, 5);
  SHNotificationRemove(&kClass, 6);
  MarkJournal();
  SHNOTIFICATIONDATA five = Notification(5, L"Missed calls");
  SHNOTIFICATIONDATA six = Notification(6, L"New message");
  CHECK(SHNotificationAdd(&five) == ERROR_SUCCESS);
  CHECK(SHNotificationAdd(&six) == ERROR_SUCCESS);
  std::wstring title;
  REQUIRE(Stored(5, &title));
  CHECK(title == L"Missed calls");
  CHECK(Stored(6));

  // The same class and id again replaces it.
  five.pszTitle = L"Missed call";
  CHECK(SHNotificationAdd(&five) == ERROR_SUCCESS);
  REQUIRE(Stored(5, &title));
  CHECK(title == L"Missed call");

  // Removal through the library as another program loads it: by name from its file.
  HMODULE library = LoadLibraryW((testpaths::BinDir() + L"aygshell.dll").c_str());
  REQUIRE(library != nullptr);
  using Remove = LRESULT (*)(const CLSID*, DWORD);
  auto remove =
      reinterpret_cast<Remove>(reinterpret_cast<void*>(GetProcAddress(library, "SHNotificationRemove")));
  REQUIRE((remove != nullptr));
  CHECK((reinterpret_cast<void*>(GetProcAddress(library, MAKEINTRESOURCEA(157))) ==
         reinterpret_cast<void*>(remove)));
  CHECK(remove(&kClass, 5) == ERROR_SUCCESS);
  CHECK_FALSE(Stored(5));
  CHECK(Stored(6));
  CHECK(remove(&kClass, 5) == ERROR_NOT_FOUND);
  CHECK(SHNotificationRemove(&kClass, 6) == ERROR_SUCCESS);
  CHECK_FALSE(Stored(6));
  FreeLibrary(library);

  const std::string five5 = std::string("notification ") + kClassText + " 5";
  CHECK(AygJournalHas(five5 + " added: Missed calls"));
  CHECK(AygJournalHas(five5 + " replaced: Missed call"));
  CHECK(AygJournalHas(five5 + " removed"));
  CHECK(AygJournalHas(five5 + " to remove not found"));
}

TEST_CASE("SHNotificationAdd and SHNotificationRemove: a wrong size or no class is refused") {
  SHNOTIFICATIONDATA data = Notification(7, L"x");
  data.cbStruct = sizeof data - 8;
  CHECK(SHNotificationAdd(&data) == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(Stored(7));
  CHECK(SHNotificationAdd(nullptr) == ERROR_INVALID_PARAMETER);
  CHECK(SHNotificationRemove(nullptr, 7) == ERROR_INVALID_PARAMETER);
}
