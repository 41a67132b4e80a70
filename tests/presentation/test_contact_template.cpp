// The contact template: its labels from the string table, the defaults, the overlay of the file, the
// setters and label lookups, and the file written and read again.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include <vector>
#include "TestPaths.h"
#include "WideText.h"
#include "presentation/ContactTemplate.h"
#include "presentation/CountryAddressFormats.h"
#include "test_contact_template_support.h"

using namespace templatetest;

namespace {

typedef std::vector<std::wstring> Texts;

Texts TextsOf(const Array<Str>& strings) {
  Texts texts;
  for (int i = 0; i < strings.GetSize(); ++i)
    texts.push_back(std::wstring(strings[i], strings[i].GetLength()));
  return texts;
}

std::vector<int32_t> NumbersOf(const Array<int32_t>& numbers) {
  return std::vector<int32_t>(numbers.GetData(), numbers.GetData() + numbers.GetSize());
}

// Loads `lines` as the whole file into `tpl`.
bool LoadLines(ContactTemplate& tpl, const Texts& lines, const std::wstring& name = L"lines.tpl") {
  std::wstring path = TempFile(name);
  REQUIRE(WriteBytes(path, Utf16(Lines(lines))));
  return tpl.Load(path.c_str()) != FALSE;
}

// The file of the template's own example, line by line.
const Texts kExample = {L"[NameColl]", L"false",        L"[Field1]",     L"true",    L"[Field5]",   L"false",
                        L"[Field6]",   L"true",         L"[Field8]",     L"true",    L"[Field9]",   L"false",
                        L"[Phone]",    L"Work phone",   L"Home phone",   L"Mobile",  L"[EMail]",    L"E-mail",
                        L"[Msg]",      L"IM",           L"[MsgType]",    L"AOL",     L"[Office]",   L"true",
                        L"[Addr]",     L"Work address", L"[AddrFormat]", L"57",      L"[Category]", L"true",
                        L"[Date]",     L"Birthday",     L"[Link]",       L"Ringtone"};

}  // namespace

TEST_CASE("the built-in labels, short labels and prompts come from the string table") {
  ContactTemplate tpl;
  struct Expected {
    Texts labels;
    Texts shortLabels;
    std::wstring prompt;
  };
  const Expected expected[SectionCount] = {
      {{L"Name", L"Title", L"First", L"Middle@Mid.", L"Last", L"Suffix@Suf.", L"Job Title@Job",
        L"Company@Comp.", L"Department@Dept.", L"File As@FileAs"},
       {L"Name", L"Title", L"First", L"Middle@Mid.", L"Last", L"Suffix@Suf.", L"Job Title@Job", L"Company",
        L"Department@Dept.", L"File As@FileAs"},
       L""},
      {{L"Work phone", L"Home phone", L"Mobile", L"Home fax", L"Work fax", L"Car", L"Pager", L"Radio",
        L"Assistant phone", L"MMS", L"Company"},
       {L"Work", L"Home", L"Mobile", L"Home fax", L"Work fax", L"Car", L"Pager", L"Radio", L"Assistant",
        L"MMS", L"Company"},
       L"Phone"},
      {{L"E-mail", L"E-mail 2", L"E-mail 3"}, {L"E-mail", L"E-mail 2", L"E-mail 3"}, L"e-mail"},
      {{L"IM", L"IM 2", L"IM 3"}, {L"IM", L"IM 2", L"IM 3"}, L"number"},
      {{L"Web"}, {L"Web"}, L"http://"},
      {{L"Office"}, {L"Office"}, L"location"},
      {{L"Work address", L"Home address", L"Other address"}, {L"Work", L"Home", L"Other"}, L""},
      {{L"Categories"}, {L"Categories"}, L"name"},
      {{L"Assistant", L"Children", L"Spouse", L"Friend", L"Manager"},
       {L"Assistant", L"Children", L"Spouse", L"Friend", L"Manager"},
       L"name"},
      {{L"Birthday", L"Anniversary"}, {L"Birthday", L"Anniversary"}, L"Date"},
      {{L"Ringtone", L"Linked file"}, {L"Ringtone", L"Linked file"}, L"file"},
      {{L"Nickname", L"Account", L"Cust.ID", L"Govt.ID"},
       {L"Nickname", L"Account", L"Cust.ID", L"Govt.ID"},
       L"value"},
  };
  for (int number = 0; number < SectionCount; ++number) {
    INFO("section " << number);
    const TemplateSection* section = tpl.GetSection(number);
    REQUIRE(section != nullptr);
    CHECK(TextsOf(section->labels) == expected[number].labels);
    CHECK(TextsOf(section->shortLabels) == expected[number].shortLabels);
    CHECK(section->builtinCount == static_cast<int32_t>(expected[number].labels.size()));
    CHECK(std::wstring(section->prompt) == expected[number].prompt);
    CHECK(section->order.GetSize() == 0);
    CHECK(section->enabled == 1);
  }
  CHECK(TextsOf(tpl.GetMessengerSection().typeLabels) == Texts{L"AOL", L"ICQ", L"MSN"});
  CHECK(tpl.GetMessengerSection().typeBuiltinCount == 3);
  CHECK_FALSE(tpl.IsDefault());
}

