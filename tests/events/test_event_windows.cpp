// The hidden windows of the change events and of the idle work: their classes, the gathering and idle
// windows as children of the events window, their timers, and their destruction in any order.
#include <doctest/doctest.h>

#include <memory>
#include <string>

#include "MessagePump.h"
#include "storage/events/DbEventsListener.h"
#include "storage/events/DbMsgStack.h"
#include "storage/events/IdleWorkWindow.h"

namespace {

// A target that only counts.
class CountingTarget : public DbEventTarget {
 public:
  void OnDbEvent(DWORD, CEOID, CEOID) override { ++events; }
  void OnEventTimer() override { ++eventTimers; }
  void OnSaveTimer() override { ++saveTimers; }
  void OnIdleTimer() override { ++idleTimers; }
  int events = 0;
  int eventTimers = 0;
  int saveTimers = 0;
  int idleTimers = 0;
};

HINSTANCE Instance() { return GetModuleHandleW(nullptr); }

std::wstring ClassOf(HWND window) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  return name;
}

bool TimerQueued(HWND hwnd) {
  MSG msg;
  return PeekMessageW(&msg, hwnd, WM_TIMER, WM_TIMER, PM_NOREMOVE) != 0;
}

// The three windows as the contact manager makes them.
struct Windows {
  CountingTarget target;
  DbEventsListener events;
  DbMsgStack pending;
  IdleWorkWindow idle;
  bool Create() {
    return events.Create(Instance(), &target) && pending.Create(Instance(), &target, events.GetHwnd()) &&
           idle.Create(Instance(), &target, events.GetHwnd());
  }
};

}  // namespace

TEST_CASE("the events window is top-level, the gathering and idle windows are its hidden children") {
  Windows w;
  REQUIRE(w.Create());
  const HWND events = w.events.GetHwnd();
  const HWND pending = w.pending.GetHwnd();
  const HWND idle = w.idle.GetHwnd();
  REQUIRE(events != nullptr);
  REQUIRE(pending != nullptr);
  REQUIRE(idle != nullptr);
  CHECK(pending != idle);

  CHECK(ClassOf(events) == L"DB_EVENTS_LISTENER_CLS");
  CHECK(ClassOf(pending) == L"DB_MSG_STACK_WND_CLS");
  CHECK(ClassOf(idle) == L"PIM_IDLE_WORK_WND_CLS");

  CHECK(GetParent(events) == nullptr);
  CHECK((GetWindowLongPtrW(events, GWL_STYLE) & WS_CHILD) == 0);
  CHECK(GetParent(pending) == events);
  CHECK(GetParent(idle) == events);
  CHECK((GetWindowLongPtrW(pending, GWL_STYLE) & WS_CHILD) != 0);
  CHECK((GetWindowLongPtrW(idle, GWL_STYLE) & WS_CHILD) != 0);

  // Hidden, all three, and each finds its object through its user word.
  CHECK_FALSE(IsWindowVisible(events));
  CHECK_FALSE(IsWindowVisible(pending));
  CHECK_FALSE(IsWindowVisible(idle));
  CHECK(GetWindowLongPtrW(events, GWLP_USERDATA) == reinterpret_cast<LONG_PTR>(&w.events));
  CHECK(GetWindowLongPtrW(pending, GWLP_USERDATA) == reinterpret_cast<LONG_PTR>(&w.pending));
  CHECK(GetWindowLongPtrW(idle, GWLP_USERDATA) == reinterpret_cast<LONG_PTR>(&w.idle));

  // The platform's notifications go to the events window.
  CHECK(w.events.GetNotifyRequest()->hwnd == events);
}

TEST_CASE("without a parent the gathering and idle windows are top-level") {
  CountingTarget target;
  DbMsgStack pending;
  IdleWorkWindow idle;
  REQUIRE(pending.Create(Instance(), &target));
  REQUIRE(idle.Create(Instance(), &target));
  CHECK(GetParent(pending.GetHwnd()) == nullptr);
  CHECK(GetParent(idle.GetHwnd()) == nullptr);
  CHECK((GetWindowLongPtrW(pending.GetHwnd(), GWL_STYLE) & WS_CHILD) == 0);
  CHECK(ClassOf(pending.GetHwnd()) == L"DB_MSG_STACK_WND_CLS");
  CHECK(ClassOf(idle.GetHwnd()) == L"PIM_IDLE_WORK_WND_CLS");
}

