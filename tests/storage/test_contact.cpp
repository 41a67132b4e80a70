#include "StorageTestSupport.h"

#include "storage/contact/Contact.h"
#include "storage/contact/ContactNames.h"
#include "storage/contact/LabelTranslator.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

using namespace storetest;

namespace {

uint32_t IdOf(int field) { return ContactTextId(field); }

LabelValue Pair(const wchar_t* label, const wchar_t* value) {
  LabelValue pair;
  pair.label = label;
  pair.value = value;
  return pair;
}

std::vector<std::string> Labels(const Array<LabelValue>& pairs) {
  std::vector<std::string> labels;
  for (int i = 0; i < pairs.GetSize(); ++i) labels.push_back(U8(pairs[i].label) + "=" + U8(pairs[i].value));
  return labels;
}

// The hash worked out here on its own terms, for comparison.
uint32_t ReferenceHash(const std::wstring& text) {
  int32_t sum = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t c = text[i];
    int16_t term =
        (i % 2 == 0) ? static_cast<int16_t>(c) : static_cast<int16_t>((c * 256) | (c >= 256 ? 1 : 0));
    sum =
        static_cast<int32_t>(static_cast<uint32_t>(sum) + static_cast<uint32_t>(static_cast<int32_t>(term)));
  }
  return static_cast<uint32_t>(sum);
}

class UpperTranslator : public LabelTranslator {
 public:
  Str Translate(const Str& label) const override {
    Str upper = label;
    upper.MakeUpper();
    return Str(L"<") + upper + L">";
  }
};

}  // namespace

TEST_CASE("a new contact has one category byte of 0 and empty buffers") {
  Contact contact;
  CHECK(contact.oid == 0u);
  CHECK(contact.defaultItem == 0u);
  CHECK(Bytes(contact.categories) == std::string(1, '\0'));
  CHECK(contact.noteBlob.IsEmpty());
  CHECK(contact.rawNote.IsEmpty());
  CHECK(contact.photo.IsEmpty());
  CHECK_FALSE(contact.photoLoaded);
  CHECK(contact.checksum == 0u);
  for (int i = 0; i < kContactTextCount; ++i) CHECK(contact.text[i].IsEmpty());
}

TEST_CASE("IsEmpty: all texts empty, no dates, no Note and one category byte of 0; a non-zero byte is not") {
  Contact contact;
  CHECK(contact.IsEmpty());
  contact.categories = BufferOf(std::string(1, '\x04'));
  CHECK_FALSE(contact.IsEmpty());
  contact.categories = BufferOf(std::string(1, '\0'));
  CHECK(contact.IsEmpty());

  contact.text[ContactField::Pager] = L"1";
  CHECK_FALSE(contact.IsEmpty());
  contact.text[ContactField::Pager].Empty();
  contact.birthday = TimeOf(1, 0);
  CHECK_FALSE(contact.IsEmpty());
  contact.birthday = TimeOf(0, 0);
  contact.noteBlob = BufferOf("n");
  CHECK_FALSE(contact.IsEmpty());
  contact.noteBlob.Empty();
  contact.Phone.Add(Pair(L"Car 2", L"555"));
  CHECK_FALSE(contact.IsEmpty());
  contact.Clear();
  CHECK(contact.IsEmpty());
}

TEST_CASE("Clear gives back a new contact") {
  Contact contact = FullContact(3);
  contact.oid = 99;
  contact.flag102 = 1;
  contact.checksum = 5;
  contact.rawNote = BufferOf("raw");
  contact.Email.Add(Pair(L"Private", L"a@b.c"));
  contact.HomeFormat = 4;
  contact.Image = L"face.png";
  contact.photoLoaded = true;
  contact.Clear();
  CHECK(contact.IsEmpty());
  CHECK(contact.oid == 0u);
  CHECK(contact.flag102 == 0u);
  CHECK(contact.checksum == 0u);
  CHECK(contact.rawNote.IsEmpty());
  CHECK(contact.Email.GetSize() == 0);
  CHECK(contact.HomeFormat == 0u);
  CHECK(contact.Image.IsEmpty());
  CHECK_FALSE(contact.photoLoaded);
  CHECK(Bytes(contact.categories) == std::string(1, '\0'));
}

