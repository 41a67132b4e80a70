// Letter sets: the item's resources, the rules of the byte order mark, the parser, the user's own
// set, and the choice by Type and by the user's language.
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "TestRegistry.h"
#include "foundation/Settings.h"
#include "manager/letters/LetterSet.h"
#include "resources/LetterSetIds.h"

namespace {

std::vector<std::wstring> Texts(const Array<Str>& strings) {
  std::vector<std::wstring> texts;
  for (int i = 0; i < strings.GetSize(); ++i) texts.push_back(static_cast<const wchar_t*>(strings[i]));
  return texts;
}

LetterSet Parsed(const std::wstring& text, bool* ok = nullptr) {
  LetterSet set;
  BOOL parsed = ParseLetterSet(text.c_str(), int(text.size()), &set);
  if (ok) *ok = parsed != FALSE;
  return set;
}

// The letters of a set, group by group.
std::vector<std::wstring> LettersOf(UINT id) {
  LetterSet set;
  REQUIRE(LoadLetterSetResource(id, &set));
  return Texts(set.letters);
}

const wchar_t kAbcKey[] = L"Software\\Zovrix\\PIM\\ABC";

struct CleanAbc {
  CleanAbc() { testreg::DeleteTree(HKEY_CURRENT_USER, kAbcKey); }
  ~CleanAbc() { testreg::DeleteTree(HKEY_CURRENT_USER, kAbcKey); }
};

void SetCustom(const std::wstring& text) {
  REQUIRE(SetSettingBinary(SECTION_ABC, L"Custom", reinterpret_cast<const BYTE*>(text.data()),
                           DWORD(text.size() * sizeof(wchar_t))));
}

// The language as the platform reports it, read here on its own.
int ExpectedTypeForUser() {
  wchar_t number[16] = {0};
  unsigned language = 9;
  if (GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_ILANGUAGE, number, 16) != 0)
    language = unsigned(std::stoul(number, nullptr, 16)) & 0xFF;
  if (language == 0x19) return 2;
  if (language == 0x07) return 4;
  return 1;
}

}  // namespace

TEST_CASE("the English set of resource 198") {
  LetterSet set;
  REQUIRE(LoadLetterSetResource(IDR_ABC_ENGLISH, &set));
  CHECK(std::wstring(set.text) == L"ABC/ABC DEF/DEF GHI/GHI JKL/JKL MNO/MNO PQRS/PQRS TUV/TUV WXYZ/WXYZ");
  CHECK(Texts(set.captions) ==
        std::vector<std::wstring>{L"ABC", L"DEF", L"GHI", L"JKL", L"MNO", L"PQRS", L"TUV", L"WXYZ"});
  CHECK(Texts(set.letters) == Texts(set.captions));
  CHECK(Texts(set.secondCaptions) == std::vector<std::wstring>(8, L""));
  CHECK(set.twoRows == 0);
}

TEST_CASE("the Russian set of resource 199: lower-case captions, all 33 letters in eight groups") {
  LetterSet set;
  REQUIRE(LoadLetterSetResource(IDR_ABC_RUSSIAN, &set));
  CHECK(Texts(set.captions) ==
        std::vector<std::wstring>{L"абвг", L"дежз", L"икл", L"мноп", L"рсту", L"фхцч", L"шщъы", L"ьэюя"});
  std::vector<std::wstring> letters = Texts(set.letters);
  CHECK(letters ==
        std::vector<std::wstring>{L"АБВГ", L"ДЕЁЖЗ", L"ИЙКЛ", L"МНОП", L"РСТУ", L"ФХЦЧ", L"ШЩЪЫ", L"ЬЭЮЯ"});
  std::wstring all;
  for (const std::wstring& group : letters) all += group;
  CHECK(all.size() == 33);
  CHECK(set.twoRows == 0);
}

TEST_CASE("the English/Russian set of resource 215 has two rows") {
  LetterSet set;
  REQUIRE(LoadLetterSetResource(IDR_ABC_ENGLISH_RUSSIAN, &set));
  CHECK(set.twoRows == 1);
  CHECK(Texts(set.captions) ==
        std::vector<std::wstring>{L"ABC", L"DEF", L"GHI", L"JKL", L"MNO", L"PQRS", L"TUV", L"WXYZ"});
  CHECK(Texts(set.secondCaptions) ==
        std::vector<std::wstring>{L"абвг", L"дежз", L"икл", L"мноп", L"рсту", L"фхцч", L"шщъы", L"ьэюя"});
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"ABCабвг", L"DEFдеёжз", L"GHIийкл", L"JKLмноп",
                                                        L"MNOрсту", L"PQRSфхцч", L"TUVшщъы", L"WXYZьэюя"});
}

