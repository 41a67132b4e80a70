// Phones in the searches: the digits of a contact's numbers, and the widening of an all-digit text
// query by the numbers that contain it.
#include "manager/core/ContactManager.h"

#include "foundation/ShellSort.h"
#include "storage/contact/ContactExtended.h"

BOOL ContactManager::ReadPhoneDigits(CEOID oid, Array<Str>& digits) {
  digits.RemoveAll();
  // The eleven phone properties in the database's order: work, work 2, work fax, home, home 2, home
  // fax, pager, car, radio, mobile, assistant.
  Array<Str> phones;
  if (!ReadPhones(oid, phones)) return FALSE;
  uint32_t record = 0;
  if (index.Props().IsOpen() && index.Find(oid, &record)) {
    ContactExtended block;
    if (index.Props().GetRecord(record, block, nullptr)) {
      for (int k = 0; k < block.Phone.GetSize(); ++k) phones.Add(block.Phone[k].value);
    }
  }
  for (int k = 0; k < phones.GetSize(); ++k) {
    Str number = DigitsOf(phones[k]);
    if (!number.IsEmpty()) digits.Add(number);
  }
  return TRUE;
}

BOOL ContactManager::WidenByPhone(const Str& query, int sortKind, const CategoryFilter& filter,
                                  Array<CEOID>& out, SearchCancel* cancel) {
  Array<CEOID> all;
  if (sortKind == SortKindName || sortKind == SortKindFileAs) {
    if (!index.ListAll(sortKind, all)) return FALSE;
  }
  if (filter.active) {
    Array<CEOID> allowed;
    if (!AllowedSet(filter, allowed)) return FALSE;
    Array<CEOID> listed;
    KeepListed(all, allowed, listed);
    all = listed;
  }
  Array<CEOID> hits(out);
  SortIds(hits);
  out.RemoveAll();

  // The walk keeps the sorted list's order, and a contact found both by a word and by a number once.
  Array<Str> digits;
  for (int k = 0; k < all.GetSize(); ++k) {
    if (IsCancelled(cancel)) return FALSE;
    const CEOID oid = all[k];
    if (ContainsId(hits, static_cast<uint32_t>(oid))) {
      out.Add(oid);
      continue;
    }
    // A record that can't be read doesn't match.
    if (!ReadPhoneDigits(oid, digits)) continue;
    for (int p = 0; p < digits.GetSize(); ++p) {
      if (digits[p].Find(query) >= 0) {
        out.Add(oid);
        break;
      }
    }
  }
  return TRUE;
}
