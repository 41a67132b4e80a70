// The searches on small databases made for each case: ordering, ranking by name, the two trees, the
// lookup by phone, category filters, cancels and the SIM stage.
#include <doctest/doctest.h>

#include <memory>
#include <set>

#include "SearchTestSupport.h"
#include "extended/ContactNote.h"
#include "storage/contact/HideSim.h"
#include "storage/categories/PPC2003CategoryDBManager.h"
#include "storage/index/IndexFormat.h"

using namespace searchtest;

namespace {

const CategoryFilter kNoFilter;

std::vector<CEOID> Listed(ContactManager& manager, int kind) {
  Array<CEOID> ids;
  manager.Index().ListAll(kind, ids);
  return Ids(ids);
}

std::vector<CEOID> Found(ContactManager& manager, const wchar_t* query, int kind,
                         const CategoryFilter& filter = kNoFilter) {
  Array<CEOID> out;
  REQUIRE(manager.Search(Str(query), kind, filter, out, nullptr));
  return Ids(out);
}

std::vector<CEOID> Keyed(ContactManager& manager, const wchar_t* query, int kind,
                         const CategoryFilter& filter = kNoFilter) {
  Array<CEOID> out;
  REQUIRE(manager.KeypadSearch(Str(query), kind, filter, out));
  return Ids(out);
}

std::vector<CEOID> Grouped(ContactManager& manager, const wchar_t* query, bool keypad,
                           const CategoryFilter& filter = kNoFilter) {
  Array<uint32_t> flat;
  Array<Str> titles;
  if (keypad)
    REQUIRE(manager.GroupedKeypadSearch(Str(query), filter, flat, titles));
  else
    REQUIRE(manager.GroupedSearch(Str(query), filter, flat, titles, nullptr));
  // The ids without the group sizes.
  std::vector<CEOID> ids;
  for (int k = 0; k < flat.GetSize();) {
    const int size = static_cast<int>(flat[k++]);
    for (int n = 0; n < size; ++n) ids.push_back(flat[k++]);
  }
  return ids;
}

std::vector<CEOID> Sorted(std::vector<CEOID> ids) {
  std::sort(ids.begin(), ids.end());
  return ids;
}

CEOID WriteWithPhones(const wchar_t* last, const wchar_t* first, const wchar_t* mobile,
                      const wchar_t* further = L"", const wchar_t* fileAs = L"") {
  Contact c = NamedContact(last, first, L"", fileAs);
  c.text[ContactField::MobilePhone] = mobile;
  if (further[0] != 0) {
    c.Phone.Add(LabelValue{Str(L"Dacha"), Str(further)});
    ContactNote note;
    note.MergeIntoNote(c);
  }
  return WriteContact(c);
}

CategoryFilter FilterOf(const std::vector<const wchar_t*>& names, bool active = true) {
  CategoryFilter filter;
  filter.active = active ? 1 : 0;
  for (const wchar_t* name : names) filter.categories.Add(CategoryId(name));
  return filter;
}

// A manager whose SIM contacts are named by the test.
class SimManager : public ContactManager {
 public:
  BOOL IsSimContact(CEOID id) override { return sim.count(id) != 0; }
  std::set<CEOID> sim;
};

struct HideSimScope {
  explicit HideSimScope(int value) : before(g_hideSim) { g_hideSim = value; }
  ~HideSimScope() { g_hideSim = before; }
  int before;
};

}  // namespace

