// The object store's Ce... calls: databases, records, reads, writes, seeks, information and last errors.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "StoreTestKit.h"

using namespace storekit;

namespace {

const CEPROPID kNum = MAKE_CEPROPID(0x10, CEVT_I4);
const CEPROPID kName = MAKE_CEPROPID(0x11, CEVT_LPWSTR);

// Walks a handle's order from the start and returns the oids met.
std::vector<CEOID> Walk(HANDLE h) {
  std::vector<CEOID> oids;
  Seek s = SeekTo(h, CEDB_SEEK_BEGINNING, 0);
  while (s.oid) {
    oids.push_back(s.oid);
    s = SeekTo(h, CEDB_SEEK_CURRENT, 1);
  }
  return oids;
}

}  // namespace

TEST_CASE("creating databases: names, truncation, duplicates, sort order limits") {
  std::wstring name = UniqueName(L"Create");
  CEOID db = MakeDb(name, {{kNum, 0}});
  REQUIRE(db != 0);
  CHECK(GetLastError() == ERROR_SUCCESS);

  SetLastError(0);
  CHECK(MakeDb(name) == 0);
  CHECK(GetLastError() == ERROR_DUP_NAME);

  // 40 characters: stored as the first 31 and found by either.
  std::wstring longName = UniqueName(L"Long") + std::wstring(40, L'x');
  CEOID lng = MakeDb(longName);
  REQUIRE(lng != 0);
  CEDBASEINFO info = DbInfo(lng);
  CHECK(std::wstring(info.szDbaseName) == longName.substr(0, 31));
  CEOID found = 0;
  HANDLE h = CeOpenDatabase(&found, const_cast<LPWSTR>(longName.c_str()), 0, 0, nullptr);
  REQUIRE(h != INVALID_HANDLE_VALUE);
  CHECK(found == lng);
  CloseHandle(h);
  CHECK(MakeDb(longName.substr(0, 31) + L"different tail") == 0);
  CHECK(GetLastError() == ERROR_DUP_NAME);

  SetLastError(0);
  CHECK(CeCreateDatabase(nullptr, 0, 0, nullptr) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(CeCreateDatabase(const_cast<LPWSTR>(L""), 0, 0, nullptr) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  SORTORDERSPEC five[5] = {{MAKE_CEPROPID(1, CEVT_I4), 0},
                           {MAKE_CEPROPID(2, CEVT_I4), 0},
                           {MAKE_CEPROPID(3, CEVT_I4), 0},
                           {MAKE_CEPROPID(4, CEVT_I4), 0},
                           {MAKE_CEPROPID(5, CEVT_I4), 0}};
  std::wstring n5 = UniqueName(L"Five");
  CHECK(CeCreateDatabase(const_cast<LPWSTR>(n5.c_str()), 0, 5, five) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(CeCreateDatabase(const_cast<LPWSTR>(n5.c_str()), 0, 2, nullptr) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  SORTORDERSPEC twice[2] = {{kNum, 0}, {kNum, CEDB_SORT_DESCENDING}};
  CHECK(CeCreateDatabase(const_cast<LPWSTR>(n5.c_str()), 0, 2, twice) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  SORTORDERSPEC badType[1] = {{MAKE_CEPROPID(1, 77), 0}};
  CHECK(CeCreateDatabase(const_cast<LPWSTR>(n5.c_str()), 0, 1, badType) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);

  // Four sort orders, the most a database has, all usable.
  CEOID four = MakeDb(n5, {five[0], five[1], five[2], five[3]});
  REQUIRE(four != 0);
  for (int i = 0; i < 4; ++i) {
    HANDLE o = OpenDb(four, five[i].propid);
    CHECK(o != INVALID_HANDLE_VALUE);
    CloseHandle(o);
  }
  CHECK(DbInfo(four).wNumSortOrder == 4);

  // The Ex form takes its fields from the information record.
  CEGUID store;
  CREATE_SYSTEMGUID(&store);
  CEDBASEINFO ex;
  std::memset(&ex, 0, sizeof ex);
  std::wstring exName = UniqueName(L"CreateEx");
  wcscpy(ex.szDbaseName, exName.c_str());
  ex.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
  ex.dwDbaseType = 0x4242;
  ex.wNumSortOrder = 1;
  ex.rgSortSpecs[0] = {kName, CEDB_SORT_CASEINSENSITIVE};
  CEOID exDb = CeCreateDatabaseEx(&store, &ex);
  REQUIRE(exDb != 0);
  CEDBASEINFO got = DbInfo(exDb);
  CHECK(got.dwDbaseType == 0x4242u);
  CHECK(got.wNumSortOrder == 1);
  CHECK(got.rgSortSpecs[0].propid == kName);
  CHECK(got.rgSortSpecs[0].dwFlags == static_cast<DWORD>(CEDB_SORT_CASEINSENSITIVE));
  ex.dwFlags = CEDB_VALIDTYPE;
  CHECK(CeCreateDatabaseEx(&store, &ex) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
}

TEST_CASE("opening databases by name and by oid, and what fails") {
  std::wstring name = UniqueName(L"Open");
  CEOID db = MakeDb(name, {{kNum, 0}});
  REQUIRE(db);

  CEOID oid = 0;
  HANDLE h = CeOpenDatabase(&oid, const_cast<LPWSTR>(name.c_str()), 0, 0, nullptr);
  REQUIRE(h != INVALID_HANDLE_VALUE);
  CHECK(oid == db);
  CHECK(GetLastError() == ERROR_SUCCESS);
  CHECK(CloseHandle(h));
  CHECK_FALSE(CloseHandle(h));  // a real kernel handle: closing twice fails, and nothing breaks

  // Names compare without regard to case.
  std::wstring upper = name;
  for (wchar_t& c : upper) c = static_cast<wchar_t>(towupper(c));
  oid = 0;
  h = CeOpenDatabase(&oid, const_cast<LPWSTR>(upper.c_str()), 0, 0, nullptr);
  CHECK(h != INVALID_HANDLE_VALUE);
  CloseHandle(h);

  // By oid the name is ignored.
  oid = db;
  h = CeOpenDatabase(&oid, const_cast<LPWSTR>(L"no such name"), kNum, 0, nullptr);
  CHECK(h != INVALID_HANDLE_VALUE);
  CloseHandle(h);

  oid = 0;
  SetLastError(0);
  h = CeOpenDatabase(&oid, const_cast<LPWSTR>(L"No Such Database At All"), 0, 0, nullptr);
  CHECK(h == INVALID_HANDLE_VALUE);
  CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);

  oid = 0x7FFFFFF0;
  h = CeOpenDatabase(&oid, nullptr, 0, 0, nullptr);
  CHECK(h == INVALID_HANDLE_VALUE);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);

  oid = db;
  h = CeOpenDatabase(&oid, nullptr, MAKE_CEPROPID(0x99, CEVT_I4), 0, nullptr);
  CHECK(h == INVALID_HANDLE_VALUE);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);

  h = CeOpenDatabase(nullptr, const_cast<LPWSTR>(name.c_str()), 0, 0, nullptr);
  CHECK(h == INVALID_HANDLE_VALUE);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);

  // The all-ones volume means "search by name": the oid passed in is ignored and then set.
  CEGUID any;
  CREATE_INVALIDGUID(&any);
  oid = 0x12345;
  h = CeOpenDatabaseEx(&any, &oid, const_cast<LPWSTR>(name.c_str()), kNum, 0, nullptr);
  REQUIRE(h != INVALID_HANDLE_VALUE);
  CHECK(oid == db);
  CloseHandle(h);
  CEGUID other = {1, 2, 3, 4};
  oid = db;
  h = CeOpenDatabaseEx(&other, &oid, nullptr, 0, 0, nullptr);
  CHECK(h == INVALID_HANDLE_VALUE);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CENOTIFYREQUEST noFlag = {20, nullptr, 0, nullptr, 0};
  CEGUID store;
  CREATE_SYSTEMGUID(&store);
  oid = db;
  h = CeOpenDatabaseEx(&store, &oid, nullptr, 0, 0, &noFlag);
  CHECK(h == INVALID_HANDLE_VALUE);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
}

TEST_CASE("CeFindFirstDatabase and CeFindNextDatabase, with a type filter") {
  const DWORD typeA = 0x77700000u + (GetCurrentProcessId() & 0xFFFF), typeB = typeA + 0x10000;
  CEOID a1 = MakeDb(UniqueName(L"FindA"), {}, typeA);
  CEOID a2 = MakeDb(UniqueName(L"FindA"), {}, typeA);
  CEOID b1 = MakeDb(UniqueName(L"FindB"), {}, typeB);
  REQUIRE((a1 && a2 && b1));

  HANDLE e = CeFindFirstDatabase(typeA);
  REQUIRE(e != INVALID_HANDLE_VALUE);
  std::vector<CEOID> got;
  CEOID oid;
  while ((oid = CeFindNextDatabase(e)) != 0) got.push_back(oid);
  CHECK(GetLastError() == ERROR_NO_MORE_ITEMS);
  CHECK(got == std::vector<CEOID>{a1, a2});
  CHECK(CeFindNextDatabase(e) == 0);
  CHECK(GetLastError() == ERROR_NO_MORE_ITEMS);
  CHECK(CloseHandle(e));

  e = CeFindFirstDatabase(0);
  REQUIRE(e != INVALID_HANDLE_VALUE);
  got.clear();
  while ((oid = CeFindNextDatabase(e)) != 0) got.push_back(oid);
  CHECK(std::count(got.begin(), got.end(), a1) == 1);
  CHECK(std::count(got.begin(), got.end(), b1) == 1);
  CloseHandle(e);

  // A database deleted during the enumeration: the enumeration says so.
  e = CeFindFirstDatabase(typeA);
  REQUIRE(CeFindNextDatabase(e) == a1);
  REQUIRE(CeDeleteDatabase(a2));
  CHECK(CeFindNextDatabase(e) == 0);
  CHECK(GetLastError() == ERROR_KEY_DELETED);
  CloseHandle(e);

  SetLastError(0);
  CHECK(CeFindNextDatabase(reinterpret_cast<HANDLE>(static_cast<uintptr_t>(0x7770))) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
}

TEST_CASE("records of every value type, read whole and by property") {
  CEOID db = MakeDb(UniqueName(L"Types"));
  HANDLE h = OpenDb(db);
  REQUIRE(h != INVALID_HANDLE_VALUE);
  const BYTE bytes[5] = {1, 0, 255, 7, 9};
  const uint64_t ft = 0x01D9ABCD12345678ull;
  CEOID oid = Write(h, 0,
                    {I2(1, -5), UI2(2, 65000), I4(3, -70000), UI4(4, 4000000000u), Time(5, ft),
                     Text(6, L"Hello \u00fc\u0416"), Blob(7, bytes, 5), Bool(8, TRUE), R8(9, 3.25)});
  REQUIRE(oid != 0);
  CHECK(GetLastError() == ERROR_SUCCESS);

  REQUIRE(SeekTo(h, CEDB_SEEK_BEGINNING, 0).oid == oid);
  Read all;
  ReadCurrent(h, &all);
  REQUIRE(all.oid == oid);
  CHECK(all.error == ERROR_SUCCESS);
  REQUIRE(all.props.size() == 9);
  for (size_t i = 0; i < 9; ++i) CHECK(IdFromPropID(all.props[i].propid) == i + 1);  // written order
  CHECK(all.props[0].val.iVal == -5);
  CHECK(all.props[1].val.uiVal == 65000);
  CHECK(all.props[2].val.lVal == -70000);
  CHECK(all.props[3].val.ulVal == 4000000000u);
  CHECK(all.props[4].val.filetime.dwLowDateTime == 0x12345678u);
  CHECK(all.props[4].val.filetime.dwHighDateTime == 0x01D9ABCDu);
  CHECK(std::wstring(all.props[5].val.lpwstr) == L"Hello \u00fc\u0416");
  CHECK(all.props[6].val.blob.dwCount == 5);
  CHECK(std::memcmp(all.props[6].val.blob.lpb, bytes, 5) == 0);
  CHECK(all.props[7].val.boolVal == TRUE);
  CHECK(all.props[8].val.dblVal == 3.25);
  // One block: the text and the blob lie inside it, after the array.
  BYTE* lo = all.block + 9 * sizeof(CEPROPVAL);
  BYTE* hi = all.block + all.size;
  BYTE* text = reinterpret_cast<BYTE*>(all.props[5].val.lpwstr);
  CHECK((text >= lo && text < hi));
  CHECK((all.props[6].val.blob.lpb >= lo && all.props[6].val.blob.lpb + 5 <= hi));
  for (const CEPROPVAL& v : all.props) CHECK(v.wFlags == 0);

  // Named properties: the absent one is flagged, the others are there, in the order asked.
  Read named;
  ReadCurrent(h, &named,
              {MAKE_CEPROPID(6, CEVT_LPWSTR), MAKE_CEPROPID(42, CEVT_I4), MAKE_CEPROPID(3, CEVT_I4)});
  REQUIRE(named.oid == oid);
  CHECK(named.error == ERROR_SUCCESS);
  REQUIRE(named.props.size() == 3);
  CHECK(named.props[0].wFlags == 0);
  CHECK(std::wstring(named.props[0].val.lpwstr) == L"Hello \u00fc\u0416");
  CHECK(named.props[1].propid == MAKE_CEPROPID(42, CEVT_I4));
  CHECK(named.props[1].wFlags == CEDB_PROPNOTFOUND);
  CHECK(named.props[2].val.lVal == -70000);
  // The same id with another type is another property.
  Read otherType;
  ReadCurrent(h, &otherType, {MAKE_CEPROPID(3, CEVT_UI4)});
  REQUIRE(otherType.props.size() == 1);
  CHECK(otherType.props[0].wFlags == CEDB_PROPNOTFOUND);

  // None of them there: the record's oid with ERROR_NO_DATA, every entry flagged.
  Read none;
  ReadCurrent(h, &none, {MAKE_CEPROPID(40, CEVT_I4), MAKE_CEPROPID(41, CEVT_LPWSTR)});
  CHECK(none.oid == oid);
  CHECK(none.error == ERROR_NO_DATA);
  REQUIRE(none.props.size() == 2);
  CHECK(none.props[0].wFlags == CEDB_PROPNOTFOUND);
  CHECK(none.props[1].wFlags == CEDB_PROPNOTFOUND);
  CloseHandle(h);
}

TEST_CASE("read buffers: without reallocation the size is reported, with it the block grows") {
  CEOID db = MakeDb(UniqueName(L"Buffers"));
  HANDLE h = OpenDb(db);
  std::wstring longText(500, L'q');
  CEOID oid = Write(h, 0, {I4(1, 5), Text(2, longText.c_str())});
  REQUIRE(oid);
  SeekTo(h, CEDB_SEEK_BEGINNING, 0);

  LPBYTE buf = nullptr;
  DWORD size = 0;
  WORD count = 0;
  SetLastError(0);
  CHECK(CeReadRecordProps(h, 0, &count, nullptr, &buf, &size) == 0);
  CHECK(GetLastError() == ERROR_INSUFFICIENT_BUFFER);
  DWORD need = size;
  CHECK(need >= 2 * sizeof(CEPROPVAL) + 1002);
  CHECK(buf == nullptr);

  buf = static_cast<LPBYTE>(LocalAlloc(LMEM_FIXED, need - 1));
  size = need - 1;
  CHECK(CeReadRecordProps(h, 0, &count, nullptr, &buf, &size) == 0);
  CHECK(GetLastError() == ERROR_INSUFFICIENT_BUFFER);
  CHECK(size == need);
  LocalFree(buf);

  buf = static_cast<LPBYTE>(LocalAlloc(LMEM_FIXED, need));
  size = need;
  CHECK(CeReadRecordProps(h, 0, &count, nullptr, &buf, &size) == oid);
  CHECK(count == 2);
  CHECK(std::wstring(reinterpret_cast<CEPROPVAL*>(buf)[1].val.lpwstr) == longText);

  // A block too small for the next record grows, with its new size.
  LocalFree(buf);
  buf = static_cast<LPBYTE>(LocalAlloc(LMEM_FIXED, 8));
  size = 8;
  CHECK(CeReadRecordProps(h, CEDB_ALLOWREALLOC, &count, nullptr, &buf, &size) == oid);
  CHECK(size == need);
  CHECK(LocalSize(buf) >= need);
  LocalFree(buf);

  // The Ex form allocates from the heap it is given.
  HANDLE heap = HeapCreate(0, 0, 0);
  buf = nullptr;
  size = 0;
  CHECK(CeReadRecordPropsEx(h, CEDB_ALLOWREALLOC, &count, nullptr, &buf, &size, heap) == oid);
  CHECK(HeapValidate(heap, 0, buf));
  HeapFree(heap, 0, buf);
  HeapDestroy(heap);

  buf = nullptr;
  CHECK(CeReadRecordProps(h, CEDB_ALLOWREALLOC, nullptr, nullptr, &buf, &size) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CEPROPID id = MAKE_CEPROPID(1, CEVT_I4);
  count = 0;
  CHECK(CeReadRecordProps(h, CEDB_ALLOWREALLOC, &count, &id, &buf, &size) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(CeReadRecordProps(reinterpret_cast<HANDLE>(static_cast<uintptr_t>(0x4444)), CEDB_ALLOWREALLOC, &count,
                          nullptr, &buf, &size) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CloseHandle(h);
}

TEST_CASE("writes create, update and delete properties in one call without moving the pointer") {
  CEOID db = MakeDb(UniqueName(L"Writes"));
  HANDLE h = OpenDb(db);
  CEOID a = Write(h, 0, {I4(1, 1), Text(2, L"two"), I4(3, 3)});
  CEOID b = Write(h, 0, {I4(1, 10)});
  REQUIRE((a && b && a != b));

  REQUIRE(SeekTo(h, CEDB_SEEK_CEOID, b).oid == b);
  // Update 1, delete 2, add 4 in one call on a; the pointer stays on b.
  CHECK(Write(h, a, {I4(1, 100), Deleted(MAKE_CEPROPID(2, CEVT_LPWSTR)), Text(4, L"four")}) == a);
  CHECK(SeekTo(h, CEDB_SEEK_CURRENT, 0).oid == b);
  // A new record does not move it either.
  CEOID c = Write(h, 0, {I4(1, 20)});
  REQUIRE(c);
  CHECK(SeekTo(h, CEDB_SEEK_CURRENT, 0).oid == b);

  REQUIRE(SeekTo(h, CEDB_SEEK_CEOID, a).oid == a);
  Read r;
  ReadCurrent(h, &r);
  REQUIRE(r.props.size() == 3);
  CHECK(r.props[0].propid == MAKE_CEPROPID(1, CEVT_I4));
  CHECK(r.props[0].val.lVal == 100);
  CHECK(r.props[1].propid == MAKE_CEPROPID(3, CEVT_I4));
  CHECK(r.props[2].propid == MAKE_CEPROPID(4, CEVT_LPWSTR));
  CHECK(std::wstring(r.props[2].val.lpwstr) == L"four");

  // Deleting an absent property is harmless; an entry flagged as not found carries nothing.
  CEPROPVAL notFound = I4(5, 55);
  notFound.wFlags = CEDB_PROPNOTFOUND;
  CHECK(Write(h, a, {Deleted(MAKE_CEPROPID(9, CEVT_I4)), notFound}) == a);
  Read again;
  ReadCurrent(h, &again);
  CHECK(again.props.size() == 3);

  // Errors.
  SetLastError(0);
  CHECK(CeWriteRecordProps(h, 0, 0, r.props.data()) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(CeWriteRecordProps(h, 0, 1, nullptr) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CEPROPVAL badType = I4(1, 1);
  badType.propid = MAKE_CEPROPID(1, 99);
  CHECK(CeWriteRecordProps(h, 0, 1, &badType) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CEPROPVAL nullText = Text(2, nullptr);
  CHECK(CeWriteRecordProps(h, 0, 1, &nullText) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CEPROPVAL nullBlob = Blob(2, nullptr, 10);
  CHECK(CeWriteRecordProps(h, 0, 1, &nullBlob) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  std::vector<BYTE> huge(CEDB_MAXPROPDATASIZE + 1);
  CEPROPVAL tooBig = Blob(2, huge.data(), static_cast<DWORD>(huge.size()));
  CHECK(CeWriteRecordProps(h, 0, 1, &tooBig) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(Write(h, 0x7FFFFFF0, {I4(1, 1)}) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CEOID elsewhere = MakeDb(UniqueName(L"Elsewhere"));
  HANDLE e = OpenDb(elsewhere);
  CEOID foreign = Write(e, 0, {I4(1, 1)});
  CHECK(Write(h, foreign, {I4(1, 2)}) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(Write(h, db, {I4(1, 2)}) == 0);  // a database is not a record
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CloseHandle(e);
  CloseHandle(h);
}

TEST_CASE("CEDB_AUTOINCREMENT reads step forward and end with ERROR_NO_MORE_ITEMS") {
  CEOID db = MakeDb(UniqueName(L"Auto"));
  HANDLE w = OpenDb(db);
  CEOID r1 = Write(w, 0, {I4(1, 1)}), r2 = Write(w, 0, {I4(1, 2)}), r3 = Write(w, 0, {I4(1, 3)});
  HANDLE h = OpenDb(db, 0, CEDB_AUTOINCREMENT);
  Read r;
  ReadCurrent(h, &r);
  CHECK(r.oid == r1);
  ReadCurrent(h, &r);
  CHECK(r.oid == r2);
  ReadCurrent(h, &r);
  CHECK(r.oid == r3);
  ReadCurrent(h, &r);
  CHECK(r.oid == 0);
  CHECK(r.error == ERROR_NO_MORE_ITEMS);
  CHECK(r.error == 259);

  // Without it only seeks move: the same record twice.
  HANDLE still = OpenDb(db);
  ReadCurrent(still, &r);
  CHECK(r.oid == r1);
  ReadCurrent(still, &r);
  CHECK(r.oid == r1);

  // An empty table: nothing to read, nothing to seek.
  CEOID empty = MakeDb(UniqueName(L"Empty"));
  HANDLE e = OpenDb(empty, 0, CEDB_AUTOINCREMENT);
  ReadCurrent(e, &r);
  CHECK(r.oid == 0);
  CHECK(r.error == ERROR_NO_MORE_ITEMS);
  Seek s = SeekTo(e, CEDB_SEEK_BEGINNING, 0);
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_SEEK);
  CloseHandle(e);
  CloseHandle(still);
  CloseHandle(h);
  CloseHandle(w);
}

TEST_CASE("a record deleted under a handle: ERROR_KEY_DELETED, or the next one after an automatic step") {
  CEOID db = MakeDb(UniqueName(L"Deleted"));
  HANDLE w = OpenDb(db);
  CEOID r1 = Write(w, 0, {I4(1, 1)}), r2 = Write(w, 0, {I4(1, 2)}), r3 = Write(w, 0, {I4(1, 3)}),
        r4 = Write(w, 0, {I4(1, 4)});
  HANDLE h = OpenDb(db);
  REQUIRE(SeekTo(h, CEDB_SEEK_CEOID, r2).oid == r2);
  REQUIRE(CeDeleteRecord(w, r2));
  Read r;
  ReadCurrent(h, &r);
  CHECK(r.oid == 0);
  CHECK(r.error == ERROR_KEY_DELETED);
  Seek s = SeekTo(h, CEDB_SEEK_CURRENT, 0);
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_KEY_DELETED);
  s = SeekTo(h, CEDB_SEEK_CURRENT, 1);  // the record that followed the deleted one
  CHECK(s.oid == r3);
  CHECK(s.index == 1);

  REQUIRE(SeekTo(h, CEDB_SEEK_CEOID, r3).oid == r3);
  REQUIRE(CeDeleteRecord(w, r3));
  CHECK(SeekTo(h, CEDB_SEEK_CURRENT, -1).oid == r1);

  // Reached by the automatic step: the read moves on.
  HANDLE a = OpenDb(db, 0, CEDB_AUTOINCREMENT);
  ReadCurrent(a, &r);
  REQUIRE(r.oid == r1);  // now standing on r4
  CEOID r5 = Write(w, 0, {I4(1, 5)});
  REQUIRE(CeDeleteRecord(w, r4));
  ReadCurrent(a, &r);
  CHECK(r.oid == r5);

  // Deleting the current record through an AUTOINCREMENT handle moves it forward by one.
  CEOID r6 = Write(w, 0, {I4(1, 6)});
  REQUIRE(SeekTo(a, CEDB_SEEK_CEOID, r5).oid == r5);
  REQUIRE(CeDeleteRecord(a, r5));
  ReadCurrent(a, &r);
  CHECK(r.oid == r6);

  // 0 stands for the current record.
  REQUIRE(SeekTo(h, CEDB_SEEK_CEOID, r6).oid == r6);
  CHECK(CeDeleteRecord(h, 0));
  CEOIDINFO info;
  CHECK_FALSE(CeOidGetInfo(r6, &info));
  CHECK(GetLastError() == ERROR_INVALID_HANDLE);

  SetLastError(0);
  CHECK_FALSE(CeDeleteRecord(h, r6));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CEOID other = MakeDb(UniqueName(L"DeletedOther"));
  HANDLE o = OpenDb(other);
  CEOID foreign = Write(o, 0, {I4(1, 1)});
  CHECK_FALSE(CeDeleteRecord(h, foreign));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(CeDeleteRecord(reinterpret_cast<HANDLE>(static_cast<uintptr_t>(0x5554)), foreign));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CloseHandle(o);
  CloseHandle(a);
  CloseHandle(h);
  CloseHandle(w);
}

TEST_CASE("positional seeks: CEOID, BEGINNING, END, CURRENT and the index") {
  CEOID db = MakeDb(UniqueName(L"SeekPos"), {{kNum, 0}});
  HANDLE w = OpenDb(db);
  CEOID r10 = Write(w, 0, {I4(0x10, 10)});
  CEOID r20a = Write(w, 0, {I4(0x10, 20)});
  CEOID r30 = Write(w, 0, {I4(0x10, 30)});
  CEOID r20b = Write(w, 0, {I4(0x10, 20)});
  CEOID rNone = Write(w, 0, {Text(0x11, L"no number")});
  HANDLE h = OpenDb(db, kNum);
  // Order: 10, 20 (a), 20 (b), 30, and the record without the property last.
  CHECK(Walk(h) == std::vector<CEOID>{r10, r20a, r20b, r30, rNone});
  // By creation for the natural order.
  CHECK(Walk(w) == std::vector<CEOID>{r10, r20a, r30, r20b, rNone});

  Seek s = SeekTo(h, CEDB_SEEK_BEGINNING, 0);
  CHECK(s.oid == r10);
  CHECK(s.index == 0);
  CHECK(s.error == ERROR_SUCCESS);
  s = SeekTo(h, CEDB_SEEK_BEGINNING, 3);
  CHECK(s.oid == r30);
  CHECK(s.index == 3);
  s = SeekTo(h, CEDB_SEEK_BEGINNING, 5);
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_SEEK);
  CHECK(s.index == 0xFFFFFFFFu);  // not written on failure
  Read r;
  ReadCurrent(h, &r);
  CHECK(r.error == ERROR_NO_MORE_ITEMS);  // a failed seek leaves the pointer at the end

  s = SeekTo(h, CEDB_SEEK_END, 0);
  CHECK(s.oid == rNone);
  CHECK(s.index == 4);
  s = SeekTo(h, CEDB_SEEK_END, 1);
  CHECK(s.oid == r30);
  s = SeekTo(h, CEDB_SEEK_END, static_cast<DWORD>(-2));
  CHECK(s.oid == r20b);
  CHECK(s.index == 2);
  s = SeekTo(h, CEDB_SEEK_END, 100);
  CHECK(s.oid == r10);
  CHECK(s.index == 0);

  SeekTo(h, CEDB_SEEK_BEGINNING, 1);
  s = SeekTo(h, CEDB_SEEK_CURRENT, 1);
  CHECK(s.oid == r20b);
  CHECK(s.index == 2);
  s = SeekTo(h, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1));
  CHECK(s.oid == r20a);
  // A sign-extended negative offset means the same.
  s = SeekTo(h, CEDB_SEEK_CURRENT, static_cast<DWORD_PTR>(static_cast<LONG_PTR>(-1)));
  CHECK(s.oid == r10);
  s = SeekTo(h, CEDB_SEEK_CURRENT, 0);
  CHECK(s.oid == r10);
  CHECK(s.index == 0);
  s = SeekTo(h, CEDB_SEEK_CURRENT, static_cast<DWORD>(-5));  // stops on the first record
  CHECK(s.oid == r10);
  CHECK(s.index == 0);
  s = SeekTo(h, CEDB_SEEK_CURRENT, 10);
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_SEEK);
  ReadCurrent(h, &r);
  CHECK(r.error == ERROR_NO_MORE_ITEMS);
  s = SeekTo(h, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1));  // from the end back onto the last
  CHECK(s.oid == rNone);
  CHECK(s.index == 4);

  s = SeekTo(h, CEDB_SEEK_CEOID, r30);
  CHECK(s.oid == r30);
  CHECK(s.index == 3);
  s = SeekTo(w, CEDB_SEEK_CEOID, r30);  // the same record has its own index in each order
  CHECK(s.index == 2);
  CEOID other = MakeDb(UniqueName(L"SeekPosOther"));
  HANDLE o = OpenDb(other);
  CEOID foreign = Write(o, 0, {I4(0x10, 1)});
  s = SeekTo(h, CEDB_SEEK_CEOID, foreign);
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_SEEK);
  s = SeekTo(h, 0x100, 0);
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_INVALID_PARAMETER);
  CloseHandle(o);
  CloseHandle(h);
  CloseHandle(w);
}

TEST_CASE("a handle keeps its record while records come, go and move in its order through other handles") {
  CEOID db = MakeDb(UniqueName(L"KeepPlace"), {{kNum, 0}});
  HANDLE w = OpenDb(db);
  CEOID r10 = Write(w, 0, {I4(0x10, 10)});
  CEOID r20 = Write(w, 0, {I4(0x10, 20)});
  CEOID r30 = Write(w, 0, {I4(0x10, 30)});
  CEOID r40 = Write(w, 0, {I4(0x10, 40)});
  HANDLE sorted = OpenDb(db, kNum);
  HANDLE natural = OpenDb(db);
  REQUIRE(SeekTo(sorted, CEDB_SEEK_BEGINNING, 2).oid == r30);
  REQUIRE(SeekTo(natural, CEDB_SEEK_BEGINNING, 2).oid == r30);
  Read r;

  // A record in front of it in the sort order: the handle's record is one further on.
  CEOID r15 = Write(w, 0, {I4(0x10, 15)});
  ReadCurrent(sorted, &r);
  CHECK(r.oid == r30);
  Seek s = SeekTo(sorted, CEDB_SEEK_CURRENT, 0);
  CHECK(s.oid == r30);
  CHECK(s.index == 3);
  CHECK(SeekTo(sorted, CEDB_SEEK_CURRENT, 1).oid == r40);
  CHECK(SeekTo(sorted, CEDB_SEEK_CURRENT, static_cast<DWORD>(-2)).oid == r20);
  // The natural order puts it last: the handle's place stays.
  s = SeekTo(natural, CEDB_SEEK_CURRENT, 0);
  CHECK(s.oid == r30);
  CHECK(s.index == 2);

  // Records before it deleted: one place back, the same record.
  REQUIRE(SeekTo(sorted, CEDB_SEEK_CEOID, r30).oid == r30);
  REQUIRE(CeDeleteRecord(w, r10));
  REQUIRE(CeDeleteRecord(w, r15));
  ReadCurrent(sorted, &r);
  CHECK(r.oid == r30);
  s = SeekTo(sorted, CEDB_SEEK_CURRENT, 0);
  CHECK(s.oid == r30);
  CHECK(s.index == 1);
  s = SeekTo(natural, CEDB_SEEK_CURRENT, 0);
  CHECK(s.oid == r30);
  CHECK(s.index == 1);
  CHECK(SeekTo(natural, CEDB_SEEK_CURRENT, 1).oid == r40);

  // The record itself moves in the sort order: the handle follows it to its new place.
  REQUIRE(SeekTo(sorted, CEDB_SEEK_CEOID, r30).oid == r30);
  REQUIRE(Write(w, r30, {I4(0x10, 50)}) == r30);
  s = SeekTo(sorted, CEDB_SEEK_CURRENT, 0);
  CHECK(s.oid == r30);
  CHECK(s.index == 2);
  CHECK(SeekTo(sorted, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1)).oid == r40);

  // Another record takes the place it stood at: still the handle's own record, not that one.
  REQUIRE(SeekTo(sorted, CEDB_SEEK_BEGINNING, 0).oid == r20);
  REQUIRE(CeDeleteRecord(w, r20));
  CEOID r5 = Write(w, 0, {I4(0x10, 5)});
  ReadCurrent(sorted, &r);
  CHECK(r.oid == 0);
  CHECK(r.error == ERROR_KEY_DELETED);
  REQUIRE(SeekTo(sorted, CEDB_SEEK_CEOID, r40).oid == r40);
  REQUIRE(CeDeleteRecord(w, r5));
  CEOID r45 = Write(w, 0, {I4(0x10, 45)});
  s = SeekTo(sorted, CEDB_SEEK_CURRENT, 0);
  CHECK(s.oid == r40);
  CHECK(s.index == 0);
  CHECK(SeekTo(sorted, CEDB_SEEK_CURRENT, 1).oid == r45);
  CloseHandle(natural);
  CloseHandle(sorted);
  CloseHandle(w);
}

TEST_CASE("value seeks on an ascending order") {
  CEOID db = MakeDb(UniqueName(L"SeekAsc"), {{kNum, 0}});
  HANDLE w = OpenDb(db);
  CEOID r10 = Write(w, 0, {I4(0x10, 10)});
  CEOID r20a = Write(w, 0, {I4(0x10, 20)});
  CEOID r30 = Write(w, 0, {I4(0x10, 30)});
  CEOID r20b = Write(w, 0, {I4(0x10, 20)});
  Write(w, 0, {Text(0x11, L"no number")});
  HANDLE h = OpenDb(db, kNum);

  Seek s = SeekValue(h, CEDB_SEEK_VALUEFIRSTEQUAL, I4(0x10, 20));
  CHECK(s.oid == r20a);
  CHECK(s.index == 1);
  s = SeekValue(h, CEDB_SEEK_VALUENEXTEQUAL, I4(0x10, 20));
  CHECK(s.oid == r20b);
  CHECK(s.index == 2);
  s = SeekValue(h, CEDB_SEEK_VALUENEXTEQUAL, I4(0x10, 20));
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_SEEK);
  Read r;
  ReadCurrent(h, &r);
  CHECK(r.error == ERROR_NO_MORE_ITEMS);
  s = SeekValue(h, CEDB_SEEK_VALUEFIRSTEQUAL, I4(0x10, 25));
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_SEEK);

  // SMALLER goes backward from the current record to the first value below the one given.
  SeekTo(h, CEDB_SEEK_BEGINNING, 3);
  s = SeekValue(h, CEDB_SEEK_VALUESMALLER, I4(0x10, 25));
  CHECK(s.oid == r20b);
  CHECK(s.index == 2);
  s = SeekValue(h, CEDB_SEEK_VALUESMALLER, I4(0x10, 20));
  CHECK(s.oid == r10);
  s = SeekValue(h, CEDB_SEEK_VALUESMALLER, I4(0x10, 10));
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_SEEK);
  // From the end: the record without a value is no match.
  s = SeekValue(h, CEDB_SEEK_VALUESMALLER, I4(0x10, 1000));
  CHECK(s.oid == r30);
  CHECK(s.index == 3);
  // Never forward: from 10, nothing smaller than 25 lies behind but 10 itself.
  SeekTo(h, CEDB_SEEK_BEGINNING, 0);
  s = SeekValue(h, CEDB_SEEK_VALUESMALLER, I4(0x10, 25));
  CHECK(s.oid == r10);

  // GREATER goes forward from the current record.
  SeekTo(h, CEDB_SEEK_BEGINNING, 0);
  s = SeekValue(h, CEDB_SEEK_VALUEGREATER, I4(0x10, 15));
  CHECK(s.oid == r20a);
  CHECK(s.index == 1);
  s = SeekValue(h, CEDB_SEEK_VALUEGREATER, I4(0x10, 5));  // the current record itself qualifies
  CHECK(s.oid == r20a);
  SeekTo(h, CEDB_SEEK_BEGINNING, 3);
  s = SeekValue(h, CEDB_SEEK_VALUEGREATER, I4(0x10, 15));  // never backward
  CHECK(s.oid == r30);
  s = SeekValue(h, CEDB_SEEK_VALUEGREATER, I4(0x10, 30));
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_SEEK);
  s = SeekValue(h, CEDB_SEEK_VALUEGREATER, I4(0x10, 0));  // from the end there is nothing ahead
  CHECK(s.oid == 0);

  // Value seeks need a sort order and a value of its type.
  s = SeekValue(w, CEDB_SEEK_VALUEFIRSTEQUAL, I4(0x10, 20));
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_INVALID_PARAMETER);
  s = SeekValue(h, CEDB_SEEK_VALUEFIRSTEQUAL, Text(0x10, L"20"));
  CHECK(s.error == ERROR_INVALID_PARAMETER);
  s = SeekTo(h, CEDB_SEEK_VALUEFIRSTEQUAL, 0);
  CHECK(s.error == ERROR_INVALID_PARAMETER);
  CloseHandle(h);
  CloseHandle(w);
}

