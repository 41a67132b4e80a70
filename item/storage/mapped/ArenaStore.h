// ArenaStore: a store in a MappedFile whose data is the owner's fixed header followed by an arena
// that runs to the data's end. It owns the file, the allocator, the data's present address and the
// length, and gives stored structures their way to memory: references, offsets and allocation with
// growth. Every link a structure stores is an offset from the data's start.
//
// Growth: when the arena can't satisfy a request, the data grows by the larger of request + 8 and
// 102400 bytes, the allocator is attached again at the (unchanged) address and extended by the
// difference, and the request is tried once more. Near the end of the mapping the growth takes what
// room is left; a request that no longer fits is refused: the allocation fails, the refusal is
// logged, and everything stored stays as it was.
//
// Damage: the store may come from a damaged file. Its users check every offset they follow against
// the data (IsInside) and note what doesn't hold together (NoteDamage); the allocator checks the
// blocks it is given back and the free ring it walks. Once damage has been met the store is damaged
// until it is closed or made anew: it allocates and frees nothing more, and every operation of its
// users fails with ERROR_INVALID_DATA, so that the owner drops the file and rebuilds it.
#pragma once

#include <windows.h>
#include <stdint.h>

#include "storage/mapped/ArenaAllocator.h"
#include "storage/mapped/MappedFile.h"

class ArenaStore {
 public:
  // Smallest arena a store is created with, and the step of its growth.
  static constexpr uint32_t kMinimumArena = 10240;
  static constexpr uint32_t kGrowthStep = 102400;

  // `headerSize` bytes at the data's start belong to the owner; `sourceName` names the owner in
  // failure stops and in the log.
  ArenaStore(uint32_t headerSize, const wchar_t* sourceName);
  virtual ~ArenaStore();

  // The operations through which stored structures reach the store, in this order.
  virtual ArenaRef MakeRef(uint32_t offset);
  virtual BYTE* ToPointer(uint32_t offset);
  virtual uint32_t ToOffset(const void* pointer);
  // Allocates `size` bytes, growing the store when the arena is full. False, with a null reference
  // and the last error, for a store that isn't open (ERROR_INVALID_HANDLE), for size 0
  // (ERROR_INVALID_PARAMETER), for a growth refused at the end of the mapping (kMappingFullError) and
  // for a damaged store (ERROR_INVALID_DATA).
  virtual BOOL Allocate(uint32_t size, ArenaRef* ref);
  virtual void FreeOffset(uint32_t offset);
  virtual void FreeRef(const ArenaRef& ref);
  virtual BYTE** Base();

  // A new, empty store at `path` for about `size` bytes of structures: a zeroed header and one free
  // block.
  virtual BOOL Create(const wchar_t* path, uint32_t size);
  // Opens the store of `path` and checks that its arena holds together; a store whose arena doesn't
  // is refused and closed.
  virtual BOOL Open(const wchar_t* path);
  // The same store for a quick start: the file is copied in the background (MappedFile::
  // OpenInBackground) with the first `headBytes` of the data read at once, and only the arena's size
  // word is judged here. Until WaitLoaded has said true nothing behind the head may be touched but
  // what FetchSpan brought in; the walk over the arena that Open runs is VerifyArena, left to the
  // owner.
  virtual BOOL OpenDeferred(const wchar_t* path, uint32_t headBytes);
  // Waits for the background copy, and takes the data anew, which is the mapping's from then on;
  // false when the copy failed.
  BOOL WaitLoaded();
  // While the copy runs, reads a span of the file into the data at its place (MappedFile::FetchSpan).
  BOOL FetchSpan(uint32_t offset, uint32_t count) { return file.FetchSpan(offset, count); }
  BOOL IsLoading() const { return file.IsLoading(); }
  // Whether the arena holds together: its blocks tile it with matching tags and its free ring is a
  // ring of exactly the free blocks (ArenaAllocator::Verify). Reads nothing outside the data.
  BOOL VerifyArena() const;
  // Grows the data to newLength and gives the new room to the arena.
  virtual BOOL ExtendTo(uint32_t newLength);
  virtual BOOL Save(BOOL background);
  virtual void Close();

  // Whether `bytes` from `offset` lie inside the data, past the owner's header and the arena's own,
  // on a whole word. Reads nothing.
  // Past the known length it looks again at the mapping's length, which another process that writes
  // the store may have raised meanwhile.
  bool IsInside(uint32_t offset, uint64_t bytes) const {
    if (offset < headerSize + kFirstPayload || offset % 4 != 0) return false;
    if (offset <= length && bytes <= length - offset) return true;
    return HasGrownFor(offset, bytes);
  }
  // Notes that a structure of the store doesn't hold together: the store is damaged from now on, and
  // the last error is ERROR_INVALID_DATA.
  void NoteDamage() const;
  BOOL IsDamaged() const { return damaged; }

  // Counts the store's allocations, frees and growths, so that a walk over it can tell whether
  // anything changed since it began.
  uint32_t ChangeCount() const { return changes; }

  BYTE* Data() const { return data; }
  uint32_t Length() const { return length; }
  uint32_t HeaderSize() const { return headerSize; }
  MappedFile& File() { return file; }
  ArenaAllocator& Arena() { return arena; }

  // Length of a new store: the arena for max(size, 10240) bytes after the header, its own header and
  // the first block's tags, rounded down to a whole word.
  static uint32_t CreationLength(uint32_t size, uint32_t headerSize);
  // Where the first payload of the arena lies, from the arena's start: its header and a size tag.
  static constexpr uint32_t kFirstPayload = ArenaAllocator::kHeaderBytes + 4;

 protected:
  // Fetches the data's address and length from the file and attaches the allocator.
  void Attach();

  MappedFile file;
  ArenaAllocator arena;
  BYTE* data;
  uint32_t length;
  uint32_t headerSize;
  const wchar_t* sourceName;
  uint32_t changes;
  mutable BOOL damaged;

 private:
  // Takes the mapping's present length when another process has raised it; whether `bytes` from
  // `offset` lie inside the data then.
  bool HasGrownFor(uint32_t offset, uint64_t bytes) const;
  // Carries a broken arena, which the allocator found, over to the store.
  bool ArenaBroke();

  ArenaStore(const ArenaStore&);
  ArenaStore& operator=(const ArenaStore&);
};
