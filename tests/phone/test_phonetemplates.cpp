// PhoneTemplates: the list and its settings, the splitting of numbers and templates, the match and the
// fill, and the edge cases of formatting under the default templates.
#include <doctest/doctest.h>
#include <string>
#include "PhoneTestSupport.h"
#include "TestRegistry.h"
#include "foundation/Settings.h"
#include "phone/PhoneTemplates.h"

namespace {

const std::wstring kTemplatesKey = std::wstring(testreg::kSettingsRoot) + L"\\Templates";

// The default templates, switched on.
struct ActiveDefaults {
  PhoneTemplates templates;
  ActiveDefaults() {
    phonetest::ClearSettings();
    testreg::WriteDword(HKEY_CURRENT_USER, kTemplatesKey, L"IsActiveTemplate", 1);
    templates.Load();
  }
  std::wstring Format(const wchar_t* number, bool* changed = nullptr) {
    Str text(number);
    BOOL done = templates.FormatNumber(text);
    if (changed) *changed = done != FALSE;
    return std::wstring(text);
  }
};

std::wstring W(const Str& s) { return std::wstring(static_cast<const wchar_t*>(s)); }

}  // namespace

TEST_CASE("Load without a stored list takes the six defaults in their order, formatting off") {
  phonetest::ClearSettings();
  PhoneTemplates templates;
  REQUIRE(templates.Load());
  REQUIRE(templates.Count() == 6);
  CHECK(W(templates.Get(0)) == L"##-##-##");
  CHECK(W(templates.Get(1)) == L"+# (###) ###-##-##");
  CHECK(W(templates.Get(2)) == L"#-###-###-##-##");
  CHECK(W(templates.Get(3)) == L"###-###-####");
  CHECK(W(templates.Get(4)) == L"800-###-####");
  CHECK(W(templates.Get(5)) == L"212-#-##-##-##");
  CHECK(templates.GetDigitCount(0) == 6);
  CHECK(templates.GetDigitCount(1) == 11);
  CHECK(templates.GetDigitCount(4) == 10);
  CHECK_FALSE(templates.IsActive());
  CHECK_FALSE(templates.IsIgnoreFormat());
  // Off, a number stays as it is.
  Str number(L"4951234567");
  CHECK_FALSE(templates.FormatNumber(number));
  CHECK(number == L"4951234567");
}

TEST_CASE("Load reads the stored list and the flags, and drops empty templates and forbidden signs") {
  phonetest::ClearSettings();
  testreg::WriteDword(HKEY_CURRENT_USER, kTemplatesKey, L"Count", 5);
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"0", L"###-##-##");
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"1", L"");
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"2", L"<###>");
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"3", L"{##}-##");
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"4", L"(###) ###-####");
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"5", L"#-#");  // beyond Count
  testreg::WriteDword(HKEY_CURRENT_USER, kTemplatesKey, L"IsActiveTemplate", 1);
  testreg::WriteDword(HKEY_CURRENT_USER, kTemplatesKey, L"IsIgnorePhoneFormat", 1);
  PhoneTemplates templates;
  REQUIRE(templates.Load());
  REQUIRE(templates.Count() == 2);
  CHECK(W(templates.Get(0)) == L"###-##-##");
  CHECK(W(templates.Get(1)) == L"(###) ###-####");
  CHECK(templates.GetDigitCount(1) == 10);
  CHECK(templates.IsActive());
  CHECK(templates.IsIgnoreFormat());
  // Count in the settings isn't corrected.
  DWORD count = 0;
  CHECK(testreg::ReadDword(HKEY_CURRENT_USER, kTemplatesKey, L"Count", &count));
  CHECK(count == 5);
}

TEST_CASE("Load clears what was there before") {
  phonetest::ClearSettings();
  PhoneTemplates templates;
  templates.Add(L"#");
  templates.Add(L"##");
  testreg::WriteDword(HKEY_CURRENT_USER, kTemplatesKey, L"Count", 1);
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"0", L"##-##");
  templates.Load();
  REQUIRE(templates.Count() == 1);
  CHECK(W(templates.Get(0)) == L"##-##");
}

