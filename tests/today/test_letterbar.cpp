// The letter bar on a real window: cells and their layout, the font stepping, picks and their marks,
// taps, holds and cancelled presses, each checked through the commands the parent receives and the
// pixels the bar paints.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include <vector>
#include "MessagePump.h"
#include "manager/letters/LetterSet.h"
#include "presentation/Skin.h"
#include "today/LetterBar.h"

namespace {

const COLORREF kTextColor = 0x000000FF;  // pure red: no gradient pixel has it
const COLORREF kMarkColor = 0x00FF0000;  // the marks' blue
const int kBarWidth = 240;

std::vector<std::pair<int, HWND>> commands;

LRESULT CALLBACK ParentProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_COMMAND) commands.push_back({LOWORD(wParam), reinterpret_cast<HWND>(lParam)});
  return DefWindowProcW(window, message, wParam, lParam);
}

void RegisterClasses() {
  static bool done = false;
  if (done) return;
  done = true;
  WNDCLASSW parent = {};
  parent.lpfnWndProc = ParentProc;
  parent.hInstance = GetModuleHandleW(nullptr);
  parent.lpszClassName = L"LetterBarTestParent";
  RegisterClassW(&parent);
  // The bar lives in the item window's class.
  WNDCLASSW item = {};
  item.style = CS_HREDRAW | CS_VREDRAW;
  item.lpfnWndProc = BaseWindow::SharedProc;
  item.hInstance = GetModuleHandleW(nullptr);
  item.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
  item.lpszClassName = L"ZovrixWndCls";
  RegisterClassW(&item);
}

Array<Str> Strings(std::initializer_list<const wchar_t*> texts) {
  Array<Str> out;
  for (const wchar_t* text : texts) out.Add(Str(text));
  return out;
}

Array<int> Ids(int count) {
  Array<int> out;
  for (int i = 0; i < count; ++i) out.Add(i);
  return out;
}

// A top-level parent with a bar across its top.
struct BarFixture {
  HWND parent = nullptr;
  LetterBar bar;
  int groups = 0;

