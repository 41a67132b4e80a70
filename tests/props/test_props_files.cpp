// Damaged files and a full mapping: truncated, random and bit-flipped store data is refused and never
// read past its end, and a store filled until its mapping is full refuses cleanly with its data intact.
#include <doctest/doctest.h>

#include <cstring>
#include <map>
#include <set>

#include "PropsFixture.h"

namespace {

// A saved store of a dozen records with a few deleted, so that the pool has a free ring, and the
// records that remain.
struct SavedStore {
  std::wstring path;
  std::vector<uint8_t> image;  // the data, as saved
  std::vector<uint8_t> file;   // the file image
  std::map<uint32_t, ModelRecord> records;

  explicit SavedStore(const std::wstring& name, int count = 12) : path(PropsTempFile(name)) {
    PropsFixture f(name);
    REQUIRE(f.store.Create(0));
    std::mt19937 random(31337);
    std::vector<uint32_t> order;
    for (int i = 0; i < count; ++i) {
      ModelRecord record = RandomRecord(random, 0);
      uint32_t offset = f.Add(record);
      REQUIRE(offset != 0);
      records[offset] = record;
      order.push_back(offset);
    }
    for (size_t i : {size_t(7), size_t(2), size_t(4)}) {
      if (i >= order.size()) continue;
      REQUIRE(f.store.DeleteRecord(order[i]));
      records.erase(order[i]);
    }
    REQUIRE(f.CheckReport() == "");
    REQUIRE(f.FreeCount() >= 2);
    REQUIRE(f.store.Save(FALSE));
    image = f.Image();
    file = ReadFileBytes(f.path);
    REQUIRE(file.size() == image.size() + 4);
    f.store.Close();
    // The fixture removes its file; this one keeps the bytes.
  }
};

// Holds a mapping of `path` with the given data, which a store opening the same path attaches to
// without reading any file: whatever lies behind the length word stays in the view, where a reader that
// ignored the length would find it.
struct HeldMapping {
  MappedFile file;
  HeldMapping(const std::wstring& path, const std::vector<uint8_t>& data) {
    DeleteFileW(path.c_str());
    REQUIRE(file.Create(path.c_str(), uint32_t(data.size())));
    std::memcpy(file.Data(), data.data(), data.size());
  }
  void SetLength(uint32_t length) { WriteWord32(file.Data() - 4, 0, length); }
};

bool RecordsRead(PropsStore& store, const std::map<uint32_t, ModelRecord>& records) {
  for (const auto& entry : records) {
    ContactExtended block;
    uint32_t checksum = 0;
    if (!store.GetRecord(entry.first, block, &checksum)) return false;
    if (FromBlock(block, checksum) != entry.second) return false;
  }
  return true;
}

}  // namespace

TEST_CASE("truncated files are refused: cut anywhere, with and without a repaired size word") {
  SavedStore saved(L"trunc_source.dat");
  std::wstring path = PropsTempFile(L"trunc.dat");
  PropsStore store;
  store.SetPath(path.c_str());
  const uint32_t fileSize = uint32_t(saved.file.size());
  int refused = 0;
  // Every cut near both ends, and a spread of cuts between.
  for (uint32_t cut = 0; cut < fileSize; cut += (cut < 64 || cut + 64 > fileSize) ? 1 : 23) {
    CAPTURE(cut);
    // A cut whose word at size - 8 happens to say its size looks whole; the next loop covers those.
    if (cut >= 8 && ReadWord32(saved.file.data(), cut - 8) == cut) continue;
    std::vector<uint8_t> bytes(saved.file.begin(), saved.file.begin() + cut);
    REQUIRE(WriteFileBytes(path, bytes));
    CHECK_FALSE(store.Open(TRUE));
    CHECK_FALSE(store.IsOpen());
    ++refused;
  }
  // The cut file made to look like a whole image: the word at size - 8 says the size. What stays is a
  // store only when every used block lies before the new end.
  const uint32_t firstUnused = ReadWord32(saved.image.data(), 32);
  const uint32_t usedEnd = 28 + firstUnused;  // data bytes the pool's used region needs
  int accepted = 0;
  // Every size round the boundary between the two outcomes, and a spread of sizes elsewhere.
  for (uint32_t size = 8; size < fileSize; size += (size + 40 > usedEnd && size < usedEnd + 40) ? 4 : 44) {
    CAPTURE(size);
    std::vector<uint8_t> bytes(saved.file.begin(), saved.file.begin() + size);
    WriteWord32(bytes.data(), size - 8, size);
    REQUIRE(WriteFileBytes(path, bytes));
    uint32_t length = size - 4;
    bool fits = length >= usedEnd + 4;
    BOOL opened = store.Open(TRUE);
    CHECK(bool(opened) == fits);
    if (opened) {
      ++accepted;
      CHECK(store.Length() == length);
      CHECK(RecordsRead(store, saved.records));
      store.Close();
    }
  }
  CHECK(accepted > 0);
  MESSAGE(refused << " raw cuts refused; " << accepted << " repaired cuts kept every used block and opened");
  DeleteFileW(path.c_str());
}