TEST_CASE("value seeks on descending and unknown-first orders") {
  CEOID db = MakeDb(UniqueName(L"SeekDesc"), {{kNum, CEDB_SORT_DESCENDING | CEDB_SORT_UNKNOWNFIRST},
                                              {MAKE_CEPROPID(0x12, CEVT_I4), CEDB_SORT_UNKNOWNFIRST}});
  HANDLE w = OpenDb(db);
  CEOID r10 = Write(w, 0, {I4(0x10, 10), I4(0x12, 10)});
  CEOID r20a = Write(w, 0, {I4(0x10, 20), I4(0x12, 20)});
  CEOID r30 = Write(w, 0, {I4(0x10, 30), I4(0x12, 30)});
  CEOID r20b = Write(w, 0, {I4(0x10, 20), I4(0x12, 20)});
  CEOID rNone = Write(w, 0, {Text(0x11, L"no number")});

  HANDLE d = OpenDb(db, kNum);
  CHECK(Walk(d) == std::vector<CEOID>{rNone, r30, r20a, r20b, r10});
  Seek s = SeekValue(d, CEDB_SEEK_VALUEFIRSTEQUAL, I4(0x10, 20));
  CHECK(s.oid == r20a);
  CHECK(s.index == 2);
  CHECK(SeekValue(d, CEDB_SEEK_VALUENEXTEQUAL, I4(0x10, 20)).oid == r20b);
  // In a descending order the sense flips: "greater" lies further on, at smaller numbers.
  SeekTo(d, CEDB_SEEK_BEGINNING, 0);
  s = SeekValue(d, CEDB_SEEK_VALUEGREATER, I4(0x10, 25));
  CHECK(s.oid == r20a);
  CHECK(s.index == 2);
  s = SeekTo(d, CEDB_SEEK_END, 0);
  REQUIRE(s.oid == r10);
  s = SeekValue(d, CEDB_SEEK_VALUESMALLER, I4(0x10, 25));
  CHECK(s.oid == r30);
  CHECK(s.index == 1);
  s = SeekValue(d, CEDB_SEEK_VALUESMALLER, I4(0x10, 30));  // only the valueless record lies before
  CHECK(s.oid == 0);
  CHECK(s.error == ERROR_SEEK);

  HANDLE u = OpenDb(db, MAKE_CEPROPID(0x12, CEVT_I4));
  CHECK(Walk(u) == std::vector<CEOID>{rNone, r10, r20a, r20b, r30});
  s = SeekTo(u, CEDB_SEEK_BEGINNING, 0);
  CHECK(s.oid == rNone);
  SeekTo(u, CEDB_SEEK_END, 0);
  s = SeekValue(u, CEDB_SEEK_VALUESMALLER, I4(0x12, 15));
  CHECK(s.oid == r10);
  CHECK(s.index == 1);
  SeekTo(u, CEDB_SEEK_END, 0);
  s = SeekValue(u, CEDB_SEEK_VALUESMALLER, I4(0x12, 10));
  CHECK(s.oid == 0);
  s = SeekValue(u, CEDB_SEEK_VALUEFIRSTEQUAL, I4(0x12, 30));
  CHECK(s.oid == r30);
  CHECK(s.index == 4);
  CloseHandle(u);
  CloseHandle(d);
  CloseHandle(w);
}

