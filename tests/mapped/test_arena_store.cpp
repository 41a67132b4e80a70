// ArenaStore: a store over the allocator in a MappedFile, with the growth rule, the end of the
// mapping, and the check of a stored arena when it is opened.
#include <doctest/doctest.h>

#include <cstring>
#include <random>
#include <vector>

#include "ArenaWalk.h"
#include "MappedTestSupport.h"
#include "storage/mapped/ArenaStore.h"

namespace {

const uint32_t kHeader = 36;

struct StoreFiles {
  std::wstring path;
  explicit StoreFiles(const std::wstring& name) : path(TempFile(name)) { DeleteFileW(path.c_str()); }
  ~StoreFiles() { DeleteFileW(path.c_str()); }
};

ArenaWalk WalkStore(ArenaStore& store, bool strict = true) {
  return WalkArena(store.Data() + kHeader, store.Length() - kHeader, strict, kHeader);
}

struct Stored {
  uint32_t offset;
  uint32_t size;
  uint32_t seed;
};

bool AllIntact(ArenaStore& store, const std::vector<Stored>& stored) {
  for (const Stored& s : stored)
    if (!HasPattern(store.ToPointer(s.offset), s.size, s.seed)) return false;
  return true;
}

}  // namespace

TEST_CASE("a new store: length (max(size, 10240) + 47) AND NOT 3, a zeroed header and one free block") {
  CHECK(ArenaStore::CreationLength(102400, kHeader) == 102444);
  CHECK(ArenaStore::CreationLength(0, kHeader) == 10284);
  CHECK(ArenaStore::CreationLength(10241, kHeader) == 10288);
  StoreFiles files(L"store_new.dat");
  ArenaStore store(kHeader, L"IndexStore");
  REQUIRE(store.Create(files.path.c_str(), 102400));
  CHECK(store.Length() == 102444);
  for (uint32_t i = 0; i < kHeader; ++i) CHECK(store.Data()[i] == 0);
  ArenaWalk walk = WalkStore(store);
  REQUIRE_MESSAGE(walk.ok(), walk.error);
  REQUIRE(walk.blocks.size() == 1);
  CHECK(walk.blocks[0].size == -int32_t(102444 - kHeader - 16));
}

TEST_CASE("references: offsets from the data's start, null for 0, valid through the base variable") {
  StoreFiles files(L"store_refs.dat");
  ArenaStore store(kHeader, L"IndexStore");
  REQUIRE(store.Create(files.path.c_str(), 0));
  ArenaRef ref;
  REQUIRE(store.Allocate(24, &ref));
  CHECK(ref.base == store.Base());
  CHECK(ref.offset == kHeader + 8 + 4);
  CHECK(ref.Get() == store.ToPointer(ref.offset));
  CHECK(store.ToOffset(ref.Get()) == ref.offset);
  CHECK(store.MakeRef(0).IsNull());
  CHECK(store.ToPointer(0) == nullptr);
  CHECK(store.ToOffset(nullptr) == 0);
  ArenaRef again = store.MakeRef(ref.offset);
  CHECK(again.Get() == ref.Get());
  store.FreeRef(ref);
  ArenaWalk walk = WalkStore(store);
  REQUIRE(walk.ok());
  CHECK(walk.blocks.size() == 1);
  // Every refusal says why.
  ArenaRef none;
  SetLastError(0);
  CHECK_FALSE(store.Allocate(0, &none));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(none.IsNull());
  store.Close();
  SetLastError(0);
  CHECK_FALSE(store.Allocate(8, &none));
  CHECK(GetLastError() == ERROR_INVALID_HANDLE);
  CHECK(none.IsNull());
}

TEST_CASE("growth: a full arena grows by the larger of request + 8 and 102400, and the request succeeds") {
  StoreFiles files(L"store_grow.dat");
  ArenaStore store(kHeader, L"IndexStore");
  REQUIRE(store.Create(files.path.c_str(), 102400));
  std::vector<Stored> stored;
  uint32_t seed = 1;
  // Fill the first arena exactly.
  while (store.Length() == 102444) {
    ArenaRef ref;
    REQUIRE(store.Allocate(1000, &ref));
    if (store.Length() != 102444) {
      CHECK(store.Length() == 102444 + 102400);
    }
    FillPattern(ref.Get(), 1000, seed);
    stored.push_back({ref.offset, 1000, seed++});
  }
  ArenaWalk walk = WalkStore(store);
  REQUIRE_MESSAGE(walk.ok(), walk.error);
  CHECK(store.Arena().Size() == store.Length() - kHeader);
  CHECK(AllIntact(store, stored));
  // A request larger than the step grows by request + 8.
  uint32_t before = store.Length();
  uint32_t freeBefore = store.Arena().FreeBytes();
  REQUIRE(freeBefore < 200000);
  ArenaRef big;
  REQUIRE(store.Allocate(200000, &big));
  CHECK(store.Length() == before + 200008);
  FillPattern(big.Get(), 200000, 999);
  stored.push_back({big.offset, 200000, 999});
  walk = WalkStore(store);
  REQUIRE_MESSAGE(walk.ok(), walk.error);
  CHECK(AllIntact(store, stored));
}

