#include "storage/index/ContactIndex.h"

#include "foundation/ShellSort.h"
#include "storage/contact/Contact.h"
#include "storage/index/ContactKeySource.h"
#include "storage/index/WordSplitter.h"

ContactIndex::ContactIndex()
    : wordTree(&store, kWordRootSlot, kWordReverseSlot),
      keypadTree(&store, kKeypadRootSlot, kKeypadReverseSlot), feed(this), keys(nullptr) {}

ContactIndex::~ContactIndex() { CloseStores(); }

void ContactIndex::SetKeypadGroups(const KeypadGroups* table) { feed.SetKeypadGroups(table); }

// --- files ---------------------------------------------------------------------------------------------

BOOL ContactIndex::Create() {
  contacts.Clear();
  return store.Create(IndexStore::kCreateSize);
}

BOOL ContactIndex::Open() {
  contacts.Clear();
  if (!store.Open(0)) return FALSE;
  LoadContactTree();
  return TRUE;
}

void ContactIndex::Close() {
  store.Close();
  contacts.Clear();
  touched[WordTree].RemoveAll();
  touched[KeypadTree].RemoveAll();
}

BOOL ContactIndex::CreateStores(uint32_t expectedPropsBytes) {
  CloseStores();
  if (!props.Create(expectedPropsBytes)) return FALSE;
  if (!Create()) {
    DWORD error = GetLastError();
    props.Close();
    SetLastError(error);
    return FALSE;
  }
  return TRUE;
}

BOOL ContactIndex::OpenStores() {
  CloseStores();
  if (!props.Open(TRUE)) return FALSE;
  if (!Open()) {
    DWORD error = GetLastError();
    props.Close();
    SetLastError(error);
    return FALSE;
  }
  return TRUE;
}

void ContactIndex::CloseStores() {
  Close();
  props.Close();
}

BOOL ContactIndex::Save(BOOL background) {
  BOOL saved = TRUE;
  if (IsOpen() && !store.Save(background)) saved = FALSE;
  if (props.IsOpen() && !props.Save(background)) saved = FALSE;
  return saved;
}

void ContactIndex::CancelSave() {
  if (IsOpen()) store.File().CancelSave();
  if (props.IsOpen()) props.CancelSave();
}

void ContactIndex::LoadContactTree() {
  contacts.Clear();
  const uint32_t map = store.HeaderWord(kContactMapSlot);
  if (map == 0) return;
  const uint32_t count = store.Words(map)[0];
  const ContactMapEntry* entries = reinterpret_cast<const ContactMapEntry*>(store.Words(map) + 1);
  for (uint32_t k = 0; k < count; ++k) contacts.Insert(entries[k].oid, entries[k].record);
}

// --- the feed ----------------------------------------------------------------------------------------------

BOOL ContactIndex::AddKey(int tree, CEOID oid, const Str& key) {
  if (key.IsEmpty()) return TRUE;
  uint32_t node;
  if (!Tree(tree).Add(key, key.GetLength(), oid, &node)) return FALSE;
  if (node != 0) touched[tree == KeypadTree ? KeypadTree : WordTree].Add(node);
  return TRUE;
}

BOOL ContactIndex::FeedContact(const Contact& contact, const wchar_t* noteText) {
  return feed.FeedContact(contact, noteText);
}

BOOL ContactIndex::AddText(CEOID oid, const wchar_t* text) { return feed.AddText(oid, text); }

BOOL ContactIndex::AddPhone(CEOID oid, const wchar_t* number) { return feed.AddPhone(oid, number); }

// --- contacts ----------------------------------------------------------------------------------------------

BOOL ContactIndex::AddContact(const Contact& contact, const wchar_t* noteText, uint32_t propsOffset) {
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  store.File().CancelSave();
  const CEOID oid = contact.oid;
  touched[WordTree].RemoveAll();
  touched[KeypadTree].RemoveAll();
  BOOL done = FeedContact(contact, noteText) && wordTree.RecordNodes(oid, touched[WordTree]) &&
              keypadTree.RecordNodes(oid, touched[KeypadTree]) && InsertSorted(SortByName, contact) &&
              InsertSorted(SortByFileAs, contact) && MapContact(oid, propsOffset);
  if (!done) {
    // The file is full: the contact stays out of the index rather than half in it.
    DWORD error = GetLastError();
    RemoveFromIndex(oid, true);
    SetLastError(error);
  }
  touched[WordTree].RemoveAll();
  touched[KeypadTree].RemoveAll();
  return done;
}

BOOL ContactIndex::UpdateContact(const Contact& contact, const wchar_t* noteText, uint32_t propsOffset) {
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  store.File().CancelSave();
  wordTree.Remove(contact.oid, nullptr);
  keypadTree.Remove(contact.oid, nullptr);
  return AddContact(contact, noteText, propsOffset);
}

