// AscendingLookup: finds ids in an ascending id list when most of them are asked in ascending order
// themselves, as a pass over a table in the order of its oids asks them. Each search goes on from
// where the last one ended, a step or two, and starts from the front only for an id below the last
// one; whatever the order of the questions, every answer is that of a binary search.
#pragma once

#include <stdint.h>

#include "foundation/Array.h"

template <class T>
class AscendingLookup {
 public:
  // `sorted`: ascending as unsigned numbers; it must stay as it is while the lookup is used.
  explicit AscendingLookup(const Array<T>& sorted) : list(sorted), next(0) {}

  // The position of `id` in the list, or -1.
  int Find(uint32_t id) {
    const int count = list.GetSize();
    int low = next > 0 && next <= count && Id(next - 1) < id ? next : 0;
    // A few steps first: the next id is mostly at hand.
    for (int step = 0; step < 4 && low < count && Id(low) < id; ++step) ++low;
    if (low < count && Id(low) < id) {
      int high = count;
      while (low < high) {
        const int middle = low + (high - low) / 2;
        if (Id(middle) < id)
          low = middle + 1;
        else
          high = middle;
      }
    }
    next = low;
    return low < count && Id(low) == id ? low : -1;
  }

 private:
  uint32_t Id(int at) const { return static_cast<uint32_t>(list[at]); }

  const Array<T>& list;
  int next;
};
