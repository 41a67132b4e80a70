// The searches against a reference that works every result out from the rules, over a database of
// generated contacts: random keypad and text queries under the three sort kinds, with and without
// category filters, and the lookup by phone on the generated numbers.
#include <doctest/doctest.h>

#include <random>

#include "SearchTestSupport.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/index/IndexFormat.h"
#include "storage/categories/PPC2003CategoryDBManager.h"

using namespace searchtest;

namespace {

const int kGenerated = 2000;
const int kShaped = 200;
const int kContacts = kGenerated + kShaped;

// Contacts of every shape of name that the generator makes seldom or never: a first name alone, a last
// name alone, a company or a title alone, names of several words, in any case, sharing beginnings.
void WriteShapedContacts(int count, uint32_t seed) {
  std::mt19937 random(seed);
  auto below = [&random](int bound) { return static_cast<int>(random() % static_cast<uint32_t>(bound)); };
  static const wchar_t* const kPieces[] = {L"an",
                                           L"ann",
                                           L"Anna",
                                           L"Ab",
                                           L"Abel",
                                           L"car",
                                           L"Carter",
                                           L"van",
                                           L"der",
                                           L"Berg",
                                           L"O'Neil",
                                           L"Smith-Jones",
                                           L"\u0418\u0432\u0430\u043D",
                                           L"\u00FCber",
                                           L"Al",
                                           L"alma",
                                           L"1st",
                                           L"JO",
                                           L"jo",
                                           L"Jon"};
  const int pieces = static_cast<int>(sizeof kPieces / sizeof kPieces[0]);
  auto name = [&](int words) {
    std::wstring text;
    for (int k = 0; k < words; ++k) {
      if (k > 0) text += below(4) == 0 ? L", " : L" ";
      text += kPieces[below(pieces)];
    }
    return text;
  };
  for (int i = 0; i < count; ++i) {
    Contact c;
    const int words = 1 + (below(4) == 0 ? 1 + below(2) : 0);
    switch (below(6)) {
      case 0:
        c.text[ContactField::FirstName] = name(words).c_str();
        break;
      case 1:
        c.text[ContactField::LastName] = name(words).c_str();
        break;
      case 2:
        c.text[ContactField::Company] = name(words).c_str();
        break;
      case 3:
        c.text[ContactField::LastName] = name(words).c_str();
        c.text[ContactField::FirstName] = name(1).c_str();
        break;
      case 4:
        c.text[ContactField::FirstName] = name(1).c_str();
        c.text[ContactField::Company] = name(words).c_str();
        break;
      default:
        c.text[ContactField::Title] = name(1).c_str();
        break;
    }
    if (below(2) == 0) c.text[ContactField::FileAs] = name(1).c_str();
    // Long numbers, and short ones of five to seven digits that the lookup by phone compares whole or
    // by tails of the same length.
    if (below(3) == 0)
      c.text[ContactField::MobilePhone] = (L"+7 9" + std::to_wstring(10000000 + below(89999999))).c_str();
    if (below(3) == 0) {
      std::wstring digits;
      for (int n = 5 + below(3); n > 0; --n) digits += static_cast<wchar_t>(L'0' + below(10));
      c.text[ContactField::HomePhone] = digits.c_str();
    }
    WriteContact(c);
  }
}

// One database for the whole program: written, indexed and read by the reference once. The manager
// stays open until the process ends.
struct World {
  World() {
    FreshEnglishDevice();
    written = managertest::WriteGenerated(kGenerated, 11);
    WriteShapedContacts(kShaped, 12);
    opened = manager.Open(GetModuleHandleW(nullptr), &listener, nullptr, nullptr);
    loaded = opened && reference.Load(manager.Index());
    CategoriesDBManager categories;
    CategoryList list;
    if (categories.Open() && categories.LoadAll(list)) {
      for (int i = 0; i < list.GetSize(); ++i) {
        categoryNames.push_back(static_cast<const wchar_t*>(list[i].name));
        categoryIds.push_back(list[i].oid);
      }
    }
  }
  std::vector<CEOID> written;
  managertest::RecordingListener listener;
  ContactManager manager;
  BOOL opened = FALSE;
  bool loaded = false;
  Reference reference;
  std::vector<std::wstring> categoryNames;
  std::vector<CEOID> categoryIds;
};

World& TheWorld() {
  static World* world = new World();
  return *world;
}

const wchar_t kGroupKeys[] = L"adgjmptw";

// Random queries made from what the contacts hold.
class Queries {
 public:
  Queries(const Reference& reference, uint32_t seed) : ref(reference), random(seed) {}

