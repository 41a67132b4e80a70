// The item window's message table: the Today host's questions and keys, the bar's commands, the
// popup's reports, and the coordinator's messages.
#include "foundation/Settings.h"
#include "presentation/Skin.h"
#include "sync/PimSync.h"
#include "sync/SyncMessageHandler.h"
#include "today/PimToday.h"

namespace {

// Flags of the shared record that other processes set when they change something the item shows.
const int kFlagLetterGroups = 0;
const int kFlagLetterType = 1;
const int kFlagTemplates = 2;
const int kFlagListFont = 3;
const int kFlagSortType = 4;
const int kFlagNameOnly = 5;
const int kFlagDoubleSized = 6;
const int kFlagIncrH = 7;
const int kFlagViewFont = 8;
const int kFlagContacts = 9;

// Clears `flag` and says whether it was set.
BOOL TakeFlag(PimSync* sync, int flag) {
  if (!sync || !sync->GetFlag(flag)) return FALSE;
  sync->SetFlag(flag, 0);
  return TRUE;
}

}  // namespace

void CPimToday::ApplyChangeFlags() {
  PimSync* sync = g_pimSync;
  if (TakeFlag(sync, kFlagContacts)) ResultsChanged();
  if (TakeFlag(sync, kFlagListFont)) popup.ReloadListFont();
  if (TakeFlag(sync, kFlagViewFont)) popup.ReloadViewFont();
  if (TakeFlag(sync, kFlagNameOnly)) popup.ReloadNameOnly();
  if (TakeFlag(sync, kFlagDoubleSized)) popup.ReloadDoubleSized();
  if (TakeFlag(sync, kFlagSortType)) {
    popup.ReloadSortType();
    RunSearch(TRUE);
  }
  if (TakeFlag(sync, kFlagTemplates)) phoneTemplates.Load();
}

LRESULT CPimToday::OnQueryRefreshCache(TODAYLISTITEM* item) {
  LRESULT result = refreshDue;
  refreshDue = 0;
  if (!item) return 1;
  if (item->cyp == 0) {
    item->cyp = bar.Height();
    return 1;
  }
  ApplyChangeFlags();
  PimSync* sync = g_pimSync;
  BOOL groupsChanged = sync && (sync->GetFlag(kFlagLetterGroups) || sync->GetFlag(kFlagLetterType));
  if (groupsChanged) {
    sync->SetFlag(kFlagLetterGroups, 0);
    sync->SetFlag(kFlagLetterType, 0);
    RebuildLetterGroups();
    item->cyp = bar.Height();
    return 1;
  }
  if (TakeFlag(sync, kFlagIncrH)) {
    int increments = static_cast<int>(GetSettingDword(SECTION_ABC, L"IncrH", 0));
    // A vertical size from the X measure, the same as at start.
    bar.SetExtraHeight(increments * ScaleX(2));
    item->cyp = bar.Height();
    SetPopupMode(PopupHidden);
    return 1;
  }
  // Follow the host's width.
  HWND parent = GetParent(hwnd);
  RECT mine, host;
  GetWindowRect(hwnd, &mine);
  GetClientRect(parent, &host);
  if (mine.right - mine.left != host.right - host.left)
    SetWindowPos(hwnd, nullptr, 0, 0, host.right - host.left, mine.bottom - mine.top,
                 SWP_NOMOVE | SWP_NOZORDER);
  return result;
}

LRESULT CPimToday::OnUserNavigation(WPARAM key) {
  int count = bar.CellCount();
  int selection = bar.Selection();
  switch (key) {
    case VK_LEFT:
      bar.SetSelection(selection <= 0 ? count - 1 : selection - 1);
      return 1;
    case VK_RIGHT:
      bar.SetSelection(selection < 0 || selection >= count - 1 ? 0 : selection + 1);
      return 1;
    case VK_UP:
      SetPopupMode(PopupHidden);
      return 0;
    case VK_DOWN:
      if (mode == PopupHidden && pickedGroups.GetSize() == 0) return 0;
      if (mode == PopupHidden) SetPopupMode(PopupList);
      popup.GiveFocus();
      return 1;
    default:
      return 1;
  }
}