TEST_CASE("text orders: case-insensitive and case-sensitive seeks") {
  CEOID db = MakeDb(UniqueName(L"SeekText"),
                    {{kName, CEDB_SORT_CASEINSENSITIVE}, {MAKE_CEPROPID(0x13, CEVT_LPWSTR), 0}});
  HANDLE w = OpenDb(db);
  const wchar_t* words[] = {L"banana", L"Apple", L"cherry", L"Banana", L"apple"};
  std::vector<CEOID> oids;
  for (const wchar_t* word : words) oids.push_back(Write(w, 0, {Text(0x11, word), Text(0x13, word)}));
  HANDLE ci = OpenDb(db, kName);
  Seek s = SeekValue(ci, CEDB_SEEK_VALUEFIRSTEQUAL, Text(0x11, L"BANANA"));
  CHECK(s.oid == oids[0]);  // equal keys keep the order they were created in
  CHECK(SeekValue(ci, CEDB_SEEK_VALUENEXTEQUAL, Text(0x11, L"banana")).oid == oids[3]);
  s = SeekValue(ci, CEDB_SEEK_VALUEFIRSTEQUAL, Text(0x11, L"aPPLE"));
  CHECK(s.oid == oids[1]);
  CHECK(s.index == 0);
  CHECK(SeekValue(ci, CEDB_SEEK_VALUEFIRSTEQUAL, Text(0x11, L"cherries")).oid == 0);

  HANDLE cs = OpenDb(db, MAKE_CEPROPID(0x13, CEVT_LPWSTR));
  CHECK(SeekValue(cs, CEDB_SEEK_VALUEFIRSTEQUAL, Text(0x13, L"BANANA")).oid == 0);
  CHECK(SeekValue(cs, CEDB_SEEK_VALUEFIRSTEQUAL, Text(0x13, L"Banana")).oid == oids[3]);
  CHECK(SeekValue(cs, CEDB_SEEK_VALUENEXTEQUAL, Text(0x13, L"Banana")).oid == 0);
  CloseHandle(cs);
  CloseHandle(ci);
  CloseHandle(w);
}

