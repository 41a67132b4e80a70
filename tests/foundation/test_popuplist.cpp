// ModalPopupList: its items, and the modal loop of Track driven by real keys and taps. The input is sent
// or posted to the list's window from a timer that fires inside the loop, as the user's would be.
#include <doctest/doctest.h>
#include <windows.h>
#include <functional>
#include <string>
#include <vector>
#include "foundation/LogicalResolution.h"
#include "foundation/ModalPopupList.h"

namespace {

std::vector<std::wstring> Texts(const ModalPopupList& list) {
  std::vector<std::wstring> texts;
  for (int i = 0; i < list.GetCount(); ++i)
    texts.push_back(static_cast<const wchar_t*>(list.GetItem(i)->text));
  return texts;
}

// Every item's index is its place, and only the selected item carries the selected flag.
bool Consistent(const ModalPopupList& list) {
  for (int i = 0; i < list.GetCount(); ++i) {
    const PopupListItem* item = list.GetItem(i);
    if (item->index != i) return false;
    bool flagged = (item->flags & ModalPopupList::kSelectedFlag) != 0;
    if (flagged != (i == list.GetSelection())) return false;
  }
  return true;
}

void Fill(ModalPopupList& list, std::initializer_list<const wchar_t*> texts) {
  DWORD data = 1;
  for (const wchar_t* text : texts) list.AddItem(text, data++, ModalPopupList::AtEnd);
}

// --- running Track with input from inside its loop ---------------------------------------------------

ModalPopupList* tracked = nullptr;
std::function<void(ModalPopupList&)> whileTracking;
bool actionRan = false;

VOID CALLBACK RunWhileTracking(HWND, UINT, UINT_PTR id, DWORD) {
  KillTimer(nullptr, id);
  if (!tracked || !tracked->GetHwnd() || !whileTracking) return;
  std::function<void(ModalPopupList&)> action = whileTracking;
  whileTracking = nullptr;
  actionRan = true;
  action(*tracked);
}

// Ends a loop that a broken test left running, so that it fails instead of hanging.
VOID CALLBACK Watchdog(HWND, UINT, UINT_PTR id, DWORD) {
  KillTimer(nullptr, id);
  if (tracked && tracked->GetHwnd()) PostMessageW(tracked->GetHwnd(), ModalPopupList::kDoneMessage, 0, 0);
}

DWORD TrackWith(ModalPopupList& list, HWND parent, const RECT* area,
                std::function<void(ModalPopupList&)> action) {
  tracked = &list;
  whileTracking = action;
  actionRan = false;
  SetTimer(nullptr, 0, 10, RunWhileTracking);
  UINT_PTR watchdog = SetTimer(nullptr, 0, 10000, Watchdog);
  DWORD result = list.Track(parent, area);
  KillTimer(nullptr, watchdog);
  tracked = nullptr;
  return result;
}

void Post(ModalPopupList& list, UINT message, WPARAM wParam, LPARAM lParam = 0) {
  PostMessageW(list.GetHwnd(), message, wParam, lParam);
}
void Send(ModalPopupList& list, UINT message, WPARAM wParam, LPARAM lParam = 0) {
  SendMessageW(list.GetHwnd(), message, wParam, lParam);
}
void SendKey(ModalPopupList& list, UINT key) { Send(list, WM_KEYDOWN, key); }
void SendChar(ModalPopupList& list, wchar_t ch) { Send(list, WM_CHAR, ch); }

// A top-level window to pop the list up over, with an edit field that holds the focus.
struct Owner {
  HWND window;
  HWND edit;
  explicit Owner(const wchar_t* title = L"Owner title", RECT place = {0, 0, 200, 300}) {
    window = CreateWindowExW(0, L"STATIC", title, WS_POPUP | WS_VISIBLE, place.left, place.top,
                             place.right - place.left, place.bottom - place.top, nullptr, nullptr,
                             GetModuleHandleW(nullptr), nullptr);
    edit = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | WS_VISIBLE, 5, 5, 100, 20, window, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
    SetForegroundWindow(window);
    SetFocus(edit);
  }
  ~Owner() { DestroyWindow(window); }
};

// What the list's sizes are made of, measured as the list measures them: the system font on the screen.
struct Metrics {
  int rowHeight;
  int border;
  int margin;
  int widest;
};

Metrics Measure(const std::vector<std::wstring>& texts) {
  HDC screen = GetDC(nullptr);
  HGDIOBJ old = SelectObject(screen, GetStockObject(SYSTEM_FONT));
  TEXTMETRICW tm;
  GetTextMetricsW(screen, &tm);
  int widest = 0;
  for (const std::wstring& text : texts) {
    SIZE size;
    GetTextExtentPoint32W(screen, text.c_str(), static_cast<int>(text.size()), &size);
    if (size.cx > widest) widest = size.cx;
  }
  SelectObject(screen, old);
  ReleaseDC(nullptr, screen);
  int border = (LogicalDpiY() + 24) * 2 / 96;
  return Metrics{tm.tmHeight + tm.tmExternalLeading + border, border, (LogicalDpiX() + 12) * 4 / 96, widest};
}

RECT WindowRect(HWND window) {
  RECT rect = {};
  GetWindowRect(window, &rect);
  return rect;
}

}  // namespace

