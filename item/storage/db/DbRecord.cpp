#include "storage/db/DbRecord.h"

#include "foundation/DebugUtils.h"

DbRecord::DbRecord() : m_oid(0) {}

DbRecord::DbRecord(const DbRecord& other) : DbRecord() { CopyFrom(other); }

DbRecord& DbRecord::operator=(const DbRecord& other) {
  if (this != &other) {
    Clear();
    CopyFrom(other);
  }
  return *this;
}

DbRecord::~DbRecord() { Clear(); }

int DbRecord::Add(DbProperty* property) { return m_properties.Add(property); }

DbProperty* DbRecord::Find(WORD propertyNumber) const {
  for (int i = 0; i < m_properties.GetSize(); ++i) {
    DbProperty* property = m_properties.GetAt(i);
    if (property->GetNumber() == propertyNumber) return property;
  }
  return nullptr;
}

bool DbRecord::Remove(WORD propertyNumber) {
  for (int i = 0; i < m_properties.GetSize(); ++i) {
    DbProperty* property = m_properties.GetAt(i);
    if (property->GetNumber() != propertyNumber) continue;
    m_properties.RemoveAt(i);
    if (property->IsListOwned()) delete property;
    return true;
  }
  return false;
}

void DbRecord::Clear() {
  for (int i = 0; i < m_properties.GetSize(); ++i) {
    DbProperty* property = m_properties.GetAt(i);
    if (property->IsListOwned()) delete property;
  }
  m_properties.RemoveAll();
  m_oid = 0;
  // After the properties, which point into it.
  m_buffer.Reset();
}

// The platform may hand the same buffer back grown in place; taking it again frees nothing.
void DbRecord::AdoptBuffer(BYTE* buffer) { m_buffer.Reset(buffer); }

void DbRecord::CopyFrom(const DbRecord& other) {
  m_oid = other.m_oid;
  for (int i = 0; i < other.m_properties.GetSize(); ++i) {
    const DbProperty* source = other.m_properties.GetAt(i);
    DbProperty* copy = CheckAllocation(new (std::nothrow) DbProperty(*source));
    // Texts and blobs get their own memory, so that nothing points into the source's buffer.
    if (source->GetType() == CEVT_LPWSTR && source->Value().val.lpwstr != nullptr)
      copy->SetText(source->GetText(), DbCopy);
    else if (source->GetType() == CEVT_BLOB && source->GetBlobData() != nullptr)
      copy->SetBlob(source->GetBlobData(), source->GetBlobLength(), DbCopy);
    copy->SetFlags(source->GetFlags());
    copy->SetListOwned(true);
    m_properties.Add(copy);
  }
}
