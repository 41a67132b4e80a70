// The bridges to the device: counters, the area code, notification removal, the vibrator, the default
// contacts program and the hardware keys, run on the stand-in device against its registry and journal.
#include <doctest/doctest.h>
#include <windows.h>

#include <aygshell.h>
#include <nled.h>
#include <objbase.h>

#include <string>

#include "DeviceTestSupport.h"
#include "TestPaths.h"
#include "TestRegistry.h"
#include "foundation/Settings.h"
#include "phone/DeviceIntegration.h"

using devicetest::EventsSince;
using devicetest::HasValue;
using devicetest::JournalMark;
using devicetest::SavedTree;
using devicetest::Text;

namespace {

const std::wstring kUnreadKey = L"System\\State\\Messages\\sms\\Unread";
const std::wstring kPhoneKey = L"System\\State\\Phone";
const std::wstring kAddrBookKey = L"Software\\Microsoft\\AddrBook";
const std::wstring kRaiKey = L"Software\\Microsoft\\Shell\\Rai\\:MSCONTACTS";
const std::wstring kKeysKey = L"SOFTWARE\\Microsoft\\Shell\\Keys";
const std::wstring kSettingsKey = L"Software\\Zovrix\\PIM\\Settings";

const wchar_t kProgram[] = L"\\Program Files\\Zovrix Pagemark\\Pagemark.exe";
const wchar_t kCommand[] = L"\"\\Program Files\\Zovrix Pagemark\\Pagemark.exe\"";

std::wstring KeyPath(const wchar_t* number) { return kKeysKey + L"\\" + number; }

// Every test leaves the device's keys and the item's settings as it found them.
struct DeviceKeys {
  SavedTree unread{HKEY_CURRENT_USER, kUnreadKey};
  SavedTree phone{HKEY_CURRENT_USER, kPhoneKey};
  SavedTree addrBook{HKEY_LOCAL_MACHINE, kAddrBookKey};
  SavedTree rai{HKEY_LOCAL_MACHINE, kRaiKey};
  SavedTree keys{HKEY_LOCAL_MACHINE, kKeysKey};
  SavedTree settings{HKEY_CURRENT_USER, L"Software\\Zovrix"};
};

void WriteKey(const wchar_t* number, const wchar_t* def, const wchar_t* resetCmd, const wchar_t* name,
              const wchar_t* icon) {
  std::wstring path = KeyPath(number);
  testreg::WriteString(HKEY_LOCAL_MACHINE, path, L"", def);
  testreg::WriteString(HKEY_LOCAL_MACHINE, path, L"ResetCmd", resetCmd);
  testreg::WriteString(HKEY_LOCAL_MACHINE, path, L"Name", name);
  testreg::WriteString(HKEY_LOCAL_MACHINE, path, L"Icon", icon);
}

// Keys of the tests' own: the contacts on 40C3, found by its command, and the speed dial on 40C4, found
// by its default value only; 40C5 is absent.
void WriteOwnKeys() {
  testreg::DeleteTree(HKEY_LOCAL_MACHINE, kKeysKey);
  WriteKey(L"40C1", L"\"\\Windows\\calendar.exe\"", L"\"\\Windows\\calendar.exe\"", L"Calendar", L"cal, 0");
  WriteKey(L"40C2", L"\"\\Windows\\tmail.exe\"", L"\"\\Windows\\tmail.exe\"", L"Messaging", L"tmail, 0");
  WriteKey(L"40C3", L"\\Windows\\Start Menu\\Contacts.lnk", L":MSCONTACTS", L"Contacts", L"contacts, 0");
  WriteKey(L"40C4", L"\\Windows\\Start Menu\\Speed Dial.lnk", L"\"\\Windows\\cprog.exe\" -s", L"Speed Dial",
           L"speed, 1");
}

void SetProgramPath() { SetSettingString(SECTION_SETTINGS, L"ProgramPath", kProgram, TRUE); }

}  // namespace

