// The props store's life and format: creation lengths, the header, opening and refusing, entry
// layouts, kinds, growth, the ring of records, checksums, and the invariant check finding what is
// broken.
#include <doctest/doctest.h>

#include <cstring>

#include "PropsFixture.h"
#include "storage/props/BlockPool.h"
#include "storage/contact/Contact.h"
#include "storage/props/PropsRecord.h"

TEST_CASE(
    "creation length: 1024 up to 984 expected bytes, beyond that the bytes, 1% and 40, rounded up to 4") {
  CHECK(PropsStore::CreationLength(0) == 1024u);
  CHECK(PropsStore::CreationLength(984) == 1024u);
  CHECK(PropsStore::CreationLength(985) == 1036u);       // 985 + 9 + 40 = 1034
  CHECK(PropsStore::CreationLength(12800) == 12968u);    // 12800 + 128 + 40
  CHECK(PropsStore::CreationLength(100001) == 101044u);  // 100001 + 1000 + 40 = 101041

  PropsFixture f(L"create.dat");
  REQUIRE(f.store.Create(12800));
  CHECK(f.store.Length() == 12968u);
  const uint8_t* data = f.store.Data();
  CHECK(ReadWord32(data, 0) == 1u);
  CHECK(ReadWord32(data, 4) == 5u);
  for (int i = 8; i < 28; ++i) CHECK(data[i] == 0);
  CHECK(ReadWord32(data, 28) == 0u);   // free ring head
  CHECK(ReadWord32(data, 32) == 12u);  // first never-used byte
  CHECK(ReadWord32(data, 36) == 0u);   // free blocks
  CHECK(f.store.RecordCount() == 0u);
  CHECK(f.CheckReport() == "");
  // Exactly the 100 blocks of 12800 bytes fit without growing; the data's last word stays out of the
  // pool, since every save writes the file's size there.
  CHECK(f.store.Pool().Capacity() >= 12800u);
  CHECK(PropsStore::PoolSize(12968) == 12968u - 32u);
}

TEST_CASE("a store too large for the mapping isn't created, and the refusal is logged") {
  FreshProgramLog();
  PropsFixture f(L"create_large.dat");
  SetLastError(0);
  CHECK_FALSE(f.store.Create(0x7F0000));
  CHECK(GetLastError() == kMappingFullError);
  CHECK_FALSE(f.store.IsOpen());
  CHECK(ProgramLogText().find("don't fit the mapping") != std::string::npos);
}

TEST_CASE("open: the length comes from the file; short data, a wrong mark or version are refused") {
  PropsFixture f(L"open.dat");
  REQUIRE(f.store.Create(0));
  ModelRecord model = RecordOfSize(400);
  uint32_t offset = f.Add(model);
  REQUIRE(offset != 0);
  REQUIRE(f.store.Save(FALSE));
  std::vector<uint8_t> image = f.Image();
  f.store.Close();
  std::vector<uint8_t> file = ReadFileBytes(f.path);
  REQUIRE(file.size() == image.size() + 4);

  REQUIRE(f.store.Open(TRUE));
  CHECK(f.store.Length() == image.size());
  CHECK(std::memcmp(f.store.Data(), image.data(), image.size()) == 0);
  bool ok = false;
  CHECK(f.Read(offset, ok) == model);
  f.store.Close();

  struct Bad {
    const char* what;
    size_t at;
    uint32_t value;
  } bads[] = {{"mark 2", 0, 2}, {"mark 0", 0, 0}, {"version 4", 4, 4}, {"version 6", 4, 6}};
  for (const Bad& bad : bads) {
    CAPTURE(bad.what);
    std::vector<uint8_t> changed = file;
    WriteWord32(changed.data(), bad.at, bad.value);
    REQUIRE(WriteFileBytes(f.path, changed));
    CHECK_FALSE(f.store.Open(TRUE));
    CHECK_FALSE(f.store.IsOpen());
  }

  // Data shorter than the header: a valid image of 24 bytes.
  std::vector<uint8_t> tiny(28, 0);
  WriteWord32(tiny.data(), 0, 1);
  WriteWord32(tiny.data(), 4, 5);
  WriteWord32(tiny.data(), 20, 28);
  REQUIRE(WriteFileBytes(f.path, tiny));
  CHECK_FALSE(f.store.Open(TRUE));
  // No file at all.
  DeleteFileW(f.path.c_str());
  CHECK_FALSE(f.store.Open(TRUE));
}

