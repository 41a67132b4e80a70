// Running this thread's messages in a test, so that posted messages, timers and sent messages reach the
// windows under test.
#pragma once
#include <windows.h>
#include <functional>

// Runs the messages waiting now, and keeps running them for `ms` milliseconds.
void Pump(DWORD ms = 0);
// Runs messages until `done` says so or `timeoutMs` pass; gives `done()`.
bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs);
