// What window objects and dialog objects share: their platform window and, with autoFit set, a
// top-level window that keeps to the work area when it is activated and as the input panel comes and
// goes.
#pragma once
#include <windows.h>

class FittedWindow {
 public:
  FittedWindow() : hwnd(nullptr), autoFit(0) {}
  virtual ~FittedWindow() {}
  virtual void OnSettingChange(WPARAM wParam, LPARAM lParam);
  virtual void OnActivate(WPARAM wParam, LPARAM lParam);
  virtual void FitToWorkArea();
  HWND GetHwnd() const { return hwnd; }

 protected:
  // Hands WM_ACTIVATE to OnActivate and WM_SETTINGCHANGE to OnSettingChange; the window's own handling
  // of the message comes after.
  void NoteFitMessage(UINT message, WPARAM wParam, LPARAM lParam);

  HWND hwnd;
  int autoFit;
};