TEST_CASE("Save writes every template, the count and both flags, and Load reads them back") {
  phonetest::ClearSettings();
  PhoneTemplates out;
  out.Add(L"###-####");
  out.Add(L"+## ### ###-####");
  out.SetActive(TRUE);
  out.SetIgnoreFormat(TRUE);
  REQUIRE(out.Save());
  DWORD number = 0;
  std::wstring text;
  DWORD type = 0;
  CHECK(testreg::ReadDword(HKEY_CURRENT_USER, kTemplatesKey, L"Count", &number));
  CHECK(number == 2);
  CHECK(testreg::ReadValue(HKEY_CURRENT_USER, kTemplatesKey, L"1", &type, &text, &number));
  CHECK(type == REG_SZ);
  CHECK(text == L"+## ### ###-####");
  CHECK(testreg::ReadDword(HKEY_CURRENT_USER, kTemplatesKey, L"IsActiveTemplate", &number));
  CHECK(number == 1);
  CHECK(testreg::ReadDword(HKEY_CURRENT_USER, kTemplatesKey, L"IsIgnorePhoneFormat", &number));
  CHECK(number == 1);

  PhoneTemplates in;
  in.Load();
  REQUIRE(in.Count() == 2);
  CHECK(W(in.Get(0)) == L"###-####");
  CHECK(W(in.Get(1)) == L"+## ### ###-####");
  CHECK(in.GetDigitCount(1) == 12);
  CHECK(in.IsActive());
  CHECK(in.IsIgnoreFormat());
}

TEST_CASE("Add, Insert, Remove and Clear keep the templates and their digit counts side by side") {
  PhoneTemplates templates;
  templates.Add(L"###");
  templates.Add(L"#####");
  templates.Insert(1, L"####");
  templates.Insert(99, L"##");  // out of range: the front
  templates.Insert(-1, L"#");   // likewise
  REQUIRE(templates.Count() == 5);
  const wchar_t* expected[] = {L"#", L"##", L"###", L"####", L"#####"};
  for (int i = 0; i < 5; ++i) {
    CHECK(W(templates.Get(i)) == expected[i]);
    CHECK(templates.GetDigitCount(i) == i + 1);
  }
  templates.Remove(0);
  templates.Remove(7);  // out of range: nothing
  REQUIRE(templates.Count() == 4);
  CHECK(W(templates.Get(0)) == L"##");
  CHECK(templates.GetDigitCount(0) == 2);
  CHECK(W(templates.Get(4)).empty());
  CHECK(W(templates.Get(-1)).empty());
  CHECK(templates.GetDigitCount(4) == -1);
  CHECK(templates.GetDigitCount(-1) == -1);
  templates.Clear();
  CHECK(templates.Count() == 0);
  CHECK(templates.GetDigitCount(0) == -1);
}

TEST_CASE("SortByDigits orders the templates by their number of positions") {
  PhoneTemplates templates;
  templates.SetDefaults();
  templates.SortByDigits();
  REQUIRE(templates.Count() == 6);
  for (int i = 1; i < templates.Count(); ++i)
    CHECK(templates.GetDigitCount(i - 1) <= templates.GetDigitCount(i));
  CHECK(W(templates.Get(0)) == L"##-##-##");
  // Each template still goes with its own count.
  for (int i = 0; i < templates.Count(); ++i)
    CHECK(templates.GetDigitCount(i) == CountChars(templates.Get(i), kPlaceholderChars));
}

TEST_CASE("SplitAround cuts at the first and the last character of the set") {
  Str pre, core, post;
  SplitAround(Str(L"tel +7 916 (home)"), kDigitChars, pre, core, post);
  CHECK(W(pre) == L"tel +");
  CHECK(W(core) == L"7 916");
  CHECK(W(post) == L" (home)");
  SplitAround(Str(L"no number"), kDigitChars, pre, core, post);
  CHECK(W(pre).empty());
  CHECK(W(core) == L"no number");
  CHECK(W(post).empty());
  SplitAround(Str(L"+# (###) ###-##-##"), kPlaceholderChars, pre, core, post);
  CHECK(W(pre) == L"+");
  CHECK(W(core) == L"# (###) ###-##-##");
  CHECK(W(post).empty());
}

TEST_CASE("SplitPrefix takes the signs that close a prefix, with the openers before them") {
  Str adjacent, outer;
  SplitPrefix(Str(L"tel +("), adjacent, outer);
  CHECK(W(adjacent) == L"+(");
  CHECK(W(outer) == L"tel ");
  SplitPrefix(Str(L"tel "), adjacent, outer);
  CHECK(W(adjacent).empty());
  CHECK(W(outer) == L"tel ");
  // A sign that isn't last leaves the whole prefix outside.
  SplitPrefix(Str(L"+7 mob "), adjacent, outer);
  CHECK(W(adjacent).empty());
  CHECK(W(outer) == L"+7 mob ");
  SplitPrefix(Str(L"(("), adjacent, outer);
  CHECK(W(adjacent) == L"((");
  CHECK(W(outer).empty());
  SplitPrefix(Str(L"x-"), adjacent, outer);
  CHECK(W(adjacent) == L"-");
  CHECK(W(outer) == L"x");
}

TEST_CASE("SplitSuffix takes the run of closers at its start, unless it starts with a space") {
  Str adjacent, outer;
  SplitSuffix(Str(L")] ext"), adjacent, outer);
  CHECK(W(adjacent) == L")]");
  CHECK(W(outer) == L" ext");
  SplitSuffix(Str(L" )"), adjacent, outer);
  CHECK(W(adjacent).empty());
  CHECK(W(outer) == L" )");
  SplitSuffix(Str(L"-home"), adjacent, outer);
  CHECK(W(adjacent).empty());
  CHECK(W(outer) == L"-home");
}

