// The rows' window alone under a recording parent: taps and their slop, the hold and its copy menu,
// the copy texts of both selection modes, the transparent head picture, scrolling through the note
// with the Down key, and clearing.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include "MessagePump.h"
#include "ViewTestSupport.h"
#include "presentation/Skin.h"

using namespace viewtest;

namespace {

const int kPhone = 1;

struct TextFixture {
  HWND parent;
  ContactTextWindow text;
  TextFixture() {
    parent = MakeParent(ScaleX(240), ScaleY(200));
    REQUIRE(text.Create(parent, WS_CHILD | WS_VISIBLE | WS_VSCROLL, 5));
    MoveWindow(text.GetHwnd(), 0, 0, ScaleX(240), ScaleY(200), TRUE);
    text.SetFonts(Skin::Get()->GetBoldFont(), Skin::Get()->GetPlainFont());
    Pump();
  }
  ~TextFixture() {
    DestroyWindow(parent);
    Pump();
  }
  void Rows(int count) {
    text.Clear();
    for (int i = 0; i < count; ++i) {
      wchar_t value[32];
      wsprintfW(value, L"555 01%02d", i);
      text.AddField(Str(L"Work"), Str(value), Str(), kPhone, i == count - 1 ? 8 : 0,
                    Skin::Get()->GetPhoneIcon());
    }
    text.Relayout();
    Pump();
  }
  HWND Window() const { return text.GetHwnd(); }
};

POINT Offset(POINT at, int dx, int dy) {
  at.x += dx;
  at.y += dy;
  return at;
}

std::string LongNote(int lines) {
  std::string note;
  for (int i = 0; i < lines; ++i) note += "Line " + std::to_string(i) + " of the note\r\n";
  return note;
}

}  // namespace

TEST_CASE("a tap that moves by 2 pixels still counts; one that moves by 3 does not") {
  TextFixture page;
  page.Rows(3);
  int row = FindRow(page.text, L"555 0101");
  POINT at;
  REQUIRE(TextPoint(page.text, row, at));

  Down(page.Window(), at);
  Move(page.Window(), Offset(at, 2, 0));
  Move(page.Window(), Offset(at, 2, 2));
  Up(page.Window(), Offset(at, 2, 2));
  REQUIRE(Reports().size() == 1);
  CHECK(Reports()[0].section == kPhone);
  CHECK(Reports()[0].key == 0);
  CHECK(Reports()[0].text == L"555 0101");
  CHECK(page.text.SelEnd() == row);

  Reports().clear();
  Down(page.Window(), at);
  Move(page.Window(), Offset(at, 0, 3));
  Up(page.Window(), Offset(at, 0, 3));
  CHECK(Reports().empty());

  Down(page.Window(), at);
  Move(page.Window(), Offset(at, -3, 0));
  Up(page.Window(), Offset(at, -3, 0));
  CHECK(Reports().empty());

  // A tap on nothing, below the rows, reports no row.
  RECT client;
  GetClientRect(page.Window(), &client);
  POINT below = {client.right / 2, client.bottom - 2};
  Down(page.Window(), below);
  Up(page.Window(), below);
  REQUIRE(Reports().size() == 1);
  CHECK(Reports()[0].section == -1);
  CHECK(page.text.SelEnd() == -1);
}

TEST_CASE("a hold of 500 ms without moving opens the copy menu and no notification follows") {
  TextFixture page;
  page.Rows(3);
  POINT at;
  REQUIRE(TextPoint(page.text, FindRow(page.text, L"555 0100"), at));
  Down(page.Window(), at);
  // Not yet at 400 ms.
  CHECK(PumpWatchingMenu(400, false) == 0);
  std::vector<std::wstring> entries;
  CHECK(PumpWatchingMenu(600, false, &entries) == 1);
  CHECK(entries == std::vector<std::wstring>{L"Copy"});
  Up(page.Window(), at);
  Pump(50);
  CHECK(Reports().empty());

  // A hold that moved by 3 pixels first is no hold.
  Down(page.Window(), at);
  Move(page.Window(), Offset(at, 3, 0));
  CHECK(PumpWatchingMenu(800, false) == 0);
  Up(page.Window(), Offset(at, 3, 0));
  CHECK(Reports().empty());
}

