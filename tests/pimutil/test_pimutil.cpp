// The image library: PNG and BMP files and PNG pictures in memory become 24-bit bitmaps of the right
// size and colours; a bitmap saved as PNG reads back pixel for pixel; what isn't a picture of the kind
// asked for is refused with a last error; the item's own PNG resources decode.
#include <doctest/doctest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

#include "TestPaths.h"
#include "pimutil/PimUtil.h"
#include "presentation/PngResource.h"
#include "resources/ImageIds.h"

namespace {

// The pixels of a bitmap as 0x00RRGGBB values, rows from the top.
std::vector<uint32_t> Pixels(HBITMAP bitmap, int* width = nullptr, int* height = nullptr) {
  BITMAP info = {};
  REQUIRE(GetObjectW(bitmap, sizeof info, &info) == sizeof info);
  BITMAPINFO request = {};
  request.bmiHeader.biSize = sizeof(request.bmiHeader);
  request.bmiHeader.biWidth = info.bmWidth;
  request.bmiHeader.biHeight = -info.bmHeight;
  request.bmiHeader.biPlanes = 1;
  request.bmiHeader.biBitCount = 32;
  request.bmiHeader.biCompression = BI_RGB;
  std::vector<uint32_t> pixels(static_cast<size_t>(info.bmWidth) * info.bmHeight);
  HDC dc = GetDC(nullptr);
  int rows = GetDIBits(dc, bitmap, 0, info.bmHeight, pixels.data(), &request, DIB_RGB_COLORS);
  ReleaseDC(nullptr, dc);
  REQUIRE(rows == info.bmHeight);
  for (uint32_t& p : pixels) p &= 0x00FFFFFF;
  if (width) *width = info.bmWidth;
  if (height) *height = info.bmHeight;
  return pixels;
}

// A 24-bit bitmap of `width` x `height` whose pixel (x, y) is colour(x, y), 0x00RRGGBB.
template <class Colour>
HBITMAP MakeBitmap(int width, int height, Colour colour) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  REQUIRE(bitmap != nullptr);
  const int stride = (width * 3 + 3) & ~3;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      uint32_t c = colour(x, y);
      BYTE* at = static_cast<BYTE*>(bits) + y * stride + x * 3;
      at[0] = BYTE(c);
      at[1] = BYTE(c >> 8);
      at[2] = BYTE(c >> 16);
    }
  }
  return bitmap;
}

uint32_t Pattern(int x, int y) {
  return static_cast<uint32_t>((x * 37) << 16 | (y * 53) << 8 | ((x + y) * 11 & 0xFF));
}

std::wstring TempFile(const wchar_t* name) { return std::wstring(L"\\Temp\\") + name; }

void WriteBytes(const std::wstring& path, const std::vector<BYTE>& bytes) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  REQUIRE(file != INVALID_HANDLE_VALUE);
  DWORD done = 0;
  REQUIRE(WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr));
  CloseHandle(file);
}

// A BMP file of 24-bit pixels, bottom-up as the format keeps them.
std::vector<BYTE> BmpFile(int width, int height) {
  const int stride = (width * 3 + 3) & ~3;
  BITMAPFILEHEADER file = {};
  BITMAPINFOHEADER header = {};
  file.bfType = 0x4D42;
  file.bfOffBits = sizeof file + sizeof header;
  file.bfSize = file.bfOffBits + stride * height;
  header.biSize = sizeof header;
  header.biWidth = width;
  header.biHeight = height;
  header.biPlanes = 1;
  header.biBitCount = 24;
  header.biCompression = BI_RGB;
  std::vector<BYTE> bytes(file.bfSize, 0);
  std::memcpy(bytes.data(), &file, sizeof file);
  std::memcpy(bytes.data() + sizeof file, &header, sizeof header);
  for (int y = 0; y < height; ++y) {
    BYTE* row = bytes.data() + file.bfOffBits + (height - 1 - y) * stride;
    for (int x = 0; x < width; ++x) {
      uint32_t c = Pattern(x, y);
      row[x * 3] = BYTE(c);
      row[x * 3 + 1] = BYTE(c >> 8);
      row[x * 3 + 2] = BYTE(c >> 16);
    }
  }
  return bytes;
}

}  // namespace

TEST_CASE("a bitmap saved as PNG reads back with its size and every pixel") {
  HBITMAP source = MakeBitmap(7, 5, Pattern);
  std::wstring path = TempFile(L"round_trip.png");
  REQUIRE(Util_SavePNG(source, path.c_str()));
  int width = 0, height = 0;
  HBITMAP back = Util_LoadPNG(path.c_str(), &width, &height);
  REQUIRE(back != nullptr);
  CHECK(width == 7);
  CHECK(height == 5);
  CHECK(Pixels(back) == Pixels(source));
  BITMAP info = {};
  REQUIRE(GetObjectW(back, sizeof info, &info) == sizeof info);
  CHECK(info.bmBitsPixel == 24);
  DeleteObject(back);
  DeleteObject(source);
  DeleteFileW(path.c_str());
}