TEST_CASE("two contacts that differ only in flag102 are equal") {
  Contact a = FullContact(1);
  Contact b = a;
  b.flag102 = 1;
  CHECK(a.Equals(b));
  CHECK_FALSE(a.Differs(b));
  CHECK(a.EqualsCore(b));
  CHECK_FALSE(a.DiffersCore(b));

  b.text[ContactField::Office] = L"Room 12";
  CHECK_FALSE(a.Equals(b));
  CHECK(a.Differs(b));
  b = a;
  b.defaultItem = 7;
  CHECK(a.Differs(b));
  b = a;
  b.categories = BufferOf("\x02");
  CHECK(a.Differs(b));
  b = a;
  b.noteBlob = BufferOf("other");
  CHECK(a.Differs(b));
  b = a;
  b.People.Add(Pair(L"Friend", L"Ann"));
  CHECK(a.Differs(b));
  CHECK(static_cast<ContactExtended&>(a).Differs(b));
  b = a;
  b.anniversary = TimeOf(0, 1);
  CHECK(a.Differs(b));
}

TEST_CASE("copying shares the text blocks; Assign on itself does nothing") {
  Contact a = FullContact(2);
  a.Messenger.Add(MessengerEntry{Str(L"ICQ"), Str(L"12345"), Str(L"home")});
  Contact b(a);
  CHECK(b.Equals(a));
  for (int i = 0; i < kContactTextCount; ++i)
    CHECK(static_cast<const wchar_t*>(b.text[i]) == static_cast<const wchar_t*>(a.text[i]));
  CHECK(b.noteBlob.Block() == a.noteBlob.Block());
  CHECK(b.Messenger.GetSize() == 1);

  Contact c;
  c.Assign(a);
  CHECK(c.Equals(a));
  a.Assign(a);
  CHECK(c.Equals(a));
  CHECK(U8(a.text[ContactField::LastName]).find("Field 28") == 0);
}

TEST_CASE("Hash sums even characters as signed 16-bit and odd ones times 256, flagged from 256 up") {
  CHECK(Contact::Hash(L"") == 0u);
  CHECK(Contact::Hash(L"A") == 65u);
  CHECK(Contact::Hash(L"AB") == 65u + 66u * 256u);
  // An odd character of 256 or more gets the low bit, and the term is truncated to 16 bits.
  CHECK(Contact::Hash(L"a\u0416") == ReferenceHash(L"a\u0416"));
  CHECK(Contact::Hash(L"a\u0416") ==
        97u + static_cast<uint32_t>(static_cast<int32_t>(static_cast<int16_t>(0x1601))));
  // Bytes that land in bit 15 make the term negative.
  CHECK(Contact::Hash(L"x\u0080") == static_cast<uint32_t>(120 - 32768));
  CHECK(Contact::Hash(L"\u8000") == static_cast<uint32_t>(-32768));
  for (const wchar_t* text :
       {L"Work phone", L"\u041C\u043E\u0431\u0438\u043B\u044C\u043D\u044B\u0439", L"+7 (495) 123-45-67"})
    CHECK(Contact::Hash(text) == ReferenceHash(text));
}

TEST_CASE("CustomItemId of two empty strings is 0xF0000000") {
  CHECK(Contact::CustomItemId(L"", L"") == 0xF0000000u);
  CHECK(Contact::IsCustomItemId(0xF0000000u));
  CHECK_FALSE(Contact::IsCustomItemId(0x3A08001Fu));
  CHECK_FALSE(Contact::IsCustomItemId(0xE0000000u));
}

TEST_CASE("CustomItemId: the label's hash with the top nibble set, the value's hash sign-extended") {
  // "AB": 65 + 66 * 256 = 0x4241; "C": 0x43.
  CHECK(Contact::CustomItemId(L"AB", L"C") == 0xF2410043u);
  // A value hash with bit 15 set makes the whole high half all ones.
  CHECK(Contact::CustomItemId(L"AB", L"x\u0080") == 0xFFFF8078u);
  for (const wchar_t* value : {L"555-0101", L"12", L"+7 (495) 123-45-67"}) {
    uint32_t id = Contact::CustomItemId(L"Mobile 2", value);
    CHECK(Contact::IsCustomItemId(id));
    uint32_t low = ReferenceHash(value) & 0xFFFFu;
    uint32_t expected = (((ReferenceHash(L"Mobile 2") | 0xF000u) & 0xFFFFu) << 16) | low;
    if ((low & 0x8000u) != 0) expected = 0xFFFF0000u | low;
    CHECK(id == expected);
  }
}

