#include "DeviceTestSupport.h"

#include <cstring>

#include "ImportHook.h"
#include "TestPaths.h"
#include "TestRegistry.h"

namespace devicetest {

SavedTree::SavedTree(HKEY rootKey, const std::wstring& treePath) : root(rootKey), path(treePath) {
  existed = testreg::KeyExists(root, path);
  if (existed) Collect(L"");
}

void SavedTree::Collect(const std::wstring& relative) {
  keys.push_back(relative);
  std::wstring full = relative.empty() ? path : path + L"\\" + relative;
  HKEY key;
  if (RegOpenKeyExW(root, full.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  for (DWORD index = 0;; ++index) {
    wchar_t name[256];
    DWORD nameLength = 256, type = 0, size = 0;
    if (RegEnumValueW(key, index, name, &nameLength, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) break;
    Value value{relative, name, type, std::vector<BYTE>(size)};
    nameLength = 256;
    RegEnumValueW(key, index, name, &nameLength, nullptr, &type, value.data.data(), &size);
    values.push_back(value);
  }
  std::vector<std::wstring> children;
  for (DWORD index = 0;; ++index) {
    wchar_t name[256];
    DWORD nameLength = 256;
    if (RegEnumKeyExW(key, index, name, &nameLength, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
      break;
    children.push_back(relative.empty() ? std::wstring(name) : relative + L"\\" + name);
  }
  RegCloseKey(key);
  for (const std::wstring& child : children) Collect(child);
}

SavedTree::~SavedTree() {
  testreg::DeleteTree(root, path);
  if (!existed) return;
  for (const std::wstring& relative : keys) {
    std::wstring full = relative.empty() ? path : path + L"\\" + relative;
    HKEY key;
    if (RegCreateKeyExW(root, full.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
        ERROR_SUCCESS)
      continue;
    for (const Value& value : values)
      if (value.key == relative)
        RegSetValueExW(key, value.name.c_str(), 0, value.type, value.data.data(),
                       static_cast<DWORD>(value.data.size()));
    RegCloseKey(key);
  }
}

size_t JournalMark() { return testpaths::ReadDeviceJournal().size(); }

std::vector<std::string> EventsSince(size_t mark, const std::string& source) {
  std::vector<testpaths::JournalLine> lines = testpaths::ReadDeviceJournal();
  std::vector<std::string> events;
  for (size_t i = mark; i < lines.size(); ++i)
    if (lines[i].source == source) events.push_back(lines[i].event);
  return events;
}

std::wstring Text(HKEY root, const std::wstring& path, const wchar_t* name) {
  DWORD type = 0;
  std::wstring text;
  if (!testreg::ReadValue(root, path, name ? name : L"", &type, &text, nullptr) || type != REG_SZ)
    return L"<absent>";
  return text;
}

bool HasValue(HKEY root, const std::wstring& path, const wchar_t* name) {
  HKEY key;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  bool found = RegQueryValueExW(key, name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
  RegCloseKey(key);
  return found;
}

namespace {

typedef HMODULE(WINAPI* LoadLibraryCall)(LPCWSTR);
typedef FARPROC(WINAPI* GetProcAddressCall)(HMODULE, LPCSTR);

LoadLibraryCall g_realLoad = nullptr;
std::wstring g_missing;
GetProcAddressCall g_realGetProc = nullptr;
std::string g_function;
FARPROC g_replacement = nullptr;

HMODULE WINAPI LoadWithout(LPCWSTR name) {
  if (name && _wcsicmp(name, g_missing.c_str()) == 0) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  return g_realLoad(name);
}

FARPROC WINAPI GetProcReplaced(HMODULE module, LPCSTR name) {
  // Names only: an ordinal is a number below 0x10000 in the pointer.
  if (reinterpret_cast<ULONG_PTR>(name) > 0xFFFF && g_function == name) return g_replacement;
  return g_realGetProc(module, name);
}

}  // namespace

MissingLibrary::MissingLibrary(const wchar_t* name) {
  g_missing = name;
  g_realLoad = reinterpret_cast<LoadLibraryCall>(importhook::Replace(
      GetModuleHandleW(nullptr), "kernel32.dll", "LoadLibraryW", reinterpret_cast<void*>(&LoadWithout)));
}

MissingLibrary::~MissingLibrary() {
  if (g_realLoad)
    importhook::Replace(GetModuleHandleW(nullptr), "kernel32.dll", "LoadLibraryW",
                        reinterpret_cast<void*>(g_realLoad));
  g_realLoad = nullptr;
}

bool MissingLibrary::Active() const { return g_realLoad != nullptr; }

bool ReplacedExport::Active() const { return g_realGetProc != nullptr; }

ReplacedExport::ReplacedExport(const char* function, FARPROC replacement) {
  g_function = function;
  g_replacement = replacement;
  g_realGetProc = reinterpret_cast<GetProcAddressCall>(
      importhook::Replace(GetModuleHandleW(nullptr), "kernel32.dll", "GetProcAddress",
                          reinterpret_cast<void*>(&GetProcReplaced)));
}

ReplacedExport::~ReplacedExport() {
  if (g_realGetProc)
    importhook::Replace(GetModuleHandleW(nullptr), "kernel32.dll", "GetProcAddress",
                        reinterpret_cast<void*>(g_realGetProc));
  g_realGetProc = nullptr;
}

}  // namespace devicetest