TEST_CASE("an empty text query with no filter gives the sorted list whole, unranked") {
  FreshEnglishDevice();
  // Name order and File As order differ, and names that a query would rank stand last.
  Contact z = NamedContact(L"Baker", L"Zoe", L"", L"Zed");
  WriteContact(z);
  Contact a = NamedContact(L"Adams", L"Ann", L"Anvil", L"Young");
  Contact b = NamedContact(L"Clark", L"Al", L"", L"Abbot");
  Contact c = NamedContact(L"", L"", L"Acme", L"Mars");
  WriteContact(a);
  WriteContact(b);
  WriteContact(c);
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  REQUIRE(Listed(m, 0).size() == 4);
  REQUIRE(Listed(m, 0) != Listed(m, 1));
  for (int kind = 0; kind < 2; ++kind) {
    CHECK(Found(m, L"", kind) == Listed(m, kind));
    CHECK(Keyed(m, L"", kind) == Listed(m, kind));
  }
  // A sort kind that names no sorted list gives nothing in the plain searches.
  CHECK(Found(m, L"", 3).empty());
  CHECK(Found(m, L"a", 2).empty());
  CHECK(Keyed(m, L"a", -1).empty());
  // The grouped order holds everyone.
  CHECK(Sorted(Grouped(m, L"", false)) == Sorted(Listed(m, 0)));
}

TEST_CASE("ab ranks the contact with last name Abel before the one with first name Abel") {
  FreshEnglishDevice();
  // File As puts the first-name match first in sort order 1.
  Contact firstAbel = NamedContact(L"Carter", L"Abel", L"", L"Aaa");
  Contact lastAbel = NamedContact(L"Abel", L"Carter", L"", L"Zzz");
  const CEOID byFirst = WriteContact(firstAbel);
  const CEOID byLast = WriteContact(lastAbel);
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  REQUIRE(Listed(m, 1) == std::vector<CEOID>{byFirst, byLast});

  CHECK(Found(m, L"ab", 1) == std::vector<CEOID>{byLast, byFirst});
  CHECK(Found(m, L"AB", 1) == std::vector<CEOID>{byLast, byFirst});
  CHECK(Found(m, L"ab", 0) == std::vector<CEOID>{byLast, byFirst});
  // One character doesn't rank: the sort order stands.
  CHECK(Found(m, L"a", 1) == std::vector<CEOID>{byFirst, byLast});
  // Keypad: Abel is aadj, Carter aatdp. aad ranks the last name Abel first; aa holds both last names,
  // so the sort order stands among them.
  CHECK(Keyed(m, L"aad", 1) == std::vector<CEOID>{byLast, byFirst});
  CHECK(Keyed(m, L"aa", 1) == std::vector<CEOID>{byFirst, byLast});
  CHECK(Keyed(m, L"a", 1) == std::vector<CEOID>{byFirst, byLast});
  // Grouped searches don't rank.
  CHECK(Sorted(Grouped(m, L"ab", false)) == Sorted({byFirst, byLast}));
}

TEST_CASE("a contact with no last name and the first name Ann ranks among the last-name matches of an") {
  FreshEnglishDevice();
  Contact rest = NamedContact(L"Rest", L"Rob", L"", L"0");
  rest.text[ContactField::JobTitle] = L"Analyst";
  Contact firstName = NamedContact(L"Smith", L"Anton", L"", L"1");
  Contact lastName = NamedContact(L"Anders", L"Bob", L"", L"2");
  Contact ann = NamedContact(L"", L"Ann", L"", L"3");
  Contact company = NamedContact(L"Zed", L"Zoe", L"Anvil", L"4");
  const CEOID r = WriteContact(rest), y = WriteContact(firstName), z = WriteContact(lastName),
              x = WriteContact(ann), w = WriteContact(company);
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  REQUIRE(Listed(m, 1) == std::vector<CEOID>{r, y, z, x, w});

  // Last names (Anders, and Ann in the last name's place), then first names, then companies, then the rest.
  CHECK(Found(m, L"an", 1) == std::vector<CEOID>{z, x, y, w, r});
  CHECK(Found(m, L"AN", 1) == std::vector<CEOID>{z, x, y, w, r});
  CHECK(Keyed(m, L"am", 1) == std::vector<CEOID>{z, x, y, w, r});
  // Without the query's match in any name the sort order stands.
  CHECK(Found(m, L"analyst", 1) == std::vector<CEOID>{r});
  CHECK(Found(m, L"ann", 1) == std::vector<CEOID>{x});
}

