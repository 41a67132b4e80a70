#include "PictureFiles.h"

#include <algorithm>
#include <cstring>

#include "TestPaths.h"

namespace pictures {

namespace {

uint32_t Crc(const uint8_t* data, size_t length, uint32_t crc = 0xFFFFFFFFu) {
  static uint32_t table[256];
  static bool made = false;
  if (!made) {
    for (uint32_t n = 0; n < 256; ++n) {
      uint32_t c = n;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      table[n] = c;
    }
    made = true;
  }
  for (size_t i = 0; i < length; ++i) crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
  return crc;
}

void PutBig(Bytes& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(value >> shift));
}

void PutLittle(Bytes& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void Chunk(Bytes& png, const char* type, const Bytes& data) {
  PutBig(png, static_cast<uint32_t>(data.size()));
  Bytes typed(type, type + 4);
  typed.insert(typed.end(), data.begin(), data.end());
  png.insert(png.end(), typed.begin(), typed.end());
  PutBig(png, Crc(typed.data(), typed.size()) ^ 0xFFFFFFFFu);
}

// A zlib stream of stored blocks.
Bytes Stored(const Bytes& raw) {
  Bytes out = {0x78, 0x01};
  size_t at = 0;
  do {
    const size_t length = std::min<size_t>(raw.size() - at, 65535);
    const bool last = at + length == raw.size();
    out.push_back(last ? 1 : 0);
    PutLittle(out, static_cast<uint32_t>(length), 2);
    PutLittle(out, static_cast<uint32_t>(~length & 0xFFFF), 2);
    out.insert(out.end(), raw.begin() + at, raw.begin() + at + length);
    at += length;
  } while (at < raw.size());
  uint32_t a = 1, b = 0;
  for (uint8_t byte : raw) {
    a = (a + byte) % 65521;
    b = (b + a) % 65521;
  }
  PutBig(out, b << 16 | a);
  return out;
}

int Channels(int colourType) {
  switch (colourType) {
    case kRgb:
      return 3;
    case kGrayAlpha:
      return 2;
    case kRgba:
      return 4;
    default:
      return 1;
  }
}

// The scanlines of the pixels (x0 + i * dx, y0 + j * dy), each with filter byte 0.
void AddScanlines(const PngLayout& layout, int x0, int y0, int dx, int dy, Bytes& raw) {
  const int channels = Channels(layout.colourType);
  for (int y = y0; y < layout.height; y += dy) {
    if (x0 >= layout.width) return;
    raw.push_back(0);
    uint32_t bits = 0;
    int count = 0;
    for (int x = x0; x < layout.width; x += dx) {
      for (int c = 0; c < channels; ++c) {
        const uint32_t sample = layout.sample(x, y, c);
        if (layout.bitDepth == 16) {
          raw.push_back(static_cast<uint8_t>(sample >> 8));
          raw.push_back(static_cast<uint8_t>(sample));
        } else if (layout.bitDepth == 8) {
          raw.push_back(static_cast<uint8_t>(sample));
        } else {
          bits = bits << layout.bitDepth | sample;
          count += layout.bitDepth;
          if (count == 8) {
            raw.push_back(static_cast<uint8_t>(bits));
            bits = 0;
            count = 0;
          }
        }
      }
    }
    if (count > 0) raw.push_back(static_cast<uint8_t>(bits << (8 - count)));
  }
}

}  // namespace

Bytes MakePng(const PngLayout& layout) {
  Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  Bytes header;
  PutBig(header, static_cast<uint32_t>(layout.width));
  PutBig(header, static_cast<uint32_t>(layout.height));
  header.push_back(static_cast<uint8_t>(layout.bitDepth));
  header.push_back(static_cast<uint8_t>(layout.colourType));
  header.push_back(0);
  header.push_back(0);
  header.push_back(layout.interlaced ? 1 : 0);
  Chunk(png, "IHDR", header);
  if (layout.colourType == kPalette) {
    Bytes palette;
    for (uint32_t colour : layout.palette) {
      palette.push_back(static_cast<uint8_t>(colour >> 16));
      palette.push_back(static_cast<uint8_t>(colour >> 8));
      palette.push_back(static_cast<uint8_t>(colour));
    }
    Chunk(png, "PLTE", palette);
  }
  Bytes raw;
  if (!layout.interlaced) {
    AddScanlines(layout, 0, 0, 1, 1, raw);
  } else {
    const int passes[7][4] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                              {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
    for (const auto& pass : passes) AddScanlines(layout, pass[0], pass[1], pass[2], pass[3], raw);
  }
  Chunk(png, "IDAT", Stored(raw));
  Chunk(png, "IEND", Bytes());
  return png;
}

Bytes MakeBmp(const BmpLayout& layout) {
  const int stride = ((layout.width * layout.bitsPerPixel + 31) / 32) * 4;
  const bool masks = layout.bitsPerPixel == 16 && layout.bitfields565;
  const uint32_t paletteBytes = static_cast<uint32_t>(layout.palette.size() * 4) + (masks ? 12 : 0);
  const uint32_t offset = 14 + 40 + paletteBytes;
  Bytes bmp;
  bmp.push_back('B');
  bmp.push_back('M');
  PutLittle(bmp, offset + static_cast<uint32_t>(stride * layout.height), 4);
  PutLittle(bmp, 0, 4);
  PutLittle(bmp, offset, 4);
  PutLittle(bmp, 40, 4);
  PutLittle(bmp, static_cast<uint32_t>(layout.width), 4);
  PutLittle(bmp, static_cast<uint32_t>(layout.topDown ? -layout.height : layout.height), 4);
  PutLittle(bmp, 1, 2);
  PutLittle(bmp, static_cast<uint32_t>(layout.bitsPerPixel), 2);
  PutLittle(bmp, masks ? BI_BITFIELDS : BI_RGB, 4);
  PutLittle(bmp, static_cast<uint32_t>(stride * layout.height), 4);
  PutLittle(bmp, 2835, 4);
  PutLittle(bmp, 2835, 4);
  PutLittle(bmp, static_cast<uint32_t>(layout.palette.size()), 4);
  PutLittle(bmp, 0, 4);
  if (masks) {
    PutLittle(bmp, 0xF800, 4);
    PutLittle(bmp, 0x07E0, 4);
    PutLittle(bmp, 0x001F, 4);
  }
  for (uint32_t colour : layout.palette) PutLittle(bmp, colour, 4);
  for (int row = 0; row < layout.height; ++row) {
    const int y = layout.topDown ? row : layout.height - 1 - row;
    Bytes line;
    uint32_t bits = 0;
    int count = 0;
    for (int x = 0; x < layout.width; ++x) {
      const uint32_t value = layout.value(x, y);
      if (layout.bitsPerPixel >= 16) {
        PutLittle(line, value, layout.bitsPerPixel / 8);
      } else {
        bits = bits << layout.bitsPerPixel | value;
        count += layout.bitsPerPixel;
        if (count == 8) {
          line.push_back(static_cast<uint8_t>(bits));
          bits = 0;
          count = 0;
        }
      }
    }
    if (count > 0) line.push_back(static_cast<uint8_t>(bits << (8 - count)));
    line.resize(static_cast<size_t>(stride), 0);
    bmp.insert(bmp.end(), line.begin(), line.end());
  }
  return bmp;
}

HBITMAP MakeBitmap(int width, int height, const Colours& colours) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (bitmap == nullptr) return nullptr;
  const int stride = (width * 3 + 3) & ~3;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const uint32_t c = colours(x, y);
      BYTE* at = static_cast<BYTE*>(bits) + y * stride + x * 3;
      at[0] = BYTE(c);
      at[1] = BYTE(c >> 8);
      at[2] = BYTE(c >> 16);
    }
  }
  GdiFlush();
  return bitmap;
}

