#include "storage/index/BulkBuilder.h"

#include <string.h>

#include "storage/index/RebuildSort.h"
#include "storage/contact/Contact.h"
#include "storage/index/IndexFormat.h"
#include "storage/index/IndexStore.h"
#include "storage/props/PropsStore.h"

BulkBuilder::BulkBuilder(bool onlyKeypad, const KeypadGroups* groups)
    : feed(this, groups), recordBytes(0), keypadOnly(onlyKeypad) {}

BulkBuilder::~BulkBuilder() { Clear(); }

void BulkBuilder::Clear() {
  for (int k = 0; k < kept.GetSize(); ++k) delete kept[k];
  kept.RemoveAll();
  byOid.Clear();
  trees[0].Clear();
  trees[1].Clear();
  recordBytes = 0;
}

BOOL BulkBuilder::AddKey(int tree, CEOID oid, const Str& key) {
  return AddKeyChars(tree, oid, key, key.GetLength());
}

BOOL BulkBuilder::AddKeyChars(int tree, CEOID oid, const wchar_t* key, int length) {
  if (length <= 0) return TRUE;
  if (tree != KeypadTree && keypadOnly) return TRUE;
  trees[tree == KeypadTree ? 1 : 0].Add(key, length, static_cast<uint32_t>(oid));
  return TRUE;
}

BOOL BulkBuilder::AddContact(Contact* contact, const wchar_t* noteText) {
  if (contact == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const uint32_t oid = static_cast<uint32_t>(contact->oid);
  if (!keypadOnly && byOid.Find(oid, nullptr)) {
    delete contact;
    SetLastError(ERROR_ALREADY_EXISTS);
    return FALSE;
  }
  feed.FeedContact(*contact, noteText);
  if (keypadOnly) {
    delete contact;
    return TRUE;
  }
  contact->StripForSort();
  recordBytes += PropsStore::RecordSize(*contact);
  byOid.Insert(oid, static_cast<uint32_t>(kept.GetSize()));
  kept.Add(contact);
  return TRUE;
}

void BulkBuilder::ContactsInOidOrder(Array<Contact*>& contacts) const {
  Array<uint32_t> oids, places;
  byOid.List(oids, places);
  contacts.SetSize(places.GetSize());
  for (int k = 0; k < places.GetSize(); ++k) contacts[k] = kept[static_cast<int>(places[k])];
}

BOOL BulkBuilder::WriteTree(IndexStore& store, int kind) {
  if (kind == KeypadTree) return trees[1].Write(store, kKeypadRootSlot, kKeypadReverseSlot);
  return trees[0].Write(store, kWordRootSlot, kWordReverseSlot);
}

BOOL BulkBuilder::WriteSortedLists(IndexStore& store) {
  Array<Contact*> contacts;
  ContactsInOidOrder(contacts);
  const int kinds[2] = {SortByName, SortByFileAs};
  for (int kind : kinds) {
    const uint32_t slot = kind == SortByFileAs ? kFileAsListSlot : kNameListSlot;
    if (contacts.GetSize() == 0) {
      store.SetHeaderWord(slot, 0);
      continue;
    }
    Array<CEOID> ids;
    SortContactsByKey(kind, contacts, ids);
    const uint32_t count = static_cast<uint32_t>(ids.GetSize());
    uint32_t list;
    if (!store.AllocateBlock(4 + 4 * count, &list)) return FALSE;
    uint32_t* words = store.Words(list);
    words[0] = count;
    for (uint32_t k = 0; k < count; ++k) words[1 + k] = static_cast<uint32_t>(ids[static_cast<int>(k)]);
    store.SetHeaderWord(slot, list);
  }
  return TRUE;
}

BOOL BulkBuilder::WriteContactMap(IndexStore& store, const Array<uint32_t>& records) {
  Array<Contact*> contacts;
  ContactsInOidOrder(contacts);
  if (contacts.GetSize() == 0) {
    store.SetHeaderWord(kContactMapSlot, 0);
    return TRUE;
  }
  const uint32_t count = static_cast<uint32_t>(contacts.GetSize());
  uint32_t map;
  if (!store.AllocateBlock(4 + 8 * count, &map)) return FALSE;
  uint32_t* words = store.Words(map);
  words[0] = count;
  ContactMapEntry* entries = reinterpret_cast<ContactMapEntry*>(words + 1);
  for (uint32_t k = 0; k < count; ++k) {
    entries[k].oid = static_cast<uint32_t>(contacts[static_cast<int>(k)]->oid);
    entries[k].record = static_cast<int>(k) < records.GetSize() ? records[static_cast<int>(k)] : 0;
  }
  store.SetHeaderWord(kContactMapSlot, map);
  return TRUE;
}
