#include "TestRegistry.h"

namespace testreg {

const wchar_t kSettingsRoot[] = L"Software\\Zovrix\\PIM";
const wchar_t kTodayItemKey[] = L"Software\\Microsoft\\Today\\Items\\Pagemark";

void DeleteTree(HKEY root, const std::wstring& path) {
  RegDeleteTreeW(root, path.c_str());  // everything under the key
  RegDeleteKeyW(root, path.c_str());   // and the key itself
}

bool KeyExists(HKEY root, const std::wstring& path) {
  HKEY key;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

int ValueCount(HKEY root, const std::wstring& path) {
  HKEY key;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return -1;
  DWORD values = 0;
  RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr,
                   nullptr, nullptr);
  RegCloseKey(key);
  return static_cast<int>(values);
}

bool ReadValue(HKEY root, const std::wstring& path, const std::wstring& name, DWORD* type, std::wstring* text,
               DWORD* number) {
  HKEY key;
  if (type) *type = REG_NONE;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  BYTE data[4096] = {};
  DWORD size = sizeof data - 2, kind = 0;
  LONG result = RegQueryValueExW(key, name.c_str(), nullptr, &kind, data, &size);
  RegCloseKey(key);
  if (result != ERROR_SUCCESS) return false;
  if (type) *type = kind;
  if (text && kind == REG_SZ) *text = reinterpret_cast<const wchar_t*>(data);
  if (number && kind == REG_DWORD) *number = *reinterpret_cast<const DWORD*>(data);
  return true;
}

bool ReadDword(HKEY root, const std::wstring& path, const std::wstring& name, DWORD* number) {
  DWORD type = 0;
  return ReadValue(root, path, name, &type, nullptr, number) && type == REG_DWORD;
}

void WriteDword(HKEY root, const std::wstring& path, const std::wstring& name, DWORD number) {
  HKEY key;
  if (RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
      ERROR_SUCCESS)
    return;
  RegSetValueExW(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
  RegCloseKey(key);
}

void WriteString(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& text) {
  HKEY key;
  if (RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
      ERROR_SUCCESS)
    return;
  RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                 static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(key);
}

}  // namespace testreg
