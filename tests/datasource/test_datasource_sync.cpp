// The data source's reactions to the coordinator's five registered messages, sent to a window of this
// process that hands them on as the item window does, with a coordinator and a contact manager that
// write down what they are asked.
#include <doctest/doctest.h>

#include "DataSourceTestSupport.h"
#include "sync/PimSyncMessages.h"
#include "sync/SyncMessageHandler.h"

using namespace dstest;

namespace {

// A data source with a recording coordinator on a scripted manager, a window for the messages, and a
// search with a cached contact behind it.
struct SourceWithSync {
  RecordingSync sync;
  ScriptedManager* manager;
  RecordingView view;
  ContactDataSource source;
  HWND window;
  CategoryFilter noFilter;
  Array<CEOID> noKeep;

  explicit SourceWithSync(BOOL master) {
    sync.master = master;
    Events().clear();
    manager = new ScriptedManager();
    g_contactManager = manager;
    REQUIRE(source.Open(GetModuleHandleW(nullptr), nullptr, &sync));
    source.SetListener(&view);
    window = MakeItemLikeWindow();
    REQUIRE(window != nullptr);
    manager->plain = {4, 5, 6};
    REQUIRE(source.SearchKeypad(Str(L"7"), SortKindFileAs, noFilter, noKeep, FALSE));
    Contact* contact = nullptr;
    REQUIRE(source.GetCachedContact(0, 1, contact, 1));
    Events().clear();
  }
  ~SourceWithSync() {
    source.Close();
    DestroyWindow(window);
  }
  void Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    CHECK(SendMessageW(window, message, wParam, lParam) == 0);
  }
};

}  // namespace

TEST_CASE("while open the data source takes the registered messages of this process, and lets go at Close") {
  RecordingSync sync;
  g_contactManager = new ScriptedManager();
  ContactDataSource source;
  CHECK(g_syncMessageHandler == nullptr);
  REQUIRE(source.Open(GetModuleHandleW(nullptr), nullptr, &sync));
  CHECK(g_syncMessageHandler == static_cast<SyncMessageHandler*>(&source));
  CHECK(source.GetSync() == &sync);
  source.Close();
  CHECK(g_syncMessageHandler == nullptr);
  CHECK(g_contactManager == nullptr);
  CHECK_FALSE(source.IsOpen());
}

TEST_CASE(
    "PimSyncChangeToMaster: master flag, index taken over with repair, data ready, result and cache anew, "
    "view told") {
  SourceWithSync s(FALSE);
  s.manager->plain = {4, 6};
  s.Send(g_pimSyncMessages.changeToMaster);
  CHECK(Events() == std::vector<std::string>{"sync SetMaster 1", "TakeOverIndex", "view EnableItem 1",
                                             "KeypadSearch '7' sort 1", "view ResultsChanged"});
  CHECK(s.sync.master);
  CHECK(s.source.CachedCount() == 0);
  CHECK(Groups(s.source) == std::vector<std::vector<CEOID>>{{4, 6}});
}

TEST_CASE("PimSyncChangeToSlave: the master flag goes, and nothing else happens") {
  SourceWithSync s(TRUE);
  s.Send(g_pimSyncMessages.changeToSlave);
  CHECK(Events() == std::vector<std::string>{"sync SetMaster 0"});
  CHECK_FALSE(s.sync.master);
  CHECK(s.source.CachedCount() == 1);
  CHECK(Groups(s.source) == std::vector<std::vector<CEOID>>{{4, 5, 6}});
}

TEST_CASE("PimSyncSlaveReload: the index reopened as it is, data ready, result and cache anew, view told") {
  SourceWithSync s(FALSE);
  s.manager->plain = {6, 7};
  s.Send(g_pimSyncMessages.slaveReload);
  CHECK(Events() == std::vector<std::string>{"ReloadIndex", "view EnableItem 1", "KeypadSearch '7' sort 1",
                                             "view ResultsChanged"});
  CHECK(s.source.CachedCount() == 0);
  CHECK(Groups(s.source) == std::vector<std::vector<CEOID>>{{6, 7}});
  CHECK_FALSE(s.sync.master);
}

TEST_CASE("PimSyncSlaveStop: the index closed and the data not ready; the result stays") {
  SourceWithSync s(FALSE);
  s.Send(g_pimSyncMessages.slaveStop);
  CHECK(Events() == std::vector<std::string>{"CloseIndex", "view EnableItem 0"});
  CHECK(s.view.lastEnable == 0);
  CHECK(Groups(s.source) == std::vector<std::vector<CEOID>>{{4, 5, 6}});
}

TEST_CASE(
    "PimSyncUpdateLinkType on the master: stored through the manager, the cached contact follows, view "
    "told") {
  SourceWithSync s(TRUE);
  Contact* cached = s.source.FindCached(5);
  REQUIRE(cached != nullptr);
  s.Send(g_pimSyncMessages.updateLinkType, 5, 0x3A09001F);
  CHECK(Events() == std::vector<std::string>{"SetDefaultItem 5 973668383", "view ResultsChanged"});
  CHECK(cached->defaultItem == 0x3A09001Fu);
}

TEST_CASE("UpdateDefaultItem on a slave goes to the master through the coordinator and gives true") {
  SourceWithSync s(FALSE);
  Contact* cached = s.source.FindCached(5);
  REQUIRE(cached != nullptr);
  cached->defaultItem = 0;
  CHECK(s.source.UpdateDefaultItem(5, 0x3A09001F));
  CHECK(Events() == std::vector<std::string>{"sync UpdateLinkType 5 973668383"});
  // The slave writes nothing itself, its cache included; the master's reload brings the value.
  CHECK(cached->defaultItem == 0u);
  // A slave that gets the message forwards it in the same way.
  Events().clear();
  s.Send(g_pimSyncMessages.updateLinkType, 6, 0x4007001F);
  CHECK(Events() == std::vector<std::string>{"sync UpdateLinkType 6 1074200607", "view ResultsChanged"});
}

TEST_CASE("the reactions are ignored by a data source without coordinator, and by one that isn't open") {
  Events().clear();
  ScriptedManager* manager = new ScriptedManager();
  g_contactManager = manager;
  RecordingView view;
  ContactDataSource source;
  REQUIRE(source.Open(GetModuleHandleW(nullptr), nullptr, nullptr));
  source.SetListener(&view);
  HWND window = MakeItemLikeWindow();
  REQUIRE(window != nullptr);
  Events().clear();
  SendMessageW(window, g_pimSyncMessages.changeToMaster, 0, 0);
  SendMessageW(window, g_pimSyncMessages.changeToSlave, 0, 0);
  SendMessageW(window, g_pimSyncMessages.slaveReload, 0, 0);
  SendMessageW(window, g_pimSyncMessages.slaveStop, 0, 0);
  SendMessageW(window, g_pimSyncMessages.updateLinkType, 1, 2);
  CHECK(Events().empty());
  source.Close();

  // Not open: the handlers do nothing even when called straight.
  RecordingSync sync;
  ContactDataSource closed;
  closed.OnChangeToMaster();
  closed.OnChangeToSlave();
  closed.OnSlaveReload();
  closed.OnSlaveStop();
  closed.OnUpdateLinkType(1, 2);
  CHECK(Events().empty());
  // And with nothing handling them, the window takes the messages and ignores them.
  CHECK(g_syncMessageHandler == nullptr);
  CHECK(SendMessageW(window, g_pimSyncMessages.slaveStop, 0, 0) == 0);
  DestroyWindow(window);
}
