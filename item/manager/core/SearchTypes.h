// What the searches of the contact manager take besides the query.
#pragma once
#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"

// The order of a result: the two sorted lists of the index, or the contacts grouped by company.
enum SortKind {
  SortKindName = 0,
  SortKindFileAs = 1,
  SortKindGrouped = 2,
};

// Categories that a result is restricted to: a contact passes when it has one of them; with no
// category values, when it has no category at all. Ignored unless `active`.
struct CategoryFilter {
  CategoryFilter() : active(0) {}
  Array<CEOID> categories;  // the categories' record ids in the categories database
  BYTE active;
};

// Polled by a search once before the index is asked and once per contact in its loops.
class SearchCancel {
 public:
  virtual ~SearchCancel() {}
  virtual bool IsCancelled() = 0;
};