TEST_SUITE("device integration") {
  TEST_CASE_FIXTURE(DeviceKeys, "the counters read the phone's values, and 0 when they can't be read") {
    // The device's own values as the profile gives them.
    DWORD unread = 0, missed = 0;
    REQUIRE(testreg::ReadDword(HKEY_CURRENT_USER, kUnreadKey, L"Count", &unread));
    REQUIRE(testreg::ReadDword(HKEY_CURRENT_USER, kPhoneKey, L"Missed Call Count", &missed));
    CHECK(unread != 0);
    CHECK(GetUnreadSmsCount() == unread);
    CHECK(GetMissedCallCount() == missed);

    testreg::WriteDword(HKEY_CURRENT_USER, kUnreadKey, L"Count", 17);
    testreg::WriteDword(HKEY_CURRENT_USER, kPhoneKey, L"Missed Call Count", 4);
    CHECK(GetUnreadSmsCount() == 17);
    CHECK(GetMissedCallCount() == 4);

    // A number stored as text, and an absent key, read as 0.
    testreg::WriteString(HKEY_CURRENT_USER, kUnreadKey, L"Count", L"17");
    CHECK(GetUnreadSmsCount() == 0);
    testreg::DeleteTree(HKEY_CURRENT_USER, kPhoneKey);
    CHECK(GetMissedCallCount() == 0);
  }

  TEST_CASE_FIXTURE(DeviceKeys, "the area code is the address book's on the device, and written back there") {
    std::wstring deviceArea = Text(HKEY_LOCAL_MACHINE, kAddrBookKey, L"Default_Area");
    REQUIRE(deviceArea != L"<absent>");
    SetSettingString(SECTION_SETTINGS, L"AreaCode", L"999", TRUE);
    CHECK(std::wstring(GetAreaCode()) == deviceArea);
    CHECK(SetAreaCode(L"3852"));
    CHECK(Text(HKEY_LOCAL_MACHINE, kAddrBookKey, L"Default_Area") == L"3852");
    CHECK(Text(HKEY_CURRENT_USER, kSettingsKey, L"AreaCode") == L"999");
  }

  TEST_CASE("a shell notification is taken down by its class id text and id") {
    const wchar_t clsidText[] = L"{6A1C4E2B-0F3D-4B7A-9C11-2E5D8A0B7F31}";
    CLSID clsid;
    REQUIRE(CLSIDFromString(clsidText, &clsid) == NOERROR);
    SHNOTIFICATIONDATA data = {};
    data.cbStruct = sizeof data;
    data.dwID = 5;
    data.clsid = clsid;
    data.pszTitle = L"Missed call";
    data.pszHTML = L"<p>One</p>";
    REQUIRE(SHNotificationAdd(&data) == ERROR_SUCCESS);

    size_t mark = JournalMark();
    CHECK_FALSE(RemoveNotification(clsidText, 6));  // another id of the class: nothing to remove
    CHECK(RemoveNotification(clsidText, 5));
    CHECK_FALSE(RemoveNotification(clsidText, 5));  // gone already
    CHECK_FALSE(RemoveNotification(L"not a class id", 5));
    CHECK_FALSE(RemoveNotification(nullptr, 5));
    std::vector<std::string> events = EventsSince(mark, "aygshell");
    REQUIRE(events.size() == 3);
    CHECK(events[0] == "notification {6A1C4E2B-0F3D-4B7A-9C11-2E5D8A0B7F31} 6 to remove not found");
    CHECK(events[1] == "notification {6A1C4E2B-0F3D-4B7A-9C11-2E5D8A0B7F31} 5 removed");
    CHECK(events[2] == "notification {6A1C4E2B-0F3D-4B7A-9C11-2E5D8A0B7F31} 5 to remove not found");
  }
}

namespace {

// The device's vibrator as the device itself describes it: the first component that can't blink.
int DeviceVibrator() {
  NLED_COUNT_INFO count = {};
  REQUIRE(NLedGetDeviceInfo(NLED_COUNT_INFO_ID, &count));
  for (UINT led = 0; led < count.cLeds; ++led) {
    NLED_SUPPORTS_INFO supports = {};
    supports.LedNum = led;
    REQUIRE(NLedGetDeviceInfo(NLED_SUPPORTS_INFO_ID, &supports));
    if (supports.lCycleAdjust == -1) return static_cast<int>(led);
  }
  return -1;
}

// Components of a device of the test's own: `adjusts` gives each one's cycle adjust.
std::vector<LONG> g_adjusts;
BOOL OwnDeviceInfo(UINT infoId, void* output) {
  if (infoId == NLED_COUNT_INFO_ID) {
    static_cast<NLED_COUNT_INFO*>(output)->cLeds = static_cast<UINT>(g_adjusts.size());
    return TRUE;
  }
  NLED_SUPPORTS_INFO* supports = static_cast<NLED_SUPPORTS_INFO*>(output);
  if (infoId != NLED_SUPPORTS_INFO_ID || supports->LedNum >= g_adjusts.size()) return FALSE;
  supports->lCycleAdjust = g_adjusts[supports->LedNum];
  return TRUE;
}

}  // namespace

