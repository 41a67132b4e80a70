// The Ce... database calls of coredll.dll.
//
// Last errors. Every call sets its last error, ERROR_SUCCESS included, so a caller never sees a value
// left over from an earlier call:
//   ERROR_INVALID_PARAMETER    bad arguments, an unknown or closed handle, an object id that is not a
//                              database (or not a record of the handle's database), a value seek on a
//                              handle opened without a sort order, a seek value of another type than
//                              the sort order's
//   ERROR_FILE_NOT_FOUND       CeOpenDatabase(Ex) by name: no database of that name
//   ERROR_DUP_NAME             CeCreateDatabase(Ex), CeSetDatabaseInfo(Ex): the name is taken
//   ERROR_SHARING_VIOLATION    CeDeleteDatabase: a handle on the database is open, in any process;
//                              CeSetDatabaseInfo: a sort order to be removed is in use by an open handle
//   ERROR_ALREADY_EXISTS       (ERROR_REPEATED_KEY) a write would give two records one key in a
//                              CEDB_SORT_UNIQUE order
//   ERROR_SEEK                 CeSeekDatabase found no record where the seek would end; the seek
//                              pointer is then at the end of the table
//   ERROR_KEY_DELETED          CeReadRecordProps: the current record was deleted (by any handle);
//                              CeSeekDatabase(CEDB_SEEK_CURRENT, 0) on such a record;
//                              CeFindNextDatabase: the next database was deleted during the enumeration
//   ERROR_NO_MORE_ITEMS        CeReadRecordProps at the end of the table; CeFindNextDatabase at the end
//   ERROR_NO_DATA              CeReadRecordProps found none of the properties asked for (or the record
//                              has none): the call still succeeds, returns the record's oid and fills
//                              the buffer with entries flagged CEDB_PROPNOTFOUND
//   ERROR_INSUFFICIENT_BUFFER  CeReadRecordProps without CEDB_ALLOWREALLOC: *lpcbBuffer gets the size
//   ERROR_NOT_ENOUGH_MEMORY    CeReadRecordProps could not (re)allocate the buffer
//   ERROR_DISK_FULL            the store file could not be written, or a database already holds
//                              CEDB_MAXNUMRECORDS records
//   ERROR_INVALID_HANDLE       CeOidGetInfo(Ex): no object with that id
//   ERROR_OUTOFMEMORY          CeFindFirstDatabase could not make its handle
//   ERROR_FILE_CORRUPT         the store file is refused (see the store's log): its header is sound
//                              but of a version this store doesn't know, or it is damaged and its
//                              salvage could not be written (a damaged file is otherwise salvaged:
//                              the calls go on with every record that checks out)
//   ERROR_TIMEOUT              the store's mutex was not obtained within a minute
//
// Seek semantics, on the order the handle was opened with (a sort order, or by object id for propid 0):
//   CEOID           the record with that id in this database.
//   BEGINNING n     the record at index n.
//   END n           n records back from the last record (END 0 is the last record). The value is read as
//                   a signed 32-bit count whose magnitude is the distance, so both END n and END -n go
//                   n records back; going back past the first record stops on the first record.
//   CURRENT n       n records from the current one (signed). Going back past the first record stops on
//                   the first record; going past the last leaves the pointer at the end and fails. From
//                   a deleted current record, +1 is the record that followed it and -1 the one before.
//   VALUEFIRSTEQUAL the first record, from the start of the order, whose value equals the given one.
//   VALUENEXTEQUAL  exactly one record forward from the current one, if its value equals the given one.
//   VALUESMALLER    We read the CE 3.0 and later description: the search starts at the current record
//                   and goes backward only; it ends on the first record met whose value sorts strictly
//                   before the given value in this order. For an ascending order that is the largest
//                   value smaller than the given one at or before the current record; for a descending
//                   order "before" means a larger value (the sense flips).
//   VALUEGREATER    Likewise forward only from the current record (included) to the first record whose
//                   value sorts strictly after the given value in this order.
//   Records without the sort property never match a value seek. A seek that finds nothing returns 0
//   with ERROR_SEEK and leaves the pointer at the end (so the next read gives ERROR_NO_MORE_ITEMS);
//   lpdwIndex is written only on success.
//
// Reads return the properties of a record in the order they were first written. A write keeps each
// updated property in its place and appends new ones. Entries flagged CEDB_PROPNOTFOUND in a write are
// skipped (they carry no value), so a buffer read with some properties missing can be written back.
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "Store.h"
#include "windbase.h"

using namespace objstore;

namespace {

template <typename T>
T Fail(DWORD error, T result) {
  SetLastError(error);
  return result;
}

// The engine's containers may throw std::bad_alloc; a C caller gets the platform's answer instead.
template <typename T, typename F>
T Guarded(T fail, F&& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return fail;
  }
}

bool GuidIsStore(const CEGUID* g) { return !g || CHECK_SYSTEMGUID(g) || CHECK_INVALIDGUID(g); }

std::wstring TruncatedName(const wchar_t* name) {
  std::wstring s;
  for (size_t i = 0; i < CEDB_MAXDBASENAMELEN - 1 && name[i]; ++i) s.push_back(name[i]);
  return s;
}

