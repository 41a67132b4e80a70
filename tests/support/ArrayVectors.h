// The item's arrays as standard vectors and back, so that doctest can compare and print them.
#pragma once

#include <vector>

#include "foundation/Array.h"

// The elements of `items` in order, each converted to `T`.
template <typename T, typename E>
std::vector<T> VectorOf(const Array<E>& items) {
  std::vector<T> out;
  for (int i = 0; i < items.GetSize(); ++i) out.push_back(static_cast<T>(items[i]));
  return out;
}

template <typename T>
Array<T> ArrayOf(const std::vector<T>& items) {
  Array<T> out;
  for (const T& item : items) out.Add(item);
  return out;
}
