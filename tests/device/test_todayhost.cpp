// TodayHost.exe on the stand-in device: it loads the registered custom items, gives them their height,
// routes selection, keys and taps, reloads on request and takes screenshots. Each case registers items
// of its own (testitem.dll from the bin folder), runs the real host with a script and reads what
// happened from the device journal and the files.
#include <doctest/doctest.h>
#include <windows.h>

#include <DeviceJournal.h>
#include <todaycmn.h>

#include <cstddef>
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr wchar_t kItemsKey[] = L"Software\\Microsoft\\Today\\Items";
// Every item a case registers has this prefix, so that a case can start by removing all of them.
constexpr wchar_t kPrefix[] = L"HostTest";
constexpr DWORD kHostTimeoutMs = 90000;

// Where the probe of the keys' run is written, in the device's own temporary folder.
std::string ProbePath() { return "C:\\Temp\\host-probe.txt"; }
std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

std::string Narrow(const std::wstring& text) {
  int n = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string out(n > 0 ? n - 1 : 0, '\0');
  if (n > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &out[0], n, nullptr, nullptr);
  return out;
}

std::wstring BinDir() {
  wchar_t path[MAX_PATH];
  DWORD n = GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring dir(path, n);
  return dir.substr(0, dir.find_last_of(L"\\/") + 1);
}

std::wstring TempDir() {
  wchar_t path[MAX_PATH];
  DWORD n = GetTempPathW(MAX_PATH, path);
  std::wstring dir(path, n);
  if (!dir.empty() && dir.back() != L'\\') dir += L'\\';
  return dir;
}

int ScreenDpi() {
  HDC screen = GetDC(nullptr);
  int dpi = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  return dpi;
}

// ---- registry ----

void RemoveTestItems() {
  HKEY items;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kItemsKey, 0, KEY_ALL_ACCESS, &items) != ERROR_SUCCESS) return;
  std::vector<std::wstring> names;
  for (DWORD i = 0;; ++i) {
    wchar_t name[256];
    DWORD length = 256;
    if (RegEnumKeyExW(items, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    if (wcsncmp(name, kPrefix, wcslen(kPrefix)) == 0) names.push_back(name);
  }
  for (const auto& name : names) RegDeleteKeyW(items, name.c_str());
  RegCloseKey(items);
}

struct ItemEntry {
  std::wstring name;
  std::wstring dll;
  DWORD type = tlitCustom;
  DWORD enabled = 1;
  DWORD order = 0;
  DWORD flags = 0;
  DWORD selectability = TODAY_SELECTABILITY_CUSTOMSELECTION;
};

void Register(const ItemEntry& entry) {
  std::wstring path = std::wstring(kItemsKey) + L"\\" + entry.name;
  HKEY key;
  REQUIRE(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                          nullptr) == ERROR_SUCCESS);
  auto dword = [&](const wchar_t* name, DWORD value) {
    RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
  };
  if (!entry.dll.empty())
    RegSetValueExW(key, L"DLL", 0, REG_SZ, reinterpret_cast<const BYTE*>(entry.dll.c_str()),
                   static_cast<DWORD>((entry.dll.size() + 1) * sizeof(wchar_t)));
  dword(L"Type", entry.type);
  dword(L"Enabled", entry.enabled);
  dword(L"Options", 0);
  dword(L"Order", entry.order);
  dword(L"Flags", entry.flags);
  dword(L"Selectability", entry.selectability);
  RegCloseKey(key);
}

// Registers the items of a case and removes them again however the case ends.
struct RegisteredItems {
  explicit RegisteredItems(const std::vector<ItemEntry>& entries) {
    RemoveTestItems();
    for (const auto& entry : entries) Register(entry);
  }
  ~RegisteredItems() { RemoveTestItems(); }
};

// ---- journal ----

struct Line {
  std::string source;
  std::string event;
};

