// Damaged store files are salvaged: every record that checks out is kept, the records the damage
// touched are left out (never shown garbled or in an older state), the damaged file is kept aside
// with its bytes, and the loss is reported. Each damaged file is used by this process in turn
// (PagemarkStoreUse), so that thousands of them can be tried, in the mutation run too.
#include <doctest/doctest.h>

#include <MutationLoop.h>

#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "StoreAdmin.h"
#include "StoreTestKit.h"

using namespace storekit;

namespace {

// ---- The store's contents, as read through the Ce calls ------------------------------------------------

// A record's database name and properties, as one comparable string.
std::string Canon(const std::wstring& db, const CEPROPVAL* v, WORD count) {
  std::string s = Narrow(db) + "|";
  auto put = [&](const void* p, size_t n) { s.append(static_cast<const char*>(p), n); };
  for (WORD i = 0; i < count; ++i) {
    put(&v[i].propid, 4);
    switch (TypeFromPropID(v[i].propid)) {
      case CEVT_I2:
      case CEVT_UI2:
        put(&v[i].val.iVal, 2);
        break;
      case CEVT_I4:
      case CEVT_UI4:
      case CEVT_BOOL:
        put(&v[i].val.lVal, 4);
        break;
      case CEVT_FILETIME:
      case CEVT_R8:
        put(&v[i].val.filetime, 8);
        break;
      case CEVT_LPWSTR:
        put(v[i].val.lpwstr, wcslen(v[i].val.lpwstr) * 2);
        s.push_back('\0');
        break;
      case CEVT_BLOB: {
        DWORD n = v[i].val.blob.dwCount;
        put(&n, 4);
        put(v[i].val.blob.lpb, n);
        break;
      }
    }
  }
  return s;
}

struct Snapshot {
  bool readable = false;
  DWORD error = 0;
  std::string trouble;                // an inconsistency of the enumeration itself
  std::map<CEOID, std::string> recs;  // oid: Canon
  std::map<std::wstring, CEOID> dbs;  // name: oid
};

Snapshot Take() {
  Snapshot snap;
  HANDLE e = CeFindFirstDatabase(0);
  if (e == INVALID_HANDLE_VALUE) {
    snap.error = GetLastError();
    return snap;
  }
  CEOID db;
  while ((db = CeFindNextDatabase(e)) != 0) {
    CEOIDINFO info;
    if (!CeOidGetInfo(db, &info) || info.wObjType != OBJTYPE_DATABASE) {
      snap.trouble = "no information on database " + std::to_string(db);
      continue;
    }
    std::wstring name = info.infDatabase.szDbaseName;
    snap.dbs[name] = db;
    CEOID o = db;
    HANDLE h = CeOpenDatabase(&o, nullptr, 0, CEDB_AUTOINCREMENT, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
      snap.trouble = "database " + std::to_string(db) + " doesn't open";
      continue;
    }
    LPBYTE buf = nullptr;
    DWORD size = 0;
    size_t n = 0;
    for (;;) {
      WORD count = 0;
      CEOID oid = CeReadRecordProps(h, CEDB_ALLOWREALLOC, &count, nullptr, &buf, &size);
      if (!oid) {
        if (GetLastError() != ERROR_NO_MORE_ITEMS)
          snap.trouble = "read failed " + std::to_string(GetLastError());
        break;
      }
      ++n;
      snap.recs[oid] = Canon(name, reinterpret_cast<const CEPROPVAL*>(buf), count);
    }
    if (buf) LocalFree(buf);
    CloseHandle(h);
    if (n != info.infDatabase.wNumRecords) snap.trouble = "record count differs from the database's";
  }
  DWORD end = GetLastError();
  CloseHandle(e);
  if (end != ERROR_NO_MORE_ITEMS) {
    snap.error = end;
    return snap;
  }
  snap.readable = true;
  return snap;
}

PAGEMARK_STORE_CHECK CheckStore() {
  PAGEMARK_STORE_CHECK c{};
  c.cbSize = sizeof c;
  if (!PagemarkStoreCheck(&c)) c.cbSize = 0;
  return c;
}

// ---- Store files made for the tests -------------------------------------------------------------------

// An entry of a store file, from the layout its writer documents: a 64-byte header, then entries of a
// 16-byte head (tag, operation, payload length, checksum), the payload and a 4-byte checksum; the
// payload of a record's entry begins with its database's and its own object id.
struct EntryAt {
  size_t at = 0;
  size_t size = 0;
  uint32_t op = 0;
  CEOID first = 0;
  CEOID second = 0;
};
const uint32_t kDbCreate = 1, kRecPut = 4, kRecDelete = 5;

std::vector<EntryAt> Entries(const std::string& file) {
  std::vector<EntryAt> out;
  size_t pos = 64;
  while (pos + 28 <= file.size()) {
    EntryAt e;
    uint32_t len = 0;
    std::memcpy(&e.op, file.data() + pos + 4, 4);
    std::memcpy(&len, file.data() + pos + 8, 4);
    if (pos + 20 + len > file.size()) break;
    std::memcpy(&e.first, file.data() + pos + 16, 4);
    std::memcpy(&e.second, file.data() + pos + 20, 4);
    e.at = pos;
    e.size = 20 + len;
    out.push_back(e);
    pos += e.size;
  }
  return out;
}

// The file this process uses as its store while the object lives; the test store afterwards.
class OwnStore {
 public:
  explicit OwnStore(const std::wstring& stem, const std::wstring& dir = WorkDir())
      : dir_(dir), stem_(stem), path_(dir + stem + L".cdb"), log_(dir + stem + L".log") {
    DeleteAside();
    DeleteFileW(path_.c_str());
    DeleteFileW(log_.c_str());
  }
  ~OwnStore() {
    PagemarkStoreUse(TestStorePath().c_str());
    DeleteAside();
  }
  const std::wstring& Path() const { return path_; }
  const std::wstring& Log() const { return log_; }

