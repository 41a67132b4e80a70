// PositionSearch: the match as positions, the read-off in list order and the idle fill.
#include "manager/aids/PositionSearch.h"

#include <wchar.h>

#include "foundation/ShellSort.h"
#include "storage/index/SearchTree.h"
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

PositionSearch::PositionSearch(ListPositions& listPositions, NameKeyCache& cache)
    : positions(listPositions), nameKeys(cache), fillCursor(0), roundVisited(0), roundCount(0) {}

PositionSearch::~PositionSearch() {}

void PositionSearch::Match(const SearchTree& tree, const Str& query, BOOL keypad, PositionSet& hits) const {
  hits.Reset(positions.Count());
  if (keypad) {
    // A key sequence is one key: never split, never lower-cased.
    const wchar_t* key = query;
    MarkPositions mark(positions, hits);
    tree.VisitPrefix(key, static_cast<int>(wcslen(key)), mark);
    return;
  }
  Str text(query);
  text.TrimLeft();
  text.TrimRight();
  if (text.IsEmpty()) return;
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
    tree.VisitPrefix(chars, static_cast<int>(wcslen(chars)), mark);
    if (!mark.reached) {
      hits.Reset(positions.Count());
      return;
    }
    if (!first) hits.Intersect(wordHits);
    first = false;
  }
}

void PositionSearch::ReadOff(const PositionSet& hits, int sortKind, Array<CEOID>& out,
                             Array<int32_t>* at) const {
  const int count = positions.Count();
  const int found = hits.Count();
  out.SetSize(found);
  Array<int32_t> unused;
  Array<int32_t>& where = at != nullptr ? *at : unused;
  where.SetSize(at != nullptr ? found : 0);
  int32_t* place = at != nullptr ? where.GetData() : nullptr;
  int next = 0;
  // Each contact read off goes to `out`, and its position beside it when asked for.
  auto take = [&](int position) {
    if (place != nullptr) place[next] = position;
    out[next++] = positions.OidAt(position);
  };
  if (sortKind != 1) {
    for (int position = hits.Next(0); position >= 0; position = hits.Next(position + 1)) take(position);
    return;
  }
  const Array<int32_t>& order = positions.FileAsOrder();
  if (found * kSortedFileAsShare >= count) {
    for (int k = 0; k < count; ++k) {
      if (hits.Contains(order[k])) take(order[k]);
    }
    return;
  }
  Array<uint32_t> ranks;
  ranks.SetSize(found);
  int ranked = 0;
  for (int position = hits.Next(0); position >= 0; position = hits.Next(position + 1))
    ranks[ranked++] = static_cast<uint32_t>(positions.FileAsRankOf(position));
  SortIds(ranks);
  for (int k = 0; k < found; ++k) take(order[static_cast<int>(ranks[k])]);
}

BOOL PositionSearch::Fill(NameSource& source, DWORD budgetMs) {
  const int count = positions.Count();
  if (count == 0) return TRUE;
  // Without a budget the call makes a whole round of its own.
  if (roundCount != count || budgetMs == 0) {
    roundCount = count;
    roundVisited = 0;
  }
  if (fillCursor >= count) fillCursor = 0;
  const DWORD started = GetTickCount();
  Str last, first, company;
  while (roundVisited < count) {
    const CEOID oid = positions.OidAt(fillCursor);
    fillCursor = fillCursor + 1 < count ? fillCursor + 1 : 0;
    ++roundVisited;
    if (!nameKeys.Has(oid) && source.ReadNames(oid, last, first, company))
      nameKeys.Remember(oid, last, first, company);
    if (budgetMs != 0 && (roundVisited & 63) == 0 && GetTickCount() - started >= budgetMs) return FALSE;
  }
  roundVisited = 0;
  return TRUE;
}
