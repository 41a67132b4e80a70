// The use counts of the categories as the contact writes keep them: every add counts the contact's
// categories, every update counts the difference, every delete uncounts.
#include "CategoriesTestSupport.h"

#include "storage/contact/ContactDatabase.h"
#include "storage/categories/PPC2003CategoryDBManager.h"

#include <doctest/doctest.h>

#include <map>
#include <random>

using namespace cattest;

namespace {

// A clean store, the categories given, and a contacts database open on it that counts through its
// own categories manager.
struct Store {
  ContactDatabase db;
  std::vector<CEOID> categories;  // by position

  explicit Store(const std::vector<Category>& given = {}) {
    MakeCleanStore();
    for (const Category& category : given) categories.push_back(PutCategory(category));
    REQUIRE(db.Open(nullptr));
  }

  CEOID Add(const std::vector<BYTE>& mask) {
    Contact contact;
    contact.text[ContactField::LastName] = L"Somebody";
    contact.categories = Mask(mask);
    REQUIRE(db.AddContact(contact, true));
    return contact.oid;
  }

  void Update(CEOID oid, const std::vector<BYTE>& mask) {
    Contact contact;
    REQUIRE(db.LoadByOid(oid, contact));
    contact.categories = Mask(mask);
    REQUIRE(db.UpdateContact(contact, true));
  }

  int Count(int index) { return ContactsCountOf(categories[static_cast<size_t>(index)]); }
  std::vector<int> Counts() {
    std::vector<int> counts;
    for (size_t i = 0; i < categories.size(); ++i) counts.push_back(ContactsCountOf(categories[i]));
    return counts;
  }
};

std::vector<Category> VisibleAt(int count) {
  std::vector<Category> given;
  for (int position = 0; position < count; ++position)
    given.push_back(Visible(L"Category " + std::to_wstring(position), position, 0));
  return given;
}

}  // namespace

TEST_CASE("the contacts database counts through its own categories manager from the start") {
  ContactDatabase db;
  CHECK(db.GetCategoryCounter() == static_cast<CategoryCounter*>(&db.Categories()));
}

TEST_CASE("adding a contact counts each of its categories once; other applications' counters stay") {
  Store store(VisibleAt(10));
  store.Add({0x05, 0x02});
  CHECK(store.Counts() == std::vector<int>{1, 0, 1, 0, 0, 0, 0, 0, 0, 1});
  store.Add({0x01, 0x00, 0x00, 0x00});
  CHECK(store.Counts() == std::vector<int>{2, 0, 1, 0, 0, 0, 0, 0, 0, 1});
  RawCategory raw;
  REQUIRE(ReadCategory(store.categories[0], raw));
  CHECK(raw.Number(0x4005) == 0);
  CHECK(raw.Number(0x4006) == 0);
  CHECK(raw.Number(0x4003) == 1);
}

TEST_CASE("a contact without categories, or with one zero byte, counts nothing") {
  Store store(VisibleAt(2));
  store.Add({});
  store.Add({0x00});
  CHECK(store.Counts() == std::vector<int>{0, 0});
}

TEST_CASE("an update counts down the categories it drops and up those it adds; the kept ones stay") {
  Store store(VisibleAt(9));
  CEOID oid = store.Add({0x03});
  CHECK(store.Counts() == std::vector<int>{1, 1, 0, 0, 0, 0, 0, 0, 0});
  store.Update(oid, {0x06, 0x01});
  CHECK(store.Counts() == std::vector<int>{0, 1, 1, 0, 0, 0, 0, 0, 1});
  // The shorter mask counts as padded with zeros.
  store.Update(oid, {0x02});
  CHECK(store.Counts() == std::vector<int>{0, 1, 0, 0, 0, 0, 0, 0, 0});
  // One zero byte takes the categories away.
  store.Update(oid, {0x00});
  CHECK(store.Counts() == std::vector<int>{0, 0, 0, 0, 0, 0, 0, 0, 0});
}

