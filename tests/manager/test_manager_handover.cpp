// The master's hand-over between real processes: the master leaves while the index it leaves behind
// is stale, or unusable, and the process next in line takes it over, inspecting or rebuilding it;
// afterwards the searches of every process agree with the database.
#include <doctest/doctest.h>

#include <algorithm>

#include "HandoverProtocol.h"
#include "HelperProcess.h"
#include "ManagerTestSupport.h"
#include "SharedLog.h"
#include "TestPaths.h"

using namespace managertest;

namespace {

const helperproc::HelperProgram kPeer = {L"handover_peer.exe", handover::kHandoverClass, handover::CmdQuit,
                                         60000, false};

std::wstring FreshLog(const wchar_t* name) {
  const std::wstring path = testpaths::TempFolder() + name;
  DeleteFileW(path.c_str());
  return path;
}

LRESULT DatabaseDigest() {
  std::vector<CEOID> ids = AllRecordIds();
  return handover::Digest(std::vector<uint32_t>(ids.begin(), ids.end()));
}

// Three processes on 60 contacts, two of them named kLookedFor: the first in is master.
struct ThreeProcesses {
  explicit ThreeProcesses(const wchar_t* logName)
      : log(Prepare(logName)), first(kPeer, "first", log), second(kPeer, "second", log),
        third(kPeer, "third", log) {
    REQUIRE(first.Command(handover::CmdOpen) == 3);
    REQUIRE(second.Command(handover::CmdOpen) == 1);
    REQUIRE(third.Command(handover::CmdOpen) == 1);
    REQUIRE(second.Command(handover::CmdCount) == 62);
  }
  static std::wstring Prepare(const wchar_t* logName) {
    FreshDevice();
    REQUIRE(WriteGenerated(60).size() == 60);
    REQUIRE(WriteNamed(handover::kLookedFor, L"Ada") != 0);
    REQUIRE(WriteNamed(handover::kLookedFor, L"Bo") != 0);
    return FreshLog(logName);
  }
  // The first leaves; the second becomes master, and the third stays a slave.
  void FirstLeaves() {
    REQUIRE(first.Command(handover::CmdQuit) == 1);
    REQUIRE(PumpUntil([&] { return second.Command(handover::CmdIsMaster) == 1; }, 20000));
    CHECK(third.Command(handover::CmdIsMaster) == 0);
  }
  // The new master and the slave both find what the database holds.
  void BothAgree(int lookedFor) {
    const int records = static_cast<int>(AllRecordIds().size());
    const LRESULT expected = DatabaseDigest();
    for (helperproc::HelperProcess* process : {&second, &third}) {
      CAPTURE(process->Name());
      // The slave reloads when the master tells it to, a moment later.
      CHECK(PumpUntil([&] { return process->Command(handover::CmdCount) == records; }, 10000));
      CHECK(process->Command(handover::CmdDigest) == expected);
      CHECK(process->Command(handover::CmdFound) == lookedFor);
    }
  }
  std::wstring log;
  helperproc::HelperProcess first;
  helperproc::HelperProcess second;
  helperproc::HelperProcess third;
};

}  // namespace

TEST_CASE("the master leaves a stale index: the next master takes it over by the inspection") {
  ThreeProcesses processes(L"handover-stale.log");
  // Changes that the master hears of but leaves before it applies them (half a second later): two
  // contacts more, one of them named as the test's, and one gone, written while it takes no messages.
  REQUIRE(PostMessageW(processes.first.Window(), handover::CmdPause, 3000, 0));
  Sleep(100);
  REQUIRE(WriteNamed(handover::kLookedFor, L"Cy") != 0);
  REQUIRE(WriteNamed(L"Latecomer", L"Dee") != 0);
  REQUIRE(DeleteRecord(AllRecordIds().front()));
  processes.FirstLeaves();
  const LRESULT report = processes.second.Command(handover::CmdReport);
  CHECK((report & 3) == IndexStale);
  CHECK((report & 4) != 0);  // inspected
  CHECK((report & 8) == 0);  // not rebuilt
  processes.BothAgree(3);
  const std::vector<std::string> events = sharedlog::ReadLines(processes.log);
  CHECK(std::count(events.begin(), events.end(), "second TakeOverIndex 1") == 1);
  CHECK(std::count(events.begin(), events.end(), "third SlaveReload") >= 1);
}

TEST_CASE("the master leaves an unusable index: the next master rebuilds it while a slave holds it") {
  ThreeProcesses processes(L"handover-unusable.log");
  REQUIRE(WriteNamed(handover::kLookedFor, L"Cy") != 0);
  // Applied by the master before it leaves; then it leaves the files and the memory they share in the
  // middle of a change.
  REQUIRE(PumpUntil([&] { return processes.first.Command(handover::CmdFound) == 3; }, 10000));
  REQUIRE(processes.first.Command(handover::CmdSpoil) == 1);
  processes.FirstLeaves();
  const LRESULT report = processes.second.Command(handover::CmdReport);
  CHECK((report & 3) == IndexUnusable);
  CHECK((report & 8) != 0);  // rebuilt
  processes.BothAgree(3);
  const std::vector<std::string> events = sharedlog::ReadLines(processes.log);
  CHECK(std::count(events.begin(), events.end(), "second TakeOverIndex 1") == 1);
  // The slave let go of the index for the rebuild and opened the new one.
  CHECK(std::count(events.begin(), events.end(), "third SlaveStop") >= 1);
  CHECK(std::count(events.begin(), events.end(), "third SlaveReload") >= 1);
}

TEST_CASE(
    "a slave that asks to be master takes over an unusable index: it rebuilds it, and the old master "
    "reloads") {
  ThreeProcesses processes(L"handover-asked.log");
  REQUIRE(processes.first.Command(handover::CmdSpoil) == 1);
  REQUIRE(processes.second.Command(handover::CmdTakeOver) == 1);
  CHECK(processes.first.Command(handover::CmdIsMaster) == 0);
  CHECK(processes.third.Command(handover::CmdIsMaster) == 0);
  const LRESULT report = processes.second.Command(handover::CmdReport);
  CHECK((report & 3) == IndexUnusable);
  CHECK((report & 8) != 0);  // rebuilt
  const int records = static_cast<int>(AllRecordIds().size());
  const LRESULT expected = DatabaseDigest();
  for (helperproc::HelperProcess* process : {&processes.first, &processes.second, &processes.third}) {
    CAPTURE(process->Name());
    CHECK(PumpUntil([&] { return process->Command(handover::CmdCount) == records; }, 10000));
    CHECK(process->Command(handover::CmdDigest) == expected);
    CHECK(process->Command(handover::CmdFound) == 2);
  }
  const std::vector<std::string> events = sharedlog::ReadLines(processes.log);
  CHECK(std::count(events.begin(), events.end(), "first ChangeToSlave") == 1);
  CHECK(std::count(events.begin(), events.end(), "second TakeOverIndex 1") == 1);
}