TEST_CASE("a mapping whose length ends early is read only up to its length, whatever lies behind") {
  SavedStore saved(L"short_source.dat");
  std::wstring path = PropsTempFile(L"short.dat");
  const uint32_t firstUnused = ReadWord32(saved.image.data(), 32);
  const uint32_t usedEnd = 28 + firstUnused;
  StoreLayout layout = ReadLayout(saved.image.data(), uint32_t(saved.image.size()));
  REQUIRE(layout.ok());
  HeldMapping held(path, saved.image);
  PropsStore store;
  store.SetPath(path.c_str());
  for (uint32_t length = 0; length <= saved.image.size(); ++length) {
    CAPTURE(length);
    held.SetLength(length);
    BOOL opened = store.Open(TRUE);
    CHECK(bool(opened) == (length >= usedEnd + 4));
    if (opened) {
      CHECK(RecordsRead(store, saved.records));
      store.Close();
    }
    // Attached without the check, a short store still reads no record past its end.
    held.SetLength(length);
    REQUIRE(store.Open(FALSE));
    CHECK(store.Length() == length);
    for (size_t r = 0; r < layout.records.size(); ++r) {
      // A record that reaches into the data's last word or past the end is never read.
      uint32_t end = 0;
      for (uint32_t block : layout.chains[r]) end = std::max(end, block + 128);
      ContactExtended block;
      if (end + 4 > length) CHECK_FALSE(store.GetRecord(layout.records[r], block, nullptr));
      uint32_t checksum = 0;
      if (end + 4 > length) CHECK_FALSE(store.GetChecksum(layout.records[r], checksum));
    }
    CHECK(store.RecordCount() == (length >= 28 ? layout.records.size() : 0u));
    store.Close();
  }
  DeleteFileW(path.c_str());
}

TEST_CASE("random files are refused, also with a sound header and size word") {
  std::wstring path = PropsTempFile(L"random.dat");
  PropsStore store;
  store.SetPath(path.c_str());
  std::mt19937 random(8);
  for (int i = 0; i < 300; ++i) {
    CAPTURE(i);
    uint32_t size = i < 40 ? uint32_t(i) : 8 + random() % 6000;
    std::vector<uint8_t> bytes(size);
    for (uint8_t& b : bytes) b = uint8_t(random());
    if (size >= 8 && i % 3 != 0) WriteWord32(bytes.data(), size - 8, size);  // passes the image check
    if (size >= 48 && i % 2 == 0) {
      WriteWord32(bytes.data(), 0, 1);
      WriteWord32(bytes.data(), 4, 5);
      bytes[16] = 0;
    }
    if (size >= 48 && i % 4 == 0) {
      // A pool header that is sound in itself, over random blocks.
      uint32_t blocks = (size - 4 - 32 - 12) / 128;
      WriteWord32(bytes.data(), 28, 0);
      WriteWord32(bytes.data(), 32, 12 + 128 * (blocks > 0 ? 1 + random() % blocks : 1));
      WriteWord32(bytes.data(), 36, 0);
      WriteWord32(bytes.data(), 24, 1 + random() % 3);
      WriteWord32(bytes.data(), 20, 40);
    }
    REQUIRE(WriteFileBytes(path, bytes));
    CHECK_FALSE(store.Open(TRUE));
    CHECK_FALSE(store.IsOpen());
    // The check alone, on the same bytes as data, finds them broken as well.
    if (size >= 4) CHECK_FALSE(PropsStore::CheckData(bytes.data(), size - 4, nullptr, nullptr));
  }
  DeleteFileW(path.c_str());
}

