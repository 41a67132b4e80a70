// ArenaAllocator: tags, the free ring, first fit, split, merge and Extend, on plain memory.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "ArenaWalk.h"
#include "MappedTestSupport.h"
#include "foundation/DebugUtils.h"
#include "storage/mapped/ArenaAllocator.h"

namespace {

struct Arena {
  std::vector<uint8_t> memory;
  ArenaAllocator allocator;
  explicit Arena(uint32_t size, uint32_t room = 0) : memory(std::max(size, room) + 64, 0xCD) {
    allocator.Init(memory.data(), size);
  }
  uint32_t OffsetOf(void* payload) const { return uint32_t(static_cast<uint8_t*>(payload) - memory.data()); }
  ArenaWalk Walk() const { return WalkArena(memory.data(), allocator.Size()); }
};

int32_t TagBefore(void* payload) {
  int32_t tag;
  std::memcpy(&tag, static_cast<uint8_t*>(payload) - 4, 4);
  return tag;
}

}  // namespace

TEST_CASE("Init lays out the header and one free block of size - 16, alone in the ring") {
  Arena arena(1024);
  ArenaWalk walk = arena.Walk();
  REQUIRE(walk.ok());
  CHECK(arena.allocator.Size() == 1024);
  CHECK(arena.allocator.Head() == 8);
  REQUIRE(walk.blocks.size() == 1);
  CHECK(walk.blocks[0].offset == 8);
  CHECK(walk.blocks[0].size == -(1024 - 16));
  CHECK(walk.ring == std::vector<uint32_t>{8});
  CHECK(arena.allocator.FreeBytes() == 1024 - 16);
}

TEST_CASE("Init with size 0 only attaches to the arena that is there") {
  Arena arena(512);
  void* a = arena.allocator.Alloc(40);
  REQUIRE(a != nullptr);
  ArenaAllocator other;
  other.Init(arena.memory.data(), 0);
  CHECK(other.Size() == 512);
  CHECK(other.Head() == arena.allocator.Head());
  other.Free(a);
  ArenaWalk walk = arena.Walk();
  REQUIRE(walk.ok());
  CHECK(walk.blocks.size() == 1);
}

TEST_CASE("Alloc(0) gives null, and so does any request when no block is free") {
  Arena arena(256);
  CHECK(arena.allocator.Alloc(0) == nullptr);
  // Take the only block whole.
  void* all = arena.allocator.Alloc(256 - 16);
  REQUIRE(all != nullptr);
  CHECK(arena.allocator.Head() == 0);
  CHECK(arena.allocator.Alloc(1) == nullptr);
  CHECK(arena.allocator.Alloc(0) == nullptr);
  CHECK(arena.allocator.FreeBytes() == 0);
  CHECK(arena.Walk().ok());
}

TEST_CASE("a request larger than every free block gives null and changes nothing") {
  Arena arena(256);
  std::vector<uint8_t> before = arena.memory;
  CHECK(arena.allocator.Alloc(256 - 15) == nullptr);
  CHECK(arena.memory == before);
}

TEST_CASE("a request of 1 takes 8 bytes of payload") {
  Arena arena(1024);
  void* p = arena.allocator.Alloc(1);
  REQUIRE(p != nullptr);
  CHECK(TagBefore(p) == 8);
  ArenaWalk walk = arena.Walk();
  REQUIRE(walk.ok());
  REQUIRE(walk.blocks.size() == 2);
  CHECK(walk.blocks[0].size == 8);
  CHECK(walk.blocks[1].offset == 8 + 16);
  CHECK(walk.blocks[1].size == -(1024 - 16 - 16));
  // Sizes round up to whole words.
  CHECK(ArenaAllocator::RoundRequest(1) == 8);
  CHECK(ArenaAllocator::RoundRequest(8) == 8);
  CHECK(ArenaAllocator::RoundRequest(9) == 12);
  CHECK(ArenaAllocator::RoundRequest(13) == 16);
}

