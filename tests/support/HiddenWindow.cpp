#include "HiddenWindow.h"

HWND MakeHiddenWindow(const wchar_t* windowClass, WNDPROC procedure, const wchar_t* title) {
  HINSTANCE instance = GetModuleHandleW(nullptr);
  WNDCLASSW known = {};
  if (!GetClassInfoW(instance, windowClass, &known)) {
    WNDCLASSW description = {};
    description.lpfnWndProc = procedure;
    description.hInstance = instance;
    description.lpszClassName = windowClass;
    RegisterClassW(&description);
  }
  return CreateWindowExW(0, windowClass, title, WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, instance, nullptr);
}
