// The COOL.LIST control alone, on real windows with real messages: a parent window, the list, and an
// owner that records every call it receives, in order. Rows are painted by the owner in a colour of
// their own (and of their mark), so that the pixels on the screen tell whether scrolling moved them
// right; the recorded OnDrawRow calls tell which rows were painted again.
#include <doctest/doctest.h>
#include <windows.h>
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <vector>
#include "DoctestVectors.h"
#include "HiddenWindow.h"
#include "MessagePump.h"
#include "TestRegistry.h"
#include "lists/CoolList.h"

namespace {

const int kRowHeight = 20;
const int kListWidth = 200;
const int kListHeight = 110;  // five whole rows and half of a sixth
const COLORREF kTopLine = 0x636363;
const COLORREF kWhite = RGB(255, 255, 255);
const UINT kActionKey = 134;

std::string Format(const char* format, ...) {
  char text[160];
  va_list args;
  va_start(args, format);
  vsnprintf(text, sizeof(text), format, args);
  va_end(args);
  return text;
}

// A colour for each row, another when it is marked; none of them is white or the top line's grey.
COLORREF RowColor(int row, bool marked) {
  return RGB((row * 40 + 30) % 256, (row * 70 + 90) % 256, marked ? 230 : 40);
}

struct Draw {
  int row;
  RECT rect;
  UINT state;
};

class RecordingOwner : public CoolListOwner {
 public:
  HWND list = nullptr;
  std::vector<std::string> calls;  // everything but OnDrawRow
  std::vector<Draw> draws;
  bool takePress = false;
  std::function<void()> onLongPress;

  void Clear() {
    calls.clear();
    draws.clear();
  }
  // The rows painted since the last Clear, each once, ascending.
  std::vector<int> DrawnRows() const {
    std::set<int> rows;
    for (const Draw& draw : draws) rows.insert(draw.row);
    return std::vector<int>(rows.begin(), rows.end());
  }
  const Draw* LastDrawOf(int row) const {
    for (auto it = draws.rbegin(); it != draws.rend(); ++it)
      if (it->row == row) return &*it;
    return nullptr;
  }
  // The calls without the stylus moves.
  std::vector<std::string> Notifications() const {
    std::vector<std::string> out;
    for (const std::string& call : calls)
      if (call.rfind("OnMouseMove", 0) != 0) out.push_back(call);
    return out;
  }
  bool Saw(const std::string& prefix) const {
    for (const std::string& call : calls)
      if (call.rfind(prefix, 0) == 0) return true;
    return false;
  }

  void OnKeyDown(HWND window, UINT key, LPARAM lParam) override {
    calls.push_back(Format("OnKeyDown(%s,%u,%ld)", window == list ? "list" : "?", key, long(lParam)));
  }
  void OnRowClicked(int row, BOOL tapOnMarked) override {
    calls.push_back(Format("OnRowClicked(%d,%d)", row, tapOnMarked));
  }
  void OnRowDoubleClicked(int row) override { calls.push_back(Format("OnRowDoubleClicked(%d)", row)); }
  void OnCaretChanged(int row) override { calls.push_back(Format("OnCaretChanged(%d)", row)); }
  void OnLongPress(int x, int y) override {
    calls.push_back(Format("OnLongPress(%d,%d)", x, y));
    if (onLongPress) onLongPress();
  }
  void OnActivate(int row) override { calls.push_back(Format("OnActivate(%d)", row)); }
  void OnWidthChanged(int left, int width) override {
    calls.push_back(Format("OnWidthChanged(%d,%d)", left, width));
  }
  void OnDrawRow(HDC dc, const RECT& rect, int row, UINT state) override {
    draws.push_back(Draw{row, rect, state});
    HBRUSH brush = CreateSolidBrush(RowColor(row, (state & kRowMarked) != 0));
    FillRect(dc, &rect, brush);
    DeleteObject(brush);
  }
  BOOL OnPressTest(int x, int y) override {
    calls.push_back(Format("OnPressTest(%d,%d)", x, y));
    return takePress;
  }
  LRESULT OnMeasureItem(WPARAM wParam, LPARAM) override {
    calls.push_back(Format("OnMeasureItem(%d)", int(wParam)));
    return 77;
  }
  LRESULT OnDrawItem(WPARAM wParam, LPARAM) override {
    calls.push_back(Format("OnDrawItem(%d)", int(wParam)));
    return 78;
  }
  void OnMouseMove(int x, int y) override { calls.push_back(Format("OnMouseMove(%d,%d)", x, y)); }
  void OnFocusChanged(BOOL focused) override { calls.push_back(Format("OnFocusChanged(%d)", focused)); }
  void OnKeyUp(HWND window, UINT key, LPARAM lParam) override {
    calls.push_back(Format("OnKeyUp(%s,%u,%ld)", window == list ? "list" : "?", key, long(lParam)));
  }
  void OnChar(HWND window, WPARAM character, LPARAM lParam) override {
    calls.push_back(Format("OnChar(%s,%d,%ld)", window == list ? "list" : "?", int(character), long(lParam)));
  }
};

std::vector<UINT> parentMessages;

LRESULT CALLBACK ParentProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CONTEXTMENU) parentMessages.push_back(message);
  return DefWindowProcW(window, message, wParam, lParam);
}

void RegisterParent() {
  WNDCLASSW known = {};
  if (GetClassInfoW(GetModuleHandleW(nullptr), L"CoolListTestParent", &known)) return;
  WNDCLASSW parent = {};
  parent.lpfnWndProc = ParentProc;
  parent.hInstance = GetModuleHandleW(nullptr);
  parent.hbrBackground = static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH));
  parent.lpszClassName = L"CoolListTestParent";
  RegisterClassW(&parent);
}

std::wstring SettingsKey() { return std::wstring(testreg::kSettingsRoot) + L"\\Settings"; }

using Rows = std::vector<int>;
using Calls = std::vector<std::string>;

// A top-level parent with a list of `rows` rows of 20 pixels in a window 110 pixels high, focused,
// without the shell's gesture (its wait would hold every press for half a second).
struct ListFixture {
  HWND parent = nullptr;
  CoolList list{GetModuleHandleW(nullptr)};
  RecordingOwner owner;

  explicit ListFixture(int rows = 20, int height = kListHeight) {
    RegisterParent();
    parentMessages.clear();
    parent = CreateWindowExW(WS_EX_TOPMOST, L"CoolListTestParent", L"parent", WS_POPUP | WS_VISIBLE, 0, 0,
                             240, 320, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    REQUIRE(parent != nullptr);
    REQUIRE(list.Create(parent, WS_CHILD | WS_VISIBLE | WS_VSCROLL));
    owner.list = list.GetHwnd();
    list.SetOwner(&owner);
    list.SetNoGesture(TRUE);
    list.SetRowHeight(kRowHeight);
    MoveWindow(list.GetHwnd(), 0, 0, kListWidth, height, TRUE);
    list.SetRowCount(rows, TRUE, -1);
    list.Refresh();
    SetForegroundWindow(parent);
    SetFocus(list.GetHwnd());
    Pump();
    owner.Clear();
  }
  ~ListFixture() {
    ReleaseCapture();
    DestroyWindow(parent);
    Pump();
    testreg::DeleteTree(HKEY_CURRENT_USER, testreg::kSettingsRoot);
  }

  HWND Hwnd() { return list.GetHwnd(); }
  LRESULT Send(UINT message, WPARAM wParam, LPARAM lParam) {
    return SendMessageW(list.GetHwnd(), message, wParam, lParam);
  }
  void Key(UINT key) { Send(WM_KEYDOWN, key, 1); }
  void KeyUp(UINT key) { Send(WM_KEYUP, key, 1); }
  void Down(int x, int y) { Send(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y)); }
  void Move(int x, int y) { Send(WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(x, y)); }
  void Up(int x, int y) { Send(WM_LBUTTONUP, 0, MAKELPARAM(x, y)); }
  void Tap(int x, int y) {
    Down(x, y);
    Up(x, y);
  }
  // Middle of a row as it stands now.
  int MiddleOf(int row) {
    RECT rect = list.RowRect(row);
    return (rect.top + rect.bottom) / 2;
  }
  Rows Marked() {
    Array<int> rows;
    list.GetMarkedRows(rows);
    return Rows(rows.GetData(), rows.GetData() + rows.GetSize());
  }
  void Resize(int width, int height) { MoveWindow(list.GetHwnd(), 0, 0, width, height, TRUE); }

