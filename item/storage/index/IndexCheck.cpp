// IndexStore::Check: an independent walk over everything the index file holds. It trusts no link
// before it has checked where the link points: every structure must lie in a block of the arena that
// is in use, large enough, and claimed by no other structure; at the end every block in use must have
// been claimed, so that a leak shows as well as a double use.
//
// The walk goes in steps (IndexStoreWalk), so that it can run in slices of idle time; Check runs all
// of them at once.
#include "storage/index/IndexStore.h"
#include "storage/index/IndexStoreWalk.h"

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "foundation/DebugUtils.h"
#include "foundation/ShellSort.h"

#include <new>

void AddReportLine(Str& report, const wchar_t* line) {
  report += line;
  report += L"\n";
}

namespace {

const wchar_t* const kTreeNames[2] = {L"word tree", L"keypad tree"};
const wchar_t* const kListNames[2] = {L"name list", L"File As list"};

struct ListPair {
  uint32_t oid;
  uint32_t node;
};

int ComparePairs(const void* a, const void* b) {
  const ListPair& x = *static_cast<const ListPair*>(a);
  const ListPair& y = *static_cast<const ListPair*>(b);
  if (x.oid != y.oid) return x.oid < y.oid ? -1 : 1;
  return x.node < y.node ? -1 : (x.node > y.node ? 1 : 0);
}

struct PendingNode {
  uint32_t node;
  uint32_t parent;
  uint32_t low;   // characters of this level must be above low (when hasLow) ...
  uint32_t high;  // ... and below high (when hasHigh)
  bool hasLow;
  bool hasHigh;
};

// The parts of the walk, in order.
enum WalkPhase {
  PhaseHeader,
  PhaseArena,
  PhaseWordTree,
  PhaseKeypadTree,
  PhaseWordReverse,
  PhaseKeypadReverse,
  PhaseContactMap,
  PhaseSortedLists,
  PhaseLeaks,
  PhaseDone
};

// Growth step of the walk's large tables: a few reallocations, not one per thousand entries.
const int kTableGrowth = 16384;

// Findings written out as lines; the rest are only counted.
const int kReportedFindings = 64;

}  // namespace

class IndexStoreWalk::Checker {
 public:
  Checker(const IndexStore& owner, Str& out)
      : store(owner), data(owner.Data()), length(owner.Length()), report(out), findings(0), arenaSound(false),
        phase(PhaseHeader), started(false), walked(0), reverseMap(0), reverseCount(0), reverseEntry(0),
        pairAt(0), chainBlocks(0), reachSteps(0), listEntries(0) {
    used.SetSize(0, kTableGrowth);
    usedSizes.SetSize(0, kTableGrowth);
    for (int kind = 0; kind < 2; ++kind) {
      liveNodes[kind].SetSize(0, kTableGrowth);
      pairs[kind].SetSize(0, kTableGrowth);
    }
  }

  // Goes on for about `units` nodes or entries; true when the walk has ended.
  bool Step(int units);
  bool Done() const { return phase == PhaseDone; }
  int Findings() const { return findings; }

 private:
  void Problem(const wchar_t* format, ...);
  uint32_t Word(uint32_t offset) const {
    uint32_t value;
    memcpy(&value, data + offset, sizeof value);
    return value;
  }
  int32_t Tag(uint32_t offset) const { return static_cast<int32_t>(Word(offset)); }