namespace {

enum FlipRule { MustRefuse, MustKeep, Either };

// What a flipped bit in each byte of the saved data must do: break a link, a length, a count or a mark
// and be refused; or touch only bytes that carry no structure (the time, pads, checksums, formats, the
// tails of blocks and the never-used region) and change nothing that is read.
std::vector<FlipRule> Rules(const SavedStore& saved, const StoreLayout& layout) {
  const uint32_t length = uint32_t(saved.image.size());
  std::vector<FlipRule> rules(length, MustKeep);
  auto set = [&](uint32_t from, uint32_t count, FlipRule rule) {
    for (uint32_t i = from; i < from + count && i < length; ++i) rules[i] = rule;
  };
  set(0, 8, MustRefuse);   // mark, version
  set(16, 1, MustRefuse);  // in-change byte
  set(20, 4, Either);      // first record: another record of the ring is as good a start
  set(24, 4, MustRefuse);  // count
  set(28, 4, Either);      // free ring head: another member is as good a head
  set(32, 8, MustRefuse);  // first never-used byte, free count
  for (uint32_t block : layout.freeRing) set(28 + block, 8, MustRefuse);  // ring links
  for (size_t r = 0; r < layout.records.size(); ++r) {
    const std::vector<uint32_t>& chain = layout.chains[r];
    uint32_t dataLength = ReadWord32(saved.image.data(), chain[0] + 4);
    set(chain[0], 16, MustRefuse);  // next block, length, previous and next record
    // The data: its structure words are refused, its texts may change; what stands behind the data
    // in the last block is read by nothing.
    for (size_t b = 1; b < chain.size(); ++b) set(chain[b], 4, MustRefuse);
    uint32_t done = 0;
    for (size_t b = 0; b < chain.size(); ++b) {
      uint32_t at = chain[b] + (b == 0 ? 16 : 4);
      uint32_t room = b == 0 ? 112 : 124;
      uint32_t part = std::min(room, dataLength - done);
      set(at, part, Either);
      done += part;
    }
    // Total length and section offsets of the data, which lie in the first block.
    set(chain[0] + 16, 4, MustRefuse);
    // The checksum and the three formats are plain values.
    set(chain[0] + 16 + 4, 16, MustKeep);
  }
  // The data's last word holds the file's size after a save: a flip there only matters to the file.
  set(length - 4, 4, MustKeep);
  return rules;
}

}  // namespace

TEST_CASE("every single bit flipped: structure is refused, other bytes change nothing that is read") {
  SavedStore saved(L"flip_source.dat");
  const uint32_t length = uint32_t(saved.image.size());
  StoreLayout layout = ReadLayout(saved.image.data(), length);
  REQUIRE(layout.ok());
  std::vector<FlipRule> rules = Rules(saved, layout);
  std::vector<uint8_t> data = saved.image;
  int refused = 0, kept = 0, changed = 0;
  for (uint32_t at = 0; at < length; ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      CAPTURE(at);
      CAPTURE(bit);
      data[at] ^= uint8_t(1 << bit);
      Str report;
      BOOL sound = PropsStore::CheckData(data.data(), length, nullptr, &report);
      if (rules[at] == MustRefuse) CHECK_FALSE(sound);
      if (rules[at] == MustKeep) CHECK(sound);
      if (!sound) {
        ++refused;
      } else {
        // Accepted: every record is there and reads as its bytes say; the header's first record and
        // the ring head may now name another member.
        StoreLayout after = ReadLayout(data.data(), length);
        REQUIRE_MESSAGE(after.ok(), after.error);
        CHECK(std::set<uint32_t>(after.records.begin(), after.records.end()) ==
              std::set<uint32_t>(layout.records.begin(), layout.records.end()));
        bool same = true;
        for (uint32_t r : layout.records) {
          std::vector<uint8_t> bytes = ChainBytes(data.data(), length, r);
          same = same && bytes == ChainBytes(saved.image.data(), length, r);
        }
        same ? ++kept : ++changed;
        if (rules[at] == MustKeep) {
          // Apart from the plain values of a record, such a byte changes no record's bytes.
          bool inValues = false;
          for (const auto& chain : layout.chains)
            inValues = inValues || (at >= chain[0] + 20 && at < chain[0] + 36);
          if (!inValues) CHECK(same);
        }
      }
      data[at] ^= uint8_t(1 << bit);
    }
  }
  CHECK(PropsStore::CheckData(data.data(), length, nullptr, nullptr));
  MESSAGE(length * 8 << " flips: " << refused << " refused, " << kept
                     << " accepted with every record unchanged, " << changed
                     << " accepted with a text or value changed");
  CHECK(refused > 0);
}

