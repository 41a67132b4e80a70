// The one sort of the program's lists: an insertion sort with a decreasing sequence of gaps that ends
// in 1. For each gap every element is moved left past the elements greater than it. The orders it is
// used with are total (ties are broken by the contact's identifier), so the result doesn't depend on
// the gaps.
#pragma once

#include "foundation/Array.h"

// Fills `gaps` with the gaps for `count` elements, largest first; the last one is 1. Empty for fewer
// than two elements.
void ShellGaps(int count, Array<int>& gaps);

// Sorts `count` items; `less(a, b)` says whether a stands before b.
template <class T, class Less>
void ShellSort(T* items, int count, Less less) {
  if (items == nullptr || count < 2) return;
  Array<int> gaps;
  ShellGaps(count, gaps);
  for (int g = 0; g < gaps.GetSize(); ++g) {
    const int gap = gaps[g];
    for (int i = gap; i < count; ++i) {
      if (!less(items[i], items[i - gap])) continue;
      T moving = items[i];
      int j = i;
      do {
        items[j] = items[j - gap];
        j -= gap;
      } while (j >= gap && less(moving, items[j - gap]));
      items[j] = moving;
    }
  }
}

template <class T, class Less>
void ShellSort(Array<T>& items, Less less) {
  ShellSort(items.GetData(), items.GetSize(), less);
}

// Identifier lists: ascending as unsigned numbers.
template <class T>
void SortIds(Array<T>& ids) {
  ShellSort(ids, [](const T& a, const T& b) { return static_cast<uint32_t>(a) < static_cast<uint32_t>(b); });
}

// Sorts ascending and keeps one copy of each value.
template <class T>
void SortUniqueIds(Array<T>& ids) {
  SortIds(ids);
  int kept = 0;
  for (int i = 0; i < ids.GetSize(); ++i) {
    if (kept > 0 && ids[kept - 1] == ids[i]) continue;
    ids[kept++] = ids[i];
  }
  if (kept < ids.GetSize()) ids.SetSize(kept);
}

// `ids` and `more`, each ascending without duplicates, become the values they share: appended, sorted,
// and one copy kept of each value that now occurs twice.
template <class T>
void KeepCommonIds(Array<T>& ids, const Array<T>& more) {
  ids.Append(more);
  SortIds(ids);
  int kept = 0;
  for (int k = 1; k < ids.GetSize(); ++k) {
    if (ids[k] == ids[k - 1] && (kept == 0 || ids[kept - 1] != ids[k])) ids[kept++] = ids[k];
  }
  ids.SetSize(kept);
}

// Binary search in an ascending identifier list.
template <class T>
bool ContainsId(const Array<T>& sorted, uint32_t id) {
  int low = 0;
  int high = sorted.GetSize() - 1;
  while (low <= high) {
    int middle = (low + high) / 2;
    uint32_t probe = static_cast<uint32_t>(sorted[middle]);
    if (probe == id) return true;
    if (probe < id)
      low = middle + 1;
    else
      high = middle - 1;
  }
  return false;
}