TEST_CASE("a free block of payload exactly r + 15 is used whole; one of r + 16 splits") {
  // r = 8 (a request of 1). An arena of 39 bytes has one free block of payload 23 = r + 15.
  {
    Arena arena(39);
    REQUIRE(arena.allocator.FreeBytes() == 8 + 15);
    void* p = arena.allocator.Alloc(1);
    REQUIRE(p != nullptr);
    CHECK(TagBefore(p) == 23);
    CHECK(arena.allocator.Head() == 0);
    ArenaWalk walk = arena.Walk();
    REQUIRE(walk.ok());
    CHECK(walk.blocks.size() == 1);
  }
  {
    Arena arena(40);
    REQUIRE(arena.allocator.FreeBytes() == 8 + 16);
    void* p = arena.allocator.Alloc(1);
    REQUIRE(p != nullptr);
    CHECK(TagBefore(p) == 8);
    ArenaWalk walk = arena.Walk();
    REQUIRE(walk.ok());
    REQUIRE(walk.blocks.size() == 2);
    CHECK(walk.blocks[1].size == -8);
    CHECK(walk.ring == std::vector<uint32_t>{walk.blocks[1].offset});
  }
  // The same with whole words: r = 40, blocks of r + 12 and r + 16.
  {
    Arena arena(16 + 40 + 12);
    void* p = arena.allocator.Alloc(40);
    REQUIRE(p != nullptr);
    CHECK(TagBefore(p) == 52);
    CHECK(arena.Walk().blocks.size() == 1);
  }
  {
    Arena arena(16 + 40 + 16);
    void* p = arena.allocator.Alloc(37);
    REQUIRE(p != nullptr);
    CHECK(TagBefore(p) == 40);
    ArenaWalk walk = arena.Walk();
    REQUIRE(walk.ok());
    CHECK(walk.blocks.size() == 2);
  }
}

TEST_CASE("the ring: a freed block below the head becomes the head, others go to the ring's end") {
  Arena arena(4096);
  void* a = arena.allocator.Alloc(100);
  void* b = arena.allocator.Alloc(16);
  void* c = arena.allocator.Alloc(200);
  void* d = arena.allocator.Alloc(16);
  void* e = arena.allocator.Alloc(16);
  REQUIRE(e != nullptr);
  const uint32_t aBlock = arena.OffsetOf(a) - 4, cBlock = arena.OffsetOf(c) - 4,
                 eBlock = arena.OffsetOf(e) - 4;
  const uint32_t tail = arena.allocator.Head();
  CHECK(tail == eBlock + 16 + 8);
  arena.allocator.Free(c);  // below the head (the free tail): the new head
  CHECK(arena.Walk().ring == std::vector<uint32_t>{cBlock, tail});
  arena.allocator.Free(a);  // below c: the new head again
  CHECK(arena.Walk().ring == std::vector<uint32_t>{aBlock, cBlock, tail});
  arena.allocator.Free(e);  // merges with the tail, and being above the head goes to the ring's end
  ArenaWalk walk = arena.Walk();
  REQUIRE(walk.ok());
  CHECK(walk.ring == std::vector<uint32_t>{aBlock, cBlock, eBlock});

  // First fit follows the ring from the head: 150 doesn't fit a (100) and is cut from c.
  void* f = arena.allocator.Alloc(150);
  CHECK(f == c);
  walk = arena.Walk();
  REQUIRE(walk.ok());
  const uint32_t rest = cBlock + 152 + 8;
  CHECK(walk.ring == std::vector<uint32_t>{aBlock, rest, eBlock});  // the rest takes c's place
  // 90 fits a, the head, which is used whole (100 - 16 < 92); its next becomes the head.
  void* g = arena.allocator.Alloc(90);
  CHECK(g == a);
  CHECK(TagBefore(g) == 100);
  walk = arena.Walk();
  REQUIRE(walk.ok());
  CHECK(walk.ring == std::vector<uint32_t>{rest, eBlock});
  arena.allocator.Free(b);
  arena.allocator.Free(d);
  CHECK(arena.Walk().ok());
}

