// Scripts: taps, drags, keys, waits and screenshots for end-to-end tests and demos.
//
// One command a line; blank lines and lines starting with '#' are skipped:
//   tap X Y          press and release the pen at screen point X,Y
//   hold X Y MS      press at X,Y, keep it down MS milliseconds, release
//   down X Y         press the pen at X,Y and keep it down
//   move X Y         move the pen to X,Y (pressed or not)
//   up X Y           release the pen at X,Y
//   drag X1 Y1 X2 Y2 [STEPS]
//                    press at X1,Y1, move in STEPS even steps (default 8) to X2,Y2, release there
//   key NAME|VK      a hardware key as the device delivers it (see Keys.cpp): up, down, left, right,
//                    enter (or action), talk, end, home, back, soft1, soft2, or a virtual-key code in
//                    decimal or 0x hexadecimal; app1 to app5 (or 0x40C1 to 0x40C5) are the
//                    application keys, which start what the registry names (HardwareKeys.cpp)
//   keydown NAME|VK  only the press of a key, which stays held
//   keyup NAME|VK    only its release
//   ok               the OK button of the navigation bar, for the window in front
//   sip on|off       shows or hides the input panel
//   wait MS          let MS milliseconds pass, messages keep flowing
//   shot FILE        the host window as it is on the screen, written as PNG
//   probe FILE       the visible windows and the lists in them (their row count, caret and top row),
//                    one line each, as UTF-8 text
//   reload           read the items again, as WM_WININICHANGE 0xF2 does
//   quit             end the program
//
// The commands run from timer messages on the window's own thread, so the items keep getting their
// messages between them and during waits. A timer message comes only when no input, posted message or
// painting is waiting, so each command sees the effects of the one before. The pen events of one
// command (a hold's release, a drag's moves) come one a timer message, like the commands.
#include "TodayHost.h"
#include "HardwareKeys.h"

#include <DeviceJournal.h>
#include <aygshell.h>
#include <winuserm.h>

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
  if (name == L"enter" || name == L"action" || name == L"return") return VK_TACTION;
  if (name == L"talk") return VK_TTALK;
  if (name == L"end") return VK_TEND;
  if (name == L"home") return VK_THOME;
  if (name == L"back") return VK_TBACK;
  if (name == L"soft1") return VK_TSOFT1;
  if (name == L"soft2") return VK_TSOFT2;
  if (UINT hardware = ParseHardwareKey(text)) return hardware;
  long vk = 0;
  if (ParseNumber(text, &vk) && vk > 0 && vk < 256) return static_cast<UINT>(vk);
  return 0;
}

void Host::ScheduleScript(UINT delayMs) { SetTimer(hwnd_, kScriptTimer, delayMs, nullptr); }

void Host::QueuePen(PenAction action, int x, int y, UINT delayMs) {
  penSteps_.push_back(PenStep{action, POINT{x, y}, delayMs});
}

void Host::RunScript() {
  if (!scriptRunning_ || !hwnd_) return;
  if (penNext_ < penSteps_.size()) {
    const PenStep step = penSteps_[penNext_++];
    Pen(step.action, step.at.x, step.at.y);
    if (scriptRunning_) ScheduleScript(penNext_ < penSteps_.size() ? penSteps_[penNext_].delayMs : kStepMs);
    return;
  }
  penSteps_.clear();
  penNext_ = 0;
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
  LiftPen();
  DeviceJournalWrite(kJournalSource, L"script done");
  if (exitAtEnd_) PostMessageW(hwnd_, WM_CLOSE, 0, 0);
}

