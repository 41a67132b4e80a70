// The rows' window alone under a recording parent: taps and their slop, the hold and its copy menu,
// the copy texts of both selection modes, the transparent head picture, scrolling through the note
// with the Down key, and clearing.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include "MessagePump.h"
#include "ViewTestSupport.h"
#include "presentation/Skin.h"
#include "presentation/UserFonts.h"

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

namespace {

// Sends the note control's request for its copy menu once, from a timer of the thread, so that a menu it
// might open runs inside the watch of PumpWatchingMenu.
HWND g_menuTarget = nullptr;
HWND g_menuNote = nullptr;

void CALLBACK AskForNoteMenu(HWND, UINT, UINT_PTR timer, DWORD) {
  KillTimer(nullptr, timer);
  NMHDR header = {g_menuNote, static_cast<UINT_PTR>(GetDlgCtrlID(g_menuNote)),
                  ContactTextWindow::kNoteMenuNotify};
  SendMessageW(g_menuTarget, WM_NOTIFY, header.idFrom, reinterpret_cast<LPARAM>(&header));
}

std::wstring WindowText(HWND window) {
  wchar_t text[512] = L"";
  GetWindowTextW(window, text, 512);
  return text;
}

}  // namespace

TEST_CASE("the note's copy menu: a hold selects the note and Copy puts its text on the clipboard") {
  TextFixture page;
  page.Rows(2);
  const std::string note = "Prefers calls after ten.\r\nAsk about the map collection.";
  page.text.SetNote(reinterpret_cast<const BYTE*>(note.data()), static_cast<uint32_t>(note.size()), 12);
  page.text.Relayout();
  Pump(50);
  HWND control = page.text.NoteWindow();
  REQUIRE(IsWindowVisible(control));
  const std::wstring shown = WindowText(control);
  REQUIRE(shown.find(L"Prefers calls after ten.") == 0);

  // Nothing selected in the note: its request brings no menu.
  SetClipboardText(L"before");
  g_menuTarget = page.Window();
  g_menuNote = control;
  SetTimer(nullptr, 0, 10, AskForNoteMenu);
  CHECK(PumpWatchingMenu(300, true) == 0);
  CHECK(ClipboardText() == L"before");

  // A hold in the note selects its text and asks for the menu: the one entry "Copy" copies the note.
  RECT noteRect;
  GetClientRect(control, &noteRect);
  POINT at = {noteRect.right / 2, 4};
  Down(control, at);
  std::vector<std::wstring> entries;
  CHECK(PumpWatchingMenu(900, true, &entries) == 1);
  Up(control, at);
  CHECK(entries == std::vector<std::wstring>{L"Copy"});
  CHECK(SendMessageW(control, ContactTextWindow::kNoteHasSelection, 0, 0) != 0);
  CHECK(ClipboardText() == shown);
  // The rows' own selection and reports are not touched by the note's menu.
  CHECK(page.text.SelEnd() == -1);
  CHECK(Reports().empty());

  // The menu dismissed: nothing is copied.
  SetClipboardText(L"before");
  Down(control, at);
  CHECK(PumpWatchingMenu(900, false) == 1);
  Up(control, at);
  CHECK(ClipboardText() == L"before");
}

TEST_CASE("a drag beyond the rows' edge scrolls every 200 ms by its distance, extending the selection") {
  TextFixture page;
  page.Rows(30);
  const int unit = (Skin::dpiY * 10 + 48) / 96;
  RECT client;
  GetClientRect(page.Window(), &client);
  int lastInView = -1;
  for (int i = 0; i < page.text.ItemCount(); ++i)
    if (page.text.ItemTop(i) + page.text.Item(i).rect.bottom <= client.bottom) lastInView = i;
  REQUIRE(lastInView > 0);
  REQUIRE(lastInView < page.text.ItemCount() - 1);

  POINT at;
  REQUIRE(TextPoint(page.text, 0, at));
  Down(page.Window(), at);
  Move(page.Window(), Offset(at, 0, 4));
  CHECK(page.text.SelAnchor() == 0);
  // Two units below the edge: each tick moves (2 units + 1 unit) / unit = 3 steps.
  POINT below = {at.x, client.bottom + 2 * unit};
  Move(page.Window(), below);
  CHECK(page.text.AllPos() == 0);
  Pump(500);
  const int moved = page.text.AllPos();
  CHECK(moved >= 3);
  CHECK(moved % 3 == 0);
  CHECK(moved <= 9);
  CHECK(page.text.SelAnchor() == 0);
  CHECK(page.text.SelEnd() > lastInView);
  CHECK(GetScrollPos(page.Window(), SB_VERT) == moved);

  // Back inside: the scrolling stops, and the selection follows the pointer.
  Move(page.Window(), at);
  Pump(450);
  CHECK(page.text.AllPos() == moved);

  // Above the top, half a unit out: one step back on each tick, until the release stops it.
  POINT above = {at.x, -unit / 2};
  Move(page.Window(), above);
  Pump(450);
  const int back = page.text.AllPos();
  CHECK(back < moved);
  CHECK(back >= moved - 3);
  CHECK(page.text.SelEnd() < page.text.ItemCount());
  Up(page.Window(), above);
  Pump(450);
  CHECK(page.text.AllPos() == back);
  CHECK(Reports().empty());
}