TEST_CASE("the defaults: groups, orders, name parts and the user's country") {
  ContactTemplate tpl;
  tpl.SetDefaults();
  CHECK(tpl.IsDefault());
  CHECK_FALSE(tpl.IsNameCollapsed());
  std::vector<int32_t> flags;
  for (int i = 0; i < NamePartCount; ++i) flags.push_back(tpl.GetFieldFlag(i));
  CHECK(flags == std::vector<int32_t>{1, 1, 1, 1, 1, 0, 1, 1, 1, 0});
  CHECK(OrderedLabels(tpl, SectionPhone) == Texts{L"Work phone", L"Home phone", L"Mobile"});
  CHECK(OrderedLabels(tpl, SectionEmail) == Texts{L"E-mail"});
  CHECK(OrderedLabels(tpl, SectionMessenger) == Texts{L"IM"});
  CHECK(NumbersOf(tpl.GetMessengerSection().typeOrder) == std::vector<int32_t>{0});
  CHECK(OrderedLabels(tpl, SectionWeb) == Texts{L"Web"});
  CHECK(OrderedLabels(tpl, SectionAddress) == Texts{L"Work address"});
  CHECK(NumbersOf(tpl.GetAddressSection().addressFormats) ==
        std::vector<int32_t>{GetCountryAddressFormats().GetDefaultIndex()});
  CHECK(OrderedLabels(tpl, SectionPeople) == Texts{L"Spouse"});
  CHECK(OrderedLabels(tpl, SectionDate) == Texts{L"Birthday"});
  CHECK(OrderedLabels(tpl, SectionLink) == Texts{L"Ringtone"});
  CHECK(OrderedLabels(tpl, SectionOther) == Texts{L"Nickname", L"Account", L"Cust.ID", L"Govt.ID"});
  std::vector<int32_t> enabled;
  for (int number = 0; number < SectionCount; ++number) enabled.push_back(tpl.GetSection(number)->enabled);
  CHECK(enabled == std::vector<int32_t>{1, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 0});
}

TEST_CASE("SetDefaults leaves sections 4, 8 and 11 hidden with an order, and section 9 shown") {
  ContactTemplate tpl;
  tpl.SetDefaults();
  CHECK(tpl.GetSection(SectionWeb)->order.GetSize() > 0);
  CHECK(tpl.GetSection(SectionPeople)->order.GetSize() > 0);
  CHECK(tpl.GetSection(SectionOther)->order.GetSize() > 0);
  CHECK_FALSE(tpl.IsSectionVisible(4));
  CHECK_FALSE(tpl.IsSectionVisible(8));
  CHECK_FALSE(tpl.IsSectionVisible(11));
  CHECK(tpl.IsSectionVisible(9));
  std::vector<int> shown;
  for (int number = -1; number <= SectionCount; ++number) {
    if (tpl.IsSectionVisible(number)) shown.push_back(number);
  }
  CHECK(shown == std::vector<int>{0, 1, 2, 3, 5, 6, 7, 9, 10});
}

TEST_CASE("[Phone] with the lines Home and Work gives the order Home phone, Work phone") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, {L"[Phone]", L"Home", L"Work"}));
  CHECK(OrderedLabels(tpl, SectionPhone) == Texts{L"Home phone", L"Work phone"});
  CHECK(NumbersOf(tpl.GetSection(SectionPhone)->order) == std::vector<int32_t>{1, 0});
  // No label is added for the old words.
  CHECK(tpl.GetSection(SectionPhone)->labels.GetSize() == 11);
}

