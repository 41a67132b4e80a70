// The contact page end to end: a contact imported from a vCard with several numbers, mails, a web page
// and a note is found on the Today screen of the stand-in device, opens as its page, and the centre key
// on its first number calls it through the device's phone. TodayHost runs the item from the device's
// registry; the screenshot of the page and the device journal tell what happened.
#include <doctest/doctest.h>
#include <windows.h>
#include <fstream>
#include <string>
#include <vector>
#include "Screenshot.h"
#include "TestPaths.h"

using namespace testpaths;

namespace {

const char kCard[] =
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Hollis;Greta;;;\r\nFN:Greta Hollis\r\nORG:Quarry Lane Books\r\n"
    "TITLE:Owner\r\nTEL;WORK;VOICE:+44 20 7946 0018\r\nTEL;CELL:+44 7700 900123\r\nTEL;HOME:+44 20 7946 "
    "0991\r\n"
    "EMAIL;INTERNET:greta@quarrylane.example\r\nEMAIL;INTERNET:orders@quarrylane.example\r\n"
    "URL:http://quarrylane.example/\r\nNOTE:Prefers calls after ten. Ask about the map collection.\r\n"
    "END:VCARD\r\n";

std::wstring Own(const std::wstring& name) { return L"C:\\Temp\\" + name; }

using screenshot::Image;
using screenshot::LoadPng;

// The first row, from the top, with a green pixel of a phone icon in the right quarter of the screen.
int FirstPhoneIconRow(const Image& image) {
  for (UINT y = 0; y < image.height; ++y)
    for (UINT x = image.width * 3 / 4; x < image.width; ++x) {
      COLORREF c = image.At(x, y);
      if (GetGValue(c) > 0x60 && GetGValue(c) > GetRValue(c) + 0x30 && GetGValue(c) > GetBValue(c) + 0x30)
        return static_cast<int>(y);
    }
  return -1;
}

int RunScript(const std::string& script) {
  std::ofstream(Own(L"page-script.txt").c_str(), std::ios::binary) << script;
  return RunAndWait(BinDir() + L"TodayHost.exe", L"/script \"" + Own(L"page-script.txt") + L"\" /exit",
                    90000);
}

bool JournalHasLine(const std::string& source, const std::string& event) {
  std::vector<JournalLine> lines = ReadDeviceJournal();
  for (const JournalLine& line : lines)
    if (line.source == source && line.event.find(event) != std::string::npos) return true;
  return false;
}

}  // namespace

TEST_CASE("a contact from a vCard opens as its page, and the centre key on its first number calls it") {
  CreateDirectoryW(L"C:\\Temp", nullptr);
  std::ofstream(Own(L"page.vcf").c_str(), std::ios::binary) << kCard;
  REQUIRE(RunAndWait(BinDir() + L"pimtool.exe", L"import " + Own(L"page.vcf"), 60000) == 0);
  ClearDeviceJournal();

  // The third cell holds "ghi"; its place follows the screen's size.
  bool vga = GetSystemMetrics(SM_CXSCREEN) >= 480;
  std::string tap = vga ? "124 99" : "60 47";
  std::string shot = "C:\\Temp\\contact-page.png";
  DeleteFileA(shot.c_str());
  // A search that finds one contact opens its page at once.
  std::string open = "wait 2500\r\ntap " + tap + "\r\nwait 1200\r\n";
  CHECK(RunScript(open + "shot " + shot + "\r\nquit\r\n") == 0);
  CHECK(JournalHasLine("TodayHost", "item Pagemark loaded"));
  // The note reached the rich ink control of the page.
  CHECK(JournalHasLine("richink", "stream in format 0x10802"));
  CHECK(JournalHasLine("richink", "Prefers calls after ten. Ask about the map collection."));
  Image page;
  REQUIRE(LoadPng(std::wstring(shot.begin(), shot.end()), &page));
  // The work number comes first in the template's order, with its phone icon at the right.
  int row = FirstPhoneIconRow(page);
  REQUIRE(row > 0);
  int iconSide = vga ? 36 : 18;
  std::string number = std::to_string(page.width / 2) + " " + std::to_string(row + iconSide / 3);
  ClearDeviceJournal();
  CHECK(RunScript(open + "tap " + number + "\r\nwait 3000\r\nquit\r\n") == 0);
  CHECK(JournalHasLine("phone", "PhoneMakeCall number \"+44 20 7946 0018\""));
}
