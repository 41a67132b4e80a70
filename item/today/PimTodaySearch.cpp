// The item's run from a tap to a result: the letter groups on the bar, the stack of picked groups,
// the search they make, and the popup's three modes.
#include <new>
#include "foundation/Settings.h"
#include "manager/datasource/ContactDataSource.h"
#include "manager/letters/KeypadGroups.h"
#include "manager/letters/LetterSet.h"
#include "presentation/Skin.h"
#include "resources/resource.h"
#include "storage/contact/Contact.h"
#include "today/PimToday.h"

namespace {

// The popup's menu-bar height under the item: the popup ends this far above the work area's bottom.
const int kBottomMargin = 26;

}  // namespace

void CPimToday::RebuildLetterGroups() {
  LetterSet set;
  LoadLetterSet(&set);
  groupLetters.Copy(set.letters);
  int groups = groupLetters.GetSize();
  Array<int> ids;
  for (int id = 0; id <= groups + 1; ++id) ids.Add(id);
  bar.SetCells(set.captions, set.twoRows ? &set.secondCaptions : nullptr, ids, groups + 1);
  // The keypad table from the same set, without reading it a second time.
  g_keypadGroups.Fill(set.letters);
  if (bar.GetHwnd()) {
    InvalidateRect(bar.GetHwnd(), nullptr, FALSE);
    UpdateWindow(bar.GetHwnd());
  }
}

void CPimToday::Beep() { MessageBeep(MB_ICONEXCLAMATION); }

void CPimToday::RemoveNewestPick() {
  int count = pickedGroups.GetSize();
  if (count == 0) return;
  bar.AddPick(pickedGroups[count - 1], -1);
  pickedGroups.SetSize(count - 1);
}

void CPimToday::ClearAllPicks() {
  bar.ClearPicks();
  pickedGroups.SetSize(0);
}

void CPimToday::CellClicked(int id) {
  int groups = groupLetters.GetSize();
  BOOL letter = id >= 0 && id < groups;
  if (mode == PopupContact) {
    if (letter) {
      Beep();
      GiveFocus();
      return;
    }
    SetPopupMode(PopupList);
    if (pickedGroups.GetSize() == 0) return;
    if (id == groups)
      RemoveNewestPick();
    else if (id == groups + 1)
      ClearAllPicks();
    RunSearch(TRUE);
    return;
  }

  if (!letter) {
    if (pickedGroups.GetSize() == 0) {
      if (mode == PopupHidden)
        SetPopupMode(PopupList);
      else
        GiveFocus();
      return;
    }
    if (id == groups)
      RemoveNewestPick();
    else if (id == groups + 1)
      ClearAllPicks();
  } else {
    // Narrowing a result of one row or none makes no sense.
    if (mode == PopupList && popup.RowCount() < 2) {
      Beep();
      GiveFocus();
      return;
    }
    if (pickedGroups.GetSize() == 0) bar.ClearPicks();
    pickedGroups.Add(id);
    bar.AddPick(id, 1);
  }
  RunSearch(TRUE);

  // A unique hit opens at once, with a sound.
  if (popup.RowCount() == 1 && (mode == PopupHidden || mode == PopupList)) {
    ShowContact(0, 0);
    SetPopupMode(PopupContact);
    Beep();
    return;
  }
  SetPopupMode(PopupList);
  if (popup.RowCount() == 0) Beep();
}

void CPimToday::RunSearch(BOOL keepSelection) {
  if (!managerReady || !popup.GetHwnd()) return;
  CEOID selected = keepSelection ? popup.CurrentContactId() : 0;
  CategoryFilter noFilter;
  Array<CEOID> noKeep;
  if (pickedGroups.GetSize() > 0) {
    Str query;
    for (int i = 0; i < pickedGroups.GetSize(); ++i) {
      wchar_t key = GroupKeyOf(pickedGroups[i]);
      if (key != 0) query += key;
    }
    g_dataSource.SearchKeypad(query, popup.SortType(), noFilter, noKeep, FALSE);
  } else {
    // Every contact: what the list shows when it is opened with no letters.
    g_dataSource.SearchText(Str(), popup.SortType(), noFilter, noKeep, FALSE, nullptr);
  }
  int group = -1, item = -1;
  if (selected) g_dataSource.FindPosition(selected, group, item);
  popup.Populate(group, item);
  GiveFocus();
}

