// The searches' fast path: the match gathered as name-list positions and read off in the order of a
// sorted list, and the idle fill of the name-key cache that the ranking reads.
#include "manager/core/ContactManager.h"

#include <wchar.h>

#include "foundation/ShellSort.h"
#include "storage/index/WordSplitter.h"

namespace {

// Sets the position of every listed oid that a lookup reaches.
class MarkPositions : public TreeListVisitor {
 public:
  MarkPositions(const ListPositions& table, PositionSet& target) : positions(table), hits(target) {}
  void OnList(const uint32_t* oids, uint32_t count) override {
    for (uint32_t k = 0; k < count; ++k) {
      const int position = positions.PositionOf(oids[k]);
      if (position >= 0) hits.Add(position);
    }
    reached = true;
  }
  bool reached = false;

 private:
  const ListPositions& positions;
  PositionSet& hits;
};

// Below this share of the list, the hits of a File As result are sorted rather than the whole File
// As order walked.
const int kSortedFileAsShare = 16;

}  // namespace

void ContactManager::SetSearchAids(BOOL on) {
  searchAids = on;
  if (!on) {
    positions.Clear();
    nameKeys.Clear();
  }
}

BOOL ContactManager::MatchPositions(const Str& query, BOOL keypad, PositionSet& hits) {
  hits.Reset(positions.Count());
  if (keypad) {
    // A key sequence is one key: never split, never lower-cased.
    const wchar_t* key = query;
    MarkPositions mark(positions, hits);
    index.Tree(KeypadTree).VisitPrefix(key, static_cast<int>(wcslen(key)), mark);
    return TRUE;
  }
  Str text(query);
  text.TrimLeft();
  text.TrimRight();
  if (text.IsEmpty()) return TRUE;
  text.MakeLower();
  // Every word must begin some word of the contact, each in any field and in any order.
  WordSplitter splitter;
  splitter.Reset(Str(static_cast<const wchar_t*>(text)));
  Str word;
  bool first = true;
  PositionSet wordHits;
  while (splitter.Next(word)) {
    PositionSet& target = first ? hits : wordHits;
    if (!first) wordHits.Reset(positions.Count());
    MarkPositions mark(positions, target);
    const wchar_t* chars = word;
    index.Tree(WordTree).VisitPrefix(chars, static_cast<int>(wcslen(chars)), mark);
    if (!mark.reached) {
      hits.Reset(positions.Count());
      return TRUE;
    }
    if (!first) hits.Intersect(wordHits);
    first = false;
  }
  return TRUE;
}

BOOL ContactManager::OrderedMatch(const Str& query, BOOL keypad, int sortKind, const CategoryFilter& filter,
                                  Array<CEOID>& out, BOOL& handled) {
  out.RemoveAll();
  handled = FALSE;
  if (!searchAids || !index.IsOpen()) return TRUE;
  if (sortKind != SortKindName && sortKind != SortKindFileAs) {
    handled = TRUE;
    return TRUE;
  }
  if (!positions.Sync(index.Store())) return TRUE;
  handled = TRUE;

  const int count = positions.Count();
  const BOOL emptyQuery = query.IsEmpty();
  PositionSet hits;
  if (emptyQuery) {
    hits.Reset(count);
    for (int k = 0; k < count; ++k) hits.Add(k);
  } else if (!MatchPositions(query, keypad, hits)) {
    return FALSE;
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

  const int found = hits.Count();
  out.SetSize(found);
  int at = 0;
  if (sortKind == SortKindName) {
    for (int position = hits.Next(0); position >= 0; position = hits.Next(position + 1))
      out[at++] = positions.OidAt(position);
    return TRUE;
  }
  const Array<int32_t>& order = positions.FileAsOrder();
  if (found * kSortedFileAsShare >= count) {
    for (int k = 0; k < count; ++k) {
      if (hits.Contains(order[k])) out[at++] = positions.OidAt(order[k]);
    }
    return TRUE;
  }
  Array<uint32_t> ranks;
  ranks.SetSize(found);
  for (int position = hits.Next(0); position >= 0; position = hits.Next(position + 1))
    ranks[at++] = static_cast<uint32_t>(positions.FileAsRankOf(position));
  SortIds(ranks);
  for (int k = 0; k < found; ++k) out[k] = positions.OidAt(order[static_cast<int>(ranks[k])]);
  return TRUE;
}

BOOL ContactManager::FillNameKeys(DWORD budgetMs) {
  if (!searchAids || !index.IsOpen() || !positions.Sync(index.Store())) return FALSE;
  const int count = positions.Count();
  if (nameFillCursor >= count) nameFillCursor = 0;
  const DWORD started = GetTickCount();
  Str last, first, company;
  while (nameFillCursor < count) {
    const CEOID oid = positions.OidAt(nameFillCursor++);
    // A record that can't be read keeps no entry; the ranking reads it again, as it would anyway.
    if (!nameKeys.Has(oid) && ReadNameFields(oid, last, first, company))
      nameKeys.Remember(oid, last, first, company);
    if (budgetMs != 0 && (nameFillCursor & 63) == 0 && GetTickCount() - started >= budgetMs) return FALSE;
  }
  nameFillCursor = 0;
  return nameKeys.Count() >= count;
}
