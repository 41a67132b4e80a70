// The allocator against a plain model: long random runs of Alloc, Free and Extend. Every step's result
// is the model's (the offset of an allocation, a refusal); every so many steps and at the end the
// arena's blocks and ring equal the model's, every tag is walked, and the payload of every live
// allocation still holds its pattern.
#include <doctest/doctest.h>

#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "ArenaWalk.h"
#include "MappedTestSupport.h"
#include "storage/mapped/ArenaAllocator.h"

namespace {

// The allocator's rules, told with a map of blocks and a vector for the ring (head first).
struct Model {
  uint32_t size = 0;
  std::map<uint32_t, int64_t> blocks;  // offset -> signed payload size
  std::vector<uint32_t> ring;

  void Init(uint32_t arenaSize) {
    size = arenaSize;
    blocks.clear();
    blocks[8] = -int64_t(arenaSize - 16);
    ring = {8};
  }

  static uint32_t Round(uint32_t n) { return n < 8 ? 8 : (n + 3) & ~3u; }

  void Unring(uint32_t block) {
    for (size_t i = 0; i < ring.size(); ++i)
      if (ring[i] == block) {
        ring.erase(ring.begin() + long(i));
        return;
      }
    FAIL("model: block not in ring");
  }

  // Returns the payload offset, or 0.
  uint32_t Alloc(uint32_t request) {
    if (request == 0 || ring.empty()) return 0;
    for (size_t i = 0; i < ring.size(); ++i) {
      uint32_t block = ring[i];
      int64_t s = -blocks[block];
      if (s < int64_t(request)) continue;
      uint32_t r = Round(request);
      if (s - 16 < int64_t(r)) {
        blocks[block] = s;
        ring.erase(ring.begin() + long(i));
      } else {
        blocks[block] = r;
        uint32_t rest = block + r + 8;
        blocks[rest] = -(s - r - 8);
        ring[i] = rest;
      }
      return block + 4;
    }
    return 0;
  }

  void Free(uint32_t payload) {
    uint32_t block = payload - 4;
    int64_t s = blocks[block];
    auto it = blocks.find(block);
    if (it != blocks.begin()) {
      auto left = std::prev(it);
      if (left->second < 0) {
        Unring(left->first);
        s += -left->second + 8;
        uint32_t leftBlock = left->first;
        blocks.erase(it);
        block = leftBlock;
        it = blocks.find(block);
      }
    }
    auto right = std::next(it);
    if (right != blocks.end() && right->second < 0) {
      Unring(right->first);
      s += -right->second + 8;
      blocks.erase(right);
    }
    blocks[block] = -s;
    if (ring.empty())
      ring = {block};
    else if (block < ring[0])
      ring.insert(ring.begin(), block);
    else
      ring.push_back(block);
  }

