// End to end on a phone: the Today host loads the item, a tap on a letter group opens the list, and the
// talk key calls the contact under the caret through the device's phone; the device journal shows the
// phone program started and the call with the contact's number and name.
#include <doctest/doctest.h>
#include <windows.h>
#include <fstream>
#include <string>
#include <vector>
#include "Screenshot.h"
#include "TestPaths.h"
#include "TestRegistry.h"

using namespace testpaths;

namespace {

const unsigned kHostTimeoutMs = 60000;

std::string Narrow(const std::wstring& text) {
  int n = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string out(n > 0 ? n - 1 : 0, '\0');
  if (n > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &out[0], n, nullptr, nullptr);
  return out;
}

std::wstring Own(const std::wstring& name) { return L"C:\\Temp\\" + name; }

int RunHost(const std::wstring& name, const std::string& script) {
  const std::wstring path = Own(name);
  std::ofstream(path.c_str(), std::ios::binary) << script;
  return RunAndWait(BinDir() + L"TodayHost.exe", L"/script \"" + path + L"\" /exit", kHostTimeoutMs);
}

using screenshot::Image;
using screenshot::LoadPng;

// The middle row of the letter strip: the longest run of rows of which a third or more is the strip's
// bluish gradient.
int StripMiddle(const Image& image) {
  int best = 0, run = 0, first = -1;
  for (UINT y = 0; y < image.height; ++y) {
    UINT gradient = 0;
    for (UINT x = 0; x < image.width; ++x) {
      COLORREF c = image.At(x, y);
      if (GetBValue(c) >= 0xE0 && GetRValue(c) >= 0x60 && GetRValue(c) <= 0xE0 &&
          GetBValue(c) > GetRValue(c) + 0x10)
        ++gradient;
    }
    run = gradient * 3 >= image.width ? run + 1 : 0;
    if (run > best) {
      best = run;
      first = static_cast<int>(y) - run + 1;
    }
  }
  return best > 10 ? first + best / 2 : -1;
}

// The frame columns (0x4A4A4A) between the cells along a row.
std::vector<int> CellFrames(const Image& image, int row) {
  std::vector<int> frames;
  for (UINT x = 0; x < image.width; ++x)
    if (image.At(x, row) == RGB(0x4A, 0x4A, 0x4A)) frames.push_back(static_cast<int>(x));
  return frames;
}

}  // namespace

TEST_CASE("the talk key on the Today screen's list calls the contact under the caret through phone.dll") {
  REQUIRE(GetFileAttributesW(L"\\windows\\sms.dll") != INVALID_FILE_ATTRIBUTES);
  testreg::DeleteTree(HKEY_CURRENT_USER, testreg::kSettingsRoot);
  // The talk key dials without the chooser, which has a test of its own.
  testreg::WriteDword(HKEY_CURRENT_USER, std::wstring(testreg::kSettingsRoot) + L"\\Settings", L"DialType",
                      1);
  const std::wstring cards = Own(L"phone-people.vcf");
  std::ofstream(cards.c_str(), std::ios::binary)
      << "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Moss;Ivan\r\nTEL;CELL:+7 916 123-45-67\r\nEND:VCARD\r\n"
         "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Nash;Mary\r\nTEL;HOME:0301234567\r\nEND:VCARD\r\n"
         "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Hart;Gina\r\nTEL;WORK:2125551234\r\nEND:VCARD\r\n";
  REQUIRE(RunAndWait(BinDir() + L"pimtool.exe", L"import \"" + cards + L"\"", kHostTimeoutMs) == 0);

  const std::wstring shot = Own(L"phone-bar.png");
  DeleteFileW(shot.c_str());
  REQUIRE(RunHost(L"phone-bar.txt", "wait 2500\nshot " + Narrow(shot) + "\nquit\n") == 0);
  Image bar;
  REQUIRE(LoadPng(shot, &bar));
  const int middle = StripMiddle(bar);
  REQUIRE(middle > 0);
  const std::vector<int> frames = CellFrames(bar, middle);
  REQUIRE(frames.size() == 10);

  // MNO holds Moss and Nash: the list opens with the caret on Moss, and the talk key calls him.
  const std::wstring probe = Own(L"phone-probe.txt");
  DeleteFileW(probe.c_str());
  const size_t mark = ReadDeviceJournal().size();
  const std::string script = "wait 2500\ntap " + std::to_string((frames[4] + frames[5]) / 2) + " " +
                             std::to_string(middle) + "\nwait 800\nprobe " + Narrow(probe) +
                             "\nkey talk\nwait 3000\nquit\n";
  CHECK(RunHost(L"phone-talk.txt", script) == 0);
  CHECK(ReadFileText(probe).find("list COOL.LIST count 2 caret 0") != std::string::npos);

  std::vector<JournalLine> lines = ReadDeviceJournal();
  std::vector<std::string> phone, cprog;
  for (size_t i = mark; i < lines.size(); ++i) {
    if (lines[i].source == "phone") phone.push_back(lines[i].event);
    if (lines[i].source == "cprog") cprog.push_back(lines[i].event);
  }
  CHECK(phone ==
        std::vector<std::string>{"PhoneMakeCall number \"+7 916 123-45-67\" party \"Moss, Ivan\" flags 0"});
  REQUIRE_FALSE(cprog.empty());
  CHECK(cprog[0] == "run");
  HWND program = FindWindowW(L"MSCprog", nullptr);
  if (program) PostMessageW(program, WM_CLOSE, 0, 0);
}