TEST_CASE("text sort orders agree with CompareStringW of the system default locale") {
  CEOID db = MakeDb(UniqueName(L"Collation"),
                    {{kName, CEDB_SORT_CASEINSENSITIVE}, {MAKE_CEPROPID(0x13, CEVT_LPWSTR), 0}});
  HANDLE w = OpenDb(db);
  const wchar_t* words[] = {L"Zebra",
                            L"apple",
                            L"Apple",
                            L"\u00c4pfel",
                            L"aepfel",
                            L"co-op",
                            L"coop",
                            L"Co op",
                            L"\u0401\u043b\u043a\u0430",
                            L"\u0435\u043b\u044c",
                            L"Stra\u00dfe",
                            L"Strasse",
                            L"10",
                            L"9",
                            L"1",
                            L"",
                            L" leading",
                            L"O'Neil",
                            L"Oneil",
                            L"\u00e9t\u00e9",
                            L"ete",
                            L"ETE",
                            L"Mc Donald",
                            L"McDonald",
                            L"mcdonald",
                            L"\u00d8rsted",
                            L"Orsted",
                            L"zz",
                            L"Z",
                            L"a"};
  for (const wchar_t* word : words) REQUIRE(Write(w, 0, {Text(0x11, word), Text(0x13, word)}));
  struct Case {
    CEPROPID prop;
    DWORD cmpFlags;
  } cases[] = {{kName, NORM_IGNORECASE}, {MAKE_CEPROPID(0x13, CEVT_LPWSTR), 0}};
  for (const Case& c : cases) {
    HANDLE h = OpenDb(db, c.prop, CEDB_AUTOINCREMENT);
    std::vector<std::wstring> seen;
    for (;;) {
      Read r;
      ReadCurrent(h, &r, {c.prop});
      if (!r.oid) break;
      seen.push_back(r.props[0].val.lpwstr);
    }
    CHECK(seen.size() == sizeof words / sizeof *words);
    for (size_t i = 1; i < seen.size(); ++i) {
      int cmp =
          CompareStringW(LOCALE_SYSTEM_DEFAULT, c.cmpFlags, seen[i - 1].c_str(), -1, seen[i].c_str(), -1);
      INFO("between \"", Narrow(seen[i - 1]), "\" and \"", Narrow(seen[i]), "\"");
      CHECK(cmp != CSTR_GREATER_THAN);
    }
    CloseHandle(h);
  }
  CloseHandle(w);
}

