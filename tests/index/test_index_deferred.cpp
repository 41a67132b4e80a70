// The index opened for a quick start: reads wait for the copy, a layout that passes the file's end
// makes every read fail cleanly, and the walk (in slices, or the part for writes alone) judges the
// rest; the index file's own walk taken a unit at a time reports what Check reports.
#include <doctest/doctest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "IndexFixture.h"
#include "WideText.h"
#include "storage/index/IndexStoreWalk.h"

using namespace indextest;

namespace {

// Writes `count` named contacts and saves both files.
void Fill(IndexFixture& f, int count) {
  for (int k = 1; k <= count; ++k) {
    std::wstring last = L"Last" + std::to_wstring(k * 7919 % 1000);
    f.Add(Named(static_cast<uint32_t>(k), last.c_str(), L"First"), L"note words here");
  }
  REQUIRE(f.index.Save(FALSE));
}

}  // namespace

TEST_CASE("a deferred open reads as a full one, and its walk over a sound index finds nothing") {
  IndexFixture f(L"deferred_sound");
  Fill(f, 300);
  Array<CEOID> before;
  REQUIRE(f.index.ListAll(SortByName, before));
  f.index.CloseStores();

  REQUIRE(f.index.OpenStores(TRUE));
  CHECK(f.index.IsWalkDue());
  CHECK(f.index.WalkSlices() == 0);
  CHECK(f.index.ContactCount() == 300);
  Array<CEOID> after;
  REQUIRE(f.index.ListAll(SortByName, after));
  REQUIRE(after.GetSize() == before.GetSize());
  for (int k = 0; k < after.GetSize(); ++k) CHECK(after[k] == before[k]);
  Array<CEOID> found;
  CHECK(f.index.FindWords(WordTree, L"note", found));
  CHECK(found.GetSize() == 300);
  // The walk to its end, a millisecond at a time.
  int slices = 0;
  while (!f.index.Walk(1, TRUE)) ++slices;
  CHECK(f.index.WalksEnded() == 1);
  CHECK_FALSE(f.index.WalkFoundDamage());
  INFO(U8(static_cast<const wchar_t*>(f.index.WalkReport())));
  CHECK(f.index.WalkReport().IsEmpty());
  CHECK_FALSE(f.index.IsWalkDue());
}

TEST_CASE("a deferred open of a list that passes the file's end fails every read cleanly; the walk says so") {
  IndexFixture f(L"deferred_list");
  Fill(f, 50);
  f.index.Store().Words(f.Header(kNameListSlot))[0] = 0x20000000;
  REQUIRE(f.index.Save(FALSE));
  f.index.CloseStores();

  REQUIRE(f.index.OpenStores(TRUE));
  Array<CEOID> ids;
  SetLastError(0);
  CHECK_FALSE(f.index.ListAll(SortByName, ids));
  CHECK(GetLastError() == ERROR_INVALID_DATA);
  CHECK(f.index.IsDamaged());
  CHECK_FALSE(f.index.ListAll(SortByFileAs, ids));
  CHECK_FALSE(f.index.ListFiltered(SortByName, ids, ids));
  CHECK_FALSE(f.index.Find(1, nullptr));
  CHECK_FALSE(f.index.FindWords(WordTree, L"note", ids));
  CHECK(ids.GetSize() == 0);
  CHECK_FALSE(f.index.WalkForWrites());
  CHECK(f.index.WalkFoundDamage());
  CHECK_FALSE(f.index.WalkReport().IsEmpty());
  // A full open refuses the same file.
  CHECK_FALSE(f.index.OpenStores(FALSE));
}

TEST_CASE("the index file's walk taken one unit at a time reports what Check reports") {
  IndexFixture f(L"walk_units");
  Fill(f, 60);
  for (int damage = 0; damage < 2; ++damage) {
    CAPTURE(damage);
    if (damage == 1) {
      uint32_t lost;
      REQUIRE(f.index.Store().AllocateBlock(40, &lost));
    }
    Str whole;
    const BOOL sound = f.index.Store().Check(whole);
    CHECK(bool(sound) == (damage == 0));
    Str stepped;
    IndexStoreWalk walk(f.index.Store(), stepped);
    int steps = 0;
    while (!walk.Step(1)) ++steps;
    CHECK(steps > 100);
    CHECK(walk.Done());
    CHECK(U8(static_cast<const wchar_t*>(stepped)) == U8(static_cast<const wchar_t*>(whole)));
    CHECK((walk.Findings() == 0) == (damage == 0));
  }
}

namespace {

// What the comparison of a stale index reads for contacts 1 to `count`: props record and checksum,
// 0 and 0 for a contact it doesn't know.
std::vector<std::pair<uint32_t, uint32_t>> CompareAnswers(IndexFixture& f, int count) {
  std::vector<std::pair<uint32_t, uint32_t>> answers;
  for (int k = 1; k <= count + 1; ++k) {
    uint32_t record = 0;
    uint32_t checksum = 0;
    if (f.index.FindForCompare(static_cast<CEOID>(k), &record)) {
      REQUIRE(f.index.ChecksumForCompare(record, checksum));
    }
    answers.push_back({record, checksum});
  }
  return answers;
}

}  // namespace

TEST_CASE(
    "before the copies, the comparison's reads answer as the whole index does, whatever the map's order") {
  IndexFixture f(L"deferred_compare");
  Fill(f, 200);
  const auto whole = CompareAnswers(f, 200);
  REQUIRE(whole.back().first == 0u);
  for (int k = 0; k < 200; ++k) REQUIRE(whole[static_cast<size_t>(k)].first != 0u);
  Array<CEOID> names;
  REQUIRE(f.index.ListAll(SortByName, names));
  // The map backwards: written anew in the order the comparison doesn't expect.
  uint32_t* map = f.index.Store().Words(f.Header(kContactMapSlot));
  ContactMapEntry* entries = reinterpret_cast<ContactMapEntry*>(map + 1);
  std::reverse(entries, entries + map[0]);
  REQUIRE(f.index.Save(FALSE));
  f.index.CloseStores();

  REQUIRE(f.index.OpenStores(TRUE));
  REQUIRE(f.index.FetchForCompare());
  CHECK(CompareAnswers(f, 200) == whole);
  Array<CEOID> listed;
  REQUIRE(f.index.ListNamesForCompare(listed));
  REQUIRE(listed.GetSize() == names.GetSize());
  for (int k = 0; k < listed.GetSize(); ++k) CHECK(listed[k] == names[k]);
  // The same once the copies have ended.
  REQUIRE(f.index.EnsureLoaded());
  CHECK(CompareAnswers(f, 200) == whole);
}

TEST_CASE("a map that names a contact twice can't be compared: the index doesn't hold together") {
  IndexFixture f(L"deferred_compare_twice");
  Fill(f, 40);
  uint32_t* map = f.index.Store().Words(f.Header(kContactMapSlot));
  ContactMapEntry* entries = reinterpret_cast<ContactMapEntry*>(map + 1);
  // Out of order, so that the duplicate is met by the sort, and twice.
  std::swap(entries[0], entries[20]);
  entries[5].oid = entries[30].oid;
  REQUIRE(f.index.Save(FALSE));
  f.index.CloseStores();

  REQUIRE(f.index.OpenStores(TRUE));
  SetLastError(0);
  CHECK_FALSE(f.index.FetchForCompare());
  CHECK(GetLastError() == ERROR_INVALID_DATA);
}
