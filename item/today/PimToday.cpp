#include "today/PimToday.h"
#include <new>
#include "foundation/Settings.h"
#include "manager/datasource/ContactDataSource.h"
#include "plugins/PluginManager.h"
#include "presentation/ContactTemplate.h"
#include "presentation/Skin.h"
#include "sync/PimSync.h"
#include "sync/SyncMessageHandler.h"
#include "today/StartupProbe.h"

CPimToday* g_pimToday = nullptr;
HINSTANCE g_hModule = nullptr;

const wchar_t* const kItemWindowClasses[5] = {L"ZovrixWndCls", L"COOL.LIST", L"DB_EVENTS_LISTENER_CLS",
                                              L"DB_MSG_STACK_WND_CLS", L"ZOVRIX_DIAL_WND"};

namespace {

const UINT kFirstPluginCommand = 41222;
const UINT_PTR kRefreshTimerId = 1;
const UINT kRefreshTimerMs = 500;
// Change flags of the shared record, cleared at start in this order.
const int kFlagsClearedAtStart[] = {0, 1, 2, 3, 8, 4, 5, 6, 7, 9};

}  // namespace

CPimToday::CPimToday()
    : mode(PopupHidden), managerReady(0), refreshDue(0), refreshTimer(0), barEnabled(1), keepFocus(0) {}

CPimToday::~CPimToday() {}

CPimToday& CPimToday::operator=(const CPimToday& other) {
  *reinterpret_cast<unsigned char*>(this) = *reinterpret_cast<const unsigned char*>(&other);
  return *this;
}

HWND CPimToday::Init(HWND parent, HINSTANCE hinstDLL) {
  // 1. A previous start died half way: take the item off the Today screen and do nothing more.
  if (GetSettingDword(SECTION_SETTINGS, L"TodayFailed", 0) == 1) {
    SetSettingDword(SECTION_SETTINGS, L"TodayFailed", 0, TRUE);
    UnRegisterTodayItem();
    return nullptr;
  }
  // 2. Every way out before the last step leaves the guard set, on purpose.
  SetSettingDword(SECTION_SETTINGS, L"TodayFailed", 1, TRUE);
  StartupProbe(2);

  // 3. The skin, once per process.
  Skin::Start(hinstDLL);
  StartupProbe(3);

  // 4. A host that reloads the library finds the classes gone, however the last run ended.
  for (const wchar_t* name : kItemWindowClasses) UnregisterClassW(name, hinstDLL);
  StartupProbe(4);

  // 5.
  RECT work = {0, 0, 0, 0};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  int workWidth = work.right - work.left;
  StartupProbe(5);

  // 6.
  RegisterClass(L"ZovrixWndCls", CS_HREDRAW | CS_VREDRAW, nullptr,
                static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)), hinstDLL);
  StartupProbe(6);

  // 7.
  barEnabled = 1;
  StartupProbe(7);

  // 8. The item window starts with no height: the host asks for it at its first poll.
  if (!hwnd)
    Create(0, nullptr, WS_CHILD | WS_VISIBLE, CW_USEDEFAULT, CW_USEDEFAULT, workWidth, 0, parent, 0,
           hinstDLL);
  if (!hwnd) return nullptr;
  StartupProbe(8);

  // 9.
  g_hideSim = static_cast<int>(GetSettingDword(SECTION_SETTINGS, L"HideSim", 0));
  StartupProbe(9);

  // 10.
  Skin* skin = Skin::Get();
  if (skin) {
    bar.SetColors(skin->GetTodayAbcColor1(), skin->GetTodayAbcColor2(), skin->GetTodayFontColor());
    popup.SetColors(skin->GetTodayAbcColor1(), skin->GetTodayAbcColor2(), skin->GetTodayFontColor());
  }
  StartupProbe(10);

  // 11. Without the shared block every flag reads 0 later on.
  PimSync* sync = PimSync::GetInstance();
  if (sync->Open()) {
    sync->Register(hwnd);
    for (int flag : kFlagsClearedAtStart) sync->SetFlag(flag, 0);
  }
  StartupProbe(11);

  // 12.
  GetPluginManager()->Load(kFirstPluginCommand);
  StartupProbe(12);

  // 13.
  phoneTemplates.Load();
  StartupProbe(13);

  // 14. A vertical size taken from the X measure, the same as where the host changes it later.
  int increments = static_cast<int>(GetSettingDword(SECTION_ABC, L"IncrH", 0));
  bar.SetExtraHeight(increments * ScaleX(2));
  StartupProbe(14);

  // 15.
  RECT barRect = {0, 0, workWidth, 0};
  bar.Create(hwnd, barRect, hinstDLL);
  StartupProbe(15);

  // 16.
  RebuildLetterGroups();
  StartupProbe(16);

  // 17. A failed start of the data side is not fatal: the bar works and the search does nothing.
  if (!managerReady) managerReady = g_dataSource.Open(hinstDLL, nullptr, g_pimSync) ? 1 : 0;
  StartupProbe(17);

  // 18.
  g_dataSource.SetListener(this);
  StartupProbe(18);

  // 19. A template that can't be read is no failure: the defaults stand in.
  if (!g_contactTemplate) {
    g_contactTemplate = new (std::nothrow) ContactTemplate;
    if (g_contactTemplate) {
      Str path = GetDataFolder() + L"\\" + L"Contact template.tpl";
      if (!g_contactTemplate->Load(path)) g_contactTemplate->CreateDefault();
    }
  }
  StartupProbe(19);

  // 20.
  popup.SetPhoneTemplates(&phoneTemplates);
  popup.Create(hwnd);
  StartupProbe(20);

  // 21. The popup's list reads its rows from the data source.
  // LATER(contact list): there is no list to hand the data source to yet, so this step does nothing.
  StartupProbe(21);

  // 22. Resets the popup after a reload of the window; nothing at the first start.
  SetPopupMode(PopupHidden);
  StartupProbe(22);

  // 23.
  if (GetSettingDword(SECTION_SETTINGS, L"KeyPressFeedback", static_cast<DWORD>(-1)) ==
      static_cast<DWORD>(-1))
    SetSettingDword(SECTION_SETTINGS, L"KeyPressFeedback", 0, TRUE);
  StartupProbe(23);

  // 24.
  SetSettingDword(SECTION_SETTINGS, L"TodayFailed", 0, TRUE);
  return hwnd;
}