long long JournalSize() {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(DEVICE_JOURNAL_PATH, GetFileExInfoStandard, &data)) return 0;
  return (static_cast<long long>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

// The journal lines written since the given size of the file.
std::vector<Line> JournalSince(long long offset) {
  std::vector<Line> lines;
  HANDLE file = CreateFileW(DEVICE_JOURNAL_PATH, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return lines;
  LARGE_INTEGER at;
  at.QuadPart = offset;
  SetFilePointerEx(file, at, nullptr, FILE_BEGIN);
  std::string text;
  char buffer[8192];
  DWORD got = 0;
  while (ReadFile(file, buffer, sizeof buffer, &got, nullptr) && got > 0) text.append(buffer, got);
  CloseHandle(file);

  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    start = end + 1;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    size_t tab1 = line.find('\t');
    size_t tab2 = tab1 == std::string::npos ? std::string::npos : line.find('\t', tab1 + 1);
    if (tab2 == std::string::npos) continue;
    lines.push_back({line.substr(tab1 + 1, tab2 - tab1 - 1), line.substr(tab2 + 1)});
  }
  return lines;
}

class Journal {
 public:
  explicit Journal(std::vector<Line> lines) : lines_(std::move(lines)) {}

  // Index of the first line at or after `from` whose event is exactly `event`; -1 when there is none.
  int Find(const char* source, const std::string& event, int from = 0) const {
    for (int i = from < 0 ? 0 : from; i < static_cast<int>(lines_.size()); ++i)
      if (lines_[i].source == source && lines_[i].event == event) return i;
    return -1;
  }
  // Same, for an event that starts with `prefix`.
  int FindPrefix(const char* source, const std::string& prefix, int from = 0) const {
    for (int i = from < 0 ? 0 : from; i < static_cast<int>(lines_.size()); ++i)
      if (lines_[i].source == source && lines_[i].event.compare(0, prefix.size(), prefix) == 0) return i;
    return -1;
  }
  int Count(const char* source, const std::string& event) const {
    int n = 0;
    for (const auto& line : lines_) n += line.source == source && line.event == event;
    return n;
  }
  int CountPrefix(const char* source, const std::string& prefix) const {
    int n = 0;
    for (const auto& line : lines_)
      n += line.source == source && line.event.compare(0, prefix.size(), prefix) == 0;
    return n;
  }
  const std::string& Event(int index) const { return lines_.at(static_cast<size_t>(index)).event; }
  std::string Dump() const {
    std::string out;
    for (const auto& line : lines_) out += line.source + "\t" + line.event + "\n";
    return out;
  }

 private:
  std::vector<Line> lines_;
};

constexpr char kHost[] = "TodayHost";
constexpr char kItem[] = "testitem";

// ---- running the host ----

struct HostRun {
  int exitCode = -1;
  Journal journal{{}};
};

HostRun RunHost(const std::string& script) {
  const std::wstring scriptPath = TempDir() + L"todayhost-test-script.txt";
  FILE* out = _wfopen(scriptPath.c_str(), L"wb");
  REQUIRE(out != nullptr);
  fwrite(script.data(), 1, script.size(), out);
  fclose(out);

  const long long offset = JournalSize();
  std::wstring command = L"\"" + BinDir() + L"TodayHost.exe\" /script \"" + scriptPath + L"\" /exit";
  STARTUPINFOW si{};
  si.cb = sizeof si;
  PROCESS_INFORMATION pi{};
  REQUIRE(CreateProcessW(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi));
  HostRun run;
  DWORD waited = WaitForSingleObject(pi.hProcess, kHostTimeoutMs);
  if (waited != WAIT_OBJECT_0) TerminateProcess(pi.hProcess, 99);
  DWORD code = 0;
  GetExitCodeProcess(pi.hProcess, &code);
  CloseHandle(pi.hThread);
  CloseHandle(pi.hProcess);
  DeleteFileW(scriptPath.c_str());
  CHECK_MESSAGE(waited == WAIT_OBJECT_0, "TodayHost did not end within the time limit");
  run.exitCode = waited == WAIT_OBJECT_0 ? static_cast<int>(code) : -1;
  run.journal = Journal(JournalSince(offset));
  return run;
}

struct Placement {
  int left = 0, top = 0, width = 0, height = 0;
};

// From the host's "item <name> placed <left> <top> <width> <height>", the last one in the run.
bool LastPlacement(const Journal& journal, const std::string& name, Placement* placement) {
  const std::string prefix = "item " + name + " placed ";
  int found = -1;
  for (int i = journal.FindPrefix(kHost, prefix); i >= 0; i = journal.FindPrefix(kHost, prefix, i + 1))
    found = i;
  if (found < 0) return false;
  return sscanf(journal.Event(found).c_str() + prefix.size(), "%d %d %d %d", &placement->left,
                &placement->top, &placement->width, &placement->height) == 4;
}

std::vector<unsigned char> ReadFileBytes(const std::wstring& path) {
  std::vector<unsigned char> bytes;
  FILE* in = _wfopen(path.c_str(), L"rb");
  if (!in) return bytes;
  unsigned char buffer[4096];
  size_t got;
  while ((got = fread(buffer, 1, sizeof buffer, in)) > 0) bytes.insert(bytes.end(), buffer, buffer + got);
  fclose(in);
  return bytes;
}

unsigned BigEndian32(const unsigned char* p) {
  return (static_cast<unsigned>(p[0]) << 24) | (static_cast<unsigned>(p[1]) << 16) |
         (static_cast<unsigned>(p[2]) << 8) | p[3];
}

struct DpiAware {
  DpiAware() { SetProcessDPIAware(); }
} g_dpiAware;

}  // namespace

