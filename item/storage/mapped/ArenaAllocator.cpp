#include "storage/mapped/ArenaAllocator.h"

#include <string.h>

#include "foundation/Array.h"
#include "foundation/DebugUtils.h"

namespace {

const wchar_t kUnableToMap[] = L"Unable open memory as mapped file!!!";

uint32_t Magnitude(int32_t size) {
  return size < 0 ? static_cast<uint32_t>(-static_cast<int64_t>(size)) : static_cast<uint32_t>(size);
}

}  // namespace

void CheckArenaRef(const ArenaRef& ref) {
  if (ref.IsNull()) FailureStop(kUnableToMap, L"DebugUtils", __LINE__);
}

// --- tags and words ---------------------------------------------------------------------------------
// Stored words are read and written bytewise: a block may start at any offset that a caller's odd
// request left behind. Nothing outside the limit is read or written: such a read gives 0 and notes a
// broken arena, such a write is left out.

int32_t ArenaAllocator::Tag(uint32_t offset) const { return static_cast<int32_t>(Word(offset)); }

void ArenaAllocator::SetTag(uint32_t offset, int32_t value) { SetWord(offset, static_cast<uint32_t>(value)); }

uint32_t ArenaAllocator::Word(uint32_t offset) const {
  if (!Fits(offset, 4)) {
    broken = true;
    return 0;
  }
  uint32_t value;
  memcpy(&value, arena + offset, sizeof value);
  return value;
}

void ArenaAllocator::SetWord(uint32_t offset, uint32_t value) {
  if (!Fits(offset, 4)) {
    broken = true;
    return;
  }
  memcpy(arena + offset, &value, sizeof value);
}

void ArenaAllocator::SetBlock(uint32_t block, int32_t size) {
  SetTag(block, size);
  SetTag(block + 4 + Magnitude(size), size);
}

uint32_t ArenaAllocator::Size() const { return arena != nullptr ? Word(0) : 0; }

uint32_t ArenaAllocator::Head() const { return arena != nullptr ? Word(4) : 0; }

uint32_t ArenaAllocator::End() const {
  const uint32_t size = Size();
  return size <= limit ? size : limit;
}

uint32_t ArenaAllocator::RoundRequest(uint32_t size) {
  uint32_t rounded = (size + 3) & ~3u;
  return rounded < kMinimumPayload ? kMinimumPayload : rounded;
}

bool ArenaAllocator::IsFree(uint32_t block) const {
  const uint32_t end = End();
  if (block < kHeaderBytes || block > end || end - block < kTagBytes + kMinimumPayload) {
    broken = true;
    return false;
  }
  const int32_t lead = Tag(block);
  if (lead >= 0 || lead == INT32_MIN || Magnitude(lead) < kMinimumPayload ||
      Magnitude(lead) > end - block - kTagBytes) {
    broken = true;
    return false;
  }
  if (!TrailAgrees(block, lead)) {
    broken = true;
    return false;
  }
  return true;
}

bool ArenaAllocator::TrailAgrees(uint32_t block, int32_t size) const {
  const uint32_t blockEnd = block + kTagBytes + Magnitude(size);
  if (blockEnd == End()) return true;
  // A saved file's size word: the data offset of the word itself, plus 8.
  const uint32_t trail = Word(blockEnd - 4);
  return static_cast<int32_t>(trail) == size || trail == dataOffset + blockEnd - 4 + 8;
}

bool ArenaAllocator::IsInUse(uint32_t block) const {
  const uint32_t end = End();
  if (block < kHeaderBytes || block > end || end - block < kTagBytes + kMinimumPayload) {
    broken = true;
    return false;
  }
  const int32_t lead = Tag(block);
  if (lead <= 0 || static_cast<uint32_t>(lead) > end - block - kTagBytes) {
    broken = true;
    return false;
  }
  if (!TrailAgrees(block, lead)) {
    broken = true;
    return false;
  }
  return true;
}

// --- the arena ----------------------------------------------------------------------------------------

void ArenaAllocator::Init(BYTE* address, uint32_t size) {
  arena = address;
  broken = false;
  if (arena == nullptr) {
    limit = 0;
    return;
  }
  if (size == 0) {
    memcpy(&limit, arena, sizeof limit);
    return;
  }
  limit = size;
  SetWord(0, size);
  const uint32_t first = kHeaderBytes;
  SetBlock(first, -static_cast<int32_t>(size - 16));
  SetNext(first, first);
  SetPrev(first, first);
  SetHead(first);
}