  explicit BarFixture(int width = kBarWidth) {
    RegisterClasses();
    Skin::Start(GetModuleHandleW(nullptr));
    commands.clear();
    parent = CreateWindowExW(WS_EX_TOPMOST, L"LetterBarTestParent", L"parent", WS_POPUP | WS_VISIBLE, 0, 0,
                             width, 100, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    RECT rect = {0, 0, width, 0};
    bar.SetColors(0x00DCDCDC, 0x00C0C0C0, kTextColor);
    REQUIRE(bar.Create(parent, rect, GetModuleHandleW(nullptr)));
  }
  ~BarFixture() {
    // The bar's window goes with its parent; the object then holds no window.
    DestroyWindow(parent);
    Pump();
  }

  // The English keypad: eight groups and the last cell.
  void English() {
    groups = 8;
    bar.SetCells(Strings({L"ABC", L"DEF", L"GHI", L"JKL", L"MNO", L"PQRS", L"TUV", L"WXYZ"}), nullptr,
                 Ids(10), 9);
  }

  POINT CentreOf(int cell) {
    RECT rect;
    REQUIRE(bar.GetCellRect(cell, &rect));
    return POINT{(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
  }

  void Send(UINT message, POINT point) {
    SendMessageW(bar.GetHwnd(), message, message == WM_MOUSEMOVE || message == WM_LBUTTONUP ? 0 : MK_LBUTTON,
                 MAKELPARAM(point.x, point.y));
  }
};

// The bar as it paints itself, pixel by pixel.
struct Snapshot {
  int width = 0, height = 0;
  std::vector<COLORREF> pixels;

  explicit Snapshot(HWND window) {
    RECT client;
    GetClientRect(window, &client);
    width = client.right;
    height = client.bottom;
    HDC screen = GetDC(window);
    HDC dc = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
    HGDIOBJ old = SelectObject(dc, bitmap);
    SendMessageW(window, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(dc), PRF_CLIENT);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) pixels.push_back(GetPixel(dc, x, y));
    SelectObject(dc, old);
    DeleteObject(bitmap);
    DeleteDC(dc);
    ReleaseDC(window, screen);
  }
  COLORREF At(int x, int y) const { return pixels[y * width + x]; }
  int Count(const RECT& area, COLORREF color) const {
    int count = 0;
    for (int y = area.top; y < area.bottom && y < height; ++y)
      for (int x = area.left; x < area.right && x < width; ++x)
        if (At(x, y) == color) ++count;
    return count;
  }
  // Runs of `color` along row y, from left to right within [left, right).
  int Runs(int y, int left, int right, COLORREF color) const {
    int runs = 0;
    bool in = false;
    for (int x = left; x < right; ++x) {
      bool hit = At(x, y) == color;
      if (hit && !in) ++runs;
      in = hit;
    }
    return runs;
  }
};

}  // namespace

TEST_CASE("a set with a second row in one group only: two rows, and the other cells' second line empty") {
  LetterSet set;
  const wchar_t text[] = L"ABC^xyz/abcxyz DEF/def GHI/ghi";
  REQUIRE(ParseLetterSet(text, static_cast<int>(wcslen(text)), &set));
  CHECK(set.twoRows == 1);
  REQUIRE(set.secondCaptions.GetSize() == 3);
  CHECK(set.secondCaptions[1] == L"");

  BarFixture fixture;
  fixture.bar.SetCells(set.captions, &set.secondCaptions, Ids(5), 4);
  CHECK(fixture.bar.Height() == ScaleY(26) - 1);
  RECT window;
  GetClientRect(fixture.bar.GetHwnd(), &window);
  CHECK(window.bottom == fixture.bar.Height());

  Snapshot shot(fixture.bar.GetHwnd());
  RECT first, second;
  REQUIRE(fixture.bar.GetCellRect(0, &first));
  REQUIRE(fixture.bar.GetCellRect(1, &second));
  int middle = window.bottom / 2;
  RECT firstTop = {first.left, 0, first.right, middle},
       firstBottom = {first.left, middle, first.right, window.bottom};
  RECT secondTop = {second.left, 0, second.right, middle},
       secondBottom = {second.left, middle, second.right, window.bottom};
  // Letters in both halves of the cell with two rows; only in the upper half of the other.
  CHECK(shot.Count(firstTop, kTextColor) > 0);
  CHECK(shot.Count(firstBottom, kTextColor) > 0);
  CHECK(shot.Count(secondTop, kTextColor) > 0);
  CHECK(shot.Count(secondBottom, kTextColor) == 0);
}

TEST_CASE("one row: the natural height, plus the extra height, and the window follows") {
  BarFixture fixture;
  fixture.English();
  CHECK(fixture.bar.Height() == ScaleY(20) - 1);
  fixture.bar.SetExtraHeight(6);
  CHECK(fixture.bar.Height() == ScaleY(20) - 1 + 6);
  RECT client;
  GetClientRect(fixture.bar.GetHwnd(), &client);
  CHECK(client.bottom == fixture.bar.Height());
  CHECK(client.right == kBarWidth);
}

TEST_CASE(
    "the cells overlap by one pixel, the spare width goes out in even shares, the last cell ends at the "
    "edge") {
  BarFixture fixture;
  fixture.English();
  CHECK(fixture.bar.CellCount() == 9);
  CHECK(fixture.bar.FontHeight() == ScaleY(10));
  int left = 0;
  for (int i = 0; i < 9; ++i) {
    RECT rect;
    REQUIRE(fixture.bar.GetCellRect(i, &rect));
    CHECK(rect.left == left);
    CHECK(rect.right - rect.left == fixture.bar.CellWidth(i));
    left = rect.right - 1;
  }
  RECT last;
  fixture.bar.GetCellRect(8, &last);
  CHECK(last.right == kBarWidth);

  // Every letter cell got the same even share over its natural width: measure them again.
  HDC dc = GetDC(fixture.bar.GetHwnd());
  LOGFONTW font = {};
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof font, &font);
  font.lfHeight = -fixture.bar.FontHeight();
  font.lfWidth = 0;
  HFONT handle = CreateFontIndirectW(&font);
  HGDIOBJ old = SelectObject(dc, handle);
  const wchar_t* captions[] = {L"ABC", L"DEF", L"GHI", L"JKL", L"MNO", L"PQRS", L"TUV", L"WXYZ"};
  int share = -1;
  for (int i = 0; i < 8; ++i) {
    SIZE size;
    GetTextExtentPoint32W(dc, captions[i], static_cast<int>(wcslen(captions[i])), &size);
    int natural = size.cx + 2 * ScaleX(2);
    int extra = fixture.bar.CellWidth(i) - natural;
    if (i == 0) share = extra;
    CHECK(extra == share);
  }
  CHECK(share >= 0);
  CHECK(share % 2 == 0);
  SelectObject(dc, old);
  DeleteObject(handle);
  ReleaseDC(fixture.bar.GetHwnd(), dc);
}

