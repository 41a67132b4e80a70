// The ranking of a search's result: contacts whose last name, first name or company has a word that
// begins with the query move to the front, in that order of precedence.
#include "manager/core/ContactManager.h"

#include <wchar.h>

#include "manager/letters/KeypadGroups.h"
#include "storage/index/WordSplitter.h"

namespace {

// Whether a word of `name` begins with `query`: the word in lower case for a text query, its keypad
// keys for a keypad query.
bool NameBeginsWith(const Str& name, const Str& query, BOOL keypad) {
  if (name.IsEmpty()) return false;
  WordSplitter splitter;
  splitter.Reset(name);
  Str word;
  while (splitter.Next(word)) {
    word.MakeLower();
    Str keys = keypad ? MapToGroupKeys(word) : word;
    if (keys.GetLength() >= query.GetLength() && wcsncmp(keys, query, query.GetLength()) == 0) return true;
  }
  return false;
}

}  // namespace

BOOL ContactManager::ReorderByName(const Str& query, BOOL keypad, Array<CEOID>& out, SearchCancel* cancel) {
  // One character would read a large part of all contacts on the first key press.
  if (query.GetLength() < 2 || out.GetSize() < 2) return TRUE;
  Str wanted(query);
  if (!keypad) wanted.MakeLower();

  Array<CEOID> byLast, byFirst, byCompany, rest;
  Str last, first, company;
  for (int k = 0; k < out.GetSize(); ++k) {
    if (IsCancelled(cancel)) return FALSE;
    const CEOID oid = out[k];
    // A record that can't be read stays where it stands.
    if (!ReadNameFields(oid, last, first, company)) {
      rest.Add(oid);
      continue;
    }
    // With no last name the first name ranks as the last name.
    if (last.IsEmpty()) {
      last = first;
      first.Empty();
    }
    if (NameBeginsWith(last, wanted, keypad))
      byLast.Add(oid);
    else if (NameBeginsWith(first, wanted, keypad))
      byFirst.Add(oid);
    else if (NameBeginsWith(company, wanted, keypad))
      byCompany.Add(oid);
    else
      rest.Add(oid);
  }
  // Within each part the sort order stands.
  out = byLast;
  out.Append(byFirst);
  out.Append(byCompany);
  out.Append(rest);
  return TRUE;
}
