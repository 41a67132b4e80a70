// Opening the manager: the three results of opening the index, rebuilds, inspections and reset marks.
#include <doctest/doctest.h>

#include "ManagerTestSupport.h"
#include "foundation/Settings.h"

using namespace managertest;

namespace {

// A manager of the test's own, opened without coordinator (it writes) and without progress.
struct OpenedManager {
  OpenedManager() { opened = manager.Open(GetModuleHandleW(nullptr), &listener, nullptr, nullptr); }
  RecordingListener listener;
  ContactManager manager;
  BOOL opened;
};

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
  }
  OpenedManager second;
  REQUIRE(second.opened);
  CHECK(second.manager.LastOpenReport().state == IndexInStep);
  CHECK_FALSE(second.manager.LastOpenReport().rebuilt);
  CHECK_FALSE(second.manager.LastOpenReport().inspected);
  CHECK(second.manager.Index().ContactCount() == 300);
  CHECK(CheckIndex(second.manager) == "");
}
