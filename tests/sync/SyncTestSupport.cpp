#include "SyncTestSupport.h"

#include "TestPaths.h"
#include "sync/SyncMessageHandler.h"

#include <doctest/doctest.h>

namespace synctest {

std::wstring LogPath() {
  wchar_t folder[MAX_PATH];
  DWORD length = GetTempPathW(MAX_PATH, folder);
  std::wstring path(folder, length);
  return path + L"pagemark_sync_test.log";
}

void ClearLog() { DeleteFileW(LogPath().c_str()); }

std::vector<std::string> Log() { return ReadLogLines(LogPath()); }

int LogIndex(const std::vector<std::string>& lines, const std::string& line) {
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i] == line) return static_cast<int>(i);
  }
  return -1;
}

Helper::Helper(const std::string& name) : m_name(name), m_process(), m_window(nullptr) {
  std::wstring wideName(name.begin(), name.end());
  std::wstring program = testpaths::BinDir() + L"sync_helper.exe";
  std::wstring commandLine = L"\"" + program + L"\" " + wideName + L" \"" + LogPath() + L"\"";
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  BOOL started = CreateProcessW(program.c_str(), &commandLine[0], nullptr, nullptr, FALSE, 0, nullptr,
                                nullptr, &startup, &m_process);
  REQUIRE_MESSAGE(started, "sync_helper.exe can't be started, error " << GetLastError());
  // The window appears once the helper has its coordinator open.
  DWORD deadline = GetTickCount() + 30000;
  while (m_window == nullptr) {
    m_window = FindWindowW(kHelperClass, wideName.c_str());
    if (m_window != nullptr) break;
    DWORD exitCode = 0;
    if (WaitForSingleObject(m_process.hProcess, 0) == WAIT_OBJECT_0) {
      GetExitCodeProcess(m_process.hProcess, &exitCode);
      FAIL("helper " << name << " ended with " << exitCode << " before its window stood");
    }
    REQUIRE_MESSAGE(static_cast<LONG>(GetTickCount() - deadline) < 0,
                    "helper " << name << " has no window after 30 s");
    Sleep(20);
  }
}

Helper::~Helper() {
  if (m_process.hProcess == nullptr) return;
  if (WaitForSingleObject(m_process.hProcess, 0) == WAIT_TIMEOUT) {
    if (m_window != nullptr) PostMessageW(m_window, CmdQuit, 0, 0);
    if (WaitForSingleObject(m_process.hProcess, 10000) != WAIT_OBJECT_0) {
      TerminateProcess(m_process.hProcess, 9);
      WaitForSingleObject(m_process.hProcess, 10000);
    }
  }
  CloseHandle(m_process.hThread);
  CloseHandle(m_process.hProcess);
}

LRESULT Helper::Command(UINT command, WPARAM wParam, LPARAM lParam) {
  DWORD_PTR result = 0;
  LRESULT sent = SendMessageTimeoutW(m_window, command, wParam, lParam, SMTO_NORMAL, 30000, &result);
  if (sent == 0) {
    FAIL_CHECK("helper " << m_name << " didn't carry out command " << (command - WM_APP) << ", error "
                         << GetLastError());
    return -1;
  }
  return static_cast<LRESULT>(result);
}

void Helper::Kill() {
  REQUIRE(TerminateProcess(m_process.hProcess, 9));
  REQUIRE(WaitForSingleObject(m_process.hProcess, 10000) == WAIT_OBJECT_0);
  DWORD deadline = GetTickCount() + 10000;
  while (IsWindow(m_window)) {
    REQUIRE_MESSAGE(static_cast<LONG>(GetTickCount() - deadline) < 0, "the window of a killed helper stays");
    Sleep(10);
  }
}

RecordView::RecordView() : m_mutex(nullptr), m_mapping(nullptr), m_words(nullptr) {
  m_mutex = CreateMutexW(nullptr, FALSE, L"9694E7F0-1902-4855-AA4D-F879CF68BE6A");
  REQUIRE(m_mutex != nullptr);
  m_mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 104,
                                 L"450DC470-F520-401d-8A4B-F51506298DBE");
  REQUIRE(m_mapping != nullptr);
  m_words = static_cast<uint32_t*>(MapViewOfFile(m_mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 104));
  REQUIRE(m_words != nullptr);
  REQUIRE(WaitForSingleObject(m_mutex, 10000) == WAIT_OBJECT_0);
  for (int i = 0; i < 26; ++i) m_words[i] = 0;
  ReleaseMutex(m_mutex);
}

RecordView::~RecordView() {
  if (m_words != nullptr) UnmapViewOfFile(m_words);
  if (m_mapping != nullptr) CloseHandle(m_mapping);
  if (m_mutex != nullptr) CloseHandle(m_mutex);
}

uint32_t RecordView::Word(int index) const { return m_words[index]; }

void RecordView::SetWord(int index, uint32_t value) { m_words[index] = value; }

std::vector<uint32_t> RecordView::Windows() const {
  std::vector<uint32_t> windows;
  for (int i = 0; i < 10 && m_words[i] != 0; ++i) windows.push_back(m_words[i]);
  return windows;
}

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

HWND MakeListeningWindow() {
  static bool registered = false;
  HINSTANCE instance = GetModuleHandleW(nullptr);
  if (!registered) {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = ListeningProc;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = kListeningClass;
    registered = RegisterClassW(&windowClass) != 0;
  }
  return CreateWindowExW(0, kListeningClass, L"listener", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, instance,
                         nullptr);
}

std::vector<Received>& ReceivedMessages() {
  static std::vector<Received> received;
  return received;
}

void PumpOwnMessages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
}

}  // namespace synctest
