// The image library over the platform's imaging component: a decoder for the file or the memory,
// its first frame converted to 24-bit BGR and copied into a top-down DIB section; saving the other way
// round.
#define PIMUTIL_BUILD
#include "pimutil/PimUtil.h"

#include <wincodec.h>

#include "foundation/ComRef.h"

namespace {

const UINT kMaxSide = 16384;
const UINT64 kMaxPixels = 4096 * 4096;

// Turns a failed HRESULT into the thread's last error; gives whether it succeeded.
bool Succeeded(HRESULT hr) {
  if (SUCCEEDED(hr)) return true;
  SetLastError(HRESULT_FACILITY(hr) == FACILITY_WIN32 ? HRESULT_CODE(hr) : ERROR_INVALID_DATA);
  return false;
}

HRESULT Factory(IWICImagingFactory** factory) {
  return CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                          reinterpret_cast<void**>(factory));
}

// Reads `source` a row of `rowBytes` at a time and hands each row to `convert` with the row of the
// top-down 24-bit section `bits` that it fills.
template <class Convert>
bool CopyEachRow(IWICBitmapSource* source, UINT width, UINT height, UINT rowBytes, BYTE* bits,
                 Convert convert) {
  const UINT stride = (width * 3 + 3) & ~3u;
  BYTE* row = static_cast<BYTE*>(HeapAlloc(GetProcessHeap(), 0, rowBytes));
  if (row == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
  }
  bool copied = true;
  for (UINT y = 0; y < height && copied; ++y) {
    const WICRect line = {0, static_cast<INT>(y), static_cast<INT>(width), 1};
    copied = Succeeded(source->CopyPixels(&line, rowBytes, rowBytes, row));
    if (copied) convert(row, bits + static_cast<SIZE_T>(y) * stride);
  }
  HeapFree(GetProcessHeap(), 0, row);
  return copied;
}

// Pictures of 1, 2, 4 or 8 bits per pixel: their rows are read as they are stored and each pixel looked
// up in a table of colours, the picture's palette or the levels of grey. The imaging component's own
// conversion doesn't take all of these (one bit per pixel among them).
struct PackedFormat {
  const GUID* format;
  UINT bits;
  bool indexed;
};

const PackedFormat kPackedFormats[] = {
    {&GUID_WICPixelFormatBlackWhite, 1, false}, {&GUID_WICPixelFormat2bppGray, 2, false},
    {&GUID_WICPixelFormat4bppGray, 4, false},   {&GUID_WICPixelFormat8bppGray, 8, false},
    {&GUID_WICPixelFormat1bppIndexed, 1, true}, {&GUID_WICPixelFormat2bppIndexed, 2, true},
    {&GUID_WICPixelFormat4bppIndexed, 4, true}, {&GUID_WICPixelFormat8bppIndexed, 8, true},
};

const PackedFormat* FindPacked(const GUID& format) {
  for (const PackedFormat& packed : kPackedFormats)
    if (*packed.format == format) return &packed;
  return nullptr;
}

// The table of colours of a packed picture, 0xAARRGGBB; entries the palette lacks are black.
bool ColourTable(IWICImagingFactory* factory, IWICBitmapFrameDecode* frame, const PackedFormat& packed,
                 WICColor* table) {
  const UINT entries = 1u << packed.bits;
  for (UINT i = 0; i < 256; ++i) table[i] = 0xFF000000u;
  if (!packed.indexed) {
    for (UINT i = 0; i < entries; ++i) {
      const UINT level = i * 255 / (entries - 1);
      table[i] = 0xFF000000u | level << 16 | level << 8 | level;
    }
    return true;
  }
  ComRef<IWICPalette> palette;
  if (!Succeeded(factory->CreatePalette(palette.Out()))) return false;
  if (!Succeeded(frame->CopyPalette(palette.Get()))) return false;
  UINT count = 0;
  return Succeeded(palette->GetColors(256, table, &count));
}

bool CopyPackedRows(IWICImagingFactory* factory, IWICBitmapFrameDecode* frame, const PackedFormat& packed,
                    UINT width, UINT height, BYTE* bits) {
  WICColor table[256];
  if (!ColourTable(factory, frame, packed, table)) return false;
  const UINT mask = (1u << packed.bits) - 1;
  return CopyEachRow(frame, width, height, (width * packed.bits + 7) / 8, bits,
                     [&](const BYTE* row, BYTE* to) {
                       for (UINT x = 0; x < width; ++x) {
                         const UINT bit = x * packed.bits;
                         const UINT index = (row[bit / 8] >> (8 - packed.bits - bit % 8)) & mask;
                         const WICColor colour = table[index];
                         to[x * 3] = static_cast<BYTE>(colour);
                         to[x * 3 + 1] = static_cast<BYTE>(colour >> 8);
                         to[x * 3 + 2] = static_cast<BYTE>(colour >> 16);
                       }
                     });
}

