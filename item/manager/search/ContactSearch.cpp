// The searches of the contact manager: by text and by keypad keys, in the order of a sorted list or
// grouped by company.
#include "manager/core/ContactManager.h"

#include "manager/search/ContactGroups.h"
#include "storage/contact/HideSim.h"

BOOL ContactManager::Search(const Str& query, int sortKind, const CategoryFilter& filter, Array<CEOID>& out,
                            SearchCancel* cancel) {
  // The differences the start found are in the index before anything is looked up; a read that meets
  // damage leads to a rebuild of the index.
  ApplyDueChanges();
  return NoteRead([&]() -> BOOL {
    out.RemoveAll();
    if (IsCancelled(cancel)) return FALSE;
    BOOL handled = FALSE;
    if (!OrderedMatch(query, FALSE, sortKind, filter, out, handled)) return FALSE;
    if (!handled) {
      Array<CEOID> match;
      if (!TextMatch(query, match)) return FALSE;
      if (!PlainOrder(query.IsEmpty(), match, sortKind, filter, out)) return FALSE;
    }
    // Digits also find the numbers that contain them.
    if (IsAllDigits(query) && !WidenByPhone(query, sortKind, filter, out, cancel)) return FALSE;
    if (!ReorderByName(query, FALSE, out, cancel)) return FALSE;
    HideSimStage(out);
    return TRUE;
  }());
}

BOOL ContactManager::KeypadSearch(const Str& query, int sortKind, const CategoryFilter& filter,
                                  Array<CEOID>& out) {
  // The differences the start found are in the index before anything is looked up; a read that meets
  // damage leads to a rebuild of the index.
  ApplyDueChanges();
  return NoteRead([&]() -> BOOL {
    out.RemoveAll();
    BOOL handled = FALSE;
    Array<int32_t> at;
    if (!OrderedMatch(query, TRUE, sortKind, filter, out, handled, &at)) return FALSE;
    if (!handled) {
      Array<CEOID> match;
      if (!KeypadMatch(query, match)) return FALSE;
      if (!PlainOrder(query.IsEmpty(), match, sortKind, filter, out)) return FALSE;
    }
    if (!ReorderByName(query, TRUE, out, nullptr, handled ? &at : nullptr)) return FALSE;
    HideSimStage(out);
    return TRUE;
  }());
}

BOOL ContactManager::GroupedSearch(const Str& query, const CategoryFilter& filter, Array<uint32_t>& flat,
                                   Array<Str>& titles, SearchCancel* cancel) {
  return RunGroupedSearch(query, FALSE, filter, flat, titles, cancel);
}

BOOL ContactManager::GroupedKeypadSearch(const Str& query, const CategoryFilter& filter,
                                         Array<uint32_t>& flat, Array<Str>& titles) {
  return RunGroupedSearch(query, TRUE, filter, flat, titles, nullptr);
}

BOOL ContactManager::RunGroupedSearch(const Str& query, BOOL keypad, const CategoryFilter& filter,
                                      Array<uint32_t>& flat, Array<Str>& titles, SearchCancel* cancel) {
  // The differences the start found are in the index before anything is looked up; a read that meets
  // damage leads to a rebuild of the index.
  ApplyDueChanges();
  return NoteRead([&]() -> BOOL {
    flat.RemoveAll();
    titles.RemoveAll();
    if (IsCancelled(cancel)) return FALSE;
    ByteBuffer mask;
    if (filter.active && !FilterMask(filter, mask)) return FALSE;
    const ByteBuffer* categories = filter.active ? &mask : nullptr;

    // The groups are made from the database at search time; no ranking by name happens here.
    Array<GroupEntry> entries;
    if (query.IsEmpty()) {
      if (!g_hideSim) {
        // Every contact, or every one the filter allows, in one pass over the database.
        if (!ReadEntries(*this, categories, nullptr, entries)) return FALSE;
      } else {
        Array<CEOID> ids;
        if (!index.ListAll(SortByName, ids)) return FALSE;
        HideSimStage(ids);
        if (!ReadEntries(*this, categories, &ids, entries)) return FALSE;
      }
    } else {
      Array<CEOID> ids;
      if (!(keypad ? KeypadMatch(query, ids) : TextMatch(query, ids))) return FALSE;
      if (!keypad && IsAllDigits(query)) {
        // Widened against the whole name list; the filter applies when the entries are read.
        CategoryFilter everyone;
        if (!WidenByPhone(query, SortKindName, everyone, ids, cancel)) return FALSE;
      }
      HideSimStage(ids);
      if (ids.GetSize() > 0 && !ReadEntries(*this, categories, &ids, entries)) return FALSE;
    }
    BuildGroups(entries, flat, titles);
    return TRUE;
  }());
}