TEST_CASE(
    "copy with the label selected gives label, colon, blank and value; with the value, the value only") {
  TextFixture page;
  page.Rows(3);
  int row = FindRow(page.text, L"555 0102");
  POINT at;
  SetClipboardText(L"before");

  REQUIRE(LabelPoint(page.text, row, at));
  Down(page.Window(), at);
  CHECK(page.text.SelMode() == 1);
  CHECK(PumpWatchingMenu(900, true) == 1);
  Up(page.Window(), at);
  CHECK(ClipboardText() == L"Work: 555 0102");

  SetClipboardText(L"before");
  page.text.Clear();
  page.Rows(3);
  REQUIRE(TextPoint(page.text, row, at));
  Down(page.Window(), at);
  CHECK(page.text.SelMode() == 2);
  CHECK(PumpWatchingMenu(900, true) == 1);
  Up(page.Window(), at);
  CHECK(ClipboardText() == L"555 0102");
  CHECK(Reports().empty());

  // A selection drawn over two rows copies both, one line each.
  SetClipboardText(L"before");
  POINT first, second;
  REQUIRE(TextPoint(page.text, FindRow(page.text, L"555 0100"), first));
  REQUIRE(TextPoint(page.text, FindRow(page.text, L"555 0101"), second));
  Down(page.Window(), first);
  Move(page.Window(), second);
  Up(page.Window(), second);
  CHECK(page.text.SelectionText() == Str(L"555 0100\r\n555 0101"));
}

TEST_CASE("a transparent head picture is drawn at its own size, its black left out") {
  TextFixture page;
  const int width = ScaleX(30), height = ScaleY(20);
  HDC screen = GetDC(nullptr);
  HBITMAP picture = CreateCompatibleBitmap(screen, width, height);
  HDC memory = CreateCompatibleDC(screen);
  HGDIOBJ old = SelectObject(memory, picture);
  RECT all = {0, 0, width, height};
  FillRect(memory, &all, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  RECT inner = {2, 2, width - 2, height - 2};
  HBRUSH red = CreateSolidBrush(RGB(255, 0, 0));
  FillRect(memory, &inner, red);
  DeleteObject(red);
  SelectObject(memory, old);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);

  page.text.Clear();
  page.text.SetHead(picture, Str(L"<B>Ola</B>"), 0, 0, TRUE);
  page.text.Relayout();
  Pump(50);
  CHECK(page.text.Item(0).imageWidth == width);
  CHECK(page.text.Item(0).imageHeight == height);
  const int x = (Skin::dpiX + 24) * 2 / 96, y = (Skin::dpiY + 16) * 3 / 96;
  HDC dc = GetDC(page.Window());
  CHECK(GetPixel(dc, x + 2, y + 2) == RGB(255, 0, 0));
  CHECK(GetPixel(dc, x + width - 3, y + height - 3) == RGB(255, 0, 0));
  // The black frame shows the white page; nothing of the picture lies beyond its own size.
  CHECK(GetPixel(dc, x, y) == RGB(255, 255, 255));
  CHECK(GetPixel(dc, x + width + 1, y + height - 3) == RGB(255, 255, 255));
  CHECK(GetPixel(dc, x + 2, y + height + 1) == RGB(255, 255, 255));

  // Not transparent, the frame is drawn.
  page.text.Clear();
  page.text.SetHead(picture, Str(L"<B>Ola</B>"), 0, 0, FALSE);
  page.text.Relayout();
  Pump(50);
  CHECK(GetPixel(dc, x, y) == RGB(0, 0, 0));
  ReleaseDC(page.Window(), dc);
  page.text.Clear();
  DeleteObject(picture);
}