DWORD CheckSorts(WORD count, const SORTORDERSPEC* orders) {
  if (count > CEDB_MAXSORTORDER) return ERROR_INVALID_PARAMETER;
  if (count && !orders) return ERROR_INVALID_PARAMETER;
  for (WORD i = 0; i < count; ++i) {
    if (!IsStoredType(TypeFromPropID(orders[i].propid))) return ERROR_INVALID_PARAMETER;
    for (WORD j = 0; j < i; ++j) {
      if (orders[j].propid == orders[i].propid) return ERROR_INVALID_PARAMETER;
    }
  }
  return ERROR_SUCCESS;
}

void FillDbInfo(const Database* db, CEDBASEINFO* info) {
  std::memset(info, 0, sizeof *info);
  info->dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC | CEDB_VALIDMODTIME |
                  CEDB_VALIDDBFLAGS | db->desc.dbFlags;
  std::copy(db->desc.name.begin(), db->desc.name.end(), info->szDbaseName);
  info->dwDbaseType = db->desc.type;
  info->wNumRecords = static_cast<WORD>(std::min<size_t>(db->natural.size(), 0xFFFF));
  info->wNumSortOrder = static_cast<WORD>(db->desc.sorts.size());
  info->dwSize = static_cast<DWORD>(std::min<uint64_t>(db->dataSize, 0xFFFFFFFFu));
  info->ftLastModified.dwLowDateTime = static_cast<DWORD>(db->desc.modTime);
  info->ftLastModified.dwHighDateTime = static_cast<DWORD>(db->desc.modTime >> 32);
  for (size_t i = 0; i < db->desc.sorts.size(); ++i) info->rgSortSpecs[i] = db->desc.sorts[i];
}

// The handle's database and order, or nothing when either has gone.
struct Cursor {
  OpenDb* h = nullptr;
  Database* db = nullptr;
  int slot = -1;
  std::vector<Record*>* order = nullptr;
};

bool ResolveCursor(HANDLE handle, Cursor* c) {
  Store& s = Store::Get();
  c->h = s.DbHandle(handle);
  if (!c->h) return false;
  c->db = s.Img().FindDb(c->h->db);
  if (!c->db) return false;
  c->slot = Store::SlotOf(c->db, c->h->sortProp);
  if (c->slot == -2) return false;
  c->order = &s.Img().OrderOf(c->db, c->slot);
  return true;
}

enum class At { Record, Ghost, End };
struct Where {
  At at;
  size_t index;  // Record: its index; Ghost: index of the record that followed the deleted one; End: n
};

Where Locate(Cursor& c) {
  Image& img = Store::Get().Img();
  size_t n = c.order->size();
  const Position& p = c.h->pos;
  switch (p.kind) {
    case Position::Start:
      return n ? Where{At::Record, 0} : Where{At::End, n};
    case Position::End:
      return Where{At::End, n};
    case Position::OnRecord:
      break;
  }
  if (!p.deleted) {
    // A walk finds the record where the handle left it, unless the order has changed since: no
    // look-up by oid then.
    if (p.at < n && (*c.order)[p.at]->oid == p.oid) return Where{At::Record, p.at};
    Record* r = img.FindRecord(p.oid);
    if (r && r->db == c.db->desc.oid) return Where{At::Record, img.IndexOf(c.db, c.slot, r)};
  }
  return Where{At::Ghost, img.LowerBound(c.db, c.slot, p.ghost, p.oid)};
}

void MoveTo(Cursor& c, size_t index, bool autoseek) {
  Position& p = c.h->pos;
  p = Position{};
  if (index < c.order->size()) {
    p.kind = Position::OnRecord;
    p.oid = (*c.order)[index]->oid;
    p.autoseek = autoseek;
    p.at = index;
  } else {
    p.kind = Position::End;
  }
}

std::string ValueBytes(const CEPROPVAL& v, DWORD* error) {
  WORD type = TypeFromPropID(v.propid);
  switch (type) {
    case CEVT_I2:
    case CEVT_UI2:
      return std::string(reinterpret_cast<const char*>(&v.val.iVal), 2);
    case CEVT_I4:
    case CEVT_UI4:
    case CEVT_BOOL:
      return std::string(reinterpret_cast<const char*>(&v.val.lVal), 4);
    case CEVT_FILETIME:
      return std::string(reinterpret_cast<const char*>(&v.val.filetime), 8);
    case CEVT_R8:
      return std::string(reinterpret_cast<const char*>(&v.val.dblVal), 8);
    case CEVT_LPWSTR: {
      if (!v.val.lpwstr) break;
      size_t len = wcsnlen(v.val.lpwstr, CEDB_MAXPROPDATASIZE / 2);
      if ((len + 1) * 2 > CEDB_MAXPROPDATASIZE) break;
      return std::string(reinterpret_cast<const char*>(v.val.lpwstr), len * 2);
    }
    case CEVT_BLOB:
      if (v.val.blob.dwCount > CEDB_MAXPROPDATASIZE || (v.val.blob.dwCount && !v.val.blob.lpb)) break;
      return std::string(reinterpret_cast<const char*>(v.val.blob.lpb), v.val.blob.dwCount);
    default:
      break;
  }
  *error = ERROR_INVALID_PARAMETER;
  return std::string();
}

std::vector<std::pair<CEPROPID, std::string>> DecodeProps(const std::string& list) {
  std::vector<std::pair<CEPROPID, std::string>> out;
  PropIter it(list);
  PropView v;
  while (it.Next(&v)) out.emplace_back(v.propid, std::string(reinterpret_cast<const char*>(v.data), v.len));
  return out;
}

