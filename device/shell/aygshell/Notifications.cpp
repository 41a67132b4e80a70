// Shell notifications: what is put up stays in the device's registry until it is taken down, so that
// the program that removes a notification needn't be the one that added it.
#include <DeviceShell.h>
#include <aygshell.h>

#include <cwchar>

#include "Shell.h"

namespace ayg {

namespace {

// "{class id} id", the subkey of one notification.
void KeyName(const CLSID& clsid, DWORD id, wchar_t* name, size_t size) {
  _snwprintf(name, size - 1, L"{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X} %lu",
             static_cast<unsigned long>(clsid.Data1), clsid.Data2, clsid.Data3, clsid.Data4[0],
             clsid.Data4[1], clsid.Data4[2], clsid.Data4[3], clsid.Data4[4], clsid.Data4[5], clsid.Data4[6],
             clsid.Data4[7], static_cast<unsigned long>(id));
  name[size - 1] = 0;
}

LONG SetText(HKEY key, const wchar_t* name, const wchar_t* text) {
  if (!text) text = L"";
  return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                        static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t)));
}

LONG SetNumber(HKEY key, const wchar_t* name, DWORD value) {
  return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
}

}  // namespace

}  // namespace ayg

using namespace ayg;

extern "C" LRESULT SHNotificationAdd(LPSHNOTIFICATIONDATA data) {
  if (!data || data->cbStruct != sizeof(SHNOTIFICATIONDATA)) return ERROR_INVALID_PARAMETER;
  wchar_t name[64];
  KeyName(data->clsid, data->dwID, name, 64);
  HKEY all = nullptr, key = nullptr;
  LONG result = RegCreateKeyExW(HKEY_CURRENT_USER, DEVICE_NOTIFICATIONS_KEY, 0, nullptr, 0, KEY_ALL_ACCESS,
                                nullptr, &all, nullptr);
  if (result != ERROR_SUCCESS) return result;
  DWORD disposition = 0;
  result = RegCreateKeyExW(all, name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &disposition);
  RegCloseKey(all);
  if (result != ERROR_SUCCESS) return result;
  result = SetText(key, L"Title", data->pszTitle);
  if (result == ERROR_SUCCESS) result = SetText(key, L"HTML", data->pszHTML);
  if (result == ERROR_SUCCESS) result = SetNumber(key, L"Priority", static_cast<DWORD>(data->npPriority));
  if (result == ERROR_SUCCESS) result = SetNumber(key, L"Duration", data->csDuration);
  if (result == ERROR_SUCCESS) result = SetNumber(key, L"Flags", data->grfFlags);
  RegCloseKey(key);
  if (result != ERROR_SUCCESS) return result;
  Journal(L"notification %ls %ls: %ls", name, disposition == REG_OPENED_EXISTING_KEY ? L"replaced" : L"added",
          data->pszTitle ? data->pszTitle : L"");
  return ERROR_SUCCESS;
}

extern "C" LRESULT SHNotificationRemove(const CLSID* clsid, DWORD id) {
  if (!clsid) return ERROR_INVALID_PARAMETER;
  wchar_t name[64];
  KeyName(*clsid, id, name, 64);
  HKEY all = nullptr;
  LONG result = RegOpenKeyExW(HKEY_CURRENT_USER, DEVICE_NOTIFICATIONS_KEY, 0, KEY_ALL_ACCESS, &all);
  if (result == ERROR_SUCCESS) {
    result = RegDeleteKeyW(all, name);
    RegCloseKey(all);
  }
  if (result == ERROR_FILE_NOT_FOUND) result = ERROR_NOT_FOUND;
  Journal(L"notification %ls %ls", name, result == ERROR_SUCCESS ? L"removed" : L"to remove not found");
  return result;
}
