#include "storage/index/RebuildSort.h"

#include <string.h>

#include "foundation/ShellSort.h"
#include "storage/contact/Contact.h"
#include "storage/index/ContactKeySource.h"

namespace {

// The sort key bytes of every pair, end to end; `starts` has one more entry than there are pairs.
bool MakeSortKeys(const Array<SortPair>& pairs, Array<BYTE>& bytes, Array<uint32_t>& starts) {
  const int count = pairs.GetSize();
  starts.SetSize(count + 1);
  uint32_t used = 0;
  for (int k = 0; k < count; ++k) {
    starts[k] = used;
    const wchar_t* text = pairs[k].key;
    int room = bytes.GetSize() - static_cast<int>(used);
    int length = room > 0 ? LCMapStringW(LOCALE_SYSTEM_DEFAULT, LCMAP_SORTKEY, text, -1,
                                         reinterpret_cast<LPWSTR>(bytes.GetData() + used), room)
                          : 0;
    if (length == 0) {
      // Not enough room (or none yet): ask for the size and grow.
      length = LCMapStringW(LOCALE_SYSTEM_DEFAULT, LCMAP_SORTKEY, text, -1, nullptr, 0);
      if (length <= 0) return false;
      int size = bytes.GetSize() * 2;
      if (size < static_cast<int>(used) + length) size = static_cast<int>(used) + length + 4096;
      bytes.SetSize(size);
      length = LCMapStringW(LOCALE_SYSTEM_DEFAULT, LCMAP_SORTKEY, text, -1,
                            reinterpret_cast<LPWSTR>(bytes.GetData() + used), length);
      if (length <= 0) return false;
    }
    used += static_cast<uint32_t>(length);
  }
  starts[count] = used;
  return true;
}

struct KeyOrder {
  const BYTE* bytes;
  const uint32_t* starts;
  const SortPair* pairs;

  bool operator()(int a, int b) const {
    const uint32_t lengthA = starts[a + 1] - starts[a];
    const uint32_t lengthB = starts[b + 1] - starts[b];
    const int order = memcmp(bytes + starts[a], bytes + starts[b], lengthA < lengthB ? lengthA : lengthB);
    if (order != 0) return order < 0;
    if (lengthA != lengthB) return lengthA < lengthB;
    return static_cast<uint32_t>(pairs[a].oid) < static_cast<uint32_t>(pairs[b].oid);
  }
};

// Sorts `items` (places into the pairs) by `less`, a merge sort through `spare` of the same size.
void MergeSort(int* items, int* spare, int count, const KeyOrder& less) {
  if (count < 2) return;
  if (count <= 12) {
    for (int i = 1; i < count; ++i) {
      const int moving = items[i];
      int j = i;
      while (j > 0 && less(moving, items[j - 1])) {
        items[j] = items[j - 1];
        --j;
      }
      items[j] = moving;
    }
    return;
  }
  const int half = count / 2;
  MergeSort(items, spare, half, less);
  MergeSort(items + half, spare + half, count - half, less);
  if (!less(items[half], items[half - 1])) return;
  memcpy(spare, items, static_cast<size_t>(count) * sizeof(int));
  int a = 0;
  int b = half;
  int out = 0;
  while (a < half && b < count) items[out++] = less(spare[b], spare[a]) ? spare[b++] : spare[a++];
  while (a < half) items[out++] = spare[a++];
  while (b < count) items[out++] = spare[b++];
}

}  // namespace

void SortPairs(Array<SortPair>& pairs) {
  ShellSort(pairs, [](const SortPair& a, const SortPair& b) {
    return CompareSortKeys(a.key, a.oid, b.key, b.oid) < 0;
  });
}

void SortPairsBySortKeys(Array<SortPair>& pairs) {
  const int count = pairs.GetSize();
  if (count < 2) return;
  Array<BYTE> bytes;
  Array<uint32_t> starts;
  if (!MakeSortKeys(pairs, bytes, starts)) {
    SortPairs(pairs);
    return;
  }
  Array<int> order, spare;
  order.SetSize(count);
  spare.SetSize(count);
  for (int k = 0; k < count; ++k) order[k] = k;
  const KeyOrder less = {bytes.GetData(), starts.GetData(), pairs.GetData()};
  MergeSort(order.GetData(), spare.GetData(), count, less);

  Array<SortPair> sorted;
  sorted.SetSize(count);
  for (int k = 0; k < count; ++k) sorted[k] = pairs[order[k]];
  // Every neighbour in order by the texts means the whole list is: the order is total.
  for (int k = 1; k < count; ++k) {
    if (CompareSortKeys(sorted[k - 1].key, sorted[k - 1].oid, sorted[k].key, sorted[k].oid) >= 0) {
      SortPairs(pairs);
      return;
    }
  }
  pairs = sorted;
}

void SortContactsByKey(int kind, const Array<Contact*>& contacts, Array<CEOID>& ids) {
  Array<SortPair> pairs;
  pairs.SetSize(contacts.GetSize());
  for (int k = 0; k < contacts.GetSize(); ++k) {
    pairs[k].key = SortKeyOf(kind, *contacts[k]);
    pairs[k].oid = contacts[k]->oid;
  }
  SortPairsBySortKeys(pairs);
  ids.SetSize(pairs.GetSize());
  for (int k = 0; k < pairs.GetSize(); ++k) ids[k] = pairs[k].oid;
}
