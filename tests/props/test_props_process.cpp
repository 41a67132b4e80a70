// The props store between processes: a file saved here opens in a new process byte for byte, with every
// record as the model holds it; a process that attaches to a held store shares its memory, and what it
// adds is seen here.
#include <doctest/doctest.h>

#include <cstring>
#include <map>

#include "PropsFixture.h"
#include "TestPaths.h"

namespace {

std::wstring Helper() { return testpaths::BinDir() + L"props_helper.exe"; }
std::wstring Quoted(const std::wstring& text) { return L"\"" + text + L"\""; }
int RunHelper(const std::wstring& arguments) { return testpaths::RunAndWait(Helper(), arguments, 60000); }

// What the helper's read wrote: the data and the records.
struct ReadBack {
  std::vector<uint8_t> data;
  std::map<uint32_t, std::vector<uint8_t>> records;
  bool ok = false;
};

ReadBack ParseReadBack(const std::vector<uint8_t>& out) {
  ReadBack back;
  if (out.size() < 4) return back;
  uint32_t length = ReadWord32(out.data(), 0);
  if (out.size() < 4 + size_t(length)) return back;
  back.data.assign(out.begin() + 4, out.begin() + 4 + length);
  size_t at = 4 + size_t(length);
  while (at < out.size()) {
    if (out.size() - at < 8) return back;
    uint32_t offset = ReadWord32(out.data(), at);
    uint32_t size = ReadWord32(out.data(), at + 4);
    at += 8;
    if (out.size() - at < size) return back;
    back.records[offset].assign(out.begin() + long(at), out.begin() + long(at + size));
    at += size;
  }
  back.ok = true;
  return back;
}

// A store of some hundred records after adds, updates and deletes.
std::map<uint32_t, ModelRecord> Fill(PropsFixture& f, uint32_t seed) {
  std::mt19937 random(seed);
  std::map<uint32_t, ModelRecord> model;
  for (int step = 0; step < 600; ++step) {
    uint32_t roll = random() % 10;
    if (model.size() < 20 || roll < 5) {
      ModelRecord record = RandomRecord(random, 1);
      uint32_t offset = f.Add(record);
      REQUIRE(offset != 0);
      model[offset] = record;
    } else {
      auto it = model.begin();
      std::advance(it, random() % model.size());
      if (roll < 8) {
        ModelRecord record = RandomRecord(random, 1);
        REQUIRE(f.Update(it->first, record));
        it->second = record;
      } else {
        REQUIRE(f.store.DeleteRecord(it->first));
        model.erase(it);
      }
    }
  }
  return model;
}

void CheckReadBack(const std::wstring& out, const std::vector<uint8_t>& image,
                   const std::map<uint32_t, ModelRecord>& model) {
  ReadBack back = ParseReadBack(ReadFileBytes(out));
  REQUIRE(back.ok);
  CHECK(back.data.size() == image.size());
  CHECK(back.data == image);
  CHECK(back.records.size() == model.size());
  for (const auto& entry : model) {
    CAPTURE(entry.first);
    auto found = back.records.find(entry.first);
    REQUIRE(found != back.records.end());
    CHECK(found->second == Serialize(entry.second));
  }
}

}  // namespace

TEST_CASE("a store saved in the background opens in a new process byte for byte, every record equal") {
  PropsFixture f(L"proc_image.dat");
  std::wstring out = PropsTempFile(L"proc_image.out");
  DeleteFileW(out.c_str());
  REQUIRE(f.store.Create(0));
  std::map<uint32_t, ModelRecord> model = Fill(f, 606);
  FILETIME time = {0x12345678, 0x01D70000};
  f.store.SetDbState(time);
  REQUIRE(f.store.Save(TRUE));
  f.store.Close();  // waits for the write-back
  // The image as it was written: the data with the file's size in its last word.
  std::vector<uint8_t> file = ReadFileBytes(f.path);
  REQUIRE(file.size() >= 8);
  std::vector<uint8_t> image(file.begin(), file.end() - 4);
  CHECK(ReadWord32(image.data(), image.size() - 4) == file.size());

  // Nothing holds the mapping now: the helper reads the file.
  REQUIRE(RunHelper(L"read " + Quoted(f.path) + L" " + Quoted(out)) == 0);
  CheckReadBack(out, image, model);
  CHECK(ReadWord32(image.data(), 8) == 0x12345678u);

  // And this process opens it again the same way.
  REQUIRE(f.store.Open(TRUE));
  CHECK(f.Image() == image);
  f.store.Close();
  DeleteFileW(out.c_str());
}

