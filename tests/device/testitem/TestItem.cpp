// A small custom Today item for the host's tests. Every message it gets from the host goes to the device
// journal under the source "testitem", as "<item name> <event>", so a test can read what the host did.
//
// Its height, in 96-dpi units, is the registry value "Flags" (grfFlags); Flags 0 makes it refuse to
// start. Keys it understands while selected:
//   Up, Down   not handled (the host moves the selection on)
//   'H'        grows by 20 units; the host learns it at its next poll
//   'R'        asks the Today screen to reload its items, as a sibling program does
//   'P'        opens its popup (below)
//   others     handled, nothing happens
// A pen press takes the selection (TODAYM_TOOKSELECTION to the host).
//
// The popup is a top-level window over the Today screen, as a real item's list would be: shown active
// at (0, 120) with the screen's width and 120 units high, with an OK button in its caption and an empty
// menu bar that takes over the talk key. It journals as "<item name> popup <event>" the keys, hot keys,
// stylus events (and what SHRecognizeGesture answered at each press), setting changes and commands it
// gets; a command closes it.
#include <windows.h>

#include <DeviceJournal.h>
#include <aygshell.h>
#include <todaycmn.h>
#include <winuserm.h>

#include <string>

namespace {

constexpr wchar_t kSource[] = L"testitem";
constexpr wchar_t kClass[] = L"PagemarkHostTestItem";
constexpr wchar_t kPopupClass[] = L"PagemarkHostTestPopup";

struct ItemState {
  std::wstring name;
  DWORD units = 0;
  bool selected = false;
  bool reported = false;  // the host has been given the current height
  HWND popup = nullptr;
};

HINSTANCE g_module = nullptr;

int Scale(DWORD units) {
  HDC screen = GetDC(nullptr);
  int dpi = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  return MulDiv(static_cast<int>(units), dpi > 0 ? dpi : 96, 96);
}

ItemState* StateOf(HWND hwnd) { return reinterpret_cast<ItemState*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA)); }

void Paint(HWND hwnd, ItemState* state) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  RECT rc;
  GetClientRect(hwnd, &rc);
  HWND parent = GetParent(hwnd);
  TODAYDRAWWATERMARKINFO info{dc, rc, hwnd};
  SendMessageW(parent, TODAYM_DRAWWATERMARK, 0, reinterpret_cast<LPARAM>(&info));
  COLORREF text = static_cast<COLORREF>(SendMessageW(parent, TODAYM_GETCOLOR, TODAYCOLOR_TEXT, 0));
  if (state->selected) {
    COLORREF back = static_cast<COLORREF>(SendMessageW(parent, TODAYM_GETCOLOR, TODAYCOLOR_HIGHLIGHT, 0));
    HBRUSH brush = CreateSolidBrush(back);
    FillRect(dc, &rc, brush);
    DeleteObject(brush);
    text = static_cast<COLORREF>(SendMessageW(parent, TODAYM_GETCOLOR, TODAYCOLOR_HIGHLIGHTEDTEXT, 0));
  }
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, text);
  HGDIOBJ old = SelectObject(dc, GetStockObject(DEFAULT_GUI_FONT));
  rc.left += 4;
  DrawTextW(dc, state->name.c_str(), -1, &rc, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
  SelectObject(dc, old);
  EndPaint(hwnd, &ps);
}

LRESULT CALLBACK PopupProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  ItemState* state = StateOf(hwnd);
  if (!state) return DefWindowProcW(hwnd, msg, wParam, lParam);
  const wchar_t* name = state->name.c_str();
  const int x = static_cast<short>(LOWORD(lParam)), y = static_cast<short>(HIWORD(lParam));
  switch (msg) {
    case WM_KEYDOWN:
      DeviceJournalWrite(kSource, L"%ls popup key down %u", name, static_cast<unsigned>(wParam));
      return 0;
    case WM_KEYUP:
      DeviceJournalWrite(kSource, L"%ls popup key up %u previous %d", name, static_cast<unsigned>(wParam),
                         static_cast<int>((lParam >> 30) & 1));
      return 0;
    case WM_HOTKEY:
      DeviceJournalWrite(kSource, L"%ls popup hot key %u modifiers 0x%x key %u", name,
                         static_cast<unsigned>(wParam), LOWORD(lParam), HIWORD(lParam));
      return 0;
    case WM_LBUTTONDOWN: {
      DeviceJournalWrite(kSource, L"%ls popup button down %d %d", name, x, y);
      SetCapture(hwnd);
      SHRGINFO gesture{};
      gesture.cbSize = sizeof gesture;
      gesture.hwndClient = hwnd;
      gesture.ptDown = {x, y};
      gesture.dwFlags = SHRG_RETURNCMD;
      DWORD answer = SHRecognizeGesture(&gesture);
      DeviceJournalWrite(kSource, L"%ls popup gesture %lu", name, answer);
      return 0;
    }
    case WM_MOUSEMOVE:
      if (GetCapture() == hwnd) DeviceJournalWrite(kSource, L"%ls popup move %d %d", name, x, y);
      return 0;
    case WM_LBUTTONUP:
      DeviceJournalWrite(kSource, L"%ls popup button up %d %d", name, x, y);
      if (GetCapture() == hwnd) ReleaseCapture();
      return 0;
    case WM_SETTINGCHANGE:
      DeviceJournalWrite(kSource, L"%ls popup setting change %u", name, static_cast<unsigned>(wParam));
      return 0;
    case WM_COMMAND:
      DeviceJournalWrite(kSource, L"%ls popup command %u", name, static_cast<unsigned>(LOWORD(wParam)));
      DestroyWindow(hwnd);
      return 0;
    case WM_DESTROY:
      DeviceJournalWrite(kSource, L"%ls popup destroyed", name);
      state->popup = nullptr;
      return 0;
    default:
      return DefWindowProcW(hwnd, msg, wParam, lParam);
  }
}