TEST_CASE("the German set of resource 220 and the further set 256") {
  CHECK(LettersOf(IDR_ABC_GERMAN) ==
        std::vector<std::wstring>{L"ABCÄ", L"DEF", L"GHI", L"JKL", L"MNOÖ", L"PQRSß", L"TUVÜ", L"WXYZ"});
  LetterSet set;
  REQUIRE(LoadLetterSetResource(IDR_ABC_POLISH, &set));
  CHECK(Texts(set.captions) ==
        std::vector<std::wstring>{L"ABC", L"DEF", L"GHI", L"JKL", L"MNO", L"PQRS", L"TUV", L"WXYZ"});
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"AĄBCĆaąbcć", L"DEĘFdeęf", L"GHIghi", L"JKLŁjklł",
                                                        L"MNOÓmnoó", L"PQRSŚpqrsś", L"TUVtuv",
                                                        L"WXYZŹŻwxyzźż"});
  // No Type chooses it.
  for (int type = 0; type <= 4; ++type) CHECK(LetterSetResourceOf(type) != IDR_ABC_POLISH);
}

TEST_CASE("a resource without the byte order mark, or under 4 bytes, counts as missing") {
  LetterSet set;
  CHECK_FALSE(LoadLetterSetResource(900, &set));  // no mark
  CHECK(set.captions.GetSize() == 0);
  CHECK_FALSE(LoadLetterSetResource(901, &set));  // the mark alone: 2 bytes
  CHECK_FALSE(LoadLetterSetResource(902, &set));  // 3 bytes
  CHECK_FALSE(LoadLetterSetResource(905, &set));  // the mark in the other byte order
  CHECK_FALSE(LoadLetterSetResource(903, &set));  // 4 bytes, but no group in "Q"
  CHECK(std::wstring(set.text) == L"Q");
  CHECK_FALSE(LoadLetterSetResource(999, &set));  // not there at all
  REQUIRE(LoadLetterSetResource(904, &set));      // "A/b"
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L"A"});
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"b"});
}

TEST_CASE("parser: a group with an empty caption or empty letters is dropped") {
  bool ok = false;
  LetterSet set = Parsed(L"/abc DEF/def GHI/ JKL/jkl", &ok);
  CHECK(ok);
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L"DEF", L"JKL"});
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"def", L"jkl"});
  CHECK(Texts(set.secondCaptions) == std::vector<std::wstring>{L"", L""});
  // Letters made only of dropped characters are empty too.
  set = Parsed(L"ABC/!?., DEF/def", &ok);
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L"DEF"});
}

TEST_CASE("parser: no group at all is a failure") {
  for (const wchar_t* text : {L"", L"   ", L"/abc", L"ABC/", L"ABC", L"ABC/ /x", L"^/---"}) {
    CAPTURE(std::wstring(text));
    bool ok = true;
    LetterSet set = Parsed(text, &ok);
    CHECK_FALSE(ok);
    CHECK(set.captions.GetSize() == 0);
    CHECK(set.letters.GetSize() == 0);
  }
  LetterSet set;
  CHECK_FALSE(ParseLetterSet(nullptr, 5, &set));
}

TEST_CASE("parser: both slashes end the caption, blanks in it are skipped, a blank ends the letters") {
  LetterSet set = Parsed(L"A B/ab  C D\\cd");
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L"AB", L"CD"});
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"ab", L"cd"});
  // Only the first slash switches: later ones in the letters are dropped.
  set = Parsed(L"X/a/b\\c");
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"abc"});
}

TEST_CASE("parser: the listed characters are dropped from the letters and nothing else") {
  const std::wstring dropped = L"\r\n\t`!@#$%^&*()_|{}:\"/<>?[];',.\x2116-=\\";
  LetterSet set = Parsed(L"K/a" + dropped + L"b+~1é");
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"ab+~1é"});
  // Tabs and line ends are not separators: only the blank is.
  set = Parsed(L"ABC/abc\r\nDEF/def");
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L"ABC"});
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"abcDEFdef"});
  // In a caption they are kept as they are.
  set = Parsed(L"a.b!/x");
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L"a.b!"});
}

TEST_CASE("parser: a caption splits at its first ^ into two rows") {
  LetterSet set = Parsed(L"A^B^C/abc D/d E^/e");
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L"A", L"D", L"E"});
  CHECK(Texts(set.secondCaptions) == std::vector<std::wstring>{L"B^C", L"", L""});
  CHECK(set.twoRows == 1);
  // "^" with nothing behind it makes no second row.
  set = Parsed(L"E^/e F/f");
  CHECK(set.twoRows == 0);
  CHECK(Texts(set.secondCaptions) == std::vector<std::wstring>{L"", L""});
  // A caption of only "^" something is kept with an empty first row.
  set = Parsed(L"^x/a");
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L""});
  CHECK(Texts(set.secondCaptions) == std::vector<std::wstring>{L"x"});
}

TEST_CASE("parser: a new parse replaces what the set held") {
  LetterSet set = Parsed(L"A^a/a B/b");
  REQUIRE(set.twoRows == 1);
  REQUIRE(ParseLetterSet(L"C/c", 3, &set));
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L"C"});
  CHECK(set.secondCaptions.GetSize() == 1);
  CHECK(set.twoRows == 0);
  CHECK(std::wstring(set.text) == L"C/c");
}

