#include "SharedLog.h"

#include <windows.h>

#include "TestPaths.h"

namespace sharedlog {

namespace {

const wchar_t kLogMutex[] = L"PagemarkTestSharedLog";

// Holds the log's mutex while it lives, if it could be had within 10 s.
class LogLock {
 public:
  LogLock() : mutex(CreateMutexW(nullptr, FALSE, kLogMutex)) {
    if (mutex == nullptr) return;
    const DWORD waited = WaitForSingleObject(mutex, 10000);
    held = waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
  }
  ~LogLock() {
    if (held) ReleaseMutex(mutex);
    if (mutex != nullptr) CloseHandle(mutex);
  }
  LogLock(const LogLock&) = delete;
  LogLock& operator=(const LogLock&) = delete;
  bool Held() const { return held; }

 private:
  HANDLE mutex;
  bool held = false;
};

}  // namespace

bool AppendLine(const std::wstring& path, const std::string& line) {
  LogLock lock;
  if (!lock.Held()) return false;
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const std::string text = line + "\n";
  DWORD done = 0;
  SetFilePointer(file, 0, nullptr, FILE_END);
  const bool written =
      WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &done, nullptr) && done == text.size();
  CloseHandle(file);
  return written;
}

std::vector<std::string> ReadLines(const std::wstring& path) {
  LogLock lock;
  return testpaths::ReadFileLines(path);
}

}  // namespace sharedlog