  int Below(int bound) { return bound <= 0 ? 0 : static_cast<int>(random() % static_cast<uint32_t>(bound)); }

  const RefContact& AnyContact() {
    return ref.contacts[static_cast<size_t>(Below(static_cast<int>(ref.contacts.size())))];
  }

  template <class Set>
  std::wstring AnyOf(const Set& set) {
    if (set.empty()) return L"";
    auto at = set.begin();
    std::advance(at, Below(static_cast<int>(set.size())));
    return *at;
  }

  std::wstring Prefix(const std::wstring& text, int shortest, int longest) {
    if (text.empty()) return text;
    int length = shortest + Below(longest - shortest + 1);
    return text.substr(0, std::min(text.size(), static_cast<size_t>(length)));
  }

  // Keys of 1 to 5 characters: the beginning of a contact's keys, or any keys at all.
  std::wstring Keypad() {
    if (Below(3) > 0) {
      std::wstring key = AnyOf(AnyContact().keypadKeys);
      if (!key.empty()) return Prefix(key, 1, 5);
    }
    std::wstring key;
    for (int n = 1 + Below(5); n > 0; --n) key += kGroupKeys[Below(8)];
    return key;
  }

  // A word's beginning, now and then in capitals or between blanks; two words; a phone's digits; or
  // letters at random.
  std::wstring Text() {
    switch (Below(10)) {
      case 0:
      case 1:
      case 2:
      case 3: {
        std::wstring word = Prefix(AnyOf(AnyContact().wordKeys), 1, 6);
        if (Below(5) == 0) CharUpperBuffW(&word[0], static_cast<DWORD>(word.size()));
        if (Below(8) == 0) word = L"  " + word + L" ";
        if (Below(16) == 0) word = L"\v" + word + L"\f";
        return word;
      }
      case 4: {
        const RefContact& c = AnyContact();
        return Prefix(AnyOf(c.wordKeys), 1, 5) + (Below(2) ? L" " : L", ") + Prefix(AnyOf(c.wordKeys), 1, 5);
      }
      case 5:
        return Prefix(AnyOf(AnyContact().wordKeys), 1, 3) + L" " + Prefix(AnyOf(AnyContact().wordKeys), 1, 3);
      case 6: {
        const RefContact& c = AnyContact();
        const std::wstring& name = Below(3) == 0 ? c.first : Below(2) ? c.last : c.company;
        return Prefix(name, 2, 4);
      }
      case 7: {
        std::wstring letters;
        for (int n = 1 + Below(3); n > 0; --n) letters += static_cast<wchar_t>(L'a' + Below(26));
        return letters;
      }
      default:
        return Digits();
    }
  }

  // Two to six digits from a phone of a contact, or at random.
  std::wstring Digits() {
    const RefContact& c = AnyContact();
    if (!c.phones.empty() && Below(4) > 0) {
      std::wstring phone = c.phones[static_cast<size_t>(Below(static_cast<int>(c.phones.size())))];
      int length = 2 + Below(5);
      if (static_cast<int>(phone.size()) <= length) return phone;
      return phone.substr(static_cast<size_t>(Below(static_cast<int>(phone.size()) - length + 1)),
                          static_cast<size_t>(length));
    }
    std::wstring digits;
    for (int n = 2 + Below(4); n > 0; --n) digits += static_cast<wchar_t>(L'0' + Below(10));
    return digits;
  }

