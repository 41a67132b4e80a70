// The item on the stand-in Today screen: TodayHost.exe reads the registry, loads PagemarkToday.dll,
// asks for its height and shows it; a start that dies half way takes the item off the screen.
#include <doctest/doctest.h>
#include <windows.h>
#include <fstream>
#include <string>
#include <vector>
#include "Screenshot.h"
#include "TestPaths.h"
#include "TestRegistry.h"

using namespace testpaths;
using namespace testreg;

namespace {

const std::wstring kSettingsKey = std::wstring(kSettingsRoot) + L"\\Settings";
const unsigned kHostTimeoutMs = 60000;

// A fresh device state: the item's settings gone, the item registered by its own export, as an
// installer does, and an empty journal.
void FreshDevice() {
  DeleteTree(HKEY_CURRENT_USER, kSettingsRoot);
  DeleteTree(HKEY_LOCAL_MACHINE, kTodayItemKey);
  ClearDeviceJournal();
  HMODULE item = LoadLibraryW((BinDir() + L"PagemarkToday.dll").c_str());
  REQUIRE(item != nullptr);
  typedef BOOL (*Export)();
  Export registerItem =
      reinterpret_cast<Export>(reinterpret_cast<void*>(GetProcAddress(item, "RegisterTodayItem")));
  REQUIRE(reinterpret_cast<void*>(registerItem) != nullptr);
  // The same export by its ordinal.
  bool sameByOrdinal = reinterpret_cast<void*>(GetProcAddress(item, MAKEINTRESOURCEA(243))) ==
                       reinterpret_cast<void*>(registerItem);
  CHECK(sameByOrdinal);
  CHECK(registerItem());
  FreeLibrary(item);
}

// The device's logical resolution, and a size at 96 dpi scaled to it as the item scales its sizes.
int Dpi() {
  HDC screen = GetDC(nullptr);
  int dpi = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  return dpi;
}

UINT Scaled(int size) { return static_cast<UINT>((size * Dpi() + 48) / 96); }

// The host's line for the item's height: one row of letters, ScaleY(20) - 1.
std::string BarHeightLine() { return "item Pagemark height " + std::to_string(Scaled(20) - 1); }

// A file of this run in the device's own temporary folder: two runs of this program on two devices
// side by side don't meet there.
std::wstring Own(const std::wstring& name) { return L"C:\\Temp\\" + name; }

std::wstring WriteScript(const std::wstring& name, const std::string& body) {
  std::wstring path = Own(name);
  std::ofstream(path.c_str(), std::ios::binary) << body;
  return path;
}

std::string Narrow(const std::wstring& text) {
  int n = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string out(n - 1, '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &out[0], n, nullptr, nullptr);
  return out;
}

int RunHost(const std::wstring& script, const std::vector<std::pair<std::wstring, std::wstring>>& env = {}) {
  return RunAndWait(BinDir() + L"TodayHost.exe", L"/script \"" + script + L"\" /exit", kHostTimeoutMs, env);
}

using screenshot::Image;
using screenshot::LoadPng;

// The rows of the strip: the longest run of rows of which a third or more of the pixels are of the
// strip's bluish gradient (the cells' letters and frames take the rest).
int StripRows(const Image& image, int* firstRow) {
  int best = 0, run = 0;
  *firstRow = -1;
  for (UINT y = 0; y < image.height; ++y) {
    UINT gradient = 0;
    for (UINT x = 0; x < image.width; ++x) {
      COLORREF c = image.At(x, y);
      if (GetBValue(c) >= 0xE0 && GetRValue(c) >= 0x60 && GetRValue(c) <= 0xE0 &&
          GetBValue(c) > GetRValue(c) + 0x10)
        ++gradient;
    }
    bool strip = gradient * 3 >= image.width;
    run = strip ? run + 1 : 0;
    if (run > best) {
      best = run;
      *firstRow = static_cast<int>(y) - run + 1;
    }
  }
  return best;
}

}  // namespace

TEST_CASE("the Today host loads the item from the registry, gets its height and shows the strip") {
  FreshDevice();
  std::wstring shot = Own(L"e2e-today.png");
  DeleteFileW(shot.c_str());
  std::wstring script = WriteScript(L"e2e-today.txt", "wait 3000\nshot " + Narrow(shot) + "\nquit\n");
  CHECK(RunHost(script) == 0);

  std::vector<JournalLine> journal = ReadDeviceJournal();
  bool loaded = false;
  for (const JournalLine& line : journal)
    if (line.source == "TodayHost" && line.event.rfind("item Pagemark loaded ", 0) == 0) loaded = true;
  CHECK(loaded);
  CHECK(JournalHas(journal, "TodayHost", BarHeightLine()));

  Image image;
  REQUIRE(LoadPng(shot, &image));
  // The phone's screen: 240 x 320 at 96 dpi, twice that at 192.
  CHECK(image.width == Scaled(240));
  CHECK(image.height == Scaled(320));
  int first = -1;
  int rows = StripRows(image, &first);
  CAPTURE(first);
  // The strip's gradient inside its one-pixel frame.
  int height = static_cast<int>(Scaled(20)) - 1;
  CHECK(rows >= height - 4);
  CHECK(rows <= height);

  DWORD failed = 9;
  CHECK(ReadDword(HKEY_CURRENT_USER, kSettingsKey, L"TodayFailed", &failed));
  CHECK(failed == 0);
}

TEST_CASE("a start that dies half way leaves TodayFailed at 1, and the next host start takes the item off") {
  FreshDevice();
  std::wstring script = WriteScript(L"e2e-guard.txt", "wait 1500\nquit\n");

  // The first start dies in the middle of the item's start-up, taking the host with it.
  int code = RunHost(script, {{L"PAGEMARK_DIE_AT_STEP", L"12"}});
  CHECK(code == 0xDEAD);
  DWORD failed = 0;
  CHECK(ReadDword(HKEY_CURRENT_USER, kSettingsKey, L"TodayFailed", &failed));
  CHECK(failed == 1);
  CHECK(KeyExists(HKEY_LOCAL_MACHINE, kTodayItemKey));

  // The next start finds the guard set: the item unregisters itself and gives the host no window.
  ClearDeviceJournal();
  CHECK(RunHost(script) == 0);
  CHECK(ReadDword(HKEY_CURRENT_USER, kSettingsKey, L"TodayFailed", &failed));
  CHECK(failed == 0);
  CHECK_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kTodayItemKey));
  std::vector<JournalLine> journal = ReadDeviceJournal();
  bool refused = false;
  for (const JournalLine& line : journal)
    if (line.source == "TodayHost" && line.event.rfind("item Pagemark load failed", 0) == 0) refused = true;
  CHECK(refused);

  // And the start after that doesn't see the item at all.
  ClearDeviceJournal();
  CHECK(RunHost(script) == 0);
  for (const JournalLine& line : ReadDeviceJournal()) CHECK(line.event.find("Pagemark") == std::string::npos);
}