TEST_CASE(
    "a very narrow screen: the font steps down to 5 pixels, and the cells overflow their natural widths") {
  BarFixture wide(kBarWidth);
  wide.English();
  CHECK(wide.bar.FontHeight() == ScaleY(10));

  BarFixture narrow(40);
  narrow.English();
  CHECK(narrow.bar.FontHeight() == 5);
  // Even at 5 pixels the letters don't fit: the cells got less than their text needs.
  int sum = 0;
  for (int i = 0; i < 9; ++i) sum += narrow.bar.CellWidth(i) - (i < 8 ? 1 : 0);
  CHECK(sum == 40);
  HDC dc = GetDC(narrow.bar.GetHwnd());
  LOGFONTW font = {};
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof font, &font);
  font.lfHeight = -5;
  font.lfWidth = 0;
  HFONT handle = CreateFontIndirectW(&font);
  HGDIOBJ old = SelectObject(dc, handle);
  SIZE size;
  GetTextExtentPoint32W(dc, L"WXYZ", 4, &size);
  CHECK(size.cx + 2 * ScaleX(2) > narrow.bar.CellWidth(7));
  SelectObject(dc, old);
  DeleteObject(handle);
  ReleaseDC(narrow.bar.GetHwnd(), dc);

  // In between, the font is in between.
  BarFixture middle(190);
  middle.English();
  CHECK(middle.bar.FontHeight() < ScaleY(10));
  CHECK(middle.bar.FontHeight() > 5);
}

TEST_CASE(
    "a tap posts the cell's command with the bar's window; a tap that ends outside the cell posts nothing") {
  BarFixture fixture;
  fixture.English();
  fixture.Send(WM_LBUTTONDOWN, fixture.CentreOf(2));
  CHECK(fixture.bar.PressedCell() == 2);
  CHECK(fixture.bar.PressedLook());
  CHECK(GetCapture() == fixture.bar.GetHwnd());
  fixture.Send(WM_LBUTTONUP, fixture.CentreOf(2));
  Pump();
  REQUIRE(commands.size() == 1);
  CHECK(commands[0].first == 2);
  CHECK(commands[0].second == fixture.bar.GetHwnd());
  CHECK(fixture.bar.PressedCell() == -1);
  CHECK(GetCapture() == nullptr);

  commands.clear();
  fixture.Send(WM_LBUTTONDOWN, fixture.CentreOf(2));
  fixture.Send(WM_MOUSEMOVE, fixture.CentreOf(5));
  CHECK_FALSE(fixture.bar.PressedLook());
  fixture.Send(WM_MOUSEMOVE, fixture.CentreOf(2));
  CHECK(fixture.bar.PressedLook());
  fixture.Send(WM_MOUSEMOVE, fixture.CentreOf(5));
  fixture.Send(WM_LBUTTONUP, fixture.CentreOf(5));
  Pump();
  CHECK(commands.empty());
  CHECK(fixture.bar.PressedCell() == -1);
}

