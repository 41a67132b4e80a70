// The add-ins' and the extensions' commands in the contact list's long-press menu, on a real list
// window over a data source whose contacts the test puts in its cache, with the sample add-in and the
// sample context menu extension registered in the test's device.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "ContactListKit.h"
#include "DoctestVectors.h"
#include "MessagePump.h"
#include "NamedContact.h"
#include "PluginTestSupport.h"
#include "TestPaths.h"
#include "lists/ContactList.h"
#include "plugins/PluginManager.h"

using namespace plugintest;

namespace {

const UINT kFirst = 41222;

// A listener that counts the appointments asked for and ignores all else.
class Listener : public ContactListListener {
 public:
  int appointments = 0;
  void OnKeyDown(HWND, UINT, LPARAM) override {}
  void OnActivate(int, int) override {}
  void OnClicked(int, int, BOOL) override {}
  void OnDoubleClicked(int, int) override {}
  void OnCaretChanged(int, int) override {}
  void OnPhoneMenuUsed(CEOID) override {}
  void OnMakeAppointment() override { ++appointments; }
  void OnDialed() override {}
  void OnQueryHighlight(const Str&, Array<int>&) override {}
  void OnChar(HWND, WPARAM, LPARAM) override {}
};

// The list with its long-press menu read instead of tracked, and answered with `answer`.
class TestList : public ContactList {
 public:
  TestList() : ContactList(GetModuleHandleW(nullptr)) {}
  std::vector<std::string> menu;
  UINT answer = 0;

 protected:
  UINT TrackLongPressMenu(HMENU popup, POINT) override {
    menu = MenuLines(popup);
    return answer;
  }
};

struct ListFixture {
  HWND parent = nullptr;
  listtest::TestSource source;
  Listener listener;
  TestList list;

  ListFixture() {
    listtest::StartSkinAndFonts();
    parent = listtest::ShowListWindow(list, L"STATIC", 0, ScaleY(200));
    source.PutAs(NamedContact(L"Byrne", L"Ada"), 12);
    source.PutAs(NamedContact(L"Dunn", L"Cyril"), 34);
    source.PutAs(NamedContact(L"Frost", L"Edith"), 56);
    source.ShowFlat({12, 34, 56});
    list.SetSource(&source);
    list.SetListener(&listener);
    Pump();
  }
  ~ListFixture() {
    list.SetSource(nullptr);
    DestroyWindow(parent);
    GetPluginManager()->Extensions().Free();
    Pump();
  }

  POINT RowPoint(int row) {
    const RECT rect = list.Control().RowRect(row);
    return POINT{(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
  }
  // Marks the rows from `from` to `to` by a drag, as the stylus does.
  void Drag(int from, int to) {
    POINT a = RowPoint(from), b = RowPoint(to);
    HWND window = list.ContactWindow();
    PostMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(a.x, a.y));
    PostMessageW(window, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(b.x, b.y));
    PostMessageW(window, WM_LBUTTONUP, 0, MAKELPARAM(b.x, b.y));
    Pump();
  }
  void LongPress(int row) {
    POINT point = RowPoint(row);
    list.OnLongPress(point.x, point.y);
  }
};

// The last line of a menu.
std::string Last(const std::vector<std::string>& lines) { return lines.empty() ? "" : lines.back(); }

}  // namespace

TEST_CASE(
    "the sample add-in's and the extension's commands stand under \"Outlook Plugin\" in the long-press "
    "menu") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  AddSampleExtension();
  GetPluginManager()->Init(kFirst);
  ListFixture f;
  f.list.Control().SetCaret(1);
  Pump();
  testpaths::ClearDeviceJournal();
  f.LongPress(1);
  REQUIRE(f.list.menu.size() >= 3);
  CHECK(f.list.menu[f.list.menu.size() - 2] == "-");
  CHECK(Last(f.list.menu) == "Outlook Plugin {Sample add-in #41222; Sample extension command #41223}");
  // The extension read the one contact of the row.
  CHECK(JournalEvents("sampleext").front() == "Initialize: 1 contact(s), ids 34");
}

TEST_CASE("with two rows marked the menu holds \"Beam...\" and the commands, for both contacts") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  AddSampleExtension();
  GetPluginManager()->Init(kFirst);
  ListFixture f;
  f.Drag(0, 1);
  REQUIRE(f.list.Control().MarkedCount() == 2);
  testpaths::ClearDeviceJournal();
  // The extension's command is picked: the shell runs it for both contacts.
  f.list.answer = kFirst + 1;
  f.LongPress(0);
  CHECK(f.list.menu ==
        std::vector<std::string>{"Beam... #101", "-",
                                 "Outlook Plugin {Sample add-in #41222; Sample extension command #41223}"});
  CHECK(JournalEvents("sampleext") == std::vector<std::string>{"Initialize: 2 contact(s), ids 12 34",
                                                               "QueryContextMenu: command 41223 at 1",
                                                               "InvokeCommand: ids 12 34"});
}

TEST_CASE("with neither add-ins nor extensions the long-press menu gains nothing") {
  ClearAll();
  GetPluginManager()->Init(kFirst);
  ListFixture f;
  f.Drag(0, 1);
  REQUIRE(f.list.Control().MarkedCount() == 2);
  f.LongPress(0);
  CHECK(f.list.menu == std::vector<std::string>{"Beam... #101"});
  f.list.Control().SetCaret(2);
  Pump();
  f.LongPress(2);
  REQUIRE_FALSE(f.list.menu.empty());
  CHECK(Last(f.list.menu).find("Outlook Plugin") == std::string::npos);
  CHECK(Last(f.list.menu) == "Make Appointment... #41211");
}

TEST_CASE("a command below the add-ins' ids stays with the list while an add-in is installed") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  GetPluginManager()->Init(kFirst);
  ListFixture f;
  f.list.Control().SetCaret(0);
  Pump();
  testpaths::ClearDeviceJournal();
  // "Make Appointment..." (41211) is the list's own, below the add-ins' ids.
  f.list.answer = kFirst - 11;
  f.LongPress(0);
  REQUIRE(f.list.menu.size() >= 2);
  CHECK(f.list.menu[f.list.menu.size() - 3] == "Make Appointment... #41211");
  CHECK(f.listener.appointments == 1);
  CHECK(JournalEvents("sampleaddin").empty());
  // The add-in's own id runs the add-in and nothing of the list.
  f.list.answer = kFirst;
  f.LongPress(0);
  CHECK(f.listener.appointments == 1);
  const std::vector<std::string> events = JournalEvents("sampleaddin");
  REQUIRE_FALSE(events.empty());
  CHECK(events[0] == "CePimCommand type 0 count 1 ids 12");
}
