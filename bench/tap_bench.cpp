// From a tap to a list: the Today item in this process as the Today host makes it, over 10,000
// generated contacts in the device's contacts database, and taps of the stylus on the cells of its
// letter bar as real input. Each figure is the time from the tap (press and lift sent together) to the
// end of the contact list's first paint in the popup; between taps the popup is hidden again. The item
// is started twice, first over no index (a full rebuild), then with its index in step as on most
// starts; the taps come once the idle work after the second start is done.
//
// It runs only on a fresh device of its own (PAGEMARK_DEVICE set, as scripts/bench-search.sh runs it):
// it writes the contacts into the device's own database, and the item keeps its index and settings on
// the device.
//
// Usage: bench_tap [COUNT]   another number of contacts than 10,000.
#include <windows.h>
#include <windbase.h>
#include <todaycmn.h>
#include <winuserm.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "BenchTimer.h"
#include "DeviceContacts.h"
#include "DeviceDatabases.h"
#include "Generator.h"
#include "SearchQueries.h"
#include "ToolCategories.h"
#include "extended/ContactNote.h"
#include "manager/core/ContactManager.h"
#include "presentation/Skin.h"
#include "storage/contact/ContactDatabase.h"
#include "today/PimToday.h"

namespace {

const int kDefaultCount = 10000;
// Rounds over the cells of the letter groups.
const int kRounds = 3;
// The longest wait for the item's idle work after its start, for a list's paint, and for the popup
// to go after the End key.
const DWORD kIdleTimeoutMs = 60000;
const DWORD kPaintTimeoutMs = 10000;
const DWORD kHideTimeoutMs = 3000;

// Runs this thread's messages until `done` says so or `timeoutMs` pass; gives `done()`.
template <typename Done>
bool PumpUntil(Done done, DWORD timeoutMs) {
  const DWORD start = GetTickCount();
  for (;;) {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
      if (done()) return true;
    }
    if (done()) return true;
    if (GetTickCount() - start >= timeoutMs) return false;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
  }
}

void Pump(DWORD ms) {
  PumpUntil([] { return false; }, ms);
}

// Writes generated contacts [0, count) into the device's contacts database.
bool WriteContacts(int count) {
  if (!MakeEmptyContactDatabases()) return false;
  ContactDatabase database;
  if (!database.Open(nullptr)) return false;
  ToolCategories categories;
  if (!categories.Open()) return false;
  ContactNote note;
  for (int k = 0; k < count; ++k) {
    Contact contact;
    if (!ToContactRecord(GenerateContact(kSearchSeed, k), categories, note, contact)) return false;
    if (!database.AddContact(contact, true)) return false;
  }
  categories.Flush();
  return true;
}

// --- the end of the list's first paint -------------------------------------------------------------------

WNDPROC g_listProc = nullptr;
HWND g_list = nullptr;
bool g_armed = false;
double g_paintEnd = 0;

// The list window's procedure with the end of a paint noted while armed.
LRESULT CALLBACK WatchedListProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  const LRESULT result = CallWindowProcW(g_listProc, hwnd, message, wParam, lParam);
  if (message == WM_PAINT && g_armed && IsWindowVisible(hwnd)) {
    g_paintEnd = NowMs();
    g_armed = false;
  }
  return result;
}

// --- the screen ----------------------------------------------------------------------------------------

void MoveTo(POINT screen) {
  const int cx = GetSystemMetrics(SM_CXSCREEN), cy = GetSystemMetrics(SM_CYSCREEN);
  INPUT input = {};
  input.type = INPUT_MOUSE;
  input.mi.dx = static_cast<LONG>((static_cast<long long>(screen.x) * 65536 + cx - 1) / cx);
  input.mi.dy = static_cast<LONG>((static_cast<long long>(screen.y) * 65536 + cy - 1) / cy);
  input.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
  SendInput(1, &input, sizeof(INPUT));
}

