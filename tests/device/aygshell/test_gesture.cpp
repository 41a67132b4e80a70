// Tap and hold on a real window: SHRecognizeGesture at a press, with the stylus lifting, moving away,
// trembling in place or staying; what the window and its parent are sent, and what stays queued.
#include <doctest/doctest.h>
#include <windows.h>

#include <aygshell.h>

#include "AygTestSupport.h"

using namespace aygtest;

namespace {

DWORD Recognize(HWND client, int x, int y, DWORD flags, DWORD* elapsed = nullptr) {
  SHRGINFO info{};
  info.cbSize = sizeof info;
  info.hwndClient = client;
  info.ptDown = {x, y};
  info.dwFlags = flags;
  const DWORD start = GetTickCount();
  DWORD result = SHRecognizeGesture(&info);
  if (elapsed) *elapsed = GetTickCount() - start;
  return result;
}

// The next queued message of the window in the given range, taken out of the queue; 0 when none.
UINT Take(HWND hwnd, UINT first, UINT last, MSG* msg) {
  return PeekMessageW(msg, hwnd, first, last, PM_REMOVE) ? msg->message : 0;
}

// Position in the recorded messages of the window's first message of this number, -1 when none.
int IndexOf(HWND hwnd, UINT message) {
  for (size_t i = 0; i < g_received.size(); ++i)
    if (g_received[i].hwnd == hwnd && g_received[i].message == message) return static_cast<int>(i);
  return -1;
}

}  // namespace

TEST_CASE("SHRecognizeGesture: a lift before the hold gives 0 and the lift stays for the window") {
  HWND window = MakeWindow();
  REQUIRE(window != nullptr);
  Pump();
  g_received.clear();
  MarkJournal();
  PostMessageW(window, WM_LBUTTONUP, 0, MAKELPARAM(20, 20));
  CHECK(Recognize(window, 20, 20, SHRG_RETURNCMD) == 0);
  MSG msg;
  CHECK(Take(window, WM_MOUSEFIRST, WM_MOUSELAST, &msg) == WM_LBUTTONUP);
  CHECK(msg.lParam == MAKELPARAM(20, 20));
  CHECK(Of(window, WM_CONTEXTMENU).empty());
  CHECK(g_notifies.empty());
  CHECK(GetCapture() == nullptr);  // the capture it took for the wait is given back
  CHECK(AygJournal().empty());
  DestroyWindow(window);
}

TEST_CASE("SHRecognizeGesture: a move away gives 0 and the move stays; a tremble is taken up and held") {
  HWND window = MakeWindow();
  REQUIRE(window != nullptr);
  Pump();
  g_received.clear();
  const int slack = GetSystemMetrics(SM_CXDRAG);
  PostMessageW(window, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(20 + slack + 1, 20));
  CHECK(Recognize(window, 20, 20, SHRG_RETURNCMD) == 0);
  MSG msg;
  CHECK(Take(window, WM_MOUSEFIRST, WM_MOUSELAST, &msg) == WM_MOUSEMOVE);
  CHECK(Of(window, WM_CONTEXTMENU).empty());

  // The window captured the stylus itself at the press: the capture stays with it. A program
  // elsewhere on the shared screen that takes the focus takes the capture too; only then is the hold
  // tried again.
  DWORD elapsed = 0;
  DWORD result = 0;
  for (int attempt = 0; attempt < 3; ++attempt) {
    SetForegroundWindow(window);
    Pump();
    SetCapture(window);
    PostMessageW(window, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(20 + slack, 20 - slack));
    result = Recognize(window, 20, 20, SHRG_RETURNCMD, &elapsed);
    if (result == GN_CONTEXTMENU || GetCapture() == window) break;
    while (Take(window, WM_MOUSEFIRST, WM_MOUSELAST, &msg) != 0) {
    }
  }
  CHECK(result == GN_CONTEXTMENU);
  CHECK(elapsed >= 500);
  CHECK(Take(window, WM_MOUSEFIRST, WM_MOUSELAST, &msg) == 0);
  CHECK(GetCapture() == window);
  ReleaseCapture();
  DestroyWindow(window);
}

