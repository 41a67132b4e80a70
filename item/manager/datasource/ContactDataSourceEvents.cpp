// What the data source hears: the contact manager's reports as its listener, and the coordinator's
// registered messages that the item window hands on. What the view must know goes on to it.
#include "manager/datasource/ContactDataSource.h"

#include "manager/core/ContactManager.h"
#include "sync/PimSync.h"
#include "manager/datasource/ItemListener.h"

void ContactDataSource::TellView() {
  if (listener) listener->ResultsChanged();
}

// --- the contact manager ---------------------------------------------------------------------------------

void ContactDataSource::OnContactAdded(CEOID) {
  Refresh();
  TellView();
}

void ContactDataSource::OnContactChanged(CEOID id) {
  Evict(id);
  Refresh();
  TellView();
}

void ContactDataSource::OnContactDeleted(CEOID id) {
  Evict(id);
  Refresh();
  TellView();
  if (listener) listener->OnContactGone(static_cast<DWORD>(id));
}

void ContactDataSource::OnReloaded() {
  ClearAll();
  Refresh();
  TellView();
}

void ContactDataSource::OnListEvent(DWORD a, DWORD b) {
  if (listener) listener->OnListEvent(a, b);
}

void ContactDataSource::OnKeypadRebuildProgress(int step) {
  if (listener) listener->OnKeypadRebuildProgress(step);
}

void ContactDataSource::SetDataReady(BOOL ready) {
  if (listener) listener->EnableItem(ready);
}

void ContactDataSource::SetUpdatePending(BOOL pending) {
  if (listener) listener->SetUpdatePending(pending);
}

void ContactDataSource::OnListEvent2(DWORD a, DWORD b) {
  if (listener) listener->OnListEvent2(a, b);
}

// --- the coordinator ---------------------------------------------------------------------------------------

void ContactDataSource::OnChangeToMaster() {
  if (!ReactsToSync()) return;
  sync->SetMaster(TRUE);
  // A new master opens the index with repair, as a master does at its start.
  manager->TakeOverIndex();
  SetDataReady(TRUE);
  ClearAll();
  Refresh();
  TellView();
}

void ContactDataSource::OnChangeToSlave() {
  if (!ReactsToSync()) return;
  sync->SetMaster(FALSE);
}

void ContactDataSource::OnSlaveReload() {
  if (!ReactsToSync()) return;
  manager->ReloadIndex();
  SetDataReady(TRUE);
  ClearAll();
  Refresh();
  TellView();
}

void ContactDataSource::OnSlaveStop() {
  if (!ReactsToSync()) return;
  // The master may replace the index files now: let go of them until told to reload.
  manager->CloseIndex();
  SetDataReady(FALSE);
}

void ContactDataSource::OnUpdateLinkType(DWORD id, DWORD item) {
  if (!ReactsToSync()) return;
  UpdateDefaultItem(static_cast<CEOID>(id), static_cast<uint32_t>(item));
  TellView();
}
