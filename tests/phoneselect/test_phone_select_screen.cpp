// End to end on the Today screen of the stand-in device: the talk key on a contact with three numbers
// brings the phone chooser up over the list, and a pick there calls the number through the device's
// phone; an application key given to the product starts its main program. TodayHost runs the item
// from the device's registry; the screenshot and the device journal tell what happened.
#include <doctest/doctest.h>
#include <windows.h>

#include <fstream>
#include <string>
#include <vector>

#include "Screenshot.h"
#include "TestPaths.h"
#include "TestRegistry.h"
#include "foundation/Settings.h"
#include "phone/DeviceIntegration.h"

using namespace testpaths;

namespace {

// Two contacts under "ghi": Greta Hollis with a work, a mobile and a home number comes first.
const char kCards[] =
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Hollis;Greta;;;\r\nFN:Greta Hollis\r\nORG:Quarry Lane Books\r\n"
    "TEL;WORK;VOICE:+44 20 7946 0018\r\nTEL;CELL:+44 7700 900123\r\nTEL;HOME:+44 20 7946 0991\r\n"
    "END:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Ingram;Ivo;;;\r\nFN:Ivo Ingram\r\nTEL;CELL:+44 7700 900555\r\n"
    "END:VCARD\r\n";

const wchar_t kProgram[] = L"\\Program Files\\Zovrix Pagemark\\Pagemark.exe";
const wchar_t kContactsKey[] = L"SOFTWARE\\Microsoft\\Shell\\Keys\\40C2";

std::wstring Own(const std::wstring& name) { return L"C:\\Temp\\" + name; }

int RunScript(const std::string& script) {
  std::ofstream(Own(L"phone-select-script.txt").c_str(), std::ios::binary) << script;
  return RunAndWait(BinDir() + L"TodayHost.exe",
                    L"/script \"" + Own(L"phone-select-script.txt") + L"\" /exit", 90000);
}

bool JournalHasLine(const std::string& source, const std::string& event) {
  for (const JournalLine& line : ReadDeviceJournal())
    if (line.source == source && line.event.find(event) != std::string::npos) return true;
  return false;
}

// Waits for a line that a program started by the screen writes after the screen has ended.
bool WaitForLine(const std::string& source, const std::string& event, DWORD ms = 10000) {
  const DWORD start = GetTickCount();
  do {
    if (JournalHasLine(source, event)) return true;
    Sleep(100);
  } while (GetTickCount() - start < ms);
  return false;
}

int CountColor(const screenshot::Image& image, COLORREF color) {
  int count = 0;
  for (UINT y = 0; y < image.height; ++y)
    for (UINT x = 0; x < image.width; ++x) count += image.At(x, y) == color;
  return count;
}

std::wstring ReadKeyText(const wchar_t* value) {
  DWORD type = 0, number = 0;
  std::wstring text;
  testreg::ReadValue(HKEY_LOCAL_MACHINE, kContactsKey, value ? value : L"", &type, &text, &number);
  return text;
}

}  // namespace

TEST_CASE("the talk key on a contact with three numbers opens the chooser, and a pick there dials it") {
  CreateDirectoryW(L"C:\\Temp", nullptr);
  std::ofstream(Own(L"phone-select.vcf").c_str(), std::ios::binary) << kCards;
  REQUIRE(RunAndWait(BinDir() + L"pimtool.exe", L"import " + Own(L"phone-select.vcf"), 60000) == 0);
  ClearDeviceJournal();

  const bool vga = GetSystemMetrics(SM_CXSCREEN) >= 480;
  // The third cell holds "ghi"; its place follows the screen's size.
  const std::string tap = vga ? "124 99" : "60 47";
  const std::string shot =
      vga ? "C:\\Temp\\phone-select-screen-vga.png" : "C:\\Temp\\phone-select-screen.png";
  const std::string first = "C:\\Temp\\phone-select-first.png", closed = "C:\\Temp\\phone-select-closed.png";
  for (const std::string& file : {shot, first, closed}) DeleteFileA(file.c_str());
  // Up, put away with End, up again, the second row picked with the talk key.
  const std::string script = "wait 2500\r\ntap " + tap + "\r\nwait 1200\r\nkey talk\r\nwait 1500\r\nshot " +
                             first + "\r\nkey end\r\nwait 800\r\nshot " + closed +
                             "\r\nkey talk\r\nwait 1500\r\nkey down\r\nwait 500\r\nshot " + shot +
                             "\r\nkey talk\r\nwait 3000\r\nquit\r\n";
  CHECK(RunScript(script) == 0);
  CHECK(JournalHasLine("TodayHost", "item Pagemark loaded"));
  // The popup took the first press, the chooser the second.
  CHECK(JournalHasLine("TodayHost", "key 114 down as hot key to ZovrixWndCls"));
  // The second row in the contact template's order is the home number; nothing else was called.
  CHECK(JournalHasLine("phone", "PhoneMakeCall number \"+44 20 7946 0991\""));
  int calls = 0;
  for (const JournalLine& line : ReadDeviceJournal()) calls += line.source == "phone";
  CHECK(calls == 1);

  // The chooser covers the screen below the top bar: its band at the bottom, a selected row, two others.
  const COLORREF band = 0xDBA68F, selected = 0xAD8C7A, stripe = 0xF6ECE6;
  screenshot::Image up, down, picked;
  REQUIRE(screenshot::LoadPng(std::wstring(first.begin(), first.end()), &up));
  REQUIRE(screenshot::LoadPng(std::wstring(closed.begin(), closed.end()), &down));
  REQUIRE(screenshot::LoadPng(std::wstring(shot.begin(), shot.end()), &picked));
  for (const screenshot::Image* image : {&up, &picked}) {
    CHECK(image->At(2, image->height - 2) == band);
    CHECK(CountColor(*image, selected) > static_cast<int>(image->width) * 10);
    CHECK(CountColor(*image, stripe) > static_cast<int>(image->width) * 10);
  }
  // End put it away: the popup's list shows again, with no trace of the chooser.
  CHECK(down.At(2, down.height - 2) != band);
  CHECK(CountColor(down, selected) == 0);
}

