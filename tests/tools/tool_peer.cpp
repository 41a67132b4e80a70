// tool_peer NAME LOGFILE: the item as the coordination and the index see it, for the tests of pimtool
// running beside it (ToolPeerProtocol.h). It leaves on CmdQuit, or after two minutes.
#include "ToolPeerProtocol.h"

#include <windows.h>

#include <string>

#include "HelperWindow.h"
#include "manager/core/ContactManager.h"
#include "sync/PimSync.h"
#include "sync/SyncMessageHandler.h"

namespace {

using helperwindow::Log;

ContactManager* g_manager = nullptr;
HWND g_window = nullptr;

class PeerReactions : public SyncMessageHandler {
 public:
  void OnChangeToMaster() override {
    Log("ChangeToMaster");
    PimSync::GetInstance()->SetMaster(TRUE);
    if (g_manager != nullptr) g_manager->TakeOverIndex();
  }
  void OnChangeToSlave() override {
    Log("ChangeToSlave");
    PimSync::GetInstance()->SetMaster(FALSE);
  }
  void OnSlaveReload() override {
    Log("SlaveReload");
    if (g_manager != nullptr) g_manager->ReloadIndex();
  }
  void OnSlaveStop() override {
    Log("SlaveStop");
    if (g_manager != nullptr) g_manager->CloseIndex();
  }
  void OnUpdateLinkType(DWORD, DWORD) override { Log("UpdateLinkType"); }
};
PeerReactions g_reactions;

LRESULT Carry(HWND window, UINT command) {
  PimSync* sync = PimSync::GetInstance();
  switch (command) {
    case toolpeer::CmdOpen: {
      if (!sync->Register(window)) return 0;
      g_window = window;
      g_manager = new ContactManager();
      if (!g_manager->Open(GetModuleHandleW(nullptr), nullptr, sync, nullptr)) return 0;
      return 1 + (sync->IsMaster() ? 2 : 0);
    }
    case toolpeer::CmdIsMaster:
      return sync->IsMaster() ? 1 : 0;
    case toolpeer::CmdFound: {
      if (g_manager == nullptr) return -1;
      Array<CEOID> ids;
      CategoryFilter everyone;
      if (!g_manager->Search(Str(toolpeer::kLookedFor), SortKindName, everyone, ids, nullptr)) return -1;
      return ids.GetSize();
    }
    case toolpeer::CmdCount:
      return g_manager != nullptr && g_manager->Index().IsOpen() ? g_manager->Index().ContactCount() : -1;
    case toolpeer::CmdQuit:
      PostQuitMessage(0);
      return 1;
    default:
      return 0;
  }
}

LRESULT CALLBACK PeerProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (DispatchSyncMessage(g_syncMessageHandler, message, wParam, lParam)) return 0;
  if (message >= toolpeer::CmdOpen && message <= toolpeer::CmdQuit) return Carry(window, message);
  return DefWindowProcW(window, message, wParam, lParam);
}

void Leaving() {
  if (g_manager != nullptr) g_manager->Close();
  if (g_window != nullptr) PimSync::GetInstance()->Unregister(g_window);
  g_syncMessageHandler = nullptr;
}

}  // namespace

int main() {
  g_syncMessageHandler = &g_reactions;
  return helperwindow::Run(toolpeer::kPeerClass, PeerProc, Leaving);
}
