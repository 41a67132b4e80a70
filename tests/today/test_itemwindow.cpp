// The item window driven as the host and the bar drive it: commands of the cells over a device with a
// few contacts, the popup's modes, the host's polls with the other processes' change flags, keys and
// the popup's reports. Beeps are counted at the item's import of MessageBeep.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include "ItemFixture.h"
#include "presentation/Skin.h"
#include "sync/PimSync.h"

TEST_CASE_FIXTURE(ItemFixture, "the first poll with cyp 0 touches no flag, gives the bar's height and 1") {
  REQUIRE(g_pimSync != nullptr);
  g_pimSync->SetFlag(9, 1);
  g_pimSync->SetFlag(7, 1);
  g_pimSync->SetFlag(0, 1);
  item.cyp = 0;
  CHECK(Poll() == 1);
  CHECK(item.cyp == static_cast<DWORD>(g_pimToday->GetBar().Height()));
  CHECK(g_pimSync->GetFlag(9));
  CHECK(g_pimSync->GetFlag(7));
  CHECK(g_pimSync->GetFlag(0));
  for (int flag : {0, 7, 9}) g_pimSync->SetFlag(flag, 0);
}

TEST_CASE_FIXTURE(ItemFixture,
                  "IncrH changes: the popup closes and the host gets the new height in the same reply") {
  Cell(kLastCell);
  REQUIRE(Mode() == PopupList);
  testreg::WriteDword(HKEY_CURRENT_USER, std::wstring(testreg::kSettingsRoot) + L"\\ABC", L"IncrH", 3);
  g_pimSync->SetFlag(7, 1);
  CHECK(Poll() == 1);
  CHECK(item.cyp == static_cast<DWORD>(ScaleY(20) - 1 + 3 * ScaleX(2)));
  CHECK(Mode() == PopupHidden);
  CHECK_FALSE(g_pimSync->GetFlag(7));
  RECT bar;
  GetClientRect(g_pimToday->GetBar().GetHwnd(), &bar);
  CHECK(bar.bottom == static_cast<LONG>(item.cyp));
}

TEST_CASE_FIXTURE(
    ItemFixture,
    "the change flags at a poll: sort type, name only and double size reach the popup, and are cleared") {
  std::wstring settings = std::wstring(testreg::kSettingsRoot) + L"\\Settings";
  testreg::WriteDword(HKEY_CURRENT_USER, settings, L"SortType", 1);
  testreg::WriteDword(HKEY_CURRENT_USER, settings, L"NameOnly", 1);
  testreg::WriteDword(HKEY_CURRENT_USER, settings, L"IsDoubleSized", 1);
  for (int flag : {4, 5, 6, 9, 3, 8, 2}) g_pimSync->SetFlag(flag, 1);
  Poll();
  CHECK(g_pimToday->GetPopup().SortType() == 1);
  CHECK(g_pimToday->GetPopup().NameOnly());
  CHECK(g_pimToday->GetPopup().DoubleSized());
  for (int flag : {4, 5, 6, 9, 3, 8, 2}) CHECK_FALSE(g_pimSync->GetFlag(flag));
}

TEST_CASE_FIXTURE(
    ItemFixture,
    "changed letter groups at a poll: the bar is built again from the new set and the height given") {
  // A custom set of three groups, one with a second row.
  const wchar_t custom[] = L"AB^x/abx CD/cd EF/ef";
  std::wstring abc = std::wstring(testreg::kSettingsRoot) + L"\\ABC";
  testreg::WriteDword(HKEY_CURRENT_USER, abc, L"Type", 0);
  HKEY key = nullptr;
  REQUIRE(RegCreateKeyExW(HKEY_CURRENT_USER, abc.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                          nullptr) == ERROR_SUCCESS);
  RegSetValueExW(key, L"Custom", 0, REG_BINARY, reinterpret_cast<const BYTE*>(custom),
                 static_cast<DWORD>(wcslen(custom) * sizeof(wchar_t)));
  RegCloseKey(key);
  g_pimSync->SetFlag(1, 1);
  CHECK(Poll() == 1);
  CHECK(g_pimToday->GroupCount() == 3);
  CHECK(g_pimToday->GetBar().CellCount() == 4);
  CHECK(item.cyp == static_cast<DWORD>(ScaleY(26) - 1));
  CHECK_FALSE(g_pimSync->GetFlag(1));
}

