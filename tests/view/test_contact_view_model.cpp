// The contact page built from contacts: the rows under the template's order, the head and its picture,
// addresses by country, on a real page window.
#include <doctest/doctest.h>
#include <windows.h>
#include "MessagePump.h"
#include "ViewTestSupport.h"
#include "presentation/ContactTemplate.h"
#include "presentation/CountryAddressFormats.h"
#include "presentation/Skin.h"
#include "resources/resource.h"

using namespace viewtest;

namespace {

struct PageFixture {
  HWND parent;
  ContactView view;
  PageFixture() {
    parent = MakeParent(ScaleX(240), ScaleY(280));
    REQUIRE(view.Create(parent, WS_CHILD | WS_VISIBLE));
    MoveWindow(view.GetHwnd(), 0, 0, ScaleX(240), ScaleY(280), TRUE);
    view.SetFonts(Skin::Get()->GetBoldFont(), Skin::Get()->GetPlainFont());
  }
  ~PageFixture() {
    DestroyWindow(parent);
    Pump();
  }
  ContactTextWindow& Text() { return view.Text(); }
};

Str LongLabel(UINT id) {
  wchar_t text[128];
  int length = LoadStringW(GetModuleHandleW(nullptr), id, text, 128);
  return Str(text, length);
}

// Sets the order of the phone section to these label indexes (0 work, 1 home, 2 mobile), until the end
// of the scope.
struct PhoneOrder {
  Array<int32_t> kept;
  explicit PhoneOrder(std::initializer_list<int> indexes) {
    TemplateSection* phones = g_contactTemplate->GetSection(SectionPhone);
    kept = phones->order;
    phones->order.RemoveAll();
    for (int index : indexes) phones->order.Add(index);
  }
  ~PhoneOrder() { g_contactTemplate->GetSection(SectionPhone)->order = kept; }
};

LabelValue Pair(const wchar_t* label, const wchar_t* value) {
  LabelValue pair;
  pair.label = label;
  pair.value = value;
  return pair;
}

}  // namespace

TEST_CASE("two work phones stand together, in the place the template's order gives the work phone") {
  PageFixture page;
  PhoneOrder order{2, 0, 1};  // mobile, work, home
  Contact contact;
  contact.oid = 7;
  contact.text[ContactField::FirstName] = L"Mira";
  contact.text[ContactField::WorkPhone] = L"111";
  contact.text[ContactField::HomePhone] = L"333";
  contact.text[ContactField::MobilePhone] = L"222";
  contact.text[ContactField::WorkPhone2] = L"444";
  REQUIRE(page.view.Show(contact));
  std::vector<std::wstring> expected = {L"222", L"111", L"444", L"333"};
  CHECK(RowTexts(page.Text(), SectionPhone) == expected);
  // Both work rows carry the work phone's short label.
  Str work = g_contactTemplate->ShortLabelOf(SectionPhone, LongLabel(IDS_LABEL_WORK_PHONE));
  CHECK(Str::IsEqual(page.Text().Item(FindRow(page.Text(), L"111")).label, work));
  CHECK(Str::IsEqual(page.Text().Item(FindRow(page.Text(), L"444")).label, work));

  // Under another order the pair moves with the label.
  PhoneOrder other{0, 2, 1};
  REQUIRE(page.view.Show(contact));
  expected = {L"111", L"444", L"222", L"333"};
  CHECK(RowTexts(page.Text(), SectionPhone) == expected);
}

TEST_CASE("a phone whose label the order lacks stands at the end of the phone rows") {
  PageFixture page;
  PhoneOrder order{2, 0};  // mobile, work: home is missing
  Contact contact;
  contact.text[ContactField::LastName] = L"Okafor";
  contact.text[ContactField::HomePhone] = L"333";
  contact.text[ContactField::WorkPhone] = L"111";
  contact.text[ContactField::MobilePhone] = L"222";
  contact.Phone.Add(Pair(L"Satellite", L"999"));
  REQUIRE(page.view.Show(contact));
  std::vector<std::wstring> expected = {L"222", L"111", L"333", L"999"};
  CHECK(RowTexts(page.Text(), SectionPhone) == expected);
  // A label of the user's own is shown as it is.
  CHECK(std::wstring(page.Text().Item(FindRow(page.Text(), L"999")).label) == L"Satellite");
}

TEST_CASE("a contact with only a company shows the company in bold and the company picture") {
  PageFixture page;
  Contact contact;
  contact.text[ContactField::Company] = L"Vexa Tools";
  REQUIRE(page.view.Show(contact));
  CHECK(std::wstring(page.view.HeadText()) == L"<B>Vexa Tools</B>");
  CHECK(page.view.Model().photo == Skin::Get()->GetCompanyBitmap());
  CHECK(page.view.Model().photoOwned == 0);
  REQUIRE(page.Text().ItemCount() >= 1);
  const ContactTextItem& head = page.Text().Item(0);
  CHECK(head.kind == ItemHead);
  CHECK(head.image == Skin::Get()->GetCompanyBitmap());
  REQUIRE(head.text.GetLength() == 10);
  for (int i = 0; i < head.text.GetLength(); ++i) CHECK((head.text.GetAttrs()[i].style & kMarkupBold) != 0);

  // With a name the company stands on the second line, not bold, and the picture is a person's.
  contact.text[ContactField::FirstName] = L"Ana";
  contact.text[ContactField::LastName] = L"Ruiz";
  contact.text[ContactField::JobTitle] = L"Buyer";
  contact.text[ContactField::Department] = L"Sales";
  REQUIRE(page.view.Show(contact));
  CHECK(std::wstring(page.view.HeadText()) == L"<B>Ana Ruiz</B> Buyer\nVexa Tools Sales");
  CHECK(page.view.Model().photo == Skin::Get()->GetPersonBitmap());
}