TEST_CASE("Free merges with free neighbours on both sides") {
  Arena arena(1024);
  void* a = arena.allocator.Alloc(40);
  void* b = arena.allocator.Alloc(40);
  void* c = arena.allocator.Alloc(40);
  void* d = arena.allocator.Alloc(40);
  REQUIRE(d != nullptr);
  arena.allocator.Free(a);
  arena.allocator.Free(c);
  ArenaWalk walk = arena.Walk();
  REQUIRE(walk.ok());
  CHECK(walk.ring.size() == 3);
  arena.allocator.Free(b);  // joins a and c
  walk = arena.Walk();
  REQUIRE(walk.ok());
  CHECK(walk.ring.size() == 2);
  CHECK(walk.blocks[0].size == -(40 * 3 + 16));
  arena.allocator.Free(d);  // joins everything
  walk = arena.Walk();
  REQUIRE(walk.ok());
  CHECK(walk.blocks.size() == 1);
  CHECK(walk.blocks[0].size == -(1024 - 16));
  CHECK(walk.ring == std::vector<uint32_t>{8});
}

TEST_CASE("Free of null is ignored") {
  Arena arena(256);
  std::vector<uint8_t> before = arena.memory;
  arena.allocator.Free(nullptr);
  CHECK(arena.memory == before);
}

TEST_CASE("freeing the blocks of a whole arena, in any order, leaves one free block") {
  std::mt19937 random(1234);
  for (int round = 0; round < 60; ++round) {
    CAPTURE(round);
    Arena arena(8192);
    std::vector<void*> taken;
    std::uniform_int_distribution<uint32_t> size(1, 120);
    for (;;) {
      void* p = arena.allocator.Alloc(size(random));
      if (p == nullptr) break;
      taken.push_back(p);
    }
    // Take whatever is left too, so that the whole arena is in use.
    while (void* p = arena.allocator.Alloc(1)) taken.push_back(p);
    for (uint32_t free = arena.allocator.FreeBytes(); free > 0; free = arena.allocator.FreeBytes()) {
      void* p = arena.allocator.Alloc(free);
      REQUIRE(p != nullptr);
      taken.push_back(p);
    }
    REQUIRE(arena.allocator.Head() == 0);
    std::shuffle(taken.begin(), taken.end(), random);
    for (void* p : taken) {
      arena.allocator.Free(p);
      ArenaWalk walk = arena.Walk();
      REQUIRE_MESSAGE(walk.ok(), walk.error);
    }
    ArenaWalk walk = arena.Walk();
    REQUIRE(walk.blocks.size() == 1);
    CHECK(walk.blocks[0].size == -(8192 - 16));
    CHECK(walk.ring == std::vector<uint32_t>{8});
  }
}

TEST_CASE("after Extend, a request too large for the old arena succeeds") {
  Arena arena(1024, 8192);
  void* a = arena.allocator.Alloc(500);
  REQUIRE(a != nullptr);
  CHECK(arena.allocator.Alloc(2000) == nullptr);
  arena.allocator.Extend(4096);
  CHECK(arena.allocator.Size() == 1024 + 4096);
  ArenaWalk walk = arena.Walk();
  REQUIRE_MESSAGE(walk.ok(), walk.error);
  // The new block merged with the free tail of the old arena.
  CHECK(walk.ring.size() == 1);
  void* big = arena.allocator.Alloc(2000);
  REQUIRE(big != nullptr);
  std::memset(big, 0x5A, 2000);
  CHECK(arena.Walk().ok());
}

TEST_CASE("Extend lays an in-use block at the old end and frees it into the ring") {
  Arena arena(64, 4096);
  void* all = arena.allocator.Alloc(64 - 16);
  REQUIRE(all != nullptr);
  arena.allocator.Extend(200);
  ArenaWalk walk = arena.Walk();
  REQUIRE(walk.ok());
  REQUIRE(walk.blocks.size() == 2);
  CHECK(walk.blocks[1].offset == 64);
  CHECK(walk.blocks[1].size == -(200 - 8));
  CHECK(arena.allocator.Head() == 64);
}

