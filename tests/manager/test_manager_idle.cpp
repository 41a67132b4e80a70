// The start with the index in step and the idle time after it: the start judges the files' headers
// only, the full walk over both files runs in slices of the idle timer, damage it finds makes a master
// rebuild and a slave report, a write before the walk makes the index sound first, and reads of
// damaged structures before the walk fail cleanly.
#include <doctest/doctest.h>

#include <cstring>

#include "ManagerTestSupport.h"
#include "ProgramLog.h"
#include "TestPaths.h"
#include "storage/index/IndexStore.h"
#include "storage/props/PropsStore.h"
#include "sync/PimSync.h"

using namespace managertest;

namespace {

uint32_t Word(const BYTE* data, uint32_t offset) {
  uint32_t value;
  std::memcpy(&value, data + offset, sizeof value);
  return value;
}

void SetWord(BYTE* data, uint32_t offset, uint32_t value) {
  std::memcpy(data + offset, &value, sizeof value);
}

// Indexes the database, lets `plant` change the mapped files, saves both and closes.
void IndexAndPlant(const std::function<void(ContactManager&)>& plant) {
  OpenedManager m;
  REQUIRE(m.opened);
  REQUIRE(CheckIndex(m.manager) == "");
  plant(m.manager);
  REQUIRE(m.manager.Index().Save(FALSE));
  m.manager.EventsWindow().StopSaveTimer();
}

// The index file's free ring head block gets a size word that no longer matches its trailing tag.
void BreakFreeRingTag(ContactManager& manager) {
  IndexStore& store = manager.Index().Store();
  BYTE* data = store.Data();
  const uint32_t head = Word(data, kIndexHeaderSize + 4);
  REQUIRE(head != 0);
  const uint32_t at = kIndexHeaderSize + head;
  const int32_t lead = static_cast<int32_t>(Word(data, at));
  REQUIRE(lead < 0);
  SetWord(data, at, static_cast<uint32_t>(lead - 8));
}

// The log lines of this program that say the index was dropped.
std::vector<std::string> DroppedLines() {
  std::vector<std::string> found;
  for (const std::string& line : LogLines(ProgramLogText()))
    if (line.find("the index is dropped and rebuilt") != std::string::npos) found.push_back(line);
  return found;
}

bool WaitIdle(ContactManager& manager) {
  return PumpUntil([&] { return !manager.IsIdleWorkDue(); }, 30000);
}

}  // namespace

TEST_CASE("a start in step judges the headers only; the full walk and the name cache follow in idle time") {
  FreshDevice();
  WriteGenerated(120);
  IndexAndPlant([](ContactManager&) {});
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(m.manager.LastOpenReport().state == IndexInStep);
  // Nothing of the walk ran during the start.
  CHECK(m.manager.Index().IsWalkDue());
  CHECK(m.manager.Index().WalkSlices() == 0);
  CHECK(m.manager.Index().WalksEnded() == 0);
  CHECK(m.manager.IsIdleWorkDue());
  // Reads work before it, from the files as they are.
  CHECK(m.manager.Index().ContactCount() == 120);
  Array<CEOID> ids;
  CHECK(m.manager.KeypadSearch(Str(L"2"), SortKindName, CategoryFilter(), ids));
  REQUIRE(WaitIdle(m.manager));
  CHECK_FALSE(m.manager.Index().IsWalkDue());
  CHECK(m.manager.Index().WalksEnded() == 1);
  CHECK(m.manager.Index().WalkSlices() >= 1);
  CHECK_FALSE(m.manager.Index().WalkFoundDamage());
  CHECK_FALSE(m.manager.LastOpenReport().damageFound);
  CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
  CHECK(m.listener.Count("reloaded") == 0);
  // The name cache is filled for every listed contact.
  CHECK(m.manager.NameKeys().Count() == 120);
}

