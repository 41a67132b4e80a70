// How the index orders its two sorted contact lists: by the key of each contact, its list name
// ("Last, First", else one of them, else the title, else the company) or its File As, in the collation
// order of the system's default locale, ties broken by the oid. The index reads the keys of the
// contacts already in a list through a ContactKeySource; the contacts database is the real one.
#pragma once

#include <windows.h>
#include <windbase.h>

#include "foundation/Str.h"

class Contact;
class ContactDatabase;

// The key of `contact` for a list (SortByName or SortByFileAs).
Str SortKeyOf(int kind, const Contact& contact);
// Order of two {key, oid} pairs: the keys by Str::Compare, then the oids as unsigned numbers.
int CompareSortKeys(const wchar_t* keyA, CEOID oidA, const wchar_t* keyB, CEOID oidB);

class ContactKeySource {
 public:
  virtual ~ContactKeySource();
  // The key of contact `oid` for list `kind`. False when the contact can't be read any more.
  virtual bool ReadSortKey(int kind, CEOID oid, Str& key) = 0;
};

// Keys read from the contacts database: the name fields, or FileAs.
class DatabaseKeySource : public ContactKeySource {
 public:
  explicit DatabaseKeySource(ContactDatabase* database);
  bool ReadSortKey(int kind, CEOID oid, Str& key) override;

 private:
  ContactDatabase* database;
};
