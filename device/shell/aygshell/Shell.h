// What the parts of the shell library share: the module, the screen's geometry and the journal.
#pragma once
#include <windows.h>

namespace ayg {

extern HINSTANCE g_module;

// Pixels at the screen's density for a size given at 96 dpi.
int ScaleY(int units);

// The screen's work area, the whole screen when the system has none.
RECT WorkArea();

// The shell's bars and the input panel, all as high as the platform draws them at 96 dpi.
int NavigationBarHeight();  // the title bar across the top of the screen
int MenuBarHeight();        // the menu bar across the bottom
int PanelHeight();          // the input panel, docked just above the menu bar

// The part of the work area that applications may use: below the navigation bar, down to the bottom of
// the screen with the panel off, and down to the panel's top with it on.
RECT VisibleDesktop(bool panelOn);
// Where the docked panel stands, shown or not.
RECT PanelRect();

// One line in the device journal under the source "aygshell".
void Journal(const wchar_t* format, ...);

// The window's class name, for the journal.
const wchar_t* ClassOf(HWND hwnd, wchar_t* buffer, int size);

// The input panel, shared by every process of the device.
bool PanelShown();
// Sets the panel's SIPF_ON and SIPF_LOCKED bits; a change is journalled and announced to every
// top-level window as WM_SETTINGCHANGE with SPI_SETSIPINFO.
void SetPanel(DWORD flags, const wchar_t* why);
DWORD PanelFlags();

// Private message of the menu bar window: wParam 1 shows its input panel button, 0 hides it.
constexpr UINT kMsgShowPanelButton = WM_USER + 500;

}  // namespace ayg