bool ArenaAllocator::Unlink(uint32_t block) {
  uint32_t next = Next(block);
  if (next == block) {
    SetHead(0);
    return true;
  }
  uint32_t prev = Prev(block);
  if (!IsFree(next) || !IsFree(prev)) return false;
  SetNext(prev, next);
  SetPrev(next, prev);
  if (Head() == block) SetHead(next);
  return true;
}

void* ArenaAllocator::Alloc(uint32_t size) {
  if (arena == nullptr || size == 0) return nullptr;
  const uint32_t start = Head();
  if (start == 0) return nullptr;
  if (!IsFree(start)) return nullptr;

  // First fit: the first block of the ring, from the head on, whose payload holds the request as
  // asked (not yet rounded). A sound ring has fewer members than the arena has room for blocks.
  uint32_t block = start;
  for (uint32_t steps = limit / (kTagBytes + kMinimumPayload);; --steps) {
    if (Magnitude(Tag(block)) >= size) break;
    block = Next(block);
    if (block == start) return nullptr;
    if (steps == 0 || !IsFree(block)) {
      broken = true;
      return nullptr;
    }
  }

  const uint32_t rounded = RoundRequest(size);
  const uint32_t blockSize = Magnitude(Tag(block));
  const uint32_t next = Next(block);
  const uint32_t prev = Prev(block);
  if (next != block && (!IsFree(next) || !IsFree(prev))) return nullptr;
  if (static_cast<int64_t>(blockSize) - 16 < static_cast<int64_t>(rounded)) {
    // Too small to leave a block of at least 8 payload bytes behind: hand out the whole block.
    SetBlock(block, static_cast<int32_t>(blockSize));
    if (next == block) {
      SetHead(0);
    } else {
      SetNext(prev, next);
      SetPrev(next, prev);
      if (Head() == block) SetHead(next);
    }
    return arena + block + 4;
  }

  // Split: the front is handed out, the rest stays free in the old block's place in the ring.
  const uint32_t rest = block + rounded + kTagBytes;
  SetBlock(block, static_cast<int32_t>(rounded));
  SetBlock(rest, -static_cast<int32_t>(blockSize - rounded - kTagBytes));
  if (next == block) {
    SetNext(rest, rest);
    SetPrev(rest, rest);
  } else {
    SetNext(rest, next);
    SetPrev(rest, prev);
    SetNext(prev, rest);
    SetPrev(next, rest);
  }
  if (Head() == block) SetHead(rest);
  return arena + block + 4;
}

void ArenaAllocator::Free(void* payload) {
  if (payload == nullptr || arena == nullptr) return;
  const BYTE* at = static_cast<BYTE*>(payload);
  if (at < arena + kHeaderBytes + 4 || at > arena + limit) {
    broken = true;
    return;
  }
  uint32_t block = static_cast<uint32_t>(at - arena) - 4;
  // Only a block in use goes back: anything else (a block freed already, a place inside another
  // block) is left alone.
  if (!IsInUse(block)) return;
  uint32_t size = Magnitude(Tag(block));

  // The neighbours are judged before anything changes.
  uint32_t leftBlock = block;
  uint32_t leftSize = 0;
  if (block != kHeaderBytes) {
    int32_t left = Tag(block - 4);
    if (left < 0) {
      leftSize = Magnitude(left);
      if (left == INT32_MIN || leftSize > block - kHeaderBytes - kTagBytes) {
        broken = true;
        return;
      }
      leftBlock = block - kTagBytes - leftSize;
      if (!IsFree(leftBlock)) return;
    }
  }
  const uint32_t end = block + size + kTagBytes;
  uint32_t rightSize = 0;
  if (end != End()) {
    int32_t right = Tag(end);
    if (right < 0) {
      if (!IsFree(end)) return;
      rightSize = Magnitude(right);
    }
  }

  // The left neighbour's trailing tag stands just before this block.
  if (leftBlock != block) {
    if (!Unlink(leftBlock)) return;
    size += leftSize + kTagBytes;
    block = leftBlock;
  }
  // The right neighbour's leading tag stands just after this block's end.
  if (rightSize != 0) {
    if (!Unlink(end)) return;
    size += rightSize + kTagBytes;
  }

  SetBlock(block, -static_cast<int32_t>(size));

  // Into the ring, just before the head, which is the ring's end. A block below the head becomes
  // the head itself. The ring keeps no address order beyond that.
  uint32_t head = Head();
  if (head == 0) {
    SetNext(block, block);
    SetPrev(block, block);
    SetHead(block);
    return;
  }
  if (!IsFree(head)) return;
  uint32_t last = Prev(head);
  if (!IsFree(last)) return;
  SetNext(block, head);
  SetPrev(block, last);
  SetNext(last, block);
  SetPrev(head, block);
  if (block < head) SetHead(block);
}

