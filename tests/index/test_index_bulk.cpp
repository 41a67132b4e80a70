// Full rebuilds: an index written by the bulk builder answers every lookup as one built by single
// adds of the same contacts, is laid out in tree order, takes single changes afterwards, and the
// keypad tree can be replaced alone.
#include <doctest/doctest.h>

#include <algorithm>

#include "IndexFixture.h"
#include "storage/index/BulkBuilder.h"
#include "storage/index/BulkTree.h"

using namespace indextest;

namespace {

typedef std::vector<uint32_t> Ids_;

struct Source {
  Contact contact;
  std::wstring note;
};

std::vector<Source> RandomSources(uint32_t seed, int count) {
  RandomContacts random(seed);
  std::vector<Source> sources;
  for (int k = 0; k < count; ++k) {
    Source s;
    // Oids not in ascending order of arrival, as a database may give them.
    uint32_t oid = 5000 + (static_cast<uint32_t>(k) * 7919u) % 20011u;
    s.contact = random.Make(oid, &s.note);
    sources.push_back(s);
  }
  return sources;
}

std::vector<Source> GeneratedSources(uint64_t seed, int count) {
  std::vector<Source> sources;
  for (int k = 0; k < count; ++k) {
    Source s;
    s.contact = Generated(seed, k, 100 + static_cast<uint32_t>(k) * 3, &s.note);
    sources.push_back(s);
  }
  return sources;
}

void BuildBulk(IndexFixture& f, const std::vector<Source>& sources) {
  BulkBuilder builder;
  for (const Source& s : sources) {
    f.keys.Put(s.contact);
    REQUIRE(builder.AddContact(new Contact(s.contact), s.note.c_str()));
  }
  CHECK(builder.ContactCount() == static_cast<int>(sources.size()));
  REQUIRE(f.index.WriteBulk(builder));
}

void BuildSingly(IndexFixture& f, const std::vector<Source>& sources) {
  for (const Source& s : sources) f.Add(s.contact, s.note.c_str());
}

// Both indexes answer alike: the same keys with the same holders, every prefix of every key, the same
// lists, and records with the same contents.
void SameAnswers(IndexFixture& a, IndexFixture& b) {
  RawIndex rawA = ReadRaw(a.index.Store());
  RawIndex rawB = ReadRaw(b.index.Store());
  REQUIRE(rawA.error.empty());
  REQUIRE(rawB.error.empty());
  for (int t = 0; t < 2; ++t) {
    CHECK(rawA.keys[t] == rawB.keys[t]);
    std::set<std::wstring> prefixes;
    for (const auto& entry : rawA.keys[t])
      for (size_t n = 1; n <= entry.first.size(); ++n) prefixes.insert(entry.first.substr(0, n));
    for (const std::wstring& prefix : prefixes) {
      std::vector<uint32_t> one = a.Prefix(t, prefix.c_str());
      std::vector<uint32_t> two = b.Prefix(t, prefix.c_str());
      if (one != two) FAIL_CHECK("tree " << t << " prefix " << U8(prefix));
    }
  }
  CHECK(a.List(SortByName) == b.List(SortByName));
  CHECK(a.List(SortByFileAs) == b.List(SortByFileAs));
  CHECK(a.index.ContactCount() == b.index.ContactCount());
  for (const auto& entry : rawA.contactMap) {
    uint32_t recordA = 0, recordB = 0;
    REQUIRE(a.index.Find(entry.first, &recordA));
    REQUIRE(b.index.Find(entry.first, &recordB));
    Contact one, two;
    REQUIRE(a.index.Props().GetRecord(recordA, one));
    REQUIRE(b.index.Props().GetRecord(recordB, two));
    CHECK(one.checksum == two.checksum);
    CHECK(one.ContactExtended::Equals(two));
  }
}

}  // namespace

