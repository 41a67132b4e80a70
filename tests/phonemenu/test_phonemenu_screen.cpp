// The phone menu end to end on the Today screen: two contacts imported from vCards are found by a tap
// on their letter group; a tap on the right-hand end of the first row opens the menu of its three
// numbers and its address. A tap on the mobile number makes it the contact's default, which the
// database holds afterwards (read with pimtool); the next start of the item checks it in the menu, and
// the menu's last line calls it through the device's phone. TodayHost runs the item from the device's
// registry; its probe gives the menu's window, the screenshots show which line carries the check, and
// the device journal tells what was called.
#include <doctest/doctest.h>
#include <windows.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Screenshot.h"
#include "TestPaths.h"

using namespace testpaths;
using screenshot::Image;
using screenshot::LoadPng;

namespace {

const char kCards[] =
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Hollis;Greta;;;\r\nFN:Greta Hollis\r\nTEL;WORK;VOICE:+44 20 7946 "
    "0018\r\n"
    "TEL;CELL:+44 7700 900123\r\nTEL;HOME:+44 20 7946 0991\r\nEMAIL;INTERNET:greta@quarrylane.example\r\n"
    "END:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Ivers;Hugo;;;\r\nFN:Hugo Ivers\r\nTEL;CELL:+44 7700 "
    "900456\r\nEND:VCARD\r\n";

// The menu's lines in order: Work, Home, Mobile, E-mail, the separator, "Dial to...".
const int kMobileLine = 2;
const int kMenuLines = 5;
// The popup menu's frame above its first line and below its last.
const int kMenuFrame = 3;

std::wstring Own(const std::wstring& name) { return L"C:\\Temp\\" + name; }
std::string OwnA(const std::string& name) { return "C:\\Temp\\" + name; }

bool Vga() { return GetSystemMetrics(SM_CXSCREEN) >= 480; }
int Scale(int n) { return Vga() ? 2 * n : n; }
std::string At(int x, int y) { return std::to_string(x) + " " + std::to_string(y); }

int RunScript(const std::string& script) {
  std::ofstream(Own(L"menu-script.txt").c_str(), std::ios::binary) << script;
  return RunAndWait(BinDir() + L"TodayHost.exe", L"/script \"" + Own(L"menu-script.txt") + L"\" /exit",
                    90000);
}

std::string Pimtool(const std::wstring& arguments) {
  std::string out;
  REQUIRE(RunCaptured(BinDir() + L"pimtool.exe", arguments, 60000, &out, nullptr) == 0);
  return out;
}

std::vector<std::string> JournalEvents(const std::string& source) {
  std::vector<std::string> events;
  for (const JournalLine& line : ReadDeviceJournal())
    if (line.source == source) events.push_back(line.event);
  return events;
}

bool JournalHasLine(const std::string& source, const std::string& event) {
  for (const std::string& line : JournalEvents(source))
    if (line.find(event) != std::string::npos) return true;
  return false;
}

// The height of a menu line: the line of the menu's font, as the item makes it.
int LineHeight() {
  LOGFONTW font = {};
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof font, &font);
  font.lfHeight = Vga() ? 28 : 14;
  font.lfWidth = 0;
  font.lfWeight = 200;
  HFONT made = CreateFontIndirectW(&font);
  HDC dc = GetDC(nullptr);
  HGDIOBJ old = SelectObject(dc, made);
  TEXTMETRICW metrics = {};
  GetTextMetricsW(dc, &metrics);
  SelectObject(dc, old);
  ReleaseDC(nullptr, dc);
  DeleteObject(made);
  return metrics.tmHeight + metrics.tmInternalLeading;
}

// The popup menu's window as the probe wrote it; false when none was open.
bool MenuWindow(const std::wstring& probe, RECT& rect) {
  std::istringstream lines(ReadFileText(probe));
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string kind, name, at;
    words >> kind >> name >> at;
    if (kind == "window" && name == "#32768" && at == "at") {
      words >> rect.left >> rect.top >> rect.right >> rect.bottom;
      return true;
    }
  }
  return false;
}

