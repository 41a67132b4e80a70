#include "PhoneMenuTestSupport.h"

#include <doctest/doctest.h>

#include "ImportHook.h"
#include "MessagePump.h"
#include "WideText.h"
#include "presentation/Skin.h"

namespace phonemenutest {

// --- DrawTextW, recorded ---------------------------------------------------------------------------------

namespace {

decltype(&DrawTextW) realDrawText = nullptr;
// Set while the list's owner draws a line of the menu.
bool g_inMenuLine = false;

int WINAPI RecordDrawText(HDC dc, LPCWSTR text, int count, LPRECT rect, UINT flags) {
  const DrawnText drawn{U8(text, count), *rect, flags, GetTextColor(dc)};
  Drawn().push_back(drawn);
  if (g_inMenuLine) DrawnInMenu().push_back(drawn);
  return realDrawText(dc, text, count, rect, flags);
}

LRESULT CALLBACK ParentProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return DefWindowProcW(window, message, wParam, lParam);
}

bool IsDark(COLORREF c) { return GetRValue(c) + GetGValue(c) + GetBValue(c) < 3 * 0x60; }

}  // namespace

std::vector<DrawnText>& Drawn() {
  static std::vector<DrawnText> drawn;
  return drawn;
}

std::vector<DrawnText>& DrawnInMenu() {
  static std::vector<DrawnText> drawn;
  return drawn;
}

const DrawnText* FindDrawn(const std::string& text) {
  for (const DrawnText& drawn : Drawn())
    if (drawn.text == text) return &drawn;
  return nullptr;
}

const DrawnText* FindDrawnInMenu(const std::string& text) {
  for (const DrawnText& drawn : DrawnInMenu())
    if (drawn.text == text) return &drawn;
  return nullptr;
}

void SetUpOnce() {
  static bool done = false;
  if (done) return;
  done = true;
  listtest::StartSkinAndFonts();
  WNDCLASSW parent = {};
  parent.lpfnWndProc = ParentProc;
  parent.hInstance = GetModuleHandleW(nullptr);
  parent.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
  parent.lpszClassName = L"PhoneMenuTestParent";
  RegisterClassW(&parent);
  realDrawText = reinterpret_cast<decltype(&DrawTextW)>(importhook::Replace(
      GetModuleHandleW(nullptr), "user32.dll", "DrawTextW", reinterpret_cast<void*>(&RecordDrawText)));
}

Contact Person(const wchar_t* last, const wchar_t* first) {
  Contact contact;
  contact.text[ContactField::LastName] = last;
  contact.text[ContactField::FirstName] = first;
  return contact;
}

Contact With(Contact contact, int field, const wchar_t* value) {
  contact.text[field] = value;
  return contact;
}

HFONT MakeItemFont() {
  LOGFONTW font = {};
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof font, &font);
  font.lfHeight = Skin::isHighRes ? 28 : 14;
  font.lfWidth = 0;
  font.lfWeight = 200;
  return CreateFontIndirectW(&font);
}

int TextWidth(HFONT font, const std::wstring& text) {
  HDC dc = GetDC(nullptr);
  HGDIOBJ old = SelectObject(dc, font);
  SIZE size = {0, 0};
  if (!text.empty()) GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
  SelectObject(dc, old);
  ReleaseDC(nullptr, dc);
  return size.cx;
}

// --- the source, the listener, the list ---------------------------------------------------------------------

void Recorder::OnKeyDown(HWND, UINT key, LPARAM) { calls.push_back("key " + std::to_string(key)); }
void Recorder::OnActivate(int group, int item) {
  calls.push_back("activate " + std::to_string(group) + " " + std::to_string(item));
}
void Recorder::OnClicked(int group, int item, BOOL) {
  calls.push_back("click " + std::to_string(group) + " " + std::to_string(item));
}
void Recorder::OnPhoneMenuUsed(CEOID id) { calls.push_back("phone menu " + std::to_string(id)); }
void Recorder::OnDialed() { calls.push_back("dialed"); }
bool Recorder::Has(const std::string& call) const {
  for (const std::string& c : calls)
    if (c == call) return true;
  return false;
}