TEST_CASE("todaycmn.h: the record layout of this build and the message numbers") {
  CHECK(offsetof(TODAYLISTITEM, szName) == 0x000);
  CHECK(offsetof(TODAYLISTITEM, tlit) == 0x040);
  CHECK(offsetof(TODAYLISTITEM, dwOrder) == 0x044);
  CHECK(offsetof(TODAYLISTITEM, cyp) == 0x048);
  CHECK(offsetof(TODAYLISTITEM, fEnabled) == 0x04C);
  CHECK(offsetof(TODAYLISTITEM, fOptions) == 0x050);
  CHECK(offsetof(TODAYLISTITEM, grfFlags) == 0x054);
  CHECK(offsetof(TODAYLISTITEM, szDLLPath) == 0x058);
  // From here on, pointers and handles take their natural 8 bytes.
  CHECK(offsetof(TODAYLISTITEM, hinstDLL) == 0x260);
  CHECK(offsetof(TODAYLISTITEM, hwndCustom) == 0x268);
  CHECK(offsetof(TODAYLISTITEM, fSizeOnDraw) == 0x270);
  CHECK(offsetof(TODAYLISTITEM, prgbCachedData) == 0x278);
  CHECK(offsetof(TODAYLISTITEM, cbCachedData) == 0x280);
  CHECK(offsetof(TODAYLISTITEM, dwSelectability) == 0x284);
  CHECK(sizeof(TODAYLISTITEM) == 0x288);
  CHECK(sizeof(TODAYDRAWWATERMARKINFO) == 32);

  CHECK(tlitCustom == 4);
  CHECK(TODAY_SELECTABILITY_SELECTABLE == 1);
  CHECK(TODAY_SELECTABILITY_CUSTOMSELECTION == 2);
  CHECK(TODAYM_GETCOLOR == 0x464);
  CHECK(TODAYM_DRAWWATERMARK == 0x465);
  CHECK(TODAYM_TOOKSELECTION == 0x466);
  CHECK(TODAYM_REQUESTREFRESH == 0x467);
  CHECK(WM_TODAYCUSTOM_CLEARCACHE == 0x4F2);
  CHECK(WM_TODAYCUSTOM_QUERYREFRESHCACHE == 0x4F3);
  CHECK(WM_TODAYCUSTOM_RECEIVEDSELECTION == 0x4F4);
  CHECK(WM_TODAYCUSTOM_LOSTSELECTION == 0x4F5);
  CHECK(WM_TODAYCUSTOM_USERNAVIGATION == 0x4F6);
  CHECK(WM_TODAYCUSTOM_ACTION == 0x4F7);
  CHECK(TODAYCOLOR_TEXT == 0x10000004);
  CHECK(TODAYCOLOR_HIGHLIGHT == 0x10000022);
  CHECK(TODAYCOLOR_HIGHLIGHTEDTEXT == 0x10000023);
  CHECK(ORDINAL_INITIALIZEITEM == 240);
  CHECK(ORDINAL_OPTIONSDIALOGPROC == 241);
  CHECK(MAX_ITEMNAME == 32);
}

std::wstring ShotPath() { return TempDir() + L"todayhost-test-shot.png"; }

// One run of the host for all the subcases below: doctest enters the test case once per subcase.
const HostRun& MainRun() {
  static const HostRun run = [] {
    const std::wstring bin = BinDir();
    const std::wstring testItem = bin + L"testitem.dll";
    DeleteFileW(ShotPath().c_str());
    RegisteredItems registered({
        {L"HostTestItem", testItem, tlitCustom, 1, 0, 60, TODAY_SELECTABILITY_CUSTOMSELECTION},
        {L"HostTestPlain", testItem, tlitCustom, 1, 0, 30, TODAY_SELECTABILITY_SELECTABLE},
        {L"HostTestOff", testItem, tlitCustom, 0, 0, 40, TODAY_SELECTABILITY_CUSTOMSELECTION},
        {L"HostTestMissing", L"\\Program Files\\HostTest\\missing.dll", tlitCustom, 1, 0, 40, 2},
        {L"HostTestNoEntry", bin + L"sms.dll", tlitCustom, 1, 0, 40, 2},
        {L"HostTestRefuses", testItem, tlitCustom, 1, 0, 0, 2},
        {L"HostTestBuiltin", L"", tlitAppointments, 1, 0, 40, 2},
    });
    return RunHost(
        "# selection, keys, a height change, the action of both kinds, a screenshot and two reloads\n"
        "key down\n"
        "key left\n"
        "key enter\n"
        "key 72\n"
        "key down\n"
        "key action\n"
        "shot " +
        Narrow(ShotPath()) +
        "\n"
        "reload\n"
        "key down\n"
        "key 0x52\n"
        "wait 100\n"
        "quit\n");
  }();
  return run;
}

