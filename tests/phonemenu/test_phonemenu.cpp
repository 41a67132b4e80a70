// The phone menu of a contact row: its lines built from a contact, and the menu itself opened by a tap
// on the right-hand end of a row of a real COOL.LIST window, read while it is open and answered with
// real input. A choice is stored through the data source; the last line dials through the device's
// phone, which writes the call into the device journal.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "MessagePump.h"
#include "PhoneMenuTestSupport.h"
#include "PhoneTestSupport.h"
#include "WideText.h"
#include "presentation/Skin.h"

using namespace phonemenutest;

namespace {

std::vector<std::string> Labels(const ContactListPhoneMenu& menu) {
  std::vector<std::string> labels;
  for (int i = 0; i < menu.Entries().GetSize(); ++i) labels.push_back(U8(menu.Entries()[i].label));
  return labels;
}

std::vector<std::string> Displays(const ContactListPhoneMenu& menu) {
  std::vector<std::string> shown;
  for (int i = 0; i < menu.Entries().GetSize(); ++i) shown.push_back(U8(menu.Entries()[i].display));
  return shown;
}

std::vector<uint32_t> Codes(const ContactListPhoneMenu& menu) {
  std::vector<uint32_t> codes;
  for (int i = 0; i < menu.Entries().GetSize(); ++i) codes.push_back(menu.Entries()[i].code);
  return codes;
}

// A contact with every phone and mail field filled, two numbers and an address in its lists.
Contact Everything() {
  Contact c = Person(L"Quill", L"Ada");
  const std::vector<std::pair<int, const wchar_t*>> fields = {
      {ContactField::WorkPhone, L"101"},        {ContactField::WorkPhone2, L"102"},
      {ContactField::HomePhone, L"103"},        {ContactField::HomePhone2, L"104"},
      {ContactField::MobilePhone, L"105"},      {ContactField::HomeFax, L"106"},
      {ContactField::WorkFax, L"107"},          {ContactField::Pager, L"108"},
      {ContactField::CarPhone, L"109"},         {ContactField::RadioPhone, L"110"},
      {ContactField::AssistantPhone, L"111"},   {ContactField::Email1, L"a@one.example"},
      {ContactField::Email2, L"a@two.example"}, {ContactField::Email3, L"a@three.example"},
  };
  for (const auto& field : fields) c.text[field.first] = field.second;
  c.Phone.Add(LabelValue{Str(L"Cabin"), Str(L"201")});
  c.Phone.Add(LabelValue{Str(L"Boat"), Str(L"202")});
  c.Email.Add(LabelValue{Str(L"Club"), Str(L"ada@club.example")});
  return c;
}

// Opens the phone menu of `row` by a tap on its phone column; `visit` says what to do in it.
void OpenMenu(ListFixture& f, int row, MenuVisit& visit) {
  MenuDriver driver(visit);
  f.Tap(f.PhoneColumn(row));
  Pump(100);
}

}  // namespace

// --- the lines of a contact -------------------------------------------------------------------------------

TEST_CASE(
    "the lines: the fixed phones, the Phone list, the fixed mails and the Email list, then the action") {
  SetUpOnce();
  ContactListPhoneMenu menu;
  BracketTemplates templates;
  menu.SetTemplates(&templates);
  Contact contact = Everything();
  CHECK(menu.BuildEntries(contact) == 17);
  CHECK(Labels(menu) == std::vector<std::string>{"Work", "Work", "Home", "Home", "Mobile", "Home fax",
                                                 "Work fax", "Pager", "Car", "Radio", "Assistant", "Cabin",
                                                 "Boat", "E-mail", "E-mail 2", "E-mail 3", "Club", ""});
  CHECK(Codes(menu) == std::vector<uint32_t>{kWorkId, kWork2Id, kHomeId, kHome2Id, kMobileId, kHomeFaxId,
                                             kWorkFaxId, kPagerId, kCarId, kRadioId, kAssistantId, 0, 0,
                                             kEmail1Id, kEmail2Id, kEmail3Id, 0, kWorkId});
  // Only the fixed phones go through the templates; the lists' numbers and the mails stay as stored.
  CHECK(Displays(menu) == std::vector<std::string>{"[101]", "[102]", "[103]", "[104]", "[105]", "[106]",
                                                   "[107]", "[108]", "[109]", "[110]", "[111]", "201", "202",
                                                   "a@one.example", "a@two.example", "a@three.example",
                                                   "ada@club.example", "Dial to..."});
  CHECK(U8(menu.Entries()[0].value) == "101");
  CHECK(menu.DefaultIndex() == 0);

  // Without templates every line shows its value as stored.
  menu.SetTemplates(nullptr);
  CHECK(menu.BuildEntries(contact) == 17);
  CHECK(U8(menu.Entries()[0].display) == "101");

  // Empty fields and lists give no lines.
  Contact few = With(Person(L"Few", L"Fay"), ContactField::HomePhone2, L"555");
  few.text[ContactField::Email3] = L"fay@few.example";
  CHECK(menu.BuildEntries(few) == 2);
  CHECK(Labels(menu) == std::vector<std::string>{"Home", "E-mail 3", ""});

  Contact none = Person(L"None", L"Ned");
  CHECK(menu.BuildEntries(none) == 0);
  CHECK(menu.Entries().GetSize() == 0);
  CHECK(menu.DefaultIndex() == -1);
}