TEST_CASE("numeric sort orders of every type") {
  struct Kind {
    WORD type;
    std::vector<CEPROPVAL> values;  // in ascending order
  };
  std::vector<Kind> kinds = {
      {CEVT_I2, {I2(0x20, -30000), I2(0x20, -1), I2(0x20, 0), I2(0x20, 2), I2(0x20, 30000)}},
      {CEVT_UI2, {UI2(0x20, 0), UI2(0x20, 1), UI2(0x20, 40000), UI2(0x20, 65535)}},
      {CEVT_I4, {I4(0x20, -2000000000), I4(0x20, -1), I4(0x20, 0), I4(0x20, 7), I4(0x20, 2000000000)}},
      {CEVT_UI4, {UI4(0x20, 0), UI4(0x20, 5), UI4(0x20, 0x80000000u), UI4(0x20, 0xFFFFFFFFu)}},
      {CEVT_FILETIME,
       {Time(0x20, 1), Time(0x20, 0xFFFFFFFFull), Time(0x20, 0x100000000ull),
        Time(0x20, 0x01D9000000000000ull)}},
      {CEVT_R8,
       {R8(0x20, -1e300), R8(0x20, -2.5), R8(0x20, -0.001), R8(0x20, 0.0), R8(0x20, 1.5), R8(0x20, 1e300)}},
      {CEVT_BOOL, {Bool(0x20, -1), Bool(0x20, FALSE), Bool(0x20, TRUE)}},
  };
  for (const Kind& k : kinds) {
    CEPROPID prop = MAKE_CEPROPID(0x20, k.type);
    CEOID db = MakeDb(UniqueName(L"Numbers"), {{prop, 0}});
    HANDLE w = OpenDb(db);
    std::vector<CEOID> oids(k.values.size());
    // Written out of order: odd positions first, then even ones.
    std::vector<size_t> writeOrder;
    for (size_t i = 1; i < k.values.size(); i += 2) writeOrder.push_back(i);
    for (size_t i = 0; i < k.values.size(); i += 2) writeOrder.push_back(i);
    for (size_t j : writeOrder) {
      CEPROPVAL v = k.values[j];
      v.propid = prop;
      oids[j] = Write(w, 0, {v});
    }
    HANDLE h = OpenDb(db, prop);
    INFO("type ", k.type);
    CHECK(Walk(h) == oids);
    CloseHandle(h);
    CloseHandle(w);
  }
}

