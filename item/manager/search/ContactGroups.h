// The grouped order of the lists (sort kind 2): contacts under their company, made at search time from
// the database. ReadEntries reads {identifier, company, name} for the contacts asked for, and
// BuildGroups sorts them by company and name and cuts them into one group per company.
#pragma once

#include <windows.h>
#include <windbase.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "storage/contact/ContactDatabase.h"

// A contact of the grouped order: its identifier, its company (the shared empty string when none) and
// its name ("Last, First", the one that exists, or the title).
typedef ListEntry GroupEntry;

// Reads the entries of the contacts asked for, in one read of five properties per record:
//  - no `ids` and no `mask`: every record, in one sequential pass;
//  - no `ids` with a `mask`: the same pass, keeping the records whose categories share a bit with the
//    mask (a mask of zeros: the records without categories);
//  - `ids`: when they are at least the record count - 10, they are sorted and the table is walked
//    once, taking the records among them; otherwise each is sought by itself. A mask applies too.
// The end of the table (error 259) ends a pass with success; any other read failure is false.
bool ReadEntries(ContactDatabase& database, const ByteBuffer* mask, const Array<CEOID>* ids,
                 Array<GroupEntry>& entries);

// Sorts `entries` by company and then name (the collation of the system's default locale, then the
// identifier) and groups them by company: `flat` gets, for each group, its size and then its
// identifiers; `titles` the company of each group as its first entry spells it. Companies that the
// collation finds equal form one group; contacts without a company form one group with an empty
// title. The entries are emptied.
void BuildGroups(Array<GroupEntry>& entries, Array<uint32_t>& flat, Array<Str>& titles);