UINT Host::RunCommand(const ScriptCommand& c) {
  long x = 0, y = 0, x2 = 0, y2 = 0, ms = 0, steps = 8;
  const bool point = c.args.size() >= 2 && ParseNumber(c.args[0], &x) && ParseNumber(c.args[1], &y);
  if (c.verb == L"tap" && c.args.size() == 2 && point) {
    DeviceJournalWrite(kJournalSource, L"tap %ld %ld", x, y);
    Pen(PenAction::kDown, x, y);
    Pen(PenAction::kUp, x, y);
    return kStepMs;
  }
  if (c.verb == L"hold" && c.args.size() == 3 && point && ParseNumber(c.args[2], &ms) && ms >= 0) {
    DeviceJournalWrite(kJournalSource, L"hold %ld %ld %ld", x, y, ms);
    Pen(PenAction::kDown, x, y);
    QueuePen(PenAction::kUp, x, y, static_cast<UINT>(ms));
    return static_cast<UINT>(ms);
  }
  if ((c.verb == L"down" || c.verb == L"move" || c.verb == L"up") && c.args.size() == 2 && point) {
    DeviceJournalWrite(kJournalSource, L"%ls %ld %ld", c.verb.c_str(), x, y);
    Pen(c.verb == L"down" ? PenAction::kDown : c.verb == L"move" ? PenAction::kMove : PenAction::kUp, x, y);
    return kStepMs;
  }
  if (c.verb == L"drag" && (c.args.size() == 4 || c.args.size() == 5) && point &&
      ParseNumber(c.args[2], &x2) && ParseNumber(c.args[3], &y2) &&
      (c.args.size() == 4 || (ParseNumber(c.args[4], &steps) && steps > 0))) {
    DeviceJournalWrite(kJournalSource, L"drag %ld %ld %ld %ld %ld", x, y, x2, y2, steps);
    Pen(PenAction::kDown, x, y);
    for (long i = 1; i <= steps; ++i)
      QueuePen(PenAction::kMove, static_cast<int>(x + (x2 - x) * i / steps),
               static_cast<int>(y + (y2 - y) * i / steps), kStepMs);
    QueuePen(PenAction::kUp, x2, y2, kStepMs);
    return kStepMs;
  }
  if ((c.verb == L"key" || c.verb == L"keydown" || c.verb == L"keyup") && c.args.size() == 1) {
    UINT vk = ParseKey(c.args[0]);
    if (vk) {
      DeviceJournalWrite(kJournalSource, L"%ls %u", c.verb.c_str(), vk);
      if (c.verb == L"keydown")
        DeliverKeyDown(vk);
      else if (c.verb == L"keyup")
        DeliverKeyUp(vk);
      else
        DeliverKey(vk);
      return kStepMs;
    }
  }
  if (c.verb == L"ok" && c.args.empty()) {
    PressNavigationButton();
    return kStepMs;
  }
  if (c.verb == L"sip" && c.args.size() == 1 && (Lower(c.args[0]) == L"on" || Lower(c.args[0]) == L"off")) {
    SIPINFO info{};
    info.cbSize = sizeof info;
    info.fdwFlags = Lower(c.args[0]) == L"on" ? SIPF_ON : 0;
    DeviceJournalWrite(kJournalSource, L"sip %ls", Lower(c.args[0]).c_str());
    SHSipInfo(SPI_SETSIPINFO, 0, &info, 0);
    return kStepMs;
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
  if (c.verb == L"probe" && !c.rest.empty()) {
    std::wstring path = c.rest;
    if (path.size() >= 2 && path.front() == L'"' && path.back() == L'"')
      path = path.substr(1, path.size() - 2);
    Probe(path);
    return kStepMs;
  }
  if (c.verb == L"reload" && c.args.empty()) {
    PostMessageW(hwnd_, kMsgReload, 0, 0);
    return kStepMs;
  }
  if (c.verb == L"quit" && c.args.empty()) {
    DeviceJournalWrite(kJournalSource, L"quit");
    scriptRunning_ = false;
    LiftPen();
    PostMessageW(hwnd_, WM_CLOSE, 0, 0);
    return kStepMs;
  }
  DeviceJournalWrite(kJournalSource, L"script line %d not understood: %ls %ls", c.line, c.verb.c_str(),
                     c.rest.c_str());
  return kStepMs;
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
