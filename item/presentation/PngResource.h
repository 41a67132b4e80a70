// Pictures among the resources of a module (the bar's icons, the default pictures): resources of the
// type "PNG", decoded by the product's image library.
#pragma once

#include <windows.h>

// The PNG resource `id` of `instance` as a 24-bit bitmap, or null when any step fails (no such
// resource, an empty one, a picture that doesn't decode). `width` and `height` may be null.
HBITMAP LoadPngResource(HINSTANCE instance, int id, int* width = nullptr, int* height = nullptr);
