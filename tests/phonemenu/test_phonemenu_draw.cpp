// The phone menu's lines as the menu measures and draws them: their height from the item font, their
// width from the check mark, the margins, the label and the number, a number shortened with dots to the
// list's width, a menu at the screen's edge that lies wholly on it, the check mark on the default alone,
// the label and the number in their boxes, the system's colours for a plain and a selected line, and
// the action line under the separator.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "MessagePump.h"
#include "PhoneMenuTestSupport.h"
#include "WideText.h"
#include "presentation/Skin.h"

using namespace phonemenutest;

namespace {

void OpenMenu(ListFixture& f, int row, MenuVisit& visit) {
  MenuDriver driver(visit);
  f.Tap(f.PhoneColumn(row));
  Pump(100);
}

const Measured* MeasuredFor(const TestList& list, ULONG_PTR data) {
  for (const Measured& m : list.measured)
    if (m.data == data) return &m;
  return nullptr;
}

Contact TwoPhonesAndMail() {
  Contact contact = With(Person(L"Adams", L"Ann"), ContactField::WorkPhone, L"555-0100");
  contact.text[ContactField::MobilePhone] = L"555-0105";
  contact.text[ContactField::Email1] = L"ann@adams.example";
  return contact;
}

}  // namespace

TEST_CASE(
    "the metrics: the item font's line height, the list's width less the margin, the check mark's size") {
  ListFixture f;
  f.Show({TwoPhonesAndMail(), Person(L"Brown", L"Bob")});
  HFONT font = MakeItemFont();
  HDC dc = GetDC(nullptr);
  HGDIOBJ old = SelectObject(dc, font);
  TEXTMETRICW metrics = {};
  GetTextMetricsW(dc, &metrics);
  SelectObject(dc, old);
  ReleaseDC(nullptr, dc);
  DeleteObject(font);

  const ContactListPhoneMenu& menu = f.list.Menu();
  CHECK(menu.ItemHeight() == metrics.tmHeight + metrics.tmInternalLeading);
  CHECK(menu.ItemHeight() > 0);
  CHECK(menu.WidestItem() == f.list.Control().ClientRect().right - ScaleX(10));
  // The large mark on a high-resolution screen.
  CHECK(menu.CheckWidth() == (Skin::isHighRes ? 22 : 11));
  CHECK(menu.CheckHeight() == (Skin::isHighRes ? 22 : 11));
  // The line is taller than the mark, which stands centred in it.
  CHECK(menu.ItemHeight() > menu.CheckHeight());

  // A narrower list gives narrower lines.
  const int narrow = ScaleX(150);
  MoveWindow(f.Window(), 0, 0, narrow, ScaleY(120), TRUE);
  f.list.Recalculate();
  Pump();
  CHECK(f.list.Menu().WidestItem() == f.list.Control().ClientRect().right - ScaleX(10));
  CHECK(f.list.Menu().WidestItem() < narrow);
}

TEST_CASE(
    "measured lines: the item height, and the check mark, two margins, the label and the number side by "
    "side") {
  ListFixture f;
  f.Show({TwoPhonesAndMail(), Person(L"Brown", L"Bob")});
  MenuVisit visit;
  OpenMenu(f, 0, visit);
  REQUIRE(visit.seen);
  REQUIRE(f.list.measured.size() >= 4);

  HFONT font = MakeItemFont();
  const ContactListPhoneMenu& menu = f.list.Menu();
  const int margin = ScaleX(4) + ScaleX(6);
  struct Line {
    ULONG_PTR data;
    std::wstring label;
    std::wstring shown;
  };
  const Line lines[] = {{0, L"Work", L"[555-0100]"},
                        {1, L"Mobile", L"[555-0105]"},
                        {2, L"E-mail", L"ann@adams.example"},
                        {3, L"", L"Dial to..."}};
  for (const Line& line : lines) {
    CAPTURE(line.data);
    const Measured* m = MeasuredFor(f.list, line.data);
    REQUIRE(m != nullptr);
    CHECK(m->result == TRUE);
    CHECK(static_cast<int>(m->height) == menu.ItemHeight());
    CHECK(static_cast<int>(m->width) ==
          menu.CheckWidth() + 2 * margin + TextWidth(font, line.label) + TextWidth(font, line.shown));
  }
  DeleteObject(font);

  // A measure that isn't a menu's, or names no line, is not the menu's to answer.
  MEASUREITEMSTRUCT button = {};
  button.CtlType = ODT_BUTTON;
  CHECK(SendMessageW(f.Window(), WM_MEASUREITEM, 0, reinterpret_cast<LPARAM>(&button)) == 0);
  MEASUREITEMSTRUCT stray = {};
  stray.CtlType = ODT_MENU;
  stray.itemData = 0;
  // The menu is closed: it holds no lines now.
  CHECK(SendMessageW(f.Window(), WM_MEASUREITEM, 0, reinterpret_cast<LPARAM>(&stray)) == 0);
  CHECK(stray.itemHeight == 0);
}

