// New positions, finding and adding categories by name, and deleting them.
#include "CategoriesTestSupport.h"

#include "TracerBoxWatcher.h"
#include "storage/categories/PPC2003CategoryDBManager.h"

#include <doctest/doctest.h>

using namespace cattest;

namespace {

// A clean store and a manager open on it.
struct Categories {
  CategoriesDBManager manager;
  explicit Categories(bool withNameOrder = true) { MakeCleanStore(withNameOrder); }
  void Open() { REQUIRE(manager.Open()); }
  int NewPosition() {
    int16_t position = -7;
    REQUIRE(manager.GetNewCatPosition(position));
    return position;
  }
};

}  // namespace

TEST_CASE("positions 0, 1, 3 give a new position of 2") {
  Categories store;
  PutCategory(Visible(L"Zero", 0));
  PutCategory(Visible(L"Three", 3));
  PutCategory(Visible(L"One", 1));
  store.Open();
  CHECK(store.NewPosition() == 2);
}

TEST_CASE("positions 1, 2 give 0") {
  Categories store;
  PutCategory(Visible(L"One", 1));
  PutCategory(Visible(L"Two", 2));
  store.Open();
  CHECK(store.NewPosition() == 0);
}

TEST_CASE("an empty database gives 0") {
  Categories store;
  store.Open();
  CHECK(store.NewPosition() == 0);
}

TEST_CASE("without a gap the new position is the last plus 1") {
  Categories store;
  for (int position = 0; position < 5; ++position)
    PutCategory(Visible(L"C" + std::to_wstring(position), position));
  store.Open();
  CHECK(store.NewPosition() == 5);
}

TEST_CASE("records without a position, with position -1, or twice at one position leave no gap") {
  Categories store;
  PutCategory(Visible(L"Zero", 0));
  PutCategory(Visible(L"Zero again", 0));
  PutCategory(Visible(L"None", -1));
  Category unplaced;
  unplaced.name = L"Unplaced";
  unplaced.visible = 1;
  PutCategory(unplaced);
  PutCategory(Visible(L"One", 1));
  PutCategory(Visible(L"Four", 4));
  store.Open();
  CHECK(store.NewPosition() == 2);
}

TEST_CASE(
    "a seek that fails for another reason than a missing position shows the developers' box and fails") {
  Categories store;  // not opened: the seek has no database
  TracerBoxWatcher boxes;
  int16_t position = 5;
  CHECK_FALSE(store.manager.GetNewCatPosition(position));
  CHECK(boxes.Texts() ==
        std::vector<std::wstring>{L"CategoriesDBManager::GetNewCatPosition: not error seek"});
}

TEST_CASE("FindOrAdd adds a missing name at the lowest free position, visible and with zero counts") {
  Categories store;
  PutCategory(Visible(L"Zero", 0));
  PutCategory(Visible(L"Two", 2));
  store.Open();
  CEOID oid = 0;
  CHECK(store.manager.FindOrAdd(Str(L"Friends"), oid) == CategoryAdded);
  REQUIRE(oid != 0);
  RawCategory raw;
  REQUIRE(ReadCategory(oid, raw));
  CHECK(U8(raw.texts[0x4001].c_str()) == "Friends");
  CHECK(raw.Number(0x4002) == 1);
  CHECK(raw.Number(0x4003) == 1);
  CHECK(raw.Number(0x4004) == 0);
  CHECK(raw.Number(0x4005) == 0);
  CHECK(raw.Number(0x4006) == 0);
  CHECK(CategoryCount() == 3);

  // Asked again, the same record is found and nothing is added.
  CEOID again = 0;
  CHECK(store.manager.FindOrAdd(Str(L"Friends"), again) == CategoryExisted);
  CHECK(again == oid);
  CHECK(CategoryCount() == 3);
}