TEST_CASE("a rebuilt index and one built by single adds answer every lookup alike (random contacts)") {
  std::vector<Source> sources = RandomSources(11, 300);
  IndexFixture bulk(L"bulk_random_a");
  IndexFixture single(L"bulk_random_b");
  BuildBulk(bulk, sources);
  BuildSingly(single, sources);
  CHECK(CheckReport(bulk.index).empty());
  CHECK(CheckReport(single.index).empty());
  SameAnswers(bulk, single);

  // The model agrees with both.
  Model model;
  for (const Source& s : sources)
    model.Put(static_cast<uint32_t>(s.contact.oid), KeysOfContact(s.contact, s.note));
  RawIndex raw = ReadRaw(bulk.index.Store());
  for (int t = 0; t < 2; ++t) {
    std::map<std::wstring, std::vector<uint32_t>> expected;
    for (const auto& entry : model.holders[t])
      expected[entry.first] = std::vector<uint32_t>(entry.second.begin(), entry.second.end());
    CHECK(raw.keys[t] == expected);
  }
}

TEST_CASE("a rebuilt index and one built by single adds answer alike (generated contacts)") {
  std::vector<Source> sources = GeneratedSources(2024, 400);
  IndexFixture bulk(L"bulk_generated_a");
  IndexFixture single(L"bulk_generated_b");
  BuildBulk(bulk, sources);
  // Single adds in another order than the rebuild's.
  std::vector<Source> reversed(sources.rbegin(), sources.rend());
  BuildSingly(single, reversed);
  CHECK(CheckReport(bulk.index).empty());
  CHECK(CheckReport(single.index).empty());
  SameAnswers(bulk, single);
  // The props store was made for exactly the records' bytes.
  CHECK(bulk.index.Props().RecordCount() == 400);
}

TEST_CASE("a rebuild lays the tree out in tree order, lists sorted, tails flagged") {
  IndexFixture f(L"bulk_layout");
  BulkBuilder builder;
  Contact a;
  a.oid = 9;
  f.keys.Put(a);
  REQUIRE(builder.AddContact(new Contact(a), L"mango apple"));
  Contact b;
  b.oid = 4;
  f.keys.Put(b);
  REQUIRE(builder.AddContact(new Contact(b), L"mango zebra"));
  REQUIRE(f.index.WriteBulk(builder));
  // The word tree came first: its root has the first block of the arena. A root never has a tail.
  const uint32_t root = f.Header(kWordRootSlot);
  CHECK(root == 36 + 8 + 4);
  const TreeNode* m = f.index.Store().Node(root);
  CHECK(m->ch == L'm');
  CHECK(m->tailFlag == 0);
  // Blocks in tree order: the root (24), then its less branch (apple), its equal branch (mango's
  // rest) and its greater branch (zebra), 28 bytes each with their tails.
  CHECK(m->less == root + 24 + 8);
  CHECK(m->equal == m->less + 28 + 8);
  CHECK(m->greater == m->equal + 28 + 8);
  const TreeNode* rest = f.index.Store().Node(m->equal);
  CHECK(rest->ch == L'a');
  CHECK(rest->tailFlag == 255);
  CHECK(std::wstring(reinterpret_cast<const wchar_t*>(f.index.Store().Data() + rest->tail)) == L"ngo");
  const uint32_t* list = f.index.Store().Words(rest->list);
  CHECK(list[0] == 2);
  CHECK(list[1] == 4);  // sorted, though 9 came first
  CHECK(list[2] == 9);
  CHECK(std::wstring(reinterpret_cast<const wchar_t*>(f.index.Store().Data() +
                                                      f.index.Store().Node(m->less)->tail)) == L"pple");
  // The reverse map: oids ascending, a chain of one block each.
  const uint32_t* map = f.index.Store().Words(f.Header(kWordReverseSlot));
  CHECK(map[0] == 2);
  CHECK(map[1] == 4);
  CHECK(map[3] == 9);
  CHECK(f.Header(kNameListSlot) != 0);
  const uint32_t* contactMap = f.index.Store().Words(f.Header(kContactMapSlot));
  CHECK(contactMap[0] == 2);
  CHECK(contactMap[1] == 4);  // written in ascending oid order
  CHECK(contactMap[3] == 9);
  std::string report = CheckReport(f.index);
  CHECK_MESSAGE(report.empty(), report);
}

