// Wall-clock timing for the benchmarks: a median of repeated runs, in milliseconds.
#pragma once
#include <functional>

double NowMs();
// Runs `work` `repeats` times and gives the median duration in milliseconds.
double MedianMs(int repeats, const std::function<void()>& work);