TEST_CASE("a mail address too wide for its row breaks after the '@', not inside a word") {
  TextFixture page;
  page.text.Clear();
  const Str mail(L"<#004080><I>greta.hollis@quarrylane-antiquarian-booksellers.example</I></#>");
  page.text.AddField(Str(L"E-mail"), mail, Str(), 2, 8, Skin::Get()->GetMailIcon());
  page.text.Relayout();
  Pump(50);
  REQUIRE(page.text.ItemCount() == 1);
  const ContactTextItem& row = page.text.Item(0);
  const wchar_t* plain = row.text.GetPlainText();
  REQUIRE(plain != nullptr);
  const int width = row.textRect.right - row.textRect.left;
  MarkupLines lines;
  row.text.BreakLines(width, kMarkupMeasureFlags | kMarkupAddressBreak, lines);
  REQUIRE(lines.GetCount() >= 2);
  CHECK(row.textRect.bottom - row.textRect.top == lines.GetCount() * row.text.GetLineHeight());
  int start = 0;
  for (int i = 0; i < lines.GetCount(); ++i) {
    const int count = lines.charCount[i];
    CHECK(lines.width[i] <= width);
    // Every line but the last ends after a character an address breaks at.
    if (i + 1 < lines.GetCount()) CHECK(wcschr(L"@.-/\\_", plain[start + count - 1]) != nullptr);
    start += count;
  }
  CHECK(start == row.text.GetLength());

  // At a width that holds "greta.hollis@quarry": the line ends after the "@"; without the address rule
  // the address is cut inside the word "quarrylane".
  const std::wstring text = plain;
  const int fits = static_cast<int>(text.find(L"quarry")) + 6;
  int held = 0;
  for (int i = 0; i < fits; ++i) held += row.text.GetAdvance(i);
  MarkupLines byAddress, cut;
  row.text.BreakLines(held, kMarkupMeasureFlags | kMarkupAddressBreak, byAddress);
  row.text.BreakLines(held, kMarkupMeasureFlags, cut);
  REQUIRE(byAddress.GetCount() >= 2);
  REQUIRE(cut.GetCount() >= 2);
  CHECK(text.substr(0, byAddress.charCount[0]) == L"greta.hollis@");
  CHECK(text.substr(0, cut.charCount[0]) == L"greta.hollis@quarry");
  // The rest goes on after a hyphen in the same way.
  const std::wstring second = text.substr(byAddress.charCount[0], byAddress.charCount[1]);
  CHECK(second.back() == L'-');
}

TEST_CASE("the page's head asks for its name in bold Tahoma and for the rest of it in plain Tahoma") {
  TextFixture page;
  page.text.SetFonts(GetViewFont(true), GetViewFont(false));
  page.text.Clear();
  page.text.SetHead(nullptr, Str(L"<B>Greta Hollis</B> Owner"), 0, 8, FALSE);
  page.text.Relayout();
  Pump(50);
  REQUIRE(page.text.ItemCount() == 1);
  const MarkupText& head = page.text.Item(0).text;
  REQUIRE(head.GetFontCache() != nullptr);
  const MarkupCharAttr* attrs = head.GetAttrs();
  REQUIRE(attrs != nullptr);
  LOGFONTW name = {}, title = {}, label = {};
  REQUIRE(GetObjectW(head.GetFontCache()->GetFont(attrs[0].fontIndex, nullptr), sizeof name, &name) != 0);
  REQUIRE(GetObjectW(head.GetFontCache()->GetFont(attrs[head.GetLength() - 1].fontIndex, nullptr),
                     sizeof title, &title) != 0);
  REQUIRE(GetObjectW(GetViewFont(true), sizeof label, &label) != 0);
  CHECK(std::wstring(name.lfFaceName) == L"Tahoma");
  CHECK(name.lfWeight == FW_BOLD);
  CHECK(std::wstring(title.lfFaceName) == L"Tahoma");
  CHECK(title.lfWeight == FW_NORMAL);
  CHECK(name.lfHeight == title.lfHeight);
  // 8 points at the screen's density.
  CHECK(name.lfHeight == -static_cast<LONG>(Skin::dpiY * 8 / 72.0 + 0.5));
  // The labels' font is the bold one of the same face.
  CHECK(std::wstring(label.lfFaceName) == L"Tahoma");
  CHECK(label.lfWeight == FW_BOLD);
}