TEST_CASE(
    "the old single words of phones and addresses stand for today's labels, elsewhere they are labels") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, {L"[Phone]", L"Assistant", L"work", L"[Addr]", L"Other", L"Home", L"Work",
                          L"[People]", L"Assistant", L"[EMail]", L"Work"}));
  CHECK(OrderedLabels(tpl, SectionPhone) == Texts{L"Assistant phone", L"work"});
  CHECK(OrderedLabels(tpl, SectionAddress) == Texts{L"Other address", L"Home address", L"Work address"});
  CHECK(NumbersOf(tpl.GetSection(SectionPeople)->order) == std::vector<int32_t>{0});
  CHECK(OrderedLabels(tpl, SectionEmail) == Texts{L"Work"});
  CHECK(tpl.GetSection(SectionEmail)->labels.GetSize() == 4);
}

TEST_CASE("an unknown line Boat in [Phone] becomes label 11, whose short label is itself") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, {L"[Phone]", L"Mobile", L"Boat"}));
  const TemplateSection& phones = *tpl.GetSection(SectionPhone);
  REQUIRE(phones.labels.GetSize() == 12);
  CHECK(U8(phones.labels[11]) == "Boat");
  CHECK(phones.builtinCount == 11);
  CHECK(NumbersOf(phones.order) == std::vector<int32_t>{2, 11});
  CHECK(phones.shortLabels.GetSize() == 11);
  CHECK(U8(tpl.ShortLabelOf(SectionPhone, Str(L"Boat"))) == "Boat");
  CHECK(U8(tpl.ShortLabelOf(SectionPhone, Str(L"Work phone"))) == "Work");
  CHECK(U8(tpl.LongLabelOf(SectionPhone, Str(L"Boat"))) == "Boat");
  CHECK(U8(tpl.LongLabelOf(SectionPhone, Str(L"Home"))) == "Home phone");
}

TEST_CASE("labels are looked up exactly, per section, and not at all outside the sections") {
  ContactTemplate tpl;
  CHECK(U8(tpl.ShortLabelOf(SectionAddress, Str(L"Home address"))) == "Home");
  CHECK(U8(tpl.ShortLabelOf(SectionAddress, Str(L"home address"))) == "home address");
  CHECK(U8(tpl.ShortLabelOf(SectionPhone, Str(L"Home address"))) == "Home address");
  CHECK(U8(tpl.ShortLabelOf(12, Str(L"Work phone"))) == "Work phone");
  CHECK(U8(tpl.ShortLabelOf(-1, Str(L"Work phone"))) == "Work phone");
  CHECK(U8(tpl.ShortLabelOf(SectionName, Str(L"Middle@Mid."))) == "Middle@Mid.");
  CHECK(U8(tpl.LongLabelOf(SectionPhone, Str(L"Assistant"))) == "Assistant phone");
  CHECK(U8(tpl.LongLabelOf(SectionAddress, Str(L"Work"))) == "Work address");
  CHECK(U8(tpl.LongLabelOf(12, Str(L"Work"))) == "Work");
}

TEST_CASE("[NameColl] followed directly by [Field1] leaves nameCollapsed at its reset value") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, {L"[NameColl]", L"[Field1]", L"true"}));
  CHECK_FALSE(tpl.IsNameCollapsed());
  CHECK(tpl.GetFieldFlag(NamePartTitle) == 1);
  // The same file under a template whose name was collapsed before: the value stays.
  ContactTemplate collapsed;
  REQUIRE(LoadLines(collapsed, {L"[NameColl]", L"TRUE"}, L"collapsed.tpl"));
  REQUIRE(collapsed.IsNameCollapsed());
  REQUIRE(LoadLines(collapsed, {L"[NameColl]", L"[Field1]", L"false"}));
  CHECK(collapsed.IsNameCollapsed());
  CHECK(collapsed.GetFieldFlag(NamePartTitle) == 0);
}

TEST_CASE("a zero-length template file is deleted at loading, and the defaults apply") {
  std::wstring path = TempFile(L"zero.tpl");
  REQUIRE(WriteBytes(path, {}));
  ContactTemplate tpl;
  // As the item starts: the defaults when the file can't be read.
  bool loaded = tpl.Load(path.c_str()) != FALSE;
  if (!loaded) tpl.SetDefaults();
  CHECK_FALSE(loaded);
  CHECK_FALSE(testpaths::FileExists(path));
  CHECK(tpl.IsDefault());
  CHECK(std::wstring(tpl.GetPath()) == path);
  ContactTemplate defaults;
  defaults.SetDefaults();
  CHECK(Picture(tpl) == Picture(defaults));
}

