// The data source's cache of loaded contacts: a map from id to contact and a ring of 500 cells that
// bounds it. Each new contact takes the next cell; a contact that came in through that cell before is
// evicted. A contact evicted on its own (changed, deleted) leaves its cell behind, which then takes
// out nothing when the cursor comes round to it.
#include "manager/datasource/ContactDataSource.h"

#include <new>
#include <string.h>

#include "foundation/DebugUtils.h"
#include "manager/core/ContactManager.h"
#include "manager/datasource/ContactCacheMap.h"
#include "storage/contact/Contact.h"

Contact* ContactDataSource::FindCached(CEOID id) const {
  if (!cache || id == 0) return nullptr;
  CachedContactEntry* entry = cache->Find(id);
  return entry ? entry->contact : nullptr;
}

void ContactDataSource::CacheContact(Contact* contact) {
  if (!contact) return;
  if (!cache) cache = CheckAllocation(new (std::nothrow) ContactCacheMap(kCacheBuckets));
  cursor = (cursor + 1) % kCacheSize;
  const CEOID old = ring[cursor];
  if (old != 0) {
    CachedContactEntry* entry = cache->Find(old);
    // Only the contact this very cell brought in: one evicted before may have come back since
    // through another cell.
    if (entry && entry->cell == cursor) Evict(old);
  }
  ring[cursor] = contact->oid;
  // Should the id be cached already, the newer contact stands and the older one goes.
  Contact* replaced = cache->Set(contact->oid, contact, cursor);
  if (replaced != contact) delete replaced;
}

void ContactDataSource::Evict(CEOID id) {
  if (!cache) return;
  delete cache->Remove(id);
}

void ContactDataSource::ClearCache() {
  if (cache) {
    Array<Contact*> contacts;
    cache->TakeAll(contacts);
    for (int i = 0; i < contacts.GetSize(); ++i) delete contacts[i];
  }
  memset(ring, 0, sizeof(ring));
  cursor = 0;
}

int ContactDataSource::CachedCount() const { return cache ? cache->GetCount() : 0; }

void ContactDataSource::ClearAll() {
  ClearResult();
  ClearCache();
}

BOOL ContactDataSource::ReadAt(int group, int row, Contact& contact) {
  const CEOID id = GetIdAt(group, row);
  if (id == 0) {
    SetLastError(ERROR_INVALID_INDEX);
    return FALSE;
  }
  if (!manager) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  return manager->ReadContact(id, contact);
}

BOOL ContactDataSource::GetCachedContact(int group, int row, Contact*& contact, int photoSize) {
  contact = nullptr;
  const CEOID id = GetIdAt(group, row);
  if (id == 0) {
    SetLastError(ERROR_INVALID_INDEX);
    return FALSE;
  }
  Contact* cached = FindCached(id);
  if (cached && !cached->photo.IsEmpty() && cached->photo.Width() != photoSize &&
      cached->photo.Height() != photoSize) {
    // Made for another size of row: read anew.
    Evict(id);
    cached = nullptr;
  }
  if (!cached) {
    if (!manager) {
      SetLastError(ERROR_NOT_READY);
      return FALSE;
    }
    cached = CheckAllocation(new (std::nothrow) Contact());
    if (!manager->ReadContact(id, *cached)) {
      DWORD error = GetLastError();
      delete cached;
      SetLastError(error);
      return FALSE;
    }
    cached->oid = id;
    FitPhoto(*cached, photoSize);
    CacheContact(cached);
  }
  contact = cached;
  return TRUE;
}

void ContactDataSource::FitPhoto(Contact& contact, int photoSize) {
  if (contact.photo.IsEmpty()) return;
  if (photoSize == 1) {
    // A single-line row only shows that there is a photo: one black pixel of 24 bits, in a row of
    // four bytes, stands for it.
    const BYTE pixel[4] = {0, 0, 0, 0};
    contact.photo = ContactPhoto(1, 1, 4, 24, pixel);
    return;
  }
  // The picture column of a row, or the page's head: the photo stretched to fit the square, keeping
  // its proportions. One that can't be scaled is dropped, and the row shows the default picture.
  if (!ScalePhotoToSquare(contact.photo, photoSize)) contact.photo.Empty();
}
