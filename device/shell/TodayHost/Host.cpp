// The Today screen window: painting, the colours items ask for, selection and keys.
#include "TodayHost.h"

#include <DeviceJournal.h>
#include <winuserm.h>

namespace todayhost {

namespace {

constexpr UINT_PTR kPollTimer = 1;
constexpr UINT kPollMs = 2000;  // the platform polls every item every two seconds

constexpr COLORREF kBackground = RGB(255, 255, 255);
constexpr COLORREF kText = RGB(0, 0, 0);
constexpr COLORREF kHighlight = RGB(49, 106, 197);
constexpr COLORREF kHighlightedText = RGB(255, 255, 255);
constexpr COLORREF kBand = RGB(16, 52, 124);
constexpr COLORREF kBandText = RGB(255, 255, 255);
constexpr COLORREF kSeparator = RGB(214, 214, 214);

int ScreenDpi() {
  HDC dc = GetDC(nullptr);
  const int dpi = GetDeviceCaps(dc, LOGPIXELSY);
  ReleaseDC(nullptr, dc);
  return dpi;
}

// Whether the system lists the face. (Asked by enumeration: a font made for a face that isn't there yet
// would be remembered with its substitute.)
bool FaceKnown(const wchar_t* face) {
  LOGFONTW lf{};
  lf.lfCharSet = DEFAULT_CHARSET;
  lstrcpynW(lf.lfFaceName, face, LF_FACESIZE);
  bool found = false;
  HDC dc = GetDC(nullptr);
  EnumFontFamiliesExW(
      dc, &lf,
      [](const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM found) -> int {
        *reinterpret_cast<bool*>(found) = true;
        return 0;
      },
      reinterpret_cast<LPARAM>(&found), 0);
  ReleaseDC(nullptr, dc);
  return found;
}

// The device's screen font is Tahoma. When the system doesn't know it, the screen adds it for its own
// process, where the items run: from the system's font folder, else from the emulator's data folder.
// The emulator's bold Tahoma is bold only in its small bitmap sizes, which a 96-dpi screen draws; its
// outlines, which the larger text of a denser screen is drawn from, are those of the plain face, so
// that bold would look plain there. A denser screen takes the plain face alone, and the system makes
// its bold from that.
void AddScreenFont() {
  if (FaceKnown(L"Tahoma")) {
    DeviceJournalWrite(kJournalSource, L"font Tahoma present");
    return;
  }
  std::vector<std::wstring> folders;
  wchar_t buffer[MAX_PATH];
  UINT n = GetWindowsDirectoryW(buffer, MAX_PATH);
  if (n > 0 && n < MAX_PATH) folders.push_back(std::wstring(buffer) + L"\\Fonts\\");
  DWORD m = GetEnvironmentVariableW(L"WINEDATADIR", buffer, MAX_PATH);
  if (m > 0 && m < MAX_PATH) {
    std::wstring data = buffer;
    if (data.compare(0, 4, L"\\??\\") == 0) data.erase(0, 4);
    folders.push_back(data + L"\\fonts\\");
  }
  for (const std::wstring& folder : folders) {
    const std::wstring regular = folder + L"tahoma.ttf", bold = folder + L"tahomabd.ttf";
    if (GetFileAttributesW(regular.c_str()) == INVALID_FILE_ATTRIBUTES) continue;
    int added = AddFontResourceExW(regular.c_str(), FR_PRIVATE, nullptr);
    const bool boldFace = ScreenDpi() <= 96 && GetFileAttributesW(bold.c_str()) != INVALID_FILE_ATTRIBUTES;
    if (boldFace) added += AddFontResourceExW(bold.c_str(), FR_PRIVATE, nullptr);
    if (added > 0 && FaceKnown(L"Tahoma")) {
      DeviceJournalWrite(kJournalSource, L"font Tahoma added from %ls%ls", folder.c_str(),
                         boldFace ? L"" : L", its bold made from the plain face");
      return;
    }
  }
  DeviceJournalWrite(kJournalSource, L"font Tahoma not found");
}

}  // namespace

Host::Host(HINSTANCE instance, std::wstring scriptPath, bool exitAtEnd)
    : instance_(instance), scriptPath_(std::move(scriptPath)), exitAtEnd_(exitAtEnd) {}

Host::~Host() {
  // Messages that still reach the window (COM's shutdown may pump) find no host behind it.
  if (hwnd_) SetWindowLongPtrW(hwnd_, GWLP_USERDATA, 0);
  if (dateFont_) DeleteObject(dateFont_);
  if (ownerFont_) DeleteObject(ownerFont_);
  if (background_) DeleteObject(background_);
}

bool Host::Start() {
  DeviceJournalWrite(kJournalSource, L"start");

  HDC screen = GetDC(nullptr);
  dpi_ = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  if (dpi_ <= 0) dpi_ = 96;
  AddScreenFont();
  MakeFonts();
  background_ = CreateSolidBrush(kBackground);

  WNDCLASSW wc{};
  wc.lpfnWndProc = &Host::WindowProc;
  wc.hInstance = instance_;
  wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  wc.lpszClassName = kHostClass;
  if (!RegisterClassW(&wc)) {
    DeviceJournalWrite(kJournalSource, L"window class failed %lu", GetLastError());
    return false;
  }

  RECT work{};
  if (!SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0))
    SetRect(&work, 0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
  DeviceJournalWrite(kJournalSource, L"screen %ldx%ld dpi %d", work.right - work.left, work.bottom - work.top,
                     dpi_);

  hwnd_ = CreateWindowExW(0, kHostClass, L"Today", WS_POPUP | WS_CLIPCHILDREN, work.left, work.top,
                          work.right - work.left, work.bottom - work.top, nullptr, nullptr, instance_, this);
  if (!hwnd_) {
    DeviceJournalWrite(kJournalSource, L"window failed %lu", GetLastError());
    return false;
  }
  ShowWindow(hwnd_, SW_SHOW);
  SetForegroundWindow(hwnd_);
  SetFocus(hwnd_);
  UpdateWindow(hwnd_);

  LoadItems();
  SetTimer(hwnd_, kPollTimer, kPollMs, nullptr);

  if (!scriptPath_.empty()) {
    if (ReadScript(scriptPath_, &script_)) {
      DeviceJournalWrite(kJournalSource, L"script %ls", scriptPath_.c_str());
      scriptRunning_ = true;
      ScheduleScript(100);
    } else {
      DeviceJournalWrite(kJournalSource, L"script %ls unreadable", scriptPath_.c_str());
      if (exitAtEnd_) PostMessageW(hwnd_, WM_CLOSE, 0, 0);
    }
  } else if (exitAtEnd_) {
    PostMessageW(hwnd_, WM_CLOSE, 0, 0);
  }
  return true;
}

LRESULT CALLBACK Host::WindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  Host* host = reinterpret_cast<Host*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
  if (msg == WM_NCCREATE) {
    host = static_cast<Host*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
    host->hwnd_ = hwnd;
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(host));
  }
  if (!host) return DefWindowProcW(hwnd, msg, wParam, lParam);
  LRESULT result = host->Handle(msg, wParam, lParam);
  if (msg == WM_NCDESTROY) {
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, 0);
    host->hwnd_ = nullptr;
  } else {
    host->RunDeferred();
  }
  return result;
}

