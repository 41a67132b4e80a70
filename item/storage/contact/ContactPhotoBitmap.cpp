// Photos and bitmaps: a decoded picture copied or stretched into the photo's pixels, a photo made a
// bitmap again for saving and drawing, and the fitting into a square for rows and pages.
#include "storage/contact/ContactPhoto.h"

#include <string.h>

namespace {

int RowBytes(int width, int bitsPerPixel) { return ((width * bitsPerPixel + 31) / 32) * 4; }

// A bottom-up device-independent section of width x height at `bitsPerPixel`.
HBITMAP NewSection(int width, int height, int bitsPerPixel, void** bits) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = static_cast<WORD>(bitsPerPixel);
  info.bmiHeader.biCompression = BI_RGB;
  *bits = nullptr;
  HBITMAP section = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, bits, nullptr, 0);
  if (section != nullptr && *bits == nullptr) {
    DeleteObject(section);
    return nullptr;
  }
  return section;
}

bool SizeAllowed(int width, int height) {
  return width > 0 && height > 0 && width <= kPhotoMaxSide && height <= kPhotoMaxSide &&
         static_cast<int64_t>(width) * height <= kPhotoMaxPixels;
}

// Two memory contexts with a bitmap selected into each, given back in every case.
class BlitPair {
 public:
  BlitPair(HBITMAP from, HBITMAP to)
      : source(CreateCompatibleDC(nullptr)), target(CreateCompatibleDC(nullptr)), oldSource(nullptr),
        oldTarget(nullptr) {
    if (source) oldSource = SelectObject(source, from);
    if (target) oldTarget = SelectObject(target, to);
  }
  ~BlitPair() {
    if (source) {
      if (oldSource) SelectObject(source, oldSource);
      DeleteDC(source);
    }
    if (target) {
      if (oldTarget) SelectObject(target, oldTarget);
      DeleteDC(target);
    }
  }
  bool Ready() const { return source && target && oldSource && oldTarget; }

  HDC source;
  HDC target;

 private:
  BlitPair(const BlitPair&) = delete;
  BlitPair& operator=(const BlitPair&) = delete;
  HGDIOBJ oldSource;
  HGDIOBJ oldTarget;
};

}  // namespace

bool CopyToPhoto(HBITMAP bitmap, ContactPhoto& photo, int width, int height) {
  photo.Empty();
  if (bitmap == nullptr || width < 0 || height < 0) {
    if (bitmap) DeleteObject(bitmap);
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  BITMAP source = {};
  if (GetObjectW(bitmap, sizeof source, &source) != sizeof source) {
    DeleteObject(bitmap);
    SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
  const int sourceWidth = source.bmWidth;
  const int sourceHeight = source.bmHeight < 0 ? -source.bmHeight : source.bmHeight;
  const int targetWidth = width ? width : sourceWidth;
  const int targetHeight = height ? height : sourceHeight;
  if (!SizeAllowed(sourceWidth, sourceHeight) || !SizeAllowed(targetWidth, targetHeight)) {
    DeleteObject(bitmap);
    SetLastError(ERROR_INVALID_DATA);
    return false;
  }
  void* bits = nullptr;
  HBITMAP section = NewSection(targetWidth, targetHeight, 24, &bits);
  if (section == nullptr) {
    DWORD error = GetLastError();
    DeleteObject(bitmap);
    SetLastError(error ? error : ERROR_NOT_ENOUGH_MEMORY);
    return false;
  }
  bool copied = false;
  {
    BlitPair contexts(bitmap, section);
    if (contexts.Ready()) {
      if (targetWidth == sourceWidth && targetHeight == sourceHeight) {
        copied =
            BitBlt(contexts.target, 0, 0, targetWidth, targetHeight, contexts.source, 0, 0, SRCCOPY) != 0;
      } else {
        // Halftone stretching averages the pixels a smaller picture leaves out.
        SetStretchBltMode(contexts.target, HALFTONE);
        SetBrushOrgEx(contexts.target, 0, 0, nullptr);
        copied = StretchBlt(contexts.target, 0, 0, targetWidth, targetHeight, contexts.source, 0, 0,
                            sourceWidth, sourceHeight, SRCCOPY) != 0;
      }
      GdiFlush();
    }
  }
  DWORD error = GetLastError();
  if (copied) photo = ContactPhoto(targetWidth, targetHeight, RowBytes(targetWidth, 24), 24, bits);
  DeleteObject(section);
  DeleteObject(bitmap);
  if (!copied) SetLastError(error ? error : ERROR_INVALID_DATA);
  return copied;
}

HBITMAP MakePhotoBitmap(const ContactPhoto& photo) {
  const int bitsPerPixel = photo.BitsPerPixel();
  if (photo.IsEmpty() || !SizeAllowed(photo.Width(), photo.Height()) ||
      (bitsPerPixel != 24 && bitsPerPixel != 32)) {
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  const int rowBytes = RowBytes(photo.Width(), bitsPerPixel);
  const int stride = photo.Stride();
  // Every row must be there, whole, in the photo's buffer.
  if (stride < rowBytes ||
      static_cast<int64_t>(stride) * photo.Height() > static_cast<int64_t>(photo.Pixels().GetLength())) {
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  void* bits = nullptr;
  HBITMAP section = NewSection(photo.Width(), photo.Height(), bitsPerPixel, &bits);
  if (section == nullptr) return nullptr;
  const BYTE* from = photo.Pixels().GetData();
  for (int row = 0; row < photo.Height(); ++row)
    memcpy(static_cast<BYTE*>(bits) + row * rowBytes, from + row * stride, rowBytes);
  GdiFlush();
  return section;
}

void FitIntoSquare(int width, int height, int size, int& fitWidth, int& fitHeight) {
  fitWidth = 0;
  fitHeight = 0;
  if (width <= 0 || height <= 0 || size <= 0) return;
  const double across = static_cast<double>(size) / width;
  const double down = static_cast<double>(size) / height;
  const double scale = across < down ? across : down;
  const int dx = static_cast<int>(size - width * scale);
  const int dy = static_cast<int>(size - height * scale);
  fitWidth = size - 2 * (dx / 2);
  fitHeight = size - 2 * (dy / 2);
}

bool ScalePhotoToSquare(ContactPhoto& photo, int size) {
  if (photo.IsEmpty()) return true;
  int width = 0, height = 0;
  FitIntoSquare(photo.Width(), photo.Height(), size, width, height);
  if (width <= 0 || height <= 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  HBITMAP bitmap = MakePhotoBitmap(photo);
  if (bitmap == nullptr) return false;
  ContactPhoto scaled;
  if (!CopyToPhoto(bitmap, scaled, width, height)) return false;
  photo = scaled;
  return true;
}