TEST_CASE(
    "the default: a fixed field by its id, a list entry by the id made from it; the action follows its "
    "kind") {
  SetUpOnce();
  ContactListPhoneMenu menu;
  Contact contact = Everything();
  struct Case {
    uint32_t defaultItem;
    int index;
    const char* action;
  };
  const uint32_t cabin = Contact::CustomItemId(L"Cabin", L"201");
  const uint32_t boat = Contact::CustomItemId(L"Boat", L"202");
  const uint32_t club = Contact::CustomItemId(L"Club", L"ada@club.example");
  const Case cases[] = {
      {kMobileId, 4, "Dial to..."},
      {kAssistantId, 10, "Dial to..."},
      {boat, 12, "Dial to..."},
      {cabin, 11, "Dial to..."},
      {kEmail2Id, 14, "E-mail to..."},
      {club, 16, "E-mail to..."},
      {kEmail1Id, 13, "E-mail to..."},
      // A made id that no list holds, and an id of no phone or mail field: the first line.
      {Contact::CustomItemId(L"Gone", L"0"), 0, "Dial to..."},
      {0x3a06001f, 0, "Dial to..."},
  };
  for (const Case& c : cases) {
    CAPTURE(c.defaultItem);
    contact.defaultItem = c.defaultItem;
    REQUIRE(menu.BuildEntries(contact) == 17);
    CHECK(menu.DefaultIndex() == c.index);
    const PhoneMenuEntry& action = menu.Entries()[17];
    CHECK(U8(action.display) == c.action);
    CHECK(action.value == menu.Entries()[c.index].value);
  }

  // A contact whose first line is a mail: without a default the action mails it.
  Contact mailFirst = Person(L"Mail", L"Max");
  mailFirst.text[ContactField::Email1] = L"max@mail.example";
  mailFirst.Email.Add(LabelValue{Str(L"Home"), Str(L"max@home.example")});
  REQUIRE(menu.BuildEntries(mailFirst) == 2);
  CHECK(menu.DefaultIndex() == 0);
  CHECK(U8(menu.Entries()[2].display) == "E-mail to...");
}

// --- the menu on the screen ---------------------------------------------------------------------------------

TEST_CASE("edge: a contact with one phone and one e-mail: two lines, a separator and the action line") {
  ListFixture f;
  Contact contact = With(Person(L"Adams", L"Ann"), ContactField::MobilePhone, L"555-0105");
  contact.text[ContactField::Email1] = L"ann@adams.example";
  const std::vector<CEOID> ids = f.Show({contact, Person(L"Brown", L"Bob")});

  MenuVisit visit;
  OpenMenu(f, 0, visit);
  REQUIRE(visit.seen);
  REQUIRE(visit.lines.size() == 4);
  // The two lines are owner-drawn, commands 1 and 2, their data the entries' places.
  for (int i = 0; i < 2; ++i) {
    CAPTURE(i);
    CHECK(visit.lines[i].ownerDrawn);
    CHECK(visit.lines[i].id == static_cast<UINT>(i + 1));
    CHECK(visit.lines[i].data == static_cast<ULONG_PTR>(i));
  }
  CHECK(visit.lines[2].separator);
  CHECK(visit.lines[3].ownerDrawn);
  CHECK(visit.lines[3].id == 3);
  CHECK(visit.lines[3].data == 2);
  CHECK_FALSE(visit.lines[3].checked);
  // Closed without a choice: nothing is stored or dialled, and the press made no tap.
  CHECK(f.listener.calls == std::vector<std::string>{"phone menu " + std::to_string(ids[0])});
  CHECK(f.source.stored.empty());
  // The menu's lines were measured and drawn by the list's owner calls.
  CHECK(f.list.measured.size() >= 3);
  CHECK(f.list.drawnItems.size() >= 3);
}

