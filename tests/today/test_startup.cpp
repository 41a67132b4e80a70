// The guarded start-up of the item and its shutdown at WM_DESTROY.
#include <doctest/doctest.h>
#include "TodayFixture.h"
#include "foundation/Settings.h"
#include "TestPaths.h"
#include "today/KeyFeedback.h"
#include "manager/datasource/ContactDataSource.h"
#include "presentation/ContactTemplate.h"
#include "presentation/Skin.h"
#include "sync/PimSync.h"

TEST_CASE_FIXTURE(TodayFixture, "fEnabled 0 gives null and makes no object") {
  item.fEnabled = FALSE;
  CHECK(InitializeCustomItem(&item, host) == nullptr);
  CHECK(g_pimToday == nullptr);
  CHECK(TodayFailed() == 0xFFFF);  // nothing was even read or written
}

TEST_CASE_FIXTURE(TodayFixture,
                  "TodayFailed 1: the item unregisters itself, clears the guard and touches no class") {
  REQUIRE(RegisterTodayItem());
  REQUIRE(testreg::KeyExists(HKEY_LOCAL_MACHINE, testreg::kTodayItemKey));
  SetTodayFailed(1);
  // A class of the item's that step 4 would unregister: it must still be there afterwards.
  WNDCLASSW wc = {};
  wc.lpfnWndProc = DefWindowProcW;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.lpszClassName = L"COOL.LIST";
  REQUIRE(RegisterClassW(&wc));

  CHECK(InitializeCustomItem(&item, host) == nullptr);
  CHECK_FALSE(testreg::KeyExists(HKEY_LOCAL_MACHINE, testreg::kTodayItemKey));
  CHECK(TodayFailed() == 0);
  WNDCLASSW found;
  CHECK(GetClassInfoW(GetModuleHandleW(nullptr), L"COOL.LIST", &found));
  CHECK_FALSE(GetClassInfoW(GetModuleHandleW(nullptr), L"ZovrixWndCls", &found));
  REQUIRE(g_pimToday != nullptr);
  CHECK(g_pimToday->GetHwnd() == nullptr);
  UnregisterClassW(L"COOL.LIST", GetModuleHandleW(nullptr));
}

TEST_CASE_FIXTURE(TodayFixture,
                  "TodayFailed of any other value than 1 lets the start proceed and ends at 0") {
  for (DWORD value : {0u, 2u, 7u, 0xFFFFFFFFu}) {
    CAPTURE(value);
    SetTodayFailed(value);
    HWND window = InitializeCustomItem(&item, host);
    REQUIRE(window != nullptr);
    CHECK(IsWindow(window));
    CHECK(GetParent(window) == host);
    CHECK(TodayFailed() == 0);
    DestroyWindow(window);
  }
}

TEST_CASE_FIXTURE(TodayFixture,
                  "the item window: a child of the host, the work area's width, no height at first") {
  HWND window = InitializeCustomItem(&item, host);
  REQUIRE(window != nullptr);
  RECT work, rect;
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  GetWindowRect(window, &rect);
  CHECK(rect.right - rect.left == work.right - work.left);
  CHECK(rect.bottom - rect.top == 0);
  CHECK((GetWindowLongW(window, GWL_STYLE) & (WS_CHILD | WS_VISIBLE)) == (WS_CHILD | WS_VISIBLE));
  wchar_t className[64];
  GetClassNameW(window, className, 64);
  CHECK(std::wstring(className) == L"ZovrixWndCls");
  CHECK(g_pimToday->IsManagerReady());
  CHECK(g_pimToday->GetMode() == PopupHidden);
  CHECK(g_dataSource.GetListener() == static_cast<ItemListener*>(g_pimToday));
  CHECK(g_contactTemplate != nullptr);
}

