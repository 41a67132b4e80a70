// The first road a user walks, end to end on the device's screen: the item as the Today host makes
// it, over the contacts of a real-looking address book imported by pimtool; taps of the stylus on the
// letter cells as real input; and the popup's list read through the list control's own messages and
// the contact list's row table, against what `pimtool search --keypad` gives for the same keys.
#include <doctest/doctest.h>
#include <windows.h>
#include <todaycmn.h>
#include <winuserm.h>
#include <sstream>
#include <string>
#include <vector>
#include "MessagePump.h"
#include "TestPaths.h"
#include "TestRegistry.h"
#include "manager/datasource/ContactDataSource.h"
#include "presentation/Skin.h"
#include "sync/PimSync.h"
#include "today/PimToday.h"

using namespace testpaths;

namespace {

// Queries of the address book (tests/data/README.md lists their counts): a first key with many hits,
// two more that narrow it, and three keys that leave exactly one contact.
const char kFirstKey[] = "4";
const char kSecondKey[] = "3";
const char kThirdKey[] = "5";
const char kOneHit[] = "992";

const int kGroups = 8;
const int kLastCell = kGroups;

std::string Utf8(const wchar_t* text) {
  int n = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(n > 0 ? n - 1 : 0, '\0');
  if (n > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, &out[0], n, nullptr, nullptr);
  return out;
}

std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// What pimtool prints, with its exit code.
int RunCaptured(const std::wstring& arguments, std::string& out) {
  return testpaths::RunCaptured(BinDir() + L"pimtool.exe", arguments, 120000, &out, nullptr);
}

// A search result as pimtool prints it: groups of record ids, each under its title.
struct Result {
  std::vector<std::string> titles;
  std::vector<std::vector<unsigned long>> groups;
  size_t Total() const {
    size_t total = 0;
    for (const auto& group : groups) total += group.size();
    return total;
  }
};

Result Reference(const std::string& digits, int sort) {
  std::string out;
  REQUIRE(RunCaptured(L"search --keypad " + Wide(digits) + L" --sort " + std::to_wstring(sort), out) == 0);
  Result result;
  std::istringstream lines(out);
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    if (line.front() == '[' && line.back() == ']') {
      result.titles.push_back(line.substr(1, line.size() - 2));
      result.groups.emplace_back();
      continue;
    }
    if (result.groups.empty()) {
      result.titles.emplace_back();
      result.groups.emplace_back();
    }
    result.groups.back().push_back(std::stoul(line.substr(0, 8), nullptr, 16));
  }
  return result;
}

void ClickAt(POINT screen) {
  const int cx = GetSystemMetrics(SM_CXSCREEN), cy = GetSystemMetrics(SM_CYSCREEN);
  INPUT input[3] = {};
  input[0].type = INPUT_MOUSE;
  input[0].mi.dx = static_cast<LONG>((static_cast<long long>(screen.x) * 65536 + cx - 1) / cx);
  input[0].mi.dy = static_cast<LONG>((static_cast<long long>(screen.y) * 65536 + cy - 1) / cy);
  input[0].mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
  input[1].type = INPUT_MOUSE;
  input[1].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
  input[2].type = INPUT_MOUSE;
  input[2].mi.dwFlags = MOUSEEVENTF_LEFTUP;
  REQUIRE(SendInput(1, &input[0], sizeof(INPUT)) == 1);
  Pump(30);
  // Press and lift go in together: the press's handler waits, as the shell's tap-and-hold does, for
  // the lift to arrive, and a test that lifts only after the press was handled would hold the stylus.
  REQUIRE(SendInput(2, &input[1], sizeof(INPUT)) == 2);
  Pump(200);
}

void PressKey(WORD key) {
  INPUT input[2] = {};
  input[0].type = INPUT_KEYBOARD;
  input[0].ki.wVk = key;
  input[1] = input[0];
  input[1].ki.dwFlags = KEYEVENTF_KEYUP;
  REQUIRE(SendInput(2, input, sizeof(INPUT)) == 2);
  Pump(200);
}

// The Today screen with the item on it, the whole work area.
struct Road {
  HWND host = nullptr;
  HWND window = nullptr;
  TODAYLISTITEM item = {};

