// The lists of categories and the translations between masks, names and record ids.
#include "CategoriesTestSupport.h"

#include "storage/categories/PPC2003CategoryDBManager.h"

#include <doctest/doctest.h>

#include <algorithm>

using namespace cattest;

namespace {

struct Categories {
  CategoriesDBManager manager;
  Categories() { MakeCleanStore(); }
  void Open() { REQUIRE(manager.Open()); }
};

std::vector<std::string> NamesIn(const CategoryList& list) {
  std::vector<std::string> names;
  for (int i = 0; i < list.GetSize(); ++i) names.push_back(U8(list[i].name));
  return names;
}

std::vector<std::string> Texts(const Array<Str>& names) {
  std::vector<std::string> texts;
  for (int i = 0; i < names.GetSize(); ++i) texts.push_back(U8(names[i]));
  return texts;
}

std::vector<CEOID> OidsIn(const Array<CEOID>& oids) {
  std::vector<CEOID> out;
  for (int i = 0; i < oids.GetSize(); ++i) out.push_back(oids[i]);
  return out;
}

CategoryItem Item(CEOID oid, int position) {
  CategoryItem item;
  item.oid = oid;
  item.position = static_cast<int16_t>(position);
  item.visible = true;
  return item;
}

}  // namespace

TEST_CASE("LoadAll leaves out an unused category") {
  Categories store;
  PutCategory(Visible(L"Used", 0, 2));
  PutCategory(Visible(L"Unused", 1, 0));
  store.Open();
  CategoryList list;
  REQUIRE(store.manager.LoadAll(list));
  CHECK(NamesIn(list) == std::vector<std::string>{"Used"});
}

TEST_CASE(
    "LoadAll keeps named, placed, counted categories, hidden ones too, sorted by name in the language's "
    "order") {
  Categories store;
  CEOID cherry = PutCategory(Visible(L"cherry", 0, 1));
  PutCategory(Hidden(L"Banana", 1, 3));
  PutCategory(Visible(L"apple", 2, 1));
  PutCategory(Visible(L"Unplaced", -1, 5));
  Category nameless;
  nameless.position = 3;
  nameless.contacts = 4;
  PutCategory(nameless);
  Category otherCounted = Visible(L"Counted elsewhere", 4, 0);
  otherCounted.second = 9;
  PutCategory(otherCounted);
  Category noCounter;
  noCounter.name = L"No counter";
  noCounter.position = 5;
  noCounter.visible = 1;
  PutCategory(noCounter);
  store.Open();

  CategoryList list;
  REQUIRE(store.manager.LoadAll(list));
  // Code-point order would put "Banana" first.
  CHECK(NamesIn(list) == std::vector<std::string>{"apple", "Banana", "cherry"});
  REQUIRE(list.GetSize() == 3);
  CHECK(list[2].oid == cherry);
  CHECK(list[2].position == 0);
  CHECK(list[2].visible);
  CHECK_FALSE(list[1].visible);
}

TEST_CASE("LoadAll of an empty database gives an empty list; a closed manager fails with an empty list") {
  Categories store;
  CategoryList list;
  list.Add(Item(5, 5));
  CHECK_FALSE(store.manager.LoadAll(list));
  CHECK(list.GetSize() == 0);
  store.Open();
  list.Add(Item(5, 5));
  CHECK(store.manager.LoadAll(list));
  CHECK(list.GetSize() == 0);
}

TEST_CASE("LoadUsed keeps the visible categories and those set in the mask, in the order of positions") {
  Categories store;
  PutCategory(Visible(L"Visible 3", 3));
  PutCategory(Hidden(L"Hidden 1", 1));
  PutCategory(Hidden(L"Hidden 9", 9));
  PutCategory(Hidden(L"Hidden 17", 17));
  PutCategory(Visible(L"Visible 0", 0));
  PutCategory(Visible(L"Unplaced", -1));
  store.Open();

  CategoryList list;
  // Bits 1 and 9 set; position 17 lies past the mask's end and counts as not set.
  REQUIRE(store.manager.LoadUsed(Mask({0x02, 0x02}), list));
  CHECK(NamesIn(list) == std::vector<std::string>{"Visible 0", "Hidden 1", "Visible 3", "Hidden 9"});

  REQUIRE(store.manager.LoadUsed(ByteBuffer(), list));
  CHECK(NamesIn(list) == std::vector<std::string>{"Visible 0", "Visible 3"});
}

