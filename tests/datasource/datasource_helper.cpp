// datasource_helper NAME LOGFILE: another process of the product with a contact data source of its
// own, driven by the commands of DataSourceHelperProtocol.h. It leaves on CmdQuit, or after two
// minutes so that no helper outlives a test that lost it.
#include "DataSourceHelperProtocol.h"

#include <windows.h>

#include <string>

#include "HelperWindow.h"
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

using helperwindow::Log;

int g_written = 0;

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
    case CmdDrain:
      helperwindow::Drain();
      return 1;
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
  return DefWindowProcW(window, message, wParam, lParam);
}

void Leaving() { g_dataSource.Close(); }

}  // namespace

int main() { return helperwindow::Run(kDataSourceHelperClass, HelperProc, Leaving); }