TEST_CASE("a missing file: Load fails and leaves the template reset") {
  ContactTemplate tpl;
  tpl.SetDefaults();
  std::wstring path = TempFile(L"missing.tpl");
  CHECK_FALSE(tpl.Load(path.c_str()));
  CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);
  CHECK_FALSE(testpaths::FileExists(path));
  ContactTemplate fresh;
  // Reset leaves the name flags; everything else is as built.
  fresh.SetDefaults();
  fresh.Reset();
  CHECK(Picture(tpl) == Picture(fresh));
}

TEST_CASE("the example file gives its sections, name parts and country") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, kExample));
  CHECK_FALSE(tpl.IsDefault());
  CHECK_FALSE(tpl.IsNameCollapsed());
  std::vector<int32_t> flags;
  for (int i = 0; i < NamePartCount; ++i) flags.push_back(tpl.GetFieldFlag(i));
  CHECK(flags == std::vector<int32_t>{1, 1, 1, 1, 1, 0, 1, 1, 1, 0});
  CHECK(OrderedLabels(tpl, SectionPhone) == Texts{L"Work phone", L"Home phone", L"Mobile"});
  CHECK(OrderedLabels(tpl, SectionEmail) == Texts{L"E-mail"});
  CHECK(OrderedLabels(tpl, SectionMessenger) == Texts{L"IM"});
  CHECK(NumbersOf(tpl.GetMessengerSection().typeOrder) == std::vector<int32_t>{0});
  CHECK(OrderedLabels(tpl, SectionAddress) == Texts{L"Work address"});
  CHECK(NumbersOf(tpl.GetAddressSection().addressFormats) == std::vector<int32_t>{57});
  CHECK(OrderedLabels(tpl, SectionDate) == Texts{L"Birthday"});
  CHECK(OrderedLabels(tpl, SectionLink) == Texts{L"Ringtone"});
  // Left out of the file: on, with an empty order, so not shown.
  for (int number : {SectionWeb, SectionPeople, SectionOther}) {
    INFO("section " << number);
    CHECK(tpl.GetSection(number)->enabled == 1);
    CHECK(tpl.GetSection(number)->order.GetSize() == 0);
    CHECK_FALSE(tpl.IsSectionVisible(number));
  }
  CHECK(tpl.IsSectionVisible(SectionOffice));
  CHECK(tpl.IsSectionVisible(SectionCategory));
}

TEST_CASE("the name parts that are always on can't be switched off by the file") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(
      tpl, {L"[Field0]", L"false",    L"[Field2]", L"false",    L"[Field3]", L"false",    L"[Field4]",
            L"false",    L"[Field7]", L"false",    L"[Field5]", L"true",     L"[Field9]", L"true",
            L"[Field6]", L"false",    L"[Field1]", L"false",    L"[Field8]", L"false"}));
  std::vector<int32_t> flags;
  for (int i = 0; i < NamePartCount; ++i) flags.push_back(tpl.GetFieldFlag(i));
  CHECK(flags == std::vector<int32_t>{1, 0, 1, 1, 1, 1, 0, 1, 0, 1});
}

TEST_CASE("Office and Category are flags; off, they are not shown") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, {L"[Office]", L"false", L"[Category]", L"FALSE"}));
  CHECK(tpl.GetSection(SectionOffice)->enabled == 0);
  CHECK(tpl.GetSection(SectionCategory)->enabled == 0);
  CHECK_FALSE(tpl.IsSectionVisible(SectionOffice));
  CHECK_FALSE(tpl.IsSectionVisible(SectionCategory));
  REQUIRE(LoadLines(tpl, {L"[Office]", L"maybe"}));
  CHECK(tpl.IsSectionVisible(SectionOffice));  // the reset value stays
  CHECK(tpl.IsSectionVisible(SectionCategory));
}

TEST_CASE("a line that appears twice is kept twice in the order, with one label") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, {L"[People]", L"Coach", L"Spouse", L"Coach", L"Spouse", L"[MsgType]", L"Jabber",
                          L"ICQ", L"Jabber"}));
  CHECK(OrderedLabels(tpl, SectionPeople) == Texts{L"Coach", L"Spouse", L"Coach", L"Spouse"});
  CHECK(NumbersOf(tpl.GetSection(SectionPeople)->order) == std::vector<int32_t>{5, 2, 5, 2});
  CHECK(tpl.GetSection(SectionPeople)->labels.GetSize() == 6);
  CHECK(TextsOf(tpl.GetMessengerSection().typeLabels) == Texts{L"AOL", L"ICQ", L"MSN", L"Jabber"});
  CHECK(NumbersOf(tpl.GetMessengerSection().typeOrder) == std::vector<int32_t>{3, 1, 3});
}