TEST_CASE("bit-flipped files are refused on open through the file as well") {
  SavedStore saved(L"flipfile_source.dat", 5);
  const uint32_t length = uint32_t(saved.image.size());
  StoreLayout layout = ReadLayout(saved.image.data(), length);
  REQUIRE(layout.ok());
  std::vector<FlipRule> rules = Rules(saved, layout);
  std::wstring path = PropsTempFile(L"flipfile.dat");
  PropsStore store;
  store.SetPath(path.c_str());
  int tried = 0;
  for (uint32_t at = 0; at < length; at += 3) {
    if (rules[at] != MustRefuse) continue;
    CAPTURE(at);
    std::vector<uint8_t> bytes = saved.file;
    bytes[at] ^= uint8_t(1 << (at % 8));
    REQUIRE(WriteFileBytes(path, bytes));
    CHECK_FALSE(store.Open(TRUE));
    ++tried;
  }
  // The size word of the file itself.
  std::vector<uint8_t> bytes = saved.file;
  bytes[bytes.size() - 8] ^= 4;
  REQUIRE(WriteFileBytes(path, bytes));
  CHECK_FALSE(store.Open(TRUE));
  // And the unchanged file opens.
  REQUIRE(WriteFileBytes(path, saved.file));
  CHECK(store.Open(TRUE));
  CHECK(RecordsRead(store, saved.records));
  store.Close();
  CHECK(tried > 50);
  DeleteFileW(path.c_str());
}

TEST_CASE("a store filled until its mapping is full is refused cleanly, with the data before intact") {
  FreshProgramLog();
  PropsFixture f(L"full.dat");
  REQUIRE(f.store.Create(0));
  std::mt19937 random(1234);
  std::map<uint32_t, ModelRecord> model;
  uint32_t refusedAt = 0;
  for (int i = 0; i < 20000; ++i) {
    ModelRecord record = RandomRecord(random, 2);
    std::vector<uint8_t> before = f.Image();
    uint32_t length = f.store.Length();
    uint32_t capacity = f.store.Pool().Capacity();
    SetLastError(0);
    uint32_t offset = f.Add(record);
    if (offset == 0) {
      CHECK(GetLastError() == kMappingFullError);
      CHECK(f.store.Length() == length);
      CHECK(f.Image() == before);
      // It really didn't fit: the room it needs beyond what the pool had passes the mapping's end.
      uint32_t need = PropsStore::RoomFor(uint32_t(Serialize(record).size()), TRUE);
      CHECK(need > capacity);
      CHECK(uint64_t(length) + (need - capacity) > MappedFile::kMaxLength);
      refusedAt = uint32_t(i);
      break;
    }
    model[offset] = record;
  }
  REQUIRE(refusedAt > 0);
  CHECK(f.store.Length() <= MappedFile::kMaxLength);
  CHECK(ProgramLogText().find("the mapping is full") != std::string::npos);
  MESSAGE(model.size() << " records in " << f.store.Length() << " bytes before the refusal");

  // Everything stored reads back, and the check finds nothing.
  Array<uint32_t> named;
  for (const auto& entry : model) named.Add(entry.first);
  Str report;
  CHECK(f.store.Check(report, named));
  for (const auto& entry : model) {
    bool ok = false;
    REQUIRE(f.Read(entry.first, ok) == entry.second);
  }

  // An update that would need more room is refused and leaves its record as it was.
  uint32_t victim = model.begin()->first;
  ModelRecord huge = model.begin()->second;
  huge.image = std::wstring(200000, L'\x0449');
  std::vector<uint8_t> before = f.Image();
  CHECK_FALSE(f.Update(victim, huge));
  CHECK(GetLastError() == kMappingFullError);
  CHECK(f.Image() == before);
  bool ok = false;
  CHECK(f.Read(victim, ok) == model.begin()->second);

  // Room made by deleting is used again; a shrinking update works at any time.
  ModelRecord smaller = model.begin()->second;
  smaller.image.clear();
  for (auto& list : smaller.lists) list.clear();
  REQUIRE(f.Update(victim, smaller));
  model[victim] = smaller;
  auto second = std::next(model.begin());
  REQUIRE(f.store.DeleteRecord(second->first));
  model.erase(second);
  uint32_t again = f.Add(RecordOfSize(200));
  REQUIRE(again != 0);
  model[again] = RecordOfSize(200);

  // The full store saves and opens again, byte for byte.
  named.RemoveAll();
  for (const auto& entry : model) named.Add(entry.first);
  report.Empty();
  CHECK(f.store.Check(report, named));
  REQUIRE(f.store.Save(FALSE));
  std::vector<uint8_t> image = f.Image();
  f.store.Close();
  REQUIRE(f.store.Open(TRUE));
  CHECK(f.Image() == image);
  for (const auto& entry : model) {
    REQUIRE(f.Read(entry.first, ok) == entry.second);
    REQUIRE(ok);
  }
}