TestList::TestList() : ContactList(GetModuleHandleW(nullptr)) {}

LRESULT TestList::OnMeasureItem(WPARAM wParam, LPARAM lParam) {
  const LRESULT result = ContactList::OnMeasureItem(wParam, lParam);
  const MEASUREITEMSTRUCT* item = reinterpret_cast<const MEASUREITEMSTRUCT*>(lParam);
  measured.push_back(Measured{item->itemData, item->itemWidth, item->itemHeight, result});
  return result;
}

LRESULT TestList::OnDrawItem(WPARAM wParam, LPARAM lParam) {
  g_inMenuLine = true;
  const LRESULT result = ContactList::OnDrawItem(wParam, lParam);
  g_inMenuLine = false;
  const DRAWITEMSTRUCT* item = reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
  DrawnItem drawn{item->itemData, item->itemState, item->rcItem, CLR_INVALID, 0, 0};
  HDC dc = item->hDC;
  const RECT& box = item->rcItem;
  drawn.background = GetPixel(dc, box.right - 2, box.top + 1);
  const int left = box.left + ScaleX(6);
  const int width = phoneMenu.CheckWidth(), height = phoneMenu.CheckHeight();
  const int top = box.top + (box.bottom - box.top - height) / 2;
  for (int y = top; y < top + height; ++y) {
    for (int x = left; x < left + width; ++x)
      if (IsDark(GetPixel(dc, x, y))) ++drawn.darkInCheck;
    for (int x = box.left; x < left; ++x)
      if (IsDark(GetPixel(dc, x, y))) ++drawn.darkLeftOfCheck;
  }
  drawnItems.push_back(drawn);
  return result;
}

BOOL BracketTemplates::FormatNumber(Str& number) const {
  if (number.IsEmpty()) return FALSE;
  number = L"[" + number + L"]";
  return TRUE;
}

// --- the fixture ------------------------------------------------------------------------------------------

