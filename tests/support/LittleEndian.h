// 32-bit words of stored data read and written by the tests on their own, whatever the alignment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

inline uint32_t ReadWord32(const uint8_t* bytes, size_t offset) {
  uint32_t value;
  std::memcpy(&value, bytes + offset, 4);
  return value;
}

inline void WriteWord32(uint8_t* bytes, size_t offset, uint32_t value) {
  std::memcpy(bytes + offset, &value, 4);
}
