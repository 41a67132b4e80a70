// Dialogs that take the screen the way the platform's dialogs do, and windows that hide parts of the
// shell (SHFullScreen).
#include <aygshell.h>
#include <winuserm.h>

#include <DeviceShell.h>

#include "Shell.h"

namespace ayg {

namespace {

// The button the navigation bar shows for a window: IDOK ("ok") or IDCANCEL ("x"). The Today screen's
// script taps it.
constexpr wchar_t kNavigationButton[] = DEVICE_NAVIGATION_BUTTON_PROPERTY;
// The parts of the shell a window hid with SHFullScreen: its SHFS_HIDE... bits.
constexpr wchar_t kHiddenParts[] = DEVICE_FULLSCREEN_PROPERTY;

constexpr DWORD kShowBits = SHFS_SHOWTASKBAR | SHFS_SHOWSIPBUTTON | SHFS_SHOWSTARTICON;
constexpr DWORD kHideBits = SHFS_HIDETASKBAR | SHFS_HIDESIPBUTTON | SHFS_HIDESTARTICON;

}  // namespace

}  // namespace ayg

using namespace ayg;

extern "C" BOOL SHInitDialog(PSHINITDLGINFO info) {
  if (!info || !(info->dwMask & SHIDIM_FLAGS)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (!info->hDlg || !IsWindow(info->hDlg)) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  const HWND dialog = info->hDlg;
  const DWORD flags = info->dwFlags;
  wchar_t name[64];
  Journal(L"dialog %ls: init flags 0x%lx", ClassOf(dialog, name, 64), flags);

  if (flags & SHIDIF_SIPDOWN) SetPanel(PanelFlags() & ~SIPF_ON, L"SHInitDialog");

  if (flags & (SHIDIF_SIZEDLG | SHIDIF_SIZEDLGFULLSCREEN | SHIDIF_FULLSCREENNOMENUBAR)) {
    // Full screen is the visible desktop with the panel off; the plain size follows the panel. Room is
    // left for the menu bar unless the panel stands on it or the caller wants none.
    const bool panelOn = (flags & SHIDIF_SIZEDLG) &&
                         !(flags & (SHIDIF_SIZEDLGFULLSCREEN | SHIDIF_FULLSCREENNOMENUBAR)) && PanelShown();
    RECT rect = VisibleDesktop(panelOn);
    if (!panelOn && !(flags & SHIDIF_FULLSCREENNOMENUBAR)) rect.bottom -= MenuBarHeight();
    SetWindowPos(dialog, nullptr, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
  }

  if (flags & SHIDIF_DONEBUTTON)
    SetPropW(dialog, kNavigationButton, reinterpret_cast<HANDLE>(static_cast<INT_PTR>(IDOK)));
  else if (flags & SHIDIF_CANCELBUTTON)
    SetPropW(dialog, kNavigationButton, reinterpret_cast<HANDLE>(static_cast<INT_PTR>(IDCANCEL)));

  if (flags & SHIDIF_EMPTYMENU) {
    SHMENUBARINFO bar{};
    bar.cbSize = sizeof bar;
    bar.hwndParent = dialog;
    bar.dwFlags = SHCMBF_EMPTYBAR;
    if (!SHCreateMenuBar(&bar)) return FALSE;
  }
  return TRUE;
}

extern "C" BOOL SHFullScreen(HWND hwnd, DWORD state) {
  if (!hwnd || !IsWindow(hwnd)) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  // Each part is shown or hidden, not both; no other bits exist.
  if ((state & ~(kShowBits | kHideBits)) || ((state & kHideBits) & ((state & kShowBits) << 1))) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  DWORD hidden = static_cast<DWORD>(reinterpret_cast<UINT_PTR>(GetPropW(hwnd, kHiddenParts)));
  hidden = (hidden | (state & kHideBits)) & ~((state & kShowBits) << 1);
  if (hidden)
    SetPropW(hwnd, kHiddenParts, reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(hidden)));
  else
    RemovePropW(hwnd, kHiddenParts);

  // The input panel's button lives on the window's menu bar.
  if (state & (SHFS_SHOWSIPBUTTON | SHFS_HIDESIPBUTTON)) {
    if (HWND bar = SHFindMenuBar(hwnd))
      SendMessageW(bar, kMsgShowPanelButton, (state & SHFS_SHOWSIPBUTTON) ? 1 : 0, 0);
  }
  wchar_t name[64];
  Journal(L"full screen %ls: flags 0x%lx, hidden 0x%lx", ClassOf(hwnd, name, 64), state, hidden);
  return TRUE;
}