LRESULT CPimToday::OnAction() {
  int selection = bar.Selection();
  if (selection < 0 || selection >= bar.CellCount()) return 1;
  if (selection == bar.CellCount() - 1 && mode == PopupList && pickedGroups.GetSize() == 0) {
    SetPopupMode(PopupHidden);
    return 1;
  }
  // A key on the Today screen opens the popup without taking the focus from it.
  keepFocus = 1;
  popup.SetKeepFocus(TRUE);
  CellClicked(selection);
  keepFocus = 0;
  popup.SetKeepFocus(FALSE);
  return 1;
}

LRESULT CPimToday::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_DESTROY:
      Shutdown();
      return DefWindowProcW(window, message, wParam, lParam);
    case WM_MOVE:
    case WM_SIZE:
      return 0;
    case WM_ERASEBKGND:
      return 1;  // the bar covers the item window
    case WM_WINDOWPOSCHANGED: {
      const WINDOWPOS* pos = reinterpret_cast<const WINDOWPOS*>(lParam);
      if (!((pos->flags & SWP_NOSIZE) && (pos->flags & SWP_NOMOVE))) {
        Relayout();
        if (bar.GetHwnd()) {
          InvalidateRect(bar.GetHwnd(), nullptr, TRUE);
          UpdateWindow(bar.GetHwnd());
        }
      }
      return DefWindowProcW(window, message, wParam, lParam);
    }
    case WM_COMMAND:
      if (bar.GetHwnd() && reinterpret_cast<HWND>(lParam) == bar.GetHwnd()) CellClicked(LOWORD(wParam));
      return 0;
    case WM_TIMER:
      refreshDue = 1;
      if (refreshTimer) {
        KillTimer(window, refreshTimer);
        refreshTimer = 0;
      }
      return 0;
    case WM_ITEM_CLOSE:
      ClosePopup(static_cast<BOOL>(wParam));
      return 0;
    case WM_ITEM_OPEN_PROGRAM:
      OpenProgram();
      return 0;
    case WM_ITEM_OPEN_CONTACT:
      if (ShowContact(static_cast<int>(wParam), static_cast<int>(lParam))) SetPopupMode(PopupContact);
      return 0;
    case WM_ITEM_RESERVED:
      return 0;
    case WM_ITEM_LEAVE_CONTACT:
      if (mode == PopupContact) ClosePopup(FALSE);
      return 0;
    case WM_ITEM_HIDE:
      SetPopupMode(PopupHidden);
      return 0;
    case WM_ITEM_STEP_BACK:
      if (mode == PopupContact)
        SetPopupMode(PopupList);
      else if (mode == PopupList)
        SetPopupMode(PopupHidden);
      return 0;
    case WM_ITEM_GROUP_KEY:
      bar.TapCell(static_cast<int>(wParam));
      return 0;
    case WM_ITEM_GIVE_UP:
      SetPopupMode(PopupHidden);
      PostMessageW(GetParent(window), TODAYM_TOOKSELECTION, reinterpret_cast<WPARAM>(window), 0);
      ClosePopup(static_cast<BOOL>(wParam));
      return 0;
    case WM_TODAYCUSTOM_QUERYREFRESHCACHE:
      return OnQueryRefreshCache(reinterpret_cast<TODAYLISTITEM*>(wParam));
    case WM_TODAYCUSTOM_RECEIVEDSELECTION:
      bar.SetSelection(bar.CellCount() - 1);
      return 1;
    case WM_TODAYCUSTOM_LOSTSELECTION:
      bar.SetSelection(-1);
      return 1;
    case WM_TODAYCUSTOM_USERNAVIGATION:
      return OnUserNavigation(wParam);
    case WM_TODAYCUSTOM_ACTION:
      return OnAction();
    default:
      // The coordinator's registered messages go to the contact data side.
      if (DispatchSyncMessage(g_syncMessageHandler, message, wParam, lParam)) return 0;
      return DefWindowProcW(window, message, wParam, lParam);
  }
}
