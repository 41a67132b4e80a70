// Window and dialog bases on real windows: the messages each object sees are recorded and compared
// with the expected sequence, in the order they arrived.
#include <doctest/doctest.h>
#include <windows.h>
#include <aygshell.h>
#include <string>
#include <vector>
#include "InputPanel.h"
#include "foundation/BaseDialog.h"
#include "foundation/BaseWindow.h"
#include "foundation/ClassWindow.h"
#include "foundation/LogicalResolution.h"
#include "foundation/SubclassWindow.h"

namespace {

// One recorded call: which object method saw which message, and whether the object's hwnd was set.
struct Seen {
  char where;  // 'W' WindowProc, 'A' OnActivate, 'S' OnSettingChange, 'F' FitToWorkArea, 'M' OnMessage,
               // 'D' DefaultProc
  UINT message;
  bool bound;
  bool operator==(const Seen& other) const {
    return where == other.where && message == other.message && bound == other.bound;
  }
};

std::vector<Seen> sequence;

void Record(char where, UINT message, bool bound) { sequence.push_back(Seen{where, message, bound}); }

std::vector<Seen> Only(char where) {
  std::vector<Seen> out;
  for (const Seen& seen : sequence)
    if (seen.where == where) out.push_back(seen);
  return out;
}

// Whether `expected` appears in `sequence` in that order (other entries may stand between).
bool Contains(const std::vector<Seen>& expected) {
  size_t next = 0;
  for (const Seen& seen : sequence)
    if (next < expected.size() && seen == expected[next]) ++next;
  return next == expected.size();
}

bool Saw(UINT message) {
  for (const Seen& seen : sequence)
    if (seen.message == message) return true;
  return false;
}

// Procedures compared as addresses (the test framework cannot print a function pointer).
const void* Address(WNDPROC procedure) { return reinterpret_cast<const void*>(procedure); }

HINSTANCE Module() { return GetModuleHandleW(nullptr); }

class RecordingWindow : public BaseWindow {
 public:
  HWND createHwnd = nullptr;
  int fits = 0;
  void SetAutoFit(int value) { autoFit = value; }
  LRESULT WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override {
    Record('W', message, hwnd == window);
    if (message == WM_CREATE) createHwnd = hwnd;
    return BaseWindow::WindowProc(window, message, wParam, lParam);
  }
  void OnActivate(WPARAM wParam, LPARAM lParam) override {
    Record('A', WM_ACTIVATE, hwnd != nullptr);
    BaseWindow::OnActivate(wParam, lParam);
  }
  void OnSettingChange(WPARAM wParam, LPARAM lParam) override {
    Record('S', WM_SETTINGCHANGE, hwnd != nullptr);
    BaseWindow::OnSettingChange(wParam, lParam);
  }
  void FitToWorkArea() override {
    ++fits;
    BaseWindow::FitToWorkArea();
  }
};

RECT WindowRect(HWND window) {
  RECT rect;
  GetWindowRect(window, &rect);
  return rect;
}

bool SameRect(const RECT& a, const RECT& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

}  // namespace

TEST_CASE("BaseWindow: WM_CREATE is the first message the object sees, with its hwnd already set") {
  sequence.clear();
  RecordingWindow window;
  HWND made = window.Create(0, L"first", WS_POPUP, 10, 10, 100, 80, nullptr, 0, Module());
  REQUIRE(made != nullptr);
  CHECK(window.GetHwnd() == made);
  CHECK(window.createHwnd == made);
  CHECK(wcscmp(window.GetClassName(), L"ZovrixWndCls") == 0);
  REQUIRE_FALSE(sequence.empty());
  CHECK(sequence.front() == Seen{'W', WM_CREATE, true});
  // The messages of creation before WM_CREATE went to the default procedure only.
  for (UINT early : {UINT(WM_NCCREATE), UINT(WM_NCCALCSIZE), UINT(WM_GETMINMAXINFO)}) {
    CAPTURE(early);
    CHECK_FALSE(Saw(early));
  }
  WNDCLASSW wc;
  REQUIRE(GetClassInfoW(Module(), L"ZovrixWndCls", &wc));
  CHECK(wc.style == (CS_HREDRAW | CS_VREDRAW));
  CHECK(wc.hbrBackground == GetStockObject(WHITE_BRUSH));
  CHECK(wc.hCursor == nullptr);
  CHECK(wc.cbWndExtra == 0);
  CHECK(Address(wc.lpfnWndProc) == Address(&BaseWindow::SharedProc));
}

TEST_CASE("BaseWindow: after WM_DESTROY hwnd is 0 and the destructor does not destroy again") {
  sequence.clear();
  HWND made;
  {
    RecordingWindow window;
    made = window.Create(0, L"gone", WS_POPUP, 0, 0, 50, 50, nullptr, 0, Module());
    REQUIRE(made != nullptr);
    REQUIRE(DestroyWindow(made));
    CHECK(window.GetHwnd() == nullptr);
    // The object sees its WM_DESTROY still bound, and nothing after it.
    CHECK(sequence.back() == Seen{'W', WM_DESTROY, true});
    CHECK_FALSE(Saw(WM_NCDESTROY));
    CHECK_FALSE(IsWindow(made));
    sequence.clear();
  }
  // The destructor ran on an object without a window: nothing was sent anywhere.
  CHECK(sequence.empty());
}

TEST_CASE("BaseWindow: the destructor destroys a window that still exists") {
  sequence.clear();
  HWND made;
  {
    RecordingWindow window;
    made = window.Create(0, L"kept", WS_POPUP, 0, 0, 50, 50, nullptr, 0, Module());
    REQUIRE(made != nullptr);
  }
  CHECK_FALSE(IsWindow(made));
}

TEST_CASE("BaseWindow: OnActivate and OnSettingChange come before WindowProc for their messages") {
  RecordingWindow window;
  HWND made = window.Create(0, L"order", WS_POPUP, 0, 0, 50, 50, nullptr, 0, Module());
  REQUIRE(made != nullptr);
  sequence.clear();
  SendMessageW(made, WM_ACTIVATE, WA_ACTIVE, 0);
  SendMessageW(made, WM_SETTINGCHANGE, 224, 0);
  SendMessageW(made, WM_USER + 5, 0, 0);
  std::vector<Seen> expected = {{'A', WM_ACTIVATE, true},
                                {'W', WM_ACTIVATE, true},
                                {'S', WM_SETTINGCHANGE, true},
                                {'W', WM_SETTINGCHANGE, true},
                                {'W', WM_USER + 5, true}};
  // The platform answers the activation with messages of its own (WM_NCACTIVATE, a real WM_ACTIVATE):
  // the expected calls stand in order, and every WindowProc call for the two messages follows its hook.
  CHECK(Contains(expected));
  for (size_t i = 0; i < sequence.size(); ++i) {
    if (sequence[i].where != 'W') continue;
    CAPTURE(i);
    if (sequence[i].message == WM_ACTIVATE) CHECK((i > 0 && sequence[i - 1] == Seen{'A', WM_ACTIVATE, true}));
    if (sequence[i].message == WM_SETTINGCHANGE)
      CHECK((i > 0 && sequence[i - 1] == Seen{'S', WM_SETTINGCHANGE, true}));
  }
}

TEST_CASE("BaseWindow: a setting change other than 224 and a deactivation do not move the window") {
  RecordingWindow window;
  HWND made = window.Create(0, L"still", WS_POPUP, 7, 9, 61, 43, nullptr, 0, Module());
  REQUIRE(made != nullptr);
  window.SetAutoFit(1);
  RECT before = WindowRect(made);
  SendMessageW(made, WM_SETTINGCHANGE, SPI_SETWORKAREA, 0);
  SendMessageW(made, WM_SETTINGCHANGE, 0, 0);
  SendMessageW(made, WM_ACTIVATE, WA_INACTIVE, 0);
  CHECK(window.fits == 0);
  CHECK(SameRect(WindowRect(made), before));
}

TEST_CASE("BaseWindow: FitToWorkArea with autoFit 0 does nothing") {
  RecordingWindow window;
  HWND made = window.Create(0, L"nofit", WS_POPUP, 7, 9, 61, 43, nullptr, 0, Module());
  REQUIRE(made != nullptr);
  RECT before = WindowRect(made);
  SendMessageW(made, WM_SETTINGCHANGE, 224, 0);
  CHECK(window.fits == 1);
  SendMessageW(made, WM_ACTIVATE, WA_ACTIVE, 0);
  CHECK(window.fits >= 2);  // the platform may add an activation of its own
  window.FitToWorkArea();
  CHECK(SameRect(WindowRect(made), before));
}

TEST_CASE("BaseWindow: RegisterClass only while no window exists, and keeps a copy of the name") {
  RecordingWindow window;
  wchar_t name[] = L"PagemarkTestOwnCls";
  REQUIRE(window.RegisterClass(name, 0, nullptr, nullptr, Module()));
  name[0] = L'X';
  CHECK(wcscmp(window.GetClassName(), L"PagemarkTestOwnCls") == 0);
  HWND made = window.Create(0, L"own", WS_POPUP, 0, 0, 10, 10, nullptr, 0, Module());
  REQUIRE(made != nullptr);
  wchar_t className[64];
  GetClassNameW(made, className, 64);
  CHECK(wcscmp(className, L"PagemarkTestOwnCls") == 0);
  CHECK_FALSE(window.RegisterClass(L"PagemarkTestOtherCls", 0, nullptr, nullptr, Module()));
}

namespace {

class RecordingSubclass : public SubclassWindow {
 public:
  int attaches = 0;
  bool boundAtAttach = false;
  void OnAttach() override {
    ++attaches;
    boundAtAttach = hwnd != nullptr;
  }
  LRESULT WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override {
    Record('W', message, hwnd == window);
    if (message == WM_USER + 7) return 77;
    return CallOld(window, message, wParam, lParam);
  }
};

LRESULT CALLBACK ControlProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_USER + 7) return 7;
  if (message == WM_USER + 8) return 8;
  return DefWindowProcW(window, message, wParam, lParam);
}

