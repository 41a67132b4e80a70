// Texts cut to a width: FitText gives a new text, ShortenInPlace cuts a fixed buffer step by step.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include "SkinTestSupport.h"
#include "presentation/TextFit.h"

using namespace skintest;

namespace {

// A screen-compatible context with an 8-point sans-serif font selected.
struct MeasuringDC {
  HDC dc;
  HFONT font;
  HGDIOBJ old;
  MeasuringDC() {
    dc = CreateCompatibleDC(nullptr);
    LOGFONTW record = {};
    record.lfHeight = -11;
    wcscpy(record.lfFaceName, L"Tahoma");
    font = CreateFontIndirectW(&record);
    old = SelectObject(dc, font);
  }
  ~MeasuringDC() {
    SelectObject(dc, old);
    DeleteObject(font);
    DeleteDC(dc);
  }
  int Width(const std::wstring& text) const {
    SIZE size = {0, 0};
    GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
    return size.cx;
  }
};

const std::wstring kText = L"Margaret Montgomery-Smith";

}  // namespace

TEST_CASE("FitText gives a text that fits as it is") {
  MeasuringDC m;
  int width = m.Width(kText);
  CHECK(U8(FitText(m.dc, kText.c_str(), width)) == U8(kText.c_str()));
  CHECK(U8(FitText(m.dc, kText.c_str(), width + 50)) == U8(kText.c_str()));
  CHECK(FitText(m.dc, L"", 0).IsEmpty());
}

TEST_CASE("FitText narrower than \"...\" gives an empty text") {
  MeasuringDC m;
  int dots = m.Width(L"...");
  REQUIRE(dots > 1);
  CHECK(FitText(m.dc, kText.c_str(), dots - 1).IsEmpty());
  CHECK(FitText(m.dc, kText.c_str(), 0).IsEmpty());
  // Exactly as wide as the dots: the dots alone.
  CHECK(U8(FitText(m.dc, kText.c_str(), dots)) == "...");
}

TEST_CASE("FitText keeps the longest beginning that leaves room for \"...\"") {
  MeasuringDC m;
  int full = m.Width(kText);
  for (int width = m.Width(L"...") + 1; width < full; width += 3) {
    CAPTURE(width);
    std::wstring fitted = static_cast<const wchar_t*>(FitText(m.dc, kText.c_str(), width));
    REQUIRE(fitted.size() >= 3);
    CHECK(fitted.compare(fitted.size() - 3, 3, L"...") == 0);
    std::wstring kept = fitted.substr(0, fitted.size() - 3);
    CHECK(kText.compare(0, kept.size(), kept) == 0);
    CHECK(m.Width(kept) + m.Width(L"...") <= width);
    // One character more would not have left room.
    CHECK(m.Width(kText.substr(0, kept.size() + 1)) + m.Width(L"...") > width);
  }
}

TEST_CASE("ShortenInPlace leaves a text that fits and says so") {
  MeasuringDC m;
  wchar_t buffer[64];
  wcscpy(buffer, kText.c_str());
  CHECK_FALSE(ShortenInPlace(buffer, m.Width(kText), m.dc));
  CHECK(std::wstring(buffer) == kText);
}

TEST_CASE("ShortenInPlace cuts one character at a time and ends the text in three dots") {
  MeasuringDC m;
  for (int width = m.Width(L"M..."); width < m.Width(kText); width += 4) {
    CAPTURE(width);
    wchar_t buffer[64];
    wcscpy(buffer, kText.c_str());
    CHECK(ShortenInPlace(buffer, width, m.dc));
    std::wstring result = buffer;
    REQUIRE(result.size() >= 4);
    CHECK(result.compare(result.size() - 3, 3, L"...") == 0);
    CHECK(m.Width(result) <= width);
    // The step before was one character longer and too wide.
    std::wstring before =
        result.size() + 1 == kText.size() ? kText : kText.substr(0, result.size() - 2) + L"...";
    CHECK(kText.compare(0, result.size() - 3, result, 0, result.size() - 3) == 0);
    CHECK(m.Width(before) > width);
  }
}

TEST_CASE("ShortenInPlace: two characters left become \"..\", a single one is only cut") {
  MeasuringDC m;
  wchar_t buffer[8];
  wcscpy(buffer, L"MMM");
  // "MMM" is too wide; the cut leaves two characters, both written as dots.
  REQUIRE(m.Width(L"..") < m.Width(L"MM"));
  CHECK(ShortenInPlace(buffer, m.Width(L".."), m.dc));
  CHECK(std::wstring(buffer) == L"..");

  wcscpy(buffer, L"WM");
  CHECK(ShortenInPlace(buffer, m.Width(L"W"), m.dc));
  CHECK(std::wstring(buffer) == L"W");

  wcscpy(buffer, L"WM");
  CHECK(ShortenInPlace(buffer, 0, m.dc));
  CHECK(std::wstring(buffer).empty());
}
