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
// request left behind.

int32_t ArenaAllocator::Tag(uint32_t offset) const {
  int32_t value;
  memcpy(&value, arena + offset, sizeof value);
  return value;
}

void ArenaAllocator::SetTag(uint32_t offset, int32_t value) { memcpy(arena + offset, &value, sizeof value); }

uint32_t ArenaAllocator::Word(uint32_t offset) const {
  uint32_t value;
  memcpy(&value, arena + offset, sizeof value);
  return value;
}

void ArenaAllocator::SetWord(uint32_t offset, uint32_t value) {
  memcpy(arena + offset, &value, sizeof value);
}

void ArenaAllocator::SetBlock(uint32_t block, int32_t size) {
  SetTag(block, size);
  SetTag(block + 4 + Magnitude(size), size);
}

uint32_t ArenaAllocator::Size() const { return arena != nullptr ? Word(0) : 0; }

uint32_t ArenaAllocator::Head() const { return arena != nullptr ? Word(4) : 0; }

uint32_t ArenaAllocator::RoundRequest(uint32_t size) {
  uint32_t rounded = (size + 3) & ~3u;
  return rounded < kMinimumPayload ? kMinimumPayload : rounded;
}

// --- the arena ----------------------------------------------------------------------------------------

void ArenaAllocator::Init(BYTE* address, uint32_t size) {
  arena = address;
  if (size == 0 || arena == nullptr) return;
  SetWord(0, size);
  const uint32_t first = kHeaderBytes;
  SetBlock(first, -static_cast<int32_t>(size - 16));
  SetNext(first, first);
  SetPrev(first, first);
  SetHead(first);
}

void ArenaAllocator::Unlink(uint32_t block) {
  uint32_t next = Next(block);
  if (next == block) {
    SetHead(0);
    return;
  }
  uint32_t prev = Prev(block);
  SetNext(prev, next);
  SetPrev(next, prev);
  if (Head() == block) SetHead(next);
}

void* ArenaAllocator::Alloc(uint32_t size) {
  if (arena == nullptr || size == 0) return nullptr;
  const uint32_t start = Head();
  if (start == 0) return nullptr;

  // First fit: the first block of the ring, from the head on, whose payload holds the request as
  // asked (not yet rounded).
  uint32_t block = start;
  for (;;) {
    if (Magnitude(Tag(block)) >= size) break;
    block = Next(block);
    if (block == start) return nullptr;
  }

  const uint32_t rounded = RoundRequest(size);
  const uint32_t blockSize = Magnitude(Tag(block));
  if (static_cast<int64_t>(blockSize) - 16 < static_cast<int64_t>(rounded)) {
    // Too small to leave a block of at least 8 payload bytes behind: hand out the whole block.
    SetBlock(block, static_cast<int32_t>(blockSize));
    uint32_t next = Next(block);
    if (next == block) {
      SetHead(0);
    } else {
      uint32_t prev = Prev(block);
      SetNext(prev, next);
      SetPrev(next, prev);
      if (Head() == block) SetHead(next);
    }
    return arena + block + 4;
  }

  // Split: the front is handed out, the rest stays free in the old block's place in the ring.
  const uint32_t next = Next(block);
  const uint32_t prev = Prev(block);
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
  uint32_t block = static_cast<uint32_t>(static_cast<BYTE*>(payload) - arena) - 4;
  uint32_t size = Magnitude(Tag(block));

  // The left neighbour's trailing tag stands just before this block.
  if (block != kHeaderBytes) {
    int32_t left = Tag(block - 4);
    if (left < 0) {
      uint32_t leftSize = Magnitude(left);
      uint32_t leftBlock = block - kTagBytes - leftSize;
      Unlink(leftBlock);
      size += leftSize + kTagBytes;
      block = leftBlock;
    }
  }

  // The right neighbour's leading tag stands just after this block's end.
  uint32_t end = block + size + kTagBytes;
  if (end != Size()) {
    int32_t right = Tag(end);
    if (right < 0) {
      Unlink(end);
      size += Magnitude(right) + kTagBytes;
    }
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
  uint32_t last = Prev(head);
  SetNext(block, head);
  SetPrev(block, last);
  SetNext(last, block);
  SetPrev(head, block);
  if (block < head) SetHead(block);
}

void ArenaAllocator::Extend(uint32_t bytes) {
  if (arena == nullptr || bytes < kTagBytes + kMinimumPayload) return;
  uint32_t oldSize = Size();
  SetWord(0, oldSize + bytes);
  SetBlock(oldSize, static_cast<int32_t>(bytes - kTagBytes));
  Free(arena + oldSize + 4);
}

uint32_t ArenaAllocator::FreeBytes() const {
  uint32_t head = Head();
  if (head == 0) return 0;
  uint32_t total = 0;
  uint32_t block = head;
  do {
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