  void CheckArena();
  // Takes the block at `offset` for one structure: it must be a block in use of at least `bytes`
  // payload, taken by nothing else. False when it can't be read safely.
  bool Claim(uint32_t offset, uint32_t bytes, const wchar_t* what);
  // Payload bytes of the block in use at `offset`, or 0.
  uint32_t PayloadOf(uint32_t offset) const;
  // Whether `bytes` from `offset` can be read as one structure: within its block when the arena is
  // sound, within the data otherwise.
  bool RoomFor(uint32_t offset, uint64_t bytes) const {
    if (arenaSound) return bytes <= PayloadOf(offset);
    return offset >= kIndexHeaderSize && offset <= length && bytes <= length - offset;
  }
  bool CheckHeader();
  // Each true when its part has ended, false when `units` ran out first.
  bool CheckTree(int kind, int& units);
  bool CheckReverseMap(int kind, int& units);
  void CheckReverseEntry(int kind, uint32_t k);
  void CheckSortedLists();
  void CheckContactMap();
  void CheckLeaks();

  const IndexStore& store;
  const BYTE* data;
  uint32_t length;
  Str& report;
  int findings;
  bool arenaSound;

  // Blocks in use, by the data offset of their payload (ascending), with their payload sizes and
  // whether a structure took them.
  Array<uint32_t> used;
  Array<uint32_t> usedSizes;
  Array<BYTE> claimed;

  // For each tree: its nodes (ascending) and every {oid, node} of its lists (sorted by oid).
  Array<uint32_t> liveNodes[2];
  Array<ListPair> pairs[2];
  // The contact map's oids, ascending.
  Array<uint32_t> mapped;
  bool haveMap = false;

  // Where the walk stands: its part, whether that part has begun, and the part's own place.
  int phase;
  bool started;
  Array<PendingNode> pending;
  uint32_t walked;
  uint32_t reverseMap;
  uint32_t reverseCount;
  uint32_t reverseEntry;
  int pairAt;
  // Chain blocks and steps down the equal branches walked for all entries of a reverse map together:
  // a sound file has fewer than it has room for, and a damaged one (whose blocks can't be claimed once
  // each when the arena itself is broken) must not make the walk go on for ever.
  uint32_t chainBlocks;
  uint32_t reachSteps;
  // Entries of the lists of both trees together.
  uint64_t listEntries;
};

void IndexStoreWalk::Checker::Problem(const wchar_t* format, ...) {
  // A badly damaged file has findings by the thousand: the first ones tell enough, and a report that
  // grows without end would cost more than the walk.
  if (++findings > kReportedFindings) {
    if (findings == kReportedFindings + 1) AddReportLine(report, L"index file: further findings left out");
    return;
  }
  Str line;
  va_list args;
  va_start(args, format);
  line.FormatV(format, args);
  va_end(args);
  AddReportLine(report, line);
}

// --- the arena -----------------------------------------------------------------------------------------

