// A second program for the manager tests.
//   manager_helper differences N   changes the contacts database by N differences while the item is
//                                  away: changes up to 4 records, deletes up to 3, adds the rest
//   manager_helper write N         writes N generated contacts (seed 11, from number 100) and prints
//                                  nothing; another program's burst of writes
//   manager_helper fatal           opens a manager, lets go of its index, writes a contact and waits for
//                                  the notification, which the manager can no longer apply
// Both use the test's object store, named by PAGEMARK_OBJECT_STORE.
#include <windows.h>

#include <cwchar>
#include <vector>

#include "ManagerTestSupport.h"
#include "foundation/DebugUtils.h"

using namespace managertest;

namespace {

int Differences(int n) {
  std::vector<CEOID> ids = AllRecordIds();
  int done = 0;
  for (int i = 0; i < 4 && done < n && i < static_cast<int>(ids.size()); ++i, ++done) {
    if (!TouchRecord(ids[i], L"Elsewhere Changed")) return 2;
  }
  for (int i = 4; i < 7 && done < n && i < static_cast<int>(ids.size()); ++i, ++done) {
    if (!DeleteRecord(ids[i])) return 3;
  }
  if (done < n && static_cast<int>(WriteGenerated(n - done, 99, 1000).size()) != n - done) return 4;
  return 0;
}

int Fatal() {
  SetLogModule(GetModuleHandleW(nullptr));
  ContactManager manager;
  if (!manager.Open(GetModuleHandleW(nullptr), nullptr, nullptr, nullptr)) return 5;
  manager.CloseIndex();
  if (WriteNamed(L"Unindexable", L"Record") == 0) return 6;
  Pump(5000);
  return 7;  // not reached: the notification's write fails and ends the process
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc >= 3 && wcscmp(argv[1], L"differences") == 0) return Differences(_wtoi(argv[2]));
  if (argc >= 3 && wcscmp(argv[1], L"write") == 0) {
    const int n = _wtoi(argv[2]);
    return static_cast<int>(WriteGenerated(n, 11, 100).size()) == n ? 0 : 8;
  }
  if (argc >= 2 && wcscmp(argv[1], L"fatal") == 0) return Fatal();
  return 1;
}
