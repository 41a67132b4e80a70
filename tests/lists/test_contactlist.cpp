// The contact list on a real COOL.LIST window: over a data source whose result each test sets (the
// contacts sit in its cache), and once over the real data source on the device's contacts database.
// A recording listener writes down every call; the texts the rows draw are read from DrawTextW, whose
// import is replaced; the menus are read item by item before they would be tracked.
#include <doctest/doctest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ArrayVectors.h"
#include "ContactListKit.h"
#include "DoctestVectors.h"
#include "ImportHook.h"
#include "ManagerTestSupport.h"
#include "MenuLines.h"
#include "MessagePump.h"
#include "StylusPoint.h"
#include "WideText.h"
#include "foundation/Settings.h"
#include "lists/ContactList.h"
#include "manager/datasource/ContactDataSource.h"
#include "phone/PhoneDevice.h"
#include "phone/PhoneTemplates.h"
#include "presentation/Skin.h"
#include "presentation/UserFonts.h"
#include "resources/ListIds.h"
#include "storage/contact/Contact.h"
#include "storage/contact/ContactDatabase.h"

using namespace listtest;
using testmenu::MenuLines;

namespace {

// --- what the rows draw --------------------------------------------------------------------------------

struct DrawnText {
  std::string text;
  RECT rect;
  UINT flags;
  COLORREF color;
  int mode;
  COLORREF back;
};

std::vector<DrawnText>& Drawn() {
  static std::vector<DrawnText> drawn;
  return drawn;
}

decltype(&DrawTextW) realDrawText = nullptr;

int WINAPI RecordDrawText(HDC dc, LPCWSTR text, int count, LPRECT rect, UINT flags) {
  Drawn().push_back(
      DrawnText{U8(text, count), *rect, flags, GetTextColor(dc), GetBkMode(dc), GetBkColor(dc)});
  return realDrawText(dc, text, count, rect, flags);
}

// The texts drawn since the last clear, in order.
std::vector<std::string> DrawnTexts() {
  std::vector<std::string> texts;
  for (const DrawnText& drawn : Drawn()) texts.push_back(drawn.text);
  return texts;
}

const DrawnText* FindDrawn(const std::string& text) {
  for (const DrawnText& drawn : Drawn())
    if (drawn.text == text) return &drawn;
  return nullptr;
}

// --- the pieces around the list --------------------------------------------------------------------------

std::string P(const ListPosition& position) {
  return std::to_string(position.group) + " " + std::to_string(position.item);
}

// The list with its calls to the outside written down, its protected helpers in reach, and the rows it
// paints counted.
class TestList : public ContactList {
 public:
  TestList() : ContactList(GetModuleHandleW(nullptr)) {}

  using ContactList::AddContactMenu;
  using ContactList::NumberToCall;
  int Ellipsis() const { return ellipsisWidth; }
  int Tail() const { return tailWidth; }

  std::vector<std::string> actions;
  std::map<int, int> paints;

  // The phone menu: asked how often; by default the real one answers.
  int phoneMenuAsked = 0;
  bool emulatePhoneMenu = false;
  BOOL phoneMenuDials = FALSE;
  uint32_t phoneMenuChoice = 0;

  // The long-press menu: its lines when it was tracked, and the command the user picks.
  bool menuTracked = false;
  std::vector<std::string> menu;
  UINT menuAnswer = 0;
  bool realTracking = false;

  // What the add-ins put in: lines of text with their ids, and the ids they were given.
  std::vector<std::pair<UINT, std::wstring>> pluginItems;
  std::vector<CEOID> pluginIds;

  void OnDrawRow(HDC dc, const RECT& rect, int row, UINT state) override {
    ++paints[row];
    ContactList::OnDrawRow(dc, rect, row, state);
  }

 protected:
  BOOL TrackPhoneMenu(Contact& contact, const RECT& rect, BOOL& dialed, uint32_t& newDefault) override {
    ++phoneMenuAsked;
    if (!emulatePhoneMenu) return ContactList::TrackPhoneMenu(contact, rect, dialed, newDefault);
    dialed = phoneMenuDials;
    newDefault = phoneMenuChoice;
    return TRUE;
  }
  UINT TrackLongPressMenu(HMENU popup, POINT screen) override {
    menuTracked = true;
    menu = MenuLines(popup);
    if (realTracking) return ContactList::TrackLongPressMenu(popup, screen);
    return menuAnswer;
  }
  int DialNumber(const wchar_t* number, const Contact* contact) override {
    actions.push_back("dial " + U8(number) + (contact ? " for " + std::to_string(contact->oid) : ""));
    return 0;
  }
  void SendSms(const wchar_t* number, const Contact* contact) override {
    actions.push_back("sms " + U8(number) + (contact ? " for " + std::to_string(contact->oid) : ""));
  }
  void StartMail(const wchar_t* address) override { actions.push_back("mail " + U8(address)); }
  BOOL Beam(const Array<CEOID>& ids) override {
    std::string line = "beam";
    for (int i = 0; i < ids.GetSize(); ++i) line += " " + std::to_string(ids[i]);
    actions.push_back(line);
    return TRUE;
  }
  BOOL AddPluginCommands(HMENU popup, const Array<CEOID>& ids) override {
    pluginIds = VectorOf<CEOID>(ids);
    ContactList::AddPluginCommands(popup, ids);
    if (pluginItems.empty()) return FALSE;
    HMENU sub = CreatePopupMenu();
    for (const auto& item : pluginItems) AppendMenuW(sub, MF_STRING, item.first, item.second.c_str());
    AppendMenuW(popup, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(popup, MF_POPUP, reinterpret_cast<UINT_PTR>(sub), L"Add-ins");
    return TRUE;
  }
  BOOL RunPluginCommand(UINT command, const Array<CEOID>& ids) override {
    std::string line = "plugin " + std::to_string(command);
    for (int i = 0; i < ids.GetSize(); ++i) line += " " + std::to_string(ids[i]);
    actions.push_back(line);
    return TRUE;
  }
};

std::vector<UINT>& ParentKeysUp() {
  static std::vector<UINT> keys;
  return keys;
}

LRESULT CALLBACK ParentProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_KEYUP) ParentKeysUp().push_back(static_cast<UINT>(wParam));
  return DefWindowProcW(window, message, wParam, lParam);
}

void SetUpOnce() {
  static bool done = false;
  if (done) return;
  done = true;
  StartSkinAndFonts();
  WNDCLASSW parent = {};
  parent.lpfnWndProc = ParentProc;
  parent.hInstance = GetModuleHandleW(nullptr);
  parent.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
  parent.lpszClassName = L"ContactListTestParent";
  RegisterClassW(&parent);
  realDrawText = reinterpret_cast<decltype(&DrawTextW)>(importhook::Replace(
      GetModuleHandleW(nullptr), "user32.dll", "DrawTextW", reinterpret_cast<void*>(&RecordDrawText)));
}

Contact Person(const wchar_t* last, const wchar_t* first, const wchar_t* company = L"") {
  Contact contact;
  contact.text[ContactField::LastName] = last;
  contact.text[ContactField::FirstName] = first;
  contact.text[ContactField::Company] = company;
  return contact;
}

Contact With(Contact contact, int field, const wchar_t* value) {
  contact.text[field] = value;
  return contact;
}

// A parent as wide as the screen with the list filling it, shown, over the fixture's source.
struct ListFixture {
  HWND parent = nullptr;
  TestSource source;
  Recorder listener;
  TestList list;

  ListFixture() {
    SetUpOnce();
    ParentKeysUp().clear();
    Drawn().clear();
    parent = ShowListWindow(list, L"ContactListTestParent", 0, ScaleY(200));
    list.SetListener(&listener);
    Pump();
  }
  ~ListFixture() {
    DestroyWindow(parent);
    Pump();
  }

