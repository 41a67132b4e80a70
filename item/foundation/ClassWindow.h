// A window of a class that the object registers under its own name; the shared procedure binds the
// object at WM_CREATE and hands it every message after that.
#pragma once
#include <windows.h>
#include "foundation/Str.h"

// The small base of the list controls, which owns the name of its window class.
class ClassWindow {
 public:
  ClassWindow(const wchar_t* name, HINSTANCE instance);
  virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
  virtual ~ClassWindow();
  virtual BOOL Create(const wchar_t* title, DWORD style, HWND parent, const RECT& rect, DWORD exStyle);

  BOOL RegisterClass(UINT style, HBRUSH brush, HCURSOR cursor);
  void UnregisterClass();
  void Destroy();
  HWND GetHwnd() const { return hwnd; }

  static LRESULT CALLBACK SharedProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

 protected:
  Str className;
  HINSTANCE instance;
  HWND hwnd;
};
