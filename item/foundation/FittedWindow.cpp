#include "foundation/FittedWindow.h"

#include <sipapi.h>

#include "foundation/WorkArea.h"

void FittedWindow::OnSettingChange(WPARAM wParam, LPARAM) {
  if (wParam == SPI_SETSIPINFO) FitToWorkArea();
}

void FittedWindow::OnActivate(WPARAM wParam, LPARAM) {
  if (LOWORD(wParam) != 0) FitToWorkArea();
}

void FittedWindow::FitToWorkArea() {
  if (!autoFit || !hwnd) return;
  // Top-level windows follow the input panel.
  RECT work;
  if (!GetFittedWorkArea(work)) return;
  MoveWindow(hwnd, work.left, work.top, work.right - work.left, work.bottom - work.top, TRUE);
}

void FittedWindow::NoteFitMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_ACTIVATE)
    OnActivate(wParam, lParam);
  else if (message == WM_SETTINGCHANGE)
    OnSettingChange(wParam, lParam);
}