TEST_CASE("TodayHost loads, sizes and drives the custom items, skips the others and reloads") {
  const std::wstring testItem = BinDir() + L"testitem.dll";
  const std::wstring shot = ShotPath();
  const HostRun& run = MainRun();
  const Journal& j = run.journal;
  INFO("journal of the run:\n" << j.Dump());
  CHECK(run.exitCode == 0);
  REQUIRE(j.Find(kHost, "start") >= 0);

  const int dpi = ScreenDpi();
  const std::string tall = std::to_string(MulDiv(60, dpi, 96));
  const std::string taller = std::to_string(MulDiv(80, dpi, 96));

  SUBCASE("only enabled custom items with a library and ordinal 240 are loaded") {
    CHECK(j.Find(kHost, "item HostTestItem loaded " + Narrow(testItem)) >= 0);
    CHECK(j.Find(kHost, "item HostTestPlain loaded " + Narrow(testItem)) >= 0);
    CHECK(j.Find(kItem, "HostTestItem init type 4 order 0 flags 60 options 0 selectability 2 cyp 0") >= 0);
    CHECK(j.Find(kItem, "HostTestPlain init type 4 order 0 flags 30 options 0 selectability 1 cyp 0") >= 0);
    CHECK(j.Count(kItem, "HostTestItem wrong module handle") == 0);

    CHECK(j.Find(kHost, "item HostTestOff disabled") >= 0);
    CHECK(j.FindPrefix(kHost, "item HostTestOff loaded") < 0);
    CHECK(j.FindPrefix(kItem, "HostTestOff ") < 0);

    CHECK(j.FindPrefix(kHost, "item HostTestMissing load failed library missing") >= 0);
    CHECK(j.Find(kHost, "item HostTestNoEntry load failed ordinal 240 missing") >= 0);
    CHECK(j.Find(kItem, "HostTestRefuses refuses") >= 0);
    CHECK(j.Find(kHost, "item HostTestRefuses load failed init returned null") >= 0);
    CHECK(j.Find(kHost, "item HostTestBuiltin skipped type 1") >= 0);
    for (const char* name : {"HostTestMissing", "HostTestNoEntry", "HostTestRefuses", "HostTestBuiltin"})
      CHECK(j.FindPrefix(kHost, std::string("item ") + name + " loaded") < 0);
  }

  SUBCASE("the first poll sets the heights and the items are stacked at full width") {
    int itemHeight = j.Find(kItem, "HostTestItem height " + tall);
    REQUIRE(itemHeight >= 0);
    CHECK(j.Find(kHost, "item HostTestItem height " + tall, itemHeight) > itemHeight);
    CHECK(j.Find(kHost, "item HostTestPlain height " + std::to_string(MulDiv(30, dpi, 96))) >= 0);

    // Both have order 0: by name, so HostTestItem comes first.
    const std::string itemPlaced = "item HostTestItem placed 0 ";
    const std::string plainPlaced = "item HostTestPlain placed 0 ";
    int first = j.FindPrefix(kHost, itemPlaced);
    int second = j.FindPrefix(kHost, plainPlaced);
    REQUIRE(first >= 0);
    REQUIRE(second >= 0);
    Placement a, b;
    REQUIRE(sscanf(j.Event(first).c_str() + itemPlaced.size() - 2, "%d %d %d %d", &a.left, &a.top, &a.width,
                   &a.height) == 4);
    REQUIRE(sscanf(j.Event(second).c_str() + plainPlaced.size() - 2, "%d %d %d %d", &b.left, &b.top, &b.width,
                   &b.height) == 4);
    CHECK(a.width == GetSystemMetrics(SM_CXSCREEN));
    CHECK(b.width == a.width);
    CHECK(a.height == MulDiv(60, dpi, 96));
    CHECK(a.top > 0);
    CHECK(b.top >= a.top + a.height);
  }

  SUBCASE("keys: Down selects, others go to the item, Enter is its action, Down it passes moves on") {
    int received = j.Find(kItem, "HostTestItem received selection 40");
    REQUIRE(received >= 0);
    int selected = j.Find(kHost, "item HostTestItem selected", received);
    REQUIRE(selected > received);
    int left = j.Find(kItem, "HostTestItem navigation 37", selected);
    REQUIRE(left > selected);
    CHECK(j.Find(kHost, "item HostTestItem navigation 37 handled", left) > left);
    int action = j.Find(kItem, "HostTestItem action 13", left);
    REQUIRE(action > left);
    CHECK(j.Find(kHost, "item HostTestItem action") >= 0);
    CHECK(j.Count(kItem, "HostTestItem navigation 13") == 0);

    // 'H' makes the item taller; the poll right after the key tells the host.
    int grow = j.Find(kItem, "HostTestItem navigation 72", action);
    REQUIRE(grow > action);
    int grown = j.Find(kHost, "item HostTestItem height " + taller, grow);
    CHECK(grown > grow);

    // Down is not the item's: it loses the selection and the next selectable item gets it.
    int down = j.Find(kItem, "HostTestItem navigation 40", grow);
    REQUIRE(down > grow);
    CHECK(j.Find(kHost, "item HostTestItem navigation 40 passed", down) > down);
    int lost = j.Find(kItem, "HostTestItem lost selection", down);
    REQUIRE(lost > down);
    int plain = j.Find(kItem, "HostTestPlain received selection 40", lost);
    REQUIRE(plain > lost);
    int plainSelected = j.Find(kHost, "item HostTestPlain selected", plain);
    REQUIRE(plainSelected > plain);

    // Selectability 1: the action comes as a tap at (1,1), not as WM_TODAYCUSTOM_ACTION.
    int plainAction = j.Find(kHost, "item HostTestPlain action", plainSelected);
    REQUIRE(plainAction > plainSelected);
    int pressed = j.Find(kItem, "HostTestPlain button down 1 1", plainAction);
    CHECK(pressed > plainAction);
    CHECK(j.Find(kItem, "HostTestPlain button up 1 1", pressed) > pressed);
    CHECK(j.FindPrefix(kItem, "HostTestPlain action") < 0);
  }

  SUBCASE("the screen font is there for the host and its items") {
    CHECK((j.Find(kHost, "font Tahoma present") >= 0 || j.FindPrefix(kHost, "font Tahoma added from ") >= 0));
    CHECK(j.Find(kHost, "font Tahoma not found") < 0);
  }

  SUBCASE("the item gets the colours and the background from the host") {
    int colours = j.FindPrefix(kItem, "HostTestItem colours ");
    REQUIRE(colours >= 0);
    unsigned text = 0, highlight = 0, highlighted = 0;
    REQUIRE(sscanf(j.Event(colours).c_str(), "HostTestItem colours %x %x %x", &text, &highlight,
                   &highlighted) == 3);
    CHECK(text != highlight);
    CHECK(highlighted != highlight);
  }

  SUBCASE("a screenshot of the whole screen is written as PNG") {
    CHECK(j.Find(kHost, "shot " + Narrow(shot)) >= 0);
    std::vector<unsigned char> png = ReadFileBytes(shot);
    REQUIRE(png.size() > 33);
    const unsigned char signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    CHECK(std::equal(signature, signature + 8, png.begin()));
    CHECK(std::string(png.begin() + 12, png.begin() + 16) == "IHDR");
    RECT work;
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    CHECK(BigEndian32(&png[16]) == static_cast<unsigned>(work.right - work.left));
    CHECK(BigEndian32(&png[20]) == static_cast<unsigned>(work.bottom - work.top));
    CHECK(BigEndian32(&png[16]) == static_cast<unsigned>(GetSystemMetrics(SM_CXSCREEN)));
    CHECK(BigEndian32(&png[20]) == static_cast<unsigned>(GetSystemMetrics(SM_CYSCREEN)));
  }

  SUBCASE("reload clears the caches, destroys, unloads and initialises the items again") {
    int reload = j.Find(kHost, "reload");
    REQUIRE(reload >= 0);
    int clear = j.Find(kItem, "HostTestItem clear cache with item", reload);
    REQUIRE(clear > reload);
    int destroyed = j.Find(kItem, "HostTestItem destroyed", clear);
    REQUIRE(destroyed > clear);
    int unloaded = j.Find(kHost, "item HostTestItem unloaded", destroyed);
    REQUIRE(unloaded > destroyed);
    int init = j.FindPrefix(kItem, "HostTestItem init ", unloaded);
    REQUIRE(init > unloaded);
    int loaded = j.Find(kHost, "item HostTestItem loaded " + Narrow(testItem), init);
    REQUIRE(loaded > init);
    // Fresh windows get their height again from cyp 0.
    CHECK(j.Find(kHost, "item HostTestItem height " + tall, loaded) > loaded);
    CHECK(j.Find(kHost, "item HostTestOff disabled", reload) > reload);
  }

  SUBCASE("WM_WININICHANGE 0xF2 to the DesktopExplorerWindow window reloads the items") {
    int asks = j.Find(kItem, "HostTestItem asks reload found");
    REQUIRE(asks >= 0);
    int reload = j.Find(kHost, "reload", asks);
    REQUIRE(reload > asks);
    CHECK(j.FindPrefix(kItem, "HostTestItem init ", reload) > reload);
    CHECK(j.Count(kHost, "reload") == 2);
    CHECK(j.Count(kHost, "item HostTestItem loaded " + Narrow(testItem)) == 3);
  }

  SUBCASE("the script ends the host and the items are unloaded on the way out") {
    int quit = j.Find(kHost, "quit");
    REQUIRE(quit >= 0);
    CHECK(j.Find(kHost, "script done") < 0);  // quit ends it before the end of the file
    int unloaded = j.Find(kHost, "item HostTestItem unloaded", quit);
    CHECK(unloaded > quit);
    CHECK(j.Find(kHost, "exit", quit) > quit);
  }
}

