// Wall-clock timing for the benchmarks: a median of repeated runs, in milliseconds.
#pragma once
#include <functional>

double NowMs();
// Runs `work` `repeats` times and gives the median duration in milliseconds.
double MedianMs(int repeats, const std::function<void()>& work);
// Waits for what earlier steps set going in the background to end before a timed start: the file
// system's write-back of the files a close saved, the records a change wrote, the ends of closed
// windows. The item starts on a device at rest, long after the last close and the last change.
void LetDeviceSettle();