// Pictures of 16 bits and more per sample or per pixel that the imaging component doesn't convert
// itself everywhere: their rows are read as stored and each pixel taken apart here, 16-bit samples by
// their high byte, 5- and 6-bit channels widened by repeating their top bits.
enum WideKind { Grey16, Bgr555, Bgr565, Rgb48, Rgba64 };

struct WideFormat {
  const GUID* format;
  UINT bytes;
  WideKind kind;
};

const WideFormat kWideFormats[] = {
    {&GUID_WICPixelFormat16bppGray, 2, Grey16},   {&GUID_WICPixelFormat16bppBGR555, 2, Bgr555},
    {&GUID_WICPixelFormat16bppBGR565, 2, Bgr565}, {&GUID_WICPixelFormat48bppRGB, 6, Rgb48},
    {&GUID_WICPixelFormat64bppRGBA, 8, Rgba64},
};

// Blue, green and red of one pixel at `at`.
void WidePixel(WideKind kind, const BYTE* at, BYTE* to) {
  const UINT word = at[0] | at[1] << 8;
  switch (kind) {
    case Grey16:
      to[0] = to[1] = to[2] = at[1];
      break;
    case Bgr555:
    case Bgr565: {
      const UINT r = kind == Bgr555 ? (word >> 10) & 31 : word >> 11;
      const UINT g = kind == Bgr555 ? (word >> 5) & 31 : (word >> 5) & 63;
      const UINT b = word & 31;
      to[0] = static_cast<BYTE>(b << 3 | b >> 2);
      to[1] = static_cast<BYTE>(kind == Bgr555 ? (g << 3 | g >> 2) : (g << 2 | g >> 4));
      to[2] = static_cast<BYTE>(r << 3 | r >> 2);
      break;
    }
    case Rgb48:
    case Rgba64:
      to[0] = at[5];
      to[1] = at[3];
      to[2] = at[1];
      break;
  }
}

bool CopyWideRows(IWICBitmapFrameDecode* frame, const WideFormat& wide, UINT width, UINT height, BYTE* bits) {
  return CopyEachRow(frame, width, height, width * wide.bytes, bits, [&](const BYTE* row, BYTE* to) {
    for (UINT x = 0; x < width; ++x) WidePixel(wide.kind, row + x * wide.bytes, to + x * 3);
  });
}

// Fills the rows of a top-down 24-bit section from `frame`: packed pictures through their table of
// colours, others converted to 24 bits by the imaging component, or, where it has no such conversion,
// to 32 bits a row at a time with the fourth byte (alpha or nothing) left out.
bool CopyRows(IWICImagingFactory* factory, IWICBitmapFrameDecode* frame, UINT width, UINT height,
              BYTE* bits) {
  WICPixelFormatGUID format = {};
  if (!Succeeded(frame->GetPixelFormat(&format))) return false;
  if (const PackedFormat* packed = FindPacked(format))
    return CopyPackedRows(factory, frame, *packed, width, height, bits);
  for (const WideFormat& wide : kWideFormats)
    if (*wide.format == format) return CopyWideRows(frame, wide, width, height, bits);
  const UINT stride = (width * 3 + 3) & ~3u;
  ComRef<IWICBitmapSource> direct;
  if (SUCCEEDED(WICConvertBitmapSource(GUID_WICPixelFormat24bppBGR, frame, direct.Out())))
    return Succeeded(direct->CopyPixels(nullptr, stride, stride * height, bits));
  ComRef<IWICBitmapSource> wide;
  if (!Succeeded(WICConvertBitmapSource(GUID_WICPixelFormat32bppBGRA, frame, wide.Out()))) return false;
  return CopyEachRow(wide.Get(), width, height, width * 4, bits, [&](const BYTE* row, BYTE* to) {
    for (UINT x = 0; x < width; ++x) {
      to[x * 3] = row[x * 4];
      to[x * 3 + 1] = row[x * 4 + 1];
      to[x * 3 + 2] = row[x * 4 + 2];
    }
  });
}