  // Every row in view shows its own colour on its first and last pixel row, and the strip under the
  // last row is white: "" when so, otherwise what differs.
  std::string ScreenCheck() {
    UpdateWindow(list.GetHwnd());
    HDC dc = GetDC(list.GetHwnd());
    const RECT client = list.ClientRect();
    std::string problems;
    const int x = 5;
    for (int row = list.FirstVisible(); row <= list.LastVisible() && list.RowCount() > 0; ++row) {
      RECT rect = list.RowRect(row);
      const int top = std::max(rect.top, client.top);
      const int bottom = std::min(rect.bottom, client.bottom) - 1;
      if (top > bottom) continue;
      const COLORREF expected = RowColor(row, list.IsMarked(row) != 0);
      for (int y : {top, bottom}) {
        const COLORREF seen = GetPixel(dc, x, y);
        if (seen != expected)
          problems += Format("row %d at y %d: %06lx, expected %06lx; ", row, y, seen, expected);
      }
    }
    if (list.RowCount() < list.VisibleRows()) {
      const int below = list.RowCount() > 0 ? list.RowRect(list.RowCount() - 1).bottom : client.top;
      for (int y = std::max(below, int(client.top)); y < client.bottom; y += 7) {
        const COLORREF seen = GetPixel(dc, x, y);
        if (seen != kWhite) problems += Format("under the rows at y %d: %06lx; ", y, seen);
      }
    }
    ReleaseDC(list.GetHwnd(), dc);
    return problems;
  }
};

}  // namespace

// --- geometry ----------------------------------------------------------------------------------------

TEST_CASE("geometry without a top part: rectangles, the row under y, the half of a row, what is in view") {
  ListFixture f;
  CHECK(f.list.FullRows() == 5);
  CHECK(f.list.VisibleRows() == 6);
  CHECK(f.list.TopRow() == 0);
  CHECK(f.list.TopPart() == 0);
  const RECT client = f.list.ClientRect();
  CHECK(client.top == 0);
  CHECK(client.bottom == kListHeight);
  for (int row : {0, 3, 5}) {
    CAPTURE(row);
    RECT rect = f.list.RowRect(row);
    CHECK(rect.top == row * kRowHeight);
    CHECK(rect.bottom == row * kRowHeight + kRowHeight);
    CHECK(rect.left == client.left);
    CHECK(rect.right == client.right);
  }
  CHECK(f.list.RowFromY(-1) == -1);
  CHECK(f.list.RowFromY(0) == 0);
  CHECK(f.list.RowFromY(19) == 0);
  CHECK(f.list.RowFromY(20) == 1);
  CHECK(f.list.RowFromY(109) == 5);
  CHECK(f.list.RowFromY(110) == 5);  // the bottom edge counts
  CHECK(f.list.RowFromY(111) == -1);
  CHECK(f.list.RowFromYRounded(-1) == -1);
  CHECK(f.list.RowFromYRounded(0) == 0);
  CHECK(f.list.RowFromYRounded(9) == 0);
  CHECK(f.list.RowFromYRounded(10) == 1);
  CHECK(f.list.RowFromYRounded(19) == 1);
  CHECK(f.list.RowFromYRounded(20) == 0);
  CHECK(f.list.RowFromYRounded(111) == -1);
  CHECK_FALSE(f.list.IsOutOfView(0));
  CHECK_FALSE(f.list.IsOutOfView(4));
  CHECK(f.list.IsOutOfView(5));
  CHECK(f.list.IsEdgeRow(5));
  CHECK_FALSE(f.list.IsEdgeRow(4));
  CHECK_FALSE(f.list.IsEdgeRow(0));
  CHECK(f.list.FirstVisible() == 0);
  CHECK(f.list.LastVisible() == 6);
  CHECK_FALSE(f.list.RowFits());
  CHECK(f.list.RowHeight() == kRowHeight);
}

TEST_CASE("geometry with a top part: the top row shows its lower part and the rows below start under it") {
  ListFixture f;
  f.Key(VK_END);
  REQUIRE(f.list.TopRow() == 14);
  REQUIRE(f.list.TopPart() == 10);
  CHECK(f.list.RowRect(14).top == -10);
  CHECK(f.list.RowRect(14).bottom == 10);
  CHECK(f.list.RowRect(15).top == 10);
  CHECK(f.list.RowRect(19).top == 90);
  CHECK(f.list.RowFromY(0) == 14);
  CHECK(f.list.RowFromY(9) == 14);
  CHECK(f.list.RowFromY(10) == 15);
  CHECK(f.list.RowFromY(109) == 19);
  CHECK(f.list.RowFromY(110) == -1);  // would be row 20, which does not exist
  // Within the part that shows, the top row is in its lower half.
  CHECK(f.list.RowFromYRounded(0) == 1);
  CHECK(f.list.RowFromYRounded(9) == 1);
  CHECK(f.list.RowFromYRounded(10) == 0);
  CHECK(f.list.RowFromYRounded(19) == 0);
  CHECK(f.list.RowFromYRounded(20) == 1);
  CHECK(f.list.IsOutOfView(14));
  CHECK(f.list.IsOutOfView(13));
  CHECK_FALSE(f.list.IsOutOfView(15));
  CHECK_FALSE(f.list.IsOutOfView(19));
  CHECK(f.list.IsEdgeRow(14));
  CHECK_FALSE(f.list.IsEdgeRow(19));  // the rest under the top part is whole rows
  CHECK(f.list.FirstVisible() == 14);
  CHECK(f.list.LastVisible() == 19);
  CHECK(f.ScreenCheck() == "");
}

TEST_CASE("geometry with a top part and a partial bottom row: both ends are edge rows") {
  ListFixture f;
  f.Key(VK_END);
  for (int i = 0; i < 4; ++i) f.Key(VK_UP);
  REQUIRE(f.list.Caret() == 15);
  // Five pixels less: the caret stays in view and the top part stays, so the bottom row is cut.
  f.Resize(kListWidth, kListHeight - 5);
  CHECK(f.list.TopRow() == 14);
  CHECK(f.list.TopPart() == 10);
  CHECK(f.list.IsEdgeRow(14));
  CHECK(f.list.IsEdgeRow(19));
  CHECK_FALSE(f.list.IsEdgeRow(18));
  CHECK(f.list.IsOutOfView(19));
  CHECK_FALSE(f.list.IsOutOfView(18));
  CHECK(f.ScreenCheck() == "");
}

// --- row count -----------------------------------------------------------------------------------------

TEST_CASE("SetRowCount with reset: no marks but the first row, caret and scroll position at the start") {
  ListFixture f;
  f.Key(VK_END);
  f.Tap(50, f.MiddleOf(16));
  REQUIRE(f.list.CaretShown());
  f.list.SetRowCount(30, TRUE, -1);
  CHECK(f.list.RowCount() == 30);
  CHECK(f.list.Caret() == 0);
  CHECK(f.list.TopRow() == 0);
  CHECK(f.list.TopPart() == 0);
  CHECK(f.Marked() == Rows{0});
  CHECK(f.list.MarkedCount() == 1);
  CHECK_FALSE(f.list.CaretShown());
  f.list.SetRowCount(0, TRUE, -1);
  CHECK(f.Marked().empty());
  CHECK(f.list.MarkedCount() == 0);
  CHECK(f.list.Caret() == 0);
}

