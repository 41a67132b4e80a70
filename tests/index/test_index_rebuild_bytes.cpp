// The files of a full rebuild, byte for byte: the bulk builder fed with the address book of tests/data,
// generated contacts and random ones must write exactly the index and props data that it wrote when
// these digests were taken. Any change of the feed, the trees, their layout, the sorted lists or the
// records shows here, however the work inside is done.
//
// The digests hold for the test devices' locale (the short dates of the feed and the collation of the
// sorted lists come from it).
#include <doctest/doctest.h>

#include <fstream>
#include <iterator>
#include <sstream>

#include "DeviceContacts.h"
#include "Generator.h"
#include "IndexFixture.h"
#include "VCard.h"
#include "DeviceDatabases.h"
#include "ToolCategories.h"
#include "manager/core/ContactManager.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/db/StepScope.h"
#include "storage/index/BulkBuilder.h"

using namespace indextest;

namespace {

struct Source {
  Contact contact;
  std::wstring note;
};

// FNV-1a over the bytes, 64 bits.
uint64_t Digest(const uint8_t* data, uint32_t length) {
  uint64_t hash = 0xcbf29ce484222325ULL;
  for (uint32_t k = 0; k < length; ++k) {
    hash ^= data[k];
    hash *= 0x100000001b3ULL;
  }
  return hash;
}

std::string HexOf(uint64_t value) {
  char text[20];
  snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
  return text;
}

Source FromTool(const ToolContact& tool, uint32_t oid) {
  Source s;
  ToContactFields(tool, s.contact);
  s.contact.oid = oid;
  s.contact.checksum = s.contact.ComputeChecksum();
  s.note = tool.note;
  return s;
}

std::vector<ToolContact> AddressBookCards() {
  std::ifstream file(PAGEMARK_ADDRESS_BOOK, std::ios::binary);
  REQUIRE(file.good());
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const VCardResult cards = ParseVCards(bytes);
  REQUIRE(cards.contacts.size() >= 100);
  return cards.contacts;
}

std::vector<Source> AddressBook(uint32_t firstOid) {
  const std::vector<ToolContact> cards = AddressBookCards();
  std::vector<Source> sources;
  // Oids from the top down, so that they don't arrive in ascending order.
  uint32_t oid = firstOid + static_cast<uint32_t>(cards.size()) * 5;
  for (const ToolContact& tool : cards) {
    sources.push_back(FromTool(tool, oid));
    oid -= 5;
  }
  return sources;
}

std::vector<Source> GeneratedSources(int count, uint32_t firstOid) {
  std::vector<Source> sources;
  for (int k = 0; k < count; ++k) sources.push_back(FromTool(GenerateContact(11, k), firstOid + 3 * k));
  return sources;
}

std::vector<Source> RandomSources(int count, uint32_t firstOid) {
  RandomContacts random(23);
  std::vector<Source> sources;
  for (int k = 0; k < count; ++k) {
    Source s;
    s.contact = random.Make(firstOid + (static_cast<uint32_t>(k) * 7919u) % 20011u, &s.note);
    sources.push_back(s);
  }
  return sources;
}

// Rebuilds from `sources` and gives the digests of the index data and the props data.
std::pair<std::string, std::string> RebuildDigests(const std::vector<Source>& sources) {
  IndexFixture f(L"rebuild_bytes");
  BulkBuilder builder;
  for (const Source& s : sources) {
    f.keys.Put(s.contact);
    REQUIRE(builder.AddContact(new Contact(s.contact), s.note.c_str()));
  }
  REQUIRE(f.index.WriteBulk(builder));
  CHECK(CheckReport(f.index) == "");
  IndexStore& store = f.index.Store();
  PropsStore& props = f.index.Props();
  return {HexOf(Digest(store.Data(), store.Length())), HexOf(Digest(props.Data(), props.Length()))};
}

// A manager over the test's index files.
struct FileManager {
  explicit FileManager(const std::wstring& name)
      : indexPath(TempPath(name + L"_1.dat")), propsPath(TempPath(name + L"_2.dat")) {
    DeleteFileW(indexPath.c_str());
    DeleteFileW(propsPath.c_str());
    manager.Index().Store().SetPath(indexPath.c_str());
    manager.Index().Props().SetPath(propsPath.c_str());
  }
  ~FileManager() {
    manager.Close();
    DeleteFileW(indexPath.c_str());
    DeleteFileW(propsPath.c_str());
  }
  std::wstring indexPath;
  std::wstring propsPath;
  ContactManager manager;
};

}  // namespace