void CPimToday::SetPopupMode(int newMode) {
  if (newMode == mode) return;
  mode = newMode;
  HWND window = popup.GetHwnd();
  if (newMode == PopupHidden) {
    bar.SetIcon(1);
    ClearAllPicks();
    popup.Hide();
    if (window) SetWindowLongW(window, GWL_EXSTYLE, GetWindowLongW(window, GWL_EXSTYLE) | WS_EX_NOACTIVATE);
    return;
  }
  bar.SetIcon(0);
  RECT place = PopupRect();
  if (newMode == PopupList) {
    popup.SetCaptions(IDS_OPEN_PAGEMARK, IDS_CLOSE);
    popup.ShowPage(TRUE);
    if (window)
      SetWindowPos(window, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                   SWP_NOZORDER | SWP_NOACTIVATE);
    RunSearch(TRUE);
  } else {
    popup.SetCaptions(IDS_EDIT_CONTACT, IDS_BACK);
    popup.ShowPage(FALSE);
    if (window)
      SetWindowPos(window, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                   SWP_NOZORDER | SWP_NOACTIVATE);
  }
  if (!window) return;
  SetWindowLongW(window, GWL_EXSTYLE, GetWindowLongW(window, GWL_EXSTYLE) & ~WS_EX_NOACTIVATE);
  ShowWindow(window, keepFocus ? SW_SHOWNA : SW_SHOW);
  // The page shown before the popup was visible couldn't take the focus then; the popup's activation
  // doesn't give it either, so a one-result search would leave the keys with the item window.
  GiveFocus();
}

RECT CPimToday::PopupRect() const {
  RECT work = {0, 0, 0, 0};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  RECT item = {0, 0, 0, 0};
  RECT client = {0, 0, 0, 0};
  if (hwnd) {
    GetWindowRect(hwnd, &item);
    GetClientRect(hwnd, &client);
    MapWindowPoints(hwnd, nullptr, reinterpret_cast<POINT*>(&client), 2);
  }
  RECT place;
  place.left = client.left;
  place.right = client.right;
  if (item.top - work.top > work.bottom - item.bottom) {
    place.top = work.top;
    place.bottom = item.top;
  } else {
    place.top = item.bottom;
    place.bottom = work.bottom - ScaleY(kBottomMargin);
  }
  return place;
}

void CPimToday::ClosePopup(BOOL force) {
  if (force) {
    SetPopupMode(PopupHidden);
    return;
  }
  if (mode == PopupList)
    SetPopupMode(PopupHidden);
  else if (mode == PopupContact)
    SetPopupMode(PopupList);
}

BOOL CPimToday::ShowContact(int group, int item) {
  if (group < 0 || item < 0) return FALSE;
  Contact* contact = new (std::nothrow) Contact;
  if (!contact) return FALSE;
  BOOL shown = FALSE;
  if (g_dataSource.ReadAt(group, item, *contact) && !contact->IsEmpty()) {
    phoneTemplates.FormatContact(*contact);
    shown = popup.ShowContact(*contact);
  }
  delete contact;
  return shown;
}

void CPimToday::OpenProgram() {
  Str path = GetSettingString(SECTION_SETTINGS, L"ProgramPath", L"");
  if (path.GetLength() == 0) return;
  wchar_t commandLine[32] = L"";
  if (mode == PopupContact) {
    CEOID id = popup.CurrentContactId();
    wsprintfW(commandLine, L"e %x", static_cast<unsigned>(id));
  }
  STARTUPINFOW startup;
  ZeroMemory(&startup, sizeof startup);
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process;
  if (!CreateProcessW(path, commandLine, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
    return;
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  SetPopupMode(PopupHidden);
}

void CPimToday::GiveFocus() {
  if (keepFocus) return;
  if (popup.GetHwnd() && IsWindowVisible(popup.GetHwnd())) popup.GiveFocus();
}

void CPimToday::Relayout() {
  if (!bar.GetHwnd()) return;
  RECT client;
  GetClientRect(hwnd, &client);
  int width = client.right - client.left;
  RECT barRect;
  GetClientRect(bar.GetHwnd(), &barRect);
  SetWindowPos(bar.GetHwnd(), nullptr, 0, 0, width, bar.Height(), SWP_NOZORDER);
  if (barRect.right - barRect.left != width) bar.LayoutCells();
  if (popup.GetHwnd()) {
    RECT place = PopupRect();
    MoveWindow(popup.GetHwnd(), place.left, place.top, place.right - place.left, place.bottom - place.top,
               TRUE);
  }
}