void OpenPopup(ItemState* state) {
  const wchar_t* name = state->name.c_str();
  if (state->popup) return;
  WNDCLASSW wc{};
  if (!GetClassInfoW(g_module, kPopupClass, &wc)) {
    wc.lpfnWndProc = PopupProc;
    wc.hInstance = g_module;
    wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(LTGRAY_BRUSH));
    wc.lpszClassName = kPopupClass;
    if (!RegisterClassW(&wc)) return;
  }
  HWND popup =
      CreateWindowExW(WS_EX_CAPTIONOKBTN | WS_EX_TOOLWINDOW, kPopupClass, L"popup", WS_POPUP, 0, Scale(120),
                      GetSystemMetrics(SM_CXSCREEN), Scale(120), nullptr, nullptr, g_module, nullptr);
  if (!popup) return;
  SetWindowLongPtrW(popup, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(state));
  state->popup = popup;
  SHMENUBARINFO bar{};
  bar.cbSize = sizeof bar;
  bar.hwndParent = popup;
  bar.dwFlags = SHCMBF_EMPTYBAR;
  if (SHCreateMenuBar(&bar)) {
    SetWindowPos(bar.hwndMB, nullptr, 0, 0, 0, 0, SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOMOVE);
    LRESULT previous =
        SendMessageW(bar.hwndMB, SHCMBM_OVERRIDEKEY, VK_TTALK,
                     MAKELPARAM(SHMBOF_NODEFAULT | SHMBOF_NOTIFY, SHMBOF_NODEFAULT | SHMBOF_NOTIFY));
    DeviceJournalWrite(kSource, L"%ls popup talk key taken, was %ld", name, static_cast<long>(previous));
  }
  ShowWindow(popup, SW_SHOW);
  SetFocus(popup);
  DeviceJournalWrite(kSource, L"%ls popup shown%ls", name,
                     GetForegroundWindow() == popup ? L" in front" : L"");
}

