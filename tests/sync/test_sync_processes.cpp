// Several real processes on one coordinator: each helper process takes part with a hidden window and
// writes down what it receives; the test drives them through their windows.
#include "SyncTestSupport.h"

#include "sync/PimSync.h"

#include <doctest/doctest.h>

#include <algorithm>

using namespace synctest;

namespace {

// An empty record and an empty log; helpers are made by each test.
struct Processes {
  RecordView record;
  Processes() { ClearLog(); }
  ~Processes() { ClearLog(); }
};

std::vector<uint32_t> Words(std::initializer_list<const Helper*> helpers) {
  std::vector<uint32_t> words;
  for (const Helper* helper : helpers) words.push_back(helper->Word());
  return words;
}

// The first `count` lines, or all when there are fewer.
std::vector<std::string> Head(const std::vector<std::string>& lines, size_t count) {
  return std::vector<std::string>(lines.begin(),
                                  lines.begin() + static_cast<long>(std::min(count, lines.size())));
}

// The log lines of one helper.
std::vector<std::string> LogOf(const Helper& helper) {
  std::vector<std::string> lines;
  for (const std::string& line : Log()) {
    if (line.compare(0, helper.Name().size() + 1, helper.Name() + " ") == 0)
      lines.push_back(line.substr(helper.Name().size() + 1));
  }
  return lines;
}

}  // namespace

TEST_CASE_FIXTURE(
    Processes,
    "two processes: the first is master; when it unregisters the second is told PimSyncChangeToMaster") {
  Helper a("A"), b("B");
  CHECK(a.Register() == 3);
  CHECK(b.Register() == 1);
  CHECK(record.Windows() == Words({&a, &b}));
  CHECK(a.IsMaster());
  CHECK_FALSE(b.IsMaster());

  CHECK(a.Unregister() == 1);
  // Sent, not posted: B has taken over by the time A's Unregister returns.
  CHECK(LogOf(b) == std::vector<std::string>{"ChangeToMaster"});
  CHECK(b.IsMaster());
  CHECK(record.Windows() == Words({&b}));
  a.Drain();
  b.Drain();
  CHECK(LogOf(a).empty());
  CHECK(Log() == std::vector<std::string>{"B ChangeToMaster"});
}

TEST_CASE_FIXTURE(Processes,
                  "a master that leaves stops the slaves behind its successor, tells the successor, and has "
                  "the slaves reload") {
  Helper a("A"), b("B"), c("C");
  REQUIRE(a.Register() == 3);
  REQUIRE(b.Register() == 1);
  REQUIRE(c.Register() == 1);
  CHECK(a.Unregister() == 1);
  // The stop was sent and the successor told before Unregister returned; the reload was posted and
  // C may have taken it already.
  CHECK(Head(Log(), 2) == std::vector<std::string>{"C SlaveStop", "B ChangeToMaster"});
  c.Drain();
  CHECK(Log() == std::vector<std::string>{"C SlaveStop", "B ChangeToMaster", "C SlaveReload"});
  CHECK(b.IsMaster());
  CHECK(record.Windows() == Words({&b, &c}));
}

TEST_CASE_FIXTURE(Processes,
                  "a master killed without unregistering: nothing until a process registers; then the record "
                  "moves up and the new word 0 is told by that process") {
  Helper a("A"), b("B"), c("C");
  REQUIRE(a.Register() == 3);
  REQUIRE(b.Register() == 1);
  REQUIRE(c.Register() == 1);
  a.Kill();

  // Nobody watches the master: the record still names it and no process was told anything.
  b.Drain();
  c.Drain();
  CHECK(Log().empty());
  CHECK(record.Windows() == Words({&a, &b, &c}));
  CHECK_FALSE(b.IsMaster());
  // Flags don't sweep.
  CHECK(c.Command(CmdSetFlag, 9, 1) == 1);
  CHECK(b.Command(CmdGetFlag, 9) == 1);
  CHECK(record.Windows() == Words({&a, &b, &c}));
  CHECK(Log().empty());

  Helper d("D");
  CHECK(d.Register() == 1);
  // The message came from D's Register: it is in the log when the command returns.
  CHECK(Log() == std::vector<std::string>{"B ChangeToMaster"});
  CHECK(record.Windows() == Words({&b, &c, &d}));
  CHECK(b.IsMaster());
  CHECK_FALSE(d.IsMaster());
  // D is no master: it neither stops nor reloads anybody.
  b.Drain();
  c.Drain();
  d.Drain();
  CHECK(Log() == std::vector<std::string>{"B ChangeToMaster"});
}

TEST_CASE_FIXTURE(Processes,
                  "a master killed without unregistering is replaced at the next Unregister of a slave") {
  Helper a("A"), b("B"), c("C");
  REQUIRE(a.Register() == 3);
  REQUIRE(b.Register() == 1);
  REQUIRE(c.Register() == 1);
  a.Kill();
  CHECK(c.Unregister() == 1);
  CHECK(Log() == std::vector<std::string>{"B ChangeToMaster"});
  CHECK(record.Windows() == Words({&b}));
  CHECK(b.IsMaster());
}