TEST_CASE("SHRecognizeGesture: a hold sends WM_CONTEXTMENU, then WM_NOTIFY GN_CONTEXTMENU to the window") {
  HWND window = MakeWindow(nullptr, 30, 60, 200, 150);
  REQUIRE(window != nullptr);
  Pump();
  g_received.clear();
  g_notifies.clear();
  g_notifyResult = 77;
  MarkJournal();
  // Timers keep running while the stylus is held.
  SetTimer(window, 7, 50, nullptr);
  CHECK(Recognize(window, 12, 34, 0) == 77);
  KillTimer(window, 7);

  POINT screen = {12, 34};
  ClientToScreen(window, &screen);
  std::vector<Received> menus = Of(window, WM_CONTEXTMENU);
  REQUIRE(menus.size() == 1);
  CHECK(menus[0].wParam == reinterpret_cast<WPARAM>(window));
  CHECK(menus[0].lParam == MAKELPARAM(screen.x, screen.y));
  REQUIRE(g_notifies.size() == 1);
  CHECK(g_notifies[0].hwnd == window);
  CHECK(g_notifies[0].header.hwndFrom == window);
  CHECK(g_notifies[0].header.code == static_cast<UINT>(GN_CONTEXTMENU));
  CHECK(g_notifies[0].point.x == screen.x);
  CHECK(g_notifies[0].point.y == screen.y);
  // In order: the timer during the wait, the context menu, the notification.
  int timer = IndexOf(window, WM_TIMER), menu = IndexOf(window, WM_CONTEXTMENU),
      notify = IndexOf(window, WM_NOTIFY);
  CHECK(timer >= 0);
  CHECK(timer < menu);
  CHECK(menu < notify);
  CHECK(AygJournalHas("gesture AygTestWindow: context menu at 12 34"));
  g_notifyResult = 0;
  DestroyWindow(window);
}

TEST_CASE("SHRecognizeGesture: SHRG_NOTIFYPARENT tells the parent; SHRG_LONGDELAY waits longer") {
  HWND parent = MakeWindow();
  HWND child = MakeWindow(parent, 10, 10, 80, 60);
  REQUIRE(child != nullptr);
  Pump();
  g_received.clear();
  g_notifies.clear();
  g_notifyResult = 55;
  DWORD elapsed = 0;
  CHECK(Recognize(child, 5, 6, SHRG_NOTIFYPARENT | SHRG_LONGDELAY, &elapsed) == 55);
  CHECK(elapsed >= 1000);
  REQUIRE(g_notifies.size() == 1);
  CHECK(g_notifies[0].hwnd == parent);
  CHECK(g_notifies[0].header.hwndFrom == child);
  CHECK(g_notifies[0].header.idFrom == 42);
  CHECK(g_notifies[0].header.code == static_cast<UINT>(GN_CONTEXTMENU));
  // The context menu message starts at the child and the default procedure passes it up.
  CHECK(Of(child, WM_CONTEXTMENU).size() == 1);
  CHECK(Of(parent, WM_CONTEXTMENU).size() == 1);
  g_notifyResult = 0;
  DestroyWindow(parent);
}

TEST_CASE("SHRecognizeGesture: a key or a press elsewhere ends the wait; bad records give 0") {
  HWND window = MakeWindow();
  REQUIRE(window != nullptr);
  Pump();
  g_received.clear();
  PostMessageW(window, WM_KEYDOWN, VK_DOWN, 1);
  CHECK(Recognize(window, 20, 20, SHRG_RETURNCMD) == 0);
  MSG msg;
  CHECK(Take(window, WM_KEYFIRST, WM_KEYLAST, &msg) == WM_KEYDOWN);
  PostMessageW(window, WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(20, 20));
  CHECK(Recognize(window, 20, 20, SHRG_RETURNCMD) == 0);
  CHECK(Take(window, WM_MOUSEFIRST, WM_MOUSELAST, &msg) == WM_RBUTTONDOWN);

  SHRGINFO info{};
  info.cbSize = sizeof info - 4;
  info.hwndClient = window;
  SetLastError(0);
  CHECK(SHRecognizeGesture(&info) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  SetLastError(0);
  CHECK(SHRecognizeGesture(nullptr) == 0);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(Of(window, WM_CONTEXTMENU).empty());
  DestroyWindow(window);
}
