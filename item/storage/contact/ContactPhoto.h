// ContactPhoto: a contact's decoded picture. The pixel bytes are a shared buffer, so photos are
// passed and copied by reference; an empty photo has no pixels.
//
// The pixels are those of a device-independent bitmap: rows from the bottom up, each of `stride`
// bytes (a multiple of 4), blue, green and red for each pixel at 24 bits. The conversions below make
// and read exactly that form.
#pragma once

#include "storage/db/ByteBuffer.h"

#include <windows.h>

#include <stdint.h>

class ContactPhoto {
 public:
  ContactPhoto();
  // Copies stride x height bytes of `pixels`.
  ContactPhoto(int32_t width, int32_t height, int32_t stride, int32_t bitsPerPixel, const void* pixels);

  bool IsEmpty() const { return m_pixels.IsEmpty(); }
  int32_t Width() const { return m_width; }
  int32_t Height() const { return m_height; }
  int32_t Stride() const { return m_stride; }
  int32_t Planes() const { return m_planes; }
  int32_t BitsPerPixel() const { return m_bitsPerPixel; }
  const ByteBuffer& Pixels() const { return m_pixels; }
  // Same pixels, or both empty.
  bool SameAs(const ContactPhoto& other) const;
  void Empty();

 private:
  int32_t m_width;
  int32_t m_height;
  int32_t m_stride;
  int32_t m_planes;
  int32_t m_bitsPerPixel;
  ByteBuffer m_pixels;
};

// The largest picture a photo is made of, by side and by pixels: a larger one is refused rather than
// taking the memory of a small device.
const int kPhotoMaxSide = 8192;
const int kPhotoMaxPixels = 4096 * 4096;

// Turns `bitmap` into a photo of 24 bits: a device-independent section of width x height (0 means the
// bitmap's own), filled by StretchBlt when the size differs and by BitBlt when it doesn't. `bitmap` is
// deleted in every case. False with the last error, and an empty photo, when it fails.
bool CopyToPhoto(HBITMAP bitmap, ContactPhoto& photo, int width = 0, int height = 0);

// A new device-independent section of the photo's pixels, which the caller deletes; null with the
// last error for an empty photo or one whose pixels don't make a bitmap of 24 or 32 bits.
HBITMAP MakePhotoBitmap(const ContactPhoto& photo);

// The size a picture of width x height is stretched to so that it fits into a square of `size`,
// keeping its proportions: the scale s is the smaller of size / width and size / height; the margins
// dx and dy are the integer parts of size - width x s and size - height x s, and the picture takes
// size - 2 x (dx / 2) by size - 2 x (dy / 2). A side of 0 or less gives 0 x 0.
void FitIntoSquare(int width, int height, int size, int& fitWidth, int& fitHeight);

// Stretches the photo to fit into a square of `size` (FitIntoSquare). An empty photo stays empty;
// false with the last error, and the photo as it was, when it can't be done.
bool ScalePhotoToSquare(ContactPhoto& photo, int size);