TEST_CASE("a rebuild of no contacts writes empty trees and succeeds") {
  IndexFixture f(L"bulk_empty");
  BulkBuilder builder;
  REQUIRE(f.index.WriteBulk(builder));
  INFO(CheckReport(f.index));
  CHECK(f.Header(kWordRootSlot) == 0);
  CHECK(f.Header(kKeypadRootSlot) == 0);
  REQUIRE(f.Header(kWordReverseSlot) != 0);
  CHECK(f.index.Store().Words(f.Header(kWordReverseSlot))[0] == 0);
  CHECK(f.index.Store().Words(f.Header(kKeypadReverseSlot))[0] == 0);
  CHECK(f.Header(kNameListSlot) == 0);
  CHECK(f.Header(kFileAsListSlot) == 0);
  CHECK(f.Header(kContactMapSlot) == 0);
  CHECK(f.index.ContactCount() == 0);
  CHECK(CheckReport(f.index).empty());
  // And takes contacts one by one afterwards.
  f.Add(Named(3, L"After", L""));
  CHECK(f.Prefix(WordTree, L"aft") == Ids_{3});
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("the bulk builder keeps contacts stripped, refuses a repeated oid, and splits as the file does") {
  BulkBuilder builder;
  Contact c = Named(8, L"Keep", L"Me", L"Firm", L"Me, Keep");
  c.text[ContactField::Email1] = L"drop@example.com";
  c.Phone.Add(LabelValue{Str(L"Other"), Str(L"12345")});
  REQUIRE(builder.AddContact(new Contact(c), L"note"));
  CHECK_FALSE(builder.AddContact(new Contact(c), L"again"));
  Array<Contact*> kept;
  builder.ContactsInOidOrder(kept);
  REQUIRE(kept.GetSize() == 1);
  CHECK(kept[0]->text[ContactField::LastName] == Str(L"Keep"));
  CHECK(kept[0]->text[ContactField::Email1].IsEmpty());
  CHECK(kept[0]->Phone.GetSize() == 1);  // the extended block goes into the props store

  BulkTree tree;
  tree.Add(L"abc", 3, 1);
  tree.Add(L"abd", 3, 2);
  tree.Add(L"ab", 2, 3);
  Array<uint32_t> ids;
  tree.FindKey(L"abc", 3, ids);
  CHECK(Ids(ids) == Ids_{1});
  tree.FindKey(L"abd", 3, ids);
  CHECK(Ids(ids) == Ids_{2});
  tree.FindKey(L"ab", 2, ids);
  CHECK(Ids(ids) == Ids_{3});
  CHECK(tree.NodeCount() == 4);  // a, b, c and d: the tail of abc split into c
}

TEST_CASE("single adds, updates and removals go on in a rebuilt index, also past a split of a rebuilt tail") {
  std::vector<Source> sources = RandomSources(21, 120);
  IndexFixture f(L"bulk_then_single");
  BuildBulk(f, sources);
  Model model;
  for (const Source& s : sources)
    model.Put(static_cast<uint32_t>(s.contact.oid), KeysOfContact(s.contact, s.note));
  RandomContacts random(99);
  for (int step = 0; step < 300; ++step) {
    const Source& s = sources[random.Below(static_cast<uint32_t>(sources.size()))];
    const uint32_t oid = static_cast<uint32_t>(s.contact.oid);
    if (model.contacts.count(oid) == 0) {
      f.Add(s.contact, s.note.c_str());
      model.Put(oid, KeysOfContact(s.contact, s.note));
    } else if (random.Below(2) == 0) {
      f.Remove(oid);
      model.Drop(oid);
    } else {
      std::wstring note;
      Contact changed = random.Make(oid, &note);
      f.Update(changed, note.c_str());
      model.Put(oid, KeysOfContact(changed, note));
    }
  }
  CHECK(CheckReport(f.index).empty());
  RawIndex raw = ReadRaw(f.index.Store());
  for (int t = 0; t < 2; ++t) {
    std::map<std::wstring, std::vector<uint32_t>> expected;
    for (const auto& entry : model.holders[t])
      expected[entry.first] = std::vector<uint32_t>(entry.second.begin(), entry.second.end());
    CHECK(raw.keys[t] == expected);
    for (const std::wstring& prefix : model.AllPrefixes(t)) {
      if (f.Prefix(t, prefix.c_str()) != model.Prefix(t, prefix))
        FAIL_CHECK("tree " << t << " prefix " << U8(prefix));
    }
  }
}

TEST_CASE("the keypad tree is replaced alone when the letters change, and the old one is freed whole") {
  std::vector<Source> sources = RandomSources(31, 150);
  IndexFixture f(L"bulk_keypad");
  UseEnglishGroups();
  BuildSingly(f, sources);
  RawIndex before = ReadRaw(f.index.Store());
  CHECK(CheckReport(f.index).empty());

  UseEnglishRussianGroups();
  BulkBuilder keypad(true);
  for (const Source& s : sources) REQUIRE(keypad.AddContact(new Contact(s.contact), s.note.c_str()));
  CHECK(keypad.ContactCount() == 0);
  REQUIRE(f.index.ReplaceKeypadTree(keypad));
  CHECK(CheckReport(f.index).empty());  // nothing of the old tree is left in use

  RawIndex after = ReadRaw(f.index.Store());
  CHECK(after.keys[0] == before.keys[0]);
  CHECK(after.keys[1] != before.keys[1]);  // Cyrillic words have keys now
  Model model;
  for (const Source& s : sources)
    model.Put(static_cast<uint32_t>(s.contact.oid), KeysOfContact(s.contact, s.note));
  std::map<std::wstring, std::vector<uint32_t>> expected;
  for (const auto& entry : model.holders[1])
    expected[entry.first] = std::vector<uint32_t>(entry.second.begin(), entry.second.end());
  CHECK(after.keys[1] == expected);
  CHECK(f.List(SortByName).size() == sources.size());

  // Removal works on the new tree too.
  for (const Source& s : sources) f.Remove(static_cast<uint32_t>(s.contact.oid));
  CHECK(f.Header(kKeypadRootSlot) == 0);
  CHECK(f.Header(kWordRootSlot) == 0);
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("a full rebuild of more contacts than the mapping holds fails with the full mapping's error") {
  IndexFixture f(L"bulk_too_many");
  BulkBuilder builder;
  // Contacts of many unique words, some 12 MB of index in all.
  for (uint32_t oid = 1; oid <= 900; ++oid) {
    std::wstring note;
    for (int w = 0; w < 300; ++w) note += L"b" + std::to_wstring(oid) + L"v" + std::to_wstring(w) + L"qz ";
    Contact c = Named(oid, (L"Bulk" + std::to_wstring(oid)).c_str(), L"Many");
    f.keys.Put(c);
    REQUIRE(builder.AddContact(new Contact(c), note.c_str()));
  }
  SetLastError(0);
  CHECK_FALSE(f.index.WriteBulk(builder));
  CHECK(GetLastError() == kMappingFullError);
  // Half of them fit, and make an index that holds together.
  BulkBuilder half;
  for (uint32_t oid = 1; oid <= 300; ++oid) {
    std::wstring note;
    for (int w = 0; w < 300; ++w) note += L"b" + std::to_wstring(oid) + L"v" + std::to_wstring(w) + L"qz ";
    REQUIRE(half.AddContact(new Contact(Named(oid, (L"Bulk" + std::to_wstring(oid)).c_str(), L"Many")),
                            note.c_str()));
  }
  REQUIRE(f.index.WriteBulk(half));
  CHECK(f.index.ContactCount() == 300);
  CHECK(CheckReport(f.index).empty());
}
