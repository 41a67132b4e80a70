// The contact page end to end: a contact imported from a vCard with a photo, several numbers, mails, a
// web page and a note is found on the Today screen of the stand-in device and, the only one found,
// opens as its page with the focus. A tap on its first number calls it through the device's phone, so
// do the pad's keys, and the copy menu of a held number puts the number on the clipboard. TodayHost runs
// the item from the device's registry; the screenshot of the page, the device journal and the clipboard
// tell what happened.
#include <doctest/doctest.h>
#include <windows.h>
#include <wincodec.h>
#include <algorithm>
#include <climits>
#include <fstream>
#include <string>
#include <vector>
#include "PictureBytes.h"
#include "Screenshot.h"
#include "TestPaths.h"

using namespace testpaths;

namespace {

// The photo: a band over two halves, in colours that nothing else on the page has.
const COLORREF kPhotoTop = RGB(250, 210, 20);
const COLORREF kPhotoLeft = RGB(200, 30, 150);
const COLORREF kPhotoRight = RGB(30, 150, 200);
const char kFirstNumber[] = "+44 20 7946 0018";

std::string Card() {
  using namespace picturebytes;
  const std::string photo = Encode(GUID_ContainerFormatPng, 120, 90, [](int x, int y) {
    return y < 30 ? kPhotoTop : x < 60 ? kPhotoLeft : kPhotoRight;
  });
  REQUIRE_FALSE(photo.empty());
  return "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Hollis;Greta;;;\r\nFN:Greta Hollis\r\nORG:Quarry Lane Books\r\n"
         "TEL;TYPE=WORK,VOICE:" +
         std::string(kFirstNumber) +
         "\r\nTEL;TYPE=CELL:+44 7700 900123\r\nTEL;TYPE=HOME:+44 20 7946 0991\r\n"
         "EMAIL;TYPE=INTERNET:greta@quarrylane.example\r\n"
         "EMAIL;TYPE=INTERNET:orders.and.antiquarian.requests@quarrylane-books.example\r\n"
         "URL:http://quarrylane.example/\r\nPHOTO;ENCODING=b;TYPE=PNG:" +
         Folded(Base64(photo), 74, " ") +
         "NOTE:Prefers calls after ten. Ask about the map collection.\r\nEND:VCARD\r\n";
}

std::wstring Own(const std::wstring& name) { return L"C:\\Temp\\" + name; }

using screenshot::Image;
using screenshot::LoadPng;

// The device gets the contact once; every case finds it alone.
void ImportOnce() {
  static bool imported = false;
  if (imported) return;
  CreateDirectoryW(L"C:\\Temp", nullptr);
  std::ofstream(Own(L"page.vcf").c_str(), std::ios::binary) << Card();
  std::string out, err;
  REQUIRE(RunCaptured(BinDir() + L"pimtool.exe", L"import " + Own(L"page.vcf"), 60000, &out, &err) == 0);
  CAPTURE(err);
  REQUIRE(err.empty());
  imported = true;
}

bool Near(COLORREF a, COLORREF b) {
  return abs(GetRValue(a) - GetRValue(b)) <= 6 && abs(GetGValue(a) - GetGValue(b)) <= 6 &&
         abs(GetBValue(a) - GetBValue(b)) <= 6;
}

// The first row, from the top, with a green pixel of a phone icon in the right quarter of the screen.
int FirstPhoneIconRow(const Image& image) {
  for (UINT y = 0; y < image.height; ++y)
    for (UINT x = image.width * 3 / 4; x < image.width; ++x) {
      COLORREF c = image.At(x, y);
      if (GetGValue(c) > 0x60 && GetGValue(c) > GetRValue(c) + 0x30 && GetGValue(c) > GetBValue(c) + 0x30)
        return static_cast<int>(y);
    }
  return -1;
}

// The bounds of the pixels of `colour`; false when there are none.
bool ColourBox(const Image& image, COLORREF colour, RECT& box) {
  SetRect(&box, INT_MAX, INT_MAX, -1, -1);
  for (UINT y = 0; y < image.height; ++y)
    for (UINT x = 0; x < image.width; ++x)
      if (Near(image.At(x, y), colour)) {
        box.left = std::min<LONG>(box.left, x);
        box.top = std::min<LONG>(box.top, y);
        box.right = std::max<LONG>(box.right, x + 1);
        box.bottom = std::max<LONG>(box.bottom, y + 1);
      }
  return box.right > 0;
}

// The dark pixels per pixel of each line of text in `area`: lines are runs of rows with dark pixels,
// and each line's share is taken over its own width and height. Bold text is darker than plain.
std::vector<double> LineInk(const Image& image, const RECT& area) {
  std::vector<double> lines;
  int top = -1, left = INT_MAX, right = -1, dark = 0;
  for (LONG y = area.top; y <= area.bottom; ++y) {
    int row = 0;
    for (LONG x = area.left; y < area.bottom && x < area.right; ++x) {
      const COLORREF c = image.At(static_cast<UINT>(x), static_cast<UINT>(y));
      if (GetRValue(c) < 100 && GetGValue(c) < 100 && GetBValue(c) < 100) {
        ++row;
        left = std::min<int>(left, x);
        right = std::max<int>(right, x);
      }
    }
    if (row > 0) {
      if (top < 0) top = y;
      dark += row;
    } else if (top >= 0) {
      lines.push_back(static_cast<double>(dark) / ((right - left + 1) * (y - top)));
      top = -1, left = INT_MAX, right = -1, dark = 0;
    }
  }
  return lines;
}

int RunScript(const std::string& script) {
  std::ofstream(Own(L"page-script.txt").c_str(), std::ios::binary) << script;
  return RunAndWait(BinDir() + L"TodayHost.exe", L"/script \"" + Own(L"page-script.txt") + L"\" /exit",
                    90000);
}

bool JournalHasLine(const std::string& source, const std::string& event) {
  std::vector<JournalLine> lines = ReadDeviceJournal();
  for (const JournalLine& line : lines)
    if (line.source == source && line.event.find(event) != std::string::npos) return true;
  return false;
}

bool Vga() { return GetSystemMetrics(SM_CXSCREEN) >= 480; }

// A search that finds one contact opens its page at once: a tap on the third cell, "ghi".
std::string OpenPage() {
  return std::string("wait 2500\r\ntap ") + (Vga() ? "124 99" : "60 47") + "\r\nwait 1200\r\n";
}

// The page as it opens, shot; the point in the middle of its first number.
Image ShootPage(POINT* firstNumber) {
  const std::string shot = "C:\\Temp\\contact-page.png";
  DeleteFileA(shot.c_str());
  ClearDeviceJournal();
  CHECK(RunScript(OpenPage() + "shot " + shot + "\r\nquit\r\n") == 0);
  Image page;
  REQUIRE(LoadPng(std::wstring(shot.begin(), shot.end()), &page));
  // The work number comes first in the template's order, with its phone icon at the right.
  const int row = FirstPhoneIconRow(page);
  REQUIRE(row > 0);
  const int iconSide = Vga() ? 36 : 18;
  firstNumber->x = static_cast<LONG>(page.width / 2);
  firstNumber->y = row + iconSide / 3;
  return page;
}

std::string At(POINT point) { return std::to_string(point.x) + " " + std::to_string(point.y); }

std::wstring ClipboardText() {
  std::wstring text;
  if (!OpenClipboard(nullptr)) return text;
  if (HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
    if (const wchar_t* chars = static_cast<const wchar_t*>(GlobalLock(data))) text = chars;
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

}  // namespace

TEST_CASE("a contact from a vCard with a photo opens as its page, and a tap on its first number calls it") {
  ImportOnce();
  POINT number;
  Image page = ShootPage(&number);
  CHECK(JournalHasLine("TodayHost", "item Pagemark loaded"));
  // The note reached the rich ink control of the page.
  CHECK(JournalHasLine("richink", "stream in format 0x10802"));
  CHECK(JournalHasLine("richink", "Prefers calls after ten. Ask about the map collection."));
  // The photo stands in the head, above the numbers, the right way up: its band over its two halves.
  // A photo larger than the head's 64 units is scaled down to them (64 x 48 of its 120 x 90 on the
  // QVGA phone); on the VGA phone, where they are 128 pixels, it keeps its own size.
  RECT top, left, right;
  REQUIRE(ColourBox(page, kPhotoTop, top));
  REQUIRE(ColourBox(page, kPhotoLeft, left));
  REQUIRE(ColourBox(page, kPhotoRight, right));
  const int scale = Vga() ? 2 : 1;
  const int side = 64 * scale;
  const int width = side < 120 ? side : 120, height = side < 120 ? side * 90 / 120 : 90;
  CHECK(top.right - top.left == width);
  CHECK(top.bottom - top.top == height / 3);
  CHECK(left.right - left.left == width / 2);
  CHECK(right.right - right.left == width / 2);
  CHECK(left.bottom - left.top == height - height / 3);
  CHECK(left.top == top.bottom);
  CHECK(right.left == left.right);
  CHECK(right.top == left.top);
  CHECK(left.bottom < number.y);
  CHECK(left.left < static_cast<LONG>(page.width) / 4);
  // Beside it the name, in bold, over the company in plain text: the first line is the darker.
  const RECT head = {top.right + 2, top.top, static_cast<LONG>(page.width) * 3 / 4, number.y - 12 * scale};
  const std::vector<double> ink = LineInk(page, head);
  REQUIRE(ink.size() >= 2);
  CAPTURE(ink[0]);
  CAPTURE(ink[1]);
  CHECK(ink[0] > ink[1] * 1.2);

  ClearDeviceJournal();
  CHECK(RunScript(OpenPage() + "tap " + At(number) + "\r\nwait 3000\r\nquit\r\n") == 0);
  CHECK(JournalHasLine("phone", std::string("PhoneMakeCall number \"") + kFirstNumber + "\""));
}

TEST_CASE(
    "the page a one-result search opens has the focus: Down, Down and the pad's centre call the first "
    "number") {
  ImportOnce();
  ClearDeviceJournal();
  // The first Down selects the head, the second the first number; the centre calls it.
  CHECK(RunScript(OpenPage() +
                  "key down\r\nwait 300\r\nkey down\r\nwait 300\r\nkey action\r\nwait 3000\r\nquit\r\n") ==
        0);
  CHECK(JournalHasLine("phone", std::string("PhoneMakeCall number \"") + kFirstNumber + "\""));
}

TEST_CASE("the copy menu of a held number puts the number on the clipboard, and nothing is called") {
  ImportOnce();
  POINT number;
  ShootPage(&number);
  SetClipboardText(L"before");
  ClearDeviceJournal();
  // The hold opens the menu at 500 ms, its one entry "Copy" below and right of the pen; a tap chooses it.
  const int scale = Vga() ? 2 : 1;
  const POINT copy = {number.x + 20 * scale, number.y + 10 * scale};
  CHECK(RunScript(OpenPage() + "hold " + At(number) + " 800\r\nwait 300\r\ntap " + At(copy) +
                  "\r\nwait 800\r\nquit\r\n") == 0);
  CHECK(ClipboardText() == std::wstring(kFirstNumber, kFirstNumber + sizeof kFirstNumber - 1));
  CHECK_FALSE(JournalHasLine("phone", "PhoneMakeCall"));
}
