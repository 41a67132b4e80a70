#include "storage/index/ContactKeySource.h"

#include "storage/contact/Contact.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/contact/ContactNames.h"
#include "storage/index/IndexFormat.h"

Str SortKeyOf(int kind, const Contact& contact) {
  if (kind == SortByFileAs) return contact.text[ContactField::FileAs];
  return ListName(contact.text[ContactField::LastName], contact.text[ContactField::FirstName],
                  contact.text[ContactField::Company], contact.text[ContactField::Title]);
}

int CompareSortKeys(const wchar_t* keyA, CEOID oidA, const wchar_t* keyB, CEOID oidB) {
  int order = Str::Compare(keyA, keyB);
  if (order != 0) return order;
  uint32_t a = static_cast<uint32_t>(oidA);
  uint32_t b = static_cast<uint32_t>(oidB);
  return a < b ? -1 : (a > b ? 1 : 0);
}

ContactKeySource::~ContactKeySource() {}

DatabaseKeySource::DatabaseKeySource(ContactDatabase* source) : database(source) {}

bool DatabaseKeySource::ReadSortKey(int kind, CEOID oid, Str& key) {
  key.Empty();
  if (database == nullptr) return false;
  if (kind == SortByFileAs) return database->ReadFileAs(oid, key);
  Str last, first, company, title;
  if (!database->ReadNameFields(oid, last, first, company, title)) return false;
  key = ListName(last, first, company, title);
  return true;
}
