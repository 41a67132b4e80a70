#include "storage/categories/CategoryMask.h"

bool IsCategorySet(const ByteBuffer& mask, int position) {
  if (position < 0) return false;
  uint32_t byte = static_cast<uint32_t>(position) / 8;
  if (byte >= mask.GetLength()) return false;
  return (mask.GetData()[byte] & (1u << (position % 8))) != 0;
}

bool HasAnyCategory(const ByteBuffer& mask) {
  for (uint32_t i = 0; i < mask.GetLength(); ++i) {
    if (mask.GetData()[i] != 0) return true;
  }
  return false;
}
