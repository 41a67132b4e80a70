#include "storage/contact/ContactDatabase.h"

#include "storage/db/StepScope.h"

#include <string.h>

const wchar_t kContactsDatabaseName[] = L"Contacts Database";

namespace {

const CEPROPID kNameFields4[] = {
    MAKE_CEPROPID(0x3A11, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A06, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A16, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4023, CEVT_LPWSTR),
};
const CEPROPID kNameParts[] = {
    MAKE_CEPROPID(0x3A11, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A06, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4023, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4024, CEVT_LPWSTR),
};
const CEPROPID kFileAs[] = {MAKE_CEPROPID(0x4013, CEVT_LPWSTR)};
const CEPROPID kPhones[] = {
    MAKE_CEPROPID(0x3A08, CEVT_LPWSTR), MAKE_CEPROPID(0x4007, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A24, CEVT_LPWSTR), MAKE_CEPROPID(0x3A09, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A2F, CEVT_LPWSTR), MAKE_CEPROPID(0x3A25, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4009, CEVT_LPWSTR), MAKE_CEPROPID(0x3A1E, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A1D, CEVT_LPWSTR), MAKE_CEPROPID(0x3A1C, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4004, CEVT_LPWSTR),
};
const CEPROPID kCategoriesOnly[] = {kIdCategories};

// The text of property `number` in `record`, or the empty string when it was not found.
Str TextOf(const DbRecord& record, WORD number) {
  const DbProperty* property = record.Find(number);
  if (property == nullptr || property->IsNotFound() || property->GetType() != CEVT_LPWSTR) return Str();
  return Str(property->GetText());
}

}  // namespace

ContactDatabase::ContactDatabase() : m_categoryCounter(&m_categories) {}

ContactDatabase::~ContactDatabase() { Close(); }

bool ContactDatabase::Open(CENOTIFYREQUEST* notifyRequest) {
  if (!m_contacts.Open(kContactsDatabaseName, 0, notifyRequest)) return false;
  return m_categories.Open();
}

void ContactDatabase::Close() {
  m_contacts.Close();
  m_categories.Close();
}

bool ContactDatabase::GetCountAndTime(FILETIME& time, DWORD& count) const {
  CEDBASEINFO info;
  if (!m_contacts.GetInfo(info)) {
    memset(&time, 0, sizeof(time));
    count = 0;
    return false;
  }
  time = info.ftLastModified;
  count = info.wNumRecords;
  return true;
}

namespace {

// One found value into the contact's field for it, if it has one.
void MapValue(const CEPROPVAL& value, Contact& contact) {
  const WORD number = IdFromPropID(value.propid);
  switch (TypeFromPropID(value.propid)) {
    case CEVT_LPWSTR: {
      int field = ContactFieldOfProperty(number);
      if (field >= 0) contact.text[field] = value.val.lpwstr != nullptr ? value.val.lpwstr : L"";
      break;
    }
    case CEVT_FILETIME:
      if (number == kPropBirthday)
        contact.birthday = value.val.filetime;
      else if (number == kPropAnniversary)
        contact.anniversary = value.val.filetime;
      break;
    case CEVT_I4:
    case CEVT_UI4:
      if (number == kPropDefaultItem)
        contact.defaultItem = static_cast<uint32_t>(value.val.ulVal);
      else if (number == kPropFlag102)
        contact.flag102 = value.val.ulVal != 0 ? 1 : 0;
      break;
    case CEVT_BOOL:
      if (number == kPropFlag102) contact.flag102 = value.val.boolVal != 0 ? 1 : 0;
      break;
    case CEVT_BLOB:
      if (number == kPropCategories)
        contact.categories.Assign(value.val.blob.lpb, value.val.blob.dwCount);
      else if (number == kPropNote)
        contact.noteBlob.Assign(value.val.blob.lpb, value.val.blob.dwCount);
      break;
    default:
      break;
  }
}

}  // namespace

void ContactDatabase::MapProperties(const DbRecord& record, Contact& contact) {
  for (int i = 0; i < record.Count(); ++i) {
    const DbProperty* property = record.GetAt(i);
    if (!property->IsNotFound()) MapValue(property->Value(), contact);
  }
}