BOOL ContactIndex::RemoveFromIndex(CEOID oid, bool withTouched) {
  wordTree.Remove(oid, withTouched ? &touched[WordTree] : nullptr);
  keypadTree.Remove(oid, withTouched ? &touched[KeypadTree] : nullptr);
  RemoveSorted(SortByName, oid);
  RemoveSorted(SortByFileAs, oid);
  return UnmapContact(oid);
}

BOOL ContactIndex::RemoveContact(CEOID oid) {
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  store.File().CancelSave();
  uint32_t record = 0;
  bool known = contacts.Find(static_cast<uint32_t>(oid), &record);
  RemoveFromIndex(oid, false);
  if (known && record != 0 && props.IsOpen()) props.DeleteRecord(record);
  if (!known) SetLastError(ERROR_NOT_FOUND);
  return known;
}

BOOL ContactIndex::AddContact(const Contact& contact, const wchar_t* noteText) {
  if (!IsOpen() || !props.IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  CancelSave();
  uint32_t record = props.AddRecord(contact);
  if (record == 0) return FALSE;
  if (!AddContact(contact, noteText, record)) {
    DWORD error = GetLastError();
    props.DeleteRecord(record);
    SetLastError(error);
    return FALSE;
  }
  return TRUE;
}

BOOL ContactIndex::UpdateContact(const Contact& contact, const wchar_t* noteText) {
  if (!IsOpen() || !props.IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  CancelSave();
  uint32_t record = 0;
  if (!contacts.Find(static_cast<uint32_t>(contact.oid), &record) || record == 0) {
    // Not known yet: take the contact's trees part out in case, and add it whole.
    wordTree.Remove(contact.oid, nullptr);
    keypadTree.Remove(contact.oid, nullptr);
    return AddContact(contact, noteText);
  }
  if (!props.UpdateRecord(record, contact)) {
    // The record stays as it was; so does the contact's place in the index.
    return FALSE;
  }
  if (!UpdateContact(contact, noteText, record)) {
    // Out of the index, so out of the store as well.
    DWORD error = GetLastError();
    props.DeleteRecord(record);
    SetLastError(error);
    return FALSE;
  }
  return TRUE;
}

BOOL ContactIndex::Find(CEOID oid, uint32_t* propsOffset) const {
  uint32_t record = 0;
  bool known = contacts.Find(static_cast<uint32_t>(oid), &record);
  if (propsOffset != nullptr) *propsOffset = known ? record : 0;
  return known;
}

// --- lookups -----------------------------------------------------------------------------------------------

BOOL ContactIndex::FindPrefix(int tree, const wchar_t* key, Array<CEOID>& ids) const {
  ids.RemoveAll();
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  const SearchTree& which = tree == KeypadTree ? keypadTree : wordTree;
  which.FindPrefix(key, key != nullptr ? static_cast<int>(wcslen(key)) : 0, ids);
  return TRUE;
}

BOOL ContactIndex::FindWords(int tree, const wchar_t* text, Array<CEOID>& ids) const {
  ids.RemoveAll();
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  WordSplitter splitter;
  splitter.Reset(Str(text));
  Str word;
  bool first = true;
  Array<CEOID> found;
  while (splitter.Next(word)) {
    FindPrefix(tree, word, found);
    if (found.GetSize() == 0) {
      ids.RemoveAll();
      return TRUE;
    }
    if (first) {
      ids = found;
      first = false;
      continue;
    }
    KeepCommonIds(ids, found);
    if (ids.GetSize() == 0) return TRUE;
  }
  return TRUE;
}

BOOL ContactIndex::ListAll(int kind, Array<CEOID>& ids) const {
  ids.RemoveAll();
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  const uint32_t list = store.HeaderWord(ListSlot(kind));
  if (list == 0) return TRUE;
  const uint32_t* words = store.Words(list);
  ids.SetSize(static_cast<int>(words[0]));
  for (uint32_t k = 0; k < words[0]; ++k) ids[static_cast<int>(k)] = words[1 + k];
  return TRUE;
}

BOOL ContactIndex::ListFiltered(int kind, const Array<CEOID>& ids, Array<CEOID>& result) const {
  if (!ListAll(kind, result)) return FALSE;
  if (ids.GetSize() == result.GetSize()) return TRUE;
  Array<CEOID> wanted(ids);
  SortIds(wanted);
  int kept = 0;
  for (int k = 0; k < result.GetSize(); ++k) {
    if (ContainsId(wanted, static_cast<uint32_t>(result[k]))) result[kept++] = result[k];
  }
  result.SetSize(kept);
  return TRUE;
}