TEST_CASE("a number wider than the list leaves is shortened to the characters that fit beside the dots") {
  ListFixture f;
  const int width = ScaleX(180);
  MoveWindow(f.Window(), 0, 0, width, ScaleY(120), TRUE);
  Contact contact = TwoPhonesAndMail();
  const std::wstring longNumber = L"+1 555 0100 1234 5678 9012 3456 7890 1234 5678 9012 3456 7890";
  contact.Phone.Add(LabelValue{Str(L"Long"), Str(longNumber.c_str())});
  f.Show({contact, Person(L"Brown", L"Bob")});
  REQUIRE(f.list.Menu().WidestItem() == f.list.Control().ClientRect().right - ScaleX(10));

  MenuVisit visit;
  OpenMenu(f, 0, visit);
  REQUIRE(visit.seen);
  const Measured* m = MeasuredFor(f.list, 2);
  REQUIRE(m != nullptr);
  const ContactListPhoneMenu& menu = f.list.Menu();
  HFONT font = MakeItemFont();
  const int margin = ScaleX(4) + ScaleX(6);
  int widest = menu.WidestItem();
  if (ContactListPhoneMenu::ScreenLineWidth() < widest) widest = ContactListPhoneMenu::ScreenLineWidth();
  const int room = widest - 2 * margin - TextWidth(font, L"Long") - menu.CheckWidth();
  // The line is no wider than the list allows, and the number drawn is the start of the stored one
  // with the dots behind it.
  CHECK(static_cast<int>(m->width) <= menu.WidestItem());
  std::string drawn;
  for (const DrawnText& text : DrawnInMenu())
    if (text.text.rfind("+1 555", 0) == 0) drawn = text.text;
  REQUIRE(drawn.size() > 3);
  REQUIRE(drawn.substr(drawn.size() - 3) == "...");
  const std::wstring kept = longNumber.substr(0, drawn.size() - 3);
  CHECK(drawn.substr(0, drawn.size() - 3) == U8(kept));
  CHECK(TextWidth(font, kept + L"...") <= room);
  // One character more would not have fitted beside the dots.
  CHECK(TextWidth(font, longNumber.substr(0, kept.size() + 1) + L"...") > room);
  CHECK(static_cast<int>(m->width) ==
        menu.CheckWidth() + 2 * margin + TextWidth(font, L"Long") + TextWidth(font, kept + L"..."));
  DeleteObject(font);
}

TEST_CASE("the menu at a row's right-hand end lies wholly on the screen, a long address ending in dots") {
  ListFixture f;
  Contact contact = With(Person(L"Fitzgerald", L"Bridget"), ContactField::WorkPhone, L"555-0100");
  const std::wstring address = L"bridget.fitzgerald@example-quarrylane-antiquarian-books.example";
  contact.text[ContactField::Email1] = address.c_str();
  f.Show({contact, Person(L"Brown", L"Bob")});

  MenuVisit visit;
  OpenMenu(f, 0, visit);
  REQUIRE(visit.seen);
  const int screenWidth = GetSystemMetrics(SM_CXSCREEN), screenHeight = GetSystemMetrics(SM_CYSCREEN);
  CAPTURE(visit.window.left);
  CAPTURE(visit.window.right);
  CHECK(visit.window.left >= 0);
  CHECK(visit.window.top >= 0);
  CHECK(visit.window.right <= screenWidth);
  CHECK(visit.window.bottom <= screenHeight);
  for (const RECT& item : visit.itemRects) {
    CHECK(item.left >= 0);
    CHECK(item.right <= screenWidth);
  }
  // The menu opened at the row's right-hand end: its right edge is near the screen's.
  CHECK(visit.window.right >= screenWidth - ScaleX(20));

  // The address is drawn shortened, its start with the dots behind, in a box it fits in the item
  // font; the box lies inside its line.
  HFONT font = MakeItemFont();
  const DrawnText* shown = nullptr;
  for (const DrawnText& text : DrawnInMenu())
    if (text.text.rfind("bridget.", 0) == 0) shown = &text;
  REQUIRE(shown != nullptr);
  CAPTURE(shown->text);
  REQUIRE(shown->text.size() > 3);
  CHECK(shown->text.substr(shown->text.size() - 3) == "...");
  const std::string kept = shown->text.substr(0, shown->text.size() - 3);
  CHECK(U8(address).rfind(kept, 0) == 0);
  CHECK(kept.size() < address.size());
  const std::wstring keptWide(address.substr(0, kept.size()));
  CHECK(TextWidth(font, keptWide + L"...") <= shown->rect.right - shown->rect.left);
  DeleteObject(font);
  bool inLine = false;
  for (const DrawnItem& item : f.list.drawnItems)
    if (item.data == 1) inLine = shown->rect.right <= item.rect.right && shown->rect.left >= item.rect.left;
  CHECK(inLine);
}