void IndexStoreWalk::Checker::CheckArena() {
  const uint32_t base = kIndexHeaderSize;
  if (length < base + 24) {
    Problem(L"arena: %u bytes of data leave no room for an arena", length);
    return;
  }
  const uint32_t size = Word(base);
  if (size != length - base) {
    Problem(L"arena: size word %u, but the data leaves %u bytes", size, length - base);
    return;
  }
  Array<uint32_t> freeBlocks;
  uint32_t block = 8;
  while (block < size) {
    if (size - block < 16) {
      Problem(L"arena: %u bytes at arena offset %u are too few for a block", size - block, block);
      return;
    }
    const int32_t lead = Tag(base + block);
    if (lead == 0 || lead == INT32_MIN) {
      Problem(L"arena: block at arena offset %u has the size word %d", block, lead);
      return;
    }
    const uint32_t payload = lead < 0 ? static_cast<uint32_t>(-lead) : static_cast<uint32_t>(lead);
    if (payload > size - block - 8) {
      Problem(L"arena: block at arena offset %u of %u bytes runs past the arena's end", block, payload);
      return;
    }
    const uint32_t trail = base + block + 4 + payload;
    const int32_t trailTag = Tag(trail);
    // A saved file image keeps its size word in the data's last word: the offset of that word + 8.
    const bool savedWord = static_cast<int64_t>(trailTag) == static_cast<int64_t>(trail) + 8;
    if (trailTag != lead && !savedWord) {
      Problem(L"arena: block at arena offset %u has the tags %d and %d", block, lead, trailTag);
      return;
    }
    if (payload % 4 != 0 || payload < 8)
      Problem(L"arena: block at arena offset %u has %u payload bytes", block, payload);
    if (lead < 0) {
      freeBlocks.Add(block);
    } else {
      used.Add(base + block + 4);
      usedSizes.Add(payload);
    }
    block += payload + 8;
  }
  if (block != size) {
    Problem(L"arena: the blocks end at arena offset %u, not at its size %u", block, size);
    return;
  }

  const uint32_t head = Word(base + 4);
  const int freeCount = freeBlocks.GetSize();
  if (head == 0) {
    if (freeCount != 0) Problem(L"arena: %d free blocks, but the free ring is empty", freeCount);
  } else {
    int visited = 0;
    uint32_t current = head;
    bool ringSound = true;
    do {
      if (!ContainsId(freeBlocks, current)) {
        Problem(L"arena: the free ring names arena offset %u, which isn't a free block", current);
        ringSound = false;
        break;
      }
      const uint32_t next = Word(base + current + 4);
      if (!ContainsId(freeBlocks, next) || Word(base + next + 8) != current) {
        Problem(L"arena: free block %u and its next %u don't link both ways", current, next);
        ringSound = false;
        break;
      }
      if (++visited > freeCount) {
        Problem(L"arena: the free ring goes round more than its %d free blocks", freeCount);
        ringSound = false;
        break;
      }
      current = next;
    } while (current != head);
    if (ringSound && visited != freeCount)
      Problem(L"arena: the free ring holds %d of the %d free blocks", visited, freeCount);
  }
  claimed.SetSize(used.GetSize());
  arenaSound = true;
}

uint32_t IndexStoreWalk::Checker::PayloadOf(uint32_t offset) const {
  int low = 0;
  int high = used.GetSize() - 1;
  while (low <= high) {
    int middle = (low + high) / 2;
    if (used[middle] == offset) return usedSizes[middle];
    if (used[middle] < offset)
      low = middle + 1;
    else
      high = middle - 1;
  }
  return 0;
}

bool IndexStoreWalk::Checker::Claim(uint32_t offset, uint32_t bytes, const wchar_t* what) {
  if (!arenaSound) {
    // Without a sound arena only the bounds can be checked.
    if (offset < kIndexHeaderSize || offset > length || length - offset < bytes) {
      Problem(L"%s at %u lies outside the data", what, offset);
      return false;
    }
    return true;
  }
  int low = 0;
  int high = used.GetSize() - 1;
  int at = -1;
  while (low <= high) {
    int middle = (low + high) / 2;
    if (used[middle] == offset) {
      at = middle;
      break;
    }
    if (used[middle] < offset)
      low = middle + 1;
    else
      high = middle - 1;
  }
  if (at < 0) {
    Problem(L"%s at %u isn't a block in use", what, offset);
    return false;
  }
  if (usedSizes[at] < bytes) {
    Problem(L"%s at %u needs %u bytes, its block has %u", what, offset, bytes, usedSizes[at]);
    return false;
  }
  if (claimed[at] != 0) {
    Problem(L"%s at %u lies in a block that another structure holds too", what, offset);
    return false;
  }
  claimed[at] = 1;
  return true;
}

// --- trees -------------------------------------------------------------------------------------------------

