// The contact index as a whole: sorted lists and their keys, the contact map and its tree, lookups
// by several words, the props records beside the index, a file that fills its mapping, and the
// invariant check finding what is broken.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "IndexFixture.h"
#include "storage/index/ContactFeed.h"
#include "storage/mapped/MappedFile.h"
#include "storage/index/OidTree.h"
#include "storage/index/SearchTree.h"

using namespace indextest;

namespace {

typedef std::vector<uint32_t> Ids_;

// The test's own verdict on a sorted list: in the order of its keys, without repeats.
bool ListInOrder(IndexFixture& f, int kind) {
  std::vector<uint32_t> ids = f.List(kind);
  for (size_t k = 1; k < ids.size(); ++k) {
    const auto& a = f.keys.keys.at(ids[k - 1]);
    const auto& b = f.keys.keys.at(ids[k]);
    if (CompareKeys(kind == 0 ? a.first : a.second, ids[k - 1], kind == 0 ? b.first : b.second, ids[k]) >= 0)
      return false;
  }
  return true;
}

std::vector<std::pair<uint32_t, uint32_t>> MapOf(IndexFixture& f) {
  return ReadRaw(f.index.Store()).contactMap;
}

}  // namespace

TEST_CASE("both lists stand in the order of their keys, ties broken by the oid") {
  IndexFixture f(L"contacts_lists");
  f.Add(Named(10, L"Smith", L"John", L"", L"Zeta"));
  f.Add(Named(11, L"Adams", L"", L"", L"Alpha"));
  f.Add(Named(12, L"", L"", L"Acme", L"Mid"));         // no name: the company
  f.Add(Named(13, L"Smith", L"John", L"", L"Alpha"));  // the same name as 10: the oid decides
  f.Add(Named(9, L"Smith", L"John", L"", L""));
  Contact titled = Named(14, L"", L"", L"Zenith", L"");
  titled.text[ContactField::Title] = L"Dr";  // the title stands before the company
  f.Add(titled);
  CHECK(f.List(SortByName) == Ids_{12, 11, 14, 9, 10, 13});
  CHECK(f.List(SortByFileAs) == Ids_{9, 14, 11, 13, 12, 10});
  CHECK(ListInOrder(f, 0));
  CHECK(ListInOrder(f, 1));
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("an update moves a contact to its new place; the keys of others are read from the source") {
  IndexFixture f(L"contacts_update");
  for (uint32_t k = 0; k < 20; ++k) f.Add(Named(100 + k, (L"Name" + std::to_wstring(10 + k)).c_str(), L"x"));
  f.keys.reads = 0;
  f.Update(Named(105, L"Aaron", L"x"));
  CHECK(f.keys.reads > 0);
  CHECK(f.keys.reads <= 2 * 2 * 6);  // a binary search over 19 for each list, middle and neighbour
  std::vector<uint32_t> names = f.List(SortByName);
  CHECK(names.front() == 105);
  CHECK(names.size() == 20);
  CHECK(ListInOrder(f, 0));
  f.Update(Named(105, L"Zorro", L"x"));
  CHECK(f.List(SortByName).back() == 105);
  CHECK(f.List(SortByName).size() == 20);
  CHECK(f.Prefix(WordTree, L"aaron").empty());
  CHECK(f.Prefix(WordTree, L"zorro") == Ids_{105});
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("a contact whose key can't be read any more leaves the list while another goes in") {
  IndexFixture f(L"contacts_stale");
  for (uint32_t k = 0; k < 9; ++k) f.Add(Named(200 + k, (L"Stale" + std::to_wstring(k)).c_str(), L""));
  // 204 stands in the middle of both lists: the first probe of the next insertion reads it.
  f.keys.Drop(204);
  f.Add(Named(300, L"Stale45", L""));
  std::vector<uint32_t> names = f.List(SortByName);
  CHECK(std::find(names.begin(), names.end(), 204u) == names.end());
  CHECK(names.size() == 9);
  CHECK(std::find(names.begin(), names.end(), 300u) != names.end());
  CHECK(ListInOrder(f, 0));
  // Only the list forgets it: the contact map still knows the contact until it is removed.
  uint32_t record = 0;
  CHECK(f.index.Find(204, &record));
  f.index.RemoveContact(204);
  CHECK_FALSE(f.index.Find(204, &record));
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("a list that loses its last contact is dropped and its header field cleared") {
  IndexFixture f(L"contacts_drop");
  f.Add(Named(1, L"Only", L""));
  CHECK(f.Header(kNameListSlot) != 0);
  CHECK(f.Header(kFileAsListSlot) != 0);
  CHECK(f.Header(kContactMapSlot) != 0);
  f.Remove(1);
  CHECK(f.Header(kNameListSlot) == 0);
  CHECK(f.Header(kFileAsListSlot) == 0);
  CHECK(f.Header(kContactMapSlot) == 0);
  CHECK(f.List(SortByName).empty());
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("the contact map: new contacts at the end, removal moves the rest down, the tree answers") {
  IndexFixture f(L"contacts_map");
  const uint32_t oids[] = {40, 10, 30, 20};
  for (uint32_t oid : oids) f.Add(Named(oid, L"M", L""));
  auto map = MapOf(f);
  REQUIRE(map.size() == 4);
  CHECK(map[0].first == 40);
  CHECK(map[1].first == 10);
  CHECK(map[2].first == 30);
  CHECK(map[3].first == 20);
  for (const auto& entry : map) {
    uint32_t record = 0;
    CHECK(f.index.Find(entry.first, &record));
    CHECK(record == entry.second);
    Contact read;
    CHECK(f.index.Props().GetRecord(record, read));
  }
  const uint32_t mapBlock = f.Header(kContactMapSlot);
  f.Remove(10);
  CHECK(f.Header(kContactMapSlot) == mapBlock);  // in place
  map = MapOf(f);
  REQUIRE(map.size() == 3);
  CHECK(map[0].first == 40);
  CHECK(map[1].first == 30);
  CHECK(map[2].first == 20);
  uint32_t record = 1;
  CHECK_FALSE(f.index.Find(10, &record));
  CHECK(record == 0);
  CHECK(f.index.ContactCount() == 3);

  // Opening again builds the tree from the file's map.
  REQUIRE(f.index.Save(FALSE));
  f.index.CloseStores();
  REQUIRE(f.index.OpenStores());
  CHECK(f.index.ContactCount() == 3);
  CHECK(f.index.Find(30, &record));
  CHECK(record == map[1].second);
  CHECK_FALSE(f.index.Find(10, &record));
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("lookups: every word a prefix of some key, lists in their order, filtered lists") {
  IndexFixture f(L"contacts_lookups");
  f.Add(Named(1, L"Carter", L"Abel"));
  f.Add(Named(2, L"Abel", L"Carter"));
  f.Add(Named(3, L"Abbot", L"Zed", L"Carmakers"));
  f.Add(Named(4, L"Other", L"One"));
  Array<CEOID> ids;
  REQUIRE(f.index.FindWords(WordTree, L"ab car", ids));
  CHECK(Ids(ids) == Ids_{1, 2, 3});
  REQUIRE(f.index.FindWords(WordTree, L"abel carter", ids));
  CHECK(Ids(ids) == Ids_{1, 2});
  REQUIRE(f.index.FindWords(WordTree, L"abel nobody", ids));
  CHECK(ids.GetSize() == 0);
  REQUIRE(f.index.FindWords(WordTree, L"  ", ids));
  CHECK(ids.GetSize() == 0);
  REQUIRE(f.index.FindWords(KeypadTree, L"aa", ids));  // ab... on the keypad
  CHECK(Ids(ids) == Ids_{1, 2, 3});

  Array<CEOID> all, some, filtered;
  REQUIRE(f.index.ListAll(SortByName, all));
  CHECK(Ids(all) == Ids_{3, 2, 1, 4});
  some.Add(4);
  some.Add(2);
  REQUIRE(f.index.ListFiltered(SortByName, some, filtered));
  CHECK(Ids(filtered) == Ids_{2, 4});
  // A set of the list's size gives the list itself.
  Array<CEOID> four;
  for (CEOID id : {9u, 8u, 7u, 6u}) four.Add(id);
  REQUIRE(f.index.ListFiltered(SortByName, four, filtered));
  CHECK(Ids(filtered) == Ids_{3, 2, 1, 4});
}

TEST_CASE("with the props store: a record for each contact, rewritten on update, deleted with the contact") {
  IndexFixture f(L"contacts_props");
  Contact c = Named(70, L"Props", L"Person");
  c.Phone.Add(LabelValue{Str(L"Dacha"), Str(L"+7 812 000 11 22")});
  c.Email.Add(LabelValue{Str(L"Old"), Str(L"old@example.com")});
  c.checksum = 0x1234;
  f.Add(c);
  uint32_t record = 0;
  REQUIRE(f.index.Find(70, &record));
  Contact read;
  REQUIRE(f.index.Props().GetRecord(record, read));
  CHECK(read.checksum == 0x1234);
  REQUIRE(read.Phone.GetSize() == 1);
  CHECK(read.Phone[0].value == Str(L"+7 812 000 11 22"));
  CHECK(f.Prefix(WordTree, L"~22110") == Ids_{70});
  CHECK(f.Prefix(WordTree, L"old") == Ids_{70});

  c.Email.RemoveAll();
  c.checksum = 0x5678;
  f.Update(c);
  uint32_t again = 0;
  REQUIRE(f.index.Find(70, &again));
  CHECK(again == record);
  REQUIRE(f.index.Props().GetRecord(again, read));
  CHECK(read.checksum == 0x5678);
  CHECK(read.Email.GetSize() == 0);
  CHECK(f.Prefix(WordTree, L"old").empty());
  CHECK(CheckReport(f.index).empty());

  f.Remove(70);
  CHECK(f.index.Props().RecordCount() == 0);
  CHECK(f.index.ContactCount() == 0);
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("an index that fills its mapping refuses the contact that doesn't fit and keeps the rest intact") {
  IndexFixture f(L"contacts_full");
  // Contacts of many unique long words, until the 8 MB mapping is full.
  RandomContacts random(77);
  std::vector<uint32_t> added;
  uint32_t refused = 0;
  for (uint32_t oid = 1; oid < 400 && refused == 0; ++oid) {
    std::wstring note;
    for (int w = 0; w < 1500; ++w) {
      note += L"u" + std::to_wstring(oid) + L"x" + std::to_wstring(w) + L"q";
      for (int k = 0; k < 12; ++k) note += static_cast<wchar_t>(L'a' + random.Below(26));
      note += L' ';
    }
    Contact c = Named(oid, (L"Full" + std::to_wstring(oid)).c_str(), L"");
    f.keys.Put(c);
    if (f.index.AddContact(c, note.c_str())) {
      added.push_back(oid);
    } else {
      CHECK(GetLastError() == kMappingFullError);
      refused = oid;
      f.keys.Drop(oid);
    }
  }
  REQUIRE(refused != 0);
  CHECK(added.size() > 5);
  CHECK(f.index.Store().Length() <= MappedFile::kMaxLength);
  // The refused contact left nothing behind; the others are all there.
  CHECK(CheckReport(f.index).empty());
  CHECK(ArenaProblem(f.index.Store()).empty());
  uint32_t record = 0;
  CHECK_FALSE(f.index.Find(refused, &record));
  CHECK(f.Prefix(WordTree, (L"u" + std::to_wstring(refused) + L"x").c_str()).empty());
  CHECK(f.Prefix(WordTree, (L"full" + std::to_wstring(refused)).c_str()).empty());
  CHECK(f.index.Props().RecordCount() == added.size());
  for (uint32_t oid : added) {
    CHECK(f.Prefix(WordTree, (L"u" + std::to_wstring(oid) + L"x1499q").c_str()) == Ids_{oid});
    CHECK(f.index.Find(oid, &record));
  }
  CHECK(f.List(SortByName).size() == added.size());
  // Removing one makes room again.
  f.Remove(added.front());
  Contact small = Named(refused, L"Small", L"");
  f.Add(small, L"fits now");
  CHECK(f.Prefix(WordTree, L"fits") == Ids_{refused});
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("in a full index every update and add that finds no room fails with the full mapping's error") {
  IndexFixture f(L"contacts_full_updates");
  // Many contacts of middling notes, until the mapping is full.
  RandomContacts random(78);
  std::vector<uint32_t> added;
  std::map<uint32_t, std::wstring> notes;
  for (uint32_t oid = 1; oid < 4000; ++oid) {
    std::wstring note;
    for (int w = 0; w < 160; ++w) {
      note += L"w" + std::to_wstring(oid) + L"y" + std::to_wstring(w);
      for (int k = 0; k < 6; ++k) note += static_cast<wchar_t>(L'a' + random.Below(26));
      note += L' ';
    }
    Contact c = Named(oid, (L"Cap" + std::to_wstring(oid)).c_str(), L"Person");
    c.text[ContactField::Company] = Str((L"Firm" + std::to_wstring(oid % 97)).c_str());
    f.keys.Put(c);
    if (!f.index.AddContact(c, note.c_str())) {
      CHECK(GetLastError() == kMappingFullError);
      f.keys.Drop(oid);
      break;
    }
    added.push_back(oid);
    notes[oid] = note;
  }
  REQUIRE(added.size() > 100);
  CHECK(CheckReport(f.index).empty());
  // Updates that need more room, as another program's changes would: a longer company and a note
  // with new words. Each works or fails for want of room, and the index holds together after each.
  int failed = 0;
  for (size_t k = 0; k < added.size() && failed < 5; k += added.size() / 40) {
    const uint32_t oid = added[k];
    CAPTURE(oid);
    Contact c = Named(oid, (L"Cap" + std::to_wstring(oid)).c_str(), L"Person");
    c.text[ContactField::Company] = Str((L"Firm" + std::to_wstring(oid % 97) + L" Ltd").c_str());
    std::wstring note = notes[oid];
    for (int w = 0; w < 40; ++w) note += L" more" + std::to_wstring(oid) + L"z" + std::to_wstring(w);
    f.keys.Put(c);
    SetLastError(0);
    if (!f.index.UpdateContact(c, note.c_str())) {
      CHECK(GetLastError() == kMappingFullError);
      ++failed;
      f.keys.Drop(oid);
    }
    CHECK(CheckReport(f.index).empty());
  }
  CHECK(failed > 0);
  // New contacts of a few words: taken while there is room, then refused for want of it.
  for (uint32_t oid = 5000; oid < 5400; ++oid) {
    Contact c = Named(oid, (L"Late" + std::to_wstring(oid)).c_str(), L"Comer");
    f.keys.Put(c);
    SetLastError(0);
    if (!f.index.AddContact(c, L"late note")) {
      CHECK(GetLastError() == kMappingFullError);
      f.keys.Drop(oid);
    }
  }
  CHECK(CheckReport(f.index).empty());
}

TEST_CASE("the check finds what is broken") {
  auto Broken = [](const wchar_t* name, auto damage, const char* expected) {
    CAPTURE(expected);
    IndexFixture f(name);
    f.Add(Named(1, L"Alpha", L"Beta"), L"abc abd xyz");
    f.Add(Named(2, L"Gamma", L"Beta"), L"abcdef");
    REQUIRE(CheckReport(f.index).empty());
    damage(f);
    std::string report = CheckReport(f.index);
    INFO(report);
    CHECK(report.find(expected) != std::string::npos);
  };
  Broken(
      L"check_parent",
      [](IndexFixture& f) {
        TreeNode* root = f.index.Store().Node(f.Header(kWordRootSlot));
        f.index.Store().Node(root->equal)->parent = 0;
      },
      "names the parent");
  Broken(
      L"check_order",
      [](IndexFixture& f) {
        uint32_t node = f.index.Tree(WordTree).FindNode(L"xyz", 3);
        f.index.Store().Node(node)->ch = L'a';
      },
      "out of order");
  Broken(
      L"check_list",
      [](IndexFixture& f) {
        uint32_t node = f.index.Tree(WordTree).FindNode(L"beta", 4);
        uint32_t* list = f.index.Store().Words(f.index.Store().Node(node)->list);
        std::swap(list[1], list[2]);
      },
      "isn't ascending");
  Broken(
      L"check_chain",
      [](IndexFixture& f) {
        // A chain that names a freed block.
        uint32_t map = f.Header(kWordReverseSlot);
        uint32_t head = f.index.Store().Words(map)[2];
        uint32_t freed;
        REQUIRE(f.index.Store().AllocateBlock(24, &freed));
        f.index.Store().FreeOffset(freed);
        reinterpret_cast<ChainBlock*>(f.index.Store().Data() + head)->slots[0] = freed;
      },
      "isn't a node of the tree");
  Broken(
      L"check_reach",
      [](IndexFixture& f) {
        // A chain that names a live node from which the contact's list can't be reached.
        uint32_t map = f.Header(kWordReverseSlot);
        uint32_t head = f.index.Store().Words(map)[2];
        uint32_t other = f.index.Tree(WordTree).FindNode(L"gamma", 5);
        ChainBlock* chain = reinterpret_cast<ChainBlock*>(f.index.Store().Data() + head);
        for (uint32_t s = 0; s < chain->used; ++s) chain->slots[s] = other;
      },
      "which its chain doesn't lead to");
  Broken(
      L"check_leak",
      [](IndexFixture& f) {
        uint32_t lost;
        REQUIRE(f.index.Store().AllocateBlock(40, &lost));
      },
      "belongs to nothing");
  Broken(
      L"check_twice",
      [](IndexFixture& f) { f.index.Store().SetHeaderWord(kFileAsListSlot, f.Header(kNameListSlot)); },
      "another structure holds too");
  Broken(
      L"check_tag",
      [](IndexFixture& f) {
        uint32_t root = f.Header(kWordRootSlot);
        *reinterpret_cast<int32_t*>(f.index.Store().Data() + root - 4) = 1000;
      },
      "arena: block");
  Broken(
      L"check_ring",
      [](IndexFixture& f) {
        BYTE* arena = f.index.Store().Data() + 36;
        *reinterpret_cast<uint32_t*>(arena + 4) = 8;  // the head names the first block, which is in use
      },
      "free ring");
  Broken(
      L"check_map",
      [](IndexFixture& f) {
        uint32_t* map = f.index.Store().Words(f.Header(kContactMapSlot));
        map[3] = map[1];
      },
      "stands in it twice");
  Broken(
      L"check_sorted",
      [](IndexFixture& f) {
        uint32_t* list = f.index.Store().Words(f.Header(kNameListSlot));
        std::swap(list[1], list[2]);
      },
      "out of order");
  Broken(
      L"check_tree",
      [](IndexFixture& f) {
        // The map and the contact tree disagree about a record.
        ContactMapEntry* entries =
            reinterpret_cast<ContactMapEntry*>(f.index.Store().Words(f.Header(kContactMapSlot)) + 1);
        entries[0].record += 128;
      },
      "contact tree: contact");
  Broken(
      L"check_useless",
      [](IndexFixture& f) {
        uint32_t node = f.index.Tree(WordTree).FindNode(L"abd", 3);
        TreeNode* n = f.index.Store().Node(node);
        f.index.Store().FreeOffset(n->list);
        n->list = 0;
      },
      "leads nowhere");
  Broken(
      L"check_tailless",
      [](IndexFixture& f) {
        uint32_t node = f.index.Tree(WordTree).FindNode(L"xyz", 3);
        TreeNode* n = f.index.Store().Node(node);
        f.index.Store().FreeOffset(n->list);
        n->list = 0;
      },
      "has no contact list");
}

TEST_CASE("the contact tree keeps its rules through thousands of inserts and erases") {
  OidTree tree;
  std::map<uint32_t, uint32_t> model;
  RandomContacts random(5);
  for (int step = 0; step < 20000; ++step) {
    uint32_t oid = random.Below(3000) * 7919u;
    if (random.Below(3) == 0) {
      CHECK(tree.Erase(oid) == (model.erase(oid) == 1));
    } else {
      uint32_t value = random.Below(100000);
      CHECK(tree.Insert(oid, value) == (model.count(oid) == 0));
      model[oid] = value;
    }
    if (step % 997 == 0) {
      Str report;
      CHECK(tree.Check(report));
      CHECK(U8(static_cast<const wchar_t*>(report)).empty());
    }
  }
  Str report;
  CHECK(tree.Check(report));
  CHECK(tree.Count() == static_cast<int>(model.size()));
  Array<uint32_t> oids, values;
  tree.List(oids, values);
  REQUIRE(oids.GetSize() == static_cast<int>(model.size()));
  int k = 0;
  for (const auto& entry : model) {
    CHECK(oids[k] == entry.first);
    CHECK(values[k] == entry.second);
    uint32_t found = 0;
    CHECK(tree.Find(entry.first, &found));
    CHECK(found == entry.second);
    ++k;
  }
  CHECK_FALSE(tree.Find(1, nullptr));
  // Ascending and descending runs, which rotate the most.
  OidTree runs;
  for (uint32_t v = 0; v < 5000; ++v) runs.Insert(v, v);
  for (uint32_t v = 10000; v > 5000; --v) runs.Insert(v, v);
  for (uint32_t v = 0; v <= 10000; v += 2) runs.Erase(v);
  Str runReport;
  CHECK(runs.Check(runReport));
  CHECK(runs.Count() == 5000);
}

TEST_CASE("the check of a damaged file reads nothing outside the data and ends, also on links in circles") {
  for (uint32_t seed = 1; seed <= 40; ++seed) {
    CAPTURE(seed);
    IndexFixture f(L"check_damaged");
    RandomContacts random(seed);
    for (uint32_t k = 0; k < 12; ++k) {
      std::wstring note;
      f.Add(random.Make(k + 1, &note), note.c_str());
    }
    REQUIRE(CheckReport(f.index).empty());
    IndexStore& store = f.index.Store();
    uint32_t* words = reinterpret_cast<uint32_t*>(store.Data());
    const uint32_t count = store.Length() / 4;
    // Some words of the structures anywhere in the data, or a header slot, get wild values.
    for (int k = 0; k < 6; ++k) {
      uint32_t at = seed % 3 == 0 ? 2 + random.Below(7) : 9 + random.Below(count - 10);
      uint32_t value =
          random.Below(4) == 0 ? 0xFFFFFFF0u - random.Below(100) : random.Below(store.Length() + 64);
      words[at] = value;
    }
    if (seed % 5 == 0) {
      // A tree in circles, in an arena that no longer holds together.
      const uint32_t root = store.HeaderWord(kWordRootSlot);
      if (root >= 36 && root + 24 <= store.Length()) store.Node(root)->equal = root;
      words[9] = 12345;  // the arena's size word
    }
    // The check must come back whatever it meets. Words that landed in free space harm nothing, but
    // wild header slots and a wrong arena size are always found.
    std::string report = CheckReport(f.index);
    if (seed % 3 == 0 || seed % 5 == 0) CHECK(!report.empty());
  }
}