TEST_CASE("GetPhoneByType: a fixed phone named by its id, even an empty one") {
  Contact contact;
  contact.text[ContactField::HomePhone] = L"111";
  contact.text[ContactField::MobilePhone] = L"222";
  uint32_t id = IdOf(ContactField::MobilePhone);
  Str value, label;
  CHECK(contact.GetPhoneByType(id, value, label));
  CHECK(id == IdOf(ContactField::MobilePhone));
  CHECK(U8(value) == "222");
  CHECK(U8(label) == "mobile");

  id = IdOf(ContactField::CarPhone);
  CHECK(contact.GetPhoneByType(id, value, label));
  CHECK(id == IdOf(ContactField::CarPhone));
  CHECK(U8(value) == "");
  CHECK(U8(label) == "car");
}

TEST_CASE("GetPhoneByType: a custom id finds its entry of the Phone list, trimmed, label in lower case") {
  Contact contact;
  contact.text[ContactField::WorkPhone] = L"100";
  contact.Phone.Add(Pair(L"  Summer House ", L" 555 77 "));
  uint32_t id = Contact::CustomItemId(L"  Summer House ", L" 555 77 ");
  uint32_t asked = id;
  Str value, label;
  CHECK(contact.GetPhoneByType(asked, value, label));
  CHECK(asked == id);
  CHECK(U8(value) == "555 77");
  CHECK(U8(label) == "summer house");
}

TEST_CASE(
    "a default item naming a custom phone that no longer exists falls back to the first phone in order") {
  Contact contact;
  contact.text[ContactField::AssistantPhone] = L"900";
  contact.text[ContactField::HomeFax] = L"800";
  contact.text[ContactField::HomePhone2] = L"700";
  contact.Phone.Add(Pair(L"Boat", L"600"));
  uint32_t id = Contact::CustomItemId(L"Gone", L"123");
  Str value, label;
  CHECK(contact.GetPhoneByType(id, value, label));
  CHECK(id == IdOf(ContactField::HomePhone2));  // the caller sees the fallback's id
  CHECK(U8(value) == "700");
  CHECK(U8(label) == "home");
}

TEST_CASE("GetPhoneByType falls back through the fixed phones in their order, then the Phone list") {
  const int order[] = {ContactField::WorkPhone,  ContactField::WorkPhone2,    ContactField::HomePhone,
                       ContactField::HomePhone2, ContactField::MobilePhone,   ContactField::HomeFax,
                       ContactField::WorkFax,    ContactField::Pager,         ContactField::CarPhone,
                       ContactField::RadioPhone, ContactField::AssistantPhone};
  const char* labels[] = {"work",     "work",  "home", "home",  "mobile",   "home fax",
                          "work fax", "pager", "car",  "radio", "assistant"};
  Contact contact;
  contact.Phone.Add(Pair(L"Boat", L"600"));
  for (int i = 0; i < 11; ++i) contact.text[order[i]] = Str(L"#") + Str(static_cast<wchar_t>(L'a' + i));
  for (int i = 0; i < 11; ++i) {
    uint32_t id = 0;
    Str value, label;
    CHECK(contact.GetPhoneByType(id, value, label));
    CHECK(id == IdOf(order[i]));
    CHECK(U8(label) == labels[i]);
    contact.text[order[i]].Empty();
  }
  uint32_t id = 0;
  Str value, label;
  CHECK(contact.GetPhoneByType(id, value, label));
  CHECK(id == Contact::CustomItemId(L"Boat", L"600"));
  CHECK(U8(value) == "600");
  CHECK(U8(label) == "boat");

  contact.Phone.RemoveAll();
  contact.text[ContactField::Email1] = L"mail@example.com";
  id = 0;
  CHECK_FALSE(contact.GetPhoneByType(id, value, label));
}

TEST_CASE("GetDefaultCommunication: a named fixed field, even empty, and a named mail") {
  Contact contact;
  contact.text[ContactField::WorkPhone] = L"100";
  contact.text[ContactField::Email2] = L"two@example.com";
  Str value, label;

  contact.defaultItem = IdOf(ContactField::Email2);
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(value) == "two@example.com");
  CHECK(U8(label) == "e-mail 2");

  contact.defaultItem = IdOf(ContactField::RadioPhone);
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(value) == "");
  CHECK(U8(label) == "radio");

  contact.defaultItem = IdOf(ContactField::Email3);
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(value) == "");
  CHECK(U8(label) == "e-mail 3");
}