TEST_SUITE("device integration") {
  TEST_CASE("the vibrator is the component that can't blink, switched on for the time and off again") {
    int vibrator = DeviceVibrator();
    REQUIRE(vibrator > 1);  // not the default number, so that finding it shows
    CHECK(FindVibrator() == vibrator);

    size_t mark = JournalMark();
    CHECK(Vibrate(30));
    CHECK(Vibrate(10));
    std::vector<std::string> events = EventsSince(mark, "nled");
    std::string on = "NLedSetDevice " + std::to_string(vibrator) + " (vibrator) on";
    std::string off = "NLedSetDevice " + std::to_string(vibrator) + " (vibrator) off";
    REQUIRE(events.size() == 4);
    CHECK(events[0] == on);
    CHECK(events[1] == off);
    CHECK(events[2] == on);
    CHECK(events[3] == off);
    // The component is off when the vibration ends.
    NLED_SETTINGS_INFO settings = {};
    settings.LedNum = static_cast<UINT>(vibrator);
    REQUIRE(NLedGetDeviceInfo(NLED_SETTINGS_INFO_ID, &settings));
    CHECK(settings.OffOnBlink == NLED_OFF);
  }

  TEST_CASE("without a component that can't blink the vibrator is number 1, without NLedSetDevice none") {
    {
      devicetest::ReplacedExport own("NLedGetDeviceInfo",
                                     reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&OwnDeviceInfo)));
      REQUIRE(own.Active());
      g_adjusts = {62500, 1000};
      CHECK(FindVibrator() == 1);
      g_adjusts = {62500, 62500, 0, -1, -1};
      CHECK(FindVibrator() == 3);
      g_adjusts = {};
      CHECK(FindVibrator() == 1);
    }
    {
      devicetest::ReplacedExport missing("NLedGetDeviceInfo", nullptr);
      CHECK(FindVibrator() == 1);
    }
    {
      devicetest::ReplacedExport missing("NLedSetDevice", nullptr);
      CHECK(FindVibrator() == -1);
    }
    {
      devicetest::MissingLibrary missing(L"coredll.dll");
      REQUIRE(missing.Active());
      CHECK(FindVibrator() == -1);
    }
  }

  TEST_CASE_FIXTURE(DeviceKeys, "the default contacts program is taken over and given back") {
    std::wstring platformCommand = Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1");
    REQUIRE(platformCommand != L"<absent>");
    CHECK_FALSE(IsDefaultContactsApp());

    // Without the program's path there is nothing to set.
    CHECK_FALSE(SetDefaultContactsApp(TRUE));
    CHECK(Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1") == platformCommand);
    CHECK_FALSE(HasValue(HKEY_LOCAL_MACHINE, kRaiKey, L"1temp"));

    SetProgramPath();
    CHECK(SetDefaultContactsApp(TRUE));
    CHECK(Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1") == kCommand);
    CHECK(Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1temp") == platformCommand);
    CHECK(IsDefaultContactsApp());
    DWORD assigned = 0;
    CHECK(testreg::ReadDword(HKEY_CURRENT_USER, kSettingsKey, L"DefaultAssign", &assigned));
    CHECK(assigned == 1);

    CHECK(SetDefaultContactsApp(FALSE));
    CHECK(Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1") == platformCommand);
    CHECK_FALSE(HasValue(HKEY_LOCAL_MACHINE, kRaiKey, L"1temp"));
    CHECK_FALSE(IsDefaultContactsApp());

    // Nothing saved: giving back leaves the command as it is.
    CHECK(SetDefaultContactsApp(FALSE));
    CHECK(Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1") == platformCommand);
  }

  TEST_CASE_FIXTURE(DeviceKeys, "setting the default twice keeps the first saved program in 1temp") {
    testreg::WriteString(HKEY_LOCAL_MACHINE, kRaiKey, L"1", L"\"\\Windows\\othercontacts.exe\"");
    SetProgramPath();
    CHECK(SetDefaultContactsApp(TRUE));
    SetSettingString(SECTION_SETTINGS, L"ProgramPath", L"\\Storage Card\\Pagemark.exe", TRUE);
    CHECK(SetDefaultContactsApp(TRUE));
    CHECK(Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1") == L"\"\\Storage Card\\Pagemark.exe\"");
    CHECK(Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1temp") == L"\"\\Windows\\othercontacts.exe\"");
    CHECK(SetDefaultContactsApp(FALSE));
    CHECK(Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1") == L"\"\\Windows\\othercontacts.exe\"");
  }

  TEST_CASE_FIXTURE(DeviceKeys,
                    "restoring when 1temp holds this very program writes the platform's contacts") {
    testreg::WriteString(HKEY_LOCAL_MACHINE, kRaiKey, L"1", kCommand);
    testreg::WriteString(HKEY_LOCAL_MACHINE, kRaiKey, L"1temp", L"\"\\Old Place\\Pagemark.exe\" -c");
    CHECK(SetDefaultContactsApp(FALSE));
    CHECK(Text(HKEY_LOCAL_MACHINE, kRaiKey, L"1") == L":MSPOUTLOOK contacts");
    CHECK_FALSE(HasValue(HKEY_LOCAL_MACHINE, kRaiKey, L"1temp"));
  }

  TEST_CASE_FIXTURE(DeviceKeys, "the contacts command can't be saved when the platform has none") {
    testreg::DeleteTree(HKEY_LOCAL_MACHINE, kRaiKey);
    SetProgramPath();
    CHECK_FALSE(SetDefaultContactsApp(TRUE));
    CHECK(testreg::KeyExists(HKEY_LOCAL_MACHINE, kRaiKey));
    CHECK_FALSE(HasValue(HKEY_LOCAL_MACHINE, kRaiKey, L"1"));
  }

  TEST_CASE_FIXTURE(DeviceKeys, "the device's keys start the contacts and the speed dial") {
    Str name;
    CHECK(FindHardwareKey(L"contact", name));
    std::wstring contacts(name);
    CHECK(FindHardwareKey(L"\\Speed Dial.lnk", name));
    CHECK(std::wstring(name) != contacts);
    CHECK(IsAnyKeyAssigned());
    CHECK_FALSE(IsKeyAssigned());
  }

  TEST_CASE_FIXTURE(DeviceKeys, "a hardware key is found by its command or its default value, in any case") {
    WriteOwnKeys();
    Str name;
    CHECK(FindHardwareKey(L"CONTACT", name));
    CHECK(std::wstring(name) == L"40C3");
    CHECK(FindHardwareKey(L"\\speed DIAL.lnk", name));
    CHECK(std::wstring(name) == L"40C4");
    CHECK(FindHardwareKey(L"tmail", name));
    CHECK(std::wstring(name) == L"40C2");
    name = L"unchanged";
    CHECK_FALSE(FindHardwareKey(L"Pagemark.exe", name));
    CHECK(std::wstring(name) == L"unchanged");
    CHECK_FALSE(FindHardwareKey(nullptr, name));
    CHECK_FALSE(IsKeyAssigned());
    CHECK(IsAnyKeyAssigned());

    // A key past 40C5 isn't one of them.
    testreg::DeleteTree(HKEY_LOCAL_MACHINE, kKeysKey);
    WriteKey(L"40C6", L"x", L":MSCONTACTS", L"Contacts", L"i");
    CHECK_FALSE(FindHardwareKey(L"contact", name));
    CHECK_FALSE(IsAnyKeyAssigned());
  }

  TEST_CASE_FIXTURE(DeviceKeys, "assigning the contacts key keeps what it ran and gives it back") {
    WriteOwnKeys();
    CHECK_FALSE(AssignHardwareKey(TRUE));  // no program path yet
    CHECK_FALSE(HasValue(HKEY_LOCAL_MACHINE, KeyPath(L"40C3"), L"PrevResetCmd"));

    SetProgramPath();
    CHECK(AssignHardwareKey(TRUE));
    std::wstring key = KeyPath(L"40C3");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, nullptr) == kCommand);
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"ResetCmd") == kCommand);
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"Icon") == std::wstring(kProgram) + L", 0");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"Name") == L"Contacts");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevResetCmd") == L":MSCONTACTS");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevDef") == L"\\Windows\\Start Menu\\Contacts.lnk");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevIcon") == L"contacts, 0");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevName") == L"Contacts");
    CHECK(IsKeyAssigned());
    Str name;
    CHECK(FindHardwareKey(L"pagemark.exe", name));
    CHECK(std::wstring(name) == L"40C3");

    CHECK(AssignHardwareKey(FALSE));
    CHECK(Text(HKEY_LOCAL_MACHINE, key, nullptr) == L"\\Windows\\Start Menu\\Contacts.lnk");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"ResetCmd") == L":MSCONTACTS");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"Icon") == L"contacts, 0");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"Name") == L"Contacts");
    for (const wchar_t* saved : {L"PrevResetCmd", L"PrevDef", L"PrevIcon", L"PrevName"})
      CHECK_FALSE(HasValue(HKEY_LOCAL_MACHINE, key, saved));
    CHECK_FALSE(IsKeyAssigned());
    CHECK_FALSE(AssignHardwareKey(FALSE));  // no key runs the program any more
  }

  TEST_CASE_FIXTURE(DeviceKeys, "without a contacts key the speed dial key is taken; without either, none") {
    WriteOwnKeys();
    testreg::DeleteTree(HKEY_LOCAL_MACHINE, KeyPath(L"40C3"));
    SetProgramPath();
    CHECK(AssignHardwareKey(TRUE));
    CHECK(Text(HKEY_LOCAL_MACHINE, KeyPath(L"40C4"), L"ResetCmd") == kCommand);
    CHECK(Text(HKEY_LOCAL_MACHINE, KeyPath(L"40C4"), L"PrevDef") == L"\\Windows\\Start Menu\\Speed Dial.lnk");

    testreg::DeleteTree(HKEY_LOCAL_MACHINE, KeyPath(L"40C4"));
    CHECK_FALSE(AssignHardwareKey(TRUE));
  }

  TEST_CASE_FIXTURE(DeviceKeys,
                    "a second assignment of a key already assigned doesn't overwrite the Prev values") {
    WriteOwnKeys();
    SetProgramPath();
    std::wstring key = KeyPath(L"40C3");

    // A key that runs the program already, still named by its default value: found again, left alone.
    testreg::WriteString(HKEY_LOCAL_MACHINE, key, L"ResetCmd", kCommand);
    testreg::WriteString(HKEY_LOCAL_MACHINE, key, L"PrevResetCmd", L":MSCONTACTS first");
    testreg::WriteString(HKEY_LOCAL_MACHINE, key, L"PrevIcon", L"first icon");
    CHECK(AssignHardwareKey(TRUE));
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevResetCmd") == L":MSCONTACTS first");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevIcon") == L"first icon");
    CHECK_FALSE(HasValue(HKEY_LOCAL_MACHINE, key, L"PrevDef"));
    CHECK_FALSE(HasValue(HKEY_LOCAL_MACHINE, key, L"PrevName"));
    CHECK(Text(HKEY_LOCAL_MACHINE, key, nullptr) == L"\\Windows\\Start Menu\\Contacts.lnk");

    // Assigned through this operation and assigned again: the first saved values stay.
    WriteOwnKeys();
    CHECK(AssignHardwareKey(TRUE));
    CHECK(AssignHardwareKey(TRUE));
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevResetCmd") == L":MSCONTACTS");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevDef") == L"\\Windows\\Start Menu\\Contacts.lnk");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevIcon") == L"contacts, 0");
    CHECK(Text(HKEY_LOCAL_MACHINE, key, L"PrevName") == L"Contacts");
  }
}

// Run by the test below in a process of its own, since the vibrator is looked for once per process.
TEST_SUITE("vibratorless") {
  TEST_CASE("without NLedSetDevice a vibration is refused, at the first use and after it") {
    size_t mark = JournalMark();
    {
      devicetest::ReplacedExport missing("NLedSetDevice", nullptr);
      REQUIRE(missing.Active());
      CHECK_FALSE(Vibrate(20));
    }
    // The device was found without a vibrator once and for all.
    CHECK_FALSE(Vibrate(20));
    CHECK(EventsSince(mark, "nled").empty());
  }
}

TEST_SUITE("device integration") {
  TEST_CASE("a device without NLedSetDevice doesn't vibrate") {
    std::string out;
    int code = testpaths::RunCaptured(testpaths::BinDir() + L"test_device_integration.exe",
                                      L"--test-suite=vibratorless", 120000, &out, nullptr);
    INFO(out);
    CHECK(code == 0);
    CHECK(out.find("1 passed") != std::string::npos);
  }
}