 private:
  const Reference& ref;
  std::mt19937 random;
};

// Counts the disagreements and shows the first few in full.
struct Tally {
  int queries = 0, found = 0, wrong = 0;
  template <class T>
  void Compare(const std::string& what, const T& got, const T& want, bool wantFound,
               const std::string& shownGot, const std::string& shownWant) {
    ++queries;
    if (wantFound) ++found;
    if (got == want) return;
    if (++wrong <= 5) FAIL_CHECK(what << "\n  got  " << shownGot << "\n  want " << shownWant);
  }
};

std::string ShowGroups(const std::vector<uint32_t>& flat, const std::vector<std::wstring>& titles) {
  std::string text;
  size_t k = 0;
  for (size_t g = 0; g < titles.size() && k < flat.size(); ++g) {
    text += "{" + Show(titles[g]) + ":";
    uint32_t size = flat[k++];
    for (uint32_t n = 0; n < size && k < flat.size(); ++n) text += " " + managertest::Hex(flat[k++]);
    text += "} ";
  }
  return text;
}

void CheckPlain(World& world, Tally& tally, const std::wstring& query, bool keypad, int kind,
                const RefFilter& ref, const CategoryFilter& filter) {
  Array<CEOID> out;
  const BOOL ok = keypad ? world.manager.KeypadSearch(Str(query.c_str()), kind, filter, out)
                         : world.manager.Search(Str(query.c_str()), kind, filter, out, nullptr);
  const std::vector<CEOID> got = ok ? Ids(out) : std::vector<CEOID>{0xFFFFFFFFu};
  const std::vector<CEOID> want =
      keypad ? world.reference.KeypadSearch(query, kind, ref) : world.reference.Search(query, kind, ref);
  tally.Compare(std::string(keypad ? "keypad" : "text") + " '" + Show(query) + "' kind " +
                    std::to_string(kind) + (ref.active ? " filtered" : ""),
                got, want, !want.empty(), Show(got), Show(want));
}

void CheckGrouped(World& world, Tally& tally, const std::wstring& query, bool keypad, const RefFilter& ref,
                  const CategoryFilter& filter) {
  Array<uint32_t> flat;
  Array<Str> titles;
  const BOOL ok = keypad ? world.manager.GroupedKeypadSearch(Str(query.c_str()), filter, flat, titles)
                         : world.manager.GroupedSearch(Str(query.c_str()), filter, flat, titles, nullptr);
  std::vector<uint32_t> gotFlat = ok ? Flat(flat) : std::vector<uint32_t>{0xFFFFFFFFu};
  std::vector<std::wstring> gotTitles = Titles(titles);
  std::vector<uint32_t> wantFlat;
  std::vector<std::wstring> wantTitles;
  world.reference.Grouped(query, keypad, ref, wantFlat, wantTitles);
  tally.Compare(std::string(keypad ? "grouped keypad" : "grouped text") + " '" + Show(query) + "'" +
                    (ref.active ? " filtered" : ""),
                std::make_pair(gotFlat, gotTitles), std::make_pair(wantFlat, wantTitles), !wantFlat.empty(),
                ShowGroups(gotFlat, gotTitles), ShowGroups(wantFlat, wantTitles));
}

// A filter of up to two of the categories in use, or of none.
void PickFilter(World& world, Queries& queries, RefFilter& ref, CategoryFilter& filter) {
  ref = RefFilter();
  filter = CategoryFilter();
  ref.active = true;
  filter.active = 1;
  for (int n = queries.Below(3); n > 0 && !world.categoryIds.empty(); --n) {
    int k = queries.Below(static_cast<int>(world.categoryIds.size()));
    ref.names.push_back(world.categoryNames[static_cast<size_t>(k)]);
    filter.categories.Add(world.categoryIds[static_cast<size_t>(k)]);
  }
}

}  // namespace