TEST_CASE("the language picks the set: English 1, Russian 2, German 4, anything else 1") {
  CHECK(LetterSetTypeForLanguage(0x09) == 1);
  CHECK(LetterSetTypeForLanguage(0x19) == 2);  // never the mixed set 3 by language
  CHECK(LetterSetTypeForLanguage(0x07) == 4);
  CHECK(LetterSetTypeForLanguage(0x0C) == 1);
  CHECK(LetterSetTypeForLanguage(0x00) == 1);
  CHECK(LetterSetTypeForLanguage(0x15) == 1);
  CHECK(LetterSetResourceOf(1) == 198);
  CHECK(LetterSetResourceOf(2) == 199);
  CHECK(LetterSetResourceOf(3) == 215);
  CHECK(LetterSetResourceOf(4) == 220);
  CHECK(LetterSetResourceOf(0) == 0);
  CHECK(LetterSetResourceOf(5) == 0);
}

TEST_CASE("Type 0 to 4 is taken; Type 7, absent or -1: the language decides") {
  CleanAbc clean;
  CHECK(ChooseLetterSetType() == ExpectedTypeForUser());
  for (DWORD type = 0; type <= 4; ++type) {
    SetSettingDword(SECTION_ABC, L"Type", type, TRUE);
    CHECK(ChooseLetterSetType() == int(type));
  }
  for (DWORD type : {5u, 7u, 0xFFFFFFFFu, 1000u}) {
    CAPTURE(type);
    SetSettingDword(SECTION_ABC, L"Type", type, TRUE);
    CHECK(ChooseLetterSetType() == ExpectedTypeForUser());
  }
  // What is loaded follows: Type 7 gives the language's set.
  SetSettingDword(SECTION_ABC, L"Type", 7, TRUE);
  LetterSet chosen, expected;
  REQUIRE(LoadLetterSet(&chosen));
  REQUIRE(LoadLetterSetResource(LetterSetResourceOf(ExpectedTypeForUser()), &expected));
  CHECK(Texts(chosen.letters) == Texts(expected.letters));
}

TEST_CASE("Type chooses the resource") {
  CleanAbc clean;
  const UINT resources[] = {0, 198, 199, 215, 220};
  for (DWORD type = 1; type <= 4; ++type) {
    CAPTURE(type);
    SetSettingDword(SECTION_ABC, L"Type", type, TRUE);
    LetterSet set;
    REQUIRE(LoadLetterSet(&set));
    CHECK(Texts(set.letters) == LettersOf(resources[type]));
  }
}

TEST_CASE("Type 0 with no Custom gives set 198; with Custom, the user's text") {
  CleanAbc clean;
  SetSettingDword(SECTION_ABC, L"Type", 0, TRUE);
  LetterSet set;
  REQUIRE(LoadLetterSet(&set));
  CHECK(Texts(set.letters) == LettersOf(IDR_ABC_ENGLISH));
  CHECK_FALSE(LoadCustomLetterSet(&set));

  // No mark in the setting; the length in bytes halved gives the characters.
  SetCustom(L"1^one/1.,@ 2ABC/abc2 3DEF/def3");
  REQUIRE(LoadLetterSet(&set));
  CHECK(Texts(set.captions) == std::vector<std::wstring>{L"1", L"2ABC", L"3DEF"});
  CHECK(Texts(set.secondCaptions) == std::vector<std::wstring>{L"one", L"", L""});
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"1", L"abc2", L"def3"});
  CHECK(set.twoRows == 1);

  // A user's text without a group falls back to 198, and so does one of the wrong type.
  SetCustom(L"nothing here");
  REQUIRE(LoadLetterSet(&set));
  CHECK(Texts(set.letters) == LettersOf(IDR_ABC_ENGLISH));
  SetSettingString(SECTION_ABC, L"Custom", L"ABC/xyz", TRUE);
  REQUIRE(LoadLetterSet(&set));
  CHECK(Texts(set.letters) == LettersOf(IDR_ABC_ENGLISH));

  // An odd byte count: the last byte is no character.
  std::wstring text = L"Q/qr";
  std::vector<BYTE> bytes(reinterpret_cast<const BYTE*>(text.data()),
                          reinterpret_cast<const BYTE*>(text.data()) + text.size() * 2);
  bytes.push_back('s');
  REQUIRE(SetSettingBinary(SECTION_ABC, L"Custom", bytes.data(), DWORD(bytes.size())));
  REQUIRE(LoadCustomLetterSet(&set));
  CHECK(Texts(set.letters) == std::vector<std::wstring>{L"qr"});

  // A Custom value under another Type is not looked at.
  SetSettingDword(SECTION_ABC, L"Type", 2, TRUE);
  REQUIRE(LoadLetterSet(&set));
  CHECK(Texts(set.letters) == LettersOf(IDR_ABC_RUSSIAN));
}
