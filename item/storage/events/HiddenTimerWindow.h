// HiddenTimerWindow: a hidden window of a class of its own with one timer that can't fire late. The
// procedure finds the object through the window's user word; a derived class answers the messages.
// The windows of the change events and of the idle work are made of it.
//
// A window is top-level, or a child of another hidden window: a top-level window is costly to make
// on some systems (each one is a window of the display server, shown or not), a child is not. A child
// goes with its parent: when the parent is destroyed first, the child's object learns it at once
// (WM_NCDESTROY) and is then without window, as after Destroy, so that the two objects may be
// destroyed in either order.
#pragma once
#include <windows.h>

class HiddenTimerWindow {
 public:
  HiddenTimerWindow();
  virtual ~HiddenTimerWindow();
  // Registers `className` (a class that exists already is fine) and creates the hidden window: a
  // top-level one without `parent`, otherwise a child of `parent`, hidden as well.
  virtual BOOL Create(HINSTANCE instance, const wchar_t* className, HWND parent = nullptr);
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