TEST_CASE("the children's timers fire on their own windows and stop") {
  Windows w;
  REQUIRE(w.Create());

  SUBCASE("the gathering timer fires once and stops itself") {
    w.pending.StartTimer(20);
    CHECK(w.pending.IsTimerRunning());
    REQUIRE(PumpUntil([&] { return w.target.eventTimers == 1; }, 2000));
    Pump(150);
    CHECK(w.target.eventTimers == 1);
    CHECK_FALSE(w.pending.IsTimerRunning());
    CHECK(w.target.saveTimers == 0);
    CHECK(w.target.idleTimers == 0);
  }
  SUBCASE("the idle timer ticks until it is stopped") {
    w.idle.StartTimer(10);
    REQUIRE(PumpUntil([&] { return w.target.idleTimers >= 3; }, 3000));
    w.idle.StopTimer();
    const int ticks = w.target.idleTimers;
    Pump(150);
    CHECK(w.target.idleTimers == ticks);
    CHECK_FALSE(w.idle.IsTimerRunning());
    CHECK(w.target.eventTimers == 0);
  }
  SUBCASE("the parent's save timer fires once beside a running child timer") {
    w.idle.StartTimer(10);
    w.events.StartSaveTimer(30);
    REQUIRE(PumpUntil([&] { return w.target.saveTimers == 1; }, 2000));
    Pump(150);
    CHECK(w.target.saveTimers == 1);
    CHECK_FALSE(w.events.IsSaveTimerRunning());
    CHECK(w.idle.IsTimerRunning());
    CHECK(w.target.idleTimers > 0);
  }
  SUBCASE("a child's stopped timer whose tick is already queued never fires") {
    w.pending.StartTimer(1);
    const DWORD start = GetTickCount();
    while (!TimerQueued(w.pending.GetHwnd()) && GetTickCount() - start < 2000) Sleep(5);
    REQUIRE(TimerQueued(w.pending.GetHwnd()));
    w.pending.StopTimer();
    Pump(150);
    CHECK(w.target.eventTimers == 0);
  }
}

TEST_CASE("the events window destroyed first takes its children with it, and their objects know it") {
  Windows w;
  REQUIRE(w.Create());
  const HWND pending = w.pending.GetHwnd();
  const HWND idle = w.idle.GetHwnd();
  w.pending.StartTimer(10);
  w.idle.StartTimer(10);
  w.events.Destroy();
  CHECK_FALSE(IsWindow(pending));
  CHECK_FALSE(IsWindow(idle));
  CHECK(w.pending.GetHwnd() == nullptr);
  CHECK(w.idle.GetHwnd() == nullptr);
  CHECK_FALSE(w.pending.IsTimerRunning());
  CHECK_FALSE(w.idle.IsTimerRunning());
  CHECK(w.events.GetNotifyRequest()->hwnd == nullptr);
  // No tick of a timer that went with its window, and nothing starts without a window.
  Pump(100);
  CHECK(w.target.eventTimers == 0);
  CHECK(w.target.idleTimers == 0);
  w.pending.StartTimer(10);
  CHECK_FALSE(w.pending.IsTimerRunning());
  // Destroying the children afterwards is harmless, and they can be made anew below a new parent.
  w.pending.Destroy();
  w.idle.Destroy();
  REQUIRE(w.Create());
  CHECK(GetParent(w.pending.GetHwnd()) == w.events.GetHwnd());
  w.pending.StartTimer(10);
  REQUIRE(PumpUntil([&] { return w.target.eventTimers == 1; }, 2000));
}

TEST_CASE("the hidden windows' objects can be destroyed in any order") {
  // 0: events first; 1: children first; 2: one child, the events window, the other child.
  for (int order = 0; order < 3; ++order) {
    CAPTURE(order);
    CountingTarget target;
    auto events = std::make_unique<DbEventsListener>();
    auto pending = std::make_unique<DbMsgStack>();
    auto idle = std::make_unique<IdleWorkWindow>();
    REQUIRE(events->Create(Instance(), &target));
    REQUIRE(pending->Create(Instance(), &target, events->GetHwnd()));
    REQUIRE(idle->Create(Instance(), &target, events->GetHwnd()));
    const HWND windows[3] = {events->GetHwnd(), pending->GetHwnd(), idle->GetHwnd()};
    events->StartSaveTimer(5);
    pending->StartTimer(5);
    idle->StartTimer(5);
    if (order == 0) {
      events.reset();
      pending.reset();
      idle.reset();
    } else if (order == 1) {
      idle.reset();
      pending.reset();
      events.reset();
    } else {
      pending.reset();
      events.reset();
      idle.reset();
    }
    for (HWND window : windows) CHECK_FALSE(IsWindow(window));
    // Ticks queued before the end reach no object.
    Pump(100);
    CHECK(target.saveTimers == 0);
    CHECK(target.eventTimers == 0);
    CHECK(target.idleTimers == 0);
  }
}

TEST_CASE("a window class made by an earlier window is used again, and made anew once it was unregistered") {
  CountingTarget target;
  WNDCLASSW info = {};
  {
    DbMsgStack first;
    REQUIRE(first.Create(Instance(), &target));
  }
  REQUIRE(GetClassInfoW(Instance(), L"DB_MSG_STACK_WND_CLS", &info));
  const WNDPROC procedure = info.lpfnWndProc;
  {
    DbMsgStack second;
    REQUIRE(second.Create(Instance(), &target));
    second.StartTimer(10);
    REQUIRE(PumpUntil([&] { return target.eventTimers == 1; }, 2000));
  }
  // As the item's module does when it is unloaded: no window of the class is left.
  REQUIRE(UnregisterClassW(L"DB_MSG_STACK_WND_CLS", Instance()));
  CHECK_FALSE(GetClassInfoW(Instance(), L"DB_MSG_STACK_WND_CLS", &info));
  DbMsgStack third;
  REQUIRE(third.Create(Instance(), &target));
  REQUIRE(GetClassInfoW(Instance(), L"DB_MSG_STACK_WND_CLS", &info));
  CHECK(reinterpret_cast<void*>(info.lpfnWndProc) == reinterpret_cast<void*>(procedure));
  third.StartTimer(10);
  REQUIRE(PumpUntil([&] { return target.eventTimers == 2; }, 2000));
}
