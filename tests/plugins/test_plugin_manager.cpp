// The add-ins read from the registry of the test's device, the dialer among them, and their commands
// run for the selected contacts through the sample add-in, which writes what it was given to the
// device journal.
#include <doctest/doctest.h>
#include <windows.h>

#include <set>
#include <string>
#include <vector>

#include "ArrayVectors.h"
#include "PluginTestSupport.h"
#include "TestPaths.h"
#include "WideText.h"
#include "phone/Communication.h"
#include "phone/DialPlugin.h"
#include "phone/PhoneDevice.h"
#include "plugins/PluginManager.h"
#include "storage/contact/Contact.h"

using namespace plugintest;

namespace {

const UINT kFirst = 41222;

// The manager with the object model's log-on answered by the test.
class TestManager : public PluginManager {
 public:
  BOOL objectModelAnswer = TRUE;
  int objectModelAsked = 0;

 protected:
  BOOL EnsureObjectModel() override {
    ++objectModelAsked;
    return objectModelAnswer;
  }
};

std::string Name(int i) {
  char name[16];
  snprintf(name, sizeof name, "AddIn%02d", i);
  return name;
}

std::wstring W(const std::string& text) { return std::wstring(text.begin(), text.end()); }

std::vector<std::string> Texts(const PluginManager& manager) {
  std::vector<std::string> texts;
  for (int i = 0; i < manager.Count(); ++i) texts.push_back(U8(manager.GetMenuText(i)));
  return texts;
}

}  // namespace

TEST_CASE("an add-in is read with its menu text and library, numbered from the first command") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  TestManager manager;
  CHECK(manager.Init(kFirst));
  CHECK(manager.FirstCommand() == kFirst);
  REQUIRE(manager.Count() == 1);
  CHECK(U8(manager.GetMenuText(0)) == "Sample add-in");
  CHECK(U8(manager.GetLibraryPath(0)) == U8(SampleAddInPath()));
  CHECK(manager.GetMenuText(1).IsEmpty());
  CHECK(manager.GetMenuText(-1).IsEmpty());
}

TEST_CASE("without the add-ins' key nothing is read and Init says so") {
  ClearAll();
  TestManager manager;
  CHECK_FALSE(manager.Init(kFirst));
  CHECK(manager.Count() == 0);
  CHECK(manager.FirstCommand() == kFirst);
}

TEST_CASE("eleven add-ins: ten are kept") {
  ClearAll();
  for (int i = 0; i < 11; ++i) AddAddIn(W(Name(i)), SampleAddInPath(), W("Command " + Name(i)));
  TestManager manager;
  manager.Init(kFirst);
  CHECK(manager.Count() == 10);
  const std::vector<std::string> texts = Texts(manager);
  CHECK(std::set<std::string>(texts.begin(), texts.end()).size() == 10);
  CHECK(manager.GetMenuText(10).IsEmpty());
}

TEST_CASE("an add-in whose library is neither where it says nor in \\Windows is skipped and takes no slot") {
  ClearAll();
  // The missing one comes first in the key; the ten after it are all kept.
  AddAddIn(L"AAA missing", L"NoSuchAddIn.dll", L"Missing");
  for (int i = 0; i < 10; ++i) AddAddIn(W(Name(i)), SampleAddInPath(), W("Command " + Name(i)));
  TestManager manager;
  manager.Init(kFirst);
  CHECK(manager.Count() == 10);
  for (const std::string& text : Texts(manager)) CHECK(text != "Missing");
}

TEST_CASE("a library named without its folder is found in \\Windows and kept with the full path") {
  ClearAll();
  REQUIRE(CopyFileW(SampleAddInPath().c_str(), L"\\Windows\\SampleAddInCopy.dll", FALSE));
  AddAddIn(L"InWindows", L"SampleAddInCopy.dll", L"From the system folder");
  TestManager manager;
  manager.Init(kFirst);
  REQUIRE(manager.Count() == 1);
  CHECK(U8(manager.GetLibraryPath(0)) == "\\Windows\\SampleAddInCopy.dll");
}

