// ContactPhoto: a contact's decoded picture. The pixel bytes are a shared buffer, so photos are
// passed and copied by reference; an empty photo has no pixels.
#pragma once

#include "storage/db/ByteBuffer.h"

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
