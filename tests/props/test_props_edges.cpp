// The props store's edge cases: block counts at the boundaries of the first and further blocks, the
// empty record, an update that gives blocks back, the empty image, IsNeedInspect and the in-change
// byte.
#include <doctest/doctest.h>

#include "PropsFixture.h"

TEST_CASE("a contact with an empty extended block takes one block with 60 bytes of data") {
  PropsFixture f(L"edge_empty.dat");
  REQUIRE(f.store.Create(0));
  ModelRecord empty;
  empty.checksum = 0x12345678;
  uint32_t offset = f.Add(empty);
  REQUIRE(offset == BlockOffset(0));
  const uint8_t* data = f.store.Data();
  CHECK(ReadWord32(data, offset + 0) == 0u);    // no further block
  CHECK(ReadWord32(data, offset + 4) == 60u);   // data length
  CHECK(f.FirstUnused() == 12u + 128u);         // exactly one block taken
  CHECK(ReadWord32(data, offset + 16) == 60u);  // total length, the data's first word
  CHECK(ReadWord32(data, offset + 20) == 0x12345678u);
  for (int section = 0; section < 10; ++section)
    CHECK(ReadWord32(data, offset + 16 + 20 + 4 * section) == 60u);
  CHECK(PropsStore::RecordSize(ContactExtended()) == 60u);
  bool ok = false;
  CHECK(f.Read(offset, ok) == empty);
  CHECK(ok);
  CHECK(f.CheckReport() == "");
}

TEST_CASE("data of 112 bytes uses one block, 113 two, 236 two, 237 three") {
  CHECK(PropsStore::BlockCount(112, TRUE) == 1u);
  CHECK(PropsStore::BlockCount(113, TRUE) == 2u);
  CHECK(PropsStore::BlockCount(236, TRUE) == 2u);
  CHECK(PropsStore::BlockCount(237, TRUE) == 3u);
  CHECK(PropsStore::RoomFor(112, TRUE) == 128u);
  CHECK(PropsStore::RoomFor(113, TRUE) == 256u);
  CHECK(PropsStore::RoomFor(236, TRUE) == 256u);
  CHECK(PropsStore::RoomFor(237, TRUE) == 384u);
  // Without a first block every block holds 124.
  CHECK(PropsStore::RoomFor(0, FALSE) == 0u);
  CHECK(PropsStore::RoomFor(124, FALSE) == 128u);
  CHECK(PropsStore::RoomFor(125, FALSE) == 256u);

  // Record data is always an even number of bytes (texts are UTF-16), so 113 and 237 themselves can't
  // be stored: records of 112, 114, 236 and 238 bytes stand at the same boundaries.
  PropsFixture f(L"edge_sizes.dat");
  REQUIRE(f.store.Create(4000));
  struct Case {
    uint32_t bytes, blocks;
  } cases[] = {{112, 1}, {114, 2}, {236, 2}, {238, 3}};
  for (const Case& c : cases) {
    CAPTURE(c.bytes);
    ModelRecord model = RecordOfSize(c.bytes);
    std::vector<uint8_t> expected = Serialize(model);
    REQUIRE(expected.size() == c.bytes);
    uint32_t before = f.FirstUnused();
    uint32_t offset = f.Add(model);
    REQUIRE(offset != 0);
    CHECK(f.FirstUnused() - before == 128 * c.blocks);
    CHECK(ReadWord32(f.store.Data(), offset + 4) == c.bytes);
    StoreLayout layout = ReadLayout(f.store.Data(), f.store.Length());
    REQUIRE(layout.ok());
    CHECK(layout.chains.back().size() == c.blocks);
    CHECK(ChainBytes(f.store.Data(), f.store.Length(), offset) == expected);
    bool ok = false;
    CHECK(f.Read(offset, ok) == model);
    CHECK(ok);
  }
  CHECK(f.CheckReport() == "");
}

