// pimtool's format, call, sms, mail and web: numbers as the templates show them, and the actions on a
// contact's default entries reaching the device's programs, read back from the device journal.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include <vector>
#include "TestPaths.h"
#include "TestRegistry.h"
#include "ToolRun.h"
#include "phone/Communication.h"

using namespace tooltest;

namespace {

const std::wstring kTemplatesKey = std::wstring(testreg::kSettingsRoot) + L"\\Templates";

// The journal events of `source` after `mark` lines, waited for until there are `count` of them.
std::vector<std::string> EventsOf(size_t mark, const std::string& source, size_t count) {
  std::vector<std::string> events;
  for (int attempt = 0; attempt < 300; ++attempt) {
    events.clear();
    std::vector<testpaths::JournalLine> lines = testpaths::ReadDeviceJournal();
    for (size_t i = mark; i < lines.size(); ++i)
      if (lines[i].source == source) events.push_back(lines[i].event);
    if (events.size() >= count) break;
    Sleep(50);
  }
  return events;
}

// A contact added through the tool; its id as the tool printed it.
std::wstring AddContact(const std::wstring& assignments) {
  Run added = Tool(L"pimtool.exe", L"add " + assignments);
  REQUIRE(added.code == 0);
  std::vector<std::string> lines = Lines(added.out);
  REQUIRE(lines.size() == 1);
  return std::wstring(lines[0].begin(), lines[0].end());
}

}  // namespace

TEST_CASE("pimtool format shows numbers through the device's templates, or the defaults") {
  testreg::DeleteTree(HKEY_CURRENT_USER, kTemplatesKey);
  Run run = Tool(L"pimtool.exe", L"format 4951234567 8001234567 \"tel 79161234567\" \"495 123-45-67\" 12345");
  CHECK(run.code == 0);
  CHECK(Lines(run.out) == std::vector<std::string>{"495-123-4567", "800-123-4567", "tel +7 (916) 123-45-67",
                                                   "495 123-45-67", "12345"});

  testreg::WriteDword(HKEY_CURRENT_USER, kTemplatesKey, L"IsIgnorePhoneFormat", 1);
  run = Tool(L"pimtool.exe", L"format \"495 123-45-67\"");
  CHECK(Lines(run.out) == std::vector<std::string>{"495-123-4567"});

  testreg::WriteDword(HKEY_CURRENT_USER, kTemplatesKey, L"Count", 1);
  testreg::WriteString(HKEY_CURRENT_USER, kTemplatesKey, L"0", L"(###) ###-####");
  run = Tool(L"pimtool.exe", L"format 4951234567 79161234567");
  CHECK(Lines(run.out) == std::vector<std::string>{"(495) 123-4567", "79161234567"});
  testreg::DeleteTree(HKEY_CURRENT_USER, kTemplatesKey);

  CHECK(Tool(L"pimtool.exe", L"format").code == 2);
}

TEST_CASE("pimtool call, sms, mail and web run the item's actions for the contact's default entries") {
  FreshStore();
  const std::wstring id = AddContact(
      L"FirstName=Ivan LastName=Petrov \"FileAs=Petrov, Ivan (office)\" MobilePhone=+79161234567 "
      L"Email1=ivan@example.com WebPage=http://example.com/ivan");
  // The phone program is up already, as on a phone in use.
  REQUIRE(StartPhoneProcess(10000, FALSE));

  size_t mark = testpaths::ReadDeviceJournal().size();
  Run call = Tool(L"pimtool.exe", L"call " + id);
  CHECK(call.code == 0);
  CHECK(Lines(call.out) == std::vector<std::string>{"call +79161234567: 0"});
  CHECK(EventsOf(mark, "phone", 1) ==
        std::vector<std::string>{
            "PhoneMakeCall number \"+79161234567\" party \"Petrov, Ivan (office)\" flags 0"});

  mark = testpaths::ReadDeviceJournal().size();
  Run sms = Tool(L"pimtool.exe", L"sms " + id);
  CHECK(sms.code == 0);
  CHECK(EventsOf(mark, "tmail", 1) ==
        std::vector<std::string>{"run -service \"SMS\" -To \"Petrov Ivan<+79161234567>\""});

  mark = testpaths::ReadDeviceJournal().size();
  Run mail = Tool(L"pimtool.exe", L"mail " + id);
  CHECK(mail.code == 0);
  CHECK(EventsOf(mark, "tmail", 1) == std::vector<std::string>{"run -To \"ivan@example.com\""});

  mark = testpaths::ReadDeviceJournal().size();
  Run web = Tool(L"pimtool.exe", L"web " + id);
  CHECK(web.code == 0);
  CHECK(EventsOf(mark, "iexplore", 1) == std::vector<std::string>{"run http://example.com/ivan"});

  HWND phone = FindWindowW(L"MSCprog", nullptr);
  if (phone) PostMessageW(phone, WM_CLOSE, 0, 0);
}

TEST_CASE("pimtool's actions refuse a contact without the entry, an unknown id and a wrong line") {
  FreshStore();
  const std::wstring id = AddContact(L"FirstName=Anna LastName=Schmidt HomePhone=0301234567");
  const size_t mark = testpaths::ReadDeviceJournal().size();
  Run web = Tool(L"pimtool.exe", L"web " + id);
  CHECK(web.code == 1);
  CHECK(web.err.find("has no web page") != std::string::npos);
  Run mail = Tool(L"pimtool.exe", L"mail " + id);
  CHECK(mail.code == 1);
  CHECK(mail.err.find("has no mail address") != std::string::npos);
  Run unknown = Tool(L"pimtool.exe", L"call 7fffff01");
  CHECK(unknown.code == 1);
  CHECK(unknown.err.find("no contact with the id 7fffff01") != std::string::npos);
  CHECK(Tool(L"pimtool.exe", L"sms").code == 2);
  CHECK(Tool(L"pimtool.exe", L"call zz").code == 2);
  Sleep(300);
  std::vector<testpaths::JournalLine> lines = testpaths::ReadDeviceJournal();
  for (size_t i = mark; i < lines.size(); ++i) {
    CHECK(lines[i].source != "iexplore");
    CHECK(lines[i].source != "tmail");
    CHECK(lines[i].source != "phone");
  }
}
