#include "StorageTestSupport.h"

#include "storage/db/DbDatabase.h"
#include "storage/db/DbEnumerator.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace storetest;

namespace {

const wchar_t kTestDb[] = L"DbLayer Test";
const DWORD kTestDbType = 0x7E57;
const WORD kRank = 0x0001;  // CEVT_I4, first sort order
const WORD kName = 0x0002;  // text, second sort order
const WORD kExtra = 0x0003;
const CEPROPID kRankId = MAKE_CEPROPID(kRank, CEVT_I4);
const CEPROPID kNameId = MAKE_CEPROPID(kName, CEVT_LPWSTR);
const CEPROPID kExtraId = MAKE_CEPROPID(kExtra, CEVT_LPWSTR);

// A fresh test database sorted by rank and by name, holding the given records in rank order.
struct TestDb {
  CEOID dbOid = 0;
  std::vector<CEOID> oids;

  explicit TestDb(std::vector<std::pair<int, std::wstring>> rows = {
                      {10, L"ten"}, {20, L"twenty"}, {30, L"thirty"}}) {
    dbOid = RecreateDatabase(kTestDb, kTestDbType, {{kRankId, 0}, {kNameId, 0}});
    REQUIRE(dbOid != 0);
    HANDLE handle = CeOpenDatabase(&dbOid, nullptr, 0, 0, nullptr);
    REQUIRE(handle != INVALID_HANDLE_VALUE);
    for (const auto& row : rows) {
      CEPROPVAL values[2] = {};
      values[0].propid = kRankId;
      values[0].val.lVal = row.first;
      values[1].propid = kNameId;
      values[1].val.lpwstr = const_cast<wchar_t*>(row.second.c_str());
      CEOID oid = CeWriteRecordProps(handle, 0, 2, values);
      REQUIRE(oid != 0);
      oids.push_back(oid);
    }
    CloseHandle(handle);
  }
  ~TestDb() { DeleteDatabaseNamed(kTestDb); }
};

int RankOf(const DbRecord& record) {
  const DbProperty* rank = record.Find(kRank);
  return rank == nullptr ? -1 : rank->GetI4();
}

}  // namespace

TEST_CASE("closing an unopened database returns false; closing twice is a no-op that returns false") {
  DbDatabase never;
  CHECK_FALSE(never.IsOpen());
  CHECK_FALSE(never.Close());

  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, 0, nullptr));
  CHECK(db.IsOpen());
  CHECK(db.GetOid() == testDb.dbOid);
  CHECK(db.Close());
  CHECK_FALSE(db.IsOpen());
  CHECK(db.GetHandle() == INVALID_HANDLE_VALUE);
  CHECK_FALSE(db.Close());
}

TEST_CASE("Open of a missing database fails; Exists is false only for last error 2") {
  DeleteDatabaseNamed(L"No Such Database");
  DbDatabase db;
  CHECK_FALSE(db.Open(L"No Such Database", 0, nullptr));
  CHECK_FALSE(db.IsOpen());
  CHECK_FALSE(DbDatabase::Exists(L"No Such Database"));
  TestDb testDb;
  CHECK(DbDatabase::Exists(kTestDb));
}

TEST_CASE("OpenByOid and OpenByName open the same database") {
  TestDb testDb;
  DbDatabase byOid;
  REQUIRE(byOid.OpenByOid(testDb.dbOid, kRankId));
  CHECK(byOid.GetOid() == testDb.dbOid);
  DbDatabase byName;
  REQUIRE(byName.OpenByName(kTestDb, kNameId));
  CHECK(byName.GetOid() == testDb.dbOid);
  DbRecord record;
  CHECK(byOid.SeekIndex(0) == testDb.oids[0]);
  // Sorted by name: "ten", "thirty", "twenty".
  CHECK(byName.SeekIndex(1) == testDb.oids[2]);
}

