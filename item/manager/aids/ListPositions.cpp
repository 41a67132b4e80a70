// ListPositions and PositionSet.
#include "manager/aids/ListPositions.h"

#include <string.h>

#include "storage/index/IndexStore.h"

namespace {

uint32_t HashOf(uint32_t oid) { return oid * 2654435761u; }

// The oids of the list at header slot `slot`, or null with `count` 0 for no list; false when the
// list doesn't lie inside the data.
bool MappedList(const IndexStore& store, uint32_t slot, const uint32_t** oids, uint32_t* count) {
  *oids = nullptr;
  *count = 0;
  const uint32_t list = store.HeaderWord(slot);
  if (list == 0) return true;
  const uint64_t length = store.Length();
  if (list % 4 != 0 || static_cast<uint64_t>(list) + 4 > length) return false;
  const uint32_t n = store.Words(list)[0];
  if (static_cast<uint64_t>(list) + 4 + 4ull * n > length) return false;
  *oids = store.Words(list) + 1;
  *count = n;
  return true;
}

// Whether `copy` holds exactly the `count` oids at `oids`.
bool SameList(const Array<uint32_t>& copy, const uint32_t* oids, uint32_t count) {
  if (static_cast<uint32_t>(copy.GetSize()) != count) return false;
  return count == 0 || memcmp(copy.GetData(), oids, count * sizeof(uint32_t)) == 0;
}

void CopyList(Array<uint32_t>& copy, const uint32_t* oids, uint32_t count) {
  copy.SetSize(static_cast<int>(count));
  if (count > 0) memcpy(copy.GetData(), oids, count * sizeof(uint32_t));
}

}  // namespace

// --- PositionSet ---------------------------------------------------------------------------------------

void PositionSet::Reset(int newSize) {
  size = newSize;
  const int words = (newSize + 31) / 32;
  bits.SetSize(words);
  if (words > 0) memset(bits.GetData(), 0, static_cast<size_t>(words) * sizeof(uint32_t));
}

void PositionSet::Intersect(const PositionSet& other) {
  const int words = bits.GetSize() < other.bits.GetSize() ? bits.GetSize() : other.bits.GetSize();
  for (int k = 0; k < words; ++k) bits[k] &= other.bits[k];
  for (int k = words; k < bits.GetSize(); ++k) bits[k] = 0;
}

int PositionSet::Count() const {
  int count = 0;
  for (int k = 0; k < bits.GetSize(); ++k) count += __builtin_popcount(bits[k]);
  return count;
}

int PositionSet::Next(int from) const {
  if (from < 0) from = 0;
  int word = from >> 5;
  if (word >= bits.GetSize()) return -1;
  uint32_t rest = bits[word] & (~0u << (from & 31));
  for (;;) {
    if (rest != 0) return (word << 5) + __builtin_ctz(rest);
    if (++word >= bits.GetSize()) return -1;
    rest = bits[word];
  }
}

// --- ListPositions -------------------------------------------------------------------------------------

ListPositions::ListPositions() : valid(FALSE), generation(0) {}

ListPositions::~ListPositions() {}

void ListPositions::Clear() {
  nameList.RemoveAll();
  fileAsList.RemoveAll();
  fileAsOrder.RemoveAll();
  fileAsRank.RemoveAll();
  tableOids.RemoveAll();
  tablePositions.RemoveAll();
  valid = FALSE;
  ++generation;
}

BOOL ListPositions::Sync(const IndexStore& store) {
  const uint32_t *names, *fileAs;
  uint32_t nameCount, fileAsCount;
  if (store.Data() == nullptr || !MappedList(store, kNameListSlot, &names, &nameCount) ||
      !MappedList(store, kFileAsListSlot, &fileAs, &fileAsCount) || nameCount != fileAsCount ||
      nameCount > 0x7FFFFFF) {
    Clear();
    return FALSE;
  }
  if (valid && SameList(nameList, names, nameCount) && SameList(fileAsList, fileAs, fileAsCount)) return TRUE;
  CopyList(nameList, names, nameCount);
  CopyList(fileAsList, fileAs, fileAsCount);
  ++generation;
  valid = Index();
  if (!valid) {
    // Kept as a copy, so that the same lists aren't judged again on every search.
    fileAsOrder.RemoveAll();
    fileAsRank.RemoveAll();
    tableOids.RemoveAll();
    tablePositions.RemoveAll();
  }
  return valid;
}

BOOL ListPositions::Index() {
  const int count = nameList.GetSize();
  int size = 1024;
  while (size < count * 2) size *= 2;
  tableOids.SetSize(size);
  tablePositions.SetSize(size);
  memset(tablePositions.GetData(), 0xFF, static_cast<size_t>(size) * sizeof(int32_t));
  const uint32_t mask = static_cast<uint32_t>(size - 1);
  for (int position = 0; position < count; ++position) {
    const uint32_t oid = nameList[position];
    uint32_t at = HashOf(oid) & mask;
    while (tablePositions[static_cast<int>(at)] >= 0) {
      if (tableOids[static_cast<int>(at)] == oid) return FALSE;  // listed twice
      at = (at + 1) & mask;
    }
    tableOids[static_cast<int>(at)] = oid;
    tablePositions[static_cast<int>(at)] = position;
  }
  // Same count and every File As oid once in the name list: the same contacts.
  fileAsOrder.SetSize(count);
  fileAsRank.SetSize(count);
  if (count > 0) memset(fileAsRank.GetData(), 0xFF, static_cast<size_t>(count) * sizeof(int32_t));
  for (int k = 0; k < count; ++k) {
    const int position = PositionOf(fileAsList[k]);
    if (position < 0 || fileAsRank[position] >= 0) return FALSE;
    fileAsRank[position] = k;
    fileAsOrder[k] = position;
  }
  return TRUE;
}

int ListPositions::PositionOf(uint32_t oid) const {
  const int size = tableOids.GetSize();
  if (size == 0) return -1;
  const uint32_t mask = static_cast<uint32_t>(size - 1);
  const uint32_t* oids = tableOids.GetData();
  const int32_t* positionsAt = tablePositions.GetData();
  for (uint32_t at = HashOf(oid) & mask;; at = (at + 1) & mask) {
    const int32_t position = positionsAt[at];
    if (position < 0) return -1;
    if (oids[at] == oid) return position;
  }
}
