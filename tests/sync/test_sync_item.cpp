// The Today item as one of the processes: it takes part with its window from its start, clears the
// change flags, reads flags that other processes set when the host polls it, hands the coordinator's
// messages to the data side, and leaves at its end.
#include "SyncTestSupport.h"

#include "TestRegistry.h"
#include "TodayFixture.h"
#include "foundation/Settings.h"
#include "presentation/Skin.h"
#include "sync/PimSync.h"
#include "sync/PimSyncMessages.h"
#include "sync/SyncMessageHandler.h"
#include "today/PimToday.h"

#include <doctest/doctest.h>

using namespace synctest;

namespace {

// What the item's window hands on, in place of the contact data source.
class DataSideStandIn : public SyncMessageHandler {
 public:
  std::vector<std::string> heard;
  void OnChangeToMaster() override { heard.push_back("ChangeToMaster"); }
  void OnChangeToSlave() override { heard.push_back("ChangeToSlave"); }
  void OnSlaveReload() override { heard.push_back("SlaveReload"); }
  void OnSlaveStop() override { heard.push_back("SlaveStop"); }
  void OnUpdateLinkType(DWORD id, DWORD item) override {
    heard.push_back("UpdateLinkType " + std::to_string(id) + " " + std::to_string(item));
  }
};

// The log emptied before the test and after it, when all else has gone.
struct ClearedLog {
  ClearedLog() { ClearLog(); }
  ~ClearedLog() { ClearLog(); }
};

// A clean registry, an empty record and log, and a window standing in for the Today host.
struct ItemAmongProcesses : ClearedLog, TodayFixture {
  RecordView record;

  ~ItemAmongProcesses() { g_syncMessageHandler = nullptr; }
  HWND Start() {
    HWND window = InitializeCustomItem(&item, host);
    REQUIRE(window != nullptr);
    return window;
  }
  LRESULT Poll() {
    return SendMessageW(g_pimToday->GetHwnd(), WM_TODAYCUSTOM_QUERYREFRESHCACHE,
                        reinterpret_cast<WPARAM>(&item), 0);
  }
};

}  // namespace

TEST_CASE_FIXTURE(
    ItemAmongProcesses,
    "the item takes part with its window from its start, clearing the ten flags, and leaves at its end") {
  for (int word = 10; word < 26; ++word) record.SetWord(word, 1);
  HWND window = Start();
  CHECK(record.Windows() == std::vector<uint32_t>{WordOf(window)});
  REQUIRE(g_pimSync != nullptr);
  CHECK(g_pimSync->IsMaster());
  for (int word = 10; word <= 18; ++word) CHECK_MESSAGE(record.Word(word) == 0u, "word " << word);
  CHECK(record.Word(25) == 0u);
  // The reserved words belong to the product's other programs.
  for (int word = 19; word <= 24; ++word) CHECK(record.Word(word) == 1u);

  DestroyWindow(window);
  CHECK(record.Windows().empty());
  CHECK(g_pimSync == nullptr);
}

TEST_CASE_FIXTURE(ItemAmongProcesses,
                  "the item that leaves as master hands over to a process that came after it") {
  HWND window = Start();
  Helper a("A");
  CHECK(a.Register() == 1);
  CHECK(record.Windows() == std::vector<uint32_t>{WordOf(window), a.Word()});
  DestroyWindow(window);
  CHECK(Log() == std::vector<std::string>{"A ChangeToMaster"});
  CHECK(a.IsMaster());
  CHECK(record.Windows() == std::vector<uint32_t>{a.Word()});
}

TEST_CASE_FIXTURE(
    ItemAmongProcesses,
    "an item that starts after another process is a slave and takes its messages to the data side") {
  Helper a("A");
  REQUIRE(a.Register() == 3);
  HWND window = Start();
  CHECK(record.Windows() == std::vector<uint32_t>{a.Word(), WordOf(window)});
  REQUIRE(g_pimSync != nullptr);
  CHECK_FALSE(g_pimSync->IsMaster());

  // The item's window takes the registered message and hands it to the data side; the answer is 0.
  CHECK(SendMessageW(window, g_pimSyncMessages.slaveStop, 0, 0) == 0);

  // From here a stand-in of the data side records what reaches it.
  DataSideStandIn dataSide;
  g_syncMessageHandler = &dataSide;
  // The master leaves: the item moves up into word 0 and is told that it is master.
  CHECK(a.Unregister() == 1);
  CHECK(dataSide.heard == std::vector<std::string>{"ChangeToMaster"});
  CHECK(record.Windows() == std::vector<uint32_t>{WordOf(window)});

  // A new slave asks the item, now in word 0, to store a default item.
  Helper b("B");
  REQUIRE(b.Register() == 1);
  g_pimSync->SetMaster(TRUE);  // what the data side's reaction does
  CHECK(b.Command(CmdUpdateLinkType, 42, 0x3A09001F) == 1);
  CHECK(dataSide.heard == std::vector<std::string>{"ChangeToMaster", "UpdateLinkType 42 973668383"});

  // And its master's stop and reload reach the slave.
  g_pimSync->SlaveStop();
  g_pimSync->SlaveReload();
  b.Drain();
  CHECK(Log() == std::vector<std::string>{"B SlaveStop", "B SlaveReload"});
}

TEST_CASE_FIXTURE(ItemAmongProcesses,
                  "a flag set by another process reaches the item at the host's next poll") {
  Start();
  item.cyp = 0;
  REQUIRE(Poll() == 1);
  const DWORD base = item.cyp;
  Helper a("A");
  SetSettingDword(SECTION_ABC, L"IncrH", 2, TRUE);
  // Setting the value alone changes nothing until the flag says so.
  CHECK(Poll() == 0);
  CHECK(item.cyp == base);
  REQUIRE(a.Command(CmdSetFlag, 7, 1) == 1);
  CHECK(Poll() == 1);
  CHECK(item.cyp == base + static_cast<DWORD>(2 * ScaleX(2)));
  // The item cleared the flag it took.
  CHECK(a.Command(CmdGetFlag, 7) == 0);
  CHECK(Poll() == 0);
}
