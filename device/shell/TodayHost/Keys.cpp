// The hardware keys as the device delivers them. The key goes to the window in front: to the window
// with the focus in its thread, through the queue like a key from the keypad (key-up with the
// previous-state bit). When the front window's menu bar took the key over with SHMBOF_NOTIFY, the
// bar's owner gets it as WM_HOTKEY instead, once pressed and once released (MOD_KEYUP). Home brings
// the Today screen to the front. On the Today screen itself the keys go to the selected item (Host.cpp).
#include "TodayHost.h"

#include <DeviceJournal.h>
#include <DeviceShell.h>
#include <aygshell.h>
#include <winuserm.h>

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
  wchar_t name[64];
  if (vk == VK_THOME) {
    DeviceJournalWrite(kJournalSource, L"key %u: Today screen to the front", vk);
    SetForegroundWindow(hwnd_);
    SetFocus(hwnd_);
    return;
  }
  HWND front = GetForegroundWindow();
  if (!front || !IsWindowVisible(front)) front = hwnd_;

  // Keys the front window's menu bar took over.
  if (HWND bar = SHFindMenuBar(front)) {
    DWORD_PTR bits = 0;
    if (SendMessageTimeoutW(bar, SHCMBM_OVERRIDEKEY, vk, 0, SMTO_ABORTIFHUNG, 2000, &bits) &&
        (bits & SHMBOF_NOTIFY)) {
      DeviceJournalWrite(kJournalSource, L"key %u as hot key to %ls", vk, ClassOf(front, name, 64));
      PostMessageW(front, WM_HOTKEY, vk, MAKELPARAM(0, vk));
      PostMessageW(front, WM_HOTKEY, vk, MAKELPARAM(MOD_KEYUP, vk));
      return;
    }
  }

  HWND target = FocusOf(front);
  DeviceJournalWrite(kJournalSource, L"key %u to %ls", vk, ClassOf(target, name, 64));
  const LPARAM scan = static_cast<LPARAM>(MapVirtualKeyW(vk, MAPVK_VK_TO_VSC)) << 16;
  PostMessageW(target, WM_KEYDOWN, vk, 1 | scan);
  PostMessageW(target, WM_KEYUP, vk, 1 | scan | (static_cast<LPARAM>(3) << 30));
}

void Host::PressNavigationButton() {
  wchar_t name[64];
  HWND front = GetForegroundWindow();
  if (!front) front = hwnd_;
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
