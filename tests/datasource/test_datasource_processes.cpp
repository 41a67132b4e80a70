// The data source among real processes: a slave's default item stored by the master in another
// process, a master that leaves and the slave that takes over, and a slave in another process told to
// stop, to reload and to step down.
#include <doctest/doctest.h>

#include <algorithm>

#include "DataSourceTestSupport.h"
#include "DataSourceHelper.h"
#include "ManagerTestSupport.h"
#include "storage/contact/ContactDatabase.h"

using namespace dstest;

namespace {

// This process as one of the coordinated processes: its coordinator, a window that hands the
// registered messages on, and the process's data source once opened.
struct ThisProcess {
  RecordingView view;
  PimSync* sync = nullptr;
  HWND window = nullptr;
  CategoryFilter noFilter;
  Array<CEOID> noKeep;

  ThisProcess() {
    sync = PimSync::GetInstance();
    REQUIRE(sync->Open());
    window = MakeItemLikeWindow();
    REQUIRE(window != nullptr);
  }
  ~ThisProcess() {
    g_dataSource.Close();
    if (sync) sync->Unregister(window);
    PimSync::DestroyInstance();
    DestroyWindow(window);
  }
  void Register() { REQUIRE(sync->Register(window)); }
  void Open() {
    REQUIRE(g_contactManager == nullptr);
    REQUIRE(g_dataSource.Open(GetModuleHandleW(nullptr), nullptr, sync));
    g_dataSource.SetListener(&view);
  }
  int SearchAll() {
    REQUIRE(g_dataSource.SearchText(Str(), SortKindName, noFilter, noKeep, FALSE, nullptr));
    return g_dataSource.TotalRows();
  }
  // The default item of `id`, through the cache.
  uint32_t CachedDefaultItem(CEOID id) {
    int group = -1, row = -1;
    REQUIRE(g_dataSource.FindPosition(id, group, row));
    Contact* contact = nullptr;
    REQUIRE(g_dataSource.GetCachedContact(group, row, contact, 1));
    return contact->defaultItem;
  }
};

uint32_t StoredDefaultItem(CEOID id) {
  ContactDatabase database;
  REQUIRE(database.Open(nullptr));
  Contact contact;
  REQUIRE(database.LoadByOid(id, contact));
  return contact.defaultItem;
}

// A fresh device with `count` contacts, an empty coordinator record and an empty helper log.
std::vector<CEOID> FreshStart(int count) {
  managertest::FreshDevice();
  std::vector<CEOID> ids = managertest::WriteGenerated(count);
  REQUIRE(static_cast<int>(ids.size()) == count);
  ZeroSyncRecord();
  ClearHelperLog();
  Events().clear();
  return ids;
}

uint32_t OtherItemThan(uint32_t item) { return item == 0x3A09001Fu ? 0x4007001Fu : 0x3A09001Fu; }

bool Contains(const std::vector<std::string>& lines, const std::vector<std::string>& part) {
  return std::search(lines.begin(), lines.end(), part.begin(), part.end()) != lines.end();
}

}  // namespace

TEST_CASE("UpdateDefaultItem on a slave is stored by the master in another process, and the slave reloads") {
  std::vector<CEOID> ids = FreshStart(10);
  HelperProcess master("M");
  REQUIRE(master.Command(dshelper::CmdRegister) == 3);
  REQUIRE(master.Command(dshelper::CmdOpen) == 1);
  REQUIRE(master.Command(dshelper::CmdSearchAll) == 10);

  ThisProcess self;
  self.Register();
  REQUIRE_FALSE(self.sync->IsMaster());
  self.Open();
  REQUIRE(self.SearchAll() == 10);
  const CEOID target = ids[3];
  const uint32_t item = OtherItemThan(self.CachedDefaultItem(target));
  Events().clear();

  CHECK(g_dataSource.UpdateDefaultItem(target, item));
  // The master stored it before the forwarding returned.
  CHECK(StoredDefaultItem(target) == item);
  CHECK(master.Command(dshelper::CmdDefaultItemOf, target) == static_cast<LRESULT>(item));
  std::vector<std::string> log = HelperLog();
  CHECK(Contains(log, {"M got UpdateLinkType", "M ResultsChanged"}));

  // The master tells its slaves to reload; this one does when it handles its messages.
  CHECK(PumpUntil([&] { return self.view.resultsChanged > 0; }, 10000));
  CHECK(Contains(Events(), {"view EnableItem 1", "view ResultsChanged"}));
  CHECK(g_dataSource.TotalRows() == 10);
  CHECK(self.CachedDefaultItem(target) == item);
}