TEST_CASE("SetRowCount with a row to select: the row alone is marked and comes into view") {
  ListFixture f;
  f.list.SetRowCount(50, FALSE, 30);
  CHECK(f.list.Caret() == 30);
  CHECK(f.Marked() == Rows{30});
  CHECK(f.list.TopRow() == 30);
  CHECK(f.list.TopPart() == 0);
  // A row in view: the window stays.
  f.list.SetRowCount(50, FALSE, 32);
  CHECK(f.list.Caret() == 32);
  CHECK(f.list.TopRow() == 30);
  CHECK(f.Marked() == Rows{32});
  // A row near the end: the last row ends at the bottom edge.
  f.list.SetRowCount(50, FALSE, 48);
  CHECK(f.list.Caret() == 48);
  CHECK(f.list.TopRow() == 44);
  CHECK(f.list.TopPart() == 10);
  CHECK(f.list.RowRect(49).bottom == kListHeight);
  f.list.Refresh();
  CHECK(f.ScreenCheck() == "");
}

TEST_CASE("SetRowCount without reset keeps caret and marks; fewer rows than the caret take it to the last") {
  ListFixture f;
  f.list.SetRowCount(20, FALSE, 15);
  REQUIRE(f.list.TopRow() == 14);
  f.list.SetRowCount(25, FALSE, -1);
  CHECK(f.list.Caret() == 15);
  CHECK(f.Marked() == Rows{15});
  CHECK(f.list.TopRow() == 14);
  f.list.SetRowCount(10, FALSE, -1);
  CHECK(f.list.Caret() == 9);
  CHECK(f.Marked() == Rows{9});
  CHECK(f.list.MarkedCount() == 1);
  CHECK(f.list.TopRow() == 4);
  CHECK(f.list.TopPart() == 10);
  CHECK(f.list.RowRect(9).bottom == kListHeight);
  CHECK(f.list.Caret() == f.Send(LB_GETCURSEL, 0, 0));
}

TEST_CASE("SetRowCount: rows that would end above the bottom bring the last row down to it") {
  ListFixture f;
  f.list.SetRowCount(20, FALSE, 15);
  REQUIRE(f.list.TopRow() == 14);
  REQUIRE(f.list.TopPart() == 10);
  f.list.SetRowCount(18, FALSE, -1);
  CHECK(f.list.Caret() == 15);
  CHECK(f.list.TopRow() == 12);
  CHECK(f.list.TopPart() == 10);
  CHECK(f.list.RowRect(17).bottom == kListHeight);
  f.list.Refresh();
  CHECK(f.ScreenCheck() == "");
}

TEST_CASE("edge: a row count exactly equal to the whole rows has no top part and fits") {
  ListFixture f(5);
  CHECK(f.list.TopPart() == 0);
  CHECK(f.list.TopRow() == 0);
  CHECK(f.list.RowFits());
  f.Key(VK_END);
  CHECK(f.list.Caret() == 4);
  CHECK(f.list.TopPart() == 0);
  CHECK(f.list.TopRow() == 0);
  f.list.SetRowCount(5, FALSE, 4);
  CHECK(f.list.TopPart() == 0);
  CHECK(f.list.TopRow() == 0);
  // A height of exactly five rows: visible rows = whole rows = row count.
  f.Resize(kListWidth, 5 * kRowHeight);
  REQUIRE(f.list.VisibleRows() == 5);
  REQUIRE(f.list.FullRows() == 5);
  CHECK(f.list.RowFits());
  CHECK(f.list.TopPart() == 0);
  f.list.SetRowCount(6, FALSE, -1);
  CHECK_FALSE(f.list.RowFits());
}

TEST_CASE("edge: a height that is no multiple of the row height shows the top row in part at the bottom") {
  ListFixture f;
  REQUIRE(kListHeight % kRowHeight != 0);
  f.Key(VK_END);
  CHECK(f.list.Caret() == 19);
  CHECK(f.list.TopRow() == 14);
  CHECK(f.list.TopPart() == kListHeight % kRowHeight);
  // The top row shows its lower part only, the last row touches the bottom edge.
  CHECK(f.list.RowRect(14).top < 0);
  CHECK(f.list.RowRect(14).bottom == f.list.TopPart());
  CHECK(f.list.RowRect(19).bottom == f.list.ClientRect().bottom);
  CHECK(f.ScreenCheck() == "");
  HDC dc = GetDC(f.Hwnd());
  CHECK(GetPixel(dc, 5, 0) == RowColor(14, false));
  CHECK(GetPixel(dc, 5, kListHeight - 1) == RowColor(19, true));
  ReleaseDC(f.Hwnd(), dc);
}

// --- scroll bar ----------------------------------------------------------------------------------------

TEST_CASE("scroll bar: range of the rows, a page of whole rows, the first whole row as position") {
  ListFixture f;
  SCROLLINFO info = {};
  info.cbSize = sizeof(info);
  info.fMask = SIF_ALL;
  REQUIRE(GetScrollInfo(f.Hwnd(), SB_VERT, &info));
  CHECK(info.nMin == 0);
  CHECK(info.nMax == 19);
  CHECK(info.nPage == 5);
  CHECK(info.nPos == 0);
  f.Key(VK_END);
  REQUIRE(GetScrollInfo(f.Hwnd(), SB_VERT, &info));
  CHECK(info.nPos == 15);  // row 14 shows in part, 15 is the first whole one
  f.list.SetRowCount(3, TRUE, -1);
  REQUIRE(GetScrollInfo(f.Hwnd(), SB_VERT, &info));
  CHECK(info.nMax == 2);
  CHECK(info.nPos == 0);
  f.list.SetRowCount(0, TRUE, -1);
  REQUIRE(GetScrollInfo(f.Hwnd(), SB_VERT, &info));
  CHECK(info.nMax == 0);
}

TEST_CASE("WM_VSCROLL moves the window over the rows by line, page and to either end") {
  ListFixture f;
  auto scroll = [&](int code) { f.Send(WM_VSCROLL, MAKEWPARAM(code, 0), 0); };
  scroll(SB_LINEDOWN);
  CHECK(f.list.TopRow() == 1);
  CHECK(f.list.TopPart() == 0);
  CHECK(f.ScreenCheck() == "");
  scroll(SB_PAGEDOWN);
  CHECK(f.list.TopRow() == 6);
  CHECK(f.ScreenCheck() == "");
  scroll(SB_LINEUP);
  CHECK(f.list.TopRow() == 5);
  CHECK(f.ScreenCheck() == "");
  scroll(SB_ENDSCROLL);
  CHECK(f.list.TopRow() == 5);
  scroll(SB_BOTTOM);
  CHECK(f.list.TopRow() == 14);
  CHECK(f.list.TopPart() == 10);
  CHECK(f.ScreenCheck() == "");
  scroll(SB_PAGEUP);
  CHECK(f.list.TopRow() == 10);
  CHECK(f.list.TopPart() == 0);
  CHECK(f.ScreenCheck() == "");
  scroll(SB_TOP);
  CHECK(f.list.TopRow() == 0);
  CHECK(f.ScreenCheck() == "");
  scroll(SB_LINEUP);
  CHECK(f.list.TopRow() == 0);
  // Scrolling leaves the caret where it is.
  CHECK(f.list.Caret() == 0);
  CHECK(f.owner.Notifications().empty());
}

// --- keys ----------------------------------------------------------------------------------------------

