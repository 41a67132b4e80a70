// The coordinator within one process: the shared record and its flags, membership, sweeps, the
// hand-overs and what the master and the slaves say to each other. Each PimSync object stands for a
// process of its own; the windows of the test process write down what they receive.
#include "SyncTestSupport.h"

#include "sync/PimSync.h"
#include "sync/PimSyncMessages.h"
#include "sync/SyncMessageHandler.h"

#include <doctest/doctest.h>

#include <memory>

using namespace synctest;

namespace {

// An empty record, an empty list of received messages, and windows that go away with the test.
struct Record {
  RecordView view;
  std::vector<HWND> windows;

  Record() { ReceivedMessages().clear(); }
  ~Record() {
    for (HWND window : windows) {
      if (IsWindow(window)) DestroyWindow(window);
    }
    PumpOwnMessages();
    ReceivedMessages().clear();
  }
  HWND Window() {
    HWND window = MakeListeningWindow();
    REQUIRE(window != nullptr);
    windows.push_back(window);
    return window;
  }
  std::unique_ptr<PimSync> Process() {
    std::unique_ptr<PimSync> sync(new PimSync);
    REQUIRE(sync->Open());
    return sync;
  }
};

std::vector<std::string> Heard(HWND window) {
  std::vector<std::string> messages;
  for (const Received& received : ReceivedMessages()) {
    if (received.window == window) messages.push_back(received.message);
  }
  return messages;
}

std::vector<std::pair<HWND, std::string>> AllHeard() {
  std::vector<std::pair<HWND, std::string>> all;
  for (const Received& received : ReceivedMessages()) all.push_back({received.window, received.message});
  return all;
}

std::vector<uint32_t> Words(std::initializer_list<HWND> windows) {
  std::vector<uint32_t> words;
  for (HWND window : windows) words.push_back(WordOf(window));
  return words;
}

}  // namespace

TEST_CASE("the five messages are registered by their names, each with its own number") {
  const PimSyncMessages& messages = g_pimSyncMessages;
  CHECK(messages.changeToMaster == RegisterWindowMessageW(L"PimSyncChangeToMaster"));
  CHECK(messages.changeToSlave == RegisterWindowMessageW(L"PimSyncChangeToSlave"));
  CHECK(messages.slaveReload == RegisterWindowMessageW(L"PimSyncSlaveReload"));
  CHECK(messages.slaveStop == RegisterWindowMessageW(L"PimSyncSlaveStop"));
  CHECK(messages.updateLinkType == RegisterWindowMessageW(L"PimSyncUpdateLinkType"));
  std::vector<UINT> all = {messages.changeToMaster, messages.changeToSlave, messages.slaveReload,
                           messages.slaveStop, messages.updateLinkType};
  for (size_t i = 0; i < all.size(); ++i) {
    CHECK(all[i] >= 0xC000u);
    for (size_t j = i + 1; j < all.size(); ++j) CHECK(all[i] != all[j]);
  }
}

TEST_CASE("DispatchSyncMessage takes the five messages, to the right reaction, and leaves all others") {
  Record record;
  HWND window = record.Window();
  const PimSyncMessages& messages = g_pimSyncMessages;
  SendMessageW(window, messages.changeToMaster, 0, 0);
  SendMessageW(window, messages.changeToSlave, 0, 0);
  SendMessageW(window, messages.slaveReload, 0, 0);
  SendMessageW(window, messages.slaveStop, 0, 0);
  SendMessageW(window, messages.updateLinkType, 0xFFFFFFF0u, 0x3A08001F);
  SendMessageW(window, WM_USER + 5, 0, 0);
  CHECK(Heard(window) == std::vector<std::string>{"ChangeToMaster", "ChangeToSlave", "SlaveReload",
                                                  "SlaveStop", "UpdateLinkType 4294967280 973602847"});

  // Without a handler the five are taken and ignored; other messages are not taken.
  CHECK(DispatchSyncMessage(nullptr, messages.slaveStop, 0, 0));
  CHECK(DispatchSyncMessage(nullptr, messages.updateLinkType, 1, 2));
  CHECK_FALSE(DispatchSyncMessage(nullptr, WM_NULL, 0, 0));
  CHECK_FALSE(DispatchSyncMessage(nullptr, WM_TIMER, 0, 0));
}

