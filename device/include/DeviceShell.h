// Names the stand-in device's shell parts share among themselves (aygshell.dll, TodayHost.exe): not the
// platform's, and never used by the item.
#pragma once

// Window property of a menu bar window: the window it serves, as given to SHCreateMenuBar.
#define DEVICE_MENUBAR_OWNER_PROPERTY L"MenuBarOwner"
// Window property of a window whose navigation bar shows a button (SHInitDialog): IDOK or IDCANCEL.
#define DEVICE_NAVIGATION_BUTTON_PROPERTY L"NavigationButton"
// Window property with the SHFS_HIDE... bits of the shell parts a window hid (SHFullScreen).
#define DEVICE_FULLSCREEN_PROPERTY L"FullScreenHidden"
// Named mapping with the input panel's state, shared by the device's processes.
#define DEVICE_INPUT_PANEL_MAPPING L"PagemarkDeviceInputPanel"
// Registry key (HKEY_CURRENT_USER) of the notifications put up: a subkey "{class id} id" for each, with
// the values Title, HTML, Priority, Duration and Flags.
#define DEVICE_NOTIFICATIONS_KEY L"Software\\PagemarkDevice\\Notifications"
