// The invariant check of the props store: what Open relies on before it accepts a file, and what a
// tool reports about a store.
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "foundation/DebugUtils.h"
#include "storage/props/PropsRecord.h"
#include "storage/props/PropsStore.h"

namespace {

// Findings written out as lines; the rest only make the check fail.
const int kReportedFindings = 64;

// Marks of the used blocks, after BlockPool::Verify has put 1 on the free ones.
const BYTE kUnclaimed = 0;
const BYTE kRecordBlock = 2;

class Checker {
 public:
  Checker(const BYTE* data, uint32_t length, Str* report)
      : data(data), length(length), report(report), ok(TRUE), findings(0) {}

  BOOL Run(const Array<uint32_t>* records);

 private:
  void Problem(const wchar_t* format, ...);
  uint32_t Word(uint32_t offset) const {
    uint32_t value;
    memcpy(&value, data + offset, sizeof value);
    return value;
  }
  BOOL IsUsedBlock(uint32_t offset) const {
    return offset >= PropsStore::kHeaderSize && pool.IsUsedBlock(offset - PropsStore::kHeaderSize);
  }
  int IndexOf(uint32_t offset) const {
    return static_cast<int>((offset - PropsStore::kHeaderSize - BlockPool::kHeaderSize) /
                            BlockPool::kBlockSize);
  }
  BOOL CheckHeader();
  // Walks the ring of records from the first one; false when it had to stop.
  BOOL WalkRecords(Array<uint32_t>& found);
  BOOL CheckRecord(uint32_t record);
  void CheckAccounting();
  void CompareRecords(Array<uint32_t>& found, const Array<uint32_t>& records);

