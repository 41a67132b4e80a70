// Tap and hold: SHRecognizeGesture waits, at the press, for the stylus to lift, to move away or to stay
// long enough. Lifts and moves are left in the queue for the window; timers, paints and other messages
// keep flowing meanwhile.
#include <aygshell.h>

#include <cstdlib>

#include "Shell.h"

namespace ayg {

namespace {

constexpr DWORD kHoldMs = 500;
constexpr DWORD kLongHoldMs = 1000;

// Stylus position of a mouse message, in the client coordinates of `client`.
POINT ClientPoint(const MSG& msg, HWND client) {
  POINT at = {static_cast<short>(LOWORD(msg.lParam)), static_cast<short>(HIWORD(msg.lParam))};
  if (msg.hwnd && msg.hwnd != client) MapWindowPoints(msg.hwnd, client, &at, 1);
  return at;
}

// Takes one message that is neither key nor stylus input and dispatches it; false when there is none.
bool DispatchOther() {
  static const UINT ranges[][2] = {
      {0, WM_KEYFIRST - 1}, {WM_KEYLAST + 1, WM_MOUSEFIRST - 1}, {WM_MOUSELAST + 1, 0xFFFFFFFF}};
  MSG msg;
  for (const auto& range : ranges) {
    if (PeekMessageW(&msg, nullptr, range[0], range[1], PM_REMOVE)) {
      if (msg.message == WM_QUIT) {
        PostQuitMessage(static_cast<int>(msg.wParam));
        return false;
      }
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
      return true;
    }
  }
  return false;
}

// True when the stylus stays down and still for `holdMs`.
bool WaitForHold(HWND client, POINT down, DWORD holdMs) {
  const int slackX = GetSystemMetrics(SM_CXDRAG), slackY = GetSystemMetrics(SM_CYDRAG);
  const DWORD start = GetTickCount();
  for (;;) {
    MSG msg;
    if (PeekMessageW(&msg, nullptr, WM_MOUSEFIRST, WM_MOUSELAST, PM_NOREMOVE)) {
      if (msg.message != WM_MOUSEMOVE) return false;  // a lift or another press
      POINT at = ClientPoint(msg, client);
      if (std::abs(at.x - down.x) > slackX || std::abs(at.y - down.y) > slackY) return false;
      // A stylus held still trembles a little: such moves are taken up here.
      PeekMessageW(&msg, msg.hwnd, WM_MOUSEMOVE, WM_MOUSEMOVE, PM_REMOVE);
      continue;
    }
    if (PeekMessageW(&msg, nullptr, WM_KEYFIRST, WM_KEYLAST, PM_NOREMOVE)) return false;
    if (GetCapture() != client) return false;  // the stylus went to someone else
    const DWORD elapsed = GetTickCount() - start;
    if (elapsed >= holdMs) return true;
    if (DispatchOther()) continue;
    if (!IsWindow(client)) return false;
    MsgWaitForMultipleObjectsEx(0, nullptr, holdMs - elapsed, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
  }
}

}  // namespace

}  // namespace ayg

using namespace ayg;

extern "C" DWORD SHRecognizeGesture(SHRGINFO* shrg) {
  if (!shrg || shrg->cbSize != sizeof(SHRGINFO) || !shrg->hwndClient || !IsWindow(shrg->hwndClient)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const HWND client = shrg->hwndClient;
  const POINT down = shrg->ptDown;
  const DWORD flags = shrg->dwFlags;

  const bool tookCapture = GetCapture() != client;
  if (tookCapture) SetCapture(client);
  const bool held = WaitForHold(client, down, (flags & SHRG_LONGDELAY) ? kLongHoldMs : kHoldMs);
  if (tookCapture && GetCapture() == client) ReleaseCapture();
  if (!held || !IsWindow(client)) return 0;

  wchar_t name[64];
  Journal(L"gesture %ls: context menu at %ld %ld", ClassOf(client, name, 64), down.x, down.y);
  POINT screen = down;
  ClientToScreen(client, &screen);
  SendMessageW(client, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(client), MAKELPARAM(screen.x, screen.y));
  if (flags & SHRG_RETURNCMD) return GN_CONTEXTMENU;

  NMRGINFO info{};
  info.hdr.hwndFrom = client;
  info.hdr.idFrom = static_cast<UINT_PTR>(GetDlgCtrlID(client));
  info.hdr.code = GN_CONTEXTMENU;
  info.ptAction = screen;
  info.dwItemSpec = 0;
  HWND target = (flags & SHRG_NOTIFYPARENT) ? GetParent(client) : client;
  if (!target) return 0;
  return static_cast<DWORD>(
      SendMessageW(target, WM_NOTIFY, info.hdr.idFrom, reinterpret_cast<LPARAM>(&info)));
}