TEST_CASE("an add-in without its library or its menu text is skipped") {
  ClearAll();
  AddAddIn(L"NoMenu", SampleAddInPath(), L"");
  AddAddIn(L"NoLibrary", L"", L"No library");
  AddAddIn(L"Whole", SampleAddInPath(), L"Whole");
  TestManager manager;
  manager.Init(kFirst);
  CHECK(Texts(manager) == std::vector<std::string>{"Whole"});
}

TEST_CASE("Init reads the add-ins anew") {
  ClearAll();
  AddAddIn(L"One", SampleAddInPath(), L"One");
  AddAddIn(L"Two", SampleAddInPath(), L"Two");
  TestManager manager;
  manager.Init(kFirst);
  CHECK(manager.Count() == 2);
  ClearAll();
  AddAddIn(L"Three", SampleAddInPath(), L"Three");
  manager.Init(100);
  CHECK(Texts(manager) == std::vector<std::string>{"Three"});
  CHECK(manager.FirstCommand() == 100);
}

TEST_CASE("a dialer library whose path is in capitals still counts as btdialer.dll") {
  ClearAll();
  const std::wstring dialer = CopyOfAddIn(L"BTDIALER.DLL");
  AddAddIn(L"A first", SampleAddInPath(), L"First");
  AddAddIn(L"B dialer", dialer, L"Dial by headset");
  TestManager manager;
  manager.Init(kFirst);
  REQUIRE(manager.Count() == 2);
  CHECK(manager.HasDialPlugin());
  const int index = U8(manager.GetMenuText(0)) == "Dial by headset" ? 0 : 1;
  CHECK(manager.DialPluginCommand() == static_cast<int>(kFirst) + index);
  REQUIRE(manager.DialPluginText() != nullptr);
  CHECK(U8(manager.DialPluginText()) == "Dial by headset");
}

TEST_CASE("without the dialer there is no dial command and no text") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  TestManager manager;
  manager.Init(kFirst);
  CHECK_FALSE(manager.HasDialPlugin());
  CHECK(manager.DialPluginCommand() == -1);
  CHECK(manager.DialPluginText() == nullptr);
}

TEST_CASE("the dial mode of the add-in stands only while the dialer is installed") {
  ClearAll();
  const std::wstring dialer = CopyOfAddIn(L"btdialer.dll");
  AddAddIn(L"Dialer", dialer, L"Headset");
  GetPluginManager()->Init(kFirst);
  CHECK(GetDialPlugin()->IsInstalled());
  CHECK(GetDialPlugin()->GetCommand() == static_cast<int>(kFirst));
  CHECK(ResolveDialMode(DialModePlugin) == DialModePlugin);

  ClearAll();
  GetPluginManager()->Init(kFirst);
  CHECK_FALSE(GetDialPlugin()->IsInstalled());
  CHECK(GetDialPlugin()->GetCommand() == -1);
  // Without the dialer the mode falls back to the device's own way.
  CHECK(ResolveDialMode(DialModePlugin) == (IsPhoneDevice() ? DialModePhone : DialModeNone));
}

TEST_CASE("Invoke of an id below the first command gives false and runs nothing") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  TestManager manager;
  manager.Init(kFirst);
  testpaths::ClearDeviceJournal();
  Array<CEOID> ids;
  ids.Add(12);
  CHECK_FALSE(manager.Invoke(kFirst - 1, ids));
  CHECK_FALSE(manager.Invoke(101, ids));
  CHECK_FALSE(manager.Invoke(0, ids));
  CHECK(JournalEvents("sampleaddin").empty());
  CHECK(manager.objectModelAsked == 0);
}

