#include "foundation/RoutedClass.h"

BOOL RegisterRoutedClass(const wchar_t* name, UINT style, HCURSOR cursor, HBRUSH brush, HINSTANCE instance,
                         WNDPROC procedure) {
  WNDCLASSW wc = {};
  wc.style = style;
  wc.lpfnWndProc = procedure;
  wc.hInstance = instance;
  wc.hCursor = cursor;
  wc.hbrBackground = brush;
  wc.lpszClassName = name;
  return ::RegisterClassW(&wc) != 0;
}