LRESULT Host::Handle(UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(hwnd_, &ps);
      Paint(dc);
      EndPaint(hwnd_, &ps);
      return 0;
    }
    case WM_TIMER:
      if (wParam == kPollTimer) {
        Poll();
      } else {
        KillTimer(hwnd_, wParam);
        RunScript();
      }
      return 0;
    case WM_KEYDOWN:
      HandleKey(static_cast<UINT>(wParam));
      return 0;
    case WM_LBUTTONDOWN:
      // A tap on the screen outside every item takes the selection away from the items.
      ClearSelection();
      return 0;
    case WM_SETTINGCHANGE:  // WM_WININICHANGE
      if (wParam == kReloadItems) PostMessageW(hwnd_, kMsgReload, 0, 0);
      return 0;
    case kMsgReload:
      Reload();
      return 0;
    case TODAYM_GETCOLOR:
      return static_cast<LRESULT>(Color(wParam));
    case TODAYM_DRAWWATERMARK: {
      auto* info = reinterpret_cast<TODAYDRAWWATERMARKINFO*>(lParam);
      if (info && info->hdc) FillRect(info->hdc, &info->rc, background_);
      return 0;
    }
    case TODAYM_TOOKSELECTION: {
      int index = IndexOfWindow(reinterpret_cast<HWND>(wParam));
      if (index >= 0 && index != selected_) {
        if (selected_ >= 0) {
          int old = selected_;
          selected_ = -1;
          DeviceJournalWrite(kJournalSource, L"item %ls lost selection", NameOf(old));
          SendToItem(old, WM_TODAYCUSTOM_LOSTSELECTION, 0, 0);
        }
        Select(index);
      }
      return 0;
    }
    case TODAYM_REQUESTREFRESH:
      Poll();
      return 0;
    case WM_CLOSE:
      if (itemCallDepth_ > 0) {
        closePending_ = true;
      } else {
        Shutdown();
      }
      return 0;
    case WM_DESTROY:
      // Destroyed from outside: the items go with it.
      Shutdown();
      return 0;
    default:
      return DefWindowProcW(hwnd_, msg, wParam, lParam);
  }
}

