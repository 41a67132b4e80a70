// Logging on to the object model: once, with a null window, never again after a failure, and off at
// the end.
#include <doctest/doctest.h>
#include <windows.h>
#include <objbase.h>

#include "ObjectModelSupport.h"
#include "OwnThread.h"
#include "plugins/PimObjectModel.h"

using omtest::CountStartingWith;
using omtest::EventsSince;
using omtest::JournalMark;

TEST_CASE("the first use logs on with a null window, once; the end logs off and lets go") {
  size_t mark = JournalMark();
  {
    PimObjectModel model;
    CHECK(model.GetState() == PimObjectModel::NotTried);
    CHECK(model.Ensure());
    CHECK(model.GetState() == PimObjectModel::Ready);
    CHECK(model.Ensure());
    std::vector<std::string> events = EventsSince(mark, "pimstore");
    REQUIRE(events.size() == 1);
    CHECK(events[0] == "logon window=0");
  }
  std::vector<std::string> events = EventsSince(mark, "pimstore");
  REQUIRE(events.size() == 3);
  CHECK(events[1] == "logoff");
  CHECK(events[2] == "release");
}

TEST_CASE("without a registered object model the state is 0 and the attempt is never repeated") {
  PimObjectModel model;
  size_t mark = JournalMark();
  {
    omtest::ServerUnregistered unregistered;
    REQUIRE(unregistered.Removed());
    SetLastError(0);
    CHECK_FALSE(model.Ensure());
    CHECK(model.GetState() == PimObjectModel::Unavailable);
    CHECK(GetLastError() == static_cast<DWORD>(REGDB_E_CLASSNOTREG));
  }
  // Registered again, the model still isn't tried again, and the services fail.
  CHECK_FALSE(model.Ensure());
  CHECK(model.GetState() == PimObjectModel::Unavailable);
  Array<CEOID> ids;
  ids.Add(1);
  CHECK_FALSE(model.BeamContacts(ids));
  SYSTEMTIME start = {};
  GetLocalTime(&start);
  CHECK_FALSE(model.MakeAppointment(Str(L"Nobody"), Str(), start));
  CHECK(CountStartingWith(EventsSince(mark, "pimstore"), "logon") == 0);
  // A new object finds the server that is back.
  PimObjectModel fresh;
  CHECK(fresh.Ensure());
  CHECK(CountStartingWith(EventsSince(mark, "pimstore"), "logon") == 1);
}

TEST_CASE("the item's one object model is the same object on every call") {
  CHECK(GetPimObjectModel() != nullptr);
  CHECK(GetPimObjectModel() == GetPimObjectModel());
}

TEST_CASE("a thread that already runs COM in a single-threaded apartment logs on as well") {
  size_t mark = JournalMark();
  HRESULT apartment = E_FAIL;
  BOOL ensured = FALSE;
  PimObjectModel::State state = PimObjectModel::NotTried;
  ownthread::RunChecked([&] {
    apartment = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    {
      PimObjectModel model;
      ensured = model.Ensure();
      state = model.GetState();
    }
    if (SUCCEEDED(apartment)) CoUninitialize();
  });
  CHECK(apartment == S_OK);
  CHECK(ensured);
  CHECK(state == PimObjectModel::Ready);
  std::vector<std::string> events = EventsSince(mark, "pimstore");
  REQUIRE(events.size() == 3);
  CHECK(events[0] == "logon window=0");
  CHECK(events[1] == "logoff");
}
