#include "AygTestSupport.h"

#include <aygshell.h>
#include <DeviceJournal.h>

#include "TestPaths.h"

namespace aygtest {

std::vector<Received> g_received;
std::vector<NotifySeen> g_notifies;
LRESULT g_notifyResult = 0;

namespace {

constexpr wchar_t kClass[] = L"AygTestWindow";
size_t g_journalMark = 0;

LRESULT CALLBACK RecordingProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  g_received.push_back({hwnd, message, wParam, lParam});
  if (message == WM_NOTIFY) {
    const NMHDR* header = reinterpret_cast<const NMHDR*>(lParam);
    NotifySeen seen{hwnd, *header, {}};
    if (header->code == static_cast<UINT>(GN_CONTEXTMENU))
      seen.point = reinterpret_cast<const NMRGINFO*>(lParam)->ptAction;
    g_notifies.push_back(seen);
    return g_notifyResult;
  }
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

struct DpiAware {
  DpiAware() { SetProcessDPIAware(); }
} g_dpiAware;

}  // namespace

HWND MakeWindow(HWND parent, int x, int y, int w, int h, bool visible) {
  static bool registered = [] {
    WNDCLASSW wc{};
    wc.lpfnWndProc = RecordingProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    wc.lpszClassName = kClass;
    return RegisterClassW(&wc) != 0;
  }();
  if (!registered) return nullptr;
  DWORD style = (parent ? WS_CHILD : WS_POPUP) | (visible ? WS_VISIBLE : 0);
  return CreateWindowExW(0, kClass, L"recording", style, x, y, w, h, parent,
                         parent ? reinterpret_cast<HMENU>(static_cast<INT_PTR>(42)) : nullptr,
                         GetModuleHandleW(nullptr), nullptr);
}

std::vector<Received> Of(HWND hwnd, UINT message) {
  std::vector<Received> out;
  for (const Received& r : g_received)
    if (r.hwnd == hwnd && r.message == message) out.push_back(r);
  return out;
}

int ScaleY(int units) {
  HDC screen = GetDC(nullptr);
  int dpi = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  return (units * dpi + 48) / 96;
}

RECT WorkArea() {
  RECT work;
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  return work;
}

bool SameRect(const RECT& a, const RECT& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

std::string Text(const RECT& r) {
  return std::to_string(r.left) + "," + std::to_string(r.top) + "-" + std::to_string(r.right) + "," +
         std::to_string(r.bottom);
}

void MarkJournal() { g_journalMark = testpaths::ReadDeviceJournal().size(); }

std::vector<std::string> AygJournal() {
  std::vector<std::string> events;
  std::vector<testpaths::JournalLine> lines = testpaths::ReadDeviceJournal();
  for (size_t i = g_journalMark; i < lines.size(); ++i)
    if (lines[i].source == "aygshell") events.push_back(lines[i].event);
  return events;
}

bool AygJournalHas(const std::string& event) {
  for (const std::string& line : AygJournal())
    if (line == event) return true;
  return false;
}

void SetPanel(bool on, bool locked) {
  SIPINFO info{};
  info.cbSize = sizeof info;
  info.fdwFlags = (on ? SIPF_ON : 0) | (locked ? SIPF_LOCKED : 0);
  SHSipInfo(SPI_SETSIPINFO, 0, &info, 0);
  Pump();
  g_received.clear();
}

bool PanelOn() {
  SIPINFO info{};
  info.cbSize = sizeof info;
  return SHSipInfo(SPI_GETSIPINFO, 0, &info, 0) && (info.fdwFlags & SIPF_ON);
}

}  // namespace aygtest
