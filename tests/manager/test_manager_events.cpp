// Change events: notifications gathered by the 500 ms timer, applied singly or by a rebuild, and the
// 2000 ms save timer; the two hidden windows and their timers.
#include <doctest/doctest.h>

#include <algorithm>

#include "ManagerTestSupport.h"
#include "TestPaths.h"
#include "storage/events/DbEventsListener.h"
#include "storage/events/DbMsgStack.h"

using namespace managertest;

namespace {

// A manager that notes when its timers fire.
class TimedManager : public ContactManager {
 public:
  void OnEventTimer() override {
    eventTicks.push_back(GetTickCount());
    ContactManager::OnEventTimer();
  }
  void OnSaveTimer() override {
    saveTicks.push_back(GetTickCount());
    ContactManager::OnSaveTimer();
  }
  std::vector<DWORD> eventTicks;
  std::vector<DWORD> saveTicks;
};

using OpenedTimedManager = OpenedManagerOf<TimedManager>;

// A target that only counts.
class CountingTarget : public DbEventTarget {
 public:
  void OnDbEvent(DWORD kind, CEOID parent, CEOID oid) override { events.push_back({kind, parent, oid}); }
  void OnEventTimer() override { ++eventTimers; }
  void OnSaveTimer() override { ++saveTimers; }
  void OnIdleTimer() override { ++idleTimers; }
  std::vector<PendingChange> events;
  int eventTimers = 0;
  int saveTimers = 0;
  int idleTimers = 0;
};

bool TimerQueued(HWND hwnd) {
  MSG msg;
  return PeekMessageW(&msg, hwnd, WM_TIMER, WM_TIMER, PM_NOREMOVE) != 0;
}

// Every block of `heap` that is still handed out.
int BusyBlocks(HANDLE heap) {
  int busy = 0;
  PROCESS_HEAP_ENTRY entry = {};
  while (HeapWalk(heap, &entry)) {
    if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) ++busy;
  }
  return busy;
}

}  // namespace

TEST_CASE("fourteen writes of a burst by another program are applied one by one, fifteen give one rebuild") {
  for (int burst : {14, 15}) {
    CAPTURE(burst);
    FreshDevice();
    WriteGenerated(30);
    OpenedTimedManager m;
    REQUIRE(m.opened);
    m.listener.calls.clear();
    const std::vector<CEOID> before = AllRecordIds();
    REQUIRE(testpaths::RunAndWait(testpaths::BinDir() + L"manager_helper.exe",
                                  L"write " + std::to_wstring(burst), 60000,
                                  {{L"PAGEMARK_OBJECT_STORE", L"\\windows\\test_manager.cdb"}}) == 0);
    std::vector<CEOID> added;
    for (CEOID oid : AllRecordIds())
      if (std::find(before.begin(), before.end(), oid) == before.end()) added.push_back(oid);
    REQUIRE(static_cast<int>(added.size()) == burst);
    REQUIRE(PumpUntil([&] { return m.manager.eventTicks.size() == 1; }, 10000));
    Pump(100);
    CHECK(m.manager.eventTicks.size() == 1);
    CHECK(m.manager.PendingWindow().Count() == 0);
    CHECK(m.listener.calls.front() == "ready 0");
    CHECK(m.listener.Count("pending 1") == 1);  // at the tenth event
    if (burst == 14) {
      CHECK(m.listener.Count("added ") == 14);
      CHECK(m.listener.Count("reloaded") == 0);
    } else {
      CHECK(m.listener.Count("added ") == 0);
      CHECK(m.listener.Count("reloaded") == 1);
    }
    CHECK(m.listener.calls[m.listener.calls.size() - 2] == "ready 1");
    CHECK(m.listener.calls.back() == "pending 0");
    CHECK(m.manager.Index().ContactCount() == 30 + burst);
    uint32_t record = 0;
    for (CEOID oid : added) CHECK(m.manager.Index().Find(oid, &record));
    CHECK(CheckIndex(m.manager) == "");
  }
}

