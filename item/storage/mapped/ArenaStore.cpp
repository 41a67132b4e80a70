#include "storage/mapped/ArenaStore.h"

#include <string.h>

#include "foundation/DebugUtils.h"
#include "foundation/Str.h"

namespace {

const wchar_t kUnableToMap[] = L"Unable open memory as mapped file!!!";

}  // namespace

ArenaStore::ArenaStore(uint32_t header, const wchar_t* source)
    : data(nullptr), length(0), headerSize(header), sourceName(source), changes(0), damaged(FALSE) {}

ArenaStore::~ArenaStore() { Close(); }

uint32_t ArenaStore::CreationLength(uint32_t size, uint32_t header) {
  uint32_t arenaBytes = size > kMinimumArena ? size : kMinimumArena;
  return (arenaBytes + header + ArenaAllocator::kHeaderBytes + 3) & ~3u;
}

void ArenaStore::Attach() {
  ++changes;
  data = file.Data();
  length = file.Length();
  arena.Init(data != nullptr ? data + headerSize : nullptr, 0);
  arena.SetLimit(data != nullptr && length > headerSize ? length - headerSize : 0, headerSize);
}

void ArenaStore::NoteDamage() const {
  if (!damaged) {
    Str message;
    message.Format(L"%s: a structure of the store doesn't hold together", sourceName);
    LogError(message, sourceName, L"NoteDamage", __LINE__);
  }
  damaged = TRUE;
  SetLastError(ERROR_INVALID_DATA);
}

bool ArenaStore::HasGrownFor(uint32_t offset, uint64_t bytes) const {
  if (data == nullptr || file.IsLoading()) return false;
  const uint32_t now = file.Length();
  if (now <= length || now > MappedFile::kMaxLength) return false;
  // The view never moves: only the length, and the allocator's limit with it, are taken anew.
  const_cast<ArenaStore*>(this)->Attach();
  return offset <= length && bytes <= length - offset;
}

bool ArenaStore::ArenaBroke() {
  if (!arena.TakeBroken()) return false;
  NoteDamage();
  return true;
}

// --- the operations of stored structures -------------------------------------------------------------------

ArenaRef ArenaStore::MakeRef(uint32_t offset) {
  if (offset == 0) return NullArenaRef();
  return ArenaRef{&data, offset};
}

BYTE* ArenaStore::ToPointer(uint32_t offset) {
  if (offset == 0 || data == nullptr) return nullptr;
  return data + offset;
}

uint32_t ArenaStore::ToOffset(const void* pointer) {
  if (pointer == nullptr || data == nullptr) return 0;
  return static_cast<uint32_t>(static_cast<const BYTE*>(pointer) - data);
}