TEST_CASE("a synchronous save does the same, and a refused file is refused in the new process too") {
  PropsFixture f(L"proc_sync.dat");
  std::wstring out = PropsTempFile(L"proc_sync.out");
  REQUIRE(f.store.Create(50000));
  std::map<uint32_t, ModelRecord> model = Fill(f, 707);
  REQUIRE(f.store.Save(FALSE));
  std::vector<uint8_t> image = f.Image();
  f.store.Close();
  REQUIRE(RunHelper(L"read " + Quoted(f.path) + L" " + Quoted(out)) == 0);
  CheckReadBack(out, image, model);

  // The same file with its in-change byte set.
  REQUIRE(f.store.Open(TRUE));
  f.store.SetInChange(1);
  REQUIRE(f.store.Save(FALSE));
  f.store.Close();
  DeleteFileW(out.c_str());
  CHECK(RunHelper(L"read " + Quoted(f.path) + L" " + Quoted(out)) == 2);
  // A record link cut: refused there by the check on open.
  std::vector<uint8_t> bytes = ReadFileBytes(f.path);
  bytes[16] = 0;
  uint32_t first = ReadWord32(bytes.data(), 20);
  WriteWord32(bytes.data(), first + 12, 0);
  REQUIRE(WriteFileBytes(f.path, bytes));
  CHECK(RunHelper(L"read " + Quoted(f.path) + L" " + Quoted(out)) == 2);
  DeleteFileW(out.c_str());
}

TEST_CASE("a process that attaches to a held store shares its memory: what it adds is seen here") {
  PropsFixture f(L"proc_shared.dat");
  std::wstring out = PropsTempFile(L"proc_shared.out");
  DeleteFileW(out.c_str());
  REQUIRE(f.store.Create(0));
  std::map<uint32_t, ModelRecord> model = Fill(f, 808);
  // No file exists: the helper can only attach to this process's mapping.
  REQUIRE(GetFileAttributesW(f.path.c_str()) == INVALID_FILE_ATTRIBUTES);
  REQUIRE(RunHelper(L"add " + Quoted(f.path) + L" 4711 150 " + Quoted(out)) == 0);

  std::vector<uint8_t> offsets = ReadFileBytes(out);
  REQUIRE(offsets.size() == 150 * 4);
  std::mt19937 random(4711);
  for (size_t i = 0; i < 150; ++i) {
    uint32_t offset = ReadWord32(offsets.data(), i * 4);
    REQUIRE(model.count(offset) == 0);
    model[offset] = RandomRecord(random, 1);
  }
  // The helper grew the data; this object attaches again to learn the new length, while a second one
  // keeps the mapping alive.
  PropsStore keeper;
  keeper.SetPath(f.path.c_str());
  REQUIRE(keeper.Open(TRUE));
  CHECK(keeper.RecordCount() == model.size());
  REQUIRE(f.store.Open(FALSE));
  CHECK(f.store.Length() == keeper.Length());
  Array<uint32_t> named;
  for (const auto& entry : model) {
    named.Add(entry.first);
    bool ok = false;
    CHECK(f.Read(entry.first, ok) == entry.second);
    CHECK(ok);
  }
  Str report;
  CHECK(f.store.Check(report, named));
  keeper.Close();
  DeleteFileW(out.c_str());
}