HWND MakeControl() {
  static bool registered = false;
  if (!registered) {
    WNDCLASSW wc = {};
    wc.lpfnWndProc = ControlProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = L"PagemarkTestControl";
    registered = RegisterClassW(&wc) != 0;
  }
  return CreateWindowExW(0, L"PagemarkTestControl", L"", WS_POPUP, 0, 0, 20, 20, nullptr, nullptr,
                         GetModuleHandleW(nullptr), nullptr);
}

}  // namespace

TEST_CASE("SubclassWindow: Attach on a null or dead handle fails and changes nothing") {
  RecordingSubclass sub;
  CHECK_FALSE(sub.Attach(nullptr));
  HWND dead = MakeControl();
  REQUIRE(dead != nullptr);
  DestroyWindow(dead);
  CHECK_FALSE(sub.Attach(dead));
  CHECK(sub.GetHwnd() == nullptr);
  CHECK(Address(sub.GetOldProc()) == nullptr);
  CHECK(sub.attaches == 0);
  CHECK(sub.CallOld(dead, WM_USER + 7, 0, 0) == 0);
}

TEST_CASE("SubclassWindow: Attach takes every message, CallOld reaches the control, Detach restores it") {
  HWND control = MakeControl();
  REQUIRE(control != nullptr);
  {
    RecordingSubclass sub;
    REQUIRE(sub.Attach(control));
    CHECK(sub.attaches == 1);
    CHECK(sub.boundAtAttach);
    CHECK(Address(sub.GetOldProc()) == Address(&ControlProc));
    CHECK(GetWindowLongPtrW(control, GWLP_WNDPROC) ==
          reinterpret_cast<LONG_PTR>(&SubclassWindow::SharedProc));
    CHECK(GetWindowLongPtrW(control, GWLP_USERDATA) == reinterpret_cast<LONG_PTR>(&sub));
    sequence.clear();
    CHECK(SendMessageW(control, WM_USER + 7, 0, 0) == 77);
    CHECK(SendMessageW(control, WM_USER + 8, 0, 0) == 8);
    std::vector<Seen> expected = {{'W', WM_USER + 7, true}, {'W', WM_USER + 8, true}};
    CHECK(sequence == expected);
    sub.Detach();
    CHECK(sub.GetHwnd() == nullptr);
    CHECK(GetWindowLongPtrW(control, GWLP_WNDPROC) == reinterpret_cast<LONG_PTR>(&ControlProc));
    sequence.clear();
    CHECK(SendMessageW(control, WM_USER + 7, 0, 0) == 7);
    CHECK(sequence.empty());
  }
  // A detached object leaves the control alone when it goes.
  CHECK(IsWindow(control));
  DestroyWindow(control);
}

