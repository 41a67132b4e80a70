#include "SyncTestSupport.h"

#include "HiddenWindow.h"
#include "SharedLog.h"
#include "TestPaths.h"
#include "sync/SyncMessageHandler.h"

#include <doctest/doctest.h>

namespace synctest {

std::wstring LogPath() { return testpaths::TempFolder() + L"pagemark_sync_test.log"; }

void ClearLog() { DeleteFileW(LogPath().c_str()); }

std::vector<std::string> Log() { return sharedlog::ReadLines(LogPath()); }

int LogIndex(const std::vector<std::string>& lines, const std::string& line) {
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i] == line) return static_cast<int>(i);
  }
  return -1;
}

namespace {

const helperproc::HelperProgram kSyncHelper = {L"sync_helper.exe", kHelperClass, CmdQuit, 30000, false};

}  // namespace

Helper::Helper(const std::string& name) : HelperProcess(kSyncHelper, name, LogPath()) {}

namespace {

const wchar_t kListeningClass[] = L"PagemarkSyncTestListener";

HWND g_current = nullptr;

// Writes down what the coordinator says to whichever window it speaks to.
class Recorder : public SyncMessageHandler {
 public:
  void OnChangeToMaster() override { Note("ChangeToMaster"); }
  void OnChangeToSlave() override { Note("ChangeToSlave"); }
  void OnSlaveReload() override { Note("SlaveReload"); }
  void OnSlaveStop() override { Note("SlaveStop"); }
  void OnUpdateLinkType(DWORD id, DWORD item) override {
    Note("UpdateLinkType " + std::to_string(id) + " " + std::to_string(item));
  }

 private:
  void Note(const std::string& message) { ReceivedMessages().push_back({g_current, message}); }
};
Recorder g_recorder;

LRESULT CALLBACK ListeningProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  HWND outer = g_current;
  g_current = window;
  bool taken = DispatchSyncMessage(&g_recorder, message, wParam, lParam);
  g_current = outer;
  if (taken) return 0;
  return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

HWND MakeListeningWindow() { return MakeHiddenWindow(kListeningClass, ListeningProc, L"listener"); }

std::vector<Received>& ReceivedMessages() {
  static std::vector<Received> received;
  return received;
}

void PumpOwnMessages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
}

}  // namespace synctest
