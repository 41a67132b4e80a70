#include "PhotoImport.h"
#include <windows.h>
#include <wincodec.h>
#include <cstdlib>
#include <vector>
#include "foundation/ComRef.h"
#include "storage/contact/ImageLibrary.h"

namespace {

std::wstring Hex(HRESULT hr) {
  wchar_t text[16];
  swprintf(text, 16, L"0x%08lx", static_cast<unsigned long>(hr));
  return text;
}

bool SizeAllowed(UINT width, UINT height) {
  return width > 0 && height > 0 && width <= static_cast<UINT>(kPhotoMaxSide) &&
         height <= static_cast<UINT>(kPhotoMaxSide) &&
         static_cast<unsigned long long>(width) * height <= static_cast<unsigned long long>(kPhotoMaxPixels);
}

std::wstring TooLarge(UINT width, UINT height) {
  return L"the picture is " + std::to_wstring(width) + L" x " + std::to_wstring(height) +
         L" pixels, more than a photo may have";
}

// A JPEG through the imaging component, as a 24-bit top-down DIB section.
HBITMAP LoadJpeg(const std::string& bytes, std::wstring& why) {
  ComScope com;
  ComRef<IWICImagingFactory> factory;
  HRESULT hr = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                IID_IWICImagingFactory, reinterpret_cast<void**>(factory.Out()));
  if (FAILED(hr)) {
    why = L"the imaging component can't be started (" + Hex(hr) + L")";
    return nullptr;
  }
  ComRef<IWICStream> stream;
  ComRef<IWICBitmapDecoder> decoder;
  ComRef<IWICBitmapFrameDecode> frame;
  UINT width = 0, height = 0;
  hr = factory->CreateStream(stream.Out());
  if (SUCCEEDED(hr))
    hr = stream->InitializeFromMemory(reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data())),
                                      static_cast<DWORD>(bytes.size()));
  if (SUCCEEDED(hr)) hr = factory->CreateDecoder(GUID_ContainerFormatJpeg, nullptr, decoder.Out());
  if (SUCCEEDED(hr)) hr = decoder->Initialize(stream.Get(), WICDecodeMetadataCacheOnDemand);
  if (SUCCEEDED(hr)) hr = decoder->GetFrame(0, frame.Out());
  if (SUCCEEDED(hr)) hr = frame->GetSize(&width, &height);
  if (FAILED(hr)) {
    why = L"the JPEG picture is damaged (" + Hex(hr) + L")";
    return nullptr;
  }
  // A header may claim any size: more than a photo may have is refused before any pixel is made.
  if (!SizeAllowed(width, height)) {
    why = TooLarge(width, height);
    return nullptr;
  }
  ComRef<IWICBitmapSource> converted;
  hr = WICConvertBitmapSource(GUID_WICPixelFormat24bppBGR, frame.Get(), converted.Out());
  if (FAILED(hr)) {
    why = L"the JPEG picture's pixels can't be read (" + Hex(hr) + L")";
    return nullptr;
  }
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = static_cast<LONG>(width);
  info.bmiHeader.biHeight = -static_cast<LONG>(height);
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (bitmap == nullptr) {
    why = L"no memory for the picture (error " + std::to_wstring(GetLastError()) + L")";
    return nullptr;
  }
  const UINT stride = (width * 3 + 3) & ~3u;
  hr = converted->CopyPixels(nullptr, stride, stride * height, static_cast<BYTE*>(bits));
  if (FAILED(hr)) {
    DeleteObject(bitmap);
    why = L"the JPEG picture is damaged (" + Hex(hr) + L")";
    return nullptr;
  }
  return bitmap;
}

// A PNG or BMP through the product's image library, which reads files: the bytes go to a file of
// their own in the temporary folder for the time of the read.
HBITMAP LoadWithLibrary(const std::string& bytes, bool png, std::wstring& why) {
  wchar_t folder[MAX_PATH], path[MAX_PATH];
  DWORD length = GetTempPathW(MAX_PATH, folder);
  if (length == 0 || length >= MAX_PATH || GetTempFileNameW(folder, L"pho", 0, path) == 0) {
    why = L"no temporary file for the picture (error " + std::to_wstring(GetLastError()) + L")";
    return nullptr;
  }
  HANDLE file =
      CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY, nullptr);
  DWORD written = 0;
  const bool saved = file != INVALID_HANDLE_VALUE &&
                     WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
                     written == bytes.size();
  const DWORD writeError = GetLastError();
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  if (!saved) {
    DeleteFileW(path);
    why = L"the picture can't be written to a temporary file (error " + std::to_wstring(writeError) + L")";
    return nullptr;
  }
  int width = 0, height = 0;
  HBITMAP bitmap = png ? ImageLoadPng(path, &width, &height) : ImageLoadBmp(path, &width, &height);
  const DWORD error = GetLastError();
  DeleteFileW(path);
  if (bitmap == nullptr)
    why = std::wstring(L"the ") + (png ? L"PNG" : L"BMP") + L" picture is damaged or too large (error " +
          std::to_wstring(error) + L")";
  return bitmap;
}