void ContactDatabase::MapValues(const CEPROPVAL* values, int count, Contact& contact) {
  for (int i = 0; i < count && values != nullptr; ++i) {
    if ((values[i].wFlags & CEDB_PROPNOTFOUND) == 0) MapValue(values[i], contact);
  }
}

bool ContactDatabase::LoadCurrent(Contact& contact) {
  contact.Clear();
  StepScope step(m_contacts, true);
  CEOID oid = m_contacts.ReadValues(m_read);
  if (oid == 0) return false;
  MapValues(m_read.Values(), m_read.Count(), contact);
  contact.oid = oid;
  return true;
}

CEOID ContactDatabase::ReadByOid(CEOID oid, DbRecord& record, int count, const CEPROPID* ids) {
  if (m_contacts.SeekOid(oid) == 0) return 0;
  StepScope step(m_contacts, false);
  return m_contacts.ReadRecord(record, count, ids);
}

bool ContactDatabase::LoadByOid(CEOID oid, Contact& contact) {
  contact.Clear();
  if (m_contacts.SeekOid(oid) == 0) return false;
  StepScope step(m_contacts, false);
  CEOID read = m_contacts.ReadValues(m_read);
  if (read == 0) return false;
  MapValues(m_read.Values(), m_read.Count(), contact);
  contact.oid = read;
  return true;
}

bool ContactDatabase::LoadDisplayFields(CEOID oid, Contact& contact) {
  contact.Clear();
  DbRecord record;
  CEOID read = ReadByOid(oid, record, kDisplayPropertyCount, kDisplayProperties);
  if (read == 0) return false;
  MapProperties(record, contact);
  contact.oid = read;
  return true;
}

bool ContactDatabase::ReadNameFields(CEOID oid, Str& last, Str& first, Str& company, Str& title) {
  DbRecord record;
  if (ReadByOid(oid, record, 4, kNameFields4) == 0) return false;
  last = TextOf(record, 0x3A11);
  first = TextOf(record, 0x3A06);
  company = TextOf(record, 0x3A16);
  title = TextOf(record, 0x4023);
  return true;
}

bool ContactDatabase::ReadNameFields(CEOID oid, Str& last, Str& first, Str& company) {
  DbRecord record;
  if (ReadByOid(oid, record, 3, kNameFields4) == 0) return false;
  last = TextOf(record, 0x3A11);
  first = TextOf(record, 0x3A06);
  company = TextOf(record, 0x3A16);
  return true;
}

bool ContactDatabase::ReadNameParts(CEOID oid, Contact& contact) {
  DbRecord record;
  if (ReadByOid(oid, record, 4, kNameParts) == 0) return false;
  contact.text[ContactField::LastName] = TextOf(record, 0x3A11);
  contact.text[ContactField::FirstName] = TextOf(record, 0x3A06);
  contact.text[ContactField::Title] = TextOf(record, 0x4023);
  contact.text[ContactField::MiddleName] = TextOf(record, 0x4024);
  return true;
}

bool ContactDatabase::ReadFileAs(CEOID oid, Str& fileAs) {
  DbRecord record;
  if (ReadByOid(oid, record, 1, kFileAs) == 0) return false;
  fileAs = TextOf(record, 0x4013);
  return true;
}

bool ContactDatabase::ReadPhones(CEOID oid, Array<Str>& phones) {
  phones.RemoveAll();
  DbRecord record;
  const int count = sizeof(kPhones) / sizeof(kPhones[0]);
  if (ReadByOid(oid, record, count, kPhones) == 0) return false;
  for (int i = 0; i < count; ++i) {
    Str phone = TextOf(record, IdFromPropID(kPhones[i]));
    if (!phone.IsEmpty()) phones.Add(phone);
  }
  return true;
}

bool ContactDatabase::ReadCategories(CEOID oid, ByteBuffer& categories) {
  categories.Empty();
  DbRecord record;
  if (ReadByOid(oid, record, 1, kCategoriesOnly) == 0) return false;
  const DbProperty* property = record.Find(kPropCategories);
  if (property != nullptr && !property->IsNotFound() && property->GetType() == CEVT_BLOB)
    categories.Assign(property->GetBlobData(), property->GetBlobLength());
  return true;
}