TEST_CASE("ModalPopupList: AddItem at the start, at the end and behind a given item") {
  ModalPopupList list;
  CHECK(list.AddItem(L"b", 2, ModalPopupList::AtEnd) == 0);
  CHECK(list.AddItem(L"d", 4, ModalPopupList::AtEnd) == 1);
  CHECK(list.AddItem(L"a", 1, ModalPopupList::AtStart) == 0);
  CHECK(list.AddItem(L"c", 3, ModalPopupList::Behind, 1) == 2);
  CHECK(list.AddItem(L"e", 5, ModalPopupList::Behind, 3) == 4);
  CHECK(Texts(list) == std::vector<std::wstring>{L"a", L"b", L"c", L"d", L"e"});
  for (int i = 0; i < list.GetCount(); ++i) CHECK(list.GetItem(i)->data == static_cast<DWORD>(i + 1));
  CHECK(Consistent(list));

  SetLastError(0);
  CHECK(list.AddItem(L"x", 9, ModalPopupList::Behind, 5) == -1);
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK(list.AddItem(L"x", 9, ModalPopupList::Behind, -1) == -1);
  CHECK(list.AddItem(L"x", 9, 0) == -1);
  CHECK(list.AddItem(L"x", 9, 5) == -1);
  CHECK(list.GetCount() == 5);
  CHECK(list.GetItem(5) == nullptr);
  CHECK(list.GetItem(-1) == nullptr);
}

TEST_CASE("ModalPopupList: sorted insertion by the locale's order, an equal text after its equals") {
  ModalPopupList list;
  list.AddItem(L"pear", 1, ModalPopupList::Sorted);
  list.AddItem(L"Apple", 2, ModalPopupList::Sorted);
  list.AddItem(L"fig", 3, ModalPopupList::Sorted);
  list.AddItem(L"banana", 4, ModalPopupList::Sorted);
  CHECK(list.AddItem(L"fig", 5, ModalPopupList::Sorted) == 3);
  CHECK(Texts(list) == std::vector<std::wstring>{L"Apple", L"banana", L"fig", L"fig", L"pear"});
  CHECK(list.GetItem(2)->data == 3);
  CHECK(list.GetItem(3)->data == 5);
  CHECK(Consistent(list));
}

TEST_CASE("ModalPopupList: the 101st item grows the slots by 100, and nothing is lost") {
  ModalPopupList list;
  CHECK(list.GetSlotCount() == 100);
  for (int i = 0; i < 100; ++i)
    list.AddItem(std::to_wstring(i).c_str(), static_cast<DWORD>(i), ModalPopupList::AtEnd);
  CHECK(list.GetSlotCount() == 100);
  CHECK(list.AddItem(L"100", 100, ModalPopupList::AtEnd) == 100);
  CHECK(list.GetSlotCount() == 200);
  CHECK(list.GetCount() == 101);
  for (int i = 0; i < 101; ++i) {
    CAPTURE(i);
    CHECK(list.GetItem(i)->data == static_cast<DWORD>(i));
    CHECK(list.GetItem(i)->index == i);
  }
  // An item put at the start of a full list moves all the others up by one.
  ModalPopupList front;
  for (int i = 0; i < 100; ++i) front.AddItem(L"x", static_cast<DWORD>(i), ModalPopupList::AtEnd);
  front.AddItem(L"first", 999, ModalPopupList::AtStart);
  CHECK(front.GetSlotCount() == 200);
  CHECK(front.GetItem(0)->data == 999);
  CHECK(front.GetItem(100)->data == 99);
  CHECK(Consistent(front));
}