TEST_CASE("rebuild bytes: the manager's rebuild writes what a builder fed with the property map writes") {
  // The records: the address book and generated contacts, written as the tools write them.
  REQUIRE(MakeEmptyContactDatabases());
  int written = 0;
  {
    ContactDatabase database;
    ToolCategories categories;
    REQUIRE(database.Open(nullptr));
    REQUIRE(categories.Open());
    ContactNote note;
    std::vector<ToolContact> tools = AddressBookCards();
    for (int k = 0; k < 400; ++k) tools.push_back(GenerateContact(5, k));
    for (const ToolContact& tool : tools) {
      // A card whose Note would be a rich document needs the item's resources, which this program
      // doesn't carry: those stay out.
      Contact contact;
      if (ToContactRecord(tool, categories, note, contact) && database.AddContact(contact, true)) ++written;
    }
    REQUIRE(written > 400);
    categories.Flush();
  }
  // The manager rebuilds at its start, there being no index.
  FileManager rebuilt(L"rebuild_manager");
  REQUIRE(rebuilt.manager.Open(GetModuleHandleW(nullptr), nullptr, nullptr, nullptr));
  REQUIRE(rebuilt.manager.LastOpenReport().rebuilt);

  // The same records read one by one through a DbRecord and the property map.
  IndexFixture reference(L"rebuild_reference", false);
  // The groups of the active letter set, as the manager's start made them (the fixture set others).
  RebuildKeypadGroups();
  {
    ContactDatabase database;
    REQUIRE(database.Open(nullptr));
    DbDatabase& table = database.Contacts();
    StepScope step(table, true);
    table.SetAtEnd(false);
    REQUIRE(table.SeekIndex(0) != 0u);
    ContactNote note;
    BulkBuilder builder;
    while (!table.IsAtEnd()) {
      DbRecord record;
      const CEOID oid = table.ReadRecord(record);
      REQUIRE(oid != 0u);
      Contact* contact = new Contact();
      ContactDatabase::MapProperties(record, *contact);
      contact->oid = oid;
      contact->checksum = contact->ComputeChecksum();
      Str text;
      note.GetNoteText(*contact, text);
      reference.keys.Put(*contact);
      REQUIRE(builder.AddContact(contact, text));
    }
    REQUIRE(builder.ContactCount() == written);
    REQUIRE(reference.index.WriteBulk(builder));
    reference.index.Props().SetDbState(rebuilt.manager.Index().Props().GetDbState());
  }
  CHECK(CheckReport(reference.index) == "");

  IndexStore& store = rebuilt.manager.Index().Store();
  PropsStore& props = rebuilt.manager.Index().Props();
  REQUIRE(store.Length() == reference.index.Store().Length());
  REQUIRE(props.Length() == reference.index.Props().Length());
  CHECK(memcmp(store.Data(), reference.index.Store().Data(), store.Length()) == 0);
  CHECK(memcmp(props.Data(), reference.index.Props().Data(), props.Length()) == 0);
}

TEST_CASE("rebuild bytes: the address book") {
  const auto digests = RebuildDigests(AddressBook(0x10001));
  CHECK(digests.first == "2f989e3fcffb7da8");
  CHECK(digests.second == "4595497c679e301e");
}

TEST_CASE("rebuild bytes: generated contacts") {
  const auto digests = RebuildDigests(GeneratedSources(1500, 0x20001));
  CHECK(digests.first == "fb7e9b21b7a161c2");
  CHECK(digests.second == "f4d4d66ec8bc35b7");
}

TEST_CASE("rebuild bytes: random contacts with odd words, numbers and Notes") {
  const auto digests = RebuildDigests(RandomSources(1200, 0x30001));
  CHECK(digests.first == "9f8009b3efe6d540");
  CHECK(digests.second == "5999ae95ef366363");
}

TEST_CASE("rebuild bytes: all of them together") {
  std::vector<Source> all = AddressBook(0x10001);
  for (const Source& s : GeneratedSources(1500, 0x20001)) all.push_back(s);
  for (const Source& s : RandomSources(1200, 0x40001)) all.push_back(s);
  const auto digests = RebuildDigests(all);
  CHECK(digests.first == "0558e6ae6af7af3d");
  CHECK(digests.second == "5e39f871d4a085f3");
}
