// The menu bar: where it stands, whom it belongs to, the keys its owner takes over, its input panel
// button, and SHFullScreen's hold on that button.
#include <doctest/doctest.h>
#include <windows.h>

#include <DeviceShell.h>
#include <aygshell.h>

#include <cstddef>

#include "AygTestSupport.h"

using namespace aygtest;

namespace {

HWND MakeBar(HWND parent, DWORD flags) {
  SHMENUBARINFO info{};
  info.cbSize = sizeof info;
  info.hwndParent = parent;
  info.dwFlags = flags;
  if (!SHCreateMenuBar(&info)) return nullptr;
  return info.hwndMB;
}

void ClickPanelButton(HWND bar) {
  RECT client;
  GetClientRect(bar, &client);
  SendMessageW(bar, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(client.right / 2, client.bottom / 2));
  SendMessageW(bar, WM_LBUTTONUP, 0, MAKELPARAM(client.right / 2, client.bottom / 2));
  Pump();
}

}  // namespace

TEST_CASE("SHCreateMenuBar: an empty bar across the bottom of the screen, owned by its window") {
  HWND owner = MakeWindow();
  REQUIRE(owner != nullptr);
  MarkJournal();
  SHMENUBARINFO info{};
  info.cbSize = sizeof info;
  info.hwndParent = owner;
  info.dwFlags = SHCMBF_EMPTYBAR;
  REQUIRE(SHCreateMenuBar(&info));
  HWND bar = info.hwndMB;
  REQUIRE(bar != nullptr);
  CHECK(IsWindow(bar));
  wchar_t name[32];
  REQUIRE(GetClassNameW(bar, name, 32) > 0);
  CHECK(std::wstring(name) == SHMENUBAR_CLASS);
  CHECK(GetWindow(bar, GW_OWNER) == owner);
  CHECK(GetParent(bar) == owner);  // an owned popup answers its owner
  CHECK(IsWindowVisible(bar));
  RECT rect;
  GetWindowRect(bar, &rect);
  const RECT work = WorkArea();
  CHECK(Text(rect) == Text(RECT{work.left, work.bottom - ScaleY(26), work.right, work.bottom}));
  CHECK(SendMessageW(bar, SHCMBM_GETMENU, 0, 0) == 0);
  CHECK(SHFindMenuBar(owner) == bar);
  CHECK(AygJournalHas("menu bar of AygTestWindow: created, empty"));

  // The bar goes with its window.
  DestroyWindow(owner);
  CHECK_FALSE(IsWindow(bar));
  CHECK(SHFindMenuBar(owner) == nullptr);
}

TEST_CASE("SHCreateMenuBar: hidden on request; the record without colour is taken; a bar of a child") {
  HWND owner = MakeWindow();
  HWND child = MakeWindow(owner, 10, 10, 60, 40);
  REQUIRE(child != nullptr);

  HWND hidden = MakeBar(owner, SHCMBF_EMPTYBAR | SHCMBF_HIDDEN);
  REQUIRE(hidden != nullptr);
  CHECK_FALSE(IsWindowVisible(hidden));

  SHMENUBARINFO shorter{};
  shorter.cbSize = offsetof(SHMENUBARINFO, clrBk);
  shorter.hwndParent = child;
  shorter.dwFlags = SHCMBF_EMPTYBAR;
  REQUIRE(SHCreateMenuBar(&shorter));
  // Found through the window it was made for; owned by that window's top-level window.
  CHECK(SHFindMenuBar(child) == shorter.hwndMB);
  CHECK(GetWindow(shorter.hwndMB, GW_OWNER) == owner);
  DestroyWindow(owner);
  CHECK_FALSE(IsWindow(shorter.hwndMB));
  CHECK_FALSE(IsWindow(hidden));
}

TEST_CASE("SHCreateMenuBar: a wrong size, a dead window and a bar from resources fail") {
  HWND owner = MakeWindow();
  REQUIRE(owner != nullptr);
  SHMENUBARINFO info{};
  info.cbSize = 32;
  info.hwndParent = owner;
  info.dwFlags = SHCMBF_EMPTYBAR;
  SetLastError(0);
  CHECK_FALSE(SHCreateMenuBar(&info));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(info.hwndMB == nullptr);
  SetLastError(0);
  CHECK_FALSE(SHCreateMenuBar(nullptr));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);

  info.cbSize = sizeof info;
  info.dwFlags = 0;
  info.nToolBarId = 100;
  SetLastError(0);
  CHECK_FALSE(SHCreateMenuBar(&info));
  CHECK(GetLastError() == ERROR_NOT_SUPPORTED);
  CHECK(SHFindMenuBar(owner) == nullptr);

  HWND gone = MakeWindow();
  DestroyWindow(gone);
  info.hwndParent = gone;
  info.dwFlags = SHCMBF_EMPTYBAR;
  SetLastError(0);
  CHECK_FALSE(SHCreateMenuBar(&info));
  CHECK(GetLastError() == ERROR_INVALID_WINDOW_HANDLE);
  DestroyWindow(owner);
}

