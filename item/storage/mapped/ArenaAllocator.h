// ArenaAllocator: a sub-allocator that lives wholly inside a block of shared memory, so that every
// process that maps the memory, at whatever address, can allocate and free in it. It keeps nothing
// outside the arena; the object itself is the arena's address and no more.
//
// Arena layout, all numbers little-endian 32-bit, offsets counted from the arena's start:
//
//   0   arena size in bytes, header included
//   4   offset of the free ring's head block, 0 when nothing is free
//   8   first block
//
// A block is a size word, the payload and a trailing copy of the size word; the size counts payload
// bytes only, so a block takes size + 8 bytes. In-use blocks carry a positive size, free ones a
// negative size. The first 8 payload bytes of a free block are the offsets of the next and of the
// previous block in the free ring. Requests are rounded up to a multiple of 4 and to at least 8.
//
// Allocation is first fit over the ring, starting at its head; a block large enough to leave a
// remainder of at least 8 payload bytes is split, the front being handed out. Freeing merges with
// free neighbours on both sides.
//
// When the arena sits at the end of a MappedFile's data, a save overwrites the arena's last word (the
// last block's trailing tag) with the file's size. That positive value only stops a later merge
// across it; nothing else reads it.
//
// The arena may come from a damaged file. Besides its address the object knows how many bytes of
// memory it may touch (its limit), and it never reads or writes outside them: every block it is
// given back, every neighbour it merges with and every member of the free ring it follows must have
// agreeing tags inside the arena, and a walk of the ring ends after as many steps as the arena has
// room for blocks. What doesn't hold together is left as it is, and the allocator notes that it is
// broken (Broken); Alloc then gives null.
#pragma once

#include <windows.h>
#include <stdint.h>

// ArenaRef: where a stored structure lies, as an offset from the start of its store's data, with a
// pointer to the variable that holds the data's present address. The offset stays valid across
// growth and across processes, which map the data at different addresses. The null reference has
// both halves 0.
struct ArenaRef {
  BYTE** base;
  uint32_t offset;

  bool IsNull() const { return base == nullptr && offset == 0; }
  // The address the reference stands for now; null for the null reference.
  BYTE* Get() const { return base != nullptr ? *base + offset : nullptr; }
  template <class T>
  T* As() const {
    return reinterpret_cast<T*>(Get());
  }
};

inline ArenaRef NullArenaRef() { return ArenaRef{nullptr, 0}; }

// The check that follows every allocation in a store: a null reference is a failure stop.
void CheckArenaRef(const ArenaRef& ref);

class ArenaAllocator {
 public:
  // Smallest payload a block can have, and the bytes of tags around each block.
  static constexpr uint32_t kMinimumPayload = 8;
  static constexpr uint32_t kTagBytes = 8;
  // The arena's own header: size and free ring head.
  static constexpr uint32_t kHeaderBytes = 8;

  ArenaAllocator() : arena(nullptr), limit(0), dataOffset(0), broken(false) {}

  // With size 0 only attaches to an arena that is already there, taking its size word as the limit.
  // Otherwise lays out a new arena of `size` bytes: the header and one free block of payload
  // size - 16, alone in the ring.
  void Init(BYTE* address, uint32_t size);
  // The bytes from the arena's address that the allocator may touch, whatever its size word says, and
  // where the arena starts in its file's data (see Verify: a trailing tag may be a saved file's size
  // word, also on a block that is no longer the last after the arena grew).
  void SetLimit(uint32_t bytes, uint32_t offsetInData) {
    limit = bytes;
    dataOffset = offsetInData;
  }
  uint32_t Limit() const { return limit; }
  // Whether an operation since the last TakeBroken met a block, tag or ring link that doesn't hold
  // together; the flag is cleared by the call.
  bool TakeBroken() {
    bool was = broken;
    broken = false;
    return was;
  }

  // First fit. Null for size 0, for an empty ring and when no free block is large enough.
  void* Alloc(uint32_t size);
  // Gives a block back, merging it with free neighbours. Null is ignored.
  void Free(void* payload);
  // Grows the arena by `bytes` (at least 16): the new space is laid at the old end as one block and
  // freed into the ring, merging with a free last block when its trailing tag allows. The caller
  // vouches for the memory: the limit grows with the arena when it was smaller.
  void Extend(uint32_t bytes);
  // The payload bytes of all free blocks together.
  uint32_t FreeBytes() const;

  BYTE* Address() const { return arena; }
  uint32_t Size() const;
  uint32_t Head() const;

  // Walks the arena of `size` bytes that this object is attached to and says whether its structure
  // holds together: the size word, blocks that tile the arena exactly with matching tags, and a free
  // ring that is a doubly linked ring of exactly the free blocks. Nothing outside the arena is read.
  // `dataOffset` is where the arena starts in its file's data: a trailing tag equal to
  // dataOffset + (its offset in the arena) + 8 is the size word of a saved file image and is accepted
  // in place of the block's size.
  BOOL Verify(uint32_t size, uint32_t dataOffset) const;

  // Payload size of a request as the allocator rounds it.
  static uint32_t RoundRequest(uint32_t size);

 private:
  int32_t Tag(uint32_t offset) const;
  void SetTag(uint32_t offset, int32_t value);
  uint32_t Word(uint32_t offset) const;
  void SetWord(uint32_t offset, uint32_t value);
  // Marks the block at `block` with `size` in both tags.
  void SetBlock(uint32_t block, int32_t size);
  uint32_t Next(uint32_t block) const { return Word(block + 4); }
  uint32_t Prev(uint32_t block) const { return Word(block + 8); }
  void SetNext(uint32_t block, uint32_t next) { SetWord(block + 4, next); }
  void SetPrev(uint32_t block, uint32_t prev) { SetWord(block + 8, prev); }
  void SetHead(uint32_t head) { SetWord(4, head); }
  // Takes a free block out of the ring; false, with nothing changed, when its neighbours in the
  // ring aren't free blocks.
  bool Unlink(uint32_t block);
  // Whether `bytes` from `offset` lie within the limit.
  bool Fits(uint32_t offset, uint32_t bytes) const { return offset <= limit && limit - offset >= bytes; }
  // The arena's end: its size word, or the limit when the word passes it.
  uint32_t End() const;
  // Whether a free block, or a block in use, starts at `block`: tags that agree, inside the arena (the
  // last block's trailing tag may be a saved file's size word). Notes a broken arena when not.
  bool IsFree(uint32_t block) const;
  bool IsInUse(uint32_t block) const;
  // Whether the trailing tag of a block of `size` payload bytes at `block` agrees with its size.
  bool TrailAgrees(uint32_t block, int32_t size) const;

  BYTE* arena;
  uint32_t limit;
  uint32_t dataOffset;
  mutable bool broken;
};
