// sync_helper NAME LOGFILE: one process of the product as the coordination sees it. It opens the
// process's coordinator, takes part with a hidden window, writes each coordinator message that window
// receives to the shared log as "NAME MESSAGE", reacts to "PimSyncChangeToMaster" and
// "PimSyncChangeToSlave" by taking or giving up the master flag as the contact data source does, and
// carries out the commands of SyncTestProtocol.h. It leaves on CmdQuit, without unregistering, or
// after two minutes, so that no helper outlives a test that lost it.
#include "SyncTestProtocol.h"

#include "HelperWindow.h"
#include "sync/PimSync.h"
#include "sync/SyncMessageHandler.h"

#include <windows.h>

#include <string>

namespace {

using helperwindow::Log;

class HelperReactions : public SyncMessageHandler {
 public:
  void OnChangeToMaster() override {
    Log("ChangeToMaster");
    PimSync::GetInstance()->SetMaster(TRUE);
  }
  void OnChangeToSlave() override {
    Log("ChangeToSlave");
    PimSync::GetInstance()->SetMaster(FALSE);
  }
  void OnSlaveReload() override { Log("SlaveReload"); }
  void OnSlaveStop() override { Log("SlaveStop"); }
  void OnUpdateLinkType(DWORD id, DWORD item) override {
    Log("UpdateLinkType " + std::to_string(id) + " " + std::to_string(item));
  }
};
HelperReactions g_reactions;

LRESULT Carry(HWND window, UINT command, WPARAM wParam, LPARAM lParam) {
  PimSync* sync = PimSync::GetInstance();
  switch (command) {
    case synctest::CmdRegister:
      if (!sync->Register(window)) return 0;
      return 1 + (sync->IsMaster() ? 2 : 0);
    case synctest::CmdUnregister:
      return sync->Unregister(window);
    case synctest::CmdChangeToMaster:
      return sync->ChangeToMaster(window);
    case synctest::CmdChangeToMasterOther:
      return sync->ChangeToMaster(GetDesktopWindow());
    case synctest::CmdUpdateLinkType:
      return sync->UpdateLinkType(static_cast<DWORD>(wParam), static_cast<DWORD>(lParam));
    case synctest::CmdSetFlag:
      return sync->SetFlag(static_cast<int>(wParam), static_cast<DWORD>(lParam));
    case synctest::CmdGetFlag:
      return sync->GetFlag(static_cast<int>(wParam));
    case synctest::CmdIsMaster:
      return sync->IsMaster();
    case synctest::CmdDrain:
      helperwindow::Drain();
      return 1;
    case synctest::CmdQuit:
      PostQuitMessage(0);
      return 1;
    default:
      return 0;
  }
}

LRESULT CALLBACK HelperProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (DispatchSyncMessage(g_syncMessageHandler, message, wParam, lParam)) return 0;
  if (message >= synctest::CmdRegister && message <= synctest::CmdQuit)
    return Carry(window, message, wParam, lParam);
  return DefWindowProcW(window, message, wParam, lParam);
}

void Leaving() { g_syncMessageHandler = nullptr; }

}  // namespace

int main() {
  g_syncMessageHandler = &g_reactions;
  return helperwindow::Run(synctest::kHelperClass, HelperProc, Leaving);
}