TEST_CASE("a store filled until its mapping is full is refused cleanly, with the data before intact") {
  StoreFiles files(L"store_full.dat");
  FreshProgramLog();
  ArenaStore store(kHeader, L"IndexStore");
  REQUIRE(store.Create(files.path.c_str(), 102400));
  FillPattern(store.Data(), kHeader, 4242);
  std::mt19937 random(5);
  std::vector<Stored> stored;
  uint32_t seed = 1;
  int growths = 0;
  for (;;) {
    uint32_t size = 200 + random() % 6000;
    uint32_t length = store.Length();
    ArenaRef ref;
    if (!store.Allocate(size, &ref)) {
      CHECK(GetLastError() == kMappingFullError);
      CHECK(ref.IsNull());
      CHECK(store.Length() == length);
      break;
    }
    if (store.Length() != length) ++growths;
    REQUIRE(store.Length() <= MappedFile::kMaxLength);
    FillPattern(ref.Get(), size, seed);
    stored.push_back({ref.offset, size, seed++});
  }
  CHECK(growths > 70);
  // The last growths took what room the mapping had left.
  CHECK(store.Length() == MappedFile::kMaxLength);
  CHECK(ProgramLogText().find("the mapping is full") != std::string::npos);
  CHECK(HasPattern(store.Data(), kHeader, 4242));
  CHECK(AllIntact(store, stored));
  ArenaWalk walk = WalkStore(store);
  REQUIRE_MESSAGE(walk.ok(), walk.error);

  // Small requests still take the rest; then every request is refused, nothing moves.
  while (store.Arena().FreeBytes() > 0) {
    ArenaRef ref;
    uint32_t size = store.Arena().FreeBytes() < 64 ? store.Arena().FreeBytes() : 64;
    REQUIRE(store.Allocate(size, &ref));
    FillPattern(ref.Get(), size, seed);
    stored.push_back({ref.offset, size, seed++});
  }
  for (uint32_t size : {1u, 8u, 4096u, 102400u, 0x7FFFFFF0u}) {
    ArenaRef ref;
    SetLastError(0);
    CHECK_FALSE(store.Allocate(size, &ref));
    CHECK(GetLastError() == kMappingFullError);
    CHECK(store.Length() == MappedFile::kMaxLength);
  }
  CHECK(AllIntact(store, stored));
  REQUIRE(WalkStore(store).ok());

  // What is freed can be taken again.
  Stored gone = stored[stored.size() / 2];
  stored.erase(stored.begin() + long(stored.size() / 2));
  store.FreeOffset(gone.offset);
  ArenaRef again;
  REQUIRE(store.Allocate(gone.size, &again));
  CHECK(again.offset == gone.offset);
  FillPattern(again.Get(), gone.size, gone.seed);
  stored.push_back(gone);

  // The full store saves and opens again, whole.
  std::vector<uint8_t> data(store.Data(), store.Data() + store.Length() - 4);
  REQUIRE(store.Save(FALSE));
  store.Close();
  CHECK(FileSizeOf(files.path) == MappedFile::kMaxLength + 4);
  REQUIRE(store.Open(files.path.c_str()));
  CHECK(store.Length() == MappedFile::kMaxLength);
  CHECK(std::memcmp(store.Data(), data.data(), data.size()) == 0);
  CHECK(AllIntact(store, stored));
}

