// The item made as the Today host makes it, over a device with a few contacts, with the item's beeps
// counted at its import of MessageBeep; shared by the tests of the item window and of its popup.
#pragma once
#include <windows.h>
#include "ImportHook.h"
#include "TodayFixture.h"
#include "manager/datasource/ContactDataSource.h"
#include "storage/contact/Contact.h"

// The English keypad's groups.
inline const int kABC = 0, kGHI = 2, kMNO = 4, kTUV = 6, kWXYZ = 7;
inline const int kGroups = 8;
inline const int kLastCell = kGroups, kLongPress = kGroups + 1;

inline int beeps = 0;
inline UINT lastBeep = 0;

inline BOOL WINAPI CountingBeep(UINT type) {
  ++beeps;
  lastBeep = type;
  return TRUE;
}

struct ItemFixture : TodayFixture {
  HWND window = nullptr;

  ItemFixture() {
    static bool hooked = false;
    if (!hooked) {
      importhook::Replace(GetModuleHandleW(nullptr), "user32.dll", "MessageBeep",
                          reinterpret_cast<void*>(&CountingBeep));
      hooked = true;
    }
    beeps = 0;
    window = InitializeCustomItem(&item, host);
    REQUIRE(window != nullptr);
    item.cyp = 0;
    SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0);
    SetWindowPos(window, nullptr, 0, 40, 240, static_cast<int>(item.cyp), SWP_NOZORDER);
    ShowWindow(host, SW_SHOW);
  }

  void Add(const wchar_t* first, const wchar_t* last) {
    Contact contact;
    contact.text[ContactField::FirstName] = Str(first);
    contact.text[ContactField::LastName] = Str(last);
    int group = -1, row = -1;
    REQUIRE(g_dataSource.AddContact(contact, group, row));
  }

  // Four people: Ivan Moss, Otto Quinn, Gina Hart, Hugo Ives.
  void People() {
    Add(L"Ivan", L"Moss");
    Add(L"Otto", L"Quinn");
    Add(L"Gina", L"Hart");
    Add(L"Hugo", L"Ives");
  }

  void Cell(int id) {
    SendMessageW(window, WM_COMMAND, static_cast<WPARAM>(id),
                 reinterpret_cast<LPARAM>(g_pimToday->GetBar().GetHwnd()));
  }

  LRESULT Poll() {
    return SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0);
  }

  int Mode() { return g_pimToday->GetMode(); }
  int Rows() { return g_pimToday->GetPopup().RowCount(); }
  int Picks() { return g_pimToday->GetPickedCount(); }
};

inline void DeleteAllContacts() {
  g_dataSource.SearchText(Str(), 0, CategoryFilter(), Array<CEOID>(), FALSE, nullptr);
  Array<ResultPosition> all;
  for (int row = 0; row < g_dataSource.RowsInGroup(0); ++row) {
    ResultPosition position;
    position.group = 0;
    position.row = row;
    all.Add(position);
  }
  if (all.GetSize() > 0) g_dataSource.DeleteRows(all);
}