TEST_CASE("the header holds the database time and the in-change byte; a fresh store has neither") {
  PropsFixture f(L"header.dat");
  REQUIRE(f.store.Create(0));
  FILETIME none = f.store.GetDbState();
  CHECK(none.dwLowDateTime == 0u);
  CHECK(none.dwHighDateTime == 0u);
  CHECK(f.store.GetInChange() == 0);
  FILETIME time = {0x11223344, 0x01D60000};
  f.store.SetDbState(time);
  f.store.SetInChange(1);
  const uint8_t* data = f.store.Data();
  CHECK(ReadWord32(data, 8) == 0x11223344u);
  CHECK(ReadWord32(data, 12) == 0x01D60000u);
  CHECK(data[16] == 1);
  CHECK(data[17] == 0);
  f.store.SetInChange(0);
  FILETIME back = f.store.GetDbState();
  CHECK(back.dwLowDateTime == time.dwLowDateTime);
  CHECK(back.dwHighDateTime == time.dwHighDateTime);
  CHECK_FALSE(f.store.IsNeedInspect(time, 0, FALSE));
}

TEST_CASE("entries: lengths by their rules, texts with NULs, addresses with the offsets of their parts") {
  CHECK(PropsRecord::PairEntrySize(4, 3) == 24u);  // (14 + 13) & ~3
  CHECK(PropsRecord::PairEntrySize(4, 4) == 28u);  // (16 + 13) & ~3
  CHECK(PropsRecord::PairEntrySize(0, 0) == 12u);
  CHECK(PropsRecord::MessengerEntrySize(3, 5, 0) == 28u);  // (16 + 15) & ~3
  CHECK(PropsRecord::MessengerEntrySize(0, 0, 0) == 12u);
  CHECK(PropsRecord::DateEntrySize(0) == 16u);
  CHECK(PropsRecord::DateEntrySize(8) == 32u);  // (16 + 19) & ~3
  CHECK(PropsRecord::ImageSize(0) == 0u);
  CHECK(PropsRecord::ImageSize(5) == 12u);

  ModelRecord model;
  model.lists[0].push_back({L"Work", L"123"});
  ModelAddress address;
  address.label = L"Dacha";
  address.parts[0] = L"Lenina 1";
  address.parts[1] = L"\x041C\x043E\x0441\x043A\x0432\x0430";  // Москва
  address.parts[4] = L"RU";
  address.format = 7;
  model.addresses.push_back(address);
  model.messengers.push_back({L"icq", L"12345", L""});
  model.checksum = 0xCAFEBABE;
  model.homeFormat = 3;
  model.workFormat = 4;
  model.otherFormat = 5;

  ContactExtended block;
  ToBlock(model, block);
  uint32_t size = PropsRecord::Size(block);
  std::vector<uint8_t> bytes(size);
  PropsRecord::Write(block, model.checksum, bytes.data(), size);
  CHECK(bytes == Serialize(model));
  // Header.
  CHECK(ReadWord32(bytes.data(), 0) == size);
  CHECK(ReadWord32(bytes.data(), 4) == 0xCAFEBABEu);
  CHECK(ReadWord32(bytes.data(), 8) == 3u);
  CHECK(ReadWord32(bytes.data(), 12) == 4u);
  CHECK(ReadWord32(bytes.data(), 16) == 5u);
  // Phone at 60, one entry of 24; the next five sections empty.
  CHECK(ReadWord32(bytes.data(), 20) == 60u);
  for (int s = 1; s <= 6; ++s) CHECK(ReadWord32(bytes.data(), 20 + 4 * size_t(s)) == 84u);
  CHECK(ReadWord32(bytes.data(), 60) == 24u);
  CHECK(std::memcmp(bytes.data() + 64, L"Work", 10) == 0);
  CHECK(std::memcmp(bytes.data() + 74, L"123", 8) == 0);
  // Messenger at 84: 28 bytes; Address at 112.
  CHECK(ReadWord32(bytes.data(), 84) == 28u);
  uint32_t a = ReadWord32(bytes.data(), 20 + 4 * 7);
  CHECK(a == 112u);
  // Bytes of the texts with NULs: label 12, parts 18 + 14 + 2 + 2 + 6 = 54 in all; (54 + 37) & ~3 = 88.
  CHECK(ReadWord32(bytes.data(), a) == 88u);
  CHECK(ReadWord32(bytes.data(), a + 4) == 7u);
  CHECK(ReadWord32(bytes.data(), a + 8) == 40u);  // part 0 behind the label
  CHECK(ReadWord32(bytes.data(), a + 12) == 58u);
  CHECK(ReadWord32(bytes.data(), a + 16) == 72u);
  CHECK(ReadWord32(bytes.data(), a + 20) == 74u);
  CHECK(ReadWord32(bytes.data(), a + 24) == 76u);
  CHECK(std::memcmp(bytes.data() + a + 28, L"Dacha", 12) == 0);
  CHECK(std::memcmp(bytes.data() + a + 76, L"RU", 6) == 0);
  // Date and Image sections empty, at the end.
  CHECK(ReadWord32(bytes.data(), 20 + 4 * 8) == size);
  CHECK(ReadWord32(bytes.data(), 20 + 4 * 9) == size);
  CHECK(size == 200u);

  ContactExtended parsed;
  uint32_t checksum = 0;
  REQUIRE(PropsRecord::Parse(bytes.data(), size, parsed, &checksum));
  CHECK(FromBlock(parsed, checksum) == model);
  CHECK(PropsRecord::IsCanonical(bytes.data(), size));
  // One byte less is no record.
  CHECK_FALSE(PropsRecord::Parse(bytes.data(), size - 1, parsed, &checksum));
}

