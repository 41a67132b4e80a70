// The props store opened for a quick start: the header judged at once, the file copied behind it, and
// the walk over the pool and the records left to Check; until then a broken record fails its own
// reads cleanly and the others read as ever.
#include <doctest/doctest.h>

#include <random>

#include "PropsFixture.h"

namespace {

// A new store of `count` random records of `seed`, saved and closed; gives the records, and their
// offsets in `offsets`.
std::vector<ModelRecord> SavedRecords(PropsFixture& f, unsigned seed, int count,
                                      std::vector<uint32_t>& offsets) {
  REQUIRE(f.store.Create(0));
  std::mt19937 random(seed);
  std::vector<ModelRecord> models;
  for (int i = 0; i < count; ++i) {
    models.push_back(RandomRecord(random, 2));
    offsets.push_back(f.Add(models.back()));
    REQUIRE(offsets.back() != 0);
  }
  REQUIRE(f.store.Save(FALSE));
  f.store.Close();
  return models;
}

}  // namespace

TEST_CASE("a deferred open judges the header only and leaves a broken chain to Check") {
  PropsFixture f(L"deferred.dat");
  std::vector<uint32_t> offsets;
  const std::vector<ModelRecord> models = SavedRecords(f, 99, 400, offsets);

  {
    PropsStore store;
    store.SetPath(f.path.c_str());
    REQUIRE(store.OpenDeferred());
    CHECK(store.RecordCount() == 400);
    REQUIRE(store.WaitLoaded());
    Str report;
    CHECK(store.Check(report));
  }
  // The chain of record 7 goes round: its first block links to itself.
  std::vector<uint8_t> bytes = ReadFileBytes(f.path);
  WriteWord32(bytes.data(), offsets[7] + PropsStore::kNextBlockField, offsets[7]);
  REQUIRE(WriteFileBytes(f.path, bytes));
  {
    PropsStore store;
    store.SetPath(f.path.c_str());
    CHECK_FALSE(store.Open(TRUE));
    REQUIRE(store.OpenDeferred());
    REQUIRE(store.WaitLoaded());
    ContactExtended block;
    SetLastError(0);
    CHECK_FALSE(store.GetRecord(offsets[7], block, nullptr));
    CHECK(GetLastError() == ERROR_INVALID_DATA);
    uint32_t checksum = 0;
    CHECK(store.GetChecksum(offsets[8], checksum));
    CHECK(checksum == models[8].checksum);
    CHECK(store.GetRecord(offsets[8], block, nullptr));
    Str report;
    CHECK_FALSE(store.Check(report));
    CHECK_FALSE(report.IsEmpty());
  }
  // The header's own faults are refused at once, as Open refuses them.
  for (int fault = 0; fault < 3; ++fault) {
    CAPTURE(fault);
    std::vector<uint8_t> bad = ReadFileBytes(f.path);
    if (fault == 0) bad[PropsStore::kInChangeOffset] = 1;
    if (fault == 1) WriteWord32(bad.data(), PropsStore::kMarkOffset, 2);
    if (fault == 2) WriteWord32(bad.data(), PropsStore::kVersionOffset, 4);
    const std::wstring path = PropsTempFile(L"deferred_header.dat");
    REQUIRE(WriteFileBytes(path, bad));
    PropsStore store;
    store.SetPath(path.c_str());
    CHECK_FALSE(store.OpenDeferred());
    CHECK_FALSE(store.IsOpen());
    DeleteFileW(path.c_str());
  }
}

TEST_CASE("before the copy, checksums come from a view of the file as they come from the data after it") {
  PropsFixture f(L"deferred_checksums.dat");
  std::vector<uint32_t> offsets;
  const std::vector<ModelRecord> models = SavedRecords(f, 7, 300, offsets);

  PropsStore store;
  store.SetPath(f.path.c_str());
  REQUIRE(store.OpenDeferred());
  REQUIRE(store.File().ViewFile());
  REQUIRE(store.File().FileView() != nullptr);
  for (size_t i = 0; i < offsets.size(); ++i) {
    CAPTURE(i);
    uint32_t checksum = 0;
    REQUIRE(store.GetChecksumBeforeLoad(offsets[i], checksum));
    CHECK(checksum == models[i].checksum);
  }
  // What is no record's first block is refused, as GetChecksum refuses it: inside a block, the store's
  // header, past the used blocks, past the file.
  const uint32_t refused[] = {offsets[3] + 4, 4, PropsStore::kHeaderSize, store.Length() - 8, 0xFFFFFF00u};
  for (uint32_t offset : refused) {
    CAPTURE(offset);
    uint32_t checksum = 0;
    SetLastError(0);
    CHECK_FALSE(store.GetChecksumBeforeLoad(offset, checksum));
    CHECK(GetLastError() == ERROR_INVALID_DATA);
  }
  REQUIRE(store.WaitLoaded());
  CHECK(store.File().FileView() == nullptr);
  for (size_t i = 0; i < offsets.size(); ++i) {
    uint32_t early = 0;
    uint32_t loaded = 0;
    REQUIRE(store.GetChecksumBeforeLoad(offsets[i], early));
    REQUIRE(store.GetChecksum(offsets[i], loaded));
    CHECK(early == loaded);
  }
}
