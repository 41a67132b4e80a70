// What the comparison of a stale index with the database reads before the copies of a deferred open
// have ended: the name list and the contact map are read from the index file into the interim data,
// the records' checksums through a view of the props file, so that the start doesn't wait for the
// whole copy before it knows what changed.
#include "storage/index/ContactIndex.h"

#include <string.h>

#include "foundation/ShellSort.h"

namespace {

// Brings the counted structure of header slot `slot` in from the file: its count word was read by the
// open, its entries are read here. A structure past the file's end is refused.
BOOL FetchCounted(IndexStore& store, uint32_t slot, uint32_t entryBytes) {
  const uint32_t at = store.HeaderWord(slot);
  if (at == 0) return TRUE;
  uint32_t count = 0;
  if (!store.CountedAt(at, entryBytes, &count)) return FALSE;
  return store.FetchSpan(at + 4, count * entryBytes);
}

}  // namespace

BOOL ContactIndex::FetchForCompare() {
  if (!IsOpen() || !props.IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (IsDamaged()) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  compareMap.RemoveAll();
  if (loadState == StoresLoaded) return TRUE;
  // Both are at once true where the data is a mapping already (another process held it). The props
  // file is only looked at through a view: the comparison reads a word or two of every record.
  if (!store.CheckLayout(nullptr) || !FetchCounted(store, kNameListSlot, sizeof(uint32_t)) ||
      !FetchCounted(store, kContactMapSlot, sizeof(ContactMapEntry)) || !props.File().ViewFile() ||
      !ReadCompareMap()) {
    compareMap.RemoveAll();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  return TRUE;
}

BOOL ContactIndex::ReadCompareMap() {
  const uint32_t map = store.HeaderWord(kContactMapSlot);
  if (map == 0) return TRUE;
  uint32_t count = 0;
  if (!store.CountedAt(map, sizeof(ContactMapEntry), &count)) return FALSE;
  compareMap.SetSize(static_cast<int>(count));
  if (count == 0) return TRUE;
  memcpy(compareMap.GetData(), store.Words(map) + 1, count * sizeof(ContactMapEntry));
  // A map is written in ascending order and mostly stays so; one that doesn't is sorted here.
  BOOL ascending = TRUE;
  for (uint32_t k = 1; k < count && ascending; ++k) ascending = compareMap[k - 1].oid < compareMap[k].oid;
  if (ascending) return TRUE;
  ShellSort(compareMap, [](const ContactMapEntry& a, const ContactMapEntry& b) { return a.oid < b.oid; });
  // A contact mapped twice: the index doesn't hold together.
  for (uint32_t k = 1; k < count; ++k) {
    if (compareMap[k - 1].oid == compareMap[k].oid) return FALSE;
  }
  return TRUE;
}

BOOL ContactIndex::ListNamesForCompare(Array<CEOID>& ids) const {
  if (loadState == StoresLoaded) return ListAll(SortByName, ids);
  ids.RemoveAll();
  const uint32_t list = store.HeaderWord(kNameListSlot);
  if (list == 0) return TRUE;
  uint32_t count = 0;
  if (!store.CountedAt(list, sizeof(uint32_t), &count)) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  ids.SetSize(static_cast<int>(count));
  if (count > 0) memcpy(ids.GetData(), store.Words(list) + 1, count * sizeof(uint32_t));
  return TRUE;
}

BOOL ContactIndex::FindForCompare(CEOID oid, uint32_t* propsOffset) const {
  if (loadState == StoresLoaded) return Find(oid, propsOffset);
  const uint32_t id = static_cast<uint32_t>(oid);
  int low = 0;
  int high = compareMap.GetSize();
  while (low < high) {
    const int middle = low + (high - low) / 2;
    if (compareMap[middle].oid < id)
      low = middle + 1;
    else
      high = middle;
  }
  const bool known = low < compareMap.GetSize() && compareMap[low].oid == id;
  if (propsOffset != nullptr) *propsOffset = known ? compareMap[low].record : 0;
  return known;
}

BOOL ContactIndex::ChecksumForCompare(uint32_t propsOffset, uint32_t& checksum) const {
  if (loadState == StoresLoaded) return props.GetChecksum(propsOffset, checksum);
  return props.GetChecksumBeforeLoad(propsOffset, checksum);
}
