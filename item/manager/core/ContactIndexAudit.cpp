// The audit of a stale index: one sequential pass over the database that compares each record's
// checksum with the one the index keeps, and applies the few differences it finds.
#include "manager/core/ContactManager.h"

#include "foundation/DebugUtils.h"
#include "foundation/ShellSort.h"
#include "manager/aids/AscendingLookup.h"

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

// Whether the ids stand in ascending order already.
BOOL IsAscending(const Array<CEOID>& ids) {
  for (int i = 1; i < ids.GetSize(); ++i) {
    if (static_cast<uint32_t>(ids[i - 1]) > static_cast<uint32_t>(ids[i])) return FALSE;
  }
  return TRUE;
}

}  // namespace

BOOL ContactManager::Inspect() {
  openReport.inspected = TRUE;
  // The database's time before the pass: what the index is stamped with once the differences are in.
  // A change made after it, even one the pass saw, leaves the next start an inspection to do rather
  // than a stamp that claims a change whose notification is still waiting. A time that can't be read
  // stamps none that the database could have.
  FoundDifferences found;
  found.stamp = FILETIME();
  FILETIME read;
  DWORD passCount = 0;
  if (GetCountAndTime(read, passCount)) found.stamp = read;
  // 2 and 3 read the table once, in its order: every record's oid and quick checksum from its raw
  // properties. Only the few records that differ are read whole, afterwards. The pass needs nothing
  // of the index; the comparison reads what it needs of it from the files, whose copies begin once the
  // start is through, and only the writes wait for them.
  Array<RecordChecksum> sums;
  DbDatabase& table = Contacts();
  table.SetAtEnd(false);
  if (table.SeekIndex(0) == 0) table.SetAtEnd(true);
  while (!table.IsAtEnd()) {
    RecordChecksum record;
    if (!QuickChecksum(record.sum, record.oid)) {
      if (IsEndOfTable(GetLastError())) break;
      return FALSE;
    }
    sums.Add(record);
    table.SeekNext();
  }

  // 1. The index's own list; a duplicate or an empty list can't be patched.
  Array<CEOID> indexed;
  if (!ListIndexedIds(indexed) || indexed.GetSize() == 0) {
    openReport.rebuilt = TRUE;
    return FullRebuild();
  }

  // 2. Contacts that are gone from the database.
  Array<CEOID> present;
  present.SetSize(sums.GetSize());
  for (int i = 0; i < sums.GetSize(); ++i) present[i] = sums[i].oid;
  if (!IsAscending(present)) SortIds(present);
  AscendingLookup<CEOID> inTable(present);
  for (int i = 0; i < indexed.GetSize(); ++i) {
    if (inTable.Find(indexed[i]) < 0) found.removed.Add(indexed[i]);
  }
  openReport.removed = found.removed.GetSize();
  if (found.removed.GetSize() > kMaxInspectChanges) {
    openReport.rebuilt = TRUE;
    return FullRebuild();
  }

  // 3. Records added or changed: their quick checksums against the stored ones (the index's ids
  // stand sorted since step 1), in table order until there are more differences than are patched.
  AscendingLookup<CEOID> inIndex(indexed);
  for (int i = 0; i < sums.GetSize(); ++i) {
    const RecordChecksum& record = sums[i];
    const bool known = inIndex.Find(record.oid) >= 0;
    if (known) {
      uint32_t offset = 0;
      uint32_t stored = 0;
      if (!index.FindForCompare(record.oid, &offset) || !index.ChecksumForCompare(offset, stored)) {
        if (GetLastError() != ERROR_INVALID_DATA) return FALSE;
        ReportDropped(Str(L"the inspection met a record that doesn't hold together"), L"Inspect", __LINE__);
        openReport.rebuilt = TRUE;
        return FullRebuild();
      }
      if (stored == record.sum) continue;
    }
    (known ? found.changed : found.added).Add(record);
    if (found.Total() > kMaxInspectChanges) break;
  }
  openReport.added = found.added.GetSize();
  openReport.changed = found.changed.GetSize();

  // 4. Too many differences: a rebuild is cheaper. None: nothing to write, and the stamp stays.
  const int total = found.Total();
  if (total > kMaxInspectChanges) {
    openReport.rebuilt = TRUE;
    return FullRebuild();
  }
  if (total == 0) return TRUE;
  // 5. The few differences are applied where the copies are waited for anyway: before the first
  // search, read or write, or in the first idle slice (ApplyDueChanges). Until then the stamp stays
  // as it was, so that a start that ends first finds them again.
  due = found;
  return TRUE;
}

void ContactManager::DropDueChanges() { due.Clear(); }

BOOL ContactManager::ApplyDueChanges() {
  if (!AreChangesDue()) return TRUE;
  const FoundDifferences found(due);
  DropDueChanges();
  // Whatever goes wrong from here, the index is made anew: a rebuild takes in every difference.
  const BOOL applied = WaitForIndexCopy() && WriteFoundChanges(found);
  if (applied) {
    // 6. In step again, with the database as the pass saw it.
    index.Props().SetDbState(found.stamp);
    index.Props().SetInChange(0);
    rebuilding = FALSE;
    StartCommit();
    TellSlavesToReload();
    EndProgress();
    return TRUE;
  }
  // Nothing has answered from the index before this: the listener has nothing to reload.
  openReport.rebuilt = TRUE;
  return FullRebuild();
}

BOOL ContactManager::WriteFoundChanges(const FoundDifferences& found) {
  ContactBatch added;
  ContactBatch changed;
  for (int pass = 0; pass < 2; ++pass) {
    const Array<RecordChecksum>& list = pass == 0 ? found.added : found.changed;
    for (int i = 0; i < list.GetSize(); ++i) {
      Contact* contact = CheckAllocation(new (std::nothrow) Contact());
      if (!LoadByOid(list[i].oid, *contact)) {
        delete contact;
        ReportDropped(Str(L"a record the inspection found changed couldn't be read"), L"WriteFoundChanges",
                      __LINE__);
        return FALSE;
      }
      contact->checksum = list[i].sum;
      (pass == 0 ? added : changed).items.Add(contact);
    }
  }
  BeginProgress(found.Total(), TRUE, L"Update indexes");

  // With the in-change byte set, so that a cut-off pass is repaired at the next open.
  index.CancelSave();
  index.Props().SetInChange(1);
  int done = 0;
  for (int i = 0; i < found.removed.GetSize(); ++i) {
    index.RemoveContact(found.removed[i]);
    AdvanceProgress(++done);
  }
  for (int pass = 0; pass < 2; ++pass) {
    Array<Contact*>& list = pass == 0 ? added.items : changed.items;
    for (int i = 0; i < list.GetSize(); ++i) {
      Contact& contact = *list[i];
      nameKeys.Forget(contact.oid);
      Str text;
      note.GetNoteText(contact, text);
      if (pass == 1) index.RemoveContact(contact.oid);
      if (!index.AddContact(contact, text)) {
        // With no room for it the contact stays readable, out of the index; anything else is damage.
        if (GetLastError() != kMappingFullError) {
          EndProgress();
          ReportDropped(Str(L"the inspection met a structure that doesn't hold together"),
                        L"WriteFoundChanges", __LINE__);
          return FALSE;
        }
        NoteOverCapacity();
      }
      AdvanceProgress(++done);
    }
  }
  return TRUE;
}