  // Starts using the store file as it is now.
  bool Use() { return PagemarkStoreUse(path_.c_str()) != FALSE; }
  // Writes `bytes` as the store file and uses it (the file is opened by the next Ce call).
  bool Mount(const std::string& bytes) { return Use() && WriteFileBytes(path_, bytes); }

  // The damaged files kept aside so far.
  std::vector<std::wstring> Aside() const {
    std::vector<std::wstring> found;
    WIN32_FIND_DATAW fd;
    HANDLE f = FindFirstFileW((dir_ + stem_ + L"-damaged-*").c_str(), &fd);
    if (f == INVALID_HANDLE_VALUE) return found;
    do {
      found.push_back(dir_ + fd.cFileName);
    } while (FindNextFileW(f, &fd));
    FindClose(f);
    return found;
  }
  void DeleteAside() const {
    for (const std::wstring& p : Aside()) DeleteFileW(p.c_str());
  }

 private:
  std::wstring dir_, stem_, path_, log_;
};

// A store written here through the Ce calls: its file, what it holds, and its entries.
struct Made {
  std::string bytes;
  Snapshot snap;
  std::vector<EntryAt> entries;
  std::vector<CEOID> dbs;
};

CEPROPVAL Prop(WORD id, WORD type) {
  CEPROPVAL v;
  std::memset(&v, 0, sizeof v);
  v.propid = MAKE_CEPROPID(id, type);
  return v;
}

// `count` records in two databases (one with sort orders), each written once; with `churn`, some are
// replaced afterwards and some deleted. `seed` varies the values.
Made MakeStore(OwnStore& store, int count, bool churn, unsigned seed) {
  Made made;
  REQUIRE(store.Use());
  DeleteFileW(store.Path().c_str());
  SORTORDERSPEC sorts[3] = {{MAKE_CEPROPID(10, CEVT_LPWSTR), CEDB_SORT_CASEINSENSITIVE},
                            {MAKE_CEPROPID(11, CEVT_I4), CEDB_SORT_DESCENDING},
                            {MAKE_CEPROPID(12, CEVT_FILETIME), CEDB_SORT_UNKNOWNFIRST}};
  CEOID people = CeCreateDatabase(const_cast<LPWSTR>(L"Salvage People"), 7, 3, sorts);
  CEOID notes = CeCreateDatabase(const_cast<LPWSTR>(L"Salvage Notes"), 8, 0, nullptr);
  REQUIRE(people);
  REQUIRE(notes);
  made.dbs = {people, notes};
  CEOID o1 = people, o2 = notes;
  HANDLE h1 = CeOpenDatabase(&o1, nullptr, 0, 0, nullptr);
  HANDLE h2 = CeOpenDatabase(&o2, nullptr, 0, 0, nullptr);
  REQUIRE(h1 != INVALID_HANDLE_VALUE);
  REQUIRE(h2 != INVALID_HANDLE_VALUE);
  std::mt19937 random(seed);
  std::vector<std::pair<HANDLE, CEOID>> written;
  for (int i = 0; i < count; ++i) {
    HANDLE h = i % 3 == 2 ? h2 : h1;
    std::wstring text = L"Name " + std::to_wstring(random() % 100000) + L" " + std::to_wstring(i);
    std::vector<BYTE> blob(random() % 48);
    for (BYTE& b : blob) b = static_cast<BYTE>(random());
    std::vector<CEPROPVAL> p;
    CEPROPVAL t = Prop(10, CEVT_LPWSTR);
    t.val.lpwstr = &text[0];
    p.push_back(t);
    if (i % 4) {
      CEPROPVAL n = Prop(11, CEVT_I4);
      n.val.lVal = static_cast<long>(random() % 2000) - 1000;
      p.push_back(n);
    }
    CEPROPVAL ft = Prop(12, CEVT_FILETIME);
    ft.val.filetime.dwLowDateTime = random();
    ft.val.filetime.dwHighDateTime = 0x01D00000u + i;
    p.push_back(ft);
    CEPROPVAL b = Prop(13, CEVT_BLOB);
    b.val.blob.dwCount = static_cast<DWORD>(blob.size());
    b.val.blob.lpb = blob.data();
    p.push_back(b);
    CEPROPVAL r = Prop(14, CEVT_R8);
    r.val.dblVal = i / 7.0;
    p.push_back(r);
    CEOID oid = CeWriteRecordProps(h, 0, static_cast<WORD>(p.size()), p.data());
    REQUIRE(oid);
    written.emplace_back(h, oid);
  }
  if (churn) {
    for (size_t i = 0; i < written.size(); i += 4) {
      CEPROPVAL u = Prop(15, CEVT_UI2);
      u.val.uiVal = static_cast<USHORT>(i + 1);
      CEPROPVAL n = Prop(11, CEVT_I4);
      n.val.lVal = static_cast<long>(i * 3);
      CEPROPVAL both[2] = {u, n};
      REQUIRE(CeWriteRecordProps(written[i].first, written[i].second, 2, both) == written[i].second);
    }
    for (size_t i = 1; i < written.size(); i += 6)
      REQUIRE(CeDeleteRecord(written[i].first, written[i].second));
  }
  CloseHandle(h1);
  CloseHandle(h2);
  made.snap = Take();
  REQUIRE(made.snap.readable);
  made.bytes = ReadFileBytes(store.Path());
  made.entries = Entries(made.bytes);
  REQUIRE_FALSE(made.entries.empty());
  REQUIRE(made.entries.back().at + made.entries.back().size == made.bytes.size());
  return made;
}

// Every record read back is one of `want`'s, unchanged; the oids of those missing.
std::set<CEOID> CompareTo(const Snapshot& got, const Snapshot& want, std::string* wrong) {
  std::set<CEOID> missing;
  for (const auto& r : got.recs) {
    auto w = want.recs.find(r.first);
    if (w == want.recs.end()) {
      *wrong = "record " + std::to_string(r.first) + " isn't one of the store's";
    } else if (w->second != r.second) {
      *wrong = "record " + std::to_string(r.first) + " differs from what was written";
    }
  }
  for (const auto& w : want.recs) {
    if (!got.recs.count(w.first)) missing.insert(w.first);
  }
  return missing;
}

// A folder for the mutation run's store files: in memory where the machine has such a folder (every
// damaged input is written, kept aside and salvaged, each with a flush to the disk), else the tests'.
std::wstring MemoryDir() {
  static std::wstring dir;
  if (!dir.empty()) return dir;
  dir = WorkDir();
  DWORD attributes = GetFileAttributesW(L"Z:\\dev\\shm");
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    // Test programs on devices of their own may share the machine's folder, and process ids.
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    std::wstring mine = L"Z:\\dev\\shm\\pagemark-objectstore-" + std::to_wstring(GetCurrentProcessId()) +
                        L"-" + std::to_wstring(static_cast<unsigned long long>(now.QuadPart));
    if (CreateDirectoryW(mine.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS) dir = mine + L"\\";
  }
  return dir;
}

const EntryAt* EntryHolding(const std::vector<EntryAt>& entries, size_t at) {
  for (const EntryAt& e : entries) {
    if (at >= e.at && at < e.at + e.size) return &e;
  }
  return nullptr;
}

}  // namespace

