// The inspection of a stale index: exactly the contacts that were removed, added or changed are found
// and applied, wherever they stand in the table; and the ascending lookup it finds them with.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <vector>

#include "ManagerTestSupport.h"
#include "manager/aids/AscendingLookup.h"
#include "storage/contact/ContactFieldTable.h"

using namespace managertest;

namespace {

// Position of `id` in `sorted` by a plain binary search, or -1.
int Expected(const std::vector<uint32_t>& sorted, uint32_t id) {
  auto at = std::lower_bound(sorted.begin(), sorted.end(), id);
  return at != sorted.end() && *at == id ? static_cast<int>(at - sorted.begin()) : -1;
}

// Writes a text property that no contact field has into record `oid`, as another program may.
bool AddForeignText(CEOID oid, WORD number) {
  CEOID database = 0;
  HANDLE handle =
      CeOpenDatabaseEx(nullptr, &database, const_cast<wchar_t*>(L"Contacts Database"), 0, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  CEPROPVAL value = {};
  value.propid = MAKE_CEPROPID(number, CEVT_LPWSTR);
  value.val.lpwstr = const_cast<wchar_t*>(L"kept by another program");
  const bool written = CeWriteRecordProps(handle, oid, 1, &value) == oid;
  CloseHandle(handle);
  return written;
}

std::set<CEOID> IdsOf(const Array<CEOID>& ids) {
  return std::set<CEOID>(ids.GetData(), ids.GetData() + ids.GetSize());
}

}  // namespace

TEST_CASE("the ascending lookup answers as a binary search, whatever the order of the questions") {
  std::mt19937 random(13);
  for (int size : {0, 1, 2, 5, 64, 1000}) {
    CAPTURE(size);
    std::set<uint32_t> values;
    while (static_cast<int>(values.size()) < size) values.insert(1 + random() % (size * 3 + 5));
    // The top bit set on one of them: the ids compare as unsigned numbers.
    if (size > 2) values.insert(0x80000001u);
    const std::vector<uint32_t> sorted(values.begin(), values.end());
    Array<CEOID> list;
    for (uint32_t value : sorted) list.Add(static_cast<CEOID>(value));

    // Every value and every gap: in ascending order, in descending order and at random.
    std::vector<uint32_t> questions = {0, 0xFFFFFFFFu};
    for (uint32_t value : sorted) {
      questions.push_back(value);
      questions.push_back(value + 1);
      questions.push_back(value - 1);
    }
    std::vector<uint32_t> ascending = questions;
    std::sort(ascending.begin(), ascending.end());
    std::vector<uint32_t> descending(ascending.rbegin(), ascending.rend());
    std::vector<uint32_t> shuffled = questions;
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    for (const std::vector<uint32_t>* order : {&ascending, &descending, &shuffled}) {
      AscendingLookup<CEOID> lookup(list);
      int wrong = 0;
      for (uint32_t id : *order) {
        if (lookup.Find(id) != Expected(sorted, id)) ++wrong;
        // The same question again at once gives the same answer.
        if (lookup.Find(id) != Expected(sorted, id)) ++wrong;
      }
      CHECK(wrong == 0);
    }
  }
}

TEST_CASE("the inspection finds exactly the removed, added and changed contacts, first, middle and last") {
  const std::vector<CEOID> ids = FreshIndexedDevice(150);
  REQUIRE(ids.size() == 150);
  // While the item is away: the first, a middle and the last record deleted, their neighbours changed,
  // a record given a text that no contact field holds (its quick checksum never matches a contact's),
  // and two records added.
  const std::vector<CEOID> removed = {ids[0], ids[74], ids[149]};
  const std::vector<CEOID> touched = {ids[1], ids[75], ids[148]};
  const CEOID foreign = ids[120];
  for (CEOID oid : removed) REQUIRE(DeleteRecord(oid));
  for (CEOID oid : touched) REQUIRE(TouchRecord(oid, L"Renamed Works"));
  const WORD number = 0x7F31;
  REQUIRE(ContactFieldOfProperty(number) < 0);
  REQUIRE(AddForeignText(foreign, number));
  const std::vector<CEOID> added = WriteGenerated(2, 7, 500);
  REQUIRE(added.size() == 2);

  {
    OpenedManager m;
    REQUIRE(m.opened);
    CHECK(StartOf(m.manager.LastOpenReport()) == "stale, inspected: removed 3, added 2, changed 4");
    uint32_t record = 0;
    for (CEOID oid : removed) CHECK_FALSE(m.manager.Index().Find(oid, &record));
    for (CEOID oid : added) CHECK(m.manager.Index().Find(oid, &record));
    CHECK(m.manager.Index().Find(foreign, &record));
    // The changed contacts, and only they, carry the new company.
    Array<CEOID> renamed;
    REQUIRE(m.manager.Index().FindPrefix(WordTree, L"renamed", renamed));
    CHECK(IdsOf(renamed) == std::set<CEOID>(touched.begin(), touched.end()));
    // The index holds the database's records, no more and no fewer.
    Array<CEOID> listed;
    REQUIRE(m.manager.Index().ListAll(SortByName, listed));
    const std::vector<CEOID> all = AllRecordIds();
    CHECK(IdsOf(listed) == std::set<CEOID>(all.begin(), all.end()));
    CHECK(listed.GetSize() == 150 - 3 + 2);
    CHECK(CheckIndex(m.manager) == "");
    REQUIRE(m.manager.Index().Save(FALSE));
  }

  // Stale again without a change of contents: the contact with the foreign text kept its quick
  // checksum, so nothing differs any more.
  CEOID passing = WriteNamed(L"Passing", L"Ghost");
  REQUIRE(passing != 0);
  REQUIRE(DeleteRecord(passing));
  OpenedManager again;
  REQUIRE(again.opened);
  CHECK(StartOf(again.manager.LastOpenReport()) == "stale, inspected: removed 0, added 0, changed 0");
}

TEST_CASE("a stale index whose list names a contact twice is rebuilt by the inspection, before any copy") {
  FreshDevice();
  const std::vector<CEOID> ids = WriteGenerated(50);
  REQUIRE(ids.size() == 50);
  {
    OpenedManager m;
    REQUIRE(m.opened);
    IndexStore& store = m.manager.Index().Store();
    uint32_t* words = store.Words(store.HeaderWord(kNameListSlot));
    REQUIRE(words[0] == 50);
    words[2] = words[1];  // the second entry repeats the first
    REQUIRE(m.manager.Index().Save(FALSE));
  }
  // Stale: one record changed while the item was away.
  REQUIRE(TouchRecord(ids[7], L"Renamed Works"));
  OpenedManager again;
  REQUIRE(again.opened);
  CHECK(StartOf(again.manager.LastOpenReport()) == "stale, inspected, rebuilt");
  CHECK_FALSE(again.manager.AreChangesDue());
  CHECK(ListsEveryRecord(again.manager));
  CHECK(CheckIndex(again.manager) == "");
}
