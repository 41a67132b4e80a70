#include "foundation/ClassWindow.h"
#include "foundation/RoutedClass.h"

ClassWindow::ClassWindow(const wchar_t* name, HINSTANCE module)
    : className(name), instance(module), hwnd(nullptr) {}

ClassWindow::~ClassWindow() { Destroy(); }

LRESULT ClassWindow::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

BOOL ClassWindow::RegisterClass(UINT style, HBRUSH brush, HCURSOR cursor) {
  return RegisterRoutedClass(className, style, cursor, brush, instance, SharedProc);
}

void ClassWindow::UnregisterClass() {
  if (className.GetLength() != 0) ::UnregisterClassW(className, instance);
}

BOOL ClassWindow::Create(const wchar_t* title, DWORD style, HWND parent, const RECT& rect, DWORD exStyle) {
  // The rectangle's four numbers are position and size.
  CreateWindowExW(exStyle, className, title, style, rect.left, rect.top, rect.right, rect.bottom, parent,
                  nullptr, instance, this);
  return hwnd != nullptr;
}

void ClassWindow::Destroy() {
  if (hwnd && IsWindow(hwnd)) DestroyWindow(hwnd);
  hwnd = nullptr;
}

LRESULT CALLBACK ClassWindow::SharedProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  ClassWindow* self = reinterpret_cast<ClassWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) {
    if (message != WM_CREATE) return DefWindowProcW(window, message, wParam, lParam);
    self = static_cast<ClassWindow*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
    if (!self) return DefWindowProcW(window, message, wParam, lParam);
    self->hwnd = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  LRESULT result = self->WindowProc(message, wParam, lParam);
  if (message == WM_DESTROY) {
    self->hwnd = nullptr;
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  }
  return result;
}