TEST_CASE("a category name that exists, hidden, becomes visible and keeps its position") {
  Categories store;
  PutCategory(Visible(L"Zero", 0));
  CEOID hidden = PutCategory(Hidden(L"Holiday", 5, 2));
  store.Open();
  CEOID oid = 0;
  CHECK(store.manager.FindOrAdd(Str(L"Holiday"), oid) == CategoryExisted);
  CHECK(oid == hidden);
  RawCategory raw;
  REQUIRE(ReadCategory(hidden, raw));
  CHECK(raw.Number(0x4003) == 1);
  CHECK(raw.Number(0x4002) == 5);
  CHECK(raw.Number(0x4004) == 2);
  CHECK(CategoryCount() == 2);
}

TEST_CASE("a found category without a visibility or a position gets both, at the lowest free position") {
  Categories store;
  PutCategory(Visible(L"Zero", 0));
  Category bare;
  bare.name = L"Bare";
  bare.contacts = 0;
  CEOID oid = PutCategory(bare);
  store.Open();
  CEOID found = 0;
  CHECK(store.manager.FindOrAdd(Str(L"Bare"), found) == CategoryExisted);
  CHECK(found == oid);
  RawCategory raw;
  REQUIRE(ReadCategory(oid, raw));
  CHECK(raw.Number(0x4003) == 1);
  CHECK(raw.Number(0x4002) == 1);
}

TEST_CASE("a found category that is visible and placed is not written") {
  Categories store;
  CEOID oid = PutCategory(Visible(L"Work", 3, 4));
  store.Open();
  unsigned long long before = CategoriesModified();
  REQUIRE(before != 0);
  CEOID found = 0;
  CHECK(store.manager.FindOrAdd(Str(L"Work"), found) == CategoryExisted);
  CHECK(found == oid);
  CHECK(CategoriesModified() == before);
  RawCategory raw;
  REQUIRE(ReadCategory(oid, raw));
  CHECK(raw.numbers.size() == 5);
  CHECK(raw.Number(0x4002) == 3);
  CHECK(raw.Number(0x4003) == 1);
  CHECK(raw.Number(0x4004) == 4);
}

TEST_CASE("FindOrAdd fails when the database has no order by name") {
  Categories store(false);
  store.Open();
  CEOID oid = 77;
  CHECK(store.manager.FindOrAdd(Str(L"Friends"), oid) == CategoryFailed);
  CHECK(oid == 0);
  CHECK(CategoryCount() == 0);
}

TEST_CASE("Delete hides a category that some application still counts") {
  Categories store;
  CEOID ours = PutCategory(Visible(L"Ours", 0, 3));
  Category theirs = Visible(L"Theirs", 1, 0);
  theirs.third = 1;
  CEOID other = PutCategory(theirs);
  store.Open();

  CHECK(store.manager.Delete(ours));
  CHECK(store.manager.Delete(other));
  RawCategory raw;
  REQUIRE(ReadCategory(ours, raw));
  CHECK(raw.Number(0x4003) == 0);
  CHECK(raw.Number(0x4004) == 3);
  REQUIRE(ReadCategory(other, raw));
  CHECK(raw.Number(0x4003) == 0);
  CHECK(CategoryCount() == 2);

  // Hidden already: stays hidden.
  CHECK(store.manager.Delete(ours));
  REQUIRE(ReadCategory(ours, raw));
  CHECK(raw.Number(0x4003) == 0);
}

TEST_CASE("Delete removes an unused category; oid 0 stands for the current record; a missing oid fails") {
  Categories store;
  CEOID unused = PutCategory(Visible(L"Unused", 0, 0));
  Category uncounted;
  uncounted.name = L"Uncounted";
  uncounted.position = 1;
  CEOID bare = PutCategory(uncounted);
  CEOID kept = PutCategory(Visible(L"Kept", 2, 1));
  store.Open();

  CHECK(store.manager.Delete(unused));
  RawCategory raw;
  CHECK_FALSE(ReadCategory(unused, raw));
  CHECK_FALSE(store.manager.Delete(unused));

  REQUIRE(store.manager.SeekOid(bare) == bare);
  CHECK(store.manager.Delete(0));
  CHECK_FALSE(ReadCategory(bare, raw));
  CHECK(ReadCategory(kept, raw));
  CHECK(CategoryCount() == 1);
}