TEST_CASE("a second Load starts from the built-in labels again") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, {L"[Phone]", L"Boat", L"[Link]", L"Song", L"[AddrFormat]", L"3"}));
  REQUIRE(tpl.GetSection(SectionPhone)->labels.GetSize() == 12);
  REQUIRE(LoadLines(tpl, {L"[Phone]", L"Mobile"}));
  CHECK(tpl.GetSection(SectionPhone)->labels.GetSize() == 11);
  CHECK(OrderedLabels(tpl, SectionPhone) == Texts{L"Mobile"});
  CHECK(tpl.GetSection(SectionLink)->labels.GetSize() == 2);
  CHECK(tpl.GetAddressSection().addressFormats.GetSize() == 0);
}

TEST_CASE("Reset cuts the user's labels, empties the orders and switches every section on") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(
      tpl, {L"[Phone]", L"Boat", L"[MsgType]", L"Jabber", L"[Office]", L"false", L"[AddrFormat]", L"4"}));
  tpl.SetSectionEnabled(SectionPeople, FALSE);
  tpl.Reset();
  for (int number = 0; number < SectionCount; ++number) {
    INFO("section " << number);
    const TemplateSection& section = *tpl.GetSection(number);
    CHECK(section.labels.GetSize() == section.builtinCount);
    CHECK(section.order.GetSize() == 0);
    CHECK(section.enabled == 1);
  }
  CHECK(tpl.GetMessengerSection().typeLabels.GetSize() == 3);
  CHECK(tpl.GetMessengerSection().typeOrder.GetSize() == 0);
  CHECK(tpl.GetAddressSection().addressFormats.GetSize() == 0);
}

TEST_CASE("switching a section on with an empty order gives it the default order") {
  ContactTemplate tpl;
  tpl.Reset();
  for (int number = 0; number < SectionCount; ++number) tpl.SetSectionEnabled(number, TRUE);
  CHECK(NumbersOf(tpl.GetSection(SectionPhone)->order) == std::vector<int32_t>{0, 1, 2});
  CHECK(NumbersOf(tpl.GetSection(SectionMessenger)->order) == std::vector<int32_t>{0});
  CHECK(NumbersOf(tpl.GetMessengerSection().typeOrder) == std::vector<int32_t>{0});
  CHECK(NumbersOf(tpl.GetSection(SectionAddress)->order) == std::vector<int32_t>{0});
  CHECK(NumbersOf(tpl.GetAddressSection().addressFormats) ==
        std::vector<int32_t>{GetCountryAddressFormats().GetDefaultIndex()});
  CHECK(NumbersOf(tpl.GetSection(SectionPeople)->order) == std::vector<int32_t>{2});
  CHECK(NumbersOf(tpl.GetSection(SectionOther)->order) == std::vector<int32_t>{0, 1, 2, 3});
  for (int number : {SectionEmail, SectionWeb, SectionDate, SectionLink}) {
    INFO("section " << number);
    CHECK(NumbersOf(tpl.GetSection(number)->order) == std::vector<int32_t>{0});
  }
  for (int number = 0; number < SectionCount; ++number) CHECK(tpl.IsSectionVisible(number));
}

TEST_CASE("switching a section on keeps an order it has; off keeps the order but hides it") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, {L"[Phone]", L"Pager", L"[Other]", L"Govt.ID"}));
  tpl.SetSectionEnabled(SectionPhone, FALSE);
  CHECK_FALSE(tpl.IsSectionVisible(SectionPhone));
  CHECK(OrderedLabels(tpl, SectionPhone) == Texts{L"Pager"});
  tpl.SetSectionEnabled(SectionPhone, TRUE);
  CHECK(OrderedLabels(tpl, SectionPhone) == Texts{L"Pager"});
  CHECK(tpl.IsSectionVisible(SectionPhone));
  tpl.SetSectionEnabled(SectionOther, TRUE);
  CHECK(OrderedLabels(tpl, SectionOther) == Texts{L"Govt.ID"});
  tpl.SetSectionEnabled(SectionOffice, FALSE);
  CHECK_FALSE(tpl.IsSectionVisible(SectionOffice));
  tpl.SetSectionEnabled(SectionName, FALSE);
  CHECK(tpl.IsSectionVisible(SectionName));  // the name is always shown
  const std::string before = Picture(tpl);
  tpl.SetSectionEnabled(12, TRUE);
  tpl.SetSectionEnabled(-1, TRUE);
  CHECK(Picture(tpl) == before);
}