TEST_CASE("texts are stored to their first NUL") {
  ContactExtended block;
  LabelValue entry;
  const wchar_t withNul[] = {L'a', L'b', 0, L'c'};
  entry.label = Str(withNul, 4);
  entry.value = L"v";
  block.Phone.Add(entry);
  uint32_t size = PropsRecord::Size(block);
  std::vector<uint8_t> bytes(size);
  PropsRecord::Write(block, 1, bytes.data(), size);
  CHECK(PropsRecord::IsCanonical(bytes.data(), size));
  ContactExtended parsed;
  REQUIRE(PropsRecord::Parse(bytes.data(), size, parsed, nullptr));
  CHECK(parsed.Phone[0].label == Str(L"ab"));
}

TEST_CASE("kinds: the ten names in any case, and nothing else") {
  const wchar_t* names[] = {L"phone",  L"email", L"messenger", L"webpage", L"address",
                            L"people", L"date",  L"link",      L"image",   L"otherprop"};
  for (int i = 0; i < 10; ++i) {
    int kind = -1;
    CHECK(PropsStore::KindFromName(names[i], kind));
    CHECK(kind == i);
  }
  int kind = -1;
  CHECK(PropsStore::KindFromName(L"PHONE", kind));
  CHECK(kind == PropsKindPhone);
  CHECK(PropsStore::KindFromName(L"OtherProp", kind));
  CHECK(kind == PropsKindOtherProp);
  CHECK(PropsStore::KindFromName(L"WebPage", kind));
  CHECK(kind == PropsKindWebPage);
  kind = 77;
  CHECK_FALSE(PropsStore::KindFromName(L"", kind));
  CHECK_FALSE(PropsStore::KindFromName(L"phones", kind));
  CHECK_FALSE(PropsStore::KindFromName(L" phone", kind));
  CHECK_FALSE(PropsStore::KindFromName(L"web page", kind));
  CHECK_FALSE(PropsStore::KindFromName(nullptr, kind));
  CHECK(kind == 77);
}

TEST_CASE(
    "growth: missing room grows the data by it and 1% of the sum, rounded up to 4, and the add succeeds") {
  PropsFixture f(L"grow.dat");
  REQUIRE(f.store.Create(0));
  REQUIRE(f.store.Length() == 1024u);
  // 1024 bytes: a pool of 992 usable bytes, 7 whole blocks.
  CHECK(f.store.Pool().Capacity() == 7u * 128u);
  std::vector<uint32_t> offsets;
  for (int i = 0; i < 7; ++i) offsets.push_back(f.Add(RecordOfSize(100)));
  CHECK(f.store.Length() == 1024u);
  CHECK(f.store.Pool().Capacity() == 0u);
  // One block missing: 1024 + 128 = 1152, and 11 more.
  uint32_t eighth = f.Add(RecordOfSize(100));
  REQUIRE(eighth != 0);
  CHECK(f.store.Length() == 1164u);
  CHECK(f.store.File().Length() == 1164u);
  // Three blocks missing at once, and nothing free: 1164 + 384 = 1548, and 15 more, 1563, rounded 1564.
  while (f.store.Pool().Capacity() > 0) REQUIRE(f.Add(RecordOfSize(60)) != 0);
  uint32_t before = f.store.Length();
  REQUIRE(f.Add(RecordOfSize(300)) != 0);
  uint32_t sum = before + 384;
  CHECK(f.store.Length() == ((sum + sum / 100 + 3) & ~3u));
  CHECK(f.CheckReport() == "");

  // EnsureRoom with room to spare changes nothing.
  uint32_t length = f.store.Length();
  CHECK(f.store.EnsureRoom(0, FALSE));
  CHECK(f.store.Length() == length);
}

