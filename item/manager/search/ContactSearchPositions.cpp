// The searches' fast path: the match gathered as name-list positions and read off in the order of a
// sorted list, the category filter applied to the positions, and the idle fill of the name-key cache
// that the ranking reads.
#include "manager/core/ContactManager.h"

void ContactManager::SetSearchAids(BOOL on) {
  searchAids = on;
  if (!on) {
    positions.Clear();
    nameKeys.Clear();
  }
}

BOOL ContactManager::OrderedMatch(const Str& query, BOOL keypad, int sortKind, const CategoryFilter& filter,
                                  Array<CEOID>& out, BOOL& handled, Array<int32_t>* at) {
  out.RemoveAll();
  if (at != nullptr) at->RemoveAll();
  handled = FALSE;
  if (!searchAids || !index.IsOpen()) return TRUE;
  if (sortKind != SortKindName && sortKind != SortKindFileAs) {
    handled = TRUE;
    return TRUE;
  }
  if (!aids.Sync(index.Store())) return TRUE;
  handled = TRUE;

  const int count = positions.Count();
  const BOOL emptyQuery = query.IsEmpty();
  PositionSet hits;
  if (emptyQuery) {
    hits.Reset(count);
    for (int k = 0; k < count; ++k) hits.Add(k);
  } else {
    aids.Match(index.Tree(keypad ? KeypadTree : WordTree), query, keypad, hits);
  }
  if (filter.active) {
    Array<CEOID> allowed;
    if (!AllowedSet(filter, allowed)) return FALSE;
    // As many allowed as listed: the whole list, as the plain order has it.
    if (!(emptyQuery && allowed.GetSize() == count)) {
      PositionSet passing;
      passing.Reset(count);
      for (int k = 0; k < allowed.GetSize(); ++k) {
        const int position = positions.PositionOf(static_cast<uint32_t>(allowed[k]));
        if (position >= 0) passing.Add(position);
      }
      hits.Intersect(passing);
    }
  }
  aids.ReadOff(hits, sortKind, out, at);
  return TRUE;
}

BOOL ContactManager::FillNameKeys(DWORD budgetMs) {
  ApplyDueChanges();
  if (!searchAids || !index.IsOpen() || !aids.Sync(index.Store())) return FALSE;
  return aids.Fill(*this, budgetMs);
}