// Seen once here, so the reference's world is made before any case is timed by the others.
TEST_CASE("the reference world: generated contacts, indexed, read by the reference") {
  World& world = TheWorld();
  REQUIRE(world.written.size() == static_cast<size_t>(kGenerated));
  REQUIRE(world.opened);
  REQUIRE(world.loaded);
  CHECK(world.reference.contacts.size() == static_cast<size_t>(kContacts));
  CHECK(world.reference.sorted[0].size() == static_cast<size_t>(kContacts));
  CHECK(world.categoryIds.size() >= 3);
  // The manager read the English letter set.
  CHECK(g_keypadGroups.GetCount() == 8);
  CHECK(std::wstring(g_keypadGroups.GetAt(5)) == L"pqrs");
}

TEST_CASE("keypad searches agree with the reference under the three sort kinds") {
  World& world = TheWorld();
  REQUIRE(world.loaded);
  Queries queries(world.reference, 101);
  Tally tally;
  const RefFilter none;
  const CategoryFilter off;
  for (int i = 0; i < 1200; ++i) {
    const std::wstring query = queries.Keypad();
    CheckPlain(world, tally, query, true, i % 2, none, off);
    if (i % 4 == 0) CheckGrouped(world, tally, query, true, none, off);
  }
  CheckPlain(world, tally, L"", true, 0, none, off);
  CheckPlain(world, tally, L"", true, 1, none, off);
  CheckGrouped(world, tally, L"", true, none, off);
  CHECK(tally.wrong == 0);
  CHECK(tally.found * 2 > tally.queries);
  MESSAGE(tally.queries << " keypad searches, " << tally.found << " with results");
}

TEST_CASE("text searches agree with the reference under the three sort kinds") {
  World& world = TheWorld();
  REQUIRE(world.loaded);
  Queries queries(world.reference, 202);
  Tally tally;
  const RefFilter none;
  const CategoryFilter off;
  for (int i = 0; i < 1200; ++i) {
    const std::wstring query = queries.Text();
    CheckPlain(world, tally, query, false, i % 2, none, off);
    if (i % 4 == 0) CheckGrouped(world, tally, query, false, none, off);
  }
  CheckPlain(world, tally, L"", false, 0, none, off);
  CheckPlain(world, tally, L"   ", false, 0, none, off);
  CheckGrouped(world, tally, L"", false, none, off);
  CHECK(tally.wrong == 0);
  CHECK(tally.found * 2 > tally.queries);
  MESSAGE(tally.queries << " text searches, " << tally.found << " with results");
}

TEST_CASE("searches agree with the reference with the name keys empty, filled again, and the aids off") {
  World& world = TheWorld();
  REQUIRE(world.loaded);
  ContactManager& m = world.manager;
  const RefFilter none;
  const CategoryFilter off;
  // 0: a start in step, nothing filled yet; 1: half filled by idle slices; 2: all filled; 3: aids off.
  for (int mode = 0; mode < 4; ++mode) {
    CAPTURE(mode);
    m.SetSearchAids(mode < 3 ? TRUE : FALSE);
    m.NameKeys().Clear();
    if (mode == 1) {
      while (m.NameKeys().Count() < kContacts / 2) m.FillNameKeys(1);
    } else if (mode == 2) {
      REQUIRE(m.FillNameKeys(0));
      CHECK(m.NameKeys().Count() == kContacts);
    }
    Queries queries(world.reference, 505 + static_cast<uint32_t>(mode));
    Tally tally;
    for (int i = 0; i < 300; ++i) {
      CheckPlain(world, tally, queries.Keypad(), true, i % 2, none, off);
      CheckPlain(world, tally, queries.Text(), false, i % 2, none, off);
    }
    CHECK(tally.wrong == 0);
  }
  m.SetSearchAids(TRUE);
  REQUIRE(m.FillNameKeys(0));
}

