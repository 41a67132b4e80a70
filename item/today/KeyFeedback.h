// What a tap on the letter bar gives back, by the setting KeyPressFeedback of section Settings: 1 to 5
// one of the library's five key sounds, 6 a short vibration, anything else nothing.
#pragma once
#include <windows.h>

void GiveKeyFeedback(HINSTANCE module);
