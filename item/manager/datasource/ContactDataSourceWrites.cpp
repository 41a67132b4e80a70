// Writes through the data source: they go to the contact manager, and the result and the cache follow.
#include "manager/datasource/ContactDataSource.h"

#include "manager/core/ContactManager.h"
#include "storage/contact/Contact.h"
#include "storage/mapped/MappedFile.h"
#include "sync/PimSync.h"

BOOL ContactDataSource::AddContact(Contact& contact, int& group, int& row) {
  group = -1;
  row = -1;
  if (!manager) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  const BOOL added = manager->AddContact(contact);
  DWORD error = GetLastError();
  // A record that was written stands in the database even when the index refused it.
  if (contact.oid != 0) {
    Refresh();
    FindPosition(contact.oid, group, row);
  }
  // Stored, but the index had no room for it: no search can show it, and the caller hears why.
  if (added && group < 0 && manager->IsOverCapacity() && !manager->Index().Find(contact.oid, nullptr)) {
    SetLastError(kMappingFullError);
    return FALSE;
  }
  SetLastError(error);
  return added;
}

BOOL ContactDataSource::UpdateContact(Contact& contact) {
  if (!manager) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  // An edit carries the photo as it is to be, except the row's picture of a cached contact: that is the
  // stored photo made small, and the stored one is read again so that it is saved whole. A photo the
  // caller put in or took out differs from the cached one and is kept as it is.
  Contact* rowCopy = FindCached(contact.oid);
  const bool rowPhoto = rowCopy && !contact.photo.IsEmpty() && contact.photo.SameAs(rowCopy->photo);
  ContactPhoto shown;
  if (rowPhoto) {
    shown = contact.photo;
    contact.photo.Empty();
    contact.photoLoaded = false;
  }
  const BOOL updated = manager->UpdateContact(contact, rowPhoto ? FALSE : TRUE);
  DWORD error = GetLastError();
  if (rowPhoto) {
    contact.photo = shown;
    contact.photoLoaded = true;
  }
  if (updated) {
    Contact* cached = FindCached(contact.oid);
    if (cached && cached != &contact) *cached = contact;
  }
  Refresh();
  SetLastError(error);
  return updated;
}

BOOL ContactDataSource::DeleteRows(const Array<ResultPosition>& positions) {
  Array<CEOID> ids;
  ids.SetSize(positions.GetSize());
  for (int i = 0; i < positions.GetSize(); ++i) ids[i] = GetIdAt(positions[i].group, positions[i].row);
  // From the last to the first, so that the positions still to come stay where they were.
  for (int i = positions.GetSize() - 1; i >= 0; --i) RemoveRow(positions[i].group, positions[i].row);

  BOOL all = TRUE;
  DWORD error = ERROR_SUCCESS;
  for (int i = 0; i < ids.GetSize(); ++i) {
    if (ids[i] == 0) {
      all = FALSE;
      error = ERROR_INVALID_INDEX;
      continue;
    }
    Evict(ids[i]);
    if (!manager) {
      all = FALSE;
      error = ERROR_NOT_READY;
    } else if (!manager->DeleteContact(ids[i])) {
      all = FALSE;
      error = GetLastError();
    }
  }
  if (!all) SetLastError(error);
  return all;
}

BOOL ContactDataSource::UpdateDefaultItem(CEOID id, uint32_t item) {
  if (sync && !sync->IsMaster()) {
    // Only the master writes; it hears of this through the coordinator and stores it.
    sync->UpdateLinkType(static_cast<DWORD>(id), static_cast<DWORD>(item));
    return TRUE;
  }
  if (!manager) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  if (!manager->SetDefaultItem(id, item)) return FALSE;
  Contact* cached = FindCached(id);
  if (cached) cached->defaultItem = item;
  return TRUE;
}
