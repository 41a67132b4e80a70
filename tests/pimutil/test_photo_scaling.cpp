// Photos and bitmaps: a decoded bitmap copied into a photo at its own size pixel for pixel or
// stretched to another, the source deleted either way; a photo made a bitmap again; and the fitting
// into the square of a row or a page.
#include <doctest/doctest.h>

#include "PhotoTestSupport.h"

#include <string>

using namespace phototest;
using pictures::Colours;

namespace {

// Left half red, right half blue; the picture's own size decides where the halves meet.
Colours Halves(int width) {
  return [width](int x, int) { return x < width / 2 ? 0xFF0000u : 0x0000FFu; };
}

bool IsDeleted(HBITMAP bitmap) {
  BITMAP info = {};
  return GetObjectW(bitmap, sizeof info, &info) == 0;
}

}  // namespace

TEST_CASE("FitIntoSquare: the smaller scale, margins cut to even, proportions kept") {
  struct Case {
    int width, height, size, fitWidth, fitHeight;
  } cases[] = {
      {40, 30, 32, 32, 24},                         // s = 0.8: 32 x 24
      {30, 40, 32, 24, 32},                         // upright
      {100, 33, 48, 48, 16},                        // s = 0.48: 15.84 high, the margin of 32 leaves 16
      {100, 35, 48, 48, 18},                        // 16.8 high: margin 31, cut to 30, so 18
      {10, 10, 48, 48, 48},                         // square, enlarged
      {1, 1, 1, 1, 1},                              // the row's placeholder size
      {640, 480, 1, 1, 1},                          // size 1: nothing is less than one pixel
      {3, 1, 5, 5, 3},                              // s = 5/3: 1.67 high, margin 3 cut to 2
      {2000, 1, 64, 64, 2},                         // a strip: margin 63 cut to 62
      {1, 2000, 64, 2, 64},  {48, 48, 48, 48, 48},  // already fits
      {0, 10, 32, 0, 0},                            // no picture
      {10, 10, 0, 0, 0},                            // no square
      {-4, 10, 32, 0, 0},
  };
  for (const Case& c : cases) {
    CAPTURE(c.width);
    CAPTURE(c.height);
    CAPTURE(c.size);
    int width = -1, height = -1;
    FitIntoSquare(c.width, c.height, c.size, width, height);
    CHECK(width == c.fitWidth);
    CHECK(height == c.fitHeight);
  }
}

TEST_CASE("CopyToPhoto: the own size copied pixel for pixel, another stretched; the source is deleted") {
  const Colours pattern = [](int x, int y) {
    return static_cast<uint32_t>(x * 31 % 256 << 16 | y * 17 % 256 << 8 | 0x33);
  };
  HBITMAP source = pictures::MakeBitmap(13, 7, pattern);
  ContactPhoto photo;
  REQUIRE(CopyToPhoto(source, photo));
  CHECK(IsDeleted(source));
  CHECK(photo.Width() == 13);
  CHECK(photo.Height() == 7);
  CHECK(photo.BitsPerPixel() == 24);
  CHECK(photo.Stride() == 40);
  CHECK(PhotoPixels(photo) == ColoursOf(13, 7, pattern));

  // Twice the size: each pixel becomes a block of four of its colour, inside the blocks.
  source = pictures::MakeBitmap(4, 2, Halves(4));
  REQUIRE(CopyToPhoto(source, photo, 8, 4));
  CHECK(IsDeleted(source));
  CHECK(photo.Width() == 8);
  CHECK(photo.Height() == 4);
  std::vector<uint32_t> pixels = PhotoPixels(photo);
  REQUIRE(pixels.size() == 32);
  CHECK(pixels[0] == 0xFF0000u);
  CHECK(pixels[8 + 1] == 0xFF0000u);
  CHECK(pixels[7] == 0x0000FFu);
  CHECK(pixels[3 * 8 + 7] == 0x0000FFu);

  // Given only a width, the height stays the bitmap's own.
  source = pictures::MakeBitmap(6, 3, Halves(6));
  REQUIRE(CopyToPhoto(source, photo, 12, 0));
  CHECK(photo.Width() == 12);
  CHECK(photo.Height() == 3);

  // No bitmap, a deleted one, a negative size: an empty photo and false.
  photo = MakePhoto(2, 2, Halves(2));
  SetLastError(0);
  CHECK_FALSE(CopyToPhoto(nullptr, photo));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(photo.IsEmpty());
  CHECK_FALSE(CopyToPhoto(source, photo));
  CHECK(photo.IsEmpty());
  HBITMAP another = pictures::MakeBitmap(2, 2, Halves(2));
  CHECK_FALSE(CopyToPhoto(another, photo, -1, 5));
  CHECK(IsDeleted(another));
  // Larger than a photo may be.
  another = pictures::MakeBitmap(2, 2, Halves(2));
  CHECK_FALSE(CopyToPhoto(another, photo, kPhotoMaxSide + 1, 1));
  another = pictures::MakeBitmap(2, 2, Halves(2));
  CHECK_FALSE(CopyToPhoto(another, photo, 4097, 4097));
  CHECK(photo.IsEmpty());
}