// The lines whose check mark's place, left of the label, holds dark pixels.
std::vector<int> CheckedLines(const Image& shot, const RECT& menu, int lineHeight) {
  std::vector<int> checked;
  const int left = menu.left + kMenuFrame;
  const int checkRight = left + Scale(6) + Scale(11) + 2;
  for (int line = 0; line < kMenuLines - 1; ++line) {
    const int top = menu.top + kMenuFrame + line * lineHeight;
    int dark = 0;
    for (int y = top + 2; y < top + lineHeight - 2; ++y)
      for (int x = left; x < checkRight; ++x) {
        const COLORREF c = shot.At(static_cast<UINT>(x), static_cast<UINT>(y));
        if (GetRValue(c) + GetGValue(c) + GetBValue(c) < 3 * 0x60) ++dark;
      }
    if (dark > Scale(6)) checked.push_back(line);
  }
  return checked;
}

}  // namespace

TEST_CASE(
    "the phone menu of a row makes another number the default in the database, and its last line calls it") {
  CreateDirectoryW(L"C:\\Temp", nullptr);
  std::ofstream(Own(L"menu.vcf").c_str(), std::ios::binary) << kCards;
  REQUIRE(RunAndWait(BinDir() + L"pimtool.exe", L"import " + Own(L"menu.vcf"), 60000) == 0);
  const std::string list = Pimtool(L"list");
  const size_t found = list.find("  Hollis, Greta");
  REQUIRE(found != std::string::npos);
  REQUIRE(found >= 8);
  const std::wstring id(list.begin() + static_cast<long>(found - 8), list.begin() + static_cast<long>(found));
  CHECK(Pimtool(L"dump " + id).find("DefaultItem:") == std::string::npos);
  ClearDeviceJournal();

  // "ghi" is the third cell; both contacts are found, and the list shows Greta Hollis first. The
  // phone column is the right-hand end of her row; the list's empty part below the rows does nothing.
  const std::string open = "wait 2500\r\ntap " + At(Scale(60), Scale(47)) + "\r\nwait 1200\r\ntap " +
                           At(Scale(236), Scale(85)) + "\r\nwait 800\r\n";
  const std::string close = "tap " + At(Scale(120), Scale(260)) + "\r\nwait 400\r\n";
  const std::string before = OwnA("menu-before.png"), after = OwnA("menu-after.png");
  DeleteFileA(before.c_str());
  DeleteFileA(after.c_str());

  // The menu opens with the first number checked, and closes with a tap beside it.
  REQUIRE(RunScript(open + "shot " + before + "\r\nprobe " + OwnA("menu-probe.txt") + "\r\n" + close +
                    "quit\r\n") == 0);
  CHECK(JournalHasLine("TodayHost", "item Pagemark loaded"));
  RECT menu = {0, 0, 0, 0};
  REQUIRE(MenuWindow(Own(L"menu-probe.txt"), menu));
  // Down from the row's right-hand end.
  CHECK(menu.right >= GetSystemMetrics(SM_CXSCREEN) - 2);
  CHECK(menu.top >= Scale(85));
  const int h = LineHeight();
  Image shot;
  REQUIRE(LoadPng(std::wstring(before.begin(), before.end()), &shot));
  CHECK(CheckedLines(shot, menu, h) == std::vector<int>{0});

  // A tap on the mobile number: it becomes the default, and nothing is called.
  const int x = (menu.left + menu.right) / 2;
  const int mobileY = menu.top + kMenuFrame + kMobileLine * h + h / 2;
  REQUIRE(RunScript(open + "tap " + At(x, mobileY) + "\r\nwait 1000\r\nquit\r\n") == 0);
  CHECK(Pimtool(L"dump " + id).find("DefaultItem: 3a1c001f") != std::string::npos);
  CHECK(JournalEvents("phone").empty());

  // The next start checks the mobile number; the last line calls it.
  const int actionY = menu.bottom - kMenuFrame - h / 2;
  REQUIRE(RunScript(open + "shot " + after + "\r\ntap " + At(x, actionY) + "\r\nwait 3000\r\nquit\r\n") == 0);
  REQUIRE(LoadPng(std::wstring(after.begin(), after.end()), &shot));
  CHECK(CheckedLines(shot, menu, h) == std::vector<int>{kMobileLine});
  CHECK(JournalHasLine("phone", "PhoneMakeCall number \"+44 7700 900123\""));
  // Calling the default leaves it as it was.
  CHECK(Pimtool(L"dump " + id).find("DefaultItem: 3a1c001f") != std::string::npos);
}
