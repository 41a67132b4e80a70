// Dialling on a phone: the modes and how they resolve, a call through phone.dll with the phone program
// started and waited for, service codes to the call policy window, and the dialer add-in.
#include <doctest/doctest.h>
#include <string>
#include <vector>
#include "PhoneTestSupport.h"
#include "foundation/Settings.h"
#include "phone/Communication.h"
#include "phone/DialPlugin.h"
#include "phone/PhoneDevice.h"

using namespace phonetest;

namespace {

// A dialer add-in that is installed and records what it was asked to dial.
class RecordingDialer : public DialPlugin {
 public:
  int GetCommand() override { return 41222; }
  BOOL Run(const Array<CEOID>& ids) override {
    runs.push_back(std::vector<CEOID>(ids.GetData(), ids.GetData() + ids.GetSize()));
    return TRUE;
  }
  std::vector<std::vector<CEOID>> runs;
};

struct DialerInstalled {
  RecordingDialer dialer;
  DialPlugin* before;
  DialerInstalled() : before(SetDialPlugin(&dialer)) {}
  ~DialerInstalled() { SetDialPlugin(before == &dialer ? nullptr : before); }
};

void SetDialupMode(DWORD mode) { SetSettingDword(SECTION_SETTINGS, L"DialupMode", mode, TRUE); }

}  // namespace

TEST_SUITE_BEGIN("phone");

TEST_CASE("The phone profile is a phone: sms.dll, phone.dll and cprog.exe stand in \\windows") {
  CHECK(IsPhoneDevice());
  CHECK(DeviceHas(L"phone.dll"));
  CHECK(DeviceHas(L"cprog.exe"));
}

TEST_CASE("A stored DialModeNone on a phone is corrected to DialModePhone, and unknown modes too") {
  ClearSettings();
  REQUIRE(IsPhoneDevice());
  SetDialupMode(DialModeNone);
  CHECK(ResolveDialMode(0) == DialModePhone);
  SetDialupMode(12345);
  CHECK(ResolveDialMode(0) == DialModePhone);
  ClearSettings();
  CHECK(ResolveDialMode(0) == DialModePhone);
  SetDialupMode(DialModeTones);
  CHECK(ResolveDialMode(0) == DialModeTones);
  // A mode passed in counts before the setting.
  CHECK(ResolveDialMode(DialModePhone) == DialModePhone);
  CHECK(ResolveDialMode(DialModeNone) == DialModePhone);
  ClearSettings();
}

TEST_CASE("The add-in's mode stands only while the dialer is installed") {
  ClearSettings();
  CHECK_FALSE(GetDialPlugin()->IsInstalled());
  CHECK(ResolveDialMode(DialModePlugin) == DialModePhone);
  DialerInstalled installed;
  CHECK(ResolveDialMode(DialModePlugin) == DialModePlugin);
  SetDialupMode(DialModePlugin);
  CHECK(ResolveDialMode(0) == DialModePlugin);
  ClearSettings();
}

TEST_CASE("A call starts the phone program, waits for it and hands number and FileAs to PhoneMakeCall") {
  ClearSettings();
  StopPhoneProgram();
  const size_t mark = JournalMark();
  Contact contact = MakeContact(L"Ivan", L"Petrov", L"Petrov, Ivan (work)");
  CHECK(Dial(nullptr, L"+7 916 123-45-67", &contact, 0, nullptr) == 0);
  // The phone program came up before the call was made.
  CHECK(FindWindowW(L"MSCprog", nullptr) != nullptr);
  CHECK(WaitForEvent(mark, "cprog", "run"));
  CHECK(WaitForEvent(mark, "phone",
                     "PhoneMakeCall number \"+7 916 123-45-67\" party \"Petrov, Ivan (work)\" flags 0"));
  std::vector<testpaths::JournalLine> lines = testpaths::ReadDeviceJournal();
  size_t started = 0, called = 0;
  for (size_t i = mark; i < lines.size(); ++i) {
    if (lines[i].source == "cprog" && lines[i].event == "run") started = i;
    if (lines[i].source == "phone") called = i;
  }
  CHECK(started < called);

  // With the program running, a second call doesn't start it again.
  const size_t second = JournalMark();
  CHECK(Dial(nullptr, L"5551234", &contact, DialModePhone, nullptr) == 0);
  CHECK(WaitForEvent(second, "phone",
                     "PhoneMakeCall number \"5551234\" party \"Petrov, Ivan (work)\" flags 0"));
  CHECK(EventsSince(second, "cprog").empty());
  StopPhoneProgram();
}

TEST_CASE("The called party: FileAs, else the composed name; without a contact the party given") {
  ClearSettings();
  Contact named = MakeContact(L"Anna", L"Schmidt");
  size_t mark = JournalMark();
  CHECK(Dial(nullptr, L"0301234567", &named, DialModePhone, L"ignored") == 0);
  CHECK(WaitForEvent(mark, "phone", "PhoneMakeCall number \"0301234567\" party \"Schmidt, Anna\" flags 0"));

  Contact company = MakeContact(L"", L"", L"", L"Acme GmbH");
  mark = JournalMark();
  CHECK(Dial(nullptr, L"0301234567", &company, DialModePhone, nullptr) == 0);
  CHECK(WaitForEvent(mark, "phone", "PhoneMakeCall number \"0301234567\" party \"Acme GmbH\" flags 0"));

  mark = JournalMark();
  CHECK(Dial(nullptr, L"112", nullptr, DialModePhone, L"Front desk") == 0);
  CHECK(WaitForEvent(mark, "phone", "PhoneMakeCall number \"112\" party \"Front desk\" flags 0"));

  mark = JournalMark();
  CHECK(Dial(nullptr, L"113", nullptr, DialModePhone, nullptr) == 0);
  CHECK(WaitForEvent(mark, "phone", "PhoneMakeCall number \"113\" party null flags 0"));
  StopPhoneProgram();
}

