#include "today/PopupWnd.h"
#include "foundation/Settings.h"
#include "manager/datasource/ContactDataSource.h"
#include "presentation/Gradient.h"
#include "presentation/Skin.h"
#include "resources/SkinImageIds.h"
#include "resources/resource.h"
#include "storage/contact/Contact.h"
#include "today/ItemMessages.h"
#include "today/PimToday.h"
#include "phone/PhoneDevice.h"
#include "presentation/UserFonts.h"
#include <aygshell.h>

namespace {

// WS_EX_CAPTIONOKBTN of the platform: the caption's OK button.
const DWORD kCaptionOkButton = 0x80000000;
const DWORD kPopupExStyle = kCaptionOkButton | WS_EX_TOOLWINDOW;
const DWORD kPopupStyle = WS_POPUP | WS_SYSMENU;
// The left link before the first mode is set.
const int kFirstLeftCaption = IDS_PRODUCT_NAME;

Str LoadCaption(int id) {
  wchar_t text[128];
  int length = SafeLoadStr(static_cast<UINT>(id), g_hModule, text, 128);
  return Str(text, length);
}

}  // namespace

PopupWnd::PopupWnd()
    : phoneTemplates(nullptr), list(g_hModule), menuBar(nullptr), owner(nullptr), color1(0xF7DFD6),
      color2(0xEF9673), textColor(0x9C2000), icon(nullptr), sortType(0), leftCaptionId(kFirstLeftCaption),
      rightCaptionId(IDS_CLOSE), leftWidth(0), rightWidth(0), keyOverride(0), lastWidth(0), lastHeight(0),
      inactivityTimer(0), keepFocus(0), source(nullptr), showsList(1) {}

PopupWnd::~PopupWnd() { Destroy(); }

BOOL PopupWnd::Create(HWND ownerWindow) {
  owner = ownerWindow;
  if (hwnd) return TRUE;
  if (!BaseWindow::Create(kPopupExStyle, nullptr, kPopupStyle, 0, 0, 0, 0, nullptr, 0, g_hModule))
    return FALSE;
  // An empty menu bar: it carries the input panel's button and takes the talk key over for the popup.
  SHMENUBARINFO bar;
  ZeroMemory(&bar, sizeof bar);
  bar.cbSize = sizeof bar;
  bar.hwndParent = hwnd;
  bar.dwFlags = SHCMBF_EMPTYBAR;
  bar.hInstRes = g_hModule;
  if (!SHCreateMenuBar(&bar) || !bar.hwndMB) {
    Destroy();
    return FALSE;
  }
  menuBar = bar.hwndMB;
  SetWindowPos(menuBar, nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);

  icon = LoadIconW(g_hModule, MAKEINTRESOURCEW(Skin::isHighRes ? IDI_POPUP_VGA : IDI_POPUP));
  if (icon) SendMessageW(hwnd, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));

  // The links: the system font as Tahoma at 8 points, underlined.
  LOGFONTW font;
  ZeroMemory(&font, sizeof font);
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof font, &font);
  lstrcpynW(font.lfFaceName, L"Tahoma", LF_FACESIZE);
  font.lfHeight = -static_cast<LONG>(Skin::dpiY * 8 / 72.0 + 0.5);
  // The width follows the height, not the stock font's cell.
  font.lfWidth = 0;
  font.lfWeight = FW_NORMAL;
  font.lfUnderline = TRUE;
  captionFont.Reset(CreateFontIndirectW(&font));
  MeasureCaptions();

  // The painted windows' fonts are made when the first of them needs them.
  if (!GetListFont(false)) CreateAllFonts();
  ReloadListFont();
  ReloadNameOnly();
  ReloadDoubleSized();
  ReloadSortType();

  list.Create(hwnd, kListStyle);
  list.SetSource(source);
  list.SetListener(this);
  list.SetTemplates(phoneTemplates);
  view.Create(hwnd, kViewStyle);
  ReloadViewFont();
  OverrideTalkKey();
  return TRUE;
}

void PopupWnd::Destroy() {
  if (hwnd && IsWindow(hwnd)) DestroyWindow(hwnd);
  hwnd = nullptr;
  menuBar = nullptr;
  stripBitmap.Reset();
  captionFont.Reset();
  if (icon) DestroyIcon(icon);
  icon = nullptr;
  DeleteAllFonts();
}

void PopupWnd::OverrideTalkKey() {
  if (!menuBar || !IsPhoneDevice()) return;
  keyOverride = SendMessageW(menuBar, SHCMBM_OVERRIDEKEY, kTalkKey, kTalkOverride);
}

void PopupWnd::RestoreTalkKey() {
  if (!menuBar || !IsPhoneDevice()) return;
  // The kept state goes back as mask and bits alike: what was off stays as it is now.
  LPARAM kept = static_cast<LPARAM>(LOWORD(keyOverride)) * 0x10001;
  SendMessageW(menuBar, SHCMBM_OVERRIDEKEY, kTalkKey, kept);
}

