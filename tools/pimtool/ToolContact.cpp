#include "ToolContact.h"

const uint16_t kFieldProperty[ToolFieldCount] = {
    0x4083, 0x4093, 0x40A3, 0x404E, 0x404D, 0x404C, 0x404B, 0x404A, 0x4049, 0x4048, 0x4047,
    0x4046, 0x4045, 0x3A08, 0x4007, 0x3A24, 0x4044, 0x4043, 0x4042, 0x4041, 0x4040, 0x3A09,
    0x3A2F, 0x3A25, 0x4023, 0x3A05, 0x3A06, 0x4024, 0x3A11, 0x400A, 0x4006, 0x4009, 0x4008,
    0x3A1E, 0x3A1D, 0x3A1C, 0x3A19, 0x3A18, 0x3A17, 0x3A16, 0x4004, 0x4002, 0x4013};

const char* const kFieldName[ToolFieldCount] = {
    "Email1",     "Email2",      "Email3",      "OtherCountry",   "OtherPostalCode", "OtherState",
    "OtherCity",  "OtherStreet", "WorkCountry", "WorkPostalCode", "WorkState",       "WorkCity",
    "WorkStreet", "WorkPhone",   "WorkPhone2",  "WorkFax",        "HomeCountry",     "HomePostalCode",
    "HomeState",  "HomeCity",    "HomeStreet",  "HomePhone",      "HomePhone2",      "HomeFax",
    "Title",      "Suffix",      "FirstName",   "MiddleName",     "LastName",        "Spouse",
    "Children",   "Pager",       "WebPage",     "CarPhone",       "RadioPhone",      "MobilePhone",
    "Office",     "Department",  "JobTitle",    "Company",        "AssistantPhone",  "Assistant",
    "FileAs"};

uint64_t DateToFileTime(int year, int month, int day) {
  // Days from 1601-01-01 by the proleptic Gregorian calendar, then 100-nanosecond units.
  auto daysFromCivil = [](int y, int m, int d) -> int64_t {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe;
  };
  int64_t days = daysFromCivil(year, month, day) - daysFromCivil(1601, 1, 1);
  return static_cast<uint64_t>(days) * 86400ULL * 10000000ULL;
}
