// The input panel of the device: SHSipInfo and SHSipPreference on real windows, the announcement to
// every top-level window, and the library's exports by name and by the platform's ordinals.
#include <doctest/doctest.h>
#include <windows.h>

#include <DeviceShell.h>
#include <aygshell.h>
#include <winuserm.h>

#include <cstddef>

#include "AygTestSupport.h"
#include "TestPaths.h"

using namespace aygtest;

TEST_CASE("aygshell.h: the platform's numbers and the record layouts of this build") {
  CHECK(SHCMBM_OVERRIDEKEY == 1427);
  CHECK(SHCMBM_SETSUBMENU == 0x400 + 400);
  CHECK(SHCMBM_GETSUBMENU == 0x400 + 401);
  CHECK(SHCMBM_GETMENU == 0x400 + 402);
  CHECK(SHCMBM_SETBKCOLOR == 0x400 + 406);
  CHECK(SHMBOF_NODEFAULT == 1);
  CHECK(SHMBOF_NOTIFY == 2);
  CHECK(SHCMBF_EMPTYBAR == 1);
  CHECK(SHCMBF_HIDDEN == 2);
  CHECK(SHCMBF_HIDESIPBUTTON == 4);
  CHECK(SHCMBF_COLORBK == 8);
  CHECK(SHCMBF_HMENU == 0x10);
  CHECK(SHFS_SHOWTASKBAR == 1);
  CHECK(SHFS_HIDETASKBAR == 2);
  CHECK(SHFS_SHOWSIPBUTTON == 4);
  CHECK(SHFS_HIDESIPBUTTON == 8);
  CHECK(SHFS_SHOWSTARTICON == 0x10);
  CHECK(SHFS_HIDESTARTICON == 0x20);
  CHECK(SPI_SETSIPINFO == 224);
  CHECK(SPI_GETSIPINFO == 225);
  CHECK(SIPF_ON == 1);
  CHECK(SIPF_DOCKED == 2);
  CHECK(SIPF_LOCKED == 4);
  CHECK(SIPF_DISABLECOMPLETION == 8);
  CHECK(SIP_UP == 0);
  CHECK(SIP_DOWN == 1);
  CHECK(SIP_FORCEDOWN == 2);
  CHECK(SIP_UNCHANGED == 3);
  CHECK(SIP_INPUTDIALOG == 4);
  CHECK(SHIDIM_FLAGS == 1);
  CHECK(SHIDIF_DONEBUTTON == 1);
  CHECK(SHIDIF_SIZEDLG == 2);
  CHECK(SHIDIF_SIZEDLGFULLSCREEN == 4);
  CHECK(SHIDIF_SIPDOWN == 8);
  CHECK(SHIDIF_FULLSCREENNOMENUBAR == 0x10);
  CHECK(SHIDIF_EMPTYMENU == 0x20);
  CHECK(SHIDIF_WANTSCROLLBAR == 0x40);
  CHECK(SHIDIF_CANCELBUTTON == 0x80);
  CHECK(SHRG_RETURNCMD == 1);
  CHECK(SHRG_NOTIFYPARENT == 2);
  CHECK(SHRG_LONGDELAY == 8);
  CHECK(SHRG_NOANIMATION == 0x10);
  CHECK(GN_CONTEXTMENU == 1000);
  CHECK(SHNP_INFORM == 0x1B1);
  CHECK(SHNP_ICONIC == 0x1B2);
  CHECK(NOTIF_NUM_SOFTKEYS == 2);
  CHECK(VK_TTALK == 114);
  CHECK(VK_TEND == 115);
  CHECK(VK_TSOFT1 == VK_F1);
  CHECK(VK_THOME == VK_LWIN);
  CHECK(VK_TBACK == VK_ESCAPE);

  // Words first, then the handles and pointers at their natural size.
  CHECK(offsetof(SIPINFO, fdwFlags) == 4);
  CHECK(offsetof(SIPINFO, rcVisibleDesktop) == 8);
  CHECK(offsetof(SIPINFO, rcSipRect) == 0x18);
  CHECK(offsetof(SIPINFO, dwImDataSize) == 0x28);
  CHECK(offsetof(SIPINFO, pvImData) == 0x30);
  CHECK(offsetof(SHMENUBARINFO, hwndParent) == 8);
  CHECK(offsetof(SHMENUBARINFO, hwndMB) > offsetof(SHMENUBARINFO, cBmpImages));
  CHECK(offsetof(SHMENUBARINFO, clrBk) == offsetof(SHMENUBARINFO, hwndMB) + sizeof(HWND));
  CHECK(offsetof(SHRGINFO, ptDown) == 16);
  CHECK(offsetof(SHRGINFO, dwFlags) == 24);
  CHECK(offsetof(NMRGINFO, ptAction) == sizeof(NMHDR));
  CHECK(offsetof(SHINITDLGINFO, dwFlags) == 16);
}