TEST_CASE("one changed byte anywhere in a store loses at most the records it touches, and says how many") {
  OwnStore store(L"salvage-byte");
  const Made base = MakeStore(store, 100, false, 5);
  REQUIRE(base.snap.recs.size() == 100);
  std::map<CEOID, size_t> perDb;
  std::map<CEOID, CEOID> dbOf;
  for (const EntryAt& e : base.entries) {
    if (e.op == kRecPut) {
      ++perDb[e.first];
      dbOf[e.second] = e.first;
    }
  }
  size_t tried = 0, salvaged = 0, lostSome = 0;
  for (size_t at = 0; at < base.bytes.size(); at += at < 64 ? 1 : 3) {
    std::string damaged = base.bytes;
    damaged[at] = static_cast<char>(damaged[at] ^ (1 + (at * 37) % 255));
    INFO("byte ", at, " of ", base.bytes.size());
    REQUIRE(store.Mount(damaged));
    Snapshot got = Take();
    REQUIRE(got.readable);
    CHECK(got.trouble == "");
    std::string wrong;
    std::set<CEOID> missing = CompareTo(got, base.snap, &wrong);
    CHECK(wrong == "");
    const EntryAt* hit = EntryHolding(base.entries, at);
    if (!hit) {
      CHECK(missing.empty());  // the file's header: nothing of the store is in it
    } else if (hit->op == kDbCreate) {
      CHECK(missing.size() <= perDb[hit->first]);
      for (CEOID oid : missing) CHECK(dbOf[oid] == hit->first);
    } else {
      CHECK(missing.size() <= 1);
      for (CEOID oid : missing) CHECK(oid == hit->second);
    }
    // Every byte is under a checksum: each change is found, and the file salvaged and kept aside.
    PAGEMARK_STORE_CHECK c = CheckStore();
    REQUIRE(c.cbSize);
    CHECK(c.dwSalvaged == 1);
    CHECK(c.dwRecordsLost == missing.size());
    CHECK(c.dwRecordsKept == got.recs.size());
    CHECK(c.dwRecords == got.recs.size());
    std::vector<std::wstring> aside = store.Aside();
    REQUIRE(aside.size() == 1);
    CHECK(aside[0] == c.szDamagedCopy);
    CHECK(ReadFileBytes(aside[0]) == damaged);
    store.DeleteAside();
    ++tried;
    salvaged += c.dwSalvaged;
    lostSome += missing.empty() ? 0 : 1;
  }
  MESSAGE(tried << " single-byte changes, " << salvaged << " salvaged, " << lostSome << " lost a record");
  // Changes in the payload of a record's entry lose that record; changes in entry heads lose nothing.
  CHECK(lostSome > 0);
  CHECK(lostSome < tried);
}