TEST_CASE("GetDefaultCommunication: custom ids find Phone and Email entries; an unmatched one gives false") {
  Contact contact;
  contact.text[ContactField::WorkPhone] = L"100";
  contact.Phone.Add(Pair(L"Boat", L" 600 "));
  contact.Email.Add(Pair(L" Private\t", L" me@example.com "));
  Str value, label;

  contact.defaultItem = Contact::CustomItemId(L"Boat", L" 600 ");
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(value) == "600");
  CHECK(U8(label) == "boat");

  contact.defaultItem = Contact::CustomItemId(L" Private\t", L" me@example.com ");
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(value) == "me@example.com");
  CHECK(U8(label) == "private");

  contact.defaultItem = Contact::CustomItemId(L"Gone", L"1");
  CHECK_FALSE(contact.GetDefaultCommunication(value, label));
}

TEST_CASE("GetDefaultCommunication without a default: phones, then mails, then the Phone and Email lists") {
  Contact contact;
  Str value, label;
  CHECK_FALSE(contact.GetDefaultCommunication(value, label));

  contact.Email.Add(Pair(L"Other Mail", L"o@example.com"));
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(label) == "other mail");

  contact.Phone.Add(Pair(L"Boat", L"600"));
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(value) == "600");

  contact.text[ContactField::Email3] = L"three@example.com";
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(value) == "three@example.com");
  CHECK(U8(label) == "e-mail 3");

  contact.text[ContactField::Email1] = L"one@example.com";
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(label) == "e-mail");

  contact.text[ContactField::AssistantPhone] = L"999";
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(value) == "999");
  CHECK(U8(label) == "assistant");

  // A fixed id that names no phone or mail counts as none.
  contact.defaultItem = IdOf(ContactField::Company);
  contact.text[ContactField::Pager] = L"555";
  CHECK(contact.GetDefaultCommunication(value, label));
  CHECK(U8(value) == "555");
  CHECK(U8(label) == "pager");
}

TEST_CASE("ListPhones: filled phones with their list labels in order, then the Phone list translated") {
  Contact contact;
  contact.text[ContactField::AssistantPhone] = L"9";
  contact.text[ContactField::MobilePhone] = L"5";
  contact.text[ContactField::WorkPhone] = L"1";
  contact.text[ContactField::WorkFax] = L"7";
  contact.text[ContactField::HomePhone2] = L"4";
  contact.Phone.Add(Pair(L"Boat", L"600"));
  contact.Phone.Add(Pair(L"Empty", L""));

  Array<LabelValue> pairs;
  int selected = -1;
  contact.ListPhones(pairs, selected);
  std::vector<std::string> expected = {"Work phone=1", "Home phone=4",      "Mobile=5",
                                       "Work fax=7",   "Assistant phone=9", "Boat=600"};
  CHECK(Labels(pairs) == expected);
  CHECK(selected == 0);

  contact.defaultItem = IdOf(ContactField::WorkFax);
  contact.ListPhones(pairs, selected);
  CHECK(selected == 3);
  contact.defaultItem = Contact::CustomItemId(L"Boat", L"600");
  contact.ListPhones(pairs, selected);
  CHECK(selected == 5);

  Array<uint32_t> ids;
  contact.ListPhonesWithIds(pairs, ids);
  CHECK(Labels(pairs) == expected);
  REQUIRE(ids.GetSize() == 6);
  CHECK(ids[0] == 0x3A08001Fu);
  CHECK(ids[1] == 0x3A2F001Fu);
  CHECK(ids[2] == 0x3A1C001Fu);
  CHECK(ids[3] == 0x3A24001Fu);
  CHECK(ids[4] == 0x4004001Fu);
  CHECK(ids[5] == Contact::CustomItemId(L"Boat", L"600"));

  UpperTranslator translator;
  SetLabelTranslator(&translator);
  contact.ListPhones(pairs, selected);
  SetLabelTranslator(nullptr);
  CHECK(U8(pairs[5].label) == "<BOAT>");
  CHECK(U8(pairs[0].label) == "Work phone");
  CHECK(U8(TranslateLabel(L"same")) == "same");
}

