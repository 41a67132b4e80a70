#include "Generator.h"
#include <windows.h>
#include "NameLists.h"
#include <initializer_list>

uint64_t Random::Next() {
  // splitmix64: small, fast and the same on every machine.
  uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

namespace {

const wchar_t* Pick(Random& random, const WordList& list) { return list.words[random.Below(list.count)]; }

std::wstring Digits(Random& random, int count) {
  std::wstring text;
  for (int i = 0; i < count; ++i) text += static_cast<wchar_t>(L'0' + random.Below(10));
  return text;
}

// Latin letters for mail addresses and web pages.
std::wstring Latin(const std::wstring& word) {
  static const struct {
    wchar_t from;
    const wchar_t* to;
  } kTable[] = {{L'а', L"a"},  {L'б', L"b"},  {L'в', L"v"},   {L'г', L"g"},  {L'д', L"d"},  {L'е', L"e"},
                {L'ё', L"e"},  {L'ж', L"zh"}, {L'з', L"z"},   {L'и', L"i"},  {L'й', L"y"},  {L'к', L"k"},
                {L'л', L"l"},  {L'м', L"m"},  {L'н', L"n"},   {L'о', L"o"},  {L'п', L"p"},  {L'р', L"r"},
                {L'с', L"s"},  {L'т', L"t"},  {L'у', L"u"},   {L'ф', L"f"},  {L'х', L"kh"}, {L'ц', L"ts"},
                {L'ч', L"ch"}, {L'ш', L"sh"}, {L'щ', L"sch"}, {L'ъ', L""},   {L'ы', L"y"},  {L'ь', L""},
                {L'э', L"e"},  {L'ю', L"yu"}, {L'я', L"ya"},  {L'ä', L"ae"}, {L'ö', L"oe"}, {L'ü', L"ue"},
                {L'ß', L"ss"}};
  std::wstring out;
  for (wchar_t c : word) {
    wchar_t lower = c;
    CharLowerBuffW(&lower, 1);
    bool mapped = false;
    for (const auto& entry : kTable)
      if (entry.from == lower) {
        out += entry.to;
        mapped = true;
        break;
      }
    if (mapped) continue;
    if ((lower >= L'a' && lower <= L'z') || (lower >= L'0' && lower <= L'9')) out += lower;
  }
  return out.empty() ? L"contact" : out;
}

std::wstring Phone(Random& random, const NameCulture& culture) {
  std::wstring code = culture.countryCode;
  switch (random.Below(9)) {
    case 0:
      return L"+" + code + L" (" + Digits(random, 3) + L") " + Digits(random, 3) + L"-" + Digits(random, 2) +
             L"-" + Digits(random, 2);
    case 1:
      return L"(" + Digits(random, 3) + L") " + Digits(random, 3) + L"-" + Digits(random, 4);
    case 2:
      return L"800" + Digits(random, 7);
    case 3:
      return L"555-" + Digits(random, 4) + L" ext " + std::to_wstring(1 + random.Below(99));
    case 4:
      return L"+" + code + L" " + Digits(random, 2) + L" " + Digits(random, 7);
    case 5:
      return L"8 (" + Digits(random, 3) + L") " + Digits(random, 3) + L"-" + Digits(random, 2) + L"-" +
             Digits(random, 2);
    case 6:
      return L"0" + Digits(random, 2) + L"/" + Digits(random, 7);
    case 7:
      return Digits(random, 3) + L"-" + Digits(random, 4) + L", " + Digits(random, 3) + L"-" +
             Digits(random, 4);
    default:
      return L"+" + code + Digits(random, 10);
  }
}

void Address(Random& random, const NameCulture& culture, ToolField street, ToolField city, ToolField state,
             ToolField postal, ToolField country, ToolContact& contact) {
  contact.text[street] = std::to_wstring(1 + random.Below(250)) + L" " + Pick(random, culture.streets);
  contact.text[city] = Pick(random, culture.cities);
  if (random.Percent(60)) contact.text[state] = Pick(random, culture.states);
  contact.text[postal] = Digits(random, culture.countryCode[0] == L'7' ? 6 : 5);
  if (random.Percent(70)) contact.text[country] = culture.country;
}

const wchar_t* PickOf(Random& random, std::initializer_list<const wchar_t*> words) {
  return words.begin()[random.Below(static_cast<int>(words.size()))];
}

// Further phones, mails and pages come with the fields above; this adds the rest of what only the
// extended block can hold, some of it with the characters that the Note must escape, and picks the
// form of the Note.
void ExtendedData(Random& random, const NameCulture& culture, const std::wstring& user, ToolContact& c) {
  bool russian = &culture == &kRussian, german = &culture == &kGerman;
  if (random.Percent(12)) {
    int count = 1 + random.Below(2);
    for (int i = 0; i < count; ++i) {
      ToolMessenger messenger;
      switch (random.Below(4)) {
        case 0:
          messenger = {L"ICQ", Digits(random, 9), L""};
          break;
        case 1:
          messenger = {L"Skype", user + L".skype", L""};
          break;
        case 2:
          messenger = {L"Jabber", user + L"@jabber.example", L""};
          break;
        default:
          messenger = {L"MSN", user + L"@hotmail.example", L""};
          break;
      }
      if (random.Percent(30))
        messenger.note = PickOf(random, {L"work", L"evenings", L"только вечером", L"nach 18 Uhr"});
      c.messengers.push_back(messenger);
    }
  }
  if (random.Percent(6)) {
    ToolAddress address;
    address.label = russian ? L"Дача" : german ? L"Ferienhaus" : L"Summer house";
    address.parts[0] = std::to_wstring(1 + random.Below(99)) + L" " + Pick(random, culture.streets);
    address.parts[1] = Pick(random, culture.cities);
    if (random.Percent(50)) address.parts[2] = Pick(random, culture.states);
    address.parts[3] = Digits(random, russian ? 6 : 5);
    address.parts[4] = culture.country;
    if (random.Percent(30)) address.format = static_cast<uint32_t>(1 + random.Below(58));
    c.addresses.push_back(address);
  }
  if (random.Percent(10)) {
    int count = 1 + random.Below(2);
    for (int i = 0; i < count; ++i) {
      const wchar_t* label = russian ? PickOf(random, {L"Брат", L"Сестра", L"Начальник"})
                                     : PickOf(random, {L"Brother", L"Sister", L"Manager", L"Secretary"});
      c.people.push_back(
          {label, std::wstring(Pick(random, culture.firstNames)) + L" " + Pick(random, culture.lastNames)});
    }
  }
  if (random.Percent(8)) {
    const wchar_t* label = russian  ? L"Именины"
                           : german ? L"Namenstag"
                                    : PickOf(random, {L"First met", L"Name day"});
    c.dates.push_back(
        {label, DateToFileTime(1950 + random.Below(70), 1 + random.Below(12), 1 + random.Below(28))});
  }
  if (random.Percent(5))
    c.links.push_back(
        {PickOf(random, {L"Contract", L"Price list"}), L"\\My Documents\\Work\\" + user + L".doc"});
  if (random.Percent(7)) {
    switch (random.Below(5)) {
      case 0:
        c.otherValues.push_back({L"Shoe size", std::to_wstring(36 + random.Below(12))});
        break;
      case 1:
        c.otherValues.push_back({L"Blood type", L"A(II) Rh+"});
        break;
      case 2:
        c.otherValues.push_back({L"Customer no.", L"C-" + Digits(random, 6)});
        break;
      case 3:
        c.otherValues.push_back({L"Ref [internal]", L"desk 4; shelf 2: box \\ " + Digits(random, 2)});
        break;
      default:
        c.otherValues.push_back({L"Размер", PickOf(random, {L"S", L"M", L"L", L"XL"})});
        break;
    }
  }
  if (random.Percent(10)) c.photo = user + L".jpg";
  if (!c.note.empty() && random.Percent(40)) c.richNote = true;
}

}  // namespace

ToolContact GenerateContact(uint64_t seed, int index) {
  Random random(seed * 0x100000001B3ULL + static_cast<uint64_t>(index) * 0x9E3779B97F4A7C15ULL + 1);
  ToolContact c;
  int cultureRoll = random.Below(4);
  const NameCulture& culture = cultureRoll < 2 ? kEnglish : cultureRoll == 2 ? kRussian : kGerman;

  int shape = random.Below(100);
  bool companyOnly = shape < 6;             // a business with no person
  bool nameless = shape >= 6 && shape < 8;  // nothing to call it by but its numbers
  if (!companyOnly && !nameless) {
    c.text[FieldFirstName] = Pick(random, culture.firstNames);
    c.text[FieldLastName] = Pick(random, culture.lastNames);
    if (&culture == &kRussian && c.text[FieldFirstName].back() == L'а' &&
        c.text[FieldLastName].back() != L'а')
      c.text[FieldLastName] += L'а';  // feminine family name
    if (random.Percent(&culture == &kRussian ? 60 : 15))
      c.text[FieldMiddleName] = Pick(random, culture.middleNames);
    if (random.Percent(10)) c.text[FieldTitle] = Pick(random, kTitles);
    if (random.Percent(4)) c.text[FieldSuffix] = Pick(random, kSuffixes);
    if (random.Percent(85)) c.text[FieldFileAs] = c.text[FieldLastName] + L", " + c.text[FieldFirstName];
  }
  if (companyOnly || random.Percent(45)) {
    c.text[FieldCompany] = Pick(random, kCompanies);
    if (companyOnly) c.text[FieldFileAs] = c.text[FieldCompany];
    if (!companyOnly && random.Percent(60)) c.text[FieldJobTitle] = Pick(random, kJobTitles);
    if (random.Percent(25)) c.text[FieldDepartment] = Pick(random, kDepartments);
    if (random.Percent(10)) c.text[FieldOffice] = L"Room " + std::to_wstring(100 + random.Below(800));
  }

  // Phones: most contacts have one or two, some many.
  static const ToolField kPhoneFields[] = {
      FieldMobilePhone, FieldWorkPhone, FieldHomePhone, FieldWorkPhone2, FieldHomePhone2,    FieldWorkFax,
      FieldHomeFax,     FieldPager,     FieldCarPhone,  FieldRadioPhone, FieldAssistantPhone};
  int phones = nameless                 ? 1 + random.Below(2)
               : random.Below(100) < 10 ? 0
                                        : 1 + random.Below(random.Percent(10) ? 8 : 3);
  for (int i = 0; i < phones; ++i)
    c.text[kPhoneFields[random.Below(i < 3 ? 3 : 11)]] = Phone(random, culture);
  if (random.Percent(8)) c.phones.push_back({L"Dacha", Phone(random, culture)});
  if (random.Percent(4)) c.phones.push_back({L"Office 2", Phone(random, culture)});

  // Mail and web.
  std::wstring user = Latin(c.text[FieldFirstName].empty() ? c.text[FieldCompany] : c.text[FieldFirstName]);
  if (!c.text[FieldLastName].empty()) user += L"." + Latin(c.text[FieldLastName]);
  if (!nameless && random.Percent(55)) c.text[FieldEmail1] = user + L"@" + Pick(random, kWebHosts);
  if (!c.text[FieldEmail1].empty() && random.Percent(20))
    c.text[FieldEmail2] = user + std::to_wstring(random.Below(100)) + L"@mail.example";
  if (!c.text[FieldEmail2].empty() && random.Percent(20))
    c.text[FieldEmail3] = Latin(c.text[FieldLastName]) + L"@home.example";
  if (random.Percent(5)) c.emails.push_back({L"Private", user + L"@private.example"});
  if (random.Percent(12))
    c.text[FieldWebPage] = std::wstring(L"http://www.") + Pick(random, kWebHosts) + L"/" + user;
  if (random.Percent(3)) c.webPages.push_back({L"Blog", L"http://blog.example.org/" + user});

  // Addresses.
  if (random.Percent(30))
    Address(random, culture, FieldHomeStreet, FieldHomeCity, FieldHomeState, FieldHomePostalCode,
            FieldHomeCountry, c);
  if (!c.text[FieldCompany].empty() && random.Percent(40))
    Address(random, culture, FieldWorkStreet, FieldWorkCity, FieldWorkState, FieldWorkPostalCode,
            FieldWorkCountry, c);
  if (random.Percent(5))
    Address(random, culture, FieldOtherStreet, FieldOtherCity, FieldOtherState, FieldOtherPostalCode,
            FieldOtherCountry, c);

  // People and dates.
  if (!companyOnly && !nameless) {
    if (random.Percent(10)) c.text[FieldSpouse] = Pick(random, culture.firstNames);
    if (random.Percent(8))
      c.text[FieldChildren] =
          std::wstring(Pick(random, culture.firstNames)) + L", " + Pick(random, culture.firstNames);
    if (random.Percent(5)) c.text[FieldAssistant] = Pick(random, culture.firstNames);
    if (random.Percent(40))
      c.birthday = DateToFileTime(1940 + random.Below(65), 1 + random.Below(12), 1 + random.Below(28));
    if (random.Percent(10))
      c.anniversary = DateToFileTime(1970 + random.Below(50), 1 + random.Below(12), 1 + random.Below(28));
  }

  // Categories and Note.
  int categories = random.Percent(60) ? 0 : 1 + random.Below(2);
  for (int i = 0; i < categories; ++i) {
    std::wstring name = Pick(random, kCategories);
    bool present = false;
    for (const std::wstring& existing : c.categories) present = present || existing == name;
    if (!present) c.categories.push_back(name);
  }
  if (random.Percent(20)) {
    int lines = 1 + random.Below(3);
    for (int i = 0; i < lines; ++i) {
      if (i) c.note += L"\r\n";
      c.note += Pick(random, kNoteLines);
    }
  }

  // The extended data and the Note's form come from a stream of their own, so that everything above
  // stays what it was for every seed and index.
  Random extra(seed * 0x2545F4914F6CDD1DULL + static_cast<uint64_t>(index) * 0xD1B54A32D192ED03ULL + 7);
  ExtendedData(extra, culture, user, c);
  return c;
}

std::vector<ToolContact> GenerateContacts(int count, uint64_t seed) {
  std::vector<ToolContact> contacts;
  contacts.reserve(count > 0 ? count : 0);
  for (int i = 0; i < count; ++i) contacts.push_back(GenerateContact(seed, i));
  return contacts;
}
