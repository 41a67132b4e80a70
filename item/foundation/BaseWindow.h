// Window objects: a platform window bound to an object through its user word, every message routed
// to one virtual WindowProc. There is no message map; a derived class switches over the numbers.
#pragma once
#include <windows.h>
#include "foundation/FittedWindow.h"
#include "foundation/Str.h"

// A window of the system's own class.
class BaseWindow : public FittedWindow {
 public:
  BaseWindow();
  ~BaseWindow() override;
  virtual LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

  // Registers a class that routes to the shared procedure; only while no window exists.
  BOOL RegisterClass(const wchar_t* name, UINT style, HCURSOR cursor, HBRUSH brush, HINSTANCE instance);
  // Creates the window with this object as the creation parameter; registers "ZovrixWndCls" first
  // when no class was registered.
  HWND Create(DWORD exStyle, const wchar_t* title, DWORD style, int x, int y, int w, int h, HWND parent,
              UINT id, HINSTANCE instance);
  const wchar_t* GetClassName() const { return className; }

  static LRESULT CALLBACK SharedProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

 protected:
  BOOL KeepClassName(const wchar_t* name);

  wchar_t* className;
};