bool IndexStoreWalk::Checker::CheckTree(int kind, int& units) {
  const wchar_t* name = kTreeNames[kind];
  const uint32_t root = store.HeaderWord(kind == 0 ? kWordRootSlot : kKeypadRootSlot);
  if (!started) {
    started = true;
    pending.RemoveAll();
    if (root != 0) pending.Add(PendingNode{root, 0, 0, 0, false, false});
    // Claims stop a walk in circles only in a sound arena; the count of nodes stops it in any.
    walked = 0;
  }
  while (pending.GetSize() > 0) {
    if (units-- <= 0) return false;
    if (++walked > length / kNodeSize) {
      Problem(L"%s: more nodes than the data can hold: the links go in circles", name);
      pending.RemoveAll();
      break;
    }
    PendingNode item = pending[pending.GetSize() - 1];
    pending.SetSize(pending.GetSize() - 1);
    const uint32_t node = item.node;
    if (!Claim(node, kNodeSize, kind == 0 ? L"word tree: node" : L"keypad tree: node")) continue;
    liveNodes[kind].Add(node);
    const TreeNode* n = reinterpret_cast<const TreeNode*>(data + node);
    if (n->parent != item.parent)
      Problem(L"%s: node %u names the parent %u, but hangs under %u", name, node, n->parent, item.parent);
    if ((item.hasLow && n->ch <= item.low) || (item.hasHigh && n->ch >= item.high))
      Problem(L"%s: node %u with character %u stands out of order", name, node, n->ch);
    const bool hasChildren = n->less != 0 || n->equal != 0 || n->greater != 0;
    if (n->tailFlag != 0 && n->tailFlag != kTailFlag)
      Problem(L"%s: node %u has the tail flag %u", name, node, n->tailFlag);
    if (n->tailFlag == kTailFlag && !RoomFor(node, kTailNodeSize)) {
      Problem(L"%s: tail node %u lies in a block too small for its tail's offset", name, node);
    } else if (n->tailFlag == kTailFlag) {
      if (node == root) Problem(L"%s: the root %u has a tail", name, node);
      if (n->equal != 0) Problem(L"%s: tail node %u has an equal child", name, node);
      if (n->list == 0) Problem(L"%s: tail node %u has no contact list", name, node);
      if (n->tail == 0 || !Claim(n->tail, 4, L"tail")) {
        if (n->tail == 0) Problem(L"%s: tail node %u has no tail block", name, node);
      } else {
        const uint32_t bytes = arenaSound ? PayloadOf(n->tail) : length - n->tail;
        const wchar_t* text = reinterpret_cast<const wchar_t*>(data + n->tail);
        uint32_t chars = 0;
        while (chars * 2 + 2 <= bytes && text[chars] != 0) ++chars;
        if (chars * 2 + 2 > bytes)
          Problem(L"%s: the tail of node %u has no end within its block", name, node);
        else if (chars == 0)
          Problem(L"%s: the tail of node %u is empty", name, node);
      }
    }
    if (!hasChildren && n->list == 0) Problem(L"%s: node %u leads nowhere and holds no list", name, node);
    if (n->list != 0 && Claim(n->list, 4, L"contact list")) {
      const uint32_t count = Word(n->list);
      if (count == 0) {
        Problem(L"%s: node %u has an empty contact list", name, node);
      } else if (!RoomFor(n->list, 4 + 4 * static_cast<uint64_t>(count))) {
        Problem(L"%s: the list of node %u counts %u, more than its block holds", name, node, count);
      } else if ((listEntries += count) > length / 4) {
        // The lists of a sound file are blocks of their own; these would hold more than the data.
        Problem(L"%s: its lists hold more contacts than the data has room for", name);
        pending.RemoveAll();
        break;
      } else {
        for (uint32_t k = 0; k < count; ++k) {
          const uint32_t oid = Word(n->list + 4 + 4 * k);
          if (k > 0 && oid <= Word(n->list + 4 * k))
            Problem(L"%s: the list of node %u isn't ascending at %u", name, node, k);
          pairs[kind].Add(ListPair{oid, node});
        }
      }
    }
    if (n->less != 0) pending.Add(PendingNode{n->less, node, item.low, n->ch, item.hasLow, true});
    if (n->equal != 0) pending.Add(PendingNode{n->equal, node, 0, 0, false, false});
    if (n->greater != 0) pending.Add(PendingNode{n->greater, node, n->ch, item.high, true, item.hasHigh});
  }
  pending.RemoveAll();
  SortUniqueIds(liveNodes[kind]);
  if (pairs[kind].GetSize() > 1)
    qsort(pairs[kind].GetData(), static_cast<size_t>(pairs[kind].GetSize()), sizeof(ListPair), ComparePairs);
  return true;
}

