// How the start judges the index against the database: files of another database, or of two
// different ones, are never taken as in step, and every index that is dropped is made anew from the
// database alone, with one line in the log that names the file and says why.
#include <doctest/doctest.h>

#include <algorithm>

#include "ManagerTestSupport.h"
#include "ProgramLog.h"
#include "TestPaths.h"
#include "storage/index/IndexStore.h"
#include "storage/props/PropsStore.h"

using namespace managertest;

namespace {

struct IndexFiles {
  std::vector<uint8_t> index;
  std::vector<uint8_t> props;
};

std::wstring IndexPath() { return static_cast<const wchar_t*>(IndexStore::DefaultPath()); }
std::wstring PropsPath() { return static_cast<const wchar_t*>(PropsStore::DefaultPath()); }

// Opens (which indexes the database), saves both files and closes.
void IndexAndSave() {
  OpenedManager m;
  REQUIRE(m.opened);
  REQUIRE(m.manager.Index().Save(FALSE));
  m.manager.EventsWindow().StopSaveTimer();
}

// The index files of another device: a database of `count` generated contacts and one named
// "Elsewhere", indexed and saved.
IndexFiles OtherDevice(int count) {
  FreshDevice();
  REQUIRE(WriteGenerated(count, 31).size() == static_cast<size_t>(count));
  REQUIRE(WriteNamed(L"Elsewhere", L"Only") != 0);
  IndexAndSave();
  IndexFiles files{testpaths::ReadFileBytes(IndexPath()), testpaths::ReadFileBytes(PropsPath())};
  REQUIRE_FALSE(files.index.empty());
  REQUIRE_FALSE(files.props.empty());
  return files;
}

// This device: 2,000 generated contacts and one named "Homeside", indexed and saved.
void ThisDevice() {
  ResetDatabases();
  ResetIndexFiles();
  REQUIRE(WriteGenerated(2000, 32).size() == 2000);
  REQUIRE(WriteNamed(L"Homeside", L"Here") != 0);
  IndexAndSave();
}

int Found(ContactManager& manager, const wchar_t* text) {
  Array<CEOID> ids;
  if (!manager.Search(Str(text), SortKindName, CategoryFilter(), ids, nullptr)) return -1;
  return ids.GetSize();
}

// The log lines of this program that say the index was dropped.
std::vector<std::string> DroppedLines(const std::string& log) {
  std::vector<std::string> found;
  for (const std::string& line : LogLines(log))
    if (line.find("the index is dropped and rebuilt") != std::string::npos) found.push_back(line);
  return found;
}

// What a search finds agrees with the database: every record once, the other device's name nowhere.
void AgreesWithDatabase(ContactManager& manager) {
  Array<CEOID> all;
  REQUIRE(manager.Search(Str(L""), SortKindName, CategoryFilter(), all, nullptr));
  std::vector<CEOID> listed(all.GetData(), all.GetData() + all.GetSize());
  std::sort(listed.begin(), listed.end());
  std::vector<CEOID> records = AllRecordIds();
  std::sort(records.begin(), records.end());
  CHECK(listed == records);
  CHECK(Found(manager, L"homeside") == 1);
  CHECK(Found(manager, L"elsewhere") == 0);
  CHECK(CheckIndex(manager) == "");
}

}  // namespace

TEST_CASE("pim_index2.dat of another database beside this one's index is dropped at the start and rebuilt") {
  const IndexFiles other = OtherDevice(1000);
  ThisDevice();
  REQUIRE(testpaths::WriteFileBytes(PropsPath(), other.props));
  FreshProgramLog();
  for (int start = 0; start < 2; ++start) {
    CAPTURE(start);
    OpenedManager m;
    REQUIRE(m.opened);
    const IndexOpenReport& report = m.manager.LastOpenReport();
    if (start == 0) {
      CHECK(report.state == IndexUnusable);
      CHECK(report.rebuilt);
      CHECK(U8(static_cast<const wchar_t*>(report.reason)).find("pim_index2.dat") != std::string::npos);
    } else {
      // Made anew and saved: the next start finds it in step.
      CHECK(report.state == IndexInStep);
    }
    CHECK(m.manager.Index().ContactCount() == 2001);
    AgreesWithDatabase(m.manager);
    // A rebuild on demand starts from nothing and isn't refused.
    REQUIRE(m.manager.Rebuild());
    AgreesWithDatabase(m.manager);
    REQUIRE(m.manager.Index().Save(FALSE));
    m.manager.EventsWindow().StopSaveTimer();
  }
  // One line for the one drop, naming the file and why.
  const std::vector<std::string> lines = DroppedLines(ProgramLogText());
  REQUIRE(lines.size() == 1);
  CHECK(lines[0].find("pim_index2.dat") != std::string::npos);
  CHECK(lines[0].find("don't belong together") != std::string::npos);
}

