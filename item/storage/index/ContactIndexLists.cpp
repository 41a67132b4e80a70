// ContactIndex: the two sorted contact lists and the contact map of the index file.
//
// A sorted list is u32 count and the oids in the order of their keys. A contact goes in by a binary
// search that reads the keys of the contacts already there; one whose key can't be read any more is
// stale, leaves the list, and the search runs again. Every change makes a new list and frees the old.
// The contact map is u32 count and {oid, props record} pairs, new contacts at the end.
#include "storage/index/ContactIndex.h"

#include <string.h>

#include "storage/contact/Contact.h"
#include "storage/index/ContactKeySource.h"

namespace {

// An allocation that follows the release of a block at least as large: it can't fail but in a store
// found damaged meanwhile, which gives 0.
uint32_t AllocateFreed(IndexStore& store, uint32_t size) {
  uint32_t offset;
  if (store.AllocateBlock(size, &offset)) return offset;
  if (!store.IsDamaged()) FailureStop(L"Unable open memory as mapped file!!!", L"IndexStore", __LINE__);
  return 0;
}

// Replaces the list at `slot` by the same list without entry `at` (of `width` words each), or drops
// it when it was the last one. Needs no memory from the store.
void DropEntry(IndexStore& store, uint32_t slot, uint32_t at, uint32_t width, Array<uint32_t>& scratch) {
  const uint32_t list = store.HeaderWord(slot);
  const uint32_t* words = store.CountedWords(list, 4 * width);
  if (words == nullptr) return;
  const uint32_t count = words[0];
  if (at >= count) {
    store.NoteDamage();
    return;
  }
  if (count == 1) {
    store.FreeOffset(list);
    if (!store.IsDamaged()) store.SetHeaderWord(slot, 0);
    return;
  }
  const uint32_t remaining = count - 1;
  scratch.SetSize(static_cast<int>(remaining * width));
  const uint32_t* source = words + 1;
  memcpy(scratch.GetData(), source, static_cast<size_t>(at * width) * 4);
  memcpy(scratch.GetData() + at * width, source + (at + 1) * width,
         static_cast<size_t>((remaining - at) * width) * 4);
  store.FreeOffset(list);
  if (store.IsDamaged()) return;
  const uint32_t fresh = AllocateFreed(store, 4 + 4 * width * remaining);
  if (fresh == 0) return;
  uint32_t* target = store.Words(fresh);
  target[0] = remaining;
  memcpy(target + 1, scratch.GetData(), static_cast<size_t>(remaining * width) * 4);
  store.SetHeaderWord(slot, fresh);
}

// Stale contacts one insertion drops from a sorted list before it gives up on the list.
const int kStaleDropLimit = 64;

}  // namespace

bool ContactIndex::ReadKey(int kind, CEOID oid, Str& key) const {
  if (keys == nullptr) {
    key.Empty();
    return true;
  }
  return keys->ReadSortKey(kind, oid, key);
}

void ContactIndex::RemoveSorted(int kind, CEOID oid) {
  const uint32_t slot = ListSlot(kind);
  const uint32_t list = store.HeaderWord(slot);
  if (list == 0 || store.IsDamaged()) return;
  const uint32_t* words = store.CountedWords(list, sizeof(uint32_t));
  if (words == nullptr) return;
  const uint32_t count = words[0];
  const uint32_t* ids = words + 1;
  for (uint32_t k = 0; k < count; ++k) {
    if (ids[k] == static_cast<uint32_t>(oid)) {
      Array<uint32_t> scratch;
      DropEntry(store, slot, k, 1, scratch);
      return;
    }
  }
}

