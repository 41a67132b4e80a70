// HiddenTimerWindow: a hidden window of a class of its own with one timer that can't fire late. The
// procedure finds the object through the window's user word; a derived class answers the messages.
// The two windows of the change events are made of it.
#pragma once
#include <windows.h>

class HiddenTimerWindow {
 public:
  HiddenTimerWindow();
  virtual ~HiddenTimerWindow();
  // Registers `className` (a class that exists already is fine) and creates the hidden window.
  virtual BOOL Create(HINSTANCE instance, const wchar_t* className);
  virtual void Destroy();
  HWND GetHwnd() const { return hwnd; }
  // Starts the timer anew, stopping a running one first; nothing without a window.
  virtual void StartTimer(UINT ms);
  // Kills the timer; a WM_TIMER already queued for the window is dropped when it arrives.
  virtual void StopTimer();
  BOOL IsTimerRunning() const { return timerRunning; }
  // One message of the window; the default procedure for all of them here.
  virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);

 protected:
  HWND hwnd;
  BOOL timerRunning;
  UINT_PTR timerId;  // of the last start; 0 before the first

 private:
  HiddenTimerWindow(const HiddenTimerWindow&);
  HiddenTimerWindow& operator=(const HiddenTimerWindow&);
  static LRESULT CALLBACK Proc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
};
