#include "foundation/Settings.h"

namespace {

const wchar_t kAddrBookKey[] = L"Software\\Microsoft\\AddrBook";
const wchar_t kDefaultArea[] = L"Default_Area";

// The value name of a dirty mark: the path after its last backslash, or all of it.
const wchar_t* BaseNameOf(const wchar_t* path) {
  const wchar_t* slash = wcsrchr(path, L'\\');
  return slash ? slash + 1 : path;
}

LONG DeleteKeyTree(const Str& parentPath, const Str& name) {
  Str parent = parentPath;
  if (parent.GetLength() == 0 || parent[parent.GetLength() - 1] != L'\\') parent += L'\\';
  Str path = parent + name;
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_ALL_ACCESS, &key) == ERROR_SUCCESS) {
    for (;;) {
      wchar_t child[256];
      DWORD length = 256;
      if (RegEnumKeyExW(key, 0, child, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
      if (DeleteKeyTree(path, Str(child)) != ERROR_SUCCESS) break;
    }
    RegCloseKey(key);
  }
  HKEY parentKey = nullptr;
  LONG result = RegOpenKeyExW(HKEY_CURRENT_USER, parent, 0, KEY_ALL_ACCESS, &parentKey);
  if (result != ERROR_SUCCESS) return result;
  result = RegDeleteKeyW(parentKey, name);
  RegCloseKey(parentKey);
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
    SetLastError(result);
    return nullptr;
  }
  return key;
}

DWORD GetSettingDword(const wchar_t* subkey, const wchar_t* value, DWORD defaultValue) {
  if (!subkey || !value) return defaultValue;
  HKEY key = OpenSettingsKey(subkey, FALSE);
  if (!key) return defaultValue;
  DWORD type = 0, data = 0, size = sizeof data;
  LONG result = RegQueryValueExW(key, value, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size);
  RegCloseKey(key);
  if (result != ERROR_SUCCESS || type != REG_DWORD || size != sizeof data) return defaultValue;
  return data;
}

Str GetSettingString(const wchar_t* subkey, const wchar_t* value, const wchar_t* defaultText) {
  if (!subkey || !value) return Str(defaultText);
  HKEY key = OpenSettingsKey(subkey, FALSE);
  if (!key) return Str(defaultText);
  DWORD type = 0, size = 0;
  LONG result = RegQueryValueExW(key, value, nullptr, &type, nullptr, &size);
  if (result != ERROR_SUCCESS || type != REG_SZ) {
    RegCloseKey(key);
    return Str(defaultText);
  }
  // Read straight into the string's buffer, one spare character for a terminator the value lacks.
  Str text;
  int characters = static_cast<int>(size / sizeof(wchar_t)) + 1;
  wchar_t* buffer = text.GetBuffer(characters);
  DWORD bytes = size;
  result = RegQueryValueExW(key, value, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
  RegCloseKey(key);
  if (result != ERROR_SUCCESS || type != REG_SZ) {
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
  HKEY key = OpenSettingsKey(subkey, FALSE);
  if (!key) return nullptr;
  DWORD type = 0;
  LONG result = RegQueryValueExW(key, value, nullptr, &type, nullptr, size);
  if (result != ERROR_SUCCESS || type != REG_BINARY) {
    RegCloseKey(key);
    return nullptr;
  }
  BYTE* block = static_cast<BYTE*>(LocalAlloc(LMEM_FIXED, *size ? *size : 1));
  if (!block) {
    RegCloseKey(key);
    return nullptr;
  }
  result = RegQueryValueExW(key, value, nullptr, &type, block, size);
  RegCloseKey(key);
  if (result != ERROR_SUCCESS || type != REG_BINARY) {
    LocalFree(block);
    *size = 0;
    return nullptr;
  }
  return block;
}

static BOOL WriteValue(const wchar_t* subkey, const wchar_t* value, DWORD type, const BYTE* data,
                       DWORD length) {
  if (!subkey || !value) return FALSE;
  HKEY key = OpenSettingsKey(subkey, TRUE);
  if (!key) return FALSE;
  LONG result = RegSetValueExW(key, value, 0, type, data, length);
  RegCloseKey(key);
  if (result != ERROR_SUCCESS) SetLastError(result);
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
  HKEY key = OpenSettingsKey(subkey, TRUE);
  if (!key) return FALSE;
  LONG result = RegDeleteValueW(key, value);
  RegCloseKey(key);
  if (result != ERROR_SUCCESS) SetLastError(result);
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

BOOL FlushSettings(const wchar_t* /*subkey*/) { return TRUE; }

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
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kAddrBookKey, 0, KEY_READ, &key) != ERROR_SUCCESS)
    return GetSettingString(SECTION_SETTINGS, L"AreaCode", L"");
  // The platform's key exists: its value rules, and a failed read leaves the text empty.
  wchar_t buffer[101] = {0};
  DWORD type = 0, bytes = 200;
  LONG result = RegQueryValueExW(key, kDefaultArea, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
  RegCloseKey(key);
  if (result != ERROR_SUCCESS || type != REG_SZ) return Str();
  buffer[100] = 0;
  return Str(buffer);
}

BOOL SetAreaCode(const wchar_t* areaCode) {
  if (!areaCode) areaCode = L"";
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kAddrBookKey, 0, KEY_SET_VALUE, &key) != ERROR_SUCCESS)
    return SetSettingString(SECTION_SETTINGS, L"AreaCode", areaCode, TRUE);
  DWORD bytes = static_cast<DWORD>((wcslen(areaCode) + 1) * sizeof(wchar_t));
  LONG result = RegSetValueExW(key, kDefaultArea, 0, REG_SZ, reinterpret_cast<const BYTE*>(areaCode), bytes);
  RegCloseKey(key);
  return result == ERROR_SUCCESS;
}

namespace {

typedef BOOL (*TodayExport)();

// Loads the item's library by name and calls one of its exports. False when the library can't be
// loaded; otherwise the export's result (false when it is missing).
BOOL CallItemExport(const char* name, BOOL* loaded) {
  HMODULE library = LoadLibraryW(L"PagemarkToday.dll");
  if (loaded) *loaded = library != nullptr;
  if (!library) return FALSE;
  BOOL result = FALSE;
  TodayExport function =
      reinterpret_cast<TodayExport>(reinterpret_cast<void*>(GetProcAddress(library, name)));
  if (function) result = function();
  FreeLibrary(library);
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