TEST_CASE("keys Down and Up: one caret change each, a line of scrolling at the edges, two rows repainted") {
  ListFixture f;
  f.Key(VK_DOWN);
  CHECK(f.owner.calls == Calls{"OnCaretChanged(1)"});
  CHECK(f.owner.DrawnRows() == Rows{0, 1});
  CHECK(f.Marked() == Rows{1});
  for (int row = 2; row <= 4; ++row) f.Key(VK_DOWN);
  REQUIRE(f.list.Caret() == 4);
  CHECK(f.list.TopRow() == 0);
  // Row 5 shows in part: one step brings it to the bottom edge.
  f.owner.Clear();
  f.Key(VK_DOWN);
  CHECK(f.owner.calls == Calls{"OnCaretChanged(5)"});
  CHECK(f.list.TopRow() == 0);
  CHECK(f.list.TopPart() == 10);
  CHECK(f.list.RowRect(5).bottom == kListHeight);
  CHECK(f.owner.DrawnRows() == Rows{4, 5});
  CHECK(f.ScreenCheck() == "");
  f.owner.Clear();
  f.Key(VK_DOWN);
  CHECK(f.list.Caret() == 6);
  CHECK(f.list.TopRow() == 1);
  CHECK(f.list.TopPart() == 10);
  CHECK(f.owner.DrawnRows() == Rows{5, 6});
  CHECK(f.ScreenCheck() == "");
  // Up to the first whole row stays; one more brings the part-shown top row in whole.
  for (int row = 5; row >= 2; --row) f.Key(VK_UP);
  REQUIRE(f.list.Caret() == 2);
  CHECK(f.list.TopRow() == 1);
  f.owner.Clear();
  f.Key(VK_UP);
  CHECK(f.owner.calls == Calls{"OnCaretChanged(1)"});
  CHECK(f.list.TopRow() == 1);
  CHECK(f.list.TopPart() == 0);
  CHECK(f.owner.DrawnRows() == Rows{1, 2});
  CHECK(f.ScreenCheck() == "");
  f.Key(VK_UP);
  CHECK(f.list.TopRow() == 0);
  CHECK(f.list.Caret() == 0);
  CHECK(f.ScreenCheck() == "");
}

TEST_CASE("keys Home, End, PageDown and PageUp") {
  ListFixture f;
  f.Key(VK_NEXT);
  CHECK(f.list.Caret() == 5);
  CHECK(f.list.TopRow() == 5);
  CHECK(f.ScreenCheck() == "");
  f.Key(VK_NEXT);
  CHECK(f.list.Caret() == 10);
  CHECK(f.list.TopRow() == 10);
  f.Key(VK_NEXT);
  f.Key(VK_NEXT);
  CHECK(f.list.Caret() == 19);
  CHECK(f.list.RowRect(19).bottom == kListHeight);
  CHECK(f.ScreenCheck() == "");
  f.Key(VK_PRIOR);
  CHECK(f.list.Caret() == 14);
  CHECK_FALSE(f.list.IsOutOfView(14));
  CHECK(f.ScreenCheck() == "");
  f.Key(VK_HOME);
  CHECK(f.list.Caret() == 0);
  CHECK(f.list.TopRow() == 0);
  CHECK(f.list.TopPart() == 0);
  CHECK(f.ScreenCheck() == "");
  f.owner.Clear();
  f.Key(VK_END);
  CHECK(f.owner.calls == Calls{"OnCaretChanged(19)"});
  CHECK(f.list.TopRow() == 14);
  CHECK(f.ScreenCheck() == "");
  f.owner.Clear();
  f.Key(VK_END);
  CHECK(f.owner.calls.empty());
}

TEST_CASE("edge: Up at row 0 goes to the owner as OnKeyDown; Down at the last row stays silently") {
  ListFixture f;
  f.Key(VK_UP);
  CHECK(f.owner.calls == Calls{"OnKeyDown(list,38,1)"});
  CHECK(f.list.Caret() == 0);
  f.Key(VK_END);
  f.owner.Clear();
  f.Key(VK_DOWN);
  CHECK(f.owner.calls.empty());
  CHECK(f.owner.draws.empty());
  CHECK(f.list.Caret() == 19);
  CHECK(f.list.TopRow() == 14);
}

TEST_CASE("edge: ListCyclic 1 wraps Up at row 0 to the last row and Down at the last row to row 0") {
  ListFixture f;
  testreg::WriteDword(HKEY_CURRENT_USER, SettingsKey(), L"ListCyclic", 1);
  f.Key(VK_UP);
  CHECK(f.owner.calls == Calls{"OnCaretChanged(19)"});
  CHECK(f.list.Caret() == 19);
  CHECK(f.list.TopRow() == 14);
  CHECK(f.list.RowRect(19).bottom == kListHeight);
  CHECK(f.ScreenCheck() == "");
  f.owner.Clear();
  f.Key(VK_DOWN);
  CHECK(f.owner.calls == Calls{"OnCaretChanged(0)"});
  CHECK(f.list.Caret() == 0);
  CHECK(f.list.TopRow() == 0);
  CHECK(f.ScreenCheck() == "");
  // Read at each key press: the setting taken away counts at once.
  testreg::WriteDword(HKEY_CURRENT_USER, SettingsKey(), L"ListCyclic", 0);
  f.owner.Clear();
  f.Key(VK_UP);
  CHECK(f.owner.calls == Calls{"OnKeyDown(list,38,1)"});
}

TEST_CASE("edge: ListCyclic 2 behaves as 0") {
  ListFixture f;
  testreg::WriteDword(HKEY_CURRENT_USER, SettingsKey(), L"ListCyclic", 2);
  f.Key(VK_UP);
  CHECK(f.owner.calls == Calls{"OnKeyDown(list,38,1)"});
  CHECK(f.list.Caret() == 0);
  f.Key(VK_END);
  f.owner.Clear();
  f.Key(VK_DOWN);
  CHECK(f.owner.calls.empty());
  CHECK(f.list.Caret() == 19);
}

TEST_CASE("queued key repeats are drained after a move and around Return") {
  ListFixture f;
  for (int i = 0; i < 3; ++i) PostMessageW(f.Hwnd(), WM_KEYDOWN, VK_DOWN, 1);
  f.Key(VK_DOWN);
  CHECK(f.list.Caret() == 1);
  Pump();
  CHECK(f.list.Caret() == 1);
  CHECK(f.owner.calls == Calls{"OnCaretChanged(1)"});
  f.owner.Clear();
  PostMessageW(f.Hwnd(), WM_KEYDOWN, VK_DOWN, 1);
  PostMessageW(f.Hwnd(), WM_KEYUP, VK_DOWN, 1);
  f.Key(VK_RETURN);
  Pump();
  CHECK(f.owner.calls == Calls{"OnActivate(1)"});
  CHECK(f.list.Caret() == 1);
}

TEST_CASE("Up at row 0 drains the key repeats that follow") {
  ListFixture f;
  PostMessageW(f.Hwnd(), WM_KEYDOWN, VK_UP, 1);
  f.Key(VK_UP);
  Pump();
  CHECK(f.owner.calls == Calls{"OnKeyDown(list,38,1)"});
}

TEST_CASE("Return activates the caret row; other keys, key ups and characters go to the owner") {
  ListFixture f;
  f.Key(VK_DOWN);
  f.Key(VK_DOWN);
  f.owner.Clear();
  f.Key(VK_RETURN);
  CHECK(f.owner.calls == Calls{"OnActivate(2)"});
  CHECK(f.Marked() == Rows{2});
  f.owner.Clear();
  f.Key(VK_LEFT);
  f.KeyUp(VK_LEFT);
  f.Send(WM_CHAR, 'a', 1);
  f.Send(WM_CHAR, 13, 1);
  CHECK(f.owner.calls == Calls{"OnKeyDown(list,37,1)", "OnKeyUp(list,37,1)", "OnChar(list,97,1)"});
  CHECK(f.list.Caret() == 2);
  CHECK(f.Send(WM_GETDLGCODE, 0, 0) == DLGC_WANTALLKEYS);
}

