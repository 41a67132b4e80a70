// The popup as a whole: its window, menu bar, icon and talk key, its two pages under the caption
// strip, and what the contact list's reports make of it, over the real item and data source.
#include <doctest/doctest.h>
#include <windows.h>
#include <aygshell.h>
#include <winuserm.h>
#include <string>
#include "ItemFixture.h"
#include "MessagePump.h"
#include "presentation/Skin.h"
#include "resources/resource.h"

namespace {

bool IsPhone() { return GetFileAttributesW(L"\\windows\\sms.dll") != INVALID_FILE_ATTRIBUTES; }

std::wstring ClassOf(HWND window) {
  wchar_t name[64] = L"";
  GetClassNameW(window, name, 64);
  return name;
}

// What the menu bar keeps of a key's override, read without changing it.
WORD OverrideOf(HWND bar, UINT key) {
  return static_cast<WORD>(SendMessageW(bar, SHCMBM_OVERRIDEKEY, key, 0));
}

// The device without its SMS engine for as long as it lives: a device without a phone.
struct WithoutSmsEngine {
  bool moved;
  WithoutSmsEngine() : moved(MoveFileW(L"\\windows\\sms.dll", L"\\windows\\sms.dll.away") != FALSE) {}
  ~WithoutSmsEngine() {
    if (moved) MoveFileW(L"\\windows\\sms.dll.away", L"\\windows\\sms.dll");
  }
};

}  // namespace

TEST_CASE_FIXTURE(ItemFixture,
                  "the popup is made hidden at start-up, a tool window with its menu bar and icon") {
  PopupWnd& popup = g_pimToday->GetPopup();
  HWND window = popup.GetHwnd();
  REQUIRE(window != nullptr);
  CHECK_FALSE(IsWindowVisible(window));
  CHECK(GetParent(window) == nullptr);
  DWORD style = static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE));
  DWORD exStyle = static_cast<DWORD>(GetWindowLongW(window, GWL_EXSTYLE));
  CHECK((style & (WS_POPUP | WS_SYSMENU)) == (WS_POPUP | WS_SYSMENU));
  CHECK((exStyle & WS_EX_TOOLWINDOW) != 0);
  CHECK((exStyle & WS_EX_CAPTIONOKBTN) != 0);
  // The menu bar is empty and takes no room.
  HWND bar = popup.GetMenuBar();
  REQUIRE(bar != nullptr);
  CHECK(SHFindMenuBar(window) == bar);
  RECT barRect;
  GetWindowRect(bar, &barRect);
  CHECK(barRect.right - barRect.left == 0);
  CHECK(barRect.bottom - barRect.top == 0);
  CHECK(LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(126)) != nullptr);
  CHECK(SendMessageW(window, WM_GETICON, ICON_SMALL, 0) != 0);
  // The two pages: the list (its scroll bar shows only while the rows don't fit), and the contact page.
  HWND list = popup.GetList().ContactWindow();
  REQUIRE(list != nullptr);
  CHECK(GetParent(list) == window);
  CHECK(ClassOf(list) == L"COOL.LIST");
  CHECK((GetWindowLongW(list, GWL_STYLE) & WS_CHILD) != 0);
  REQUIRE(popup.GetView().GetHwnd() != nullptr);
  CHECK(GetParent(popup.GetView().GetHwnd()) == window);
}

TEST_CASE_FIXTURE(ItemFixture, "the talk key is taken over on a phone and left alone elsewhere") {
  PopupWnd& popup = g_pimToday->GetPopup();
  HWND bar = popup.GetMenuBar();
  REQUIRE(bar != nullptr);
  if (IsPhone()) {
    CHECK(OverrideOf(bar, VK_TTALK) == (SHMBOF_NODEFAULT | SHMBOF_NOTIFY));
    // Losing the focus gives back what was kept before: nothing was kept, so the override stays.
    CHECK(popup.KeptTalkOverride() == 0);
    SendMessageW(popup.GetHwnd(), WM_KILLFOCUS, 0, 0);
    CHECK(OverrideOf(bar, VK_TTALK) == (SHMBOF_NODEFAULT | SHMBOF_NOTIFY));
  } else {
    CHECK(OverrideOf(bar, VK_TTALK) == 0);
  }
}