// The bitmap's pixels as a photo, scaled down to fit kImportedPhotoSide when larger. Deletes `bitmap`.
// The rows are asked for top-down, whichever way the bitmap holds them.
bool PhotoFromBitmap(HBITMAP bitmap, ContactPhoto& photo, std::wstring& why) {
  BITMAP shape = {};
  if (GetObjectW(bitmap, sizeof shape, &shape) == 0 || shape.bmWidth <= 0 || shape.bmHeight == 0) {
    DeleteObject(bitmap);
    why = L"the picture's pixels can't be read";
    return false;
  }
  const int width = shape.bmWidth;
  const int height = shape.bmHeight < 0 ? -shape.bmHeight : shape.bmHeight;
  const int stride = (width * 3 + 3) & ~3;
  std::vector<unsigned char> rows(static_cast<size_t>(stride) * height);
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = BI_RGB;
  HDC dc = GetDC(nullptr);
  const int copied = GetDIBits(dc, bitmap, 0, static_cast<UINT>(height), rows.data(), &info, DIB_RGB_COLORS);
  ReleaseDC(nullptr, dc);
  DeleteObject(bitmap);
  if (copied != height) {
    why = L"the picture's pixels can't be read";
    return false;
  }
  int fitWidth = width, fitHeight = height;
  if (width > kImportedPhotoSide || height > kImportedPhotoSide)
    FitIntoSquare(width, height, kImportedPhotoSide, fitWidth, fitHeight);
  photo = AveragedPhoto(rows.data(), stride, width, height, fitWidth, fitHeight);
  if (photo.IsEmpty()) {
    why = L"no memory for the picture";
    return false;
  }
  return true;
}

}  // namespace

ContactPhoto AveragedPhoto(const unsigned char* rows, int stride, int sourceWidth, int sourceHeight,
                           int width, int height) {
  if (width <= 0 || height <= 0 || sourceWidth <= 0 || sourceHeight <= 0) return ContactPhoto();
  const int outStride = (width * 3 + 3) & ~3;
  std::vector<unsigned char> out(static_cast<size_t>(outStride) * height, 0);
  std::vector<unsigned long long> sums(static_cast<size_t>(width) * 3);
  for (int y = 0; y < height; ++y) {
    // The source rows and columns this pixel covers: at least one of each.
    const int y0 = static_cast<int>(static_cast<long long>(y) * sourceHeight / height);
    int y1 = static_cast<int>(static_cast<long long>(y + 1) * sourceHeight / height);
    if (y1 <= y0) y1 = y0 + 1;
    std::fill(sums.begin(), sums.end(), 0ULL);
    for (int sy = y0; sy < y1; ++sy) {
      const unsigned char* row = rows + static_cast<ptrdiff_t>(sy) * stride;
      for (int x = 0; x < width; ++x) {
        const int x0 = static_cast<int>(static_cast<long long>(x) * sourceWidth / width);
        int x1 = static_cast<int>(static_cast<long long>(x + 1) * sourceWidth / width);
        if (x1 <= x0) x1 = x0 + 1;
        for (int sx = x0; sx < x1; ++sx)
          for (int c = 0; c < 3; ++c) sums[static_cast<size_t>(x) * 3 + c] += row[sx * 3 + c];
      }
    }
    // The photo's rows go from the bottom up.
    unsigned char* to = out.data() + static_cast<size_t>(height - 1 - y) * outStride;
    for (int x = 0; x < width; ++x) {
      const int x0 = static_cast<int>(static_cast<long long>(x) * sourceWidth / width);
      int x1 = static_cast<int>(static_cast<long long>(x + 1) * sourceWidth / width);
      if (x1 <= x0) x1 = x0 + 1;
      const unsigned long long count = static_cast<unsigned long long>(x1 - x0) * (y1 - y0);
      for (int c = 0; c < 3; ++c)
        to[x * 3 + c] =
            static_cast<unsigned char>((sums[static_cast<size_t>(x) * 3 + c] + count / 2) / count);
    }
  }
  return ContactPhoto(width, height, outStride, 24, out.data());
}

bool PhotoFromPicture(const std::string& bytes, ContactPhoto& photo, std::wstring& why) {
  photo.Empty();
  HBITMAP bitmap = nullptr;
  if (bytes.size() >= 3 && bytes.compare(0, 3, "\xFF\xD8\xFF") == 0)
    bitmap = LoadJpeg(bytes, why);
  else if (bytes.size() >= 8 && bytes.compare(0, 8, "\x89PNG\r\n\x1A\n") == 0)
    bitmap = LoadWithLibrary(bytes, true, why);
  else if (bytes.size() >= 2 && bytes.compare(0, 2, "BM") == 0)
    bitmap = LoadWithLibrary(bytes, false, why);
  else
    why = L"it is not a JPEG, PNG or BMP picture";
  if (bitmap == nullptr) return false;
  return PhotoFromBitmap(bitmap, photo, why);
}