TEST_CASE("MatchCore walks positions and digits side by side and compares what else both hold") {
  CHECK(MatchCore(L"###-####", L"1234567"));
  CHECK(MatchCore(L"800-###-####", L"8001234567"));
  CHECK_FALSE(MatchCore(L"800-###-####", L"8011234567"));
  CHECK_FALSE(MatchCore(L"###-####", L"123456"));
  CHECK_FALSE(MatchCore(L"###-####", L"12345678"));
  CHECK_FALSE(MatchCore(L"###-####", L"123-4567"));  // the number's own shape
  CHECK_FALSE(MatchCore(L"", L"1"));
  CHECK_FALSE(MatchCore(L"#", L""));
  // Letters must agree, without regard to case.
  CHECK(MatchCore(L"###x####", L"123X4567"));
  CHECK_FALSE(MatchCore(L"###x####", L"123y4567"));
  CHECK_FALSE(MatchCore(L"#######", L"123y4567"));
}

TEST_CASE("FillTemplate fills the hashes, or all positions, and fails on any other count") {
  Str out;
  CHECK(FillTemplate(L"800-###-####", L"1234567", out));
  CHECK(W(out) == L"800-123-4567");
  CHECK(FillTemplate(L"800-###-####", L"8001234567", out));
  CHECK(W(out) == L"800-123-4567");
  CHECK(FillTemplate(L"212-#-##-##-##", L"2125551234", out));
  CHECK(W(out) == L"212-5-55-12-34");
  CHECK_FALSE(FillTemplate(L"800-###-####", L"12345", out));
  CHECK(W(out).empty());
  // More positions than the buffers hold: the fill fails.
  std::wstring longTemplate(300, L'#');
  std::wstring digits(300, L'5');
  CHECK_FALSE(FillTemplate(longTemplate.c_str(), digits.c_str(), out));
}

TEST_CASE("4951234567 under the active defaults: the second pass takes ###-###-####") {
  ActiveDefaults d;
  bool changed = false;
  CHECK(d.Format(L"4951234567", &changed) == L"495-123-4567");
  CHECK(changed);
}

TEST_CASE("8001234567: 800-###-#### wins in the first pass though ###-###-#### stands before it") {
  ActiveDefaults d;
  REQUIRE(W(d.templates.Get(3)) == L"###-###-####");
  REQUIRE(W(d.templates.Get(4)) == L"800-###-####");
  CHECK(d.Format(L"8001234567") == L"800-123-4567");
  // The choice shows when the literal template has another shape than the general one.
  d.templates.Remove(4);
  d.templates.Add(L"800 ### ####");
  CHECK(d.Format(L"8001234567") == L"800 123 4567");
  d.templates.Remove(5);
  CHECK(d.Format(L"8001234567") == L"800-123-4567");
}

TEST_CASE("79161234567: eleven digits, +# (###) ###-##-## takes it with its prefix sign") {
  ActiveDefaults d;
  CHECK(d.Format(L"79161234567") == L"+7 (916) 123-45-67");
}

TEST_CASE("495-123-4567 stays without IsIgnorePhoneFormat and is formatted with it") {
  ActiveDefaults d;
  bool changed = true;
  CHECK(d.Format(L"495-123-4567", &changed) == L"495-123-4567");
  CHECK_FALSE(changed);
  CHECK(d.Format(L"495 123-45-67", &changed) == L"495 123-45-67");
  CHECK_FALSE(changed);
  d.templates.SetIgnoreFormat(TRUE);
  CHECK(d.Format(L"495-123-4567", &changed) == L"495-123-4567");
  CHECK(changed);
  CHECK(d.Format(L"495 123-45-67", &changed) == L"495-123-4567");
  CHECK(changed);
  CHECK(d.Format(L"7-916-123-45-67") == L"+7 (916) 123-45-67");
}

TEST_CASE("(495) 1234567: the opening bracket is the prefix, the closing one stays in the core") {
  ActiveDefaults d;
  bool changed = true;
  CHECK(d.Format(L"(495) 1234567", &changed) == L"(495) 1234567");
  CHECK_FALSE(changed);
  // Even a template with the bracket in its prefix takes it not: the core keeps its ")".
  d.templates.Clear();
  d.templates.Add(L"(###) ###-####");
  CHECK(d.Format(L"(495) 1234567", &changed) == L"(495) 1234567");
  CHECK_FALSE(changed);
  CHECK(d.Format(L"(4951234567", &changed) == L"(495) 123-4567");
  CHECK(changed);
}

