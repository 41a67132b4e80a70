// datasource_helper NAME LOGFILE: another process of the product with a contact data source of its
// own, driven by the commands of DataSourceHelperProtocol.h. It leaves on CmdQuit, or after two
// minutes so that no helper outlives a test that lost it.
#include "DataSourceHelperProtocol.h"

#include <windows.h>
#include <shellapi.h>

#include <string>

#include "manager/datasource/ContactDataSource.h"
#include "storage/contact/Contact.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/contact/ContactFieldTable.h"
#include "sync/PimSync.h"
#include "sync/PimSyncMessages.h"
#include "sync/SyncMessageHandler.h"
#include "manager/datasource/ItemListener.h"

using namespace dshelper;

namespace {

std::string g_name;
std::wstring g_log;
const UINT_PTR kLifetimeTimer = 1;
const UINT kLifetimeMs = 120000;
int g_written = 0;

void Log(const std::string& event) {
  HANDLE file = CreateFileW(g_log.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  std::string line = g_name + " " + event + "\n";
  DWORD done = 0;
  WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &done, nullptr);
  CloseHandle(file);
}

class LoggingView : public ItemListener {
 public:
  void ResultsChanged() override { Log("ResultsChanged"); }
  void OnListEvent2(DWORD, DWORD) override {}
  void OnListEvent(DWORD, DWORD) override {}
  void OnKeypadRebuildProgress(int) override {}
  void OnContactGone(DWORD id) override { Log("OnContactGone " + std::to_string(id)); }
  void EnableItem(BOOL enable) override { Log(std::string("EnableItem ") + (enable ? "1" : "0")); }
  void SetUpdatePending(BOOL pending) override {
    Log(std::string("SetUpdatePending ") + (pending ? "1" : "0"));
  }
};
LoggingView g_view;

std::string MessageName(UINT message) {
  const PimSyncMessages& m = g_pimSyncMessages;
  if (message == m.changeToMaster) return "ChangeToMaster";
  if (message == m.changeToSlave) return "ChangeToSlave";
  if (message == m.slaveReload) return "SlaveReload";
  if (message == m.slaveStop) return "SlaveStop";
  return "UpdateLinkType";
}

LRESULT Carry(HWND window, UINT command, WPARAM wParam) {
  PimSync* sync = PimSync::GetInstance();
  CategoryFilter noFilter;
  Array<CEOID> noKeep;
  switch (command) {
    case CmdRegister:
      if (!sync->Register(window)) return 0;
      return 1 + (sync->IsMaster() ? 2 : 0);
    case CmdUnregister:
      // As the item leaves: its data side closes before its window leaves the coordinator, so that a
      // master that is gone writes nothing more.
      g_dataSource.Close();
      return sync->Unregister(window);
    case CmdChangeToMaster:
      return sync->ChangeToMaster(window);
    case CmdIsMaster:
      return sync->IsMaster();
    case CmdOpen:
      if (!g_dataSource.Open(GetModuleHandleW(nullptr), nullptr, sync)) return 0;
      g_dataSource.SetListener(&g_view);
      return 1;
    case CmdSearchAll:
      if (!g_dataSource.SearchText(Str(), SortKindName, noFilter, noKeep, FALSE, nullptr)) return -1;
      return g_dataSource.TotalRows();
    case CmdTotalRows:
      return g_dataSource.TotalRows();
    case CmdDefaultItemOf: {
      int group = -1, row = -1;
      if (!g_dataSource.FindPosition(static_cast<CEOID>(wParam), group, row)) return -1;
      Contact* contact = nullptr;
      if (!g_dataSource.GetCachedContact(group, row, contact, 1)) return -1;
      return static_cast<LRESULT>(contact->defaultItem);
    }
    case CmdWriteNamed: {
      ContactDatabase database;
      if (!database.Open(nullptr)) return 0;
      int written = 0;
      for (int i = 0; i < static_cast<int>(wParam); ++i) {
        Contact contact;
        contact.text[ContactField::LastName] = Str((L"Helper" + std::to_wstring(++g_written)).c_str());
        contact.text[ContactField::FirstName] = Str(L"Written");
        if (!database.AddContact(contact, true)) break;
        ++written;
      }
      return written;
    }
    case CmdDrain: {
      MSG message;
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
          PostQuitMessage(static_cast<int>(message.wParam));
          break;
        }
        DispatchMessageW(&message);
      }
      return 1;
    }
    case CmdQuit:
      PostQuitMessage(0);
      return 1;
    default:
      return 0;
  }
}

LRESULT CALLBACK HelperProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (g_pimSyncMessages.Is(message)) {
    Log("got " + MessageName(message));
    DispatchSyncMessage(g_syncMessageHandler, message, wParam, lParam);
    return 0;
  }
  if (message >= CmdRegister && message <= CmdQuit) return Carry(window, message, wParam);
  if (message == WM_TIMER && wParam == kLifetimeTimer) {
    PostQuitMessage(2);
    return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

std::string NarrowText(const wchar_t* text) {
  std::string out;
  for (; *text; ++text) out += static_cast<char>(*text < 128 ? *text : '?');
  return out;
}

}  // namespace

int main() {
  int argc = 0;
  wchar_t** argv = CommandLineToArgvW(GetCommandLineW(), &argc);
  if (argv == nullptr || argc < 3) return 3;
  g_name = NarrowText(argv[1]);
  g_log = argv[2];
  if (!PimSync::GetInstance()->Open()) return 5;

  HINSTANCE instance = GetModuleHandleW(nullptr);
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = HelperProc;
  windowClass.hInstance = instance;
  windowClass.lpszClassName = kDataSourceHelperClass;
  RegisterClassW(&windowClass);
  HWND window = CreateWindowExW(0, kDataSourceHelperClass, argv[1], WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                instance, nullptr);
  if (window == nullptr) return 4;
  SetTimer(window, kLifetimeTimer, kLifetimeMs, nullptr);

  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  const int code = static_cast<int>(message.wParam);
  g_dataSource.Close();
  DestroyWindow(window);
  PimSync::DestroyInstance();
  return code;
}