TEST_CASE("aygshell.dll exports each function by name and at the platform's ordinal") {
  HMODULE library = LoadLibraryW((testpaths::BinDir() + L"aygshell.dll").c_str());
  REQUIRE(library != nullptr);
  const struct {
    int ordinal;
    const char* name;
  } exports[] = {{4, "SHSipInfo"},           {21, "SHSipPreference"},       {34, "SHCreateMenuBar"},
                 {40, "SHRecognizeGesture"}, {56, "SHInitDialog"},          {65, "SHFullScreen"},
                 {155, "SHNotificationAdd"}, {157, "SHNotificationRemove"}, {188, "SHFindMenuBar"}};
  for (const auto& e : exports) {
    CAPTURE(e.name);
    FARPROC byName = GetProcAddress(library, e.name);
    FARPROC byOrdinal = GetProcAddress(library, MAKEINTRESOURCEA(e.ordinal));
    REQUIRE((byName != nullptr));
    CHECK((byOrdinal == byName));
  }

  // Ordinal 21 is the one the item may take without a name: it moves the panel.
  using Preference = BOOL (*)(HWND, SIPSTATE);
  auto preference =
      reinterpret_cast<Preference>(reinterpret_cast<void*>(GetProcAddress(library, MAKEINTRESOURCEA(21))));
  HWND window = MakeWindow();
  REQUIRE(window != nullptr);
  SetPanel(false);
  CHECK(preference(window, SIP_UP));
  CHECK(PanelOn());
  CHECK(preference(window, SIP_FORCEDOWN));
  CHECK_FALSE(PanelOn());
  DestroyWindow(window);
  FreeLibrary(library);
}

TEST_CASE("SHSipInfo: with the panel off the visible desktop runs from below the title bar to the bottom") {
  SetPanel(false);
  SIPINFO info{};
  info.cbSize = sizeof info;
  info.dwImDataSize = 99;
  REQUIRE(SHSipInfo(SPI_GETSIPINFO, 0, &info, 0));
  const RECT work = WorkArea();
  CHECK((info.fdwFlags & SIPF_ON) == 0);
  CHECK((info.fdwFlags & SIPF_DOCKED) != 0);
  const RECT visible = {work.left, work.top + ScaleY(26), work.right, work.bottom};
  const RECT panel = {work.left, work.bottom - ScaleY(26) - ScaleY(80), work.right, work.bottom - ScaleY(26)};
  CHECK(Text(info.rcVisibleDesktop) == Text(visible));
  // The docked panel stands on the menu bar, shown or not.
  CHECK(Text(info.rcSipRect) == Text(panel));
  CHECK(info.dwImDataSize == 0);
  CHECK(info.pvImData == nullptr);
}