void PopupWnd::SetColors(COLORREF first, COLORREF second, COLORREF text) {
  if (first != color1 || second != color2) stripBitmap.Reset();
  BOOL changed = first != color1 || second != color2 || text != textColor;
  color1 = first;
  color2 = second;
  textColor = text;
  if (changed && hwnd) {
    RECT strip = StripRect();
    InvalidateRect(hwnd, &strip, FALSE);
  }
}

void PopupWnd::SetCaptions(int leftId, int rightId) {
  if (leftId == leftCaptionId && rightId == rightCaptionId) return;
  leftCaptionId = leftId;
  rightCaptionId = rightId;
  MeasureCaptions();
  if (hwnd) {
    RECT strip = StripRect();
    InvalidateRect(hwnd, &strip, FALSE);
  }
}

void PopupWnd::MeasureCaptions() {
  if (!hwnd || captionFont.IsEmpty()) return;
  WindowDC dc(hwnd);
  if (dc.IsEmpty()) return;
  HGDIOBJ old = SelectObject(dc.Get(), captionFont.Get());
  Str left = LoadCaption(leftCaptionId);
  Str right = LoadCaption(rightCaptionId);
  SIZE size = {0, 0};
  GetTextExtentPoint32W(dc.Get(), left, left.GetLength(), &size);
  leftWidth = size.cx;
  size.cx = 0;
  GetTextExtentPoint32W(dc.Get(), right, right.GetLength(), &size);
  rightWidth = size.cx;
  SelectObject(dc.Get(), old);
}

void PopupWnd::ShowPage(BOOL showList) {
  showsList = showList ? 1 : 0;
  int how = keepFocus ? SW_SHOWNA : SW_SHOW;
  if (HWND text = view.TextWindow()) ShowWindow(text, how);
  if (showsList) {
    if (list.ContactWindow()) ShowWindow(list.ContactWindow(), how);
    if (view.GetHwnd()) ShowWindow(view.GetHwnd(), SW_HIDE);
  } else {
    if (list.ContactWindow()) ShowWindow(list.ContactWindow(), SW_HIDE);
    if (view.GetHwnd()) ShowWindow(view.GetHwnd(), how);
  }
  GiveFocus();
}

void PopupWnd::GiveFocus() {
  if (keepFocus || !hwnd || !IsWindowVisible(hwnd)) return;
  HWND page = showsList ? list.ContactWindow() : view.GetHwnd();
  if (page) SetFocus(page);
}

void PopupWnd::Hide() {
  if (hwnd) ShowWindow(hwnd, SW_HIDE);
}

void PopupWnd::SetSource(ContactDataSource* dataSource) {
  source = dataSource;
  list.SetSource(dataSource);
}

void PopupWnd::Populate(int group, int item) { list.Populate(group, item); }

CEOID PopupWnd::CurrentContactId() const {
  if (!source) return 0;
  ListPosition at = list.GetCurrent();
  if (at.group < 0 || at.item < 0) return 0;
  return source->GetIdAt(at.group, at.item);
}

BOOL PopupWnd::ShowContact(const Contact& contact) { return view.Show(contact); }

void PopupWnd::ReloadListFont() {
  LOGFONTW font;
  LoadListFont(font);
  ApplyListFont(font);
  if (list.ContactWindow() && IsWindowVisible(list.ContactWindow())) list.Recalculate();
}

void PopupWnd::ReloadViewFont() {
  LOGFONTW font;
  LoadViewFont(font);
  ApplyViewFont(font);
  view.SetFonts(GetViewFont(true), GetViewFont(false));
}

void PopupWnd::ReloadNameOnly() {
  list.SetNameOnly(GetSettingDword(SECTION_SETTINGS, L"NameOnly", 0) != 0);
  if (list.ContactWindow() && IsWindowVisible(list.ContactWindow())) list.Recalculate();
}

void PopupWnd::ReloadDoubleSized() {
  list.SetDoubleSized(GetSettingDword(SECTION_SETTINGS, L"IsDoubleSized", 0) != 0);
  if (list.ContactWindow() && IsWindowVisible(list.ContactWindow())) list.Recalculate();
}

void PopupWnd::ReloadSortType() {
  sortType = static_cast<int>(GetSettingDword(SECTION_SETTINGS, L"SortType", 0));
  list.SetSortType(sortType);
}

void PopupWnd::LayoutPages(int width, int height) {
  int top = ScaleY(18);
  int pageHeight = height > top ? height - top : 0;
  if (list.ContactWindow()) MoveWindow(list.ContactWindow(), 0, top, width, pageHeight, TRUE);
  if (view.GetHwnd()) MoveWindow(view.GetHwnd(), 0, top, width, pageHeight, TRUE);
}

RECT PopupWnd::StripRect() const {
  RECT rect = {0, 0, 0, 0};
  if (hwnd) GetClientRect(hwnd, &rect);
  rect.bottom = rect.top + ScaleY(18);
  return rect;
}

RECT PopupWnd::LeftLinkRect() const {
  RECT rect = StripRect();
  rect.right = rect.left + ScaleX(3) + leftWidth;
  return rect;
}

