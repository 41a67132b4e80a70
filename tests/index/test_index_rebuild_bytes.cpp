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

std::vector<Source> AddressBook(uint32_t firstOid) {
  std::ifstream file(PAGEMARK_ADDRESS_BOOK, std::ios::binary);
  REQUIRE(file.good());
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const VCardResult cards = ParseVCards(bytes);
  REQUIRE(cards.contacts.size() >= 100);
  std::vector<Source> sources;
  // Oids from the top down, so that they don't arrive in ascending order.
  uint32_t oid = firstOid + static_cast<uint32_t>(cards.contacts.size()) * 5;
  for (const ToolContact& tool : cards.contacts) {
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

}  // namespace

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
