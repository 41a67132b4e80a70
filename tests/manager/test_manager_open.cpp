// Opening the manager: the three results of opening the index, rebuilds, inspections and reset marks.
#include <doctest/doctest.h>

#include <algorithm>

#include "ManagerTestSupport.h"
#include "TestPaths.h"
#include "foundation/Settings.h"
#include "storage/index/IndexStore.h"
#include "storage/props/PropsStore.h"
#include "sync/PimSync.h"

using namespace managertest;

namespace {

// Opens, lets the 2-second commit save both files, and closes.
void OpenSaveClose() {
  OpenedManager m;
  REQUIRE(m.opened);
  m.manager.Index().Save(FALSE);
}

uint64_t Stamp(ContactManager& manager) {
  FILETIME time = manager.Index().Props().GetDbState();
  return (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

}  // namespace

TEST_CASE("a first open rebuilds the index from the database, and a second finds it in step") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(300);
  REQUIRE(ids.size() == 300);
  {
    OpenedManager first;
    REQUIRE(first.opened);
    CHECK(first.manager.LastOpenReport().state == IndexUnusable);
    CHECK(first.manager.LastOpenReport().rebuilt);
    CHECK(first.manager.Index().ContactCount() == 300);
    CHECK(CheckIndex(first.manager) == "");
    // The commit is due two seconds later; closing starts it at once.
    CHECK(first.manager.EventsWindow().IsSaveTimerRunning());
  }
  OpenedManager second;
  REQUIRE(second.opened);
  CHECK(second.manager.LastOpenReport().state == IndexInStep);
  CHECK_FALSE(second.manager.LastOpenReport().rebuilt);
  CHECK_FALSE(second.manager.LastOpenReport().inspected);
  CHECK(second.manager.Index().ContactCount() == 300);
  CHECK(CheckIndex(second.manager) == "");
}

TEST_CASE("a database with no records is indexed as empty trees and lists") {
  FreshDevice();
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(m.manager.LastOpenReport().rebuilt);
  CHECK(m.manager.Index().ContactCount() == 0);
  CHECK(m.manager.Index().Store().HeaderWord(kWordRootSlot) == 0);
  CHECK(m.manager.Index().Store().HeaderWord(kKeypadRootSlot) == 0);
  Array<CEOID> all;
  CHECK(m.manager.Index().ListAll(SortByName, all));
  CHECK(all.GetSize() == 0);
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE(
    "an index whose list names a contact twice is rebuilt even when its stamp is current, by the walk after "
    "the start") {
  FreshDevice();
  WriteGenerated(50);
  {
    OpenedManager m;
    REQUIRE(m.opened);
    IndexStore& store = m.manager.Index().Store();
    const uint32_t list = store.HeaderWord(kNameListSlot);
    REQUIRE(list != 0);
    uint32_t* words = store.Words(list);
    REQUIRE(words[0] == 50);
    words[2] = words[1];  // the second entry repeats the first
    REQUIRE(m.manager.Index().Save(FALSE));
  }
  OpenedManager again;
  REQUIRE(again.opened);
  // The start judges the headers only; the walk in idle time finds the duplicate.
  CHECK(again.manager.LastOpenReport().state == IndexInStep);
  CHECK_FALSE(again.manager.LastOpenReport().rebuilt);
  CHECK(PumpUntil([&] { return !again.manager.IsIdleWorkDue(); }, 20000));
  CHECK(again.manager.LastOpenReport().damageFound);
  CHECK(again.manager.LastOpenReport().rebuilt);
  CHECK(again.listener.Count("reloaded") == 1);
  Array<CEOID> all;
  again.manager.Index().ListAll(SortByName, all);
  std::vector<CEOID> sorted(all.GetData(), all.GetData() + all.GetSize());
  std::sort(sorted.begin(), sorted.end());
  CHECK(std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end());
  CHECK(sorted.size() == 50);
  CHECK(CheckIndex(again.manager) == "");
}

TEST_CASE("ten differences found by the inspection are applied one by one; eleven rebuild") {
  for (int differences : {10, 11}) {
    CAPTURE(differences);
    FreshDevice();
    std::vector<CEOID> ids = WriteGenerated(120);
    OpenSaveClose();
    // While the item is away: four changed, three deleted, the rest added.
    for (int i = 0; i < 4; ++i) REQUIRE(TouchRecord(ids[i], L"Renamed Works"));
    for (int i = 4; i < 7; ++i) REQUIRE(DeleteRecord(ids[i]));
    std::vector<CEOID> added = WriteGenerated(differences - 7, 7, 500);
    OpenedManager m;
    REQUIRE(m.opened);
    CHECK(StartOf(m.manager.LastOpenReport()) == (differences == 10
                                                      ? "stale, inspected: removed 3, added 3, changed 4"
                                                      : "stale, inspected, rebuilt"));
    CHECK(m.manager.Index().ContactCount() == 120 - 3 + differences - 7);
    uint32_t record = 0;
    for (int i = 4; i < 7; ++i) CHECK_FALSE(m.manager.Index().Find(ids[i], &record));
    for (CEOID oid : added) CHECK(m.manager.Index().Find(oid, &record));
    Array<CEOID> found;
    m.manager.Index().FindPrefix(WordTree, L"renamed", found);
    CHECK(found.GetSize() == 4);
    CHECK(CheckIndex(m.manager) == "");
    m.manager.Close();
    // Patched and stamped: the next start finds it in step.
    OpenedManager next;
    REQUIRE(next.opened);
    CHECK(next.manager.LastOpenReport().state == IndexInStep);
  }
}

TEST_CASE("a stale index with no differences keeps its stamp, and the next start inspects again") {
  FreshDevice();
  WriteGenerated(40);
  OpenSaveClose();
  // A record made and deleted again: the count is as it was, the time is not.
  CEOID passing = WriteNamed(L"Passing", L"Ghost");
  REQUIRE(passing != 0);
  REQUIRE(DeleteRecord(passing));
  uint64_t before = 0;
  {
    OpenedManager m;
    REQUIRE(m.opened);
    CHECK(m.manager.LastOpenReport().state == IndexStale);
    CHECK(m.manager.LastOpenReport().inspected);
    CHECK_FALSE(m.manager.LastOpenReport().rebuilt);
    CHECK(m.manager.LastOpenReport().added + m.manager.LastOpenReport().changed +
              m.manager.LastOpenReport().removed ==
          0);
    before = Stamp(m.manager);
    m.manager.Index().Save(FALSE);
  }
  OpenedManager again;
  REQUIRE(again.opened);
  CHECK(again.manager.LastOpenReport().state == IndexStale);
  CHECK(again.manager.LastOpenReport().inspected);
  CHECK(Stamp(again.manager) == before);
}

TEST_CASE("an index left with its in-change byte set is rebuilt") {
  FreshDevice();
  WriteGenerated(30);
  {
    OpenedManager m;
    REQUIRE(m.opened);
    m.manager.Index().Props().SetInChange(1);
    REQUIRE(m.manager.Index().Save(FALSE));
    m.manager.EventsWindow().StopSaveTimer();
  }
  OpenedManager again;
  REQUIRE(again.opened);
  CHECK(again.manager.LastOpenReport().state == IndexUnusable);
  CHECK(again.manager.LastOpenReport().rebuilt);
  CHECK(again.manager.Index().Props().GetInChange() == 0);
  CHECK(again.manager.Index().ContactCount() == 30);
}

TEST_CASE("a master rebuilds when a reset mark is set; a process without coordinator does not look") {
  FreshDevice();
  WriteGenerated(20);
  OpenSaveClose();
  SetDirtyMark(IndexStore::DefaultPath());
  {
    OpenedManager alone;
    REQUIRE(alone.opened);
    CHECK(alone.manager.LastOpenReport().state == IndexInStep);
  }
  PimSync sync;
  REQUIRE(sync.Open());
  sync.SetMaster(TRUE);
  {
    OpenedManager master(&sync);
    REQUIRE(master.opened);
    CHECK(master.manager.LastOpenReport().rebuilt);
  }
  ClearDirtyMark(IndexStore::DefaultPath());
  ClearDirtyMark(PropsStore::DefaultPath());
}

TEST_CASE("a slave uses a stale index as it is, fails on an unusable one, and never writes") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(25);
  PimSync sync;
  REQUIRE(sync.Open());
  sync.SetMaster(FALSE);
  {
    OpenedManager slave(&sync);
    CHECK_FALSE(slave.opened);
    CHECK(slave.manager.LastOpenReport().state == IndexUnusable);
    CHECK_FALSE(slave.manager.LastOpenReport().rebuilt);
  }
  OpenSaveClose();
  REQUIRE(TouchRecord(ids[0], L"Changed Meanwhile"));
  const std::vector<uint8_t> before =
      testpaths::ReadFileBytes(static_cast<const wchar_t*>(IndexStore::DefaultPath()));
  {
    OpenedManager slave(&sync);
    REQUIRE(slave.opened);
    CHECK(slave.manager.LastOpenReport().state == IndexStale);
    CHECK_FALSE(slave.manager.LastOpenReport().inspected);
    Contact contact;
    contact.text[ContactField::LastName] = Str(L"Slavewrite");
    CHECK_FALSE(slave.manager.AddContact(contact));
    CHECK(GetLastError() == ERROR_ACCESS_DENIED);
    CHECK_FALSE(slave.manager.DeleteContact(ids[1]));
    CHECK_FALSE(slave.manager.SetDefaultItem(ids[1], 0x3A1C001F));
    CHECK_FALSE(slave.manager.Rebuild());
    CHECK_FALSE(slave.manager.RebuildKeypadTree());
    // Notifications are dropped on a slave.
    slave.manager.OnDbEvent(ChangeChanged, slave.manager.Contacts().GetOid(), ids[0]);
    CHECK(slave.manager.PendingWindow().Count() == 0);
    CHECK_FALSE(slave.manager.EventsWindow().IsSaveTimerRunning());
  }
  CHECK(AllRecordIds().size() == 25);
  const std::vector<uint8_t> after =
      testpaths::ReadFileBytes(static_cast<const wchar_t*>(IndexStore::DefaultPath()));
  REQUIRE_FALSE(after.empty());
  CHECK(after == before);
}

TEST_CASE("a full rebuild reports its progress in the sink's steps") {
  FreshDevice();
  WriteGenerated(100);
  CountingSink sink;
  OpenedManager m(nullptr, &sink);
  REQUIRE(m.opened);
  REQUIRE(sink.calls.size() >= 5);
  CHECK(sink.calls[0] == "range 1 21");
  CHECK(sink.calls[1] == "step 1");
  CHECK(sink.calls[2] == "text Reindex database");
  CHECK(sink.calls[3] == "show");
  CHECK(sink.calls.back() == "close");
  CHECK(sink.steps == 20);
}

TEST_CASE("a forced rebuild takes the data away, replaces the index and marks both files until saved") {
  FreshDevice();
  WriteGenerated(60);
  OpenedManager m;
  REQUIRE(m.opened);
  m.listener.calls.clear();
  REQUIRE(m.manager.Rebuild());
  REQUIRE(m.listener.calls.size() == 3);
  CHECK(m.listener.calls[0] == "ready 0");
  CHECK(m.listener.calls[1] == "reloaded");
  CHECK(m.listener.calls[2] == "ready 1");
  CHECK(IsDirtyMark(IndexStore::DefaultPath()));
  CHECK(IsDirtyMark(PropsStore::DefaultPath()));
  CHECK(m.manager.Index().ContactCount() == 60);
  // The commit's background save clears the marks when it completes.
  CHECK(PumpUntil(
      [] { return !IsDirtyMark(IndexStore::DefaultPath()) && !IsDirtyMark(PropsStore::DefaultPath()); },
      8000));
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE("letting go of the index writes back the changes the save timer hadn't saved yet") {
  FreshDevice();
  WriteGenerated(20);
  OpenedManager m;
  REQUIRE(m.opened);
  REQUIRE(m.manager.Index().Save(FALSE));
  Contact contact;
  contact.text[ContactField::LastName] = Str(L"Unsaved");
  REQUIRE(m.manager.AddContact(contact));
  REQUIRE(m.manager.EventsWindow().IsSaveTimerRunning());
  // What a slave that was master does when told to stop: the files are whole on disk afterwards.
  REQUIRE(m.manager.CloseIndex());
  CHECK_FALSE(m.manager.EventsWindow().IsSaveTimerRunning());
  ContactIndex saved;
  REQUIRE(saved.OpenStores());
  uint32_t record = 0;
  CHECK(saved.Find(contact.oid, &record));
  CHECK(saved.ContactCount() == 21);
  saved.CloseStores();
}
