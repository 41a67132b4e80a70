// The user's list and view fonts in the settings (Name, Height, Flags), written back the same way,
// made in a plain and a bold form; the standard fonts and the list's brush; fonts of a point size.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include <vector>
#include "SkinTestSupport.h"
#include "TestRegistry.h"
#include "presentation/Skin.h"
#include "presentation/UserFonts.h"

using namespace skintest;

namespace {

LOGFONTW StockFont() {
  LOGFONTW record = {};
  REQUIRE(GetObjectW(GetStockObject(SYSTEM_FONT), sizeof record, &record) == sizeof record);
  return record;
}

LOGFONTW FontOf(HFONT font) {
  LOGFONTW record = {};
  REQUIRE(font != nullptr);
  REQUIRE(GetObjectW(font, sizeof record, &record) == sizeof record);
  return record;
}

std::wstring SubkeyPath(const wchar_t* subkey) {
  return std::wstring(testreg::kSettingsRoot) + L"\\" + subkey;
}

// The fields a loaded font takes from the stock font. The width isn't one of them: a font of another
// height than the stock font's takes the width its face gives it.
void CheckStockFields(const LOGFONTW& font) {
  LOGFONTW stock = StockFont();
  CHECK(font.lfWidth == 0);
  CHECK(font.lfEscapement == stock.lfEscapement);
  CHECK(font.lfOrientation == stock.lfOrientation);
  CHECK(font.lfOutPrecision == stock.lfOutPrecision);
  CHECK(font.lfClipPrecision == stock.lfClipPrecision);
  CHECK(font.lfQuality == stock.lfQuality);
  CHECK(font.lfPitchAndFamily == stock.lfPitchAndFamily);
}

struct UserFontCalls {
  const wchar_t* subkey;
  void (*load)(LOGFONTW&);
  bool (*save)(const LOGFONTW&);
  bool (*apply)(const LOGFONTW&);
  HFONT (*get)(bool);
  const LOGFONTW& (*record)();
};

const UserFontCalls kUserFonts[] = {
    {L"ListFont", LoadListFont, SaveListFont, ApplyListFont, GetListFont, GetListFontRecord},
    {L"ViewFont", LoadViewFont, SaveViewFont, ApplyViewFont, GetViewFont, GetViewFontRecord},
};

struct CleanFonts : CleanSkin {
  ~CleanFonts() { DeleteAllFonts(); }
};

}  // namespace

TEST_CASE_FIXTURE(CleanFonts, "without settings a user font is the stock font as 8-point Tahoma, not bold") {
  for (const UserFontCalls& font : kUserFonts) {
    CAPTURE(U8(font.subkey));
    LOGFONTW loaded;
    memset(&loaded, 0x5A, sizeof loaded);
    font.load(loaded);
    CHECK(U8(loaded.lfFaceName) == "Tahoma");
    CHECK(loaded.lfHeight == -11);
    CHECK(loaded.lfWeight == 400);
    CHECK(loaded.lfItalic == 0);
    CHECK(loaded.lfUnderline == 0);
    CHECK(loaded.lfStrikeOut == 0);
    CHECK(loaded.lfCharSet == DEFAULT_CHARSET);
    CheckStockFields(loaded);
  }
}

TEST_CASE_FIXTURE(CleanFonts, "a user font takes Name, Height and each bit of Flags from its own subkey") {
  SetSetting(L"ListFont", L"Name", L"Courier New");
  SetSetting(L"ListFont", L"Height", static_cast<DWORD>(-15));
  SetSetting(L"ViewFont", L"Name", L"Arial");
  SetSetting(L"ViewFont", L"Height", 20);
  for (DWORD flags = 0; flags < 16; ++flags) {
    CAPTURE(flags);
    SetSetting(L"ListFont", L"Flags", flags);
    SetSetting(L"ViewFont", L"Flags", flags ^ 15);
    LOGFONTW list, view;
    LoadListFont(list);
    LoadViewFont(view);
    CHECK(U8(list.lfFaceName) == "Courier New");
    CHECK(list.lfHeight == -15);
    CHECK(list.lfWeight == ((flags & 1) ? 700 : 400));
    CHECK(list.lfItalic == ((flags & 2) ? 1 : 0));
    CHECK(list.lfUnderline == ((flags & 4) ? 1 : 0));
    CHECK(list.lfStrikeOut == ((flags & 8) ? 1 : 0));
    CHECK(list.lfCharSet == DEFAULT_CHARSET);
    CHECK(U8(view.lfFaceName) == "Arial");
    CHECK(view.lfHeight == 20);
    CHECK(view.lfWeight == (((flags ^ 15) & 1) ? 700 : 400));
    CHECK(view.lfItalic == (((flags ^ 15) & 2) ? 1 : 0));
    CHECK(view.lfUnderline == (((flags ^ 15) & 4) ? 1 : 0));
    CHECK(view.lfStrikeOut == (((flags ^ 15) & 8) ? 1 : 0));
  }
}