TEST_CASE("A PhoneMakeCall for a contact with neither FileAs nor a name leaves the called party null") {
  ClearSettings();
  Contact nameless = MakeContact(L"", L"");
  nameless.text[ContactField::MobilePhone] = L"5550000";
  const size_t mark = JournalMark();
  CHECK(Dial(nullptr, L"5550000", &nameless, DialModePhone, L"not for a contact") == 0);
  CHECK(WaitForEvent(mark, "phone", "PhoneMakeCall number \"5550000\" party null flags 0"));
  StopPhoneProgram();
}

TEST_CASE("A number ending in # never reaches PhoneMakeCall: it goes to the call policy window") {
  ClearSettings();
  // No phone program, no call policy window: -1.
  StopPhoneProgram();
  REQUIRE(FindWindowW(L"CallPol", nullptr) == nullptr);
  size_t mark = JournalMark();
  CHECK(Dial(nullptr, L"*#06#", nullptr, DialModePhone, nullptr) == -1);

  REQUIRE(StartPhoneProcess(5000, TRUE));
  CHECK(WaitForEvent(mark, "cprog", "run -n"));
  REQUIRE(FindWindowW(L"CallPol", nullptr) != nullptr);
  mark = JournalMark();
  Contact contact = MakeContact(L"Ivan", L"Petrov");
  CHECK(Dial(nullptr, L"*100#", &contact, 0, nullptr) == 0);
  // Block of (2 x 5 + 25) rounded down to 32 bytes: words 1 and 20, the number at byte 20.
  CHECK(WaitForEvent(mark, "cprog", "CallPol data 1150 size 32 words 1 20 number \"*100#\""));
  // (2 x 13 + 25) rounded down: 48 bytes.
  CHECK(Dial(nullptr, L"**21*5551234#", nullptr, 0, nullptr) == 0);
  CHECK(WaitForEvent(mark, "cprog", "CallPol data 1150 size 48 words 1 20 number \"**21*5551234#\""));
  Sleep(300);
  CHECK(EventsSince(mark, "phone").empty());
  StopPhoneProgram();
}

TEST_CASE("StartPhoneProcess: true at once when the program runs or with no time to wait") {
  StopPhoneProgram();
  const size_t mark = JournalMark();
  CHECK(StartPhoneProcess(0, FALSE));
  CHECK(WaitForEvent(mark, "cprog", "run"));
  for (int i = 0; i < 100 && !FindWindowW(L"MSCprog", nullptr); ++i) Sleep(50);
  REQUIRE(FindWindowW(L"MSCprog", nullptr) != nullptr);
  const size_t again = JournalMark();
  CHECK(StartPhoneProcess(2000, FALSE));
  Sleep(300);
  CHECK(EventsSince(again, "cprog").empty());
  StopPhoneProgram();
}

TEST_CASE("Without the phone program the wait gives up after its time, and the call is still made") {
  ClearSettings();
  StopPhoneProgram();
  REQUIRE(MoveFileW(L"\\windows\\cprog.exe", L"\\windows\\cprog.aside"));
  const size_t mark = JournalMark();
  CHECK_FALSE(StartPhoneProcess(300, FALSE));
  // The dial waits its two seconds in vain and hands the number over all the same.
  CHECK(Dial(nullptr, L"5557777", nullptr, DialModePhone, L"Desk") == 0);
  CHECK(WaitForEvent(mark, "phone", "PhoneMakeCall number \"5557777\" party \"Desk\" flags 0"));
  CHECK(MoveFileW(L"\\windows\\cprog.aside", L"\\windows\\cprog.exe"));
  CHECK(EventsSince(mark, "cprog").empty());
  CHECK(FindWindowW(L"MSCprog", nullptr) == nullptr);
}

TEST_CASE("An empty number dials nothing") {
  ClearSettings();
  const size_t mark = JournalMark();
  CHECK(Dial(nullptr, L"", nullptr, DialModePhone, nullptr) == 0);
  CHECK(Dial(nullptr, nullptr, nullptr, DialModePhone, nullptr) == 0);
  Sleep(300);
  CHECK(EventsSince(mark, "phone").empty());
  CHECK(EventsSince(mark, "cprog").empty());
}

TEST_CASE("The add-in's mode hands the contact alone to the dialer, and needs a contact") {
  ClearSettings();
  DialerInstalled installed;
  Contact contact = MakeContact(L"Ivan", L"Petrov");
  contact.oid = 0x5A5A;
  const size_t mark = JournalMark();
  CHECK(Dial(nullptr, L"4951234567", &contact, DialModePlugin, nullptr) == 0);
  REQUIRE(installed.dialer.runs.size() == 1);
  CHECK(installed.dialer.runs[0] == std::vector<CEOID>{0x5A5A});
  CHECK(Dial(nullptr, L"4951234567", nullptr, DialModePlugin, nullptr) == -1);
  CHECK(installed.dialer.runs.size() == 1);
  Sleep(300);
  CHECK(EventsSince(mark, "phone").empty());
}

TEST_SUITE_END();