LRESULT CALLBACK ItemProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  ItemState* state = StateOf(hwnd);
  if (!state) return DefWindowProcW(hwnd, msg, wParam, lParam);
  const wchar_t* name = state->name.c_str();
  switch (msg) {
    case WM_TODAYCUSTOM_QUERYREFRESHCACHE: {
      auto* tli = reinterpret_cast<TODAYLISTITEM*>(wParam);
      if (!tli) return TRUE;
      DWORD height = static_cast<DWORD>(Scale(state->units));
      if (state->reported && tli->cyp == height) return FALSE;
      tli->cyp = height;
      state->reported = true;
      DeviceJournalWrite(kSource, L"%ls height %lu", name, height);
      return TRUE;
    }
    case WM_TODAYCUSTOM_RECEIVEDSELECTION:
      DeviceJournalWrite(kSource, L"%ls received selection %u", name, static_cast<unsigned>(wParam));
      state->selected = true;
      InvalidateRect(hwnd, nullptr, TRUE);
      return TRUE;
    case WM_TODAYCUSTOM_LOSTSELECTION:
      DeviceJournalWrite(kSource, L"%ls lost selection", name);
      state->selected = false;
      InvalidateRect(hwnd, nullptr, TRUE);
      return TRUE;
    case WM_TODAYCUSTOM_USERNAVIGATION:
      DeviceJournalWrite(kSource, L"%ls navigation %u", name, static_cast<unsigned>(wParam));
      if (wParam == VK_UP || wParam == VK_DOWN) return FALSE;
      if (wParam == 'H') {
        state->units += 20;
        state->reported = false;
      } else if (wParam == 'P') {
        OpenPopup(state);
      } else if (wParam == 'R') {
        HWND today = FindWindowW(L"DesktopExplorerWindow", nullptr);
        DeviceJournalWrite(kSource, L"%ls asks reload %ls", name, today ? L"found" : L"no screen");
        if (today) SendMessageW(today, WM_WININICHANGE, 0xF2, 0);
      }
      return TRUE;
    case WM_TODAYCUSTOM_ACTION:
      DeviceJournalWrite(kSource, L"%ls action %u", name, static_cast<unsigned>(wParam));
      return TRUE;
    case WM_TODAYCUSTOM_CLEARCACHE:
      DeviceJournalWrite(kSource, L"%ls clear cache %ls", name,
                         reinterpret_cast<TODAYLISTITEM*>(wParam) ? L"with item" : L"without item");
      return TRUE;
    case WM_LBUTTONDOWN:
      DeviceJournalWrite(kSource, L"%ls button down %d %d", name, static_cast<short>(LOWORD(lParam)),
                         static_cast<short>(HIWORD(lParam)));
      PostMessageW(GetParent(hwnd), TODAYM_TOOKSELECTION, reinterpret_cast<WPARAM>(hwnd), 0);
      return 0;
    case WM_LBUTTONUP:
      DeviceJournalWrite(kSource, L"%ls button up %d %d", name, static_cast<short>(LOWORD(lParam)),
                         static_cast<short>(HIWORD(lParam)));
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT:
      Paint(hwnd, state);
      return 0;
    case WM_DESTROY:
      if (state->popup) DestroyWindow(state->popup);
      DeviceJournalWrite(kSource, L"%ls destroyed", name);
      return 0;
    case WM_NCDESTROY:
      SetWindowLongPtrW(hwnd, GWLP_USERDATA, 0);
      delete state;
      return DefWindowProcW(hwnd, msg, wParam, lParam);
    default:
      return DefWindowProcW(hwnd, msg, wParam, lParam);
  }
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) g_module = module;
  if (reason == DLL_PROCESS_DETACH) {
    UnregisterClassW(kClass, module);
    UnregisterClassW(kPopupClass, module);
  }
  return TRUE;
}

extern "C" HWND InitializeCustomItem(TODAYLISTITEM* tli, HWND parent) {
  if (!tli || !tli->fEnabled) return nullptr;
  DeviceJournalWrite(kSource, L"%ls init type %d order %lu flags %lu options %d selectability %lu cyp %lu",
                     tli->szName, static_cast<int>(tli->tlit), tli->dwOrder, tli->grfFlags, tli->fOptions,
                     tli->dwSelectability, tli->cyp);
  if (tli->hinstDLL != g_module) DeviceJournalWrite(kSource, L"%ls wrong module handle", tli->szName);
  if (tli->grfFlags == 0) {
    DeviceJournalWrite(kSource, L"%ls refuses", tli->szName);
    return nullptr;
  }

  WNDCLASSW wc{};
  if (!GetClassInfoW(g_module, kClass, &wc)) {
    wc.lpfnWndProc = ItemProc;
    wc.hInstance = g_module;
    wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    wc.lpszClassName = kClass;
    if (!RegisterClassW(&wc)) return nullptr;
  }
  auto* state = new ItemState;
  state->name = tli->szName;
  state->units = tli->grfFlags;
  HWND hwnd = CreateWindowExW(0, kClass, nullptr, WS_CHILD | WS_VISIBLE, CW_USEDEFAULT, CW_USEDEFAULT, 0, 0,
                              parent, nullptr, g_module, nullptr);
  if (!hwnd) {
    delete state;
    return nullptr;
  }
  SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(state));

  COLORREF text = static_cast<COLORREF>(SendMessageW(parent, TODAYM_GETCOLOR, TODAYCOLOR_TEXT, 0));
  COLORREF highlight = static_cast<COLORREF>(SendMessageW(parent, TODAYM_GETCOLOR, TODAYCOLOR_HIGHLIGHT, 0));
  COLORREF highlighted =
      static_cast<COLORREF>(SendMessageW(parent, TODAYM_GETCOLOR, TODAYCOLOR_HIGHLIGHTEDTEXT, 0));
  DeviceJournalWrite(kSource, L"%ls colours %06lx %06lx %06lx", tli->szName, static_cast<unsigned long>(text),
                     static_cast<unsigned long>(highlight), static_cast<unsigned long>(highlighted));
  return hwnd;
}