  HWND Window() const { return list.ContactWindow(); }
  std::vector<std::string> Rows() {
    std::vector<std::string> rows;
    for (int row = 0; row < list.RowCount(); ++row) rows.push_back(P(list.RowToPosition(row)));
    return rows;
  }
  std::vector<std::string> Expanded() const {
    std::vector<std::string> titles;
    for (int i = 0; i < list.ExpandedTitles().GetSize(); ++i) titles.push_back(U8(list.ExpandedTitles()[i]));
    return titles;
  }
  // The middle of a row, or the point `x` on its middle line.
  POINT RowPoint(int row, int x = -1) {
    const RECT rect = list.Control().RowRect(row);
    return POINT{x < 0 ? (rect.left + rect.right) / 2 : x, (rect.top + rect.bottom) / 2};
  }
  int ClientWidth() { return list.Control().ClientRect().right; }
  void Tap(POINT point) {
    PostMessageW(Window(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(point.x, point.y));
    PostMessageW(Window(), WM_LBUTTONUP, 0, MAKELPARAM(point.x, point.y));
    Pump();
  }
  void Key(UINT key) {
    SendMessageW(Window(), WM_KEYDOWN, key, 1);
    SendMessageW(Window(), WM_KEYUP, key, 0xC0000001);
    Pump();
  }
  // Everything painted so far is done; the counts and texts start afresh.
  void Settle() {
    UpdateWindow(Window());
    Pump();
    list.paints.clear();
    Drawn().clear();
    listener.calls.clear();
  }
  // Drags from one row to another, which marks the rows between.
  void Drag(int from, int to) {
    POINT a = RowPoint(from), b = RowPoint(to);
    PostMessageW(Window(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(a.x, a.y));
    PostMessageW(Window(), WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(b.x, b.y));
    PostMessageW(Window(), WM_LBUTTONUP, 0, MAKELPARAM(b.x, b.y));
    Pump();
  }
  // A long press on the row as the control reports it.
  void LongPress(int row) {
    list.Control().SetCaret(row);
    Pump();
    POINT point = RowPoint(row);
    list.OnLongPress(point.x, point.y);
  }
};

// A bitmap of one row, 32 bits a pixel, drawn by OnDrawRow.
struct RowPicture {
  HDC dc = nullptr;
  HBITMAP bitmap = nullptr;
  HGDIOBJ old = nullptr;
  RECT rect = {0, 0, 0, 0};

  RowPicture(ContactList& list, int row, UINT state, int width) {
    rect = RECT{0, 0, width, list.Control().RowHeight()};
    HDC screen = GetDC(nullptr);
    dc = CreateCompatibleDC(screen);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = rect.bottom;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    ReleaseDC(nullptr, screen);
    old = SelectObject(dc, bitmap);
    // A colour no row uses, to see what was left untouched.
    HBRUSH brush = CreateSolidBrush(RGB(1, 2, 3));
    FillRect(dc, &rect, brush);
    DeleteObject(brush);
    list.OnDrawRow(dc, rect, row, state);
  }
  ~RowPicture() {
    SelectObject(dc, old);
    DeleteObject(bitmap);
    DeleteDC(dc);
  }
  COLORREF At(int x, int y) const { return GetPixel(dc, x, y); }
};

// Makes the SMS engine be there or not for a scope, and puts back what was.
struct SmsEngine {
  const wchar_t* path = L"\\windows\\sms.dll";
  const wchar_t* aside = L"\\windows\\sms.dll.aside";
  bool had;
  bool made = false;
  explicit SmsEngine(bool present) : had(IsPhoneDevice() != FALSE) {
    if (present && !had) {
      HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
      REQUIRE(file != INVALID_HANDLE_VALUE);
      CloseHandle(file);
      made = true;
    } else if (!present && had) {
      REQUIRE(MoveFileW(path, aside));
    }
    REQUIRE((IsPhoneDevice() != FALSE) == present);
  }
  ~SmsEngine() {
    if (made) DeleteFileW(path);
    if (!made && had && !IsPhoneDevice()) MoveFileW(aside, path);
  }
};

// A contact with a name, two phones, a mail and a company, as the menus show it.
Contact MenuContact() {
  Contact contact = Person(L"Baker", L"Bea", L"Bakery");
  contact.text[ContactField::WorkPhone] = L"555-0101";
  contact.text[ContactField::MobilePhone] = L"555-0105";
  contact.text[ContactField::Email1] = L"bea@bakery.example";
  return contact;
}

std::vector<std::string> MenuContactLines(bool sms) {
  std::vector<std::string> lines = {"Bea Baker #0 (grayed)", "-",
                                    "Call Phone {Work\t555-0101 #1001; Mobile\t555-0105 #1005}"};
  if (sms) lines.push_back("Send SMS {Work\t555-0101 #1101; Mobile\t555-0105 #1105}");
  lines.push_back("Send Email {E-mail\tbea@bakery.example #1212}");
  lines.push_back("-");
  lines.push_back("Beam... #101");
  lines.push_back("Make Appointment... #41211");
  return lines;
}

}  // namespace

// --- rows ----------------------------------------------------------------------------------------------

TEST_CASE("a flat result gives a row per contact, the caret where Populate puts it, and (-1, -1) resets") {
  ListFixture f;
  const std::vector<CEOID> ids =
      f.source.PutAll({Person(L"Adams", L"Ann"), Person(L"Brown", L"Bob"), Person(L"Clark", L"Cy"),
                       Person(L"Dunn", L"Di"), Person(L"Eton", L"Ed")});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  CHECK(f.list.GetSource() == &f.source);
  CHECK(f.Rows() == std::vector<std::string>{"0 0", "0 1", "0 2", "0 3", "0 4"});
  CHECK(P(f.list.GetCurrent()) == "0 0");
  CHECK(P(f.list.RowToPosition(5)) == "-1 -1");
  REQUIRE(f.list.GetContactAtRow(2) != nullptr);
  CHECK(f.list.GetContactAtRow(2)->oid == ids[2]);
  // No headers in a flat list.
  CHECK_FALSE(f.list.ExpandRow(0));

  f.list.Populate(0, 3);
  CHECK(f.list.Control().Caret() == 3);
  CHECK(P(f.list.GetCurrent()) == "0 3");
  f.list.Populate(-1, -1);
  CHECK(f.list.Control().Caret() == 0);
  CHECK(f.list.RowCount() == 5);

  // Setting the same source again changes nothing; no source empties the list.
  f.list.Populate(0, 2);
  f.list.SetSource(&f.source);
  CHECK(f.list.Control().Caret() == 2);
  f.list.SetSource(nullptr);
  CHECK(f.list.RowCount() == 0);
  CHECK(P(f.list.GetCurrent()) == "-1 -1");
}

TEST_CASE(
    "a grouped result: a header per company, its contacts under it while it is open, the caret on "
    "either") {
  ListFixture f;
  const std::vector<CEOID> acme = f.source.PutAll(
      {Person(L"Ames", L"Al", L"Acme"), Person(L"Aber", L"Ava", L"Acme"), Person(L"Ayer", L"Ace", L"Acme")});
  const std::vector<CEOID> globex = f.source.PutAll({Person(L"Gold", L"Gus", L"Globex")});
  const std::vector<CEOID> initech =
      f.source.PutAll({Person(L"Ivy", L"Ian", L"Initech"), Person(L"Ito", L"Isa", L"Initech")});
  f.source.ShowGroups({{L"Acme", acme}, {L"Globex", globex}, {L"Initech", initech}});
  f.list.SetSource(&f.source);
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "1 -1", "2 -1"});

  CHECK(f.list.ExpandRow(1));
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "1 -1", "1 0", "2 -1"});
  CHECK(f.list.IsExpanded(1));
  CHECK_FALSE(f.list.IsExpanded(0));
  CHECK(f.Expanded() == std::vector<std::string>{"Globex"});
  CHECK(f.list.RowCount() == 4);
  CHECK(f.list.ExpandRow(3));
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "1 -1", "1 0", "2 -1", "2 0", "2 1"});
  CHECK(f.list.GetContactAtRow(5)->oid == initech[1]);
  CHECK(f.list.GetContactAtRow(3) == nullptr);

  // The caret on a contact, and on a header.
  f.list.Populate(2, 1);
  CHECK(f.list.Control().Caret() == 5);
  CHECK(P(f.list.GetCurrent()) == "2 1");
  f.list.Populate(1, -1);
  CHECK(f.list.Control().Caret() == 1);
  CHECK(P(f.list.GetCurrent()) == "1 -1");

  CHECK(f.list.CollapseRow(1));
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "1 -1", "2 -1", "2 0", "2 1"});
  CHECK(f.Expanded() == std::vector<std::string>{"Initech"});
  CHECK_FALSE(f.list.CollapseRow(1));
  CHECK(f.list.ToggleRow(0));
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "0 1", "0 2", "1 -1", "2 -1", "2 0", "2 1"});
  CHECK(f.list.ToggleRow(0));
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "1 -1", "2 -1", "2 0", "2 1"});
}

TEST_CASE("edge: sort type 2 with no group expanded shows only headers, each with its group's count") {
  ListFixture f;
  f.list.SetSortType(2);
  const std::vector<CEOID> acme = f.source.PutAll(
      {Person(L"Ames", L"Al", L"Acme"), Person(L"Aber", L"Ava", L"Acme"), Person(L"Ayer", L"Ace", L"Acme")});
  const std::vector<CEOID> globex = f.source.PutAll({Person(L"Gold", L"Gus", L"Globex")});
  const std::vector<CEOID> initech =
      f.source.PutAll({Person(L"Ivy", L"Ian", L"Initech"), Person(L"Ito", L"Isa", L"Initech")});
  f.source.ShowGroups({{L"Acme", acme}, {L"Globex", globex}, {L"Initech", initech}});
  f.list.SetSource(&f.source);
  f.Settle();
  InvalidateRect(f.Window(), nullptr, FALSE);
  UpdateWindow(f.Window());
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "1 -1", "2 -1"});
  CHECK(DrawnTexts() == std::vector<std::string>{"Acme (3)", "Globex (1)", "Initech (2)"});
  // Each header was painted, and no contact row.
  CHECK(f.list.paints == std::map<int, int>{{0, 1}, {1, 1}, {2, 1}});
}

TEST_CASE("edge: a group title that vanished between searches is dropped from the expanded titles") {
  ListFixture f;
  const std::vector<CEOID> acme = f.source.PutAll({Person(L"Ames", L"Al", L"Acme")});
  const std::vector<CEOID> globex =
      f.source.PutAll({Person(L"Gold", L"Gus", L"Globex"), Person(L"Gil", L"Gia", L"Globex")});
  const std::vector<CEOID> initech = f.source.PutAll({Person(L"Ivy", L"Ian", L"Initech")});
  f.source.ShowGroups({{L"Acme", acme}, {L"Globex", globex}, {L"Initech", initech}});
  f.list.SetSource(&f.source);
  REQUIRE(f.list.ExpandRow(0));
  REQUIRE(f.list.ExpandRow(2));
  REQUIRE(f.Expanded() == std::vector<std::string>{"Acme", "Globex"});

  // The next search finds no Globex.
  f.source.ShowGroups({{L"Acme", acme}, {L"Initech", initech}});
  f.list.Populate(-1, -1);
  CHECK(f.Expanded() == std::vector<std::string>{"Acme"});
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "1 -1"});
  // Globex coming back later comes back closed.
  f.source.ShowGroups({{L"Acme", acme}, {L"Globex", globex}, {L"Initech", initech}});
  f.list.Populate(-1, -1);
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "1 -1", "2 -1"});
}

TEST_CASE("expansion is kept by title: a new search with the groups elsewhere opens the same companies") {
  ListFixture f;
  const std::vector<CEOID> acme =
      f.source.PutAll({Person(L"Ames", L"Al", L"Acme"), Person(L"Aber", L"Ava", L"Acme")});
  const std::vector<CEOID> globex = f.source.PutAll({Person(L"Gold", L"Gus", L"Globex")});
  const std::vector<CEOID> initech = f.source.PutAll({Person(L"Ivy", L"Ian", L"Initech")});
  f.source.ShowGroups({{L"Acme", acme}, {L"Globex", globex}, {L"Initech", initech}});
  f.list.SetSource(&f.source);
  REQUIRE(f.list.ExpandRow(2));  // Initech
  REQUIRE(f.list.ExpandRow(0));  // Acme
  REQUIRE(f.Expanded() == std::vector<std::string>{"Initech", "Acme"});

  // Initech first now, Acme last, with one contact fewer; the caret asked for on Acme's second.
  f.source.ShowGroups({{L"Initech", initech}, {L"Globex", globex}, {L"Acme", {acme[1]}}});
  f.list.Populate(2, 0);
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "1 -1", "2 -1", "2 0"});
  CHECK(f.list.Control().Caret() == 4);
  CHECK(f.list.GetContactAtRow(4)->oid == acme[1]);
}

