#include "MessagePump.h"

void Pump(DWORD ms) {
  PumpUntil([] { return false; }, ms);
}

bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs) {
  const DWORD start = GetTickCount();
  for (;;) {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
    if (done()) return true;
    if (GetTickCount() - start >= timeoutMs) return done();
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
  }
}