TEST_CASE("an add-in's command runs its CePimCommand with the count and the ids of the selection") {
  ClearAll();
  AddAddIn(L"A other", SampleAddInPath(), L"Other");
  AddAddIn(L"B sample", SampleAddInPath(), L"Sample add-in");
  TestManager manager;
  manager.Init(kFirst);
  REQUIRE(manager.Count() == 2);
  testpaths::ClearDeviceJournal();
  CHECK(manager.Invoke(kFirst + 1, ArrayOf(std::vector<CEOID>{12, 34})));
  CHECK(manager.objectModelAsked == 1);
  const std::vector<std::string> events = JournalEvents("sampleaddin");
  REQUIRE(events.size() == 2);
  CHECK(events[0] == "CePimCommand type 0 count 2 ids 12 34");
  // The parent is a visible top-level popup (the system adds the clipping of siblings to every
  // top-level window) as wide as the working area and of no height.
  RECT area;
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
  const std::string prefix = "parent window style 0x";
  REQUIRE(events[1].rfind(prefix, 0) == 0);
  const unsigned long style = std::stoul(events[1].substr(prefix.size(), 8), nullptr, 16);
  CHECK((style & ~static_cast<unsigned long>(WS_CLIPSIBLINGS)) == 0x90000000UL);
  CHECK(events[1].substr(prefix.size() + 8) ==
        " width " + std::to_string(area.right - area.left) + " height 0 owner none reserved null");
  // The parent is gone afterwards.
  CHECK(FindWindowW(L"Static", L"") == nullptr);
}

TEST_CASE("an add-in does not run when the object model can't be logged on") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  TestManager manager;
  manager.objectModelAnswer = FALSE;
  manager.Init(kFirst);
  testpaths::ClearDeviceJournal();
  CHECK_FALSE(manager.Invoke(kFirst, ArrayOf(std::vector<CEOID>{12})));
  CHECK(manager.objectModelAsked == 1);
  CHECK(JournalEvents("sampleaddin").empty());
}

TEST_CASE("an add-in without the export, or whose library doesn't load, gives false") {
  ClearAll();
  // A library without CePimCommand, and a file that isn't a library at all.
  const std::wstring notLibrary = testpaths::TempFolder() + L"NotALibrary.dll";
  REQUIRE(testpaths::WriteFileText(notLibrary, "this is not a library"));
  AddAddIn(L"A no export", SampleExtensionPath(), L"No export");
  AddAddIn(L"B not a library", notLibrary, L"Not a library");
  TestManager manager;
  manager.Init(kFirst);
  REQUIRE(manager.Count() == 2);
  testpaths::ClearDeviceJournal();
  CHECK_FALSE(manager.Invoke(kFirst, ArrayOf(std::vector<CEOID>{12})));
  CHECK_FALSE(manager.Invoke(kFirst + 1, ArrayOf(std::vector<CEOID>{12})));
  // Neither reached the object model.
  CHECK(manager.objectModelAsked == 0);
}

TEST_CASE("an id past the add-ins goes to the shell's extensions, which without a menu loaded refuse") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  TestManager manager;
  manager.Init(kFirst);
  testpaths::ClearDeviceJournal();
  CHECK_FALSE(manager.Invoke(kFirst + 1, ArrayOf(std::vector<CEOID>{12})));
  CHECK(JournalEvents("sampleaddin").empty());
  CHECK(JournalEvents("sampleext").empty());
}

TEST_CASE("the add-in's dial mode hands the contact alone to the dialer, without its number") {
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  AddAddIn(L"Dialer", CopyOfAddIn(L"BtDialer.dll"), L"Headset");
  GetPluginManager()->Init(kFirst);
  Contact contact;
  contact.oid = 4711;
  contact.text[ContactField::MobilePhone] = L"+44 7700 900123";
  testpaths::ClearDeviceJournal();
  CHECK(Dial(nullptr, L"+44 7700 900123", &contact, DialModePlugin, nullptr) == 0);
  const std::vector<std::string> events = JournalEvents("sampleaddin");
  REQUIRE_FALSE(events.empty());
  CHECK(events[0] == "CePimCommand type 0 count 1 ids 4711");
  // Without a contact there is nothing to hand over.
  testpaths::ClearDeviceJournal();
  CHECK(Dial(nullptr, L"+44 7700 900123", nullptr, DialModePlugin, nullptr) == -1);
  CHECK(JournalEvents("sampleaddin").empty());
}
