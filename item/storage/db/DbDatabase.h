// DbDatabase: one open database of the platform's object store, with its seek position.
//
// The layer has its own stepping: with the step flag set, every read or write moves on to the next
// record, and a step that falls off the end raises the end-of-table flag, after which a read fails
// with ERROR_HANDLE_EOF. The platform's own automatic advance is never asked for: open flags are
// accepted and ignored.
#pragma once

#include "foundation/Handles.h"
#include "storage/db/DbProperty.h"
#include "storage/db/DbReadBuffer.h"
#include "storage/db/DbRecord.h"

#include <windows.h>
#include <windbase.h>

// WriteRecord modes.
enum DbWriteMode {
  DbWriteNew = 0,     // a new record
  DbWriteUpdate = 1,  // change properties of an existing record
  DbWriteDelete = 2,  // delete properties of an existing record
};

class DbDatabase {
 public:
  DbDatabase();
  virtual ~DbDatabase();

  // Opens `name` on the object store and all mounted volumes, sorted by `sortProperty` (0: the
  // platform's choice), with change notifications to `notifyRequest` when given.
  bool Open(const wchar_t* name, CEPROPID sortProperty, CENOTIFYREQUEST* notifyRequest, DWORD flags = 0);
  bool OpenByOid(CEOID oid, CEPROPID sortProperty, HWND notifyWindow = nullptr, DWORD flags = 0);
  bool OpenByName(const wchar_t* name, CEPROPID sortProperty, HWND notifyWindow = nullptr, DWORD flags = 0);
  // False when the database was not open.
  bool Close();
  // Closes and deletes the database; the oid goes back to 0.
  bool Delete();
  // False only when the platform says there is no such database (last error 2).
  static bool Exists(const wchar_t* name);
  // Creates a database with up to CEDB_MAXSORTORDER sort orders, each given by a property's id and
  // sort flags; on success the new database's oid is kept (the database is not opened).
  bool Create(const wchar_t* name, DWORD type, int sortCount, const DbProperty* sortProps);

  bool IsOpen() const { return !m_handle.IsEmpty(); }
  CEOID GetOid() const { return m_oid; }
  // The open handle, or INVALID_HANDLE_VALUE.
  HANDLE GetHandle() const { return m_handle.Get(); }

  bool GetStep() const { return m_step; }
  void SetStep(bool on) { m_step = on; }
  bool IsAtEnd() const { return m_atEnd; }
  void SetAtEnd(bool on) { m_atEnd = on; }

  // Reads the current record into `record`: every property, or the `count` ids of `wanted`.
  // Returns the record's oid, or 0 with the platform's last error.
  CEOID ReadRecord(DbRecord& record, int count = 0, const CEPROPID* wanted = nullptr);
  // The same read of every property of the current record into `read`, whose buffer is reused.
  CEOID ReadValues(DbReadBuffer& read);
  // Writes the record's properties, or only those of `only` (ids, looked up by number) that the
  // record has. Returns the oid written, or 0 with the last error (ERROR_NO_DATA: nothing to write).
  CEOID WriteRecord(DbRecord& record, int mode, int count = 0, const CEPROPID* only = nullptr);
  // Deletes the listed properties, or every property, of the current record.
  CEOID DeleteProperties(int count = 0, const CEPROPID* list = nullptr);
  // Deletes a record; oid 0 stands for the current one.
  bool DeleteRecord(CEOID oid);

  // Seeks: the oid where the seek ends, or 0. A successful seek clears the end-of-table flag.
  CEOID SeekIndex(int index, bool fromEnd = false);
  CEOID SeekOid(CEOID oid);
  // One record on; a failure raises the end-of-table flag.
  CEOID SeekNext();
  // One record back; 0 when the position did not change.
  CEOID SeekPrevious();
  CEOID SeekFirstEqual(const DbProperty& value);
  CEOID SeekNextEqual(const DbProperty& value);
  CEOID SeekSmaller(const DbProperty& value);
  CEOID SeekGreater(const DbProperty& value);
  // The oid at the current position, or all ones.
  CEOID CurrentOid();

  // The database's information record; zeroed and false on failure.
  bool GetInfo(CEDBASEINFO& info) const;
  bool SetName(const wchar_t* name);
  bool SetType(DWORD type);
  bool SetSortOrder(int count, const DbProperty* sortProps);
  bool SetModifiedTime(const FILETIME& time);

 private:
  DbDatabase(const DbDatabase&) = delete;
  DbDatabase& operator=(const DbDatabase&) = delete;

  CEOID Seek(DWORD type, DWORD_PTR value, DWORD* index);
  CEOID SeekValue(DWORD type, const DbProperty& value);
  bool SetInfo(CEDBASEINFO& info);

  CEOID m_oid;
  // INVALID_HANDLE_VALUE while closed, as the platform's open calls answer a failure.
  KernelHandle m_handle;
  bool m_step;
  bool m_atEnd;
};