TEST_CASE(
    "the item as the device has it installed loads: its folder under Program Files, the system library in "
    "\\windows") {
  FreshDevice();
  const wchar_t installed[] = L"\\Program Files\\Zovrix Pagemark\\PagemarkToday.dll";
  REQUIRE(GetFileAttributesW(installed) != INVALID_FILE_ATTRIBUTES);
  REQUIRE(GetFileAttributesW(L"\\windows\\coredll.dll") != INVALID_FILE_ATTRIBUTES);
  REQUIRE(RegSetKeyValueW(HKEY_LOCAL_MACHINE, kTodayItemKey, L"DLL", REG_SZ, installed,
                          static_cast<DWORD>((wcslen(installed) + 1) * sizeof(wchar_t))) == ERROR_SUCCESS);
  std::wstring script = WriteScript(L"e2e-installed.txt", "wait 1500\nquit\n");
  CHECK(RunHost(script) == 0);
  std::vector<JournalLine> journal = ReadDeviceJournal();
  CHECK(JournalHas(journal, "TodayHost",
                   "item Pagemark loaded \\Program Files\\Zovrix Pagemark\\PagemarkToday.dll"));
  CHECK(JournalHas(journal, "TodayHost", BarHeightLine()));
  FreshDevice();
}

namespace {

// Where the letter bar's cells stand in a screenshot: the frame columns (0x4A4A4A) along the middle
// row of the strip; cell i runs from frames[i] to frames[i + 1].
std::vector<int> CellFrames(const Image& image, int row) {
  std::vector<int> frames;
  for (UINT x = 0; x < image.width; ++x)
    if (image.At(x, row) == RGB(0x4A, 0x4A, 0x4A)) frames.push_back(static_cast<int>(x));
  return frames;
}

int Centre(const std::vector<int>& frames, int cell) { return (frames[cell] + frames[cell + 1]) / 2; }

bool IsWhite(COLORREF c) { return c == RGB(255, 255, 255); }

// Pixels of the pick marks' pure blue in columns [left, right) and rows [top, bottom).
int BlueIn(const Image& image, int left, int right, int top, int bottom) {
  int count = 0;
  for (int y = top; y < bottom && y < static_cast<int>(image.height); ++y)
    for (int x = left; x < right; ++x) count += image.At(x, y) == RGB(0, 0, 255);
  return count;
}

}  // namespace

