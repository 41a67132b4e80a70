#include "BenchTimer.h"
#include <windows.h>
#include <algorithm>
#include <vector>

double NowMs() {
  static LARGE_INTEGER frequency = [] {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    return f;
  }();
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return static_cast<double>(now.QuadPart) * 1000.0 / static_cast<double>(frequency.QuadPart);
}

double MedianMs(int repeats, const std::function<void()>& work) {
  std::vector<double> times;
  for (int i = 0; i < repeats; ++i) {
    double start = NowMs();
    work();
    times.push_back(NowMs() - start);
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

void LetDeviceSettle() {
  // Long enough for the write-back of both index files; measured: without it a start right after a
  // close or a change takes 2 to 8 ms longer, and unevenly.
  Sleep(250);
}
