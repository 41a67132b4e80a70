#include "StoreSalvage.h"

#include <windows.h>

#include <cwchar>

#include "StoreAdmin.h"

namespace {

typedef BOOL(WINAPI* StoreCheckCall)(PAGEMARK_STORE_CHECK*);

}  // namespace

bool ReadStoreSalvage(StoreSalvage& salvage) {
  salvage = StoreSalvage();
  // Looked up at run time: a system library without the call simply has nothing to say.
  HMODULE system = GetModuleHandleW(L"coredll.dll");
  if (system == nullptr) return false;
  StoreCheckCall check =
      reinterpret_cast<StoreCheckCall>(reinterpret_cast<void*>(GetProcAddress(system, "PagemarkStoreCheck")));
  if (check == nullptr) return false;
  PAGEMARK_STORE_CHECK state{};
  state.cbSize = sizeof state;
  if (!check(&state)) return false;
  if (!state.dwSalvaged) return true;
  salvage.salvaged = true;
  salvage.kept = state.dwRecordsKept;
  salvage.lost = state.dwRecordsLost;
  salvage.damagedCopy = state.szDamagedCopy;
  SYSTEMTIME time{};
  if (FileTimeToSystemTime(&state.ftSalvaged, &time)) {
    wchar_t text[40];
    swprintf(text, 40, L"%04u-%02u-%02u %02u:%02u:%02u UTC", time.wYear, time.wMonth, time.wDay, time.wHour,
             time.wMinute, time.wSecond);
    salvage.when = text;
  }
  return true;
}

std::wstring SalvageNotice(const StoreSalvage& salvage) {
  if (!salvage.salvaged || salvage.lost == 0) return std::wstring();
  std::wstring notice = L"pimtool: the device's store was salvaged from a damaged file";
  if (!salvage.when.empty()) notice += L" on " + salvage.when;
  notice += L": " + std::to_wstring(salvage.lost) + L" records were lost, " + std::to_wstring(salvage.kept) +
            L" recovered";
  if (!salvage.damagedCopy.empty()) notice += L"; the damaged file is kept as " + salvage.damagedCopy;
  return notice;
}