bool IndexStoreWalk::Checker::CheckReverseMap(int kind, int& units) {
  const wchar_t* name = kTreeNames[kind];
  const Array<ListPair>& held = pairs[kind];
  if (!started) {
    started = true;
    reverseEntry = 0;
    reverseCount = 0;
    pairAt = 0;
    chainBlocks = 0;
    reachSteps = 0;
    reverseMap = store.HeaderWord(kind == 0 ? kWordReverseSlot : kKeypadReverseSlot);
    if (reverseMap == 0) {
      if (held.GetSize() > 0) Problem(L"%s: contacts in its lists, but no reverse map", name);
      return true;
    }
    if (!Claim(reverseMap, 4, L"reverse map")) return true;
    reverseCount = Word(reverseMap);
    if (!RoomFor(reverseMap, 4 + 8 * static_cast<uint64_t>(reverseCount))) {
      Problem(L"%s: the reverse map counts %u, more than its block holds", name, reverseCount);
      return true;
    }
  }
  while (reverseEntry < reverseCount) {
    if (units-- <= 0) return false;
    CheckReverseEntry(kind, reverseEntry++);
    if (chainBlocks > length / kChainBlockSize || reachSteps > length / 4) {
      Problem(L"%s: the chains name more blocks and nodes than the data can hold", name);
      reverseEntry = reverseCount;
      pairAt = held.GetSize();
      return true;
    }
  }
  while (pairAt < held.GetSize()) {
    Problem(L"%s: contact %u is in the list of node %u but not in the reverse map", name, held[pairAt].oid,
            held[pairAt].node);
    const uint32_t skipped = held[pairAt].oid;
    while (pairAt < held.GetSize() && held[pairAt].oid == skipped) ++pairAt;
  }
  return true;
}

