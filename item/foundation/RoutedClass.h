// Registration of a window class whose messages go to one of the window bases' shared procedures.
#pragma once
#include <windows.h>

// A class with no extra bytes, icon or menu that routes to `procedure`; true when registered.
BOOL RegisterRoutedClass(const wchar_t* name, UINT style, HCURSOR cursor, HBRUSH brush, HINSTANCE instance,
                         WNDPROC procedure);
