// A control made by someone else, taken over by an object: the control's procedure is replaced by the
// shared one, which hands every message to the object's WindowProc; CallOld reaches the control's own.
#pragma once
#include <windows.h>

class SubclassWindow {
 public:
  SubclassWindow();
  virtual ~SubclassWindow();
  virtual LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
  virtual void OnAttach();

  HWND Create(DWORD exStyle, const wchar_t* className, const wchar_t* title, DWORD style, int x, int y, int w,
              int h, HWND parent, UINT id, HINSTANCE instance);
  // Fails on a null or dead handle and then changes nothing.
  BOOL Attach(HWND window);
  BOOL AttachDlgItem(int id, HWND dialog);
  void Detach();
  LRESULT CallOld(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
  HWND GetHwnd() const { return hwnd; }
  WNDPROC GetOldProc() const { return oldProc; }

  static LRESULT CALLBACK SharedProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

 protected:
  HWND hwnd;
  WNDPROC oldProc;
};