TEST_CASE("a store of 2,000 records: a changed byte at random loses one record at most, 100 times over") {
  OwnStore store(L"salvage-large");
  const Made base = MakeStore(store, 2000, false, 17);
  REQUIRE(base.snap.recs.size() == 2000);
  std::mt19937 random(2000);
  size_t lost = 0;
  for (int trial = 0; trial < 100; ++trial) {
    // Past the databases' own entries: those are the only ones whose loss takes more than one record.
    size_t at = base.entries[2].at + random() % (base.bytes.size() - base.entries[2].at);
    std::string damaged = base.bytes;
    damaged[at] = static_cast<char>(damaged[at] ^ (1 + random() % 255));
    INFO("byte ", at);
    REQUIRE(store.Mount(damaged));
    Snapshot got = Take();
    REQUIRE(got.readable);
    std::string wrong;
    std::set<CEOID> missing = CompareTo(got, base.snap, &wrong);
    CHECK(wrong == "");
    CHECK(missing.size() <= 1);
    CHECK(CheckStore().dwRecordsLost == missing.size());
    lost += missing.size();
    store.DeleteAside();
  }
  MESSAGE(lost << " records lost in 100 trials");
}

TEST_CASE("a store cut short keeps every record wholly before the cut and reports the rest as lost") {
  OwnStore store(L"salvage-cut");
  const Made base = MakeStore(store, 100, false, 9);
  std::vector<size_t> cuts = {0, 1, 40, 63, 64, 65, 100};
  for (size_t i = 0; i < base.entries.size(); i += 3) {
    const EntryAt& e = base.entries[i];
    for (size_t extra : {size_t(0), size_t(1), size_t(15), size_t(16), size_t(17), e.size / 2, e.size - 1})
      cuts.push_back(e.at + extra);
  }
  cuts.push_back(base.bytes.size() - 1);
  for (size_t cut : cuts) {
    if (cut >= base.bytes.size()) continue;
    INFO("cut at ", cut, " of ", base.bytes.size());
    const std::string shorter = base.bytes.substr(0, cut);
    REQUIRE(store.Mount(shorter));
    Snapshot got = Take();
    REQUIRE(got.readable);
    std::string wrong;
    std::set<CEOID> missing = CompareTo(got, base.snap, &wrong);
    CHECK(wrong == "");
    size_t before = 0;
    for (const EntryAt& e : base.entries) {
      if (e.op != kRecPut) continue;
      if (e.at + e.size <= cut) {
        ++before;
        CHECK(got.recs.count(e.second) == 1);  // wholly before the cut: kept
      } else {
        CHECK(got.recs.count(e.second) == 0);
      }
    }
    CHECK(got.recs.size() == before);
    PAGEMARK_STORE_CHECK c = CheckStore();
    REQUIRE(c.cbSize);
    CHECK(c.dwSalvaged == 1);
    if (cut >= 64) {
      CHECK(c.dwRecordsLost == missing.size());  // the header says how many the store held
    }
    std::vector<std::wstring> aside = store.Aside();
    REQUIRE(aside.size() == 1);
    CHECK(ReadFileBytes(aside[0]) == shorter);
    store.DeleteAside();
    // The salvaged store takes writes.
    CEOID o = got.dbs.count(L"Salvage Notes") ? got.dbs[L"Salvage Notes"] : 0;
    if (o) {
      HANDLE h = CeOpenDatabase(&o, nullptr, 0, 0, nullptr);
      REQUIRE(h != INVALID_HANDLE_VALUE);
      CEPROPVAL v = Prop(11, CEVT_I4);
      CHECK(CeWriteRecordProps(h, 0, 1, &v) != 0);
      CloseHandle(h);
    }
  }
}

