#include "foundation/LogicalResolution.h"
#include <windows.h>
#include "foundation/Settings.h"

namespace {

struct Resolution {
  int x;
  int y;
};

Resolution Read() {
  Resolution read = {96, 96};
  HDC screen = GetDC(nullptr);
  if (screen) {
    read.x = GetDeviceCaps(screen, LOGPIXELSX);
    read.y = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
  }
  if (GetSettingDword(SECTION_SETTINGS, L"RealVGA", 0) == 1) read = {192, 192};
  return read;
}

const Resolution& Current() {
  static const Resolution current = Read();
  return current;
}

}  // namespace

int LogicalDpiX() { return Current().x; }
int LogicalDpiY() { return Current().y; }
