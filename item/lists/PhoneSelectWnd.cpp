// PhoneSelectWnd: coming up. Which contacts bring the window up, the window made once with its list,
// menu bar, pictures and fonts, and the steps that show it over the whole screen.
#include "lists/PhoneSelectWnd.h"

#include <aygshell.h>

#include "foundation/Settings.h"
#include "phone/PhoneDevice.h"
#include "presentation/AppFolders.h"
#include "presentation/PngResource.h"
#include "presentation/Skin.h"
#include "resources/PhoneSelectIds.h"

namespace {

// DialType: which talk key presses bring the chooser up.
const DWORD kDialTypeTwoOrMore = 2;
const DWORD kDialTypeAlways = 3;
const DWORD kDefaultDialType = kDialTypeAlways;

// Where the screen's top bar ends: the window stands below it.
int TopBarHeight() { return ScaleY(26); }

HFONT MakeTahomaBold(int points) {
  LOGFONTW font;
  ZeroMemory(&font, sizeof font);
  font.lfHeight = -static_cast<LONG>(Skin::dpiY * points / 72.0 + 0.5);
  font.lfWeight = FW_BOLD;
  font.lfCharSet = DEFAULT_CHARSET;
  lstrcpynW(font.lfFaceName, L"Tahoma", LF_FACESIZE);
  return CreateFontIndirectW(&font);
}

}  // namespace

PhoneSelectWnd::PhoneSelectWnd()
    : shown(0), list(this), menuBar(nullptr), keyOverride(0), pressedButton(-1), parent(nullptr), shownAt(0),
      pickMode(0), callback(nullptr), heading(RECT{0, 0, 0, 0}), headingWidth(0), headingHeight(0) {
  const UINT commands[kButtonCount] = {kCommandDial, kCommandSms, kCommandCancel};
  for (int i = 0; i < kButtonCount; ++i) {
    buttons[i].bitmap = nullptr;
    buttons[i].pressed = 0;
    buttons[i].visible = 0;
    buttons[i].rect = RECT{0, 0, 0, 0};
    buttons[i].command = commands[i];
    buttons[i].width = 0;
    buttons[i].height = 0;
  }
}

PhoneSelectWnd::~PhoneSelectWnd() {
  // Going down, the window defends nothing.
  shown = 0;
  list.Destroy();
  if (hwnd && IsWindow(hwnd)) DestroyWindow(hwnd);
}

BOOL PhoneSelectWnd::Show(HWND parentWindow, const Contact* source, PhoneTemplates* templates) {
  if (!source) return FALSE;
  contact = *source;
  pickMode = 0;
  callback = nullptr;
  const DWORD dialType = GetSettingDword(SECTION_SETTINGS, L"DialType", kDefaultDialType);
  if (dialType != kDialTypeTwoOrMore && dialType != kDialTypeAlways) return FALSE;
  int selectedIndex = 0;
  contact.ListPhones(numbers, selectedIndex);
  if (numbers.GetSize() == 0) return FALSE;
  if (dialType == kDialTypeTwoOrMore && numbers.GetSize() < 2) return FALSE;
  if (!CreateWindowOnce()) return FALSE;
  SortByTemplate(selectedIndex);
  FormatNumbers(templates);
  return Present(parentWindow, selectedIndex);
}

BOOL PhoneSelectWnd::ShowForPick(HWND parentWindow, const Contact* source, const Array<LabelValue>& choices,
                                 PhoneTemplates* templates, PhoneSelectCallback* pickCallback) {
  if (!source) return FALSE;
  contact = *source;
  pickMode = 1;
  callback = pickCallback;
  const DWORD dialType = GetSettingDword(SECTION_SETTINGS, L"DialType", kDefaultDialType);
  if (dialType != kDialTypeTwoOrMore && dialType != kDialTypeAlways) return FALSE;
  if (choices.GetSize() < 2) return FALSE;
  numbers = choices;
  if (!CreateWindowOnce()) return FALSE;
  FormatNumbers(templates);
  return Present(parentWindow, 0);
}

