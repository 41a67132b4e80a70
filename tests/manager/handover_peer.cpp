// handover_peer NAME LOGFILE: a process of the product with a contact manager, for the tests of the
// master's hand-over between processes (HandoverProtocol.h). It leaves on CmdQuit, or after two
// minutes.
#include "HandoverProtocol.h"

#include <windows.h>

#include "ManagerPeer.h"
#include "sync/PimSync.h"

namespace {

using managerpeer::Manager;

LRESULT Everyone() {
  Array<CEOID> ids;
  if (!Manager()->Search(Str(L""), SortKindName, CategoryFilter(), ids, nullptr)) return -1;
  return handover::Digest(std::vector<uint32_t>(ids.GetData(), ids.GetData() + ids.GetSize()));
}

LRESULT Spoil() {
  if (!PimSync::GetInstance()->IsMaster() || !Manager()->Index().IsOpen()) return 0;
  Manager()->Index().Props().SetInChange(1);
  Manager()->EventsWindow().StopSaveTimer();
  return Manager()->Index().Save(FALSE) ? 1 : 0;
}

LRESULT Carry(HWND window, UINT command, WPARAM wParam) {
  PimSync* sync = PimSync::GetInstance();
  if (command == handover::CmdPause) {
    Sleep(static_cast<DWORD>(wParam));
    return 0;
  }
  if (command != handover::CmdOpen && command != handover::CmdQuit && Manager() == nullptr) return -1;
  switch (command) {
    case handover::CmdOpen:
      return managerpeer::Open(window);
    case handover::CmdIsMaster:
      return sync->IsMaster() ? 1 : 0;
    case handover::CmdCount:
      return managerpeer::Count();
    case handover::CmdFound:
      return managerpeer::Found(handover::kLookedFor);
    case handover::CmdDigest:
      return Everyone();
    case handover::CmdReport: {
      const IndexOpenReport& report = Manager()->LastOpenReport();
      return report.state + (report.inspected ? 4 : 0) + (report.rebuilt ? 8 : 0);
    }
    case handover::CmdSpoil:
      return Spoil();
    case handover::CmdTakeOver:
      return sync->ChangeToMaster(window) && sync->IsMaster() ? 1 : 0;
    default:
      return 0;
  }
}

}  // namespace

int main() { return managerpeer::Run(handover::kHandoverClass, handover::CmdOpen, handover::CmdQuit, Carry); }