TEST_CASE_FIXTURE(ItemFixture,
                  "Left with no selection goes to the last cell; Right from the last goes to the first") {
  g_pimToday->GetBar().SetSelection(-1);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_USERNAVIGATION, VK_LEFT, 0) == 1);
  CHECK(g_pimToday->GetBar().Selection() == kLastCell);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_USERNAVIGATION, VK_RIGHT, 0) == 1);
  CHECK(g_pimToday->GetBar().Selection() == 0);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_USERNAVIGATION, VK_LEFT, 0) == 1);
  CHECK(g_pimToday->GetBar().Selection() == kLastCell);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_RECEIVEDSELECTION, 0, 0) == 1);
  CHECK(g_pimToday->GetBar().Selection() == kLastCell);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_LOSTSELECTION, 0, 0) == 1);
  CHECK(g_pimToday->GetBar().Selection() == -1);
}

TEST_CASE_FIXTURE(ItemFixture,
                  "the road of a search: picks narrow the list, a letter with no hit beeps and stays, the "
                  "last cell takes it back") {
  People();
  Cell(kMNO);  // Moss, Otto
  CHECK(Mode() == PopupList);
  CHECK(Picks() == 1);
  CHECK(Rows() == 2);
  CHECK(beeps == 0);
  CHECK(g_pimToday->GetBar().PickCount(kMNO) == 1);
  CHECK(g_pimToday->GetBar().Icon() == 0);
  CHECK(IsWindowVisible(g_pimToday->GetPopup().GetHwnd()));
  CHECK(g_pimToday->GetPopup().LeftCaption() == 107);
  CHECK(g_pimToday->GetPopup().RightCaption() == 41286);

  Cell(kWXYZ);  // nothing begins with "mw"
  CHECK(Picks() == 2);
  CHECK(Rows() == 0);
  CHECK(Mode() == PopupList);
  CHECK(beeps == 1);
  CHECK(lastBeep == MB_ICONEXCLAMATION);

  Cell(kLastCell);  // the pick goes again
  CHECK(Picks() == 1);
  CHECK(Rows() == 2);
  CHECK(g_pimToday->GetBar().PickCount(kWXYZ) == 0);
  CHECK(beeps == 1);
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(
    ItemFixture,
    "one hit after a pick in the list opens the contact and beeps; a further letter there only beeps") {
  People();
  Cell(kMNO);
  REQUIRE(Mode() == PopupList);
  Cell(kTUV);  // "mt": Otto
  CHECK(Mode() == PopupContact);
  CHECK(beeps == 1);
  CHECK(g_pimToday->GetPopup().ShownContactId() == g_dataSource.GetIdAt(0, 0));
  CHECK(g_pimToday->GetPopup().LeftCaption() == 108);
  CHECK(g_pimToday->GetPopup().RightCaption() == 41287);

  // A letter on the contact page is refused.
  Cell(kABC);
  CHECK(beeps == 2);
  CHECK(Picks() == 2);
  CHECK(Mode() == PopupContact);

  // "Back": the list of that one row; a letter there only beeps, and nothing is pushed.
  SendMessageW(window, WM_ITEM_CLOSE, 0, 0);
  CHECK(Mode() == PopupList);
  CHECK(Rows() == 1);
  Cell(kGHI);
  CHECK(beeps == 3);
  CHECK(Picks() == 2);
  CHECK(Mode() == PopupList);
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(ItemFixture, "a unique hit from the hidden popup opens the contact at once") {
  People();
  Cell(kGHI);  // Gina, Hart, Hugo, Ives, Ivan: three contacts
  CHECK(Mode() == PopupList);
  CHECK(Rows() == 3);
  SendMessageW(window, WM_ITEM_CLOSE, 1, 0);
  CHECK(Mode() == PopupHidden);
  CHECK(Picks() == 0);
  CHECK(g_pimToday->GetBar().PickCount(kGHI) == 0);
  Cell(kTUV);  // nothing begins with t, u or v
  CHECK(Mode() == PopupList);
  CHECK(Rows() == 0);
  CHECK(beeps == 1);
  SendMessageW(window, WM_ITEM_HIDE, 0, 0);
  Add(L"Uma", L"Stone");
  Cell(kTUV);
  CHECK(Mode() == PopupContact);
  CHECK(beeps == 2);
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(
    ItemFixture,
    "a long press on the last cell in the contact page with picks: the list with everything cleared") {
  People();
  Cell(kMNO);
  Cell(kTUV);
  REQUIRE(Mode() == PopupContact);
  REQUIRE(Picks() == 2);
  Cell(kLongPress);
  CHECK(Mode() == PopupList);
  CHECK(Picks() == 0);
  CHECK(g_pimToday->GetBar().PickCount(kMNO) == 0);
  CHECK(g_pimToday->GetBar().PickCount(kTUV) == 0);
  CHECK(Rows() == 4);

  // The last cell's tap with nothing picked keeps the list; from hidden it opens it.
  Cell(kLastCell);
  CHECK(Mode() == PopupList);
  SendMessageW(window, WM_ITEM_STEP_BACK, 0, 0);
  CHECK(Mode() == PopupHidden);
  CHECK(g_pimToday->GetBar().Icon() == 1);
  Cell(kLastCell);
  CHECK(Mode() == PopupList);
  CHECK(Rows() == 4);
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(
    ItemFixture, "the popup's reports: open contact, leave contact, step back, hide, give up the selection") {
  People();
  Cell(kLastCell);
  REQUIRE(Mode() == PopupList);
  SendMessageW(window, WM_ITEM_OPEN_CONTACT, 0, 2);
  CHECK(Mode() == PopupContact);
  CHECK(g_pimToday->GetPopup().ShownContactId() == g_dataSource.GetIdAt(0, 2));
  SendMessageW(window, WM_ITEM_LEAVE_CONTACT, 0, 0);
  CHECK(Mode() == PopupList);
  // Leaving a contact outside the contact page does nothing.
  SendMessageW(window, WM_ITEM_LEAVE_CONTACT, 0, 0);
  CHECK(Mode() == PopupList);
  // A position that isn't there opens nothing.
  SendMessageW(window, WM_ITEM_OPEN_CONTACT, 0, static_cast<LPARAM>(-1));
  CHECK(Mode() == PopupList);
  SendMessageW(window, WM_ITEM_OPEN_CONTACT, 0, 1);
  SendMessageW(window, WM_ITEM_STEP_BACK, 0, 0);
  CHECK(Mode() == PopupList);
  SendMessageW(window, WM_ITEM_HIDE, 0, 0);
  CHECK(Mode() == PopupHidden);
  Cell(kLastCell);
  SendMessageW(window, WM_ITEM_GIVE_UP, 0, 0);
  CHECK(Mode() == PopupHidden);
  MSG posted;
  CHECK(PeekMessageW(&posted, host, TODAYM_TOOKSELECTION, TODAYM_TOOKSELECTION, PM_REMOVE));
  CHECK(posted.wParam == reinterpret_cast<WPARAM>(window));
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(ItemFixture,
                  "the Action key on a cell picks it without taking the focus; on the last cell of an empty "
                  "list it hides") {
  People();
  HWND focus = GetFocus();
  g_pimToday->GetBar().SetSelection(kMNO);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_ACTION, 0, 0) == 1);
  CHECK(Mode() == PopupList);
  CHECK(Picks() == 1);
  CHECK(GetFocus() == focus);
  CHECK_FALSE(g_pimToday->GetPopup().KeepFocus());

  SendMessageW(window, WM_ITEM_HIDE, 0, 0);
  Cell(kLastCell);
  g_pimToday->GetBar().SetSelection(kLastCell);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_ACTION, 0, 0) == 1);
  CHECK(Mode() == PopupHidden);
  // Up hides and gives the selection back; Down with nothing picked does nothing.
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_USERNAVIGATION, VK_DOWN, 0) == 0);
  Cell(kGHI);
  CHECK(SendMessageW(window, WM_TODAYCUSTOM_USERNAVIGATION, VK_UP, 0) == 0);
  CHECK(Mode() == PopupHidden);
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(ItemFixture,
                  "the popup stands below the item, from its bottom to the menu bar, as wide as the item") {
  Cell(kLastCell);
  RECT work, mine, popup;
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  GetWindowRect(window, &mine);
  GetWindowRect(g_pimToday->GetPopup().GetHwnd(), &popup);
  CHECK(popup.top == mine.bottom);
  CHECK(popup.bottom == work.bottom - ScaleY(26));
  CHECK(popup.left == mine.left);
  CHECK(popup.right == mine.right);
  CHECK((GetWindowLongW(g_pimToday->GetPopup().GetHwnd(), GWL_EXSTYLE) & WS_EX_NOACTIVATE) == 0);
  SendMessageW(window, WM_ITEM_HIDE, 0, 0);
  CHECK((GetWindowLongW(g_pimToday->GetPopup().GetHwnd(), GWL_EXSTYLE) & WS_EX_NOACTIVATE) != 0);
  CHECK_FALSE(IsWindowVisible(g_pimToday->GetPopup().GetHwnd()));
}