TEST_CASE(
    "a broken free ring tag planted before the start is found by the idle walk, and the master rebuilds") {
  FreshDevice();
  WriteGenerated(60);
  IndexAndPlant(BreakFreeRingTag);
  FreshProgramLog();
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(m.manager.LastOpenReport().state == IndexInStep);
  CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
  // Reads before the walk take the file as it is: the tag lies in no structure a search reads.
  Array<CEOID> all;
  CHECK(m.manager.Index().ListAll(SortByName, all));
  CHECK(all.GetSize() == 60);
  REQUIRE(WaitIdle(m.manager));
  CHECK(m.manager.LastOpenReport().damageFound);
  CHECK(m.manager.LastOpenReport().rebuilt);
  CHECK(m.listener.Count("reloaded") == 1);
  CHECK(m.manager.Index().ContactCount() == 60);
  CHECK(CheckIndex(m.manager) == "");
  // One line in the log says so, naming the files and what the walk found.
  const std::vector<std::string> lines = DroppedLines();
  REQUIRE(lines.size() == 1);
  CHECK(lines[0].find("pim_index1.dat and pim_index2.dat don't hold together: ") != std::string::npos);
}

TEST_CASE("a search that meets damage after the walk fails cleanly, and the master rebuilds in idle time") {
  FreshDevice();
  WriteGenerated(50);
  IndexAndPlant([](ContactManager&) {});
  OpenedManager m;
  REQUIRE(m.opened);
  REQUIRE(WaitIdle(m.manager));
  REQUIRE_FALSE(m.manager.LastOpenReport().damageFound);
  // The searches work from the sorted lists themselves.
  m.manager.SetSearchAids(FALSE);
  Array<CEOID> all;
  REQUIRE(m.manager.Search(Str(L""), SortKindName, CategoryFilter(), all, nullptr));
  REQUIRE(all.GetSize() == 50);
  // The name list's count now passes the end of the file.
  FreshProgramLog();
  IndexStore& store = m.manager.Index().Store();
  store.Words(store.HeaderWord(kNameListSlot))[0] = 0x10000000;
  SetLastError(NO_ERROR);
  CHECK_FALSE(m.manager.Search(Str(L""), SortKindName, CategoryFilter(), all, nullptr));
  CHECK(GetLastError() == ERROR_INVALID_DATA);
  CHECK(m.manager.LastOpenReport().damageFound);
  CHECK(m.manager.IsIdleWorkDue());
  REQUIRE(WaitIdle(m.manager));
  CHECK(m.manager.LastOpenReport().rebuilt);
  CHECK(m.listener.Count("reloaded") == 1);
  CHECK(m.manager.Search(Str(L""), SortKindName, CategoryFilter(), all, nullptr));
  CHECK(all.GetSize() == 50);
  CHECK(CheckIndex(m.manager) == "");
  const std::vector<std::string> lines = DroppedLines();
  REQUIRE(lines.size() == 1);
  CHECK(lines[0].find("a read of the index met a structure that doesn't hold together") != std::string::npos);
}

TEST_CASE("a broken props chain fails its record's reads before the walk, which then finds it and rebuilds") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(40);
  uint32_t broken = 0;
  IndexAndPlant([&](ContactManager& manager) {
    REQUIRE(manager.Index().Find(ids[5], &broken));
    REQUIRE(broken != 0);
    // The record's first block links to itself: its chain goes round.
    SetWord(manager.Index().Props().Data(), broken + PropsStore::kNextBlockField, broken);
  });
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(m.manager.LastOpenReport().state == IndexInStep);
  uint32_t record = 0;
  REQUIRE(m.manager.Index().Find(ids[5], &record));
  CHECK(record == broken);
  ContactExtended block;
  SetLastError(0);
  CHECK_FALSE(m.manager.Index().Props().GetRecord(record, block, nullptr));
  CHECK(GetLastError() == ERROR_INVALID_DATA);
  // Another record reads as ever.
  uint32_t other = 0;
  REQUIRE(m.manager.Index().Find(ids[6], &other));
  CHECK(m.manager.Index().Props().GetRecord(other, block, nullptr));
  REQUIRE(WaitIdle(m.manager));
  CHECK(m.manager.LastOpenReport().damageFound);
  CHECK(m.manager.LastOpenReport().rebuilt);
  REQUIRE(m.manager.Index().Find(ids[5], &record));
  CHECK(m.manager.Index().Props().GetRecord(record, block, nullptr));
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE("a contact map or a list that passes the file's end is found at the start, and the index rebuilt") {
  for (int part = 0; part < 3; ++part) {
    CAPTURE(part);
    FreshDevice();
    std::vector<CEOID> ids = WriteGenerated(30);
    IndexAndPlant([&](ContactManager& manager) {
      IndexStore& store = manager.Index().Store();
      const uint32_t slot = part == 0 ? kContactMapSlot : (part == 1 ? kNameListSlot : kFileAsListSlot);
      const uint32_t at = store.HeaderWord(slot);
      REQUIRE(at != 0);
      if (part == 2)
        store.SetHeaderWord(slot, store.Length() - 2);  // a list whose count word passes the end
      else
        store.Words(at)[0] = 0x10000000;  // far more entries than the file holds
    });
    OpenedManager m;
    REQUIRE(m.opened);
    // The start waits for the files' copy, which finds what passes the end: the index is unusable.
    CHECK(m.manager.LastOpenReport().state == IndexUnusable);
    CHECK(m.manager.LastOpenReport().rebuilt);
    CHECK_FALSE(m.manager.LastOpenReport().reason.IsEmpty());
    uint32_t record = 0;
    CHECK(m.manager.Index().Find(ids[0], &record));
    Array<CEOID> found;
    CHECK(m.manager.Search(Str(L""), SortKindName, CategoryFilter(), found, nullptr));
    CHECK(found.GetSize() == 30);
    CHECK(m.manager.KeypadSearch(Str(L"2"), SortKindFileAs, CategoryFilter(), found));
    CHECK(m.manager.Index().ContactCount() == 30);
    CHECK(CheckIndex(m.manager) == "");
  }
}