TEST_CASE_FIXTURE(TodayFixture, "the first refresh query with cyp 0 gives the bar's height and 1") {
  HWND window = InitializeCustomItem(&item, host);
  REQUIRE(window != nullptr);
  item.cyp = 0;
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0) == 1);
  CHECK(item.cyp == static_cast<DWORD>(ScaleY(20) - 1));
  // Steady state: nothing to repaint.
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0) == 0);
  CHECK(item.cyp == static_cast<DWORD>(ScaleY(20) - 1));
  // A null item answers 1.
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, 0, 0) == 1);
}

TEST_CASE_FIXTURE(TodayFixture, "IncrH adds height steps of the X measure to the bar") {
  SetSettingDword(SECTION_ABC, L"IncrH", 3, TRUE);
  HWND window = InitializeCustomItem(&item, host);
  REQUIRE(window != nullptr);
  item.cyp = 0;
  SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0);
  CHECK(item.cyp == static_cast<DWORD>(ScaleY(20) + 3 * ScaleX(2) - 1));
}

TEST_CASE_FIXTURE(TodayFixture, "the bar takes the item's width when the host sizes the item") {
  HWND window = InitializeCustomItem(&item, host);
  REQUIRE(window != nullptr);
  item.cyp = 0;
  SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0);
  SetWindowPos(window, nullptr, 0, 40, 200, item.cyp, SWP_NOZORDER);
  RECT bar;
  GetWindowRect(g_pimToday->GetBar().GetHwnd(), &bar);
  CHECK(bar.right - bar.left == 200);
  CHECK(bar.bottom - bar.top == static_cast<LONG>(item.cyp));
}

TEST_CASE_FIXTURE(TodayFixture, "KeyPressFeedback is made 0 when absent and kept when set") {
  HWND window = InitializeCustomItem(&item, host);
  REQUIRE(window != nullptr);
  CHECK(GetSettingDword(SECTION_SETTINGS, L"KeyPressFeedback", 77) == 0);
  DestroyWindow(window);
  SetSettingDword(SECTION_SETTINGS, L"KeyPressFeedback", 4, TRUE);
  window = InitializeCustomItem(&item, host);
  REQUIRE(window != nullptr);
  CHECK(GetSettingDword(SECTION_SETTINGS, L"KeyPressFeedback", 77) == 4);
}

TEST_CASE_FIXTURE(TodayFixture, "KeyPressFeedback 6 gives a key press a short vibration, and 0 none") {
  testpaths::ClearDeviceJournal();
  SetSettingDword(SECTION_SETTINGS, L"KeyPressFeedback", 0, TRUE);
  GiveKeyFeedback(GetModuleHandleW(nullptr));
  for (const testpaths::JournalLine& line : testpaths::ReadDeviceJournal()) CHECK(line.source != "nled");
  SetSettingDword(SECTION_SETTINGS, L"KeyPressFeedback", 6, TRUE);
  const DWORD started = GetTickCount();
  GiveKeyFeedback(GetModuleHandleW(nullptr));
  CHECK(GetTickCount() - started >= 40);
  std::vector<std::string> vibrator;
  for (const testpaths::JournalLine& line : testpaths::ReadDeviceJournal())
    if (line.source == "nled") vibrator.push_back(line.event);
  CHECK(vibrator ==
        std::vector<std::string>{"NLedSetDevice 2 (vibrator) on", "NLedSetDevice 2 (vibrator) off"});
}

TEST_CASE_FIXTURE(TodayFixture, "HideSim is read at start into the process-wide flag") {
  SetSettingDword(SECTION_SETTINGS, L"HideSim", 1, TRUE);
  REQUIRE(InitializeCustomItem(&item, host) != nullptr);
  CHECK(g_hideSim == 1);
  DestroyWindow(g_pimToday->GetHwnd());
  SetSettingDword(SECTION_SETTINGS, L"HideSim", 0, TRUE);
  REQUIRE(InitializeCustomItem(&item, host) != nullptr);
  CHECK(g_hideSim == 0);
}