TEST_CASE("Create makes a database with its sort orders; Delete closes and removes it, oid back to 0") {
  DeleteDatabaseNamed(L"DbLayer Created");
  DbDatabase db;
  DbProperty sorts[5];
  sorts[0].SetId(kNameId);
  sorts[0].SetSortFlags(CEDB_SORT_DESCENDING);
  sorts[1].SetId(kRankId);
  for (int i = 2; i < 5; ++i) sorts[i].SetId(MAKE_CEPROPID(0x10 + i, CEVT_I4));
  // Five asked, the platform's four made.
  REQUIRE(db.Create(L"DbLayer Created", 0x1234, 5, sorts));
  CEOID oid = db.GetOid();
  CHECK(oid != 0u);
  CEDBASEINFO info;
  REQUIRE(db.GetInfo(info));
  CHECK(U8(info.szDbaseName) == "DbLayer Created");
  CHECK(info.dwDbaseType == 0x1234u);
  CHECK(info.wNumSortOrder == 4);
  CHECK(info.rgSortSpecs[0].propid == kNameId);
  CHECK(info.rgSortSpecs[0].dwFlags == static_cast<DWORD>(CEDB_SORT_DESCENDING));
  CHECK(info.rgSortSpecs[1].propid == kRankId);

  REQUIRE(db.Open(L"DbLayer Created", kNameId, nullptr));
  CHECK(db.Delete());
  CHECK_FALSE(db.IsOpen());
  CHECK(db.GetOid() == 0u);
  CHECK_FALSE(DbDatabase::Exists(L"DbLayer Created"));
}

TEST_CASE("ReadRecord reads every property, or the asked ones with absent ones flagged") {
  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  REQUIRE(db.SeekIndex(1) == testDb.oids[1]);

  DbRecord record;
  CHECK(db.ReadRecord(record) == testDb.oids[1]);
  CHECK(record.GetOid() == testDb.oids[1]);
  REQUIRE(record.Count() == 2);
  CHECK(RankOf(record) == 20);
  CHECK(U8(record.Find(kName)->GetText()) == "twenty");
  for (int i = 0; i < record.Count(); ++i) {
    CHECK(record.GetAt(i)->IsListOwned());
    CHECK_FALSE(record.GetAt(i)->OwnsData());
  }

  const CEPROPID wanted[] = {kNameId, kExtraId};
  CHECK(db.ReadRecord(record, 2, wanted) == testDb.oids[1]);
  REQUIRE(record.Count() == 2);
  CHECK(record.GetAt(0)->GetId() == kNameId);
  CHECK_FALSE(record.GetAt(0)->IsNotFound());
  CHECK(record.GetAt(1)->GetNumber() == kExtra);
  CHECK(record.GetAt(1)->IsNotFound());
  // Without the step flag the position stays.
  CHECK(db.CurrentOid() == testDb.oids[1]);
}

TEST_CASE("with the step flag every read steps on; after the last record a read gives 0 and last error 38") {
  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  db.SetStep(true);
  REQUIRE(db.SeekIndex(0) != 0u);
  DbRecord record;
  std::vector<int> ranks;
  while (!db.IsAtEnd()) {
    CEOID oid = db.ReadRecord(record);
    REQUIRE(oid != 0u);
    ranks.push_back(RankOf(record));
  }
  CHECK(ranks == std::vector<int>{10, 20, 30});
  SetLastError(0);
  CHECK(db.ReadRecord(record) == 0u);
  CHECK(GetLastError() == 38u);
  CHECK(record.Count() == 2);  // the record was left alone

  // A seek that lands clears the end-of-table flag.
  CHECK(db.SeekOid(testDb.oids[0]) == testDb.oids[0]);
  CHECK_FALSE(db.IsAtEnd());
  CHECK(db.ReadRecord(record) == testDb.oids[0]);
}

TEST_CASE("with the step flag clear, reading past the end leaves the platform's own error") {
  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  REQUIRE(db.SeekIndex(2) == testDb.oids[2]);
  CHECK(db.SeekNext() == 0u);
  CHECK(db.IsAtEnd());
  DbRecord record;
  SetLastError(0);
  // The end-of-table flag is up, but without stepping the layer leaves the read to the platform,
  // whose position went past the last record.
  CHECK(db.ReadRecord(record) == 0u);
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
}

