// ListPositions: where every contact stands in the index's sorted lists, held in ordinary memory so
// that a search can gather its match as a set of positions and read it off in order, instead of
// sorting ids and searching the whole list for each of them.
//
// The positions are those of the name list; the File As list is kept as the name positions in its own
// order. They are made again whenever either list differs from the copy taken last, which Sync finds
// by comparing the mapped lists with the copies, so every process, writer or reader, stays in step
// without being told.
#pragma once

#include <windows.h>
#include <windbase.h>
#include <stdint.h>

#include "foundation/Array.h"

class IndexStore;

// A set of name-list positions, one bit each.
class PositionSet {
 public:
  void Reset(int size);
  // Positions below Size() only; unchecked, as they run for every contact a lookup reaches.
  void Add(int position) { bits.GetData()[position >> 5] |= 1u << (position & 31); }
  bool Contains(int position) const { return (bits.GetData()[position >> 5] >> (position & 31)) & 1u; }
  // Keeps only the positions that `other` holds too.
  void Intersect(const PositionSet& other);
  int Size() const { return size; }
  // How many positions the set holds.
  int Count() const;
  // Visits the positions in ascending order.
  int Next(int from) const;

 private:
  Array<uint32_t> bits;
  int size = 0;
};

class ListPositions {
 public:
  ListPositions();
  virtual ~ListPositions();

  // Takes the sorted lists of `store` again when they differ from the copies. False when they can't
  // serve (a list leaves the file, holds an oid twice, or the two lists don't hold the same
  // contacts); the caller then works from the lists themselves.
  virtual BOOL Sync(const IndexStore& store);
  virtual void Clear();

  int Count() const { return nameList.GetSize(); }
  // The name-list position of `oid`, or -1.
  int PositionOf(uint32_t oid) const;
  uint32_t OidAt(int position) const { return nameList.GetData()[position]; }
  // The name-list positions in the order of the File As list.
  const Array<int32_t>& FileAsOrder() const { return fileAsOrder; }
  // Where name position `position` stands in the File As list.
  int FileAsRankOf(int position) const { return fileAsRank[position]; }
  // Changes whenever the positions are made again or cleared, so that what is kept by position can
  // tell that it is out of date.
  uint32_t Generation() const { return generation; }

 private:
  ListPositions(const ListPositions&);
  ListPositions& operator=(const ListPositions&);

  // Makes the oid table and the File As order from the copies; false when they can't serve.
  BOOL Index();

  Array<uint32_t> nameList;    // copy of the name list's oids
  Array<uint32_t> fileAsList;  // copy of the File As list's oids
  Array<int32_t> fileAsOrder;
  Array<int32_t> fileAsRank;
  // oid -> name position, open addressing with linear probing; slots hold position + 1, 0 is free.
  Array<uint32_t> tableOids;
  Array<int32_t> tablePositions;
  BOOL valid;
  uint32_t generation;
};