TEST_CASE("a saved store extended and saved again opens: the old size word only stops a merge") {
  StoreFiles files(L"store_scar.dat");
  ArenaStore store(kHeader, L"IndexStore");
  REQUIRE(store.Create(files.path.c_str(), 0));
  ArenaRef a;
  REQUIRE(store.Allocate(100, &a));
  REQUIRE(store.Save(FALSE));
  uint32_t firstLength = store.Length();
  // The last word of the data now holds the image's size.
  CHECK(ReadWord32(store.Data(), firstLength - 4) == firstLength + 4);
  CHECK_FALSE(WalkStore(store).ok());
  CHECK(WalkStore(store, false).ok());
  REQUIRE(store.ExtendTo(firstLength + 4096));
  ArenaWalk walk = WalkStore(store, false);
  REQUIRE_MESSAGE(walk.ok(), walk.error);
  CHECK(walk.ring.size() == 2);  // the new space didn't merge with the free tail
  REQUIRE(store.Save(FALSE));
  store.Close();
  REQUIRE(store.Open(files.path.c_str()));
  CHECK(store.Length() == firstLength + 4096);
  walk = WalkStore(store, false);
  REQUIRE_MESSAGE(walk.ok(), walk.error);
  // Both free blocks serve requests.
  ArenaRef b, c;
  REQUIRE(store.Allocate(4000, &b));
  REQUIRE(store.Allocate(9000, &c));
  CHECK(WalkStore(store, false).ok());
}

TEST_CASE("an opened store whose arena doesn't hold together is refused and closed") {
  StoreFiles files(L"store_broken.dat");
  std::vector<uint8_t> good;
  std::vector<uint32_t> structure;  // file offsets of every tag and ring link
  {
    ArenaStore store(kHeader, L"IndexStore");
    REQUIRE(store.Create(files.path.c_str(), 0));
    std::mt19937 random(3);
    std::vector<ArenaRef> refs;
    for (int i = 0; i < 60; ++i) {
      ArenaRef ref;
      REQUIRE(store.Allocate(8 + random() % 200, &ref));
      refs.push_back(ref);
    }
    for (int i = 0; i < 60; i += 3) store.FreeRef(refs[size_t(i)]);
    REQUIRE(store.Save(FALSE));
    ArenaWalk walk = WalkStore(store, false);
    REQUIRE(walk.ok());
    structure.push_back(kHeader);
    structure.push_back(kHeader + 4);
    for (const WalkBlock& block : walk.blocks) {
      uint32_t size = uint32_t(block.size < 0 ? -block.size : block.size);
      structure.push_back(kHeader + block.offset);
      if (kHeader + block.offset + 4 + size != store.Length() - 4)
        structure.push_back(kHeader + block.offset + 4 + size);
      if (block.size < 0) {
        structure.push_back(kHeader + block.offset + 4);
        structure.push_back(kHeader + block.offset + 8);
      }
    }
    good = ReadFileBytes(files.path);
  }
  FreshProgramLog();
  std::mt19937 random(8);
  int refusedCount = 0;
  for (uint32_t word : structure) {
    int bit = int(random() % 32);
    CAPTURE(word);
    CAPTURE(bit);
    std::vector<uint8_t> bytes = good;
    bytes[word + size_t(bit / 8)] ^= uint8_t(1u << (bit % 8));
    REQUIRE(WriteFileBytes(files.path, bytes));
    ArenaStore store(kHeader, L"IndexStore");
    bool opened = store.Open(files.path.c_str());
    if (opened) {
      // Only a head moved onto another free block can pass; the arena then still holds together.
      CHECK(word == kHeader + 4);
      ArenaWalk walk = WalkStore(store, false);
      CHECK_MESSAGE(walk.ok(), walk.error);
    } else {
      CHECK_FALSE(store.File().IsMapped());
      ++refusedCount;
    }
  }
  CHECK(refusedCount >= int(structure.size()) - 1);
  CHECK(ProgramLogText().find("doesn't hold together") != std::string::npos);

  // A file with a valid check word around random bytes passes the file's check, not the store's.
  for (int round = 0; round < 30; ++round) {
    std::vector<uint8_t> bytes(64 + random() % 20000);
    for (uint8_t& b : bytes) b = uint8_t(random());
    WriteWord32(bytes.data(), bytes.size() - 8, uint32_t(bytes.size()));
    REQUIRE(WriteFileBytes(files.path, bytes));
    ArenaStore store(kHeader, L"IndexStore");
    CHECK_FALSE(store.Open(files.path.c_str()));
  }
  // Cut short anywhere, and cut to a length whose word happens to be right: refused.
  for (size_t size = 0; size < good.size(); size += 13) {
    std::vector<uint8_t> bytes(good.begin(), good.begin() + long(size));
    if (size >= 8) WriteWord32(bytes.data(), size - 8, uint32_t(size));
    REQUIRE(WriteFileBytes(files.path, bytes));
    ArenaStore store(kHeader, L"IndexStore");
    CAPTURE(size);
    CHECK_FALSE(store.Open(files.path.c_str()));
  }
  REQUIRE(WriteFileBytes(files.path, good));
  ArenaStore store(kHeader, L"IndexStore");
  CHECK(store.Open(files.path.c_str()));
}
