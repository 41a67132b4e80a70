#include "foundation/BaseWindow.h"
#include "foundation/RoutedClass.h"
#include <new>

static const wchar_t kDefaultClass[] = L"ZovrixWndCls";

BaseWindow::BaseWindow() : className(nullptr) {}

BaseWindow::~BaseWindow() {
  if (hwnd && IsWindow(hwnd)) {
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, 0);
    DestroyWindow(hwnd);
  }
  hwnd = nullptr;
  delete[] className;
}

LRESULT BaseWindow::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return DefWindowProcW(window, message, wParam, lParam);
}

BOOL BaseWindow::RegisterClass(const wchar_t* name, UINT style, HCURSOR cursor, HBRUSH brush,
                               HINSTANCE instance) {
  if (hwnd || !name) return FALSE;
  if (!RegisterRoutedClass(name, style, cursor, brush, instance, SharedProc)) return FALSE;
  return KeepClassName(name);
}

BOOL BaseWindow::KeepClassName(const wchar_t* name) {
  size_t length = wcslen(name) + 1;
  wchar_t* copy = new (std::nothrow) wchar_t[length];
  if (!copy) return FALSE;
  wcscpy(copy, name);
  delete[] className;
  className = copy;
  return TRUE;
}

HWND BaseWindow::Create(DWORD exStyle, const wchar_t* title, DWORD style, int x, int y, int w, int h,
                        HWND parent, UINT id, HINSTANCE instance) {
  if (!className && !RegisterClass(kDefaultClass, CS_HREDRAW | CS_VREDRAW, nullptr,
                                   static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)), instance)) {
    // The default class is shared by every object of the module: an earlier object registered it.
    if (GetLastError() != ERROR_CLASS_ALREADY_EXISTS || !KeepClassName(kDefaultClass)) return nullptr;
  }
  return CreateWindowExW(exStyle, className, title, style, x, y, w, h, parent,
                         reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), instance, this);
}

LRESULT CALLBACK BaseWindow::SharedProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  BaseWindow* self = reinterpret_cast<BaseWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) {
    // Nothing reaches the object before WM_CREATE.
    if (message != WM_CREATE) return DefWindowProcW(window, message, wParam, lParam);
    self = static_cast<BaseWindow*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
    if (!self) return DefWindowProcW(window, message, wParam, lParam);
    self->hwnd = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    return self->WindowProc(window, message, wParam, lParam);
  }
  if (message == WM_DESTROY) {
    LRESULT result = self->WindowProc(window, message, wParam, lParam);
    self->hwnd = nullptr;
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    return result;
  }
  self->NoteFitMessage(message, wParam, lParam);
  return self->WindowProc(window, message, wParam, lParam);
}