void Host::RunDeferred() {
  if (itemCallDepth_ > 0 || !hwnd_) return;
  if (reloadPending_) {
    reloadPending_ = false;
    Reload();
  }
  if (closePending_) {
    closePending_ = false;
    Shutdown();
  }
}

// The end of the Today screen: the items are unloaded and the message loop ends. The window itself is
// neither hidden nor destroyed here but goes with the process: hiding an active top-level window makes
// the display driver wait for a window manager, which a bare device screen doesn't have.
void Host::Shutdown() {
  if (shutDown_) return;
  shutDown_ = true;
  scriptRunning_ = false;
  KillTimer(hwnd_, kPollTimer);
  UnloadItems();
  PostQuitMessage(0);
}

COLORREF Host::Color(WPARAM which) const {
  switch (which) {
    case TODAYCOLOR_HIGHLIGHT:
      return kHighlight;
    case TODAYCOLOR_HIGHLIGHTEDTEXT:
      return kHighlightedText;
    case TODAYCOLOR_TEXT:
    default:
      return kText;
  }
}

void Host::MakeFonts() {
  LOGFONTW lf{};
  lf.lfHeight = -MulDiv(9, dpi_, 72);
  lf.lfWeight = FW_BOLD;
  lf.lfCharSet = DEFAULT_CHARSET;
  lf.lfQuality = ANTIALIASED_QUALITY;
  lstrcpynW(lf.lfFaceName, L"Tahoma", LF_FACESIZE);
  dateFont_ = CreateFontIndirectW(&lf);
  lf.lfHeight = -MulDiv(8, dpi_, 72);
  lf.lfWeight = FW_NORMAL;
  ownerFont_ = CreateFontIndirectW(&lf);
}

int Host::HeaderHeight() const { return ScaleY(38); }

void Host::Paint(HDC dc) {
  RECT client;
  GetClientRect(hwnd_, &client);
  FillRect(dc, &client, background_);

  // Header band: the date, then the owner.
  RECT band = client;
  band.bottom = band.top + HeaderHeight();
  HBRUSH bandBrush = CreateSolidBrush(kBand);
  FillRect(dc, &band, bandBrush);
  DeleteObject(bandBrush);

  wchar_t date[128] = L"";
  GetDateFormatW(LOCALE_USER_DEFAULT, DATE_LONGDATE, nullptr, nullptr, date, 128);
  wchar_t owner[128] = L"";
  DWORD size = sizeof owner - sizeof(wchar_t);
  DWORD type = 0;
  HKEY key;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, kOwnerKey, 0, KEY_READ, &key) == ERROR_SUCCESS) {
    if (RegQueryValueExW(key, L"Name", nullptr, &type, reinterpret_cast<BYTE*>(owner), &size) !=
            ERROR_SUCCESS ||
        type != REG_SZ)
      owner[0] = 0;
    RegCloseKey(key);
  }

  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, kBandText);
  RECT line = band;
  line.left += ScaleY(6);
  line.right -= ScaleY(6);
  line.top += ScaleY(3);
  line.bottom = line.top + ScaleY(17);
  HGDIOBJ oldFont = SelectObject(dc, dateFont_);
  DrawTextW(dc, date, -1, &line, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX);
  line.top = line.bottom;
  line.bottom = line.top + ScaleY(15);
  SelectObject(dc, ownerFont_);
  DrawTextW(dc, owner, -1, &line, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX);
  SelectObject(dc, oldFont);

  // The gaps between the items: a thin line, or the highlight around the selected item.
  HBRUSH separator = CreateSolidBrush(kSeparator);
  HBRUSH highlight = CreateSolidBrush(kHighlight);
  for (size_t i = 0; i < items_.size(); ++i) {
    const HostItem& item = *items_[i];
    if (!item.tli.hwndCustom || item.height == 0) continue;
    RECT above = {client.left, item.placed.top - Gap(), client.right, item.placed.top};
    RECT below = {client.left, item.placed.bottom, client.right, item.placed.bottom + Gap()};
    if (static_cast<int>(i) == selected_) {
      FillRect(dc, &above, highlight);
      FillRect(dc, &below, highlight);
    } else {
      RECT thin = below;
      thin.top = thin.bottom - 1;
      FillRect(dc, &thin, separator);
    }
  }
  DeleteObject(separator);
  DeleteObject(highlight);
}