TEST_CASE("SubclassWindow: the destructor detaches and destroys a window that still exists") {
  HWND control = MakeControl();
  REQUIRE(control != nullptr);
  {
    RecordingSubclass sub;
    REQUIRE(sub.Attach(control));
  }
  CHECK_FALSE(IsWindow(control));
}

TEST_CASE("SubclassWindow: AttachDlgItem takes a child by its id") {
  HWND parent = MakeControl();
  REQUIRE(parent != nullptr);
  HWND child = CreateWindowExW(0, L"PagemarkTestControl", L"", WS_CHILD, 0, 0, 5, 5, parent,
                               reinterpret_cast<HMENU>(static_cast<UINT_PTR>(33)), Module(), nullptr);
  REQUIRE(child != nullptr);
  RecordingSubclass sub;
  CHECK(sub.AttachDlgItem(33, parent));
  CHECK(sub.GetHwnd() == child);
  CHECK_FALSE(sub.AttachDlgItem(34, parent));
  CHECK(sub.GetHwnd() == child);
  sub.Detach();
  DestroyWindow(parent);
}

namespace {

class RecordingClassWindow : public ClassWindow {
 public:
  RecordingClassWindow() : ClassWindow(L"PagemarkTestListCls", GetModuleHandleW(nullptr)) {}
  HWND createHwnd = nullptr;
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
    Record('W', message, hwnd != nullptr);
    if (message == WM_CREATE) createHwnd = hwnd;
    return ClassWindow::WindowProc(message, wParam, lParam);
  }
};

}  // namespace

