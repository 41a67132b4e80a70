// The full rebuild of the index, the forced one, and the rebuild of the keypad tree alone.
#include "manager/ContactManager.h"

#include "foundation/DebugUtils.h"
#include "manager/KeypadGroups.h"
#include "storage/BulkBuilder.h"

#include <new>

namespace {

// The end of the table: the platform's "no more items", or the stepping layer's end of file.
bool IsEndOfTable(DWORD error) { return error == ERROR_NO_MORE_ITEMS || error == ERROR_HANDLE_EOF; }

// Puts the cursor on the first record; false when the table is empty.
bool SeekFirstRecord(DbDatabase& table) {
  table.SetAtEnd(false);
  if (table.SeekIndex(0) != 0) return true;
  table.SetAtEnd(true);
  return false;
}

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

BOOL ContactManager::FullRebuild() {
  FILETIME time;
  DWORD count = 0;
  GetCountAndTime(time, count);
  if (progress) {
    const int steps = progress->GetStepCount();
    progressPer = steps > 0 ? static_cast<double>(count) / steps : 0;
    progressDone = 0;
    progress->SetRange(1, steps + 1);
    progress->SetStep(1);
    progress->SetText(L"Reindex database");
    progress->Show();
  }
  rebuilding = TRUE;

  BulkBuilder builder;
  DbDatabase& table = Contacts();
  int read = 0;
  if (SeekFirstRecord(table)) {
    while (!table.IsAtEnd()) {
      Contact* contact = CheckAllocation(new (std::nothrow) Contact());
      Str text;
      if (!ReadForIndex(*contact, text)) {
        const DWORD error = GetLastError();
        delete contact;
        if (IsEndOfTable(error)) break;
        // The old index stays as it was.
        EndProgress();
        rebuilding = FALSE;
        SetLastError(error);
        return FALSE;
      }
      builder.AddContact(contact, text);
      AdvanceProgress(++read);
    }
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
  if (!MayWrite()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  index.CancelSave();
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

BOOL ContactManager::RebuildKeypadTree() {
  if (!MayWrite()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  if (!index.IsOpen()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  index.CancelSave();
  SetResetMarks();
  if (listener) listener->OnKeypadRebuildProgress(0);
  FILETIME time;
  DWORD count = 0;
  GetCountAndTime(time, count);
  const int kSteps = 18;
  const double per = static_cast<double>(count) / kSteps;
  RebuildKeypadGroups();

  BulkBuilder builder(true);
  DbDatabase& table = Contacts();
  int read = 0;
  int reported = 0;
  int step = 1;
  if (SeekFirstRecord(table)) {
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
      builder.AddContact(contact, text);  // a keypad-only builder keeps nothing
      ++read;
      const int target = per > 0 ? static_cast<int>(read / per) : kSteps;
      if (target != reported) {
        reported = target;
        if (listener) listener->OnKeypadRebuildProgress(step++);
      }
    }
  }
  if (reported != kSteps && listener) listener->OnKeypadRebuildProgress(step);

  TellSlavesToStop();
  const BOOL replaced = index.ReplaceKeypadTree(builder);
  if (listener) listener->OnKeypadRebuildProgress(20);
  StartCommit();
  TellSlavesToReload();
  return replaced;
}
