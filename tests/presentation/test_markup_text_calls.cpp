// What the markup text asks of the platform: each character measured once per text, fonts made once
// per style in use, and at paint time only the lines that reach into the clip box written.
#include <doctest/doctest.h>
#include <windows.h>
#include "ImportHook.h"
#include "test_markup_text_support.h"

using namespace markuptest;

namespace {

struct Calls {
  int measures = 0;
  int writes = 0;
  int fonts = 0;
  int polylines = 0;
  int total() const { return measures + writes + fonts + polylines; }
};
Calls g_calls;

decltype(&GetTextExtentExPointW) realMeasure;
decltype(&ExtTextOutW) realWrite;
decltype(&CreateFontIndirectW) realCreateFont;
decltype(&Polyline) realPolyline;

BOOL WINAPI CountMeasure(HDC dc, LPCWSTR text, int count, int extent, LPINT fit, LPINT dx, LPSIZE size) {
  ++g_calls.measures;
  return realMeasure(dc, text, count, extent, fit, dx, size);
}
BOOL WINAPI CountWrite(HDC dc, int x, int y, UINT options, const RECT* rect, LPCWSTR text, UINT count,
                       const INT* dx) {
  ++g_calls.writes;
  return realWrite(dc, x, y, options, rect, text, count, dx);
}
HFONT WINAPI CountCreateFont(const LOGFONTW* record) {
  ++g_calls.fonts;
  return realCreateFont(record);
}
BOOL WINAPI CountPolyline(HDC dc, const POINT* points, int count) {
  ++g_calls.polylines;
  return realPolyline(dc, points, count);
}

template <class F>
void Hook(F& real, const char* name, void* replacement) {
  if (!real)
    real =
        reinterpret_cast<F>(importhook::Replace(GetModuleHandleW(nullptr), "gdi32.dll", name, replacement));
  REQUIRE(reinterpret_cast<void*>(real) != nullptr);
}

// Counts the calls made between its construction and Take.
struct Counting {
  Counting() {
    Hook(realMeasure, "GetTextExtentExPointW", reinterpret_cast<void*>(&CountMeasure));
    Hook(realWrite, "ExtTextOutW", reinterpret_cast<void*>(&CountWrite));
    Hook(realCreateFont, "CreateFontIndirectW", reinterpret_cast<void*>(&CountCreateFont));
    Hook(realPolyline, "Polyline", reinterpret_cast<void*>(&CountPolyline));
    g_calls = Calls();
  }
  Calls Take() {
    Calls taken = g_calls;
    g_calls = Calls();
    return taken;
  }
};

}  // namespace

TEST_CASE("characters are measured once per text; later paints only write their runs") {
  Counting counting;
  TestCache cache;
  Canvas canvas(300, 100);
  MarkupText text;
  text.SetFontCache(&cache);
  text.Parse(L"plain <B>bold</B> <#FF0000>red</#> end");
  Calls parsed = counting.Take();
  CHECK(parsed.measures == 0);
  CHECK(parsed.writes == 0);
  RECT rect = {0, 0, 300, 100};
  text.Draw(canvas.dc(), &rect, DT_WORDBREAK);
  Calls first = counting.Take();
  CHECK(first.measures == text.GetLength());
  // Runs: "plain ", "bold", " ", "red", " end".
  CHECK(first.writes == 5);
  text.Draw(canvas.dc(), &rect, DT_WORDBREAK);
  RECT measure = {0, 0, 40, 0};
  text.Draw(canvas.dc(), &measure, kMarkupMeasureFlags);
  Calls later = counting.Take();
  CHECK(later.measures == 0);
  CHECK(later.writes == 5);
  CHECK(later.fonts == 0);
  // After Invalidate the text is measured again, once.
  text.Invalidate();
  text.Draw(canvas.dc(), &measure, kMarkupMeasureFlags);
  text.Draw(canvas.dc(), &measure, kMarkupMeasureFlags);
  CHECK(counting.Take().measures == text.GetLength());
}

TEST_CASE("fonts are made once per style in use and shared by every text of the cache") {
  Counting counting;
  TestCache cache;
  counting.Take();
  MarkupText first;
  first.SetFontCache(&cache);
  first.Parse(L"a<B>b<I>c</I></B><P12>d</P><L>");
  CHECK(counting.Take().fonts == 4);
  MarkupText second;
  second.SetFontCache(&cache);
  second.Parse(L"<B>x<I>y</I></B>z<P12><L>w");
  CHECK(counting.Take().fonts == 0);
  second.Parse(L"<U>new</U>");
  CHECK(counting.Take().fonts == 1);
  CHECK(cache.GetCount() == 5);
}

TEST_CASE("only the lines that reach into the clip box are drawn") {
  Counting counting;
  TestCache cache;
  Canvas canvas(100, 400);
  MarkupText text;
  text.SetFontCache(&cache);
  text.Parse(L"0\n1\n2\n3\n4\n5\n6<L>7\n8\n9<L>");
  RECT all = {0, 0, 100, 400};
  int height = text.Draw(canvas.dc(), &all, DT_WORDBREAK);
  int lineHeight = text.GetLineHeight();
  REQUIRE(height == 12 * lineHeight);
  REQUIRE(height < 400);
  Calls whole = counting.Take();
  CHECK(whole.writes == 10);
  CHECK(whole.polylines == 2);

  // A clip box from the middle of line 2 to the top of line 5 holds lines 2, 3 and 4.
  int top = 2 * lineHeight + lineHeight / 2;
  int bottom = 5 * lineHeight;
  HRGN region = CreateRectRgn(0, top, 100, bottom);
  SelectClipRgn(canvas.dc(), region);
  DeleteObject(region);
  text.Draw(canvas.dc(), &all, DT_WORDBREAK);
  Calls clipped = counting.Take();
  CHECK(clipped.writes == 3);
  CHECK(clipped.polylines == 0);
  // The same through the rect: begun six lines above the canvas and ended three lines below its top,
  // it shows the lines 6, its rule, 7 and 8.
  SelectClipRgn(canvas.dc(), nullptr);
  RECT shifted = {0, -6 * lineHeight, 100, 4 * lineHeight};
  text.Draw(canvas.dc(), &shifted, DT_WORDBREAK);
  Calls shiftedCalls = counting.Take();
  CHECK(shiftedCalls.writes == 3);  // 6, 7 and 8
  CHECK(shiftedCalls.polylines == 1);
}

TEST_CASE("drawing with a rect of zero width asks nothing of the platform") {
  Counting counting;
  TestCache cache;
  Canvas canvas(50, 50);
  MarkupText text;
  text.SetFontCache(&cache);
  text.Parse(L"<B>a</B>b<L>");
  counting.Take();
  RECT empty = {10, 10, 10, 40};
  CHECK(text.Draw(canvas.dc(), &empty, DT_WORDBREAK) == 0);
  CHECK(counting.Take().total() == 0);
  CHECK_FALSE(text.IsMeasured());
}