TEST_CASE("pim_index1.dat of another database beside this one's props store is never taken as in step") {
  const IndexFiles other = OtherDevice(1000);
  ThisDevice();
  REQUIRE(testpaths::WriteFileBytes(IndexPath(), other.index));
  FreshProgramLog();
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(m.manager.LastOpenReport().state == IndexUnusable);
  CHECK(m.manager.LastOpenReport().rebuilt);
  CHECK(m.manager.Index().ContactCount() == 2001);
  AgreesWithDatabase(m.manager);
  const std::vector<std::string> lines = DroppedLines(ProgramLogText());
  REQUIRE(lines.size() == 1);
  CHECK(lines[0].find("pim_index1.dat names 1001 contacts and pim_index2.dat holds 2001 records") !=
        std::string::npos);
}

TEST_CASE("both index files of another database are inspected and rebuilt, never taken as in step") {
  const IndexFiles other = OtherDevice(1000);
  ThisDevice();
  REQUIRE(testpaths::WriteFileBytes(IndexPath(), other.index));
  REQUIRE(testpaths::WriteFileBytes(PropsPath(), other.props));
  OpenedManager m;
  REQUIRE(m.opened);
  // The other database's stamp differs from this one's time.
  CHECK(m.manager.LastOpenReport().state == IndexStale);
  CHECK(m.manager.LastOpenReport().inspected);
  CHECK(m.manager.LastOpenReport().rebuilt);
  AgreesWithDatabase(m.manager);
}

TEST_CASE("an index file that can't be used is dropped with one line that names it and says why") {
  struct Case {
    std::string name;
    bool props;         // which file is spoilt
    uint32_t offset;    // where, from the file's start; all ones: the file is cut to half instead
    uint32_t value;     // the word written there (a byte at the in-change byte)
    uint32_t version;   // the version word written as well, when not 0
    const char* words;  // what the line says
  };
  const Case cases[] = {
      {"props mark", true, PropsStore::kMarkOffset, 7, 0,
       "pim_index2.dat has the format mark 7 and version 5"},
      {"props in change", true, PropsStore::kInChangeOffset, 1, 0,
       "pim_index2.dat was left in the middle of a change"},
      {"index mark and version", false, kIndexMarkSlot, 2, 4,
       "pim_index1.dat has the format mark 2 and version 4"},
      {"index arena", false, kIndexHeaderSize, 12, 0, "pim_index1.dat has an arena of 12 bytes"},
      {"props cut short", true, 0xFFFFFFFF, 0, 0, "pim_index2.dat wasn't written whole"},
  };
  for (const Case& c : cases) {
    CAPTURE(c.name);
    FreshDevice();
    REQUIRE(WriteGenerated(40).size() == 40);
    IndexAndSave();
    const std::wstring path = c.props ? PropsPath() : IndexPath();
    std::vector<uint8_t> bytes = testpaths::ReadFileBytes(path);
    REQUIRE(bytes.size() > 64);
    if (c.offset == 0xFFFFFFFF) {
      bytes.resize(bytes.size() / 2);
    } else {
      bytes[c.offset] = static_cast<uint8_t>(c.value);
      bytes[c.offset + 1] = static_cast<uint8_t>(c.value >> 8);
      if (c.offset != PropsStore::kInChangeOffset) {
        bytes[c.offset + 2] = static_cast<uint8_t>(c.value >> 16);
        bytes[c.offset + 3] = static_cast<uint8_t>(c.value >> 24);
      }
      if (c.version != 0) bytes[c.offset + 4] = static_cast<uint8_t>(c.version);
    }
    REQUIRE(testpaths::WriteFileBytes(path, bytes));
    FreshProgramLog();
    OpenedManager m;
    REQUIRE(m.opened);
    CHECK(m.manager.LastOpenReport().state == IndexUnusable);
    CHECK(m.manager.LastOpenReport().rebuilt);
    CHECK(m.manager.Index().ContactCount() == 40);
    const std::vector<std::string> lines = DroppedLines(ProgramLogText());
    REQUIRE(lines.size() == 1);
    CHECK_MESSAGE(lines[0].find(c.words) != std::string::npos, lines[0]);
    CHECK(CheckIndex(m.manager) == "");
  }
}

