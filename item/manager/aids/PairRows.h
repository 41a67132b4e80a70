// PairRows: the key pairs of the name-key cache laid out by name-list position, one row of fixed width
// for each listed contact, so that the ranking of a keypad query walks its hits in list order through
// one array instead of looking each of them up in the cache. The rows are made again whenever the
// positions, the cache or the keypad groups have changed since they were made.
#pragma once

#include <windows.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "manager/aids/ListPositions.h"
#include "manager/aids/NameKeyCache.h"

class PairRows {
 public:
  PairRows();
  virtual ~PairRows();

  // Brings the rows in step with `positions` and `nameKeys`; cheap when nothing changed.
  virtual void Refresh(const ListPositions& positions, const NameKeyCache& nameKeys);
  // The rank that the pairs of the contact at `position` give the key pair `pair` (KeyPairOf):
  // RankNone when none of its names has a word with that pair, the first name that has one, or
  // RankUnknown when the row can't tell (no cache entry, or more pairs than a row holds).
  int RankOf(int position, int pair) const;

 private:
  PairRows(const PairRows&);
  PairRows& operator=(const PairRows&);

  // A row holds up to kPairs pairs and, last, their number or kUnknown.
  static const int kPairs = 7;
  static const int kWidth = kPairs + 1;
  static const uint16_t kUnknown = 0xFFFF;

  Array<uint16_t> rows;
  int count;
  bool made;
  uint32_t positionsMade;
  uint32_t cacheMade;
  uint32_t groupsMade;
};