TEST_CASE("A trailing word goes through, space and all, behind the formatted core") {
  ActiveDefaults d;
  CHECK(d.Format(L"4951234567 mobile") == L"495-123-4567 mobile");
  CHECK(d.Format(L"4951234567  (after 6 pm") == L"4951234567  (after 6 pm");  // a digit in the remark
  CHECK(d.Format(L"79161234567 home, evenings") == L"+7 (916) 123-45-67 home, evenings");
}

TEST_CASE("A template list that comes out empty though Count isn't 0 formats nothing") {
  phonetest::ClearSettings();
  testreg::WriteDword(HKEY_CURRENT_USER, kTemplatesKey, L"Count", 3);
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"0", L"[###]-####");
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"1", L"");
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"2", L"###-<####>");
  testreg::WriteDword(HKEY_CURRENT_USER, kTemplatesKey, L"IsActiveTemplate", 1);
  PhoneTemplates templates;
  templates.Load();
  CHECK(templates.IsActive());
  CHECK(templates.Count() == 0);
  Str number(L"1234567");
  CHECK_FALSE(templates.FormatNumber(number));
  CHECK(number == L"1234567");
  Contact contact = phonetest::MakeContact(L"Ann", L"Lee");
  contact.text[ContactField::MobilePhone] = L"1234567";
  templates.FormatContact(contact);
  CHECK(contact.text[ContactField::MobilePhone] == L"1234567");
}

TEST_CASE("Numbers without digits, empty numbers and numbers no template takes stay as they are") {
  ActiveDefaults d;
  bool changed = true;
  CHECK(d.Format(L"", &changed).empty());
  CHECK_FALSE(changed);
  CHECK(d.Format(L"ask the office", &changed) == L"ask the office");
  CHECK_FALSE(changed);
  CHECK(d.Format(L"12345", &changed) == L"12345");
  CHECK_FALSE(changed);
}

TEST_CASE("A number's own signs next to it must stand in the template's, and replace them") {
  ActiveDefaults d;
  // "+" before the number: only a template with "+" there takes it.
  CHECK(d.Format(L"+4951234567") == L"+4951234567");
  d.templates.Add(L"+### ###-####");
  CHECK(d.Format(L"+4951234567") == L"+495 123-4567");
  // The number's own sign is what is shown.
  d.templates.Clear();
  d.templates.Add(L"+(###) ###-####");
  CHECK(d.Format(L"(4951234567") == L"(495) 123-4567");
  CHECK(d.Format(L"4951234567") == L"+(495) 123-4567");
}

TEST_CASE("Words of a template around the number are added unless the number has them already") {
  ActiveDefaults d;
  d.templates.Clear();
  d.templates.Add(L"Tel:(###) ###-##-##");
  CHECK(d.Format(L"4951234567") == L"Tel: (495) 123-45-67");
  CHECK(d.Format(L"TEL:4951234567") == L"TEL:(495) 123-45-67");
  d.templates.Clear();
  d.templates.Add(L"###-####ext");
  CHECK(d.Format(L"1234567") == L"123-4567 ext");
  CHECK(d.Format(L"1234567EXT") == L"123-4567EXT");
}

TEST_CASE("FormatContact formats the eleven phone fields and the extended phones, nothing else") {
  ActiveDefaults d;
  Contact contact = phonetest::MakeContact(L"Ivan", L"Petrov");
  const int phones[] = {ContactField::AssistantPhone, ContactField::WorkPhone2, ContactField::WorkFax,
                        ContactField::WorkPhone,      ContactField::CarPhone,   ContactField::HomePhone2,
                        ContactField::HomeFax,        ContactField::HomePhone,  ContactField::MobilePhone,
                        ContactField::Pager,          ContactField::RadioPhone};
  for (int field : phones) contact.text[field] = L"4951234567";
  contact.text[ContactField::Company] = L"4951234567";
  contact.text[ContactField::Email1] = L"4951234567";
  LabelValue extra;
  extra.label = L"Dacha";
  extra.value = L"79161234567";
  contact.Phone.Add(extra);
  d.templates.FormatContact(contact);
  for (int field : phones) CHECK(contact.text[field] == L"495-123-4567");
  CHECK(contact.text[ContactField::Company] == L"4951234567");
  CHECK(contact.text[ContactField::Email1] == L"4951234567");
  REQUIRE(contact.Phone.GetSize() == 1);
  CHECK(contact.Phone[0].value == L"+7 (916) 123-45-67");
  CHECK(contact.Phone[0].label == L"Dacha");

  // Off, nothing changes.
  Contact other = phonetest::MakeContact(L"Ivan", L"Petrov");
  other.text[ContactField::MobilePhone] = L"4951234567";
  d.templates.SetActive(FALSE);
  d.templates.FormatContact(other);
  CHECK(other.text[ContactField::MobilePhone] == L"4951234567");
}
