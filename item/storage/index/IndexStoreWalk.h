// IndexStoreWalk: the walk of IndexStore::Check over everything the index file holds, taken in steps
// so that it can run in slices of idle time. Each step does a bounded amount of work: about `units`
// tree nodes or reverse map entries, or one of the short parts whole (the arena, the contact map, the
// sorted lists). Findings go to the report given at the start, one line each. The store must not
// change while a walk is under way; after a change the walk is begun anew.
#pragma once

#include "foundation/Str.h"

class IndexStore;

class IndexStoreWalk {
 public:
  IndexStoreWalk(const IndexStore& store, Str& report);
  ~IndexStoreWalk();

  // Walks on; true when the walk has ended.
  bool Step(int units);
  bool Done() const;
  // Lines the walk has reported so far.
  int Findings() const;

 private:
  IndexStoreWalk(const IndexStoreWalk&);
  IndexStoreWalk& operator=(const IndexStoreWalk&);

  class Checker;
  Checker* checker;
};
