// The audit of a stale index: one sequential pass over the database that compares each record's
// checksum with the one the index keeps, and applies the few differences it finds.
#include "manager/core/ContactManager.h"

#include "foundation/DebugUtils.h"
#include "foundation/ShellSort.h"

#include <new>

namespace {

void DeleteAll(Array<Contact*>& contacts) {
  for (int i = 0; i < contacts.GetSize(); ++i) delete contacts[i];
  contacts.RemoveAll();
}

// Owns the contacts read during the pass.
struct ContactBatch {
  ~ContactBatch() { DeleteAll(items); }
  Array<Contact*> items;
};

}  // namespace

BOOL ContactManager::Inspect() {
  openReport.inspected = TRUE;
  // 1. The index's own list; a duplicate or an empty list can't be patched.
  Array<CEOID> indexed;
  if (!ListIndexedIds(indexed) || indexed.GetSize() == 0) {
    openReport.rebuilt = TRUE;
    return FullRebuild();
  }

  // 2. Contacts that are gone from the database.
  Array<CEOID> present;
  if (!EnumerateOids(ListFilter(), present)) return FALSE;
  SortIds(present);
  Array<CEOID> removed;
  for (int i = 0; i < indexed.GetSize(); ++i) {
    if (!ContainsId(present, indexed[i])) removed.Add(indexed[i]);
  }
  openReport.removed = removed.GetSize();
  if (removed.GetSize() > kMaxInspectChanges) {
    openReport.rebuilt = TRUE;
    return FullRebuild();
  }

  // 3. Records added or changed: their quick checksums against the stored ones (the index's ids
  // stand sorted since step 1).
  ContactBatch added;
  ContactBatch changed;
  DbDatabase& table = Contacts();
  table.SetAtEnd(false);
  if (table.SeekIndex(0) == 0) table.SetAtEnd(true);
  while (!table.IsAtEnd()) {
    uint32_t sum = 0;
    CEOID oid = 0;
    if (!QuickChecksum(sum, oid)) {
      if (IsEndOfTable(GetLastError())) break;
      return FALSE;
    }
    const bool known = ContainsId(indexed, oid);
    if (known) {
      uint32_t record = 0;
      uint32_t stored = 0;
      if (!index.Find(oid, &record) || !index.Props().GetChecksum(record, stored)) return FALSE;
      if (stored == sum) {
        table.SeekNext();
        continue;
      }
    }
    Contact* contact = CheckAllocation(new (std::nothrow) Contact());
    if (!LoadCurrent(*contact)) {
      const DWORD error = GetLastError();
      delete contact;
      if (IsEndOfTable(error)) break;
      return FALSE;
    }
    contact->checksum = sum;
    (known ? changed : added).items.Add(contact);
    if (added.items.GetSize() + changed.items.GetSize() + removed.GetSize() > kMaxInspectChanges) break;
  }
  openReport.added = added.items.GetSize();
  openReport.changed = changed.items.GetSize();

  // 4. Too many differences: a rebuild is cheaper. None: nothing to write, and the stamp stays.
  const int total = removed.GetSize() + added.items.GetSize() + changed.items.GetSize();
  if (total > kMaxInspectChanges) {
    openReport.rebuilt = TRUE;
    return FullRebuild();
  }
  if (total == 0) return TRUE;
  BeginProgress(total, TRUE, L"Update indexes");

  // 5. Apply them, with the in-change byte set so that a cut-off pass is repaired at the next open.
  index.CancelSave();
  index.Props().SetInChange(1);
  int done = 0;
  for (int i = 0; i < removed.GetSize(); ++i) {
    index.RemoveContact(removed[i]);
    AdvanceProgress(++done);
  }
  for (int pass = 0; pass < 2; ++pass) {
    Array<Contact*>& list = pass == 0 ? added.items : changed.items;
    for (int i = 0; i < list.GetSize(); ++i) {
      Contact& contact = *list[i];
      Str text;
      note.GetNoteText(contact, text);
      if (pass == 1) index.RemoveContact(contact.oid);
      if (!index.AddContact(contact, text)) {
        EndProgress();
        return FALSE;
      }
      AdvanceProgress(++done);
    }
  }

  // 6. In step again.
  StampIndex();
  index.Props().SetInChange(0);
  rebuilding = FALSE;
  StartCommit();
  TellSlavesToReload();
  EndProgress();
  return TRUE;
}