BOOL PhoneSelectWnd::Present(HWND parentWindow, int selectedIndex) {
  parent = parentWindow;
  DropPress();
  for (int i = 0; i < kButtonCount; ++i) buttons[i].visible = buttons[i].bitmap != nullptr;
  // A caller that wants an index back has no use for an SMS.
  if (pickMode) buttons[kSmsButton].visible = 0;
  ComposeHeading();

  OverrideTalkKey();
  Layout();
  list.SetCount(numbers.GetSize());
  list.Select(selectedIndex);

  SHFullScreen(hwnd, SHFS_HIDETASKBAR);
  shown = 1;
  ShowWindow(hwnd, SW_SHOW);
  SetForegroundWindow(hwnd);
  const int width = GetSystemMetrics(SM_CXSCREEN);
  const int height = GetSystemMetrics(SM_CYSCREEN) - TopBarHeight();
  SetWindowPos(hwnd, HWND_TOPMOST, 0, TopBarHeight(), width, height, SWP_SHOWWINDOW);
  InvalidateRect(hwnd, nullptr, FALSE);
  SetFocus(list.GetHwnd());
  shownAt = GetTickCount();
  return TRUE;
}

void PhoneSelectWnd::Close() {
  shown = 0;
  DropPress();
  if (hwnd) {
    // Down behind every window, hidden, neither moved nor activated.
    SetWindowPos(hwnd, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE | SWP_HIDEWINDOW);
  }
  RestoreTalkKey();
  if (parent && IsWindow(parent)) SetFocus(parent);
}

BOOL PhoneSelectWnd::CreateWindowOnce() {
  if (hwnd) return TRUE;
  const HINSTANCE instance = GetModuleInstance();
  Str title;
  title.LoadResource(IDS_SELECT_PHONE, instance);
  const int width = GetSystemMetrics(SM_CXSCREEN);
  const int height = GetSystemMetrics(SM_CYSCREEN) - TopBarHeight();
  if (!BaseWindow::Create(WS_EX_TOPMOST, title, WS_POPUP, 0, 0, width, height, nullptr, 0, instance))
    return FALSE;

  // An empty menu bar of no size: it takes the talk key over for the window.
  SHMENUBARINFO bar;
  ZeroMemory(&bar, sizeof bar);
  bar.cbSize = sizeof bar;
  bar.hwndParent = hwnd;
  bar.dwFlags = SHCMBF_EMPTYBAR;
  bar.hInstRes = instance;
  if (SHCreateMenuBar(&bar) && bar.hwndMB) {
    menuBar = bar.hwndMB;
    SetWindowPos(menuBar, nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  }

  LoadPictures();
  smallFont.Reset(MakeTahomaBold(10));
  largeFont.Reset(MakeTahomaBold(11));
  if (!list.Create(hwnd, instance)) {
    DestroyWindow(hwnd);
    return FALSE;
  }
  list.Measure();
  return TRUE;
}

void PhoneSelectWnd::LoadPictures() {
  const HINSTANCE instance = GetModuleInstance();
  const bool high = Skin::isHighRes != 0;
  headingBitmap.Reset(LoadPngResource(instance, high ? IDP_PHONESEL_HEAD_VGA : IDP_PHONESEL_HEAD,
                                      &headingWidth, &headingHeight));
  if (headingBitmap.IsEmpty()) headingWidth = headingHeight = 0;
  const int ids[kButtonCount][2] = {{IDP_PHONESEL_DIAL, IDP_PHONESEL_DIAL_VGA},
                                    {IDP_PHONESEL_SMS, IDP_PHONESEL_SMS_VGA},
                                    {IDP_PHONESEL_CANCEL, IDP_PHONESEL_CANCEL_VGA}};
  for (int i = 0; i < kButtonCount; ++i) {
    int width = 0, height = 0;
    buttonBitmaps[i].Reset(LoadPngResource(instance, ids[i][high ? 1 : 0], &width, &height));
    buttons[i].bitmap = buttonBitmaps[i].Get();
    // The normal face and the pressed one stand side by side.
    buttons[i].width = buttons[i].bitmap ? width / 2 : 0;
    buttons[i].height = buttons[i].bitmap ? height : 0;
  }
}

void PhoneSelectWnd::OverrideTalkKey() {
  if (!menuBar || !IsPhoneDevice()) return;
  // A mask of 0 only reads: a key taken already keeps the state kept from before it was taken.
  const LRESULT now = SendMessageW(menuBar, SHCMBM_OVERRIDEKEY, kTalkKey, 0);
  if ((now & LOWORD(kTalkOverride)) == LOWORD(kTalkOverride)) return;
  keyOverride = SendMessageW(menuBar, SHCMBM_OVERRIDEKEY, kTalkKey, kTalkOverride);
}

void PhoneSelectWnd::RestoreTalkKey() {
  if (!menuBar || !IsPhoneDevice()) return;
  // The kept state goes back as mask and bits alike.
  const LPARAM kept = static_cast<LPARAM>(LOWORD(keyOverride)) * 0x10001;
  SendMessageW(menuBar, SHCMBM_OVERRIDEKEY, kTalkKey, kept);
}