  Road() {
    testreg::DeleteTree(HKEY_CURRENT_USER, testreg::kSettingsRoot);
    RECT work;
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    host = CreateWindowExW(0, L"STATIC", L"Today", WS_POPUP | WS_VISIBLE, work.left, work.top,
                           work.right - work.left, work.bottom - work.top, nullptr, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
    REQUIRE(host != nullptr);
    wcscpy(item.szName, L"Pagemark");
    item.tlit = tlitCustom;
    item.fEnabled = TRUE;
    item.hinstDLL = GetModuleHandleW(nullptr);
    window = InitializeCustomItem(&item, host);
    REQUIRE(window != nullptr);
    REQUIRE(g_pimToday->IsManagerReady());
    item.cyp = 0;
    SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0);
    SetWindowPos(window, nullptr, 0, ScaleY(40), work.right - work.left, static_cast<int>(item.cyp),
                 SWP_NOZORDER);
    SetForegroundWindow(host);
    UpdateWindow(host);
    Pump(300);
  }

  ~Road() {
    if (g_pimToday && g_pimToday->GetHwnd()) DestroyWindow(g_pimToday->GetHwnd());
    DestroyWindow(host);
    delete g_pimToday;
    g_pimToday = nullptr;
    for (const wchar_t* name : kItemWindowClasses) UnregisterClassW(name, GetModuleHandleW(nullptr));
  }

  int Mode() const { return g_pimToday->GetMode(); }