TEST_CASE("changing a contact from mask 0x01 to 0x01 0x00 changes no count") {
  Store store(VisibleAt(9));
  CEOID oid = store.Add({0x01});
  store.Add({0x01});
  CHECK(store.Counts() == std::vector<int>{2, 0, 0, 0, 0, 0, 0, 0, 0});
  unsigned long long before = CategoriesModified();
  store.Update(oid, {0x01, 0x00});
  CHECK(store.Counts() == std::vector<int>{2, 0, 0, 0, 0, 0, 0, 0, 0});
  CHECK(CategoriesModified() == before);
}

TEST_CASE("deleting a contact uncounts its categories") {
  Store store(VisibleAt(3));
  CEOID first = store.Add({0x07});
  CEOID second = store.Add({0x04});
  CHECK(store.Counts() == std::vector<int>{1, 1, 2});
  REQUIRE(store.db.DeleteContact(first));
  CHECK(store.Counts() == std::vector<int>{0, 0, 1});
  REQUIRE(store.db.DeleteContact(second));
  CHECK(store.Counts() == std::vector<int>{0, 0, 0});
}

TEST_CASE("uncounting the last use of a visible category keeps the record with a count of 0") {
  Store store({Visible(L"Family", 0, 0)});
  CEOID oid = store.Add({0x01});
  CHECK(store.Count(0) == 1);
  REQUIRE(store.db.DeleteContact(oid));
  RawCategory raw;
  REQUIRE(ReadCategory(store.categories[0], raw));
  CHECK(raw.Number(0x4004) == 0);
  CHECK(raw.Number(0x4003) == 1);
  CHECK(CategoryCount() == 1);
}

TEST_CASE(
    "uncounting the last use of a hidden category deletes it, unless another application's counter is "
    "non-zero") {
  Category second = Hidden(L"Second counts", 1, 0);
  second.second = 2;
  Category third = Hidden(L"Third counts", 2, 0);
  third.third = 1;
  Category noVisibility;
  noVisibility.name = L"No visibility";
  noVisibility.position = 3;
  noVisibility.contacts = 0;
  Store store({Hidden(L"Gone", 0, 0), second, third, noVisibility});

  CEOID oid = store.Add({0x0F});
  CHECK(store.Counts() == std::vector<int>{1, 1, 1, 1});
  store.Update(oid, {0x0E});
  RawCategory raw;
  CHECK_FALSE(ReadCategory(store.categories[0], raw));
  CHECK(CategoryCount() == 3);

  REQUIRE(store.db.DeleteContact(oid));
  REQUIRE(ReadCategory(store.categories[1], raw));
  CHECK(raw.Number(0x4004) == 0);
  CHECK(raw.Number(0x4005) == 2);
  REQUIRE(ReadCategory(store.categories[2], raw));
  CHECK(raw.Number(0x4004) == 0);
  CHECK(raw.Number(0x4006) == 1);
  // Without a visibility flag the category isn't known to be hidden, and stays.
  REQUIRE(ReadCategory(store.categories[3], raw));
  CHECK(raw.Number(0x4004) == 0);
  CHECK(CategoryCount() == 3);
}

TEST_CASE("a hidden category still used by other contacts is counted down and kept") {
  Store store({Hidden(L"Hidden", 0, 0)});
  CEOID first = store.Add({0x01});
  store.Add({0x01});
  CHECK(store.Count(0) == 2);
  REQUIRE(store.db.DeleteContact(first));
  CHECK(store.Count(0) == 1);
}

TEST_CASE("bits without a category, and categories without this program's counter, count nothing") {
  Category noCounter;
  noCounter.name = L"No counter";
  noCounter.position = 1;
  noCounter.visible = 1;
  noCounter.second = 4;
  Store store({Visible(L"Zero", 0, 0), noCounter});
  CHECK(store.db.Categories().CountContact(Mask({0x83, 0x00, 0x40})));
  CHECK(store.Counts() == std::vector<int>{1, kAbsent});
  RawCategory raw;
  REQUIRE(ReadCategory(store.categories[1], raw));
  CHECK(raw.Number(0x4005) == 4);
  CHECK(store.db.Categories().UncountContact(Mask({0x83, 0x00, 0x40})));
  CHECK(store.Counts() == std::vector<int>{0, kAbsent});
  CHECK(CategoryCount() == 2);
}

