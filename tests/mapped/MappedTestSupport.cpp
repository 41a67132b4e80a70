#include "MappedTestSupport.h"

std::wstring TempFile(const std::wstring& name) {
  return testpaths::TempFolder() + L"pagemark_mapped_" + name;
}

uint8_t PatternByte(uint32_t seed, uint32_t position) {
  uint32_t x = seed * 2654435761u + position * 40503u + (position >> 8) * 7u;
  x ^= x >> 13;
  return uint8_t(x);
}

void FillPattern(uint8_t* bytes, uint32_t count, uint32_t seed) {
  for (uint32_t i = 0; i < count; ++i) bytes[i] = PatternByte(seed, i);
}

bool HasPattern(const uint8_t* bytes, uint32_t count, uint32_t seed) {
  for (uint32_t i = 0; i < count; ++i)
    if (bytes[i] != PatternByte(seed, i)) return false;
  return true;
}
