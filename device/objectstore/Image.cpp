// The in-memory image of the store and the sort orders of its databases.
//
// Every sort order is a vector of record pointers sorted by (key, oid), so a record's place is found by
// binary search and equal keys keep a stable order by object id. Text keys are the system default
// locale's sort keys (LCMapStringW with LCMAP_SORTKEY and the NORM_* flags that the order's CEDB_SORT_*
// flags ask for); comparing them byte by byte orders text exactly as CompareStringW does with the same
// flags, and, unlike calling CompareStringW inside a sort, it is a strict weak order by construction.
#include "Image.h"

#include <algorithm>
#include <cstring>

namespace objstore {

namespace {

void PutBigEndian(std::string& out, uint64_t v, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

DWORD NormFlags(DWORD sortFlags) {
  DWORD f = 0;
  if (sortFlags & CEDB_SORT_CASEINSENSITIVE) f |= NORM_IGNORECASE;
  if (sortFlags & CEDB_SORT_IGNORENONSPACE) f |= NORM_IGNORENONSPACE;
  if (sortFlags & CEDB_SORT_IGNORESYMBOLS) f |= NORM_IGNORESYMBOLS;
  if (sortFlags & CEDB_SORT_IGNOREKANATYPE) f |= NORM_IGNOREKANATYPE;
  if (sortFlags & CEDB_SORT_IGNOREWIDTH) f |= NORM_IGNOREWIDTH;
  if (sortFlags & CEDB_SORT_STRINGSORT) f |= SORT_STRINGSORT;
  return f;
}

void TextKey(const wchar_t* text, size_t units, DWORD sortFlags, std::string& out) {
  std::wstring s(text, units);
  DWORD flags = LCMAP_SORTKEY | NormFlags(sortFlags);
  int need = LCMapStringW(LOCALE_SYSTEM_DEFAULT, flags, s.c_str(), -1, nullptr, 0);
  if (need > 0) {
    out.resize(static_cast<size_t>(need));
    int got =
        LCMapStringW(LOCALE_SYSTEM_DEFAULT, flags, s.c_str(), -1, reinterpret_cast<LPWSTR>(&out[0]), need);
    if (got > 0) {
      out.resize(static_cast<size_t>(got));
      return;
    }
  }
  // The locale cannot map this text: order it by code units, which is at least a total order.
  out.clear();
  for (wchar_t c : s) PutBigEndian(out, static_cast<uint16_t>(c), 2);
}

struct OrderLess {
  int slot;
  DWORD flags;
  bool operator()(const Record* a, const Record* b) const {
    if (slot < 0) return a->oid < b->oid;
    int c = CompareKeys(a->keys[slot], b->keys[slot], flags);
    if (c != 0) return c < 0;
    return a->oid < b->oid;
  }
};

bool SortsEqual(const std::vector<SORTORDERSPEC>& a, const std::vector<SORTORDERSPEC>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].propid != b[i].propid || a[i].dwFlags != b[i].dwFlags) return false;
  }
  return true;
}

bool ValidOid(CEOID oid) { return oid != 0 && oid != 0xFFFFFFFFu; }

}  // namespace

bool SameDbName(const std::wstring& a, const std::wstring& b) {
  return CompareStringOrdinal(a.c_str(), static_cast<int>(a.size()), b.c_str(), static_cast<int>(b.size()),
                              TRUE) == CSTR_EQUAL;
}

int CompareKeys(const SortKey& a, const SortKey& b, DWORD flags) {
  if (!a.known || !b.known) {
    if (a.known == b.known) return 0;
    bool unknownFirst = (flags & CEDB_SORT_UNKNOWNFIRST) != 0;
    // Records without the property sort first with UNKNOWNFIRST, last without it, in either direction.
    return (!a.known) == unknownFirst ? -1 : 1;
  }
  int c = a.bytes.compare(b.bytes);
  c = c < 0 ? -1 : (c > 0 ? 1 : 0);
  return (flags & CEDB_SORT_DESCENDING) ? -c : c;
}

