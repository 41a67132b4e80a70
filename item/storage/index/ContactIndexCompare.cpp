// What the comparison of a stale index with the database reads, while the copies of a deferred open
// still run: the few spans it needs are read from the files into the interim data, so that the start
// doesn't wait for the whole copy before it knows what changed.
#include "storage/index/ContactIndex.h"

#include <string.h>

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
  if (loadState == StoresLoaded) return TRUE;
  // FetchSpan is at once true where the data is a mapping already (another process held it).
  if (!store.CheckLayout(nullptr) || !FetchCounted(store, kNameListSlot, sizeof(uint32_t)) ||
      !FetchCounted(store, kContactMapSlot, sizeof(ContactMapEntry)) ||
      !props.File().FetchSpan(0, props.Length())) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  // The contact tree from the map as the file holds it; the load reads it anew from the mapping.
  if (!LoadContactTree()) {
    contacts.Clear();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
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
  uint32_t record = 0;
  const bool known = contacts.Find(static_cast<uint32_t>(oid), &record);
  if (propsOffset != nullptr) *propsOffset = known ? record : 0;
  return known;
}

BOOL ContactIndex::ChecksumForCompare(uint32_t propsOffset, uint32_t& checksum) const {
  if (loadState == StoresLoaded && !EnsureLoaded()) return FALSE;
  return props.GetChecksum(propsOffset, checksum);
}
