#include "today/PopupWnd.h"

PopupWnd::PopupWnd()
    : hwnd(nullptr), phoneTemplates(nullptr), color1(0), color2(0), textColor(0), keepFocus(0) {}

PopupWnd::~PopupWnd() { Destroy(); }

BOOL PopupWnd::Create(HWND) {
  // LATER(popup pages): no window is made, so every operation of the popup does nothing; returns true.
  return TRUE;
}

void PopupWnd::Destroy() {
  if (hwnd && IsWindow(hwnd)) DestroyWindow(hwnd);
  hwnd = nullptr;
}

void PopupWnd::SetColors(COLORREF first, COLORREF second, COLORREF text) {
  color1 = first;
  color2 = second;
  textColor = text;
}

void PopupWnd::Hide() {
  if (hwnd) ShowWindow(hwnd, SW_HIDE);
}
