// The character-set helpers on which numbers are counted, searched, stripped and kept.
#include <doctest/doctest.h>
#include <string>
#include "phone/PhoneChars.h"

TEST_CASE("CountChars counts the characters of a string that stand in a set") {
  CHECK(CountChars(L"+7 (916) 123-45-67", kDigitChars) == 11);
  CHECK(CountChars(L"+# (###) ###-##-##", kPlaceholderChars) == 11);
  CHECK(CountChars(L"800-###-####", kDigitChars) == 3);
  CHECK(CountChars(L"", kDigitChars) == 0);
  CHECK(CountChars(nullptr, kDigitChars) == 0);
  CHECK(CountChars(L"abc", kDigitChars) == 0);
}

TEST_CASE("FindFirstOf searches from a start, straight or inverted, and gives -1 past the end") {
  CHECK(FindFirstOf(0, L"tel 495", kDigitChars, FALSE) == 4);
  CHECK(FindFirstOf(5, L"tel 495", kDigitChars, FALSE) == 5);
  CHECK(FindFirstOf(0, L"495 tel", kDigitChars, TRUE) == 3);
  CHECK(FindFirstOf(0, L"tel", kDigitChars, FALSE) == -1);
  CHECK(FindFirstOf(7, L"tel 495", kDigitChars, FALSE) == -1);
  CHECK(FindFirstOf(40, L"tel 495", kDigitChars, TRUE) == -1);
}

TEST_CASE("FindLastOf gives the last position of a character of the set") {
  CHECK(FindLastOf(L"495 (ask)", kDigitChars) == 2);
  CHECK(FindLastOf(L"tel +(", kPrefixShapeChars) == 5);
  CHECK(FindLastOf(L"tel", kPrefixShapeChars) == -1);
  CHECK(FindLastOf(L"", kDigitChars) == -1);
}

TEST_CASE("StripChars drops the set's characters between from and to, and refuses what doesn't fit") {
  wchar_t out[32];
  CHECK(StripChars(L"495-123-45-67", out, L"-", 32, 0, -1));
  CHECK(std::wstring(out) == L"4951234567");
  // Only between from and to: the first dash stays, the later ones go.
  CHECK(StripChars(L"495-123-45-67", out, L"-", 32, 4, -1));
  CHECK(std::wstring(out) == L"495-1234567");
  CHECK(StripChars(L"495-123-45-67", out, L"-", 32, 0, 8));
  CHECK(std::wstring(out) == L"49512345-67");
  // Eleven characters remain: a buffer of 12 holds them, one of 11 doesn't.
  CHECK(StripChars(L"7 916 123 45 67", out, L" ", 12, 0, -1));
  CHECK(std::wstring(out) == L"79161234567");
  wcscpy(out, L"untouched");
  CHECK_FALSE(StripChars(L"7 916 123 45 67", out, L" ", 11, 0, -1));
  CHECK(std::wstring(out).empty());
  wcscpy(out, L"untouched");
  CHECK_FALSE(StripChars(L"123", out, L"-", 32, 4, -1));
  CHECK(std::wstring(out).empty());
}

TEST_CASE("KeepChars copies only the set's characters and refuses what doesn't fit") {
  wchar_t out[8];
  CHECK(KeepChars(L"+7 (916) 1", out, L"+1234567890", 8));
  CHECK(std::wstring(out) == L"+79161");
  wcscpy(out, L"untouched");
  CHECK_FALSE(KeepChars(L"+7 (916) 123-45-67", out, L"+1234567890", 8));
  CHECK(std::wstring(out).empty());
}

TEST_CASE("DigitsOnly keeps the digits in place") {
  wchar_t text[] = L"+7 (916) 123-45-67 home";
  DigitsOnly(text);
  CHECK(std::wstring(text) == L"79161234567");
  Str s(L"tel. 8-800");
  DigitsOnly(s);
  CHECK(s == L"8800");
  CHECK(s.GetLength() == 4);
  Str none(L"no digits");
  DigitsOnly(none);
  CHECK(none.IsEmpty());
}
