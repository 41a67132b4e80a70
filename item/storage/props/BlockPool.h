// BlockPool: fixed 128-byte blocks handed out from a region of store data, the way the props store
// keeps its records. The pool keeps nothing outside its region; the object is the region's address
// and its usable size, and is made again whenever the region grows.
//
// Pool layout, little-endian 32-bit words, offsets counted from the pool's start:
//
//   0   offset of the free ring's head, 0 when the ring is empty
//   4   offset of the first never-used byte, 12 in a new pool
//   8   number of blocks in the free ring
//   12  first block
//
// Blocks lie one after the other from offset 12. A block in the free ring begins with the offsets of
// the next and of the previous block of the ring.
//
// Taking a block takes the ring's head, or else moves the first never-used byte on by a block. Giving
// a block back moves that byte back when the block is the last one used (once per call, even when the
// block before it is free as well), and otherwise puts the block into the ring just before its head.
#pragma once

#include <windows.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"

class BlockPool {
 public:
  static constexpr uint32_t kBlockSize = 128;
  static constexpr uint32_t kHeaderSize = 12;
  // Header fields.
  static constexpr uint32_t kHeadField = 0;
  static constexpr uint32_t kFirstUnusedField = 4;
  static constexpr uint32_t kFreeCountField = 8;

  BlockPool() : pool(nullptr), size(0) {}
  // Attaches to the pool at `address` whose usable size is `size` bytes, header included.
  BlockPool(BYTE* address, uint32_t size) : pool(address), size(size) {}

  // Writes the header of an empty pool.
  void Reset();

  // A block, or null when the ring is empty and no whole block is left behind the used region (and
  // when the pool's header names a ring head that is no block of the pool).
  BYTE* TakeBlock();
  // Gives a block back. Null and anything that is no used block of the pool are ignored.
  void GiveBlock(BYTE* block);

  uint32_t FreeHead() const { return Word(kHeadField); }
  uint32_t FirstUnused() const { return Word(kFirstUnusedField); }
  uint32_t FreeCount() const { return Word(kFreeCountField); }
  // Whole blocks still behind the first never-used byte.
  uint32_t UnusedBlocks() const;
  // Bytes the pool can hand out without growing: ring and never-used blocks, 128 bytes each.
  uint32_t Capacity() const;

  BYTE* Address() const { return pool; }
  uint32_t Size() const { return size; }
  // Whether a block starts at `offset` (pool-relative) inside the used region.
  BOOL IsUsedBlock(uint32_t offset) const;
  BYTE* BlockAt(uint32_t offset) const { return pool + offset; }
  uint32_t OffsetOf(const BYTE* block) const { return static_cast<uint32_t>(block - pool); }

  // Checks the header and the free ring: the first never-used byte on a block boundary inside the pool,
  // a ring of exactly FreeCount() distinct used blocks whose links agree both ways. For each block of
  // the used region `marks` gets 1 if it is in the ring and 0 otherwise. Appends a line per broken
  // invariant to `report` (may be null) and says whether there was none. Reads nothing outside the
  // pool.
  BOOL Verify(Array<BYTE>& marks, Str* report) const;

 private:
  uint32_t Word(uint32_t offset) const;
  void SetWord(uint32_t offset, uint32_t value);
  uint32_t Next(uint32_t block) const { return Word(block); }
  uint32_t Prev(uint32_t block) const { return Word(block + 4); }

  BYTE* pool;
  uint32_t size;
};
