#include "PhoneTestSupport.h"
#include "TestRegistry.h"

namespace phonetest {

void ClearSettings() { testreg::DeleteTree(HKEY_CURRENT_USER, testreg::kSettingsRoot); }

Contact MakeContact(const wchar_t* first, const wchar_t* last, const wchar_t* fileAs,
                    const wchar_t* company) {
  Contact contact;
  contact.oid = 0x1234;
  contact.text[ContactField::FirstName] = first;
  contact.text[ContactField::LastName] = last;
  contact.text[ContactField::FileAs] = fileAs;
  contact.text[ContactField::Company] = company;
  return contact;
}

size_t JournalMark() { return testpaths::ReadDeviceJournal().size(); }

std::vector<std::string> EventsSince(size_t mark, const std::string& source) {
  std::vector<std::string> events;
  std::vector<testpaths::JournalLine> lines = testpaths::ReadDeviceJournal();
  for (size_t i = mark; i < lines.size(); ++i)
    if (lines[i].source == source) events.push_back(lines[i].event);
  return events;
}

bool WaitForEvent(size_t mark, const std::string& source, const std::string& event, DWORD timeoutMs) {
  const DWORD start = GetTickCount();
  do {
    for (const std::string& seen : EventsSince(mark, source))
      if (seen == event) return true;
    Sleep(50);
  } while (GetTickCount() - start < timeoutMs);
  return false;
}

std::vector<std::string> WaitForEvents(size_t mark, const std::string& source, size_t count,
                                       DWORD timeoutMs) {
  const DWORD start = GetTickCount();
  std::vector<std::string> events;
  do {
    events = EventsSince(mark, source);
    if (events.size() >= count) break;
    Sleep(50);
  } while (GetTickCount() - start < timeoutMs);
  return events;
}

void StopPhoneProgram() {
  for (int i = 0; i < 100; ++i) {
    HWND phone = FindWindowW(L"MSCprog", nullptr);
    if (!phone) return;
    PostMessageW(phone, WM_CLOSE, 0, 0);
    Sleep(50);
  }
}

bool DeviceHas(const wchar_t* file) {
  return GetFileAttributesW((std::wstring(L"\\windows\\") + file).c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string Narrow(const std::wstring& text) {
  int n = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string out(n > 0 ? n - 1 : 0, '\0');
  if (n > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &out[0], n, nullptr, nullptr);
  return out;
}

ShellBoxCloser::ShellBoxCloser() : thread(nullptr), stop(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  InitializeCriticalSection(&lock);
  thread = CreateThread(nullptr, 0, &ShellBoxCloser::Run, this, 0, nullptr);
}

ShellBoxCloser::~ShellBoxCloser() {
  SetEvent(stop);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
  CloseHandle(stop);
  DeleteCriticalSection(&lock);
}

std::vector<std::wstring> ShellBoxCloser::Titles() {
  EnterCriticalSection(&lock);
  std::vector<std::wstring> copy = titles;
  LeaveCriticalSection(&lock);
  return copy;
}

DWORD WINAPI ShellBoxCloser::Run(void* param) {
  ShellBoxCloser* self = static_cast<ShellBoxCloser*>(param);
  while (WaitForSingleObject(self->stop, 50) == WAIT_TIMEOUT) {
    EnumWindows(
        [](HWND window, LPARAM data) -> BOOL {
          DWORD process = 0;
          GetWindowThreadProcessId(window, &process);
          if (process != GetCurrentProcessId() || !IsWindowVisible(window)) return TRUE;
          ShellBoxCloser* closer = reinterpret_cast<ShellBoxCloser*>(data);
          wchar_t title[256] = L"";
          GetWindowTextW(window, title, 256);
          EnterCriticalSection(&closer->lock);
          closer->titles.push_back(title);
          LeaveCriticalSection(&closer->lock);
          PostMessageW(window, WM_CLOSE, 0, 0);
          return TRUE;
        },
        reinterpret_cast<LPARAM>(self));
  }
  return 0;
}

}  // namespace phonetest