TEST_CASE(
    "NamesOf gives the names of the set bits, from the low bit of the first byte up, sorted, each once") {
  Categories store;
  PutCategory(Visible(L"Zero", 0));
  PutCategory(Visible(L"Eight", 8));
  PutCategory(Visible(L"Work", 9));
  PutCategory(Visible(L"Work", 10));
  PutCategory(Visible(L"work", 11));
  PutCategory(Visible(L"Seven", 7));
  store.Open();

  Array<Str> names;
  REQUIRE(store.manager.NamesOf(Mask({0x01}), names));
  CHECK(Texts(names) == std::vector<std::string>{"Zero"});
  REQUIRE(store.manager.NamesOf(Mask({0x80, 0x01}), names));
  CHECK(Texts(names) == std::vector<std::string>{"Eight", "Seven"});
  // Exact duplicates go; names that differ in case stay.
  REQUIRE(store.manager.NamesOf(Mask({0x00, 0x0E}), names));
  CHECK(Texts(names) == std::vector<std::string>{"work", "Work"});
  // A bit with no category gives nothing.
  REQUIRE(store.manager.NamesOf(Mask({0x00, 0x00, 0x01}), names));
  CHECK(names.GetSize() == 0);
}

TEST_CASE("NamesOf of a mask of zeros, or of no bytes, gives nothing") {
  Categories store;
  PutCategory(Visible(L"Zero", 0));
  store.Open();
  Array<Str> names;
  names.Add(Str(L"stale"));
  REQUIRE(store.manager.NamesOf(Mask({0x00, 0x00, 0x00, 0x00}), names));
  CHECK(names.GetSize() == 0);
  names.Add(Str(L"stale"));
  REQUIRE(store.manager.NamesOf(ByteBuffer(), names));
  CHECK(names.GetSize() == 0);
}

TEST_CASE("IdsOf gives the ids of the set positions through the list, in the order of positions") {
  CategoryList list;
  list.Add(Item(0x500, 5));
  list.Add(Item(0x100, 1));
  list.Add(Item(0x2000, 32));
  list.Add(Item(0x900, 9));
  list.Add(Item(0x300, 3));
  list.Add(Item(0xFF, -1));

  CategoriesDBManager manager;  // needs no database
  Array<CEOID> oids;
  REQUIRE(manager.IdsOf(Mask({0x2A, 0x02, 0x00, 0x00, 0x01}), list, oids));
  CHECK(OidsIn(oids) == std::vector<CEOID>{0x100, 0x300, 0x500, 0x900, 0x2000});
  // Bits without a category in the list are skipped.
  REQUIRE(manager.IdsOf(Mask({0x05}), list, oids));
  CHECK(OidsIn(oids) == std::vector<CEOID>{});
  REQUIRE(manager.IdsOf(Mask({0x0A}), list, oids));
  CHECK(OidsIn(oids) == std::vector<CEOID>{0x100, 0x300});
  // The caller's list keeps its order.
  CHECK(list[0].oid == 0x500);
}

TEST_CASE("MaskOf builds whole 32-bit words; nothing to set gives one zero byte") {
  CategoryList list;
  list.Add(Item(10, 0));
  list.Add(Item(11, 33));
  list.Add(Item(12, 31));
  list.Add(Item(13, -1));
  list.Add(Item(14, 8));

  ByteBuffer mask;
  Array<CEOID> oids;
  CategoriesDBManager::MaskOf(list, oids, mask);
  CHECK(BytesOf(mask) == std::vector<BYTE>{0x00});

  oids.Add(10);
  CategoriesDBManager::MaskOf(list, oids, mask);
  CHECK(BytesOf(mask) == std::vector<BYTE>{0x01, 0x00, 0x00, 0x00});

  oids.Add(11);
  oids.Add(12);
  oids.Add(14);
  CategoriesDBManager::MaskOf(list, oids, mask);
  CHECK(BytesOf(mask) == std::vector<BYTE>{0x01, 0x01, 0x00, 0x80, 0x02, 0x00, 0x00, 0x00});

  // Ids without a position or not in the list set nothing.
  oids.RemoveAll();
  oids.Add(13);
  oids.Add(99);
  CategoriesDBManager::MaskOf(list, oids, mask);
  CHECK(BytesOf(mask) == std::vector<BYTE>{0x00});
}

TEST_CASE("MaskOf and IdsOf undo each other") {
  CategoryList list;
  for (int i = 0; i < 70; ++i) list.Add(Item(static_cast<CEOID>(1000 + i * 7), (i * 37) % 70));
  CategoriesDBManager manager;
  for (int pick = 1; pick < 70; pick += 9) {
    Array<CEOID> oids;
    std::vector<std::pair<int, CEOID>> expected;
    for (int i = 0; i < list.GetSize(); i += pick) {
      oids.Add(list[i].oid);
      expected.push_back({list[i].position, list[i].oid});
    }
    std::sort(expected.begin(), expected.end());
    ByteBuffer mask;
    CategoriesDBManager::MaskOf(list, oids, mask);
    CHECK(mask.GetLength() % 4 == 0);
    Array<CEOID> back;
    REQUIRE(manager.IdsOf(mask, list, back));
    std::vector<CEOID> want;
    for (const auto& entry : expected) want.push_back(entry.second);
    CHECK(OidsIn(back) == want);
  }
}
