// PluginManager: the add-ins read from the registry, and what the item asks about them.
#include "plugins/PluginManager.h"

#include "foundation/Handles.h"

namespace {

const wchar_t kAddInsKey[] = L"SOFTWARE\\Microsoft\\PimApps\\PimExtensions\\Contacts\\AddIns";
const wchar_t kLibraryValue[] = L"DLL";
const wchar_t kMenuValue[] = L"Menu";
const wchar_t kWindowsFolder[] = L"\\Windows\\";
const wchar_t kDialerLibrary[] = L"btdialer.dll";
// Room for a subkey's name and for a value's text, in characters.
const DWORD kNameChars = 260;
const DWORD kTextChars = 520;

// A text value of `key`; false when it is missing, not text or empty.
BOOL ReadTextValue(HKEY key, const wchar_t* name, Str& text) {
  wchar_t buffer[kTextChars + 1];
  DWORD type = 0;
  DWORD bytes = kTextChars * sizeof(wchar_t);
  if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes) != ERROR_SUCCESS)
    return FALSE;
  if (type != REG_SZ && type != REG_EXPAND_SZ) return FALSE;
  buffer[bytes / sizeof(wchar_t)] = 0;
  text = buffer;
  return !text.IsEmpty();
}

BOOL IsFile(const wchar_t* path) {
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace

PluginManager::PluginManager() : count(0), firstCommand(0) {}

PluginManager::~PluginManager() {}

BOOL PluginManager::Init(UINT first) {
  firstCommand = first;
  for (int i = 0; i < count; ++i) plugins[i] = PluginEntry();
  count = 0;
  RegKey key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kAddInsKey, 0, KEY_READ, key.Receive()) != ERROR_SUCCESS)
    return FALSE;
  for (DWORD index = 0; count < kMaxPlugins; ++index) {
    wchar_t name[kNameChars];
    DWORD chars = kNameChars;
    if (RegEnumKeyExW(key.Get(), index, name, &chars, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
      break;
    RegKey sub;
    if (RegOpenKeyExW(key.Get(), name, 0, KEY_READ, sub.Receive()) != ERROR_SUCCESS) continue;
    PluginEntry entry;
    if (ReadPlugin(sub.Get(), entry)) plugins[count++] = entry;
  }
  return TRUE;
}

BOOL PluginManager::ReadPlugin(HKEY key, PluginEntry& entry) {
  if (!ReadTextValue(key, kLibraryValue, entry.path) || !ReadTextValue(key, kMenuValue, entry.text))
    return FALSE;
  if (IsFile(entry.path)) return TRUE;
  // A bare name or a path relative to the system's folder.
  const Str inWindows = Str(kWindowsFolder) + entry.path;
  if (!IsFile(inWindows)) return FALSE;
  entry.path = inWindows;
  return TRUE;
}

Str PluginManager::GetMenuText(int index) const {
  if (index < 0 || index >= count) return Str();
  return plugins[index].text;
}

Str PluginManager::GetLibraryPath(int index) const {
  if (index < 0 || index >= count) return Str();
  return plugins[index].path;
}

int PluginManager::DialPluginCommand() const {
  for (int i = 0; i < count; ++i) {
    Str path = plugins[i].path;
    path.MakeLower();
    if (path.Find(kDialerLibrary) >= 0) return static_cast<int>(firstCommand) + i;
  }
  return -1;
}

BOOL PluginManager::HasDialPlugin() const { return DialPluginCommand() >= 0; }

const wchar_t* PluginManager::DialPluginText() const {
  const int command = DialPluginCommand();
  if (command < 0) return nullptr;
  return plugins[command - static_cast<int>(firstCommand)].text;
}

PluginManager* GetPluginManager() {
  static PluginManager manager;
  return &manager;
}
