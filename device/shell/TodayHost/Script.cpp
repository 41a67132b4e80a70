// Scripts: taps, keys, waits and screenshots for end-to-end tests and demos.
//
// One command a line; blank lines and lines starting with '#' are skipped:
//   tap X Y          press and release the pen at screen point X,Y
//   hold X Y MS      press at X,Y, keep it down MS milliseconds, release
//   key NAME|VK      a key press as the screen gets it: up, down, left, right, enter (or action), or a
//                    virtual-key code in decimal or 0x hexadecimal
//   wait MS          let MS milliseconds pass, messages keep flowing
//   shot FILE        the host window as it is on the screen, written as PNG
//   reload           read the items again, as WM_WININICHANGE 0xF2 does
//   quit             end the program
//
// The commands run from timer messages on the window's own thread, so the items keep getting their
// messages between them and during waits. A timer message comes only when no input, posted message or
// painting is waiting, so each command sees the effects of the one before.
#include "TodayHost.h"

#include <DeviceJournal.h>

#include <cwchar>
#include <cwctype>

namespace todayhost {

namespace {

constexpr UINT_PTR kScriptTimer = 2;
constexpr UINT kStepMs = 30;

std::wstring Trim(const std::wstring& text) {
  size_t begin = 0, end = text.size();
  while (begin < end && iswspace(text[begin])) ++begin;
  while (end > begin && iswspace(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

std::wstring Lower(std::wstring text) {
  for (auto& c : text) c = static_cast<wchar_t>(towlower(c));
  return text;
}

bool ParseNumber(const std::wstring& text, long* value) {
  if (text.empty()) return false;
  wchar_t* end = nullptr;
  long n = wcstol(text.c_str(), &end, 0);
  if (!end || *end) return false;
  *value = n;
  return true;
}

}  // namespace

bool ReadScript(const std::wstring& path, std::vector<ScriptCommand>* commands) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  std::string bytes;
  char buffer[4096];
  DWORD got = 0;
  while (ReadFile(file, buffer, sizeof buffer, &got, nullptr) && got > 0) bytes.append(buffer, got);
  CloseHandle(file);

  std::wstring text;
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE) {
    text.assign(reinterpret_cast<const wchar_t*>(bytes.data() + 2), (bytes.size() - 2) / sizeof(wchar_t));
  } else {
    size_t skip = bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    int n = MultiByteToWideChar(CP_UTF8, 0, bytes.data() + skip, static_cast<int>(bytes.size() - skip),
                                nullptr, 0);
    text.assign(n, L'\0');
    if (n > 0)
      MultiByteToWideChar(CP_UTF8, 0, bytes.data() + skip, static_cast<int>(bytes.size() - skip), &text[0],
                          n);
  }

  commands->clear();
  size_t start = 0;
  for (int line = 1; start <= text.size(); ++line) {
    size_t end = text.find(L'\n', start);
    if (end == std::wstring::npos) end = text.size();
    std::wstring content = Trim(text.substr(start, end - start));
    start = end + 1;
    if (content.empty() || content[0] == L'#') continue;
    ScriptCommand command;
    command.line = line;
    size_t space = 0;
    while (space < content.size() && !iswspace(content[space])) ++space;
    command.verb = Lower(content.substr(0, space));
    command.rest = Trim(content.substr(space));
    size_t at = 0;
    while (at < command.rest.size()) {
      while (at < command.rest.size() && iswspace(command.rest[at])) ++at;
      size_t word = at;
      while (at < command.rest.size() && !iswspace(command.rest[at])) ++at;
      if (at > word) command.args.push_back(command.rest.substr(word, at - word));
    }
    commands->push_back(command);
  }
  return true;
}

UINT ParseKey(const std::wstring& text) {
  const std::wstring name = Lower(text);
  if (name == L"up") return VK_UP;
  if (name == L"down") return VK_DOWN;
  if (name == L"left") return VK_LEFT;
  if (name == L"right") return VK_RIGHT;
  if (name == L"enter" || name == L"action" || name == L"return") return VK_RETURN;
  long vk = 0;
  if (ParseNumber(text, &vk) && vk > 0 && vk < 256) return static_cast<UINT>(vk);
  return 0;
}

void Host::ScheduleScript(UINT delayMs) { SetTimer(hwnd_, kScriptTimer, delayMs, nullptr); }

void Host::RunScript() {
  if (!scriptRunning_ || !hwnd_) return;
  if (holding_) {
    holding_ = false;
    Tap(holdPoint_.x, holdPoint_.y, false, true);
    ScheduleScript(kStepMs);
    return;
  }
  if (scriptNext_ >= script_.size()) {
    EndScript();
    return;
  }
  const ScriptCommand& command = script_[scriptNext_++];
  UINT delay = RunCommand(command);
  if (scriptRunning_) ScheduleScript(delay);
}

void Host::EndScript() {
  scriptRunning_ = false;
  DeviceJournalWrite(kJournalSource, L"script done");
  if (exitAtEnd_) PostMessageW(hwnd_, WM_CLOSE, 0, 0);
}

UINT Host::RunCommand(const ScriptCommand& c) {
  long x = 0, y = 0, ms = 0;
  if (c.verb == L"tap" && c.args.size() == 2 && ParseNumber(c.args[0], &x) && ParseNumber(c.args[1], &y)) {
    DeviceJournalWrite(kJournalSource, L"tap %ld %ld", x, y);
    Tap(x, y, true, true);
    return kStepMs;
  }
  if (c.verb == L"hold" && c.args.size() == 3 && ParseNumber(c.args[0], &x) && ParseNumber(c.args[1], &y) &&
      ParseNumber(c.args[2], &ms) && ms >= 0) {
    DeviceJournalWrite(kJournalSource, L"hold %ld %ld %ld", x, y, ms);
    Tap(x, y, true, false);
    holding_ = true;
    holdPoint_ = {x, y};
    return static_cast<UINT>(ms);
  }
  if (c.verb == L"key" && c.args.size() == 1) {
    UINT vk = ParseKey(c.args[0]);
    if (vk) {
      DeviceJournalWrite(kJournalSource, L"key %u", vk);
      // Through the queue like a key from the keypad, so it comes in order with the rest of the input.
      UINT scan = MapVirtualKeyW(vk, MAPVK_VK_TO_VSC);
      PostMessageW(hwnd_, WM_KEYDOWN, vk, 1 | (static_cast<LPARAM>(scan) << 16));
      PostMessageW(hwnd_, WM_KEYUP, vk,
                   1 | (static_cast<LPARAM>(scan) << 16) | (static_cast<LPARAM>(3) << 30));
      return kStepMs;
    }
  }
  if (c.verb == L"wait" && c.args.size() == 1 && ParseNumber(c.args[0], &ms) && ms >= 0) {
    return static_cast<UINT>(ms);
  }
  if (c.verb == L"shot" && !c.rest.empty()) {
    std::wstring path = c.rest;
    if (path.size() >= 2 && path.front() == L'"' && path.back() == L'"')
      path = path.substr(1, path.size() - 2);
    Shot(path);
    return kStepMs;
  }
  if (c.verb == L"reload" && c.args.empty()) {
    PostMessageW(hwnd_, kMsgReload, 0, 0);
    return kStepMs;
  }
  if (c.verb == L"quit" && c.args.empty()) {
    DeviceJournalWrite(kJournalSource, L"quit");
    scriptRunning_ = false;
    PostMessageW(hwnd_, WM_CLOSE, 0, 0);
    return kStepMs;
  }
  DeviceJournalWrite(kJournalSource, L"script line %d not understood: %ls %ls", c.line, c.verb.c_str(),
                     c.rest.c_str());
  return kStepMs;
}

// A pen event at a screen point. Real input when the system takes it and the pointer lands where it
// should; otherwise the messages go straight to the window under the point.
void Host::Tap(int x, int y, bool down, bool up) {
  bool byInput = false;
  if (down) {
    const int cx = GetSystemMetrics(SM_CXSCREEN), cy = GetSystemMetrics(SM_CYSCREEN);
    INPUT move{};
    move.type = INPUT_MOUSE;
    move.mi.dx = cx > 0 ? static_cast<LONG>((static_cast<long long>(x) * 65536 + cx - 1) / cx) : 0;
    move.mi.dy = cy > 0 ? static_cast<LONG>((static_cast<long long>(y) * 65536 + cy - 1) / cy) : 0;
    move.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
    POINT at{};
    if (SendInput(1, &move, sizeof move) == 1 && GetCursorPos(&at) && at.x == x && at.y == y) byInput = true;
    holdByInput_ = byInput;
  } else {
    byInput = holdByInput_;
  }

  if (byInput) {
    INPUT events[2]{};
    UINT count = 0;
    if (down) {
      events[count].type = INPUT_MOUSE;
      events[count++].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
    }
    if (up) {
      events[count].type = INPUT_MOUSE;
      events[count++].mi.dwFlags = MOUSEEVENTF_LEFTUP;
    }
    if (SendInput(count, events, sizeof(INPUT)) == count) return;
    DeviceJournalWrite(kJournalSource, L"tap %d %d input refused, posting", x, y);
  }

  POINT screen = {x, y};
  HWND target = WindowFromPoint(screen);
  DeviceJournalWrite(kJournalSource, L"pen %d %d %ls posted to the window under it", x, y,
                     down ? (up ? L"tap" : L"down") : L"up");
  if (!target) return;
  POINT client = screen;
  ScreenToClient(target, &client);
  if (down) PostMessageW(target, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(client.x, client.y));
  if (up) PostMessageW(target, WM_LBUTTONUP, 0, MAKELPARAM(client.x, client.y));
}

void Host::Shot(const std::wstring& path) {
  // Everything on the screen is painted before the picture is taken.
  RedrawWindow(hwnd_, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
  GdiFlush();
  RECT rect;
  GetWindowRect(hwnd_, &rect);
  HRESULT hr = SaveScreenPng(rect, path);
  if (SUCCEEDED(hr))
    DeviceJournalWrite(kJournalSource, L"shot %ls", path.c_str());
  else
    DeviceJournalWrite(kJournalSource, L"shot %ls failed 0x%08lx", path.c_str(),
                       static_cast<unsigned long>(hr));
}

}  // namespace todayhost