// ---- selection and keys ----

bool Host::Selectable(size_t index) const {
  const HostItem& item = *items_[index];
  return item.tli.hwndCustom && item.height > 0 &&
         item.tli.dwSelectability != TODAY_SELECTABILITY_NOTSELECTABLE;
}

void Host::HandleKey(UINT vk) {
  // The pad's centre acts by the Return it sends when it comes up.
  if (vk == VK_PAD_ACTION) return;
  if (selected_ >= 0) {
    size_t index = static_cast<size_t>(selected_);
    if (vk == VK_RETURN) {
      Action(index);
    } else {
      LRESULT handled = SendToItem(index, WM_TODAYCUSTOM_USERNAVIGATION, vk, 0);
      DeviceJournalWrite(kJournalSource, L"item %ls navigation %u %ls", NameOf(index), vk,
                         handled ? L"handled" : L"passed");
      if (!handled && (vk == VK_UP || vk == VK_DOWN)) MoveSelection(vk);
    }
  } else if (vk == VK_UP || vk == VK_DOWN) {
    MoveSelection(vk);
  }
  // Keys change what items show: ask them at once rather than at the next tick.
  Poll();
}

void Host::MoveSelection(UINT vk) {
  const int count = static_cast<int>(items_.size());
  const int step = vk == VK_UP ? -1 : 1;
  int from = selected_;
  if (selected_ >= 0) {
    selected_ = -1;
    DeviceJournalWrite(kJournalSource, L"item %ls lost selection", NameOf(from));
    SendToItem(from, WM_TODAYCUSTOM_LOSTSELECTION, 0, 0);
  }
  // From nowhere, Down starts at the first item and Up at the last; past either end the selection
  // leaves the items.
  int i = from >= 0 ? from + step : (step > 0 ? 0 : count - 1);
  for (; i >= 0 && i < count; i += step) {
    if (!Selectable(i)) continue;
    // An item that answers FALSE declines the selection; it passes on.
    if (SendToItem(i, WM_TODAYCUSTOM_RECEIVEDSELECTION, vk, 0)) {
      Select(i);
      return;
    }
    DeviceJournalWrite(kJournalSource, L"item %ls declined selection", NameOf(i));
  }
  InvalidateRect(hwnd_, nullptr, FALSE);
}

void Host::ClearSelection() {
  if (selected_ < 0) return;
  int old = selected_;
  selected_ = -1;
  DeviceJournalWrite(kJournalSource, L"item %ls lost selection", NameOf(old));
  SendToItem(old, WM_TODAYCUSTOM_LOSTSELECTION, 0, 0);
  InvalidateRect(hwnd_, nullptr, FALSE);
}

void Host::Select(int index) {
  selected_ = index;
  DeviceJournalWrite(kJournalSource, L"item %ls selected", NameOf(index));
  InvalidateRect(hwnd_, nullptr, FALSE);
}

void Host::Action(size_t index) {
  DeviceJournalWrite(kJournalSource, L"item %ls action", NameOf(index));
  if (items_[index]->tli.dwSelectability == TODAY_SELECTABILITY_SELECTABLE) {
    // Items that leave the selection to the shell get the action as a tap in their corner.
    SendToItem(index, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(1, 1));
    SendToItem(index, WM_LBUTTONUP, 0, MAKELPARAM(1, 1));
  } else {
    SendToItem(index, WM_TODAYCUSTOM_ACTION, VK_RETURN, 0);
  }
}

}  // namespace todayhost