SortKey KeyOfStored(WORD type, const uint8_t* data, uint32_t len, DWORD flags) {
  SortKey k;
  k.known = true;
  switch (type) {
    case CEVT_I2: {
      int16_t v;
      std::memcpy(&v, data, 2);
      PutBigEndian(k.bytes, static_cast<uint16_t>(v) ^ 0x8000u, 2);
      break;
    }
    case CEVT_UI2: {
      uint16_t v;
      std::memcpy(&v, data, 2);
      PutBigEndian(k.bytes, v, 2);
      break;
    }
    case CEVT_I4:
    case CEVT_BOOL: {
      int32_t v;
      std::memcpy(&v, data, 4);
      PutBigEndian(k.bytes, static_cast<uint32_t>(v) ^ 0x80000000u, 4);
      break;
    }
    case CEVT_UI4: {
      uint32_t v;
      std::memcpy(&v, data, 4);
      PutBigEndian(k.bytes, v, 4);
      break;
    }
    case CEVT_FILETIME: {
      uint32_t lo, hi;
      std::memcpy(&lo, data, 4);
      std::memcpy(&hi, data + 4, 4);
      PutBigEndian(k.bytes, (static_cast<uint64_t>(hi) << 32) | lo, 8);
      break;
    }
    case CEVT_R8: {
      uint64_t bits;
      std::memcpy(&bits, data, 8);
      // IEEE doubles order like integers once negative values have all bits flipped and positive
      // values their sign bit set.
      bits = (bits & 0x8000000000000000ull) ? ~bits : (bits | 0x8000000000000000ull);
      PutBigEndian(k.bytes, bits, 8);
      break;
    }
    case CEVT_LPWSTR: {
      std::wstring text(len / 2, L'\0');
      if (len) std::memcpy(&text[0], data, len);
      TextKey(text.c_str(), text.size(), flags, k.bytes);
      break;
    }
    case CEVT_BLOB:
      k.bytes.assign(reinterpret_cast<const char*>(data), len);
      break;
    default:
      k.known = false;
      break;
  }
  return k;
}

SortKey KeyOfValue(const CEPROPVAL& v, DWORD flags) {
  WORD type = TypeFromPropID(v.propid);
  switch (type) {
    case CEVT_I2:
      return KeyOfStored(type, reinterpret_cast<const uint8_t*>(&v.val.iVal), 2, flags);
    case CEVT_UI2:
      return KeyOfStored(type, reinterpret_cast<const uint8_t*>(&v.val.uiVal), 2, flags);
    case CEVT_I4:
    case CEVT_UI4:
    case CEVT_BOOL:
      return KeyOfStored(type, reinterpret_cast<const uint8_t*>(&v.val.lVal), 4, flags);
    case CEVT_FILETIME:
      return KeyOfStored(type, reinterpret_cast<const uint8_t*>(&v.val.filetime), 8, flags);
    case CEVT_R8:
      return KeyOfStored(type, reinterpret_cast<const uint8_t*>(&v.val.dblVal), 8, flags);
    case CEVT_LPWSTR: {
      SortKey k;
      k.known = true;
      const wchar_t* s = v.val.lpwstr ? v.val.lpwstr : L"";
      TextKey(s, wcslen(s), flags, k.bytes);
      return k;
    }
    case CEVT_BLOB: {
      SortKey k;
      k.known = true;
      if (v.val.blob.lpb && v.val.blob.dwCount)
        k.bytes.assign(reinterpret_cast<const char*>(v.val.blob.lpb), v.val.blob.dwCount);
      return k;
    }
    default:
      return SortKey{};
  }
}

void Image::Reset(uint32_t nextOid) {
  records_.clear();
  dbs_.clear();
  nextOid_ = nextOid;
  inBatch_ = false;
  deadBytes_ = 0;
  liveBytes_ = 0;
}

Database* Image::FindDb(CEOID oid) {
  auto it = dbs_.find(oid);
  return it == dbs_.end() ? nullptr : it->second.get();
}

Database* Image::FindDbByName(const std::wstring& name) {
  for (auto& d : dbs_) {
    if (SameDbName(d.second->desc.name, name)) return d.second.get();
  }
  return nullptr;
}

Record* Image::FindRecord(CEOID oid) {
  auto it = records_.find(oid);
  return it == records_.end() ? nullptr : it->second.get();
}

const SortKey& Image::KeyIn(Record* r, int slot) {
  static const SortKey none;
  return slot < 0 ? none : r->keys[slot];
}

SortKey Image::OidKey(CEOID oid) {
  SortKey k;
  k.known = true;
  PutBigEndian(k.bytes, oid, 4);
  return k;
}

size_t Image::LowerBound(Database* db, int slot, const SortKey& key, CEOID oid) {
  std::vector<Record*>& v = OrderOf(db, slot);
  if (slot < 0) {
    return std::partition_point(v.begin(), v.end(), [&](const Record* r) { return r->oid < oid; }) -
           v.begin();
  }
  DWORD flags = db->desc.sorts[slot].dwFlags;
  return std::partition_point(v.begin(), v.end(),
                              [&](const Record* r) {
                                int c = CompareKeys(r->keys[slot], key, flags);
                                return c < 0 || (c == 0 && r->oid < oid);
                              }) -
         v.begin();
}

size_t Image::ValueBound(Database* db, int slot, const SortKey& value, bool upper) {
  std::vector<Record*>& v = OrderOf(db, slot);
  DWORD flags = db->desc.sorts[slot].dwFlags;
  return std::partition_point(v.begin(), v.end(),
                              [&](const Record* r) {
                                int c = CompareKeys(r->keys[slot], value, flags);
                                return upper ? c <= 0 : c < 0;
                              }) -
         v.begin();
}