TEST_CASE(
    "when the master leaves, the slave's data source takes over: master flag, index with repair, view told") {
  std::vector<CEOID> ids = FreshStart(8);
  HelperProcess master("M");
  REQUIRE(master.Command(dshelper::CmdRegister) == 3);
  REQUIRE(master.Command(dshelper::CmdOpen) == 1);

  ThisProcess self;
  self.Register();
  self.Open();
  REQUIRE(self.SearchAll() == 8);
  Events().clear();

  // The master's unregistering sends "PimSyncChangeToMaster" to this window while the command waits.
  CHECK(master.Command(dshelper::CmdUnregister) == 1);
  CHECK(self.sync->IsMaster());
  CHECK(Events() == std::vector<std::string>{"view EnableItem 1", "view ResultsChanged"});
  CHECK(g_dataSource.TotalRows() == 8);

  // As master this process now follows the database itself.
  CEOID added = managertest::WriteNamed(L"Takeover", L"Tess");
  REQUIRE(added != 0);
  CHECK(PumpUntil([&] { return g_dataSource.TotalRows() == 9; }, 10000));
  // And stores default items itself.
  const uint32_t item = OtherItemThan(self.CachedDefaultItem(ids[0]));
  Events().clear();
  CHECK(g_dataSource.UpdateDefaultItem(ids[0], item));
  CHECK(StoredDefaultItem(ids[0]) == item);
  CHECK(self.CachedDefaultItem(ids[0]) == item);
}

TEST_CASE(
    "a slave in another process is stopped and reloaded around a rebuild, and steps in as master when it "
    "asks") {
  std::vector<CEOID> ids = FreshStart(9);
  ThisProcess self;
  self.Register();
  REQUIRE(self.sync->IsMaster());
  self.Open();
  REQUIRE(self.SearchAll() == 9);

  HelperProcess slave("S");
  REQUIRE(slave.Command(dshelper::CmdRegister) == 1);
  REQUIRE(slave.Command(dshelper::CmdOpen) == 1);
  REQUIRE(slave.Command(dshelper::CmdSearchAll) == 9);

  // A forced rebuild stops the slave first and has it reload afterwards.
  Events().clear();
  REQUIRE(g_dataSource.GetManager()->Rebuild());
  // The stop was sent and waited for; the reloads were posted and may or may not be handled yet.
  std::vector<std::string> stopped = HelperLog();
  REQUIRE(stopped.size() >= 2);
  CHECK(std::vector<std::string>(stopped.begin(), stopped.begin() + 2) ==
        std::vector<std::string>{"S got SlaveStop", "S EnableItem 0"});
  CHECK(Contains(Events(), {"view EnableItem 0"}));
  CHECK(Contains(Events(), {"view ResultsChanged", "view EnableItem 1"}));
  slave.Command(dshelper::CmdDrain);
  // The rebuild itself and the forced rebuild around it each tell the slaves to reload: each reload
  // is the same three lines.
  std::vector<std::string> log = HelperLog();
  REQUIRE(log.size() >= 5);
  CHECK((log.size() - 2) % 3 == 0);
  CHECK(std::vector<std::string>(log.begin(), log.begin() + 2) ==
        std::vector<std::string>{"S got SlaveStop", "S EnableItem 0"});
  for (size_t i = 2; i + 2 < log.size(); i += 3)
    CHECK(std::vector<std::string>(log.begin() + i, log.begin() + i + 3) ==
          std::vector<std::string>{"S got SlaveReload", "S EnableItem 1", "S ResultsChanged"});
  CHECK(slave.Command(dshelper::CmdTotalRows) == 9);

  // The slave asks to be master: this process is told it is a slave now, is stopped, and reloads.
  ClearHelperLog();
  Events().clear();
  CHECK(slave.Command(dshelper::CmdChangeToMaster) == 1);
  CHECK_FALSE(self.sync->IsMaster());
  CHECK(slave.Command(dshelper::CmdIsMaster) == 1);
  CHECK(Events() == std::vector<std::string>{"view EnableItem 0"});
  CHECK(Contains(HelperLog(), {"S got ChangeToMaster", "S EnableItem 1", "S ResultsChanged"}));
  CHECK(PumpUntil([&] { return self.view.resultsChanged > 0 && self.view.lastEnable == 1; }, 10000));
  CHECK(g_dataSource.TotalRows() == 9);

  // Now this process forwards its default items to the new master.
  const uint32_t item = OtherItemThan(StoredDefaultItem(ids[5]));
  CHECK(g_dataSource.UpdateDefaultItem(ids[5], item));
  CHECK(StoredDefaultItem(ids[5]) == item);
  CHECK(Contains(HelperLog(), {"S got UpdateLinkType", "S ResultsChanged"}));
}