CEOID CreateDb(const wchar_t* name, DWORD type, WORD sortCount, const SORTORDERSPEC* sorts, DWORD dbFlags) {
  if (!name || !name[0]) return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
  DWORD err = CheckSorts(sortCount, sorts);
  if (err) return Fail<CEOID>(err, 0);
  ApiLock lock;
  Store& s = Store::Get();
  DbEntry d;
  d.name = TruncatedName(name);
  d.type = type;
  d.dbFlags = dbFlags & (CEDB_NOCOMPRESS | CEDB_SYSTEMDB);
  d.sorts.assign(sorts, sorts + sortCount);
  err = s.Commit([&](std::string& entry) -> DWORD {
    if (s.Img().FindDbByName(d.name)) return ERROR_DUP_NAME;
    d.oid = s.Img().NextOid();
    if (d.oid == 0xFFFFFFFFu) return ERROR_DISK_FULL;
    d.modTime = s.NextModTime(nullptr);
    entry = EncodeDbEntry(OpDbCreate, d);
    return ERROR_SUCCESS;
  });
  if (err) return Fail<CEOID>(err, 0);
  return Fail<CEOID>(ERROR_SUCCESS, d.oid);
}

HANDLE OpenDbImpl(const CEGUID* guid, PCEOID poid, const wchar_t* name, CEPROPID propid, DWORD flags,
                  const CENOTIFYREQUEST* req, HWND legacy) {
  if (!poid || !GuidIsStore(guid)) return Fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
  bool byName = *poid == 0 || (guid && CHECK_INVALIDGUID(guid));
  if (byName && (!name || !name[0])) return Fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
  if (req && (req->dwSize < 20 || !(req->dwFlags & CEDB_EXNOTIFICATION))) {
    return Fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
  }
  ApiLock lock;
  Store& s = Store::Get();
  auto h = std::make_unique<OpenDb>();
  h->sortProp = propid;
  h->autoIncrement = (flags & CEDB_AUTOINCREMENT) != 0;
  if (req && req->hwnd) {
    h->exNotify = true;
    h->notifyHwnd = req->hwnd;
    h->notifyHeap = req->hHeap;
    h->notifyParam = req->dwParam;
  }
  h->legacyHwnd = legacy;
  bool notify = h->exNotify || h->legacyHwnd;
  if (notify) {
    DWORD err = s.EnsureListener();
    if (err) return Fail(err, INVALID_HANDLE_VALUE);
  }
  HANDLE result = INVALID_HANDLE_VALUE;
  CEOID opened = 0;
  // Under the store mutex, so that no process deletes the database between the check and the handle.
  DWORD err = s.Commit([&](std::string&) -> DWORD {
    Database* db = byName ? s.Img().FindDbByName(TruncatedName(name)) : s.Img().FindDb(*poid);
    if (!db) return byName ? ERROR_FILE_NOT_FOUND : ERROR_INVALID_PARAMETER;
    if (Store::SlotOf(db, propid) == -2) return ERROR_INVALID_PARAMETER;
    h->db = db->desc.oid;
    opened = db->desc.oid;
    DWORD e = ERROR_SUCCESS;
    result = s.AddDbHandle(std::move(h), &e);
    return e;
  });
  if (err) return Fail(err, INVALID_HANDLE_VALUE);
  *poid = opened;
  return Fail(ERROR_SUCCESS, result);
}

// Lays out one read's block: the CEPROPVAL array, then the text (with its NUL) and blob bytes that the
// values point into, each at an 8-byte boundary.
struct Slot {
  CEPROPID propid;
  bool found;
  PropView v;
};

size_t Align8(size_t n) { return (n + 7) & ~static_cast<size_t>(7); }

size_t BlockSize(const std::vector<Slot>& slots) {
  size_t size = slots.size() * sizeof(CEPROPVAL);
  for (const Slot& s : slots) {
    if (!s.found) continue;
    WORD t = TypeFromPropID(s.propid);
    if (t == CEVT_LPWSTR) size += Align8(s.v.len + 2);
    if (t == CEVT_BLOB) size += Align8(s.v.len);
  }
  return size;
}

void FillBlock(const std::vector<Slot>& slots, BYTE* block) {
  CEPROPVAL* vals = reinterpret_cast<CEPROPVAL*>(block);
  BYTE* data = block + slots.size() * sizeof(CEPROPVAL);
  for (size_t i = 0; i < slots.size(); ++i) {
    const Slot& s = slots[i];
    CEPROPVAL& pv = vals[i];
    std::memset(&pv, 0, sizeof pv);
    pv.propid = s.propid;
    if (!s.found) {
      pv.wFlags = CEDB_PROPNOTFOUND;
      continue;
    }
    WORD t = TypeFromPropID(s.propid);
    switch (t) {
      case CEVT_LPWSTR:
        std::memcpy(data, s.v.data, s.v.len);
        data[s.v.len] = 0;
        data[s.v.len + 1] = 0;
        pv.val.lpwstr = reinterpret_cast<LPWSTR>(data);
        pv.wLenData = static_cast<WORD>(std::min<uint32_t>(s.v.len + 2, 0xFFFF));
        data += Align8(s.v.len + 2);
        break;
      case CEVT_BLOB:
        if (s.v.len) std::memcpy(data, s.v.data, s.v.len);
        pv.val.blob.dwCount = s.v.len;
        pv.val.blob.lpb = s.v.len ? data : nullptr;
        pv.wLenData = static_cast<WORD>(std::min<uint32_t>(s.v.len, 0xFFFF));
        data += Align8(s.v.len);
        break;
      default:
        std::memcpy(&pv.val, s.v.data, s.v.len);
        pv.wLenData = static_cast<WORD>(s.v.len);
        break;
    }
  }
}