TEST_CASE("ScalePhotoToSquare: the photo takes the fitted size and keeps its picture") {
  // Wide: red left, blue right, fitted into 32: 32 x 16.
  ContactPhoto photo = MakePhoto(80, 40, Halves(80));
  REQUIRE(ScalePhotoToSquare(photo, 32));
  CHECK(photo.Width() == 32);
  CHECK(photo.Height() == 16);
  CHECK(photo.BitsPerPixel() == 24);
  std::vector<uint32_t> pixels = PhotoPixels(photo);
  REQUIRE(pixels.size() == 32u * 16u);
  // Away from the seam the colours are untouched.
  for (int y = 0; y < 16; ++y) {
    CAPTURE(y);
    CHECK(pixels[y * 32 + 2] == 0xFF0000u);
    CHECK(pixels[y * 32 + 13] == 0xFF0000u);
    CHECK(pixels[y * 32 + 18] == 0x0000FFu);
    CHECK(pixels[y * 32 + 29] == 0x0000FFu);
  }
  // Enlarged into a square of 100: 100 x 50.
  photo = MakePhoto(6, 3, Halves(6));
  REQUIRE(ScalePhotoToSquare(photo, 100));
  CHECK(photo.Width() == 100);
  CHECK(photo.Height() == 50);
  pixels = PhotoPixels(photo);
  CHECK(pixels[25 * 100 + 10] == 0xFF0000u);
  CHECK(pixels[25 * 100 + 90] == 0x0000FFu);
  // Upright, and odd sizes.
  photo = MakePhoto(33, 101, [](int, int) { return 0x20A040u; });
  REQUIRE(ScalePhotoToSquare(photo, 57));
  int width = 0, height = 0;
  FitIntoSquare(33, 101, 57, width, height);
  CHECK(photo.Width() == width);
  CHECK(photo.Height() == height);
  CHECK(height == 57);
  for (uint32_t p : PhotoPixels(photo)) {
    if (p != 0x20A040u) {
      CHECK(p == 0x20A040u);
      break;
    }
  }
  // An empty photo stays empty, and that is no failure; a square of 0 is.
  ContactPhoto empty;
  CHECK(ScalePhotoToSquare(empty, 32));
  CHECK(empty.IsEmpty());
  photo = MakePhoto(4, 4, Halves(4));
  CHECK_FALSE(ScalePhotoToSquare(photo, 0));
  CHECK(photo.Width() == 4);
  // Pixels that make no bitmap: refused, the photo as it was.
  ContactPhoto broken(4, 4, 2, 24, "\x01\x02\x03\x04\x05\x06\x07\x08");
  CHECK_FALSE(ScalePhotoToSquare(broken, 16));
  CHECK(broken.Width() == 4);
}

TEST_CASE("MakePhotoBitmap: the photo's rows as a bitmap, bottom row last; 32-bit photos too") {
  const Colours pattern = [](int x, int y) {
    return static_cast<uint32_t>(y == 0 ? 0xFFFFFF : x == 0 ? 0x00FF00 : 0x000080);
  };
  ContactPhoto photo = MakePhoto(5, 4, pattern);
  HBITMAP bitmap = MakePhotoBitmap(photo);
  REQUIRE(bitmap != nullptr);
  int width = 0, height = 0;
  CHECK(pictures::PixelsOf(bitmap, &width, &height) == ColoursOf(5, 4, pattern));
  CHECK(width == 5);
  CHECK(height == 4);
  DeleteObject(bitmap);
  // 32 bits, one pixel: blue, green, red, unused.
  ContactPhoto wide(1, 1, 4, 32, "\x10\x20\x30\x00");
  bitmap = MakePhotoBitmap(wide);
  REQUIRE(bitmap != nullptr);
  CHECK(pictures::PixelsOf(bitmap) == std::vector<uint32_t>{0x302010u});
  DeleteObject(bitmap);
  // Empty, too few bytes for its rows, or a depth without colours of its own: none.
  CHECK(MakePhotoBitmap(ContactPhoto()) == nullptr);
  const std::string rows(48, 'x');
  CHECK(MakePhotoBitmap(ContactPhoto(4, 4, 12, 24, rows.c_str())) != nullptr);
  CHECK(MakePhotoBitmap(ContactPhoto(2, 2, 4, 8, "abcdefgh")) == nullptr);
  CHECK(MakePhotoBitmap(ContactPhoto(2, 2, 4, 24, "abcdefgh")) == nullptr);
}
