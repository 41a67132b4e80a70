#include "storage/index/ContactIndex.h"

#include "foundation/DebugUtils.h"
#include "foundation/ShellSort.h"
#include "storage/contact/Contact.h"
#include "storage/index/ContactKeySource.h"
#include "storage/index/WordSplitter.h"

#include <string.h>

ContactIndex::ContactIndex()
    : wordTree(&store, kWordRootSlot, kWordReverseSlot),
      keypadTree(&store, kKeypadRootSlot, kKeypadReverseSlot), feed(this), keys(nullptr),
      loadState(StoresLoaded), walkPhase(WalkNone), indexWalk(nullptr), indexWalkChanges(0),
      walkDamage(FALSE), walksEnded(0), walkSlices(0) {}

ContactIndex::~ContactIndex() {
  CloseStores();
  ClearWalk();
}

void ContactIndex::SetKeypadGroups(const KeypadGroups* table) { feed.SetKeypadGroups(table); }

// --- files ---------------------------------------------------------------------------------------------

BOOL ContactIndex::Create() {
  contacts.Clear();
  ClearWalk();
  loadState = StoresLoaded;
  return store.Create(IndexStore::kCreateSize);
}

BOOL ContactIndex::Open() {
  contacts.Clear();
  ClearWalk();
  loadState = StoresLoaded;
  if (!store.Open(0)) return FALSE;
  Str report;
  if (!store.CheckLayout(nullptr) || !store.Check(report) || !LoadContactTree()) {
    if (!report.IsEmpty()) {
      const int end = report.Find(L'\n');
      Str message = L"ContactIndex::Open: ";
      message += end >= 0 ? report.Left(end) : report;
      LogError(message, L"ContactIndex", L"Open", __LINE__);
    }
    store.Close();
    contacts.Clear();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  return TRUE;
}

void ContactIndex::Close() {
  store.Close();
  contacts.Clear();
  compareMap.RemoveAll();
  ClearWalk();
  loadState = StoresLoaded;
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

BOOL ContactIndex::OpenStores(BOOL deferred) {
  CloseStores();
  if (!deferred) {
    if (!props.Open(TRUE)) return FALSE;
    if (!Open()) {
      DWORD error = GetLastError();
      props.Close();
      SetLastError(error);
      return FALSE;
    }
    return TRUE;
  }
  if (!props.OpenDeferred()) return FALSE;
  if (!store.OpenDeferred()) {
    DWORD error = GetLastError();
    props.Close();
    SetLastError(error);
    return FALSE;
  }
  loadState = StoresLoading;
  walkPhase = WalkLoad;
  return TRUE;
}

void ContactIndex::StartLoading() {
  // In the order EnsureLoaded waits for them.
  store.File().StartLoad();
  props.File().StartLoad();
}

BOOL ContactIndex::IsLoading() const { return store.IsLoading() || props.IsLoading(); }

BOOL ContactIndex::ReadHeads(Heads& heads) const {
  if (!IsOpen() || !props.IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  // During a copy the data holds the head and the count words the deferred open fetched.
  if (IsDamaged() || !store.CheckLayout(nullptr)) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  const uint32_t map = store.HeaderWord(kContactMapSlot);
  heads.contacts = 0;
  if (map != 0 && !store.CountedAt(map, sizeof(ContactMapEntry), &heads.contacts)) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  heads.records = props.RecordCount();
  heads.stamp = props.GetDbState();
  heads.indexLength = store.Length();
  return TRUE;
}

BOOL ContactIndex::EnsureLoaded() const {
  if (loadState == StoresLoaded && !store.IsDamaged()) return TRUE;
  if (loadState == StoresLoaded) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  if (loadState == StoresLoading) return const_cast<ContactIndex*>(this)->FinishLoad();
  SetLastError(ERROR_INVALID_DATA);
  return FALSE;
}

BOOL ContactIndex::FinishLoad() {
  // Both copies end before anything is judged: neither may still write when the stores close.
  const BOOL indexWhole = store.WaitLoaded();
  const BOOL propsWhole = props.WaitLoaded();
  compareMap.RemoveAll();
  if (indexWhole && propsWhole && store.CheckLayout(nullptr) && LoadContactTree()) {
    loadState = StoresLoaded;
    return TRUE;
  }
  contacts.Clear();
  loadState = StoresDamaged;
  SetLastError(ERROR_INVALID_DATA);
  return FALSE;
}

void ContactIndex::CloseStores() {
  Close();
  props.Close();
}

BOOL ContactIndex::Save(BOOL background) {
  // Only whole files are saved: a damaged index leaves the files on disk as they are.
  if (!EnsureLoaded()) return FALSE;
  BOOL saved = TRUE;
  if (IsOpen() && !store.Save(background)) saved = FALSE;
  if (props.IsOpen() && !props.Save(background)) saved = FALSE;
  return saved;
}

void ContactIndex::CancelSave() {
  if (IsOpen()) store.File().CancelSave();
  if (props.IsOpen()) props.CancelSave();
}

BOOL ContactIndex::LoadContactTree() {
  contacts.Clear();
  const uint32_t map = store.HeaderWord(kContactMapSlot);
  if (map == 0) return TRUE;
  uint32_t count = 0;
  if (!store.CountedAt(map, sizeof(ContactMapEntry), &count)) return FALSE;
  const ContactMapEntry* entries = reinterpret_cast<const ContactMapEntry*>(store.Words(map) + 1);
  for (uint32_t k = 0; k < count; ++k) contacts.Insert(entries[k].oid, entries[k].record);
  return TRUE;
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
  if (!EnsureLoaded()) return FALSE;
  store.File().CancelSave();
  const CEOID oid = contact.oid;
  touched[WordTree].RemoveAll();
  touched[KeypadTree].RemoveAll();
  BOOL done = FeedContact(contact, noteText) && wordTree.RecordNodes(oid, touched[WordTree]) &&
              keypadTree.RecordNodes(oid, touched[KeypadTree]) && InsertSorted(SortByName, contact) &&
              InsertSorted(SortByFileAs, contact) && MapContact(oid, propsOffset);
  if (store.IsDamaged()) {
    // Damage met on the way: the file changes no more, and the owner makes it anew.
    done = FALSE;
    SetLastError(ERROR_INVALID_DATA);
  } else if (!done) {
    // The file is full: the contact stays out of the index rather than half in it.
    DWORD error = GetLastError();
    RemoveFromIndex(oid, true);
    SetLastError(store.IsDamaged() ? ERROR_INVALID_DATA : error);
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
  if (!EnsureLoaded()) return FALSE;
  store.File().CancelSave();
  wordTree.Remove(contact.oid, nullptr);
  keypadTree.Remove(contact.oid, nullptr);
  if (store.IsDamaged()) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
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
  if (!EnsureLoaded()) return FALSE;
  store.File().CancelSave();
  uint32_t record = 0;
  bool known = contacts.Find(static_cast<uint32_t>(oid), &record);
  RemoveFromIndex(oid, false);
  if (store.IsDamaged()) {
    // The record stays: the index is made anew from the database, and the store with it.
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  if (known && record != 0 && props.IsOpen()) props.DeleteRecord(record);
  if (!known) SetLastError(ERROR_NOT_FOUND);
  return known;
}

BOOL ContactIndex::AddContact(const Contact& contact, const wchar_t* noteText) {
  if (!IsOpen() || !props.IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (!EnsureLoaded()) return FALSE;
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
  if (!EnsureLoaded()) return FALSE;
  CancelSave();
  uint32_t record = 0;
  if (!contacts.Find(static_cast<uint32_t>(contact.oid), &record) || record == 0) {
    // Not known yet: take the contact's trees part out in case, and add it whole.
    wordTree.Remove(contact.oid, nullptr);
    keypadTree.Remove(contact.oid, nullptr);
    if (store.IsDamaged()) {
      SetLastError(ERROR_INVALID_DATA);
      return FALSE;
    }
    return AddContact(contact, noteText);
  }
  if (!props.UpdateRecord(record, contact)) {
    // The record stays as it was; so does the contact's place in the index.
    return FALSE;
  }
  if (!UpdateContact(contact, noteText, record)) {
    // Out of the index, so out of the store as well (a damaged index is made anew with it).
    DWORD error = GetLastError();
    if (!store.IsDamaged()) props.DeleteRecord(record);
    SetLastError(error);
    return FALSE;
  }
  return TRUE;
}

BOOL ContactIndex::Find(CEOID oid, uint32_t* propsOffset) const {
  uint32_t record = 0;
  bool known = EnsureLoaded() && contacts.Find(static_cast<uint32_t>(oid), &record);
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
  if (!EnsureLoaded()) return FALSE;
  const SearchTree& which = tree == KeypadTree ? keypadTree : wordTree;
  which.FindPrefix(key, key != nullptr ? static_cast<int>(wcslen(key)) : 0, ids);
  if (store.IsDamaged()) {
    ids.RemoveAll();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  return TRUE;
}

BOOL ContactIndex::FindWords(int tree, const wchar_t* text, Array<CEOID>& ids) const {
  ids.RemoveAll();
  if (!IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (!EnsureLoaded()) return FALSE;
  WordSplitter splitter;
  splitter.Reset(Str(text));
  Str word;
  bool first = true;
  Array<CEOID> found;
  while (splitter.Next(word)) {
    if (!FindPrefix(tree, word, found)) {
      ids.RemoveAll();
      return FALSE;
    }
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
  if (!EnsureLoaded()) return FALSE;
  const uint32_t list = store.HeaderWord(ListSlot(kind));
  if (list == 0) return TRUE;
  uint32_t count = 0;
  if (!store.CountedAt(list, sizeof(uint32_t), &count)) {
    store.NoteDamage();
    return FALSE;
  }
  const uint32_t* words = store.Words(list);
  ids.SetSize(static_cast<int>(count));
  if (count > 0) memcpy(ids.GetData(), words + 1, count * sizeof(uint32_t));
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