TEST_CASE("the shared record holds the flags at their words, 26 words in all") {
  Record record;
  std::unique_ptr<PimSync> sync = record.Process();
  for (int flag = 0; flag < 10; ++flag) REQUIRE(sync->SetFlag(flag, 100u + static_cast<DWORD>(flag)));
  // Words 10 to 18 hold flags 0, 1, 2, 3, 8, 4, 5, 6, 7; word 25 flag 9.
  const uint32_t expected[26] = {0,   0,   0,   0,   0,   0,   0, 0, 0, 0, 100, 101, 102,
                                 103, 108, 104, 105, 106, 107, 0, 0, 0, 0, 0,   0,   109};
  for (int word = 0; word < 26; ++word)
    CHECK_MESSAGE(record.view.Word(word) == expected[word], "word " << word);
  record.view.SetWord(14, 7);
  CHECK(sync->GetFlag(8) == 7u);
  for (int flag = 0; flag < 8; ++flag) CHECK(sync->GetFlag(flag) == 100u + static_cast<DWORD>(flag));
  CHECK(sync->GetFlag(9) == 109u);
}

TEST_CASE("GetFlag(10) gives 0") {
  Record record;
  std::unique_ptr<PimSync> sync = record.Process();
  for (int word = 10; word < 26; ++word) record.view.SetWord(word, 0x55u);
  CHECK(sync->GetFlag(10) == 0u);
  CHECK(sync->GetFlag(-1) == 0u);
  CHECK(sync->GetFlag(19) == 0u);
  CHECK(sync->GetFlag(25) == 0u);
  CHECK_FALSE(sync->SetFlag(10, 1));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  for (int word = 10; word < 26; ++word) CHECK(record.view.Word(word) == 0x55u);
}

TEST_CASE("without the shared record every operation gives 0 and does nothing") {
  Record record;
  HWND window = record.Window();
  PimSync alone;  // never opened
  CHECK_FALSE(alone.IsOpen());
  CHECK_FALSE(alone.Register(window));
  CHECK(GetLastError() == ERROR_NOT_READY);
  CHECK_FALSE(alone.Unregister(window));
  CHECK_FALSE(alone.ChangeToMaster(window));
  CHECK_FALSE(alone.SlaveStop());
  CHECK_FALSE(alone.SlaveReload());
  CHECK_FALSE(alone.UpdateLinkType(1, 2));
  CHECK_FALSE(alone.SetFlag(9, 1));
  CHECK(alone.GetFlag(9) == 0u);
  CHECK_FALSE(alone.IsMaster());
  alone.Sweep();
  for (int word = 0; word < 26; ++word) CHECK(record.view.Word(word) == 0u);
  CHECK(ReceivedMessages().empty());
}

TEST_CASE("a second Open is true at once, and a coordinator made later sees the same record") {
  Record record;
  std::unique_ptr<PimSync> first = record.Process();
  CHECK(first->Open());
  CHECK(first->IsOpen());
  REQUIRE(first->SetFlag(3, 9));
  std::unique_ptr<PimSync> second = record.Process();
  CHECK(second->GetFlag(3) == 9u);
}

TEST_CASE("a mapping that no process holds any more starts again as zeros") {
  {
    PimSync first;
    REQUIRE(first.Open());
    REQUIRE(first.SetFlag(9, 5));
    CHECK(first.GetFlag(9) == 5u);
  }
  PimSync second;
  REQUIRE(second.Open());
  CHECK(second.GetFlag(9) == 0u);
}

TEST_CASE("the first window registered is master; the next are slaves, in order and without gaps") {
  Record record;
  HWND a = record.Window(), b = record.Window(), c = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process(), pc = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  REQUIRE(pc->Register(c));
  CHECK(pa->IsMaster());
  CHECK_FALSE(pb->IsMaster());
  CHECK_FALSE(pc->IsMaster());
  CHECK(record.view.Windows() == Words({a, b, c}));
  CHECK(pb->GetWindow() == b);

  // A slave that leaves closes the gap and tells nobody.
  REQUIRE(pb->Unregister(b));
  CHECK(record.view.Windows() == Words({a, c}));
  CHECK(ReceivedMessages().empty());
  // A second Unregister has nothing to take out.
  CHECK_FALSE(pb->Unregister(b));
  CHECK(record.view.Windows() == Words({a, c}));
}

TEST_CASE("a window registered twice keeps its one place; a null window is refused") {
  Record record;
  HWND a = record.Window(), b = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  REQUIRE(pb->Register(b));
  CHECK_FALSE(pb->IsMaster());
  REQUIRE(pa->Register(a));
  CHECK(pa->IsMaster());
  CHECK(record.view.Windows() == Words({a, b}));
  CHECK_FALSE(pa->Register(nullptr));
  CHECK(record.view.Windows() == Words({a, b}));
}