TEST_CASE("events of another database are queued and counted but change nothing") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(20);
  OpenedTimedManager m;
  REQUIRE(m.opened);
  const CEOID other = m.manager.Categories().GetOid();
  REQUIRE(other != 0);
  REQUIRE(other != m.manager.Contacts().GetOid());
  m.listener.calls.clear();

  SUBCASE("alone they change nothing, yet take the data away for the moment") {
    m.manager.OnDbEvent(ChangeDeleted, other, ids[0]);
    m.manager.OnDbEvent(ChangeChanged, other, ids[1]);
    CHECK(m.manager.PendingWindow().Count() == 2);
    REQUIRE(PumpUntil([&] { return m.manager.eventTicks.size() == 1; }, 5000));
    CHECK(m.manager.Index().ContactCount() == 20);
    uint32_t record = 0;
    CHECK(m.manager.Index().Find(ids[0], &record));
    std::vector<std::string> expected = {"ready 0", "ready 1", "pending 0"};
    CHECK(m.listener.calls == expected);
  }
  SUBCASE("with one real change they make fifteen, and the fifteen a rebuild") {
    for (int i = 0; i < 14; ++i) m.manager.OnDbEvent(ChangeChanged, other, ids[i]);
    m.manager.OnDbEvent(ChangeDeleted, m.manager.Contacts().GetOid(), ids[15]);
    REQUIRE(PumpUntil([&] { return m.manager.eventTicks.size() == 1; }, 5000));
    CHECK(m.listener.Count("reloaded") == 1);
    CHECK(m.listener.Count("deleted ") == 0);
  }
}

TEST_CASE("every event restarts the 500 ms gathering") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(10);
  OpenedTimedManager m;
  REQUIRE(m.opened);
  const CEOID contacts = m.manager.Contacts().GetOid();
  DWORD last = 0;
  for (int i = 0; i < 5; ++i) {
    m.manager.OnDbEvent(ChangeChanged, contacts, ids[i]);
    last = GetTickCount();
    Pump(300);
    // 300 ms after each event, with more than 500 ms since the first: still waiting.
    if (GetTickCount() - last < 480) CHECK(m.manager.eventTicks.empty());
  }
  REQUIRE(PumpUntil([&] { return !m.manager.eventTicks.empty(); }, 5000));
  CHECK(m.manager.eventTicks.size() == 1);
  CHECK(m.manager.eventTicks[0] - last >= 480);
  CHECK(m.listener.Count("changed ") == 5);
}

TEST_CASE(
    "an event during the 2-second wait cancels nothing until it is applied; then the wait starts again") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(10);
  OpenedTimedManager m;
  REQUIRE(m.opened);
  // Let the commit of the opening's rebuild pass first.
  REQUIRE(PumpUntil([&] { return m.manager.saveTicks.size() == 1; }, 6000));
  const CEOID contacts = m.manager.Contacts().GetOid();
  m.manager.OnDbEvent(ChangeChanged, contacts, ids[0]);
  REQUIRE(PumpUntil([&] { return m.manager.eventTicks.size() == 1; }, 5000));
  CHECK(m.manager.EventsWindow().IsSaveTimerRunning());
  Pump(1000);
  // A second event: the save timer still runs while it waits for its own timer.
  m.manager.OnDbEvent(ChangeChanged, contacts, ids[1]);
  CHECK(m.manager.EventsWindow().IsSaveTimerRunning());
  REQUIRE(PumpUntil([&] { return m.manager.eventTicks.size() == 2; }, 5000));
  REQUIRE(PumpUntil([&] { return m.manager.saveTicks.size() == 2; }, 6000));
  Pump(300);
  CHECK(m.manager.saveTicks.size() == 2);
  // One save only, two seconds after the second event was applied.
  CHECK(m.manager.saveTicks[1] - m.manager.eventTicks[1] >= 1950);
}