TEST_CASE("a store whose tail a killed writer tore is not salvaged; a whole one is left as it is") {
  OwnStore store(L"salvage-torn");
  const Made base = MakeStore(store, 20, true, 3);
  // A writer died halfway through appending: the bytes past the recorded end are cut off quietly.
  const EntryAt& last = base.entries.back();
  std::string torn = base.bytes + base.bytes.substr(last.at, last.size / 2);
  REQUIRE(store.Mount(torn));
  Snapshot got = Take();
  REQUIRE(got.readable);
  CHECK(got.recs == base.snap.recs);
  PAGEMARK_STORE_CHECK c = CheckStore();
  REQUIRE(c.cbSize);
  CHECK(c.dwSalvaged == 0);
  CHECK(store.Aside().empty());
  CHECK(ReadFileBytes(store.Path()) == base.bytes);

  REQUIRE(store.Mount(base.bytes));
  CHECK(Take().recs == base.snap.recs);
  c = CheckStore();
  REQUIRE(c.cbSize);
  CHECK(c.dwSalvaged == 0);
  CHECK(c.dwRecords == base.snap.recs.size());
  CHECK(store.Aside().empty());
}

TEST_CASE("replaced and deleted records: the newest version or nothing, never an older one") {
  OwnStore store(L"salvage-churn");
  const Made base = MakeStore(store, 60, true, 21);
  size_t replaced = 0, deleted = 0;
  // Records replaced or deleted after their first entry, by the entries that did it.
  std::set<CEOID> createdSeen;
  for (const EntryAt& e : base.entries) {
    bool replacement = e.op == kRecPut && createdSeen.count(e.second);
    if (e.op == kRecPut) createdSeen.insert(e.second);
    if (!replacement && e.op != kRecDelete) continue;
    const CEOID oid = e.second;
    INFO("entry at ", e.at, " op ", e.op, " record ", oid);
    // Its payload hit after the ids (in the last property, or the deletion's time).
    std::string damaged = base.bytes;
    size_t at = e.at + e.size - 5;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
    REQUIRE(store.Mount(damaged));
    Snapshot got = Take();
    REQUIRE(got.readable);
    std::string wrong;
    std::set<CEOID> missing = CompareTo(got, base.snap, &wrong);
    CHECK(wrong == "");  // an older version would differ from the last one written
    if (e.op == kRecPut) {
      ++replaced;
      CHECK(missing == std::set<CEOID>{oid});
      CHECK(CheckStore().dwRecordsLost == 1);
    } else {
      ++deleted;
      CHECK(missing.empty());
      CHECK(got.recs.count(oid) == 0);  // stays deleted
      CHECK(CheckStore().dwRecordsLost == 0);
    }
    store.DeleteAside();

    // Its head hit: the payload is whole, so the entry is taken as it is.
    damaged = base.bytes;
    damaged[e.at + 5] = static_cast<char>(damaged[e.at + 5] ^ 0x40);
    REQUIRE(store.Mount(damaged));
    got = Take();
    CHECK(got.recs == base.snap.recs);
    CHECK(CheckStore().dwRecordsLost == 0);
    store.DeleteAside();
  }
  CHECK(replaced >= 10);
  CHECK(deleted >= 8);

  // A copy of an old entry after the last one (as a damaged disk may leave): left out.
  for (const EntryAt& e : base.entries) {
    if (e.op != kRecPut) continue;
    INFO("copy of the entry at ", e.at);
    std::string copied = base.bytes + base.bytes.substr(e.at, e.size);
    REQUIRE(store.Mount(copied));
    Snapshot got = Take();
    REQUIRE(got.readable);
    CHECK(got.recs == base.snap.recs);
    store.DeleteAside();
  }
}

