// Change notifications of the object store, in this process and between processes, and a second
// process's view of this one's writes.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "StoreTestKit.h"

using namespace storekit;

namespace {

struct Seen {
  UINT msg;  // WM_DBNOTIFICATION, or the DB_CEOID_* message of the legacy path
  UINT type;
  CEOID oid;
  CEOID parent;
  DWORD param;
  DWORD size;
  bool systemGuid;
  DWORD thread;
  bool fromHeap;
};

// A hidden window that records what it is told and gives every notification back.
struct Listener {
  HWND hwnd = nullptr;
  CENOTIFYREQUEST request{};
  std::vector<Seen> seen;
  bool freeFailed = false;

  static LRESULT CALLBACK Proc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
    Listener* self = reinterpret_cast<Listener*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    if (self && msg == WM_DBNOTIFICATION) {
      CENOTIFICATION* n = reinterpret_cast<CENOTIFICATION*>(lp);
      HANDLE heap = self->request.hHeap ? self->request.hHeap : GetProcessHeap();
      self->seen.push_back(Seen{msg, n->uType, n->oid, n->oidParent, n->dwParam, n->dwSize,
                                CHECK_SYSTEMGUID(&n->guid) != 0, GetCurrentThreadId(),
                                HeapValidate(heap, 0, n) != 0});
      if (!CeFreeNotification(&self->request, n)) self->freeFailed = true;
      return 0;
    }
    if (self && msg >= DB_CEOID_CREATED && msg <= DB_CEOID_CHANGED) {
      self->seen.push_back(Seen{msg, msg, static_cast<CEOID>(wp), static_cast<CEOID>(lp), 0, 0, false,
                                GetCurrentThreadId(), false});
      return 0;
    }
    return DefWindowProcW(hwnd, msg, wp, lp);
  }

