#include "storage/contact/ContactPhoto.h"

ContactPhoto::ContactPhoto() : m_width(0), m_height(0), m_stride(0), m_planes(1), m_bitsPerPixel(0) {}

ContactPhoto::ContactPhoto(int32_t width, int32_t height, int32_t stride, int32_t bitsPerPixel,
                           const void* pixels)
    : m_width(width), m_height(height), m_stride(stride), m_planes(1), m_bitsPerPixel(bitsPerPixel) {
  if (width > 0 && height > 0 && stride > 0 && pixels != nullptr)
    m_pixels.Assign(pixels, static_cast<uint32_t>(stride) * static_cast<uint32_t>(height));
}

bool ContactPhoto::SameAs(const ContactPhoto& other) const {
  return m_width == other.m_width && m_height == other.m_height && m_stride == other.m_stride &&
         m_bitsPerPixel == other.m_bitsPerPixel && m_pixels.Equals(other.m_pixels);
}

void ContactPhoto::Empty() {
  m_width = 0;
  m_height = 0;
  m_stride = 0;
  m_bitsPerPixel = 0;
  m_pixels.Empty();
}
