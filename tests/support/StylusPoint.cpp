#include "StylusPoint.h"

#include "MessagePump.h"

namespace stylus {

bool PutPointerAt(HWND window, POINT point, DWORD timeoutMs) {
  POINT target = point;
  ClientToScreen(window, &target);
  if (!SetCursorPos(target.x, target.y)) return false;
  // Reading the position asks the display itself, so that the moves it made before (a window
  // appearing under the old place) are queued by then and run here.
  const bool there = PumpUntil(
      [&] {
        POINT now;
        return GetCursorPos(&now) && now.x == target.x && now.y == target.y &&
               !(GetQueueStatus(QS_MOUSE) & QS_MOUSE);
      },
      timeoutMs);
  Pump(50);
  return there;
}

}  // namespace stylus