TEST_CASE("a sound header of an unknown version is refused and the file left alone") {
  OwnStore store(L"salvage-version");
  const Made base = MakeStore(store, 5, false, 1);
  std::string newer = base.bytes;
  newer[8] = 3;  // a version to come, with the header's checksum made right
  std::string head = newer.substr(0, 60);
  uint32_t crc = 0xFFFFFFFFu;
  for (unsigned char ch : head) {
    crc ^= ch;
    for (int k = 0; k < 8; ++k) crc = (crc & 1) ? 0xEDB88320u ^ (crc >> 1) : crc >> 1;
  }
  crc ^= 0xFFFFFFFFu;
  std::memcpy(&newer[60], &crc, 4);
  REQUIRE(store.Mount(newer));
  Snapshot got = Take();
  CHECK_FALSE(got.readable);
  CHECK(got.error == ERROR_FILE_CORRUPT);
  PAGEMARK_STORE_CHECK c{};
  c.cbSize = sizeof c;
  CHECK_FALSE(PagemarkStoreCheck(&c));
  CHECK(GetLastError() == ERROR_FILE_CORRUPT);
  CHECK(store.Aside().empty());
  CHECK(ReadFileBytes(store.Path()) == newer);
  CHECK(ReadFileBytes(store.Log()).find("unsupported version 3") != std::string::npos);
}

