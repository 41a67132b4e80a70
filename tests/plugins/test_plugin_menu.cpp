// The popup of the add-ins' and the shell extensions' commands, built into a menu of the test and run,
// with the sample add-in and the sample context menu extension registered in the test's device. The
// shell's library of the device loads the extension through COM.
#include <doctest/doctest.h>
#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ArrayVectors.h"
#include "DoctestVectors.h"
#include "PluginTestSupport.h"
#include "TestPaths.h"
#include "plugins/PluginManager.h"

using namespace plugintest;

namespace {

const UINT kFirst = 41222;

class TestManager : public PluginManager {
 public:
  ~TestManager() override { Extensions().Free(); }

 protected:
  BOOL EnsureObjectModel() override { return TRUE; }
};

// A menu with one command of its own, as the list's menu has before the add-ins come.
struct OwnMenu {
  HMENU menu = CreatePopupMenu();
  OwnMenu() { AppendMenuW(menu, MF_STRING, 101, L"Beam..."); }
  ~OwnMenu() { DestroyMenu(menu); }
};

}  // namespace

TEST_CASE("no add-ins and no extensions: no separator, no popup") {
  ClearAll();
  TestManager manager;
  manager.Init(kFirst);
  OwnMenu own;
  testpaths::ClearDeviceJournal();
  CHECK_FALSE(manager.BuildMenu(own.menu, ArrayOf(std::vector<CEOID>{12})));
  CHECK(MenuLines(own.menu) == std::vector<std::string>{"Beam... #101"});
  // The shell was asked and had nothing.
  CHECK(JournalEvents("aygshell") ==
        std::vector<std::string>{
            "SHLoadContextMenuExtensions Contacts Main_ContextMenu ids 41222-41286: none registered"});
}

TEST_CASE("an add-in's command stands under \"Outlook Plugin\" after a separator") {
  ClearAll();
  AddAddIn(L"A first", SampleAddInPath(), L"Sample add-in");
  AddAddIn(L"B second", SampleAddInPath(), L"Second add-in");
  TestManager manager;
  manager.Init(kFirst);
  OwnMenu own;
  CHECK(manager.BuildMenu(own.menu, ArrayOf(std::vector<CEOID>{12})));
  CHECK(MenuLines(own.menu) ==
        std::vector<std::string>{"Beam... #101", "-",
                                 "Outlook Plugin {Sample add-in #41222; Second add-in #41223}"});
}

TEST_CASE("the extension's command follows the add-ins' and reads the selected contacts") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  AddSampleExtension();
  TestManager manager;
  manager.Init(kFirst);
  OwnMenu own;
  testpaths::ClearDeviceJournal();
  CHECK(manager.BuildMenu(own.menu, ArrayOf(std::vector<CEOID>{12, 34})));
  CHECK(MenuLines(own.menu) ==
        std::vector<std::string>{"Beam... #101", "-",
                                 "Outlook Plugin {Sample add-in #41222; Sample extension command #41223}"});
  CHECK(JournalEvents("sampleext") == std::vector<std::string>{"Initialize: 2 contact(s), ids 12 34",
                                                               "QueryContextMenu: command 41223 at 1"});
  CHECK(manager.Extensions().GetState() == ContextMenuExtensions::Ready);
  CHECK(manager.Extensions().GetHandle() != nullptr);

  // Its command runs through the shell for the contacts it read.
  testpaths::ClearDeviceJournal();
  CHECK(manager.Invoke(kFirst + 1, ArrayOf(std::vector<CEOID>{12, 34})));
  CHECK(JournalEvents("sampleext") == std::vector<std::string>{"InvokeCommand: ids 12 34"});
  CHECK(JournalEvents("sampleaddin").empty());
  // An id the extension didn't take is refused by the shell.
  CHECK_FALSE(manager.Invoke(kFirst + 5, ArrayOf(std::vector<CEOID>{12, 34})));
}

TEST_CASE("the extension alone makes the popup") {
  ClearAll();
  AddSampleExtension();
  TestManager manager;
  manager.Init(kFirst);
  OwnMenu own;
  CHECK(manager.BuildMenu(own.menu, ArrayOf(std::vector<CEOID>{7})));
  CHECK(MenuLines(own.menu) ==
        std::vector<std::string>{"Beam... #101", "-", "Outlook Plugin {Sample extension command #41222}"});
}

TEST_CASE("a new menu frees the extensions of the one before") {
  ClearAll();
  AddSampleExtension();
  TestManager manager;
  manager.Init(kFirst);
  OwnMenu first, second;
  testpaths::ClearDeviceJournal();
  CHECK(manager.BuildMenu(first.menu, ArrayOf(std::vector<CEOID>{7})));
  CHECK(manager.BuildMenu(second.menu, ArrayOf(std::vector<CEOID>{8})));
  const std::vector<std::string> shell = JournalEvents("aygshell");
  REQUIRE(shell.size() >= 3);
  CHECK(std::count(shell.begin(), shell.end(), "SHFreeContextMenuExtensions: 1 extension(s)") == 1);
  CHECK(JournalEvents("sampleext").back() == "QueryContextMenu: command 41222 at 0");
  testpaths::ClearDeviceJournal();
  CHECK(manager.Invoke(kFirst, ArrayOf(std::vector<CEOID>{8})));
  CHECK(JournalEvents("sampleext") == std::vector<std::string>{"InvokeCommand: ids 8"});
}

TEST_CASE("an add-in's command from the popup runs the sample add-in for two contacts") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  AddSampleExtension();
  TestManager manager;
  manager.Init(kFirst);
  OwnMenu own;
  REQUIRE(manager.BuildMenu(own.menu, ArrayOf(std::vector<CEOID>{12, 34})));
  testpaths::ClearDeviceJournal();
  CHECK(manager.Invoke(kFirst, ArrayOf(std::vector<CEOID>{12, 34})));
  const std::vector<std::string> events = JournalEvents("sampleaddin");
  REQUIRE_FALSE(events.empty());
  CHECK(events[0] == "CePimCommand type 0 count 2 ids 12 34");
  CHECK(JournalEvents("sampleext").empty());
}
