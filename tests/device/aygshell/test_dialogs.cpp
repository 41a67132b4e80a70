// SHInitDialog on a real dialog: the size it takes, the navigation bar's button, the input panel and
// the empty menu bar.
#include <doctest/doctest.h>
#include <windows.h>

#include <DeviceShell.h>
#include <aygshell.h>

#include "AygTestSupport.h"

using namespace aygtest;

namespace {

INT_PTR CALLBACK DialogProc(HWND, UINT message, WPARAM, LPARAM) { return message == WM_INITDIALOG; }

// A modeless dialog from an empty template in memory.
HWND MakeDialog() {
  struct {
    DLGTEMPLATE header;
    WORD menu, windowClass, title;
  } tmpl{};
  tmpl.header.style = WS_POPUP | WS_VISIBLE | DS_MODALFRAME;
  tmpl.header.cx = 80;
  tmpl.header.cy = 40;
  return CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &tmpl.header, nullptr, DialogProc, 0);
}

RECT RectOf(HWND hwnd) {
  RECT rect;
  GetWindowRect(hwnd, &rect);
  return rect;
}

bool Init(HWND dialog, DWORD flags) {
  SHINITDLGINFO info{};
  info.dwMask = SHIDIM_FLAGS;
  info.hDlg = dialog;
  info.dwFlags = flags;
  return SHInitDialog(&info) != FALSE;
}

UINT_PTR NavigationButton(HWND dialog) {
  return reinterpret_cast<UINT_PTR>(GetPropW(dialog, DEVICE_NAVIGATION_BUTTON_PROPERTY));
}

}  // namespace

TEST_CASE("SHInitDialog: full screen is the desktop below the title bar, above the menu bar, panel or not") {
  const RECT work = WorkArea();
  const RECT full = {work.left, work.top + ScaleY(26), work.right, work.bottom - ScaleY(26)};
  for (bool panel : {false, true}) {
    CAPTURE(panel);
    SetPanel(panel);
    HWND dialog = MakeDialog();
    REQUIRE(dialog != nullptr);
    MarkJournal();
    // The flags of the item's shell dialogs: done button and full screen.
    CHECK(Init(dialog, SHIDIF_DONEBUTTON | SHIDIF_SIZEDLGFULLSCREEN));
    CHECK(Text(RectOf(dialog)) == Text(full));
    CHECK(NavigationButton(dialog) == IDOK);
    CHECK(PanelOn() == panel);
    CHECK(SHFindMenuBar(dialog) == nullptr);
    CHECK(AygJournalHas("dialog #32770: init flags 0x5"));
    DestroyWindow(dialog);
  }
  SetPanel(false);
}

TEST_CASE("SHInitDialog: the plain size follows the panel; without a menu bar it reaches the bottom") {
  const RECT work = WorkArea();
  HWND dialog = MakeDialog();
  REQUIRE(dialog != nullptr);
  SetPanel(false);
  CHECK(Init(dialog, SHIDIF_SIZEDLG));
  CHECK(Text(RectOf(dialog)) ==
        Text(RECT{work.left, work.top + ScaleY(26), work.right, work.bottom - ScaleY(26)}));
  SetPanel(true);
  CHECK(Init(dialog, SHIDIF_SIZEDLG));
  const int panelTop = work.bottom - ScaleY(26) - ScaleY(80);
  CHECK(Text(RectOf(dialog)) == Text(RECT{work.left, work.top + ScaleY(26), work.right, panelTop}));
  CHECK(Init(dialog, SHIDIF_FULLSCREENNOMENUBAR));
  CHECK(Text(RectOf(dialog)) == Text(RECT{work.left, work.top + ScaleY(26), work.right, work.bottom}));
  CHECK(NavigationButton(dialog) == 0);
  DestroyWindow(dialog);
  SetPanel(false);
}

TEST_CASE("SHInitDialog: the panel goes down, an empty menu bar comes, a cancel button; bad calls fail") {
  HWND dialog = MakeDialog();
  REQUIRE(dialog != nullptr);
  RECT before = RectOf(dialog);
  SetPanel(true);
  CHECK(Init(dialog, SHIDIF_SIPDOWN | SHIDIF_EMPTYMENU | SHIDIF_CANCELBUTTON));
  CHECK_FALSE(PanelOn());
  HWND bar = SHFindMenuBar(dialog);
  REQUIRE(bar != nullptr);
  CHECK(GetWindow(bar, GW_OWNER) == dialog);
  CHECK(NavigationButton(dialog) == IDCANCEL);
  // Without a size flag the dialog stays where it was.
  CHECK(Text(RectOf(dialog)) == Text(before));

  SHINITDLGINFO info{};
  info.dwMask = 0;
  info.hDlg = dialog;
  info.dwFlags = SHIDIF_SIZEDLG;
  SetLastError(0);
  CHECK_FALSE(SHInitDialog(&info));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  SetLastError(0);
  CHECK_FALSE(SHInitDialog(nullptr));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  DestroyWindow(dialog);
  CHECK_FALSE(IsWindow(bar));
  SetLastError(0);
  CHECK_FALSE(Init(dialog, SHIDIF_SIZEDLG));
  CHECK(GetLastError() == ERROR_INVALID_WINDOW_HANDLE);
}
