// TitledDialog's banner, engraved title and colours read back from the screen, and the countdown of
// InfoProcessDlg run on the item's own dialog template and strings.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include <vector>
#include "foundation/InfoProcessDlg.h"
#include "foundation/LogicalResolution.h"
#include "foundation/TitledDialog.h"
#include "resources/resource.h"

namespace {

const UINT kTitledTemplate = 101;  // tests/foundation/test_windows.rc
const int kStaticId = 1019;

class Titled : public TitledDialog {
 public:
  explicit Titled(const wchar_t* text) : TitledDialog(kTitledTemplate, text) {}
};

HBITMAP SolidBitmap(int width, int height, COLORREF color) {
  HDC screen = GetDC(nullptr);
  HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  HDC dc = CreateCompatibleDC(screen);
  HGDIOBJ old = SelectObject(dc, bitmap);
  RECT all = {0, 0, width, height};
  HBRUSH brush = CreateSolidBrush(color);
  FillRect(dc, &all, brush);
  DeleteObject(brush);
  SelectObject(dc, old);
  DeleteDC(dc);
  ReleaseDC(nullptr, screen);
  return bitmap;
}

// A picture of the client area in memory, for pixel reads.
struct Picture {
  HDC dc = nullptr;
  HBITMAP bitmap = nullptr;
  HGDIOBJ old = nullptr;
  int width = 0;
  int height = 0;
  Picture(int w, int h) : width(w), height(h) {
    HDC screen = GetDC(nullptr);
    dc = CreateCompatibleDC(screen);
    bitmap = CreateCompatibleBitmap(screen, w, h);
    old = SelectObject(dc, bitmap);
    ReleaseDC(nullptr, screen);
  }
  ~Picture() {
    SelectObject(dc, old);
    DeleteObject(bitmap);
    DeleteDC(dc);
  }
  COLORREF At(int x, int y) const { return GetPixel(dc, x, y); }
};

RECT ClientRect(HWND window) {
  RECT rect;
  GetClientRect(window, &rect);
  return rect;
}

RECT ChildRect(HWND parent, int id) {
  RECT rect;
  GetWindowRect(GetDlgItem(parent, id), &rect);
  MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&rect), 2);
  return rect;
}

// The dialog as it stands on the screen.
void Capture(HWND window, Picture& into) {
  HDC dc = GetDC(window);
  BitBlt(into.dc, 0, 0, into.width, into.height, dc, 0, 0, SRCCOPY);
  ReleaseDC(window, dc);
}

// The dialog as the rules draw it: tiles of the banner, the title in light grey and in dark grey one
// pixel higher at (gap5, (banner - text height) / 2 - (dpiY + 24) * 2 / 96 + 1), grey below.
void Expected(Picture& into, HBITMAP banner, int bannerWidth, int bannerHeight, const wchar_t* title,
              HFONT font) {
  HDC source = CreateCompatibleDC(into.dc);
  HGDIOBJ oldBitmap = SelectObject(source, banner);
  for (int x = 0; x < into.width; x += bannerWidth)
    BitBlt(into.dc, x, 0, bannerWidth, bannerHeight, source, 0, 0, SRCCOPY);
  SelectObject(source, oldBitmap);
  DeleteDC(source);
  HGDIOBJ oldFont = font ? SelectObject(into.dc, font) : nullptr;
  int length = static_cast<int>(wcslen(title));
  SIZE size;
  GetTextExtentPoint32W(into.dc, title, length, &size);
  int x = (LogicalDpiX() * 5 + 48) / 96;
  int y = (bannerHeight - size.cy) / 2 - (LogicalDpiY() + 24) * 2 / 96 + 1;
  SetBkMode(into.dc, TRANSPARENT);
  SetTextColor(into.dc, 0x00E8E8E8);
  TextOutW(into.dc, x, y, title, length);
  SetTextColor(into.dc, 0x00222222);
  TextOutW(into.dc, x, y - 1, title, length);
  if (oldFont) SelectObject(into.dc, oldFont);
  RECT rest = {0, bannerHeight, into.width, into.height};
  HBRUSH grey = CreateSolidBrush(0x00CBCBCB);
  FillRect(into.dc, &rest, grey);
  DeleteObject(grey);
}

// Pixels that differ between the two pictures, outside `skip`.
int Differences(const Picture& a, const Picture& b, const RECT& skip) {
  int differences = 0;
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) {
      POINT at = {x, y};
      if (!PtInRect(&skip, at) && a.At(x, y) != b.At(x, y)) ++differences;
    }
  return differences;
}

int CountColor(const Picture& picture, const RECT& area, COLORREF color) {
  int count = 0;
  for (int y = area.top; y < area.bottom; ++y)
    for (int x = area.left; x < area.right; ++x)
      if (picture.At(x, y) == color) ++count;
  return count;
}

