// The logical resolution that the window bases scale their sizes by. Every size is written at 96 dpi
// and scaled as (size * dpi + 48) / 96, or in the equivalent form (dpi + a) * b / 96 with a * b = 48.
#pragma once

// Read once per process from the screen; the setting RealVGA at 1 forces 192 in both directions, so
// that a device that pretends to 96 dpi on a VGA screen gets the double-size layout.
int LogicalDpiX();
int LogicalDpiY();

// Height of the shell's menu bar at the bottom of the screen.
inline int MenuBarHeight() { return (LogicalDpiY() * 26 + 48) / 96; }