TEST_CASE("ModalPopupList: removal closes the gap, and the selection moves to the item before") {
  ModalPopupList list;
  Fill(list, {L"a", L"b", L"c", L"d", L"e"});
  REQUIRE(list.SetSelection(3));
  CHECK(list.GetItem(3)->flags == ModalPopupList::kSelectedFlag);

  // An item before the selected one: the selection stays on the same item, one place lower.
  CHECK(list.RemoveItem(1));
  CHECK(Texts(list) == std::vector<std::wstring>{L"a", L"c", L"d", L"e"});
  CHECK(list.GetSelection() == 2);
  CHECK(list.GetItem(2)->data == 4);
  CHECK(Consistent(list));

  // An item behind it: nothing moves.
  CHECK(list.RemoveItem(3));
  CHECK(list.GetSelection() == 2);
  CHECK(Consistent(list));

  // The selected item itself: the one before it takes the selection.
  CHECK(list.RemoveItem(2));
  CHECK(Texts(list) == std::vector<std::wstring>{L"a", L"c"});
  CHECK(list.GetSelection() == 1);
  CHECK(list.GetItem(1)->data == 3);
  CHECK(Consistent(list));

  // The selected first item has none before it: nothing is selected then.
  REQUIRE(list.SetSelection(0));
  CHECK(list.RemoveItem(0));
  CHECK(list.GetSelection() == -1);
  CHECK(Consistent(list));

  SetLastError(0);
  CHECK_FALSE(list.RemoveItem(1));
  CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
  CHECK_FALSE(list.RemoveItem(-1));
  CHECK(list.GetCount() == 1);
  list.RemoveAll();
  CHECK(list.GetCount() == 0);
  CHECK(list.GetSelection() == -1);
}

TEST_CASE("ModalPopupList: an item added before the selected one keeps the selection on its item") {
  ModalPopupList list;
  Fill(list, {L"a", L"b"});
  REQUIRE(list.SetSelection(1));
  list.AddItem(L"z", 9, ModalPopupList::AtStart);
  CHECK(list.GetSelection() == 2);
  CHECK(list.GetItem(2)->data == 2);
  CHECK(Consistent(list));
  CHECK_FALSE(list.SetSelection(3));
  CHECK(list.SetSelection(-1));
  CHECK(Consistent(list));
}

TEST_CASE("ModalPopupList: Return confirms the selected item and Track gives its data") {
  Owner owner;
  ModalPopupList list;
  Fill(list, {L"one", L"two", L"three", L"four"});
  list.SetSelection(0);
  DWORD result = TrackWith(list, owner.window, nullptr, [](ModalPopupList& shown) {
    Post(shown, WM_KEYDOWN, VK_DOWN);
    Post(shown, WM_KEYDOWN, VK_DOWN);
    Post(shown, WM_KEYDOWN, VK_RETURN);
  });
  CHECK(actionRan);
  CHECK(result == 3);
  CHECK(list.GetSelection() == 2);
  // The window is gone after the loop, and the object is ready for another Track.
  CHECK(list.GetHwnd() == nullptr);
}