TEST_CASE("a write before the walk makes the index sound first: a damaged one is rebuilt, then written") {
  FreshDevice();
  WriteGenerated(50);
  IndexAndPlant(BreakFreeRingTag);
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(m.manager.Index().WalkSlices() == 0);
  Contact contact;
  contact.text[ContactField::LastName] = Str(L"Writtenfirst");
  REQUIRE(m.manager.AddContact(contact));
  CHECK(m.manager.LastOpenReport().damageFound);
  CHECK(m.manager.LastOpenReport().rebuilt);
  CHECK(m.manager.Index().ContactCount() == 51);
  uint32_t record = 0;
  CHECK(m.manager.Index().Find(contact.oid, &record));
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE("a write in the middle of the walk begins the index file's walk anew, and it finds nothing") {
  FreshDevice();
  WriteGenerated(80);
  IndexAndPlant([](ContactManager&) {});
  OpenedManager m;
  REQUIRE(m.opened);
  // The part that writes rely on, then a write, then the rest in idle time.
  REQUIRE(m.manager.Index().WalkForWrites());
  CHECK(m.manager.Index().IsWalkedForWrites());
  CHECK(m.manager.Index().IsWalkDue());
  Contact contact;
  contact.text[ContactField::LastName] = Str(L"Midwalk");
  REQUIRE(m.manager.AddContact(contact));
  REQUIRE(WaitIdle(m.manager));
  CHECK(m.manager.Index().WalksEnded() == 1);
  CHECK_FALSE(m.manager.Index().WalkFoundDamage());
  CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
  CHECK(m.manager.Index().ContactCount() == 81);
}

TEST_CASE("a slave whose walk finds damage reports it and writes nothing") {
  FreshDevice();
  WriteGenerated(40);
  IndexAndPlant(BreakFreeRingTag);
  const std::vector<uint8_t> before =
      testpaths::ReadFileBytes(static_cast<const wchar_t*>(IndexStore::DefaultPath()));
  PimSync sync;
  REQUIRE(sync.Open());
  sync.SetMaster(FALSE);
  {
    OpenedManager slave(&sync);
    REQUIRE(slave.opened);
    CHECK(slave.manager.LastOpenReport().state == IndexInStep);
    REQUIRE(WaitIdle(slave.manager));
    CHECK(slave.manager.Index().WalkFoundDamage());
    CHECK(slave.manager.LastOpenReport().damageFound);
    CHECK_FALSE(slave.manager.LastOpenReport().rebuilt);
    CHECK(slave.listener.Count("reloaded") == 0);
    // It still reads what the file holds.
    CHECK(slave.manager.Index().ContactCount() == 40);
  }
  const std::vector<uint8_t> after =
      testpaths::ReadFileBytes(static_cast<const wchar_t*>(IndexStore::DefaultPath()));
  CHECK(after == before);
}

TEST_CASE(
    "a stale start takes the changes in before the walk, which then runs in idle time and finds nothing") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(70);
  IndexAndPlant([](ContactManager&) {});
  REQUIRE(TouchRecord(ids[3], L"Changed Meanwhile"));
  REQUIRE(TouchRecord(ids[40], L"Changed Too"));
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(StartOf(m.manager.LastOpenReport()) == "stale, inspected: removed 0, added 0, changed 2");
  // The inspection wrote without the walk: it is all still to come.
  CHECK(m.manager.Index().WalkSlices() == 0);
  CHECK(m.manager.Index().IsWalkDue());
  REQUIRE(WaitIdle(m.manager));
  CHECK(m.manager.Index().WalksEnded() == 1);
  CHECK_FALSE(m.manager.Index().WalkFoundDamage());
  CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
  Array<CEOID> found;
  CHECK(m.manager.Search(Str(L"meanwhile"), SortKindName, CategoryFilter(), found, nullptr));
  REQUIRE(found.GetSize() == 1);
  CHECK(found[0] == ids[3]);
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE(
    "a stale index with a broken free ring tag is rebuilt, by the inspection's write or by the idle walk") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(60);
  IndexAndPlant(BreakFreeRingTag);
  REQUIRE(TouchRecord(ids[10], L"Changed Meanwhile"));
  FreshProgramLog();
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(m.manager.LastOpenReport().state == IndexStale);
  CHECK(m.manager.LastOpenReport().inspected);
  REQUIRE(WaitIdle(m.manager));
  CHECK(m.manager.LastOpenReport().rebuilt);
  // Said once, by whichever met it first: an allocation of the inspection's write, or the walk.
  const std::vector<std::string> lines = DroppedLines();
  REQUIRE(lines.size() == 1);
  const bool byWrite = lines[0].find("the inspection met a structure") != std::string::npos;
  const bool byWalk =
      lines[0].find("pim_index1.dat and pim_index2.dat don't hold together: ") != std::string::npos;
  CHECK(byWrite != byWalk);
  CHECK(m.manager.LastOpenReport().damageFound == (byWalk ? TRUE : FALSE));
  CHECK(m.listener.Count("reloaded") == (byWalk ? 1 : 0));
  CHECK(m.manager.Index().ContactCount() == 60);
  CHECK(CheckIndex(m.manager) == "");
  Array<CEOID> found;
  CHECK(m.manager.Search(Str(L"meanwhile"), SortKindName, CategoryFilter(), found, nullptr));
  REQUIRE(found.GetSize() == 1);
  CHECK(found[0] == ids[10]);
}

