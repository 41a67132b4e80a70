// The menu bar: a top-level window across the bottom of the screen, owned by the window it serves. It
// keeps which hardware keys its owner has taken over (SHCMBM_OVERRIDEKEY), which the Today screen asks
// when it routes a key, and shows the input panel's button, which shows and hides the panel.
#include <aygshell.h>

#include <cstddef>
#include <new>

#include <DeviceShell.h>

#include "Shell.h"

namespace ayg {

namespace {

// The window the bar serves, as given to SHCreateMenuBar; a property, so other processes find it too.
constexpr wchar_t kOwnerProperty[] = DEVICE_MENUBAR_OWNER_PROPERTY;
constexpr COLORREF kDefaultBack = RGB(24, 56, 112);
constexpr COLORREF kButtonInk = RGB(255, 255, 255);

struct MenuBar {
  HWND owner = nullptr;
  DWORD flags = 0;
  COLORREF back = kDefaultBack;
  bool panelButton = true;
  WORD overrides[256] = {};  // SHMBOF_... bits by virtual key
};

MenuBar* BarOf(HWND hwnd) { return reinterpret_cast<MenuBar*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA)); }

// The input panel's button: a square in the middle of the bar.
RECT PanelButtonRect(HWND hwnd) {
  RECT client;
  GetClientRect(hwnd, &client);
  const int side = client.bottom - client.top;
  const int left = (client.left + client.right - side) / 2;
  return RECT{left, client.top, left + side, client.bottom};
}

void Paint(HWND hwnd, MenuBar* bar) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  RECT client;
  GetClientRect(hwnd, &client);
  HBRUSH back = CreateSolidBrush(bar->back);
  FillRect(dc, &client, back);
  DeleteObject(back);
  if (bar->panelButton) {
    // A keyboard: a frame with two rows of keys; filled while the panel is shown.
    RECT key = PanelButtonRect(hwnd);
    const int inset = (key.bottom - key.top) / 4;
    InflateRect(&key, -inset, -inset);
    key.top += inset / 2;
    HBRUSH ink = CreateSolidBrush(kButtonInk);
    if (PanelShown())
      FillRect(dc, &key, ink);
    else
      FrameRect(dc, &key, ink);
    DeleteObject(ink);
  }
  EndPaint(hwnd, &ps);
}

LRESULT CALLBACK BarProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg == WM_NCCREATE) {
    auto* create = reinterpret_cast<CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  MenuBar* bar = BarOf(hwnd);
  if (!bar) return DefWindowProcW(hwnd, msg, wParam, lParam);
  wchar_t owner[64];
  switch (msg) {
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT:
      Paint(hwnd, bar);
      return 0;
    case WM_MOUSEACTIVATE:
      return MA_NOACTIVATE;
    case WM_LBUTTONDOWN: {
      POINT at = {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
      RECT button = PanelButtonRect(hwnd);
      if (bar->panelButton && PtInRect(&button, at)) {
        const DWORD flags = PanelFlags();
        if (flags & SIPF_LOCKED) {
          Journal(L"menu bar of %ls: input panel locked", ClassOf(bar->owner, owner, 64));
        } else {
          SetPanel(flags ^ SIPF_ON, L"menu bar button");
        }
      }
      return 0;
    }
    case WM_SETTINGCHANGE:
      if (wParam == SPI_SETSIPINFO) InvalidateRect(hwnd, nullptr, FALSE);
      return 0;
    case SHCMBM_OVERRIDEKEY: {
      if (wParam > 0xFF) return 0;
      const WORD mask = LOWORD(lParam), bits = HIWORD(lParam);
      WORD& kept = bar->overrides[wParam];
      const WORD previous = kept;
      kept = static_cast<WORD>((previous & ~mask) | (bits & mask));
      if (mask)
        Journal(L"menu bar of %ls: key %u override %u, was %u", ClassOf(bar->owner, owner, 64),
                static_cast<unsigned>(wParam), static_cast<unsigned>(kept), static_cast<unsigned>(previous));
      return previous;
    }
    case SHCMBM_SETBKCOLOR:
      bar->back = static_cast<COLORREF>(lParam);
      InvalidateRect(hwnd, nullptr, FALSE);
      return TRUE;
    case kMsgShowPanelButton:
      if (bar->panelButton != (wParam != 0)) {
        bar->panelButton = wParam != 0;
        InvalidateRect(hwnd, nullptr, FALSE);
      }
      return 0;
    case WM_NCDESTROY:
      RemovePropW(hwnd, kOwnerProperty);
      SetWindowLongPtrW(hwnd, GWLP_USERDATA, 0);
      delete bar;
      return DefWindowProcW(hwnd, msg, wParam, lParam);
    default:
      return DefWindowProcW(hwnd, msg, wParam, lParam);
  }
}

bool RegisterBarClass() {
  WNDCLASSW wc{};
  if (GetClassInfoW(g_module, SHMENUBAR_CLASS, &wc)) return true;
  wc.lpfnWndProc = BarProc;
  wc.hInstance = g_module;
  wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  wc.lpszClassName = SHMENUBAR_CLASS;
  return RegisterClassW(&wc) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

struct FindBar {
  HWND owner;
  HWND found;
};

BOOL CALLBACK FindBarOf(HWND hwnd, LPARAM lParam) {
  auto* find = reinterpret_cast<FindBar*>(lParam);
  wchar_t name[32];
  if (GetClassNameW(hwnd, name, 32) > 0 && lstrcmpW(name, SHMENUBAR_CLASS) == 0 &&
      GetPropW(hwnd, kOwnerProperty) == find->owner) {
    find->found = hwnd;
    return FALSE;
  }
  return TRUE;
}

}  // namespace

}  // namespace ayg