void Image::ComputeKeys(const Database& db, const std::string& props, SortKey* keys) {
  for (int s = 0; s < CEDB_MAXSORTORDER; ++s) keys[s] = SortKey{};
  for (size_t s = 0; s < db.desc.sorts.size(); ++s) {
    PropIter it(props);
    PropView v;
    while (it.Next(&v)) {
      if (v.propid == db.desc.sorts[s].propid) {
        keys[s] = KeyOfStored(TypeFromPropID(v.propid), v.data, v.len, db.desc.sorts[s].dwFlags);
        break;
      }
    }
  }
}

DWORD Image::CheckConstraints(Database* db, CEOID oid, const SortKey* keys) {
  for (size_t s = 0; s < db->desc.sorts.size(); ++s) {
    DWORD flags = db->desc.sorts[s].dwFlags;
    if ((flags & CEDB_SORT_NONNULL) && !keys[s].known) return ERROR_INVALID_PARAMETER;
    if ((flags & CEDB_SORT_UNIQUE) && keys[s].known) {
      std::vector<Record*>& v = db->orders[s];
      for (size_t i = ValueBound(db, static_cast<int>(s), keys[s], false); i < v.size(); ++i) {
        if (CompareKeys(v[i]->keys[s], keys[s], flags) != 0) break;
        if (v[i]->oid != oid) return ERROR_ALREADY_EXISTS;
      }
    }
  }
  return ERROR_SUCCESS;
}

void Image::BeginBatch() {
  inBatch_ = true;
  for (auto& d : dbs_) d.second->batchChanges = 0;
}

void Image::EndBatch() {
  for (auto& d : dbs_) {
    if (d.second->ordersStale) Resort(d.second.get());
  }
  inBatch_ = false;
}

void Image::Resort(Database* db) {
  for (int s = 0; s < CEDB_MAXSORTORDER; ++s) {
    db->orders[s].clear();
    if (static_cast<size_t>(s) < db->desc.sorts.size()) {
      db->orders[s] = db->natural;
      std::sort(db->orders[s].begin(), db->orders[s].end(), OrderLess{s, db->desc.sorts[s].dwFlags});
    }
  }
  db->ordersStale = false;
}

void Image::Insert(Database* db, Record* r) {
  size_t at = LowerBound(db, -1, SortKey{}, r->oid);
  db->natural.insert(db->natural.begin() + static_cast<std::ptrdiff_t>(at), r);
  if (inBatch_ && ++db->batchChanges > 64) db->ordersStale = true;
  if (db->ordersStale) return;
  for (size_t s = 0; s < db->desc.sorts.size(); ++s) {
    size_t i = LowerBound(db, static_cast<int>(s), r->keys[s], r->oid);
    db->orders[s].insert(db->orders[s].begin() + static_cast<std::ptrdiff_t>(i), r);
  }
}

void Image::Remove(Database* db, Record* r) {
  size_t at = LowerBound(db, -1, SortKey{}, r->oid);
  if (at < db->natural.size() && db->natural[at] == r) {
    db->natural.erase(db->natural.begin() + static_cast<std::ptrdiff_t>(at));
  }
  if (inBatch_ && ++db->batchChanges > 64) db->ordersStale = true;
  if (db->ordersStale) return;
  for (size_t s = 0; s < db->desc.sorts.size(); ++s) {
    std::vector<Record*>& v = db->orders[s];
    size_t i = LowerBound(db, static_cast<int>(s), r->keys[s], r->oid);
    if (i < v.size() && v[i] == r) {
      v.erase(v.begin() + static_cast<std::ptrdiff_t>(i));
    } else {
      auto it = std::find(v.begin(), v.end(), r);
      if (it != v.end()) v.erase(it);
    }
  }
}

bool Image::ValidName(const DbEntry& e, CEOID self, std::string* why) {
  for (auto& d : dbs_) {
    if (d.first != self && SameDbName(d.second->desc.name, e.name)) {
      *why = "two databases of the same name";
      return false;
    }
  }
  for (size_t i = 0; i < e.sorts.size(); ++i) {
    for (size_t j = i + 1; j < e.sorts.size(); ++j) {
      if (e.sorts[i].propid == e.sorts[j].propid) {
        *why = "two sort orders on one property";
        return false;
      }
    }
  }
  return true;
}

