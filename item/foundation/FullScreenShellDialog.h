// A shell dialog that takes the whole work area while it is active, and follows the input panel.
#pragma once
#include <windows.h>
#include "foundation/ShellDialog.h"

class FullScreenShellDialog : public ShellDialog {
 public:
  // A `mode` of 0 leaves the dialog where it is; in the modes 0 and 1 the shell parts start shown.
  explicit FullScreenShellDialog(int mode, HINSTANCE instance = nullptr, UINT templateId = 0,
                                 BOOL doInit = TRUE);

  // On activation: full screen with the shell parts of `sipShown`, then the move to the work area.
  void OnActivate(WPARAM wParam, LPARAM lParam) override;
  // A change of the input panel (SPI_SETSIPINFO) moves the dialog to the new work area.
  void OnSettingChange(WPARAM wParam, LPARAM lParam) override;

  int GetMode() const { return mode; }
  bool IsActive() const { return active != 0; }
  DWORD GetSipShown() const { return sipShown; }

 protected:
  void MoveToWorkArea();

  int mode;
  int active;
  DWORD sipShown;
};