TEST_CASE_FIXTURE(CleanFonts, "the default height follows the logical resolution") {
  SetSetting(L"Settings", L"RealVGA", 1);
  Skin vga;
  LOGFONTW font;
  LoadViewFont(font);
  CHECK(font.lfHeight == -21);
}

TEST_CASE_FIXTURE(CleanFonts, "Save writes Name, Height and Flags, and Load reads the same font back") {
  for (const UserFontCalls& calls : kUserFonts) {
    CAPTURE(U8(calls.subkey));
    for (DWORD flags = 0; flags < 16; ++flags) {
      CAPTURE(flags);
      LOGFONTW font;
      calls.load(font);
      wcscpy(font.lfFaceName, L"Verdana");
      font.lfHeight = -13;
      font.lfWeight = (flags & 1) ? 700 : 400;
      font.lfItalic = (flags & 2) ? 1 : 0;
      font.lfUnderline = (flags & 4) ? 1 : 0;
      font.lfStrikeOut = (flags & 8) ? 1 : 0;
      REQUIRE(calls.save(font));

      DWORD type = 0, number = 0;
      std::wstring text;
      CHECK(testreg::ReadValue(HKEY_CURRENT_USER, SubkeyPath(calls.subkey), L"Name", &type, &text, nullptr));
      CHECK(type == REG_SZ);
      CHECK(text == L"Verdana");
      CHECK(testreg::ReadDword(HKEY_CURRENT_USER, SubkeyPath(calls.subkey), L"Height", &number));
      CHECK(static_cast<LONG>(number) == -13);
      CHECK(testreg::ReadDword(HKEY_CURRENT_USER, SubkeyPath(calls.subkey), L"Flags", &number));
      CHECK(number == flags);
      CHECK(testreg::ValueCount(HKEY_CURRENT_USER, SubkeyPath(calls.subkey)) == 3);

      LOGFONTW back;
      calls.load(back);
      CHECK(memcmp(&back, &font, sizeof font) == 0);
    }
  }
}

TEST_CASE_FIXTURE(CleanFonts, "only weight 700 is saved as bold") {
  LOGFONTW font;
  LoadListFont(font);
  font.lfWeight = 600;
  REQUIRE(SaveListFont(font));
  DWORD flags = 99;
  CHECK(testreg::ReadDword(HKEY_CURRENT_USER, SubkeyPath(L"ListFont"), L"Flags", &flags));
  CHECK(flags == 0);
}

TEST_CASE_FIXTURE(CleanFonts, "Apply makes the font as given and a bold copy, and replaces the ones before") {
  for (const UserFontCalls& calls : kUserFonts) {
    CAPTURE(U8(calls.subkey));
    LOGFONTW font;
    calls.load(font);
    wcscpy(font.lfFaceName, L"Courier New");
    font.lfHeight = -17;
    font.lfItalic = 1;
    REQUIRE(calls.apply(font));
    HFONT plain = calls.get(false), bold = calls.get(true);
    LOGFONTW made = FontOf(plain);
    CHECK(memcmp(&made, &font, sizeof font) == 0);
    LOGFONTW heavy = FontOf(bold);
    CHECK(heavy.lfWeight == 700);
    CHECK(heavy.lfHeight == -17);
    CHECK(heavy.lfItalic == 1);
    CHECK(U8(heavy.lfFaceName) == "Courier New");
    CHECK(memcmp(&calls.record(), &font, sizeof font) == 0);

    font.lfHeight = -9;
    REQUIRE(calls.apply(font));
    CHECK(FontOf(calls.get(false)).lfHeight == -9);
    CHECK(FontOf(calls.get(true)).lfHeight == -9);
    CHECK(calls.record().lfHeight == -9);
    CHECK(GetObjectType(plain) == 0);
    CHECK(GetObjectType(bold) == 0);
  }
}