// The first frame of `decoder` as a new 24-bit DIB section.
HBITMAP FrameToBitmap(IWICImagingFactory* factory, IWICBitmapDecoder* decoder, int* width, int* height) {
  ComRef<IWICBitmapFrameDecode> frame;
  if (!Succeeded(decoder->GetFrame(0, frame.Out()))) return nullptr;
  UINT w = 0, h = 0;
  if (!Succeeded(frame->GetSize(&w, &h))) return nullptr;
  // A header may claim any size: more than a device's memory takes is refused before any pixel is made.
  if (w == 0 || h == 0 || w > kMaxSide || h > kMaxSide || static_cast<UINT64>(w) * h > kMaxPixels) {
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = static_cast<LONG>(w);
  info.bmiHeader.biHeight = -static_cast<LONG>(h);  // top-down while copying, rows in reading order
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (bitmap == nullptr) return nullptr;
  if (!CopyRows(factory, frame.Get(), w, h, static_cast<BYTE*>(bits))) {
    const DWORD error = GetLastError();
    DeleteObject(bitmap);
    SetLastError(error);
    return nullptr;
  }
  if (width) *width = static_cast<int>(w);
  if (height) *height = static_cast<int>(h);
  return bitmap;
}

HBITMAP LoadFile(LPCWSTR path, const GUID& container, int* width, int* height) {
  if (path == nullptr || path[0] == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  ComScope com;
  ComRef<IWICImagingFactory> factory;
  if (!Succeeded(Factory(factory.Out()))) return nullptr;
  ComRef<IWICBitmapDecoder> decoder;
  if (!Succeeded(factory->CreateDecoderFromFilename(path, nullptr, GENERIC_READ,
                                                    WICDecodeMetadataCacheOnDemand, decoder.Out())))
    return nullptr;
  GUID format = {};
  if (!Succeeded(decoder->GetContainerFormat(&format))) return nullptr;
  if (format != container) {
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  return FrameToBitmap(factory.Get(), decoder.Get(), width, height);
}

}  // namespace

HBITMAP WINAPI Util_LoadPNG(LPCWSTR path, int* width, int* height) {
  return LoadFile(path, GUID_ContainerFormatPng, width, height);
}

HBITMAP WINAPI Util_LoadBMP(LPCWSTR path, int* width, int* height) {
  return LoadFile(path, GUID_ContainerFormatBmp, width, height);
}

HBITMAP WINAPI Util_LoadMemPNG(const void* data, DWORD size, int* width, int* height) {
  if (data == nullptr || size == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  ComScope com;
  ComRef<IWICImagingFactory> factory;
  if (!Succeeded(Factory(factory.Out()))) return nullptr;
  ComRef<IWICStream> stream;
  if (!Succeeded(factory->CreateStream(stream.Out()))) return nullptr;
  if (!Succeeded(stream->InitializeFromMemory(static_cast<BYTE*>(const_cast<void*>(data)), size)))
    return nullptr;
  ComRef<IWICBitmapDecoder> decoder;
  if (!Succeeded(factory->CreateDecoder(GUID_ContainerFormatPng, nullptr, decoder.Out()))) return nullptr;
  if (!Succeeded(decoder->Initialize(stream.Get(), WICDecodeMetadataCacheOnDemand))) return nullptr;
  return FrameToBitmap(factory.Get(), decoder.Get(), width, height);
}

namespace {

// Encodes `source` as PNG into `stream`.
bool EncodePng(IWICImagingFactory* factory, IWICBitmapSource* source, IWICStream* stream) {
  UINT width = 0, height = 0;
  if (!Succeeded(source->GetSize(&width, &height))) return false;
  ComRef<IWICBitmapEncoder> encoder;
  if (!Succeeded(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.Out()))) return false;
  if (!Succeeded(encoder->Initialize(stream, WICBitmapEncoderNoCache))) return false;
  ComRef<IWICBitmapFrameEncode> frame;
  ComRef<IPropertyBag2> options;
  if (!Succeeded(encoder->CreateNewFrame(frame.Out(), options.Out()))) return false;
  if (!Succeeded(frame->Initialize(options.Get()))) return false;
  if (!Succeeded(frame->SetSize(width, height))) return false;
  WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
  if (!Succeeded(frame->SetPixelFormat(&format))) return false;
  ComRef<IWICBitmapSource> converted;
  if (!Succeeded(WICConvertBitmapSource(format, source, converted.Out()))) return false;
  if (!Succeeded(frame->WriteSource(converted.Get(), nullptr))) return false;
  if (!Succeeded(frame->Commit())) return false;
  return Succeeded(encoder->Commit());
}

}  // namespace

BOOL WINAPI Util_SavePNG(HBITMAP bitmap, LPCWSTR path) {
  if (bitmap == nullptr || path == nullptr || path[0] == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  ComScope com;
  ComRef<IWICImagingFactory> factory;
  if (!Succeeded(Factory(factory.Out()))) return FALSE;
  ComRef<IWICBitmap> source;
  if (!Succeeded(factory->CreateBitmapFromHBITMAP(bitmap, nullptr, WICBitmapIgnoreAlpha, source.Out())))
    return FALSE;
  bool saved = false;
  {
    ComRef<IWICStream> stream;
    if (!Succeeded(factory->CreateStream(stream.Out()))) return FALSE;
    if (!Succeeded(stream->InitializeFromFilename(path, GENERIC_WRITE))) return FALSE;
    saved = EncodePng(factory.Get(), source.Get(), stream.Get());
  }
  if (!saved) {
    // What was begun is no picture: it goes, keeping the error of the failed step.
    const DWORD error = GetLastError();
    DeleteFileW(path);
    SetLastError(error);
  }
  return saved ? TRUE : FALSE;
}
