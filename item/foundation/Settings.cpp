#include "foundation/Settings.h"

#include "foundation/DebugUtils.h"
#include "foundation/Handles.h"

namespace {

const wchar_t kAddrBookKey[] = L"Software\\Microsoft\\AddrBook";
const wchar_t kDefaultArea[] = L"Default_Area";

// An absent key or value is the normal state of a setting that was never written: its default
// stands in, and there is nothing to log.
bool IsAbsent(LONG result) { return result == ERROR_FILE_NOT_FOUND || result == ERROR_PATH_NOT_FOUND; }

// Logs a registry call that failed, with the key's full path (and the value's name, when given).
void LogRegistryFailure(const wchar_t* call, LONG result, const wchar_t* root, const wchar_t* keyPath,
                        const wchar_t* value, const wchar_t* function, int line) {
  Str subject = Str(root) + L"\\" + keyPath;
  if (value != nullptr) subject += Str(L" : ") + value;
  LogCallFailure(call, static_cast<DWORD>(result), subject, L"Settings", function, line);
}

// The same for a key of the settings tree, given by its subkey.
void LogSettingFailure(const wchar_t* call, LONG result, const wchar_t* subkey, const wchar_t* value,
                       const wchar_t* function, int line) {
  Str path = Str(SETTINGS_ROOT) + subkey;
  LogRegistryFailure(call, result, L"HKCU", path, value, function, line);
}

// The value name of a dirty mark: the path after its last backslash, or all of it.
const wchar_t* BaseNameOf(const wchar_t* path) {
  const wchar_t* slash = wcsrchr(path, L'\\');
  return slash ? slash + 1 : path;
}

LONG DeleteKeyTree(const Str& parentPath, const Str& name) {
  Str parent = parentPath;
  if (parent.GetLength() == 0 || parent[parent.GetLength() - 1] != L'\\') parent += L'\\';
  Str path = parent + name;
  RegKey key;
  LONG result = RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_ALL_ACCESS, key.Receive());
  if (result == ERROR_SUCCESS) {
    for (;;) {
      wchar_t child[256];
      DWORD length = 256;
      result = RegEnumKeyExW(key.Get(), 0, child, &length, nullptr, nullptr, nullptr, nullptr);
      if (result != ERROR_SUCCESS) {
        // No more subkeys is how the loop normally ends.
        if (result != ERROR_NO_MORE_ITEMS)
          LogRegistryFailure(L"RegEnumKeyExW", result, L"HKCU", path, nullptr, L"DeleteKeyTree", __LINE__);
        break;
      }
      if (DeleteKeyTree(path, Str(child)) != ERROR_SUCCESS) break;
    }
    key.Reset();
  } else if (!IsAbsent(result)) {
    LogRegistryFailure(L"RegOpenKeyExW", result, L"HKCU", path, nullptr, L"DeleteKeyTree", __LINE__);
  }
  RegKey parentKey;
  result = RegOpenKeyExW(HKEY_CURRENT_USER, parent, 0, KEY_ALL_ACCESS, parentKey.Receive());
  if (result != ERROR_SUCCESS) {
    if (!IsAbsent(result))
      LogRegistryFailure(L"RegOpenKeyExW", result, L"HKCU", parent, nullptr, L"DeleteKeyTree", __LINE__);
    return result;
  }
  result = RegDeleteKeyW(parentKey.Get(), name);
  if (result != ERROR_SUCCESS && !IsAbsent(result))
    LogRegistryFailure(L"RegDeleteKeyW", result, L"HKCU", path, nullptr, L"DeleteKeyTree", __LINE__);
  return result;
}

}  // namespace

HKEY OpenSettingsKey(const wchar_t* subkey, BOOL create) {
  if (!subkey) return nullptr;
  Str path = Str(SETTINGS_ROOT) + subkey;
  HKEY key = nullptr;
  LONG result;
  if (create) {
    DWORD disposition = 0;
    result =
        RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &disposition);
  } else {
    result = RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key);
  }
  if (result != ERROR_SUCCESS) {
    // Reading a key that was never written is normal; failing to make one, or to open one that is
    // there, is not.
    if (create || !IsAbsent(result))
      LogSettingFailure(create ? L"RegCreateKeyExW" : L"RegOpenKeyExW", result, subkey, nullptr,
                        L"OpenSettingsKey", __LINE__);
    SetLastError(result);
    return nullptr;
  }
  return key;
}

