#include "InputPanel.h"
#include <aygshell.h>

namespace inputpanel {

namespace {

SIPINFO Read() {
  SIPINFO info = {};
  info.cbSize = sizeof(info);
  SHSipInfo(SPI_GETSIPINFO, 0, &info, 0);
  return info;
}

}  // namespace

void Set(bool on) {
  SIPINFO info = {};
  info.cbSize = sizeof(info);
  info.fdwFlags = on ? SIPF_ON : 0;
  SHSipInfo(SPI_SETSIPINFO, 0, &info, 0);
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

bool IsOn() { return (Read().fdwFlags & SIPF_ON) != 0; }

RECT VisibleDesktop() { return Read().rcVisibleDesktop; }

}  // namespace inputpanel
