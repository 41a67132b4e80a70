// A process's image of the object store: databases, records and their sort orders, built by applying
// the store file's entries in order.
#pragma once
#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "StoreFormat.h"
#include "windbase.h"

namespace objstore {

// A record's place in one sort order: whether it has the sort property, and an order-preserving byte
// string of the value (big-endian with the sign flipped for numbers, the locale's sort key for text).
struct SortKey {
  bool known = false;
  std::string bytes;
};

// Compares two keys under one sort order's flags: unknown values first or last, descending flips the
// sense of known values.
int CompareKeys(const SortKey& a, const SortKey& b, DWORD flags);
// The key of a value given as a CEPROPVAL of the sort's type (for the value seeks).
SortKey KeyOfValue(const CEPROPVAL& v, DWORD flags);
// The key of a stored value.
SortKey KeyOfStored(WORD type, const uint8_t* data, uint32_t len, DWORD flags);

struct Record {
  CEOID oid = 0;
  CEOID db = 0;
  std::string props;        // encoded property list, as in the file
  uint32_t entryBytes = 0;  // size of the file entry that holds this version
  SortKey keys[CEDB_MAXSORTORDER];
};

struct Database {
  DbEntry desc;  // oid, flags, type, name, sort orders, last modification time
  uint32_t entryBytes = 0;
  uint64_t dataSize = 0;
  std::vector<Record*> natural;                    // by oid: creation order
  std::vector<Record*> orders[CEDB_MAXSORTORDER];  // by each sort order, ties by oid
  bool ordersStale = false;                        // rebuilt at the end of a batch
  uint32_t batchChanges = 0;
};

struct Change {
  UINT kind = 0;  // DB_CEOID_CREATED, DB_CEOID_CHANGED, DB_CEOID_RECORD_DELETED; 0 for no record change
  CEOID oid = 0;
  CEOID db = 0;
};

class Image {
 public:
  void Reset(uint32_t nextOid);

  // Applies one entry; false with `why` when it contradicts the image (the file is then damaged).
  bool Apply(const Entry& e, Change* change, std::string* why);
  // Entries applied between these share one rebuild of the sort orders they touch.
  void BeginBatch();
  void EndBatch();

  Database* FindDb(CEOID oid);
  Database* FindDbByName(const std::wstring& name);
  Record* FindRecord(CEOID oid);
  const std::map<CEOID, std::unique_ptr<Database>>& Databases() const { return dbs_; }

  // Orders: slot -1 is the natural order (by oid), 0..3 the database's sort orders.
  std::vector<Record*>& OrderOf(Database* db, int slot) { return slot < 0 ? db->natural : db->orders[slot]; }
  // Index of the first record at or after (key, oid) in the order.
  size_t LowerBound(Database* db, int slot, const SortKey& key, CEOID oid);
  size_t IndexOf(Database* db, int slot, Record* r) { return LowerBound(db, slot, KeyIn(r, slot), r->oid); }
  // First index whose key compares >= (or > when `upper`) to a value key; unknown values take their place.
  size_t ValueBound(Database* db, int slot, const SortKey& value, bool upper);
  static const SortKey& KeyIn(Record* r, int slot);
  static SortKey OidKey(CEOID oid);

  // Keys of a property list under a database's sort orders.
  static void ComputeKeys(const Database& db, const std::string& props, SortKey* keys);
  // True when no other record of the database has the same key in a unique order, and every non-null
  // order has a value; the failing last error otherwise.
  DWORD CheckConstraints(Database* db, CEOID oid, const SortKey* keys);

  uint32_t NextOid() const { return nextOid_; }
  size_t RecordCount() const { return records_.size(); }
  uint64_t DeadBytes() const { return deadBytes_; }
  uint64_t LiveBytes() const { return liveBytes_; }

  // Called before a record leaves the image, so that open handles standing on it keep their place.
  std::function<void(Record*)> onRecordRemoving;

 private:
  bool ValidName(const DbEntry& e, CEOID self, std::string* why);
  void Insert(Database* db, Record* r);
  void Remove(Database* db, Record* r);
  void Resort(Database* db);

  std::map<CEOID, std::unique_ptr<Database>> dbs_;
  std::unordered_map<CEOID, std::unique_ptr<Record>> records_;
  uint32_t nextOid_ = kFirstOid;
  bool inBatch_ = false;
  uint64_t deadBytes_ = 0;
  uint64_t liveBytes_ = 0;
};

bool SameDbName(const std::wstring& a, const std::wstring& b);

}  // namespace objstore