TEST_CASE("edge: a default item of 0 checks the first line") {
  ListFixture f;
  Contact contact = With(Person(L"Adams", L"Ann"), ContactField::WorkPhone, L"555-0100");
  contact.text[ContactField::MobilePhone] = L"555-0105";
  contact.text[ContactField::Email2] = L"ann@adams.example";
  REQUIRE(contact.defaultItem == 0);
  f.Show({contact, Person(L"Brown", L"Bob")});

  MenuVisit visit;
  OpenMenu(f, 0, visit);
  REQUIRE(visit.seen);
  REQUIRE(visit.lines.size() == 5);
  CHECK(visit.lines[0].checked);
  CHECK_FALSE(visit.lines[1].checked);
  CHECK_FALSE(visit.lines[2].checked);
  // As drawn: the check mark stands on the first line alone.
  bool first = false;
  for (const DrawnItem& item : f.list.drawnItems) {
    CAPTURE(item.data);
    if (item.data == 0) {
      first = true;
      CHECK((item.state & ODS_CHECKED) != 0);
      CHECK(item.darkInCheck > 0);
    } else {
      CHECK((item.state & ODS_CHECKED) == 0);
      CHECK(item.darkInCheck == 0);
    }
  }
  CHECK(first);
}

TEST_CASE("edge: a default item naming an empty field checks the first line, and the action line calls it") {
  phonetest::StopPhoneProgram();
  ListFixture f;
  Contact contact = With(Person(L"Adams", L"Ann"), ContactField::WorkPhone, L"555-0100");
  contact.text[ContactField::MobilePhone] = L"555-0105";
  // Home is named but empty.
  contact.defaultItem = kHomeId;
  const std::vector<CEOID> ids = f.Show({contact, Person(L"Brown", L"Bob")});

  MenuVisit look;
  OpenMenu(f, 0, look);
  REQUIRE(look.seen);
  REQUIRE(look.lines.size() == 4);
  CHECK(look.lines[0].checked);
  CHECK_FALSE(look.lines[1].checked);

  const size_t mark = phonetest::JournalMark();
  f.listener.calls.clear();
  MenuVisit act;
  act.choose = 3;
  OpenMenu(f, 0, act);
  REQUIRE(act.seen);
  CHECK(phonetest::WaitForEvent(mark, "phone",
                                "PhoneMakeCall number \"555-0100\" party \"Adams, Ann\" flags 0"));
  CHECK(f.listener.calls == std::vector<std::string>{"dialed", "phone menu " + std::to_string(ids[0])});
  // The action stores nothing: Home stays the named default.
  CHECK(f.source.stored.empty());
}

TEST_CASE(
    "edge: choosing a number dials nothing, stores it as the default, and the row shows it after the menu") {
  phonetest::StopPhoneProgram();
  ListFixture f;
  Contact contact = With(Person(L"Adams", L"Ann"), ContactField::WorkPhone, L"555-0100");
  contact.text[ContactField::MobilePhone] = L"555-0105";
  contact.Phone.Add(LabelValue{Str(L"Cabin"), Str(L"555-0177")});
  const std::vector<CEOID> ids = f.Show({contact, Person(L"Brown", L"Bob")});
  // Before: the row shows the first number, in the templates' form.
  f.list.Control().RepaintRow(0);
  UpdateWindow(f.Window());
  Pump();
  CHECK(FindDrawn("[555-0100]") != nullptr);
  f.Settle();

  const size_t mark = phonetest::JournalMark();
  MenuVisit visit;
  visit.choose = 1;
  OpenMenu(f, 0, visit);
  REQUIRE(visit.seen);
  CHECK(f.source.stored == std::vector<std::pair<CEOID, uint32_t>>{{ids[0], kMobileId}});
  CHECK(f.listener.calls == std::vector<std::string>{"phone menu " + std::to_string(ids[0])});
  // The row was painted again with the chosen number.
  Pump(100);
  // The menu's lines draw the number too, but not with the row's flags.
  bool mobileDrawn = false;
  for (const DrawnText& text : Drawn())
    if (text.text == "[555-0105]" && text.flags == (DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_RIGHT))
      mobileDrawn = true;
  CHECK(mobileDrawn);
  // No call went out.
  Pump(1500);
  CHECK(phonetest::EventsSince(mark, "phone").empty());

  // A number of the Phone list is stored by the id made from its label and value.
  f.Settle();
  MenuVisit list;
  list.choose = 2;
  OpenMenu(f, 0, list);
  REQUIRE(list.seen);
  REQUIRE(f.source.stored.size() == 2);
  CHECK(f.source.stored[1].second == Contact::CustomItemId(L"Cabin", L"555-0177"));
  // The list's number is now the checked one.
  MenuVisit again;
  OpenMenu(f, 0, again);
  REQUIRE(again.lines.size() == 5);
  CHECK_FALSE(again.lines[0].checked);
  CHECK(again.lines[2].checked);
  // Choosing the default it already has stores nothing new.
  MenuVisit same;
  same.choose = 2;
  OpenMenu(f, 0, same);
  CHECK(f.source.stored.size() == 2);
}