BOOL ContactIndex::InsertSorted(int kind, const Contact& contact) {
  const CEOID oid = contact.oid;
  const uint32_t slot = ListSlot(kind);
  const Str key = SortKeyOf(kind, contact);
  // A contact that is there already (an update) takes its place anew.
  RemoveSorted(kind, oid);

  Str other;
  int staleDrops = 0;
  for (;;) {
    if (store.IsDamaged()) return FALSE;
    const uint32_t list = store.HeaderWord(slot);
    if (list != 0 && store.CountedWords(list, sizeof(uint32_t)) == nullptr) return FALSE;
    const uint32_t count = list != 0 ? store.Words(list)[0] : 0;
    // Binary search for the first entry that stands after the new one. The middle entry is read, and
    // when the new one stands after it, its neighbour too, which may end the search at once.
    uint32_t low = 0;
    uint32_t high = count;
    uint32_t stale = count;
    while (low < high) {
      const uint32_t middle = low + (high - low) / 2;
      const uint32_t id = store.Words(store.HeaderWord(slot))[1 + middle];
      if (!ReadKey(kind, id, other)) {
        stale = middle;
        break;
      }
      if (CompareSortKeys(key, oid, other, id) < 0) {
        high = middle;
        continue;
      }
      if (middle + 1 >= high) {
        low = middle + 1;
        continue;
      }
      const uint32_t next = store.Words(store.HeaderWord(slot))[2 + middle];
      if (!ReadKey(kind, next, other)) {
        stale = middle + 1;
        break;
      }
      if (CompareSortKeys(key, oid, other, next) < 0) {
        low = middle + 1;
        high = middle + 1;
      } else {
        low = middle + 2;
      }
    }
    if (stale < count) {
      // That contact is gone from the database: it leaves the list, and the search starts over. A
      // list with more stale contacts than an insertion should meet is out of step with the database
      // as a whole (or damaged): the index is judged damaged and made anew instead.
      if (++staleDrops > kStaleDropLimit) {
        store.NoteDamage();
        return FALSE;
      }
      Array<uint32_t> scratch;
      DropEntry(store, slot, stale, 1, scratch);
      continue;
    }
    uint32_t fresh;
    if (!store.AllocateBlock(4 + 4 * (count + 1), &fresh)) return FALSE;
    uint32_t* target = store.Words(fresh);
    target[0] = count + 1;
    // The list is where it was: the key source reads nothing of the store.
    const uint32_t current = store.HeaderWord(slot);
    if (current != 0) {
      const uint32_t* source = store.Words(current) + 1;
      memcpy(target + 1, source, static_cast<size_t>(low) * 4);
      memcpy(target + 2 + low, source + low, static_cast<size_t>(count - low) * 4);
      store.FreeOffset(current);
    }
    target[1 + low] = static_cast<uint32_t>(oid);
    store.SetHeaderWord(slot, fresh);
    return TRUE;
  }
}

BOOL ContactIndex::MapContact(CEOID oid, uint32_t propsOffset) {
  const uint32_t id = static_cast<uint32_t>(oid);
  if (store.IsDamaged()) return FALSE;
  const uint32_t map = store.HeaderWord(kContactMapSlot);
  if (map != 0 && store.CountedWords(map, sizeof(ContactMapEntry)) == nullptr) return FALSE;
  const uint32_t count = map != 0 ? store.Words(map)[0] : 0;
  if (contacts.Find(id, nullptr)) {
    ContactMapEntry* entries = reinterpret_cast<ContactMapEntry*>(store.Words(map) + 1);
    for (uint32_t k = 0; k < count; ++k) {
      if (entries[k].oid == id) entries[k].record = propsOffset;
    }
    contacts.Insert(id, propsOffset);
    return TRUE;
  }
  uint32_t fresh;
  if (!store.AllocateBlock(4 + 8 * (count + 1), &fresh)) return FALSE;
  uint32_t* target = store.Words(fresh);
  target[0] = count + 1;
  if (map != 0) {
    memcpy(target + 1, store.Words(map) + 1, static_cast<size_t>(count) * 8);
    store.FreeOffset(map);
  }
  ContactMapEntry* added = reinterpret_cast<ContactMapEntry*>(target + 1) + count;
  added->oid = id;
  added->record = propsOffset;
  store.SetHeaderWord(kContactMapSlot, fresh);
  contacts.Insert(id, propsOffset);
  return TRUE;
}

BOOL ContactIndex::UnmapContact(CEOID oid) {
  const uint32_t id = static_cast<uint32_t>(oid);
  if (!contacts.Erase(id)) return FALSE;
  const uint32_t map = store.HeaderWord(kContactMapSlot);
  if (map == 0 || store.IsDamaged()) return TRUE;
  uint32_t* words = store.CountedWords(map, sizeof(ContactMapEntry));
  if (words == nullptr) return TRUE;
  const uint32_t count = words[0];
  ContactMapEntry* entries = reinterpret_cast<ContactMapEntry*>(words + 1);
  for (uint32_t k = 0; k < count; ++k) {
    if (entries[k].oid != id) continue;
    if (count == 1) {
      store.FreeOffset(map);
      store.SetHeaderWord(kContactMapSlot, 0);
      return TRUE;
    }
    // In place: what follows moves down.
    memmove(entries + k, entries + k + 1, static_cast<size_t>(count - k - 1) * sizeof(ContactMapEntry));
    words[0] = count - 1;
    return TRUE;
  }
  return TRUE;
}
