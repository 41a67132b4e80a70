// The sort of a full rebuild: the contacts, taken in identifier order, are ordered by their key for a
// list (the list name, or File As) with ties broken by the identifier, and their identifiers in that
// order become the list.
//
// The order is the collation of the system's default locale (Str::Compare). Comparing the texts
// through the locale for every step of a sort is slow, so the keys are first turned into the locale's
// sort keys, which order as their texts do and compare as bytes; the result is then checked pair by
// pair with Str::Compare, and should a single pair disagree, the contacts are sorted again by the
// texts themselves. Either way the list is the one that the texts' order gives.
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

// Orders `pairs` by key, then by identifier, comparing the texts.
void SortPairs(Array<SortPair>& pairs);
// The same order, reached through the locale's sort keys and checked against the texts' order.
void SortPairsBySortKeys(Array<SortPair>& pairs);
// The identifiers of `contacts` (in identifier order) sorted by their keys for list `kind`
// (SortByName, SortByFileAs).
void SortContactsByKey(int kind, const Array<Contact*>& contacts, Array<CEOID>& ids);
