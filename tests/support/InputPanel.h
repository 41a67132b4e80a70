// The device's input panel as tests set and read it, through the shell library.
#pragma once
#include <windows.h>

namespace inputpanel {

// Shows or hides the panel. The shell announces a change to every top-level window at once, as
// WM_SETTINGCHANGE with SPI_SETSIPINFO; the messages this thread was sent are handled on return.
void Set(bool on);
bool IsOn();

// The visible desktop that the shell reports now.
RECT VisibleDesktop();

}  // namespace inputpanel