std::vector<uint32_t> PixelsOf(HBITMAP bitmap, int* width, int* height) {
  BITMAP info = {};
  if (GetObjectW(bitmap, sizeof info, &info) != sizeof info) return {};
  const int h = info.bmHeight < 0 ? -info.bmHeight : info.bmHeight;
  BITMAPINFO request = {};
  request.bmiHeader.biSize = sizeof(request.bmiHeader);
  request.bmiHeader.biWidth = info.bmWidth;
  request.bmiHeader.biHeight = -h;
  request.bmiHeader.biPlanes = 1;
  request.bmiHeader.biBitCount = 32;
  request.bmiHeader.biCompression = BI_RGB;
  std::vector<uint32_t> pixels(static_cast<size_t>(info.bmWidth) * h);
  HDC dc = GetDC(nullptr);
  const int rows = GetDIBits(dc, bitmap, 0, h, pixels.data(), &request, DIB_RGB_COLORS);
  ReleaseDC(nullptr, dc);
  if (rows != h) return {};
  for (uint32_t& p : pixels) p &= 0x00FFFFFF;
  if (width) *width = info.bmWidth;
  if (height) *height = h;
  return pixels;
}

std::wstring TempPath(const std::wstring& name) { return testpaths::TempFolder() + name; }

}  // namespace pictures
