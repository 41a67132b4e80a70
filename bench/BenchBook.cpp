#include "BenchBook.h"

#include <wchar.h>

#include "DeviceContacts.h"
#include "Generator.h"
#include "SearchQueries.h"
#include "ToolCategories.h"
#include "extended/ContactNote.h"
#include "storage/contact/ContactDatabase.h"

namespace {

std::vector<CEOID> g_records;

}  // namespace

const std::vector<CEOID>& BenchRecords() { return g_records; }

bool HoldBenchContacts(int count) {
  const int have = static_cast<int>(g_records.size());
  if (count == have) return true;
  ContactDatabase database;
  if (!database.Open(nullptr)) return false;
  if (count < have) {
    while (static_cast<int>(g_records.size()) > count) {
      if (!database.DeleteContact(g_records.back())) return false;
      g_records.pop_back();
    }
    return true;
  }
  ToolCategories categories;
  if (!categories.Open()) return false;
  ContactNote note;
  for (int k = have; k < count; ++k) {
    Contact contact;
    if (!ToContactRecord(GenerateContact(kSearchSeed, k), categories, note, contact)) return false;
    if (!database.AddContact(contact, true)) return false;
    g_records.push_back(contact.oid);
  }
  categories.Flush();
  return true;
}

bool ChangeBenchContacts(int round, int changes) {
  ContactDatabase database;
  if (!database.Open(nullptr)) return false;
  const int count = static_cast<int>(g_records.size());
  for (int k = 0; k < changes; ++k) {
    const CEOID oid = g_records[(static_cast<size_t>(k) * count / changes + round) % count];
    Contact contact;
    if (!database.LoadByOid(oid, contact)) return false;
    Str& company = contact.text[ContactField::Company];
    const int length = company.GetLength();
    if (length >= 4 && wcscmp(static_cast<const wchar_t*>(company) + length - 4, L" Ltd") == 0)
      company = company.Left(length - 4);
    else
      company += L" Ltd";
    if (!database.UpdateContact(contact, true)) return false;
  }
  return true;
}