TEST_CASE("an application key given to the product starts its main program") {
  CreateDirectoryW(L"C:\\Temp", nullptr);
  REQUIRE(GetFileAttributesW(kProgram) != INVALID_FILE_ATTRIBUTES);
  const std::string press = "wait 1500\r\nkey app2\r\nwait 1500\r\nquit\r\n";

  // As the device comes, the contacts key names the shell's own contacts, which this device lacks.
  ClearDeviceJournal();
  CHECK(RunScript(press) == 0);
  CHECK(JournalHasLine("TodayHost", "hardware key 40C2: :MSCONTACTS"));
  CHECK(JournalHasLine("TodayHost", "hardware key 40C2: no program on this device for :MSCONTACTS"));
  CHECK_FALSE(JournalHasLine("Pagemark", "run"));

  // The product takes the key over: a press starts it.
  SetSettingString(SECTION_SETTINGS, L"ProgramPath", kProgram, TRUE);
  REQUIRE(AssignHardwareKey(TRUE));
  CHECK(ReadKeyText(L"ResetCmd") == L"\"\\Program Files\\Zovrix Pagemark\\Pagemark.exe\"");
  ClearDeviceJournal();
  CHECK(RunScript(press) == 0);
  CHECK(JournalHasLine("TodayHost",
                       "hardware key 40C2: started \\Program Files\\Zovrix Pagemark\\Pagemark.exe"));
  CHECK(WaitForLine("Pagemark", "run"));

  // Given back, the key names the contacts again and the product's program no longer starts.
  REQUIRE(AssignHardwareKey(FALSE));
  CHECK(ReadKeyText(L"ResetCmd") == L":MSCONTACTS");
  ClearDeviceJournal();
  CHECK(RunScript(press) == 0);
  CHECK(JournalHasLine("TodayHost", "hardware key 40C2: no program on this device for :MSCONTACTS"));
  Sleep(1000);
  CHECK_FALSE(JournalHasLine("Pagemark", "run"));
}

TEST_CASE(
    "the product as the device's contacts program: the contacts key starts it through the shell's alias") {
  SetSettingString(SECTION_SETTINGS, L"ProgramPath", kProgram, TRUE);
  REQUIRE(SetDefaultContactsApp(TRUE));
  ClearDeviceJournal();
  CHECK(RunScript("wait 1500\r\nkey 0x40C2\r\nwait 1500\r\nquit\r\n") == 0);
  CHECK(JournalHasLine(
      "TodayHost", "hardware key 40C2: :MSCONTACTS is \"\\Program Files\\Zovrix Pagemark\\Pagemark.exe\""));
  CHECK(WaitForLine("Pagemark", "run"));
  REQUIRE(SetDefaultContactsApp(FALSE));
  // A key whose program isn't on the device starts nothing and says so.
  ClearDeviceJournal();
  CHECK(RunScript("wait 1500\r\nkey app5\r\nwait 1000\r\nquit\r\n") == 0);
  CHECK(JournalHasLine("TodayHost", "hardware key 40C5: \\Windows\\camera.exe is not on this device"));
}
