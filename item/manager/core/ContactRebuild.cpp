// The full rebuild of the index, the forced one, and the rebuild of the keypad tree alone.
#include "manager/core/ContactManager.h"

#include "foundation/DebugUtils.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/index/BulkBuilder.h"

#include <new>

namespace {

const int kKeypadSteps = 18;
const int kKeypadDone = 20;

}  // namespace

BOOL ContactManager::ReadForIndex(Contact& contact, Str& noteText) {
  if (!LoadCurrent(contact)) return FALSE;
  contact.checksum = contact.ComputeChecksum();
  note.GetNoteText(contact, noteText);
  return TRUE;
}

BOOL ContactManager::LoadForIndex(CEOID oid, Contact& contact, Str& noteText) {
  if (!LoadByOid(oid, contact)) return FALSE;
  contact.checksum = contact.ComputeChecksum();
  note.GetNoteText(contact, noteText);
  return TRUE;
}

BOOL ContactManager::FeedAllRecords(BulkBuilder& builder, void (ContactManager::*onRead)(int), int limit) {
  DbDatabase& table = Contacts();
  table.SetAtEnd(false);
  // Nothing at index 0: the table is empty.
  if (limit == 0 || table.SeekIndex(0) == 0) return TRUE;
  int read = 0;
  while (!table.IsAtEnd() && (limit < 0 || read < limit)) {
    Contact* contact = CheckAllocation(new (std::nothrow) Contact());
    Str text;
    if (!ReadForIndex(*contact, text)) {
      const DWORD error = GetLastError();
      delete contact;
      if (IsEndOfTable(error)) break;
      SetLastError(error);
      return FALSE;
    }
    nameKeys.Remember(contact->oid, contact->text[ContactField::LastName],
                      contact->text[ContactField::FirstName], contact->text[ContactField::Company]);
    // The builder keeps the contact (a keypad-only one deletes it at once).
    builder.AddContact(contact, text);
    (this->*onRead)(++read);
  }
  return TRUE;
}

BOOL ContactManager::WriteNewIndex(BulkBuilder& builder) {
  for (int attempt = 1;; ++attempt) {
    // The files are made anew under the same names: no other process may still have them mapped.
    TellSlavesToStop();
    index.CancelSave();
    if (index.WriteBulk(builder)) return TRUE;
    const DWORD error = GetLastError();
    // A process that was told to let go may still be on its way out of the mappings.
    if (error != ERROR_ALREADY_EXISTS || attempt >= kCreateAttempts) {
      SetLastError(error);
      return FALSE;
    }
    Sleep(kCreateRetryMs);
  }
}

BOOL ContactManager::FullRebuild() {
  FILETIME time;
  DWORD count = 0;
  GetCountAndTime(time, count);
  BeginProgress(static_cast<int>(count), FALSE, L"Reindex database");
  rebuilding = TRUE;
  repairDue = FALSE;
  // The rebuild takes in every difference the start found.
  DropDueChanges();

  BulkBuilder builder;
  if (!FeedAllRecords(builder, &ContactManager::AdvanceProgress)) {
    // The old index stays as it was.
    const DWORD error = GetLastError();
    EndProgress();
    rebuilding = FALSE;
    SetLastError(error);
    return FALSE;
  }

  if (!WriteNewIndex(builder)) {
    const DWORD error = GetLastError();
    index.CloseStores();
    BOOL rebuilt = FALSE;
    // More contacts than the index has room for: it holds as many as fit.
    if (error == kMappingFullError) {
      builder.Clear();
      rebuilt = RebuildPartly(static_cast<int>(count), time);
    }
    EndProgress();
    rebuilding = FALSE;
    if (!rebuilt) SetLastError(error);
    return rebuilt;
  }
  overCapacity = FALSE;
  indexHolds = index.ContactCount();
  // The new files live only in their mappings until the commit saves them: a rebuild cut off before
  // that leaves the files of the last save, and the next start judges those.
  index.Props().SetDbState(time);
  rebuilding = FALSE;
  StartCommit();
  TellSlavesToReload();
  EndProgress();
  return TRUE;
}

BOOL ContactManager::RebuildPartly(int total, const FILETIME& time) {
  // Fewer and fewer of the table's first contacts, until they fit: 1/128 of them fewer at first, then
  // twice as many fewer each time, and at last none.
  for (int fewer = (total + 127) / 128;; fewer *= 2) {
    const int limit = fewer < total ? total - fewer : 0;
    BulkBuilder builder;
    if (!FeedAllRecords(builder, &ContactManager::AdvanceProgress, limit)) return FALSE;
    if (WriteNewIndex(builder)) break;
    const DWORD error = GetLastError();
    index.CloseStores();
    if (error != kMappingFullError || limit == 0) {
      SetLastError(error);
      return FALSE;
    }
  }
  // Stamped with the database's time: the next start finds the index as it was left, over capacity.
  index.Props().SetDbState(time);
  indexHolds = 0;
  overCapacity = FALSE;
  NoteOverCapacity();
  StartCommit();
  TellSlavesToReload();
  return TRUE;
}

BOOL ContactManager::Rebuild() {
  // A rebuild never reads the index it replaces: a damaged one is no reason to refuse it.
  if (!MayWrite()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  index.CancelSave();
  SetResetMarks();
  if (listener) listener->SetDataReady(FALSE);
  // The slaves are stopped by the rebuild, right before it replaces the files.
  const BOOL rebuilt = FullRebuild();
  const DWORD error = GetLastError();
  if (listener) {
    listener->OnReloaded();
    listener->SetDataReady(TRUE);
  }
  StartCommit();
  TellSlavesToReload();
  SetLastError(error);
  return rebuilt;
}

void ContactManager::AdvanceKeypadProgress(int done) {
  const int target = keypadPer > 0 ? static_cast<int>(done / keypadPer) : kKeypadSteps;
  if (target == keypadReported) return;
  keypadReported = target;
  if (listener) listener->OnKeypadRebuildProgress(keypadStep++);
}

BOOL ContactManager::RebuildKeypadTree() {
  if (!BeginWrite()) return FALSE;
  if (!index.IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  SetResetMarks();
  if (listener) listener->OnKeypadRebuildProgress(0);
  FILETIME time;
  DWORD count = 0;
  GetCountAndTime(time, count);
  keypadPer = static_cast<double>(count) / kKeypadSteps;
  keypadReported = 0;
  keypadStep = 1;
  RebuildKeypadGroups();

  BulkBuilder builder(true);
  if (!FeedAllRecords(builder, &ContactManager::AdvanceKeypadProgress)) return FALSE;
  if (keypadReported != kKeypadSteps && listener) listener->OnKeypadRebuildProgress(keypadStep);

  TellSlavesToStop();
  const BOOL replaced = index.ReplaceKeypadTree(builder);
  if (listener) listener->OnKeypadRebuildProgress(kKeypadDone);
  StartCommit();
  TellSlavesToReload();
  return replaced;
}
