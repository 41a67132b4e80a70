// The hardware keys as the device delivers them. The key goes to the window in front: to the window
// with the focus in its thread, through the queue like a key from the keypad (key-up with the
// previous-state bit). When the front window's menu bar took the key over with SHMBOF_NOTIFY, the
// bar's owner gets it as WM_HOTKEY instead, once pressed and once released (MOD_KEYUP). Home brings
// the Today screen to the front. The pad's centre sends its own code (134) and a Return, pressed and
// released together. On the Today screen itself the keys go to the selected item (Host.cpp).
#include "TodayHost.h"
#include "HardwareKeys.h"

#include <DeviceJournal.h>
#include <DeviceShell.h>
#include <aygshell.h>
#include <winuserm.h>

#include <initializer_list>
#include <utility>

namespace todayhost {

namespace {

const wchar_t* ClassOf(HWND hwnd, wchar_t* buffer, int size) {
  if (!hwnd || GetClassNameW(hwnd, buffer, size) <= 0) lstrcpynW(buffer, L"-", size);
  return buffer;
}

// The window with the focus in the thread of `front`, else `front` itself.
HWND FocusOf(HWND front) {
  GUITHREADINFO info{};
  info.cbSize = sizeof info;
  if (GetGUIThreadInfo(GetWindowThreadProcessId(front, nullptr), &info)) {
    if (info.hwndFocus) return info.hwndFocus;
    if (info.hwndActive) return info.hwndActive;
  }
  return front;
}

}  // namespace

void Host::DeliverKey(UINT vk) {
  DeliverKeyDown(vk);
  // A finger is slower than the queue: the press is taken before the release comes.
  MSG msg;
  for (int i = 0; i < 200 && PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE); ++i) {
    if (msg.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(msg.wParam));
      break;
    }
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  DeliverKeyUp(vk);
}

HWND Host::FrontWindow() {
  HWND front = GetForegroundWindow();
  DWORD process = 0;
  if (front) GetWindowThreadProcessId(front, &process);
  if (front && IsWindowVisible(front) && process == GetCurrentProcessId()) return front;
  for (HWND window = GetTopWindow(nullptr); window; window = GetWindow(window, GW_HWNDNEXT)) {
    GetWindowThreadProcessId(window, &process);
    if (process != GetCurrentProcessId() || !IsWindowVisible(window)) continue;
    // A menu bar and other windows owned by a window are not where keys go; nor is one of no size.
    RECT rect;
    if (GetWindow(window, GW_OWNER) != nullptr || !GetWindowRect(window, &rect) || IsRectEmpty(&rect))
      continue;
    // Keys of a host that lost the foreground: what had it and what takes the keys now.
    wchar_t had[64], takes[64];
    DeviceJournalWrite(kJournalSource, L"front: %ls had the foreground, keys go to %ls",
                       ClassOf(front, had, 64), ClassOf(window, takes, 64));
    SetForegroundWindow(window);
    return window;
  }
  DeviceJournalWrite(kJournalSource, L"front: no window of the host shows, keys go to its main window");
  return hwnd_;
}

// The window a key goes to, or null when the key went elsewhere (Home, a menu bar's hot key).
HWND Host::KeyTarget(UINT vk, bool up) {
  wchar_t name[64];
  if (vk == VK_THOME) {
    if (up) return nullptr;
    DeviceJournalWrite(kJournalSource, L"key %u: Today screen to the front", vk);
    SetForegroundWindow(hwnd_);
    SetFocus(hwnd_);
    return nullptr;
  }
  HWND front = FrontWindow();

  // Keys the front window's menu bar took over.
  if (HWND bar = SHFindMenuBar(front)) {
    DWORD_PTR bits = 0;
    if (SendMessageTimeoutW(bar, SHCMBM_OVERRIDEKEY, vk, 0, SMTO_ABORTIFHUNG, 2000, &bits) &&
        (bits & SHMBOF_NOTIFY)) {
      DeviceJournalWrite(kJournalSource, L"key %u %ls as hot key to %ls", vk, up ? L"up" : L"down",
                         ClassOf(front, name, 64));
      PostMessageW(front, WM_HOTKEY, vk, MAKELPARAM(up ? MOD_KEYUP : 0, vk));
      return nullptr;
    }
  }
  // The application keys that no window took over start their programs (HardwareKeys.cpp).
  if (IsHardwareKey(vk)) {
    if (!up) StartHardwareKeyProgram(vk);
    return nullptr;
  }
  HWND target = FocusOf(front);
  DeviceJournalWrite(kJournalSource, L"key %u %ls to %ls", vk, up ? L"up" : L"down",
                     ClassOf(target, name, 64));
  return target;
}

