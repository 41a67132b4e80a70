// The image library on pictures of every kind the two formats have: PNG files of each colour type
// and bit depth, interlaced or not, and BMP files of 1 to 32 bits, bottom-up and top-down, of sizes
// from a single pixel to long thin strips. Each reads as a 24-bit bitmap of its size whose pixels are
// the colours the file holds.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "PictureFiles.h"
#include "TestPaths.h"
#include "pimutil/PimUtil.h"

using namespace pictures;

namespace {

const int kSizes[][2] = {{1, 1}, {3, 2}, {17, 5}, {64, 48}, {200, 1}, {1, 90}};

// Decodes a file through the library and checks size, depth and every pixel against `expected`.
void CheckDecodes(const std::wstring& path, bool png, int width, int height, const Colours& expected) {
  int w = 0, h = 0;
  SetLastError(0);
  HBITMAP bitmap = png ? Util_LoadPNG(path.c_str(), &w, &h) : Util_LoadBMP(path.c_str(), &w, &h);
  const DWORD error = GetLastError();
  CAPTURE(error);
  REQUIRE(bitmap != nullptr);
  CHECK(w == width);
  CHECK(h == height);
  BITMAP info = {};
  REQUIRE(GetObjectW(bitmap, sizeof info, &info) == sizeof info);
  CHECK(info.bmBitsPixel == 24);
  const std::vector<uint32_t> pixels = PixelsOf(bitmap);
  DeleteObject(bitmap);
  REQUIRE(pixels.size() == static_cast<size_t>(width) * height);
  int wrong = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      if (pixels[static_cast<size_t>(y) * width + x] != expected(x, y) && wrong++ < 3) {
        CAPTURE(x);
        CAPTURE(y);
        CHECK(pixels[static_cast<size_t>(y) * width + x] == expected(x, y));
      }
    }
  }
  CHECK(wrong == 0);
}

uint32_t Level(int x, int y, int levels) { return static_cast<uint32_t>((x * 7 + y * 3) % levels); }

uint32_t Grey(uint32_t v) { return v << 16 | v << 8 | v; }

}  // namespace

TEST_CASE("PNG files of every colour type and bit depth, plain and interlaced, read as their colours") {
  const std::wstring path = TempPath(L"formats.png");
  for (const auto& size : kSizes) {
    const int width = size[0], height = size[1];
    for (bool interlaced : {false, true}) {
      CAPTURE(width);
      CAPTURE(height);
      CAPTURE(interlaced);
      // Grey of 1, 2, 4, 8 and 16 bits; 16-bit samples repeat their high byte, so that any rounding to
      // 8 bits gives that byte.
      for (int depth : {1, 2, 4, 8, 16}) {
        CAPTURE(depth);
        const uint32_t levels = depth == 16 ? 256 : 1u << depth;
        PngLayout layout;
        layout.width = width;
        layout.height = height;
        layout.bitDepth = depth;
        layout.colourType = kGray;
        layout.interlaced = interlaced;
        layout.sample = [&](int x, int y, int) {
          uint32_t v = Level(x, y, static_cast<int>(levels));
          return depth == 16 ? v * 257 : v;
        };
        REQUIRE(testpaths::WriteFileBytes(path, MakePng(layout)));
        CheckDecodes(path, true, width, height, [&](int x, int y) {
          uint32_t v = Level(x, y, static_cast<int>(levels));
          return Grey(depth == 16 ? v : v * 255 / (levels - 1));
        });
      }
      // Palettes of 1, 2, 4 and 8 bits.
      for (int depth : {1, 2, 4, 8}) {
        CAPTURE(depth);
        const int entries = 1 << depth;
        PngLayout layout;
        layout.width = width;
        layout.height = height;
        layout.bitDepth = depth;
        layout.colourType = kPalette;
        layout.interlaced = interlaced;
        for (int i = 0; i < entries; ++i)
          layout.palette.push_back(
              static_cast<uint32_t>((i * 97 % 256) << 16 | (255 - i) << 8 | (i * 31 % 256)));
        layout.sample = [&](int x, int y, int) { return Level(x, y, entries); };
        REQUIRE(testpaths::WriteFileBytes(path, MakePng(layout)));
        CheckDecodes(path, true, width, height,
                     [&](int x, int y) { return layout.palette[Level(x, y, entries)]; });
      }
      // Colour of 8 and 16 bits, with and without alpha; grey with alpha. The alpha is left out.
      struct Kind {
        int colourType, depth;
      } kinds[] = {{kRgb, 8}, {kRgb, 16}, {kRgba, 8}, {kRgba, 16}, {kGrayAlpha, 8}, {kGrayAlpha, 16}};
      for (const Kind& kind : kinds) {
        CAPTURE(kind.colourType);
        CAPTURE(kind.depth);
        PngLayout layout;
        layout.width = width;
        layout.height = height;
        layout.bitDepth = kind.depth;
        layout.colourType = kind.colourType;
        layout.interlaced = interlaced;
        auto channel = [](int x, int y, int c) -> uint32_t {
          return c == 3 || (c == 1 && false) ? 255 : static_cast<uint32_t>((x * 40 + y * 90 + c * 70) % 256);
        };
        layout.sample = [&](int x, int y, int c) {
          uint32_t v = channel(x, y, c);
          if (kind.colourType == kGrayAlpha && c == 1) v = 255;  // opaque
          if (kind.colourType == kRgba && c == 3) v = 255;
          return kind.depth == 16 ? v * 257 : v;
        };
        REQUIRE(testpaths::WriteFileBytes(path, MakePng(layout)));
        CheckDecodes(path, true, width, height, [&](int x, int y) {
          if (kind.colourType == kGrayAlpha) return Grey(channel(x, y, 0));
          return channel(x, y, 0) << 16 | channel(x, y, 1) << 8 | channel(x, y, 2);
        });
      }
    }
  }
  DeleteFileW(path.c_str());
}