TEST_CASE("reading an empty table gives the platform's end of table") {
  TestDb empty(std::vector<std::pair<int, std::wstring>>{});
  DbDatabase none;
  REQUIRE(none.Open(kTestDb, kRankId, nullptr));
  DbRecord record;
  SetLastError(0);
  CHECK(none.ReadRecord(record) == 0u);
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
}

TEST_CASE("Open with a flags argument of 1 behaves exactly as with 0") {
  TestDb testDb;
  for (DWORD flags : {0u, 1u}) {
    DbDatabase db;
    REQUIRE(db.Open(kTestDb, kRankId, nullptr, flags));
    REQUIRE(db.SeekIndex(0) == testDb.oids[0]);
    DbRecord record;
    CHECK(db.ReadRecord(record) == testDb.oids[0]);
    CHECK(db.ReadRecord(record) == testDb.oids[0]);  // the platform did not advance
    CHECK(db.CurrentOid() == testDb.oids[0]);
    DbDatabase byName;
    REQUIRE(byName.OpenByName(kTestDb, kRankId, nullptr, flags));
    byName.SeekIndex(1);
    CHECK(byName.ReadRecord(record) == testDb.oids[1]);
    CHECK(byName.ReadRecord(record) == testDb.oids[1]);
  }
}

TEST_CASE("WriteRecord mode 0 makes a record; mode 1 changes; mode 2 deletes properties") {
  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));

  DbRecord record;
  DbProperty rank(static_cast<int32_t>(15), kRank);
  DbProperty name(L"fifteen", kName);
  DbProperty extra(L"more", kExtra);
  record.Add(&rank);
  record.Add(&name);
  record.Add(&extra);
  CEOID created = db.WriteRecord(record, DbWriteNew);
  REQUIRE(created != 0u);
  CHECK(db.SeekIndex(1) == created);  // between 10 and 20

  // Update through the record's own oid.
  record.Clear();
  record.SetOid(created);
  DbProperty renamed(L"fifteen!", kName);
  record.Add(&renamed);
  CHECK(db.WriteRecord(record, DbWriteUpdate) == created);
  std::map<CEPROPID, RawValue> raw = RawRecord(db.GetHandle(), created);
  CHECK(U8(raw[kNameId].text) == "fifteen!");
  CHECK(raw.count(kExtraId) == 1u);

  // Mode 2 at the current position (oid 0 in the record).
  record.Clear();
  DbProperty gone(L"", kExtra);
  record.Add(&gone);
  REQUIRE(db.SeekOid(created) == created);
  CHECK(db.WriteRecord(record, DbWriteDelete) == created);
  raw = RawRecord(db.GetHandle(), created);
  CHECK(raw.count(kExtraId) == 0u);
  CHECK(raw.count(kRankId) == 1u);
  record.Clear();
}

TEST_CASE("WriteRecord writes only the listed properties that the record has") {
  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  DbRecord record;
  record.SetOid(testDb.oids[0]);
  DbProperty name(L"TEN", kName);
  DbProperty extra(L"not listed", kExtra);
  record.Add(&name);
  record.Add(&extra);
  // The list names the property by id; a different type half still finds it by number.
  const CEPROPID only[] = {MAKE_CEPROPID(kName, CEVT_I4), MAKE_CEPROPID(0x0009, CEVT_I4)};
  CHECK(db.WriteRecord(record, DbWriteUpdate, 2, only) == testDb.oids[0]);
  std::map<CEPROPID, RawValue> raw = RawRecord(db.GetHandle(), testDb.oids[0]);
  CHECK(U8(raw[kNameId].text) == "TEN");
  CHECK(raw.count(kExtraId) == 0u);
  record.Clear();
}

