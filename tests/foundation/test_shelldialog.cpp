// ShellDialog and FullScreenShellDialog on real dialogs: the empty template built in memory, the
// switch of DialogProc, OK and Cancel, the shell's preparation, and the full-screen dialog that
// follows the input panel.
#include <doctest/doctest.h>
#include <windows.h>
#include <aygshell.h>
#include <DeviceShell.h>
#include <string>
#include <vector>
#include "InputPanel.h"
#include "TestPaths.h"
#include "foundation/FullScreenShellDialog.h"
#include "foundation/LogicalResolution.h"
#include "foundation/ShellDialog.h"

namespace {

// One handler call: which handler, and what it was given.
struct Call {
  char what;  // 'I' OnInitDialog, 'C' OnCommand, 'O' OnOk, 'X' OnCancel, 'A' OnActivate,
              // 'S' OnSettingChange, 'Z' OnSize, 'M' Move
  WPARAM a;
  LPARAM b;
  bool operator==(const Call& other) const { return what == other.what && a == other.a && b == other.b; }
};

std::vector<Call> calls;

bool Has(char what) {
  for (const Call& call : calls)
    if (call.what == what) return true;
  return false;
}

template <class Base>
class Recording : public Base {
 public:
  using Base::Base;
  std::vector<UINT> commandsAtInit;  // posted to the dialog when it starts
  LONG styleAtInit = 0;
  RECT rectAtInit = {};
  BOOL lastCommandResult = -1;
  std::vector<RECT> moves;

