#include "foundation/FullScreenShellDialog.h"
#include <aygshell.h>
#include "foundation/WorkArea.h"

FullScreenShellDialog::FullScreenShellDialog(int dialogMode, HINSTANCE module, UINT id, BOOL init)
    : ShellDialog(module, id, init), mode(dialogMode), active(0),
      sipShown(dialogMode == 0 || dialogMode == 1) {}

void FullScreenShellDialog::OnActivate(WPARAM wParam, LPARAM) {
  if (mode == 0) return;
  if (LOWORD(wParam) == WA_INACTIVE) {
    active = 0;
    return;
  }
  active = 1;
  SHFullScreen(hwnd, sipShown);
  MoveToWorkArea();
}

void FullScreenShellDialog::OnSettingChange(WPARAM wParam, LPARAM) {
  if (mode == 0 || wParam != SPI_SETSIPINFO) return;
  MoveToWorkArea();
}

void FullScreenShellDialog::MoveToWorkArea() {
  RECT work;
  bool panelOn = false;
  if (!GetFittedWorkArea(work, &panelOn)) return;
  if (!panelOn) sipShown = 1;
  Move(work);
}
