#include "storage/HiddenTimerWindow.h"

namespace {
const UINT_PTR kTimerId = 1;
}

HWND CreateHiddenWindow(HINSTANCE instance, const wchar_t* name, WNDPROC proc, void* object) {
  WNDCLASSW wc = {};
  wc.lpfnWndProc = proc;
  wc.hInstance = instance;
  wc.lpszClassName = name;
  if (!RegisterClassW(&wc) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) return nullptr;
  return CreateWindowExW(0, name, L"", 0, 0, 0, 0, 0, nullptr, nullptr, instance, object);
}

void* HiddenWindowObject(HWND hwnd, UINT message, LPARAM lParam) {
  if (message == WM_CREATE) {
    const CREATESTRUCTW* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  return reinterpret_cast<void*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
}

BOOL StartWindowTimer(HWND hwnd, UINT ms) {
  if (!hwnd) return FALSE;
  StopWindowTimer(hwnd);
  return SetTimer(hwnd, kTimerId, ms, nullptr) != 0;
}

void StopWindowTimer(HWND hwnd) {
  if (!hwnd) return;
  KillTimer(hwnd, kTimerId);
  // A tick posted before the kill would otherwise still arrive.
  MSG msg;
  while (PeekMessageW(&msg, hwnd, WM_TIMER, WM_TIMER, PM_REMOVE)) {
  }
}
