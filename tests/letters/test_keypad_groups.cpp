// KeypadGroups: the group table made from a set's letters, the keys, and the mapping of words to keys.
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "TestRegistry.h"
#include "foundation/Settings.h"
#include "manager/letters/KeypadGroups.h"
#include "manager/letters/LetterSet.h"
#include "resources/LetterSetIds.h"

namespace {

Array<Str> Letters(std::initializer_list<const wchar_t*> groups) {
  Array<Str> letters;
  for (const wchar_t* group : groups) letters.Add(Str(group));
  return letters;
}

std::vector<std::wstring> Entries(const KeypadGroups& groups) {
  std::vector<std::wstring> entries;
  for (int i = 0; i < groups.GetCount(); ++i) entries.push_back(static_cast<const wchar_t*>(groups.GetAt(i)));
  return entries;
}

std::wstring Keys(const KeypadGroups& groups, const wchar_t* word) {
  return static_cast<const wchar_t*>(groups.MapToGroupKeys(word));
}

struct CleanAbc {
  CleanAbc() { testreg::DeleteTree(HKEY_CURRENT_USER, L"Software\\Zovrix\\PIM\\ABC"); }
  ~CleanAbc() { testreg::DeleteTree(HKEY_CURRENT_USER, L"Software\\Zovrix\\PIM\\ABC"); }
};

void FillFromResource(KeypadGroups& groups, UINT id) {
  LetterSet set;
  REQUIRE(LoadLetterSetResource(id, &set));
  groups.Fill(set.letters);
}

}  // namespace

TEST_CASE("the English set gives abc ... wxyz with the keys a d g j m p t w") {
  KeypadGroups groups;
  FillFromResource(groups, IDR_ABC_ENGLISH);
  CHECK(Entries(groups) ==
        std::vector<std::wstring>{L"abc", L"def", L"ghi", L"jkl", L"mno", L"pqrs", L"tuv", L"wxyz"});
  std::wstring keys;
  for (int i = 0; i < groups.GetCount(); ++i) keys += groups.GroupKeyOf(i);
  CHECK(keys == L"adgjmptw");
  CHECK(groups.GroupKeyOf(-1) == 0);
  CHECK(groups.GroupKeyOf(8) == 0);
}

TEST_CASE("MapToGroupKeys: ivanov maps to gtammt") {
  KeypadGroups groups;
  FillFromResource(groups, IDR_ABC_ENGLISH);
  CHECK(Keys(groups, L"ivanov") == L"gtammt");
  CHECK(Keys(groups, L"pqrs") == L"pppp");
}

TEST_CASE("a word with a character that stands in no group is cut there: ab1c maps to aa") {
  KeypadGroups groups;
  FillFromResource(groups, IDR_ABC_ENGLISH);
  CHECK(Keys(groups, L"ab1c") == L"aa");
  // Upper case stands in no entry: the caller lower-cases first.
  CHECK(Keys(groups, L"aB") == L"a");
  // Nothing mapped is no mapping.
  CHECK(Keys(groups, L"1abc") == L"");
  CHECK(Keys(groups, L"") == L"");
  CHECK(Keys(groups, nullptr) == L"");
}

TEST_CASE("a letter that stands in two groups takes the key of the first") {
  KeypadGroups groups;
  groups.Fill(Letters({L"abc", L"cde", L"efc"}));
  CHECK(Keys(groups, L"c") == L"a");
  CHECK(Keys(groups, L"e") == L"c");
  CHECK(Keys(groups, L"f") == L"e");
  CHECK(groups.GroupOf(L'c') == 0);
  CHECK(groups.GroupOf(L'z') == -1);
}

TEST_CASE("letters that repeat a character keep it once, at its first place, lower case") {
  KeypadGroups groups;
  groups.Fill(Letters({L"abca", L"bBbd", L"XxYyx"}));
  CHECK(Entries(groups) == std::vector<std::wstring>{L"abc", L"bd", L"xy"});
  CHECK(groups.GroupKeyOf(1) == L'b');
  // b stands in the first entry before the second.
  CHECK(Keys(groups, L"bd") == L"ab");
}

TEST_CASE("the Cyrillic sets: lower-cased entries with ё, and Russian words map to Cyrillic keys") {
  KeypadGroups groups;
  FillFromResource(groups, IDR_ABC_RUSSIAN);
  CHECK(Entries(groups) ==
        std::vector<std::wstring>{L"абвг", L"деёжз", L"ийкл", L"мноп", L"рсту", L"фхцч", L"шщъы", L"ьэюя"});
  CHECK(Keys(groups, L"иванов") == L"иаамма");
  CHECK(Keys(groups, L"ёж") == L"дд");
  FillFromResource(groups, IDR_ABC_ENGLISH_RUSSIAN);
  CHECK(groups.GetAt(0) == Str(L"abcабвг"));
  CHECK(Keys(groups, L"иван ivan") == L"gaaj");
  FillFromResource(groups, IDR_ABC_GERMAN);
  CHECK(Keys(groups, L"müßig") == L"mtpgg");
}

