#include "foundation/WorkArea.h"
#include <aygshell.h>
#include "foundation/LogicalResolution.h"

bool GetFittedWorkArea(RECT& area, bool* panelOn) {
  SIPINFO info = {};
  info.cbSize = sizeof(info);
  if (!SHSipInfo(SPI_GETSIPINFO, 0, &info, 0)) return false;
  bool on = (info.fdwFlags & SIPF_ON) != 0;
  area = info.rcVisibleDesktop;
  if (!on) area.bottom -= MenuBarHeight();
  if (panelOn) *panelOn = on;
  return true;
}