TEST_CASE_FIXTURE(ItemFixture,
                  "the popup's links: the right one closes, a tap elsewhere on the strip does nothing") {
  Cell(kLastCell);
  HWND popup = g_pimToday->GetPopup().GetHwnd();
  RECT right = g_pimToday->GetPopup().RightLinkRect();
  POINT inRight = {right.right - 2, (right.top + right.bottom) / 2};
  RECT left = g_pimToday->GetPopup().LeftLinkRect();
  POINT between = {(left.right + right.left) / 2, inRight.y};
  SendMessageW(popup, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(between.x, between.y));
  SendMessageW(popup, WM_LBUTTONUP, 0, MAKELPARAM(between.x, between.y));
  CHECK(Mode() == PopupList);
  SendMessageW(popup, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(inRight.x, inRight.y));
  SendMessageW(popup, WM_LBUTTONUP, 0, MAKELPARAM(inRight.x, inRight.y));
  CHECK(Mode() == PopupHidden);
  // The popup's own close goes all the way.
  Cell(kLastCell);
  SendMessageW(popup, WM_CLOSE, 0, 0);
  CHECK(Mode() == PopupHidden);
}

TEST_CASE_FIXTURE(ItemFixture, "five minutes after the popup lost the activation it hides") {
  Cell(kLastCell);
  HWND popup = g_pimToday->GetPopup().GetHwnd();
  SendMessageW(popup, WM_ACTIVATE, WA_INACTIVE, 0);
  // The timer's tick, as it comes after five minutes.
  SendMessageW(popup, WM_TIMER, PopupWnd::kInactivityTimerId, 0);
  CHECK(Mode() == PopupHidden);
}

TEST_CASE_FIXTURE(ItemFixture, "the End key on a phone steps back: contact to list, list to hidden") {
  People();
  Cell(kLastCell);
  SendMessageW(window, WM_ITEM_OPEN_CONTACT, 0, 0);
  REQUIRE(Mode() == PopupContact);
  HWND popup = g_pimToday->GetPopup().GetHwnd();
  bool phone = GetFileAttributesW(L"\\windows\\sms.dll") != INVALID_FILE_ATTRIBUTES;
  SendMessageW(popup, WM_KEYUP, VK_F4, 0xC0000001);
  CHECK(Mode() == (phone ? PopupList : PopupContact));
  SendMessageW(popup, WM_KEYUP, VK_F4, 0xC0000001);
  CHECK(Mode() == (phone ? PopupHidden : PopupContact));
  DeleteAllContacts();
}