TEST_CASE("a contact with neither a name nor a company shows the default picture without a text") {
  PageFixture page;
  Contact contact;
  contact.text[ContactField::MobilePhone] = L"555 0101";
  REQUIRE(page.view.Show(contact));
  CHECK(page.view.HeadText().IsEmpty());
  REQUIRE(page.Text().ItemCount() == 2);
  const ContactTextItem& head = page.Text().Item(0);
  CHECK(head.kind == ItemHead);
  CHECK(head.text.IsEmpty());
  CHECK(head.image == Skin::Get()->GetPersonBitmap());
  BITMAP info;
  REQUIRE(GetObjectW(Skin::Get()->GetPersonBitmap(), sizeof info, &info));
  CHECK(head.imageWidth == info.bmWidth);
  // The head is as tall as its picture with its margin, and the gap of a section below.
  CHECK(head.rect.bottom == info.bmHeight + (Skin::dpiY + 16) * 3 / 96 + (Skin::dpiY + 6) * 8 / 96);

  // A contact with nothing at all still has its head with the default picture.
  Contact empty;
  REQUIRE(page.view.Show(empty));
  REQUIRE(page.Text().ItemCount() == 1);
  CHECK(page.Text().Item(0).image == Skin::Get()->GetPersonBitmap());
}

TEST_CASE("an address with a country index beyond the table is laid out as the default country's") {
  PageFixture page;
  CountryAddressFormats& formats = GetCountryAddressFormats();
  Contact contact;
  contact.text[ContactField::LastName] = L"Brandt";
  contact.text[ContactField::HomeStreet] = L"12 Elm Row";
  contact.text[ContactField::HomeCity] = L"Harlow";
  contact.text[ContactField::HomeState] = L"Essex";
  contact.text[ContactField::HomePostalCode] = L"CM20";
  contact.text[ContactField::HomeCountry] = L"UK";
  contact.HomeFormat = static_cast<uint32_t>(formats.GetCount() + 40);
  REQUIRE(page.view.Show(contact));
  CountryAddressRow row;
  REQUIRE(formats.GetRow(formats.GetDefaultIndex(), row));
  const wchar_t* parts[5] = {L"12 Elm Row", L"Harlow", L"Essex", L"CM20", L"UK"};
  std::wstring expected;
  for (int position = 0; position < 5; ++position)
    for (int part = 0; part < 5; ++part)
      if (row.position[part] == position) {
        if (!expected.empty()) expected += L' ';
        expected += parts[part];
      }
  std::vector<std::wstring> rows = RowTexts(page.Text(), SectionAddress);
  REQUIRE(rows.size() == 1);
  CHECK(rows[0] == expected);

  // A country whose order differs from the default's gives its own line.
  for (int index = 0; index < formats.GetCount(); ++index) {
    CountryAddressRow other;
    if (!formats.GetRow(index, other)) continue;
    bool differs = false;
    for (int part = 0; part < 5; ++part) differs = differs || other.position[part] != row.position[part];
    if (!differs) continue;
    contact.HomeFormat = static_cast<uint32_t>(index);
    REQUIRE(page.view.Show(contact));
    rows = RowTexts(page.Text(), SectionAddress);
    REQUIRE(rows.size() == 1);
    CHECK(rows[0] != expected);
    break;
  }
}

TEST_CASE("the sections of a full contact come in their order, with icons, tags and links") {
  PageFixture page;
  Contact contact;
  contact.text[ContactField::FirstName] = L"Lena";
  contact.text[ContactField::LastName] = L"Hart";
  contact.text[ContactField::MobilePhone] = L"555 0110";
  contact.text[ContactField::Email1] = L"lena@hart.example";
  contact.text[ContactField::WebPage] = L"www.hart.example";
  contact.text[ContactField::Spouse] = L"Tom";
  contact.Link.Add(Pair(L"Linked file", L"\\My Documents\\plan.txt"));
  REQUIRE(page.view.Show(contact));
  const ContactTextWindow& text = page.Text();
  int phone = FindRow(text, L"555 0110"), mail = FindRow(text, L"lena@hart.example");
  int web = FindRow(text, L"www.hart.example"), spouse = FindRow(text, L"Tom"),
      link = FindRow(text, L"plan.txt");
  REQUIRE(phone > 0);
  CHECK(mail > phone);
  CHECK(web > mail);
  CHECK(spouse > web);
  CHECK(link > spouse);
  CHECK(text.Item(phone).image == Skin::Get()->GetPhoneIcon());
  CHECK(text.Item(mail).image == Skin::Get()->GetMailIcon());
  CHECK(text.Item(web).image == Skin::Get()->GetWebIcon());
  CHECK(text.Item(link).image == Skin::Get()->GetLinkIcon());
  CHECK(text.Item(spouse).image == nullptr);
  CHECK(std::wstring(text.Item(link).extra) == L"\\My Documents\\plan.txt");
  CHECK((text.Item(mail).text.GetAttrs()[0].style & kMarkupItalic) != 0);
  // The last row of a section keeps the section's gap below it.
  CHECK(text.Item(phone).spacing == (Skin::dpiY + 6) * 8 / 96);
}
