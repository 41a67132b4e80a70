// The synthetic contact generator: deterministic, and with the variety the tests and benchmarks need.
#include <doctest/doctest.h>
#include <set>
#include "Generator.h"

namespace {

bool SameContact(const ToolContact& a, const ToolContact& b) {
  for (int f = 0; f < ToolFieldCount; ++f)
    if (a.text[f] != b.text[f]) return false;
  return a.birthday == b.birthday && a.anniversary == b.anniversary && a.categories == b.categories &&
         a.note == b.note && a.phones.size() == b.phones.size() && a.emails.size() == b.emails.size() &&
         a.messengers.size() == b.messengers.size() && a.addresses.size() == b.addresses.size() &&
         a.people.size() == b.people.size() && a.dates.size() == b.dates.size() &&
         a.links.size() == b.links.size() && a.otherValues.size() == b.otherValues.size() &&
         a.photo == b.photo && a.richNote == b.richNote;
}

bool HasCyrillic(const std::wstring& text) {
  for (wchar_t c : text)
    if (c >= 0x0400 && c <= 0x04FF) return true;
  return false;
}

}  // namespace

TEST_CASE("the same seed gives the same contacts; another seed others") {
  std::vector<ToolContact> a = GenerateContacts(300, 7), b = GenerateContacts(300, 7),
                           c = GenerateContacts(300, 8);
  int differing = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    CHECK(SameContact(a[i], b[i]));
    if (!SameContact(a[i], c[i])) ++differing;
  }
  CHECK(differing > 250);
  // A contact depends only on its seed and index.
  CHECK(SameContact(GenerateContact(7, 123), a[123]));
}

TEST_CASE("generated contacts have the variety the index must cope with") {
  std::vector<ToolContact> contacts = GenerateContacts(2000, 1);
  int companyOnly = 0, nameless = 0, cyrillic = 0, umlaut = 0, international = 0, compact = 0, extension = 0,
      twoNumbers = 0, mails = 0, pages = 0, addresses = 0, birthdays = 0, categories = 0, notes = 0,
      extraPhones = 0;
  std::set<std::wstring> lastNames;
  for (const ToolContact& c : contacts) {
    if (!c.HasName() && !c.text[FieldCompany].empty()) ++companyOnly;
    if (!c.HasName() && c.text[FieldCompany].empty()) ++nameless;
    if (HasCyrillic(c.text[FieldLastName])) ++cyrillic;
    if (c.text[FieldLastName].find_first_of(L"äöüÄÖÜß") != std::wstring::npos) ++umlaut;
    lastNames.insert(c.text[FieldLastName]);
    for (int f : {FieldMobilePhone, FieldWorkPhone, FieldHomePhone}) {
      const std::wstring& phone = c.text[f];
      if (phone.rfind(L"+7 (", 0) == 0) ++international;
      if (phone.size() == 10 && phone.find_first_not_of(L"0123456789") == std::wstring::npos) ++compact;
      if (phone.find(L" ext ") != std::wstring::npos) ++extension;
      if (phone.find(L", ") != std::wstring::npos) ++twoNumbers;
    }
    if (!c.text[FieldEmail1].empty()) ++mails;
    if (!c.text[FieldWebPage].empty()) ++pages;
    if (!c.text[FieldHomeCity].empty() || !c.text[FieldWorkCity].empty()) ++addresses;
    if (c.birthday) ++birthdays;
    if (!c.categories.empty()) ++categories;
    if (!c.note.empty()) ++notes;
    if (!c.phones.empty()) ++extraPhones;
  }
  CHECK(companyOnly > 40);
  CHECK(nameless > 10);
  CHECK(cyrillic > 300);
  CHECK(umlaut > 30);
  CHECK(international > 10);
  CHECK(compact > 10);
  CHECK(extension > 10);
  CHECK(twoNumbers > 10);
  CHECK(mails > 500);
  CHECK(pages > 100);
  CHECK(addresses > 400);
  CHECK(birthdays > 400);
  CHECK(categories > 400);
  CHECK(notes > 200);
  CHECK(extraPhones > 50);
  CHECK(lastNames.size() > 80);
}

TEST_CASE("dates are file times of real calendar days") {
  // 1601-01-01 is the epoch of file times; 2000-03-01 follows a leap day.
  CHECK(DateToFileTime(1601, 1, 1) == 0);
  CHECK(DateToFileTime(1601, 1, 2) == 864000000000ULL);
  CHECK(DateToFileTime(2000, 3, 1) - DateToFileTime(2000, 2, 28) == 2 * 864000000000ULL);
  CHECK(DateToFileTime(1970, 1, 1) == 116444736000000000ULL);
}

TEST_CASE("generated contacts carry every kind of extended data, and some keep their Note rich") {
  std::vector<ToolContact> contacts = GenerateContacts(2000, 1);
  int messengers = 0, addresses = 0, people = 0, dates = 0, links = 0, others = 0, photos = 0, rich = 0,
      richWithoutNote = 0, escaped = 0, cyrillic = 0;
  for (const ToolContact& c : contacts) {
    if (!c.messengers.empty()) ++messengers;
    if (!c.addresses.empty()) ++addresses;
    if (!c.people.empty()) ++people;
    if (!c.dates.empty()) ++dates;
    if (!c.links.empty()) ++links;
    if (!c.otherValues.empty()) ++others;
    if (!c.photo.empty()) ++photos;
    if (c.richNote) ++rich;
    if (c.richNote && c.note.empty()) ++richWithoutNote;
    for (const LabelledValue& value : c.otherValues)
      if (value.label.find_first_of(L"[];:\\") != std::wstring::npos ||
          value.value.find_first_of(L"[];:\\") != std::wstring::npos)
        ++escaped;
    for (const ToolAddress& address : c.addresses)
      if (HasCyrillic(address.label)) ++cyrillic;
    for (const ToolMessenger& messenger : c.messengers) CHECK(!messenger.id.empty());
    for (const ToolAddress& address : c.addresses) CHECK(!address.parts[0].empty());
  }
  CHECK(messengers > 150);
  CHECK(addresses > 60);
  CHECK(people > 120);
  CHECK(dates > 100);
  CHECK(links > 50);
  CHECK(others > 80);
  CHECK(photos > 120);
  CHECK(rich > 80);
  CHECK(richWithoutNote == 0);
  CHECK(escaped > 5);
  CHECK(cyrillic > 10);
}