TEST_CASE("more than ten windows: Register gives false and the process is no master") {
  Record record;
  std::vector<std::unique_ptr<PimSync>> processes;
  for (int i = 0; i < 10; ++i) {
    processes.push_back(record.Process());
    REQUIRE(processes.back()->Register(record.Window()));
  }
  CHECK(record.view.Windows().size() == 10);
  std::unique_ptr<PimSync> eleventh = record.Process();
  eleventh->SetMaster(TRUE);
  HWND window = record.Window();
  CHECK_FALSE(eleventh->Register(window));
  CHECK_FALSE(eleventh->IsMaster());
  CHECK(record.view.Windows().size() == 10);
  // Nothing is sent on its behalf.
  CHECK_FALSE(eleventh->SlaveStop());
  CHECK(ReceivedMessages().empty());
}

TEST_CASE(
    "a sweep takes dead windows out; a dead window that moved into the current word stays until the next "
    "sweep") {
  Record record;
  HWND a = record.Window(), b = record.Window(), c = record.Window(), d = record.Window();
  std::unique_ptr<PimSync> sync = record.Process();
  for (HWND window : {a, b, c, d}) REQUIRE(sync->Register(window));
  DestroyWindow(b);
  DestroyWindow(c);
  sync->Sweep();
  CHECK(record.view.Windows() == Words({a, c, d}));
  sync->Sweep();
  CHECK(record.view.Windows() == Words({a, d}));
  // The master stayed: nobody is told anything.
  CHECK(ReceivedMessages().empty());
}

TEST_CASE(
    "a dead master: nothing happens until a process registers; the window moved into word 0 is then told") {
  Record record;
  HWND a = record.Window(), b = record.Window(), c = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process(), pc = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  DestroyWindow(a);
  PumpOwnMessages();
  CHECK(ReceivedMessages().empty());
  CHECK(record.view.Windows() == Words({a, b}));

  // A process that isn't master only passes the word on: no stop, no reload from it.
  REQUIRE(pc->Register(c));
  CHECK(AllHeard() == std::vector<std::pair<HWND, std::string>>{{b, "ChangeToMaster"}});
  CHECK(record.view.Windows() == Words({b, c}));
  CHECK_FALSE(pc->IsMaster());
  PumpOwnMessages();
  CHECK(ReceivedMessages().size() == 1);
}

TEST_CASE("a dead master is replaced at the next Unregister too") {
  Record record;
  HWND a = record.Window(), b = record.Window(), c = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process(), pc = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  REQUIRE(pc->Register(c));
  DestroyWindow(a);
  REQUIRE(pc->Unregister(c));
  CHECK(AllHeard() == std::vector<std::pair<HWND, std::string>>{{b, "ChangeToMaster"}});
  CHECK(record.view.Windows() == Words({b}));
}

TEST_CASE(
    "a master that unregisters: the slaves behind are stopped, the new master told, then the slaves reload") {
  Record record;
  HWND a = record.Window(), b = record.Window(), c = record.Window(), d = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process(), pc = record.Process(),
                           pd = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  REQUIRE(pc->Register(c));
  REQUIRE(pd->Register(d));
  REQUIRE(pa->Unregister(a));
  CHECK(record.view.Windows() == Words({b, c, d}));
  // Stops are sent and done when Unregister returns; reloads are posted.
  CHECK(AllHeard() ==
        std::vector<std::pair<HWND, std::string>>{{c, "SlaveStop"}, {d, "SlaveStop"}, {b, "ChangeToMaster"}});
  PumpOwnMessages();
  CHECK(
      AllHeard() ==
      std::vector<std::pair<HWND, std::string>>{
          {c, "SlaveStop"}, {d, "SlaveStop"}, {b, "ChangeToMaster"}, {c, "SlaveReload"}, {d, "SlaveReload"}});
  // Unregister leaves the master flag as it was.
  CHECK(pa->IsMaster());
}

TEST_CASE("the last window to leave leaves an empty record and tells nobody") {
  Record record;
  HWND a = record.Window();
  std::unique_ptr<PimSync> pa = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pa->Unregister(a));
  PumpOwnMessages();
  CHECK(record.view.Windows().empty());
  CHECK(ReceivedMessages().empty());
  CHECK(pa->GetWindow() == nullptr);
}

TEST_CASE("ChangeToMaster called by the master: true, no messages") {
  Record record;
  HWND a = record.Window(), b = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  CHECK(pa->ChangeToMaster(a));
  PumpOwnMessages();
  CHECK(ReceivedMessages().empty());
  CHECK(record.view.Windows() == Words({a, b}));
}

TEST_CASE("ChangeToMaster with a window that isn't myWindow: false") {
  Record record;
  HWND a = record.Window(), b = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  CHECK_FALSE(pb->ChangeToMaster(a));
  CHECK(GetLastError() == ERROR_INVALID_WINDOW_HANDLE);
  CHECK_FALSE(pb->ChangeToMaster(nullptr));
  PumpOwnMessages();
  CHECK(ReceivedMessages().empty());
  CHECK_FALSE(pb->IsMaster());
  CHECK(record.view.Windows() == Words({a, b}));
}