TEST_CASE_FIXTURE(
    Processes,
    "a master killed while the next one is also gone: the sweep finds the first, the next sweep the second") {
  Helper a("A"), b("B"), c("C");
  REQUIRE(a.Register() == 3);
  REQUIRE(b.Register() == 1);
  REQUIRE(c.Register() == 1);
  a.Kill();
  b.Kill();
  Helper d("D");
  CHECK(d.Register() == 1);
  // B moved into word 0 but was itself dead; it stays until the next sweep, and a message to a
  // dead window is simply lost.
  CHECK(record.Windows() == Words({&b, &c, &d}));
  CHECK(Log().empty());
  CHECK(d.Unregister() == 1);
  CHECK(Log() == std::vector<std::string>{"C ChangeToMaster"});
  CHECK(record.Windows() == Words({&c}));
}

TEST_CASE_FIXTURE(Processes, "a slave's UpdateLinkType reaches the master") {
  Helper a("A"), b("B");
  REQUIRE(a.Register() == 3);
  REQUIRE(b.Register() == 1);
  CHECK(b.Command(CmdUpdateLinkType, 0x00012345, 0x3A08001F) == 1);
  CHECK(Log() == std::vector<std::string>{"A UpdateLinkType 74565 973602847"});
  // The master keeps its own changes: nothing is sent.
  CHECK(a.Command(CmdUpdateLinkType, 7, 8) == 0);
  CHECK(Log().size() == 1);
}

TEST_CASE_FIXTURE(Processes, "a slave's UpdateLinkType with no master at word 0 does nothing") {
  Helper a("A"), b("B");
  REQUIRE(a.Register() == 3);
  REQUIRE(a.Unregister() == 1);
  CHECK(record.Windows().empty());
  CHECK_FALSE(b.IsMaster());
  CHECK(b.Command(CmdUpdateLinkType, 1, 2) == 0);
  a.Drain();
  CHECK(Log().empty());
}

TEST_CASE_FIXTURE(Processes, "flags set by one process are read by another") {
  Helper a("A"), b("B");
  PimSync own;
  REQUIRE(own.Open());
  for (int flag = 0; flag < 10; ++flag)
    REQUIRE(a.Command(CmdSetFlag, static_cast<WPARAM>(flag), 200 + flag) == 1);
  for (int flag = 0; flag < 10; ++flag) {
    CHECK(b.Command(CmdGetFlag, static_cast<WPARAM>(flag)) == 200 + flag);
    CHECK(own.GetFlag(flag) == 200u + static_cast<DWORD>(flag));
  }
  CHECK(record.Word(14) == 208u);
  CHECK(record.Word(25) == 209u);
  REQUIRE(own.SetFlag(4, 0));
  CHECK(a.Command(CmdGetFlag, 4) == 0);
  CHECK(b.Command(CmdGetFlag, 10) == 0);
  // Setting flags wakes nobody.
  a.Drain();
  b.Drain();
  CHECK(Log().empty());
}

TEST_CASE_FIXTURE(Processes,
                  "ChangeToMaster between processes: the old master is made a slave, then all slaves stop, "
                  "the new master is told, and the slaves reload") {
  Helper a("A"), b("B"), c("C");
  REQUIRE(a.Register() == 3);
  REQUIRE(b.Register() == 1);
  REQUIRE(c.Register() == 1);
  CHECK(b.Command(CmdChangeToMaster) == 1);
  CHECK(Head(Log(), 4) ==
        std::vector<std::string>{"A ChangeToSlave", "A SlaveStop", "C SlaveStop", "B ChangeToMaster"});
  a.Drain();
  c.Drain();
  std::vector<std::string> lines = Log();
  REQUIRE(lines.size() == 6);
  CHECK(LogIndex(lines, "A SlaveReload") >= 4);
  CHECK(LogIndex(lines, "C SlaveReload") >= 4);
  CHECK(record.Windows() == Words({&b, &a, &c}));
  CHECK(b.IsMaster());
  CHECK_FALSE(a.IsMaster());
  CHECK_FALSE(c.IsMaster());
}

TEST_CASE_FIXTURE(Processes, "ChangeToMaster called by the master: true, no messages") {
  Helper a("A"), b("B");
  REQUIRE(a.Register() == 3);
  REQUIRE(b.Register() == 1);
  CHECK(a.Command(CmdChangeToMaster) == 1);
  a.Drain();
  b.Drain();
  CHECK(Log().empty());
  CHECK(record.Windows() == Words({&a, &b}));
}

TEST_CASE_FIXTURE(Processes, "ChangeToMaster with a window that isn't myWindow: false") {
  Helper a("A"), b("B");
  REQUIRE(a.Register() == 3);
  REQUIRE(b.Register() == 1);
  CHECK(b.Command(CmdChangeToMasterOther) == 0);
  a.Drain();
  b.Drain();
  CHECK(Log().empty());
  CHECK(record.Windows() == Words({&a, &b}));
  CHECK_FALSE(b.IsMaster());
}