CEOID ReadProps(HANDLE hDbase, DWORD dwFlags, LPWORD lpcPropID, CEPROPID* rgPropID, LPBYTE* lplpBuffer,
                LPDWORD lpcbBuffer, HANDLE hHeap) {
  if (!lpcPropID || !lplpBuffer || !lpcbBuffer || (rgPropID && *lpcPropID == 0)) {
    return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
  }
  ApiLock lock;
  Store& s = Store::Get();
  DWORD err = s.Sync();
  if (err) return Fail<CEOID>(err, 0);
  Cursor c;
  if (!ResolveCursor(hDbase, &c)) return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
  Where w = Locate(c);
  size_t index = w.index;
  if (w.at == At::End) return Fail<CEOID>(ERROR_NO_MORE_ITEMS, 0);
  if (w.at == At::Ghost) {
    // Deleted under us. A position reached by the automatic advance moves on to the next record.
    if (!c.h->pos.autoseek) return Fail<CEOID>(ERROR_KEY_DELETED, 0);
    if (index >= c.order->size()) return Fail<CEOID>(ERROR_NO_MORE_ITEMS, 0);
  }
  Record* r = (*c.order)[index];

  // One list of slots for every read of the process, kept between calls: the reads of a walk over a
  // table then allocate nothing. The process lock keeps it to one call at a time.
  static std::vector<Slot>& slots = *new std::vector<Slot>();
  slots.clear();
  size_t found = 0;
  if (!rgPropID) {
    PropIter it(r->props);
    slots.reserve(it.Count());
    PropView v;
    while (it.Next(&v)) slots.push_back(Slot{v.propid, true, v});
    found = slots.size();
  } else {
    for (WORD i = 0; i < *lpcPropID; ++i) {
      Slot sl{rgPropID[i], false, PropView{}};
      PropIter it(r->props);
      PropView v;
      while (it.Next(&v)) {
        if (v.propid == rgPropID[i]) {
          sl.found = true;
          sl.v = v;
          ++found;
          break;
        }
      }
      slots.push_back(sl);
    }
  }

  size_t need = BlockSize(slots);
  if (need > 0xFFFFFFFFu) return Fail<CEOID>(ERROR_NOT_ENOUGH_MEMORY, 0);
  if (need > 0 && (!*lplpBuffer || *lpcbBuffer < need)) {
    if (!(dwFlags & CEDB_ALLOWREALLOC)) {
      *lpcbBuffer = static_cast<DWORD>(need);
      return Fail<CEOID>(ERROR_INSUFFICIENT_BUFFER, 0);
    }
    LPBYTE block = nullptr;
    if (hHeap) {
      block = static_cast<LPBYTE>(*lplpBuffer ? HeapReAlloc(hHeap, 0, *lplpBuffer, need)
                                              : HeapAlloc(hHeap, 0, need));
    } else {
      block = static_cast<LPBYTE>(*lplpBuffer ? LocalReAlloc(*lplpBuffer, need, LMEM_MOVEABLE)
                                              : LocalAlloc(LMEM_FIXED, need));
    }
    if (!block) return Fail<CEOID>(ERROR_NOT_ENOUGH_MEMORY, 0);  // the old block stays the caller's
    *lplpBuffer = block;
    *lpcbBuffer = static_cast<DWORD>(need);
  }
  if (need) FillBlock(slots, *lplpBuffer);
  if (!rgPropID) *lpcPropID = static_cast<WORD>(slots.size());

  CEOID oid = r->oid;
  if (c.h->autoIncrement) MoveTo(c, index + 1, true);
  return Fail<CEOID>(found ? ERROR_SUCCESS : ERROR_NO_DATA, oid);
}

