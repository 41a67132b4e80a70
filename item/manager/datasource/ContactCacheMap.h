// ContactCacheMap: loaded contacts by their record id, in a fixed number of hash buckets. Each entry also
// keeps the cell of the data source's ring that the contact was put in, so that a cell that comes
// round again only takes out the contact it brought in. The map owns no contact: whoever removes an
// entry gets the contact back and deletes it.
#pragma once
#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"

class Contact;

struct CachedContactEntry {
  CEOID id;
  Contact* contact;
  int cell;
};

class ContactCacheMap {
 public:
  explicit ContactCacheMap(int bucketCount);
  virtual ~ContactCacheMap();

  // The entry of `id`, or null. The pointer is good until the next change of the map.
  virtual CachedContactEntry* Find(CEOID id);
  // Maps `id` to `contact` in ring cell `cell`; an entry of the same id is replaced, and its
  // contact, which the map doesn't own, is given back (null when there was none).
  virtual Contact* Set(CEOID id, Contact* contact, int cell);
  // Takes the entry of `id` out; gives its contact, or null when `id` wasn't mapped.
  virtual Contact* Remove(CEOID id);
  // Empties the map and appends every contact it held to `contacts`.
  virtual void TakeAll(Array<Contact*>& contacts);

  int GetCount() const { return count; }
  int GetBucketCount() const { return buckets.GetSize(); }

 private:
  ContactCacheMap(const ContactCacheMap&);
  ContactCacheMap& operator=(const ContactCacheMap&);

  Array<CachedContactEntry>& BucketOf(CEOID id);

  Array<Array<CachedContactEntry>> buckets;
  int count;
};
