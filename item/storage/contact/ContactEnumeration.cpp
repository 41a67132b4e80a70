// The enumerations of the contacts database that the lists and the index start from.
#include "storage/contact/ContactDatabase.h"

#include "storage/contact/ContactNames.h"
#include "storage/db/StepScope.h"

#include <stdlib.h>

namespace {

const CEPROPID kListProperties[] = {
    MAKE_CEPROPID(0x3A11, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A06, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A16, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4023, CEVT_LPWSTR),
    kIdCategories,
};
const int kListPropertyCount = sizeof(kListProperties) / sizeof(kListProperties[0]);
const CEPROPID kCategoriesOnly[] = {kIdCategories};
const CEPROPID kCompanyOnly[] = {kCompanyId};

// Below this many oids fewer than the records, the records are sought one by one.
const int kWalkMargin = 10;

int CompareOids(const void* a, const void* b) {
  CEOID x = *static_cast<const CEOID*>(a);
  CEOID y = *static_cast<const CEOID*>(b);
  return x < y ? -1 : (x > y ? 1 : 0);
}

int CompareTexts(const void* a, const void* b) {
  return Str::Compare(*static_cast<const Str*>(a), *static_cast<const Str*>(b));
}

bool SortedContains(const Array<CEOID>& sorted, CEOID oid) {
  int low = 0;
  int high = sorted.GetSize() - 1;
  while (low <= high) {
    int middle = (low + high) / 2;
    CEOID value = sorted[middle];
    if (value == oid) return true;
    if (value < oid)
      low = middle + 1;
    else
      high = middle - 1;
  }
  return false;
}

const DbProperty* FoundProperty(const DbRecord& record, WORD number) {
  const DbProperty* property = record.Find(number);
  if (property == nullptr || property->IsNotFound()) return nullptr;
  return property;
}

Str TextOf(const DbRecord& record, WORD number) {
  const DbProperty* property = FoundProperty(record, number);
  if (property == nullptr || property->GetType() != CEVT_LPWSTR) return Str();
  return Str(property->GetText());
}

bool HasNoCategory(const DbRecord& record) {
  const DbProperty* property = FoundProperty(record, kPropCategories);
  if (property == nullptr || property->GetType() != CEVT_BLOB) return true;
  DWORD length = property->GetBlobLength();
  return length == 0 || (length == 1 && property->GetBlobData()[0] == 0);
}

bool SharesCategory(const DbRecord& record, const ByteBuffer& mask) {
  const DbProperty* property = FoundProperty(record, kPropCategories);
  if (property == nullptr || property->GetType() != CEVT_BLOB) return false;
  DWORD length = property->GetBlobLength();
  if (length > mask.GetLength()) length = mask.GetLength();
  const BYTE* bytes = property->GetBlobData();
  for (DWORD i = 0; i < length; ++i) {
    if ((bytes[i] & mask.GetData()[i]) != 0) return true;
  }
  return false;
}

bool IsAllZero(const ByteBuffer& mask) {
  for (uint32_t i = 0; i < mask.GetLength(); ++i) {
    if (mask.GetData()[i] != 0) return false;
  }
  return true;
}

// The state of one enumeration: what it keeps and where it puts it.
struct Collector {
  int category;
  const ByteBuffer* mask;
  const Array<CEOID>* allowed;  // sorted, or null for every oid
  Array<ListEntry>* entries;
  Array<CEOID>* oids;

  void Take(CEOID oid, const DbRecord& record) {
    if (allowed != nullptr && !SortedContains(*allowed, oid)) return;
    if (category == ListNoCategory && !HasNoCategory(record)) return;
    if (category == ListCategoryMask && !SharesCategory(record, *mask)) return;
    if (oids != nullptr) oids->Add(oid);
    if (entries != nullptr) {
      ListEntry entry;
      entry.oid = oid;
      entry.company = TextOf(record, 0x3A16);
      entry.name = ListName(TextOf(record, 0x3A11), TextOf(record, 0x3A06), TextOf(record, 0x4023));
      entries->Add(entry);
    }
  }
};

}  // namespace