TEST_CASE("ranking looks at every word of a name, cut at separators, and at as much of it as the query") {
  FreshEnglishDevice();
  Contact hyphen = NamedContact(L"O'Neil-Smith", L"Zed", L"", L"3");
  Contact shortLast = NamedContact(L"Sm", L"Smithers", L"", L"0");
  Contact company = NamedContact(L"Xu", L"Yu", L"SMITH & Co", L"1");
  Contact rest = NamedContact(L"Rest", L"Rob", L"", L"2");
  rest.text[ContactField::JobTitle] = L"Smith Neon";
  const CEOID a = WriteContact(hyphen), b = WriteContact(shortLast), c = WriteContact(company),
              d = WriteContact(rest);
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  REQUIRE(Listed(m, 1) == std::vector<CEOID>{b, c, d, a});

  // Smith after the hyphen is a last-name word; Sm is too short for smi, Smithers ranks as a first name.
  CHECK(Found(m, L"smi", 1) == std::vector<CEOID>{a, b, c, d});
  CHECK(Found(m, L"SMI", 1) == std::vector<CEOID>{a, b, c, d});
  CHECK(Keyed(m, L"pmg", 1) == std::vector<CEOID>{a, b, c, d});
  // A word exactly as long as the query begins with it: Sm ranks with Smith among the last names.
  CHECK(Found(m, L"sm", 1) == std::vector<CEOID>{b, a, c, d});
  // On the keypad Rob is pmd too: the first name ranks before the company.
  CHECK(Keyed(m, L"pm", 1) == std::vector<CEOID>{b, a, d, c});
  // The apostrophe cuts O from Neil: Neil is a last-name word and ranks before Neon of the job title.
  CHECK(Found(m, L"ne", 1) == std::vector<CEOID>{a, d});
  CHECK(Keyed(m, L"md", 1) == std::vector<CEOID>{a, d});
}

TEST_CASE("a query with a space finds by both words but is never ranked") {
  FreshEnglishDevice();
  Contact firstAbel = NamedContact(L"Carter", L"Abel", L"", L"Aaa");
  Contact lastAbel = NamedContact(L"Abel", L"Carter", L"", L"Zzz");
  Contact other = NamedContact(L"Abel", L"Zed", L"", L"Mmm");
  const CEOID byFirst = WriteContact(firstAbel);
  const CEOID byLast = WriteContact(lastAbel);
  const CEOID alsoLast = WriteContact(other);
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;

  CHECK(Found(m, L"ab ca", 1) == std::vector<CEOID>{byFirst, byLast});
  CHECK(Found(m, L"carter abel", 1) == std::vector<CEOID>{byFirst, byLast});
  CHECK(Found(m, L"  ab   ca  ", 1) == std::vector<CEOID>{byFirst, byLast});
  CHECK(Found(m, L"ab, ca", 1) == std::vector<CEOID>{byFirst, byLast});
  // Every word must be found.
  CHECK(Found(m, L"ab xy", 1).empty());
  // The single word ranks: both last names Abel in sort order, then the first name.
  REQUIRE(Listed(m, 1) == std::vector<CEOID>{byFirst, alsoLast, byLast});
  CHECK(Found(m, L"ab", 1) == std::vector<CEOID>{alsoLast, byLast, byFirst});
}