TEST_CASE("the Action key: a short press activates, a press held 400 ms is a long press at the caret row") {
  ListFixture f;
  f.Key(VK_DOWN);
  f.Key(VK_DOWN);
  f.Key(VK_DOWN);
  f.owner.Clear();
  f.Key(kActionKey);
  f.KeyUp(kActionKey);
  CHECK(f.owner.calls == Calls{"OnActivate(3)"});

  f.owner.Clear();
  const DWORD start = GetTickCount();
  f.Key(kActionKey);
  f.Key(kActionKey);  // a repeat of the held key changes nothing
  CHECK(PumpUntil([&] { return f.owner.Saw("OnLongPress"); }, 2000));
  CHECK(GetTickCount() - start >= 350);
  const RECT rect = f.list.RowRect(3);
  const std::string expected = Format("OnLongPress(%d,%d)", int(rect.left), int(rect.top + kRowHeight / 2));
  f.KeyUp(kActionKey);
  // Once the long press fired, letting go does not activate.
  CHECK(f.owner.calls == Calls{expected});
  CHECK(expected == "OnLongPress(0,70)");
}

TEST_CASE("an Action key flag whose key is no longer down is taken as a key up at the next event") {
  ListFixture f;
  // A WM_KEYDOWN without the key being down: as after a lost WM_KEYUP.
  f.Key(kActionKey);
  const int y = f.MiddleOf(2);
  f.Tap(50, y);
  CHECK(f.owner.calls ==
        Calls{"OnActivate(0)", "OnCaretChanged(2)", Format("OnPressTest(50,%d)", y), "OnRowClicked(2,0)"});
  Pump(450);
  CHECK_FALSE(f.owner.Saw("OnLongPress"));
}

namespace {

// Holds `vk` down as real key input with the list's window in front. Key input that comes while a
// program elsewhere on the shared screen holds the focus is lost, so the press is made again, the
// window brought back to the front first, until the key reads as down.
bool HoldKey(HWND window, BYTE vk) {
  HWND root = GetAncestor(window, GA_ROOT);
  for (int attempt = 0; attempt < 5; ++attempt) {
    SetForegroundWindow(root);
    PumpUntil([root] { return GetForegroundWindow() == root; }, 500);
    keybd_event(vk, 0, 0, 0);
    if (PumpUntil([vk] { return (GetAsyncKeyState(vk) & 0x8000) != 0; }, 600)) return true;
  }
  return false;
}

}  // namespace

TEST_CASE(
    "with the Action key held a press adds its row to the marks, a drag a run, and the long press follows") {
  ListFixture f;
  // Real key input, so that the key's state is down while the stylus works.
  REQUIRE(HoldKey(f.Hwnd(), kActionKey));
  Pump();
  f.Down(50, f.MiddleOf(3));
  CHECK(f.Marked() == Rows{0, 3});
  f.Move(50, f.MiddleOf(4));
  f.Up(50, f.MiddleOf(4));
  CHECK(f.Marked() == Rows{0, 3, 4});
  CHECK(f.list.Caret() == 0);
  CHECK(PumpUntil([&] { return f.owner.Saw("OnLongPress"); }, 2000));
  keybd_event(kActionKey, 0, KEYEVENTF_KEYUP, 0);
  PumpUntil([] { return (GetAsyncKeyState(kActionKey) & 0x8000) == 0; }, 1000);
  Pump(20);
  // The key is real input on the shared screen, where bringing the window back to the front may move
  // the focus: focus changes are the screen's, not the gesture's, and are left out here.
  Calls gesture;
  for (const std::string& call : f.owner.Notifications())
    if (call.rfind("OnFocusChanged", 0) != 0) gesture.push_back(call);
  CHECK(gesture == Calls{"OnLongPress(0,10)"});
  CHECK(f.Marked() == Rows{0, 3, 4});
}

TEST_CASE("SetCaret: a neighbouring row moves as a key would, another row is shown and marked") {
  ListFixture f;
  f.list.SetCaret(1);
  CHECK(f.owner.calls == Calls{"OnCaretChanged(1)"});
  f.list.SetCaret(0);
  CHECK(f.owner.calls == Calls{"OnCaretChanged(1)", "OnCaretChanged(0)"});
  f.owner.Clear();
  f.list.SetCaret(12);
  CHECK(f.list.Caret() == 12);
  CHECK(f.list.TopRow() == 12);
  CHECK(f.Marked() == Rows{12});
  CHECK_FALSE(f.list.IsOutOfView(12));
  CHECK(f.ScreenCheck() == "");
  f.list.SetCaret(14);
  CHECK(f.list.TopRow() == 12);
  CHECK(f.Marked() == Rows{14});
}

// --- stylus --------------------------------------------------------------------------------------------

TEST_CASE("a tap: OnCaretChanged, then OnRowClicked; a tap on the caret row reports it was marked") {
  ListFixture f;
  const int y = f.MiddleOf(2);
  f.Down(50, y);
  CHECK(GetCapture() == f.Hwnd());
  CHECK(f.list.IsTracking());
  f.Up(50, y);
  CHECK(GetCapture() == nullptr);
  CHECK_FALSE(f.list.IsTracking());
  CHECK(f.owner.Notifications() ==
        Calls{"OnCaretChanged(2)", Format("OnPressTest(50,%d)", y), "OnRowClicked(2,0)"});
  CHECK(f.list.Caret() == 2);
  CHECK(f.Marked() == Rows{2});
  CHECK(f.list.CaretShown());
  const Draw* drawn = f.owner.LastDrawOf(2);
  REQUIRE(drawn != nullptr);
  CHECK(drawn->state == (kRowMarked | kRowMarkedToo | kRowFocused));
  CHECK(f.owner.LastDrawOf(0) != nullptr);
  CHECK(f.ScreenCheck() == "");
  f.owner.Clear();
  f.Tap(60, y);
  CHECK(f.owner.Notifications() == Calls{Format("OnPressTest(60,%d)", y), "OnRowClicked(2,1)"});
  // No long press comes after a tap.
  Pump(450);
  CHECK_FALSE(f.owner.Saw("OnLongPress"));
}

TEST_CASE("a tap on the row that shows in part at the bottom scrolls it into view") {
  ListFixture f;
  f.Tap(50, 105);
  CHECK(f.owner.Notifications() == Calls{"OnCaretChanged(5)", "OnPressTest(50,105)", "OnRowClicked(5,0)"});
  CHECK(f.list.TopPart() == 10);
  CHECK(f.list.RowRect(5).bottom == kListHeight);
  CHECK(f.ScreenCheck() == "");
  // And the part-shown top row now, by a tap at the very top.
  f.owner.Clear();
  f.Tap(50, 2);
  CHECK(f.owner.Notifications() == Calls{"OnCaretChanged(0)", "OnPressTest(50,2)", "OnRowClicked(0,0)"});
  CHECK(f.list.TopPart() == 0);
  CHECK(f.list.TopRow() == 0);
  CHECK(f.ScreenCheck() == "");
}

TEST_CASE("the focus: a press takes it, the owner hears of it, and the row state carries it") {
  ListFixture f;
  SetFocus(f.parent);
  CHECK(f.owner.calls == Calls{"OnFocusChanged(0)"});
  CHECK_FALSE(f.list.HasFocus());
  f.list.RepaintRow(0);
  REQUIRE(f.owner.LastDrawOf(0) != nullptr);
  CHECK(f.owner.LastDrawOf(0)->state == (kRowMarked | kRowMarkedToo));
  f.owner.Clear();
  const int y = f.MiddleOf(1);
  f.Tap(50, y);
  CHECK(f.owner.Notifications() == Calls{"OnFocusChanged(1)", "OnCaretChanged(1)",
                                         Format("OnPressTest(50,%d)", y), "OnRowClicked(1,0)"});
  CHECK(f.list.HasFocus());
  REQUIRE(f.owner.LastDrawOf(0) != nullptr);
  CHECK(f.owner.LastDrawOf(0)->state == kRowFocused);
}