TEST_CASE("SHCMBM_OVERRIDEKEY keeps the bits per key and returns the previous ones") {
  HWND owner = MakeWindow();
  HWND bar = MakeBar(owner, SHCMBF_EMPTYBAR);
  REQUIRE(bar != nullptr);
  MarkJournal();
  // Talk (114) taken over with no default and notification, as the item does.
  CHECK(SendMessageW(bar, SHCMBM_OVERRIDEKEY, 114, 0x30003) == 0);
  CHECK(SendMessageW(bar, SHCMBM_OVERRIDEKEY, 114, 0x30003) == 3);
  // A zero mask asks without changing.
  CHECK(SendMessageW(bar, SHCMBM_OVERRIDEKEY, 114, 0) == 3);
  // Other keys are apart.
  CHECK(SendMessageW(bar, SHCMBM_OVERRIDEKEY, 115, 0) == 0);
  // Only the masked bits change: NOTIFY off, NODEFAULT stays.
  CHECK(SendMessageW(bar, SHCMBM_OVERRIDEKEY, 114, MAKELPARAM(SHMBOF_NOTIFY, 0)) == 3);
  CHECK(SendMessageW(bar, SHCMBM_OVERRIDEKEY, 114, 0) == SHMBOF_NODEFAULT);
  // Giving back a kept 0 the way the item does (mask and bits both the kept low word) changes nothing.
  CHECK(SendMessageW(bar, SHCMBM_OVERRIDEKEY, 114, 0) == 1);
  CHECK(SendMessageW(bar, SHCMBM_OVERRIDEKEY, 114, MAKELPARAM(3, 0)) == 1);
  CHECK(SendMessageW(bar, SHCMBM_OVERRIDEKEY, 114, 0) == 0);

  CHECK(AygJournalHas("menu bar of AygTestWindow: key 114 override 3, was 0"));
  CHECK(AygJournalHas("menu bar of AygTestWindow: key 114 override 1, was 3"));
  CHECK(AygJournalHas("menu bar of AygTestWindow: key 114 override 0, was 1"));
  // Every call with a mask is journalled, also the one that changed nothing; questions are not.
  int lines = 0;
  for (const std::string& line : AygJournal()) lines += line.find("key 114 override") != std::string::npos;
  CHECK(lines == 4);
  DestroyWindow(owner);
}

TEST_CASE("The bar's input panel button shows and hides the panel, unless hidden or the panel is locked") {
  HWND owner = MakeWindow();
  HWND bar = MakeBar(owner, SHCMBF_EMPTYBAR);
  REQUIRE(bar != nullptr);
  SetPanel(false);
  MarkJournal();
  ClickPanelButton(bar);
  CHECK(PanelOn());
  REQUIRE(Of(owner, WM_SETTINGCHANGE).size() == 1);
  CHECK(Of(owner, WM_SETTINGCHANGE)[0].wParam == SPI_SETSIPINFO);
  ClickPanelButton(bar);
  CHECK_FALSE(PanelOn());
  CHECK(AygJournalHas("input panel on by menu bar button"));
  CHECK(AygJournalHas("input panel off by menu bar button"));

  // A tap beside the button does nothing.
  SendMessageW(bar, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(2, 2));
  CHECK_FALSE(PanelOn());

  // SHFullScreen takes the button away and gives it back.
  CHECK(SHFullScreen(owner, SHFS_HIDESIPBUTTON));
  ClickPanelButton(bar);
  CHECK_FALSE(PanelOn());
  CHECK(SHFullScreen(owner, SHFS_SHOWSIPBUTTON));
  ClickPanelButton(bar);
  CHECK(PanelOn());

  // The user can't move a locked panel.
  SetPanel(false, true);
  ClickPanelButton(bar);
  CHECK_FALSE(PanelOn());
  SetPanel(false);

  HWND without = MakeBar(owner, SHCMBF_EMPTYBAR | SHCMBF_HIDESIPBUTTON);
  REQUIRE(without != nullptr);
  ClickPanelButton(without);
  CHECK_FALSE(PanelOn());
  DestroyWindow(owner);
}

TEST_CASE("SHFullScreen: the parts a window hid are kept with it; contradictions and dead windows fail") {
  HWND window = MakeWindow();
  REQUIRE(window != nullptr);
  MarkJournal();
  CHECK(SHFullScreen(window, SHFS_HIDETASKBAR));
  CHECK(reinterpret_cast<UINT_PTR>(GetPropW(window, DEVICE_FULLSCREEN_PROPERTY)) == SHFS_HIDETASKBAR);
  CHECK(SHFullScreen(window, SHFS_HIDESTARTICON | SHFS_HIDESIPBUTTON));
  CHECK(reinterpret_cast<UINT_PTR>(GetPropW(window, DEVICE_FULLSCREEN_PROPERTY)) ==
        (SHFS_HIDETASKBAR | SHFS_HIDESTARTICON | SHFS_HIDESIPBUTTON));
  CHECK(SHFullScreen(window, SHFS_SHOWTASKBAR | SHFS_SHOWSTARTICON | SHFS_SHOWSIPBUTTON));
  CHECK(GetPropW(window, DEVICE_FULLSCREEN_PROPERTY) == nullptr);
  CHECK(AygJournalHas("full screen AygTestWindow: flags 0x2, hidden 0x2"));

  SetLastError(0);
  CHECK_FALSE(SHFullScreen(window, SHFS_SHOWTASKBAR | SHFS_HIDETASKBAR));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  SetLastError(0);
  CHECK_FALSE(SHFullScreen(window, 0x40));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(GetPropW(window, DEVICE_FULLSCREEN_PROPERTY) == nullptr);
  DestroyWindow(window);
  SetLastError(0);
  CHECK_FALSE(SHFullScreen(window, SHFS_HIDETASKBAR));
  CHECK(GetLastError() == ERROR_INVALID_WINDOW_HANDLE);
}
