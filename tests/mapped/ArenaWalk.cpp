#include "ArenaWalk.h"
#include <cstring>
#include "LittleEndian.h"
#include <map>
#include <set>

namespace {

int32_t TagAt(const uint8_t* arena, uint32_t offset) {
  return static_cast<int32_t>(ReadWord32(arena, offset));
}

uint32_t WordAt(const uint8_t* arena, uint32_t offset) { return ReadWord32(arena, offset); }

uint32_t Magnitude(int32_t size) { return size < 0 ? uint32_t(-int64_t(size)) : uint32_t(size); }

}  // namespace

ArenaWalk WalkArena(const uint8_t* arena, uint32_t expectedSize, bool strict, uint32_t dataOffset) {
  ArenaWalk walk;
  walk.size = WordAt(arena, 0);
  if (walk.size != expectedSize) {
    walk.error = "size word " + std::to_string(walk.size) + " != " + std::to_string(expectedSize);
    return walk;
  }
  std::map<uint32_t, int32_t> freeBlocks;
  uint32_t at = 8;
  bool previousFree = false;
  while (at < walk.size) {
    if (walk.size - at < 8) {
      walk.error = "block at " + std::to_string(at) + " has no room for its tags";
      return walk;
    }
    int32_t lead = TagAt(arena, at);
    uint32_t payload = Magnitude(lead);
    if (lead == 0 || uint64_t(payload) + 8 > walk.size - at) {
      walk.error = "block at " + std::to_string(at) + " has size " + std::to_string(lead);
      return walk;
    }
    uint32_t trailAt = at + 4 + payload;
    int32_t trail = TagAt(arena, trailAt);
    bool scar = !strict && int64_t(trail) == int64_t(dataOffset) + trailAt + 8;
    if (trail != lead && !scar) {
      walk.error = "block at " + std::to_string(at) + ": leading tag " + std::to_string(lead) +
                   ", trailing " + std::to_string(trail);
      return walk;
    }
    if (lead < 0) {
      if (payload < 8) {
        walk.error = "free block at " + std::to_string(at) + " under 8 bytes";
        return walk;
      }
      if (strict && previousFree) {
        walk.error = "free blocks touch at " + std::to_string(at);
        return walk;
      }
      freeBlocks[at] = lead;
    }
    previousFree = lead < 0;
    walk.blocks.push_back({at, lead});
    at += payload + 8;
  }
  if (at != walk.size) {
    walk.error = "blocks end at " + std::to_string(at) + ", not at " + std::to_string(walk.size);
    return walk;
  }

  uint32_t head = WordAt(arena, 4);
  if (head == 0) {
    if (!freeBlocks.empty())
      walk.error = "empty ring but " + std::to_string(freeBlocks.size()) + " free blocks";
    return walk;
  }
  std::set<uint32_t> seen;
  uint32_t current = head;
  do {
    if (!freeBlocks.count(current)) {
      walk.error = "ring member " + std::to_string(current) + " is not a free block";
      return walk;
    }
    if (!seen.insert(current).second) {
      walk.error = "ring visits " + std::to_string(current) + " twice before the head";
      return walk;
    }
    walk.ring.push_back(current);
    uint32_t next = WordAt(arena, current + 4);
    if (!freeBlocks.count(next)) {
      walk.error =
          "ring link from " + std::to_string(current) + " to " + std::to_string(next) + " is no free block";
      return walk;
    }
    if (WordAt(arena, next + 8) != current) {
      walk.error = "ring back link of " + std::to_string(next) + " is not " + std::to_string(current);
      return walk;
    }
    current = next;
  } while (current != head);
  if (seen.size() != freeBlocks.size())
    walk.error = "ring holds " + std::to_string(seen.size()) + " of " + std::to_string(freeBlocks.size()) +
                 " free blocks";
  return walk;
}

uint64_t FreePayload(const ArenaWalk& walk) {
  uint64_t total = 0;
  for (const WalkBlock& block : walk.blocks)
    if (block.size < 0) total += Magnitude(block.size);
  return total;
}