DWORD GetSettingDword(const wchar_t* subkey, const wchar_t* value, DWORD defaultValue) {
  if (!subkey || !value) return defaultValue;
  RegKey key(OpenSettingsKey(subkey, FALSE));
  if (key.IsEmpty()) return defaultValue;
  DWORD type = 0, data = 0, size = sizeof data;
  LONG result = RegQueryValueExW(key.Get(), value, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size);
  // A longer value of another type doesn't fit the word; it counts as absent, as any other type does.
  if (result != ERROR_SUCCESS && !IsAbsent(result) && result != ERROR_MORE_DATA)
    LogSettingFailure(L"RegQueryValueExW", result, subkey, value, L"GetSettingDword", __LINE__);
  if (result != ERROR_SUCCESS || type != REG_DWORD || size != sizeof data) return defaultValue;
  return data;
}

Str GetSettingString(const wchar_t* subkey, const wchar_t* value, const wchar_t* defaultText) {
  if (!subkey || !value) return Str(defaultText);
  RegKey key(OpenSettingsKey(subkey, FALSE));
  if (key.IsEmpty()) return Str(defaultText);
  DWORD type = 0, size = 0;
  LONG result = RegQueryValueExW(key.Get(), value, nullptr, &type, nullptr, &size);
  if (result != ERROR_SUCCESS || type != REG_SZ) {
    if (result != ERROR_SUCCESS && !IsAbsent(result))
      LogSettingFailure(L"RegQueryValueExW", result, subkey, value, L"GetSettingString", __LINE__);
    return Str(defaultText);
  }
  // Read straight into the string's buffer, one spare character for a terminator the value lacks.
  Str text;
  int characters = static_cast<int>(size / sizeof(wchar_t)) + 1;
  wchar_t* buffer = text.GetBuffer(characters);
  DWORD bytes = size;
  result = RegQueryValueExW(key.Get(), value, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
  key.Reset();
  if (result != ERROR_SUCCESS || type != REG_SZ) {
    // Between the two reads another process may have changed or removed the value.
    if (result != ERROR_SUCCESS && !IsAbsent(result) && result != ERROR_MORE_DATA)
      LogSettingFailure(L"RegQueryValueExW", result, subkey, value, L"GetSettingString", __LINE__);
    text.ReleaseBuffer(0);
    return Str(defaultText);
  }
  buffer[bytes / sizeof(wchar_t) < static_cast<DWORD>(characters) ? bytes / sizeof(wchar_t)
                                                                  : characters - 1] = 0;
  text.ReleaseBuffer(-1);  // the text as far as its first zero
  return text;
}

void GetSettingBuffer(const wchar_t* subkey, const wchar_t* value, wchar_t* destination, int size,
                      const wchar_t* defaultText) {
  if (!destination || size <= 0) return;
  Str text = GetSettingString(subkey, value, defaultText);
  const wchar_t* source =
      static_cast<int>(text.GetLength()) < size ? static_cast<const wchar_t*>(text) : defaultText;
  if (!source) source = L"";
  wcscpy(destination, source);
}

BYTE* GetSettingBinary(const wchar_t* subkey, const wchar_t* value, DWORD* size) {
  if (size) *size = 0;
  if (!subkey || !value || !size) return nullptr;
  RegKey key(OpenSettingsKey(subkey, FALSE));
  if (key.IsEmpty()) return nullptr;
  DWORD type = 0;
  LONG result = RegQueryValueExW(key.Get(), value, nullptr, &type, nullptr, size);
  if (result != ERROR_SUCCESS || type != REG_BINARY) {
    if (result != ERROR_SUCCESS && !IsAbsent(result))
      LogSettingFailure(L"RegQueryValueExW", result, subkey, value, L"GetSettingBinary", __LINE__);
    return nullptr;
  }
  LocalMemory block(LocalAlloc(LMEM_FIXED, *size ? *size : 1));
  if (block.IsEmpty()) {
    LogSettingFailure(L"LocalAlloc", static_cast<LONG>(GetLastError()), subkey, value, L"GetSettingBinary",
                      __LINE__);
    return nullptr;
  }
  result = RegQueryValueExW(key.Get(), value, nullptr, &type, static_cast<BYTE*>(block.Get()), size);
  key.Reset();
  if (result != ERROR_SUCCESS || type != REG_BINARY) {
    if (result != ERROR_SUCCESS && !IsAbsent(result) && result != ERROR_MORE_DATA)
      LogSettingFailure(L"RegQueryValueExW", result, subkey, value, L"GetSettingBinary", __LINE__);
    block.Reset();
    *size = 0;
    return nullptr;
  }
  return static_cast<BYTE*>(block.Release());
}

static BOOL WriteValue(const wchar_t* subkey, const wchar_t* value, DWORD type, const BYTE* data,
                       DWORD length) {
  if (!subkey || !value) return FALSE;
  RegKey key(OpenSettingsKey(subkey, TRUE));
  if (key.IsEmpty()) return FALSE;
  LONG result = RegSetValueExW(key.Get(), value, 0, type, data, length);
  if (result != ERROR_SUCCESS) {
    LogSettingFailure(L"RegSetValueExW", result, subkey, value, L"WriteValue", __LINE__);
    SetLastError(result);
  }
  return result == ERROR_SUCCESS;
}

BOOL SetSettingDword(const wchar_t* subkey, const wchar_t* value, DWORD number, BOOL /*flush*/) {
  return WriteValue(subkey, value, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
}

BOOL SetSettingString(const wchar_t* subkey, const wchar_t* value, const wchar_t* text, BOOL /*flush*/) {
  if (!text) text = L"";
  DWORD bytes = static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t));
  return WriteValue(subkey, value, REG_SZ, reinterpret_cast<const BYTE*>(text), bytes);
}