BOOL ArenaStore::Allocate(uint32_t size, ArenaRef* ref) {
  *ref = NullArenaRef();
  if (data == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (size == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (damaged) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  void* payload = arena.Alloc(size);
  // A ring that doesn't hold together is damage, not a full arena: nothing grows.
  if (ArenaBroke()) return FALSE;
  if (payload == nullptr) {
    uint64_t step = static_cast<uint64_t>(size) + ArenaAllocator::kTagBytes;
    if (step < kGrowthStep) step = kGrowthStep;
    uint64_t target = length + step;
    if (target > MappedFile::kMaxLength) {
      // The last stretch of the mapping: take what is left, as long as the request fits in it.
      uint64_t needed =
          length + static_cast<uint64_t>(ArenaAllocator::RoundRequest(size)) + ArenaAllocator::kTagBytes;
      if (needed > MappedFile::kMaxLength) {
        Str message;
        message.Format(L"%s: no room for %u bytes, the mapping is full at %u bytes", sourceName, size,
                       length);
        LogError(message, sourceName, L"Allocate", __LINE__);
        SetLastError(kMappingFullError);
        return FALSE;
      }
      target = MappedFile::kMaxLength;
    }
    uint32_t oldLength = length;
    if (arena.Size() != oldLength - headerSize) {
      // The arena's size word no longer says where the data ends: growing it would lay blocks
      // outside the mapping.
      NoteDamage();
      return FALSE;
    }
    if (!file.Grow(static_cast<uint32_t>(target))) {
      if (GetLastError() == kMappingFullError) return FALSE;
      FailureStop(kUnableToMap, sourceName, __LINE__);
    }
    Attach();
    arena.Extend(length - oldLength);
    payload = arena.Alloc(size);
    if (ArenaBroke()) return FALSE;
    if (payload == nullptr) {
      // The new room, as large as the request at least, isn't where the arena's blocks say: the
      // arena doesn't hold together.
      NoteDamage();
      return FALSE;
    }
  }
  ++changes;
  ref->base = &data;
  ref->offset = static_cast<uint32_t>(static_cast<BYTE*>(payload) - data);
  return TRUE;
}

void ArenaStore::FreeOffset(uint32_t offset) {
  if (offset == 0 || data == nullptr || damaged) return;
  if (!IsInside(offset, ArenaAllocator::kMinimumPayload)) {
    NoteDamage();
    return;
  }
  ++changes;
  arena.Free(data + offset);
  ArenaBroke();
}

void ArenaStore::FreeRef(const ArenaRef& ref) { FreeOffset(ref.offset); }

BYTE** ArenaStore::Base() { return &data; }

// --- life of the store ------------------------------------------------------------------------------------

BOOL ArenaStore::Create(const wchar_t* path, uint32_t size) {
  Close();
  damaged = FALSE;
  if (!file.Create(path, CreationLength(size, headerSize))) return FALSE;
  Attach();
  memset(data, 0, headerSize);
  arena.Init(data + headerSize, length - headerSize);
  return TRUE;
}

BOOL ArenaStore::Open(const wchar_t* path) {
  Close();
  damaged = FALSE;
  if (!file.Open(path, 0)) return FALSE;
  Attach();
  const uint32_t smallestArena =
      ArenaAllocator::kHeaderBytes + ArenaAllocator::kTagBytes + ArenaAllocator::kMinimumPayload;
  if (length < headerSize + smallestArena || !arena.Verify(length - headerSize, headerSize)) {
    Str message;
    message.Format(L"%s: the arena of %s doesn't hold together", sourceName, path);
    LogError(message, sourceName, L"Open", __LINE__);
    Close();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  return TRUE;
}

BOOL ArenaStore::OpenDeferred(const wchar_t* path, uint32_t headBytes) {
  Close();
  damaged = FALSE;
  const uint32_t smallestArena =
      ArenaAllocator::kHeaderBytes + ArenaAllocator::kTagBytes + ArenaAllocator::kMinimumPayload;
  if (headBytes < headerSize + ArenaAllocator::kHeaderBytes)
    headBytes = headerSize + ArenaAllocator::kHeaderBytes;
  if (!file.OpenInBackground(path, headBytes)) return FALSE;
  Attach();
  uint32_t arenaSize = 0;
  if (length >= headerSize + smallestArena) memcpy(&arenaSize, data + headerSize, sizeof arenaSize);
  if (length < headerSize + smallestArena || arenaSize != length - headerSize) {
    Str message;
    message.Format(L"%s: the arena of %s doesn't fill the data", sourceName, path);
    LogError(message, sourceName, L"OpenDeferred", __LINE__);
    Close();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  return TRUE;
}

BOOL ArenaStore::WaitLoaded() {
  const BOOL whole = file.WaitLoaded();
  // The data was an interim buffer while the copy ran.
  if (data != file.Data()) Attach();
  return whole;
}

BOOL ArenaStore::VerifyArena() const {
  const uint32_t smallestArena =
      ArenaAllocator::kHeaderBytes + ArenaAllocator::kTagBytes + ArenaAllocator::kMinimumPayload;
  if (data == nullptr || length < headerSize + smallestArena) return FALSE;
  return arena.Verify(length - headerSize, headerSize);
}

BOOL ArenaStore::ExtendTo(uint32_t newLength) {
  if (data == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (newLength <= length) return TRUE;
  if (newLength - length < ArenaAllocator::kTagBytes + ArenaAllocator::kMinimumPayload) {
    // Too little for a block of its own: the data stays as it is.
    return TRUE;
  }
  uint32_t oldLength = length;
  if (arena.Size() != oldLength - headerSize) {
    NoteDamage();
    return FALSE;
  }
  if (!file.Grow(newLength)) return FALSE;
  Attach();
  arena.Extend(length - oldLength);
  return ArenaBroke() ? FALSE : TRUE;
}

BOOL ArenaStore::Save(BOOL background) { return file.Save(background); }

void ArenaStore::Close() {
  ++changes;
  file.Close();
  data = nullptr;
  length = 0;
  damaged = FALSE;
  arena.Init(nullptr, 0);
}