TEST_CASE(
    "SHSipInfo: SPI_SETSIPINFO shows the panel, the desktop ends at its top, every top-level window hears") {
  SetPanel(false);
  HWND shown = MakeWindow();
  HWND hidden = MakeWindow(nullptr, 0, 40, 100, 100, false);
  HWND child = MakeWindow(shown, 0, 0, 50, 50);
  REQUIRE(shown != nullptr);
  REQUIRE(hidden != nullptr);
  REQUIRE(child != nullptr);
  g_received.clear();
  MarkJournal();

  SIPINFO set{};
  set.cbSize = sizeof set;
  set.fdwFlags = SIPF_ON;
  REQUIRE(SHSipInfo(SPI_SETSIPINFO, 0, &set, 0));
  Pump();
  for (HWND top : {shown, hidden}) {
    std::vector<Received> changes = Of(top, WM_SETTINGCHANGE);
    REQUIRE(changes.size() == 1);
    CHECK(changes[0].wParam == SPI_SETSIPINFO);
  }
  CHECK(Of(child, WM_SETTINGCHANGE).empty());
  CHECK(AygJournalHas("input panel on by SHSipInfo"));

  SIPINFO info{};
  info.cbSize = sizeof info;
  REQUIRE(SHSipInfo(SPI_GETSIPINFO, 0, &info, 0));
  CHECK((info.fdwFlags & SIPF_ON) != 0);
  CHECK(info.rcVisibleDesktop.bottom == info.rcSipRect.top);
  CHECK(info.rcVisibleDesktop.top == WorkArea().top + ScaleY(26));
  CHECK(info.rcSipRect.bottom == WorkArea().bottom - ScaleY(26));

  // The same state again changes nothing and says nothing.
  g_received.clear();
  REQUIRE(SHSipInfo(SPI_SETSIPINFO, 0, &set, 0));
  Pump();
  CHECK(Of(shown, WM_SETTINGCHANGE).empty());

  set.fdwFlags = 0;
  REQUIRE(SHSipInfo(SPI_SETSIPINFO, 0, &set, 0));
  Pump();
  REQUIRE(Of(shown, WM_SETTINGCHANGE).size() == 1);
  CHECK(Of(shown, WM_SETTINGCHANGE)[0].wParam == SPI_SETSIPINFO);
  CHECK_FALSE(PanelOn());
  CHECK(AygJournalHas("input panel off by SHSipInfo"));
  DestroyWindow(hidden);
  DestroyWindow(shown);
}

TEST_CASE("SHSipInfo: the panel's state is the device's, in a mapping every process opens by its name") {
  SetPanel(true);
  HANDLE state = OpenFileMappingW(FILE_MAP_READ, FALSE, DEVICE_INPUT_PANEL_MAPPING);
  REQUIRE(state != nullptr);
  void* view = MapViewOfFile(state, FILE_MAP_READ, 0, 0, sizeof(LONG));
  REQUIRE(view != nullptr);
  auto flags = [view] { return *static_cast<const volatile LONG*>(view); };
  CHECK((flags() & SIPF_ON) != 0);
  SetPanel(false);
  CHECK((flags() & SIPF_ON) == 0);
  UnmapViewOfFile(view);
  CloseHandle(state);
}

TEST_CASE("SHSipInfo: a missing record, a wrong size and other actions fail with ERROR_INVALID_PARAMETER") {
  SetPanel(false);
  SIPINFO info{};
  info.cbSize = sizeof info;
  info.fdwFlags = SIPF_ON;
  SetLastError(0);
  CHECK_FALSE(SHSipInfo(SPI_SETSIPINFO, 0, nullptr, 0));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  info.cbSize = sizeof info - 8;
  SetLastError(0);
  CHECK_FALSE(SHSipInfo(SPI_SETSIPINFO, 0, &info, 0));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  info.cbSize = sizeof info;
  SetLastError(0);
  CHECK_FALSE(SHSipInfo(SPI_GETCURRENTIM, 0, &info, 0));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(PanelOn());
}

TEST_CASE("SHSipPreference: up and input dialog show, down and force down hide, unchanged keeps") {
  HWND window = MakeWindow();
  REQUIRE(window != nullptr);
  SetPanel(false);
  CHECK(SHSipPreference(window, SIP_UP));
  CHECK(PanelOn());
  CHECK(SHSipPreference(window, SIP_UNCHANGED));
  CHECK(PanelOn());
  CHECK(SHSipPreference(window, SIP_DOWN));
  CHECK_FALSE(PanelOn());
  CHECK(SHSipPreference(window, SIP_UNCHANGED));
  CHECK_FALSE(PanelOn());
  CHECK(SHSipPreference(window, SIP_INPUTDIALOG));
  CHECK(PanelOn());
  CHECK(SHSipPreference(window, SIP_FORCEDOWN));
  CHECK_FALSE(PanelOn());

  SetLastError(0);
  CHECK_FALSE(SHSipPreference(nullptr, SIP_UP));
  CHECK(GetLastError() == ERROR_INVALID_WINDOW_HANDLE);
  SetLastError(0);
  CHECK_FALSE(SHSipPreference(window, static_cast<SIPSTATE>(9)));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(PanelOn());
  DestroyWindow(window);
  Pump();
}