TEST_CASE("ClassWindow: registers its own class, binds at WM_CREATE, Destroy clears hwnd") {
  RecordingClassWindow list;
  REQUIRE(list.RegisterClass(0, nullptr, nullptr));
  WNDCLASSW wc;
  REQUIRE(GetClassInfoW(Module(), L"PagemarkTestListCls", &wc));
  CHECK(Address(wc.lpfnWndProc) == Address(&ClassWindow::SharedProc));
  sequence.clear();
  RECT rect = {3, 4, 70, 30};  // position 3,4 and size 70x30
  REQUIRE(list.Create(L"list", WS_POPUP, nullptr, rect, 0));
  HWND made = list.GetHwnd();
  CHECK(list.createHwnd == made);
  REQUIRE_FALSE(sequence.empty());
  CHECK(sequence.front() == Seen{'W', WM_CREATE, true});
  CHECK_FALSE(Saw(WM_NCCREATE));
  RECT placed = WindowRect(made);
  CHECK(placed.left == 3);
  CHECK(placed.top == 4);
  CHECK(placed.right - placed.left == 70);
  CHECK(placed.bottom - placed.top == 30);
  list.Destroy();
  CHECK(list.GetHwnd() == nullptr);
  CHECK_FALSE(IsWindow(made));
  list.UnregisterClass();
  CHECK_FALSE(GetClassInfoW(Module(), L"PagemarkTestListCls", &wc));
}

namespace {

class RecordingDialog : public BaseDialog {
 public:
  explicit RecordingDialog(UINT id) : BaseDialog(id) {}
  UINT handled = 0;  // a message OnMessage answers itself
  HWND initHwnd = nullptr;
  void SetAutoFit(int value) { autoFit = value; }
  BOOL OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override {
    Record('M', message, hwnd == window);
    if (message == WM_INITDIALOG) initHwnd = hwnd;
    if (message == handled) {
      result = 1;
      return TRUE;
    }
    return BaseDialog::OnMessage(window, message, wParam, lParam, result);
  }
  LRESULT DefaultProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override {
    Record('D', message, hwnd == window);
    return BaseDialog::DefaultProc(window, message, wParam, lParam);
  }
  void OnActivate(WPARAM wParam, LPARAM lParam) override {
    Record('A', WM_ACTIVATE, hwnd != nullptr);
    BaseDialog::OnActivate(wParam, lParam);
  }
  void OnSettingChange(WPARAM wParam, LPARAM lParam) override {
    Record('S', WM_SETTINGCHANGE, hwnd != nullptr);
    BaseDialog::OnSettingChange(wParam, lParam);
  }
};

}  // namespace

