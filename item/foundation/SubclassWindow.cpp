#include "foundation/SubclassWindow.h"

SubclassWindow::SubclassWindow() : hwnd(nullptr), oldProc(nullptr) {}

SubclassWindow::~SubclassWindow() {
  HWND window = hwnd;
  Detach();
  if (window && IsWindow(window)) DestroyWindow(window);
}

LRESULT SubclassWindow::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return DefWindowProcW(window, message, wParam, lParam);
}

void SubclassWindow::OnAttach() {}

HWND SubclassWindow::Create(DWORD exStyle, const wchar_t* className, const wchar_t* title, DWORD style, int x,
                            int y, int w, int h, HWND parent, UINT id, HINSTANCE instance) {
  HWND window = CreateWindowExW(exStyle, className, title, style, x, y, w, h, parent,
                                reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), instance, this);
  if (!window) return nullptr;
  if (!Attach(window)) {
    DestroyWindow(window);
    return nullptr;
  }
  return window;
}

BOOL SubclassWindow::Attach(HWND window) {
  if (!window || !IsWindow(window)) return FALSE;
  hwnd = window;
  OnAttach();
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  oldProc = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&SharedProc)));
  return TRUE;
}

BOOL SubclassWindow::AttachDlgItem(int id, HWND dialog) { return Attach(GetDlgItem(dialog, id)); }

void SubclassWindow::Detach() {
  if (hwnd && IsWindow(hwnd)) {
    if (oldProc) SetWindowLongPtrW(hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(oldProc));
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, 0);
  }
  hwnd = nullptr;
  oldProc = nullptr;
}

LRESULT SubclassWindow::CallOld(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (!oldProc) return 0;
  return CallWindowProcW(oldProc, window, message, wParam, lParam);
}

LRESULT CALLBACK SubclassWindow::SharedProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  SubclassWindow* self = reinterpret_cast<SubclassWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) return DefWindowProcW(window, message, wParam, lParam);
  if (message == WM_DESTROY) {
    LRESULT result = self->WindowProc(window, message, wParam, lParam);
    self->hwnd = nullptr;
    return result;
  }
  return self->WindowProc(window, message, wParam, lParam);
}
