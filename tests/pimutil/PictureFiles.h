// Pictures made by the tests themselves: PNG files of every colour type and bit depth (with a zlib
// stream of stored blocks, so that no encoder under test makes them), BMP files of every bit depth the
// format has, and bitmaps of known pixels; and the pixels of a bitmap read back.
#pragma once
#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pictures {

typedef std::vector<uint8_t> Bytes;
// A pixel as 0x00RRGGBB.
typedef std::function<uint32_t(int x, int y)> Colours;

// PNG colour types.
const int kGray = 0, kRgb = 2, kPalette = 3, kGrayAlpha = 4, kRgba = 6;

struct PngLayout {
  int width = 1;
  int height = 1;
  int bitDepth = 8;
  int colourType = kRgb;
  bool interlaced = false;
  // Sample `channel` of pixel (x, y), at most 2^bitDepth - 1: for the palette the index.
  std::function<uint32_t(int x, int y, int channel)> sample;
  std::vector<uint32_t> palette;  // 0x00RRGGBB each
};
Bytes MakePng(const PngLayout& layout);

struct BmpLayout {
  int width = 1;
  int height = 1;
  int bitsPerPixel = 24;  // 1, 4, 8, 16, 24, 32
  bool topDown = false;
  bool bitfields565 = false;  // 16 bits as 5-6-5 with BI_BITFIELDS, else 5-5-5
  // The pixel value as stored: the palette index, the 16-bit word, or 0x00RRGGBB.
  std::function<uint32_t(int x, int y)> value;
  std::vector<uint32_t> palette;  // 0x00RRGGBB each
};
Bytes MakeBmp(const BmpLayout& layout);

// A 24-bit bitmap with these colours; the caller deletes it.
HBITMAP MakeBitmap(int width, int height, const Colours& colours);
// The pixels of a bitmap as 0x00RRGGBB, rows from the top; empty when it can't be read.
std::vector<uint32_t> PixelsOf(HBITMAP bitmap, int* width = nullptr, int* height = nullptr);

// The device's temporary folder with `name`.
std::wstring TempPath(const std::wstring& name);

}  // namespace pictures
