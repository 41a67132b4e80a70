#include "manager/search/ContactGroups.h"

#include "foundation/ShellSort.h"

bool ReadEntries(ContactDatabase& database, const ByteBuffer* mask, const Array<CEOID>* ids,
                 Array<GroupEntry>& entries) {
  ListFilter filter;
  if (mask != nullptr) {
    filter.category = ListCategoryMask;
    filter.mask = *mask;
  }
  if (ids != nullptr) {
    filter.byOids = true;
    filter.oids = *ids;
  }
  return database.EnumerateContacts(filter, entries);
}

void BuildGroups(Array<GroupEntry>& entries, Array<uint32_t>& flat, Array<Str>& titles) {
  flat.RemoveAll();
  titles.RemoveAll();
  if (entries.GetSize() == 0) return;

  ShellSort(entries, [](const GroupEntry& a, const GroupEntry& b) {
    int order = Str::Compare(a.company, b.company);
    if (order == 0) order = Str::Compare(a.name, b.name);
    if (order != 0) return order < 0;
    return static_cast<uint32_t>(a.oid) < static_cast<uint32_t>(b.oid);
  });

  int sizeSlot = flat.Add(0);
  flat.Add(static_cast<uint32_t>(entries[0].oid));
  Str company = entries[0].company;
  uint32_t size = 1;
  for (int k = 1; k < entries.GetSize(); ++k) {
    if (Str::Compare(entries[k].company, company) != 0) {
      titles.Add(company);
      flat[sizeSlot] = size;
      sizeSlot = flat.Add(0);
      company = entries[k].company;
      size = 0;
    }
    ++size;
    flat.Add(static_cast<uint32_t>(entries[k].oid));
  }
  titles.Add(company);
  flat[sizeSlot] = size;
  entries.RemoveAll();
}