TEST_CASE("the last cell: released before 500 ms its command is G, held for 500 ms it is G + 1") {
  BarFixture fixture;
  fixture.English();
  POINT last = fixture.CentreOf(8);
  fixture.Send(WM_LBUTTONDOWN, last);
  Pump(100);
  fixture.Send(WM_LBUTTONUP, last);
  Pump(700);
  REQUIRE(commands.size() == 1);
  CHECK(commands[0].first == 8);

  commands.clear();
  fixture.Send(WM_LBUTTONDOWN, last);
  Pump(800);
  REQUIRE(commands.size() == 1);
  CHECK(commands[0].first == 9);
  CHECK(fixture.bar.PressedCell() == -1);
  CHECK(GetCapture() == nullptr);
  // The release after the long press gives nothing more.
  fixture.Send(WM_LBUTTONUP, last);
  Pump();
  CHECK(commands.size() == 1);

  // Leaving the last cell stops the hold.
  commands.clear();
  fixture.Send(WM_LBUTTONDOWN, last);
  fixture.Send(WM_MOUSEMOVE, fixture.CentreOf(3));
  Pump(800);
  CHECK(commands.empty());
  fixture.Send(WM_LBUTTONUP, fixture.CentreOf(3));
  Pump();
  CHECK(commands.empty());
}

TEST_CASE("a hold on a letter cell is only a tap") {
  BarFixture fixture;
  fixture.English();
  fixture.Send(WM_LBUTTONDOWN, fixture.CentreOf(1));
  Pump(700);
  CHECK(commands.empty());
  fixture.Send(WM_LBUTTONUP, fixture.CentreOf(1));
  Pump();
  REQUIRE(commands.size() == 1);
  CHECK(commands[0].first == 1);
}

TEST_CASE("a disabled bar ignores the stylus; a cancelled mode drops the press") {
  BarFixture fixture;
  fixture.English();
  fixture.bar.SetEnabled(FALSE);
  fixture.Send(WM_LBUTTONDOWN, fixture.CentreOf(0));
  CHECK(fixture.bar.PressedCell() == -1);
  fixture.Send(WM_LBUTTONUP, fixture.CentreOf(0));
  Pump();
  CHECK(commands.empty());

  fixture.bar.SetEnabled(TRUE);
  fixture.Send(WM_LBUTTONDOWN, fixture.CentreOf(0));
  SendMessageW(fixture.bar.GetHwnd(), WM_CANCELMODE, 0, 0);
  CHECK(fixture.bar.PressedCell() == -1);
  CHECK_FALSE(fixture.bar.PressedLook());
  CHECK(GetCapture() == nullptr);
  fixture.Send(WM_LBUTTONUP, fixture.CentreOf(0));
  Pump();
  CHECK(commands.empty());
}

TEST_CASE("TapCell posts the command of a cell in range only") {
  BarFixture fixture;
  fixture.English();
  fixture.bar.TapCell(4);
  fixture.bar.TapCell(-1);
  fixture.bar.TapCell(9);
  Pump();
  REQUIRE(commands.size() == 1);
  CHECK(commands[0].first == 4);
}