// On top, and wholly on the screen, so that every pixel reads back.
void PaintNow(HWND window) {
  SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOSIZE | SWP_SHOWWINDOW);
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
}

}  // namespace

TEST_CASE("TitledDialog: banner tiles, the engraved title and the grey below, read back from the screen") {
  const int tileWidth = 7, tileHeight = 20;
  HBITMAP banner = SolidBitmap(tileWidth, tileHeight, RGB(0, 160, 0));
  Titled dialog(L"Contacts");
  dialog.SetBanner(banner);
  CHECK(dialog.GetBannerHeight() == tileHeight);
  HWND made = dialog.CreateModeless(nullptr, TRUE);
  REQUIRE(made != nullptr);
  PaintNow(made);
  RECT client = ClientRect(made);
  Picture shown(client.right, client.bottom), expected(client.right, client.bottom);
  Capture(made, shown);
  Expected(expected, banner, tileWidth, tileHeight, L"Contacts", nullptr);
  RECT control = ChildRect(made, kStaticId);
  CHECK(Differences(shown, expected, control) == 0);
  // The title really stands in both greys on the banner.
  RECT band = {0, 0, client.right, tileHeight};
  CHECK(CountColor(shown, band, 0x00222222) > 10);
  CHECK(CountColor(shown, band, 0x00E8E8E8) > 0);
  CHECK(shown.At(client.right - 1, 0) == RGB(0, 160, 0));
  CHECK(shown.At(client.right - 1, tileHeight - 1) == RGB(0, 160, 0));
  CHECK(shown.At(client.right - 1, tileHeight) == 0x00CBCBCB);
  CHECK(shown.At(0, client.bottom - 1) == 0x00CBCBCB);
  dialog.Destroy();
  DeleteObject(banner);
}

TEST_CASE("TitledDialog: the title font given is the one drawn; without a banner all is grey") {
  const int tileWidth = 16, tileHeight = 24;
  HBITMAP banner = SolidBitmap(tileWidth, tileHeight, RGB(40, 40, 200));
  HFONT font = static_cast<HFONT>(GetStockObject(OEM_FIXED_FONT));
  Titled dialog(L"Wide title");
  dialog.SetBanner(banner);
  dialog.SetTitleFont(font);
  HWND made = dialog.CreateModeless(nullptr, TRUE);
  REQUIRE(made != nullptr);
  PaintNow(made);
  RECT client = ClientRect(made);
  Picture shown(client.right, client.bottom), expected(client.right, client.bottom);
  Capture(made, shown);
  Expected(expected, banner, tileWidth, tileHeight, L"Wide title", font);
  CHECK(Differences(shown, expected, ChildRect(made, kStaticId)) == 0);

  dialog.SetBanner(nullptr);
  CHECK(dialog.GetBannerHeight() == 0);
  PaintNow(made);
  Capture(made, shown);
  RECT all = {0, 0, client.right, client.bottom};
  RECT control = ChildRect(made, kStaticId);
  int grey = CountColor(shown, all, 0x00CBCBCB);
  int controlArea = (control.right - control.left) * (control.bottom - control.top);
  CHECK(grey >= client.right * client.bottom - controlArea);
  dialog.Destroy();
  DeleteObject(banner);
}

TEST_CASE("TitledDialog: static controls get the grey brush and a transparent background") {
  Titled dialog(L"Colours");
  HWND made = dialog.CreateModeless(nullptr, FALSE);
  REQUIRE(made != nullptr);
  HBRUSH brush = dialog.GetBackBrush();
  LOGBRUSH info = {};
  REQUIRE(GetObjectW(brush, sizeof(info), &info) == sizeof(info));
  CHECK(info.lbColor == 0x00CBCBCB);

  HDC dc = CreateCompatibleDC(nullptr);
  SetBkMode(dc, OPAQUE);
  LRESULT answer = SendMessageW(made, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc),
                                reinterpret_cast<LPARAM>(GetDlgItem(made, kStaticId)));
  CHECK(reinterpret_cast<HBRUSH>(answer) == brush);
  CHECK(GetBkMode(dc) == TRANSPARENT);
  DeleteDC(dc);

  // The background is never erased: OnPaint covers it all.
  Picture red(8, 8);
  RECT all = {0, 0, 8, 8};
  HBRUSH redBrush = CreateSolidBrush(RGB(255, 0, 0));
  FillRect(red.dc, &all, redBrush);
  DeleteObject(redBrush);
  SendMessageW(made, WM_ERASEBKGND, reinterpret_cast<WPARAM>(red.dc), 0);
  CHECK(red.At(3, 3) == RGB(255, 0, 0));
  LRESULT result = 0;
  CHECK(dialog.OnMessage(made, WM_ERASEBKGND, reinterpret_cast<WPARAM>(red.dc), 0, result));
  CHECK(result == 1);
  result = 77;
  CHECK_FALSE(dialog.OnMessage(made, WM_USER + 1, 0, 0, result));
  CHECK_FALSE(dialog.OnMessage(made, WM_CTLCOLOREDIT, 0, 0, result));
  dialog.Destroy();
}

