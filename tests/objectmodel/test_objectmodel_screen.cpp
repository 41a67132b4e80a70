// The object model's two services end to end on the Today screen of the stand-in device: contacts
// imported from a vCard are found by their letter group, the pad's centre held on a row opens the list's
// menu, and the keys pick "Beam..." or the appointment command. TodayHost runs the item from the device's
// registry; the object model and the calendar program write to the device journal what they were asked.
#include <doctest/doctest.h>
#include <windows.h>

#include <sstream>
#include <string>
#include <vector>

#include "ObjectModelSupport.h"
#include "TestPaths.h"

using namespace testpaths;

namespace {

// Two people in the letter group "ghi", so that its cell opens a list (one alone would open its page).
const char kCard[] =
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Harper;Gale;;;\r\nFN:Gale Harper\r\nTEL;CELL:+44 7700 "
    "900201\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Ide;Hanna;;;\r\nFN:Hanna Ide\r\nTEL;CELL:+44 7700 "
    "900202\r\nEND:VCARD\r\n";

std::wstring Own(const std::wstring& name) { return L"C:\\Temp\\" + name; }

int RunScript(const std::string& script) {
  WriteFileText(Own(L"objectmodel-script.txt"), script);
  return RunAndWait(BinDir() + L"TodayHost.exe", L"/script \"" + Own(L"objectmodel-script.txt") + L"\" /exit",
                    90000);
}

// The record id of the contact filed as `fileAs`, from pimtool's list; 0 when it isn't there.
unsigned long IdOf(const std::string& fileAs) {
  std::string out;
  RunCaptured(BinDir() + L"pimtool.exe", L"list", 60000, &out, nullptr);
  std::istringstream lines(out);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.size() < 11) continue;
    if (line.substr(10).rfind(fileAs, 0) == 0) return std::stoul(line.substr(0, 8), nullptr, 16);
  }
  return 0;
}

// The third cell holds "ghi" and its two contacts; Down moves the caret to the second row, Hanna Ide's,
// and the pad's centre held opens the row's menu. `keys` pick a line, Return runs it.
std::string MenuScript(const std::string& keys, const std::string& shot) {
  return "wait 2500\r\ntap 60 47\r\nwait 1200\r\n"
         "key down\r\nwait 300\r\nkeydown action\r\nwait 900\r\nkeyup action\r\n" +
         keys + "wait 300\r\nkeydown 13\r\nkeyup 13\r\nwait 2500\r\nshot " + shot + "\r\nquit\r\n";
}

unsigned long ImportedContact() {
  CreateDirectoryW(L"C:\\Temp", nullptr);
  if (!WriteFileText(Own(L"objectmodel.vcf"), kCard)) return 0;
  if (RunAndWait(BinDir() + L"pimtool.exe", L"import " + Own(L"objectmodel.vcf"), 60000) != 0) return 0;
  return IdOf("Ide, Hanna");
}

}  // namespace

TEST_CASE(
    "the list's menu: \"Beam...\" sends the contact under the stylus, and the appointment command "
    "makes one that the calendar shows and opens for editing") {
  const unsigned long id = ImportedContact();
  REQUIRE(id != 0);

  // The menu's last lines: "Beam...", then the appointment command (no add-ins are registered).
  size_t mark = omtest::JournalMark();
  CHECK(RunScript(MenuScript("keydown up\r\nkeyup up\r\nkeydown up\r\nkeyup up\r\n",
                             "C:\\Temp\\objectmodel-beam.png")) == 0);
  std::vector<std::string> model = omtest::EventsSince(mark, "pimstore");
  REQUIRE(model.size() >= 2);
  CHECK(model[0] == "logon window=0");
  CHECK(model[1] == "beam 1 contacts: " + std::to_string(id));

  mark = omtest::JournalMark();
  CHECK(RunScript(MenuScript("keydown up\r\nkeyup up\r\n", "C:\\Temp\\objectmodel-calendar.png")) == 0);
  std::vector<std::string> calendar = omtest::WaitForEvents(mark, "calendar", 2, 25000);
  REQUIRE(calendar.size() >= 2);
  const std::string description = "subject=\"Hanna Ide\" start=";
  CHECK(calendar[0].rfind("show ", 0) == 0);
  CHECK(calendar[0].find(description) != std::string::npos);
  CHECK(calendar[0].find(" duration=15 body=\"Mobile: +44 7700 900202\"") != std::string::npos);
  CHECK(calendar[1] == "command 105");
  model = omtest::EventsSince(mark, "pimstore");
  CHECK(omtest::CountStartingWith(model, "appointment save ") == 2);
  CHECK(omtest::CountStartingWith(model, "appointment display ") == 1);
  omtest::CloseCalendar(mark);
}
