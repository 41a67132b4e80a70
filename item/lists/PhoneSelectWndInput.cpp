// PhoneSelectWnd: messages. Keys and buttons become the three commands; the commands dial, send an SMS
// or cancel (in pick mode they answer the caller); the window keeps the foreground while it shows.
#include "lists/PhoneSelectWnd.h"

#include <winuserm.h>

#include "phone/Communication.h"

namespace {

// The class of the platform's dialogs: a dialog may come up over the chooser once it has settled.
const wchar_t kDialogClass[] = L"Dialog";

}  // namespace

LRESULT PhoneSelectWnd::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SIZE:
      Layout();
      return 0;
    case WM_PAINT: {
      PAINTSTRUCT paint;
      HDC dc = BeginPaint(window, &paint);
      Paint(dc);
      EndPaint(window, &paint);
      return 0;
    }
    case WM_ERASEBKGND:
      return 1;
    case WM_KEYUP:
      if (wParam == VK_RETURN || wParam == kActionKey)
        OnCommand(kCommandDial);
      else if (wParam == kEndKey)
        OnCommand(kCommandCancel);
      return 0;
    case WM_HOTKEY:
      // The menu bar hands the key over on its press and again on its release; the press acts, so
      // that the release of the press that brought the window up dials nothing.
      if (HIWORD(lParam) == kTalkKey && !(LOWORD(lParam) & MOD_KEYUP)) OnCommand(kCommandDial);
      return 0;
    case WM_COMMAND:
      OnCommand(LOWORD(wParam));
      return 0;
    case WM_LBUTTONDOWN:
      OnButtonPress(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
      return 0;
    case WM_MOUSEMOVE:
      OnButtonDrag(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
      return 0;
    case WM_LBUTTONUP:
      OnButtonRelease(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
      return 0;
    case WM_CANCELMODE:
      DropPress();
      return DefWindowProcW(window, message, wParam, lParam);
    case WM_ACTIVATE:
      OnActivateMessage(wParam, lParam);
      return 0;
    case kReclaimMessage:
      Reclaim();
      return 0;
    case WM_SETTINGCHANGE:
      if (wParam == kScreenChanged) {
        // The screen turned or changed its size: the window takes the new one below the top bar.
        RECT rect;
        GetWindowRect(window, &rect);
        const int width = GetSystemMetrics(SM_CXSCREEN);
        const int height = GetSystemMetrics(SM_CYSCREEN) - rect.top;
        SetWindowPos(window, nullptr, 0, 0, width, height > 0 ? height : 0,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
        Layout();
      }
      return 0;
    case WM_DESTROY:
      if (menuBar && IsWindow(menuBar)) DestroyWindow(menuBar);
      menuBar = nullptr;
      shown = 0;
      return 0;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}

void PhoneSelectWnd::OnCommand(UINT command) {
  // Only a window that is up acts: the pad's centre comes up as two keys, Return and its own, and a
  // tap's release comes later by a posted message.
  if (!shown) return;
  const int row = list.Selected();
  switch (command) {
    case kCommandDial: {
      if (row < 0 || row >= numbers.GetSize()) return;
      if (pickMode) {
        shown = 0;
        RestoreTalkKey();
        if (callback) callback->OnPhonePicked(row);
        return;
      }
      const Str number = numbers[row].value;
      if (number.IsEmpty()) return;
      // Down from the guard first: the phone program that the call brings up may take the foreground.
      shown = 0;
      Dial(hwnd, number, &contact, 0, nullptr);
      Close();
      return;
    }
    case kCommandSms: {
      if (pickMode || row < 0 || row >= numbers.GetSize()) return;
      const Str number = numbers[row].value;
      Close();
      SendSmsToContact(number, &contact);
      return;
    }
    case kCommandCancel: {
      Close();
      if (pickMode && callback) callback->OnPhonePickCancelled();
      return;
    }
    default:
      return;
  }
}

void PhoneSelectWnd::OnActivateMessage(WPARAM wParam, LPARAM lParam) {
  if (LOWORD(wParam) != WA_INACTIVE) {
    if (list.GetHwnd()) SetFocus(list.GetHwnd());
    if (shown) OverrideTalkKey();
    return;
  }
  RestoreTalkKey();
  if (!shown) return;
  // Newly up, the window takes the foreground back from whatever took it; later it lets a dialog of
  // the platform come up over it, and nothing else.
  HWND next = reinterpret_cast<HWND>(lParam);
  wchar_t className[32] = L"";
  const bool known = next && ::GetClassNameW(next, className, 32) > 0;
  const bool settled = GetTickCount() - shownAt >= kDefendMs;
  if (settled && !(known && lstrcmpW(className, kDialogClass) != 0)) return;
  PostMessageW(hwnd, kReclaimMessage, 0, 0);
}

void PhoneSelectWnd::Reclaim() {
  if (!shown) return;
  SetForegroundWindow(hwnd);
  SetWindowPos(hwnd, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
}

void PhoneSelectWnd::OnButtonPress(int x, int y) {
  const POINT point = {x, y};
  for (int i = 0; i < kButtonCount; ++i) {
    if (!buttons[i].visible || !PtInRect(&buttons[i].rect, point)) continue;
    pressedButton = i;
    buttons[i].pressed = 1;
    SetCapture(hwnd);
    InvalidateRect(hwnd, &buttons[i].rect, FALSE);
    return;
  }
}

void PhoneSelectWnd::OnButtonDrag(int x, int y) {
  if (pressedButton < 0) return;
  Button& button = buttons[pressedButton];
  const POINT point = {x, y};
  const int inside = PtInRect(&button.rect, point) ? 1 : 0;
  if (inside == button.pressed) return;
  button.pressed = inside;
  InvalidateRect(hwnd, &button.rect, FALSE);
}

void PhoneSelectWnd::OnButtonRelease(int x, int y) {
  if (pressedButton < 0) return;
  const Button& button = buttons[pressedButton];
  const POINT point = {x, y};
  const bool inside = PtInRect(&button.rect, point) != FALSE;
  const UINT command = button.command;
  DropPress();
  if (inside) SendMessageW(hwnd, WM_COMMAND, MAKEWPARAM(command, BN_CLICKED), 0);
}

void PhoneSelectWnd::DropPress() {
  const bool had = pressedButton >= 0;
  for (Button& button : buttons) {
    if (button.pressed && hwnd) InvalidateRect(hwnd, &button.rect, FALSE);
    button.pressed = 0;
  }
  pressedButton = -1;
  if (had && hwnd && GetCapture() == hwnd) ReleaseCapture();
}