TEST_CASE("ModalPopupList: cancelling gives 0: a tap outside, Escape, or Return with nothing selected") {
  Owner owner;
  ModalPopupList list;
  Fill(list, {L"one", L"two"});
  list.SetSelection(1);
  CHECK(TrackWith(list, owner.window, nullptr, [](ModalPopupList& shown) {
          RECT frame = WindowRect(shown.GetHwnd());
          POINT outside = {frame.right + 20, frame.bottom + 20};
          ScreenToClient(shown.GetHwnd(), &outside);
          Post(shown, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(outside.x, outside.y));
        }) == 0);
  CHECK(actionRan);
  CHECK(list.GetHwnd() == nullptr);

  CHECK(TrackWith(list, owner.window, nullptr,
                  [](ModalPopupList& shown) { Post(shown, WM_KEYDOWN, VK_ESCAPE); }) == 0);
  CHECK(actionRan);

  list.SetSelection(-1);
  CHECK(TrackWith(list, owner.window, nullptr,
                  [](ModalPopupList& shown) { Post(shown, WM_KEYDOWN, VK_RETURN); }) == 0);
  CHECK(actionRan);
}

TEST_CASE("ModalPopupList: a tap on a row selects it and confirms it") {
  Owner owner;
  ModalPopupList list;
  Fill(list, {L"one", L"two", L"three"});
  DWORD result = TrackWith(list, owner.window, nullptr, [](ModalPopupList& shown) {
    int y = shown.GetRowHeight() + shown.GetRowHeight() / 2;  // the middle of the second row
    Post(shown, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(10, y));
    Post(shown, WM_LBUTTONUP, 0, MAKELPARAM(10, y));
  });
  CHECK(result == 2);
  CHECK(list.GetSelection() == 1);
}

TEST_CASE("ModalPopupList: a stylus that slides from row to row confirms where it is lifted") {
  Owner owner;
  ModalPopupList list;
  Fill(list, {L"one", L"two", L"three"});
  int selectedWhileDown = -2;
  DWORD result = TrackWith(list, owner.window, nullptr, [&](ModalPopupList& shown) {
    int row = shown.GetRowHeight();
    Send(shown, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(10, row / 2));
    Send(shown, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(10, 2 * row + row / 2));
    selectedWhileDown = shown.GetSelection();
    Post(shown, WM_LBUTTONUP, 0, MAKELPARAM(10, 2 * row + row / 2));
  });
  CHECK(selectedWhileDown == 2);
  CHECK(result == 3);
}

TEST_CASE("ModalPopupList: arrows, Home, End, Page Up and Page Down move the selection within the list") {
  Owner owner;
  ModalPopupList list;
  for (int i = 0; i < 30; ++i)
    list.AddItem((L"item " + std::to_wstring(i)).c_str(), static_cast<DWORD>(100 + i), ModalPopupList::AtEnd);
  RECT area = {0, 0, 200, 100};
  std::vector<int> seen;
  int visible = 0;
  DWORD result = TrackWith(list, owner.window, &area, [&](ModalPopupList& shown) {
    visible = shown.GetVisibleRows();
    SendKey(shown, VK_DOWN);  // nothing selected: the first
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_UP);  // stays at the first
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_NEXT);
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_RIGHT);
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_END);
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_DOWN);  // stays at the last
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_PRIOR);
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_LEFT);
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_HOME);
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_PRIOR);  // stays at the first
    seen.push_back(shown.GetSelection());
    SendKey(shown, VK_END);
    Post(shown, WM_KEYDOWN, VK_RETURN);
  });
  REQUIRE(visible > 1);
  REQUIRE(visible < 30);
  std::vector<int> expected = {0, 0, visible, visible + 1, 29, 29, 29 - visible, 28 - visible, 0, 0};
  CHECK(seen == expected);
  CHECK(result == 129);
}

