#include "storage/db/DbDatabase.h"

#include "foundation/DebugUtils.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

namespace {

// Logs a failed call of the object store, naming the database by its name when known, else by its
// object id.
void LogDbFailure(const wchar_t* call, DWORD error, const wchar_t* name, CEOID oid, const wchar_t* function,
                  int line) {
  wchar_t subject[64];
  if (name != nullptr)
    _snwprintf(subject, 63, L"database \"%s\"", name);
  else
    _snwprintf(subject, 63, L"database %08lx", static_cast<unsigned long>(oid));
  subject[63] = 0;
  LogCallFailure(call, error, subject, L"DbDatabase", function, line);
}

// An open that finds no such database is the platform's answer to a question, not a failure.
void LogOpenFailure(const wchar_t* call, const wchar_t* name, CEOID oid, const wchar_t* function, int line) {
  DWORD error = GetLastError();
  if (error != ERROR_FILE_NOT_FOUND) LogDbFailure(call, error, name, oid, function, line);
}

void FillSortSpecs(CEDBASEINFO& info, int count, const DbProperty* sortProps) {
  if (count > CEDB_MAXSORTORDER) count = CEDB_MAXSORTORDER;
  if (count < 0 || sortProps == nullptr) count = 0;
  info.wNumSortOrder = static_cast<WORD>(count);
  for (int i = 0; i < count; ++i) {
    info.rgSortSpecs[i].propid = sortProps[i].GetId();
    info.rgSortSpecs[i].dwFlags = sortProps[i].GetSortFlags();
  }
}

}  // namespace

DbDatabase::DbDatabase() : m_oid(0), m_handle(INVALID_HANDLE_VALUE), m_step(false), m_atEnd(false) {}

DbDatabase::~DbDatabase() { Close(); }

bool DbDatabase::Open(const wchar_t* name, CEPROPID sortProperty, CENOTIFYREQUEST* notifyRequest,
                      DWORD flags) {
  (void)flags;  // the layer steps by itself; see the class comment
  Close();
  CEGUID volumes;
  CREATE_INVALIDGUID(&volumes);
  m_oid = 0;
  m_atEnd = false;
  m_handle.Reset(
      CeOpenDatabaseEx(&volumes, &m_oid, const_cast<LPWSTR>(name), sortProperty, 0, notifyRequest));
  if (!IsOpen()) LogOpenFailure(L"CeOpenDatabaseEx", name, 0, L"Open", __LINE__);
  return IsOpen();
}

bool DbDatabase::OpenByOid(CEOID oid, CEPROPID sortProperty, HWND notifyWindow, DWORD flags) {
  (void)flags;
  Close();
  m_oid = oid;
  m_atEnd = false;
  m_handle.Reset(CeOpenDatabase(&m_oid, nullptr, sortProperty, 0, notifyWindow));
  if (!IsOpen()) LogOpenFailure(L"CeOpenDatabase", nullptr, oid, L"OpenByOid", __LINE__);
  return IsOpen();
}

bool DbDatabase::OpenByName(const wchar_t* name, CEPROPID sortProperty, HWND notifyWindow, DWORD flags) {
  (void)flags;
  Close();
  m_oid = 0;
  m_atEnd = false;
  m_handle.Reset(CeOpenDatabase(&m_oid, const_cast<LPWSTR>(name), sortProperty, 0, notifyWindow));
  if (!IsOpen()) LogOpenFailure(L"CeOpenDatabase", name, 0, L"OpenByName", __LINE__);
  return IsOpen();
}

bool DbDatabase::Close() {
  if (!IsOpen()) return false;
  m_handle.Reset(INVALID_HANDLE_VALUE);
  return true;
}

bool DbDatabase::Delete() {
  Close();
  BOOL deleted = CeDeleteDatabase(m_oid);
  if (!deleted) LogDbFailure(L"CeDeleteDatabase", GetLastError(), nullptr, m_oid, L"Delete", __LINE__);
  m_oid = 0;
  return deleted != FALSE;
}

bool DbDatabase::Exists(const wchar_t* name) {
  CEOID oid = 0;
  // A probe: a failure to open is its answer, and is not logged.
  KernelHandle handle(CeOpenDatabase(&oid, const_cast<LPWSTR>(name), 0, 0, nullptr));
  if (!handle.IsEmpty()) return true;
  return GetLastError() != ERROR_FILE_NOT_FOUND;
}

bool DbDatabase::Create(const wchar_t* name, DWORD type, int sortCount, const DbProperty* sortProps) {
  CEDBASEINFO info;
  memset(&info, 0, sizeof(info));
  FillSortSpecs(info, sortCount, sortProps);
  CEOID oid = CeCreateDatabase(const_cast<LPWSTR>(name), type, info.wNumSortOrder,
                               info.wNumSortOrder > 0 ? info.rgSortSpecs : nullptr);
  if (oid == 0) {
    LogDbFailure(L"CeCreateDatabase", GetLastError(), name, 0, L"Create", __LINE__);
    return false;
  }
  m_oid = oid;
  return true;
}

