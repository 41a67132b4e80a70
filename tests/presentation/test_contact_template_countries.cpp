// The address layouts by country: the rows of the string table, their check, and the user's country.
#include <doctest/doctest.h>
#include <windows.h>
#include <set>
#include <string>
#include <vector>
#include "WideText.h"
#include "presentation/AppFolders.h"
#include "presentation/CountryAddressFormats.h"
#include "resources/resource.h"

namespace {

std::vector<int32_t> Positions(const CountryAddressRow& row) {
  return std::vector<int32_t>(row.position, row.position + AddressPartCount);
}

std::vector<std::string> Labels(const CountryAddressRow& row) {
  std::vector<std::string> labels;
  for (int part = 0; part < AddressPartCount; ++part) labels.push_back(U8(row.label[part]));
  return labels;
}

// The row the user's locale names, found here from the table's rows.
int ExpectedDefault(const CountryAddressFormats& table) {
  wchar_t country[6] = {0};
  uint32_t code = 1;
  if (GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_ICOUNTRY, country, 6) > 0)
    code = static_cast<uint32_t>(_wtol(country));
  CountryAddressRow row;
  for (int i = 0; table.GetRow(i, row); ++i) {
    if (row.code == code) return i;
  }
  return table.GetCount() - 1;
}

}  // namespace

TEST_CASE("a row gives the code, the name, and the place and label of each part") {
  CountryAddressRow row;
  REQUIRE(ParseCountryAddressRow(L"054 Argentina,0 Street,2 City,3 Province,1 PostalCode,4 Country", row));
  CHECK(row.code == 54);
  CHECK(U8(row.name) == "Argentina");
  CHECK(Positions(row) == std::vector<int32_t>{0, 2, 3, 1, 4});
  CHECK(Labels(row) == std::vector<std::string>{"Street", "City", "Province", "PostalCode", "Country"});
}

TEST_CASE("a part that a country lacks is empty, at position -1") {
  CountryAddressRow row;
  REQUIRE(ParseCountryAddressRow(L"036 Hungary,2 Street,1 City,,0 PostalCode,3 Country", row));
  CHECK(row.code == 36);
  CHECK(Positions(row) == std::vector<int32_t>{2, 1, -1, 0, 3});
  CHECK(Labels(row) == std::vector<std::string>{"Street", "City", "", "PostalCode", "Country"});
  REQUIRE(ParseCountryAddressRow(L"000 Nowhere,,,0 Only", row));
  CHECK(row.code == 0);
  CHECK(Positions(row) == std::vector<int32_t>{-1, -1, 0, -1, -1});
  REQUIRE(ParseCountryAddressRow(L"123 Bare", row));
  CHECK(U8(row.name) == "Bare");
  CHECK(Positions(row) == std::vector<int32_t>{-1, -1, -1, -1, -1});
}

TEST_CASE("a row with the parts 0 Street,1 City,1 State is dropped by the check of the places") {
  CountryAddressRow row;
  CHECK_FALSE(ParseCountryAddressRow(L"999 Twice,0 Street,1 City,1 State", row));
  CHECK_FALSE(ParseCountryAddressRow(L"999 Gap,0 Street,2 City", row));
  CHECK_FALSE(ParseCountryAddressRow(L"999 Letter,0 Street,x City", row));
  CHECK(ParseCountryAddressRow(L"999 Fine,1 Street,0 City", row));
}

TEST_CASE("rows that are too short or have no name are dropped, and the scan stops at five parts") {
  CountryAddressRow row;
  CHECK_FALSE(ParseCountryAddressRow(L"001 ", row));
  CHECK_FALSE(ParseCountryAddressRow(L"", row));
  CHECK_FALSE(ParseCountryAddressRow(nullptr, row));
  CHECK_FALSE(ParseCountryAddressRow(L"001 ,0 Street", row));
  REQUIRE(ParseCountryAddressRow(L"007 Six,0 A,1 B,2 C,3 D,4 E,5 F", row));
  CHECK(Positions(row) == std::vector<int32_t>{0, 1, 2, 3, 4});
  CHECK(U8(row.label[4]) == "E");
  // Fewer than two characters left end the scan.
  REQUIRE(ParseCountryAddressRow(L"007 End,0 Street,", row));
  CHECK(Positions(row) == std::vector<int32_t>{0, -1, -1, -1, -1});
}

TEST_CASE("the item's table has its 59 countries, each with a layout that passes the check") {
  CountryAddressFormats& table = GetCountryAddressFormats();
  CHECK(&table == &GetCountryAddressFormats());
  REQUIRE(table.GetCount() == IDS_COUNTRY_FORMAT_LAST - IDS_COUNTRY_FORMAT_FIRST + 1);
  Array<Str> names;
  table.GetNames(names);
  REQUIRE(names.GetSize() == table.GetCount());
  std::set<std::string> distinct;
  for (int i = 0; i < table.GetCount(); ++i) {
    CountryAddressRow row;
    REQUIRE(table.GetRow(i, row));
    INFO(U8(row.name));
    CHECK(U8(names[i]) == U8(row.name));
    distinct.insert(U8(row.name));
    CHECK(row.position[AddressStreet] >= 0);
    CHECK(row.position[AddressCity] >= 0);
    CHECK(row.position[AddressCountry] >= 0);
  }
  CHECK(distinct.size() == static_cast<size_t>(table.GetCount()));
  CountryAddressRow row;
  CHECK_FALSE(table.GetRow(-1, row));
  CHECK_FALSE(table.GetRow(table.GetCount(), row));
  REQUIRE(table.GetRow(0, row));
  CHECK(U8(row.name) == "Argentina");
}

TEST_CASE("the default country is the first row of the locale's country, or the last row") {
  CountryAddressFormats& table = GetCountryAddressFormats();
  CHECK(table.GetDefaultIndex() == ExpectedDefault(table));
  // A table without the user's country falls back to its last row.
  CountryAddressFormats few(GetModuleInstance(), IDS_COUNTRY_FORMAT_FIRST, IDS_COUNTRY_FORMAT_FIRST + 2);
  REQUIRE(few.GetCount() == 3);
  CHECK(few.GetDefaultIndex() == ExpectedDefault(few));
}

TEST_CASE("ids without a string give no row, and the next row takes the place") {
  CountryAddressFormats table(GetModuleInstance(), IDS_COUNTRY_FORMAT_LAST - 1, IDS_COUNTRY_FORMAT_LAST + 40);
  REQUIRE(table.GetCount() == 2);
  CountryAddressRow row;
  REQUIRE(table.GetRow(1, row));
  CHECK(U8(row.name) == "Other");
  CHECK(table.GetDefaultIndex() == ExpectedDefault(table));
  CountryAddressFormats none(GetModuleInstance(), IDS_COUNTRY_FORMAT_LAST + 1, IDS_COUNTRY_FORMAT_LAST + 5);
  CHECK(none.GetCount() == 0);
  CHECK(none.GetDefaultIndex() == -1);
  Array<Str> names;
  none.GetNames(names);
  CHECK(names.GetSize() == 0);
}
