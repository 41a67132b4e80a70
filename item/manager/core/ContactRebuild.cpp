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

BOOL ContactManager::FeedAllRecords(BulkBuilder& builder, void (ContactManager::*onRead)(int)) {
  DbDatabase& table = Contacts();
  table.SetAtEnd(false);
  // Nothing at index 0: the table is empty.
  if (table.SeekIndex(0) == 0) return TRUE;
  int read = 0;
  while (!table.IsAtEnd()) {
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

BOOL ContactManager::FullRebuild() {
  FILETIME time;
  DWORD count = 0;
  GetCountAndTime(time, count);
  BeginProgress(static_cast<int>(count), FALSE, L"Reindex database");
  rebuilding = TRUE;

  BulkBuilder builder;
  if (!FeedAllRecords(builder, &ContactManager::AdvanceProgress)) {
    // The old index stays as it was.
    const DWORD error = GetLastError();
    EndProgress();
    rebuilding = FALSE;
    SetLastError(error);
    return FALSE;
  }

  index.CancelSave();
  if (!index.WriteBulk(builder)) {
    const DWORD error = GetLastError();
    index.CloseStores();
    EndProgress();
    rebuilding = FALSE;
    SetLastError(error);
    return FALSE;
  }
  // The new files live only in their mappings until the commit saves them: a rebuild cut off before
  // that leaves the files of the last save, and the next start judges those.
  index.Props().SetDbState(time);
  rebuilding = FALSE;
  StartCommit();
  TellSlavesToReload();
  EndProgress();
  return TRUE;
}

BOOL ContactManager::Rebuild() {
  if (!BeginWrite()) return FALSE;
  SetResetMarks();
  if (listener) listener->SetDataReady(FALSE);
  TellSlavesToStop();
  const BOOL rebuilt = FullRebuild();
  if (listener) {
    listener->OnReloaded();
    listener->SetDataReady(TRUE);
  }
  StartCommit();
  TellSlavesToReload();
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