BOOL SetDbInfo(const CEGUID* guid, CEOID oid, const CEDBASEINFO* info) {
  if (!info || !GuidIsStore(guid)) return Fail<BOOL>(ERROR_INVALID_PARAMETER, FALSE);
  if (info->dwFlags & CEDB_VALIDSORTSPEC) {
    DWORD err = CheckSorts(info->wNumSortOrder, info->rgSortSpecs);
    if (err) return Fail<BOOL>(err, FALSE);
  }
  std::wstring name;
  if (info->dwFlags & CEDB_VALIDNAME) {
    name = TruncatedName(info->szDbaseName);
    if (name.empty()) return Fail<BOOL>(ERROR_INVALID_PARAMETER, FALSE);
  }
  ApiLock lock;
  Store& s = Store::Get();
  DWORD err = s.Commit([&](std::string& entry) -> DWORD {
    Database* db = s.Img().FindDb(oid);
    if (!db) return ERROR_INVALID_PARAMETER;
    DbEntry d = db->desc;
    if (info->dwFlags & CEDB_VALIDNAME) {
      Database* other = s.Img().FindDbByName(name);
      if (other && other != db) return ERROR_DUP_NAME;
      d.name = name;
    }
    if (info->dwFlags & CEDB_VALIDTYPE) d.type = info->dwDbaseType;
    if (info->dwFlags & CEDB_VALIDDBFLAGS) d.dbFlags = info->dwFlags & (CEDB_NOCOMPRESS | CEDB_SYSTEMDB);
    if (info->dwFlags & CEDB_VALIDMODTIME) {
      d.modTime = (static_cast<uint64_t>(info->ftLastModified.dwHighDateTime) << 32) |
                  info->ftLastModified.dwLowDateTime;
    }
    if (info->dwFlags & CEDB_VALIDSORTSPEC) {
      d.sorts.assign(info->rgSortSpecs, info->rgSortSpecs + info->wNumSortOrder);
      for (const SORTORDERSPEC& old : db->desc.sorts) {
        bool kept = false;
        for (const SORTORDERSPEC& now : d.sorts) kept = kept || now.propid == old.propid;
        if (!kept && s.OpenCount(oid, old.propid) > 0) return ERROR_SHARING_VIOLATION;
      }
      // The new orders' constraints must hold for the records already there.
      Database probe;
      probe.desc = d;
      for (size_t k = 0; k < d.sorts.size(); ++k) {
        DWORD f = d.sorts[k].dwFlags;
        if (!(f & (CEDB_SORT_UNIQUE | CEDB_SORT_NONNULL))) continue;
        std::vector<SortKey> keys;
        for (Record* r : db->natural) {
          SortKey all[CEDB_MAXSORTORDER];
          Image::ComputeKeys(probe, r->props, all);
          if ((f & CEDB_SORT_NONNULL) && !all[k].known) return ERROR_INVALID_PARAMETER;
          if (all[k].known) keys.push_back(all[k]);
        }
        if (f & CEDB_SORT_UNIQUE) {
          std::sort(keys.begin(), keys.end(),
                    [](const SortKey& a, const SortKey& b) { return a.bytes < b.bytes; });
          for (size_t i = 1; i < keys.size(); ++i) {
            if (keys[i].bytes == keys[i - 1].bytes) return ERROR_ALREADY_EXISTS;
          }
        }
      }
    }
    entry = EncodeDbEntry(OpDbSet, d);
    return ERROR_SUCCESS;
  });
  if (err) return Fail<BOOL>(err, FALSE);
  return Fail<BOOL>(ERROR_SUCCESS, TRUE);
}

BOOL OidGetInfo(const CEGUID* guid, CEOID oid, CEOIDINFO* info) {
  if (!info || !GuidIsStore(guid)) return Fail<BOOL>(ERROR_INVALID_PARAMETER, FALSE);
  ApiLock lock;
  Store& s = Store::Get();
  DWORD err = s.Sync();
  if (err) return Fail<BOOL>(err, FALSE);
  std::memset(info, 0, sizeof *info);
  if (Database* db = s.Img().FindDb(oid)) {
    info->wObjType = OBJTYPE_DATABASE;
    FillDbInfo(db, &info->infDatabase);
    return Fail<BOOL>(ERROR_SUCCESS, TRUE);
  }
  if (Record* r = s.Img().FindRecord(oid)) {
    info->wObjType = OBJTYPE_RECORD;
    info->infRecord.oidParent = r->db;
    return Fail<BOOL>(ERROR_SUCCESS, TRUE);
  }
  info->wObjType = OBJTYPE_INVALID;
  return Fail<BOOL>(ERROR_INVALID_HANDLE, FALSE);
}

}  // namespace