  void TapCell(int cell) {
    LetterBar& bar = g_pimToday->GetBar();
    RECT rect;
    REQUIRE(bar.GetCellRect(cell, &rect));
    POINT centre = {(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
    ClientToScreen(bar.GetHwnd(), &centre);
    int picks = g_pimToday->GetPickedCount();
    int mode = Mode();
    ClickAt(centre);
    PumpUntil([&] { return g_pimToday->GetPickedCount() != picks || Mode() != mode; }, 3000);
  }

  // The cell of a keypad digit: '2' the first group.
  void TapDigit(char digit) { TapCell(digit == '1' ? 8 : digit - '2'); }

  void TapRow(int row) {
    CoolList& control = g_pimToday->GetPopup().GetList().Control();
    RECT rect = control.RowRect(row);
    POINT at = {rect.left + (rect.right - rect.left) / 3, (rect.top + rect.bottom) / 2};
    ClientToScreen(control.GetHwnd(), &at);
    ClickAt(at);
    Pump(400);
  }

  // The list against a flat reference: the control's count and caret, and each row's record id. The
  // caret stays on the contact it was on when that contact is still listed (`kept`), else it is on
  // the first row.
  void ExpectFlat(const Result& reference, unsigned long kept = 0) {
    REQUIRE(reference.groups.size() <= 1);
    const std::vector<unsigned long> none;
    const std::vector<unsigned long>& ids = reference.groups.empty() ? none : reference.groups[0];
    ContactList& list = g_pimToday->GetPopup().GetList();
    HWND control = list.ContactWindow();
    REQUIRE(SendMessageW(control, LB_GETCOUNT, 0, 0) == static_cast<LRESULT>(ids.size()));
    LRESULT caret = ids.empty() ? -1 : 0;
    for (size_t row = 0; row < ids.size(); ++row)
      if (kept != 0 && ids[row] == kept) caret = static_cast<LRESULT>(row);
    CHECK(SendMessageW(control, LB_GETCURSEL, 0, 0) == caret);
    for (size_t row = 0; row < ids.size(); ++row) {
      ListPosition at = list.RowToPosition(static_cast<int>(row));
      CHECK(at.group == 0);
      CHECK(at.item == static_cast<int>(row));
      CHECK(g_dataSource.GetIdAt(at.group, at.item) == ids[row]);
    }
  }

  // The list against a reference grouped by company, with the groups of `expanded` open.
  void ExpectGrouped(const Result& reference, const std::vector<size_t>& expanded) {
    ContactList& list = g_pimToday->GetPopup().GetList();
    HWND control = list.ContactWindow();
    size_t rows = reference.groups.size();
    for (size_t g : expanded) rows += reference.groups[g].size();
    REQUIRE(SendMessageW(control, LB_GETCOUNT, 0, 0) == static_cast<LRESULT>(rows));
    REQUIRE(g_dataSource.GroupCount() == static_cast<int>(reference.groups.size()));
    int row = 0;
    for (size_t g = 0; g < reference.groups.size(); ++g) {
      ListPosition header = list.RowToPosition(row++);
      CHECK(header.group == static_cast<int>(g));
      CHECK(header.item == -1);
      CHECK(Utf8(g_dataSource.GroupTitle(static_cast<int>(g))) == reference.titles[g]);
      CHECK(g_dataSource.RowsInGroup(static_cast<int>(g)) == static_cast<int>(reference.groups[g].size()));
      bool open = false;
      for (size_t e : expanded) open = open || e == g;
      if (!open) continue;
      for (size_t i = 0; i < reference.groups[g].size(); ++i) {
        ListPosition at = list.RowToPosition(row++);
        CHECK(at.group == static_cast<int>(g));
        CHECK(at.item == static_cast<int>(i));
        CHECK(g_dataSource.GetIdAt(at.group, at.item) == reference.groups[g][i]);
      }
    }
  }
};

// The address book on the device once per run, before the item opens its data.
void ImportAddressBook() {
  static bool done = false;
  if (done) return;
  std::vector<std::wstring> args = ProgramArguments();
  REQUIRE(args.size() >= 2);
  std::string out;
  REQUIRE(RunCaptured(L"import \"" + args[1] + L"\"", out) == 0);
  done = true;
}

}  // namespace

TEST_CASE("a tap on a letter group lists the contacts of the search in its order; more taps narrow it") {
  ImportAddressBook();
  Result one = Reference(kFirstKey, 0);
  Result two = Reference(std::string(kFirstKey) + kSecondKey, 0);
  Result three = Reference(std::string(kFirstKey) + kSecondKey + kThirdKey, 0);
  REQUIRE(one.Total() > two.Total());
  REQUIRE(two.Total() > three.Total());
  REQUIRE(three.Total() > 1);

  Road road;
  road.TapDigit(kFirstKey[0]);
  REQUIRE(road.Mode() == PopupList);
  CHECK(IsWindowVisible(g_pimToday->GetPopup().GetHwnd()));
  road.ExpectFlat(one);
  road.TapDigit(kSecondKey[0]);
  road.ExpectFlat(two, one.groups[0][0]);
  road.TapDigit(kThirdKey[0]);
  road.ExpectFlat(three, two.groups[0][0]);

  // The last cell takes the newest key back; the caret stays on its contact.
  unsigned long selected = g_pimToday->GetPopup().CurrentContactId();
  REQUIRE(selected != 0);
  road.TapCell(kLastCell);
  CHECK(g_pimToday->GetPickedCount() == 2);
  road.ExpectFlat(two, selected);

  // A tap on a row opens that contact; the End key goes back to the list, and again hides it.
  road.TapRow(1);
  REQUIRE(road.Mode() == PopupContact);
  CHECK(g_pimToday->GetPopup().ShownContactId() == two.groups[0][1]);
  bool phone = GetFileAttributesW(L"\\windows\\sms.dll") != INVALID_FILE_ATTRIBUTES;
  PressKey(VK_TEND);
  CHECK(road.Mode() == (phone ? PopupList : PopupContact));
  if (phone) {
    PressKey(VK_TEND);
    CHECK(road.Mode() == PopupHidden);
    CHECK_FALSE(IsWindowVisible(g_pimToday->GetPopup().GetHwnd()));
  }
}

TEST_CASE("by company: headers with their counts; a tap opens a header's contacts under it") {
  ImportAddressBook();
  Result grouped = Reference(kFirstKey, 2);
  REQUIRE(grouped.groups.size() > 1);

  Road road;
  testreg::WriteDword(HKEY_CURRENT_USER, std::wstring(testreg::kSettingsRoot) + L"\\Settings", L"SortType",
                      2);
  // Another program changed the sort: the host's next poll carries the change flag to the popup.
  REQUIRE(g_pimSync != nullptr);
  g_pimSync->SetFlag(4, 1);
  SendMessageW(road.window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&road.item), 0);
  REQUIRE(g_pimToday->GetPopup().SortType() == 2);
  road.TapDigit(kFirstKey[0]);
  REQUIRE(road.Mode() == PopupList);
  road.ExpectGrouped(grouped, {});
  // The first header with more than one contact opens under a tap.
  size_t open = 0;
  while (open < grouped.groups.size() && grouped.groups[open].size() < 2) ++open;
  REQUIRE(open < grouped.groups.size());
  road.TapRow(static_cast<int>(open));
  road.ExpectGrouped(grouped, {open});
  CHECK(road.Mode() == PopupList);
  testreg::WriteDword(HKEY_CURRENT_USER, std::wstring(testreg::kSettingsRoot) + L"\\Settings", L"SortType",
                      0);
}

TEST_CASE("keys that leave one contact open it at once") {
  ImportAddressBook();
  Result single = Reference(kOneHit, 0);
  REQUIRE(single.Total() == 1);
  Road road;
  for (const char* digit = kOneHit; *digit; ++digit) road.TapDigit(*digit);
  REQUIRE(road.Mode() == PopupContact);
  CHECK(g_pimToday->GetPopup().ShownContactId() == single.groups[0][0]);
  CHECK(IsWindowVisible(g_pimToday->GetPopup().GetView().GetHwnd()));
}
