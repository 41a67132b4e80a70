// ZovrixPimUtil.dll: the product's image library. It reads PNG and BMP pictures into bitmaps and writes
// bitmaps as PNG, through the platform's imaging component. Every bitmap it gives is a 24-bit
// device-independent section (top-down rows of blue, green, red) that the caller deletes with
// DeleteObject. A failure gives null or FALSE with the platform's last error.
#pragma once

#include <windows.h>

#ifdef PIMUTIL_BUILD
#define PIMUTIL_API extern "C" __declspec(dllexport)
#else
#define PIMUTIL_API extern "C" __declspec(dllimport)
#endif

// A PNG file; `width` and `height` (each may be null) receive its size.
PIMUTIL_API HBITMAP WINAPI Util_LoadPNG(LPCWSTR path, int* width, int* height);
// A PNG picture held in memory, such as a resource of a module.
PIMUTIL_API HBITMAP WINAPI Util_LoadMemPNG(const void* data, DWORD size, int* width, int* height);
// A BMP file.
PIMUTIL_API HBITMAP WINAPI Util_LoadBMP(LPCWSTR path, int* width, int* height);
// Writes `bitmap` as a PNG file (without alpha), replacing a file that stands there.
PIMUTIL_API BOOL WINAPI Util_SavePNG(HBITMAP bitmap, LPCWSTR path);