TEST_CASE("searches under category filters agree with the reference") {
  World& world = TheWorld();
  REQUIRE(world.loaded);
  Queries queries(world.reference, 303);
  Tally tally;
  RefFilter ref;
  CategoryFilter filter;
  for (int i = 0; i < 120; ++i) {
    PickFilter(world, queries, ref, filter);
    const bool keypad = i % 2 == 0;
    const std::wstring query = i % 10 == 0 ? L"" : keypad ? queries.Keypad() : queries.Text();
    CheckPlain(world, tally, query, keypad, (i / 2) % 2, ref, filter);
    if (i % 3 == 0) CheckGrouped(world, tally, query, keypad, ref, filter);
  }
  CHECK(tally.wrong == 0);
  MESSAGE(tally.queries << " filtered searches, " << tally.found << " with results");
}

TEST_CASE("FindByPhone agrees with the reference on the generated numbers") {
  World& world = TheWorld();
  REQUIRE(world.loaded);
  Queries queries(world.reference, 404);
  Tally tally;
  int hits = 0;
  // Half the lookups start from contacts with a short number, where the rules for six and seven digits
  // decide.
  std::vector<const RefContact*> shortNumbers;
  for (const RefContact& c : world.reference.contacts) {
    for (const std::wstring& phone : c.phones)
      if (phone.size() <= 7) {
        shortNumbers.push_back(&c);
        break;
      }
  }
  REQUIRE(shortNumbers.size() >= 20);
  for (int i = 0; i < 400; ++i) {
    const RefContact& c =
        i % 2 == 0 ? queries.AnyContact()
                   : *shortNumbers[static_cast<size_t>(queries.Below(static_cast<int>(shortNumbers.size())))];
    std::wstring number =
        c.phones.empty() ? queries.Digits()
                         : c.phones[static_cast<size_t>(queries.Below(static_cast<int>(c.phones.size())))];
    switch (queries.Below(7)) {
      case 0:
        number = L"+" + std::to_wstring(queries.Below(99)) + L" " + number;
        break;  // a country code
      case 1:
        number = number.substr(number.size() > 6 ? number.size() - 6 : 0);
        break;  // six digits or fewer
      case 2:
        number = number.substr(number.size() > 5 ? number.size() - 5 : 0);
        break;
      case 3:
        number = L"tel " + number.substr(0, number.size() / 2) + L"-x-" + number.substr(number.size() / 2);
        break;
      case 4:
        number = queries.Digits() + queries.Digits();
        break;
      case 5:
        number = std::to_wstring(queries.Below(10)) + number;
        break;  // one digit more
      default:
        break;
    }
    const int minDigits = 4 + queries.Below(5);
    Array<CEOID> ids;
    Array<Str> numbers;
    const int count = world.manager.FindByPhone(Str(number.c_str()), ids, &numbers, minDigits, 0);
    std::vector<std::wstring> wantNumbers;
    const std::vector<CEOID> want = world.reference.FindByPhone(number, &wantNumbers, minDigits);
    const std::vector<CEOID> got = Ids(ids);
    std::vector<std::wstring> gotNumbers = Titles(numbers);
    hits += want.empty() ? 0 : 1;
    std::string shownGotNumbers, shownWantNumbers;
    for (const std::wstring& n : gotNumbers) shownGotNumbers += " " + Show(n);
    for (const std::wstring& n : wantNumbers) shownWantNumbers += " " + Show(n);
    tally.Compare("FindByPhone '" + Show(number) + "' min " + std::to_string(minDigits),
                  std::make_pair(got, gotNumbers), std::make_pair(want, wantNumbers), !want.empty(),
                  Show(got) + shownGotNumbers, Show(want) + shownWantNumbers);
    CHECK(count == static_cast<int>(got.size()));
  }
  CHECK(tally.wrong == 0);
  CHECK(hits * 3 > tally.queries);
  MESSAGE(tally.queries << " numbers looked up, " << hits << " found");
}