TEST_CASE("record count, size and last modification time after each kind of write") {
  CEOID db = MakeDb(UniqueName(L"Counts"));
  HANDLE h = OpenDb(db);
  CEDBASEINFO info = DbInfo(db);
  CHECK(info.wNumRecords == 0);
  CHECK(info.dwSize == 0);
  uint64_t t0 = ModTime(db);
  CHECK(t0 != 0);

  CEOID a = Write(h, 0, {Text(1, L"some text")});
  info = DbInfo(db);
  CHECK(info.wNumRecords == 1);
  CHECK(info.dwSize > 0);
  uint64_t t1 = ModTime(db);
  CHECK(t1 > t0);

  Write(h, a, {Text(1, L"some longer text than before")});
  CHECK(DbInfo(db).wNumRecords == 1);
  CHECK(DbInfo(db).dwSize > info.dwSize);
  uint64_t t2 = ModTime(db);
  CHECK(t2 > t1);

  CEOID b = Write(h, 0, {I4(1, 1)});
  CHECK(DbInfo(db).wNumRecords == 2);
  uint64_t t3 = ModTime(db);
  CHECK(t3 > t2);

  Write(h, b, {Deleted(MAKE_CEPROPID(1, CEVT_I4))});
  uint64_t t4 = ModTime(db);
  CHECK(t4 > t3);
  CHECK(DbInfo(db).wNumRecords == 2);

  REQUIRE(CeDeleteRecord(h, a));
  CHECK(DbInfo(db).wNumRecords == 1);
  uint64_t t5 = ModTime(db);
  CHECK(t5 > t4);

  // Reads and seeks change nothing.
  SeekTo(h, CEDB_SEEK_BEGINNING, 0);
  Read r;
  ReadCurrent(h, &r);
  CHECK(ModTime(db) == t5);

  // The time can be set; the next write moves it on from there.
  CEDBASEINFO set;
  std::memset(&set, 0, sizeof set);
  set.dwFlags = CEDB_VALIDMODTIME;
  set.ftLastModified.dwLowDateTime = 0x11112222;
  set.ftLastModified.dwHighDateTime = 0x01C00000;
  set.wNumRecords = 999;  // ignored
  REQUIRE(CeSetDatabaseInfo(db, &set));
  CHECK(ModTime(db) == 0x01C0000011112222ull);
  CHECK(DbInfo(db).wNumRecords == 1);
  Write(h, 0, {I4(1, 2)});
  CHECK(ModTime(db) > 0x01C0000011112222ull);
  CloseHandle(h);
}