TEST_CASE("NextPhone cycles through the filled items and wraps at both ends") {
  Contact contact;
  contact.text[ContactField::WorkPhone] = L"1";
  contact.text[ContactField::MobilePhone] = L"5";
  contact.Phone.Add(Pair(L"Boat", L"600"));
  contact.text[ContactField::Email2] = L"two@example.com";
  contact.Email.Add(Pair(L"Private", L"p@example.com"));
  uint32_t boat = Contact::CustomItemId(L"Boat", L"600");
  uint32_t privateMail = Contact::CustomItemId(L"Private", L"p@example.com");

  // Phones only: work, mobile, boat.
  contact.defaultItem = 0;
  CHECK(contact.NextPhone(1, true) == IdOf(ContactField::MobilePhone));
  CHECK(contact.NextPhone(1, true) == boat);
  CHECK(contact.NextPhone(1, true) == IdOf(ContactField::WorkPhone));  // past the end: the first
  CHECK(contact.NextPhone(-1, true) == boat);                          // below 0: the last
  CHECK(contact.defaultItem == boat);

  // With the mails: work, mobile, boat, e-mail 2, private.
  CHECK(contact.NextPhone(1, false) == IdOf(ContactField::Email2));
  CHECK(contact.NextPhone(1, false) == privateMail);
  CHECK(contact.NextPhone(1, false) == IdOf(ContactField::WorkPhone));
  CHECK(contact.NextPhone(-1, false) == privateMail);
  CHECK(contact.NextPhone(5, false) == IdOf(ContactField::WorkPhone));
  CHECK(contact.NextPhone(0, false) == IdOf(ContactField::WorkPhone));
  // A mail as default, asked for phones only: not among them, so the walk starts at the first.
  contact.defaultItem = privateMail;
  CHECK(contact.NextPhone(1, true) == IdOf(ContactField::MobilePhone));
}

TEST_CASE("NextPhone with fewer than two items gives 0 and leaves the default item") {
  Contact contact;
  CHECK(contact.NextPhone(1, false) == 0u);
  contact.text[ContactField::Pager] = L"5";
  contact.text[ContactField::Email1] = L"a@b.c";
  contact.defaultItem = IdOf(ContactField::Pager);
  CHECK(contact.NextPhone(1, true) == 0u);
  CHECK(contact.defaultItem == IdOf(ContactField::Pager));
  CHECK(contact.NextPhone(1, false) == IdOf(ContactField::Email1));
}

TEST_CASE("LabelForNumber searches the digits of the fields in its order, skipping the second home phone") {
  Contact contact;
  Str label;
  CHECK_FALSE(contact.LabelForNumber(L"", label));
  CHECK_FALSE(contact.LabelForNumber(L"123", label));

  contact.text[ContactField::HomePhone2] = L"555-1234";
  CHECK_FALSE(contact.LabelForNumber(L"5551234", label));

  contact.Phone.Add(Pair(L"Boat", L"+1 (555) 123-4"));
  CHECK(contact.LabelForNumber(L"5551234", label));
  CHECK(U8(label) == "Boat");

  contact.text[ContactField::Email3] = L"id5551234@example.com";
  CHECK(contact.LabelForNumber(L"5551234", label));
  CHECK(U8(label) == "E-mail 3");

  contact.text[ContactField::AssistantPhone] = L"8 555 12 34";
  CHECK(contact.LabelForNumber(L"5551234", label));
  CHECK(U8(label) == "Assistant phone");

  contact.text[ContactField::HomeFax] = L"(555) 123 4";
  CHECK(contact.LabelForNumber(L"5551234", label));
  CHECK(U8(label) == "Home fax");

  contact.text[ContactField::MobilePhone] = L"x5551234x";
  CHECK(contact.LabelForNumber(L"5551234", label));
  CHECK(U8(label) == "Mobile");

  contact.text[ContactField::HomePhone] = L"+7 555 1234";
  CHECK(contact.LabelForNumber(L"5551234", label));
  CHECK(U8(label) == "Home phone");

  contact.text[ContactField::WorkPhone2] = L"5551234";
  CHECK(contact.LabelForNumber(L"5551234", label));
  CHECK(U8(label) == "Work phone");

  // The text itself is not reduced: a dash in it finds nothing among digits.
  CHECK_FALSE(contact.LabelForNumber(L"555-1234", label));
  CHECK(contact.LabelForNumber(L"234", label));
}