TEST_CASE("edge: a tap the owner takes at OnPressTest: no capture, no press timer, no OnRowClicked") {
  ListFixture f;
  f.owner.takePress = true;
  const int y = f.MiddleOf(3);
  f.Down(50, y);
  CHECK(GetCapture() != f.Hwnd());
  CHECK_FALSE(f.list.IsTracking());
  Pump(450);
  f.Up(50, y);
  CHECK(f.owner.Notifications() == Calls{"OnCaretChanged(3)", Format("OnPressTest(50,%d)", y)});
  CHECK(f.list.Caret() == 3);
}

TEST_CASE(
    "edge: a press held 400 ms is a long press at the original point; a menu taking the stylus "
    "leaves the release without a click") {
  ListFixture f;
  f.owner.onLongPress = [&] { SetCapture(f.parent); };  // as a modal menu does
  const int y = f.MiddleOf(2);
  const DWORD start = GetTickCount();
  f.Down(50, y);
  // The stylus trembles a little; the long press still reports where it went down.
  f.Move(52, y + 3);
  CHECK(PumpUntil([&] { return f.owner.Saw("OnLongPress"); }, 2000));
  CHECK(GetTickCount() - start >= 350);
  CHECK(GetCapture() == f.parent);
  CHECK_FALSE(f.list.IsTracking());
  f.Up(52, y + 3);
  ReleaseCapture();
  CHECK(f.owner.Notifications() ==
        Calls{"OnCaretChanged(2)", Format("OnPressTest(50,%d)", y), Format("OnLongPress(50,%d)", y)});
}

TEST_CASE("a long press with the shell's gesture: the press timer fires within its wait") {
  ListFixture f;
  f.list.SetNoGesture(FALSE);
  const int y = f.MiddleOf(1);
  SUBCASE("the owner's menu takes the stylus: the shell shows nothing more") {
    f.owner.onLongPress = [&] { SetCapture(f.parent); };
    f.Down(50, y);
    // The gesture returned the moment the capture went away, after the long press.
    CHECK(f.owner.Saw("OnLongPress"));
    Pump();
    CHECK(parentMessages.empty());
    f.Up(50, y);
    ReleaseCapture();
    CHECK_FALSE(f.owner.Saw("OnRowClicked"));
  }
  SUBCASE("nobody takes the stylus: the shell's hold ends in its context menu message") {
    f.Down(50, y);
    CHECK(f.owner.Saw("OnLongPress"));
    CHECK(parentMessages == std::vector<UINT>{WM_CONTEXTMENU});
    f.Up(50, y);
  }
  SUBCASE("a quick tap: the lift already waits, and the gesture gives way at once") {
    PostMessageW(f.Hwnd(), WM_LBUTTONUP, 0, MAKELPARAM(50, y));
    const DWORD start = GetTickCount();
    f.Down(50, y);
    CHECK(GetTickCount() - start < 300);
    Pump();
    CHECK(f.owner.Notifications() ==
          Calls{"OnCaretChanged(1)", Format("OnPressTest(50,%d)", y), "OnRowClicked(1,0)"});
    CHECK(parentMessages.empty());
  }
}

TEST_CASE("edge: a stylus lifted below the last row sets the caret to 0 silently") {
  ListFixture f(3);
  f.Key(VK_DOWN);
  f.Key(VK_DOWN);
  REQUIRE(f.list.Caret() == 2);
  f.owner.Clear();
  f.Down(50, 100);
  CHECK(GetCapture() == f.Hwnd());
  CHECK_FALSE(f.list.IsTracking());
  CHECK_FALSE(f.list.CaretShown());
  f.Up(50, 100);
  CHECK(f.list.Caret() == 0);
  CHECK(f.Send(LB_GETCURSEL, 0, 0) == 0);
  CHECK(f.owner.calls.empty());
  CHECK(GetCapture() == nullptr);
}

TEST_CASE("edge: a stylus moving 5 pixels sideways keeps the tap, 6 cancel it") {
  ListFixture f;
  const int y = f.MiddleOf(2);
  SUBCASE("5 to the right") {
    f.Down(50, y);
    f.Move(55, y);
    f.Up(55, y);
    CHECK(f.owner.Saw("OnRowClicked(2,0)"));
  }
  SUBCASE("5 to the left") {
    f.Down(50, y);
    f.Move(45, y);
    f.Up(45, y);
    CHECK(f.owner.Saw("OnRowClicked(2,0)"));
  }
  SUBCASE("6 to the right") {
    f.Down(50, y);
    f.Move(56, y);
    f.Up(56, y);
    CHECK_FALSE(f.owner.Saw("OnRowClicked"));
    // The move stopped the press timer too.
    Pump(450);
    CHECK_FALSE(f.owner.Saw("OnLongPress"));
  }
  SUBCASE("6 to the left") {
    f.Down(50, y);
    f.Move(44, y);
    f.Up(44, y);
    CHECK_FALSE(f.owner.Saw("OnRowClicked"));
  }
  CHECK(f.list.Caret() == 2);
}

TEST_CASE("edge: a stylus moving 5 pixels up or down keeps the tap, 6 cancel it") {
  ListFixture f;
  const int y = f.MiddleOf(2);
  SUBCASE("5 down") {
    f.Down(50, y);
    f.Move(50, y + 5);
    f.Up(50, y + 5);
    CHECK(f.owner.Saw("OnRowClicked(2,0)"));
  }
  SUBCASE("5 up") {
    f.Down(50, y);
    f.Move(50, y - 5);
    f.Up(50, y - 5);
    CHECK(f.owner.Saw("OnRowClicked(2,0)"));
  }
  SUBCASE("6 down") {
    f.Down(50, y);
    f.Move(50, y + 6);
    f.Up(50, y + 6);
    CHECK_FALSE(f.owner.Saw("OnRowClicked"));
    Pump(450);
    CHECK_FALSE(f.owner.Saw("OnLongPress"));
  }
  SUBCASE("6 up") {
    f.Down(50, y);
    f.Move(50, y - 6);
    f.Up(50, y - 6);
    CHECK_FALSE(f.owner.Saw("OnRowClicked"));
  }
  // Within the row: no drag marked anything else.
  CHECK(f.Marked() == Rows{2});
}

TEST_CASE("edge: a window resized during a press drops the tap") {
  ListFixture f;
  const int y = f.MiddleOf(2);
  f.Down(50, y);
  REQUIRE(GetCapture() == f.Hwnd());
  f.Resize(kListWidth, kListHeight + 20);
  CHECK(GetCapture() == nullptr);
  CHECK_FALSE(f.list.IsTracking());
  f.Up(50, y);
  Pump(450);
  CHECK(f.owner.Notifications() == Calls{"OnCaretChanged(2)", Format("OnPressTest(50,%d)", y)});
}

TEST_CASE("edge: an empty list has no row anywhere; a tap takes the stylus, starts no drag, clicks nothing") {
  ListFixture f(0);
  for (int y = -10; y <= kListHeight + 10; ++y) {
    CAPTURE(y);
    CHECK(f.list.RowFromY(y) == -1);
    CHECK(f.list.RowFromYRounded(y) == -1);
  }
  f.Down(50, 30);
  CHECK(GetCapture() == f.Hwnd());
  CHECK_FALSE(f.list.IsTracking());
  f.Move(50, 60);
  CHECK(f.Marked().empty());
  f.Up(50, 60);
  CHECK(GetCapture() == nullptr);
  CHECK(f.owner.Notifications().empty());
  CHECK(f.owner.draws.empty());
  CHECK(f.Send(LB_GETCOUNT, 0, 0) == 0);
  CHECK(f.Send(LB_GETCURSEL, 0, 0) == LB_ERR);
  CHECK(f.ScreenCheck() == "");
}