  void Extend(uint32_t bytes) {
    uint32_t block = size;
    size += bytes;
    blocks[block] = bytes - 8;
    Free(block + 4);
  }
};

struct Live {
  uint32_t payload;  // offset from the arena's start
  uint32_t request;
  uint32_t seed;
};

void CompareWithModel(const std::vector<uint8_t>& memory, const ArenaAllocator& arena, const Model& model,
                      const std::vector<Live>& live) {
  ArenaWalk walk = WalkArena(memory.data(), model.size, true);
  REQUIRE_MESSAGE(walk.ok(), walk.error);
  REQUIRE(arena.Size() == model.size);
  REQUIRE(walk.blocks.size() == model.blocks.size());
  size_t i = 0;
  for (const auto& block : model.blocks) {
    REQUIRE(walk.blocks[i].offset == block.first);
    REQUIRE(int64_t(walk.blocks[i].size) == block.second);
    ++i;
  }
  REQUIRE(walk.ring == model.ring);
  REQUIRE(arena.FreeBytes() == FreePayload(walk));
  REQUIRE(arena.Verify(model.size, 0));
  for (const Live& allocation : live) {
    auto block = model.blocks.find(allocation.payload - 4);
    REQUIRE(block != model.blocks.end());
    REQUIRE(block->second >= int64_t(allocation.request));
    REQUIRE_MESSAGE(HasPattern(memory.data() + allocation.payload, allocation.request, allocation.seed),
                    "payload at " << allocation.payload << " was overwritten");
  }
}

// How many steps between comparisons of the whole arena with the model.
const int kWholeEvery = 16;

void RunModel(uint32_t seed, int steps, uint32_t startSize, uint32_t room, bool oddSizes) {
  CAPTURE(seed);
  std::mt19937 random(seed);
  std::vector<uint8_t> memory(room, 0xEE);
  ArenaAllocator arena;
  arena.Init(memory.data(), startSize);
  Model model;
  model.Init(startSize);
  std::vector<Live> live;
  uint32_t nextSeed = 1;
  int allocations = 0, refusals = 0, frees = 0, extends = 0;

  for (int step = 0; step < steps; ++step) {
    CAPTURE(step);
    uint32_t action = random() % 100;
    if (action < 55) {
      // Mostly small requests, some large, now and then 0 or one beyond anything free.
      uint32_t kind = random() % 20;
      uint32_t request;
      if (kind == 0)
        request = 0;
      else if (kind < 15)
        request = 1 + random() % 64;
      else if (kind < 19)
        request = 64 + random() % 700;
      else
        request = 1000 + random() % 6000;
      if (!oddSizes && request > 0) request = (request + 3) & ~3u;
      uint32_t expected = model.Alloc(request);
      void* p = arena.Alloc(request);
      if (expected == 0) {
        REQUIRE(p == nullptr);
        ++refusals;
      } else {
        REQUIRE(p != nullptr);
        uint32_t offset = uint32_t(static_cast<uint8_t*>(p) - memory.data());
        REQUIRE(offset == expected);
        Live allocation{offset, request, nextSeed++};
        FillPattern(memory.data() + offset, request, allocation.seed);
        live.push_back(allocation);
        ++allocations;
      }
    } else if (action < 92) {
      if (live.empty()) continue;
      size_t index = random() % live.size();
      model.Free(live[index].payload);
      arena.Free(memory.data() + live[index].payload);
      live.erase(live.begin() + long(index));
      ++frees;
    } else {
      uint32_t bytes = 16 + (random() % 1500);
      if (!oddSizes) bytes &= ~3u;
      if (model.size + bytes + 64 > room) continue;
      model.Extend(bytes);
      arena.Extend(bytes);
      ++extends;
    }
    if (step % kWholeEvery == kWholeEvery - 1 || step == steps - 1)
      CompareWithModel(memory, arena, model, live);
  }
  // Every kind of step happened, and the arena was full at times.
  CHECK(allocations > steps / 5);
  CHECK(frees > steps / 5);
  CHECK(extends > 0);
  CHECK(refusals > 0);

  // Freeing what is left, in random order, gives one free block of the whole arena.
  std::shuffle(live.begin(), live.end(), random);
  while (!live.empty()) {
    model.Free(live.back().payload);
    arena.Free(memory.data() + live.back().payload);
    live.pop_back();
    if (live.size() % kWholeEvery == 0) CompareWithModel(memory, arena, model, live);
  }
  REQUIRE(model.blocks.size() == 1);
  CHECK(model.blocks.begin()->second == -int64_t(model.size - 16));
}

}  // namespace

TEST_CASE("model: thousands of random steps of Alloc, Free and Extend, whole-word requests") {
  for (uint32_t seed : {11u, 12u, 13u}) RunModel(seed, 4000, 4096, 1 << 20, false);
}

TEST_CASE("model: requests of any byte count") {
  for (uint32_t seed : {21u, 22u, 23u}) RunModel(seed, 4000, 2048, 1 << 20, true);
}

TEST_CASE("model: a small arena that is full most of the time") {
  for (uint32_t seed : {31u, 32u}) RunModel(seed, 3000, 600, 64 << 10, false);
}
