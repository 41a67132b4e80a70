#include "ToolCategories.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/db/DbRecord.h"

namespace {
const WORD kNameProperty = 0x4001;   // text
const WORD kIdProperty = 0x4002;     // 16-bit
const WORD kCountProperty = 0x4004;  // 16-bit
const int kMaxCategoryId = 255;

// The record deletes what it was given.
void AddOwned(DbRecord& record, DbProperty* property) {
  property->SetListOwned(true);
  record.Add(property);
}
}  // namespace

bool ToolCategories::Open() {
  if (!database.Open(kCategoriesDatabaseName, 0, nullptr)) return false;
  byId.clear();
  database.SeekIndex(0);
  for (;;) {
    DbRecord record;
    CEOID oid = database.ReadRecord(record);
    if (!oid) break;
    database.SeekNext();
    DbProperty* id = record.Find(kIdProperty);
    DbProperty* name = record.Find(kNameProperty);
    DbProperty* count = record.Find(kCountProperty);
    if (!id || !name || name->GetType() != CEVT_LPWSTR) continue;
    Entry entry = {oid, name->Value().val.lpwstr ? name->Value().val.lpwstr : L"",
                   count ? count->Value().val.iVal : 0, 0};
    byId[id->Value().val.iVal] = entry;
  }
  return true;
}

int ToolCategories::FindOrAdd(const std::wstring& name) {
  for (const auto& item : byId)
    if (item.second.name == name) return item.first;
  int id = 0;
  while (byId.count(id)) ++id;
  if (id > kMaxCategoryId) return -1;
  DbRecord record;
  AddOwned(record, new DbProperty(static_cast<int16_t>(id), kIdProperty));
  AddOwned(record, new DbProperty(name.c_str(), kNameProperty));
  AddOwned(record, new DbProperty(static_cast<int16_t>(0), kCountProperty));
  CEOID oid = database.WriteRecord(record, 0);
  if (!oid) return -1;
  byId[id] = Entry{oid, name, 0, 0};
  return id;
}

std::wstring ToolCategories::NameOf(int id) const {
  auto found = byId.find(id);
  return found == byId.end() ? std::wstring() : found->second.name;
}

void ToolCategories::CountUse(int id, int uses) {
  auto found = byId.find(id);
  if (found != byId.end()) found->second.added += uses;
}

bool ToolCategories::Flush() {
  bool ok = true;
  for (auto& item : byId) {
    Entry& entry = item.second;
    if (!entry.added) continue;
    entry.count += entry.added;
    entry.added = 0;
    DbRecord record;
    record.SetOid(entry.oid);
    AddOwned(record, new DbProperty(static_cast<int16_t>(entry.count), kCountProperty));
    ok = database.WriteRecord(record, 1) != 0 && ok;
  }
  return ok;
}