TEST_CASE("CeSetDatabaseInfo: name, type, sort orders, and what it refuses") {
  std::wstring name = UniqueName(L"SetInfo");
  CEOID db = MakeDb(name, {{kNum, 0}});
  HANDLE w = OpenDb(db);
  CEOID r1 = Write(w, 0, {I4(0x10, 2), Text(0x11, L"b")});
  CEOID r2 = Write(w, 0, {I4(0x10, 1), Text(0x11, L"a")});

  CEDBASEINFO set;
  std::memset(&set, 0, sizeof set);
  std::wstring renamed = UniqueName(L"Renamed");
  wcscpy(set.szDbaseName, renamed.c_str());
  set.dwDbaseType = 0x5150;
  set.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE;
  REQUIRE(CeSetDatabaseInfo(db, &set));
  CEDBASEINFO info = DbInfo(db);
  CHECK(std::wstring(info.szDbaseName) == renamed);
  CHECK(info.dwDbaseType == 0x5150u);
  CHECK(info.wNumSortOrder == 1);  // untouched
  CEOID oid = 0;
  HANDLE h = CeOpenDatabase(&oid, const_cast<LPWSTR>(name.c_str()), 0, 0, nullptr);
  CHECK(h == INVALID_HANDLE_VALUE);
  CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);

  std::wstring taken = UniqueName(L"Taken");
  MakeDb(taken);
  wcscpy(set.szDbaseName, taken.c_str());
  set.dwFlags = CEDB_VALIDNAME;
  CHECK_FALSE(CeSetDatabaseInfo(db, &set));
  CHECK(GetLastError() == ERROR_DUP_NAME);

  // A new sort order re-sorts the records; the one still used by an open handle cannot go.
  HANDLE byNum = OpenDb(db, kNum);
  std::memset(&set, 0, sizeof set);
  set.dwFlags = CEDB_VALIDSORTSPEC;
  set.wNumSortOrder = 1;
  set.rgSortSpecs[0] = {kName, 0};
  CHECK_FALSE(CeSetDatabaseInfo(db, &set));
  CHECK(GetLastError() == ERROR_SHARING_VIOLATION);
  set.wNumSortOrder = 2;
  set.rgSortSpecs[1] = {kNum, CEDB_SORT_DESCENDING};
  REQUIRE(CeSetDatabaseInfo(db, &set));
  CHECK(Walk(byNum) == std::vector<CEOID>{r1, r2});  // 2 then 1 now
  CloseHandle(byNum);
  HANDLE byName = OpenDb(db, kName);
  CHECK(Walk(byName) == std::vector<CEOID>{r2, r1});
  CloseHandle(byName);
  set.wNumSortOrder = 1;
  set.rgSortSpecs[0] = {kName, 0};
  CHECK(CeSetDatabaseInfo(db, &set));  // no handle uses the number order any more
  oid = db;
  h = CeOpenDatabase(&oid, nullptr, kNum, 0, nullptr);
  CHECK(h == INVALID_HANDLE_VALUE);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);

  SetLastError(0);
  CHECK_FALSE(CeSetDatabaseInfo(0x7FFFFFF0, &set));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(CeSetDatabaseInfo(db, nullptr));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(CeSetDatabaseInfo(r1, &set));  // a record is not a database
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  set.wNumSortOrder = 5;
  CHECK_FALSE(CeSetDatabaseInfo(db, &set));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);

  CEGUID store;
  CREATE_SYSTEMGUID(&store);
  std::memset(&set, 0, sizeof set);
  set.dwFlags = CEDB_VALIDTYPE;
  set.dwDbaseType = 0x6160;
  CHECK(CeSetDatabaseInfoEx(&store, db, &set));
  CHECK(DbInfo(db).dwDbaseType == 0x6160u);
  CloseHandle(w);
}