TEST_CASE("a stopped timer whose tick is already queued never fires") {
  CountingTarget target;
  SUBCASE("the gathering timer") {
    DbMsgStack stack;
    REQUIRE(stack.Create(GetModuleHandleW(nullptr), &target));
    stack.StartTimer(1);
    const DWORD start = GetTickCount();
    while (!TimerQueued(stack.GetHwnd()) && GetTickCount() - start < 2000) Sleep(5);
    REQUIRE(TimerQueued(stack.GetHwnd()));
    stack.StopTimer();
    Pump(200);
    CHECK(target.eventTimers == 0);
    CHECK_FALSE(stack.IsTimerRunning());
  }
  SUBCASE("the save timer") {
    DbEventsListener listener;
    REQUIRE(listener.Create(GetModuleHandleW(nullptr), &target));
    listener.StartSaveTimer(1);
    const DWORD start = GetTickCount();
    while (!TimerQueued(listener.GetHwnd()) && GetTickCount() - start < 2000) Sleep(5);
    REQUIRE(TimerQueued(listener.GetHwnd()));
    listener.StopSaveTimer();
    Pump(200);
    CHECK(target.saveTimers == 0);
  }
  SUBCASE("a timer started anew drops the tick of its earlier start") {
    DbMsgStack stack;
    REQUIRE(stack.Create(GetModuleHandleW(nullptr), &target));
    stack.StartTimer(1);
    const DWORD start = GetTickCount();
    while (!TimerQueued(stack.GetHwnd()) && GetTickCount() - start < 2000) Sleep(5);
    REQUIRE(TimerQueued(stack.GetHwnd()));
    stack.StartTimer(10000);
    Pump(200);
    CHECK(target.eventTimers == 0);
    CHECK(stack.IsTimerRunning());
  }
  SUBCASE("a running timer fires once and stops itself") {
    DbMsgStack stack;
    REQUIRE(stack.Create(GetModuleHandleW(nullptr), &target));
    stack.StartTimer(20);
    Pump(300);
    CHECK(target.eventTimers == 1);
    CHECK_FALSE(stack.IsTimerRunning());
  }
}

TEST_CASE("every notification is given back to the platform, an unknown type too") {
  CountingTarget target;
  DbEventsListener listener;
  REQUIRE(listener.Create(GetModuleHandleW(nullptr), &target));
  CENOTIFYREQUEST* request = listener.GetNotifyRequest();
  CHECK(request->dwSize == 20);
  CHECK(request->dwFlags == CEDB_EXNOTIFICATION);
  CHECK(request->hwnd == listener.GetHwnd());
  HANDLE heap = HeapCreate(0, 0, 0);
  REQUIRE(heap != nullptr);
  request->hHeap = heap;
  const UINT types[] = {DB_CEOID_CREATED,      DB_CEOID_DATABASE_DELETED, DB_CEOID_RECORD_DELETED,
                        DB_CEOID_FILE_DELETED, DB_CEOID_CHANGED,          0x7777};
  for (UINT type : types) {
    CENOTIFICATION* note =
        static_cast<CENOTIFICATION*>(HeapAlloc(heap, HEAP_ZERO_MEMORY, sizeof(CENOTIFICATION)));
    REQUIRE(note != nullptr);
    note->dwSize = sizeof(CENOTIFICATION);
    note->uType = type;
    note->oid = 0x100 + type;
    note->oidParent = 0x42;
    REQUIRE(BusyBlocks(heap) == 1);
    SendMessageW(listener.GetHwnd(), WM_DBNOTIFICATION, 0, reinterpret_cast<LPARAM>(note));
    CHECK(BusyBlocks(heap) == 0);
  }
  request->hHeap = nullptr;
  HeapDestroy(heap);
  // Created, deleted and changed become events; the others end at the window.
  REQUIRE(target.events.size() == 3);
  CHECK(target.events[0].kind == ChangeCreated);
  CHECK(target.events[1].kind == ChangeDeleted);
  CHECK(target.events[2].kind == ChangeChanged);
  CHECK(target.events[2].oid == 0x100 + DB_CEOID_CHANGED);
  CHECK(target.events[2].parent == 0x42);
}