void CPimToday::Shutdown() {
  // 1.
  delete g_contactTemplate;
  g_contactTemplate = nullptr;
  // 2.
  popup.Destroy();
  // 3.
  if (refreshTimer) {
    KillTimer(hwnd, refreshTimer);
    refreshTimer = 0;
  }
  // 4.
  g_dataSource.Close();
  // 5.
  managerReady = 0;
  // 6.
  if (g_pimSync) {
    g_pimSync->Unregister(hwnd);
    PimSync::DestroyInstance();
  }
}

void CPimToday::RebuildLetterGroups() {
  // LATER(letter sets): no groups are built, so the bar stands with no cells at its natural height.
  groupLetters.SetSize(0);
  Array<Str> captions;
  Array<int> ids;
  bar.SetCells(captions, nullptr, ids, 0);
}

void CPimToday::SetPopupMode(int newMode) {
  if (newMode == mode) return;
  mode = newMode;
  if (newMode == PopupHidden) {
    bar.SetIconIndex(1);
    bar.ClearCounts();
    pickedGroups.SetSize(0);
    popup.Hide();
    if (popup.GetHwnd())
      SetWindowLongW(popup.GetHwnd(), GWL_EXSTYLE,
                     GetWindowLongW(popup.GetHwnd(), GWL_EXSTYLE) | WS_EX_NOACTIVATE);
    return;
  }
  bar.SetIconIndex(0);
  if (newMode == PopupList) RunSearch(TRUE);
  if (popup.GetHwnd()) {
    SetWindowLongW(popup.GetHwnd(), GWL_EXSTYLE,
                   GetWindowLongW(popup.GetHwnd(), GWL_EXSTYLE) & ~WS_EX_NOACTIVATE);
    ShowWindow(popup.GetHwnd(), keepFocus ? SW_SHOWNA : SW_SHOW);
  }
}

void CPimToday::RunSearch(BOOL) {
  // LATER(keypad search and contact list): the picked groups are not searched yet; nothing happens.
  // Nothing happens without the data side or without the popup window.
  if (!managerReady || !popup.GetHwnd()) return;
}

void CPimToday::StartRefreshTimer() {
  if (refreshTimer || !hwnd) return;
  refreshTimer = SetTimer(hwnd, kRefreshTimerId, kRefreshTimerMs, nullptr);
}

void CPimToday::ResultsChanged() { RunSearch(TRUE); }

void CPimToday::EnableItem(BOOL enable) {
  if (!enable) SetPopupMode(PopupHidden);
  bar.SetEnabled(enable);
  barEnabled = enable ? 1 : 0;
}

void CPimToday::Relayout() {
  if (!bar.GetHwnd()) return;
  RECT client;
  GetClientRect(hwnd, &client);
  bar.Relayout(client.right - client.left);
}

LRESULT CPimToday::OnQueryRefreshCache(TODAYLISTITEM* item) {
  LRESULT result = refreshDue;
  refreshDue = 0;
  if (!item) return 1;
  if (item->cyp == 0) {
    item->cyp = bar.Height();
    return 1;
  }
  PimSync* sync = g_pimSync;
  BOOL groupsChanged = sync && (sync->GetFlag(0) || sync->GetFlag(1));
  if (!groupsChanged) {
    if (sync && sync->GetFlag(7)) {
      sync->SetFlag(7, 0);
      int increments = static_cast<int>(GetSettingDword(SECTION_ABC, L"IncrH", 0));
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
  sync->SetFlag(0, FALSE);
  sync->SetFlag(1, FALSE);
  RebuildLetterGroups();
  item->cyp = bar.Height();
  return 1;
}

LRESULT CPimToday::OnUserNavigation(WPARAM key) {
  int count = bar.GetCellCount();
  int selection = bar.GetSelection();
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
      return 1;
    default:
      return 1;
  }
}

LRESULT CPimToday::OnAction() {
  int selection = bar.GetSelection();
  if (selection < 0 || selection >= bar.GetCellCount()) return 1;
  if (selection == bar.GetCellCount() - 1 && mode == PopupList && pickedGroups.GetSize() == 0) {
    SetPopupMode(PopupHidden);
    return 1;
  }
  // LATER(cell commands): the selected cell is not clicked yet, so the action is taken and ignored.
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
    case WM_TIMER:
      refreshDue = 1;
      if (refreshTimer) {
        KillTimer(window, refreshTimer);
        refreshTimer = 0;
      }
      return 0;
    case WM_ITEM_HIDE:
      SetPopupMode(PopupHidden);
      return 0;
    case WM_ITEM_GIVE_UP:
      SetPopupMode(PopupHidden);
      PostMessageW(GetParent(window), TODAYM_TOOKSELECTION, reinterpret_cast<WPARAM>(window), 0);
      return 0;
    case WM_TODAYCUSTOM_QUERYREFRESHCACHE:
      return OnQueryRefreshCache(reinterpret_cast<TODAYLISTITEM*>(wParam));
    case WM_TODAYCUSTOM_RECEIVEDSELECTION:
      bar.SetSelection(bar.GetCellCount() - 1);
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