void ArenaAllocator::Extend(uint32_t bytes) {
  if (arena == nullptr || bytes < kTagBytes + kMinimumPayload) return;
  uint32_t oldSize = Size();
  if (static_cast<uint64_t>(oldSize) + bytes > 0xFFFFFFFFu) {
    broken = true;
    return;
  }
  // The caller vouches for the memory behind the old end.
  if (!Fits(oldSize, bytes)) limit = oldSize + bytes;
  SetWord(0, oldSize + bytes);
  SetBlock(oldSize, static_cast<int32_t>(bytes - kTagBytes));
  Free(arena + oldSize + 4);
}

uint32_t ArenaAllocator::FreeBytes() const {
  uint32_t head = Head();
  if (head == 0) return 0;
  uint32_t total = 0;
  uint32_t block = head;
  uint32_t steps = limit / (kTagBytes + kMinimumPayload);
  do {
    if (steps-- == 0 || !IsFree(block)) break;
    total += Magnitude(Tag(block));
    block = Next(block);
  } while (block != head);
  return total;
}

// --- structure check ------------------------------------------------------------------------------------

namespace {

bool Contains(const Array<uint32_t>& sorted, uint32_t value) {
  int low = 0, high = sorted.GetSize() - 1;
  while (low <= high) {
    int middle = (low + high) / 2;
    uint32_t probe = sorted[middle];
    if (probe == value) return true;
    if (probe < value)
      low = middle + 1;
    else
      high = middle - 1;
  }
  return false;
}

}  // namespace

BOOL ArenaAllocator::Verify(uint32_t size, uint32_t dataOffset) const {
  if (arena == nullptr || size < kHeaderBytes) return FALSE;
  if (Word(0) != size) return FALSE;

  // The tiling walk: every block inside the arena, tags that agree (or a saved file's size word in
  // the trailing one). The free blocks are noted in address order.
  Array<uint32_t> freeBlocks;
  uint32_t block = kHeaderBytes;
  while (block < size) {
    if (size - block < kTagBytes) return FALSE;
    int32_t lead = Tag(block);
    if (lead == 0 || lead == INT32_MIN) return FALSE;
    uint32_t payload = Magnitude(lead);
    if (payload > size - block - kTagBytes) return FALSE;
    uint32_t trailOffset = block + 4 + payload;
    int32_t trail = Tag(trailOffset);
    bool savedWord = static_cast<int64_t>(trail) == static_cast<int64_t>(dataOffset) + trailOffset + 8;
    if (trail != lead && !savedWord) return FALSE;
    if (lead < 0) {
      if (payload < kMinimumPayload) return FALSE;
      freeBlocks.Add(block);
    }
    block += payload + kTagBytes;
  }
  if (block != size) return FALSE;

  // The ring: from the head, links that agree both ways, every member one of the free blocks, and as
  // many members as free blocks. Agreeing links make the walk visit distinct blocks, so the ring is
  // then exactly the set of free blocks.
  const uint32_t freeCount = static_cast<uint32_t>(freeBlocks.GetSize());
  uint32_t head = Word(4);
  if (head == 0) return freeCount == 0;
  uint32_t visited = 0;
  uint32_t current = head;
  do {
    if (!Contains(freeBlocks, current)) return FALSE;
    uint32_t next = Next(current);
    if (!Contains(freeBlocks, next)) return FALSE;
    if (Prev(next) != current) return FALSE;
    ++visited;
    if (visited > freeCount) return FALSE;
    current = next;
  } while (current != head);
  return visited == freeCount;
}