TEST_CASE("Fill replaces the table; an empty set empties it") {
  KeypadGroups groups;
  groups.Fill(Letters({L"ab", L"cd"}));
  groups.Fill(Letters({L"xy"}));
  CHECK(Entries(groups) == std::vector<std::wstring>{L"xy"});
  groups.Fill(Array<Str>());
  CHECK(groups.GetCount() == 0);
  CHECK(Keys(groups, L"xy") == L"");
  CHECK(groups.GroupKeyOf(0) == 0);
}

TEST_CASE("RebuildKeypadGroups fills the process-wide table from the active set") {
  CleanAbc clean;
  SetSettingDword(SECTION_ABC, L"Type", 2, TRUE);
  RebuildKeypadGroups();
  CHECK(g_keypadGroups.GetCount() == 8);
  CHECK(GroupKeyOf(0) == L'а');
  CHECK(GroupKeyOf(7) == L'ь');
  CHECK(std::wstring(MapToGroupKeys(L"мир")) == L"мир");

  std::wstring custom = L"Q/qwe Z/zxc";
  SetSettingBinary(SECTION_ABC, L"Custom", reinterpret_cast<const BYTE*>(custom.data()),
                   DWORD(custom.size() * 2));
  SetSettingDword(SECTION_ABC, L"Type", 0, TRUE);
  RebuildKeypadGroups();
  CHECK(Entries(g_keypadGroups) == std::vector<std::wstring>{L"qwe", L"zxc"});
  CHECK(std::wstring(MapToGroupKeys(L"exz")) == L"qzz");

  SetSettingDword(SECTION_ABC, L"Type", 1, TRUE);
  RebuildKeypadGroups();
  CHECK(std::wstring(MapToGroupKeys(L"ivanov")) == L"gtammt");
}

namespace {

// The first entry whose letters hold `ch`, found by scanning the entries' text; -1 for none and for 0.
int ScannedGroupOf(const std::vector<std::wstring>& entries, wchar_t ch) {
  if (ch == 0) return -1;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].find(ch) != std::wstring::npos) return static_cast<int>(i);
  }
  return -1;
}

// How many of the 65,536 code units the table maps otherwise than a scan of its entries would; each
// unit is checked by GroupOf, KeyOf and as a one-character word by MapToGroupKeys.
int MappingDifferences(const KeypadGroups& groups) {
  const std::vector<std::wstring> entries = Entries(groups);
  int differences = 0;
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const wchar_t ch = static_cast<wchar_t>(unit);
    const int expected = ScannedGroupOf(entries, ch);
    const wchar_t expectedKey = expected < 0 ? 0 : entries[expected][0];
    const wchar_t word[2] = {ch, 0};
    const std::wstring expectedWord = expected < 0 ? L"" : std::wstring(1, expectedKey);
    if (groups.GroupOf(ch) != expected || groups.KeyOf(ch) != expectedKey ||
        Keys(groups, word) != expectedWord)
      ++differences;
  }
  return differences;
}

}  // namespace

TEST_CASE(
    "every code unit maps to the first entry holding it, for every shipped set and for overlapping sets") {
  const UINT shipped[] = {IDR_ABC_ENGLISH, IDR_ABC_RUSSIAN, IDR_ABC_ENGLISH_RUSSIAN, IDR_ABC_GERMAN,
                          IDR_ABC_POLISH};
  for (UINT id : shipped) {
    CAPTURE(id);
    KeypadGroups groups;
    FillFromResource(groups, id);
    REQUIRE(groups.GetCount() > 0);
    CHECK(MappingDifferences(groups) == 0);
  }
  // Entries that share letters, letters on several pages of the code space, and a refill that drops them.
  KeypadGroups groups;
  groups.Fill(Letters({L"abc", L"cde", L"\u0101\u4e00c", L"\uffff\u00e9e", L"\u4e00z"}));
  CHECK(groups.GroupOf(L'\u4e00') == 2);
  CHECK(groups.KeyOf(L'\u00e9') == L'\uffff');
  CHECK(MappingDifferences(groups) == 0);
  groups.Fill(Letters({L"xy"}));
  CHECK(groups.GroupOf(L'\u4e00') == -1);
  CHECK(groups.GroupOf(L'a') == -1);
  CHECK(MappingDifferences(groups) == 0);
  groups.Fill(Array<Str>());
  CHECK(groups.KeyOf(L'x') == 0);
  CHECK(MappingDifferences(groups) == 0);
}
