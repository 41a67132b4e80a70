// handover_peer NAME LOGFILE: a process of the product with a contact manager, for the tests of the
// master's hand-over between processes (HandoverProtocol.h). It leaves on CmdQuit, or after two
// minutes.
#include "HandoverProtocol.h"

#include <windows.h>

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
    if (g_manager != nullptr) Log(g_manager->TakeOverIndex() ? "TakeOverIndex 1" : "TakeOverIndex 0");
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

LRESULT Found(const wchar_t* text) {
  Array<CEOID> ids;
  if (!g_manager->Search(Str(text), SortKindName, CategoryFilter(), ids, nullptr)) return -1;
  return ids.GetSize();
}

LRESULT Everyone() {
  Array<CEOID> ids;
  if (!g_manager->Search(Str(L""), SortKindName, CategoryFilter(), ids, nullptr)) return -1;
  return handover::Digest(std::vector<uint32_t>(ids.GetData(), ids.GetData() + ids.GetSize()));
}

LRESULT Spoil() {
  if (!PimSync::GetInstance()->IsMaster() || !g_manager->Index().IsOpen()) return 0;
  g_manager->Index().Props().SetInChange(1);
  g_manager->EventsWindow().StopSaveTimer();
  return g_manager->Index().Save(FALSE) ? 1 : 0;
}

LRESULT Carry(HWND window, UINT command) {
  PimSync* sync = PimSync::GetInstance();
  if (command != handover::CmdOpen && command != handover::CmdQuit && g_manager == nullptr) return -1;
  switch (command) {
    case handover::CmdOpen: {
      if (!sync->Register(window)) return 0;
      g_window = window;
      g_manager = new ContactManager();
      if (!g_manager->Open(GetModuleHandleW(nullptr), nullptr, sync, nullptr)) return 0;
      return 1 + (sync->IsMaster() ? 2 : 0);
    }
    case handover::CmdIsMaster:
      return sync->IsMaster() ? 1 : 0;
    case handover::CmdCount:
      return g_manager->Index().IsOpen() ? g_manager->Index().ContactCount() : -1;
    case handover::CmdFound:
      return Found(handover::kLookedFor);
    case handover::CmdDigest:
      return Everyone();
    case handover::CmdReport: {
      const IndexOpenReport& report = g_manager->LastOpenReport();
      return report.state + (report.inspected ? 4 : 0) + (report.rebuilt ? 8 : 0);
    }
    case handover::CmdSpoil:
      return Spoil();
    case handover::CmdPause:
      return 0;
    case handover::CmdTakeOver:
      return sync->ChangeToMaster(window) && sync->IsMaster() ? 1 : 0;
    case handover::CmdQuit:
      PostQuitMessage(0);
      return 1;
    default:
      return 0;
  }
}

LRESULT CALLBACK PeerProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (DispatchSyncMessage(g_syncMessageHandler, message, wParam, lParam)) return 0;
  if (message == handover::CmdPause) {
    Sleep(static_cast<DWORD>(wParam));
    return 0;
  }
  if (message >= handover::CmdOpen && message <= handover::CmdQuit) return Carry(window, message);
  return DefWindowProcW(window, message, wParam, lParam);
}

void Leaving() {
  // As the item leaves: the manager closes (saving what is due), then the process unregisters, which
  // hands the index to the next process in line.
  if (g_manager != nullptr) g_manager->Close();
  if (g_window != nullptr) PimSync::GetInstance()->Unregister(g_window);
  g_syncMessageHandler = nullptr;
  delete g_manager;
  g_manager = nullptr;
}

}  // namespace

int main() {
  g_syncMessageHandler = &g_reactions;
  return helperwindow::Run(handover::kHandoverClass, PeerProc, Leaving);
}