TEST_CASE("Ringtone: the first filled Link entry labelled \"Ringtone\", else the empty string") {
  Contact contact;
  CHECK(contact.Ringtone().IsEmpty());
  contact.Link.Add(Pair(L"Linked file", L"\\My Documents\\a.txt"));
  contact.Link.Add(Pair(L"Ringtone", L""));
  contact.Link.Add(Pair(L"ringtone", L"\\Windows\\lower.wav"));
  CHECK(contact.Ringtone().IsEmpty());
  contact.Link.Add(Pair(L"Ringtone", L"\\Windows\\Ring.wav"));
  contact.Link.Add(Pair(L"Ringtone", L"\\Windows\\Second.wav"));
  CHECK(U8(contact.Ringtone()) == "\\Windows\\Ring.wav");
}

TEST_CASE("BuildName: last, first and middle; or first and middle") {
  Str name, second;
  BuildName(L"Smith", L"John", L"Acme", L"Q", L"Dr.", L"Jr.", name, second);
  CHECK(U8(name) == "Smith, John Q");
  CHECK(U8(second) == "Acme");
  BuildName(L"Smith", L"", L"", L"Q", L"", L"", name, second);
  CHECK(U8(name) == "Smith Q");
  CHECK(U8(second) == "");
  BuildName(L"Smith", L"John", L"", L"", L"", L"", name, second);
  CHECK(U8(name) == "Smith, John");
  BuildName(L"", L"John", L"Acme", L"Q", L"Dr.", L"", name, second);
  CHECK(U8(name) == "John Q");
  CHECK(U8(second) == "Acme");
  BuildName(L"", L"", L"Acme", L"Q", L"", L"", name, second);
  CHECK(U8(name) == "Q");
  BuildName(nullptr, L"John", nullptr, nullptr, nullptr, nullptr, name, second);
  CHECK(U8(name) == "John");
  CHECK(U8(second) == "");
}

TEST_CASE("a contact with only a Company gets that company as name and an empty second") {
  Str name = L"old", second = L"old";
  BuildName(L"", L"", L"Acme Ltd", L"", L"", L"", name, second);
  CHECK(U8(name) == "Acme Ltd");
  CHECK(U8(second) == "");
}

TEST_CASE("BuildName without names or company: the title, then the suffix") {
  Str name, second;
  BuildName(L"", L"", L"", L"", L"Dr.", L"Jr.", name, second);
  CHECK(U8(name) == "Dr.");
  CHECK(U8(second) == "");
  BuildName(L"", L"", L"", L"", L"", L"Jr.", name, second);
  CHECK(U8(name) == "Jr.");
  BuildName(L"", L"", L"", L"", L"", L"", name, second);
  CHECK(U8(name) == "");
}

TEST_CASE(
    "ListName: \"Last, First\", the one that exists, the title, the company; the short form has no company") {
  CHECK(U8(ListName(L"Smith", L"John", L"Acme", L"Dr.")) == "Smith, John");
  CHECK(U8(ListName(L"Smith", L"", L"Acme", L"Dr.")) == "Smith");
  CHECK(U8(ListName(L"", L"John", L"Acme", L"Dr.")) == "John");
  CHECK(U8(ListName(L"", L"", L"Acme", L"Dr.")) == "Dr.");
  CHECK(U8(ListName(L"", L"", L"Acme", L"")) == "Acme");
  CHECK(U8(ListName(L"", L"", L"", L"")) == "");
  CHECK(U8(ListName(L"Smith", L"John", L"Dr.")) == "Smith, John");
  CHECK(U8(ListName(L"", L"", L"Dr.")) == "Dr.");
  CHECK(U8(ListName(L"", L"", L"")) == "");
}

TEST_CASE("StripForSort keeps the name fields, the company and FileAs, and drops the rest") {
  Contact contact = FullContact(4);
  contact.rawNote = BufferOf("raw");
  contact.photo = ContactPhoto(1, 1, 4, 32, "\x01\x02\x03\x04");
  contact.oid = 77;
  Contact before = contact;
  contact.StripForSort();
  for (int i = 0; i < kContactTextCount; ++i) {
    bool kept = i == ContactField::Title || i == ContactField::FirstName || i == ContactField::MiddleName ||
                i == ContactField::LastName || i == ContactField::Company || i == ContactField::FileAs;
    if (kept)
      CHECK(Str::IsEqual(contact.text[i], before.text[i]));
    else
      CHECK(contact.text[i].IsEmpty());
  }
  CHECK(contact.oid == 77u);
  CHECK(contact.defaultItem == 0u);
  CHECK(contact.birthday.dwHighDateTime == 0u);
  CHECK(contact.anniversary.dwLowDateTime == 0u);
  CHECK(contact.categories.IsEmpty());
  CHECK(contact.noteBlob.IsEmpty());
  CHECK(contact.rawNote.IsEmpty());
  CHECK(contact.photo.IsEmpty());
}