  BOOL OnInitDialog() override {
    calls.push_back({'I', 0, 0});
    BOOL result = Base::OnInitDialog();
    styleAtInit = GetWindowLongW(this->hwnd, GWL_STYLE);
    GetWindowRect(this->hwnd, &rectAtInit);
    for (UINT command : commandsAtInit) PostMessageW(this->hwnd, WM_COMMAND, command, 0);
    return result;
  }
  BOOL OnCommand(WPARAM wParam, LPARAM lParam) override {
    calls.push_back({'C', wParam, lParam});
    lastCommandResult = Base::OnCommand(wParam, lParam);
    return lastCommandResult;
  }
  void OnOk() override {
    calls.push_back({'O', 0, 0});
    Base::OnOk();
  }
  void OnCancel() override {
    calls.push_back({'X', 0, 0});
    Base::OnCancel();
  }
  void OnActivate(WPARAM wParam, LPARAM lParam) override {
    calls.push_back({'A', LOWORD(wParam), 0});
    Base::OnActivate(wParam, lParam);
  }
  void OnSettingChange(WPARAM wParam, LPARAM lParam) override {
    calls.push_back({'S', wParam, 0});
    Base::OnSettingChange(wParam, lParam);
  }
  void OnSize(int width, int height) override {
    calls.push_back({'Z', static_cast<WPARAM>(width), height});
    Base::OnSize(width, height);
  }
  void Move(const RECT& rect) override {
    calls.push_back({'M', 0, 0});
    moves.push_back(rect);
    Base::Move(rect);
  }
};

typedef Recording<ShellDialog> RecordingShell;
typedef Recording<FullScreenShellDialog> RecordingFullScreen;

RECT WindowRect(HWND window) {
  RECT rect = {};
  GetWindowRect(window, &rect);
  return rect;
}

bool SameRect(const RECT& a, const RECT& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

int MenuBar() { return (LogicalDpiY() * 26 + 48) / 96; }

// Journal lines of the shell library written since `mark`.
std::vector<std::string> ShellEvents(size_t mark) {
  std::vector<std::string> events;
  std::vector<testpaths::JournalLine> lines = testpaths::ReadDeviceJournal();
  for (size_t i = mark; i < lines.size(); ++i)
    if (lines[i].source == "aygshell") events.push_back(lines[i].event);
  return events;
}

bool EventContains(const std::vector<std::string>& events, const std::string& part) {
  for (const std::string& event : events)
    if (event.find(part) != std::string::npos) return true;
  return false;
}

}  // namespace

TEST_CASE("ShellDialog: OK ends the dialog with 1 and Cancel with 2; other commands are left alone") {
  calls.clear();
  RecordingShell ok(nullptr, 0, FALSE);
  ok.commandsAtInit = {IDOK};
  CHECK(ok.DoModal(nullptr) == IDOK);
  CHECK(ok.lastCommandResult == TRUE);
  CHECK(Has('O'));
  CHECK_FALSE(Has('X'));
  CHECK(ok.GetHwnd() == nullptr);

  calls.clear();
  RecordingShell cancel(nullptr, 0, FALSE);
  cancel.commandsAtInit = {1234, IDCANCEL};
  CHECK(cancel.DoModal(nullptr) == IDCANCEL);
  std::vector<Call> commands;
  for (const Call& call : calls)
    if (call.what == 'C' || call.what == 'O' || call.what == 'X') commands.push_back(call);
  CHECK(commands == std::vector<Call>{{'C', 1234, 0}, {'C', IDCANCEL, 0}, {'X', 0, 0}});
  CHECK(cancel.lastCommandResult == TRUE);
}

TEST_CASE("ShellDialog: the empty template of a modal dialog is a centred popup, sized by nobody") {
  RecordingShell dialog(nullptr, 0, FALSE);
  dialog.commandsAtInit = {IDOK};
  CHECK(dialog.DoModal(nullptr) == IDOK);
  CHECK((static_cast<DWORD>(dialog.styleAtInit) & WS_POPUP) != 0);
  CHECK((dialog.styleAtInit & DS_CENTER) != 0);
  CHECK((dialog.styleAtInit & WS_CAPTION) == 0);
  // No size in the template, and no shell to give one.
  CHECK(dialog.rectAtInit.right - dialog.rectAtInit.left == 0);
  CHECK(dialog.rectAtInit.bottom - dialog.rectAtInit.top == 0);
}

TEST_CASE("ShellDialog: with doInit the shell makes the dialog full screen with an OK button") {
  inputpanel::Set(false);
  RECT expected = inputpanel::VisibleDesktop();
  expected.bottom -= MenuBar();
  size_t mark = testpaths::ReadDeviceJournal().size();
  HANDLE button = nullptr;
  // The property is read while the dialog is there: at the OK command.
  class Probe : public RecordingShell {
   public:
    using RecordingShell::RecordingShell;
    HANDLE* into = nullptr;
    void OnOk() override {
      *into = GetPropW(hwnd, DEVICE_NAVIGATION_BUTTON_PROPERTY);
      RecordingShell::OnOk();
    }
  };
  Probe probe(nullptr, 0, TRUE);
  probe.into = &button;
  probe.commandsAtInit = {IDOK};
  CHECK(probe.DoModal(nullptr) == IDOK);
  CHECK(SameRect(probe.rectAtInit, expected));
  CHECK(reinterpret_cast<INT_PTR>(button) == IDOK);
  CHECK(EventContains(ShellEvents(mark), "init flags 0x5"));
}

TEST_CASE("ShellDialog: a template resource is used when one is named") {
  RecordingShell dialog(GetModuleHandleW(nullptr), 100, FALSE);  // tests/foundation/test_windows.rc
  dialog.commandsAtInit = {IDCANCEL};
  CHECK(dialog.DoModal(nullptr) == IDCANCEL);
  CHECK((dialog.styleAtInit & WS_CAPTION) == WS_CAPTION);
  CHECK(dialog.rectAtInit.right - dialog.rectAtInit.left > 0);

  RecordingShell missing(GetModuleHandleW(nullptr), 4321, FALSE);
  CHECK(missing.DoModal(nullptr) == -1);
  CHECK(missing.Create(nullptr) == nullptr);
}

TEST_CASE(
    "ShellDialog: DialogProc hands size, activation, setting changes and commands on; the rest gives 0") {
  calls.clear();
  RecordingShell dialog(nullptr, 0, FALSE);
  HWND made = dialog.Create(nullptr);
  REQUIRE(made != nullptr);
  CHECK(dialog.GetHwnd() == made);
  // A modeless empty template is visible by default.
  CHECK((GetWindowLongW(made, GWL_STYLE) & WS_VISIBLE) != 0);
  calls.clear();
  SendMessageW(made, WM_SIZE, SIZE_RESTORED, MAKELPARAM(30, 40));
  SendMessageW(made, WM_ACTIVATE, WA_ACTIVE, 0);
  SendMessageW(made, WM_SETTINGCHANGE, 42, 0);
  SendMessageW(made, WM_COMMAND, 77, 0);
  CHECK(calls.front() == Call{'Z', 30, 40});
  CHECK(Has('A'));
  CHECK(Has('S'));
  CHECK(calls.back() == Call{'C', 77, 0});
  CHECK(dialog.lastCommandResult == FALSE);
  // Messages outside the switch reach no handler and give 0.
  calls.clear();
  CHECK(dialog.DialogProc(WM_USER + 4, 1, 2) == 0);
  CHECK(dialog.DialogProc(WM_PAINT, 0, 0) == 0);
  CHECK(calls.empty());
  CHECK(dialog.DialogProc(WM_INITDIALOG, 0, 0) == 1);

  dialog.Destroy();
  CHECK(dialog.GetHwnd() == nullptr);
  CHECK_FALSE(IsWindow(made));
}

TEST_CASE("ShellDialog: a modeless dialog takes the caller's style; the destructor destroys it") {
  HWND made;
  {
    RecordingShell dialog(nullptr, 0, FALSE);
    made = dialog.Create(nullptr, ShellDialog::kModalStyle);
    REQUIRE(made != nullptr);
    CHECK_FALSE(IsWindowVisible(made));
  }
  CHECK_FALSE(IsWindow(made));
}

TEST_CASE(
    "FullScreenShellDialog: activation goes full screen and moves to the work area; it follows the panel") {
  inputpanel::Set(false);
  RECT off = inputpanel::VisibleDesktop();
  off.bottom -= MenuBar();
  inputpanel::Set(true);
  RECT on = inputpanel::VisibleDesktop();
  inputpanel::Set(false);
  REQUIRE_FALSE(SameRect(on, off));

  calls.clear();
  RecordingFullScreen dialog(2, nullptr, 0, FALSE);
  CHECK(dialog.GetSipShown() == 0);  // only the modes 0 and 1 start with 1
  size_t mark = testpaths::ReadDeviceJournal().size();
  HWND made = dialog.Create(nullptr, ShellDialog::kModalStyle);
  REQUIRE(made != nullptr);
  // The dialog manager's focus at the start may have activated it already; start over from inactive.
  SendMessageW(made, WM_ACTIVATE, WA_INACTIVE, 0);
  CHECK_FALSE(dialog.IsActive());
  dialog.moves.clear();
  calls.clear();
  SendMessageW(made, WM_ACTIVATE, WA_ACTIVE, 0);
  CHECK(dialog.IsActive());
  REQUIRE(dialog.moves.size() == 1);
  CHECK(SameRect(dialog.moves[0], off));
  CHECK(SameRect(WindowRect(made), off));
  // The first full-screen call had the flags of mode 2; the move found the panel off and set them to 1.
  std::vector<std::string> events = ShellEvents(mark);
  REQUIRE_FALSE(events.empty());
  CHECK(events.front().find("flags 0x0,") != std::string::npos);
  CHECK(dialog.GetSipShown() == 1);

  mark = testpaths::ReadDeviceJournal().size();
  SendMessageW(made, WM_ACTIVATE, WA_INACTIVE, 0);
  CHECK_FALSE(dialog.IsActive());
  CHECK(dialog.moves.size() == 1);
  SendMessageW(made, WM_ACTIVATE, WA_CLICKACTIVE, 0);
  CHECK(dialog.IsActive());
  CHECK(EventContains(ShellEvents(mark), "flags 0x1"));
  CHECK(dialog.moves.size() == 2);

  // The panel comes: the whole visible desktop; it goes: less the menu bar again.
  inputpanel::Set(true);
  REQUIRE(dialog.moves.size() == 3);
  CHECK(SameRect(dialog.moves[2], on));
  CHECK(SameRect(WindowRect(made), on));
  inputpanel::Set(false);
  REQUIRE(dialog.moves.size() == 4);
  CHECK(SameRect(dialog.moves[3], off));
  // Another setting change moves nothing.
  SendMessageW(made, WM_SETTINGCHANGE, SPI_SETWORKAREA, 0);
  CHECK(dialog.moves.size() == 4);
  dialog.Destroy();
}

TEST_CASE("FullScreenShellDialog: in mode 0 neither activation nor the panel moves it") {
  calls.clear();
  RecordingFullScreen dialog(0, nullptr, 0, FALSE);
  CHECK(dialog.GetSipShown() == 1);
  RecordingFullScreen one(1, nullptr, 0, FALSE);
  CHECK(one.GetSipShown() == 1);
  HWND made = dialog.Create(nullptr, ShellDialog::kModalStyle);
  REQUIRE(made != nullptr);
  SetWindowPos(made, nullptr, 5, 6, 70, 80, SWP_NOZORDER | SWP_NOACTIVATE);
  RECT before = WindowRect(made);
  SendMessageW(made, WM_ACTIVATE, WA_ACTIVE, 0);
  inputpanel::Set(true);
  inputpanel::Set(false);
  CHECK_FALSE(dialog.IsActive());
  CHECK(dialog.moves.empty());
  CHECK(SameRect(WindowRect(made), before));
  // The handlers were called all the same.
  CHECK(Has('A'));
  CHECK(Has('S'));
  dialog.Destroy();
}
