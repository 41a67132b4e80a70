#include "MappedTestSupport.h"

#include <cstring>
#include <fstream>
#include <sstream>

#include "foundation/DebugUtils.h"

std::wstring TempFile(const std::wstring& name) {
  wchar_t folder[MAX_PATH];
  DWORD length = GetTempPathW(MAX_PATH, folder);
  std::wstring path(folder, length);
  if (path.empty() || path.back() != L'\\') path += L'\\';
  return path + L"pagemark_mapped_" + name;
}

bool FileExists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::vector<uint8_t> ReadBytes(const std::wstring& path) {
  std::vector<uint8_t> bytes;
  HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return bytes;
  DWORD size = GetFileSize(file, nullptr);
  bytes.resize(size);
  DWORD read = 0;
  if (size > 0 && !ReadFile(file, bytes.data(), size, &read, nullptr)) read = 0;
  bytes.resize(read);
  CloseHandle(file);
  return bytes;
}

bool WriteBytes(const std::wstring& path, const std::vector<uint8_t>& bytes) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  BOOL ok = bytes.empty() || WriteFile(file, bytes.data(), DWORD(bytes.size()), &written, nullptr);
  CloseHandle(file);
  return ok && written == bytes.size();
}

int64_t FileSizeOf(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return -1;
  return (int64_t(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

namespace {

std::wstring LogPath() {
  wchar_t path[MAX_PATH];
  DWORD length = GetModuleFileNameW(GetModuleHandleW(nullptr), path, MAX_PATH);
  return std::wstring(path, length) + L".log";
}

DWORD g_watchedThread = 0;
StopRecord g_stop;

LONG CALLBACK EndWatchedThread(EXCEPTION_POINTERS* info) {
  if (GetCurrentThreadId() != g_watchedThread) return EXCEPTION_CONTINUE_SEARCH;
  g_stop.raised = true;
  g_stop.code = info->ExceptionRecord->ExceptionCode;
  ExitThread(2);
}

DWORD WINAPI RunBody(void* body) {
  (*static_cast<std::function<void()>*>(body))();
  return 1;
}

}  // namespace

std::wstring FreshLog() {
  SetLogModule(GetModuleHandleW(nullptr));
  std::wstring path = LogPath();
  DeleteFileW(path.c_str());
  return path;
}

std::string LogText() {
  std::vector<uint8_t> bytes = ReadBytes(LogPath());
  return std::string(bytes.begin(), bytes.end());
}

StopRecord RunOnOwnThread(std::function<void()> body) {
  g_stop = StopRecord();
  PVOID handler = AddVectoredExceptionHandler(1, EndWatchedThread);
  DWORD id = 0;
  HANDLE thread = CreateThread(nullptr, 0, RunBody, &body, CREATE_SUSPENDED, &id);
  if (thread == nullptr) {
    RemoveVectoredExceptionHandler(handler);
    return g_stop;
  }
  g_watchedThread = id;
  ResumeThread(thread);
  DWORD waited = WaitForSingleObject(thread, 20000);
  if (waited != WAIT_OBJECT_0) TerminateThread(thread, 3);
  CloseHandle(thread);
  RemoveVectoredExceptionHandler(handler);
  g_watchedThread = 0;
  return g_stop;
}

uint32_t WordOf(const uint8_t* bytes, size_t offset) {
  uint32_t value;
  std::memcpy(&value, bytes + offset, 4);
  return value;
}

void PutWord(uint8_t* bytes, size_t offset, uint32_t value) { std::memcpy(bytes + offset, &value, 4); }

uint8_t PatternByte(uint32_t seed, uint32_t position) {
  uint32_t x = seed * 2654435761u + position * 40503u + (position >> 8) * 7u;
  x ^= x >> 13;
  return uint8_t(x);
}

void FillPattern(uint8_t* bytes, uint32_t count, uint32_t seed) {
  for (uint32_t i = 0; i < count; ++i) bytes[i] = PatternByte(seed, i);
}

bool HasPattern(const uint8_t* bytes, uint32_t count, uint32_t seed) {
  for (uint32_t i = 0; i < count; ++i)
    if (bytes[i] != PatternByte(seed, i)) return false;
  return true;
}