namespace {

HANDLE FindFirstImpl(DWORD dwDbaseType) {
  ApiLock lock;
  Store& s = Store::Get();
  DWORD err = s.Sync();
  if (err) return Fail(err, INVALID_HANDLE_VALUE);
  auto en = std::make_unique<Enumeration>();
  for (auto& d : s.Img().Databases()) {
    if (dwDbaseType == 0 || d.second->desc.type == dwDbaseType) en->oids.push_back(d.first);
  }
  HANDLE h = s.AddEnumHandle(std::move(en), &err);
  if (h == INVALID_HANDLE_VALUE) return Fail(err, INVALID_HANDLE_VALUE);
  return Fail(ERROR_SUCCESS, h);
}

CEOID FindNextImpl(HANDLE hEnum) {
  ApiLock lock;
  Store& s = Store::Get();
  DWORD err = s.Sync();  // may drop closed handles from the table: look the handle up after it
  if (err) return Fail<CEOID>(err, 0);
  Enumeration* en = s.EnumHandle(hEnum);
  if (!en) return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
  if (en->next >= en->oids.size()) return Fail<CEOID>(ERROR_NO_MORE_ITEMS, 0);
  CEOID oid = en->oids[en->next++];
  if (!s.Img().FindDb(oid)) return Fail<CEOID>(ERROR_KEY_DELETED, 0);
  return Fail<CEOID>(ERROR_SUCCESS, oid);
}

BOOL DeleteDbImpl(CEOID oidDbase) {
  ApiLock lock;
  Store& s = Store::Get();
  DWORD err = s.Commit([&](std::string& entry) -> DWORD {
    Database* db = s.Img().FindDb(oidDbase);
    if (!db) return ERROR_INVALID_PARAMETER;
    if (s.OpenCount(oidDbase, 0) > 0) return ERROR_SHARING_VIOLATION;
    for (const SORTORDERSPEC& so : db->desc.sorts) {
      if (s.OpenCount(oidDbase, so.propid) > 0) return ERROR_SHARING_VIOLATION;
    }
    DelEntry d;
    d.db = 0;
    d.oid = oidDbase;
    d.time = Store::Now();
    entry = EncodeDelEntry(OpDbDelete, d);
    return ERROR_SUCCESS;
  });
  if (err) return Fail<BOOL>(err, FALSE);
  return Fail<BOOL>(ERROR_SUCCESS, TRUE);
}

CEOID SeekImpl(HANDLE hDatabase, DWORD dwSeekType, DWORD_PTR dwValue, LPDWORD lpdwIndex) {
  ApiLock lock;
  Store& s = Store::Get();
  DWORD err = s.Sync();
  if (err) return Fail<CEOID>(err, 0);
  Cursor c;
  if (!ResolveCursor(hDatabase, &c)) return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
  Image& img = s.Img();
  const int64_t n = static_cast<int64_t>(c.order->size());
  const DWORD low = static_cast<DWORD>(dwValue);
  const int64_t signedLow = static_cast<LONG>(low);
  Where w = Locate(c);
  int64_t target = -1;

  switch (dwSeekType) {
    case CEDB_SEEK_CEOID: {
      Record* r = img.FindRecord(low);
      if (r && r->db == c.db->desc.oid) target = static_cast<int64_t>(img.IndexOf(c.db, c.slot, r));
      break;
    }
    case CEDB_SEEK_BEGINNING:
      if (static_cast<int64_t>(low) < n) target = low;
      break;
    case CEDB_SEEK_END: {
      int64_t back = signedLow < 0 ? -signedLow : signedLow;
      if (n > 0) target = std::max<int64_t>(0, n - 1 - back);
      break;
    }
    case CEDB_SEEK_CURRENT: {
      int64_t from = static_cast<int64_t>(w.index);
      if (w.at == At::Ghost) {
        if (signedLow == 0) return Fail<CEOID>(ERROR_KEY_DELETED, 0);
        target = signedLow > 0 ? from + signedLow - 1 : from + signedLow;
      } else {
        target = from + signedLow;
      }
      if (target < 0) target = 0;  // backward seeks stop on the first record
      if (n == 0) target = -1;
      break;
    }
    case CEDB_SEEK_VALUESMALLER:
    case CEDB_SEEK_VALUEFIRSTEQUAL:
    case CEDB_SEEK_VALUEGREATER:
    case CEDB_SEEK_VALUENEXTEQUAL: {
      const CEPROPVAL* pv = reinterpret_cast<const CEPROPVAL*>(dwValue);
      if (c.slot < 0 || !pv) return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
      const SORTORDERSPEC& order = c.db->desc.sorts[static_cast<size_t>(c.slot)];
      if (TypeFromPropID(pv->propid) != TypeFromPropID(order.propid))
        return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
      if (TypeFromPropID(pv->propid) == CEVT_BLOB && pv->val.blob.dwCount && !pv->val.blob.lpb) {
        return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
      }
      SortKey key = KeyOfValue(*pv, order.dwFlags);
      std::vector<Record*>& v = *c.order;
      auto cmp = [&](int64_t i) {
        return CompareKeys(v[static_cast<size_t>(i)]->keys[c.slot], key, order.dwFlags);
      };
      auto known = [&](int64_t i) { return v[static_cast<size_t>(i)]->keys[c.slot].known; };
      if (dwSeekType == CEDB_SEEK_VALUEFIRSTEQUAL) {
        int64_t i = static_cast<int64_t>(img.ValueBound(c.db, c.slot, key, false));
        if (i < n && cmp(i) == 0) target = i;
      } else if (dwSeekType == CEDB_SEEK_VALUENEXTEQUAL) {
        if (w.at != At::End) {
          int64_t i = static_cast<int64_t>(w.index) + (w.at == At::Record ? 1 : 0);
          if (i < n && cmp(i) == 0) target = i;
        }
      } else if (dwSeekType == CEDB_SEEK_VALUEGREATER) {
        if (w.at != At::End) {
          int64_t i = std::max<int64_t>(static_cast<int64_t>(w.index),
                                        static_cast<int64_t>(img.ValueBound(c.db, c.slot, key, true)));
          if (i < n && known(i)) target = i;
        }
      } else {
        int64_t start =
            w.at == At::Record ? static_cast<int64_t>(w.index) : static_cast<int64_t>(w.index) - 1;
        int64_t i =
            std::min<int64_t>(start, static_cast<int64_t>(img.ValueBound(c.db, c.slot, key, false)) - 1);
        if (i >= 0 && i < n && known(i)) target = i;
      }
      break;
    }
    default:
      return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
  }

  if (target < 0 || target >= n) {
    MoveTo(c, c.order->size(), false);
    return Fail<CEOID>(ERROR_SEEK, 0);
  }
  MoveTo(c, static_cast<size_t>(target), false);
  if (lpdwIndex) *lpdwIndex = static_cast<DWORD>(target);
  return Fail<CEOID>(ERROR_SUCCESS, (*c.order)[static_cast<size_t>(target)]->oid);
}

CEOID WriteImpl(HANDLE hDbase, CEOID oidRecord, WORD cPropID, CEPROPVAL* rgPropVal) {
  if (cPropID == 0 || !rgPropVal) return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
  // The caller's values are taken in before anything else: its pointers may point anywhere.
  struct Change {
    CEPROPID propid;
    bool remove;
    std::string bytes;
  };
  std::vector<Change> changes;
  for (WORD i = 0; i < cPropID; ++i) {
    const CEPROPVAL& v = rgPropVal[i];
    if (!IsStoredType(TypeFromPropID(v.propid))) return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
    if (v.wFlags & CEDB_PROPNOTFOUND) continue;
    if (v.wFlags & CEDB_PROPDELETE) {
      changes.push_back(Change{v.propid, true, std::string()});
      continue;
    }
    DWORD err = ERROR_SUCCESS;
    std::string bytes = ValueBytes(v, &err);
    if (err) return Fail<CEOID>(err, 0);
    changes.push_back(Change{v.propid, false, std::move(bytes)});
  }
  ApiLock lock;
  Store& s = Store::Get();
  OpenDb* h = s.DbHandle(hDbase);
  if (!h) return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
  CEOID result = 0;
  DWORD err = s.Commit([&](std::string& entry) -> DWORD {
    Image& img = s.Img();
    Database* db = img.FindDb(h->db);
    if (!db) return ERROR_INVALID_PARAMETER;
    std::vector<std::pair<CEPROPID, std::string>> props;
    if (oidRecord) {
      Record* r = img.FindRecord(oidRecord);
      if (!r || r->db != db->desc.oid) return ERROR_INVALID_PARAMETER;
      props = DecodeProps(r->props);
    } else if (db->natural.size() >= CEDB_MAXNUMRECORDS) {
      return ERROR_DISK_FULL;
    }
    for (Change& ch : changes) {
      auto it = std::find_if(props.begin(), props.end(), [&](const auto& p) { return p.first == ch.propid; });
      if (ch.remove) {
        if (it != props.end()) props.erase(it);
      } else if (it != props.end()) {
        it->second = ch.bytes;
      } else {
        props.emplace_back(ch.propid, ch.bytes);
      }
    }
    RecEntry re;
    re.db = db->desc.oid;
    re.created = oidRecord == 0;
    re.oid = oidRecord ? oidRecord : img.NextOid();
    if (re.oid == 0xFFFFFFFFu) return ERROR_DISK_FULL;
    re.props = EncodePropList(props);
    size_t total = 0;
    for (auto& p : props) total += p.second.size();
    if (total > CEDB_MAXRECORDSIZE) return ERROR_INVALID_PARAMETER;
    SortKey keys[CEDB_MAXSORTORDER];
    Image::ComputeKeys(*db, re.props, keys);
    DWORD e = img.CheckConstraints(db, re.oid, keys);
    if (e) return e;
    re.modTime = s.NextModTime(db);
    entry = EncodeRecEntry(re);
    result = re.oid;
    return ERROR_SUCCESS;
  });
  if (err) return Fail<CEOID>(err, 0);
  return Fail<CEOID>(ERROR_SUCCESS, result);
}

BOOL DeleteRecordImpl(HANDLE hDatabase, CEOID oidRecord) {
  ApiLock lock;
  Store& s = Store::Get();
  DWORD err = s.Sync();
  if (err) return Fail<BOOL>(err, FALSE);
  Cursor c;
  if (!ResolveCursor(hDatabase, &c)) return Fail<BOOL>(ERROR_INVALID_PARAMETER, FALSE);
  if (oidRecord == 0) {
    // 0 stands for the current record.
    Where w = Locate(c);
    if (w.at != At::Record) return Fail<BOOL>(ERROR_INVALID_PARAMETER, FALSE);
    oidRecord = (*c.order)[w.index]->oid;
  }
  CEOID dbOid = c.db->desc.oid;
  err = s.Commit([&](std::string& entry) -> DWORD {
    Record* r = s.Img().FindRecord(oidRecord);
    Database* db = s.Img().FindDb(dbOid);
    if (!r || !db || r->db != dbOid) return ERROR_INVALID_PARAMETER;
    DelEntry d;
    d.db = dbOid;
    d.oid = oidRecord;
    d.time = s.NextModTime(db);
    entry = EncodeDelEntry(OpRecDelete, d);
    return ERROR_SUCCESS;
  });
  if (err) return Fail<BOOL>(err, FALSE);
  // With CEDB_AUTOINCREMENT, deleting the current record moves the pointer on to the next one.
  OpenDb* h = s.DbHandle(hDatabase);
  if (h && h->autoIncrement && h->pos.kind == Position::OnRecord && h->pos.deleted &&
      h->pos.oid == oidRecord) {
    h->pos.autoseek = true;
  }
  return Fail<BOOL>(ERROR_SUCCESS, TRUE);
}

}  // namespace