TEST_CASE(
    "taps on the Today screen: a group opens the list with its mark, a second group with one hit opens the "
    "contact") {
  FreshDevice();
  std::wstring cards = Own(L"e2e-people.vcf");
  std::ofstream(cards.c_str(), std::ios::binary)
      << "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Moss;Ivan\r\nEND:VCARD\r\n"
         "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Quinn;Otto\r\nEND:VCARD\r\n"
         "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Hart;Gina\r\nEND:VCARD\r\n";
  REQUIRE(RunAndWait(BinDir() + L"pimtool.exe", L"import \"" + cards + L"\"", kHostTimeoutMs) == 0);

  // First where the bar stands.
  std::wstring before = Own(L"e2e-bar.png");
  DeleteFileW(before.c_str());
  CHECK(RunHost(WriteScript(L"e2e-bar.txt", "wait 2500\nshot " + Narrow(before) + "\nquit\n")) == 0);
  Image bar;
  REQUIRE(LoadPng(before, &bar));
  int first = -1;
  int rows = StripRows(bar, &first);
  REQUIRE(rows > 10);
  int middle = first + rows / 2;
  std::vector<int> frames = CellFrames(bar, middle);
  // Eight letter cells and the last one: ten frame columns where the cells meet.
  REQUIRE(frames.size() == 10);
  // A row under the bar, inside the popup's caption strip when the popup shows (the host draws a
  // separator just under the item).
  int below = first + rows + static_cast<int>(Scaled(8));
  CHECK(IsWhite(bar.At(bar.width / 2, below)));

  // MNO (Moss, Otto), then TUV: only Otto begins with "mt".
  std::wstring list = Own(L"e2e-list.png");
  std::wstring contact = Own(L"e2e-contact.png");
  DeleteFileW(list.c_str());
  DeleteFileW(contact.c_str());
  std::string y = std::to_string(middle);
  // What shows after each step, read through the windows' own messages: the list, the contact page,
  // the list again after End, and nothing after a second End.
  std::vector<std::wstring> probes = {Own(L"e2e-probe1.txt"), Own(L"e2e-probe2.txt"), Own(L"e2e-probe3.txt"),
                                      Own(L"e2e-probe4.txt")};
  for (const std::wstring& probe : probes) DeleteFileW(probe.c_str());
  std::string script = "wait 2500\ntap " + std::to_string(Centre(frames, 4)) + " " + y + "\nwait 800\nshot " +
                       Narrow(list) + "\nprobe " + Narrow(probes[0]) + "\ntap " +
                       std::to_string(Centre(frames, 6)) + " " + y + "\nwait 800\nshot " + Narrow(contact) +
                       "\nprobe " + Narrow(probes[1]) + "\nkey end\nwait 500\nprobe " + Narrow(probes[2]) +
                       "\nkey end\nwait 1000\nprobe " + Narrow(probes[3]) + "\nquit\n";
  CHECK(RunHost(WriteScript(L"e2e-taps.txt", script)) == 0);

  // The list holds the two of MNO, the caret on the first; the one hit of "mt" shows as the contact
  // page, no list; End goes back to the list, which holds that one hit, and then hides the popup (on a
  // phone).
  const std::string listed = "list COOL.LIST count 2 caret 0 top 0";
  CHECK(ReadFileText(probes[0]).find(listed) != std::string::npos);
  CHECK(ReadFileText(probes[1]).find("window ZovrixWndCls") != std::string::npos);
  CHECK(ReadFileText(probes[1]).find("list COOL.LIST") == std::string::npos);
  bool phone = GetFileAttributesW(L"\\windows\\sms.dll") != INVALID_FILE_ATTRIBUTES;
  if (phone) {
    // Where the host sent each key, and what the probes saw, for the report of a failure.
    std::string keys;
    for (const JournalLine& line : ReadDeviceJournal())
      if (line.source == "TodayHost" && line.event.rfind("key ", 0) == 0) keys += line.event + "; ";
    INFO("host: ", keys);
    INFO("after the first End: ", ReadFileText(probes[2]));
    INFO("after the second End: ", ReadFileText(probes[3]));
    CHECK(ReadFileText(probes[2]).find("list COOL.LIST count 1 caret 0") != std::string::npos);
    CHECK(ReadFileText(probes[3]).find("list COOL.LIST") == std::string::npos);
  }

  Image afterOne;
  REQUIRE(LoadPng(list, &afterOne));
  // One mark under MNO, none under ABC.
  int blueUnderMno = BlueIn(afterOne, frames[4], frames[5], first, first + rows + 3);
  int blueUnderAbc = BlueIn(afterOne, frames[0], frames[1], first, first + rows + 3);
  CHECK(blueUnderMno > 0);
  CHECK(blueUnderAbc == 0);
  // The popup's strip lies under the bar now.
  CHECK_FALSE(IsWhite(afterOne.At(afterOne.width / 2, below)));
  // The last cell shows another picture while the popup is open.
  bool lastCellChanged = false;
  for (int x = frames[8]; x < frames[9]; ++x)
    for (int row = first; row < first + rows; ++row)
      if (afterOne.At(x, row) != bar.At(x, row)) lastCellChanged = true;
  CHECK(lastCellChanged);

  Image afterTwo;
  REQUIRE(LoadPng(contact, &afterTwo));
  CHECK_FALSE(IsWhite(afterTwo.At(afterTwo.width / 2, below)));
  int blueUnderTuv = BlueIn(afterTwo, frames[6], frames[7], first, first + rows + 3);
  CHECK(blueUnderTuv > 0);

  std::vector<JournalLine> journal = ReadDeviceJournal();
  CHECK(JournalHas(journal, "TodayHost", "tap " + std::to_string(Centre(frames, 4)) + " " + y));
}

