// The part of the screen that a top-level window follows as the input panel comes and goes.
#pragma once
#include <windows.h>

// The visible desktop that the shell reports for the input panel; with the panel off, less the menu
// bar at the bottom of the screen (with the panel on, the panel stands over the bar). `panelOn`, when
// given, learns whether the panel is shown. False with the platform's last error when the shell gives
// no answer.
bool GetFittedWorkArea(RECT& area, bool* panelOn = nullptr);