TEST_CASE(
    "a word whose first character stands in no group adds nothing to the keypad tree, but the text tree "
    "holds it") {
  FreshEnglishDevice();
  Contact strange =
      NamedContact(L"\u0418\u0432\u0430\u043D\u043E\u0432", L"\u00DCnal", L"1abc");  // Иванов, Ünal
  Contact cut = NamedContact(L"Ab1c", L"");
  const CEOID s = WriteContact(strange);
  const CEOID c = WriteContact(cut);
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;

  // Every keypad key begins with one of the group keys; none of them leads to the contact.
  for (const wchar_t* key : {L"a", L"d", L"g", L"j", L"m", L"p", L"t", L"w"}) {
    Array<CEOID> ids;
    REQUIRE(m.Index().FindPrefix(KeypadTree, key, ids));
    std::vector<CEOID> found = Ids(ids);
    CHECK(std::find(found.begin(), found.end(), s) == found.end());
    std::vector<CEOID> searched = Keyed(m, key, 0);
    CHECK(std::find(searched.begin(), searched.end(), s) == searched.end());
  }
  // The word tree holds the words as they are, in lower case.
  CHECK(Found(m, L"\u0438\u0432\u0430\u043D", 0) == std::vector<CEOID>{s});
  CHECK(Found(m, L"\u0418\u0412\u0410\u041D", 0) == std::vector<CEOID>{s});
  CHECK(Found(m, L"\u00FCn", 0) == std::vector<CEOID>{s});
  CHECK(Found(m, L"1ab", 0) == std::vector<CEOID>{s});
  // A word cut at a character of no group keeps its keys up to there: Ab1c is aa.
  CHECK(Keyed(m, L"aa", 0) == std::vector<CEOID>{c});
  CHECK(Keyed(m, L"aaa", 0).empty());
  CHECK(Found(m, L"ab1", 0) == std::vector<CEOID>{c});
}