TEST_CASE("records make a closed ring: each new one stands before the first, a deleted one is unlinked") {
  PropsFixture f(L"ring.dat");
  REQUIRE(f.store.Create(4000));
  uint32_t a = f.Add(RecordOfSize(60));
  const uint8_t* data = f.store.Data();
  CHECK(f.store.FirstRecord() == a);
  CHECK(ReadWord32(data, a + 8) == a);
  CHECK(ReadWord32(data, a + 12) == a);
  uint32_t b = f.Add(RecordOfSize(60));
  uint32_t c = f.Add(RecordOfSize(60));
  CHECK(f.store.RecordCount() == 3u);
  CHECK(f.store.FirstRecord() == a);
  // a -> b -> c -> a, and back.
  CHECK(ReadWord32(data, a + 12) == b);
  CHECK(ReadWord32(data, b + 12) == c);
  CHECK(ReadWord32(data, c + 12) == a);
  CHECK(ReadWord32(data, a + 8) == c);
  CHECK(ReadWord32(data, c + 8) == b);
  CHECK(ReadWord32(data, b + 8) == a);

  // Deleting the first record moves the first-record field to its successor, so the header never names
  // a freed block.
  REQUIRE(f.store.DeleteRecord(a));
  CHECK(f.store.FirstRecord() == b);
  CHECK(ReadWord32(data, b + 8) == c);
  CHECK(ReadWord32(data, c + 12) == b);
  CHECK(f.CheckReport() == "");
  // The freed block comes back for the next record and joins the ring in good order.
  uint32_t d = f.Add(RecordOfSize(300));
  CHECK(d == a);
  CHECK(f.CheckReport() == "");
  REQUIRE(f.store.DeleteRecord(b));
  REQUIRE(f.store.DeleteRecord(c));
  CHECK(f.store.FirstRecord() == d);
  CHECK(ReadWord32(data, d + 8) == d);
  CHECK(ReadWord32(data, d + 12) == d);
  REQUIRE(f.store.DeleteRecord(d));
  CHECK(f.store.FirstRecord() == 0u);
  CHECK(f.store.RecordCount() == 0u);
  CHECK(f.CheckReport() == "");
  // Nothing is left to delete.
  CHECK_FALSE(f.store.DeleteRecord(d));
}

TEST_CASE("what is no record is neither read, updated nor deleted, and the store stays as it was") {
  PropsFixture f(L"notrecord.dat");
  REQUIRE(f.store.Create(4000));
  uint32_t a = f.Add(RecordOfSize(400));  // blocks 0 to 3
  uint32_t b = f.Add(RecordOfSize(60));
  REQUIRE(f.store.DeleteRecord(f.Add(RecordOfSize(60))));  // a block at the end, given back
  std::vector<uint8_t> before = f.Image();
  uint32_t bads[] = {0,
                     4,
                     27,
                     28,
                     40 + 1,
                     BlockOffset(1),
                     BlockOffset(2),
                     BlockOffset(6),
                     BlockOffset(40),
                     0xFFFFFF80u,
                     f.store.Length()};
  for (uint32_t bad : bads) {
    CAPTURE(bad);
    ContactExtended block;
    CHECK_FALSE(f.store.GetRecord(bad, block, nullptr));
    uint32_t checksum = 0;
    if (bad != BlockOffset(1) && bad != BlockOffset(2)) CHECK_FALSE(f.store.GetChecksum(bad, checksum));
    CHECK_FALSE(f.store.DeleteRecord(bad));
    ToBlock(RecordOfSize(80), block);
    CHECK_FALSE(f.store.UpdateRecord(bad, block, 1));
  }
  CHECK(f.Image() == before);
  CHECK(f.store.RecordCount() == 2u);
  (void)a;
  (void)b;
}