TEST_CASE("BMP files of 1, 4, 8, 16, 24 and 32 bits, bottom-up and top-down, read as their colours") {
  const std::wstring path = TempPath(L"formats.bmp");
  for (const auto& size : kSizes) {
    const int width = size[0], height = size[1];
    for (bool topDown : {false, true}) {
      CAPTURE(width);
      CAPTURE(height);
      CAPTURE(topDown);
      for (int depth : {1, 4, 8}) {
        CAPTURE(depth);
        const int entries = 1 << depth;
        BmpLayout layout;
        layout.width = width;
        layout.height = height;
        layout.bitsPerPixel = depth;
        layout.topDown = topDown;
        for (int i = 0; i < entries; ++i)
          layout.palette.push_back(
              static_cast<uint32_t>((i * 53 % 256) << 16 | (i * 11 % 256) << 8 | (255 - i)));
        layout.value = [&](int x, int y) { return Level(x, y, entries); };
        REQUIRE(testpaths::WriteFileBytes(path, MakeBmp(layout)));
        CheckDecodes(path, false, width, height,
                     [&](int x, int y) { return layout.palette[Level(x, y, entries)]; });
      }
      // 16 bits: 5-5-5, and 5-6-5 by bit fields; each channel widened by repeating its top bits.
      for (bool wide : {false, true}) {
        CAPTURE(wide);
        BmpLayout layout;
        layout.width = width;
        layout.height = height;
        layout.bitsPerPixel = 16;
        layout.topDown = topDown;
        layout.bitfields565 = wide;
        auto r = [](int x, int y) { return static_cast<uint32_t>((x * 3 + y) % 32); };
        auto g = [&](int x, int y) { return static_cast<uint32_t>((x + y * 5) % (wide ? 64 : 32)); };
        auto b = [](int x, int y) { return static_cast<uint32_t>((x * 7 + y * 2) % 32); };
        layout.value = [&](int x, int y) {
          return wide ? r(x, y) << 11 | g(x, y) << 5 | b(x, y) : r(x, y) << 10 | g(x, y) << 5 | b(x, y);
        };
        REQUIRE(testpaths::WriteFileBytes(path, MakeBmp(layout)));
        CheckDecodes(path, false, width, height, [&](int x, int y) {
          const uint32_t r8 = r(x, y) << 3 | r(x, y) >> 2;
          const uint32_t g8 = wide ? g(x, y) << 2 | g(x, y) >> 4 : g(x, y) << 3 | g(x, y) >> 2;
          const uint32_t b8 = b(x, y) << 3 | b(x, y) >> 2;
          return r8 << 16 | g8 << 8 | b8;
        });
      }
      for (int depth : {24, 32}) {
        CAPTURE(depth);
        BmpLayout layout;
        layout.width = width;
        layout.height = height;
        layout.bitsPerPixel = depth;
        layout.topDown = topDown;
        auto colour = [](int x, int y) {
          return static_cast<uint32_t>(((x * 37) & 0xFF) << 16 | ((y * 53) & 0xFF) << 8 |
                                       ((x + y) * 11 & 0xFF));
        };
        // The fourth byte of a 32-bit pixel is no colour.
        layout.value = [&](int x, int y) { return colour(x, y) | (depth == 32 ? 0x5A000000u : 0); };
        REQUIRE(testpaths::WriteFileBytes(path, MakeBmp(layout)));
        CheckDecodes(path, false, width, height, colour);
      }
    }
  }
  DeleteFileW(path.c_str());
}

TEST_CASE("a saved PNG replaces a larger file that stood at its path") {
  const std::wstring path = TempPath(L"replaced.png");
  HBITMAP large = MakeBitmap(120, 90, [](int x, int y) { return static_cast<uint32_t>(x * 2 << 8 | y); });
  HBITMAP small = MakeBitmap(3, 2, [](int x, int) { return x ? 0xFF0000u : 0x0000FFu; });
  REQUIRE(Util_SavePNG(large, path.c_str()));
  const int64_t largeSize = testpaths::FileSizeOf(path);
  REQUIRE(Util_SavePNG(small, path.c_str()));
  CHECK(testpaths::FileSizeOf(path) < largeSize);
  CheckDecodes(path, true, 3, 2, [](int x, int) { return x ? 0xFF0000u : 0x0000FFu; });
  DeleteObject(large);
  DeleteObject(small);
  DeleteFileW(path.c_str());
}

TEST_CASE("a picture of more pixels than a device takes is refused; one just below is read") {
  const std::wstring path = TempPath(L"huge.png");
  // 8000 x 2100 pixels, 16.8 million: more than 4096 x 4096; 8000 x 2000 is less.
  for (int height : {2100, 2000}) {
    CAPTURE(height);
    PngLayout layout;
    layout.width = 8000;
    layout.height = height;
    layout.bitDepth = 1;
    layout.colourType = kGray;
    layout.sample = [](int x, int, int) { return static_cast<uint32_t>(x & 1); };
    REQUIRE(testpaths::WriteFileBytes(path, MakePng(layout)));
    SetLastError(0);
    int width = 0, h = 0;
    HBITMAP bitmap = Util_LoadPNG(path.c_str(), &width, &h);
    if (height == 2100) {
      CHECK(bitmap == nullptr);
      CHECK(GetLastError() == ERROR_INVALID_DATA);
    } else {
      CHECK(bitmap != nullptr);
      CHECK(width == 8000);
      CHECK(h == 2000);
    }
    if (bitmap) DeleteObject(bitmap);
  }
  DeleteFileW(path.c_str());
}
