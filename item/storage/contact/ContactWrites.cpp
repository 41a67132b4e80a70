// Writing contacts: new records, updates that delete what was cleared, deletes and the default item.
#include "storage/contact/ContactDatabase.h"

#include "foundation/DebugUtils.h"
#include "storage/db/StepScope.h"

namespace {

bool IsZeroTime(const FILETIME& time) { return time.dwLowDateTime == 0 && time.dwHighDateTime == 0; }

// Hands `property` to `record`, which deletes it when it is cleared.
void AddOwned(DbRecord& record, DbProperty* property, bool deleteIt = false) {
  CheckAllocation(property);
  property->SetDelete(deleteIt);
  property->SetListOwned(true);
  record.Add(property);
}

void AddBlob(DbRecord& record, WORD number, const ByteBuffer& buffer, bool deleteIt = false) {
  AddOwned(record, new (std::nothrow) DbProperty(buffer.GetData(), buffer.GetLength(), number, DbBorrow),
           deleteIt);
}

void AddDate(DbRecord& record, WORD number, const FILETIME& time) {
  AddOwned(record, new (std::nothrow) DbProperty(time, number), IsZeroTime(time));
}

void AddDefaultItem(DbRecord& record, uint32_t value) {
  AddOwned(record, new (std::nothrow) DbProperty(static_cast<int32_t>(value), kPropDefaultItem), value == 0);
}

}  // namespace

bool ContactDatabase::AddContact(Contact& contact, bool withNote) {
  DbRecord record;
  for (int i = 0; i < kContactTextCount; ++i) {
    if (!contact.text[i].IsEmpty())
      AddOwned(record, new (std::nothrow) DbProperty(contact.text[i], kContactTextProperties[i], DbCopy));
  }
  if (withNote && contact.noteBlob.GetLength() != 0) AddBlob(record, kPropNote, contact.noteBlob);
  if (contact.categories.GetLength() != 0) AddBlob(record, kPropCategories, contact.categories);
  AddDate(record, kPropBirthday, contact.birthday);
  AddDate(record, kPropAnniversary, contact.anniversary);
  if (contact.defaultItem != 0) AddDefaultItem(record, contact.defaultItem);

  StepScope step(m_contacts, false);
  CEOID oid = m_contacts.WriteRecord(record, DbWriteNew);
  if (oid == 0) return false;
  contact.oid = oid;
  if (m_categoryCounter != nullptr) m_categoryCounter->CountContact(contact.categories);
  return true;
}

bool ContactDatabase::UpdateContact(Contact& contact, bool withNote) {
  if (contact.oid == 0 || m_contacts.SeekOid(contact.oid) == 0) return false;
  ByteBuffer oldCategories;
  ReadCategories(contact.oid, oldCategories);
  if (m_categoryCounter != nullptr) m_categoryCounter->RecountContact(oldCategories, contact.categories);

  DbRecord record;
  record.SetOid(contact.oid);
  for (int i = 0; i < kContactTextCount; ++i) {
    AddOwned(record, new (std::nothrow) DbProperty(contact.text[i], kContactTextProperties[i], DbCopy),
             contact.text[i].IsEmpty());
  }
  if (withNote) AddBlob(record, kPropNote, contact.noteBlob, contact.noteBlob.IsEmpty());
  if (!contact.categories.IsEmpty()) AddBlob(record, kPropCategories, contact.categories);
  AddDate(record, kPropBirthday, contact.birthday);
  AddDate(record, kPropAnniversary, contact.anniversary);
  AddDefaultItem(record, contact.defaultItem);

  StepScope step(m_contacts, false);
  return m_contacts.WriteRecord(record, DbWriteUpdate) != 0;
}

bool ContactDatabase::DeleteContact(CEOID oid) {
  if (oid == 0) {
    oid = m_contacts.CurrentOid();
    if (oid == static_cast<CEOID>(-1)) return false;
  }
  if (m_contacts.SeekOid(oid) == 0) return false;
  ByteBuffer categories;
  ReadCategories(oid, categories);
  if (m_categoryCounter != nullptr) m_categoryCounter->UncountContact(categories);
  return CeDeleteRecord(m_contacts.GetHandle(), oid) == 1;
}

bool ContactDatabase::SetDefaultItem(CEOID oid, uint32_t value) {
  if (m_contacts.SeekOid(oid) == 0) return false;
  DbRecord record;
  record.SetOid(oid);
  AddDefaultItem(record, value);
  StepScope step(m_contacts, false);
  return m_contacts.WriteRecord(record, DbWriteUpdate) != 0;
}
