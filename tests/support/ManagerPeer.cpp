#include "ManagerPeer.h"

#include "HelperWindow.h"
#include "sync/PimSync.h"
#include "sync/SyncMessageHandler.h"

namespace managerpeer {

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

void Leaving() {
  if (g_manager != nullptr) g_manager->Close();
  if (g_window != nullptr) PimSync::GetInstance()->Unregister(g_window);
  g_syncMessageHandler = nullptr;
  delete g_manager;
  g_manager = nullptr;
}

}  // namespace

ContactManager* Manager() { return g_manager; }

LRESULT Open(HWND window) {
  PimSync* sync = PimSync::GetInstance();
  if (!sync->Register(window)) return 0;
  g_window = window;
  g_manager = new ContactManager();
  if (!g_manager->Open(GetModuleHandleW(nullptr), nullptr, sync, nullptr)) return 0;
  return 1 + (sync->IsMaster() ? 2 : 0);
}

LRESULT Found(const wchar_t* text) {
  if (g_manager == nullptr) return -1;
  Array<CEOID> ids;
  if (!g_manager->Search(Str(text), SortKindName, CategoryFilter(), ids, nullptr)) return -1;
  return ids.GetSize();
}

LRESULT Count() {
  return g_manager != nullptr && g_manager->Index().IsOpen() ? g_manager->Index().ContactCount() : -1;
}

bool CoordinatorMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  return DispatchSyncMessage(g_syncMessageHandler, message, wParam, lParam);
}

int Run(const wchar_t* windowClass, WNDPROC procedure) {
  g_syncMessageHandler = &g_reactions;
  return helperwindow::Run(windowClass, procedure, Leaving);
}

}  // namespace managerpeer