TEST_CASE("TodayHost: a tap and a hold reach the item under the pen, a tap outside takes the selection") {
  RegisteredItems registered({
      {L"HostTestItem", BinDir() + L"testitem.dll", tlitCustom, 1, 0, 60,
       TODAY_SELECTABILITY_CUSTOMSELECTION},
  });
  // Where the item sits comes from the host itself.
  HostRun probe = RunHost("quit\n");
  INFO("journal of the first run:\n" << probe.journal.Dump());
  Placement at;
  REQUIRE(LastPlacement(probe.journal, "HostTestItem", &at));
  REQUIRE(at.height > 10);
  const int x = at.left + at.width / 2, y = at.top + at.height / 2;
  const std::string point = std::to_string(x) + " " + std::to_string(y);
  const std::string local = std::to_string(x - at.left) + " " + std::to_string(y - at.top);

  HostRun run = RunHost("wait 100\ntap " + point + "\nhold " + point + " 300\ntap 4 4\nquit\n");
  const Journal& j = run.journal;
  INFO("journal of the second run:\n" << j.Dump());
  CHECK(run.exitCode == 0);

  int tap = j.Find(kHost, "tap " + point);
  REQUIRE(tap >= 0);
  int down = j.Find(kItem, "HostTestItem button down " + local, tap);
  REQUIRE(down > tap);
  int up = j.Find(kItem, "HostTestItem button up " + local, down);
  REQUIRE(up > down);
  // The item takes the selection on the press.
  CHECK(j.Find(kHost, "item HostTestItem selected", down) > down);

  int hold = j.Find(kHost, "hold " + point + " 300", up);
  REQUIRE(hold > up);
  int heldDown = j.Find(kItem, "HostTestItem button down " + local, hold);
  REQUIRE(heldDown > hold);
  CHECK(j.Find(kItem, "HostTestItem button up " + local, heldDown) > heldDown);

  int outside = j.Find(kHost, "tap 4 4", heldDown);
  REQUIRE(outside > heldDown);
  CHECK(j.Find(kHost, "item HostTestItem lost selection", outside) > outside);
  CHECK(j.Find(kItem, "HostTestItem lost selection", outside) > outside);
}