TEST_CASE(
    "drawn lines: the label after the check mark, the number right-aligned, the action line under the "
    "separator") {
  ListFixture f;
  f.Show({TwoPhonesAndMail(), Person(L"Brown", L"Bob")});
  MenuVisit visit;
  OpenMenu(f, 0, visit);
  REQUIRE(visit.seen);
  REQUIRE(visit.lines.size() == 5);
  CHECK(visit.lines[3].separator);

  const ContactListPhoneMenu& menu = f.list.Menu();
  HFONT font = MakeItemFont();
  std::vector<RECT> boxes(4, RECT{0, 0, 0, 0});
  for (const DrawnItem& item : f.list.drawnItems)
    if (item.data < 4) boxes[item.data] = item.rect;
  for (int i = 0; i < 4; ++i) {
    CAPTURE(i);
    CHECK(boxes[i].bottom - boxes[i].top == menu.ItemHeight());
  }

  // The label's box starts after the check mark and its two margins, as wide as the label.
  const DrawnText* work = FindDrawnInMenu("Work");
  REQUIRE(work != nullptr);
  CHECK(work->rect.left == boxes[0].left + menu.CheckWidth() + 2 * ScaleX(6));
  CHECK(work->rect.right - work->rect.left == TextWidth(font, L"Work"));
  CHECK(work->flags == (DT_SINGLELINE | DT_VCENTER));
  CHECK(work->color == GetSysColor(COLOR_MENUTEXT));
  // The number's box starts after the label and ends short of the line's right edge; right-aligned.
  const DrawnText* number = FindDrawnInMenu("[555-0100]");
  REQUIRE(number != nullptr);
  CHECK(number->rect.left == work->rect.right + ScaleX(4));
  CHECK(number->rect.right == boxes[0].right - ScaleX(4));
  CHECK(number->flags == (DT_SINGLELINE | DT_VCENTER | DT_RIGHT));
  // The action line stands under the separator, below the other lines.
  const DrawnText* action = FindDrawnInMenu("Dial to...");
  REQUIRE(action != nullptr);
  CHECK(action->rect.top >= boxes[2].bottom);
  CHECK(boxes[3].top > boxes[2].bottom);
  CHECK(visit.itemRects[3].top >= visit.itemRects[2].bottom);
  CHECK(visit.itemRects[4].top >= visit.itemRects[3].bottom);
  DeleteObject(font);

  // Plain lines stand on the menu's colour; the mark is drawn on the default alone, inside its place.
  for (const DrawnItem& item : f.list.drawnItems) {
    CAPTURE(item.data);
    if (item.state & ODS_SELECTED) continue;
    CHECK(item.background == GetSysColor(COLOR_MENU));
    CHECK(item.darkLeftOfCheck == 0);
    if (item.data == 0)
      CHECK(item.darkInCheck > 0);
    else
      CHECK(item.darkInCheck == 0);
  }
}

TEST_CASE("a selected line is drawn in the system's highlight colours") {
  ListFixture f;
  f.Show({TwoPhonesAndMail(), Person(L"Brown", L"Bob")});
  MenuVisit visit;
  visit.hover = 1;
  OpenMenu(f, 0, visit);
  REQUIRE(visit.seen);
  bool selected = false;
  for (const DrawnItem& item : f.list.drawnItems) {
    if (!(item.state & ODS_SELECTED)) continue;
    selected = true;
    CHECK(item.data == 1);
    CHECK(item.background == GetSysColor(COLOR_HIGHLIGHT));
  }
  CHECK(selected);
  bool highlightText = false;
  for (const DrawnText& text : DrawnInMenu())
    if (text.text == "Mobile" && text.color == GetSysColor(COLOR_HIGHLIGHTTEXT)) highlightText = true;
  CHECK(highlightText);
}