TEST_CASE("a PNG in memory decodes like the same file") {
  HBITMAP source = MakeBitmap(4, 9, Pattern);
  std::wstring path = TempFile(L"memory.png");
  REQUIRE(Util_SavePNG(source, path.c_str()));
  std::vector<BYTE> bytes = testpaths::ReadFileBytes(path);
  REQUIRE(bytes.size() > 8);
  int width = 0, height = 0;
  HBITMAP fromMemory = Util_LoadMemPNG(bytes.data(), static_cast<DWORD>(bytes.size()), &width, &height);
  REQUIRE(fromMemory != nullptr);
  CHECK(width == 4);
  CHECK(height == 9);
  CHECK(Pixels(fromMemory) == Pixels(source));
  // Sizes are optional.
  HBITMAP again = Util_LoadMemPNG(bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, nullptr);
  CHECK(again != nullptr);
  DeleteObject(again);
  DeleteObject(fromMemory);
  DeleteObject(source);
  DeleteFileW(path.c_str());
}

TEST_CASE("a BMP file reads with its rows in order") {
  std::wstring path = TempFile(L"picture.bmp");
  WriteBytes(path, BmpFile(6, 4));
  int width = 0, height = 0;
  HBITMAP bitmap = Util_LoadBMP(path.c_str(), &width, &height);
  REQUIRE(bitmap != nullptr);
  CHECK(width == 6);
  CHECK(height == 4);
  HBITMAP expected = MakeBitmap(6, 4, Pattern);
  CHECK(Pixels(bitmap) == Pixels(expected));
  DeleteObject(expected);
  DeleteObject(bitmap);
  // A BMP isn't a PNG, and the other way round.
  SetLastError(0);
  CHECK(Util_LoadPNG(path.c_str(), nullptr, nullptr) == nullptr);
  CHECK(GetLastError() == ERROR_INVALID_DATA);
  HBITMAP png = MakeBitmap(2, 2, Pattern);
  std::wstring pngPath = TempFile(L"not_a_bmp.png");
  REQUIRE(Util_SavePNG(png, pngPath.c_str()));
  SetLastError(0);
  CHECK(Util_LoadBMP(pngPath.c_str(), nullptr, nullptr) == nullptr);
  CHECK(GetLastError() == ERROR_INVALID_DATA);
  DeleteObject(png);
  DeleteFileW(path.c_str());
  DeleteFileW(pngPath.c_str());
}

TEST_CASE("what isn't a picture is refused with a last error, never a crash") {
  SetLastError(0);
  CHECK(Util_LoadPNG(TempFile(L"no such picture.png").c_str(), nullptr, nullptr) == nullptr);
  CHECK(GetLastError() != 0);
  SetLastError(0);
  CHECK(Util_LoadPNG(nullptr, nullptr, nullptr) == nullptr);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  SetLastError(0);
  CHECK(Util_LoadMemPNG(nullptr, 10, nullptr, nullptr) == nullptr);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  const BYTE garbage[] = "this is not a picture at all, only words";
  SetLastError(0);
  CHECK(Util_LoadMemPNG(garbage, sizeof garbage, nullptr, nullptr) == nullptr);
  CHECK(GetLastError() != 0);
  // A PNG cut after its signature and header.
  HBITMAP source = MakeBitmap(8, 8, Pattern);
  std::wstring path = TempFile(L"cut.png");
  REQUIRE(Util_SavePNG(source, path.c_str()));
  std::vector<BYTE> bytes = testpaths::ReadFileBytes(path);
  for (size_t keep : {size_t(8), size_t(33), bytes.size() / 2}) {
    CAPTURE(keep);
    HBITMAP cut = Util_LoadMemPNG(bytes.data(), static_cast<DWORD>(keep), nullptr, nullptr);
    CHECK(cut == nullptr);
    if (cut) DeleteObject(cut);
  }
  SetLastError(0);
  CHECK_FALSE(Util_SavePNG(nullptr, path.c_str()));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  DeleteObject(source);
  DeleteFileW(path.c_str());
}

TEST_CASE("the letter bar's pictures decode at both sizes in the two colours the bar recolours") {
  HINSTANCE self = GetModuleHandleW(nullptr);
  struct Picture {
    int id;
    int size;
  } pictures[] = {{IDP_BAR_STEP_BACK, 13},
                  {IDP_BAR_STEP_BACK_VGA, 26},
                  {IDP_BAR_CONTACTS, 13},
                  {IDP_BAR_CONTACTS_VGA, 26}};
  for (const Picture& picture : pictures) {
    CAPTURE(picture.id);
    int width = 0, height = 0;
    HBITMAP bitmap = LoadPngResource(self, picture.id, &width, &height);
    REQUIRE(bitmap != nullptr);
    CHECK(width == picture.size);
    CHECK(height == picture.size);
    std::vector<uint32_t> pixels = Pixels(bitmap);
    int ink = 0;
    for (uint32_t p : pixels) {
      CHECK((p == 0x000000 || p == 0xFF00FF));
      if (p == 0) ++ink;
    }
    // Something is drawn, and the corners are background.
    CHECK(ink > picture.size);
    CHECK(pixels.front() == 0xFF00FF);
    CHECK(pixels.back() == 0xFF00FF);
    DeleteObject(bitmap);
  }
  CHECK(LoadPngResource(self, 4242) == nullptr);
}