TEST_CASE("TodayHost: the height an item reports is kept until it reports another") {
  RegisteredItems registered({
      {L"HostTestItem", BinDir() + L"testitem.dll", tlitCustom, 1, 0, 40,
       TODAY_SELECTABILITY_CUSTOMSELECTION},
  });
  // Keys other than the ones the item knows change nothing: no new height, no new placement.
  HostRun run = RunHost("key down\nkey 65\nkey 66\nkey up\nquit\n");
  const Journal& j = run.journal;
  INFO("journal of the run:\n" << j.Dump());
  CHECK(run.exitCode == 0);
  CHECK(j.CountPrefix(kHost, "item HostTestItem height ") == 1);
  CHECK(j.CountPrefix(kHost, "item HostTestItem placed ") == 1);
  CHECK(j.Find(kItem, "HostTestItem navigation 65") >= 0);
  CHECK(j.Find(kItem, "HostTestItem navigation 66") >= 0);
  // Up is passed on; with nothing above, the selection leaves the items.
  int upKey = j.Find(kItem, "HostTestItem navigation 38");
  REQUIRE(upKey >= 0);
  CHECK(j.Find(kItem, "HostTestItem lost selection", upKey) > upKey);
}

TEST_CASE("TodayHost: keys, pen strokes, the input panel and the OK button reach a popup over the screen") {
  // The test item's popup stands at (0, 120 units), 120 units high.
  const int dpi = ScreenDpi();
  auto scale = [dpi](int units) { return MulDiv(units, dpi, 96); };
  const int top = scale(120);
  auto at = [&](int x, int y) { return std::to_string(x) + " " + std::to_string(y); };
  const std::string from = at(20, top + scale(20)), to = at(140, top + scale(80)),
                    held = at(60, top + scale(40));
  const std::string fromLocal = at(20, scale(20)), toLocal = at(140, scale(80)),
                    heldLocal = at(60, scale(40));

  // One run of the host for all the subcases: doctest enters the test case once per subcase.
  static const HostRun run = [&] {
    RegisteredItems registered({
        {L"HostTestItem", BinDir() + L"testitem.dll", tlitCustom, 1, 0, 60,
         TODAY_SELECTABILITY_CUSTOMSELECTION},
    });
    std::string script = "key down\nkey 80\nwait 200\n";
    script += "key talk\nkey end\nkey left\nkey back\n";
    script += "key action\nkeydown action\nwait 300\nkeyup action\n";
    script += "probe " + ProbePath() + "\n";
    script += "sip on\nsip off\n";
    script += "drag " + from + " " + to + " 4\n";
    script += "hold " + held + " 900\n";
    script += "tap " + held + "\n";
    script += "down " + from + "\nmove " + to + "\nup " + to + "\n";
    script += "ok\nwait 200\n";
    script += "key home\nkey left\nwait 100\nquit\n";
    return RunHost(script);
  }();
  const Journal& j = run.journal;
  INFO("journal of the run:\n" << j.Dump());
  CHECK(run.exitCode == 0);
  const char kPopup[] = "PagemarkHostTestPopup";

  int shown = j.Find(kItem, "HostTestItem popup shown in front");
  REQUIRE(shown >= 0);
  CHECK(j.Find(kItem, "HostTestItem popup talk key taken, was 0") >= 0);

  SUBCASE("talk, taken over by the popup's menu bar, comes as WM_HOTKEY pressed and released") {
    int talk = j.Find(kHost, std::string("key 114 down as hot key to ") + kPopup, shown);
    CHECK(j.Find(kHost, std::string("key 114 up as hot key to ") + kPopup, talk) > talk);
    REQUIRE(talk > shown);
    int pressed = j.Find(kItem, "HostTestItem popup hot key 114 modifiers 0x0 key 114", talk);
    REQUIRE(pressed > talk);
    CHECK(j.Find(kItem, "HostTestItem popup hot key 114 modifiers 0x1000 key 114", pressed) > pressed);
    CHECK(j.Count(kItem, "HostTestItem popup key down 114") == 0);
  }

  SUBCASE("end, five-way and back keys go to the popup with the focus; key-up has the previous-state bit") {
    int end = j.Find(kHost, std::string("key 115 down to ") + kPopup, shown);
    REQUIRE(end > shown);
    int down = j.Find(kItem, "HostTestItem popup key down 115", end);
    REQUIRE(down > end);
    CHECK(j.Find(kItem, "HostTestItem popup key up 115 previous 1", down) > down);
    int left = j.Find(kItem, "HostTestItem popup key down 37", down);
    REQUIRE(left > down);
    CHECK(j.Find(kItem, "HostTestItem popup key up 37 previous 1", left) > left);
    CHECK(j.Find(kItem, "HostTestItem popup key down 27", left) > left);
    // While the popup is in front the Today screen routes nothing to the item.
    int home = j.Find(kHost, "key 91: Today screen to the front");
    REQUIRE(home > left);
    int navigation = j.Find(kItem, "HostTestItem navigation 37", shown);
    CHECK(navigation > home);
  }

  SUBCASE("the pad's centre: its own code and a Return when pressed, their releases when it comes up") {
    for (int pass = 0, from = shown; pass < 2; ++pass) {
      int press = j.Find(kItem, "HostTestItem popup key down 134", from);
      REQUIRE(press > from);
      int enter = j.Find(kItem, "HostTestItem popup key down 13", press);
      REQUIRE(enter > press);
      int enterUp = j.Find(kItem, "HostTestItem popup key up 13 previous 1", enter);
      REQUIRE(enterUp > enter);
      int release = j.Find(kItem, "HostTestItem popup key up 134 previous 1", enterUp);
      REQUIRE(release > enterUp);
      from = release;
    }
    // Held: the presses come at once, the releases only when the script lets go.
    int held = j.Find(kHost, "keydown 13");
    REQUIRE(held > shown);
    int let = j.Find(kHost, "keyup 13", held);
    REQUIRE(let > held);
    int heldPress = j.Find(kItem, "HostTestItem popup key down 13", held);
    CHECK(heldPress > held);
    CHECK(heldPress < let);
    CHECK(j.Find(kItem, "HostTestItem popup key up 134 previous 1", held) > let);
  }

  SUBCASE("a probe writes the visible windows of the screen with their places") {
    std::vector<unsigned char> bytes = ReadFileBytes(Wide(ProbePath()));
    std::string probe(bytes.begin(), bytes.end());
    CHECK(probe.find(std::string("window ") + kPopup + " at ") != std::string::npos);
    CHECK(j.Find(kHost, "probe " + ProbePath()) > shown);
  }

  SUBCASE("the input panel's changes reach the popup as WM_SETTINGCHANGE 224") {
    int on = j.Find(kHost, "sip on");
    REQUIRE(on > shown);
    CHECK(j.Find("aygshell", "input panel on by SHSipInfo", on) > on);
    int change = j.Find(kItem, "HostTestItem popup setting change 224", on);
    REQUIRE(change > on);
    int off = j.Find(kHost, "sip off", on);
    REQUIRE(off > on);
    CHECK(j.Find(kItem, "HostTestItem popup setting change 224", off) > off);
  }

  SUBCASE("a drag: press, the gesture gives up at the first move, moves under capture, release at the end") {
    int drag = j.Find(kHost, "drag " + from + " " + to + " 4");
    REQUIRE(drag >= 0);
    int down = j.Find(kItem, "HostTestItem popup button down " + fromLocal, drag);
    REQUIRE(down > drag);
    int gesture = j.Find(kItem, "HostTestItem popup gesture 0", down);
    REQUIRE(gesture > down);
    int move = j.FindPrefix(kItem, "HostTestItem popup move ", gesture);
    REQUIRE(move > gesture);
    int up = j.Find(kItem, "HostTestItem popup button up " + toLocal, move);
    REQUIRE(up > move);
    // The last move before the release is at the end point.
    int last = move;
    for (int i = j.FindPrefix(kItem, "HostTestItem popup move ", move + 1); i >= 0 && i < up;
         i = j.FindPrefix(kItem, "HostTestItem popup move ", i + 1))
      last = i;
    CHECK(j.Event(last) == "HostTestItem popup move " + toLocal);
  }

  SUBCASE("a hold past the hold time is a context menu gesture; a tap is not") {
    int hold = j.Find(kHost, "hold " + held + " 900");
    REQUIRE(hold >= 0);
    int down = j.Find(kItem, "HostTestItem popup button down " + heldLocal, hold);
    REQUIRE(down > hold);
    int gesture = j.Find(kItem, "HostTestItem popup gesture 1000", down);
    REQUIRE(gesture > down);
    int up = j.Find(kItem, "HostTestItem popup button up " + heldLocal, gesture);
    REQUIRE(up > gesture);
    CHECK(j.Find("aygshell", "gesture PagemarkHostTestPopup: context menu at " + heldLocal, hold) > hold);

    int tap = j.Find(kHost, "tap " + held, up);
    REQUIRE(tap > up);
    int tapDown = j.Find(kItem, "HostTestItem popup button down " + heldLocal, tap);
    REQUIRE(tapDown > tap);
    int tapGesture = j.Find(kItem, "HostTestItem popup gesture 0", tapDown);
    REQUIRE(tapGesture > tapDown);
    CHECK(j.Find(kItem, "HostTestItem popup button up " + heldLocal, tapGesture) > tapGesture);
  }

  SUBCASE("down, move and up one command at a time make the same stroke") {
    int press = j.Find(kHost, "down " + from);
    REQUIRE(press > shown);
    int down = j.Find(kItem, "HostTestItem popup button down " + fromLocal, press);
    REQUIRE(down > press);
    int gesture = j.Find(kItem, "HostTestItem popup gesture 0", down);
    REQUIRE(gesture > down);
    int move = j.Find(kItem, "HostTestItem popup move " + toLocal, gesture);
    REQUIRE(move > gesture);
    int up = j.Find(kItem, "HostTestItem popup button up " + toLocal, move);
    REQUIRE(up > move);
    int release = j.Find(kHost, "up " + to, press);
    CHECK(release > move);
    CHECK(release < up);
  }

  SUBCASE("ok taps the navigation bar's button of the window in front: WM_COMMAND IDOK") {
    int ok = j.Find(kHost, std::string("ok: command 1 to ") + kPopup);
    REQUIRE(ok > shown);
    int command = j.Find(kItem, "HostTestItem popup command 1", ok);
    REQUIRE(command > ok);
    CHECK(j.Find(kItem, "HostTestItem popup destroyed", command) > command);
  }
}

