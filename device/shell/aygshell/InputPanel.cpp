// The input panel: one state for the whole device, kept in a named mapping that every process of the
// device opens, so that what one program sets the others see. The panel starts off.
#include <aygshell.h>

#include <DeviceShell.h>

#include "Shell.h"

namespace ayg {

namespace {

constexpr wchar_t kStateName[] = DEVICE_INPUT_PANEL_MAPPING;
constexpr DWORD kKeptFlags = SIPF_ON | SIPF_LOCKED;

struct PanelState {
  volatile LONG flags;  // SIPF_ON and SIPF_LOCKED
};

PanelState* State() {
  static PanelState* state = [] {
    static PanelState local{};
    // The mapping stays open for the life of the process: the state lives while any program holds it.
    HANDLE mapping =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(PanelState), kStateName);
    if (!mapping) return &local;
    void* view = MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(PanelState));
    if (!view) {
      CloseHandle(mapping);
      return &local;
    }
    return static_cast<PanelState*>(view);
  }();
  return state;
}

}  // namespace

DWORD PanelFlags() { return static_cast<DWORD>(State()->flags) & kKeptFlags; }

bool PanelShown() { return (PanelFlags() & SIPF_ON) != 0; }

void SetPanel(DWORD flags, const wchar_t* why) {
  flags &= kKeptFlags;
  DWORD old = static_cast<DWORD>(InterlockedExchange(&State()->flags, static_cast<LONG>(flags))) & kKeptFlags;
  if (old == flags) return;
  Journal(L"input panel %ls%ls by %ls", (flags & SIPF_ON) ? L"on" : L"off",
          (flags & SIPF_LOCKED) ? L" locked" : L"", why);
  // Every top-level window hears of it, as from the platform's panel; one that hangs is passed by.
  SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, SPI_SETSIPINFO, 0, SMTO_ABORTIFHUNG | SMTO_NORMAL,
                      2000, nullptr);
}

}  // namespace ayg

using namespace ayg;

extern "C" BOOL SHSipInfo(UINT uiAction, UINT, PVOID pvParam, UINT) {
  auto* info = static_cast<SIPINFO*>(pvParam);
  if ((uiAction != SPI_GETSIPINFO && uiAction != SPI_SETSIPINFO) || !info ||
      info->cbSize != sizeof(SIPINFO)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (uiAction == SPI_SETSIPINFO) {
    SetPanel(info->fdwFlags, L"SHSipInfo");
    return TRUE;
  }
  const DWORD flags = PanelFlags();
  info->fdwFlags = flags | SIPF_DOCKED;
  info->rcVisibleDesktop = VisibleDesktop((flags & SIPF_ON) != 0);
  info->rcSipRect = PanelRect();
  info->dwImDataSize = 0;
  info->pvImData = nullptr;
  return TRUE;
}

extern "C" BOOL SHSipPreference(HWND hwnd, SIPSTATE st) {
  if (!hwnd || !IsWindow(hwnd)) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  const DWORD locked = PanelFlags() & SIPF_LOCKED;
  switch (st) {
    case SIP_UP:
    case SIP_INPUTDIALOG:
      SetPanel(locked | SIPF_ON, L"SHSipPreference");
      return TRUE;
    case SIP_DOWN:
    case SIP_FORCEDOWN:
      SetPanel(locked, L"SHSipPreference");
      return TRUE;
    case SIP_UNCHANGED:
      return TRUE;
  }
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}