namespace {

// Runs the host once to find the bar: its first row, its rows and the frames between its cells.
void FindBar(const std::wstring& name, Image* image, int* first, int* rows, std::vector<int>* frames) {
  std::wstring shot = Own(name);
  DeleteFileW(shot.c_str());
  CHECK(RunHost(WriteScript(name + L".txt", "wait 2500\nshot " + Narrow(shot) + "\nquit\n")) == 0);
  REQUIRE(LoadPng(shot, image));
  *rows = StripRows(*image, first);
  REQUIRE(*rows > 10);
  *frames = CellFrames(*image, *first + *rows / 2);
  REQUIRE(frames->size() == 10);
}

}  // namespace

TEST_CASE(
    "over 2,000 contacts: a tap on a cell marks it and opens the list; a hold on the last cell clears the "
    "picks") {
  FreshDevice();
  REQUIRE(RunAndWait(BinDir() + L"pimtool.exe", L"generate 2000 --seed 3", 10 * kHostTimeoutMs) == 0);
  Image bar;
  int first = -1, rows = 0;
  std::vector<int> frames;
  FindBar(L"e2e-many.png", &bar, &first, &rows, &frames);
  std::string y = std::to_string(first + rows / 2);
  std::wstring picked = Own(L"e2e-many-picked.png");
  std::wstring cleared = Own(L"e2e-many-cleared.png");
  DeleteFileW(picked.c_str());
  DeleteFileW(cleared.c_str());
  std::string script = "wait 2500\ntap " + std::to_string(Centre(frames, 2)) + " " + y + "\nwait 800\ntap " +
                       std::to_string(Centre(frames, 0)) + " " + y + "\nwait 800\nshot " + Narrow(picked) +
                       "\nhold " + std::to_string(Centre(frames, 8)) + " " + y + " 900\nwait 800\nshot " +
                       Narrow(cleared) + "\nquit\n";
  CHECK(RunHost(WriteScript(L"e2e-many.txt", script)) == 0);
  Image one, two;
  REQUIRE(LoadPng(picked, &one));
  REQUIRE(LoadPng(cleared, &two));
  // A row under the bar, inside the popup's caption strip when the popup shows (the host draws a
  // separator just under the item).
  int below = first + rows + static_cast<int>(Scaled(8));
  CHECK(BlueIn(one, frames[2], frames[3], first, first + rows + 3) > 0);
  CHECK(BlueIn(one, frames[0], frames[1], first, first + rows + 3) > 0);
  CHECK_FALSE(IsWhite(one.At(one.width / 2, below)));
  // The long press: every mark gone, the list still open with all contacts.
  CHECK(BlueIn(two, 0, static_cast<int>(two.width), first, first + rows + 3) == 0);
  CHECK_FALSE(IsWhite(two.At(two.width / 2, below)));
}

