// The lookups of the searches in the two word trees, the allowed set of a category filter, and the
// plain order that turns a match into a result.
#include "manager/core/ContactManager.h"

#include "foundation/ShellSort.h"
#include "storage/contact/HideSim.h"

BOOL ContactManager::TextMatch(const Str& query, Array<CEOID>& ids) {
  ids.RemoveAll();
  Str text(query);
  text.TrimLeft();
  text.TrimRight();
  if (text.IsEmpty()) return TRUE;
  text.MakeLower();

  // Every word must begin some word of the contact, each in any field and in any order.
  return index.FindWords(WordTree, text, ids);
}

BOOL ContactManager::KeypadMatch(const Str& query, Array<CEOID>& ids) {
  // A key sequence is one key: never split, never lower-cased.
  return index.FindPrefix(KeypadTree, query, ids);
}

BOOL ContactManager::FilterMask(const CategoryFilter& filter, ByteBuffer& mask) {
  CategoryList categories;
  // Every category with a position: one that no contact counts any more still stands for itself.
  if (filter.categories.GetSize() > 0 && !Categories().LoadPositioned(categories)) return FALSE;
  CategoriesDBManager::MaskOf(categories, filter.categories, mask);
  return TRUE;
}

BOOL ContactManager::AllowedSet(const CategoryFilter& filter, Array<CEOID>& allowed) {
  allowed.RemoveAll();
  // A mask of zeros makes the enumeration keep the records without categories.
  ListFilter which;
  which.category = ListCategoryMask;
  if (!FilterMask(filter, which.mask)) return FALSE;
  if (!EnumerateOids(which, allowed)) return FALSE;
  SortIds(allowed);
  return TRUE;
}

BOOL ContactManager::PlainOrder(BOOL emptyQuery, const Array<CEOID>& match, int sortKind,
                                const CategoryFilter& filter, Array<CEOID>& out) {
  out.RemoveAll();
  if (sortKind != SortKindName && sortKind != SortKindFileAs) return TRUE;
  // The result is always taken from the sorted list, so the order of the match never shows.
  Array<CEOID> all;
  if (!index.ListAll(sortKind, all)) return FALSE;
  if (!filter.active) {
    if (emptyQuery)
      out = all;
    else
      KeepListed(all, match, out);
    return TRUE;
  }
  Array<CEOID> allowed;
  if (!AllowedSet(filter, allowed)) return FALSE;
  if (emptyQuery) {
    if (allowed.GetSize() == all.GetSize())
      out = all;
    else
      KeepListed(all, allowed, out);
    return TRUE;
  }
  Array<CEOID> both(match);
  KeepCommonIds(both, allowed);
  if (both.GetSize() > 0) KeepListed(all, both, out);
  return TRUE;
}

void ContactManager::HideSimStage(Array<CEOID>& ids) {
  // No SIM source is attached in this system, so the stage keeps everything; it stays as the one
  // place where SIM contacts would leave the results.
  if (!g_hideSim || !simSourceAttached) return;
  int kept = 0;
  for (int k = 0; k < ids.GetSize(); ++k) {
    if (!IsSimContact(ids[k])) ids[kept++] = ids[k];
  }
  ids.SetSize(kept);
}
