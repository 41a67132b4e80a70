// The sort of a full rebuild: the contacts, taken in identifier order, are ordered by their key for a
// list (the list name, or File As) with ties broken by the identifier, and their identifiers in that
// order become the list.
#pragma once

#include <windows.h>
#include <windbase.h>

#include "foundation/Array.h"
#include "foundation/Str.h"

class Contact;

// One entry of the sort: a contact's key and its identifier.
struct SortPair {
  Str key;
  CEOID oid;
};

// Orders `pairs` by key, then by identifier.
void SortPairs(Array<SortPair>& pairs);
// The identifiers of `contacts` (in identifier order) sorted by their keys for list `kind`
// (SortByName, SortByFileAs).
void SortContactsByKey(int kind, const Array<Contact*>& contacts, Array<CEOID>& ids);