TEST_CASE("the checksum is the data's second word, read from the first block; Contact carries it both ways") {
  PropsFixture f(L"checksum.dat");
  REQUIRE(f.store.Create(0));
  Contact contact;
  contact.checksum = 0xA5A5F00D;
  LabelValue phone;
  phone.label = L"\x0414\x0430\x0447\x0430";
  phone.value = L"+7 (495) 123-45-67";
  contact.Phone.Add(phone);
  contact.Image = L"\\My Documents\\photo.jpg";
  uint32_t offset = f.store.AddRecord(contact);
  REQUIRE(offset != 0);
  uint32_t checksum = 0;
  REQUIRE(f.store.GetChecksum(offset, checksum));
  CHECK(checksum == 0xA5A5F00Du);
  CHECK(ReadWord32(f.store.Data(), offset + 20) == 0xA5A5F00Du);

  Contact back;
  REQUIRE(f.store.GetRecord(offset, back));
  CHECK(back.checksum == 0xA5A5F00Du);
  CHECK(back.ContactExtended::Equals(contact));

  contact.checksum = 7;
  contact.Phone.RemoveAll();
  REQUIRE(f.store.UpdateRecord(offset, contact));
  REQUIRE(f.store.GetChecksum(offset, checksum));
  CHECK(checksum == 7u);
  REQUIRE(f.store.GetRecord(offset, back));
  CHECK(back.Phone.GetSize() == 0);
  CHECK(back.Image == contact.Image);
}

TEST_CASE("a store that isn't open does nothing and says so") {
  PropsStore store;
  ContactExtended block;
  CHECK(store.AddRecord(block, 0) == 0u);
  CHECK_FALSE(store.GetRecord(40, block, nullptr));
  CHECK_FALSE(store.UpdateRecord(40, block, 0));
  CHECK_FALSE(store.DeleteRecord(40));
  uint32_t checksum = 0;
  CHECK_FALSE(store.GetChecksum(40, checksum));
  CHECK_FALSE(store.EnsureRoom(1, TRUE));
  CHECK_FALSE(store.Save(FALSE));
  CHECK(store.IsNeedInspect(FILETIME{0, 0}, 0, FALSE));
  CHECK(store.GetInChange() == 0);
  Str report;
  CHECK_FALSE(store.Check(report));
  CHECK_FALSE(report.IsEmpty());
}

TEST_CASE("the default file is pim_index2.dat in the temporary folder") {
  wchar_t folder[MAX_PATH];
  DWORD n = GetTempPathW(MAX_PATH, folder);
  std::wstring expected(folder, n);
  if (expected.back() != L'\\') expected += L'\\';
  expected += L"pim_index2.dat";
  CHECK(std::wstring(static_cast<const wchar_t*>(PropsStore::DefaultPath())) == expected);
  PropsStore store;
  CHECK(std::wstring(store.Path()) == expected);
}