// Press and lift together: the press's handler waits, as the shell's tap-and-hold does, for the lift.
bool Tap() {
  INPUT input[2] = {};
  input[0].type = INPUT_MOUSE;
  input[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
  input[1].type = INPUT_MOUSE;
  input[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
  return SendInput(2, input, sizeof(INPUT)) == 2;
}

void PressKey(WORD key) {
  INPUT input[2] = {};
  input[0].type = INPUT_KEYBOARD;
  input[0].ki.wVk = key;
  input[1] = input[0];
  input[1].ki.dwFlags = KEYEVENTF_KEYUP;
  SendInput(2, input, sizeof(INPUT));
}

// The Today screen with the item on it, the whole work area.
class TodayScreen {
 public:
  bool Open() {
    RECT work;
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    host = CreateWindowExW(0, L"STATIC", L"Today", WS_POPUP | WS_VISIBLE, work.left, work.top,
                           work.right - work.left, work.bottom - work.top, nullptr, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
    if (host == nullptr) return false;
    wcscpy(item.szName, L"Pagemark");
    item.tlit = tlitCustom;
    item.fEnabled = TRUE;
    item.hinstDLL = GetModuleHandleW(nullptr);
    const double start = NowMs();
    window = InitializeCustomItem(&item, host);
    startMs = NowMs() - start;
    if (window == nullptr || !g_pimToday->IsManagerReady()) return false;
    item.cyp = 0;
    SendMessageW(window, WM_TODAYCUSTOM_QUERYREFRESHCACHE, reinterpret_cast<WPARAM>(&item), 0);
    SetWindowPos(window, nullptr, 0, ScaleY(40), work.right - work.left, static_cast<int>(item.cyp),
                 SWP_NOZORDER);
    SetForegroundWindow(host);
    UpdateWindow(host);
    return true;
  }

  void Close() {
    if (g_pimToday && g_pimToday->GetHwnd()) DestroyWindow(g_pimToday->GetHwnd());
    if (host != nullptr) DestroyWindow(host);
    delete g_pimToday;
    g_pimToday = nullptr;
    for (const wchar_t* name : kItemWindowClasses) UnregisterClassW(name, GetModuleHandleW(nullptr));
    host = window = nullptr;
  }

  // The centre of cell `cell` of the letter bar on the screen.
  bool CellCentre(int cell, POINT* centre) {
    LetterBar& bar = g_pimToday->GetBar();
    RECT rect;
    if (!bar.GetCellRect(cell, &rect)) return false;
    centre->x = (rect.left + rect.right) / 2;
    centre->y = (rect.top + rect.bottom) / 2;
    return ClientToScreen(bar.GetHwnd(), centre) != FALSE;
  }

  // The popup hidden and no group picked: the End key as often as it takes.
  bool Reset() {
    for (int k = 0; k < 3 && g_pimToday->GetMode() != PopupHidden; ++k) {
      PressKey(VK_TEND);
      PumpUntil([] { return g_pimToday->GetMode() == PopupHidden; }, kHideTimeoutMs);
    }
    if (g_pimToday->GetMode() != PopupHidden) g_pimToday->SetPopupMode(PopupHidden);
    Pump(100);
    return g_pimToday->GetMode() == PopupHidden && g_pimToday->GetPickedCount() == 0;
  }

  double startMs = 0;

 private:
  HWND host = nullptr;
  HWND window = nullptr;
  TODAYLISTITEM item = {};
};

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? -1 : values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const int count = argc >= 2 ? std::atoi(argv[1]) : kDefaultCount;
  if (count <= 0) {
    std::printf("usage: bench_tap [COUNT]\n");
    return 2;
  }
  // The contacts, the index and the item's settings go into the device itself: only a fresh device of
  // the run's own will do, never the build's device of people and tools.
  wchar_t device[MAX_PATH];
  if (GetEnvironmentVariableW(L"PAGEMARK_DEVICE", device, MAX_PATH) == 0) {
    std::printf("bench_tap: runs on a fresh device of its own only; scripts/bench-search.sh runs it so\n");
    return 0;
  }
  double begin = NowMs();
  std::printf("tap bench: writing %d contacts", count);
  std::fflush(stdout);
  if (!WriteContacts(count)) {
    std::printf("\n  the contacts can't be written (error %lu)\n", GetLastError());
    return 1;
  }
  std::printf(" (%.1f s), starting the item", (NowMs() - begin) / 1000.0);
  std::fflush(stdout);

  // The first start builds the index; the taps come after a second start, with the index in step,
  // as on most starts of the item.
  TodayScreen screen;
  double startMs[2], idleMs[2];
  bool filled[2];
  for (int start = 0; start < 2; ++start) {
    if (start > 0) screen.Close();
    if (!screen.Open()) {
      std::printf("\n  the item doesn't start (error %lu)\n", GetLastError());
      return 1;
    }
    // The idle work after the start: the name-key cache filled for every listed contact.
    begin = NowMs();
    ContactManager* manager = ContactManager::GetInstance();
    filled[start] = PumpUntil([&] { return manager->NameKeys().Count() >= manager->Index().ContactCount(); },
                              kIdleTimeoutMs);
    startMs[start] = screen.startMs;
    idleMs[start] = NowMs() - begin;
    std::printf(" (%.0f ms, idle work %.0f ms)", startMs[start], idleMs[start]);
    std::fflush(stdout);
  }
  std::printf(", tapping");
  std::fflush(stdout);

  g_list = g_pimToday->GetPopup().GetList().ContactWindow();
  if (g_list == nullptr) {
    std::printf("\n  the popup has no list window\n");
    return 1;
  }
  g_listProc = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(g_list, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&WatchedListProc)));

  // Each cell of a letter group in turn, over several rounds.
  // Every cell but the last is a letter group's.
  const int groups = g_pimToday->GetBar().CellCount() - 1;
  std::vector<double> times, rows;
  int missed = 0;
  for (int round = 0; round < kRounds; ++round) {
    for (int cell = 0; cell < groups; ++cell) {
      POINT centre;
      if (!screen.Reset() || !screen.CellCentre(cell, &centre)) {
        ++missed;
        continue;
      }
      MoveTo(centre);
      Pump(30);
      g_paintEnd = 0;
      g_armed = true;
      const double start = NowMs();
      if (!Tap() || !PumpUntil([] { return !g_armed; }, kPaintTimeoutMs) ||
          g_pimToday->GetMode() != PopupList) {
        g_armed = false;
        ++missed;
        continue;
      }
      times.push_back(g_paintEnd - start);
      rows.push_back(g_pimToday->GetPopup().RowCount());
    }
  }
  screen.Reset();
  SetWindowLongPtrW(g_list, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(g_listProc));
  screen.Close();
  std::printf("\n");

  std::printf(
      "\nFrom a tap on a cell of the letter bar to the end of the contact list's first paint in the popup,\n"
      "%d contacts, the item in this process on the stand-in device (%d taps: each letter group's cell,\n"
      "%d rounds; the popup hidden again between taps):\n\n",
      count, static_cast<int>(times.size()), kRounds);
  if (times.empty()) {
    std::printf("  no tap reached a painted list (%d missed)\n", missed);
    return 1;
  }
  std::printf("  median %.1f ms, fastest %.1f ms, slowest %.1f ms; rows per list: median %.0f\n",
              Median(times), *std::min_element(times.begin(), times.end()),
              *std::max_element(times.begin(), times.end()), Median(rows));
  std::printf("\n  %-38s %10s %14s\n", "item start", "start, ms", "idle work, ms");
  static const char* const kStarts[2] = {"over no index (a full rebuild)", "with the index in step"};
  for (int start = 0; start < 2; ++start)
    std::printf("  %-38s %10.0f %14.0f%s\n", kStarts[start], startMs[start], idleMs[start],
                filled[start] ? "" : "  (not done within the wait)");
  std::printf("  idle work: the item's messages run until every contact has its name-key entry.\n");
  if (missed > 0) std::printf("  %d taps didn't reach a painted list\n", missed);
  return 0;
}