void IndexStoreWalk::Checker::CheckReverseEntry(int kind, uint32_t k) {
  const wchar_t* name = kTreeNames[kind];
  const uint32_t map = reverseMap;
  const Array<ListPair>& held = pairs[kind];
  const Array<uint32_t>& live = liveNodes[kind];
  const uint32_t oid = Word(map + 4 + 8 * k);
  const uint32_t head = Word(map + 8 + 8 * k);
  if (k > 0 && oid <= Word(map + 4 + 8 * (k - 1)))
    Problem(L"%s: the reverse map isn't ascending at entry %u", name, k);
  // Contacts in the lists that have no entry.
  while (pairAt < held.GetSize() && held[pairAt].oid < oid) {
    Problem(L"%s: contact %u is in the list of node %u but not in the reverse map", name, held[pairAt].oid,
            held[pairAt].node);
    const uint32_t skipped = held[pairAt].oid;
    while (pairAt < held.GetSize() && held[pairAt].oid == skipped) ++pairAt;
  }
  // The chain: a ring of blocks, all full but the last.
  Array<uint32_t> named;
  Array<uint32_t> blocks;
  uint32_t block = head;
  bool chainSound = true;
  do {
    if (blocks.GetSize() > static_cast<int>(length / kChainBlockSize)) {
      Problem(L"%s: the chain of contact %u goes in circles", name, oid);
      chainSound = false;
      break;
    }
    if (!Claim(block, kChainBlockSize, L"chain block")) {
      chainSound = false;
      break;
    }
    if (++chainBlocks > length / kChainBlockSize) {
      chainSound = false;
      break;
    }
    blocks.Add(block);
    const uint32_t next = Word(block);
    const uint32_t used = Word(block + 8);
    if (used > static_cast<uint32_t>(kChainSlots)) {
      Problem(L"%s: chain block %u of contact %u uses %u slots", name, block, oid, used);
      chainSound = false;
      break;
    }
    for (uint32_t s = 0; s < used; ++s) named.Add(Word(block + 12 + 4 * s));
    if (next == 0 || !RoomFor(next, kChainBlockSize) || Word(next + 4) != block) {
      Problem(L"%s: chain block %u of contact %u and its next %u don't link both ways", name, block, oid,
              next);
      chainSound = false;
      break;
    }
    if (next != head && used != static_cast<uint32_t>(kChainSlots))
      Problem(L"%s: chain block %u of contact %u isn't full but has a successor", name, block, oid);
    if (next == head && used == 0) Problem(L"%s: the chain of contact %u ends in an empty block", name, oid);
    block = next;
  } while (block != head);
  if (chainSound && Word(head + 4) != blocks[blocks.GetSize() - 1])
    Problem(L"%s: the chain head of contact %u doesn't name its last block", name, oid);

  // Every node named is alive; the contact's lists are found down the equal branch from them.
  Array<uint32_t> reach;
  for (int s = 0; s < named.GetSize(); ++s) {
    uint32_t node = named[s];
    if (!ContainsId(live, node)) {
      Problem(L"%s: the chain of contact %u names %u, which isn't a node of the tree", name, oid, node);
      continue;
    }
    int steps = 0;
    while (node != 0 && ContainsId(live, node) && steps++ <= live.GetSize() && ++reachSteps <= length / 4) {
      reach.Add(node);
      node = reinterpret_cast<const TreeNode*>(data + node)->equal;
    }
  }
  SortUniqueIds(reach);
  int held0 = pairAt;
  while (pairAt < held.GetSize() && held[pairAt].oid == oid) {
    if (!ContainsId(reach, held[pairAt].node))
      Problem(L"%s: contact %u is in the list of node %u, which its chain doesn't lead to", name, oid,
              held[pairAt].node);
    ++pairAt;
  }
  if (pairAt == held0) Problem(L"%s: contact %u has a reverse map entry but is in no list", name, oid);
}

// --- contact map and sorted lists --------------------------------------------------------------------------

void IndexStoreWalk::Checker::CheckContactMap() {
  const uint32_t map = store.HeaderWord(kContactMapSlot);
  haveMap = true;
  if (map == 0) return;
  if (!Claim(map, 4, L"contact map")) {
    haveMap = false;
    return;
  }
  const uint32_t count = Word(map);
  if (count == 0) Problem(L"contact map: the map is there but empty");
  if (!RoomFor(map, 4 + 8 * static_cast<uint64_t>(count))) {
    Problem(L"contact map: counts %u, more than its block holds", count);
    haveMap = false;
    return;
  }
  for (uint32_t k = 0; k < count; ++k) mapped.Add(Word(map + 4 + 8 * k));
  SortIds(mapped);
  for (int k = 1; k < mapped.GetSize(); ++k) {
    if (mapped[k] == mapped[k - 1]) Problem(L"contact map: contact %u stands in it twice", mapped[k]);
  }
  for (int kind = 0; kind < 2; ++kind) {
    for (int k = 0; k < pairs[kind].GetSize(); ++k) {
      if (k > 0 && pairs[kind][k].oid == pairs[kind][k - 1].oid) continue;
      if (!ContainsId(mapped, pairs[kind][k].oid))
        Problem(L"%s: contact %u is in its lists but not in the contact map", kTreeNames[kind],
                pairs[kind][k].oid);
    }
  }
}