namespace {

// A store with a few records, some of them deleted, so that the free ring has members.
struct CheckedStore : PropsFixture {
  std::vector<uint32_t> records;
  uint32_t multi = 0;  // a record of more than one block, not the first
  CheckedStore() : PropsFixture(L"check.dat") {
    REQUIRE(store.Create(0));
    std::mt19937 random(5);
    for (int i = 0; i < 12; ++i) records.push_back(Add(RandomRecord(random, 0)));
    for (int i : {9, 3, 5}) {
      REQUIRE(store.DeleteRecord(records[size_t(i)]));
      records.erase(records.begin() + i);
    }
    // Never-used blocks behind the region as well.
    REQUIRE(store.EnsureRoom(store.Pool().Capacity() + 124, FALSE));
    REQUIRE(store.Pool().UnusedBlocks() >= 1);
    REQUIRE(CheckReport() == "");
    REQUIRE(FreeCount() >= 2);
    StoreLayout layout = ReadLayout(store.Data(), store.Length());
    REQUIRE(layout.ok());
    for (size_t i = 1; i < layout.records.size() && multi == 0; ++i)
      if (layout.chains[i].size() >= 2) multi = layout.records[i];
    REQUIRE(multi != 0);
  }
  std::string ReportAfter(size_t at, uint32_t value) {
    uint32_t old = ReadWord32(store.Data(), at);
    WriteWord32(store.Data(), at, value);
    std::string report = CheckReport();
    WriteWord32(store.Data(), at, old);
    return report;
  }
};

bool Has(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST_CASE("the check names each broken invariant") {
  CheckedStore s;
  uint32_t r0 = s.records[0], r1 = s.records[1];
  CHECK(Has(s.ReportAfter(0, 2), "format mark 2"));
  CHECK(Has(s.ReportAfter(4, 4), "version 4"));
  CHECK(Has(s.ReportAfter(16, 1), "in-change byte 1"));
  CHECK(Has(s.ReportAfter(24, uint32_t(s.records.size() + 1)), "records:"));
  CHECK(Has(s.ReportAfter(24, uint32_t(s.records.size() - 1)), "ring"));
  CHECK(Has(s.ReportAfter(20, r0 + 4), "no used block"));
  CHECK(Has(s.ReportAfter(28 + 4, s.FirstUnused() + 1), "first never-used byte"));
  CHECK(Has(s.ReportAfter(28 + 4, s.FirstUnused() + 128), "in no record and not free"));
  CHECK(Has(s.ReportAfter(28 + 8, s.FreeCount() + 1), "pool:"));
  CHECK(Has(s.ReportAfter(28, 0), "free ring is empty but counts"));
  CHECK(Has(s.ReportAfter(28 + s.FreeHead(), s.FreeHead()), "pool:"));  // ring link cut short
  CHECK(Has(s.ReportAfter(r1 + 12, r0), "whose previous is"));
  CHECK(Has(s.ReportAfter(r1 + 4, ReadWord32(s.store.Data(), r1 + 4) + 200), "record"));
  CHECK(Has(s.ReportAfter(r1 + 16 + 20, 61), "well-formed"));  // a section offset
  CHECK(Has(s.ReportAfter(s.multi, r0), "belongs to a chain already"));
  CHECK(Has(s.ReportAfter(s.multi, s.FreeHead() + 28), "is in the free ring"));
  CHECK(Has(s.ReportAfter(s.multi, 0), "no used block"));
  CHECK(s.CheckReport() == "");

  // The offsets of the contact index: exactly the records, each once.
  Array<uint32_t> named;
  for (uint32_t r : s.records) named.Add(r);
  Str report;
  CHECK(s.store.Check(report, named));
  CHECK(report.IsEmpty());
  named.Add(s.records[2]);
  CHECK_FALSE(s.store.Check(report, named));
  CHECK(report.Find(L"more than once") >= 0);
  named.RemoveAt(named.GetSize() - 1);
  named.RemoveAt(0);
  report.Empty();
  CHECK_FALSE(s.store.Check(report, named));
  CHECK(report.Find(L"isn't named by any contact") >= 0);
  named.Add(r0);
  named.Add(BlockOffset(200));
  report.Empty();
  CHECK_FALSE(s.store.Check(report, named));
  CHECK(report.Find(L"which is no record") >= 0);
}

TEST_CASE("the block pool: takes the ring's head first, gives back before the head, never past its size") {
  std::vector<uint8_t> memory(12 + 3 * 128 + 100, 0xEE);
  BlockPool pool(memory.data(), uint32_t(memory.size()));
  pool.Reset();
  CHECK(pool.Capacity() == 3u * 128u);
  BYTE* a = pool.TakeBlock();
  BYTE* b = pool.TakeBlock();
  BYTE* c = pool.TakeBlock();
  CHECK(pool.OffsetOf(a) == 12u);
  CHECK(pool.OffsetOf(b) == 140u);
  CHECK(pool.OffsetOf(c) == 268u);
  CHECK(pool.TakeBlock() == nullptr);  // 100 bytes left: no whole block
  CHECK(pool.FirstUnused() == 396u);
  pool.GiveBlock(a);
  pool.GiveBlock(b);
  CHECK(pool.FreeCount() == 2u);
  CHECK(pool.FreeHead() == 12u);
  CHECK(ReadWord32(memory.data(), 12) == 140u);  // a -> b
  CHECK(ReadWord32(memory.data(), 16) == 140u);  // a's previous: b, the ring's end
  CHECK(ReadWord32(memory.data(), 140) == 12u);
  CHECK(ReadWord32(memory.data(), 144) == 12u);
  pool.GiveBlock(c);  // the last block used: the region shrinks, and only by this block
  CHECK(pool.FirstUnused() == 268u);
  CHECK(pool.FreeCount() == 2u);
  Array<BYTE> marks;
  Str report;
  CHECK(pool.Verify(marks, &report));
  CHECK(report.IsEmpty());
  CHECK(marks.GetSize() == 2);
  CHECK(pool.TakeBlock() == a);  // the head
  CHECK(pool.FreeHead() == 140u);
  CHECK(pool.TakeBlock() == b);
  CHECK(pool.FreeHead() == 0u);
  CHECK(pool.FreeCount() == 0u);
  CHECK(pool.TakeBlock() == c);  // from the region again
  // Nothing outside the pool was touched.
  for (size_t i = 12 + 3 * 128; i < memory.size(); ++i) CHECK(memory[i] == 0xEE);
}