BOOL SetSettingBinary(const wchar_t* subkey, const wchar_t* value, const BYTE* bytes, DWORD length) {
  return WriteValue(subkey, value, REG_BINARY, bytes, length);
}

BOOL DeleteSettingValue(const wchar_t* subkey, const wchar_t* value) {
  if (!subkey || !value) return FALSE;
  RegKey key(OpenSettingsKey(subkey, TRUE));
  if (key.IsEmpty()) return FALSE;
  LONG result = RegDeleteValueW(key.Get(), value);
  if (result != ERROR_SUCCESS) {
    // Deleting a value that isn't there fails, and is nothing to log.
    if (!IsAbsent(result))
      LogSettingFailure(L"RegDeleteValueW", result, subkey, value, L"DeleteSettingValue", __LINE__);
    SetLastError(result);
  }
  return result == ERROR_SUCCESS;
}

BOOL DeleteSettingKey(const wchar_t* subkey) {
  if (!subkey || !*subkey) return FALSE;
  Str parent(SETTINGS_ROOT);
  Str name(subkey);
  int slash = name.ReverseFind(L'\\');
  if (slash >= 0) {
    parent += name.Left(slash);
    name = name.Mid(slash + 1);
  }
  LONG result = DeleteKeyTree(parent, name);
  if (result != ERROR_SUCCESS) SetLastError(result);
  return result == ERROR_SUCCESS;
}

BOOL FlushSettings(const wchar_t* /*subkey*/) {
  // The platform's registry keeps what was written without being asked; callers still mark the end of
  // a group of writes here, so that a registry that needs a flush has one place to do it.
  return TRUE;
}

BOOL IsDirtyMark(const wchar_t* path) {
  if (!path) return FALSE;
  return GetSettingDword(SECTION_SETTINGS, BaseNameOf(path), 0) == 1;
}

BOOL SetDirtyMark(const wchar_t* path) {
  if (!path) return FALSE;
  return SetSettingDword(SECTION_SETTINGS, BaseNameOf(path), 1, TRUE);
}

BOOL ClearDirtyMark(const wchar_t* path) {
  if (!path) return FALSE;
  return SetSettingDword(SECTION_SETTINGS, BaseNameOf(path), 0, TRUE);
}