TEST_CASE(
    "WriteRecord in mode 1 with a list naming only absent properties writes nothing and gives last error "
    "232") {
  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  FILETIME before = {};
  CEDBASEINFO info;
  REQUIRE(db.GetInfo(info));
  before = info.ftLastModified;

  DbRecord record;
  record.SetOid(testDb.oids[1]);
  DbProperty name(L"changed", kName);
  record.Add(&name);
  const CEPROPID only[] = {kExtraId, kRankId};
  SetLastError(0);
  CHECK(db.WriteRecord(record, DbWriteUpdate, 2, only) == 0u);
  CHECK(GetLastError() == 232u);
  std::map<CEPROPID, RawValue> raw = RawRecord(db.GetHandle(), testDb.oids[1]);
  CHECK(U8(raw[kNameId].text) == "twenty");
  REQUIRE(db.GetInfo(info));
  CHECK(CompareFileTime(&info.ftLastModified, &before) == 0);

  // Neither a list nor properties: the same.
  DbRecord empty;
  SetLastError(0);
  CHECK(db.WriteRecord(empty, DbWriteNew) == 0u);
  CHECK(GetLastError() == 232u);
  record.Clear();
}

TEST_CASE("DeleteProperties deletes the listed properties, or all of them, of the current record") {
  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, 0, nullptr));
  REQUIRE(db.SeekOid(testDb.oids[2]) != 0u);
  const CEPROPID list[] = {kNameId};
  CHECK(db.DeleteProperties(1, list) == testDb.oids[2]);
  std::map<CEPROPID, RawValue> raw = RawRecord(db.GetHandle(), testDb.oids[2]);
  CHECK(raw.count(kNameId) == 0u);
  CHECK(raw.count(kRankId) == 1u);

  REQUIRE(db.SeekOid(testDb.oids[1]) != 0u);
  CHECK(db.DeleteProperties() == testDb.oids[1]);
  raw = RawRecord(db.GetHandle(), testDb.oids[1]);
  CHECK(raw.empty());
}

TEST_CASE("the seeks: by index from either end, by oid, next, previous and current") {
  TestDb testDb({{10, L"a"}, {20, L"b"}, {30, L"c"}, {40, L"d"}});
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  CHECK(db.SeekIndex(0) == testDb.oids[0]);
  CHECK(db.SeekIndex(3) == testDb.oids[3]);
  CHECK(db.SeekIndex(0, true) == testDb.oids[3]);
  CHECK(db.SeekIndex(1, true) == testDb.oids[2]);
  CHECK(db.SeekOid(testDb.oids[1]) == testDb.oids[1]);
  CHECK(db.CurrentOid() == testDb.oids[1]);
  CHECK(db.SeekNext() == testDb.oids[2]);
  CHECK_FALSE(db.IsAtEnd());
  CHECK(db.SeekPrevious() == testDb.oids[1]);
  CHECK(db.SeekPrevious() == testDb.oids[0]);
  CHECK(db.SeekPrevious() == 0u);  // already at the first record
  CHECK(db.CurrentOid() == testDb.oids[0]);
  CHECK(db.SeekOid(0x7FFF0001u) == 0u);

  REQUIRE(db.SeekIndex(3) == testDb.oids[3]);
  CHECK(db.SeekNext() == 0u);
  CHECK(db.IsAtEnd());
  CHECK(db.SeekIndex(2) == testDb.oids[2]);
  CHECK_FALSE(db.IsAtEnd());
}

TEST_CASE("CurrentOid gives all ones when there is no current record") {
  TestDb empty(std::vector<std::pair<int, std::wstring>>{});
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  CHECK(db.CurrentOid() == 0xFFFFFFFFu);
}

TEST_CASE("value seeks on the sort order: first equal, next equal, smaller and greater") {
  TestDb testDb({{10, L"a"}, {20, L"b"}, {20, L"c"}, {30, L"d"}});
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  DbProperty twenty(static_cast<int32_t>(20), kRank);
  CEOID first = db.SeekFirstEqual(twenty);
  CHECK((first == testDb.oids[1] || first == testDb.oids[2]));
  CEOID second = db.SeekNextEqual(twenty);
  CHECK((second == testDb.oids[1] || second == testDb.oids[2]));
  CHECK(second != first);
  CHECK(db.SeekNextEqual(twenty) == 0u);

  DbProperty missing(static_cast<int32_t>(25), kRank);
  CHECK(db.SeekFirstEqual(missing) == 0u);

  REQUIRE(db.SeekIndex(0) != 0u);
  DbProperty twentyFive(static_cast<int32_t>(25), kRank);
  CHECK(db.SeekGreater(twentyFive) == testDb.oids[3]);
  CHECK_FALSE(db.IsAtEnd());
  REQUIRE(db.SeekIndex(3) != 0u);
  DbProperty fifteen(static_cast<int32_t>(15), kRank);
  CHECK(db.SeekSmaller(fifteen) == testDb.oids[0]);
}