  const BYTE* data;
  uint32_t length;
  Str* report;
  BOOL ok;
  int findings;
  BlockPool pool;
  Array<BYTE> marks;
};

void Checker::Problem(const wchar_t* format, ...) {
  ok = FALSE;
  if (report == nullptr) return;
  // The first findings tell enough; a report that grows without end would cost more than the walk.
  if (++findings > kReportedFindings) {
    if (findings == kReportedFindings + 1) *report += L"props store: further findings left out\n";
    return;
  }
  Str line;
  va_list args;
  va_start(args, format);
  line.FormatV(format, args);
  va_end(args);
  *report += line;
  *report += L"\n";
}

BOOL Checker::CheckHeader() {
  if (data == nullptr) {
    Problem(L"header: the store isn't open");
    return FALSE;
  }
  if (length < PropsStore::kHeaderSize) {
    Problem(L"header: %u bytes of data are shorter than the header", length);
    return FALSE;
  }
  if (Word(PropsStore::kMarkOffset) != PropsStore::kMark)
    Problem(L"header: format mark %u, not %u", Word(PropsStore::kMarkOffset), PropsStore::kMark);
  if (Word(PropsStore::kVersionOffset) != PropsStore::kVersion)
    Problem(L"header: version %u, not %u", Word(PropsStore::kVersionOffset), PropsStore::kVersion);
  if (data[PropsStore::kInChangeOffset] != 0)
    Problem(L"header: in-change byte %u: a change didn't end", data[PropsStore::kInChangeOffset]);
  if (length < PropsStore::kHeaderSize + BlockPool::kHeaderSize + 4) {
    Problem(L"header: %u bytes of data leave no room for the pool", length);
    return FALSE;
  }
  return TRUE;
}

BOOL Checker::CheckRecord(uint32_t record) {
  uint32_t dataLength = Word(record + PropsStore::kLengthField);
  uint32_t count = PropsStore::BlockCount(dataLength, TRUE);
  if (count > static_cast<uint32_t>(marks.GetSize())) {
    Problem(L"record %u: %u bytes of data need more blocks than the pool has", record, dataLength);
    return FALSE;
  }
  BYTE* bytes = CheckAllocation(static_cast<BYTE*>(malloc(dataLength > 0 ? dataLength : 1)));
  uint32_t block = record;
  uint32_t done = 0;
  BOOL sound = TRUE;
  for (uint32_t i = 0; i < count && sound; ++i) {
    if (!IsUsedBlock(block)) {
      Problem(L"record %u: block %u of its chain is %u, no used block", record, i, block);
      sound = FALSE;
      break;
    }
    BYTE& mark = marks[IndexOf(block)];
    if (mark != kUnclaimed) {
      Problem(mark == kRecordBlock ? L"record %u: block %u of its chain, %u, belongs to a chain already"
                                   : L"record %u: block %u of its chain, %u, is in the free ring",
              record, i, block);
      sound = FALSE;
      break;
    }
    mark = kRecordBlock;
    uint32_t at = block + (i == 0 ? 16 : 4);
    uint32_t room = i == 0 ? PropsStore::kFirstBlockData : PropsStore::kFurtherBlockData;
    uint32_t part = dataLength - done < room ? dataLength - done : room;
    memcpy(bytes + done, data + at, part);
    done += part;
    block = Word(block + PropsStore::kNextBlockField);
  }
  if (sound && block != 0) {
    Problem(L"record %u: its chain goes on past the %u blocks of its %u bytes", record, count, dataLength);
    sound = FALSE;
  }
  if (sound && !PropsRecord::IsCanonical(bytes, dataLength)) {
    Problem(L"record %u: its %u bytes of data aren't a well-formed extended block", record, dataLength);
    sound = FALSE;
  }
  free(bytes);
  return sound;
}

BOOL Checker::WalkRecords(Array<uint32_t>& found) {
  uint32_t count = Word(PropsStore::kCountOffset);
  uint32_t first = Word(PropsStore::kFirstRecordOffset);
  if (count == 0) {
    if (first != 0) Problem(L"records: none counted, yet the first record is %u", first);
    return TRUE;
  }
  if (count > static_cast<uint32_t>(marks.GetSize())) {
    Problem(L"records: %u counted, more than the %u used blocks", count, marks.GetSize());
    return FALSE;
  }
  uint32_t record = first;
  for (uint32_t step = 0; step < count; ++step) {
    if (!IsUsedBlock(record)) {
      Problem(L"records: record %u of the ring, at %u, is no used block", step, record);
      return FALSE;
    }
    if (marks[IndexOf(record)] == kRecordBlock) {
      Problem(L"records: the ring comes back to %u after %u of %u records", record, step, count);
      return FALSE;
    }
    if (!CheckRecord(record)) return FALSE;
    found.Add(record);
    uint32_t next = Word(record + PropsStore::kNextRecordField);
    if (!IsUsedBlock(next)) {
      Problem(L"records: record %u links to %u, which is no used block", record, next);
      return FALSE;
    }
    if (Word(next + PropsStore::kPrevRecordField) != record) {
      Problem(L"records: record %u links to %u, whose previous is %u", record, next,
              Word(next + PropsStore::kPrevRecordField));
      return FALSE;
    }
    record = next;
  }
  if (record != first) {
    Problem(L"records: the ring doesn't close after the %u records counted", count);
    return FALSE;
  }
  return TRUE;
}

void Checker::CheckAccounting() {
  uint32_t lost = 0;
  uint32_t firstLost = 0;
  for (int i = 0; i < marks.GetSize(); ++i) {
    if (marks[i] != kUnclaimed) continue;
    if (lost == 0)
      firstLost =
          PropsStore::kHeaderSize + BlockPool::kHeaderSize + static_cast<uint32_t>(i) * BlockPool::kBlockSize;
    ++lost;
  }
  if (lost > 0)
    Problem(L"pool: %u used blocks, the first at %u, are in no record and not free", lost, firstLost);
}

int CompareOffsets(const void* a, const void* b) {
  uint32_t x = *static_cast<const uint32_t*>(a);
  uint32_t y = *static_cast<const uint32_t*>(b);
  return x < y ? -1 : (x > y ? 1 : 0);
}

void Sort(Array<uint32_t>& offsets) {
  if (offsets.GetSize() > 1)
    qsort(offsets.GetData(), static_cast<size_t>(offsets.GetSize()), sizeof(uint32_t), CompareOffsets);
}

void Checker::CompareRecords(Array<uint32_t>& found, const Array<uint32_t>& records) {
  Sort(found);
  Array<uint32_t> sorted = records;
  Sort(sorted);
  Array<uint32_t> named;
  for (int i = 0; i < sorted.GetSize(); ++i) {
    if (i > 0 && sorted[i] == sorted[i - 1]) {
      if (i == 1 || sorted[i - 1] != sorted[i - 2])
        Problem(L"index: record %u is named more than once", sorted[i]);
      continue;
    }
    named.Add(sorted[i]);
  }
  // Both sorted and distinct: one merge finds what only one side has.
  int a = 0, b = 0;
  while (a < found.GetSize() || b < named.GetSize()) {
    if (b >= named.GetSize() || (a < found.GetSize() && found[a] < named[b])) {
      Problem(L"index: record %u isn't named by any contact", found[a]);
      ++a;
    } else if (a >= found.GetSize() || named[b] < found[a]) {
      Problem(L"index: a contact names %u, which is no record", named[b]);
      ++b;
    } else {
      ++a;
      ++b;
    }
  }
}

BOOL Checker::Run(const Array<uint32_t>* records) {
  if (!CheckHeader()) return FALSE;
  pool = BlockPool(const_cast<BYTE*>(data) + PropsStore::kHeaderSize, PropsStore::PoolSize(length));
  BOOL poolSound = pool.Verify(marks, report);
  if (!poolSound) ok = FALSE;
  uint32_t firstUnused = pool.FirstUnused();
  if (firstUnused < BlockPool::kHeaderSize || firstUnused > pool.Size() ||
      (firstUnused - BlockPool::kHeaderSize) % BlockPool::kBlockSize != 0)
    return FALSE;
  Array<uint32_t> found;
  BOOL walked = WalkRecords(found);
  if (walked && poolSound) CheckAccounting();
  if (records != nullptr) {
    if (walked)
      CompareRecords(found, *records);
    else
      Problem(L"index: the records can't be compared, their ring is broken");
  }
  return ok;
}

}  // namespace

BOOL PropsStore::CheckData(const BYTE* data, uint32_t length, const Array<uint32_t>* records, Str* report) {
  Checker checker(data, length, report);
  return checker.Run(records);
}

BOOL PropsStore::Check(Str& report) const { return CheckData(data, length, nullptr, &report); }

BOOL PropsStore::Check(Str& report, const Array<uint32_t>& records) const {
  return CheckData(data, length, &records, &report);
}
