// The screen's one pointer put where a test's stylus presses. Tests press with posted messages, but the
// display's pointer stays wherever the last program left it, and the system reports it to the window
// under it as a mouse move, for example when that window appears. Such a move during a held press reads
// as the stylus sliding away and cancels the hold. With the pointer on the press point first, every move
// the system reports is a stylus that stays where it pressed.
#pragma once
#include <windows.h>

namespace stylus {

// Moves the pointer to `point` in the client coordinates of `window`, then runs this thread's messages
// until the pointer reads there and the mouse input that came before has been handled. False when the
// pointer doesn't get there within `timeoutMs`.
bool PutPointerAt(HWND window, POINT point, DWORD timeoutMs = 3000);

}  // namespace stylus