TEST_CASE("a deleted contact that the index doesn't know gives no listener call") {
  FreshDevice();
  WriteGenerated(5);
  OpenedTimedManager m;
  REQUIRE(m.opened);
  m.listener.calls.clear();
  m.manager.OnDbEvent(ChangeDeleted, m.manager.Contacts().GetOid(), 0x7ffffff0);
  REQUIRE(PumpUntil([&] { return m.manager.eventTicks.size() == 1; }, 5000));
  CHECK(m.listener.Count("deleted ") == 0);
  CHECK(m.manager.Index().ContactCount() == 5);
}

TEST_CASE("changes and deletions by another program reach the index and the listener") {
  FreshDevice();
  std::vector<CEOID> ids = WriteGenerated(12);
  OpenedTimedManager m;
  REQUIRE(m.opened);
  m.listener.calls.clear();
  REQUIRE(TouchRecord(ids[2], L"Zebraworks"));
  REQUIRE(DeleteRecord(ids[3]));
  REQUIRE(PumpUntil([&] { return m.manager.eventTicks.size() == 1; }, 5000));
  CHECK(m.listener.Count("changed " + Hex(ids[2])) == 1);
  CHECK(m.listener.Count("deleted " + Hex(ids[3])) == 1);
  Array<CEOID> found;
  m.manager.Index().FindPrefix(WordTree, L"zebrawork", found);
  REQUIRE(found.GetSize() == 1);
  CHECK(found[0] == ids[2]);
  uint32_t record = 0;
  CHECK_FALSE(m.manager.Index().Find(ids[3], &record));
  CHECK(CheckIndex(m.manager) == "");
}

TEST_CASE(
    "an opened manager's gathering and idle windows hang below its events window, and go with its close") {
  FreshDevice();
  WriteGenerated(3);
  OpenedTimedManager m;
  REQUIRE(m.opened);
  const HWND events = m.manager.EventsWindow().GetHwnd();
  const HWND pending = m.manager.PendingWindow().GetHwnd();
  const HWND idle = m.manager.IdleWindow().GetHwnd();
  REQUIRE(events != nullptr);
  CHECK(GetParent(events) == nullptr);
  CHECK(GetParent(pending) == events);
  CHECK(GetParent(idle) == events);
  // Events still reach the gathering window's timer as its child.
  m.manager.OnDbEvent(ChangeChanged, m.manager.Contacts().GetOid(), 0x7ffffff0);
  REQUIRE(PumpUntil([&] { return m.manager.eventTicks.size() == 1; }, 5000));
  m.manager.Close();
  CHECK_FALSE(IsWindow(events));
  CHECK_FALSE(IsWindow(pending));
  CHECK_FALSE(IsWindow(idle));
  CHECK(m.manager.PendingWindow().GetHwnd() == nullptr);
  CHECK(m.manager.IdleWindow().GetHwnd() == nullptr);
}

TEST_CASE(
    "a write of this process's own doesn't stamp over changes still gathered: the next start finds them") {
  const std::vector<CEOID> ids = FreshIndexedDevice(40);
  REQUIRE(ids.size() == 40);
  {
    OpenedManager m;
    REQUIRE(m.opened);
    REQUIRE(m.manager.LastOpenReport().state == IndexInStep);
    // Another program changes a record; its notification is gathered, and the close comes before the
    // 500 ms are over, after a write of this process's own that stamps the index.
    REQUIRE(TouchRecord(ids[5], L"Waiting Works"));
    REQUIRE(PumpUntil([&] { return m.manager.PendingWindow().Count() == 1; }, 400));
    Contact own;
    own.text[ContactField::LastName] = Str(L"Ownwrite");
    REQUIRE(m.manager.AddContact(own));
    CHECK(m.manager.PendingWindow().Count() == 1);
  }
  OpenedManager again;
  REQUIRE(again.opened);
  CHECK(StartOf(again.manager.LastOpenReport()) == "stale, inspected: removed 0, added 0, changed 1");
  Array<CEOID> found;
  REQUIRE(again.manager.Search(Str(L"waiting"), SortKindName, CategoryFilter(), found, nullptr));
  CHECK(std::vector<CEOID>(found.GetData(), found.GetData() + found.GetSize()) == std::vector<CEOID>{ids[5]});
  CHECK(CheckIndex(again.manager) == "");
}
