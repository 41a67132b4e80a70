// Database change events: queued as they come, applied to the index when the gathering timer runs
// out, half a second after the last of a burst.
#include "manager/core/ContactManager.h"

void ContactManager::OnDbEvent(DWORD kind, CEOID parent, CEOID oid) {
  // Only the writer of the index follows the database; the others hear of changes from it.
  if (!MayWrite()) return;
  // The ranking reads this record's names afresh until it is in step again.
  nameKeys.Forget(oid);
  if (pendingWindow.Count() == 0 && listener) listener->SetDataReady(FALSE);
  pendingWindow.Push(kind, parent, oid);
  if (pendingWindow.Count() == kPendingNoticeCount && listener) listener->SetUpdatePending(TRUE);
  pendingWindow.StartTimer(kGatherMs);
}

void ContactManager::OnEventTimer() {
  if (!MayWrite()) return;
  // The queue is emptied before anything is applied: it keeps nothing, whatever happens below.
  Array<PendingChange> changes(pendingWindow.GetAll());
  pendingWindow.Clear();
  if (changes.GetSize() > 0) {
    // The differences the start found go first: the stamp that follows these changes covers them.
    ApplyDueChanges();
    index.CancelSave();
    // An index that the walk after the start hasn't yet judged is judged now, before it is written;
    // a damaged one is made anew, which takes in every change as well.
    const BOOL many = changes.GetSize() >= kRebuildEventCount;
    BOOL sound = many || index.WalkForWrites();
    if (!sound) {
      openReport.damageFound = TRUE;
      ReportDamage(L"OnEventTimer", __LINE__);
    }
    if (sound && !many) {
      const CEOID contactsOid = Contacts().GetOid();
      BOOL deleted = FALSE;
      BeginIndexChange();
      for (int i = 0; i < changes.GetSize() && sound; ++i) {
        // Records of other databases change nothing here.
        if (changes[i].parent != contactsOid) continue;
        if (ApplyChange(changes[i])) {
          if (changes[i].kind == ChangeDeleted) deleted = TRUE;
        } else if (GetLastError() == ERROR_INVALID_DATA) {
          // The index met damage on the way: the rebuild below takes in every change.
          sound = FALSE;
          openReport.damageFound = TRUE;
          ReportDropped(Str(L"applying a change met a structure that doesn't hold together"), L"OnEventTimer",
                        __LINE__);
        } else {
          FailDbOperation(__LINE__);
        }
      }
      EndIndexChange(sound);
      // Room that deletions made goes to the contacts the index had none for.
      if (sound && deleted && overCapacity) UseFreedRoom();
    }
    if (many || !sound) {
      FullRebuild();
      if (listener) listener->OnReloaded();
    }
    StartCommit();
    TellSlavesToReload();
    // The names of the changed contacts are read again for the ranking's cache.
    StartIdleWork();
  }
  if (listener) {
    listener->SetDataReady(TRUE);
    listener->SetUpdatePending(FALSE);
  }
}

BOOL ContactManager::ApplyChange(const PendingChange& change) {
  const CEOID oid = change.oid;
  switch (change.kind) {
    case ChangeCreated:
    case ChangeChanged: {
      Contact contact;
      Str text;
      // A record deleted again since is skipped: its own event follows.
      if (!LoadForIndex(oid, contact, text)) return TRUE;
      nameKeys.Forget(oid);
      uint32_t record = 0;
      // The notification of this process's own write finds the contact indexed already.
      const BOOL known = index.Find(oid, &record);
      if (!(known ? index.UpdateContact(contact, text) : index.AddContact(contact, text))) {
        // A contact the index has no room for stays out of it, readable; only other failures are
        // beyond repair here.
        if (GetLastError() != kMappingFullError) return FALSE;
        NoteOverCapacity();
        return TRUE;
      }
      if (listener) {
        if (change.kind == ChangeCreated)
          listener->OnContactAdded(oid);
        else
          listener->OnContactChanged(oid);
      }
      return TRUE;
    }
    case ChangeDeleted:
      nameKeys.Forget(oid);
      if (index.RemoveContact(oid) && listener) listener->OnContactDeleted(oid);
      return TRUE;
    default:
      return TRUE;
  }
}