TEST_CASE("ModalPopupList: letters and digits build a type-ahead text; Backspace takes one back") {
  Owner owner;
  ModalPopupList list;
  Fill(list, {L"Anna", L"Bert", L"Bruno", L"Brunhilde", L"Carl", L"2nd line"});
  std::vector<int> seen;
  std::vector<std::wstring> typed;
  DWORD result = TrackWith(list, owner.window, nullptr, [&](ModalPopupList& shown) {
    for (wchar_t ch : std::wstring(L"brunh")) {
      SendChar(shown, ch);
      seen.push_back(shown.GetSelection());
      typed.push_back(shown.GetTypedText());
    }
    SendKey(shown, VK_BACK);
    seen.push_back(shown.GetSelection());
    typed.push_back(shown.GetTypedText());
    SendChar(shown, L'-');  // neither a letter nor a digit: ignored
    typed.push_back(shown.GetTypedText());
    SendKey(shown, VK_DOWN);  // moving by key starts the text anew
    typed.push_back(shown.GetTypedText());
    SendChar(shown, L'2');
    seen.push_back(shown.GetSelection());
    Post(shown, WM_KEYDOWN, VK_RETURN);
  });
  // "b" finds Bert, "br" Bruno, and "brunh" Brunhilde; back to "brun" the search finds Bruno again.
  CHECK(seen == std::vector<int>{1, 2, 2, 2, 3, 2, 5});
  CHECK(typed == std::vector<std::wstring>{L"b", L"br", L"bru", L"brun", L"brunh", L"brun", L"brun", L""});
  CHECK(result == 6);
}

TEST_CASE(
    "ModalPopupList: Track sizes to whole rows, centred in a larger area, with no scroll bar when all fit") {
  Owner owner;
  ModalPopupList list;
  Fill(list, {L"short", L"a much longer text", L"mid"});
  Metrics m = Measure(Texts(list));
  RECT area = {20, 30, 220, 330};
  RECT placed = {};
  LONG style = 0;
  wchar_t title[64] = L"";
  TrackWith(list, owner.edit, &area, [&](ModalPopupList& shown) {
    placed = WindowRect(shown.GetHwnd());
    style = GetWindowLongW(shown.GetHwnd(), GWL_STYLE);
    GetWindowTextW(shown.GetHwnd(), title, 64);
    Post(shown, WM_KEYDOWN, VK_ESCAPE);
  });
  int width = m.widest + 2 * m.margin;
  int height = 3 * m.rowHeight + m.border;
  CHECK(placed.right - placed.left == width);
  CHECK(placed.bottom - placed.top == height);
  CHECK(placed.left == 20 + (200 - width) / 2);
  CHECK(placed.top == 30 + (300 - height) / 2);
  CHECK((static_cast<DWORD>(style) & 0x86800000) == 0x86800000);
  CHECK((style & WS_VSCROLL) == 0);
  // The title is that of the top-level window the list pops up over, not of the field under it.
  CHECK(std::wstring(title) == L"Owner title");
}

TEST_CASE("ModalPopupList: rows that don't fit give a scroll bar and as many whole rows as the area holds") {
  Owner owner;
  ModalPopupList list;
  for (int i = 0; i < 40; ++i)
    list.AddItem((L"row " + std::to_wstring(i)).c_str(), static_cast<DWORD>(i + 1), ModalPopupList::AtEnd);
  Metrics m = Measure(Texts(list));
  RECT area = {0, 10, 240, 110};
  RECT placed = {};
  LONG style = 0;
  int visible = 0, topAfterEnd = -1, scrollPos = -1;
  DWORD result = TrackWith(list, owner.window, &area, [&](ModalPopupList& shown) {
    placed = WindowRect(shown.GetHwnd());
    style = GetWindowLongW(shown.GetHwnd(), GWL_STYLE);
    visible = shown.GetVisibleRows();
    SendKey(shown, VK_END);
    topAfterEnd = shown.GetTopRow();
    scrollPos = GetScrollPos(shown.GetHwnd(), SB_VERT);
    Post(shown, WM_KEYDOWN, VK_RETURN);
  });
  int fit = (100 - m.border) / m.rowHeight;
  CHECK(visible == fit);
  CHECK(placed.bottom - placed.top == fit * m.rowHeight + m.border);
  CHECK(placed.right - placed.left == m.widest + 2 * m.margin + GetSystemMetrics(SM_CXVSCROLL));
  CHECK(placed.top == 10 + (100 - (fit * m.rowHeight + m.border)) / 2);
  CHECK((style & WS_VSCROLL) != 0);
  // The last row scrolled into view, and the scroll bar follows.
  CHECK(topAfterEnd == 40 - fit);
  CHECK(scrollPos == 40 - fit);
  CHECK(result == 40);
}