void IndexStoreWalk::Checker::CheckSortedLists() {
  for (int kind = 0; kind < 2; ++kind) {
    const wchar_t* name = kListNames[kind];
    const uint32_t list = store.HeaderWord(kind == 0 ? kNameListSlot : kFileAsListSlot);
    if (list == 0) {
      if (mapped.GetSize() > 0) Problem(L"%s: missing, with %d contacts in the map", name, mapped.GetSize());
      continue;
    }
    if (!Claim(list, 4, name)) continue;
    const uint32_t count = Word(list);
    if (count == 0) Problem(L"%s: the list is there but empty", name);
    if (!RoomFor(list, 4 + 4 * static_cast<uint64_t>(count))) {
      Problem(L"%s: counts %u, more than its block holds", name, count);
      continue;
    }
    Array<uint32_t> ids;
    for (uint32_t k = 0; k < count; ++k) ids.Add(Word(list + 4 + 4 * k));
    SortIds(ids);
    for (int k = 1; k < ids.GetSize(); ++k) {
      if (ids[k] == ids[k - 1]) Problem(L"%s: contact %u stands in it twice", name, ids[k]);
    }
    if (haveMap) {
      for (int k = 0; k < ids.GetSize(); ++k) {
        if (!ContainsId(mapped, ids[k])) Problem(L"%s: contact %u isn't in the contact map", name, ids[k]);
      }
      if (ids.GetSize() != mapped.GetSize())
        Problem(L"%s: %d contacts, the contact map %d", name, ids.GetSize(), mapped.GetSize());
    }
  }
}

void IndexStoreWalk::Checker::CheckLeaks() {
  if (!arenaSound) return;
  for (int k = 0; k < used.GetSize(); ++k) {
    if (claimed[k] == 0)
      Problem(L"arena: block at %u of %u bytes is in use but belongs to nothing", used[k], usedSizes[k]);
  }
}

bool IndexStoreWalk::Checker::CheckHeader() {
  if (data == nullptr) {
    Problem(L"header: the index isn't open");
    return false;
  }
  if (length < kIndexHeaderSize) {
    Problem(L"header: %u bytes of data are shorter than the header", length);
    return false;
  }
  const uint32_t mark = store.HeaderWord(kIndexMarkSlot);
  const uint32_t version = store.HeaderWord(kIndexVersionSlot);
  if (mark != kIndexMark && version != kIndexVersion)
    Problem(L"header: mark %u and version %u", mark, version);
  return true;
}

bool IndexStoreWalk::Checker::Step(int units) {
  while (phase != PhaseDone && units > 0) {
    bool ended = true;
    switch (phase) {
      case PhaseHeader:
        if (!CheckHeader()) {
          phase = PhaseDone;
          return true;
        }
        break;
      case PhaseArena:
        CheckArena();
        units -= 256;
        break;
      case PhaseWordTree:
      case PhaseKeypadTree:
        ended = CheckTree(phase == PhaseWordTree ? 0 : 1, units);
        break;
      case PhaseWordReverse:
      case PhaseKeypadReverse:
        ended = CheckReverseMap(phase == PhaseWordReverse ? 0 : 1, units);
        break;
      case PhaseContactMap:
        CheckContactMap();
        units -= 64;
        break;
      case PhaseSortedLists:
        CheckSortedLists();
        units -= 64;
        break;
      case PhaseLeaks:
        CheckLeaks();
        break;
      default:
        break;
    }
    if (ended) {
      ++phase;
      started = false;
    }
  }
  return phase == PhaseDone;
}

IndexStoreWalk::IndexStoreWalk(const IndexStore& store, Str& report)
    : checker(CheckAllocation(new (std::nothrow) Checker(store, report))) {}

IndexStoreWalk::~IndexStoreWalk() { delete checker; }

bool IndexStoreWalk::Step(int units) { return checker->Step(units); }

bool IndexStoreWalk::Done() const { return checker->Done(); }

int IndexStoreWalk::Findings() const { return checker->Findings(); }

BOOL IndexStore::Check(Str& report) const {
  IndexStoreWalk walk(*this, report);
  while (!walk.Step(1 << 20)) {
  }
  return walk.Findings() == 0 ? TRUE : FALSE;
}
