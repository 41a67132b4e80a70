// Screenshots read back by the tests that drive the screen: a PNG file as rows of 32-bit pixels.
#pragma once
#include <windows.h>

#include <string>
#include <vector>

namespace screenshot {

struct Image {
  UINT width = 0, height = 0;
  std::vector<BYTE> bgra;
  COLORREF At(UINT x, UINT y) const {
    const BYTE* p = &bgra[(y * width + x) * 4];
    return RGB(p[2], p[1], p[0]);
  }
};

// Reads `path` through the platform's imaging component; false when it can't be read.
bool LoadPng(const std::wstring& path, Image* image);

}  // namespace screenshot
