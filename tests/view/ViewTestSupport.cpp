#include "ViewTestSupport.h"
#include <doctest/doctest.h>
#include "MessagePump.h"
#include "presentation/ContactTemplate.h"
#include "presentation/Skin.h"
#include "presentation/UserFonts.h"

namespace viewtest {

namespace {

const wchar_t kParentClass[] = L"ContactViewTestParent";

LRESULT CALLBACK ParentProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NOTIFY) {
    const ContactTextNotify* report = reinterpret_cast<const ContactTextNotify*>(lParam);
    if (report->header.code == ContactTextWindow::kNotifyCode) {
      const wchar_t* text = reinterpret_cast<const wchar_t*>(wParam);
      Reports().push_back({report->section, report->isValue, report->key, text ? text : L""});
    }
    return 0;
  }
  if (message == ContactView::kDoneMessage || message == WM_KEYDOWN || message == WM_CHAR ||
      message == WM_KEYUP)
    ParentMessages().push_back(message);
  return DefWindowProcW(window, message, wParam, lParam);
}

struct MenuWatch {
  bool choose;
  int seen;
  bool answered;
  std::vector<std::wstring>* entries;
};
MenuWatch* g_watch;

void CALLBACK WatchMenu(HWND, UINT, UINT_PTR, DWORD) {
  if (!g_watch || g_watch->answered) return;
  HWND menu = FindWindowW(L"#32768", nullptr);
  if (!menu || !IsWindowVisible(menu)) return;
  ++g_watch->seen;
  g_watch->answered = true;
  HMENU handle = reinterpret_cast<HMENU>(SendMessageW(menu, MN_GETHMENU, 0, 0));
  if (handle && g_watch->entries) {
    for (int i = 0; i < GetMenuItemCount(handle); ++i) {
      wchar_t text[64] = L"";
      GetMenuStringW(handle, static_cast<UINT>(i), text, 64, MF_BYPOSITION);
      g_watch->entries->push_back(text);
    }
  }
  if (g_watch->choose) {
    PostMessageW(menu, WM_KEYDOWN, VK_DOWN, 0);
    PostMessageW(menu, WM_KEYDOWN, VK_RETURN, 0);
  } else {
    PostMessageW(menu, WM_KEYDOWN, VK_ESCAPE, 0);
  }
}

}  // namespace

void SetUpOnce() {
  static bool done = false;
  if (done) return;
  done = true;
  Skin::Start(GetModuleHandleW(nullptr));
  CreateAllFonts();
  if (!g_contactTemplate) {
    g_contactTemplate = new ContactTemplate;
    g_contactTemplate->SetDefaults();
  }
  WNDCLASSW parent = {};
  parent.lpfnWndProc = ParentProc;
  parent.hInstance = GetModuleHandleW(nullptr);
  parent.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
  parent.lpszClassName = kParentClass;
  RegisterClassW(&parent);
}

std::vector<Report>& Reports() {
  static std::vector<Report> reports;
  return reports;
}

std::vector<UINT>& ParentMessages() {
  static std::vector<UINT> messages;
  return messages;
}

HWND MakeParent(int width, int height) {
  SetUpOnce();
  Reports().clear();
  ParentMessages().clear();
  HWND window = CreateWindowExW(WS_EX_TOPMOST, kParentClass, L"page", WS_POPUP | WS_VISIBLE, 0, 0, width,
                                height, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
  SetForegroundWindow(window);
  return window;
}

int FindRow(const ContactTextWindow& window, const std::wstring& text) {
  for (int i = 0; i < window.ItemCount(); ++i) {
    const wchar_t* plain = window.Item(i).text.GetPlainText();
    if (plain && text == plain) return i;
  }
  return -1;
}

std::vector<std::wstring> RowTexts(const ContactTextWindow& window, int section) {
  std::vector<std::wstring> texts;
  for (int i = 0; i < window.ItemCount(); ++i) {
    const ContactTextItem& item = window.Item(i);
    if (item.kind != ItemField || item.section != section) continue;
    const wchar_t* plain = item.text.GetPlainText();
    texts.push_back(plain ? plain : L"");
  }
  return texts;
}

bool TextPoint(const ContactTextWindow& window, int row, POINT& at) {
  if (row < 0) return false;
  const ContactTextItem& item = window.Item(row);
  at.x = (item.textRect.left + item.textRect.right) / 2;
  at.y = window.ItemTop(row) + (item.textRect.top + item.textRect.bottom) / 2;
  RECT client;
  GetClientRect(window.GetHwnd(), &client);
  return at.y >= 0 && at.y < client.bottom;
}

bool LabelPoint(const ContactTextWindow& window, int row, POINT& at) {
  if (!TextPoint(window, row, at)) return false;
  at.x = window.LabelColumn() / 2;
  return true;
}

void Down(HWND window, POINT at) { SendMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(at.x, at.y)); }
void Move(HWND window, POINT at) { SendMessageW(window, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(at.x, at.y)); }
void Up(HWND window, POINT at) { SendMessageW(window, WM_LBUTTONUP, 0, MAKELPARAM(at.x, at.y)); }
void Key(HWND window, UINT key) {
  SendMessageW(window, WM_KEYDOWN, key, 1);
  SendMessageW(window, WM_KEYUP, key, 0xC0000001);
}

int PumpWatchingMenu(DWORD ms, bool choose, std::vector<std::wstring>* entries) {
  MenuWatch watch = {choose, 0, false, entries};
  g_watch = &watch;
  UINT_PTR timer = SetTimer(nullptr, 0, 50, WatchMenu);
  Pump(ms);
  KillTimer(nullptr, timer);
  g_watch = nullptr;
  return watch.seen;
}

std::wstring ClipboardText() {
  std::wstring text;
  if (!OpenClipboard(nullptr)) return text;
  HANDLE data = GetClipboardData(CF_UNICODETEXT);
  if (data) {
    const wchar_t* chars = static_cast<const wchar_t*>(GlobalLock(data));
    if (chars) text = chars;
    GlobalUnlock(data);
  }
  CloseClipboard();
  return text;
}

void SetClipboardText(const std::wstring& text) {
  if (!OpenClipboard(nullptr)) return;
  EmptyClipboard();
  HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t));
  memcpy(GlobalLock(block), text.c_str(), (text.size() + 1) * sizeof(wchar_t));
  GlobalUnlock(block);
  SetClipboardData(CF_UNICODETEXT, block);
  CloseClipboard();
}

std::string U8(const std::wstring& text) {
  int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()), nullptr, 0, nullptr,
                                 nullptr);
  std::string out(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()), &out[0], size, nullptr,
                      nullptr);
  return out;
}

}  // namespace viewtest
