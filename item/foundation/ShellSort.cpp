#include "foundation/ShellSort.h"

void ShellGaps(int count, Array<int>& gaps) {
  gaps.RemoveAll();
  if (count < 2) return;
  // Measured gaps for the first steps, then growth by 9/4: ascending here, handed out largest first.
  static const int kSmallGaps[] = {1, 4, 10, 23, 57, 132, 301, 701, 1750};
  Array<int> ascending;
  for (int gap : kSmallGaps) {
    if (gap >= count) break;
    ascending.Add(gap);
  }
  if (ascending.GetSize() == static_cast<int>(sizeof kSmallGaps / sizeof kSmallGaps[0])) {
    long long gap = kSmallGaps[ascending.GetSize() - 1];
    for (;;) {
      gap = gap * 9 / 4;
      if (gap >= count) break;
      ascending.Add(static_cast<int>(gap));
    }
  }
  for (int i = ascending.GetSize() - 1; i >= 0; --i) gaps.Add(ascending[i]);
}
