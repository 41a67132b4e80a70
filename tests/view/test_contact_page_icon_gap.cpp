// The rows of the contact page keep their values clear of their icons: a web address in italics and
// mail addresses, at every width where a line of them fills its box, end at least the page's gap left
// of the icon, measured in the pixels of the page itself.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "MessagePump.h"
#include "ViewTestSupport.h"
#include "presentation/Skin.h"

using namespace viewtest;

namespace {

int Gap5() { return (Skin::dpiX * 5 + 48) / 96; }

// The page's client area as pixels, drawn by the page itself into a bitmap of the screen's kind.
class PagePixels {
 public:
  explicit PagePixels(HWND window) {
    GetClientRect(window, &client);
    HDC screen = GetDC(window);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, client.right, client.bottom);
    HGDIOBJ old = SelectObject(memory, bitmap);
    SendMessageW(window, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(memory), PRF_CLIENT);
    SelectObject(memory, old);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = client.right;
    info.bmiHeader.biHeight = -client.bottom;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    pixels.resize(static_cast<size_t>(client.right) * client.bottom);
    GetDIBits(memory, bitmap, 0, client.bottom, pixels.data(), &info, DIB_RGB_COLORS);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(window, screen);
  }
  bool IsWhite(int x, int y) const {
    if (x < 0 || y < 0 || x >= client.right || y >= client.bottom) return true;
    return (pixels[static_cast<size_t>(y) * client.right + x] & 0xFFFFFF) == 0xFFFFFF;
  }

 private:
  RECT client;
  std::vector<DWORD> pixels;
};

struct RowGap {
  int iconLeft = -1;  // the icon's cell as the page's hit test gives it
  int inkRight = -1;  // the rightmost pixel of the value, -1 for none
};

// The icon's cell found by the page's own hit test along the row's middle line, and the rightmost ink
// of the value left of it, over the height of the value's lines.
RowGap Measure(const ContactTextWindow& page, const PagePixels& pixels, int row, int width) {
  RowGap gap;
  const ContactTextItem& item = page.Item(row);
  const int top = page.ItemTop(row);
  for (int x = 0; x < width && gap.iconLeft < 0; ++x) {
    int part = 0;
    if (page.HitTest(x, top + 1, part) == row && part == 3) gap.iconLeft = x;
  }
  if (gap.iconLeft < 0) return gap;
  for (int y = top + item.textRect.top; y < top + item.textRect.bottom; ++y)
    for (int x = page.LabelColumn() + Gap5(); x < gap.iconLeft; ++x)
      if (!pixels.IsWhite(x, y) && x > gap.inkRight) gap.inkRight = x;
  return gap;
}

struct PageFixture {
  HWND parent;
  ContactTextWindow text;
  PageFixture() {
    parent = MakeParent(ScaleX(240), ScaleY(320));
    REQUIRE(text.Create(parent, WS_CHILD | WS_VISIBLE, 5));
    text.SetFonts(Skin::Get()->GetBoldFont(), Skin::Get()->GetPlainFont());
    Pump();
  }
  ~PageFixture() {
    DestroyWindow(parent);
    Pump();
  }
};

}  // namespace

TEST_CASE("a web address in italics and the mail addresses end the page's gap left of their icons") {
  PageFixture page;
  const wchar_t* const web = L"http://quarrylane-books.example";
  const wchar_t* const mail = L"hedda.quistgaard@quarrylane-books.example";
  const wchar_t* const mail2 = L"hedda@quistgaard.example";
  int filled = 0;
  int webGapMin = 1 << 30;
  // Widths from where the address wraps well before its icon to where its first line fills the box.
  for (int width = ScaleX(180); width <= ScaleX(240); width += (Skin::dpiX >= 192 ? 2 : 1)) {
    CAPTURE(width);
    MoveWindow(page.text.GetHwnd(), 0, 0, width, ScaleY(320), TRUE);
    page.text.Clear();
    page.text.AddField(Str(L"E-mail"), Str(L"<#004080><I>") + mail + L"</I></#>", Str(), 2, 0,
                       Skin::Get()->GetMailIcon());
    page.text.AddField(Str(L"E-mail 2"), Str(L"<#004080><I>") + mail2 + L"</I></#>", Str(), 2, 8,
                       Skin::Get()->GetMailIcon());
    page.text.AddField(Str(L"Web"), Str(L"<I>") + web + L"</I>", Str(), 4, 8, Skin::Get()->GetWebIcon());
    page.text.Relayout();
    Pump(20);
    REQUIRE(page.text.ItemCount() == 3);
    const PagePixels pixels(page.text.GetHwnd());
    for (int row = 0; row < 3; ++row) {
      CAPTURE(row);
      const RowGap gap = Measure(page.text, pixels, row, width);
      REQUIRE(gap.iconLeft > 0);
      REQUIRE(gap.inkRight > 0);
      // The value's ink never reaches the icon's cell, and keeps the page's gap to it.
      CHECK(gap.iconLeft - 1 - gap.inkRight >= Gap5());
      if (row == 2) {
        if (gap.iconLeft - 1 - gap.inkRight < webGapMin) webGapMin = gap.iconLeft - 1 - gap.inkRight;
        // The first line of the web address fills its box when its ink comes within the slant and a
        // letter of the box's right end.
        const int boxRight = page.text.Item(row).valueRight;
        if (gap.inkRight >= boxRight - ScaleX(8)) ++filled;
      }
    }
  }
  // Some widths put a line of the web address right at its box's end, so the gap was tried where it
  // is narrowest.
  CHECK(filled > 0);
  CHECK(webGapMin >= Gap5());
}
