// An independent reading of an arena, for tests: every block by its tags, and the free ring from its
// head. It checks the structure as the tests understand it and reports the first thing that is
// wrong, so that a failure says where.
#pragma once
#include <stdint.h>
#include <string>
#include <vector>

struct WalkBlock {
  uint32_t offset;  // of the leading tag, from the arena's start
  int32_t size;     // signed payload size: negative when free
};

struct ArenaWalk {
  std::string error;              // empty when the arena holds together
  uint32_t size = 0;              // the arena's size word
  std::vector<WalkBlock> blocks;  // in address order
  std::vector<uint32_t> ring;     // from the head on
  bool ok() const { return error.empty(); }
};

// Strict: tags agree exactly and no two free blocks touch. Otherwise a trailing tag may hold the
// size word of a saved file image (dataOffset + its offset + 8), and free blocks may touch: such a
// word stopped their merge, and a later split of the left one may have rewritten it since.
ArenaWalk WalkArena(const uint8_t* arena, uint32_t expectedSize, bool strict = true, uint32_t dataOffset = 0);

// Payload bytes of all free blocks.
uint64_t FreePayload(const ArenaWalk& walk);