TEST_CASE_FIXTURE(TodayFixture,
                  "WM_DESTROY takes the item down in order, and a second start runs on the same object") {
  HWND first = InitializeCustomItem(&item, host);
  REQUIRE(first != nullptr);
  CPimToday* object = g_pimToday;
  ContactTemplate* firstTemplate = g_contactTemplate;
  REQUIRE(firstTemplate != nullptr);
  CHECK(object->IsManagerReady());

  DestroyWindow(first);
  CHECK_FALSE(IsWindow(first));
  CHECK(object->GetHwnd() == nullptr);
  CHECK(g_contactTemplate == nullptr);
  CHECK_FALSE(object->IsManagerReady());
  CHECK_FALSE(g_dataSource.IsOpen());
  CHECK(g_dataSource.GetListener() == nullptr);
  CHECK(g_pimSync == nullptr);

  HWND second = InitializeCustomItem(&item, host);
  REQUIRE(second != nullptr);
  CHECK(g_pimToday == object);
  CHECK(second != first);
  CHECK(IsWindow(second));
  CHECK(g_contactTemplate != nullptr);
  CHECK(object->IsManagerReady());
  CHECK(TodayFailed() == 0);
}

TEST_CASE_FIXTURE(TodayFixture,
                  "the contact template path is in the user's data folder, created when missing") {
  SetSettingString(SECTION_SETTINGS, L"FolderPath", L"\\Pagemark Test Data\\", TRUE);
  RemoveDirectoryW(L"\\Pagemark Test Data");
  REQUIRE(InitializeCustomItem(&item, host) != nullptr);
  REQUIRE(g_contactTemplate != nullptr);
  CHECK(std::wstring(g_contactTemplate->GetPath()) == L"\\Pagemark Test Data\\Contact template.tpl");
  CHECK(GetFileAttributesW(L"\\Pagemark Test Data") != INVALID_FILE_ATTRIBUTES);
  CHECK(g_contactTemplate->IsDefault());  // no file there: the defaults stand in
  RemoveDirectoryW(L"\\Pagemark Test Data");
}

TEST_CASE_FIXTURE(TodayFixture, "selection and navigation keys from the host") {
  HWND window = InitializeCustomItem(&item, host);
  REQUIRE(window != nullptr);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_RECEIVEDSELECTION, VK_DOWN, 0) == 1);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_LOSTSELECTION, 0, 0) == 1);
  CHECK(g_pimToday->GetBar().Selection() == -1);
  // Up gives the selection back to the host; Down with nothing picked does nothing.
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_USERNAVIGATION, VK_UP, 0) == 0);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_USERNAVIGATION, VK_DOWN, 0) == 0);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_USERNAVIGATION, 'A', 0) == 1);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_ACTION, VK_RETURN, 0) == 1);
  CHECK(g_pimToday->GetMode() == PopupHidden);
}

TEST_CASE_FIXTURE(TodayFixture, "EnableItem 0 hides the popup and disables the bar; 1 enables it") {
  REQUIRE(InitializeCustomItem(&item, host) != nullptr);
  g_pimToday->EnableItem(FALSE);
  CHECK_FALSE(g_pimToday->IsBarEnabled());
  CHECK_FALSE(g_pimToday->GetBar().IsEnabled());
  CHECK(g_pimToday->GetMode() == PopupHidden);
  g_pimToday->EnableItem(TRUE);
  CHECK(g_pimToday->IsBarEnabled());
  CHECK(g_pimToday->GetBar().IsEnabled());
}

TEST_CASE_FIXTURE(TodayFixture, "the refresh timer makes the next poll answer 1 once") {
  HWND window = InitializeCustomItem(&item, host);
  REQUIRE(window != nullptr);
  item.cyp = 0;
  SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0);
  SendMessageW(window, WM_TIMER, 1, 0);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0) == 1);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0) == 0);
}