TEST_CASE("ceadmin check and the device journal report a salvage and the records it lost") {
  OwnStore store(L"salvage-admin");
  const Made base = MakeStore(store, 30, false, 4);
  PagemarkStoreUse(TestStorePath().c_str());  // the store file is the child's alone

  Child sound;
  REQUIRE(sound.Start(L"ceadmin.exe", L"check", store.Path()));
  CHECK(sound.Wait(60000) == 0);
  std::vector<std::string> out = sound.RestOfOutput(1000);
  REQUIRE(out.size() == 2);
  CHECK(out[0].find(": 2 databases, 30 records") != std::string::npos);
  CHECK(out[1] == "never salvaged");

  // The last record's payload hit: that record is lost.
  std::string damaged = base.bytes;
  const EntryAt& last = base.entries.back();
  damaged[last.at + last.size - 6] ^= 0x01;
  REQUIRE(WriteFileBytes(store.Path(), damaged));
  std::wstring journal = L"\\windows\\device-journal.txt";
  size_t journalBefore = ReadFileBytes(journal).size();
  Child check;
  REQUIRE(check.Start(L"ceadmin.exe", L"check", store.Path()));
  CHECK(check.Wait(60000) == 1);
  out = check.RestOfOutput(1000);
  REQUIRE(out.size() == 3);
  CHECK(out[0].find(": 2 databases, 29 records") != std::string::npos);
  CHECK(out[1].find("from a damaged file: 29 records recovered, 1 lost") != std::string::npos);
  CHECK(out[2].find("damaged file kept as ") == 0);
  std::vector<std::wstring> aside = store.Aside();
  REQUIRE(aside.size() == 1);
  CHECK(out[2].find(Narrow(aside[0].substr(aside[0].find_last_of(L'\\') + 1))) != std::string::npos);
  CHECK(ReadFileBytes(aside[0]) == damaged);
  std::string log = ReadFileBytes(store.Log());
  CHECK(log.find("salvaged ") != std::string::npos);
  CHECK(log.find("29 records recovered, 1 lost") != std::string::npos);
  std::string journalText = ReadFileBytes(journal).substr(journalBefore);
  CHECK(journalText.find("\tobjectstore\tsalvaged ") != std::string::npos);
  CHECK(journalText.find("29 records recovered, 1 lost") != std::string::npos);

  // A later look reports the same salvage, from the store's own header.
  Child again;
  REQUIRE(again.Start(L"ceadmin.exe", L"check", store.Path()));
  CHECK(again.Wait(60000) == 1);
  out = again.RestOfOutput(1000);
  REQUIRE(out.size() == 3);
  CHECK(out[1].find("29 records recovered, 1 lost") != std::string::npos);
  CHECK(store.Aside().size() == 1);
}