TEST_CASE("the checksum adds the default item, the oid, the dates, the text hashes and the Note hash") {
  CHECK(Contact::TextHash(L"") == 0u);
  CHECK(Contact::TextHash(L"ab") == 97u + (98u << 16));
  CHECK(Contact::TextHash(L"abc") == 97u + (98u << 16) + 99u);
  CHECK(Contact::BlobHash(nullptr, 0) == 0u);
  const BYTE bytes[] = {1, 2, 3, 0xFF, 5};
  CHECK(Contact::BlobHash(bytes, 5) == 5u + 1u + (2u << 8) + 3u + (0xFFu << 8) + 5u);

  Contact contact;
  contact.oid = 0x10010;
  contact.defaultItem = 0xF0000001u;
  contact.birthday = TimeOf(2, 3);
  contact.anniversary = TimeOf(0xFFFFFFFFu, 7);
  contact.text[ContactField::LastName] = L"ab";
  contact.text[ContactField::Email1] = L"c";
  contact.noteBlob = ByteBuffer(bytes, 5);
  contact.categories = BufferOf("\x7f");  // no part of the sum
  uint32_t expected = 0xF0000001u + 0x10010u + 2u + 3u + 0xFFFFFFFFu + 7u + Contact::TextHash(L"ab") +
                      Contact::TextHash(L"c") + Contact::BlobHash(bytes, 5);
  CHECK(contact.ComputeChecksum() == expected);
  contact.flag102 = 1;
  CHECK(contact.ComputeChecksum() == expected);
}

TEST_CASE("the text and Note hashes, summed in pairs, agree with a character by character model") {
  // The model: each character or byte in turn, shifted by a half (text) or a byte (Note) every second
  // step.
  auto textModel = [](const std::wstring& text) {
    uint32_t sum = 0;
    for (size_t i = 0; i < text.size(); ++i) sum += static_cast<uint32_t>(text[i]) << (i % 2 == 0 ? 0 : 16);
    return sum;
  };
  auto blobModel = [](const std::vector<BYTE>& bytes) {
    uint32_t sum = static_cast<uint32_t>(bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i) sum += static_cast<uint32_t>(bytes[i]) << (i % 2 == 0 ? 0 : 8);
    return sum;
  };
  uint32_t state = 12345;
  auto next = [&state]() {
    state = state * 1103515245u + 12345u;
    return state >> 8;
  };
  for (int round = 0; round < 400; ++round) {
    CAPTURE(round);
    const size_t length = next() % 3000;
    std::wstring text;
    std::vector<BYTE> bytes;
    for (size_t i = 0; i < length; ++i) {
      // Characters of the whole range but NUL, high ones too, so that the sums wrap.
      text.push_back(static_cast<wchar_t>(1 + next() % 0xFFFF));
      bytes.push_back(static_cast<BYTE>(next()));
    }
    CHECK(Contact::TextHash(text.c_str()) == textModel(text));
    CHECK(Contact::BlobHash(bytes.empty() ? nullptr : bytes.data(), static_cast<uint32_t>(bytes.size())) ==
          blobModel(bytes));
  }
}

TEST_CASE("the shared byte buffer: one empty block, copies by reference, equality by bytes") {
  ByteBuffer empty;
  ByteBuffer alsoEmpty(nullptr, 0);
  CHECK(empty.Block() == ByteBuffer::EmptyBlock());
  CHECK(alsoEmpty.Block() == ByteBuffer::EmptyBlock());
  ByteBuffer a("abc", 3);
  ByteBuffer b = a;
  CHECK(b.Block() == a.Block());
  CHECK(a.Block()->refCount == 2u);
  ByteBuffer c("abc", 3);
  CHECK(c.Equals(a));
  CHECK(c.Block() != a.Block());
  CHECK_FALSE(c.Equals(BufferOf("abd")));
  CHECK_FALSE(c.Equals(empty));
  b.Empty();
  CHECK(a.Block()->refCount == 1u);
  CHECK(b.IsEmpty());
}