TEST_CASE("a skin.txt beside the main program paints the bar in its colours") {
  FreshDevice();
  const wchar_t program[] = L"\\Program Files\\Zovrix Pagemark\\Pagemark.exe";
  WriteString(HKEY_CURRENT_USER, kSettingsKey, L"ProgramPath", program);
  std::wstring skin = L"\\Program Files\\Zovrix Pagemark\\skin.txt";
  std::ofstream(skin.c_str(), std::ios::binary) << "TodayAbcColor1 = FF0000\r\nTodayAbcColor2=FF0000\r\n\r\n";
  Image image;
  int first = -1;
  std::wstring shot = Own(L"e2e-skin.png");
  DeleteFileW(shot.c_str());
  CHECK(RunHost(WriteScript(L"e2e-skin.txt", "wait 2500\nshot " + Narrow(shot) + "\nquit\n")) == 0);
  DeleteFileW(skin.c_str());
  REQUIRE(LoadPng(shot, &image));
  // The blue strip is gone; its rows are red now.
  CHECK(StripRows(image, &first) < 5);
  int red = 0;
  for (UINT y = Scaled(30); y < Scaled(80) && y < image.height; ++y)
    for (UINT x = 0; x < image.width; ++x) red += image.At(x, y) == RGB(255, 0, 0);
  CHECK(static_cast<UINT>(red) > image.width * Scaled(8));
}
