#include "ObjectModelSupport.h"

#include "TestPaths.h"
#include "TestRegistry.h"

namespace omtest {

namespace {
const wchar_t kServerKey[] = L"CLSID\\{05058F23-20BE-11D2-8F18-0000F87A4335}";
const wchar_t kServerInproc[] = L"CLSID\\{05058F23-20BE-11D2-8F18-0000F87A4335}\\InprocServer32";
}  // namespace

size_t JournalMark() { return testpaths::ReadDeviceJournal().size(); }

std::vector<std::string> EventsSince(size_t mark, const std::string& source) {
  std::vector<std::string> events;
  std::vector<testpaths::JournalLine> lines = testpaths::ReadDeviceJournal();
  for (size_t i = mark; i < lines.size(); ++i)
    if (lines[i].source == source) events.push_back(lines[i].event);
  return events;
}

std::vector<std::string> WaitForEvents(size_t mark, const std::string& source, size_t count,
                                       DWORD timeoutMs) {
  const DWORD start = GetTickCount();
  std::vector<std::string> events;
  do {
    events = EventsSince(mark, source);
    if (events.size() >= count) break;
    // Keeps this thread's windows answering while the device's programs talk to them.
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    Sleep(50);
  } while (GetTickCount() - start < timeoutMs);
  return events;
}

int CountStartingWith(const std::vector<std::string>& events, const std::string& prefix) {
  int count = 0;
  for (const std::string& event : events)
    if (event.compare(0, prefix.size(), prefix) == 0) ++count;
  return count;
}

CEOID WriteContact(const wchar_t* fileAs) {
  CEOID database = 0;
  HANDLE handle = CeOpenDatabase(&database, const_cast<LPWSTR>(L"Contacts Database"), 0, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return 0;
  CEPROPVAL value = {};
  value.propid = 0x4013001F;  // file-as name
  value.val.lpwstr = const_cast<LPWSTR>(fileAs);
  CEOID oid = CeWriteRecordProps(handle, 0, 1, &value);
  CloseHandle(handle);
  return oid;
}

ServerUnregistered::ServerUnregistered() : removed(false) {
  DWORD type = 0, number = 0;
  if (!testreg::ReadValue(HKEY_CLASSES_ROOT, kServerInproc, L"", &type, &library, &number)) return;
  testreg::ReadValue(HKEY_CLASSES_ROOT, kServerInproc, L"ThreadingModel", &type, &threading, &number);
  testreg::DeleteTree(HKEY_CLASSES_ROOT, kServerKey);
  removed = !testreg::KeyExists(HKEY_CLASSES_ROOT, kServerKey);
}

ServerUnregistered::~ServerUnregistered() {
  if (!removed) return;
  testreg::WriteString(HKEY_CLASSES_ROOT, kServerInproc, L"", library);
  testreg::WriteString(HKEY_CLASSES_ROOT, kServerInproc, L"ThreadingModel", threading);
}

void CloseCalendar(size_t mark) {
  for (int i = 0; i < 100; ++i) {
    HWND calendar = FindWindowW(L"Calendar", L"Calendar");
    if (!calendar) break;
    PostMessageW(calendar, WM_CLOSE, 0, 0);
    Sleep(50);
  }
  const DWORD start = GetTickCount();
  do {
    for (const std::string& event : EventsSince(mark, "calendar"))
      if (event == "end") return;
    Sleep(50);
  } while (GetTickCount() - start < 5000);
}

std::string Narrow(const std::wstring& text) {
  int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string result(size > 0 ? static_cast<size_t>(size - 1) : 0, '\0');
  if (size > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &result[0], size, nullptr, nullptr);
  return result;
}

}  // namespace omtest
