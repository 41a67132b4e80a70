// Numbers as people type them, from several countries, and how the default templates show them. Each
// expected form follows from the rules: a number is taken only when its digit count is a template's and
// its own punctuation (a dash, a bracket inside) doesn't mark it as formatted already; words before and
// remarks behind go through unchanged.
#include <doctest/doctest.h>
#include <string>
#include "PhoneTestSupport.h"
#include "TestRegistry.h"
#include "phone/PhoneTemplates.h"

namespace {

struct Case {
  const wchar_t* typed;
  const wchar_t* shown;
};

void CheckAll(const Case* cases, size_t count, bool ignoreFormat) {
  phonetest::ClearSettings();
  PhoneTemplates templates;
  templates.Load();
  templates.SetActive(TRUE);
  templates.SetIgnoreFormat(ignoreFormat ? TRUE : FALSE);
  for (size_t i = 0; i < count; ++i) {
    Str number(cases[i].typed);
    const BOOL changed = templates.FormatNumber(number);
    INFO("typed: " << phonetest::Narrow(cases[i].typed));
    CHECK(phonetest::Narrow(std::wstring(number)) == phonetest::Narrow(cases[i].shown));
    CHECK((changed != FALSE) == (std::wstring(cases[i].typed) != cases[i].shown));
  }
}

}  // namespace

TEST_CASE("Russian numbers under the default templates") {
  const Case cases[] = {
      {L"+79161234567", L"+7 (916) 123-45-67"},
      {L"+7 916 1234567", L"+7 (916) 123-45-67"},
      {L"8 916 123 45 67", L"+8 (916) 123-45-67"},
      {L"+7 (495) 123-45-67", L"+7 (495) 123-45-67"},  // formatted already
      {L"8 (916) 123-45-67", L"8 (916) 123-45-67"},
      {L"4951234567", L"495-123-4567"},
      {L"123456", L"12-34-56"},
      {L"12 34 56", L"12-34-56"},
      {L"тел. 4951234567", L"тел. 495-123-4567"},
      {L"моб. +79161234567 (вечером)", L"моб. +7 (916) 123-45-67 (вечером)"},
      {L"4951234567 доб. 123", L"4951234567 доб. 123"},  // an extension: thirteen digits
  };
  CheckAll(cases, sizeof cases / sizeof cases[0], false);
}

TEST_CASE("German numbers under the default templates") {
  const Case cases[] = {
      {L"030 1234567", L"030-123-4567"},
      {L"0301234567", L"030-123-4567"},
      {L"+49 30 1234567", L"+4 (930) 123-45-67"},
      {L"+49 (0)30 1234567", L"+49 (0)30 1234567"},  // twelve digits, a bracket inside
      {L"0170 1234567", L"+0 (170) 123-45-67"},
      {L"030/1234567", L"030/1234567"},          // the slash marks it as formatted
      {L"Tel. 089 123456", L"Tel. 089 123456"},  // nine digits
      {L"089-12345-0 Zentrale", L"089-12345-0 Zentrale"},
  };
  CheckAll(cases, sizeof cases / sizeof cases[0], false);
}

TEST_CASE("US numbers under the default templates") {
  const Case cases[] = {
      {L"(212) 555-1234", L"(212) 555-1234"},
      {L"212 555 1234", L"212-5-55-12-34"},  // the fixed code 212 wins in the first pass
      {L"800 555 0199", L"800-555-0199"},
      {L"+1 800 555 0199", L"+1 (800) 555-01-99"},
      {L"1-800-555-0199", L"1-800-555-0199"},
      {L"415 555 0123", L"415-555-0123"},
      {L"4155550123 x204", L"4155550123 x204"},  // an extension: thirteen digits
      {L"office 4155550123", L"office 415-555-0123"},
      {L"4155550123 (cell)", L"415-555-0123 (cell)"},
  };
  CheckAll(cases, sizeof cases / sizeof cases[0], false);
}

TEST_CASE("UK numbers under the default templates") {
  const Case cases[] = {
      {L"+44 20 7946 0958", L"+44 20 7946 0958"},  // twelve digits
      {L"020 7946 0958", L"+0 (207) 946-09-58"},
      {L"07700 900123", L"+0 (770) 090-01-23"},
      {L"020 7946 0958 ext 12", L"020 7946 0958 ext 12"},
  };
  CheckAll(cases, sizeof cases / sizeof cases[0], false);
}

TEST_CASE("Several numbers in one field and numbers in brackets stay as typed") {
  const Case cases[] = {
      {L"4951234567, 4957654321", L"4951234567, 4957654321"},
      {L"123456 / 654321", L"123456 / 654321"},
      {L"(4951234567)", L"(4951234567)"},
      {L"home 123456 or 654321", L"home 123456 or 654321"},
  };
  CheckAll(cases, sizeof cases / sizeof cases[0], false);
}

TEST_CASE("With IsIgnorePhoneFormat the dashes go first, brackets and slashes still mark a form") {
  const Case cases[] = {
      {L"+7 916 123-45-67", L"+7 (916) 123-45-67"},
      {L"495-123-4567", L"495-123-4567"},
      {L"1-800-555-0199", L"+1 (800) 555-01-99"},
      {L"800-555-0199", L"800-555-0199"},
      {L"030-1234567", L"030-123-4567"},
      {L"8 (916) 123-45-67", L"8 (916) 123-45-67"},
      {L"030/1234567", L"030/1234567"},
      {L"12-34-56 (dacha)", L"12-34-56 (dacha)"},
      {L"tel 495-123-45-67 work", L"tel 495-123-4567 work"},
  };
  phonetest::ClearSettings();
  PhoneTemplates templates;
  templates.Load();
  templates.SetActive(TRUE);
  templates.SetIgnoreFormat(TRUE);
  for (const Case& c : cases) {
    Str number(c.typed);
    templates.FormatNumber(number);
    INFO("typed: " << phonetest::Narrow(c.typed));
    CHECK(phonetest::Narrow(std::wstring(number)) == phonetest::Narrow(c.shown));
  }
}
