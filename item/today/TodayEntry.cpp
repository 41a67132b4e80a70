// The library's entry from the Today host and the item's own Today registration.
#include "today/PimToday.h"
#include <new>

namespace {

const wchar_t kItemKey[] = L"Software\\Microsoft\\Today\\Items\\Pagemark";

// The item's key, made when missing; null when the registry refuses.
HKEY OpenItemKey() {
  HKEY key = nullptr;
  DWORD disposition = 0;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kItemKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                      &disposition) != ERROR_SUCCESS)
    return nullptr;
  return key;
}

BOOL WriteDword(HKEY key, const wchar_t* name, DWORD value) {
  return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value) ==
         ERROR_SUCCESS;
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
  HKEY key = OpenItemKey();
  if (!key) return FALSE;
  wchar_t path[MAX_PATH] = {0};
  GetModuleFileNameW(g_hModule, path, MAX_PATH);
  DWORD bytes = static_cast<DWORD>((wcslen(path) + 1) * sizeof(wchar_t));
  BOOL ok =
      RegSetValueExW(key, L"DLL", 0, REG_SZ, reinterpret_cast<const BYTE*>(path), bytes) == ERROR_SUCCESS &&
      WriteDword(key, L"Type", 4) && WriteDword(key, L"Enabled", 1) && WriteDword(key, L"Options", 0) &&
      WriteDword(key, L"Selectability", 2);
  RegCloseKey(key);
  return ok;
}

extern "C" BOOL UnRegisterTodayItem() { return RegDeleteKeyW(HKEY_LOCAL_MACHINE, kItemKey) == ERROR_SUCCESS; }

extern "C" BOOL IsTodayRegistered() {
  // Opened with create on purpose: an empty key stays behind when none was there.
  HKEY key = OpenItemKey();
  if (!key) return FALSE;
  DWORD type = 0, value = 0, size = sizeof value;
  LONG result = RegQueryValueExW(key, L"Enabled", nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
  RegCloseKey(key);
  return result == ERROR_SUCCESS && type == REG_DWORD && value != 0;
}

void OnLibraryDetach() {
  if (!g_pimToday) return;
  delete g_pimToday;
  g_pimToday = nullptr;
  for (const wchar_t* name : kItemWindowClasses) UnregisterClassW(name, g_hModule);
}