TEST_CASE_FIXTURE(ItemFixture, "the pages fill the popup under the strip; one shows at a time") {
  People();
  Cell(kLastCell);
  REQUIRE(Mode() == PopupList);
  PopupWnd& popup = g_pimToday->GetPopup();
  HWND list = popup.GetList().ContactWindow();
  HWND view = popup.GetView().GetHwnd();
  RECT client, page;
  GetClientRect(popup.GetHwnd(), &client);
  GetWindowRect(list, &page);
  MapWindowPoints(nullptr, popup.GetHwnd(), reinterpret_cast<POINT*>(&page), 2);
  CHECK(page.top == ScaleY(18));
  CHECK(page.bottom == client.bottom);
  CHECK(page.left == 0);
  CHECK(page.right == client.right);
  CHECK(IsWindowVisible(list));
  CHECK_FALSE(IsWindowVisible(view));
  CHECK(GetFocus() == list);
  CHECK(Rows() == 4);

  SendMessageW(window, WM_ITEM_OPEN_CONTACT, 0, 0);
  REQUIRE(Mode() == PopupContact);
  CHECK_FALSE(IsWindowVisible(list));
  CHECK(IsWindowVisible(view));
  // The page hands the focus to its rows.
  CHECK(GetFocus() == g_pimToday->GetPopup().GetView().TextWindow());
  CHECK(GetParent(GetFocus()) == view);
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(ItemFixture, "a tap on a row opens that contact; its name heads the contact page") {
  People();
  Cell(kLastCell);
  REQUIRE(Mode() == PopupList);
  PopupWnd& popup = g_pimToday->GetPopup();
  CoolList& control = popup.GetList().Control();
  control.SetNoGesture(TRUE);
  RECT second = control.RowRect(1);
  LPARAM at = MAKELPARAM(second.left + 10, (second.top + second.bottom) / 2);
  SendMessageW(control.GetHwnd(), WM_LBUTTONDOWN, MK_LBUTTON, at);
  SendMessageW(control.GetHwnd(), WM_LBUTTONUP, 0, at);
  REQUIRE(Mode() == PopupContact);
  CEOID expected = g_dataSource.GetIdAt(0, 1);
  CHECK(popup.ShownContactId() == expected);
  Contact contact;
  REQUIRE(g_dataSource.ReadAt(0, 1, contact));
  // The head names the contact in bold: first name, then last name.
  std::wstring name = L"<B>" + std::wstring(contact.text[ContactField::FirstName]) + L" " +
                      std::wstring(contact.text[ContactField::LastName]) + L"</B>";
  CHECK(std::wstring(popup.GetView().HeadText()).find(name) == 0);
  // Back from the page: its done message, and the left link's neighbour "Back".
  SendMessageW(popup.GetHwnd(), PopupWnd::kLeaveContactMessage, 0, 0);
  CHECK(Mode() == PopupList);
  CHECK(popup.CurrentContactId() == expected);
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(ItemFixture,
                  "keypad digits on the list pick letter groups; Up at the first row hides the popup") {
  People();
  Cell(kLastCell);
  HWND list = g_pimToday->GetPopup().GetList().ContactWindow();
  // '6' is the fifth group, MNO: Ivan Moss and Otto Quinn.
  SendMessageW(list, WM_CHAR, L'6', 0);
  // The digit taps the cell as a stylus would; the tap's command comes through the queue.
  Pump();
  REQUIRE(Picks() == 1);
  CHECK(g_pimToday->GetPickedGroup(0) == kMNO);
  CHECK(Rows() == 2);
  // Letters aren't keys of the keypad.
  SendMessageW(list, WM_CHAR, L'x', 0);
  Pump();
  CHECK(Picks() == 1);
  SendMessageW(list, WM_KEYDOWN, VK_UP, 0);
  Pump();
  CHECK(Mode() == PopupHidden);
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(ItemFixture, "the End key through the list: on a phone the list hides, elsewhere nothing") {
  People();
  Cell(kLastCell);
  HWND list = g_pimToday->GetPopup().GetList().ContactWindow();
  SendMessageW(list, WM_KEYDOWN, VK_TEND, 1);
  SendMessageW(list, WM_KEYUP, VK_TEND, 0xC0000001);
  CHECK(Mode() == (IsPhone() ? PopupHidden : PopupList));
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(ItemFixture,
                  "without an SMS engine the End key does nothing, on the list and on the contact") {
  People();
  Cell(kLastCell);
  REQUIRE(Mode() == PopupList);
  HWND popup = g_pimToday->GetPopup().GetHwnd();
  {
    WithoutSmsEngine noPhone;
    REQUIRE_FALSE(IsPhone());
    SendMessageW(popup, WM_KEYUP, VK_TEND, 0xC0000001);
    CHECK(Mode() == PopupList);
    SendMessageW(window, WM_ITEM_OPEN_CONTACT, 0, 0);
    REQUIRE(Mode() == PopupContact);
    SendMessageW(g_pimToday->GetPopup().GetView().GetHwnd(), WM_KEYUP, VK_TEND, 0xC0000001);
    CHECK(Mode() == PopupContact);
  }
  // With the engine back the same key steps back.
  if (IsPhone()) {
    SendMessageW(g_pimToday->GetPopup().GetView().GetHwnd(), WM_KEYUP, VK_TEND, 0xC0000001);
    CHECK(Mode() == PopupList);
  }
  DeleteAllContacts();
}

TEST_CASE_FIXTURE(ItemFixture, "the talk key while the list is empty calls nobody") {
  Cell(kLastCell);
  REQUIRE(Mode() == PopupList);
  REQUIRE(Rows() == 0);
  PopupWnd& popup = g_pimToday->GetPopup();
  CHECK_FALSE(popup.GetList().CallContact(nullptr));
  SendMessageW(popup.GetHwnd(), WM_HOTKEY, VK_TTALK, MAKELPARAM(0, VK_TTALK));
  SendMessageW(popup.GetHwnd(), WM_HOTKEY, VK_TTALK, MAKELPARAM(MOD_KEYUP, VK_TTALK));
  CHECK(Mode() == PopupList);
  CHECK(popup.CurrentContactId() == 0);
}

TEST_CASE_FIXTURE(ItemFixture, "the inactivity timer runs only while the popup isn't active") {
  Cell(kLastCell);
  HWND popup = g_pimToday->GetPopup().GetHwnd();
  SendMessageW(popup, WM_ACTIVATE, WA_INACTIVE, 0);
  // A running timer can be killed once; an active popup has none.
  SendMessageW(popup, WM_ACTIVATE, WA_ACTIVE, 0);
  CHECK_FALSE(KillTimer(popup, PopupWnd::kInactivityTimerId));
  SendMessageW(popup, WM_ACTIVATE, WA_INACTIVE, 0);
  CHECK(KillTimer(popup, PopupWnd::kInactivityTimerId));
}

TEST_CASE("an appointment with a contact: the name parts as subject, the filled phones as body lines") {
  Contact contact;
  Str subject, body;
  contact.text[ContactField::Company] = Str(L"Acme");
  PopupWnd::ComposeAppointment(contact, subject, body);
  CHECK(std::wstring(subject) == L"Acme");
  CHECK(body.GetLength() == 0);

  contact.text[ContactField::Title] = Str(L"Dr.");
  contact.text[ContactField::FirstName] = Str(L"Ida");
  contact.text[ContactField::LastName] = Str(L"Berg");
  contact.text[ContactField::WorkPhone] = Str(L"111");
  contact.text[ContactField::MobilePhone] = Str(L"222");
  LabelValue extra;
  extra.label = Str(L"Boat");
  extra.value = Str(L"333");
  contact.Phone.Add(extra);
  PopupWnd::ComposeAppointment(contact, subject, body);
  CHECK(std::wstring(subject) == L"Dr. Ida Berg");
  // Without a second work phone the first one has no line.
  const std::wstring sep = {0x000D, 0x0007};
  CHECK(std::wstring(body) == L"Mobile: 222" + sep + L"Boat: 333");

  contact.text[ContactField::WorkPhone2] = Str(L"444");
  PopupWnd::ComposeAppointment(contact, subject, body);
  CHECK(std::wstring(body) ==
        L"Work phone: 111" + sep + L"Work phone: 444" + sep + L"Mobile: 222" + sep + L"Boat: 333");
}