TEST_CASE("a drag marks the run from the press to the stylus and repaints the rows that changed") {
  ListFixture f;
  f.Down(50, 30);  // row 1
  REQUIRE(f.list.Caret() == 1);
  f.owner.Clear();
  f.Move(50, 50);
  CHECK(f.Marked() == Rows{1, 2});
  CHECK(f.owner.DrawnRows() == Rows{1, 2, 3});
  REQUIRE(f.owner.LastDrawOf(2) != nullptr);
  REQUIRE(f.owner.LastDrawOf(3) != nullptr);
  CHECK(f.owner.LastDrawOf(2)->state == (kRowMarked | kRowMarkedToo | kRowFocused));
  CHECK(f.owner.LastDrawOf(3)->state == kRowFocused);
  f.owner.Clear();
  f.Move(50, 70);
  CHECK(f.Marked() == Rows{1, 2, 3});
  CHECK(f.list.MarkedCount() == 3);
  CHECK(f.owner.DrawnRows() == Rows{2, 3, 4});
  f.owner.Clear();
  f.Move(50, 75);  // the same row: nothing changes
  CHECK(f.owner.draws.empty());
  f.Move(50, 50);
  CHECK(f.Marked() == Rows{1, 2});
  CHECK(f.owner.DrawnRows() == Rows{2, 3, 4});
  f.owner.Clear();
  f.Move(50, 10);  // over the anchor to row 0
  CHECK(f.Marked() == Rows{0, 1});
  CHECK(f.owner.DrawnRows() == Rows{0, 1, 2, 3});
  CHECK(f.ScreenCheck() == "");
  f.Up(50, 10);
  CHECK(f.owner.Notifications().empty());
  CHECK(f.owner.calls == Calls{"OnMouseMove(50,10)"});
  CHECK(f.list.Caret() == 1);
  CHECK(f.Marked() == Rows{0, 1});
  Array<int> rows;
  f.list.GetMarkedRows(rows);
  CHECK(rows.GetSize() == f.list.MarkedCount());
}

TEST_CASE("a drag past the bottom or top edge scrolls a line towards the stylus") {
  ListFixture f;
  f.Down(50, 70);  // row 3
  f.Move(50, kListHeight + 15);
  CHECK(f.list.TopPart() == 10);  // one line down: the part-shown row 5 came in whole
  CHECK(f.list.TopRow() == 0);
  const int reached = f.list.RowFromY(kListHeight);
  CHECK(reached > 3);
  Rows run;
  for (int row = 3; row <= reached; ++row) run.push_back(row);
  CHECK(f.Marked() == run);
  CHECK(f.owner.calls.back() == Format("OnMouseMove(50,%d)", kListHeight));
  f.Up(50, kListHeight);
  f.Send(WM_VSCROLL, SB_PAGEDOWN, 0);
  const int top = f.list.TopRow();
  f.Down(50, 50);
  f.Move(50, -8);
  CHECK(f.list.TopRow() < top);
  CHECK(f.owner.calls.back() == "OnMouseMove(50,0)");
  f.Up(50, 0);
  CHECK(f.ScreenCheck() == "");
}

TEST_CASE("marks beyond 32 rows: a run across a word boundary") {
  ListFixture f(100, 300);
  REQUIRE(f.list.FullRows() == 15);
  for (int i = 0; i < 20; ++i) f.Send(WM_VSCROLL, SB_LINEDOWN, 0);
  REQUIRE(f.list.TopRow() == 20);
  f.Down(50, f.MiddleOf(30));
  f.Move(50, f.MiddleOf(34));
  f.Up(50, f.MiddleOf(34));
  CHECK(f.Marked() == Rows{30, 31, 32, 33, 34});
  CHECK(f.list.MarkedCount() == 5);
  CHECK(f.list.IsMarked(32));
  CHECK_FALSE(f.list.IsMarked(35));
  f.list.SetRowCount(33, FALSE, -1);
  CHECK(f.Marked() == Rows{30, 31, 32});
  CHECK(f.list.MarkedCount() == 3);
}

TEST_CASE("with dragging turned off a move marks nothing and is still reported") {
  ListFixture f;
  f.list.SetDragEnabled(FALSE);
  f.Down(50, 30);
  f.Move(50, 70);
  CHECK(f.Marked() == Rows{1});
  CHECK(f.owner.calls.back() == "OnMouseMove(50,70)");
  f.Up(50, 30);
  CHECK(f.owner.Saw("OnRowClicked(1,0)"));
}

TEST_CASE("a double tap on the row of the press, and one on another row that counts as a press") {
  ListFixture f;
  const int y = f.MiddleOf(3);
  f.Down(50, y);
  f.Up(50, y);
  f.Send(WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(50, y));
  f.Up(50, y);
  CHECK(f.owner.Notifications() == Calls{"OnCaretChanged(3)", Format("OnPressTest(50,%d)", y),
                                         "OnRowClicked(3,0)", "OnRowDoubleClicked(3)"});
  f.owner.Clear();
  const int other = f.MiddleOf(4);
  f.Send(WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(50, other));
  CHECK(GetCapture() == f.Hwnd());
  f.Up(50, other);
  CHECK(f.owner.Notifications() ==
        Calls{"OnCaretChanged(4)", Format("OnPressTest(50,%d)", other), "OnRowClicked(4,0)"});
}

// --- size ----------------------------------------------------------------------------------------------

TEST_CASE("WM_SIZE: a new width goes to the owner; a new height alone does not") {
  ListFixture f;
  const int barWidth = kListWidth - f.list.ClientRect().right;
  f.Resize(kListWidth - 20, kListHeight);
  CHECK(f.owner.calls == Calls{Format("OnWidthChanged(0,%d)", kListWidth - 20 - barWidth)});
  CHECK(f.list.ClientRect().right == kListWidth - 20 - barWidth);
  f.owner.Clear();
  f.Resize(kListWidth - 20, kListHeight + 40);
  CHECK(f.owner.calls.empty());
  CHECK(f.list.FullRows() == 7);
  CHECK(f.list.VisibleRows() == 8);
  SCROLLINFO info = {};
  info.cbSize = sizeof(info);
  info.fMask = SIF_PAGE;
  GetScrollInfo(f.Hwnd(), SB_VERT, &info);
  CHECK(info.nPage == 7);
  CHECK(f.ScreenCheck() == "");
}

TEST_CASE("WM_SIZE: a list at its end that grows keeps its last row at the bottom edge") {
  ListFixture f;
  f.Key(VK_END);
  f.Resize(kListWidth, 150);
  CHECK(f.list.TopRow() == 12);
  CHECK(f.list.TopPart() == 10);
  CHECK(f.list.RowRect(19).bottom == 150);
  CHECK(f.ScreenCheck() == "");
  // At the start the rows stay where they are and only the new strip paints.
  f.Key(VK_HOME);
  f.owner.Clear();
  f.Resize(kListWidth, 190);
  CHECK(f.list.TopRow() == 0);
  CHECK(f.list.TopPart() == 0);
  UpdateWindow(f.Hwnd());
  CHECK(f.owner.DrawnRows() == Rows{7, 8, 9});
  CHECK(f.ScreenCheck() == "");
}

TEST_CASE("WM_SIZE: a list that shrinks keeps the caret in view") {
  ListFixture f;
  for (int i = 0; i < 4; ++i) f.Key(VK_DOWN);
  REQUIRE(f.list.Caret() == 4);
  f.Resize(kListWidth, 70);
  CHECK(f.list.TopRow() == 1);
  CHECK(f.list.TopPart() == 10);
  CHECK(f.list.RowRect(4).bottom == 70);
  CHECK_FALSE(f.list.IsOutOfView(4));
  CHECK(f.ScreenCheck() == "");
  // With a run marked the window stays where it is.
  f.Resize(kListWidth, kListHeight);
  f.Key(VK_HOME);
  for (int i = 0; i < 4; ++i) f.Key(VK_DOWN);
  f.Down(50, f.MiddleOf(3));
  f.Move(50, f.MiddleOf(4));
  f.Up(50, f.MiddleOf(4));
  REQUIRE(f.list.MarkedCount() == 2);
  const int top = f.list.TopRow();
  f.Resize(kListWidth, 70);
  CHECK(f.list.TopRow() == top);
}

// --- painting ------------------------------------------------------------------------------------------

