// The index in a second process (index_helper): a saved image opened there from the file answers as
// this process did, is found sound, and saved again is the same file byte for byte; a process that
// opens an index another process holds shares its memory instead of reading the file.
#include <doctest/doctest.h>

#include <cstring>

#include "IndexFixture.h"
#include "TestPaths.h"

using namespace indextest;

namespace {

const unsigned kHelperTimeoutMs = 120000;

std::wstring Helper() { return testpaths::BinDir() + L"index_helper.exe"; }

std::wstring Quoted(const std::wstring& text) { return L"\"" + text + L"\""; }

std::string Numbers(const std::vector<uint32_t>& ids) {
  std::string text;
  for (size_t k = 0; k < ids.size(); ++k) text += (k ? " " : "") + std::to_string(ids[k]);
  return text;
}

struct Queries {
  std::string text;      // "<tree> <key>" lines for the helper
  std::string expected;  // what the helper must answer, as this process answers
};

// Lookups of prefixes of the index's keys, answered here, in the helper's format.
Queries MakeQueries(IndexFixture& f, size_t most) {
  Queries q;
  q.expected = "check ok\n";
  RawIndex raw = ReadRaw(f.index.Store());
  for (int t = 0; t < 2; ++t) {
    std::set<std::wstring> prefixes;
    for (const auto& entry : raw.keys[t]) {
      for (size_t n = 1; n <= entry.first.size(); ++n) prefixes.insert(entry.first.substr(0, n));
      if (prefixes.size() > most) break;
    }
    prefixes.insert(L"nothing-like-it");
    for (const std::wstring& prefix : prefixes) {
      std::string line = std::to_string(t) + " " + U8(prefix);
      q.text += line + "\n";
      q.expected += line + ": " + Numbers(f.Prefix(t, prefix.c_str())) + "\n";
    }
  }
  for (int kind = 0; kind < 2; ++kind) {
    std::vector<uint32_t> ids = f.List(kind);
    q.expected += "list " + std::to_string(kind) + ": " + Numbers(ids) + "\n";
    for (size_t k = 0; k < ids.size() && kind == 0; ++k) {
      uint32_t record = 0;
      Contact contact;
      REQUIRE(f.index.Find(ids[k], &record));
      REQUIRE(f.index.Props().GetRecord(record, contact));
      q.expected += "record " + std::to_string(ids[k]) + " " + std::to_string(contact.checksum) + " phones " +
                    std::to_string(contact.Phone.GetSize()) + "\n";
    }
  }
  return q;
}

void Fill(IndexFixture& f) {
  RandomContacts random(404);
  for (uint32_t k = 0; k < 150; ++k) {
    std::wstring note;
    Contact c = random.Make(10 + k * 5, &note);
    f.Add(c, note.c_str());
  }
  for (int k = 0; k < 100; ++k) {
    std::wstring note;
    Contact c = Generated(77, k, 5000 + static_cast<uint32_t>(k), &note);
    f.Add(c, note.c_str());
  }
  // Some gone again, so that the arena has holes.
  for (uint32_t k = 0; k < 150; k += 7) f.Remove(10 + k * 5);
}

}  // namespace

TEST_CASE("a saved index opened in a new process answers alike and is saved again byte for byte") {
  IndexFixture f(L"process_image");
  Fill(f);
  REQUIRE(CheckReport(f.index).empty());
  Queries q = MakeQueries(f, 4000);
  const std::wstring queries = TempPath(L"process_queries.txt");
  const std::wstring out = TempPath(L"process_out.txt");
  REQUIRE(testpaths::WriteFileText(queries, q.text));

  REQUIRE(f.index.Save(FALSE));
  // This process lets go, so the mapping goes and the helper must read the files.
  f.index.CloseStores();
  const std::vector<uint8_t> indexImage = ReadFileBytes(f.indexPath);
  const std::vector<uint8_t> propsImage = ReadFileBytes(f.propsPath);
  REQUIRE(indexImage.size() > 102444);

  DeleteFileW(out.c_str());
  REQUIRE(testpaths::RunAndWait(Helper(),
                                L"lookup " + Quoted(f.indexPath) + L" " + Quoted(f.propsPath) + L" " +
                                    Quoted(queries) + L" " + Quoted(out),
                                kHelperTimeoutMs) == 0);
  const std::string answered = testpaths::ReadFileText(out);
  CHECK(answered.size() == q.expected.size());
  CHECK(answered == q.expected);

  REQUIRE(testpaths::RunAndWait(Helper(), L"resave " + Quoted(f.indexPath) + L" " + Quoted(f.propsPath),
                                kHelperTimeoutMs) == 0);
  CHECK(ReadFileBytes(f.indexPath) == indexImage);
  CHECK(ReadFileBytes(f.propsPath) == propsImage);

  // Opened here again: the data is the image but for its last word, which carries the file's size.
  REQUIRE(f.index.OpenStores());
  const uint32_t length = f.index.Store().Length();
  REQUIRE(indexImage.size() == length + 4);
  CHECK(std::memcmp(f.index.Store().Data(), indexImage.data(), length) == 0);
  uint32_t sizeWord;
  std::memcpy(&sizeWord, indexImage.data() + length - 4, 4);
  CHECK(sizeWord == length + 4);
  CHECK(CheckReport(f.index).empty());
  DeleteFileW(queries.c_str());
  DeleteFileW(out.c_str());
}

TEST_CASE("a second process that opens a held index shares its memory and doesn't read the file") {
  IndexFixture f(L"process_shared");
  Fill(f);
  REQUIRE(f.index.Save(FALSE));
  // A change after the save: only the memory has it.
  Contact late = Named(90001, L"Latecomer", L"Only");
  f.Add(late, L"inmemoryonly");
  const std::wstring queries = TempPath(L"shared_queries.txt");
  const std::wstring out = TempPath(L"shared_out.txt");
  REQUIRE(testpaths::WriteFileText(queries, "0 inmemoryonly\n0 latecomer\n"));
  DeleteFileW(out.c_str());
  REQUIRE(testpaths::RunAndWait(Helper(),
                                L"lookup " + Quoted(f.indexPath) + L" " + Quoted(f.propsPath) + L" " +
                                    Quoted(queries) + L" " + Quoted(out),
                                kHelperTimeoutMs) == 0);
  const std::string answered = testpaths::ReadFileText(out);
  CHECK(answered.find("check ok\n") == 0);
  CHECK(answered.find("0 inmemoryonly: 90001\n") != std::string::npos);
  CHECK(answered.find("0 latecomer: 90001\n") != std::string::npos);
  CHECK(answered.find("record 90001 ") != std::string::npos);
  DeleteFileW(queries.c_str());
  DeleteFileW(out.c_str());
}