TEST_CASE("Next and previous contact step over headers, opening a closed group on the way") {
  ListFixture f;
  const std::vector<CEOID> acme =
      f.source.PutAll({Person(L"Ames", L"Al", L"Acme"), Person(L"Aber", L"Ava", L"Acme")});
  const std::vector<CEOID> globex =
      f.source.PutAll({Person(L"Gold", L"Gus", L"Globex"), Person(L"Gil", L"Gia", L"Globex")});
  f.source.ShowGroups({{L"Acme", acme}, {L"Globex", globex}});
  f.list.SetSource(&f.source);
  // From Acme's header the search starts below it: the closed Globex header on the way opens, and its
  // first contact takes the caret.
  CHECK(f.list.NextContact());
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "1 -1", "1 0", "1 1"});
  CHECK(P(f.list.GetCurrent()) == "1 0");
  CHECK(f.list.NextContact());
  CHECK(P(f.list.GetCurrent()) == "1 1");
  CHECK_FALSE(f.list.NextContact());
  CHECK(P(f.list.GetCurrent()) == "1 1");

  // Upwards over the open Globex header to the closed Acme: it opens and the caret goes to its last
  // contact.
  CHECK(f.list.PrevContact());
  CHECK(P(f.list.GetCurrent()) == "1 0");
  CHECK(f.list.PrevContact());
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "0 1", "1 -1", "1 0", "1 1"});
  CHECK(P(f.list.GetCurrent()) == "0 1");
  CHECK(f.list.PrevContact());
  CHECK(P(f.list.GetCurrent()) == "0 0");
  CHECK_FALSE(f.list.PrevContact());
  CHECK(P(f.list.GetCurrent()) == "0 0");
  // Down over an open header: its first contact.
  f.list.Control().SetCaret(2);
  CHECK(f.list.NextContact());
  CHECK(P(f.list.GetCurrent()) == "1 0");

  f.list.SetSource(nullptr);
  CHECK_FALSE(f.list.NextContact());
  CHECK_FALSE(f.list.PrevContact());
}

// --- what the control reports ------------------------------------------------------------------------------

TEST_CASE("taps, Return, double taps and caret moves reach the listener as positions; a header toggles") {
  ListFixture f;
  const std::vector<CEOID> acme =
      f.source.PutAll({Person(L"Ames", L"Al", L"Acme"), Person(L"Aber", L"Ava", L"Acme")});
  const std::vector<CEOID> globex = f.source.PutAll({Person(L"Gold", L"Gus", L"Globex")});
  f.source.ShowGroups({{L"Acme", acme}, {L"Globex", globex}});
  f.list.SetSource(&f.source);
  f.Settle();

  // A tap on a closed header opens it and is reported with item -1; the row was the caret, so the tap
  // was on a marked row.
  f.Tap(f.RowPoint(0));
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "0 1", "1 -1"});
  CHECK(f.listener.calls == std::vector<std::string>{"click 0 -1 marked"});

  // A tap on a contact: the caret moves there, then the click.
  f.listener.calls.clear();
  f.Tap(f.RowPoint(2));
  CHECK(f.listener.calls == std::vector<std::string>{"caret 0 1", "click 0 1"});
  CHECK(f.Rows().size() == 4);

  // Return on a header toggles it as well and activates it.
  f.listener.calls.clear();
  f.list.Control().SetCaret(3);
  f.listener.calls.clear();
  f.Key(VK_RETURN);
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "0 1", "1 -1", "1 0"});
  CHECK(f.listener.Has("activate 1 -1"));
  f.listener.calls.clear();
  f.list.Control().SetCaret(1);
  f.listener.calls.clear();
  f.Key(VK_RETURN);
  CHECK(f.listener.calls == std::vector<std::string>{"activate 0 0"});
  CHECK(f.Rows().size() == 5);

  // Down moves the caret; a double tap on the row of the press.
  f.listener.calls.clear();
  f.Key(VK_DOWN);
  CHECK(f.listener.calls == std::vector<std::string>{"caret 0 1"});
  f.listener.calls.clear();
  const POINT at = f.RowPoint(4);
  PostMessageW(f.Window(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(at.x, at.y));
  PostMessageW(f.Window(), WM_LBUTTONUP, 0, MAKELPARAM(at.x, at.y));
  PostMessageW(f.Window(), WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(at.x, at.y));
  PostMessageW(f.Window(), WM_LBUTTONUP, 0, MAKELPARAM(at.x, at.y));
  Pump();
  CHECK(f.listener.Has("double 1 0"));
}

TEST_CASE("characters go to the listener's second table; End comes up at the parent; other keys go on") {
  ListFixture f;
  f.source.ShowFlat(f.source.PutAll({Person(L"Adams", L"Ann"), Person(L"Brown", L"Bob")}));
  f.list.SetSource(&f.source);
  f.Settle();
  for (wchar_t ch : {L'2', L'9', L'1', L'a'}) SendMessageW(f.Window(), WM_CHAR, ch, 1);
  CHECK(f.listener.calls == std::vector<std::string>{"char 50", "char 57", "char 49", "char 97"});

  f.listener.calls.clear();
  SendMessageW(f.Window(), WM_KEYUP, VK_F4, 0xC0000001);
  CHECK(ParentKeysUp() == std::vector<UINT>{VK_F4});
  SendMessageW(f.Window(), WM_KEYUP, 'A', 0xC0000001);
  SendMessageW(f.Window(), WM_KEYUP, VK_F3, 0xC0000001);
  CHECK(ParentKeysUp() == std::vector<UINT>{VK_F4});

  // Keys the list doesn't take: Up at row 0 and a letter.
  f.Key(VK_UP);
  f.Key('A');
  CHECK(f.listener.calls == std::vector<std::string>{"key 38", "key 65"});
}

TEST_CASE("Left and Right open and close a header; where they change nothing they go to the listener") {
  ListFixture f;
  const std::vector<CEOID> acme =
      f.source.PutAll({Person(L"Ames", L"Al", L"Acme"), Person(L"Aber", L"Ava", L"Acme")});
  const std::vector<CEOID> globex = f.source.PutAll({Person(L"Gold", L"Gus", L"Globex")});
  f.source.ShowGroups({{L"Acme", acme}, {L"Globex", globex}});
  f.list.SetSource(&f.source);
  f.Settle();

  f.Key(VK_RIGHT);
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "0 1", "1 -1"});
  CHECK(f.listener.calls.empty());
  f.Key(VK_RIGHT);
  CHECK(f.Rows().size() == 4);
  CHECK(f.listener.calls == std::vector<std::string>{"key 39"});

  f.listener.calls.clear();
  f.Key(VK_LEFT);
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "1 -1"});
  CHECK(f.listener.calls.empty());
  f.Key(VK_LEFT);
  CHECK(f.Rows().size() == 2);
  CHECK(f.listener.calls == std::vector<std::string>{"key 37"});
}

TEST_CASE("Left and Right on a contact step its default number; the listener hears nothing of them") {
  ListFixture f;
  Contact several = Person(L"Adams", L"Ann");
  several.text[ContactField::WorkPhone] = L"555-0100";
  several.text[ContactField::MobilePhone] = L"555-0105";
  several.text[ContactField::Email1] = L"ann@example.org";
  Contact single = With(Person(L"Brown", L"Bob"), ContactField::HomePhone, L"555-0200");
  const std::vector<CEOID> ids = f.source.PutAll({several, single});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  f.Settle();

  // No default yet: the first item is the one shown, Right goes to the next.
  f.Key(VK_RIGHT);
  CHECK(f.source.stored == std::vector<std::pair<CEOID, uint32_t>>{{ids[0], kMobileId}});
  f.Key(VK_LEFT);
  f.Key(VK_LEFT);
  CHECK(f.source.stored ==
        std::vector<std::pair<CEOID, uint32_t>>{{ids[0], kMobileId}, {ids[0], kWorkId}, {ids[0], kEmail1Id}});
  CHECK(f.list.GetContactAtRow(0)->defaultItem == kEmail1Id);
  CHECK(f.listener.calls.empty());

  // A contact with a single number has nothing to step to: nothing is stored or repainted.
  f.list.Control().SetCaret(1);
  f.Settle();
  f.source.stored.clear();
  f.Key(VK_RIGHT);
  f.Key(VK_LEFT);
  CHECK(f.source.stored.empty());
  CHECK(f.list.paints.count(1) == 0);
  CHECK(f.listener.calls.empty());
}

TEST_CASE(
    "edge: Right on the last filled number wraps to the first as NextPhone does, and the row repaints "
    "once") {
  ListFixture f;
  Contact contact = Person(L"Adams", L"Ann");
  contact.text[ContactField::WorkPhone] = L"555-0100";
  contact.text[ContactField::MobilePhone] = L"555-0105";
  contact.text[ContactField::Email1] = L"ann@example.org";
  contact.defaultItem = kEmail1Id;
  const std::vector<CEOID> ids = f.source.PutAll({Person(L"Aaron", L"Abe"), contact, Person(L"Cole", L"Cy")});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  f.list.Control().SetCaret(1);
  f.Settle();
  // What NextPhone itself gives from there.
  Contact expected = contact;
  const uint32_t wrapped = expected.NextPhone(1, false);
  REQUIRE(wrapped == kWorkId);

  f.Key(VK_RIGHT);
  CHECK(f.source.stored == std::vector<std::pair<CEOID, uint32_t>>{{ids[1], wrapped}});
  CHECK(f.list.paints == std::map<int, int>{{1, 1}});
  // The row shows the work number now, with its kind letter.
  CHECK(FindDrawn("555-0100") != nullptr);
  CHECK(FindDrawn("w") != nullptr);
  CHECK(FindDrawn("ann@example.org") == nullptr);
}

// --- the green key ---------------------------------------------------------------------------------------

TEST_CASE(
    "the green key's number: without a default the first filled phone in its order, then the extra "
    "phones") {
  Contact contact = Person(L"Adams", L"Ann");
  Str number;
  CHECK_FALSE(TestList::NumberToCall(contact, number));
  contact.Phone.Add(LabelValue{Str(L"Boat"), Str(L"555-0999")});
  REQUIRE(TestList::NumberToCall(contact, number));
  CHECK(U8(number) == "555-0999");
  // Filling the phones from the last of the order to the first: each time the newest one is taken.
  for (int i = static_cast<int>(kCallOrder.size()) - 1; i >= 0; --i) {
    const std::wstring value = L"555-01" + std::to_wstring(10 + i);
    contact.text[kCallOrder[i].first] = value.c_str();
    REQUIRE(TestList::NumberToCall(contact, number));
    CHECK(U8(number) == U8(value));
  }
}

