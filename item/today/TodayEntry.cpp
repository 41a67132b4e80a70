// The library's entry from the Today host and the item's own Today registration.
#include "today/PimToday.h"
#include <new>
#include "foundation/DebugUtils.h"
#include "foundation/Handles.h"

namespace {

const wchar_t kItemKey[] = L"Software\\Microsoft\\Today\\Items\\Pagemark";
const wchar_t kItemKeyPath[] = L"HKLM\\Software\\Microsoft\\Today\\Items\\Pagemark";

void LogRegistryFailure(const wchar_t* call, LONG result, const wchar_t* function, int line) {
  LogCallFailure(call, static_cast<DWORD>(result), kItemKeyPath, L"TodayEntry", function, line);
}

// The item's key, made when missing; null when the registry refuses.
HKEY OpenItemKey() {
  HKEY key = nullptr;
  DWORD disposition = 0;
  LONG result = RegCreateKeyExW(HKEY_LOCAL_MACHINE, kItemKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                                &disposition);
  if (result != ERROR_SUCCESS) {
    LogRegistryFailure(L"RegCreateKeyExW", result, L"OpenItemKey", __LINE__);
    return nullptr;
  }
  return key;
}

BOOL WriteDword(HKEY key, const wchar_t* name, DWORD value) {
  LONG result = RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
  if (result != ERROR_SUCCESS) LogRegistryFailure(L"RegSetValueExW", result, L"WriteDword", __LINE__);
  return result == ERROR_SUCCESS;
}

}  // namespace

extern "C" HWND InitializeCustomItem(TODAYLISTITEM* item, HWND parent) {
  if (!item || !item->fEnabled) return nullptr;
  if (!g_pimToday) {
    g_pimToday = new (std::nothrow) CPimToday;
    if (!g_pimToday) return nullptr;
  }
  HINSTANCE instance = item->hinstDLL ? item->hinstDLL : g_hModule;
  return g_pimToday->Init(parent, instance);
}

extern "C" BOOL RegisterTodayItem() {
  RegKey key(OpenItemKey());
  if (key.IsEmpty()) return FALSE;
  wchar_t path[MAX_PATH] = {0};
  GetModuleFileNameW(g_hModule, path, MAX_PATH);
  DWORD bytes = static_cast<DWORD>((wcslen(path) + 1) * sizeof(wchar_t));
  LONG result = RegSetValueExW(key.Get(), L"DLL", 0, REG_SZ, reinterpret_cast<const BYTE*>(path), bytes);
  if (result != ERROR_SUCCESS) LogRegistryFailure(L"RegSetValueExW", result, L"RegisterTodayItem", __LINE__);
  return result == ERROR_SUCCESS && WriteDword(key.Get(), L"Type", 4) &&
         WriteDword(key.Get(), L"Enabled", 1) && WriteDword(key.Get(), L"Options", 0) &&
         WriteDword(key.Get(), L"Selectability", 2);
}

extern "C" BOOL UnRegisterTodayItem() {
  LONG result = RegDeleteKeyW(HKEY_LOCAL_MACHINE, kItemKey);
  // An item that isn't registered has nothing to take away.
  if (result != ERROR_SUCCESS && result != ERROR_FILE_NOT_FOUND)
    LogRegistryFailure(L"RegDeleteKeyW", result, L"UnRegisterTodayItem", __LINE__);
  return result == ERROR_SUCCESS;
}

extern "C" BOOL IsTodayRegistered() {
  // Opened with create on purpose: an empty key stays behind when none was there.
  RegKey key(OpenItemKey());
  if (key.IsEmpty()) return FALSE;
  DWORD type = 0, value = 0, size = sizeof value;
  LONG result =
      RegQueryValueExW(key.Get(), L"Enabled", nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
  return result == ERROR_SUCCESS && type == REG_DWORD && value != 0;
}

void OnLibraryDetach() {
  if (!g_pimToday) return;
  delete g_pimToday;
  g_pimToday = nullptr;
  for (const wchar_t* name : kItemWindowClasses) UnregisterClassW(name, g_hModule);
}