TEST_CASE(
    "ChangeToMaster by a slave: the old master becomes a slave, the slaves stop, the new master is told, the "
    "slaves reload") {
  Record record;
  HWND a = record.Window(), b = record.Window(), c = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process(), pc = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  REQUIRE(pc->Register(c));
  REQUIRE(pb->ChangeToMaster(b));
  CHECK(pb->IsMaster());
  CHECK(record.view.Windows() == Words({b, a, c}));
  CHECK(AllHeard() == std::vector<std::pair<HWND, std::string>>{
                          {a, "ChangeToSlave"}, {a, "SlaveStop"}, {c, "SlaveStop"}, {b, "ChangeToMaster"}});
  PumpOwnMessages();
  std::vector<std::pair<HWND, std::string>> heard = AllHeard();
  REQUIRE(heard.size() == 6);
  CHECK(heard[4] == std::make_pair(a, std::string("SlaveReload")));
  CHECK(heard[5] == std::make_pair(c, std::string("SlaveReload")));
}

TEST_CASE("ChangeToMaster by a window that isn't in the record is refused") {
  Record record;
  HWND a = record.Window(), b = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  // Taken out behind the process's back, as a sweep by a process that found it dead would.
  record.view.SetWord(1, 0);
  CHECK_FALSE(pb->ChangeToMaster(b));
  CHECK(GetLastError() == ERROR_NOT_FOUND);
  CHECK_FALSE(pb->IsMaster());
  CHECK(record.view.Windows() == Words({a}));
  CHECK(ReceivedMessages().empty());
}

TEST_CASE("only the master speaks to the slaves: stop is sent and waited for, reload is posted") {
  Record record;
  HWND a = record.Window(), b = record.Window(), c = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process(), pc = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  REQUIRE(pc->Register(c));
  CHECK_FALSE(pb->SlaveStop());
  CHECK(GetLastError() == ERROR_ACCESS_DENIED);
  CHECK_FALSE(pb->SlaveReload());
  CHECK(ReceivedMessages().empty());

  REQUIRE(pa->SlaveStop());
  CHECK(AllHeard() == std::vector<std::pair<HWND, std::string>>{{b, "SlaveStop"}, {c, "SlaveStop"}});
  ReceivedMessages().clear();
  REQUIRE(pa->SlaveReload());
  CHECK(ReceivedMessages().empty());
  PumpOwnMessages();
  CHECK(AllHeard() == std::vector<std::pair<HWND, std::string>>{{b, "SlaveReload"}, {c, "SlaveReload"}});
}

TEST_CASE("a slave's UpdateLinkType goes to the master with the contact and the item") {
  Record record;
  HWND a = record.Window(), b = record.Window();
  std::unique_ptr<PimSync> pa = record.Process(), pb = record.Process();
  REQUIRE(pa->Register(a));
  REQUIRE(pb->Register(b));
  CHECK(pb->UpdateLinkType(0x1234, 0x3A08001F));
  CHECK(AllHeard() == std::vector<std::pair<HWND, std::string>>{{a, "UpdateLinkType 4660 973602847"}});
  // The master itself sends nothing.
  ReceivedMessages().clear();
  CHECK_FALSE(pa->UpdateLinkType(0x1234, 1));
  CHECK(ReceivedMessages().empty());
}

TEST_CASE("a slave's UpdateLinkType with no master at word 0 does nothing") {
  Record record;
  HWND a = record.Window();
  std::unique_ptr<PimSync> slave = record.Process();
  CHECK_FALSE(slave->IsMaster());
  CHECK_FALSE(slave->UpdateLinkType(0x1234, 5));
  CHECK(GetLastError() == ERROR_NOT_FOUND);
  CHECK(ReceivedMessages().empty());

  // A process whose own window stands in word 0 while it has no master flag doesn't ask itself.
  REQUIRE(slave->Register(a));
  slave->SetMaster(FALSE);
  CHECK_FALSE(slave->UpdateLinkType(0x1234, 5));
  CHECK(ReceivedMessages().empty());
}

TEST_CASE("GetInstance makes the process's one coordinator; DestroyInstance deletes it") {
  REQUIRE(g_pimSync == nullptr);
  PimSync* first = PimSync::GetInstance();
  REQUIRE(first != nullptr);
  CHECK(g_pimSync == first);
  CHECK(PimSync::GetInstance() == first);
  CHECK_FALSE(first->IsOpen());
  PimSync::DestroyInstance();
  CHECK(g_pimSync == nullptr);
  PimSync::DestroyInstance();
  CHECK(g_pimSync == nullptr);
}
