#include "storage/props/BlockPool.h"

#include <string.h>

namespace {

void Problem(Str* report, const wchar_t* format, ...) {
  if (report == nullptr) return;
  Str line;
  va_list args;
  va_start(args, format);
  line.FormatV(format, args);
  va_end(args);
  *report += line;
  *report += L"\n";
}

}  // namespace

uint32_t BlockPool::Word(uint32_t offset) const {
  uint32_t value;
  memcpy(&value, pool + offset, sizeof value);
  return value;
}

void BlockPool::SetWord(uint32_t offset, uint32_t value) { memcpy(pool + offset, &value, sizeof value); }

void BlockPool::Reset() {
  if (pool == nullptr || size < kHeaderSize) return;
  SetWord(kHeadField, 0);
  SetWord(kFirstUnusedField, kHeaderSize);
  SetWord(kFreeCountField, 0);
}

uint32_t BlockPool::UnusedBlocks() const {
  if (pool == nullptr || size < kHeaderSize) return 0;
  uint32_t firstUnused = FirstUnused();
  if (firstUnused < kHeaderSize || firstUnused > size) return 0;
  return (size - firstUnused) / kBlockSize;
}

uint32_t BlockPool::Capacity() const {
  if (pool == nullptr || size < kHeaderSize) return 0;
  return (FreeCount() + UnusedBlocks()) * kBlockSize;
}

BOOL BlockPool::IsUsedBlock(uint32_t offset) const {
  if (pool == nullptr || size < kHeaderSize) return FALSE;
  uint32_t firstUnused = FirstUnused();
  if (firstUnused > size) return FALSE;
  return offset >= kHeaderSize && (offset - kHeaderSize) % kBlockSize == 0 && offset < firstUnused &&
         firstUnused - offset >= kBlockSize;
}

BYTE* BlockPool::TakeBlock() {
  if (pool == nullptr || size < kHeaderSize) return nullptr;
  uint32_t head = FreeHead();
  if (head != 0) {
    // A head that is no block of the pool, or links that lead outside it, mean a damaged pool: nothing
    // is taken from it and nothing is written.
    if (!IsUsedBlock(head)) return nullptr;
    uint32_t next = Next(head);
    if (next == head) {
      SetWord(kHeadField, 0);
    } else {
      uint32_t prev = Prev(head);
      if (!IsUsedBlock(next) || !IsUsedBlock(prev)) return nullptr;
      SetWord(next + 4, prev);
      SetWord(prev, next);
      SetWord(kHeadField, next);
    }
    uint32_t count = FreeCount();
    SetWord(kFreeCountField, count > 0 ? count - 1 : 0);
    return pool + head;
  }
  uint32_t firstUnused = FirstUnused();
  if (firstUnused < kHeaderSize || firstUnused > size || size - firstUnused < kBlockSize) return nullptr;
  SetWord(kFirstUnusedField, firstUnused + kBlockSize);
  return pool + firstUnused;
}

void BlockPool::GiveBlock(BYTE* block) {
  if (block == nullptr || pool == nullptr || block < pool) return;
  uint32_t offset = OffsetOf(block);
  if (!IsUsedBlock(offset)) return;
  if (offset + kBlockSize == FirstUnused()) {
    SetWord(kFirstUnusedField, offset);
    return;
  }
  uint32_t head = FreeHead();
  if (head == 0 || !IsUsedBlock(head)) {
    SetWord(offset, offset);
    SetWord(offset + 4, offset);
    SetWord(kHeadField, offset);
  } else {
    // Just before the head: the ring's end.
    uint32_t last = Prev(head);
    if (!IsUsedBlock(last)) last = head;
    SetWord(offset, head);
    SetWord(offset + 4, last);
    SetWord(last, offset);
    SetWord(head + 4, offset);
  }
  SetWord(kFreeCountField, FreeCount() + 1);
}

BOOL BlockPool::Verify(Array<BYTE>& marks, Str* report) const {
  marks.RemoveAll();
  if (pool == nullptr || size < kHeaderSize) {
    Problem(report, L"pool: %u bytes leave no room for its header", size);
    return FALSE;
  }
  uint32_t firstUnused = FirstUnused();
  if (firstUnused < kHeaderSize || firstUnused > size || (firstUnused - kHeaderSize) % kBlockSize != 0) {
    Problem(report, L"pool: first never-used byte %u is no block boundary inside %u bytes", firstUnused,
            size);
    return FALSE;
  }
  uint32_t used = (firstUnused - kHeaderSize) / kBlockSize;
  marks.SetSize(static_cast<int>(used));

  BOOL ok = TRUE;
  uint32_t head = FreeHead();
  uint32_t count = FreeCount();
  if (head == 0) {
    if (count != 0) {
      Problem(report, L"pool: the free ring is empty but counts %u blocks", count);
      ok = FALSE;
    }
    return ok;
  }
  if (!IsUsedBlock(head)) {
    Problem(report, L"pool: free ring head %u is no used block", head);
    return FALSE;
  }
  if (count == 0 || count > used) {
    Problem(report, L"pool: the free ring counts %u blocks of %u used", count, used);
    return FALSE;
  }
  // Agreeing links both ways and no block twice: then the walk is the ring, and it must close after
  // exactly `count` blocks.
  uint32_t current = head;
  for (uint32_t step = 0; step < count; ++step) {
    int index = static_cast<int>((current - kHeaderSize) / kBlockSize);
    if (marks[index] != 0) {
      Problem(report, L"pool: free block %u comes round again after %u blocks", current, step);
      return FALSE;
    }
    marks[index] = 1;
    uint32_t next = Next(current);
    if (!IsUsedBlock(next)) {
      Problem(report, L"pool: free block %u links to %u, which is no used block", current, next);
      return FALSE;
    }
    if (Prev(next) != current) {
      Problem(report, L"pool: free block %u links to %u, whose previous is %u", current, next, Prev(next));
      return FALSE;
    }
    current = next;
  }
  if (current != head) {
    Problem(report, L"pool: the free ring doesn't close after %u blocks", count);
    ok = FALSE;
  }
  return ok;
}