extern "C" {

CEOID CeCreateDatabase(LPWSTR lpszName, DWORD dwDbaseType, WORD wNumSortOrder, SORTORDERSPEC* rgSortSpecs) {
  return Guarded<CEOID>(0, [&] { return CreateDb(lpszName, dwDbaseType, wNumSortOrder, rgSortSpecs, 0); });
}

CEOID CeCreateDatabaseEx(PCEGUID pceguid, CEDBASEINFO* pInfo) {
  if (!pInfo || !GuidIsStore(pceguid) || !(pInfo->dwFlags & CEDB_VALIDNAME)) {
    return Fail<CEOID>(ERROR_INVALID_PARAMETER, 0);
  }
  WCHAR name[CEDB_MAXDBASENAMELEN + 1];
  std::memcpy(name, pInfo->szDbaseName, sizeof pInfo->szDbaseName);
  name[CEDB_MAXDBASENAMELEN] = 0;
  DWORD type = (pInfo->dwFlags & CEDB_VALIDTYPE) ? pInfo->dwDbaseType : 0;
  WORD sorts = (pInfo->dwFlags & CEDB_VALIDSORTSPEC) ? pInfo->wNumSortOrder : 0;
  DWORD flags = (pInfo->dwFlags & CEDB_VALIDDBFLAGS) ? pInfo->dwFlags : 0;
  return Guarded<CEOID>(0, [&] { return CreateDb(name, type, sorts, pInfo->rgSortSpecs, flags); });
}

HANDLE CeOpenDatabase(PCEOID poid, LPWSTR lpszName, CEPROPID propid, DWORD dwFlags, HWND hwndNotify) {
  return Guarded(INVALID_HANDLE_VALUE,
                 [&] { return OpenDbImpl(nullptr, poid, lpszName, propid, dwFlags, nullptr, hwndNotify); });
}

HANDLE CeOpenDatabaseEx(PCEGUID pceguid, PCEOID poid, LPWSTR lpszName, CEPROPID propid, DWORD dwFlags,
                        CENOTIFYREQUEST* pRequest) {
  return Guarded(INVALID_HANDLE_VALUE,
                 [&] { return OpenDbImpl(pceguid, poid, lpszName, propid, dwFlags, pRequest, nullptr); });
}

BOOL CeOidGetInfo(CEOID oid, CEOIDINFO* oidInfo) {
  return Guarded<BOOL>(FALSE, [&] { return OidGetInfo(nullptr, oid, oidInfo); });
}

BOOL CeOidGetInfoEx(PCEGUID pceguid, CEOID oid, CEOIDINFO* oidInfo) {
  return Guarded<BOOL>(FALSE, [&] { return OidGetInfo(pceguid, oid, oidInfo); });
}

BOOL CeSetDatabaseInfo(CEOID oidDbase, CEDBASEINFO* pNewInfo) {
  return Guarded<BOOL>(FALSE, [&] { return SetDbInfo(nullptr, oidDbase, pNewInfo); });
}

BOOL CeSetDatabaseInfoEx(PCEGUID pceguid, CEOID oidDbase, CEDBASEINFO* pNewInfo) {
  return Guarded<BOOL>(FALSE, [&] { return SetDbInfo(pceguid, oidDbase, pNewInfo); });
}

CEOID CeReadRecordProps(HANDLE hDbase, DWORD dwFlags, LPWORD lpcPropID, CEPROPID* rgPropID,
                        LPBYTE* lplpBuffer, LPDWORD lpcbBuffer) {
  return Guarded<CEOID>(
      0, [&] { return ReadProps(hDbase, dwFlags, lpcPropID, rgPropID, lplpBuffer, lpcbBuffer, nullptr); });
}

CEOID CeReadRecordPropsEx(HANDLE hDbase, DWORD dwFlags, LPWORD lpcPropID, CEPROPID* rgPropID,
                          LPBYTE* lplpBuffer, LPDWORD lpcbBuffer, HANDLE hHeap) {
  return Guarded<CEOID>(
      0, [&] { return ReadProps(hDbase, dwFlags, lpcPropID, rgPropID, lplpBuffer, lpcbBuffer, hHeap); });
}

BOOL CeFreeNotification(PCENOTIFYREQUEST pRequest, PCENOTIFICATION pNotify) {
  if (!pRequest || !pNotify) return Fail<BOOL>(ERROR_INVALID_PARAMETER, FALSE);
  HANDLE heap = pRequest->hHeap ? pRequest->hHeap : GetProcessHeap();
  if (!HeapFree(heap, 0, pNotify)) return Fail<BOOL>(ERROR_INVALID_PARAMETER, FALSE);
  return Fail<BOOL>(ERROR_SUCCESS, TRUE);
}

HANDLE CeFindFirstDatabase(DWORD dwDbaseType) {
  return Guarded(INVALID_HANDLE_VALUE, [&] { return FindFirstImpl(dwDbaseType); });
}

CEOID CeFindNextDatabase(HANDLE hEnum) {
  return Guarded<CEOID>(0, [&] { return FindNextImpl(hEnum); });
}

BOOL CeDeleteDatabase(CEOID oidDbase) {
  return Guarded<BOOL>(FALSE, [&] { return DeleteDbImpl(oidDbase); });
}

CEOID CeSeekDatabase(HANDLE hDatabase, DWORD dwSeekType, DWORD_PTR dwValue, LPDWORD lpdwIndex) {
  return Guarded<CEOID>(0, [&] { return SeekImpl(hDatabase, dwSeekType, dwValue, lpdwIndex); });
}

CEOID CeWriteRecordProps(HANDLE hDbase, CEOID oidRecord, WORD cPropID, CEPROPVAL* rgPropVal) {
  return Guarded<CEOID>(0, [&] { return WriteImpl(hDbase, oidRecord, cPropID, rgPropVal); });
}

BOOL CeDeleteRecord(HANDLE hDatabase, CEOID oidRecord) {
  return Guarded<BOOL>(FALSE, [&] { return DeleteRecordImpl(hDatabase, oidRecord); });
}

}  // extern "C"

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(instance);
  return TRUE;
}