CEOID DbDatabase::ReadRecord(DbRecord& record, int count, const CEPROPID* wanted) {
  if (m_step && m_atEnd) {
    SetLastError(ERROR_HANDLE_EOF);
    return 0;
  }

  CEPROPID* ids = nullptr;
  WORD idCount = 0;
  if (count > 0 && wanted != nullptr) {
    ids = CheckAllocation(static_cast<CEPROPID*>(malloc(static_cast<size_t>(count) * sizeof(CEPROPID))));
    memcpy(ids, wanted, static_cast<size_t>(count) * sizeof(CEPROPID));
    idCount = static_cast<WORD>(count);
  }

  record.Clear();
  BYTE* buffer = nullptr;
  DWORD size = 0;
  CEOID oid = CeReadRecordProps(m_handle.Get(), CEDB_ALLOWREALLOC, &idCount, ids, &buffer, &size);
  // The platform may hand over a buffer even when the read fails; the record gives it back.
  DWORD error = GetLastError();
  record.AdoptBuffer(buffer);
  // The end of the table ends every walk, and a record that another handle deleted under the read is
  // the normal outcome of a race with a writer; anything else is a failure.
  if (oid == 0 && error != ERROR_NO_MORE_ITEMS && error != ERROR_KEY_DELETED)
    LogDbFailure(L"CeReadRecordProps", error, nullptr, m_oid, L"ReadRecord", __LINE__);

  if (oid != 0) {
    const CEPROPVAL* values = reinterpret_cast<const CEPROPVAL*>(buffer);
    for (WORD i = 0; i < idCount && values != nullptr; ++i) {
      DbProperty* property = CheckAllocation(new (std::nothrow) DbProperty());
      property->SetValue(values[i]);
      property->SetListOwned(true);
      record.Add(property);
    }
    record.SetOid(oid);
    if (m_step) SeekNext();
  }

  free(ids);
  if (oid == 0) SetLastError(error);
  return oid;
}

CEOID DbDatabase::ReadValues(DbReadBuffer& read) {
  read.count = 0;
  if (m_step && m_atEnd) {
    SetLastError(ERROR_HANDLE_EOF);
    return 0;
  }
  WORD idCount = 0;
  // A failed read leaves the buffer with the reader, grown or not.
  CEOID oid =
      CeReadRecordProps(m_handle.Get(), CEDB_ALLOWREALLOC, &idCount, nullptr, &read.buffer, &read.size);
  DWORD error = GetLastError();
  if (oid == 0) {
    if (error != ERROR_NO_MORE_ITEMS && error != ERROR_KEY_DELETED)
      LogDbFailure(L"CeReadRecordProps", error, nullptr, m_oid, L"ReadValues", __LINE__);
    SetLastError(error);
    return 0;
  }
  read.count = read.buffer != nullptr ? idCount : 0;
  if (m_step) SeekNext();
  return oid;
}

CEOID DbDatabase::WriteRecord(DbRecord& record, int mode, int count, const CEPROPID* only) {
  bool explicitList = count > 0 && only != nullptr;
  if (!explicitList && record.Count() == 0) {
    SetLastError(ERROR_NO_DATA);
    return 0;
  }

  int capacity = explicitList ? count : record.Count();
  CEPROPVAL* values =
      CheckAllocation(static_cast<CEPROPVAL*>(malloc(static_cast<size_t>(capacity) * sizeof(CEPROPVAL))));
  int used = 0;
  if (explicitList) {
    for (int i = 0; i < count; ++i) {
      const DbProperty* property = record.Find(IdFromPropID(only[i]));
      if (property != nullptr) values[used++] = property->Value();
    }
  } else {
    for (int i = 0; i < record.Count(); ++i) values[used++] = record.GetAt(i)->Value();
  }

  if (used == 0) {
    free(values);
    SetLastError(ERROR_NO_DATA);
    return 0;
  }

  if (mode == DbWriteDelete) {
    for (int i = 0; i < used; ++i) values[i].wFlags = CEDB_PROPDELETE;
  }

  CEOID target = record.GetOid();
  if (target == 0 && (mode == DbWriteUpdate || mode == DbWriteDelete)) target = CurrentOid();

  CEOID written = CeWriteRecordProps(m_handle.Get(), target, static_cast<WORD>(used), values);
  DWORD error = GetLastError();
  if (written == 0) LogDbFailure(L"CeWriteRecordProps", error, nullptr, m_oid, L"WriteRecord", __LINE__);
  free(values);
  if (written != 0 && m_step) SeekNext();
  if (written == 0) SetLastError(error);
  return written;
}

CEOID DbDatabase::DeleteProperties(int count, const CEPROPID* list) {
  DbRecord record;
  bool step = m_step;
  m_step = false;
  CEOID oid = ReadRecord(record);
  m_step = step;
  if (oid == 0) return 0;
  return WriteRecord(record, DbWriteDelete, count, list);
}