TEST_CASE(
    "the green key's number: a default names its own field, an extra phone by its derived id, "
    "anything else nothing") {
  Contact contact = Person(L"Adams", L"Ann");
  for (size_t i = 0; i < kCallOrder.size(); ++i)
    contact.text[kCallOrder[i].first] = (L"555-01" + std::to_wstring(10 + i)).c_str();
  contact.Phone.Add(LabelValue{Str(L"Boat"), Str(L"555-0998")});
  contact.Phone.Add(LabelValue{Str(L"Cabin"), Str(L"555-0999")});
  contact.text[ContactField::Email1] = L"ann@example.org";
  Str number;
  for (size_t i = 0; i < kCallOrder.size(); ++i) {
    CAPTURE(i);
    contact.defaultItem = kCallOrder[i].second;
    REQUIRE(TestList::NumberToCall(contact, number));
    CHECK(U8(number) == "555-01" + std::to_string(10 + i));
  }
  contact.defaultItem = Contact::CustomItemId(L"Cabin", L"555-0999");
  REQUIRE(TestList::NumberToCall(contact, number));
  CHECK(U8(number) == "555-0999");
  // A mail, an unknown id and a custom id that no phone has: nothing is called.
  for (uint32_t other : {kEmail1Id, 0x12345678u, Contact::CustomItemId(L"Gone", L"1")}) {
    contact.defaultItem = other;
    CHECK_FALSE(TestList::NumberToCall(contact, number));
  }
  // A named field that is empty: nothing, though others are filled.
  contact.text[ContactField::Pager] = L"";
  contact.defaultItem = kPagerId;
  CHECK_FALSE(TestList::NumberToCall(contact, number));
}

TEST_CASE(
    "CallContact dials the chosen number and tells the listener; an empty number or contact calls "
    "nothing") {
  ListFixture f;
  // The talk key's chooser stays down: it is tested with the chooser itself.
  SetSettingDword(SECTION_SETTINGS, L"DialType", 1, TRUE);
  Contact withPhone = With(Person(L"Adams", L"Ann"), ContactField::MobilePhone, L"555-0105");
  withPhone.text[ContactField::WorkPhone] = L"555-0100";
  withPhone.defaultItem = kMobileId;
  const std::vector<CEOID> ids = f.source.PutAll({withPhone, Person(L"Brown", L"Bob")});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  f.Settle();

  // The caret's contact.
  CHECK(f.list.CallContact(nullptr));
  CHECK(f.list.actions == std::vector<std::string>{"dial 555-0105 for " + std::to_string(ids[0])});
  CHECK(f.listener.calls == std::vector<std::string>{"dialed"});

  f.list.actions.clear();
  f.listener.calls.clear();
  f.list.Control().SetCaret(1);
  f.listener.calls.clear();
  CHECK_FALSE(f.list.CallContact(nullptr));
  Contact empty;
  CHECK_FALSE(f.list.CallContact(&empty));
  Contact named = withPhone;
  named.defaultItem = kHomeId;
  CHECK_FALSE(f.list.CallContact(&named));
  CHECK(f.list.actions.empty());
  CHECK(f.listener.calls.empty());
  // A contact handed in is called as it is, the first filled phone without a default.
  named.defaultItem = 0;
  named.oid = 77;
  CHECK(f.list.CallContact(&named));
  CHECK(f.list.actions == std::vector<std::string>{"dial 555-0100 for 77"});
}

// --- the long-press menu --------------------------------------------------------------------------------

TEST_CASE(
    "a contact's field list: names, the eleven phones, the extra phones, the mails and every second "
    "extra address; the mail start") {
  Contact contact = Person(L"Baker", L"Bea", L"Bakery");
  contact.text[ContactField::WorkPhone] = L"w1";
  contact.text[ContactField::WorkPhone2] = L"w2";
  contact.text[ContactField::HomePhone] = L"h1";
  contact.text[ContactField::HomePhone2] = L"h2";
  contact.text[ContactField::MobilePhone] = L"m";
  contact.text[ContactField::HomeFax] = L"hf";
  contact.text[ContactField::WorkFax] = L"wf";
  contact.text[ContactField::Pager] = L"p";
  contact.text[ContactField::CarPhone] = L"c";
  contact.text[ContactField::RadioPhone] = L"r";
  contact.text[ContactField::AssistantPhone] = L"a";
  contact.text[ContactField::Email1] = L"e1";
  contact.text[ContactField::Email3] = L"e3";
  contact.Phone.Add(LabelValue{Str(L"Boat"), Str(L"b")});
  contact.Phone.Add(LabelValue{Str(L"Cabin"), Str(L"")});
  contact.Email.Add(LabelValue{Str(L"Club"), Str(L"x0")});
  contact.Email.Add(LabelValue{Str(L"Old"), Str(L"x1")});
  contact.Email.Add(LabelValue{Str(L"Lab"), Str(L"x2")});

  Array<ContactFieldEntry> fields;
  const int mailStart = ContactList::AddContactFields(contact, fields);
  std::vector<std::string> lines;
  for (int i = 0; i < fields.GetSize(); ++i)
    lines.push_back(U8(fields[i].label) + "|" + U8(fields[i].value) + "|" + std::to_string(fields[i].code) +
                    "|" + std::to_string(fields[i].ordinal));
  const auto id = [](const wchar_t* label, const wchar_t* value) {
    return std::to_string(static_cast<int>(Contact::CustomItemId(label, value)));
  };
  CHECK(lines == std::vector<std::string>{
                     "First|Bea|26|0",
                     "Last|Baker|28|0",
                     "Company|Bakery|39|0",
                     "Work|w1|13|1",
                     "Work|w2|14|2",
                     "Home|h1|21|3",
                     "Home|h2|22|4",
                     "Mobile|m|35|5",
                     "Home fax|hf|23|6",
                     "Work fax|wf|15|7",
                     "Pager|p|31|8",
                     "Car|c|33|9",
                     "Radio|r|34|10",
                     "Assistant|a|40|11",
                     "Boat|b|" + id(L"Boat", L"b") + "|12",
                     "Cabin||" + id(L"Cabin", L"") + "|13",
                     "E-mail|e1|0|14",
                     "E-mail 2||1|15",
                     "E-mail 3|e3|2|16",
                     "Club|x0|" + id(L"Club", L"x0") + "|0",
                     "Lab|x2|" + id(L"Lab", L"x2") + "|2",
                 });
  CHECK(mailStart == 16);
  CHECK(U8(fields[mailStart].label) == "E-mail");
}

TEST_CASE("the contact menu: title, call, SMS on a phone device, mail, Beam... and Make Appointment...") {
  for (bool sms : {false, true}) {
    CAPTURE(sms);
    SmsEngine engine(sms);
    ListFixture f;
    const std::vector<CEOID> ids = f.source.PutAll({MenuContact()});
    f.source.ShowFlat(ids);
    f.list.SetSource(&f.source);
    f.LongPress(0);
    REQUIRE(f.list.menuTracked);
    CHECK(f.list.menu == MenuContactLines(sms));
    CHECK(f.list.pluginIds == ids);
  }
}

TEST_CASE(
    "the contact menu's title: the company without a name, none without either; no sub-menu without "
    "its entries") {
  SmsEngine engine(true);
  ListFixture f;
  Contact company = Person(L"", L"", L"Bakery");
  Contact bare = Person(L"", L"");
  bare.text[ContactField::Email2] = L"x@example.org";
  Contact templated = With(Person(L"Cole", L""), ContactField::HomePhone, L"555-0300");
  BracketTemplates brackets;
  f.list.SetTemplates(&brackets);

  HMENU menu = CreatePopupMenu();
  Array<ContactFieldEntry> fields;
  CHECK(f.list.AddContactMenu(menu, company, fields) == 14);
  CHECK(MenuLines(menu) == std::vector<std::string>{"Bakery #0 (grayed)", "-", "Beam... #101"});
  DestroyMenu(menu);

  menu = CreatePopupMenu();
  f.list.AddContactMenu(menu, bare, fields);
  CHECK(MenuLines(menu) ==
        std::vector<std::string>{"Send Email {E-mail 2\tx@example.org #1213}", "-", "Beam... #101"});
  DestroyMenu(menu);

  // The numbers as the templates show them; the contact itself keeps its own.
  menu = CreatePopupMenu();
  f.list.AddContactMenu(menu, templated, fields);
  // The two names joined by one space, the first one empty here.
  CHECK(MenuLines(menu) ==
        std::vector<std::string>{" Cole #0 (grayed)", "-", "Call Phone {Home\t[555-0300] #1003}",
                                 "Send SMS {Home\t[555-0300] #1103}", "-", "Beam... #101"});
  CHECK(U8(templated.text[ContactField::HomePhone]) == "555-0300");
  DestroyMenu(menu);
}

TEST_CASE("the long-press menu's commands: call, SMS, mail, Beam..., appointment and the add-ins") {
  SmsEngine engine(true);
  ListFixture f;
  Contact contact = MenuContact();
  contact.Email.Add(LabelValue{Str(L"Club"), Str(L"bea@club.example")});
  const std::vector<CEOID> ids = f.source.PutAll({contact, Person(L"Cole", L"Cy")});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  f.list.pluginItems = {{41222, L"Send to archive"}};
  const std::string who = " for " + std::to_string(ids[0]);
  const std::vector<std::pair<UINT, std::vector<std::string>>> cases = {
      {1001, {"dial 555-0101" + who}},
      {1005, {"dial 555-0105" + who}},
      {1101, {"sms 555-0101" + who}},
      {1105, {"sms 555-0105" + who}},
      {1212, {"mail bea@bakery.example"}},
      {1200, {"mail bea@club.example"}},
      {100, {"mail bea@bakery.example"}},
      {101, {"beam " + std::to_string(ids[0])}},
      {41222, {"plugin 41222 " + std::to_string(ids[0])}},
      {41286, {"plugin 41286 " + std::to_string(ids[0])}},
      {41211, {}},
      {0, {}},
      {1099, {}},
  };
  for (const auto& item : cases) {
    CAPTURE(item.first);
    f.list.actions.clear();
    f.listener.calls.clear();
    f.list.menuAnswer = item.first;
    f.LongPress(0);
    CHECK(f.list.actions == item.second);
    const bool dialled = item.first == 1001 || item.first == 1005;
    CHECK(f.listener.Has("dialed") == dialled);
    CHECK(f.listener.Has("appointment") == (item.first == 41211));
  }
  // The add-ins' popup stands after the contact menu.
  CHECK(f.list.menu.back() == "Add-ins {Send to archive #41222}");

  // Disabled, a long press shows no menu.
  f.list.menuTracked = false;
  f.list.SetDisabled(TRUE);
  f.LongPress(0);
  CHECK_FALSE(f.list.menuTracked);
}

