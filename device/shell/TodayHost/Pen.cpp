// The stylus of a script: presses, moves and releases at screen points. Real input when the system
// takes it and the pointer lands where it should; otherwise the messages are posted, a press to the
// window under the point and the rest to the window that holds the capture, as input would go.
#include "TodayHost.h"

#include <DeviceJournal.h>

namespace todayhost {

namespace {

const wchar_t* Name(PenAction action) {
  switch (action) {
    case PenAction::kDown:
      return L"down";
    case PenAction::kMove:
      return L"move";
    case PenAction::kUp:
      return L"up";
  }
  return L"?";
}

// Puts the pointer at a screen point as real input; true when it landed there.
bool MovePointer(int x, int y) {
  const int cx = GetSystemMetrics(SM_CXSCREEN), cy = GetSystemMetrics(SM_CYSCREEN);
  INPUT move{};
  move.type = INPUT_MOUSE;
  move.mi.dx = cx > 0 ? static_cast<LONG>((static_cast<long long>(x) * 65536 + cx - 1) / cx) : 0;
  move.mi.dy = cy > 0 ? static_cast<LONG>((static_cast<long long>(y) * 65536 + cy - 1) / cy) : 0;
  move.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
  POINT at{};
  return SendInput(1, &move, sizeof move) == 1 && GetCursorPos(&at) && at.x == x && at.y == y;
}

bool SendButton(DWORD flag) {
  INPUT button{};
  button.type = INPUT_MOUSE;
  button.mi.dwFlags = flag;
  return SendInput(1, &button, sizeof button) == 1;
}

// The window that holds the stylus in the thread of `hwnd`, if any.
HWND CaptureOf(HWND hwnd) {
  if (!hwnd || !IsWindow(hwnd)) return nullptr;
  GUITHREADINFO info{};
  info.cbSize = sizeof info;
  if (!GetGUIThreadInfo(GetWindowThreadProcessId(hwnd, nullptr), &info)) return nullptr;
  return info.hwndCapture;
}

}  // namespace

void Host::Pen(PenAction action, int x, int y) {
  const POINT screen = {x, y};
  penAt_ = screen;
  // Real input while the system takes it: the press decides for the whole stroke.
  if (action == PenAction::kDown) {
    penByInput_ = MovePointer(x, y) && SendButton(MOUSEEVENTF_LEFTDOWN);
    penDown_ = true;
    penTarget_ = penByInput_ ? nullptr : WindowFromPoint(screen);
    if (penByInput_) return;
  } else if (penByInput_ || (!penDown_ && action == PenAction::kMove)) {
    const bool sent = MovePointer(x, y) && (action == PenAction::kMove || SendButton(MOUSEEVENTF_LEFTUP));
    if (action == PenAction::kUp) penByInput_ = penDown_ = false;
    if (sent) return;
    DeviceJournalWrite(kJournalSource, L"pen %ls %d %d input refused, posting", Name(action), x, y);
  }

  // Posted: a press to the window under the point, the rest to the window holding the capture.
  HWND target = penTarget_;
  if (action != PenAction::kDown) {
    target = CaptureOf(penTarget_);
    if (!target) target = WindowFromPoint(screen);
  }
  const bool pressed = penDown_ && action != PenAction::kUp;
  if (action == PenAction::kUp) {
    penDown_ = false;
    penTarget_ = nullptr;
  }
  wchar_t name[64];
  if (!target || GetClassNameW(target, name, 64) <= 0) {
    DeviceJournalWrite(kJournalSource, L"pen %ls %d %d: no window there", Name(action), x, y);
    return;
  }
  DeviceJournalWrite(kJournalSource, L"pen %ls %d %d posted to %ls", Name(action), x, y, name);
  POINT client = screen;
  ScreenToClient(target, &client);
  const LPARAM at = MAKELPARAM(client.x, client.y);
  const UINT message = action == PenAction::kDown   ? WM_LBUTTONDOWN
                       : action == PenAction::kMove ? WM_MOUSEMOVE
                                                    : WM_LBUTTONUP;
  PostMessageW(target, message, pressed ? MK_LBUTTON : 0, at);
}

void Host::LiftPen() {
  if (penDown_) Pen(PenAction::kUp, penAt_.x, penAt_.y);
}

}  // namespace todayhost
