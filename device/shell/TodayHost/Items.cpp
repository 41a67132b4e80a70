// The custom items: read from the registry, loaded, polled for their height, laid out, unloaded.
#include "TodayHost.h"

#include <DeviceJournal.h>

#include <algorithm>
#include <cwchar>

namespace todayhost {

namespace {

struct ItemEntry {
  std::wstring name;
  std::wstring dll;
  bool hasDll = false;
  DWORD type = 0;
  DWORD enabled = 0;
  DWORD options = 0;
  DWORD order = 0;
  DWORD flags = 0;
  DWORD selectability = TODAY_SELECTABILITY_NOTSELECTABLE;
};

DWORD ReadDword(HKEY key, const wchar_t* name, DWORD fallback) {
  DWORD value = 0, type = 0, size = sizeof value;
  if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size) != ERROR_SUCCESS ||
      type != REG_DWORD || size != sizeof value)
    return fallback;
  return value;
}

bool ReadText(HKEY key, const wchar_t* name, std::wstring* text) {
  DWORD type = 0, size = 0;
  if (RegQueryValueExW(key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) return false;
  if (type != REG_SZ && type != REG_EXPAND_SZ) return false;
  std::wstring value(size / sizeof(wchar_t) + 1, L'\0');
  if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value[0]), &size) != ERROR_SUCCESS)
    return false;
  value.resize(wcsnlen(value.c_str(), value.size()));
  if (type == REG_EXPAND_SZ) {
    wchar_t expanded[MAX_PATH * 2];
    DWORD n = ExpandEnvironmentStringsW(value.c_str(), expanded, MAX_PATH * 2);
    if (n > 0 && n <= MAX_PATH * 2) value = expanded;
  }
  *text = value;
  return true;
}

std::vector<ItemEntry> ReadEntries() {
  std::vector<ItemEntry> entries;
  HKEY items;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kItemsKey, 0, KEY_READ, &items) != ERROR_SUCCESS) return entries;
  for (DWORD i = 0;; ++i) {
    wchar_t name[256];
    DWORD length = 256;
    LONG rc = RegEnumKeyExW(items, i, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (rc == ERROR_NO_MORE_ITEMS) break;
    if (rc != ERROR_SUCCESS) continue;
    HKEY key;
    if (RegOpenKeyExW(items, name, 0, KEY_READ, &key) != ERROR_SUCCESS) continue;
    ItemEntry entry;
    entry.name.assign(name, wcsnlen(name, MAX_ITEMNAME - 1));
    entry.hasDll = ReadText(key, L"DLL", &entry.dll);
    entry.type = ReadDword(key, L"Type", tlitNil);
    entry.enabled = ReadDword(key, L"Enabled", 0);
    entry.options = ReadDword(key, L"Options", 0);
    entry.order = ReadDword(key, L"Order", 0);
    entry.flags = ReadDword(key, L"Flags", 0);
    entry.selectability = ReadDword(key, L"Selectability", TODAY_SELECTABILITY_NOTSELECTABLE);
    RegCloseKey(key);
    entries.push_back(entry);
  }
  RegCloseKey(items);
  std::stable_sort(entries.begin(), entries.end(), [](const ItemEntry& a, const ItemEntry& b) {
    if (a.order != b.order) return a.order < b.order;
    return _wcsicmp(a.name.c_str(), b.name.c_str()) < 0;
  });
  return entries;
}

}  // namespace

const wchar_t* Host::NameOf(size_t index) const { return items_[index]->tli.szName; }

int Host::IndexOfWindow(HWND hwnd) const {
  if (!hwnd) return -1;
  for (size_t i = 0; i < items_.size(); ++i) {
    HWND item = items_[i]->tli.hwndCustom;
    if (item && (item == hwnd || IsChild(item, hwnd))) return static_cast<int>(i);
  }
  return -1;
}

LRESULT Host::SendToItem(size_t index, UINT msg, WPARAM wParam, LPARAM lParam) {
  HWND target = items_[index]->tli.hwndCustom;
  if (!target || !IsWindow(target)) return 0;
  ++itemCallDepth_;
  LRESULT result = SendMessageW(target, msg, wParam, lParam);
  --itemCallDepth_;
  return result;
}