RECT PopupWnd::RightLinkRect() const {
  RECT rect = StripRect();
  rect.left = rect.right - ScaleX(3) - rightWidth;
  return rect;
}

void PopupWnd::PaintStrip(HDC dc) {
  RECT strip = StripRect();
  int width = strip.right - strip.left;
  int height = strip.bottom - strip.top;
  if (width <= 0 || height <= 0) return;
  if (stripBitmap.IsEmpty()) {
    stripBitmap.Reset(CreateCompatibleBitmap(dc, width, height));
    HDC memory = stripBitmap.IsEmpty() ? nullptr : CreateCompatibleDC(dc);
    if (memory) {
      HGDIOBJ old = SelectObject(memory, stripBitmap.Get());
      RECT all = {0, 0, width, height};
      FillVerticalGradient(memory, all, color1, color2);
      SelectObject(memory, old);
      DeleteDC(memory);
    } else {
      stripBitmap.Reset();
    }
  }
  HDC memory = stripBitmap.IsEmpty() ? nullptr : CreateCompatibleDC(dc);
  if (memory) {
    HGDIOBJ old = SelectObject(memory, stripBitmap.Get());
    BitBlt(dc, strip.left, strip.top, width, height, memory, 0, 0, SRCCOPY);
    SelectObject(memory, old);
    DeleteDC(memory);
  } else {
    FillRect(dc, &strip, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  }
  HGDIOBJ oldFont = SelectObject(dc, captionFont.Get());
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, textColor);
  Str left = LoadCaption(leftCaptionId);
  Str right = LoadCaption(rightCaptionId);
  RECT leftBox = {strip.left + ScaleX(3), strip.top, strip.right, strip.bottom};
  DrawTextW(dc, left, left.GetLength(), &leftBox, DT_VCENTER | DT_SINGLELINE);
  RECT rightBox = {strip.right - ScaleX(3) - rightWidth, strip.top, strip.right, strip.bottom};
  DrawTextW(dc, right, right.GetLength(), &rightBox, DT_VCENTER | DT_SINGLELINE);
  SelectObject(dc, oldFont);
}

void PopupWnd::SendToOwner(UINT message, WPARAM wParam, LPARAM lParam) {
  if (owner) SendMessageW(owner, message, wParam, lParam);
}

void PopupWnd::OnActivateMessage(WPARAM wParam) {
  if (LOWORD(wParam) != WA_INACTIVE) {
    if (inactivityTimer) KillTimer(hwnd, kInactivityTimerId);
    inactivityTimer = 0;
  } else if (!inactivityTimer) {
    inactivityTimer = SetTimer(hwnd, kInactivityTimerId, kInactivityMs, nullptr) != 0;
  }
}

void PopupWnd::OnTap(POINT point) {
  RECT right = RightLinkRect();
  RECT left = LeftLinkRect();
  if (PtInRect(&right, point))
    SendToOwner(WM_ITEM_CLOSE, 0, 0);
  else if (PtInRect(&left, point))
    SendToOwner(WM_ITEM_OPEN_PROGRAM, 0, 0);
}

LRESULT PopupWnd::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SIZE: {
      int width = LOWORD(lParam), height = HIWORD(lParam);
      if (width != lastWidth || height != lastHeight) stripBitmap.Reset();
      lastWidth = width;
      lastHeight = height;
      LayoutPages(width, height);
      return 0;
    }
    case WM_ACTIVATE:
      OnActivateMessage(wParam);
      return 0;
    case WM_SETFOCUS:
      OverrideTalkKey();
      GiveFocus();
      return DefWindowProcW(window, message, wParam, lParam);
    case WM_KILLFOCUS:
      RestoreTalkKey();
      return DefWindowProcW(window, message, wParam, lParam);
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(window, &ps);
      PaintStrip(dc);
      EndPaint(window, &ps);
      return 0;
    }
    case WM_HOTKEY:
      OnHotKey(wParam, lParam);
      return 0;
    case WM_CLOSE:
    case WM_COMMAND:
      SendToOwner(WM_ITEM_CLOSE, 1, 0);
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_KEYUP:
      // The End key of a phone steps back; its key-up carries the previous-state bit.
      if (wParam == VK_F4 && (lParam & 0x40000000) && IsPhoneDevice()) SendToOwner(WM_ITEM_STEP_BACK, 0, 0);
      return DefWindowProcW(window, message, wParam, lParam);
    case WM_TIMER:
      if (wParam == kInactivityTimerId) {
        KillTimer(window, kInactivityTimerId);
        inactivityTimer = 0;
        SendToOwner(WM_ITEM_HIDE, 0, 0);
      }
      return 0;
    case WM_LBUTTONDOWN:
      SetCapture(window);
      return 0;
    case WM_LBUTTONUP:
      if (GetCapture() == window) {
        ReleaseCapture();
        POINT point = {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
        OnTap(point);
      }
      return 0;
    case kLeaveContactMessage:
      SendToOwner(WM_ITEM_LEAVE_CONTACT, 0, 0);
      return 0;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}
