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
  GetPluginManager()->Init(kFirstPluginCommand);
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
  popup.SetSource(&g_dataSource);
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