void Host::LoadItems() {
  size_t loaded = 0;
  for (const ItemEntry& entry : ReadEntries()) {
    const wchar_t* name = entry.name.c_str();
    if (entry.type != tlitCustom) {
      DeviceJournalWrite(kJournalSource, L"item %ls skipped type %lu", name, entry.type);
      continue;
    }
    if (!entry.enabled) {
      DeviceJournalWrite(kJournalSource, L"item %ls disabled", name);
      continue;
    }
    if (!entry.hasDll || entry.dll.empty()) {
      DeviceJournalWrite(kJournalSource, L"item %ls load failed no library path", name);
      continue;
    }

    auto item = std::make_unique<HostItem>();
    TODAYLISTITEM& tli = item->tli;
    lstrcpynW(tli.szName, name, MAX_ITEMNAME);
    tli.tlit = tlitCustom;
    tli.dwOrder = entry.order;
    tli.cyp = 0;
    tli.fEnabled = TRUE;
    tli.fOptions = entry.options ? TRUE : FALSE;
    tli.grfFlags = entry.flags;
    lstrcpynW(tli.szDLLPath, entry.dll.c_str(), MAX_PATH);
    tli.dwSelectability = entry.selectability;

    // Device paths such as "\Program Files\..." are rooted at the current drive; a full path lets the
    // library's own folder be searched for what it needs.
    wchar_t full[MAX_PATH];
    DWORD n = GetFullPathNameW(tli.szDLLPath, MAX_PATH, full, nullptr);
    HMODULE module = (n > 0 && n < MAX_PATH) ? LoadLibraryExW(full, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)
                                             : LoadLibraryW(tli.szDLLPath);
    if (!module) {
      DWORD error = GetLastError();
      if (error == ERROR_MOD_NOT_FOUND || error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
        DeviceJournalWrite(kJournalSource, L"item %ls load failed library missing (error %lu)", name, error);
      else
        DeviceJournalWrite(kJournalSource, L"item %ls load failed library error %lu", name, error);
      continue;
    }
    auto initialize = reinterpret_cast<PFNCUSTOMINITIALIZEITEM>(
        reinterpret_cast<void*>(GetProcAddress(module, MAKEINTRESOURCEA(ORDINAL_INITIALIZEITEM))));
    if (!initialize) {
      DeviceJournalWrite(kJournalSource, L"item %ls load failed ordinal %d missing", name,
                         ORDINAL_INITIALIZEITEM);
      FreeLibrary(module);
      continue;
    }
    tli.hinstDLL = module;
    item->module = module;
    // Keep the record at its final address before the item sees it: it may hold on to the pointer.
    items_.push_back(std::move(item));
    HostItem& placed = *items_.back();
    ++itemCallDepth_;
    HWND window = initialize(&placed.tli, hwnd_);
    --itemCallDepth_;
    if (!window) {
      DeviceJournalWrite(kJournalSource, L"item %ls load failed init returned null", name);
      items_.pop_back();
      FreeLibrary(module);
      continue;
    }
    placed.tli.hwndCustom = window;
    ++loaded;
    DeviceJournalWrite(kJournalSource, L"item %ls loaded %ls", name, placed.tli.szDLLPath);
  }
  // The first poll gives each item its height.
  Poll();
  Layout();
  InvalidateRect(hwnd_, nullptr, FALSE);
  DeviceJournalWrite(kJournalSource, L"ready %u", static_cast<unsigned>(loaded));
}

void Host::UnloadItems() {
  selected_ = -1;
  // Take the list out first: nothing reached from the items' messages below may walk it.
  std::vector<std::unique_ptr<HostItem>> items;
  items.swap(items_);
  for (auto& item : items) {
    if (item->tli.hwndCustom && IsWindow(item->tli.hwndCustom)) {
      ++itemCallDepth_;
      SendMessageW(item->tli.hwndCustom, WM_TODAYCUSTOM_CLEARCACHE, reinterpret_cast<WPARAM>(&item->tli), 0);
      DestroyWindow(item->tli.hwndCustom);
      --itemCallDepth_;
    }
    item->tli.hwndCustom = nullptr;
    DeviceJournalWrite(kJournalSource, L"item %ls unloaded", item->tli.szName);
    if (item->module) FreeLibrary(item->module);
  }
}

void Host::Reload() {
  if (itemCallDepth_ > 0) {
    reloadPending_ = true;
    return;
  }
  DeviceJournalWrite(kJournalSource, L"reload");
  UnloadItems();
  LoadItems();
}

void Host::Poll() {
  bool changed = false;
  for (size_t i = 0; i < items_.size(); ++i) {
    HostItem& item = *items_[i];
    if (!item.tli.hwndCustom) continue;
    if (!SendToItem(i, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item.tli), 0)) continue;
    changed = true;
    if (item.tli.cyp != item.height) {
      item.height = item.tli.cyp;
      DeviceJournalWrite(kJournalSource, L"item %ls height %lu", item.tli.szName, item.height);
    }
    RedrawWindow(item.tli.hwndCustom, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
  }
  if (!changed) return;
  if (selected_ >= 0 && !Selectable(selected_)) ClearSelection();
  Layout();
  InvalidateRect(hwnd_, nullptr, FALSE);
}

void Host::Layout() {
  RECT client;
  GetClientRect(hwnd_, &client);
  const int width = client.right - client.left;
  int y = HeaderHeight();
  for (auto& entry : items_) {
    HostItem& item = *entry;
    if (!item.tli.hwndCustom) continue;
    const int height = static_cast<int>(item.height);
    if (height > 0) y += Gap();
    RECT want = {0, y, width, y + height};
    y += height;

    RECT now;
    GetWindowRect(item.tli.hwndCustom, &now);
    MapWindowPoints(nullptr, hwnd_, reinterpret_cast<POINT*>(&now), 2);
    if (!EqualRect(&now, &want))
      SetWindowPos(item.tli.hwndCustom, nullptr, want.left, want.top, width, height,
                   SWP_NOZORDER | SWP_NOACTIVATE);
    if (!EqualRect(&item.placed, &want)) {
      item.placed = want;
      DeviceJournalWrite(kJournalSource, L"item %ls placed %ld %ld %ld %ld", item.tli.szName, want.left,
                         want.top, want.right - want.left, want.bottom - want.top);
    }
  }
}

}  // namespace todayhost