TEST_CASE(
    "edge: a long press on the header of a one-contact company gives the same menu as on that "
    "contact") {
  ListFixture f;
  const std::vector<CEOID> one = f.source.PutAll({MenuContact()});
  const std::vector<CEOID> two =
      f.source.PutAll({Person(L"Cole", L"Cy", L"Coop"), Person(L"Cruz", L"Ci", L"Coop")});
  f.source.ShowGroups({{L"Bakery", one}, {L"Coop", two}});
  f.list.SetSource(&f.source);
  f.list.pluginItems = {{41222, L"Send to archive"}};
  f.list.menuAnswer = 1005;

  f.LongPress(0);
  REQUIRE(f.list.menuTracked);
  const std::vector<std::string> onHeader = f.list.menu;
  const std::vector<CEOID> headerIds = f.list.pluginIds;
  const std::vector<std::string> headerActions = f.list.actions;
  REQUIRE(f.list.ExpandRow(0));
  f.list.actions.clear();
  f.list.menuTracked = false;
  f.LongPress(1);
  REQUIRE(f.list.menuTracked);
  CHECK(onHeader == f.list.menu);
  std::vector<std::string> expected = MenuContactLines(IsPhoneDevice() != FALSE);
  expected.push_back("-");
  expected.push_back("Add-ins {Send to archive #41222}");
  CHECK(onHeader == expected);
  CHECK(headerIds == one);
  CHECK(f.list.pluginIds == one);
  CHECK(headerActions == f.list.actions);
  CHECK(headerActions == std::vector<std::string>{"dial 555-0105 for " + std::to_string(one[0])});

  // A header of two offers Beam... for both, and the add-ins.
  f.list.menuAnswer = 101;
  f.list.actions.clear();
  f.LongPress(2);
  CHECK(f.list.menu == std::vector<std::string>{"Beam... #101", "-", "Add-ins {Send to archive #41222}"});
  CHECK(f.list.pluginIds == two);
  CHECK(f.list.actions ==
        std::vector<std::string>{"beam " + std::to_string(two[0]) + " " + std::to_string(two[1])});
}

TEST_CASE("a long press on the header of a one-contact company that can't be read shows no menu") {
  ListFixture f;
  const CEOID lost = f.source.Unreadable();
  f.source.ShowGroups({{L"Gone", {lost}}});
  f.list.SetSource(&f.source);
  f.LongPress(0);
  CHECK_FALSE(f.list.menuTracked);
  CHECK(f.list.actions.empty());
}

TEST_CASE("edge: a long press with two rows marked offers Beam... and the add-ins' commands alone") {
  ListFixture f;
  const std::vector<CEOID> ids = f.source.PutAll({MenuContact(), MenuContact(), Person(L"Cole", L"Cy")});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  f.list.pluginItems = {{41222, L"Send to archive"}, {41223, L"Print"}};
  f.Drag(0, 1);
  REQUIRE(f.list.Control().MarkedCount() == 2);

  f.list.menuAnswer = 41223;
  const POINT at = f.RowPoint(1);
  f.list.OnLongPress(at.x, at.y);
  REQUIRE(f.list.menuTracked);
  CHECK(f.list.menu ==
        std::vector<std::string>{"Beam... #101", "-", "Add-ins {Send to archive #41222; Print #41223}"});
  CHECK(f.list.pluginIds == std::vector<CEOID>{ids[0], ids[1]});
  CHECK(f.list.actions ==
        std::vector<std::string>{"plugin 41223 " + std::to_string(ids[0]) + " " + std::to_string(ids[1])});

  // A mail command can't come from a menu of two; a call would find no field list.
  f.list.actions.clear();
  for (UINT command : {1212u, 1005u, 1105u}) {
    f.list.menuAnswer = command;
    f.list.OnLongPress(at.x, at.y);
  }
  CHECK(f.list.actions.empty());
  f.list.menuAnswer = 101;
  f.list.OnLongPress(at.x, at.y);
  CHECK(f.list.actions ==
        std::vector<std::string>{"beam " + std::to_string(ids[0]) + " " + std::to_string(ids[1])});
}

TEST_CASE("a held stylus opens the long-press menu with TrackPopupMenuEx") {
  ListFixture f;
  const std::vector<CEOID> ids = f.source.PutAll({MenuContact(), Person(L"Cole", L"Cy")});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  f.Settle();
  f.list.realTracking = true;

  static std::vector<std::string> seen;
  seen.clear();
  // While the menu is up its window is found, read and closed.
  const UINT_PTR timer = SetTimer(nullptr, 0, 50, [](HWND, UINT, UINT_PTR, DWORD) {
    HWND menuWindow = FindWindowW(L"#32768", nullptr);
    if (!menuWindow || !IsWindowVisible(menuWindow) || !seen.empty()) return;
    HMENU menu = reinterpret_cast<HMENU>(SendMessageW(menuWindow, MN_GETHMENU, 0, 0));
    if (!menu) return;
    seen = MenuLines(menu);
    EndMenu();
  });
  const POINT at = f.RowPoint(0);
  // The stylus stands on the row, so that no move of the screen's pointer reads as the stylus sliding.
  REQUIRE(stylus::PutPointerAt(f.Window(), at));
  PostMessageW(f.Window(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(at.x, at.y));
  CHECK(PumpUntil([] { return !seen.empty(); }, 5000));
  PostMessageW(f.Window(), WM_LBUTTONUP, 0, MAKELPARAM(at.x, at.y));
  Pump(100);
  KillTimer(nullptr, timer);
  CHECK(seen == f.list.menu);
  CHECK(seen == MenuContactLines(IsPhoneDevice() != FALSE));
  // Closed without a choice: nothing was done, and the press made no click.
  CHECK(f.list.actions.empty());
  CHECK_FALSE(f.listener.Has("click 0 0"));
}

// --- the phone button -----------------------------------------------------------------------------------

TEST_CASE("edge: a tap in the right-hand column of a name-only row doesn't open the phone menu") {
  ListFixture f;
  Contact contact = With(Person(L"Adams", L"Ann"), ContactField::WorkPhone, L"555-0100");
  contact.text[ContactField::MobilePhone] = L"555-0105";
  const std::vector<CEOID> ids = f.source.PutAll({contact, Person(L"Brown", L"Bob")});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  f.Settle();
  const POINT column = f.RowPoint(0, f.ClientWidth() - ScaleX(4) - 1);

  // With the numbers shown the press asks the phone menu.
  f.list.emulatePhoneMenu = true;
  f.Tap(column);
  CHECK(f.list.phoneMenuAsked == 1);
  CHECK(f.listener.calls == std::vector<std::string>{"phone menu " + std::to_string(ids[0])});

  f.listener.calls.clear();
  f.list.SetNameOnly(TRUE);
  f.list.Recalculate();
  f.Tap(column);
  CHECK(f.list.phoneMenuAsked == 1);
  CHECK(f.listener.calls == std::vector<std::string>{"click 0 0 marked"});
}

TEST_CASE("edge: a contact with a single number shows no phone menu, and the press goes on as a tap") {
  ListFixture f;
  const std::vector<CEOID> ids = f.source.PutAll(
      {Person(L"Adams", L"Ann"), With(Person(L"Brown", L"Bob"), ContactField::MobilePhone, L"555-0105")});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  f.Settle();
  f.Tap(f.RowPoint(1, f.ClientWidth() - ScaleX(4) - 1));
  // The menu was asked and showed nothing: the tap selected the row and was reported.
  CHECK(f.list.phoneMenuAsked == 1);
  CHECK(f.listener.calls == std::vector<std::string>{"caret 0 1", "click 0 1"});
  CHECK(f.source.stored.empty());
  CHECK(f.list.actions.empty());
}

TEST_CASE(
    "the phone menu: asked only in the right-hand column of a contact row; a choice is stored and the "
    "row repainted") {
  ListFixture f;
  f.list.emulatePhoneMenu = true;
  Contact contact = With(Person(L"Adams", L"Ann", L"Acme"), ContactField::WorkPhone, L"555-0100");
  contact.text[ContactField::MobilePhone] = L"555-0105";
  const std::vector<CEOID> acme = f.source.PutAll({contact, Person(L"Abel", L"Al", L"Acme")});
  f.source.ShowGroups({{L"Acme", acme}});
  f.list.SetSource(&f.source);
  REQUIRE(f.list.ExpandRow(0));
  f.Settle();
  const int column = f.ClientWidth() - ScaleX(4) - 1;
  const int outside = f.ClientWidth() - ScaleX(4) - ScaleX(2) - f.list.Tail() - 2;

  // A header, and a contact row left of the column: taps, and the header's tap closes it.
  f.Tap(f.RowPoint(0, column));
  CHECK(f.listener.Has("click 0 -1 marked"));
  REQUIRE(f.list.ExpandRow(0));
  f.Tap(f.RowPoint(1, outside));
  CHECK(f.list.phoneMenuAsked == 0);
  CHECK(f.listener.Has("click 0 0"));

  // The column: the menu dials and chooses Mobile.
  f.listener.calls.clear();
  f.list.phoneMenuDials = TRUE;
  f.list.phoneMenuChoice = kMobileId;
  f.list.paints.clear();
  f.Tap(f.RowPoint(1, column));
  CHECK(f.list.phoneMenuAsked == 1);
  CHECK(f.listener.calls == std::vector<std::string>{"dialed", "phone menu " + std::to_string(acme[0])});
  CHECK(f.source.stored == std::vector<std::pair<CEOID, uint32_t>>{{acme[0], kMobileId}});
  CHECK(f.list.paints[1] >= 1);

  // The same default again is not stored again; no dial, no OnDialed.
  f.listener.calls.clear();
  f.list.phoneMenuDials = FALSE;
  f.Tap(f.RowPoint(1, column));
  CHECK(f.listener.calls == std::vector<std::string>{"phone menu " + std::to_string(acme[0])});
  CHECK(f.source.stored.size() == 1);

  // Disabled, the column is a plain part of the row.
  f.list.SetDisabled(TRUE);
  f.Tap(f.RowPoint(1, column));
  CHECK(f.list.phoneMenuAsked == 2);
  f.list.SetDisabled(FALSE);

  // Two lines: only the lower line, where the number stands, takes the press.
  f.list.SetDoubleSized(TRUE);
  f.list.Recalculate();
  f.Settle();
  const RECT row = f.list.Control().RowRect(1);
  f.Tap(POINT{column, row.top + 2});
  CHECK(f.list.phoneMenuAsked == 2);
  f.Tap(POINT{column, row.bottom - 2});
  CHECK(f.list.phoneMenuAsked == 3);
}

// --- shortening ---------------------------------------------------------------------------------------------

TEST_CASE(
    "TrimToWidth: a text that fits stays; one that doesn't is cut before the dots, without separators "
    "before them; with nothing fitting it is the dots alone") {
  ListFixture f;
  HDC dc = GetDC(f.Window());
  HGDIOBJ old = SelectObject(dc, GetListFont(false));
  const auto width = [&](const wchar_t* text) {
    SIZE size;
    GetTextExtentPoint32W(dc, text, static_cast<int>(wcslen(text)), &size);
    return static_cast<int>(size.cx);
  };
  REQUIRE(f.list.Ellipsis() == width(L"..."));

  Str text(L"Adams");
  f.list.TrimToWidth(dc, text, width(L"Adams"));
  CHECK(U8(text) == "Adams");
  // Cut: the kept part and the dots together fit the width.
  text = L"Abcdefllllllllllll";
  f.list.TrimToWidth(dc, text, width(L"Abcdef") + f.list.Ellipsis());
  CHECK(U8(text) == "Abcdef...");
  CHECK(width(text) <= width(L"Abcdef") + f.list.Ellipsis());
  // Separators before the dots go.
  text = L"Abc, -llllllllllllll";
  f.list.TrimToWidth(dc, text, width(L"Abc, -") + f.list.Ellipsis());
  CHECK(U8(text) == "Abc...");
  // Nothing fits; and only separators would stand before the dots.
  text = L"Adams";
  f.list.TrimToWidth(dc, text, 1);
  CHECK(U8(text) == "...");
  text = L"., lllllllllllllll";
  f.list.TrimToWidth(dc, text, width(L"., ") + f.list.Ellipsis());
  CHECK(U8(text) == "...");
  SelectObject(dc, old);
  ReleaseDC(f.Window(), dc);
}

TEST_CASE(
    "TrimToWidth keeps every character that fits with the dots, also when the next one is wider than "
    "the dots") {
  ListFixture f;
  HDC dc = GetDC(f.Window());
  for (bool bold : {false, true}) {
    CAPTURE(bold);
    HGDIOBJ old = SelectObject(dc, GetListFont(bold));
    const auto width = [&](const std::wstring& text) {
      SIZE size = {0, 0};
      GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
      return static_cast<int>(size.cx);
    };
    // The widest of a few broad characters: wider than the dots in this font.
    std::wstring wide = L"W";
    for (const wchar_t* candidate : {L"M", L"m", L"\u2014", L"@", L"\u0416", L"\u2030"})
      if (width(candidate) > width(wide)) wide = candidate;
    REQUIRE(width(wide) > width(L"..."));
    const std::wstring text = L"Feinbau" + wide + wide + L"ritz";
    // Room for "Feinbau" and the dots and a pixel more, but not for the broad letter.
    for (int spare = 0; spare < width(wide) - width(L"..."); ++spare) {
      CAPTURE(spare);
      Str trimmed(text.c_str());
      f.list.TrimToWidth(dc, trimmed, width(L"Feinbau...") + spare);
      CHECK(U8(trimmed) == "Feinbau...");
    }
    // In a bold font the dots are bold too: the kept text and the dots fit the width.
    for (int room = width(L"F..."); room < width(text); ++room) {
      CAPTURE(room);
      Str trimmed(text.c_str());
      f.list.TrimToWidth(dc, trimmed, room);
      CHECK(width(static_cast<const wchar_t*>(trimmed)) <= room);
      CHECK(U8(trimmed) != "...");
    }
    SelectObject(dc, old);
  }
  ReleaseDC(f.Window(), dc);
}

// --- painting ----------------------------------------------------------------------------------------------

TEST_CASE(
    "painting: stripes by the place in the group, the selection with and without focus, the marked "
    "frame and the header's ground") {
  ListFixture f;
  const std::vector<CEOID> acme = f.source.PutAll(
      {Person(L"Ames", L"Al", L"Acme"), Person(L"Aber", L"Ava", L"Acme"), Person(L"Ayer", L"Ace", L"Acme")});
  const std::vector<CEOID> globex = f.source.PutAll({Person(L"Gold", L"Gus", L"Globex")});
  f.source.ShowGroups({{L"Acme", acme}, {L"Globex", globex}});
  f.list.SetSource(&f.source);
  REQUIRE(f.list.ExpandRow(0));
  REQUIRE(f.list.ExpandRow(4));
  REQUIRE(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "0 1", "0 2", "1 -1", "1 0"});
  const int width = f.ClientWidth();
  const int h = f.list.Control().RowHeight();
  const int x = ScaleX(2);
  const int y = h / 2;
  const auto ground = [&](int row, UINT state) { return RowPicture(f.list, row, state, width).At(x, y); };
  CHECK(ground(0, 0) == ContactList::kHeaderColor);
  CHECK(ground(1, 0) == ContactList::kEvenRowColor);
  CHECK(ground(2, 0) == RGB(255, 255, 255));
  CHECK(ground(3, 0) == ContactList::kEvenRowColor);
  CHECK(ground(4, 0) == ContactList::kHeaderColor);
  // Globex's first contact starts the stripes anew.
  CHECK(ground(5, 0) == ContactList::kEvenRowColor);
  CHECK(ground(2, kRowMarked | kRowMarkedToo | kRowFocused) == ContactList::kSelectedFocused);
  CHECK(ground(2, kRowMarked | kRowMarkedToo) == ContactList::kSelectedUnfocused);
  CHECK(ground(0, kRowMarked | kRowMarkedToo | kRowFocused) == ContactList::kSelectedFocused);
  {
    RowPicture framed(f.list, 1, kRowMarked, width);
    CHECK(framed.At(x, 0) == ContactList::kMarkLineColor);
    CHECK(framed.At(x, h - 1) == ContactList::kMarkLineColor);
    CHECK(framed.At(x, y) == ContactList::kEvenRowColor);
  }
  // The whole rectangle is the row's: nothing of what was there before shows.
  RowPicture whole(f.list, 2, 0, width);
  for (int px = 0; px < width; px += 3) CHECK(whole.At(px, 0) != RGB(1, 2, 3));
}