Str GetAreaCode() {
  RegKey key;
  LONG result = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kAddrBookKey, 0, KEY_READ, key.Receive());
  if (result != ERROR_SUCCESS) {
    if (!IsAbsent(result))
      LogRegistryFailure(L"RegOpenKeyExW", result, L"HKLM", kAddrBookKey, nullptr, L"GetAreaCode", __LINE__);
    return GetSettingString(SECTION_SETTINGS, L"AreaCode", L"");
  }
  // The platform's key exists: its value rules, and a failed read leaves the text empty.
  wchar_t buffer[101] = {0};
  DWORD type = 0, bytes = 200;
  result = RegQueryValueExW(key.Get(), kDefaultArea, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
  if (result != ERROR_SUCCESS && !IsAbsent(result))
    LogRegistryFailure(L"RegQueryValueExW", result, L"HKLM", kAddrBookKey, kDefaultArea, L"GetAreaCode",
                       __LINE__);
  if (result != ERROR_SUCCESS || type != REG_SZ) return Str();
  buffer[100] = 0;
  return Str(buffer);
}

BOOL SetAreaCode(const wchar_t* areaCode) {
  if (!areaCode) areaCode = L"";
  RegKey key;
  LONG result = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kAddrBookKey, 0, KEY_SET_VALUE, key.Receive());
  if (result != ERROR_SUCCESS) {
    if (!IsAbsent(result))
      LogRegistryFailure(L"RegOpenKeyExW", result, L"HKLM", kAddrBookKey, nullptr, L"SetAreaCode", __LINE__);
    return SetSettingString(SECTION_SETTINGS, L"AreaCode", areaCode, TRUE);
  }
  DWORD bytes = static_cast<DWORD>((wcslen(areaCode) + 1) * sizeof(wchar_t));
  result = RegSetValueExW(key.Get(), kDefaultArea, 0, REG_SZ, reinterpret_cast<const BYTE*>(areaCode), bytes);
  if (result != ERROR_SUCCESS)
    LogRegistryFailure(L"RegSetValueExW", result, L"HKLM", kAddrBookKey, kDefaultArea, L"SetAreaCode",
                       __LINE__);
  return result == ERROR_SUCCESS;
}

namespace {

typedef BOOL (*TodayExport)();

const wchar_t kItemLibrary[] = L"PagemarkToday.dll";

// Loads the item's library by name and calls one of its exports. False when the library can't be
// loaded; otherwise the export's result (false when it is missing).
BOOL CallItemExport(const char* name, BOOL* loaded) {
  LoadedLibrary library(LoadLibraryW(kItemLibrary));
  if (loaded) *loaded = !library.IsEmpty();
  if (library.IsEmpty()) {
    LogCallFailure(L"LoadLibraryW", GetLastError(), kItemLibrary, L"Settings", L"CallItemExport", __LINE__);
    return FALSE;
  }
  BOOL result = FALSE;
  TodayExport function =
      reinterpret_cast<TodayExport>(reinterpret_cast<void*>(GetProcAddress(library.Get(), name)));
  if (function) {
    result = function();
  } else {
    // The export's name is plain ASCII.
    Str subject = Str(kItemLibrary) + L" : ";
    for (const char* at = name; *at != 0; ++at) subject += static_cast<wchar_t>(*at);
    LogCallFailure(L"GetProcAddress", GetLastError(), subject, L"Settings", L"CallItemExport", __LINE__);
  }
  return result;
}

}  // namespace

BOOL SetTodayPlug(BOOL enable) {
  BOOL loaded = FALSE;
  BOOL result = CallItemExport(enable ? "RegisterTodayItem" : "UnRegisterTodayItem", &loaded);
  if (!loaded) return FALSE;
  // Tell the Today screen to read its items again.
  HWND today = FindWindowW(L"DesktopExplorerWindow", nullptr);
  DWORD_PTR answer = 0;
  SendMessageTimeoutW(today ? today : HWND_BROADCAST, WM_WININICHANGE, 0xF2, 0, SMTO_ABORTIFHUNG, 5000,
                      &answer);
  SetSettingDword(SECTION_SETTINGS, L"TodayPlug", enable ? 1 : 0, TRUE);
  return result;
}

BOOL IsTodayPlugRegistered() { return CallItemExport("IsTodayRegistered", nullptr); }