TEST_CASE("BaseDialog: binds at WM_INITDIALOG; OnMessage first, DefaultProc for what it leaves") {
  sequence.clear();
  RecordingDialog dialog(100);
  dialog.handled = WM_USER + 3;
  HWND made = dialog.CreateModeless(nullptr, FALSE);
  REQUIRE(made != nullptr);
  CHECK(dialog.GetHwnd() == made);
  CHECK(dialog.initHwnd == made);
  REQUIRE_FALSE(sequence.empty());
  // WM_SETFONT and the other messages of creation came before the binding and reached nobody.
  CHECK(sequence.front() == Seen{'M', WM_INITDIALOG, true});
  CHECK_FALSE(Saw(WM_SETFONT));
  sequence.clear();
  SendMessageW(made, WM_USER + 2, 0, 0);
  SendMessageW(made, WM_USER + 3, 0, 0);
  SendMessageW(made, WM_SETTINGCHANGE, 0, 0);
  std::vector<Seen> expected = {{'M', WM_USER + 2, true},      {'D', WM_USER + 2, true},
                                {'M', WM_USER + 3, true},      {'S', WM_SETTINGCHANGE, true},
                                {'M', WM_SETTINGCHANGE, true}, {'D', WM_SETTINGCHANGE, true}};
  CHECK(sequence == expected);
  sequence.clear();
  dialog.Destroy();
  CHECK(dialog.GetHwnd() == nullptr);
  CHECK_FALSE(IsWindow(made));
  CHECK(Contains({{'M', WM_DESTROY, true}, {'D', WM_DESTROY, true}}));
  // Nothing reaches the object after its WM_DESTROY.
  REQUIRE_FALSE(Only('M').empty());
  CHECK(Only('M').back() == Seen{'M', WM_DESTROY, true});
}

TEST_CASE("BaseDialog: DoModal runs the template and gives the EndDialog result") {
  class Ending : public RecordingDialog {
   public:
    Ending() : RecordingDialog(100) {}
    BOOL OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override {
      if (message == WM_INITDIALOG) PostMessageW(window, WM_USER + 9, 0, 0);
      if (message == WM_USER + 9) EndDialog(window, 1234);
      return RecordingDialog::OnMessage(window, message, wParam, lParam, result);
    }
  };
  Ending dialog;
  CHECK(dialog.DoModal(nullptr) == 1234);
  CHECK(dialog.GetHwnd() == nullptr);
}

TEST_CASE("BaseDialog: a missing template gives no window") {
  RecordingDialog dialog(4321);
  CHECK(dialog.CreateModeless(nullptr, TRUE) == nullptr);
  CHECK(dialog.GetHwnd() == nullptr);
  CHECK(dialog.DoModal(nullptr) == -1);
}

namespace {

// Where a window that follows the input panel belongs: the visible desktop, less the menu bar of
// (dpiY * 26 + 48) / 96 pixels when the panel is off.
RECT FittedArea(bool panelOn) {
  inputpanel::Set(panelOn);
  RECT area = inputpanel::VisibleDesktop();
  if (!panelOn) area.bottom -= (LogicalDpiY() * 26 + 48) / 96;
  return area;
}

// The two areas, worked out before the windows under test exist, with the panel left off.
struct Areas {
  RECT off;
  RECT on;
  Areas() : off(FittedArea(false)), on(FittedArea(true)) { inputpanel::Set(false); }
};

}  // namespace

TEST_CASE(
    "BaseWindow: FitToWorkArea follows the input panel: less the menu bar when off, all of it when on") {
  Areas areas;
  // The two differ, so that neither can pass for the other.
  REQUIRE(areas.on.bottom < areas.off.bottom);
  RecordingWindow window;
  HWND made = window.Create(0, L"fit", WS_POPUP, 7, 9, 61, 43, nullptr, 0, Module());
  REQUIRE(made != nullptr);
  window.SetAutoFit(1);
  window.FitToWorkArea();
  CHECK(SameRect(WindowRect(made), areas.off));
  // The shell announces the panel to every top-level window; the window moves by itself.
  inputpanel::Set(true);
  CHECK(window.fits == 2);
  CHECK(SameRect(WindowRect(made), areas.on));
  inputpanel::Set(false);
  CHECK(window.fits == 3);
  CHECK(SameRect(WindowRect(made), areas.off));
}

TEST_CASE("BaseWindow: an activation fits the window; without autoFit the panel moves nothing") {
  Areas areas;
  RecordingWindow window;
  HWND made = window.Create(0, L"active", WS_POPUP, 7, 9, 61, 43, nullptr, 0, Module());
  REQUIRE(made != nullptr);
  RECT before = WindowRect(made);
  inputpanel::Set(true);
  CHECK(window.fits == 1);
  CHECK(SameRect(WindowRect(made), before));
  inputpanel::Set(false);
  window.SetAutoFit(1);
  SendMessageW(made, WM_ACTIVATE, WA_ACTIVE, 0);
  CHECK(SameRect(WindowRect(made), areas.off));
}