TEST_CASE("painting a single-line row: the name, the number and its kind letter in their boxes and colours") {
  ListFixture f;
  Contact contact = With(Person(L"Adams", L"Ann"), ContactField::MobilePhone, L"555-0105");
  contact.text[ContactField::FileAs] = L"Adams Ann (file)";
  const std::vector<CEOID> ids = f.source.PutAll({contact, Person(L"", L"")});
  f.source.ShowFlat(ids);
  f.list.SetSource(&f.source);
  const int width = f.ClientWidth();
  const int tail = f.list.Tail();

  Drawn().clear();
  { RowPicture row(f.list, 0, 0, width); }
  CHECK(DrawnTexts() == std::vector<std::string>{"Adams, Ann", "555-0105", "m"});
  const DrawnText& name = Drawn()[0];
  CHECK(name.flags == 2084);
  CHECK(name.rect.left == ScaleX(6));
  CHECK(name.color == RGB(0, 0, 0));
  const DrawnText& number = Drawn()[1];
  CHECK(number.flags == 2086);
  CHECK(number.rect.left == name.rect.right + ScaleX(4));
  const DrawnText& kind = Drawn()[2];
  CHECK(kind.flags == 2086);
  CHECK(kind.rect.right == width - ScaleX(4));
  CHECK(kind.rect.right - kind.rect.left == tail);
  CHECK(kind.color == ContactList::kKindColor);
  // Selected and focused: white text, the kind letter too.
  Drawn().clear();
  { RowPicture row(f.list, 0, kRowMarked | kRowMarkedToo | kRowFocused, width); }
  CHECK(Drawn()[0].color == RGB(255, 255, 255));
  CHECK(Drawn()[2].color == RGB(255, 255, 255));

  // Sort type 1 shows FileAs; a contact without a name is "Unnamed"; name only shows nothing else.
  f.list.SetSortType(1);
  Drawn().clear();
  { RowPicture row(f.list, 0, 0, width); }
  CHECK(DrawnTexts().front() == "Adams Ann (file)");
  f.list.SetSortType(0);
  f.list.SetNameOnly(TRUE);
  Drawn().clear();
  { RowPicture row(f.list, 1, 0, width); }
  CHECK(DrawnTexts() == std::vector<std::string>{"Unnamed"});
  CHECK(Drawn()[0].rect.right == width - ScaleX(4));

  // The number goes through the templates.
  f.list.SetNameOnly(FALSE);
  BracketTemplates brackets;
  f.list.SetTemplates(&brackets);
  Drawn().clear();
  { RowPicture row(f.list, 0, 0, width); }
  CHECK(DrawnTexts() == std::vector<std::string>{"Adams, Ann", "[555-0105]", "m"});
}

TEST_CASE(
    "painting in a grouped list: contact rows step in, a header shows its mark, its company and count "
    "in bold") {
  ListFixture f;
  const std::vector<CEOID> acme =
      f.source.PutAll({Person(L"Ames", L"Al", L"Acme"), Person(L"Aber", L"Ava", L"Acme")});
  f.source.ShowGroups({{L"Acme", acme}});
  f.list.SetSource(&f.source);
  const int width = f.ClientWidth();
  const int h = f.list.Control().RowHeight();

  // The mark of a closed header, then of an open one: different pictures, each inside its square.
  const auto mark = [&](int row) {
    RowPicture picture(f.list, row, 0, width);
    std::vector<COLORREF> pixels;
    for (int y = 0; y < h; ++y)
      for (int x = ScaleX(6); x < ScaleX(6) + ScaleX(8); ++x) pixels.push_back(picture.At(x, y));
    int painted = 0;
    for (COLORREF pixel : pixels) painted += pixel != ContactList::kHeaderColor;
    CHECK(painted > 0);
    CHECK(picture.At(ScaleX(6) - 1, h / 2) == ContactList::kHeaderColor);
    return pixels;
  };
  Drawn().clear();
  const std::vector<COLORREF> closed = mark(0);
  CHECK(DrawnTexts() == std::vector<std::string>{"Acme (2)"});
  CHECK(Drawn()[0].rect.left == ScaleX(6) + ScaleX(8) + ScaleX(4));
  CHECK(Drawn()[0].flags == 2084);
  REQUIRE(f.list.ExpandRow(0));
  const std::vector<COLORREF> open = mark(0);
  CHECK(open != closed);

  // Contact rows of a grouped list start one step further in.
  Drawn().clear();
  { RowPicture row(f.list, 1, 0, width); }
  CHECK(Drawn()[0].text == "Ames, Al");
  CHECK(Drawn()[0].rect.left == ScaleX(12));
  // The header's text in the highlight colour when selected with the focus.
  Drawn().clear();
  { RowPicture row(f.list, 0, kRowMarked | kRowMarkedToo | kRowFocused, width); }
  CHECK(Drawn()[0].color == GetSysColor(COLOR_HIGHLIGHTTEXT));
}

