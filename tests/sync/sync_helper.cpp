// sync_helper NAME LOGFILE: one process of the product as the coordination sees it. It opens the
// process's coordinator, takes part with a hidden window, writes each coordinator message that window
// receives to the shared log as "NAME MESSAGE", reacts to "PimSyncChangeToMaster" and
// "PimSyncChangeToSlave" by taking or giving up the master flag as the contact data source does, and
// carries out the commands of SyncTestProtocol.h. It leaves on CmdQuit, without unregistering, or
// after two minutes, so that no helper outlives a test that lost it.
#include "SyncTestProtocol.h"

#include "sync/PimSync.h"
#include "sync/SyncMessageHandler.h"

#include <windows.h>
#include <shellapi.h>

#include <string>

namespace {

std::string g_name;
std::wstring g_log;
const UINT_PTR kLifetimeTimer = 1;
const UINT kLifetimeMs = 120000;

void Log(const std::string& event) { synctest::AppendLogLine(g_log, g_name + " " + event); }

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
    case synctest::CmdDrain: {
      MSG message;
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
          PostQuitMessage(0);
          break;
        }
        DispatchMessageW(&message);
      }
      return 1;
    }
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
  if (message == WM_TIMER && wParam == kLifetimeTimer) {
    PostQuitMessage(2);
    return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

std::string Narrow(const wchar_t* text) {
  std::string out;
  for (; *text; ++text) out += static_cast<char>(*text < 128 ? *text : '?');
  return out;
}

}  // namespace

int main() {
  int argc = 0;
  wchar_t** argv = CommandLineToArgvW(GetCommandLineW(), &argc);
  if (argv == nullptr || argc < 3) return 3;
  g_name = Narrow(argv[1]);
  g_log = argv[2];
  // The coordinator first: once the window can be found, commands may come.
  if (!PimSync::GetInstance()->Open()) return 5;

  HINSTANCE instance = GetModuleHandleW(nullptr);
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = HelperProc;
  windowClass.hInstance = instance;
  windowClass.lpszClassName = synctest::kHelperClass;
  RegisterClassW(&windowClass);
  HWND window = CreateWindowExW(0, synctest::kHelperClass, argv[1], WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                instance, nullptr);
  if (window == nullptr) return 4;
  g_syncMessageHandler = &g_reactions;
  SetTimer(window, kLifetimeTimer, kLifetimeMs, nullptr);

  MSG message;
  int code = 0;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  code = static_cast<int>(message.wParam);
  g_syncMessageHandler = nullptr;
  DestroyWindow(window);
  PimSync::DestroyInstance();
  return code;
}