TEST_CASE("BaseDialog: FitToWorkArea follows the input panel; other setting changes and deactivation don't") {
  Areas areas;
  RecordingDialog dialog(100);
  HWND made = dialog.CreateModeless(nullptr, FALSE);
  REQUIRE(made != nullptr);
  SetWindowPos(made, nullptr, 3, 4, 50, 40, SWP_NOZORDER | SWP_NOACTIVATE);
  RECT before = WindowRect(made);
  // autoFit 0: nothing moves.
  dialog.FitToWorkArea();
  SendMessageW(made, WM_SETTINGCHANGE, 224, 0);
  CHECK(SameRect(WindowRect(made), before));
  dialog.SetAutoFit(1);
  SendMessageW(made, WM_SETTINGCHANGE, SPI_SETWORKAREA, 0);
  SendMessageW(made, WM_ACTIVATE, WA_INACTIVE, 0);
  CHECK(SameRect(WindowRect(made), before));
  SendMessageW(made, WM_ACTIVATE, WA_ACTIVE, 0);
  CHECK(SameRect(WindowRect(made), areas.off));
  inputpanel::Set(true);
  CHECK(SameRect(WindowRect(made), areas.on));
  inputpanel::Set(false);
  CHECK(SameRect(WindowRect(made), areas.off));
  dialog.Destroy();
}

TEST_CASE("BaseDialog: CreateMenuBar replaces the old bar; a bar the shell can't make leaves none") {
  RecordingDialog dialog(100);
  CHECK_FALSE(dialog.CreateMenuBar(0));  // no window yet
  CHECK(dialog.GetMenuBar() == nullptr);
  HWND made = dialog.CreateModeless(nullptr, FALSE);
  REQUIRE(made != nullptr);
  REQUIRE(dialog.CreateMenuBar(0));
  HWND first = dialog.GetMenuBar();
  REQUIRE(first != nullptr);
  CHECK(SHFindMenuBar(made) == first);
  wchar_t className[64] = L"";
  GetClassNameW(first, className, 64);
  CHECK(std::wstring(className) == SHMENUBAR_CLASS);

  REQUIRE(dialog.CreateMenuBar(0));
  HWND second = dialog.GetMenuBar();
  CHECK(second != nullptr);
  CHECK_FALSE(IsWindow(first));
  CHECK(SHFindMenuBar(made) == second);

  // The stand-in shell makes empty bars only: a bar from a resource fails, and the old one is gone.
  CHECK_FALSE(dialog.CreateMenuBar(5));
  CHECK(dialog.GetMenuBar() == nullptr);
  CHECK_FALSE(IsWindow(second));

  REQUIRE(dialog.CreateMenuBar(0));
  HWND last = dialog.GetMenuBar();
  dialog.Destroy();
  // The bar goes with its dialog.
  CHECK_FALSE(IsWindow(last));
  CHECK(dialog.GetMenuBar() == nullptr);
}

TEST_CASE("BaseDialog: InheritTitle takes the title of the top-most ancestor") {
  HWND top = CreateWindowExW(0, L"STATIC", L"Top title", WS_POPUP, 0, 0, 50, 50, nullptr, nullptr, Module(),
                             nullptr);
  HWND middle =
      CreateWindowExW(0, L"STATIC", L"Middle title", WS_POPUP, 0, 0, 50, 50, top, nullptr, Module(), nullptr);
  REQUIRE(top != nullptr);
  REQUIRE(middle != nullptr);
  RecordingDialog dialog(100);
  HWND made = dialog.CreateModeless(middle, FALSE);
  REQUIRE(made != nullptr);
  dialog.InheritTitle();
  wchar_t title[64] = L"";
  GetWindowTextW(made, title, 64);
  CHECK(std::wstring(title) == L"Top title");
  dialog.Destroy();

  // Without an ancestor the dialog keeps its own title.
  RecordingDialog alone(100);
  HWND own = alone.CreateModeless(nullptr, FALSE);
  REQUIRE(own != nullptr);
  alone.InheritTitle();
  GetWindowTextW(own, title, 64);
  CHECK(std::wstring(title) == L"Dialog");
  alone.Destroy();
  DestroyWindow(top);
}
