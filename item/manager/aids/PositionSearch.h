// PositionSearch: the searches' work over their aids in ordinary memory. A match is gathered from a
// word tree as a set of name-list positions, read off in the order of a sorted list, and ranked by
// name from the name-key cache, with the records themselves read for what the cache can't tell.
//
// The contact manager holds one over its own index and database; anything else that holds a tree,
// the list positions and a name-key cache (a benchmark over a store in ordinary memory) can run the
// same searches.
#pragma once

#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "manager/aids/ListPositions.h"
#include "manager/aids/NameKeyCache.h"
#include "manager/aids/PairRows.h"

class IndexStore;
class SearchTree;

// Where the ranking reads the names of a contact the cache has no entry for.
class NameSource {
 public:
  virtual ~NameSource() {}
  // The last name, first name and company of record `oid`; false when it can't be read.
  virtual bool ReadNames(CEOID oid, Str& last, Str& first, Str& company) = 0;
};

// Asked once for each contact while the ranking reads names; true gives the ranking up.
class RankingCancel {
 public:
  virtual ~RankingCancel() {}
  virtual bool Cancelled() = 0;
};

class PositionSearch {
 public:
  PositionSearch(ListPositions& positions, NameKeyCache& nameKeys);
  virtual ~PositionSearch();

  // The positions in step with the sorted lists of `store`; false when they can't serve.
  BOOL Sync(const IndexStore& store) { return positions.Sync(store); }

  // The positions of the contacts that a key of `tree` matches: for a keypad query, a key that begins
  // with the query whole; for a text query, trimmed and lowered, a key beginning with each of its
  // words. `hits` is sized to the lists.
  virtual void Match(const SearchTree& tree, const Str& query, BOOL keypad, PositionSet& hits) const;
  // The contacts at `hits`, in the order of the name list (sortKind 0) or the File As list (1); with
  // `at`, the name-list position of each of them too, for the ranking.
  virtual void ReadOff(const PositionSet& hits, int sortKind, Array<CEOID>& out,
                       Array<int32_t>* at = nullptr) const;
  // Moves the contacts of `out` whose last name, first name or company has a word beginning with the
  // query to the front, in that order of precedence, each part keeping its order; the rest follow.
  // A query of one character, or fewer than two contacts, change nothing. Names come from the cache
  // when `useCache` says so and it can tell, otherwise from `source`; a record that can't be read
  // stays with the rest. False when `cancel` gives up. `at`, when given, holds the name-list position
  // of each contact of `out` as ReadOff made them; a keypad query is then ranked from the key pairs
  // laid out by position wherever they can tell.
  virtual BOOL Rank(const Str& query, BOOL keypad, BOOL useCache, NameSource& source, RankingCancel* cancel,
                    Array<CEOID>& out, const Array<int32_t>* at = nullptr) const;
  // Gives name-key entries to listed contacts that have none, going round the name list from where
  // the last call stopped, for about `budgetMs` milliseconds (0: one whole round in this call). True
  // when a whole round has gone by since the last true: every listed contact that could be read was
  // given its entry then. A record that can't be read keeps none, and the ranking reads it as ever.
  virtual BOOL Fill(NameSource& source, DWORD budgetMs);

 private:
  PositionSearch(const PositionSearch&);
  PositionSearch& operator=(const PositionSearch&);

  ListPositions& positions;
  NameKeyCache& nameKeys;
  // Made again by the ranking when the positions or the cache changed.
  mutable PairRows pairRows;
  // The fill's place in the name list and how much of the round it has made, for a list of
  // `roundCount` contacts.
  int fillCursor;
  int roundVisited;
  int roundCount;
};