TEST_CASE("ModalPopupList: without an area the list takes the parent's window rectangle") {
  Owner owner(L"Parent", RECT{10, 20, 210, 220});
  ModalPopupList list;
  Fill(list, {L"x", L"y"});
  Metrics m = Measure(Texts(list));
  RECT placed = {};
  TrackWith(list, owner.window, nullptr, [&](ModalPopupList& shown) {
    placed = WindowRect(shown.GetHwnd());
    Post(shown, WM_KEYDOWN, VK_ESCAPE);
  });
  int width = m.widest + 2 * m.margin;
  int height = 2 * m.rowHeight + m.border;
  CHECK(placed.left == 10 + (200 - width) / 2);
  CHECK(placed.top == 20 + (200 - height) / 2);
}

TEST_CASE("ModalPopupList: the focus goes back where it was, and the window is destroyed") {
  Owner owner;
  REQUIRE(GetFocus() == owner.edit);
  ModalPopupList list;
  Fill(list, {L"x"});
  HWND shownWindow = nullptr;
  HWND focusWhileShown = nullptr;
  TrackWith(list, owner.window, nullptr, [&](ModalPopupList& shown) {
    shownWindow = shown.GetHwnd();
    focusWhileShown = GetFocus();
    Post(shown, WM_KEYDOWN, VK_ESCAPE);
  });
  CHECK(focusWhileShown == shownWindow);
  CHECK(GetFocus() == owner.edit);
  CHECK_FALSE(IsWindow(shownWindow));
}

TEST_CASE("ModalPopupList: the loop ends at its own message 1049 and not at another window's") {
  Owner owner;
  ModalPopupList list;
  Fill(list, {L"x", L"y"});
  list.SetSelection(1);
  bool stillShown = false;
  DWORD result = TrackWith(list, owner.window, nullptr, [&](ModalPopupList& shown) {
    PostMessageW(owner.window, 1049, 0, 0);
    // A second timer looks after the foreign message has been handled.
    whileTracking = [&](ModalPopupList& again) {
      stillShown = again.GetHwnd() != nullptr;
      Post(again, 1049, 0, 0);
    };
    SetTimer(nullptr, 0, 30, RunWhileTracking);
    (void)shown;
  });
  CHECK(stillShown);
  // The message alone is no confirmation.
  CHECK(result == 0);
}

TEST_CASE("ModalPopupList: rows are white, the selected one 0x00820000 with white text") {
  Owner owner;
  ModalPopupList list;
  Fill(list, {L"one", L"two", L"three"});
  list.SetSelection(1);
  COLORREF plainBack = 0, selectedBack = 0;
  bool whiteTextOnSelected = false, darkTextOnPlain = false;
  TrackWith(list, owner.window, nullptr, [&](ModalPopupList& shown) {
    HWND window = shown.GetHwnd();
    UpdateWindow(window);
    RECT client;
    GetClientRect(window, &client);
    int row = shown.GetRowHeight();
    HDC dc = GetDC(window);
    plainBack = GetPixel(dc, 1, row / 2);
    selectedBack = GetPixel(dc, 1, row + row / 2);
    for (int y = row; y < 2 * row; ++y)
      for (int x = 0; x < client.right; ++x)
        if (GetPixel(dc, x, y) == RGB(255, 255, 255)) whiteTextOnSelected = true;
    for (int y = 0; y < row; ++y)
      for (int x = 0; x < client.right; ++x)
        if (GetPixel(dc, x, y) == RGB(0, 0, 0)) darkTextOnPlain = true;
    ReleaseDC(window, dc);
    Post(shown, WM_KEYDOWN, VK_ESCAPE);
  });
  CHECK(plainBack == 0x00FFFFFF);
  CHECK(selectedBack == 0x00820000);
  CHECK(whiteTextOnSelected);
  CHECK(darkTextOnPlain);
}

TEST_CASE("ModalPopupList: an empty list shows nothing and gives 0") {
  Owner owner;
  ModalPopupList list;
  CHECK(TrackWith(list, owner.window, nullptr,
                  [](ModalPopupList& shown) { Post(shown, WM_KEYDOWN, VK_RETURN); }) == 0);
  CHECK_FALSE(actionRan);
}