TEST_CASE("a positive word in place of the last trailing tag stops the merge of Extend and nothing more") {
  // As when a save has put the file's size into the data's last word, with the arena at data offset 0.
  Arena arena(1024, 8192);
  void* a = arena.allocator.Alloc(100);
  REQUIRE(a != nullptr);
  uint32_t stamp = 1024 + 4;  // the image's size word: dataOffset 0 + (1024 - 4) + 8
  std::memcpy(arena.memory.data() + 1024 - 4, &stamp, 4);
  arena.allocator.Extend(512);
  ArenaWalk strict = arena.Walk();
  CHECK_FALSE(strict.ok());
  ArenaWalk lenient = WalkArena(arena.memory.data(), arena.allocator.Size(), false, 0);
  REQUIRE_MESSAGE(lenient.ok(), lenient.error);
  CHECK(lenient.ring.size() == 2);  // no merge
  CHECK(arena.allocator.Verify(arena.allocator.Size(), 0));
  // Both free blocks still serve requests. The old tail (head of the ring) is split first, which
  // rewrites the tag that held the size word; then the new block and the rest are taken whole.
  void* first = arena.allocator.Alloc(504);
  REQUIRE(first != nullptr);
  CHECK(arena.OffsetOf(first) == 8 + 108 + 4);
  void* second = arena.allocator.Alloc(504);
  REQUIRE(second != nullptr);
  CHECK(arena.OffsetOf(second) == 1024 + 4);
  void* rest = arena.allocator.Alloc(388);
  REQUIRE(rest != nullptr);
  CHECK(arena.allocator.Head() == 0);
  ArenaWalk healed = arena.Walk();
  CHECK_MESSAGE(healed.ok(), healed.error);
}

TEST_CASE("Verify accepts what the allocator builds and refuses broken tags and links") {
  Arena arena(2048);
  void* a = arena.allocator.Alloc(64);
  void* b = arena.allocator.Alloc(64);
  void* c = arena.allocator.Alloc(64);
  REQUIRE(c != nullptr);
  arena.allocator.Free(b);
  REQUIRE(arena.allocator.Verify(2048, 0));
  CHECK_FALSE(arena.allocator.Verify(2044, 0));  // size word disagrees
  std::vector<uint8_t> good = arena.memory;
  uint32_t bBlock = arena.OffsetOf(b) - 4;
  const uint32_t spots[] = {
      0, 4, bBlock, bBlock + 4, bBlock + 8, bBlock + 4 + 64, arena.OffsetOf(a) - 4, arena.OffsetOf(a) + 64};
  for (uint32_t spot : spots) {
    for (int bit = 0; bit < 32; ++bit) {
      CAPTURE(spot);
      CAPTURE(bit);
      arena.memory = good;
      arena.memory[spot + bit / 8] ^= uint8_t(1u << (bit % 8));
      ArenaAllocator attached;
      attached.Init(arena.memory.data(), 0);
      ArenaWalk walk = WalkArena(arena.memory.data(), 2048);
      // Whatever Verify accepts, the independent walk accepts too.
      if (attached.Verify(2048, 0)) {
        CHECK_MESSAGE(walk.ok(), walk.error);
      }
      if (spot != 4) {
        CHECK_FALSE(attached.Verify(2048, 0));
      }
    }
  }
}

TEST_CASE("CheckArenaRef: a reference with an offset is no failure") {
  BYTE* base = nullptr;
  ArenaRef ref{&base, 12};
  CheckArenaRef(ref);
  CHECK_FALSE(ref.IsNull());
  CHECK(NullArenaRef().IsNull());
  CHECK(NullArenaRef().Get() == nullptr);
}

TEST_CASE("CheckArenaRef: the null reference is the failure stop") {
  ownthread::Outcome stop = ownthread::Run([] { CheckArenaRef(NullArenaRef()); });
  CHECK(stop.raised);
  CHECK(stop.code == kFailureStopCode);
}
