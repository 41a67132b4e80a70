// The page's rows acted on: a tap on a number dials it through the device's phone and the page is done,
// a tap on a mail or a web page hands it to the device's programs, the Left key closes the page, the
// green key calls the selected number, and the copy menu puts a value on the clipboard.
#include <doctest/doctest.h>
#include <windows.h>
#include "MessagePump.h"
#include "PhoneTestSupport.h"
#include "ViewTestSupport.h"
#include "presentation/Skin.h"

using namespace viewtest;
using namespace phonetest;

namespace {

struct PageFixture {
  HWND parent;
  ContactView view;
  Contact contact;
  PageFixture() {
    ClearSettings();
    parent = MakeParent(ScaleX(240), ScaleY(300));
    REQUIRE(view.Create(parent, WS_CHILD | WS_VISIBLE));
    MoveWindow(view.GetHwnd(), 0, 0, ScaleX(240), ScaleY(300), TRUE);
    view.SetFonts(Skin::Get()->GetBoldFont(), Skin::Get()->GetPlainFont());
    contact = MakeContact(L"Iris", L"Novak", L"Novak, Iris");
    contact.oid = 41;
    contact.text[ContactField::MobilePhone] = L"+1 555 0142";
    contact.text[ContactField::WorkPhone] = L"+1 555 0199";
    contact.text[ContactField::Email1] = L"iris@novak.example";
    contact.text[ContactField::WebPage] = L"http://novak.example/";
    std::string note = "Met at the fair.";
    contact.rawNote = ByteBuffer(note.data(), static_cast<uint32_t>(note.size()));
    REQUIRE(view.Show(contact));
    Pump(50);
  }
  ~PageFixture() {
    DestroyWindow(parent);
    Pump();
    StopPhoneProgram();
  }
  ContactTextWindow& Text() { return view.Text(); }
  void Tap(const wchar_t* value) {
    POINT at;
    REQUIRE(TextPoint(Text(), FindRow(Text(), value), at));
    Down(Text().GetHwnd(), at);
    Up(Text().GetHwnd(), at);
  }
  int Done() const {
    int count = 0;
    for (UINT message : ParentMessages()) count += message == ContactView::kDoneMessage;
    return count;
  }
};

}  // namespace

TEST_CASE("a tap on a number calls it through the phone, and the page is done") {
  if (!DeviceHas(L"phone.dll")) return;  // a device without a phone has no call to make
  PageFixture page;
  const size_t mark = JournalMark();
  page.Tap(L"+1 555 0142");
  CHECK(WaitForEvent(mark, "phone", "PhoneMakeCall number \"+1 555 0142\" party \"Novak, Iris\" flags 0"));
  CHECK(page.Done() == 1);
}

TEST_CASE("a tap on a label or on a row without an action does nothing; the Left key closes the page") {
  PageFixture page;
  const size_t mark = JournalMark();
  POINT at;
  REQUIRE(LabelPoint(page.Text(), FindRow(page.Text(), L"+1 555 0142"), at));
  Down(page.Text().GetHwnd(), at);
  Up(page.Text().GetHwnd(), at);
  Pump(300);
  CHECK(EventsSince(mark, "phone").empty());
  CHECK(page.Done() == 0);
  Key(page.Text().GetHwnd(), VK_LEFT);
  CHECK(page.Done() == 1);
}

TEST_CASE("a tap on a mail address writes a mail; a tap on a web page opens the browser") {
  PageFixture page;
  const size_t mark = JournalMark();
  page.Tap(L"iris@novak.example");
  std::vector<std::string> mail = WaitForEvents(mark, "tmail", 1);
  REQUIRE(mail.size() == 1);
  CHECK(mail[0].find("iris@novak.example") != std::string::npos);
  const size_t web = JournalMark();
  page.Tap(L"http://novak.example/");
  std::vector<std::string> browser = WaitForEvents(web, "iexplore", 1);
  REQUIRE(browser.size() == 1);
  CHECK(browser[0].find("http://novak.example/") != std::string::npos);
  CHECK(page.Done() == 0);
}

TEST_CASE("the green key calls the selected number") {
  if (!DeviceHas(L"phone.dll")) return;
  PageFixture page;
  // Down from the head to the first number, which the template's order puts first: the work phone.
  for (int i = 0; i < 5 && (page.Text().SelEnd() < 0 || page.Text().Item(page.Text().SelEnd()).section != 1);
       ++i)
    Key(page.Text().GetHwnd(), VK_DOWN);
  REQUIRE(page.Text().SelEnd() >= 0);
  CHECK(page.Text().Item(page.Text().SelEnd()).section == 1);
  const wchar_t* selected = page.Text().Item(page.Text().SelEnd()).text.GetPlainText();
  REQUIRE(selected != nullptr);
  std::string number = Narrow(selected);
  CHECK(number == "+1 555 0199");
  const size_t mark = JournalMark();
  SendMessageW(page.view.GetHwnd(), ContactView::kCallMessage, 0, 0);
  CHECK(WaitForEvent(mark, "phone", "PhoneMakeCall number \"" + number + "\" party \"Novak, Iris\" flags 0"));
  CHECK(page.Done() == 1);
}

TEST_CASE("the copy menu of the page puts the held value on the clipboard; the note shows below the rows") {
  PageFixture page;
  SetClipboardText(L"before");
  POINT at;
  REQUIRE(TextPoint(page.Text(), FindRow(page.Text(), L"iris@novak.example"), at));
  Down(page.Text().GetHwnd(), at);
  CHECK(PumpWatchingMenu(900, true) == 1);
  Up(page.Text().GetHwnd(), at);
  CHECK(ClipboardText() == L"iris@novak.example");
  CHECK(page.Done() == 0);

  // The note's text in the rich ink control, under a title row.
  REQUIRE(page.Text().NoteVisible());
  wchar_t shown[64] = L"";
  GetWindowTextW(page.Text().NoteWindow(), shown, 64);
  CHECK(std::wstring(shown) == L"Met at the fair.");
  const ContactTextItem& title = page.Text().Item(page.Text().ItemCount() - 1);
  CHECK(title.kind == ItemTitle);
  CHECK(std::wstring(title.text.GetPlainText()) == L"Note");
  RECT note;
  GetWindowRect(page.Text().NoteWindow(), &note);
  MapWindowPoints(nullptr, page.Text().GetHwnd(), reinterpret_cast<POINT*>(&note), 2);
  CHECK(note.top == page.Text().ItemTop(page.Text().ItemCount()));
}
