// An index store in ordinary memory for the scaling benchmark: the same header and arena as the index
// file, so that the product's trees and lists are built and read in it by their own code, but with
// room beyond the 8 MB of a file mapping. The memory is reserved whole at creation, so the data never
// moves; it is neither saved nor shared.
#pragma once
#include <windows.h>
#include <stdint.h>

#include "storage/index/IndexStore.h"

class MemoryIndexStore : public IndexStore {
 public:
  // `capacity`: the most bytes the data may grow to; past it an allocation fails with
  // kMappingFullError, as one past the end of a file's mapping does.
  explicit MemoryIndexStore(uint32_t capacity);
  ~MemoryIndexStore() override;

  // A new, empty index with room for `size` bytes of structures, as IndexStore::Create makes one.
  BOOL CreateInMemory(uint32_t size);
  // Allocates as the file's store does, growing the data by the same steps up to the capacity.
  BOOL Allocate(uint32_t size, ArenaRef* ref) override;
  BOOL ExtendTo(uint32_t newLength) override;
  BOOL Save(BOOL background) override;
  void Close() override;

 private:
  void Release();

  BYTE* memory;
  uint32_t capacity;
};