TEST_CASE("a count of 0 is not counted below 0") {
  Store store({Visible(L"Zero", 0, 0)});
  CHECK(store.db.Categories().UncountContact(Mask({0x01})));
  CHECK(store.Count(0) == 0);
}

TEST_CASE("RecountContact pads the shorter mask with zeros on either side") {
  Store store(VisibleAt(16));
  CategoriesDBManager& manager = store.db.Categories();
  REQUIRE(manager.CountContact(Mask({0x01, 0x02})));
  REQUIRE(manager.RecountContact(Mask({0x01, 0x02}), Mask({0x01})));
  std::vector<int> expected(16, 0);
  expected[0] = 1;
  CHECK(store.Counts() == expected);
  REQUIRE(manager.RecountContact(Mask({0x01}), Mask({0x01, 0x80})));
  expected[15] = 1;
  CHECK(store.Counts() == expected);
}

TEST_CASE("the manager's counter can be another application's") {
  Store store(VisibleAt(1));
  CategoriesDBManager& manager = store.db.Categories();
  CHECK(manager.GetCounterProperty() == 0x4004);
  manager.SetCounterProperty(0x4005);
  REQUIRE(manager.CountContact(Mask({0x01})));
  RawCategory raw;
  REQUIRE(ReadCategory(store.categories[0], raw));
  CHECK(raw.Number(0x4004) == 0);
  CHECK(raw.Number(0x4005) == 1);
}

TEST_CASE("with the counter taken away the writes count nothing") {
  Store store(VisibleAt(1));
  store.db.SetCategoryCounter(nullptr);
  CEOID oid = store.Add({0x01});
  store.Update(oid, {0x00});
  CHECK(store.Count(0) == 0);
}

TEST_CASE(
    "after any sequence of adds, updates and deletes each count is the number of contacts in the category") {
  const int kCategories = 12;
  Store store(VisibleAt(kCategories));
  std::mt19937 random(20260611u);
  std::map<CEOID, std::vector<BYTE>> alive;

  auto randomMask = [&]() {
    std::vector<BYTE> mask(random() % 5);  // 0 to 4 bytes; positions past 11 have no category
    for (BYTE& byte : mask) byte = static_cast<BYTE>(random() % 3 == 0 ? 0 : random() & 0xFF);
    return mask;
  };
  auto check = [&]() {
    std::vector<int> expected(kCategories, 0);
    for (const auto& contact : alive) {
      for (int position = 0; position < kCategories; ++position) {
        size_t byte = static_cast<size_t>(position / 8);
        if (byte < contact.second.size() && (contact.second[byte] >> (position % 8)) & 1)
          ++expected[static_cast<size_t>(position)];
      }
    }
    return store.Counts() == expected;
  };

  for (int step = 0; step < 120; ++step) {
    int action = static_cast<int>(random() % 3);
    if (action == 0 || alive.empty()) {
      std::vector<BYTE> mask = randomMask();
      alive[store.Add(mask)] = mask;
    } else {
      auto it = alive.begin();
      std::advance(it, static_cast<long>(random() % alive.size()));
      if (action == 1) {
        std::vector<BYTE> mask = randomMask();
        // An empty mask leaves the stored categories as they were; the test keeps to masks
        // that the program writes.
        if (mask.empty()) mask.push_back(0);
        store.Update(it->first, mask);
        it->second = mask;
      } else {
        REQUIRE(store.db.DeleteContact(it->first));
        alive.erase(it);
      }
    }
    REQUIRE_MESSAGE(check(), "after step " << step);
  }
}
