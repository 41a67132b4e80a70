#include "storage/index/RebuildSort.h"

#include "foundation/ShellSort.h"
#include "storage/contact/Contact.h"
#include "storage/index/ContactKeySource.h"

void SortPairs(Array<SortPair>& pairs) {
  ShellSort(pairs, [](const SortPair& a, const SortPair& b) {
    return CompareSortKeys(a.key, a.oid, b.key, b.oid) < 0;
  });
}

void SortContactsByKey(int kind, const Array<Contact*>& contacts, Array<CEOID>& ids) {
  Array<SortPair> pairs;
  pairs.SetSize(contacts.GetSize());
  for (int k = 0; k < contacts.GetSize(); ++k) {
    pairs[k].key = SortKeyOf(kind, *contacts[k]);
    pairs[k].oid = contacts[k]->oid;
  }
  SortPairs(pairs);
  ids.SetSize(pairs.GetSize());
  for (int k = 0; k < pairs.GetSize(); ++k) ids[k] = pairs[k].oid;
}
