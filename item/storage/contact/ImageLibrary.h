// The product's image library, ZovrixPimUtil.dll, as the contacts' photos use it: PNG and BMP files
// read into 24-bit bitmaps, bitmaps written as PNG files.
//
// The data side runs in programs that seldom touch a picture (the tools, a rebuild of the index), so
// the library, and the platform's imaging component that it brings along, is loaded at the first
// picture a process reads or writes, not at every start, and then kept for the life of the process.
// Each call fails with the platform's last error when the library or its entry can't be found.
#pragma once

#include <windows.h>

// A bitmap the caller deletes, or null. `width` and `height` may be null.
HBITMAP ImageLoadPng(const wchar_t* path, int* width, int* height);
HBITMAP ImageLoadBmp(const wchar_t* path, int* width, int* height);
bool ImageSavePng(HBITMAP bitmap, const wchar_t* path);