TEST_CASE("sections and name flags outside their ranges") {
  ContactTemplate tpl;
  CHECK(tpl.GetSection(-1) == nullptr);
  CHECK(tpl.GetSection(12) == nullptr);
  CHECK(tpl.GetSection(11) != nullptr);
  CHECK_FALSE(tpl.IsSectionVisible(12));
  CHECK_FALSE(tpl.IsSectionVisible(-1));
  tpl.SetFieldFlag(NamePartSuffix, 1);
  CHECK(tpl.GetFieldFlag(NamePartSuffix) == 1);
  tpl.SetFieldFlag(NamePartSuffix, 0);
  CHECK(tpl.GetFieldFlag(NamePartSuffix) == 0);
  const std::string before = Picture(tpl);
  tpl.SetFieldFlag(10, 0);
  tpl.SetFieldFlag(-1, 0);
  CHECK(Picture(tpl) == before);
  CHECK(tpl.GetFieldFlag(10) == 1);
  CHECK(tpl.GetFieldFlag(-1) == 1);
}

TEST_CASE("CopyFrom takes the other's name flags, user's labels, orders, switches and lists") {
  ContactTemplate source;
  REQUIRE(LoadLines(source, {L"[NameColl]", L"true", L"[Field6]", L"false", L"[Phone]", L"Boat", L"Mobile",
                             L"[MsgType]", L"Jabber", L"[Addr]", L"Home", L"[AddrFormat]", L"21", L"[Office]",
                             L"false", L"[Other]", L"Shoe size"}));
  source.SetSectionEnabled(SectionDate, FALSE);
  ContactTemplate copy;
  REQUIRE(LoadLines(copy, {L"[Phone]", L"Yacht", L"[People]", L"Coach"}, L"other.tpl"));
  copy.CopyFrom(source);
  CHECK(Picture(copy) == Picture(source));
  copy.CopyFrom(copy);
  CHECK(Picture(copy) == Picture(source));
}

TEST_CASE("Save writes the sections in their order, each only when it is to be written") {
  ContactTemplate tpl;
  tpl.SetDefaults();
  std::wstring path = TempFile(L"defaults.tpl");
  REQUIRE(tpl.Save(path.c_str()));
  int country = GetCountryAddressFormats().GetDefaultIndex();
  Texts expected = {L"[NameColl]", L"false",        L"[Field1]",     L"true",
                    L"[Field5]",   L"false",        L"[Field6]",     L"true",
                    L"[Field8]",   L"true",         L"[Field9]",     L"false",
                    L"[Phone]",    L"Work phone",   L"Home phone",   L"Mobile",
                    L"[EMail]",    L"E-mail",       L"[Msg]",        L"IM",
                    L"[MsgType]",  L"AOL",          L"[Office]",     L"true",
                    L"[Addr]",     L"Work address", L"[AddrFormat]", std::to_wstring(country),
                    L"[Category]", L"true",         L"[Date]",       L"Birthday",
                    L"[Link]",     L"Ringtone"};
  CHECK(U8(ReadWide(path)) == U8(Lines(expected)));
  // That is the example file, up to the country.
  Texts example = kExample;
  example[27] = std::to_wstring(country);
  CHECK(expected == example);
}

TEST_CASE("Save writes flags that are off, and leaves out the lists that are off") {
  ContactTemplate tpl;
  tpl.SetDefaults();
  tpl.SetNameCollapsed(TRUE);
  tpl.SetSectionEnabled(SectionOffice, FALSE);
  tpl.SetSectionEnabled(SectionCategory, FALSE);
  for (int number : {SectionPhone, SectionEmail, SectionMessenger, SectionAddress, SectionDate, SectionLink})
    tpl.SetSectionEnabled(number, FALSE);
  tpl.SetSectionEnabled(SectionOther, TRUE);
  std::wstring path = TempFile(L"off.tpl");
  REQUIRE(tpl.Save(path.c_str()));
  Texts expected = {L"[NameColl]", L"true",    L"[Field1]",   L"true",  L"[Field5]", L"false",
                    L"[Field6]",   L"true",    L"[Field8]",   L"true",  L"[Field9]", L"false",
                    L"[Office]",   L"false",   L"[Category]", L"false", L"[Other]",  L"Nickname",
                    L"Account",    L"Cust.ID", L"Govt.ID"};
  CHECK(U8(ReadWide(path)) == U8(Lines(expected)));
}

