// DbRecord: the properties of one database record and the buffer the platform filled for the last read.
//
// Properties read from the database point into that buffer and own nothing, so a record must outlive
// everything taken from its properties. Properties flagged as list-owned are deleted by the record.
#pragma once

#include "foundation/Array.h"
#include "foundation/Handles.h"
#include "storage/db/DbProperty.h"

#include <windows.h>
#include <windbase.h>

class DbRecord {
 public:
  DbRecord();
  // A copy owns copies of every value and shares nothing of the source's buffer.
  DbRecord(const DbRecord& other);
  DbRecord& operator=(const DbRecord& other);
  virtual ~DbRecord();

  int Count() const { return m_properties.GetSize(); }
  DbProperty* GetAt(int index) const { return m_properties.GetAt(index); }
  // Appends a property and returns its index. The record deletes it later only if it is list-owned.
  int Add(DbProperty* property);
  // The first property whose id has this number in its high half, whatever its type; null if none.
  DbProperty* Find(WORD propertyNumber) const;
  // Takes out the first property with this number; false if there is none.
  bool Remove(WORD propertyNumber);
  // Drops every property and gives the read buffer back to the platform; the oid becomes 0.
  void Clear();

  CEOID GetOid() const { return m_oid; }
  void SetOid(CEOID oid) { m_oid = oid; }

  // For the database layer: the read buffer handed over by the platform, kept until Clear.
  void AdoptBuffer(BYTE* buffer);

 private:
  void CopyFrom(const DbRecord& other);

  Array<DbProperty*> m_properties;
  CEOID m_oid;
  // The platform's read buffer, a block of local memory.
  LocalMemory m_buffer;
};