TEST_CASE("CEDB_SORT_UNIQUE refuses a second record with the same key") {
  CEOID db = MakeDb(UniqueName(L"Unique"), {{kName, CEDB_SORT_UNIQUE | CEDB_SORT_CASEINSENSITIVE}});
  HANDLE h = OpenDb(db);
  CEOID a = Write(h, 0, {Text(0x11, L"Key")});
  REQUIRE(a);
  SetLastError(0);
  CHECK(Write(h, 0, {Text(0x11, L"KEY")}) == 0);
  CHECK(GetLastError() == ERROR_ALREADY_EXISTS);
  CHECK(GetLastError() == ERROR_REPEATED_KEY);
  CHECK(Write(h, a, {Text(0x11, L"key"), I4(1, 1)}) == a);  // the record itself may keep its key
  CHECK(DbInfo(db).wNumRecords == 1);
  CloseHandle(h);
}

TEST_CASE("CeOidGetInfo of databases and records") {
  std::wstring name = UniqueName(L"OidInfo");
  CEOID db = MakeDb(name, {{kNum, CEDB_SORT_DESCENDING}}, 0x3300);
  HANDLE h = OpenDb(db);
  CEOID rec = Write(h, 0, {I4(0x10, 1)});

  CEOIDINFO info;
  REQUIRE(CeOidGetInfo(db, &info));
  CHECK(GetLastError() == ERROR_SUCCESS);
  CHECK(info.wObjType == OBJTYPE_DATABASE);
  CHECK(std::wstring(info.infDatabase.szDbaseName) == name);
  CHECK(info.infDatabase.dwDbaseType == 0x3300u);
  CHECK(info.infDatabase.wNumRecords == 1);
  CHECK(info.infDatabase.wNumSortOrder == 1);
  CHECK(info.infDatabase.rgSortSpecs[0].propid == kNum);
  CHECK(info.infDatabase.rgSortSpecs[0].dwFlags == static_cast<DWORD>(CEDB_SORT_DESCENDING));
  CHECK((info.infDatabase.dwFlags & CEDB_VALIDCREATE) == static_cast<DWORD>(CEDB_VALIDCREATE));

  REQUIRE(CeOidGetInfo(rec, &info));
  CHECK(info.wObjType == OBJTYPE_RECORD);
  CHECK(info.infRecord.oidParent == db);

  CEGUID store;
  CREATE_SYSTEMGUID(&store);
  REQUIRE(CeOidGetInfoEx(&store, rec, &info));
  CHECK(info.infRecord.oidParent == db);

  SetLastError(0);
  CHECK_FALSE(CeOidGetInfo(0x7FFFFFF0, &info));
  CHECK(GetLastError() == ERROR_INVALID_HANDLE);
  CHECK_FALSE(CeOidGetInfo(0, &info));
  CHECK(GetLastError() == ERROR_INVALID_HANDLE);
  CHECK_FALSE(CeOidGetInfo(db, nullptr));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CloseHandle(h);
}

TEST_CASE("CeDeleteDatabase: refused while a handle is open, then everything goes") {
  CEOID db = MakeDb(UniqueName(L"DropMe"), {{kNum, 0}});
  HANDLE h = OpenDb(db, kNum);
  CEOID rec = Write(h, 0, {I4(0x10, 1)});
  SetLastError(0);
  CHECK_FALSE(CeDeleteDatabase(db));
  CHECK(GetLastError() == ERROR_SHARING_VIOLATION);
  CHECK(CloseHandle(h));
  CHECK(CeDeleteDatabase(db));
  CHECK(GetLastError() == ERROR_SUCCESS);
  CEOIDINFO info;
  CHECK_FALSE(CeOidGetInfo(db, &info));
  CHECK_FALSE(CeOidGetInfo(rec, &info));
  CHECK(GetLastError() == ERROR_INVALID_HANDLE);
  CHECK_FALSE(CeDeleteDatabase(db));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(CeDeleteDatabase(0x7FFFFFF0));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
}

TEST_CASE("CeFreeNotification refuses null pointers") {
  CENOTIFYREQUEST req = {20, nullptr, CEDB_EXNOTIFICATION, nullptr, 0};
  SetLastError(0);
  CHECK_FALSE(CeFreeNotification(nullptr, nullptr));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(CeFreeNotification(&req, nullptr));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CENOTIFICATION* n = static_cast<CENOTIFICATION*>(HeapAlloc(GetProcessHeap(), 0, sizeof(CENOTIFICATION)));
  CHECK_FALSE(CeFreeNotification(nullptr, n));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(CeFreeNotification(&req, n));
}

TEST_CASE("a database holds at most CEDB_MAXNUMRECORDS records") {
  CEOID db = MakeDb(UniqueName(L"Full"));
  HANDLE h = OpenDb(db);
  CEPROPVAL v = I4(1, 0);
  for (DWORD i = 0; i < CEDB_MAXNUMRECORDS; ++i) {
    v.val.lVal = static_cast<long>(i);
    if (!CeWriteRecordProps(h, 0, 1, &v)) {
      FAIL("write " << i << " failed with " << GetLastError());
    }
  }
  CHECK(DbInfo(db).wNumRecords == CEDB_MAXNUMRECORDS);
  SetLastError(0);
  CHECK(CeWriteRecordProps(h, 0, 1, &v) == 0);
  CHECK(GetLastError() == ERROR_DISK_FULL);
  CloseHandle(h);
  CHECK(CeDeleteDatabase(db));
}