TEST_CASE(
    "painting a double-line row: the picture column, the bold name and its second line, the label and "
    "number below") {
  ListFixture f;
  Contact person = With(Person(L"Adams", L"Ann", L"Acme"), ContactField::MobilePhone, L"555-0105");
  Contact flagged = Person(L"Brown", L"Bob");
  flagged.flag102 = 1;
  Contact company = Person(L"", L"", L"Bakery");
  const std::vector<CEOID> ids = f.source.PutAll({person, flagged, company});
  f.source.ShowFlat(ids);
  f.list.SetDoubleSized(TRUE);
  f.list.SetSource(&f.source);
  const int width = f.ClientWidth();
  const int h = f.list.Control().RowHeight();
  const int left = h - ScaleX(2) + ScaleX(6);

  Drawn().clear();
  { RowPicture row(f.list, 0, 0, width); }
  CHECK(DrawnTexts() == std::vector<std::string>{"Adams, Ann", "Acme", "555-0105", "mobile", "m"});
  const DrawnText& name = Drawn()[0];
  CHECK(name.rect.left == left);
  CHECK(name.rect.bottom == h / 2);
  CHECK(Drawn()[1].rect.left == name.rect.right + ScaleX(6));
  const DrawnText& number = Drawn()[2];
  CHECK(number.rect.left == left + ScaleX(60));
  CHECK(number.rect.top == h / 2);
  CHECK(number.rect.right == width - ScaleX(4) - f.list.Tail());
  const DrawnText& label = Drawn()[3];
  CHECK(label.flags == 2086);
  CHECK(label.rect.right == left + ScaleX(60) - ScaleX(4));
  CHECK(label.color == ContactList::kKindColor);
  const DrawnText& kind = Drawn()[4];
  CHECK(kind.flags == 2085);
  CHECK(kind.rect.right == width - ScaleX(4));

  // The skin's pictures: a person, a flagged person, a company alone; each at (2, 2) at its own size,
  // scaled.
  Skin* skin = Skin::Get();
  REQUIRE(skin != nullptr);
  const std::vector<HBITMAP> pictures = {skin->GetPersonBitmap(), skin->GetFlaggedBitmap(),
                                         skin->GetCompanyBitmap()};
  for (int row = 0; row < 3; ++row) {
    CAPTURE(row);
    REQUIRE(pictures[row] != nullptr);
    BITMAP info;
    GetObjectW(pictures[row], sizeof(info), &info);
    // The picture's pixels, read before the row is drawn: a bitmap selected elsewhere can't be drawn.
    std::vector<COLORREF> expected;
    HDC source = CreateCompatibleDC(nullptr);
    HGDIOBJ old = SelectObject(source, pictures[row]);
    for (int y = 0; y < info.bmHeight; ++y)
      for (int x = 0; x < info.bmWidth; ++x) expected.push_back(GetPixel(source, x, y));
    SelectObject(source, old);
    DeleteDC(source);
    RowPicture picture(f.list, row, 0, width);
    int same = 0, opaque = 0;
    for (int y = 0; y < info.bmHeight; ++y) {
      for (int x = 0; x < info.bmWidth; ++x) {
        const COLORREF pixel = expected[static_cast<size_t>(y * info.bmWidth + x)];
        // What stands below the row is cut off: a picture may be taller than the row.
        if (pixel == RGB(0, 0, 0) || ScaleX(2) + y >= h) continue;
        ++opaque;
        same += picture.At(ScaleX(2) + x, ScaleX(2) + y) == pixel;
      }
    }
    CHECK(opaque > 0);
    CHECK(same == opaque);
  }
}

TEST_CASE("painting a double-line row with a photo: fitted into the row's square on white, centred") {
  ListFixture f;
  f.list.SetDoubleSized(TRUE);
  f.source.ShowFlat({f.source.Put(Person(L"Adams", L"Ann"))});
  f.list.SetSource(&f.source);
  const int h = f.list.Control().RowHeight();
  // A red photo as wide as the row and half as high, as the source keeps it for rows of this height.
  Contact* contact = f.list.GetContactAtRow(0);
  REQUIRE(contact != nullptr);
  const int width = h, height = h / 2, stride = (width * 3 + 3) & ~3;
  std::vector<BYTE> pixels(static_cast<size_t>(stride * height), 0);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) pixels[static_cast<size_t>(y * stride + x * 3 + 2)] = 0xFF;
  contact->photo = ContactPhoto(width, height, stride, 24, pixels.data());
  const int margin = (h - height) / 2;
  RowPicture row(f.list, 0, 0, f.ClientWidth());
  CHECK(row.At(h / 2, margin + height / 2) == RGB(255, 0, 0));
  CHECK(row.At(0, margin) == RGB(255, 0, 0));
  CHECK(row.At(h - 1, margin + height - 1) == RGB(255, 0, 0));
  CHECK(row.At(h / 2, margin / 2) == RGB(255, 255, 255));
  CHECK(row.At(h / 2, h - 1 - margin / 2) == RGB(255, 255, 255));
  // Right of the square the row's own ground.
  CHECK(row.At(h, h / 2) == ContactList::kEvenRowColor);
}

TEST_CASE("a header in a narrow list keeps as much of its company as fits, with the dots, beside its count") {
  ListFixture f;
  const std::wstring company = L"Brandt & S\u00f6hne Feinmechanik";
  std::vector<Contact> people;
  for (const wchar_t* last : {L"Abt", L"Bahr", L"Coen", L"Dorn", L"Eck", L"Funk"})
    people.push_back(Person(last, L"Jo", company.c_str()));
  f.source.ShowGroups({{company, f.source.PutAll(people)}});
  f.list.SetSource(&f.source);

  // The header is measured in the bold list font.
  HDC dc = GetDC(f.Window());
  HGDIOBJ old = SelectObject(dc, GetListFont(true));
  const auto width = [&](const std::wstring& text) {
    SIZE size = {0, 0};
    GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
    return static_cast<int>(size.cx);
  };
  const std::wstring count = L" (6)";
  const std::wstring separators = L" .,;:~@#$%^&*_-=+";
  const int textLeft = ScaleX(6) + ScaleX(8) + ScaleX(4);
  // What a title room of `room` pixels shows: the whole company, or its longest beginning that leaves
  // room for the dots, with no separator before them.
  const auto expected = [&](int room) {
    if (width(company) <= room) return company;
    size_t kept = 0;
    while (kept < company.size() && width(company.substr(0, kept + 1)) + width(L"...") <= room) ++kept;
    while (kept > 0 && separators.find(company[kept - 1]) != std::wstring::npos) --kept;
    return company.substr(0, kept) + L"...";
  };
  const int widest = textLeft + width(company + count) + ScaleX(4) + 4;
  const int narrowest = textLeft + width(L"B..." + count) + ScaleX(4);
  int shortened = 0;
  for (int rowWidth = narrowest; rowWidth <= widest; ++rowWidth) {
    CAPTURE(rowWidth);
    const int room = rowWidth - ScaleX(4) - textLeft - width(count);
    Drawn().clear();
    { RowPicture row(f.list, 0, 0, rowWidth); }
    REQUIRE(Drawn().size() == 1);
    const std::wstring title = expected(room);
    CHECK(Drawn()[0].text == U8(title + count));
    // The company is never lost while a letter of it and the dots fit; the whole line fits its box.
    CHECK(Drawn()[0].text != U8(L"..." + count));
    CHECK(width(title + count) <= rowWidth - ScaleX(4) - textLeft);
    shortened += title != company;
  }
  CHECK(shortened > 10);
  // On the screen: a list narrower than the company's name shows its beginning, the dots and the count.
  const int narrow = textLeft + width(L"Brandt & S\u00f6hne Fei... (6)") + ScaleX(4);
  SelectObject(dc, old);
  ReleaseDC(f.Window(), dc);
  MoveWindow(f.Window(), 0, 0, narrow, ScaleY(200), TRUE);
  f.Settle();
  InvalidateRect(f.Window(), nullptr, FALSE);
  UpdateWindow(f.Window());
  REQUIRE(Drawn().size() == 1);
  const std::string shown = Drawn()[0].text;
  CHECK(shown.rfind("Brandt & S\xc3\xb6hne", 0) == 0);
  CHECK(shown.size() > std::string("... (6)").size());
  CHECK(shown.substr(shown.size() - 7) == "... (6)");
}

