// The helpers that the two hidden windows of the change events share: a class of their own whose
// procedure finds the object through the window's user word, and a timer that can't fire late.
#pragma once
#include <windows.h>

// Registers `name` with `proc` (a class that exists already is fine) and creates a hidden window of it
// with `object` as the creation parameter. Null when either fails.
HWND CreateHiddenWindow(HINSTANCE instance, const wchar_t* name, WNDPROC proc, void* object);
// At WM_CREATE keeps the creation parameter in the user word; then gives what the user word holds.
void* HiddenWindowObject(HWND hwnd, UINT message, LPARAM lParam);
// Timer 1 of the window, started anew: a running one is stopped first.
BOOL StartWindowTimer(HWND hwnd, UINT ms);
// Kills timer 1 and takes every WM_TIMER already queued for the window off the queue.
void StopWindowTimer(HWND hwnd);