TEST_CASE("read, write and read again give the same template") {
  ContactTemplate first;
  REQUIRE(LoadLines(first, {L"[NameColl]", L"true",
                            L"[Field1]",   L"false",
                            L"[Field5]",   L"true",
                            L"[Field9]",   L"TRUE",
                            L"[Phone]",    L"Boat",
                            L"Home",       L"Mobile",
                            L"Boat",       L"Satellite \x0442\x0435\x043B.",
                            L"[EMail]",    L"E-mail 3",
                            L"[Msg]",      L"IM 2",
                            L"Skype",      L"[MsgType]",
                            L"Jabber",     L"MSN",
                            L"[Web]",      L"Blog",
                            L"[Office]",   L"false",
                            L"[Addr]",     L"Other",
                            L"Dacha",      L"[AddrFormat]",
                            L"42",         L"-7",
                            L"99999",      L"[Category]",
                            L"false",      L"[People]",
                            L"Coach",      L"Spouse",
                            L"[Date]",     L"Name day",
                            L"[Link]",     L"Linked file",
                            L"[Other]",    L"  spaced  "}));
  std::wstring saved = TempFile(L"saved.tpl");
  REQUIRE(first.Save(saved.c_str()));
  ContactTemplate second;
  REQUIRE(second.Load(saved.c_str()));
  CHECK(Picture(second) == Picture(first));
  CHECK(Unusable(second).empty());
  // And written again, byte for byte the same file.
  std::wstring again = TempFile(L"again.tpl");
  REQUIRE(second.Save(again.c_str()));
  CHECK(testpaths::ReadFileBytes(again) == testpaths::ReadFileBytes(saved));
}

TEST_CASE("the defaults written and read again show the same sections in the same order") {
  ContactTemplate defaults;
  defaults.SetDefaults();
  std::wstring path = TempFile(L"defaults-again.tpl");
  REQUIRE(defaults.Save(path.c_str()));
  ContactTemplate read;
  REQUIRE(read.Load(path.c_str()));
  CHECK_FALSE(read.IsDefault());
  for (int number = 0; number < SectionCount; ++number) {
    INFO("section " << number);
    CHECK(read.IsSectionVisible(number) == defaults.IsSectionVisible(number));
    if (defaults.IsSectionVisible(number) && number != SectionName)
      CHECK(OrderedLabels(read, number) == OrderedLabels(defaults, number));
  }
  for (int i = 0; i < NamePartCount; ++i) CHECK(read.GetFieldFlag(i) == defaults.GetFieldFlag(i));
  CHECK(NumbersOf(read.GetAddressSection().addressFormats) ==
        NumbersOf(defaults.GetAddressSection().addressFormats));
}

TEST_CASE("Save fails when the file can't be made") {
  ContactTemplate tpl;
  tpl.SetDefaults();
  std::wstring path = testpaths::TempFolder() + L"no such folder\\Contact template.tpl";
  CHECK_FALSE(tpl.Save(path.c_str()));
  CHECK(GetLastError() == ERROR_PATH_NOT_FOUND);
}

TEST_CASE("Save replaces an older, longer file; the sections the file lacked are written empty") {
  ContactTemplate tpl;
  REQUIRE(LoadLines(tpl, kExample));
  std::wstring path = TempFile(L"replaced.tpl");
  std::wstring old = Lines(kExample);
  for (int i = 0; i < 50; ++i) old += L"[Junk]\r\nline\r\n";
  REQUIRE(WriteBytes(path, Utf16(old)));
  REQUIRE(tpl.Save(path.c_str()));
  // Web, People and Other were missing: on with an empty order, they are written as bare headers.
  Texts expected = kExample;
  expected.insert(expected.begin() + 22, L"[Web]");
  expected.insert(expected.begin() + 31, L"[People]");
  expected.push_back(L"[Other]");
  CHECK(U8(ReadWide(path)) == U8(Lines(expected)));
}