  void Create() {
    static bool registered = false;
    if (!registered) {
      WNDCLASSW wc{};
      wc.lpfnWndProc = Proc;
      wc.hInstance = GetModuleHandleW(nullptr);
      wc.lpszClassName = L"ObjectStoreTestListener";
      RegisterClassW(&wc);
      registered = true;
    }
    hwnd = CreateWindowExW(0, L"ObjectStoreTestListener", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    request.dwSize = 20;
    request.hwnd = hwnd;
    request.dwFlags = CEDB_EXNOTIFICATION;
  }
  ~Listener() {
    if (hwnd) DestroyWindow(hwnd);
  }

  // Pumps this thread's messages until `count` entries arrived or the time is up.
  void Pump(size_t count, DWORD timeoutMs) {
    ULONGLONG deadline = GetTickCount64() + timeoutMs;
    for (;;) {
      MSG m;
      while (PeekMessageW(&m, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&m);
      if (seen.size() >= count || GetTickCount64() >= deadline) return;
      MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
    }
  }
};

HANDLE OpenWithRequest(CEOID db, CENOTIFYREQUEST* req) {
  CEGUID store;
  CREATE_SYSTEMGUID(&store);
  CEOID oid = db;
  return CeOpenDatabaseEx(&store, &oid, nullptr, 0, 0, req);
}

}  // namespace

TEST_CASE("notifications of this process's writes: created, changed, deleted, through any handle") {
  CEOID db = MakeDb(UniqueName(L"Notify"));
  CEOID other = MakeDb(UniqueName(L"NotifyOther"));
  Listener l;
  l.Create();
  l.request.dwParam = 77;
  HANDLE h = OpenWithRequest(db, &l.request);
  REQUIRE(h != INVALID_HANDLE_VALUE);
  HANDLE w = OpenDb(db);
  HANDLE o = OpenDb(other);

  CEOID a = Write(w, 0, {I4(1, 1)});
  CHECK(Write(w, a, {I4(1, 2)}) == a);
  CEOID b = Write(h, 0, {I4(1, 3)});  // the notified handle's own write is told too
  Write(o, 0, {I4(1, 4)});            // another database: nothing
  REQUIRE(CeDeleteRecord(w, a));
  l.Pump(4, 10000);

  REQUIRE(l.seen.size() == 4);
  const UINT kinds[] = {DB_CEOID_CREATED, DB_CEOID_CHANGED, DB_CEOID_CREATED, DB_CEOID_RECORD_DELETED};
  const CEOID oids[] = {a, a, b, a};
  for (size_t i = 0; i < 4; ++i) {
    CHECK(l.seen[i].msg == WM_DBNOTIFICATION);
    CHECK(l.seen[i].type == kinds[i]);
    CHECK(l.seen[i].oid == oids[i]);
    CHECK(l.seen[i].parent == db);
    CHECK(l.seen[i].param == 77u);
    CHECK(l.seen[i].size == sizeof(CENOTIFICATION));
    CHECK(l.seen[i].systemGuid);
    CHECK(l.seen[i].fromHeap);
  }
  CHECK_FALSE(l.freeFailed);

  // A closed handle hears nothing more. Own writes are posted before the write returns.
  CHECK(CloseHandle(h));
  Write(w, 0, {I4(1, 5)});
  l.Pump(5, 0);
  CHECK(l.seen.size() == 4);
  CloseHandle(o);
  CloseHandle(w);
}

TEST_CASE("the legacy notify window gets DB_CEOID_* with the record and the database") {
  CEOID db = MakeDb(UniqueName(L"Legacy"));
  Listener l;
  l.Create();
  CEOID oid = db;
  HANDLE h = CeOpenDatabase(&oid, nullptr, 0, 0, l.hwnd);
  REQUIRE(h != INVALID_HANDLE_VALUE);
  HANDLE w = OpenDb(db);
  CEOID a = Write(w, 0, {I4(1, 1)});
  Write(w, a, {I4(1, 2)});
  CeDeleteRecord(w, a);
  l.Pump(3, 10000);
  REQUIRE(l.seen.size() == 3);
  CHECK(l.seen[0].msg == DB_CEOID_CREATED);
  CHECK(l.seen[1].msg == DB_CEOID_CHANGED);
  CHECK(l.seen[2].msg == DB_CEOID_RECORD_DELETED);
  for (const Seen& s : l.seen) {
    CHECK(s.oid == a);
    CHECK(s.parent == db);
  }
  CloseHandle(w);
  CloseHandle(h);
}

namespace {
struct ThreadListener {
  Listener l;
  HANDLE heap = nullptr;
  HANDLE ready = nullptr;
  HANDLE got = nullptr;
  HANDLE stop = nullptr;
  DWORD thread = 0;
};

DWORD WINAPI ListenerThread(LPVOID p) {
  ThreadListener* t = static_cast<ThreadListener*>(p);
  t->thread = GetCurrentThreadId();
  t->l.Create();
  t->l.request.hHeap = t->heap;
  t->l.request.dwParam = 0xABCD;
  SetEvent(t->ready);
  while (WaitForSingleObject(t->stop, 0) != WAIT_OBJECT_0) {
    t->l.Pump(1, 20);
    if (!t->l.seen.empty()) SetEvent(t->got);
  }
  return 0;
}
}  // namespace

TEST_CASE("a notification arrives on the thread that owns the window, from the request's heap") {
  CEOID db = MakeDb(UniqueName(L"Thread"));
  ThreadListener t;
  t.heap = HeapCreate(0, 0, 0);
  t.ready = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  t.got = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  t.stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE th = CreateThread(nullptr, 0, ListenerThread, &t, 0, nullptr);
  REQUIRE(WaitForSingleObject(t.ready, 10000) == WAIT_OBJECT_0);

  HANDLE h = OpenWithRequest(db, &t.l.request);  // opened here, on the test's thread
  REQUIRE(h != INVALID_HANDLE_VALUE);
  CEOID a = Write(h, 0, {I4(1, 1)});
  CHECK(WaitForSingleObject(t.got, 10000) == WAIT_OBJECT_0);
  SetEvent(t.stop);
  WaitForSingleObject(th, 10000);
  REQUIRE(t.l.seen.size() == 1);
  CHECK(t.l.seen[0].oid == a);
  CHECK(t.l.seen[0].thread == t.thread);
  CHECK(t.l.seen[0].thread != GetCurrentThreadId());
  CHECK(t.l.seen[0].fromHeap);
  CHECK(t.l.seen[0].param == 0xABCDu);
  CHECK_FALSE(t.l.freeFailed);
  CloseHandle(h);
  CloseHandle(th);
  HeapDestroy(t.heap);
}

TEST_CASE("a second process receives this process's notifications and sees its writes") {
  std::wstring name = UniqueName(L"TwoProc");
  CEOID db = MakeDb(name);
  REQUIRE(db);
  Child child;
  REQUIRE(child.Start(L"storehelper.exe", L"listen \"" + name + L"\" 4 30000"));
  std::string line;
  REQUIRE(child.ReadLine(&line, 30000));
  REQUIRE(line == "ready " + std::to_string(db));

  // Each write waits until the other process has been told of the one before and has read the record
  // it names: what a notification says is already visible when it arrives.
  std::vector<std::string> others;
  auto expect = [&](const std::vector<std::string>& wanted) {
    std::vector<std::string> missing = wanted;
    std::string got;
    while (!missing.empty() && child.ReadLine(&got, 30000)) {
      auto it = std::find(missing.begin(), missing.end(), got);
      if (it != missing.end()) {
        missing.erase(it);
      } else {
        others.push_back(got);
      }
    }
    INFO("still missing: ", missing.empty() ? std::string() : missing.front());
    CHECK(missing.empty());
  };
  std::string d = std::to_string(db);
  const std::string tail = " " + d + " 12648430 36";  // parent, the request's dwParam 0xC0FFEE, size
  HANDLE w = OpenDb(db);
  CEOID a = Write(w, 0, {I4(1, 101)});
  std::string sa = std::to_string(a);
  expect({"ex 1025 " + sa + tail, "seen " + sa + " 101"});
  Write(w, a, {I4(1, 102)});
  expect({"ex 1030 " + sa + tail, "seen " + sa + " 102"});
  CEOID b = Write(w, 0, {I4(1, 103)});
  std::string sb = std::to_string(b);
  expect({"ex 1025 " + sb + tail, "seen " + sb + " 103"});
  REQUIRE(CeDeleteRecord(w, a));
  expect({"ex 1027 " + sa + tail});
  CloseHandle(w);

  CHECK(child.Wait(40000) == 0);
  for (const std::string& l : child.RestOfOutput(2000)) others.push_back(l);
  std::vector<std::string> legacy;
  for (const std::string& l : others) {
    if (l.rfind("legacy ", 0) == 0) legacy.push_back(l);
  }
  std::vector<std::string> wantLegacy = {"legacy 1025 " + sa + " " + d, "legacy 1030 " + sa + " " + d,
                                         "legacy 1025 " + sb + " " + d, "legacy 1027 " + sa + " " + d};
  CHECK(legacy == wantLegacy);
  REQUIRE_FALSE(others.empty());
  CHECK(others.back() == "done 4");
}

TEST_CASE("this process is told of a second process's writes and reads them at once") {
  std::wstring name = UniqueName(L"Incoming");
  CEOID db = MakeDb(name);
  Listener l;
  l.Create();
  HANDLE h = OpenWithRequest(db, &l.request);
  REQUIRE(h != INVALID_HANDLE_VALUE);

  Child child;
  REQUIRE(child.Start(L"storehelper.exe", L"write \"" + name + L"\" 4711"));
  std::string line;
  REQUIRE(child.ReadLine(&line, 30000));
  std::vector<std::string> f = Split(line);
  REQUIRE(f.size() == 2);
  CEOID oid = std::stoul(f[1]);
  CHECK(child.Wait(30000) == 0);

  // Reported written there, so it is here.
  REQUIRE(SeekTo(h, CEDB_SEEK_CEOID, oid).oid == oid);
  Read r;
  ReadCurrent(h, &r, {MAKE_CEPROPID(1, CEVT_I4)});
  CHECK(r.props.at(0).val.lVal == 4711);

  l.Pump(1, 15000);
  REQUIRE(l.seen.size() == 1);
  CHECK(l.seen[0].type == DB_CEOID_CREATED);
  CHECK(l.seen[0].oid == oid);
  CHECK(l.seen[0].parent == db);

  // And the other way: written here, read there.
  CEOID mine = Write(h, 0, {I4(1, 815)});
  Child reader;
  REQUIRE(reader.Start(L"storehelper.exe", L"read \"" + name + L"\""));
  CHECK(reader.Wait(30000) == 0);
  std::vector<std::string> out = reader.RestOfOutput(2000);
  std::vector<std::string> want = {"rec " + std::to_string(oid) + " 4711",
                                   "rec " + std::to_string(mine) + " 815", "end 259"};
  CHECK(out == want);
  CloseHandle(h);
}

TEST_CASE("a database open in another process cannot be deleted") {
  std::wstring name = UniqueName(L"Held");
  CEOID db = MakeDb(name);
  Child holder;
  REQUIRE(holder.Start(L"storehelper.exe", L"hold \"" + name + L"\" 20000"));
  std::string line;
  REQUIRE(holder.ReadLine(&line, 30000));
  REQUIRE(line == "holding");
  SetLastError(0);
  CHECK_FALSE(CeDeleteDatabase(db));
  CHECK(GetLastError() == ERROR_SHARING_VIOLATION);
  holder.Kill();  // a killed process's handles close with it
  CHECK(CeDeleteDatabase(db));
}