ListFixture::ListFixture(int top) {
  SetUpOnce();
  Drawn().clear();
  DrawnInMenu().clear();
  const int width = GetSystemMetrics(SM_CXSCREEN);
  const int height = ScaleY(120);
  parent = CreateWindowExW(WS_EX_TOPMOST, L"PhoneMenuTestParent", L"contacts", WS_POPUP | WS_VISIBLE, 0, top,
                           width, height, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
  REQUIRE(parent != nullptr);
  REQUIRE(list.Create(parent, WS_CHILD | WS_VSCROLL));
  list.Control().SetNoGesture(TRUE);
  MoveWindow(list.ContactWindow(), 0, 0, width, height, FALSE);
  ShowWindow(list.ContactWindow(), SW_SHOW);
  list.SetListener(&listener);
  list.SetTemplates(&templates);
  SetForegroundWindow(parent);
  Pump();
}

ListFixture::~ListFixture() {
  DestroyWindow(parent);
  Pump();
}

std::vector<CEOID> ListFixture::Show(const std::vector<Contact>& contacts) {
  std::vector<CEOID> ids;
  for (const Contact& contact : contacts) ids.push_back(source.Put(contact));
  source.ShowFlat(ids);
  list.SetSource(&source);
  list.Recalculate();
  Settle();
  return ids;
}

POINT ListFixture::PhoneColumn(int row) {
  const RECT rect = list.Control().RowRect(row);
  return POINT{list.Control().ClientRect().right - ScaleX(4) - 1, (rect.top + rect.bottom) / 2};
}

void ListFixture::Tap(POINT point) {
  PostMessageW(Window(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(point.x, point.y));
  PostMessageW(Window(), WM_LBUTTONUP, 0, MAKELPARAM(point.x, point.y));
  Pump(50);
}

void ListFixture::Settle() {
  UpdateWindow(Window());
  Pump();
  Drawn().clear();
  DrawnInMenu().clear();
  listener.calls.clear();
  list.measured.clear();
  list.drawnItems.clear();
}

// --- the menu driver ---------------------------------------------------------------------------------------

namespace {

MenuVisit* g_visit = nullptr;
int g_ticks = 0;
int g_hoverTicks = 0;

bool MovePointer(int x, int y) {
  const int cx = GetSystemMetrics(SM_CXSCREEN), cy = GetSystemMetrics(SM_CYSCREEN);
  INPUT move{};
  move.type = INPUT_MOUSE;
  move.mi.dx = static_cast<LONG>((static_cast<long long>(x) * 65536 + cx - 1) / cx);
  move.mi.dy = static_cast<LONG>((static_cast<long long>(y) * 65536 + cy - 1) / cy);
  move.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
  POINT at{};
  return SendInput(1, &move, sizeof move) == 1 && GetCursorPos(&at) && at.x == x && at.y == y;
}

bool Click(int x, int y) {
  if (!MovePointer(x, y)) return false;
  INPUT buttons[2] = {};
  buttons[0].type = buttons[1].type = INPUT_MOUSE;
  buttons[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
  buttons[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
  return SendInput(2, buttons, sizeof(INPUT)) == 2;
}

POINT Centre(const RECT& rect) { return POINT{(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2}; }

void ReadMenu(HWND menuWindow, HMENU menu, MenuVisit& visit) {
  GetWindowRect(menuWindow, &visit.window);
  const int count = GetMenuItemCount(menu);
  for (int i = 0; i < count; ++i) {
    MENUITEMINFOW info = {};
    info.cbSize = sizeof info;
    info.fMask = MIIM_FTYPE | MIIM_ID | MIIM_STATE | MIIM_DATA;
    GetMenuItemInfoW(menu, static_cast<UINT>(i), TRUE, &info);
    visit.lines.push_back(MenuLine{(info.fType & MFT_SEPARATOR) != 0, (info.fType & MFT_OWNERDRAW) != 0,
                                   (info.fState & MFS_CHECKED) != 0, info.wID, info.dwItemData});
    RECT rect = {0, 0, 0, 0};
    GetMenuItemRect(nullptr, menu, static_cast<UINT>(i), &rect);
    visit.itemRects.push_back(rect);
  }
}

void CALLBACK Tick(HWND, UINT, UINT_PTR, DWORD) {
  MenuVisit* visit = g_visit;
  if (!visit) return;
  ++g_ticks;
  HWND menuWindow = FindWindowW(L"#32768", nullptr);
  if (!menuWindow || !IsWindowVisible(menuWindow)) return;
  HMENU menu = reinterpret_cast<HMENU>(SendMessageW(menuWindow, MN_GETHMENU, 0, 0));
  if (!menu) return;
  if (!visit->seen) {
    ReadMenu(menuWindow, menu, *visit);
    visit->seen = true;
    if (visit->hover >= 0 && visit->hover < static_cast<int>(visit->itemRects.size())) {
      const POINT at = Centre(visit->itemRects[visit->hover]);
      MovePointer(at.x, at.y);
      g_hoverTicks = 4;
      return;
    }
  }
  if (g_hoverTicks > 0) {
    --g_hoverTicks;
    return;
  }
  if (visit->choose >= 0 && visit->choose < static_cast<int>(visit->itemRects.size())) {
    const POINT at = Centre(visit->itemRects[visit->choose]);
    const int choose = visit->choose;
    visit->choose = -2;
    visit->clickedByInput = Click(at.x, at.y);
    if (!visit->clickedByInput) {
      // Without real input, the keys do it: down to the line, then Return.
      for (int i = 0; i <= choose; ++i)
        if (!visit->lines[i].separator) PostMessageW(menuWindow, WM_KEYDOWN, VK_DOWN, 0);
      PostMessageW(menuWindow, WM_KEYDOWN, VK_RETURN, 0);
    }
    return;
  }
  if (visit->choose == -1) EndMenu();
}

}  // namespace

MenuDriver::MenuDriver(MenuVisit& visit) {
  g_visit = &visit;
  g_ticks = 0;
  g_hoverTicks = 0;
  // The pointer rests away from where menus open, so that no line starts out selected.
  MovePointer(1, 1);
  timer = SetTimer(nullptr, 0, 40, Tick);
}

MenuDriver::~MenuDriver() {
  KillTimer(nullptr, timer);
  g_visit = nullptr;
}

}  // namespace phonemenutest