TEST_CASE("mutations: object store files") {
  OwnStore maker(L"salvage-corpus");
  // Three stores whose records never change once written: every record read back from a damaged one
  // must be one of these, unchanged.
  std::vector<Made> made;
  made.push_back(MakeStore(maker, 100, false, 31));
  made.push_back(MakeStore(maker, 40, false, 31));  // the first 40 records of the first, alone
  made.push_back(MakeStore(maker, 70, false, 32));
  std::vector<mutation::Bytes> corpus;
  std::map<CEOID, std::set<std::string>> originals;
  for (const Made& m : made) {
    corpus.emplace_back(m.bytes.begin(), m.bytes.end());
    for (const auto& r : m.snap.recs) originals[r.first].insert(r.second);
  }
  OwnStore store(L"salvage-fuzz", MemoryDir());
  uint64_t inputs = 0, salvaged = 0, writable = 0;
  const mutation::Summary summary = mutation::Run(
      "objectstore", corpus,
      [&](const mutation::Bytes& input, std::string& why) {
        const std::string bytes(input.begin(), input.end());
        if (++inputs % 1000 == 0) DeleteFileW(store.Log().c_str());
        if (!store.Mount(bytes)) {
          why = "the file couldn't be used";
          return false;
        }
        Snapshot got = Take();
        if (!got.readable) {
          // Only a sound header of another version is refused; anything else is salvaged.
          why = "the store was refused, error " + std::to_string(got.error);
          uint32_t version = 0;
          if (bytes.size() >= 64) std::memcpy(&version, bytes.data() + 8, 4);
          return bytes.compare(0, 8, "PMOBJSTR") == 0 && version != 1 && version != 2;
        }
        if (!got.trouble.empty()) {
          why = got.trouble;
          return false;
        }
        for (const auto& r : got.recs) {
          auto o = originals.find(r.first);
          if (o == originals.end() || !o->second.count(r.second)) {
            why = "record " + std::to_string(r.first) + " was never written so";
            return false;
          }
        }
        // Cut short: every record wholly before the cut is kept.
        for (const Made& m : made) {
          if (bytes.size() >= m.bytes.size() || m.bytes.compare(0, bytes.size(), bytes) != 0) continue;
          for (const EntryAt& e : m.entries) {
            if (e.op == kRecPut && e.at + e.size <= bytes.size() && !got.recs.count(e.second)) {
              why = "record " + std::to_string(e.second) + " before the cut was lost";
              return false;
            }
          }
        }
        PAGEMARK_STORE_CHECK c = CheckStore();
        if (!c.cbSize) {
          why = "no check after a read";
          return false;
        }
        if (c.dwSalvaged) {
          ++salvaged;
          DeleteFileW(c.szDamagedCopy);
        }
        // A write and a deletion go through.
        if (!got.dbs.empty()) {
          CEOID o = got.dbs.begin()->second;
          const std::string prefix = Narrow(got.dbs.begin()->first) + "|";
          CEOID victim = 0;
          for (const auto& r : got.recs) {
            if (r.second.compare(0, prefix.size(), prefix) == 0) victim = r.first;
          }
          HANDLE h = CeOpenDatabase(&o, nullptr, 0, 0, nullptr);
          if (h == INVALID_HANDLE_VALUE) {
            why = "a database doesn't open";
            return false;
          }
          CEPROPVAL v = Prop(11, CEVT_I4);
          CEOID put = CeWriteRecordProps(h, 0, 1, &v);
          BOOL gone = put && CeDeleteRecord(h, victim ? victim : put);
          CloseHandle(h);
          if (!put || !gone) {
            why = "a write or a deletion failed, error " + std::to_string(GetLastError());
            return false;
          }
          ++writable;
        }
        return true;
      },
      3000, 41);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  MESSAGE(summary.inputs << " inputs, " << salvaged << " salvaged, " << writable << " written to");
  PagemarkStoreUse(TestStorePath().c_str());
  for (const wchar_t* file : {L"salvage-fuzz.cdb", L"salvage-fuzz.log", L"salvage-fuzz.cdb.salvage"})
    DeleteFileW((MemoryDir() + file).c_str());
  store.DeleteAside();
  if (MemoryDir() != WorkDir()) RemoveDirectoryW(MemoryDir().c_str());
  CHECK(summary.wrong == 0);
  CHECK(salvaged * 2 > summary.inputs);
  CHECK(writable * 2 > summary.inputs);
}
