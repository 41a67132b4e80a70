#include "MemoryIndexStore.h"

#include <string.h>

MemoryIndexStore::MemoryIndexStore(uint32_t size) : memory(nullptr), capacity(size) {}

MemoryIndexStore::~MemoryIndexStore() { Release(); }

void MemoryIndexStore::Release() {
  if (memory != nullptr) VirtualFree(memory, 0, MEM_RELEASE);
  memory = nullptr;
  data = nullptr;
  length = 0;
  arena.Init(nullptr, 0);
}

BOOL MemoryIndexStore::CreateInMemory(uint32_t size) {
  Release();
  const uint32_t initial = CreationLength(size, headerSize);
  if (initial > capacity) {
    SetLastError(kMappingFullError);
    return FALSE;
  }
  // Committed pages are zero and cost nothing until touched.
  memory = static_cast<BYTE*>(VirtualAlloc(nullptr, capacity, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  if (memory == nullptr) return FALSE;
  data = memory;
  length = initial;
  memset(data, 0, headerSize);
  arena.Init(data + headerSize, length - headerSize);
  SetHeaderWord(kIndexMarkSlot, kIndexMark);
  SetHeaderWord(kIndexVersionSlot, kIndexVersion);
  return TRUE;
}

BOOL MemoryIndexStore::Allocate(uint32_t size, ArenaRef* ref) {
  *ref = NullArenaRef();
  if (data == nullptr || size == 0) return FALSE;
  void* payload = arena.Alloc(size);
  if (payload == nullptr) {
    uint64_t step = static_cast<uint64_t>(size) + ArenaAllocator::kTagBytes;
    if (step < kGrowthStep) step = kGrowthStep;
    uint64_t target = length + step;
    if (target > capacity) target = capacity;
    const uint64_t needed =
        length + static_cast<uint64_t>(ArenaAllocator::RoundRequest(size)) + ArenaAllocator::kTagBytes;
    // The capacity stands for the end of a file's mapping, and is reported the same way.
    if (needed > target) {
      SetLastError(kMappingFullError);
      return FALSE;
    }
    if (!ExtendTo(static_cast<uint32_t>(target))) return FALSE;
    payload = arena.Alloc(size);
    if (payload == nullptr) {
      SetLastError(kMappingFullError);
      return FALSE;
    }
  }
  ref->base = &data;
  ref->offset = static_cast<uint32_t>(static_cast<BYTE*>(payload) - data);
  return TRUE;
}

BOOL MemoryIndexStore::ExtendTo(uint32_t newLength) {
  if (data == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (newLength <= length) return TRUE;
  if (newLength > capacity) {
    SetLastError(kMappingFullError);
    return FALSE;
  }
  // Too little for a block of its own: the data stays as it is.
  if (newLength - length < ArenaAllocator::kTagBytes + ArenaAllocator::kMinimumPayload) return TRUE;
  const uint32_t oldLength = length;
  length = newLength;
  arena.Extend(length - oldLength);
  return TRUE;
}

BOOL MemoryIndexStore::Save(BOOL) { return TRUE; }

void MemoryIndexStore::Close() { Release(); }