TEST_CASE("sms.dll: the service can't be opened on the stand-in device, and the attempt is journaled") {
  HMODULE sms = LoadLibraryW((BinDir() + L"sms.dll").c_str());
  REQUIRE(sms != nullptr);
  using Open = HRESULT (*)(const wchar_t*, DWORD, DWORD*, HANDLE*);
  using Close = HRESULT (*)(DWORD);
  auto open = reinterpret_cast<Open>(reinterpret_cast<void*>(GetProcAddress(sms, "SmsOpen")));
  auto close = reinterpret_cast<Close>(reinterpret_cast<void*>(GetProcAddress(sms, "SmsClose")));
  REQUIRE((open != nullptr));
  REQUIRE((close != nullptr));
  CHECK((GetProcAddress(sms, MAKEINTRESOURCEA(ORDINAL_INITIALIZEITEM)) == nullptr));

  const long long offset = JournalSize();
  DWORD handle = 7;
  HANDLE event = reinterpret_cast<HANDLE>(1);
  CHECK(open(L"text", 1, &handle, &event) == HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED));
  CHECK(handle == 0);
  CHECK(event == nullptr);
  CHECK(close(0) == HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
  Journal j(JournalSince(offset));
  CHECK(j.Find("sms", "sms open text modes 1 not supported") >= 0);
  CHECK(j.Find("sms", "sms close 0 invalid handle") >= 0);
  FreeLibrary(sms);
}