TEST_CASE("pick count 5 shows three marks; counts never go under 0; clearing removes the marks") {
  BarFixture fixture;
  fixture.English();
  for (int i = 0; i < 5; ++i) fixture.bar.AddPick(3, 1);
  CHECK(fixture.bar.PickCount(3) == 5);
  fixture.bar.AddPick(1, 1);
  RECT cell, one;
  fixture.bar.GetCellRect(3, &cell);
  fixture.bar.GetCellRect(1, &one);
  Snapshot shot(fixture.bar.GetHwnd());
  int row = cell.bottom - 2;
  CHECK(shot.Runs(row, cell.left, cell.right, kMarkColor) == 3);
  CHECK(shot.Runs(row, one.left, one.right, kMarkColor) == 1);
  // The marks are ScaleY(2) high and end one pixel above the bottom.
  CHECK(shot.At(cell.left + 2, cell.bottom - 2) == kMarkColor);
  CHECK(shot.At(cell.left + 2, cell.bottom - 1 - ScaleY(2)) == kMarkColor);
  CHECK(shot.At(cell.left + 2, cell.bottom - 2 - ScaleY(2)) != kMarkColor);

  fixture.bar.AddPick(1, -3);
  CHECK(fixture.bar.PickCount(1) == 0);
  fixture.bar.ClearPicks();
  CHECK(fixture.bar.PickCount(3) == 0);
  Snapshot cleared(fixture.bar.GetHwnd());
  RECT all = {0, 0, cleared.width, cleared.height};
  CHECK(cleared.Count(all, kMarkColor) == 0);
}

TEST_CASE("SetCells zeroes the picks and a selection beyond the new cells") {
  BarFixture fixture;
  fixture.English();
  fixture.bar.AddPick(2, 1);
  fixture.bar.SetSelection(8);
  fixture.bar.SetCells(Strings({L"AB", L"CD"}), nullptr, Ids(4), 3);
  CHECK(fixture.bar.PickCount(2) == 0);
  CHECK(fixture.bar.Selection() == -1);
  CHECK(fixture.bar.CellCount() == 3);
}

TEST_CASE("the selected cell's top edge is green; the pressed cell's is dark") {
  BarFixture fixture;
  fixture.English();
  RECT cell;
  fixture.bar.GetCellRect(4, &cell);
  int x = (cell.left + cell.right) / 2;
  Snapshot plain(fixture.bar.GetHwnd());
  CHECK(plain.At(x, cell.top + 1) == 0x00FFFFFF);
  fixture.bar.SetSelection(4);
  Snapshot selected(fixture.bar.GetHwnd());
  CHECK(selected.At(x, cell.top + 1) == 0x0033CC33);
  CHECK(selected.At(x, cell.top + 2) == 0x0033CC33);
  fixture.bar.SetSelection(-1);
  fixture.Send(WM_LBUTTONDOWN, fixture.CentreOf(4));
  Snapshot pressed(fixture.bar.GetHwnd());
  CHECK(pressed.At(x, cell.top + 1) == 0x00858585);
  CHECK(pressed.At(x, cell.top + 2) == 0x00ADADAD);
  CHECK(pressed.At(cell.left + 1, (cell.top + cell.bottom) / 2) == 0x00ADADAD);
  SendMessageW(fixture.bar.GetHwnd(), WM_CANCELMODE, 0, 0);
}

TEST_CASE("the last cell's pictures take the text colour, and the icon index is 0 or 1 only") {
  BarFixture fixture;
  fixture.English();
  REQUIRE(fixture.bar.Images() != nullptr);
  CHECK(ImageList_GetImageCount(fixture.bar.Images()) == 2);
  int width = 0, height = 0;
  ImageList_GetIconSize(fixture.bar.Images(), &width, &height);
  CHECK(width > 0);
  RECT last;
  fixture.bar.GetCellRect(8, &last);
  CHECK(last.right - last.left >= width + 2 * ScaleX(2));
  Snapshot shot(fixture.bar.GetHwnd());
  CHECK(shot.Count(last, kTextColor) > 0);
  // No magenta shows: it is the pictures' transparent colour.
  CHECK(shot.Count(last, 0x00FF00FF) == 0);

  CHECK(fixture.bar.Icon() == 1);
  fixture.bar.SetIcon(0);
  CHECK(fixture.bar.Icon() == 0);
  fixture.bar.SetIcon(2);
  CHECK(fixture.bar.Icon() == 0);
  Snapshot other(fixture.bar.GetHwnd());
  CHECK(other.pixels != shot.pixels);
}