TEST_CASE("a start in step reads the counts from the files' heads: the same as once the copy is whole") {
  FreshDevice();
  WriteGenerated(90);
  IndexAndPlant([](ContactManager&) {});
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(m.manager.LastOpenReport().state == IndexInStep);
  ContactIndex::Heads before;
  REQUIRE(m.manager.Index().ReadHeads(before));
  CHECK(before.contacts == 90);
  CHECK(before.records == 90);
  REQUIRE(m.manager.Index().EnsureLoaded());
  ContactIndex::Heads after;
  REQUIRE(m.manager.Index().ReadHeads(after));
  CHECK(after.contacts == before.contacts);
  CHECK(after.records == before.records);
  CHECK(after.indexLength == before.indexLength);
  CHECK(CompareFileTime(&after.stamp, &before.stamp) == 0);
  CHECK(m.manager.Index().ContactCount() == 90);
}

TEST_CASE(
    "a start in step lets the copies of both files go at its end: they end with nobody waiting for them") {
  FreshDevice();
  WriteGenerated(120);
  IndexAndPlant([](ContactManager&) {});
  OpenedManager m;
  REQUIRE(m.opened);
  REQUIRE(m.manager.LastOpenReport().state == IndexInStep);
  // No search or write waits for them; the idle walk doesn't either.
  CHECK(PumpUntil([&] { return !m.manager.Index().IsLoading(); }, 20000));
  REQUIRE(WaitIdle(m.manager));
  CHECK(m.manager.Index().WalksEnded() == 1);
  CHECK_FALSE(m.manager.Index().WalkFoundDamage());
}