TEST_CASE("FindByPhone with timeout 0 shortens the number down to minDigits, without a time limit") {
  FreshEnglishDevice();
  const CEOID p = WriteWithPhones(L"Phone", L"Pat", L"555-1234");
  WriteWithPhones(L"Other", L"Olga", L"+1 (800) 765-4321");
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;

  // Forty leading digits are given up one by one until the last seven find the contact.
  const std::wstring number = std::wstring(40, L'9') + L"5551234";
  Array<CEOID> ids;
  Array<Str> numbers;
  CHECK(m.FindByPhone(Str(number.c_str()), ids, &numbers, 7, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{p});
  REQUIRE(numbers.GetSize() == 1);
  CHECK(std::wstring(numbers[0]) == L"5551234");
  // minDigits 8 stops before the query gets down to seven digits.
  CHECK(m.FindByPhone(Str(number.c_str()), ids, &numbers, 8, 0) == 0);
  CHECK(ids.GetSize() == 0);
  CHECK(numbers.GetSize() == 0);
  // A number that nothing ends with finds nothing at any length.
  CHECK(m.FindByPhone(Str(L"1112223334445"), ids, nullptr, 1, 0) == 0);
  // Without `numbers`.
  CHECK(m.FindByPhone(Str(L"5551234"), ids, nullptr, 7, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{p});
}

TEST_CASE("FindByPhone drops the letters of a number first") {
  FreshEnglishDevice();
  const CEOID p = WriteWithPhones(L"Phone", L"Pat", L"555-1234");
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  Array<CEOID> ids;
  Array<Str> numbers;
  CHECK(m.FindByPhone(Str(L"tel: 555-CALL-1234 ext"), ids, &numbers, 7, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{p});
  REQUIRE(numbers.GetSize() == 1);
  CHECK(std::wstring(numbers[0]) == L"5551234");
  // Nothing but letters: nothing to look for.
  CHECK(m.FindByPhone(Str(L"CALL ME"), ids, &numbers, 7, 0) == 0);
  CHECK(m.FindByPhone(Str(L""), ids, &numbers, 7, 0) == 0);
}

TEST_CASE("FindByPhone compares whole numbers below six digits and tails of at most seven from six on") {
  FreshEnglishDevice();
  const CEOID exact5 = WriteWithPhones(L"Five", L"Exact", L"12345");
  const CEOID longer5 = WriteWithPhones(L"Five", L"Longer", L"99-12345");
  const CEOID exact6 = WriteWithPhones(L"Six", L"Exact", L"512345");
  const CEOID seven6 = WriteWithPhones(L"Six", L"Seven", L"7512345");
  const CEOID further = WriteWithPhones(L"Further", L"Phone", L"000", L"+49 30 8765432");
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  Array<CEOID> ids;
  Array<Str> numbers;

  // Five digits: every contact whose number ends so is a candidate, only the whole number is a hit.
  CHECK(m.FindByPhone(Str(L"12345"), ids, &numbers, 3, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{exact5});
  // Six digits: a tail of seven is longer than the number and can't match.
  CHECK(m.FindByPhone(Str(L"512345"), ids, &numbers, 3, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{exact6});
  // ... and a shorter number's digits against the number's end.
  CHECK(m.FindByPhone(Str(L"012345"), ids, &numbers, 3, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{exact5});
  // Seven and more: the last seven digits of the phone (or all of a shorter one) against the number's
  // end. The first length that finds candidates ends the shortening.
  CHECK(m.FindByPhone(Str(L"+1 751-2345"), ids, &numbers, 3, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{seven6});
  CHECK(m.FindByPhone(Str(L"0012345"), ids, &numbers, 3, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{exact5});
  REQUIRE(numbers.GetSize() == 1);
  CHECK(std::wstring(numbers[0]) == L"12345");
  CHECK(m.FindByPhone(Str(L"9912345"), ids, &numbers, 3, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{longer5});
  // A further phone of the extended data is one of the phones.
  CHECK(m.FindByPhone(Str(L"030 876 5432"), ids, &numbers, 7, 0) == 1);
  CHECK(Ids(ids) == std::vector<CEOID>{further});
  REQUIRE(numbers.GetSize() == 1);
  CHECK(std::wstring(numbers[0]) == L"8765432");
}

TEST_CASE("a filter with active on and no categories lists only the contacts without categories") {
  FreshEnglishDevice();
  auto write = [](const wchar_t* last, const std::vector<uint8_t>& mask) {
    Contact c = NamedContact(last, L"Anna");
    if (!mask.empty()) c.categories.Assign(mask.data(), static_cast<uint32_t>(mask.size()));
    return WriteContact(c);
  };
  const CEOID work = write(L"Work", CategoryMask({L"Business"}));
  const CEOID both = write(L"Both", CategoryMask({L"Business", L"Personal"}));
  const CEOID none = write(L"None", {});
  const CEOID zeroByte = write(L"Zerobyte", {0});
  const CEOID zeroWord = write(L"Zeroword", {0, 0, 0, 0});
  const CEOID personal = write(L"Personal", CategoryMask({L"Personal"}));
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  const std::set<CEOID> uncategorised = {none, zeroByte};

  const CategoryFilter empty = FilterOf({});
  for (int kind = 0; kind < 2; ++kind) {
    CHECK(Found(m, L"", kind, empty) == Among(Listed(m, kind), uncategorised));
    CHECK(Found(m, L"anna", kind, empty) == Among(Listed(m, kind), uncategorised));
    CHECK(Keyed(m, L"", kind, empty) == Among(Listed(m, kind), uncategorised));
    CHECK(Keyed(m, L"am", kind, empty) == Among(Listed(m, kind), uncategorised));
  }
  CHECK(Sorted(Grouped(m, L"", false, empty)) == Sorted({none, zeroByte}));
  CHECK(Sorted(Grouped(m, L"an", false, empty)) == Sorted({none, zeroByte}));
  CHECK(Sorted(Grouped(m, L"am", true, empty)) == Sorted({none, zeroByte}));

  // A category: the contacts that have it.
  const CategoryFilter business = FilterOf({L"Business"});
  CHECK(Found(m, L"", 0, business) == Among(Listed(m, 0), {work, both}));
  CHECK(Found(m, L"an", 0, business) == Among(Listed(m, 0), {work, both}));
  CHECK(Sorted(Grouped(m, L"", false, business)) == Sorted({work, both}));
  const CategoryFilter either = FilterOf({L"Business", L"Personal"});
  CHECK(Found(m, L"", 1, either) == Among(Listed(m, 1), {work, both, personal}));
  // A filter that isn't active is ignored, whatever it holds.
  const CategoryFilter inactive = FilterOf({L"Business"}, false);
  CHECK(Found(m, L"", 0, inactive) == Listed(m, 0));
  (void)zeroWord;
}

TEST_CASE("a filter of a category that no contact counts any more still means that category") {
  FreshEnglishDevice();
  Contact kept = NamedContact(L"Kept", L"Anna");
  const std::vector<uint8_t> archive = CategoryMask({L"Archive"});
  kept.categories.Assign(archive.data(), static_cast<uint32_t>(archive.size()));
  const CEOID keptId = WriteContact(kept);
  const CEOID none = WriteContact(*std::make_unique<Contact>(NamedContact(L"None", L"Anna")));
  // A category made but never given to anyone.
  CategoryId(L"Unused");
  // The count of Archive goes to 0 while the contact still holds its bit, as after a count that went
  // wrong elsewhere; a visible category keeps its record at 0.
  CategoriesDBManager categories;
  REQUIRE(categories.Open());
  ByteBuffer mask;
  mask.Assign(archive.data(), static_cast<uint32_t>(archive.size()));
  REQUIRE(categories.UncountContact(mask));
  CategoryList used;
  REQUIRE(categories.LoadAll(used));
  CHECK(used.GetSize() == 0);

  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  for (int kind = 0; kind < 2; ++kind) {
    CHECK(Found(m, L"", kind, FilterOf({L"Archive"})) == std::vector<CEOID>{keptId});
    CHECK(Keyed(m, L"am", kind, FilterOf({L"Archive"})) == std::vector<CEOID>{keptId});
    CHECK(Found(m, L"", kind, FilterOf({L"Unused"})).empty());
  }
  CHECK(Grouped(m, L"", false, FilterOf({L"Archive"})) == std::vector<CEOID>{keptId});
  CHECK(Grouped(m, L"", false, FilterOf({L"Unused"})).empty());
  // Without categories named, the contacts without any, as ever.
  CHECK(Found(m, L"", 0, FilterOf({})) == std::vector<CEOID>{none});
}

TEST_CASE("an all-digit text query also finds the numbers that contain it, once each, in sort order") {
  FreshEnglishDevice();
  const CEOID middle = WriteWithPhones(L"Middle", L"Mia", L"8-495-1234567", L"", L"1");
  const CEOID further = WriteWithPhones(L"Further", L"Fay", L"", L"8 800 555 35 35", L"2");
  Contact named = NamedContact(L"Nine", L"Nina", L"", L"3");
  named.text[ContactField::Office] = L"4512";  // a word that begins with the digits
  named.text[ContactField::HomePhone] = L"00451200";
  const CEOID word = WriteContact(named);
  WriteWithPhones(L"None", L"Ned", L"999", L"", L"4");
  const CEOID plus = WriteWithPhones(L"Plus", L"Paul", L"+7 (495) 12+34", L"", L"5");
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;

  // 45 stands inside the first number, where no word begins with it; the third contact has the word
  // 4512 and the number 00451200, and comes once.
  CHECK(Found(m, L"45", 1) == std::vector<CEOID>{middle, word});
  CHECK(Found(m, L"451", 1) == std::vector<CEOID>{word});
  CHECK(Found(m, L"5553", 1) == std::vector<CEOID>{further});
  CHECK(Found(m, L"1234567", 1) == std::vector<CEOID>{middle});
  // Everything but the digits is dropped from a number before it is looked into.
  CHECK(Found(m, L"51234", 1) == std::vector<CEOID>{middle, plus});
  // Digits with a letter are a plain text query.
  CHECK(Found(m, L"45a", 1).empty());
  // The grouped search widens against the name list.
  CHECK(Sorted(Grouped(m, L"45", false)) == Sorted({middle, word}));
  // The keypad search never looks at numbers.
  CHECK(Keyed(m, L"45", 1).empty());
  // A filter applies to what the numbers find too.
  CHECK(Found(m, L"45", 1, FilterOf({})) == std::vector<CEOID>{middle, word});
}

TEST_CASE("a cancel gives false before the index is asked and in the loops over contacts") {
  FreshEnglishDevice();
  for (int i = 0; i < 6; ++i) WriteWithPhones(L"Abbot", L"Al", (L"12345" + std::to_wstring(i)).c_str());
  OpenedManager opened;
  REQUIRE(opened.opened);
  ContactManager& m = opened.manager;
  Array<CEOID> out;
  Array<uint32_t> flat;
  Array<Str> titles;

  CountingCancel now(0);
  CHECK_FALSE(m.Search(Str(L""), 0, kNoFilter, out, &now));
  CHECK(GetLastError() == ERROR_CANCELLED);
  CHECK_FALSE(m.GroupedSearch(Str(L""), kNoFilter, flat, titles, &now));
  // In the widening by phone, asked for each contact.
  CountingCancel widening(3);
  CHECK_FALSE(m.Search(Str(L"123"), 0, kNoFilter, out, &widening));
  CHECK(widening.polls == 4);
  // In the ranking, asked for each contact.
  CountingCancel ranking(3);
  CHECK_FALSE(m.Search(Str(L"ab"), 0, kNoFilter, out, &ranking));
  CHECK(ranking.polls == 4);
  // Enough patience: the whole result, every poll cheap.
  CountingCancel patient(1000);
  CHECK(m.Search(Str(L"ab"), 0, kNoFilter, out, &patient));
  CHECK(out.GetSize() == 6);
  CHECK(patient.polls == 1 + 6);
}

TEST_CASE(
    "the SIM stage removes nothing without a SIM source, and only SIM contacts with HideSim on and a "
    "source") {
  FreshEnglishDevice();
  const CEOID a = WriteWithPhones(L"Adams", L"Al", L"555-1234");
  const CEOID b = WriteWithPhones(L"Baker", L"Bo", L"555-1234");
  const CEOID c = WriteWithPhones(L"Clark", L"Cy", L"555-9999");
  {
    OpenedManager opened;
    REQUIRE(opened.opened);
    HideSimScope on(1);
    opened.manager.SetSimSourceAttached(TRUE);
    CHECK(Found(opened.manager, L"", 0).size() == 3);
    CHECK(Grouped(opened.manager, L"", false).size() == 3);
  }
  SimManager sim;
  REQUIRE(sim.Open(GetModuleHandleW(nullptr), nullptr, nullptr, nullptr));
  sim.sim = {a};
  {
    HideSimScope off(0);
    sim.SetSimSourceAttached(TRUE);
    CHECK(Found(sim, L"", 0) == std::vector<CEOID>{a, b, c});
  }
  {
    HideSimScope on(1);
    sim.SetSimSourceAttached(FALSE);
    CHECK(Found(sim, L"", 0) == std::vector<CEOID>{a, b, c});
    sim.SetSimSourceAttached(TRUE);
    CHECK(Found(sim, L"", 0) == std::vector<CEOID>{b, c});
    CHECK(Found(sim, L"555", 0) == std::vector<CEOID>{b, c});
    CHECK(Keyed(sim, L"", 0) == std::vector<CEOID>{b, c});
    CHECK(Sorted(Grouped(sim, L"", false)) == Sorted({b, c}));
    CHECK(Sorted(Grouped(sim, L"a", true)) == Sorted({b, c}));
  }
  // The lookup by phone keeps SIM contacts but puts them behind the others.
  Array<CEOID> ids;
  CHECK(sim.FindByPhone(Str(L"5551234"), ids, nullptr, 7, 0) == 2);
  CHECK(Ids(ids) == std::vector<CEOID>{b, a});
  sim.Close();
}