TEST_CASE("edge: the action line after no choice dials the default; on a mail it writes a mail") {
  phonetest::StopPhoneProgram();
  ListFixture f;
  Contact caller = With(Person(L"Adams", L"Ann"), ContactField::WorkPhone, L"555-0100");
  caller.text[ContactField::MobilePhone] = L"555-0105";
  caller.defaultItem = kMobileId;
  Contact writer = With(Person(L"Brown", L"Bob"), ContactField::WorkPhone, L"555-0200");
  writer.text[ContactField::Email1] = L"bob@brown.example";
  writer.defaultItem = kEmail1Id;
  const std::vector<CEOID> ids = f.Show({caller, writer});

  size_t mark = phonetest::JournalMark();
  MenuVisit dial;
  dial.choose = 3;
  OpenMenu(f, 0, dial);
  REQUIRE(dial.seen);
  REQUIRE(dial.lines.size() == 4);
  CHECK(dial.lines[1].checked);
  // The stored number is dialled, not its display form.
  CHECK(phonetest::WaitForEvent(mark, "phone",
                                "PhoneMakeCall number \"555-0105\" party \"Adams, Ann\" flags 0"));
  CHECK(f.listener.calls == std::vector<std::string>{"dialed", "phone menu " + std::to_string(ids[0])});
  CHECK(f.source.stored.empty());

  f.Settle();
  mark = phonetest::JournalMark();
  MenuVisit mail;
  mail.choose = 3;
  OpenMenu(f, 1, mail);
  REQUIRE(mail.seen);
  CHECK(phonetest::WaitForEvent(mark, "tmail", "run -To \"bob@brown.example\""));
  // A mail is no call: the list hears of the menu alone.
  CHECK(f.listener.calls == std::vector<std::string>{"phone menu " + std::to_string(ids[1])});
  Pump(500);
  CHECK(phonetest::EventsSince(mark, "phone").empty());
}

TEST_CASE(
    "a contact with a single number, or with only one address, gets no menu; the press goes on as a tap") {
  ListFixture f;
  Contact mail = Person(L"Brown", L"Bob");
  mail.text[ContactField::Email1] = L"bob@brown.example";
  f.Show({With(Person(L"Adams", L"Ann"), ContactField::MobilePhone, L"555-0105"), mail});
  for (int row = 0; row < 2; ++row) {
    CAPTURE(row);
    f.Settle();
    MenuVisit visit;
    OpenMenu(f, row, visit);
    CHECK_FALSE(visit.seen);
    CHECK(f.listener.Has("click 0 " + std::to_string(row)));
    for (const std::string& call : f.listener.calls) CHECK(call.rfind("phone menu", 0) != 0);
    CHECK(f.list.measured.empty());
  }
  CHECK(f.source.stored.empty());
}

TEST_CASE(
    "the menu opens down from the row's lower right corner, and up from its upper right one near the "
    "bottom") {
  Contact contact = With(Person(L"Adams", L"Ann"), ContactField::WorkPhone, L"555-0100");
  contact.text[ContactField::MobilePhone] = L"555-0105";
  contact.text[ContactField::HomePhone] = L"555-0109";
  {
    ListFixture f;
    f.Show({contact, Person(L"Brown", L"Bob")});
    MenuVisit visit;
    OpenMenu(f, 0, visit);
    REQUIRE(visit.seen);
    RECT row = f.list.Control().RowRect(0);
    MapWindowPoints(f.Window(), nullptr, reinterpret_cast<POINT*>(&row), 2);
    CHECK(visit.window.top >= row.bottom - 1);
    CHECK(visit.window.top <= row.bottom + 1);
    CHECK(visit.window.right <= row.right + 1);
    CHECK(visit.window.right >= row.right - 2);
  }
  {
    // The list ends at the screen's bottom: there is no room below its last row.
    const int height = ScaleY(120);
    ListFixture f(GetSystemMetrics(SM_CYSCREEN) - height);
    f.Show({Person(L"Aaron", L"Al"), Person(L"Abbot", L"Amy"), Person(L"Acre", L"Ari"),
            Person(L"Adder", L"Ava"), Person(L"Agate", L"Abe"), contact});
    const int row = 5;
    RECT rect = f.list.Control().RowRect(row);
    REQUIRE(rect.bottom <= height);
    REQUIRE(GetSystemMetrics(SM_CYSCREEN) - (GetSystemMetrics(SM_CYSCREEN) - height + rect.bottom) <
            4 * f.list.Menu().ItemHeight());
    MenuVisit visit;
    OpenMenu(f, row, visit);
    REQUIRE(visit.seen);
    MapWindowPoints(f.Window(), nullptr, reinterpret_cast<POINT*>(&rect), 2);
    CHECK(visit.window.bottom <= rect.top + 1);
    CHECK(visit.window.bottom >= rect.top - 1);
  }
}