void Host::PostKey(HWND target, UINT vk, bool up) {
  const LPARAM scan = static_cast<LPARAM>(MapVirtualKeyW(vk, MAPVK_VK_TO_VSC)) << 16;
  if (up)
    PostMessageW(target, WM_KEYUP, vk, 1 | scan | (static_cast<LPARAM>(3) << 30));
  else
    PostMessageW(target, WM_KEYDOWN, vk, 1 | scan);
}

// The centre of the five-way pad sends its own code and the Return of the action when pressed, and
// their releases when it comes up: down 134, down Return, then up Return, up 134. These go in as the
// keyboard's own input, so that the system's key state says the pad is held for as long as it is.
namespace {

bool SendKeys(std::initializer_list<std::pair<UINT, bool>> keys) {
  INPUT input[4] = {};
  UINT count = 0;
  for (const auto& key : keys) {
    input[count].type = INPUT_KEYBOARD;
    input[count].ki.wVk = static_cast<WORD>(key.first);
    input[count].ki.wScan = static_cast<WORD>(MapVirtualKeyW(key.first, MAPVK_VK_TO_VSC));
    input[count].ki.dwFlags = key.second ? KEYEVENTF_KEYUP : 0;
    ++count;
  }
  return SendInput(count, input, sizeof(INPUT)) == count;
}

}  // namespace

void Host::DeliverKeyDown(UINT vk) {
  if (vk == VK_TACTION) {
    HWND pad = KeyTarget(VK_PAD_ACTION, false);
    HWND enter = KeyTarget(VK_RETURN, false);
    if (pad && enter && SendKeys({{VK_PAD_ACTION, false}, {VK_RETURN, false}})) return;
    if (pad) PostKey(pad, VK_PAD_ACTION, false);
    if (enter) PostKey(enter, VK_RETURN, false);
    return;
  }
  if (HWND target = KeyTarget(vk, false)) PostKey(target, vk, false);
}

void Host::DeliverKeyUp(UINT vk) {
  if (vk == VK_TACTION) {
    HWND enter = KeyTarget(VK_RETURN, true);
    HWND pad = KeyTarget(VK_PAD_ACTION, true);
    if (enter && pad && SendKeys({{VK_RETURN, true}, {VK_PAD_ACTION, true}})) return;
    if (enter) PostKey(enter, VK_RETURN, true);
    if (pad) PostKey(pad, VK_PAD_ACTION, true);
    return;
  }
  if (HWND target = KeyTarget(vk, true)) PostKey(target, vk, true);
}

void Host::PressNavigationButton() {
  wchar_t name[64];
  HWND front = FrontWindow();
  // A dialog's button comes from SHInitDialog; a window with an OK button in its caption has IDOK.
  UINT id = static_cast<UINT>(reinterpret_cast<UINT_PTR>(GetPropW(front, DEVICE_NAVIGATION_BUTTON_PROPERTY)));
  if (!id && (static_cast<DWORD>(GetWindowLongPtrW(front, GWL_EXSTYLE)) & WS_EX_CAPTIONOKBTN)) id = IDOK;
  if (!id) {
    DeviceJournalWrite(kJournalSource, L"ok: %ls has no button on the navigation bar",
                       ClassOf(front, name, 64));
    return;
  }
  DeviceJournalWrite(kJournalSource, L"ok: command %u to %ls", id, ClassOf(front, name, 64));
  PostMessageW(front, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), 0);
}

}  // namespace todayhost