TEST_CASE(
    "pimtool check doesn't call the index sound while it misses contacts of the database or names others") {
  FreshDevice();
  const std::vector<CEOID> indexed = WriteGenerated(30);
  REQUIRE(indexed.size() == 30);
  IndexAndSave();
  auto check = [](std::string& out) {
    return testpaths::RunCaptured(testpaths::BinDir() + L"pimtool.exe", L"check", 60000, &out, nullptr);
  };
  std::string out;
  CHECK(check(out) == 0);
  CHECK(out.find("index sound: 30 contacts") != std::string::npos);
  // Written by another program while no process of the product ran: not in the index.
  REQUIRE(WriteGenerated(3, 7, 100).size() == 3);
  CHECK(check(out) == 1);
  CHECK(out.find("index sound") == std::string::npos);
  CHECK(out.find("the index holds 30 of the 33 contacts; 3 aren't indexed") != std::string::npos);
  // And two indexed ones gone from the database.
  REQUIRE(DeleteRecord(indexed[0]));
  REQUIRE(DeleteRecord(indexed[1]));
  CHECK(check(out) == 1);
  CHECK(out.find("the index names 2 contacts the database doesn't hold") != std::string::npos);
}

TEST_CASE("pimtool beside a pim_index2.dat of another database: open and rebuild both work, at every start") {
  const IndexFiles other = OtherDevice(1000);
  ThisDevice();
  auto tool = [](const wchar_t* verb, std::string& out) {
    return testpaths::RunCaptured(testpaths::BinDir() + L"pimtool.exe", verb, 120000, &out, nullptr);
  };
  std::string out;
  for (int start = 0; start < 2; ++start) {
    CAPTURE(start);
    REQUIRE(testpaths::WriteFileBytes(PropsPath(), other.props));
    CHECK(tool(L"open", out) == 0);
    CHECK(out.find("rebuilt") == 0);
    CHECK(out.find("2001 contacts") != std::string::npos);
    REQUIRE(testpaths::WriteFileBytes(PropsPath(), other.props));
    CHECK(tool(L"rebuild", out) == 0);
    CHECK(out.find("rebuilt: 2001 contacts") == 0);
    CHECK(tool(L"search --text homeside", out) == 0);
    CHECK(out.find("Homeside, Here") != std::string::npos);
    CHECK(tool(L"search --text elsewhere", out) == 0);
    CHECK(out.find("Elsewhere") == std::string::npos);
    CHECK(tool(L"check", out) == 0);
    CHECK(out.find("index sound: 2001 contacts") == 0);
  }
}

TEST_CASE(
    "a contact the index never took in, under a current stamp, is found by the inspection and not taken "
    "for a full index") {
  FreshDevice();
  REQUIRE(WriteGenerated(40).size() == 40);
  CEOID missed = 0;
  {
    OpenedManager m;
    REQUIRE(m.opened);
    // Another program's record, and then a write of this process that stamps the index, before the
    // other record's notification is taken in; the manager closes before it is.
    missed = WriteNamed(L"Unheard", L"Record");
    REQUIRE(missed != 0);
    Contact contact;
    contact.text[ContactField::LastName] = Str(L"Stamping");
    REQUIRE(m.manager.AddContact(contact));
    REQUIRE(m.manager.Index().Save(FALSE));
    m.manager.EventsWindow().StopSaveTimer();
    uint32_t record = 0;
    REQUIRE_FALSE(m.manager.Index().Find(missed, &record));
  }
  OpenedManager m;
  REQUIRE(m.opened);
  CHECK(m.manager.LastOpenReport().state == IndexStale);
  CHECK(m.manager.LastOpenReport().inspected);
  CHECK(m.manager.LastOpenReport().added == 1);
  CHECK_FALSE(m.manager.IsOverCapacity());
  uint32_t record = 0;
  CHECK(m.manager.Index().Find(missed, &record));
  CHECK(Found(m.manager, L"unheard") == 1);
}