using namespace ayg;

extern "C" BOOL SHCreateMenuBar(SHMENUBARINFO* info) {
  if (!info || (info->cbSize != sizeof(SHMENUBARINFO) && info->cbSize != offsetof(SHMENUBARINFO, clrBk))) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (!info->hwndParent || !IsWindow(info->hwndParent)) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  wchar_t owner[64];
  // Bars built from a toolbar or menu resource are not part of this device.
  if (!(info->dwFlags & SHCMBF_EMPTYBAR)) {
    Journal(L"menu bar of %ls: bar %u from resources not supported", ClassOf(info->hwndParent, owner, 64),
            info->nToolBarId);
    SetLastError(ERROR_NOT_SUPPORTED);
    return FALSE;
  }
  if (!RegisterBarClass()) return FALSE;

  auto* bar = new (std::nothrow) MenuBar;
  if (!bar) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  bar->owner = info->hwndParent;
  bar->flags = info->dwFlags;
  bar->panelButton = !(info->dwFlags & SHCMBF_HIDESIPBUTTON);
  if ((info->dwFlags & SHCMBF_COLORBK) && info->cbSize == sizeof(SHMENUBARINFO)) bar->back = info->clrBk;

  const RECT work = WorkArea();
  const int height = MenuBarHeight();
  HWND root = GetAncestor(info->hwndParent, GA_ROOT);
  HWND hwnd = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE, SHMENUBAR_CLASS, L"", WS_POPUP, work.left,
                              work.bottom - height, work.right - work.left, height,
                              root ? root : info->hwndParent, nullptr, g_module, bar);
  if (!hwnd) {
    DWORD error = GetLastError();
    delete bar;
    SetLastError(error);
    return FALSE;
  }
  SetPropW(hwnd, kOwnerProperty, info->hwndParent);
  if (!(info->dwFlags & SHCMBF_HIDDEN)) ShowWindow(hwnd, SW_SHOWNOACTIVATE);
  Journal(L"menu bar of %ls: created, empty%ls", ClassOf(info->hwndParent, owner, 64),
          (info->dwFlags & SHCMBF_HIDDEN) ? L", hidden" : L"");
  info->hwndMB = hwnd;
  return TRUE;
}

extern "C" HWND SHFindMenuBar(HWND hwnd) {
  if (!hwnd) return nullptr;
  FindBar find{hwnd, nullptr};
  EnumWindows(FindBarOf, reinterpret_cast<LPARAM>(&find));
  return find.found;
}
