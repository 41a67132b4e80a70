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

UINT g_first = 0;
UINT g_quit = 0;
Carry g_carry = nullptr;

LRESULT CALLBACK PeerProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (DispatchSyncMessage(g_syncMessageHandler, message, wParam, lParam)) return 0;
  if (message < g_first || message > g_quit) return DefWindowProcW(window, message, wParam, lParam);
  const LRESULT result = g_carry(window, message, wParam);
  if (message != g_quit) return result;
  PostQuitMessage(0);
  return 1;
}

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

int Run(const wchar_t* windowClass, UINT first, UINT quit, Carry carry) {
  g_first = first;
  g_quit = quit;
  g_carry = carry;
  g_syncMessageHandler = &g_reactions;
  return helperwindow::Run(windowClass, PeerProc, Leaving);
}

}  // namespace managerpeer