bool Image::Apply(const Entry& e, Change* change, std::string* why) {
  *change = Change{};
  switch (e.op) {
    case OpDbCreate: {
      const DbEntry& d = e.db;
      if (!ValidOid(d.oid) || FindDb(d.oid) || FindRecord(d.oid)) {
        *why = "database created with an id in use";
        return false;
      }
      if (!ValidName(d, 0, why)) return false;
      auto db = std::make_unique<Database>();
      db->desc = d;
      db->entryBytes = e.size;
      liveBytes_ += e.size;
      dbs_[d.oid] = std::move(db);
      if (d.oid >= nextOid_) nextOid_ = d.oid + 1;
      return true;
    }
    case OpDbSet: {
      Database* db = FindDb(e.db.oid);
      if (!db) {
        *why = "information set on a database that does not exist";
        return false;
      }
      if (!ValidName(e.db, e.db.oid, why)) return false;
      bool resort = !SortsEqual(db->desc.sorts, e.db.sorts);
      db->desc = e.db;
      deadBytes_ += db->entryBytes;
      liveBytes_ += e.size;
      liveBytes_ -= std::min<uint64_t>(liveBytes_, db->entryBytes);
      db->entryBytes = e.size;
      if (resort) {
        for (Record* r : db->natural) ComputeKeys(*db, r->props, r->keys);
        if (inBatch_) {
          db->ordersStale = true;
        } else {
          Resort(db);
        }
      }
      return true;
    }
    case OpDbDelete: {
      Database* db = e.del.db == 0 ? FindDb(e.del.oid) : nullptr;
      if (!db) {
        *why = "deletion of a database that does not exist";
        return false;
      }
      for (Record* r : db->natural) {
        if (onRecordRemoving) onRecordRemoving(r);
        deadBytes_ += r->entryBytes;
        liveBytes_ -= std::min<uint64_t>(liveBytes_, r->entryBytes);
      }
      std::vector<CEOID> gone;
      for (Record* r : db->natural) gone.push_back(r->oid);
      deadBytes_ += db->entryBytes + e.size;
      liveBytes_ -= std::min<uint64_t>(liveBytes_, db->entryBytes);
      dbs_.erase(e.del.oid);
      for (CEOID oid : gone) records_.erase(oid);
      return true;
    }
    case OpRecPut: {
      const RecEntry& re = e.rec;
      Database* db = FindDb(re.db);
      if (!db) {
        *why = "record written to a database that does not exist";
        return false;
      }
      // Every write gives its database a newer modification time (a compacted file gives them all the
      // database's own): an older one is a copy of an earlier entry.
      if (re.modTime < db->desc.modTime) {
        *why = "record written before its database's last change";
        return false;
      }
      Record* r = nullptr;
      if (re.created) {
        if (!ValidOid(re.oid) || FindDb(re.oid) || FindRecord(re.oid)) {
          *why = "record created with an id in use";
          return false;
        }
        if (db->natural.size() >= CEDB_MAXNUMRECORDS) {
          *why = "more records than a database can hold";
          return false;
        }
        auto rec = std::make_unique<Record>();
        r = rec.get();
        r->oid = re.oid;
        r->db = re.db;
        records_[re.oid] = std::move(rec);
        if (re.oid >= nextOid_) nextOid_ = re.oid + 1;
      } else {
        r = FindRecord(re.oid);
        if (!r || r->db != re.db) {
          *why = "record replaced that does not exist in its database";
          return false;
        }
        Remove(db, r);
        db->dataSize -= std::min<uint64_t>(db->dataSize, r->props.size());
        deadBytes_ += r->entryBytes;
        liveBytes_ -= std::min<uint64_t>(liveBytes_, r->entryBytes);
      }
      r->props = re.props;
      r->entryBytes = e.size;
      liveBytes_ += e.size;
      db->dataSize += r->props.size();
      ComputeKeys(*db, r->props, r->keys);
      Insert(db, r);
      db->desc.modTime = re.modTime;
      change->kind = re.created ? DB_CEOID_CREATED : DB_CEOID_CHANGED;
      change->oid = re.oid;
      change->db = re.db;
      return true;
    }
    case OpRecDelete: {
      Database* db = FindDb(e.del.db);
      Record* r = FindRecord(e.del.oid);
      if (!db || !r || r->db != e.del.db) {
        *why = "deletion of a record that does not exist in its database";
        return false;
      }
      if (e.del.time < db->desc.modTime) {
        *why = "record deleted before its database's last change";
        return false;
      }
      if (onRecordRemoving) onRecordRemoving(r);
      Remove(db, r);
      db->dataSize -= std::min<uint64_t>(db->dataSize, r->props.size());
      deadBytes_ += r->entryBytes + e.size;
      liveBytes_ -= std::min<uint64_t>(liveBytes_, r->entryBytes);
      db->desc.modTime = e.del.time;
      change->kind = DB_CEOID_RECORD_DELETED;
      change->oid = e.del.oid;
      change->db = e.del.db;
      records_.erase(e.del.oid);
      return true;
    }
    default:
      *why = "unknown operation";
      return false;
  }
}

}  // namespace objstore
