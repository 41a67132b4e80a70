#include "manager/datasource/ContactCacheMap.h"

ContactCacheMap::ContactCacheMap(int bucketCount) : count(0) {
  buckets.SetSize(bucketCount > 0 ? bucketCount : 1);
}

ContactCacheMap::~ContactCacheMap() {}

Array<CachedContactEntry>& ContactCacheMap::BucketOf(CEOID id) {
  return buckets[static_cast<int>(static_cast<uint32_t>(id) % static_cast<uint32_t>(buckets.GetSize()))];
}

CachedContactEntry* ContactCacheMap::Find(CEOID id) {
  Array<CachedContactEntry>& bucket = BucketOf(id);
  for (int i = 0; i < bucket.GetSize(); ++i) {
    if (bucket[i].id == id) return &bucket[i];
  }
  return nullptr;
}

Contact* ContactCacheMap::Set(CEOID id, Contact* contact, int cell) {
  CachedContactEntry* entry = Find(id);
  if (entry) {
    Contact* previous = entry->contact;
    entry->contact = contact;
    entry->cell = cell;
    return previous;
  }
  CachedContactEntry added = {id, contact, cell};
  BucketOf(id).Add(added);
  ++count;
  return nullptr;
}

Contact* ContactCacheMap::Remove(CEOID id) {
  Array<CachedContactEntry>& bucket = BucketOf(id);
  for (int i = 0; i < bucket.GetSize(); ++i) {
    if (bucket[i].id != id) continue;
    Contact* contact = bucket[i].contact;
    bucket.RemoveAt(i);
    --count;
    return contact;
  }
  return nullptr;
}

void ContactCacheMap::TakeAll(Array<Contact*>& contacts) {
  for (int b = 0; b < buckets.GetSize(); ++b) {
    Array<CachedContactEntry>& bucket = buckets[b];
    for (int i = 0; i < bucket.GetSize(); ++i) contacts.Add(bucket[i].contact);
    bucket.RemoveAll();
  }
  count = 0;
}
