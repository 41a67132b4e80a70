// The differences a start's inspection finds are applied after the start has returned: before the
// first search, read or write, in the first idle slice, or at the close. Whatever answers a search
// sees them; an apply that fails rebuilds the index; a close right after the start keeps them.
#include <doctest/doctest.h>

#include <set>
#include <vector>

#include "ManagerTestSupport.h"
#include "MessagePump.h"

using namespace managertest;

namespace {

std::set<CEOID> Found(ContactManager& manager, const wchar_t* query) {
  Array<CEOID> ids;
  if (!manager.Search(Str(query), SortKindName, CategoryFilter(), ids, nullptr)) return {CEOID(-1)};
  return std::set<CEOID>(ids.GetData(), ids.GetData() + ids.GetSize());
}

// 150 contacts indexed and saved; then, while the item is away, three renamed, one deleted and one
// added. Gives the renamed ones; `gone` and `added` get the others.
std::vector<CEOID> ChangeWhileAway(CEOID& gone, CEOID& added) {
  const std::vector<CEOID> ids = FreshIndexedDevice(150);
  REQUIRE(ids.size() == 150);
  const std::vector<CEOID> renamed = {ids[3], ids[80], ids[140]};
  for (CEOID oid : renamed) REQUIRE(TouchRecord(oid, L"Renamed Works"));
  gone = ids[20];
  REQUIRE(DeleteRecord(gone));
  added = WriteNamed(L"Newcomer", L"Nadia", L"Arrivals");
  REQUIRE(added != 0);
  return renamed;
}

}  // namespace

TEST_CASE("the start returns with the differences still due, and the first search sees them") {
  CEOID gone = 0, added = 0;
  const std::vector<CEOID> renamed = ChangeWhileAway(gone, added);
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(StartOf(m.manager.LastOpenReport()) == "stale, inspected: removed 1, added 1, changed 3");
  // Nothing pumped yet: the idle slice hasn't come, the search is the first to need them.
  CHECK(m.manager.AreChangesDue());
  CHECK(Found(m.manager, L"renamed") == std::set<CEOID>(renamed.begin(), renamed.end()));
  CHECK_FALSE(m.manager.AreChangesDue());
  CHECK(Found(m.manager, L"newcomer") == std::set<CEOID>{added});
  CHECK(ListsEveryRecord(m.manager));
  CHECK(CheckIndex(m.manager) == "");
  CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
}

TEST_CASE("without a search, the first idle slice applies the differences") {
  CEOID gone = 0, added = 0;
  const std::vector<CEOID> renamed = ChangeWhileAway(gone, added);
  OpenedManager m;
  REQUIRE(m.opened);
  REQUIRE(m.manager.AreChangesDue());
  CHECK(PumpUntil([&] { return !m.manager.AreChangesDue(); }, 20000));
  CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
  uint32_t record = 0;
  CHECK_FALSE(m.manager.Index().Find(gone, &record));
  CHECK(m.manager.Index().Find(added, &record));
}

TEST_CASE("an apply that fails rebuilds the index, and searches agree with the database") {
  CEOID gone = 0, added = 0;
  const std::vector<CEOID> renamed = ChangeWhileAway(gone, added);
  OpenedManager m;
  REQUIRE(m.opened);
  REQUIRE(m.manager.AreChangesDue());
  CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
  // A record the inspection found changed is deleted before the apply can read it.
  REQUIRE(DeleteRecord(renamed[1]));
  const std::set<CEOID> left = {renamed[0], renamed[2]};
  CHECK(Found(m.manager, L"renamed") == left);
  CHECK_FALSE(m.manager.AreChangesDue());
  CHECK(m.manager.LastOpenReport().rebuilt);
  CHECK(Found(m.manager, L"newcomer") == std::set<CEOID>{added});
  CHECK(ListsEveryRecord(m.manager));
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE("a close right after the start loses none of the differences") {
  CEOID gone = 0, added = 0;
  const std::vector<CEOID> renamed = ChangeWhileAway(gone, added);
  {
    OpenedManager m;
    REQUIRE(m.opened);
    REQUIRE(m.manager.AreChangesDue());
  }
  // The close applied and saved them: the next start finds the index in step, holding them.
  OpenedManager again;
  REQUIRE(again.opened);
  CHECK(again.manager.LastOpenReport().state == IndexInStep);
  CHECK_FALSE(again.manager.AreChangesDue());
  CHECK(Found(again.manager, L"renamed") == std::set<CEOID>(renamed.begin(), renamed.end()));
  CHECK(Found(again.manager, L"newcomer") == std::set<CEOID>{added});
  uint32_t record = 0;
  CHECK_FALSE(again.manager.Index().Find(gone, &record));
  CHECK(CheckIndex(again.manager) == "");
}

TEST_CASE("the apply of the differences shows its progress, item by item, as \"Update indexes\"") {
  CEOID gone = 0, added = 0;
  ChangeWhileAway(gone, added);
  CountingSink sink;
  OpenedManager m(nullptr, &sink);
  REQUIRE(m.opened);
  // The start itself shows nothing: the five differences are still due.
  REQUIRE(m.manager.AreChangesDue());
  CHECK(sink.calls.empty());
  CHECK(Found(m.manager, L"newcomer") == std::set<CEOID>{added});
  const std::vector<std::string> expected = {"range 1 6", "step 1", "text Update indexes", "show", "close"};
  CHECK(sink.calls == expected);
  CHECK(sink.steps == 20);
  CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
}

TEST_CASE("a change whose notification waits at the close isn't covered by the apply's stamp") {
  CEOID gone = 0, added = 0;
  ChangeWhileAway(gone, added);
  CEOID later = 0;
  {
    OpenedManager m;
    REQUIRE(m.opened);
    REQUIRE(m.manager.AreChangesDue());
    // Another program changes a record after the start; no message is pumped, so its notification
    // still waits when the close applies the differences and saves.
    later = AllRecordIds()[60];
    REQUIRE(TouchRecord(later, L"Latecomer Works"));
  }
  // The next start finds the index stale and takes the change in.
  OpenedManager again;
  REQUIRE(again.opened);
  CHECK(StartOf(again.manager.LastOpenReport()) == "stale, inspected: removed 0, added 0, changed 1");
  CHECK(Found(again.manager, L"latecomer") == std::set<CEOID>{later});
  CHECK(CheckIndex(again.manager) == "");
}