TEST_CASE_FIXTURE(
    CleanFonts, "CreateAllFonts makes the user fonts from the settings, four standard fonts and the brush") {
  SetSetting(L"ListFont", L"Name", L"Arial");
  SetSetting(L"ListFont", L"Flags", 2);
  SetSetting(L"ViewFont", L"Height", static_cast<DWORD>(-14));
  CreateAllFonts();

  LOGFONTW list = FontOf(GetListFont(false));
  CHECK(U8(list.lfFaceName) == "Arial");
  CHECK(list.lfItalic == 1);
  CHECK(list.lfWeight == 400);
  CHECK(FontOf(GetListFont(true)).lfWeight == 700);
  CHECK(FontOf(GetListFont(true)).lfItalic == 1);
  CHECK(FontOf(GetViewFont(false)).lfHeight == -14);
  CHECK(U8(FontOf(GetViewFont(false)).lfFaceName) == "Tahoma");
  CHECK(FontOf(GetViewFont(true)).lfWeight == 700);
  CHECK(U8(GetListFontRecord().lfFaceName) == "Arial");
  CHECK(GetViewFontRecord().lfHeight == -14);

  LONG stockWeight = StockFont().lfWeight;
  struct Standard {
    bool bold, smaller;
    LONG height, weight;
  };
  for (const Standard& expected : {Standard{false, false, -11, stockWeight}, Standard{true, false, -11, 700},
                                   Standard{false, true, -10, stockWeight}, Standard{true, true, -10, 700}}) {
    CAPTURE(expected.bold);
    CAPTURE(expected.smaller);
    LOGFONTW standard = FontOf(GetStandardFont(expected.bold, expected.smaller));
    CHECK(U8(standard.lfFaceName) == "Tahoma");
    CHECK(standard.lfHeight == expected.height);
    CHECK(standard.lfWeight == expected.weight);
  }

  LOGBRUSH brush = {};
  REQUIRE(GetObjectW(GetListBackgroundBrush(), sizeof brush, &brush) == sizeof brush);
  CHECK(brush.lbStyle == BS_SOLID);
  CHECK(brush.lbColor == 0x00F7D3B5);
}

TEST_CASE_FIXTURE(CleanFonts, "a second CreateAllFonts replaces the fonts; DeleteAllFonts deletes them all") {
  CreateAllFonts();
  std::vector<HGDIOBJ> first = {GetListFont(false),
                                GetListFont(true),
                                GetViewFont(false),
                                GetViewFont(true),
                                GetStandardFont(false, false),
                                GetStandardFont(true, false),
                                GetStandardFont(false, true),
                                GetStandardFont(true, true),
                                GetListBackgroundBrush()};
  for (HGDIOBJ object : first) REQUIRE(GetObjectType(object) != 0);
  CreateAllFonts();
  for (HGDIOBJ object : first) CHECK(GetObjectType(object) == 0);
  std::vector<HGDIOBJ> second = {GetListFont(false), GetViewFont(true), GetStandardFont(true, true),
                                 GetListBackgroundBrush()};
  for (HGDIOBJ object : second) REQUIRE(GetObjectType(object) != 0);
  DeleteAllFonts();
  for (HGDIOBJ object : second) CHECK(GetObjectType(object) == 0);
  CHECK(GetListFont(false) == nullptr);
  CHECK(GetListFont(true) == nullptr);
  CHECK(GetViewFont(false) == nullptr);
  CHECK(GetViewFont(true) == nullptr);
  for (bool bold : {false, true})
    for (bool smaller : {false, true}) CHECK(GetStandardFont(bold, smaller) == nullptr);
  CHECK(GetListBackgroundBrush() == nullptr);
}

TEST_CASE_FIXTURE(CleanFonts,
                  "the smaller standard fonts are one pixel less in magnitude, keeping the sign") {
  SetSetting(L"Settings", L"RealVGA", 1);
  Skin vga;
  CreateAllFonts();
  CHECK(FontOf(GetStandardFont(false, false)).lfHeight == -21);
  CHECK(FontOf(GetStandardFont(false, true)).lfHeight == -20);
}

TEST_CASE("CreatePointFont: lfHeight is points * LOGPIXELSY / -72, character set 255, everything else 0") {
  WindowDC screen(nullptr);
  int dpi = GetDeviceCaps(screen.Get(), LOGPIXELSY);
  REQUIRE(dpi == 96);
  struct Case {
    int points;
    LONG height;
  };
  for (const Case& c : {Case{8, -10}, Case{9, -12}, Case{10, -13}, Case{12, -16}, Case{0, 0}}) {
    CAPTURE(c.points);
    HFONT font = CreatePointFont(nullptr, L"Tahoma", c.points, 700);
    LOGFONTW made = FontOf(font);
    CHECK(made.lfHeight == c.height);
    CHECK(made.lfWeight == 700);
    CHECK(made.lfCharSet == 255);
    CHECK(U8(made.lfFaceName) == "Tahoma");
    CHECK(made.lfWidth == 0);
    CHECK(made.lfEscapement == 0);
    CHECK(made.lfOrientation == 0);
    CHECK(made.lfItalic == 0);
    CHECK(made.lfUnderline == 0);
    CHECK(made.lfStrikeOut == 0);
    CHECK(made.lfOutPrecision == 0);
    CHECK(made.lfClipPrecision == 0);
    CHECK(made.lfQuality == 0);
    CHECK(made.lfPitchAndFamily == 0);
    DeleteObject(font);
  }
  // The context is that of the window given.
  HWND window =
      CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  REQUIRE(window != nullptr);
  HFONT font = CreatePointFont(window, L"Arial", 10, 400);
  CHECK(FontOf(font).lfHeight == -13);
  CHECK(FontOf(font).lfWeight == 400);
  DeleteObject(font);
  DestroyWindow(window);
}