TEST_CASE("painting: the owner draws only the rows in view, with marks and focus in the state") {
  ListFixture f(10000);
  InvalidateRect(f.Hwnd(), nullptr, FALSE);
  UpdateWindow(f.Hwnd());
  CHECK(f.owner.DrawnRows() == Rows{0, 1, 2, 3, 4, 5});
  CHECK(f.owner.draws.size() == 6);
  REQUIRE(f.owner.LastDrawOf(0) != nullptr);
  REQUIRE(f.owner.LastDrawOf(1) != nullptr);
  REQUIRE(f.owner.LastDrawOf(5) != nullptr);
  CHECK(f.owner.LastDrawOf(0)->state == (kRowMarked | kRowMarkedToo | kRowFocused));
  CHECK(f.owner.LastDrawOf(1)->state == kRowFocused);
  CHECK((f.owner.LastDrawOf(1)->state & ~7u) == 0);
  const RECT rect = f.owner.LastDrawOf(5)->rect;
  CHECK(rect.top == 100);
  CHECK(rect.bottom == 120);
  f.list.SetCaret(5000);
  f.owner.Clear();
  InvalidateRect(f.Hwnd(), nullptr, FALSE);
  UpdateWindow(f.Hwnd());
  CHECK(f.owner.DrawnRows() == Rows{5000, 5001, 5002, 5003, 5004, 5005});
  CHECK(f.ScreenCheck() == "");
  // An invalid rectangle over one row paints that row alone.
  f.owner.Clear();
  RECT one = f.list.RowRect(5002);
  InvalidateRect(f.Hwnd(), &one, FALSE);
  UpdateWindow(f.Hwnd());
  CHECK(f.owner.DrawnRows() == Rows{5002});
}

TEST_CASE("RepaintRow and RepaintRowsFrom repaint rows in view only") {
  ListFixture f;
  f.list.RepaintRow(3);
  CHECK(f.owner.DrawnRows() == Rows{3});
  f.owner.Clear();
  f.list.RepaintRow(15);
  CHECK(f.owner.draws.empty());
  f.list.RepaintRowsFrom(4);
  CHECK(f.owner.DrawnRows() == Rows{4, 5});
}

TEST_CASE("fewer rows than the window holds: white under the last row, also for a list without owner") {
  ListFixture f(3);
  f.list.Refresh();
  CHECK(f.owner.DrawnRows() == Rows{0, 1, 2});
  CHECK(f.ScreenCheck() == "");
  f.list.SetOwner(nullptr);
  f.list.SetRowCount(0, TRUE, -1);
  f.list.Refresh();
  CHECK(f.ScreenCheck() == "");
  // Without an owner, keys and taps still work and tell nobody.
  f.list.SetRowCount(3, TRUE, -1);
  f.Key(VK_DOWN);
  f.Tap(50, 50);
  f.Key(VK_RETURN);
  CHECK(f.list.Caret() == 2);
  CHECK(f.owner.calls.empty());
}

TEST_CASE("the top line: a grey pixel row along the top, the rows under it") {
  ListFixture f;
  f.list.SetTopLine(TRUE);
  CHECK(f.list.ClientRect().top == 1);
  CHECK(f.list.RowRect(0).top == 1);
  CHECK(f.list.RowFromY(0) == -1);
  CHECK(f.list.RowFromY(1) == 0);
  UpdateWindow(f.Hwnd());
  HDC dc = GetDC(f.Hwnd());
  CHECK(GetPixel(dc, 5, 0) == kTopLine);
  CHECK(GetPixel(dc, 100, 0) == kTopLine);
  CHECK(GetPixel(dc, 5, 1) == RowColor(0, true));
  ReleaseDC(f.Hwnd(), dc);
  CHECK(f.ScreenCheck() == "");
  // It stays through scrolling and a new size.
  f.Key(VK_END);
  f.Resize(kListWidth, kListHeight + 1);
  CHECK(f.list.ClientRect().top == 1);
  CHECK(f.list.RowRect(19).bottom == kListHeight + 1);
  CHECK(f.ScreenCheck() == "");
  dc = GetDC(f.Hwnd());
  CHECK(GetPixel(dc, 5, 0) == kTopLine);
  ReleaseDC(f.Hwnd(), dc);
  // Without it the rows take the pixel back, and the last row still ends at the bottom edge.
  f.list.SetTopLine(FALSE);
  CHECK(f.list.ClientRect().top == 0);
  CHECK(f.list.RowRect(19).bottom == kListHeight + 1);
  f.list.Refresh();
  CHECK(f.ScreenCheck() == "");
}

// --- other messages ------------------------------------------------------------------------------------

TEST_CASE("LB_GETCOUNT, LB_GETCURSEL and LB_GETTOPINDEX tell the state to other readers") {
  ListFixture f;
  CHECK(f.Send(LB_GETCOUNT, 0, 0) == 20);
  CHECK(f.Send(LB_GETCURSEL, 0, 0) == 0);
  CHECK(f.Send(LB_GETTOPINDEX, 0, 0) == 0);
  f.Key(VK_END);
  f.owner.Clear();
  CHECK(f.Send(LB_GETCURSEL, 0, 0) == 19);
  CHECK(f.Send(LB_GETTOPINDEX, 0, 0) == 14);
  // Reading changes nothing and tells the owner nothing.
  CHECK(f.owner.calls.empty());
  CHECK(f.owner.draws.empty());
  f.list.SetRowCount(0, TRUE, -1);
  CHECK(f.Send(LB_GETCOUNT, 0, 0) == 0);
  CHECK(f.Send(LB_GETCURSEL, 0, 0) == LB_ERR);
}

TEST_CASE("WM_MEASUREITEM and WM_DRAWITEM go to the owner; the class is COOL.LIST") {
  ListFixture f;
  CHECK(f.Send(WM_MEASUREITEM, 5, 0) == 77);
  CHECK(f.Send(WM_DRAWITEM, 6, 0) == 78);
  CHECK(f.owner.calls == Calls{"OnMeasureItem(5)", "OnDrawItem(6)"});
  wchar_t name[32] = {};
  GetClassNameW(f.Hwnd(), name, 32);
  CHECK(std::wstring(name) == L"COOL.LIST");
  WNDCLASSW info = {};
  REQUIRE(GetClassInfoW(GetModuleHandleW(nullptr), L"COOL.LIST", &info));
  CHECK(info.style == 138);
  CHECK(info.hbrBackground == GetStockObject(WHITE_BRUSH));
  CHECK(info.hIcon == nullptr);
  CHECK(f.Send(WM_ERASEBKGND, 0, 0) == 0);
}

TEST_CASE("a stopped timer's expiry waiting in the queue is never delivered; another timer's stays") {
  HWND window = MakeHiddenWindow(L"CoolListTimerTest", DefWindowProcW, L"timers");
  REQUIRE(window != nullptr);
  CoolListTimer timer = {CoolList::kPressTimerId, 1, window};
  timer.Start(10);
  CHECK(timer.idle == 0);
  SetTimer(window, 7, 10, nullptr);
  Sleep(60);
  // An expiry of the timer that already sits in the queue.
  PostMessageW(window, WM_TIMER, CoolList::kPressTimerId, 0);
  timer.Stop();
  CHECK(timer.idle == 1);
  KillTimer(window, 7);
  std::vector<WPARAM> seen;
  MSG msg;
  while (PeekMessageW(&msg, window, WM_TIMER, WM_TIMER, PM_REMOVE)) seen.push_back(msg.wParam);
  CHECK(std::count(seen.begin(), seen.end(), WPARAM(7)) >= 1);
  CHECK(std::count(seen.begin(), seen.end(), WPARAM(CoolList::kPressTimerId)) == 0);
  Sleep(30);
  CHECK_FALSE(PeekMessageW(&msg, window, WM_TIMER, WM_TIMER, PM_REMOVE));
  DestroyWindow(window);
}
