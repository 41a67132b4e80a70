#include "SyncTestProtocol.h"

#include <fstream>

namespace synctest {

const wchar_t kHelperClass[] = L"PagemarkSyncTestHelper";
const wchar_t kLogMutex[] = L"PagemarkSyncTestLog";

bool AppendLogLine(const std::wstring& path, const std::string& line) {
  HANDLE mutex = CreateMutexW(nullptr, FALSE, kLogMutex);
  if (mutex == nullptr) return false;
  DWORD waited = WaitForSingleObject(mutex, 10000);
  if (waited != WAIT_OBJECT_0 && waited != WAIT_ABANDONED) {
    CloseHandle(mutex);
    return false;
  }
  bool written = false;
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    std::string text = line + "\n";
    DWORD done = 0;
    SetFilePointer(file, 0, nullptr, FILE_END);
    written =
        WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &done, nullptr) && done == text.size();
    CloseHandle(file);
  }
  ReleaseMutex(mutex);
  CloseHandle(mutex);
  return written;
}

std::vector<std::string> ReadLogLines(const std::wstring& path) {
  std::vector<std::string> lines;
  HANDLE mutex = CreateMutexW(nullptr, FALSE, kLogMutex);
  DWORD waited = mutex != nullptr ? WaitForSingleObject(mutex, 10000) : WAIT_FAILED;
  std::ifstream in(path.c_str(), std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  if (waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED) ReleaseMutex(mutex);
  if (mutex != nullptr) CloseHandle(mutex);
  return lines;
}

}  // namespace synctest