bool DbDatabase::DeleteRecord(CEOID oid) {
  if (oid == 0) {
    oid = CurrentOid();
    if (oid == static_cast<CEOID>(-1)) return false;
  }
  if (CeDeleteRecord(m_handle.Get(), oid) == TRUE) return true;
  LogDbFailure(L"CeDeleteRecord", GetLastError(), nullptr, m_oid, L"DeleteRecord", __LINE__);
  return false;
}

CEOID DbDatabase::Seek(DWORD type, DWORD_PTR value, DWORD* index) {
  DWORD where = 0;
  CEOID oid = CeSeekDatabase(m_handle.Get(), type, value, index != nullptr ? index : &where);
  if (oid != 0) m_atEnd = false;
  return oid;
}

CEOID DbDatabase::SeekValue(DWORD type, const DbProperty& value) {
  CEPROPVAL copy = value.Value();
  return Seek(type, reinterpret_cast<DWORD_PTR>(&copy), nullptr);
}

CEOID DbDatabase::SeekIndex(int index, bool fromEnd) {
  if (fromEnd) return Seek(CEDB_SEEK_END, static_cast<DWORD>(-index), nullptr);
  return Seek(CEDB_SEEK_BEGINNING, static_cast<DWORD>(index), nullptr);
}

CEOID DbDatabase::SeekOid(CEOID oid) { return Seek(CEDB_SEEK_CEOID, oid, nullptr); }

CEOID DbDatabase::SeekNext() {
  CEOID oid = Seek(CEDB_SEEK_CURRENT, 1, nullptr);
  if (oid == 0) m_atEnd = true;
  return oid;
}

CEOID DbDatabase::SeekPrevious() {
  DWORD before = 0;
  DWORD after = 0;
  Seek(CEDB_SEEK_CURRENT, 0, &before);
  CEOID oid = Seek(CEDB_SEEK_CURRENT, static_cast<DWORD>(-1), &after);
  if (after == before) return 0;
  return oid;
}

CEOID DbDatabase::SeekFirstEqual(const DbProperty& value) {
  return SeekValue(CEDB_SEEK_VALUEFIRSTEQUAL, value);
}

CEOID DbDatabase::SeekNextEqual(const DbProperty& value) {
  return SeekValue(CEDB_SEEK_VALUENEXTEQUAL, value);
}

CEOID DbDatabase::SeekSmaller(const DbProperty& value) { return SeekValue(CEDB_SEEK_VALUESMALLER, value); }

CEOID DbDatabase::SeekGreater(const DbProperty& value) { return SeekValue(CEDB_SEEK_VALUEGREATER, value); }

CEOID DbDatabase::CurrentOid() {
  CEOID oid = Seek(CEDB_SEEK_CURRENT, 0, nullptr);
  return oid != 0 ? oid : static_cast<CEOID>(-1);
}

bool DbDatabase::GetInfo(CEDBASEINFO& info) const {
  CEOIDINFO object;
  memset(&object, 0, sizeof(object));
  bool known = m_oid != 0 && CeOidGetInfo(m_oid, &object);
  if (m_oid != 0 && !known)
    LogDbFailure(L"CeOidGetInfo", GetLastError(), nullptr, m_oid, L"GetInfo", __LINE__);
  if (!known || object.wObjType != OBJTYPE_DATABASE) {
    memset(&info, 0, sizeof(info));
    return false;
  }
  info = object.infDatabase;
  return true;
}

bool DbDatabase::SetInfo(CEDBASEINFO& info) {
  if (CeSetDatabaseInfo(m_oid, &info)) return true;
  LogDbFailure(L"CeSetDatabaseInfo", GetLastError(), nullptr, m_oid, L"SetInfo", __LINE__);
  return false;
}

bool DbDatabase::SetName(const wchar_t* name) {
  CEDBASEINFO info;
  memset(&info, 0, sizeof(info));
  info.dwFlags = CEDB_VALIDNAME;
  wcsncpy(info.szDbaseName, name != nullptr ? name : L"", CEDB_MAXDBASENAMELEN - 1);
  return SetInfo(info);
}

bool DbDatabase::SetType(DWORD type) {
  CEDBASEINFO info;
  memset(&info, 0, sizeof(info));
  info.dwFlags = CEDB_VALIDTYPE;
  info.dwDbaseType = type;
  return SetInfo(info);
}

bool DbDatabase::SetSortOrder(int count, const DbProperty* sortProps) {
  CEDBASEINFO info;
  memset(&info, 0, sizeof(info));
  info.dwFlags = CEDB_VALIDSORTSPEC;
  FillSortSpecs(info, count, sortProps);
  return SetInfo(info);
}

bool DbDatabase::SetModifiedTime(const FILETIME& time) {
  CEDBASEINFO info;
  memset(&info, 0, sizeof(info));
  info.dwFlags = CEDB_VALIDMODTIME;
  info.ftLastModified = time;
  return SetInfo(info);
}