TEST_CASE("database information: record count, modification time, and setters of single fields") {
  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  CEDBASEINFO info;
  REQUIRE(db.GetInfo(info));
  CHECK(info.wNumRecords == 3);
  CHECK(info.dwDbaseType == kTestDbType);
  CHECK(info.wNumSortOrder == 2);

  FILETIME stamp = TimeOf(0x01D00000u, 0x00ABCDEFu);
  CHECK(db.SetModifiedTime(stamp));
  REQUIRE(db.GetInfo(info));
  CHECK(CompareFileTime(&info.ftLastModified, &stamp) == 0);
  CHECK(U8(info.szDbaseName) == U8(kTestDb));  // only the time was set

  CHECK(db.SetType(0x5151));
  REQUIRE(db.GetInfo(info));
  CHECK(info.dwDbaseType == 0x5151u);
  CHECK(CompareFileTime(&info.ftLastModified, &stamp) == 0);

  db.Close();
  CHECK(db.SetName(L"DbLayer Renamed"));
  REQUIRE(db.GetInfo(info));
  CHECK(U8(info.szDbaseName) == "DbLayer Renamed");
  CHECK(db.SetName(kTestDb));

  DbProperty sorts[1];
  sorts[0].SetId(kNameId);
  CHECK(db.SetSortOrder(1, sorts));
  REQUIRE(db.GetInfo(info));
  CHECK(info.wNumSortOrder == 1);
  CHECK(info.rgSortSpecs[0].propid == kNameId);
}

TEST_CASE("GetInfo of a database that isn't there gives a zeroed record and false") {
  DbDatabase db;
  CEDBASEINFO info;
  memset(&info, 0x5A, sizeof(info));
  CHECK_FALSE(db.GetInfo(info));
  CHECK(info.wNumRecords == 0);
  CHECK(info.dwDbaseType == 0u);
  CHECK(info.szDbaseName[0] == 0);
}

TEST_CASE("DbEnumerator walks the databases of one type") {
  TestDb testDb;
  DeleteDatabaseNamed(L"DbLayer Second");
  CEOID second = CeCreateDatabase(const_cast<LPWSTR>(L"DbLayer Second"), kTestDbType, 0, nullptr);
  REQUIRE(second != 0u);
  DbEnumerator walk;
  CHECK_FALSE(walk.Close());
  REQUIRE(walk.First(kTestDbType));
  std::vector<CEOID> found;
  for (CEOID oid = walk.Next(); oid != 0; oid = walk.Next()) found.push_back(oid);
  CHECK(GetLastError() == static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
  CHECK(found.size() == 2u);
  CHECK(std::find(found.begin(), found.end(), testDb.dbOid) != found.end());
  CHECK(std::find(found.begin(), found.end(), second) != found.end());
  CHECK(walk.Close());
  DeleteDatabaseNamed(L"DbLayer Second");

  REQUIRE(walk.First(0));
  bool sawTest = false;
  for (CEOID oid = walk.Next(); oid != 0; oid = walk.Next()) sawTest = sawTest || oid == testDb.dbOid;
  CHECK(sawTest);
}

TEST_CASE("DeleteRecord removes a record; 0 stands for the current one") {
  TestDb testDb;
  DbDatabase db;
  REQUIRE(db.Open(kTestDb, kRankId, nullptr));
  CHECK(db.DeleteRecord(testDb.oids[0]));
  CHECK(db.SeekOid(testDb.oids[0]) == 0u);
  REQUIRE(db.SeekOid(testDb.oids[2]) != 0u);
  CHECK(db.DeleteRecord(0));
  CHECK(db.SeekOid(testDb.oids[2]) == 0u);
  CEDBASEINFO info;
  REQUIRE(db.GetInfo(info));
  CHECK(info.wNumRecords == 1);
}