TEST_CASE(
    "a two-line row shows the skin's picture whole: at its own size where it fits, else shrunk evenly") {
  ListFixture f;
  f.list.SetDoubleSized(TRUE);
  f.source.ShowFlat({f.source.Put(Person(L"Adams", L"Ann"))});
  f.list.SetSource(&f.source);
  const int width = f.ClientWidth();
  Skin* skin = Skin::Get();
  REQUIRE(skin != nullptr);
  HBITMAP person = skin->GetPersonBitmap();
  REQUIRE(person != nullptr);
  BITMAP info;
  REQUIRE(GetObjectW(person, sizeof(info), &info));
  const int size = info.bmWidth;
  REQUIRE(info.bmHeight == size);
  // The picture's own pixels and the box of its opaque (non-black) ones.
  std::vector<COLORREF> own;
  int opaqueTop = size, opaqueBottom = -1;
  {
    HDC source = CreateCompatibleDC(nullptr);
    HGDIOBJ old = SelectObject(source, person);
    for (int y = 0; y < size; ++y) {
      for (int x = 0; x < size; ++x) {
        own.push_back(GetPixel(source, x, y));
        if (own.back() == RGB(0, 0, 0)) continue;
        opaqueTop = std::min(opaqueTop, y);
        opaqueBottom = std::max(opaqueBottom, y);
      }
    }
    SelectObject(source, old);
    DeleteDC(source);
  }
  REQUIRE(opaqueBottom >= opaqueTop);

  const LOGFONTW saved = GetListFontRecord();
  const int inset = ScaleX(2);
  for (LONG height : {-7L, -22L}) {
    CAPTURE(height);
    LOGFONTW font = saved;
    font.lfHeight = height;
    REQUIRE(ApplyListFont(font));
    f.list.Recalculate();
    const int h = f.list.Control().RowHeight();
    const int side = h - 2 * inset;
    const bool fits = size <= side;
    // The small font makes a row lower than the picture with its margins, the large one a higher one.
    CHECK(fits == (height == -22L));
    RowPicture row(f.list, 0, 0, width);
    // The pixels of the picture column that aren't the row's ground.
    int top = h, bottom = -1, left = h, right = -1;
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < h - inset; ++x) {
        if (row.At(x, y) == ContactList::kEvenRowColor) continue;
        top = std::min(top, y);
        bottom = std::max(bottom, y);
        left = std::min(left, x);
        right = std::max(right, x);
      }
    }
    REQUIRE(bottom >= 0);
    // Inside the square, ScaleX(2) in from each side: nothing is cut off at the row's bottom.
    CHECK(top >= inset);
    CHECK(left >= inset);
    CHECK(bottom < h - inset);
    CHECK(right < h - inset);
    if (fits) {
      // At its own size, pixel for pixel.
      int same = 0, opaque = 0;
      for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
          const COLORREF pixel = own[static_cast<size_t>(y * size + x)];
          if (pixel == RGB(0, 0, 0)) continue;
          ++opaque;
          same += row.At(inset + x, inset + y) == pixel;
        }
      CHECK(same == opaque);
      continue;
    }
    // Shrunk to the square: its opaque part spans what it spans in the picture, at the square's scale.
    const int shrunkTop = inset + opaqueTop * side / size;
    const int shrunkBottom = inset + (opaqueBottom + 1) * side / size - 1;
    CHECK(std::abs(top - shrunkTop) <= 1);
    CHECK(std::abs(bottom - shrunkBottom) <= 1);
    // Each pixel of the shrunk picture that is wholly inside it is an average of the picture's pixels
    // it stands for: per channel between their least and their greatest (one pixel round them taken
    // in as well, for the rounding of the span).
    int inner = 0, between = 0;
    for (int ty = 0; ty < side; ++ty) {
      for (int tx = 0; tx < side; ++tx) {
        const int x0 = std::max(0, tx * size / side - 1), x1 = std::min(size - 1, (tx + 1) * size / side + 1);
        const int y0 = std::max(0, ty * size / side - 1), y1 = std::min(size - 1, (ty + 1) * size / side + 1);
        int low[3] = {255, 255, 255}, high[3] = {0, 0, 0};
        bool opaque = true;
        for (int y = y0; y <= y1 && opaque; ++y) {
          for (int x = x0; x <= x1 && opaque; ++x) {
            const COLORREF pixel = own[static_cast<size_t>(y * size + x)];
            opaque = pixel != RGB(0, 0, 0);
            const int channels[3] = {GetRValue(pixel), GetGValue(pixel), GetBValue(pixel)};
            for (int c = 0; c < 3; ++c) {
              low[c] = std::min(low[c], channels[c]);
              high[c] = std::max(high[c], channels[c]);
            }
          }
        }
        if (!opaque) continue;
        ++inner;
        const COLORREF shown = row.At(inset + tx, inset + ty);
        const int channels[3] = {GetRValue(shown), GetGValue(shown), GetBValue(shown)};
        bool inside = true;
        for (int c = 0; c < 3; ++c)
          inside = inside && channels[c] >= low[c] - 1 && channels[c] <= high[c] + 1;
        between += inside;
      }
    }
    CHECK(inner > side);
    CHECK(between == inner);
  }

  REQUIRE(ApplyListFont(saved));
  f.list.Recalculate();
}

TEST_CASE("a header selected with the focus shows its mark in the text's light colour, not dark on dark") {
  ListFixture f;
  f.source.ShowGroups({{L"Acme", f.source.PutAll({Person(L"Ames", L"Al", L"Acme")})}});
  f.list.SetSource(&f.source);
  const int width = f.ClientWidth();
  const int h = f.list.Control().RowHeight();
  const UINT selected = kRowMarked | kRowMarkedToo | kRowFocused;
  const COLORREF light = GetSysColor(COLOR_HIGHLIGHTTEXT);
  // The pixels of the mark's square that aren't the ground, and how many of them are light.
  const auto mark = [&](UINT state, COLORREF ground, int& light_) {
    RowPicture picture(f.list, 0, state, width);
    int painted = 0;
    light_ = 0;
    for (int y = 0; y < h; ++y)
      for (int x = ScaleX(6); x < ScaleX(6) + ScaleX(8); ++x) {
        const COLORREF pixel = picture.At(x, y);
        if (pixel == ground) continue;
        ++painted;
        light_ += pixel == light;
      }
    return painted;
  };
  for (bool open : {false, true}) {
    CAPTURE(open);
    if (open) REQUIRE(f.list.ExpandRow(0));
    int lightPlain = 0, lightSelected = 0;
    const int plain = mark(0, ContactList::kHeaderColor, lightPlain);
    const int shown = mark(selected, ContactList::kSelectedFocused, lightSelected);
    CHECK(plain > 0);
    CHECK(lightPlain < plain);
    CHECK(shown >= plain);
    CHECK(lightSelected == shown);
    // Selected without the focus the ground is light grey, and the mark keeps its own colours.
    int lightGrey = 0;
    CHECK(mark(kRowMarked | kRowMarkedToo, ContactList::kSelectedUnfocused, lightGrey) > 0);
    CHECK(lightGrey < plain);
  }
}

TEST_CASE("the header of the contacts without a company shows their count where the titles start") {
  ListFixture f;
  f.source.ShowGroups({{L"", f.source.PutAll({Person(L"Ames", L"Al"), Person(L"Aber", L"Ava")})},
                       {L"Acme", f.source.PutAll({Person(L"Ayer", L"Ace", L"Acme")})}});
  f.list.SetSource(&f.source);
  const int width = f.ClientWidth();
  Drawn().clear();
  { RowPicture row(f.list, 0, 0, width); }
  { RowPicture row(f.list, 1, 0, width); }
  CHECK(DrawnTexts() == std::vector<std::string>{"(2)", "Acme (1)"});
  REQUIRE(Drawn().size() == 2);
  CHECK(Drawn()[0].rect.left == Drawn()[1].rect.left);
}

TEST_CASE("the highlight: the characters the listener names stand on their own ground, the rest as before") {
  ListFixture f;
  const std::vector<CEOID> ids = f.source.PutAll({Person(L"Adams", L"Ann")});
  f.source.ShowFlat(ids);
  f.list.SetNameOnly(TRUE);
  f.list.SetSource(&f.source);
  f.listener.highlights["Adams, Ann"] = {1, 2};
  Drawn().clear();
  { RowPicture row(f.list, 0, kRowMarked | kRowMarkedToo | kRowFocused, f.ClientWidth()); }
  REQUIRE(DrawnTexts() == std::vector<std::string>{"A", "da", "ms, Ann"});
  CHECK(Drawn()[0].color == RGB(255, 255, 255));
  CHECK(Drawn()[1].mode == OPAQUE);
  CHECK(Drawn()[1].back == ContactList::kHighlightColor);
  CHECK(Drawn()[1].color == RGB(0, 0, 0));
  CHECK(Drawn()[2].mode == TRANSPARENT);
  CHECK(Drawn()[2].color == RGB(255, 255, 255));
  CHECK(Drawn()[1].rect.left > Drawn()[0].rect.left);
  CHECK(Drawn()[2].rect.left > Drawn()[1].rect.left);
}

TEST_CASE("a row whose contact can't be read is left as it was") {
  ListFixture f;
  f.source.ShowFlat({f.source.Put(Person(L"Adams", L"Ann")), f.source.Unreadable()});
  f.list.SetSource(&f.source);
  RowPicture row(f.list, 1, 0, f.ClientWidth());
  CHECK(row.At(ScaleX(2), 2) == RGB(1, 2, 3));
  CHECK(f.list.GetContactAtRow(1) == nullptr);
}

// --- the real data source ---------------------------------------------------------------------------------

TEST_CASE(
    "over the real data source and database: company groups, their rows and titles, and a stepped "
    "default written to the database") {
  managertest::FreshDevice();
  ContactDatabase database;
  REQUIRE(database.Open(nullptr));
  std::vector<Contact> written = {
      With(Person(L"Ames", L"Al", L"Acme"), ContactField::WorkPhone, L"555-0100"),
      With(Person(L"Aber", L"Ava", L"Acme"), ContactField::HomePhone, L"555-0200"),
      With(Person(L"Gold", L"Gus", L"Globex"), ContactField::MobilePhone, L"555-0300"),
  };
  written[0].text[ContactField::MobilePhone] = L"555-0105";
  for (Contact& contact : written) REQUIRE(database.AddContact(contact, true));
  database.Close();

  ListFixture f;
  REQUIRE(g_dataSource.Open(GetModuleHandleW(nullptr), nullptr, nullptr));
  CategoryFilter noFilter;
  Array<CEOID> noKeep;
  REQUIRE(g_dataSource.SearchText(Str(), SortKindGrouped, noFilter, noKeep, FALSE, nullptr));
  REQUIRE(g_dataSource.GroupCount() == 2);
  f.list.SetSource(&g_dataSource);
  f.Settle();
  InvalidateRect(f.Window(), nullptr, FALSE);
  UpdateWindow(f.Window());
  CHECK(f.Rows() == std::vector<std::string>{"0 -1", "1 -1"});
  CHECK(DrawnTexts() == std::vector<std::string>{"Acme (2)", "Globex (1)"});

  // Right opens Acme; its contacts come from the database through the cache.
  f.Key(VK_RIGHT);
  REQUIRE(f.Rows() == std::vector<std::string>{"0 -1", "0 0", "0 1", "1 -1"});
  CHECK(f.Expanded() == std::vector<std::string>{"Acme"});
  int alRow = -1;
  for (int row = 1; row <= 2; ++row) {
    Contact* contact = f.list.GetContactAtRow(row);
    REQUIRE(contact != nullptr);
    CHECK(U8(contact->text[ContactField::Company]) == "Acme");
    if (U8(contact->text[ContactField::FirstName]) == "Al") alRow = row;
  }
  REQUIRE(alRow > 0);
  const CEOID alId = f.list.GetContactAtRow(alRow)->oid;

  // Right on the contact with two numbers writes its new default into its record.
  f.list.Control().SetCaret(alRow);
  f.Key(VK_RIGHT);
  REQUIRE(database.Open(nullptr));
  Contact stored;
  REQUIRE(database.LoadByOid(alId, stored));
  CHECK(stored.defaultItem == kMobileId);
  database.Close();
  CHECK(f.list.GetContactAtRow(alRow)->defaultItem == kMobileId);

  f.list.SetSource(nullptr);
  g_dataSource.Close();
}
