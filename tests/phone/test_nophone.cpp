// A device without a phone (the qvga profile): no \windows\sms.dll, so no call is ever placed, while
// mail and the web go on as on a phone. These cases run in a program of their own on such a device.
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

class InstalledDialer : public DialPlugin {
 public:
  int GetCommand() override { return 41223; }
  BOOL Run(const Array<CEOID>& ids) override {
    for (int i = 0; i < ids.GetSize(); ++i) dialled.push_back(ids[i]);
    return TRUE;
  }
  std::vector<CEOID> dialled;
};

}  // namespace

TEST_SUITE_BEGIN("nophone");

TEST_CASE("The device without a phone has no sms.dll, phone.dll or phone program") {
  CHECK_FALSE(IsPhoneDevice());
  CHECK_FALSE(DeviceHas(L"sms.dll"));
  CHECK_FALSE(DeviceHas(L"phone.dll"));
  CHECK_FALSE(DeviceHas(L"cprog.exe"));
}

TEST_CASE("Without sms.dll and without the add-in, Dial does nothing and gives 0") {
  ClearSettings();
  REQUIRE_FALSE(IsPhoneDevice());
  REQUIRE_FALSE(GetDialPlugin()->IsInstalled());
  Contact contact = MakeContact(L"Ivan", L"Petrov");
  const size_t mark = JournalMark();
  CHECK(ResolveDialMode(0) == DialModeNone);
  CHECK(Dial(nullptr, L"4951234567", &contact, 0, nullptr) == 0);
  // Asked for the phone by name, or by the setting, it is still no call.
  CHECK(ResolveDialMode(DialModePhone) == DialModeNone);
  CHECK(Dial(nullptr, L"4951234567", &contact, DialModePhone, nullptr) == 0);
  SetSettingDword(SECTION_SETTINGS, L"DialupMode", DialModePhone, TRUE);
  CHECK(Dial(nullptr, L"*#06#", nullptr, 0, nullptr) == 0);
  Sleep(1000);
  CHECK(FindWindowW(L"MSCprog", nullptr) == nullptr);
  CHECK(EventsSince(mark, "phone").empty());
  CHECK(EventsSince(mark, "cprog").empty());
  CHECK(EventsSince(mark, "sound").empty());
  ClearSettings();
}

TEST_CASE("Without a phone the modes left are the add-in's, the tones' and none") {
  ClearSettings();
  SetSettingDword(SECTION_SETTINGS, L"DialupMode", DialModeTones, TRUE);
  CHECK(ResolveDialMode(0) == DialModeTones);
  SetSettingDword(SECTION_SETTINGS, L"DialupMode", DialModeNone, TRUE);
  CHECK(ResolveDialMode(0) == DialModeNone);
  // The add-in's mode without the add-in falls to none.
  CHECK(ResolveDialMode(DialModePlugin) == DialModeNone);

  InstalledDialer dialer;
  DialPlugin* before = SetDialPlugin(&dialer);
  ClearSettings();
  CHECK(ResolveDialMode(0) == DialModePlugin);
  CHECK(ResolveDialMode(DialModePhone) == DialModePlugin);
  Contact contact = MakeContact(L"Ivan", L"Petrov");
  contact.oid = 0x77;
  CHECK(Dial(nullptr, L"4951234567", &contact, 0, nullptr) == 0);
  CHECK(dialer.dialled == std::vector<CEOID>{0x77});
  CHECK(Dial(nullptr, L"4951234567", nullptr, 0, nullptr) == -1);
  SetDialPlugin(before == &dialer ? nullptr : before);
}

TEST_CASE("Mail and the web reach their programs on a device without a phone too") {
  size_t mark = JournalMark();
  SendMail(L"office@example.com");
  CHECK(WaitForEvent(mark, "tmail", "run -To \"office@example.com\""));
  mark = JournalMark();
  OpenUrl(L"http://example.org/");
  CHECK(WaitForEvent(mark, "iexplore", "run http://example.org/"));
}

TEST_SUITE_END();