bool ContactDatabase::Enumerate(const ListFilter& filter, bool withNames, Array<ListEntry>* entries,
                                Array<CEOID>* oids) {
  if (entries != nullptr) entries->RemoveAll();
  if (oids != nullptr) oids->RemoveAll();

  Collector collector;
  collector.category = filter.category;
  collector.mask = &filter.mask;
  collector.allowed = nullptr;
  collector.entries = entries;
  collector.oids = oids;
  if (collector.category == ListCategoryMask && IsAllZero(filter.mask)) collector.category = ListNoCategory;

  int count = withNames ? kListPropertyCount : 1;
  const CEPROPID* ids = withNames ? kListProperties : kCategoriesOnly;
  DbRecord record;

  Array<CEOID> sorted;
  if (filter.byOids) {
    FILETIME time;
    DWORD records = 0;
    GetCountAndTime(time, records);
    if (filter.oids.GetSize() < static_cast<int>(records) - kWalkMargin) {
      // Few of many: seek each one; those that are gone are skipped.
      StepScope step(m_contacts, false);
      for (int i = 0; i < filter.oids.GetSize(); ++i) {
        CEOID oid = filter.oids[i];
        if (m_contacts.SeekOid(oid) == 0) continue;
        CEOID read = m_contacts.ReadRecord(record, count, ids);
        if (read == 0) continue;
        collector.Take(read, record);
      }
      return true;
    }
    sorted = filter.oids;
    if (sorted.GetSize() > 1)
      qsort(sorted.GetData(), static_cast<size_t>(sorted.GetSize()), sizeof(CEOID), CompareOids);
    collector.allowed = &sorted;
  }

  StepScope step(m_contacts, true);
  m_contacts.SetAtEnd(false);
  // Nothing at index 0: the table is empty.
  if (m_contacts.SeekIndex(0) == 0) return true;
  while (!m_contacts.IsAtEnd()) {
    CEOID oid = m_contacts.ReadRecord(record, count, ids);
    if (oid == 0) {
      if (GetLastError() == ERROR_NO_MORE_ITEMS) break;
      if (entries != nullptr) entries->RemoveAll();
      if (oids != nullptr) oids->RemoveAll();
      return false;
    }
    collector.Take(oid, record);
  }
  return true;
}

bool ContactDatabase::EnumerateContacts(const ListFilter& filter, Array<ListEntry>& entries) {
  return Enumerate(filter, true, &entries, nullptr);
}

bool ContactDatabase::EnumerateOids(const ListFilter& filter, Array<CEOID>& oids) {
  return Enumerate(filter, false, nullptr, &oids);
}

bool ContactDatabase::CompaniesInOrder(DbDatabase& database, Array<Str>& companies) {
  companies.RemoveAll();
  DbRecord record;
  StepScope step(database, true);
  database.SetAtEnd(false);
  if (database.SeekIndex(0) == 0) return true;
  Str previous;
  while (!database.IsAtEnd()) {
    CEOID oid = database.ReadRecord(record, 1, kCompanyOnly);
    if (oid == 0) {
      if (GetLastError() == ERROR_NO_MORE_ITEMS) break;
      companies.RemoveAll();
      return false;
    }
    Str company = TextOf(record, 0x3A16);
    if (company.IsEmpty() || Str::IsEqual(company, previous)) continue;
    companies.Add(company);
    previous = company;
  }
  return true;
}

bool ContactDatabase::AllCompanies(Array<Str>& companies) {
  // A handle of its own in the company order brings equal names together.
  DbDatabase byCompany;
  if (byCompany.Open(kContactsDatabaseName, kCompanyId, nullptr))
    return CompaniesInOrder(byCompany, companies);

  // Without that order, the open database is walked as it stands, and the names are sorted and
  // made distinct afterwards.
  if (!CompaniesInOrder(m_contacts, companies)) return false;
  if (companies.GetSize() < 2) return true;
  qsort(companies.GetData(), static_cast<size_t>(companies.GetSize()), sizeof(Str), CompareTexts);
  Array<Str> distinct;
  for (int i = 0; i < companies.GetSize(); ++i) {
    if (distinct.GetSize() == 0 || !Str::IsEqual(distinct[distinct.GetSize() - 1], companies[i]))
      distinct.Add(companies[i]);
  }
  companies = distinct;
  return true;
}
