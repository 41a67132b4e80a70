// The sample add-in end to end on the Today screen of the stand-in device: two contacts imported from a
// vCard are found by their letter group, both rows are marked by a drag, a hold opens the list's menu,
// and the keys pick the sample add-in's command under "Outlook Plugin". TodayHost runs the item from the
// device's registry; the add-in writes to the device journal the contacts it was given.
#include <doctest/doctest.h>
#include <windows.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "PluginTestSupport.h"
#include "TestPaths.h"

using namespace testpaths;
using namespace plugintest;

namespace {

// Two people in the letter group "ghi", and one elsewhere.
const char kCards[] =
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Harper;Gale;;;\r\nFN:Gale Harper\r\nTEL;CELL:+44 7700 "
    "900201\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Ide;Hanna;;;\r\nFN:Hanna Ide\r\nTEL;CELL:+44 7700 "
    "900202\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Quill;Pia;;;\r\nFN:Pia Quill\r\nTEL;CELL:+44 7700 "
    "900203\r\nEND:VCARD\r\n";

std::wstring Own(const std::wstring& name) { return L"C:\\Temp\\" + name; }

int RunScript(const std::string& script) {
  WriteFileText(Own(L"plugins-script.txt"), script);
  return RunAndWait(BinDir() + L"TodayHost.exe", L"/script \"" + Own(L"plugins-script.txt") + L"\" /exit",
                    90000);
}

// The record ids of the contacts whose names start with `first` or `second`, from pimtool's list.
std::vector<unsigned long> IdsOf(const std::string& first, const std::string& second) {
  std::string out;
  RunCaptured(BinDir() + L"pimtool.exe", L"list", 60000, &out, nullptr);
  std::vector<unsigned long> ids;
  std::istringstream lines(out);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.size() < 11) continue;
    const std::string name = line.substr(10);
    if (name.rfind(first, 0) == 0 || name.rfind(second, 0) == 0)
      ids.push_back(std::stoul(line.substr(0, 8), nullptr, 16));
  }
  std::sort(ids.begin(), ids.end());
  return ids;
}

}  // namespace

TEST_CASE("the sample add-in's command under \"Outlook Plugin\" runs for two marked contacts") {
  CreateDirectoryW(L"C:\\Temp", nullptr);
  REQUIRE(WriteFileText(Own(L"plugins.vcf"), kCards));
  REQUIRE(RunAndWait(BinDir() + L"pimtool.exe", L"import " + Own(L"plugins.vcf"), 60000) == 0);
  const std::vector<unsigned long> ids = IdsOf("Harper, Gale", "Ide, Hanna");
  REQUIRE(ids.size() == 2);
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  ClearDeviceJournal();

  // The third cell holds "ghi": its two contacts make a list. A drag from the first row to the second
  // marks both; a hold on the first opens the menu, to the left of the stylus, clear of the phone
  // button at the row's end. Up picks the menu's last line, the add-ins' popup; Right opens it on its
  // first command; Return runs it.
  const std::string script =
      "wait 2500\r\ntap 60 47\r\nwait 1200\r\n"
      "drag 60 85 60 100 4\r\nwait 300\r\n"
      "hold 170 85 900\r\nwait 300\r\n"
      "keydown up\r\nkeyup up\r\nkeydown right\r\nkeyup right\r\nwait 300\r\n"
      "shot C:\\Temp\\plugins-menu.png\r\n"
      "keydown 13\r\nkeyup 13\r\nwait 1500\r\n"
      "quit\r\n";
  CHECK(RunScript(script) == 0);
  // The shell was asked for its extensions' commands after the one add-in's.
  const std::vector<std::string> shell = JournalEvents("aygshell");
  CHECK(std::count(
            shell.begin(), shell.end(),
            "SHLoadContextMenuExtensions Contacts Main_ContextMenu ids 41223-41286: none registered") == 1);
  const std::vector<std::string> events = JournalEvents("sampleaddin");
  REQUIRE_FALSE(events.empty());
  CHECK(events[0] ==
        "CePimCommand type 0 count 2 ids " + std::to_string(ids[0]) + " " + std::to_string(ids[1]));
}

TEST_CASE("the pad's centre held on a row opens the same menu, whose add-in command runs for that contact") {
  const std::vector<unsigned long> ids = IdsOf("Harper, Gale", "Ide, Hanna");
  REQUIRE(ids.size() == 2);
  ClearAll();
  AddAddIn(L"Sample", SampleAddInPath(), L"Sample add-in");
  ClearDeviceJournal();
  // Down moves the caret to the second row; the held centre opens the menu there.
  const std::string script =
      "wait 2500\r\ntap 60 47\r\nwait 1200\r\nkey down\r\nwait 300\r\n"
      "keydown action\r\nwait 900\r\nkeyup action\r\n"
      "keydown up\r\nkeyup up\r\nkeydown right\r\nkeyup right\r\nwait 400\r\n"
      "shot C:\\Temp\\plugins-held-menu.png\r\n"
      "keydown 13\r\nkeyup 13\r\nwait 1500\r\n"
      "quit\r\n";
  CHECK(RunScript(script) == 0);
  const std::vector<std::string> events = JournalEvents("sampleaddin");
  REQUIRE_FALSE(events.empty());
  CHECK(events[0] == "CePimCommand type 0 count 1 ids " + std::to_string(ids[1]));
}