TEST_CASE("with the note visible, Down past the last row moves on through the note in steps of 2") {
  TextFixture page;
  page.Rows(4);
  std::string note = LongNote(80);
  page.text.SetNote(reinterpret_cast<const BYTE*>(note.data()), static_cast<uint32_t>(note.size()), 12);
  page.text.Relayout();
  Pump(50);
  REQUIRE(page.text.NoteVisible());
  REQUIRE(IsWindowVisible(page.text.NoteWindow()));
  wchar_t shown[64] = L"";
  GetWindowTextW(page.text.NoteWindow(), shown, 64);
  CHECK(std::wstring(shown).find(L"Line 0 of the note") == 0);
  // The note scrolls on its own beyond the rows.
  REQUIRE(page.text.AllMax() > page.text.TextMax());

  int last = FindRow(page.text, L"555 0103");
  for (int i = 0; i < 4; ++i) Key(page.Window(), VK_DOWN);
  REQUIRE(page.text.SelEnd() == last);
  int steps = 0;
  while (page.text.AllPos() < page.text.AllMax() && steps < 100) {
    int before = page.text.AllPos();
    Key(page.Window(), VK_DOWN);
    int expected = before + 2 < page.text.AllMax() ? before + 2 : page.text.AllMax();
    CHECK(page.text.AllPos() == expected);
    CHECK(page.text.SelEnd() == last);
    ++steps;
  }
  CHECK(page.text.AllPos() == page.text.AllMax());
  SCROLLINFO info = {sizeof info, SIF_POS, 0, 0, 0, 0, 0};
  REQUIRE(GetScrollInfo(page.text.NoteWindow(), SB_VERT, &info));
  CHECK(info.nPos == page.text.AllMax() - page.text.TextMax());
  // The rows are out of view: the note stands at the top.
  RECT noteRect;
  GetWindowRect(page.text.NoteWindow(), &noteRect);
  MapWindowPoints(nullptr, page.Window(), reinterpret_cast<POINT*>(&noteRect), 2);
  CHECK(noteRect.top <= 0);
}

TEST_CASE("Clear followed by a new contact has scroll position 0 and no selection") {
  TextFixture page;
  page.Rows(30);
  SendMessageW(page.Window(), WM_VSCROLL, SB_BOTTOM, 0);
  REQUIRE(page.text.TextPos() > 0);
  POINT at;
  int row = page.text.ItemCount() - 1;
  REQUIRE(TextPoint(page.text, row, at));
  Down(page.Window(), at);
  Up(page.Window(), at);
  REQUIRE(page.text.SelEnd() == row);

  page.text.Clear();
  page.Rows(30);
  CHECK(page.text.TextPos() == 0);
  CHECK(page.text.AllPos() == 0);
  CHECK(page.text.SelAnchor() == -1);
  CHECK(page.text.SelEnd() == -1);
  CHECK(GetScrollPos(page.Window(), SB_VERT) == 0);
  CHECK(page.text.ItemTop(0) == 0);
}

TEST_CASE("keys: Up and Down select rows, Left reports no row, Return and Right report the selected row") {
  TextFixture page;
  page.Rows(3);
  Key(page.Window(), VK_DOWN);
  CHECK(page.text.SelEnd() == 0);
  Key(page.Window(), VK_DOWN);
  Key(page.Window(), VK_UP);
  CHECK(page.text.SelEnd() == 0);
  Key(page.Window(), VK_LEFT);
  REQUIRE(Reports().size() == 1);
  CHECK(Reports()[0].section == -1);
  CHECK(Reports()[0].key == VK_LEFT);
  Key(page.Window(), VK_RIGHT);
  SendMessageW(page.Window(), WM_CHAR, VK_RETURN, 1);
  REQUIRE(Reports().size() == 3);
  CHECK(Reports()[1].key == VK_RIGHT);
  CHECK(Reports()[1].text == L"555 0100");
  CHECK(Reports()[2].key == VK_RETURN);
  CHECK(Reports()[2].section == kPhone);
  // Other keys go to the parent, and so does the End key's release.
  SendMessageW(page.Window(), WM_KEYDOWN, 'Q', 1);
  SendMessageW(page.Window(), WM_KEYUP, VK_F4, 0xC0000001);
  CHECK(ParentMessages() == std::vector<UINT>{WM_KEYDOWN, WM_KEYUP});
}