TEST_CASE(
    "an update from three blocks to one gives two back: the last block shrinks the region, the other goes "
    "into the ring") {
  PropsFixture f(L"edge_shrink.dat");
  REQUIRE(f.store.Create(4000));
  ModelRecord big = RecordOfSize(300);  // three blocks
  uint32_t offset = f.Add(big);
  REQUIRE(offset == BlockOffset(0));
  REQUIRE(f.FirstUnused() == 12u + 3 * 128u);
  REQUIRE(f.FreeCount() == 0u);

  ModelRecord small = RecordOfSize(100);
  REQUIRE(f.Update(offset, small));
  // The chain was blocks 0, 1, 2: block 2 ended the used region and only moved its mark back; block 1 is
  // now the ring's only member.
  CHECK(f.FirstUnused() == 12u + 2 * 128u);
  CHECK(f.FreeCount() == 1u);
  CHECK(f.FreeHead() == 12u + 128u);
  const uint8_t* pool = f.store.Data() + 28;
  CHECK(ReadWord32(pool, 12 + 128) == 12u + 128u);      // next in the ring: itself
  CHECK(ReadWord32(pool, 12 + 128 + 4) == 12u + 128u);  // previous: itself
  CHECK(ReadWord32(f.store.Data(), offset) == 0u);      // the chain is cut behind its first block
  CHECK(ReadWord32(f.store.Data(), offset + 4) == 100u);
  bool ok = false;
  CHECK(f.Read(offset, ok) == small);
  CHECK(ok);
  CHECK(f.CheckReport() == "");

  // Giving back moves the mark once per block only: block 1 in the ring stays there when the last
  // block goes.
  uint32_t second = f.Add(RecordOfSize(100));  // takes block 1 from the ring
  CHECK(second == BlockOffset(1));
  CHECK(f.FreeCount() == 0u);
  REQUIRE(f.Update(offset, big));         // blocks 0, 2, 3
  REQUIRE(f.store.DeleteRecord(second));  // block 1 into the ring
  REQUIRE(f.Update(offset, small));       // gives 2 (ring) then 3 (the end: mark back to 3)
  CHECK(f.FirstUnused() == 12u + 3 * 128u);
  CHECK(f.FreeCount() == 2u);
  CHECK(f.CheckReport() == "");
}

TEST_CASE("an empty Image leaves its section empty, its start equal to the total length") {
  PropsFixture f(L"edge_image.dat");
  REQUIRE(f.store.Create(0));
  ModelRecord model;
  model.lists[0].push_back({L"Work", L"+7 495 123-45-67"});
  model.dates.push_back({L"\x0414\x0435\x043D\x044C", 0x01D2000012345678ull});
  uint32_t offset = f.Add(model);
  REQUIRE(offset != 0);
  std::vector<uint8_t> bytes = ChainBytes(f.store.Data(), f.store.Length(), offset);
  REQUIRE(bytes.size() >= 60);
  CHECK(ReadWord32(bytes.data(), 20 + 4 * 9) == ReadWord32(bytes.data(), 0));
  CHECK(bytes == Serialize(model));

  model.image = L"photo.jpg";
  REQUIRE(f.Update(offset, model));
  bytes = ChainBytes(f.store.Data(), f.store.Length(), offset);
  CHECK(ReadWord32(bytes.data(), 0) - ReadWord32(bytes.data(), 20 + 4 * 9) == (9u + 1u) * 2u);
  CHECK(bytes == Serialize(model));
}

TEST_CASE("IsNeedInspect: the same time and one record fewer in the database is true, with countOnly too") {
  PropsFixture f(L"edge_inspect.dat");
  REQUIRE(f.store.Create(0));
  for (int i = 0; i < 3; ++i) REQUIRE(f.Add(RecordOfSize(80)) != 0);
  FILETIME time = {0x89ABCDEF, 0x01D51234};
  f.store.SetDbState(time);
  CHECK(ReadWord32(f.store.Data(), 8) == 0x89ABCDEFu);
  CHECK(ReadWord32(f.store.Data(), 12) == 0x01D51234u);

  CHECK(f.store.IsNeedInspect(time, 2, FALSE));
  CHECK(f.store.IsNeedInspect(time, 2, TRUE));
  CHECK_FALSE(f.store.IsNeedInspect(time, 3, FALSE));
  CHECK_FALSE(f.store.IsNeedInspect(time, 3, TRUE));
  FILETIME other = {0x89ABCDF0, 0x01D51234};
  CHECK(f.store.IsNeedInspect(other, 3, FALSE));
  // Only the count counts with countOnly.
  CHECK_FALSE(f.store.IsNeedInspect(other, 3, TRUE));
}

TEST_CASE("a header whose in-change byte is 1 is refused") {
  PropsFixture f(L"edge_inchange.dat");
  REQUIRE(f.store.Create(0));
  REQUIRE(f.Add(RecordOfSize(200)) != 0);
  f.store.SetInChange(1);
  CHECK(f.store.GetInChange() == 1);
  CHECK(f.store.Data()[16] == 1);
  REQUIRE(f.store.Save(FALSE));
  f.store.Close();

  SetLastError(0);
  CHECK_FALSE(f.store.Open(TRUE));
  CHECK(GetLastError() == DWORD(ERROR_INVALID_DATA));
  CHECK_FALSE(f.store.IsOpen());
  // Without the check the store attaches as it is.
  REQUIRE(f.store.Open(FALSE));
  CHECK(f.store.GetInChange() == 1);
  f.store.SetInChange(0);
  REQUIRE(f.store.Save(FALSE));
  f.store.Close();
  CHECK(f.store.Open(TRUE));
}