namespace {

std::wstring ControlText(HWND dialog, int id) {
  wchar_t text[256] = L"";
  GetDlgItemTextW(dialog, id, text, 256);
  return text;
}

// Records the text after the start and after every tick, and counts the action.
class WatchedCountdown : public InfoProcessDlg {
 public:
  using InfoProcessDlg::InfoProcessDlg;
  bool driveTicks = false;  // posts the next tick at once instead of waiting for the timer
  bool clickCancel = false;
  int actions = 0;
  bool cancelHiddenAtAction = false;
  std::vector<std::wstring> texts;
  std::vector<int> remaining;
  RECT cancelRect = {};
  RECT client = {};
  std::wstring cancelLabel;
  int cancelId = 0;

  void OnCountdownEnd() override {
    ++actions;
    cancelHiddenAtAction = !IsWindowVisible(GetCancelButton());
  }
  BOOL OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override {
    BOOL handled = InfoProcessDlg::OnMessage(window, message, wParam, lParam, result);
    if (message == WM_INITDIALOG) {
      HWND cancel = GetCancelButton();
      wchar_t label[64] = L"";
      GetWindowTextW(cancel, label, 64);
      cancelLabel = label;
      cancelId = GetDlgCtrlID(cancel);
      GetClientRect(window, &client);
      cancelRect = ChildRect(window, cancelId);
      if (clickCancel) PostMessageW(cancel, BM_CLICK, 0, 0);
    }
    if (message == WM_INITDIALOG || (message == WM_TIMER && wParam == kTimerId)) {
      texts.push_back(ControlText(window, IDC_INFO_TEXT));
      remaining.push_back(GetRemaining());
      if (driveTicks && actions == 0) PostMessageW(window, WM_TIMER, kTimerId, 0);
    }
    return handled;
  }
};

void PumpFor(DWORD ms) {
  DWORD start = GetTickCount();
  MSG message;
  while (GetTickCount() - start < ms) {
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    Sleep(5);
  }
}

}  // namespace

TEST_CASE(
    "InfoProcessDlg: counts 3, 2, 1, shows the closing text for one step, then acts once and ends with 1") {
  WatchedCountdown dialog(L"Dialing...\n555 0100", 3000, 1000, L"555 0100");
  dialog.driveTicks = true;
  CHECK(dialog.DoModal(nullptr) == 1);
  std::vector<std::wstring> expected = {
      L"Waiting for 3 seconds...\n555 0100",
      L"Waiting for 2 seconds...\n555 0100",
      L"Waiting for 1 seconds...\n555 0100",
      L"Dialing...\n555 0100",
      L"Dialing...\n555 0100",  // the last tick acts and ends without a new text
  };
  CHECK(dialog.texts == expected);
  CHECK(dialog.remaining == std::vector<int>{3000, 2000, 1000, -1000, -2000});
  CHECK(dialog.actions == 1);
  CHECK(dialog.cancelHiddenAtAction);
  CHECK(dialog.GetHwnd() == nullptr);
}

TEST_CASE("InfoProcessDlg: the platform's timer 1 drives the countdown with the step") {
  WatchedCountdown dialog(L"Done", 60, 20);
  CHECK(dialog.DoModal(nullptr) == 1);
  CHECK(dialog.texts == std::vector<std::wstring>{L"Waiting for 0 seconds...", L"Waiting for 0 seconds...",
                                                  L"Waiting for 0 seconds...", L"Done", L"Done"});
  CHECK(dialog.actions == 1);
  // Timer 1 died with the dialog: nothing runs again.
  PumpFor(100);
  CHECK(dialog.actions == 1);
}

TEST_CASE("InfoProcessDlg: Cancel is the label of string 106 with id 1009 in the lower right corner") {
  WatchedCountdown dialog(L"Dialing...", 3000, 1000);
  dialog.clickCancel = true;
  CHECK(dialog.DoModal(nullptr) == IDCANCEL);
  CHECK(dialog.actions == 0);
  CHECK(dialog.cancelLabel == L"Cancel");
  CHECK(dialog.cancelId == 1009);
  int margin = (LogicalDpiX() * 5 + 48) / 96;
  CHECK(dialog.cancelRect.right == dialog.client.right - margin);
  CHECK(dialog.cancelRect.bottom == dialog.client.bottom - margin);
  CHECK(dialog.cancelRect.left > dialog.client.left);
  CHECK(dialog.cancelRect.top > dialog.client.top);
  // Cancel came before the first tick: only the opening text was ever shown.
  CHECK(dialog.texts == std::vector<std::wstring>{L"Waiting for 3 seconds..."});
}
