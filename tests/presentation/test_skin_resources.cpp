// The skin's resolution and resources: the screen's dpi or RealVGA's 192, the icons and pictures of
// that resolution from the item's resources, the pen, label colour and fonts, and what the destructor
// gives back.
#include <doctest/doctest.h>
#include <windows.h>
#include <vector>
#include "SkinTestSupport.h"
#include "presentation/AppFolders.h"
#include "presentation/Skin.h"
#include "presentation/UserFonts.h"
#include "resources/SkinImageIds.h"

using namespace skintest;

namespace {

HINSTANCE Resources() { return GetModuleHandleW(nullptr); }

SIZE BitmapSize(HBITMAP bitmap) {
  BITMAP info = {};
  REQUIRE(GetObjectW(bitmap, sizeof info, &info) == sizeof info);
  return SIZE{info.bmWidth, info.bmHeight};
}

LOGFONTW FontOf(HFONT font) {
  LOGFONTW record = {};
  REQUIRE(GetObjectW(font, sizeof record, &record) == sizeof record);
  return record;
}

LOGFONTW StockFont() {
  LOGFONTW record = {};
  REQUIRE(GetObjectW(GetStockObject(SYSTEM_FONT), sizeof record, &record) == sizeof record);
  return record;
}

// A pixel of a bitmap as 0x00RRGGBB.
uint32_t PixelAt(HBITMAP bitmap, int x, int y) {
  HDC dc = CreateCompatibleDC(nullptr);
  HGDIOBJ old = SelectObject(dc, bitmap);
  COLORREF colour = GetPixel(dc, x, y);
  SelectObject(dc, old);
  DeleteDC(dc);
  return (GetRValue(colour) << 16) | (GetGValue(colour) << 8) | GetBValue(colour);
}

// The natural size of an icon resource, read without stretching it to the system's icon size.
SIZE IconResourceSize(int id) {
  HICON icon = static_cast<HICON>(LoadImageW(Resources(), MAKEINTRESOURCEW(id), IMAGE_ICON, 0, 0, 0));
  REQUIRE(icon != nullptr);
  ICONINFO info = {};
  REQUIRE(GetIconInfo(icon, &info));
  SIZE size = BitmapSize(info.hbmColor ? info.hbmColor : info.hbmMask);
  if (info.hbmColor) DeleteObject(info.hbmColor);
  DeleteObject(info.hbmMask);
  DestroyIcon(icon);
  return size;
}

HICON SharedIcon(int id) { return LoadIconW(Resources(), MAKEINTRESOURCEW(id)); }

struct Ids {
  int phone, mail, web, link, person, flagged, company;
  int pictureSize;
};
const Ids kLowRes = {IDI_ROW_PHONE, IDI_ROW_MAIL,       IDI_ROW_WEB, IDI_ROW_LINK,
                     IDP_PERSON,    IDP_PERSON_FLAGGED, IDP_COMPANY, 26};
const Ids kHighRes = {IDI_ROW_PHONE_VGA, IDI_ROW_MAIL_VGA,       IDI_ROW_WEB_VGA, IDI_ROW_LINK_VGA,
                      IDP_PERSON_VGA,    IDP_PERSON_FLAGGED_VGA, IDP_COMPANY_VGA, 52};

// Every handle of a loaded skin is there, and is the one of the resolution's resources.
void CheckResources(const Skin& skin, const Ids& ids) {
  REQUIRE(skin.IsLoaded());
  CHECK(skin.GetPhoneIcon() != nullptr);
  CHECK(skin.GetMailIcon() != nullptr);
  CHECK(skin.GetWebIcon() != nullptr);
  CHECK(skin.GetLinkIcon() != nullptr);
  // The platform hands out one handle per icon resource of a module.
  CHECK(skin.GetPhoneIcon() == SharedIcon(ids.phone));
  CHECK(skin.GetMailIcon() == SharedIcon(ids.mail));
  CHECK(skin.GetWebIcon() == SharedIcon(ids.web));
  CHECK(skin.GetLinkIcon() == SharedIcon(ids.link));
  for (HBITMAP picture : {skin.GetPersonBitmap(), skin.GetFlaggedBitmap(), skin.GetCompanyBitmap()}) {
    REQUIRE(picture != nullptr);
    SIZE size = BitmapSize(picture);
    CHECK(size.cx == ids.pictureSize);
    CHECK(size.cy == ids.pictureSize);
  }
  CHECK(skin.GetGreyPen() != nullptr);
  CHECK(skin.GetPlainFont() != nullptr);
  CHECK(skin.GetBoldFont() != nullptr);
}

}  // namespace

TEST_CASE_FIXTURE(CleanSkin, "the skin takes the screen's resolution; 96 dpi is not high resolution") {
  WindowDC screen(nullptr);
  int screenX = GetDeviceCaps(screen.Get(), LOGPIXELSX), screenY = GetDeviceCaps(screen.Get(), LOGPIXELSY);
  REQUIRE(screenX == 96);  // the test device's profile
  Skin skin;
  CHECK(Skin::dpiX == screenX);
  CHECK(Skin::dpiY == screenY);
  CHECK(Skin::isHighRes == 0);
  CHECK(ScaleX(10) == 10);
  CHECK(ScaleY(7) == 7);
  CHECK(skin.GetScreenDC() != nullptr);
  CHECK(GetDeviceCaps(skin.GetScreenDC(), LOGPIXELSX) == screenX);
  // Nothing is loaded before LoadResources.
  CHECK_FALSE(skin.IsLoaded());
  CHECK(skin.GetPhoneIcon() == nullptr);
  CHECK(skin.GetPersonBitmap() == nullptr);
  CHECK(skin.GetPlainFont() == nullptr);
  CHECK(skin.GetGreyPen() == nullptr);
}

TEST_CASE_FIXTURE(CleanSkin,
                  "RealVGA at 1 on a 96 dpi device doubles all sizes and picks the large pictures") {
  SetSetting(L"Settings", L"RealVGA", 1);
  Skin skin;
  CHECK(Skin::dpiX == 192);
  CHECK(Skin::dpiY == 192);
  CHECK(Skin::isHighRes == 1);
  CHECK(ScaleX(10) == 20);
  CHECK(ScaleY(7) == 14);
  CHECK(ScaleX(1) == 2);
  skin.LoadResources(Resources());
  CheckResources(skin, kHighRes);
  LOGPEN pen = {};
  REQUIRE(GetObjectW(skin.GetGreyPen(), sizeof pen, &pen) == sizeof pen);
  CHECK(pen.lopnWidth.x == 2);
  CHECK(FontOf(skin.GetPlainFont()).lfHeight == -21);
  CHECK(DefaultFontHeight() == -21);
}

TEST_CASE_FIXTURE(CleanSkin, "RealVGA other than 1 leaves the screen's resolution") {
  SetSetting(L"Settings", L"RealVGA", 2);
  Skin skin;
  CHECK(Skin::dpiX == 96);
  CHECK(Skin::isHighRes == 0);
  skin.LoadResources(Resources());
  CheckResources(skin, kLowRes);
}

TEST_CASE_FIXTURE(CleanSkin,
                  "LoadResources at 96 dpi: the small pictures, the grey pen and the 8-point Tahoma") {
  Skin skin;
  skin.LoadResources(Resources());
  CheckResources(skin, kLowRes);
  CHECK(skin.GetLabelColor() == 0x007F7F7F);
  LOGPEN pen = {};
  REQUIRE(GetObjectW(skin.GetGreyPen(), sizeof pen, &pen) == sizeof pen);
  CHECK(pen.lopnStyle == PS_SOLID);
  CHECK(pen.lopnWidth.x == 1);
  CHECK(pen.lopnColor == 0x007F7F7F);

  LOGFONTW stock = StockFont();
  LOGFONTW plain = FontOf(skin.GetPlainFont());
  LOGFONTW bold = FontOf(skin.GetBoldFont());
  CHECK(U8(plain.lfFaceName) == "Tahoma");
  CHECK(U8(bold.lfFaceName) == "Tahoma");
  CHECK(plain.lfHeight == -11);
  CHECK(bold.lfHeight == -11);
  CHECK(plain.lfWeight == stock.lfWeight);
  CHECK(bold.lfWeight == 700);
  // The rest comes from the stock font.
  CHECK(plain.lfCharSet == stock.lfCharSet);
  CHECK(plain.lfPitchAndFamily == stock.lfPitchAndFamily);
  CHECK(plain.lfQuality == stock.lfQuality);
}

TEST_CASE_FIXTURE(CleanSkin, "LoadResources loads once; a second call keeps the handles") {
  Skin skin;
  skin.LoadResources(Resources());
  HBITMAP person = skin.GetPersonBitmap();
  HFONT plain = skin.GetPlainFont();
  HPEN pen = skin.GetGreyPen();
  skin.LoadResources(nullptr);
  CHECK(skin.GetPersonBitmap() == person);
  CHECK(skin.GetPlainFont() == plain);
  CHECK(skin.GetGreyPen() == pen);
  CHECK(GetObjectType(person) == OBJ_BITMAP);
}

TEST_CASE_FIXTURE(CleanSkin, "a module without the resources leaves the icons and pictures empty") {
  Skin skin;
  skin.LoadResources(GetModuleHandleW(L"kernel32.dll"));
  CHECK(skin.IsLoaded());
  CHECK(skin.GetPhoneIcon() == nullptr);
  CHECK(skin.GetPersonBitmap() == nullptr);
  // What is made rather than loaded is there all the same.
  CHECK(skin.GetGreyPen() != nullptr);
  CHECK(skin.GetBoldFont() != nullptr);
}

TEST_CASE_FIXTURE(CleanSkin, "the destructor deletes every GDI object the skin made") {
  std::vector<HGDIOBJ> made;
  {
    Skin skin;
    skin.LoadResources(Resources());
    made = {skin.GetPersonBitmap(), skin.GetFlaggedBitmap(), skin.GetCompanyBitmap(),
            skin.GetGreyPen(),      skin.GetPlainFont(),     skin.GetBoldFont()};
    for (HGDIOBJ object : made) REQUIRE(GetObjectType(object) != 0);
  }
  for (HGDIOBJ object : made) {
    CAPTURE(object);
    CHECK(GetObjectType(object) == 0);
  }
}

TEST_CASE("the icon resources are 16 x 16 and 32 x 32") {
  for (int id : {IDI_ROW_PHONE, IDI_ROW_MAIL, IDI_ROW_WEB, IDI_ROW_LINK}) {
    CAPTURE(id);
    SIZE size = IconResourceSize(id);
    CHECK(size.cx == 16);
    CHECK(size.cy == 16);
  }
  for (int id : {IDI_ROW_PHONE_VGA, IDI_ROW_MAIL_VGA, IDI_ROW_WEB_VGA, IDI_ROW_LINK_VGA}) {
    CAPTURE(id);
    SIZE size = IconResourceSize(id);
    CHECK(size.cx == 32);
    CHECK(size.cy == 32);
  }
}

TEST_CASE_FIXTURE(CleanSkin, "the default pictures are black (transparent) round a painted middle") {
  for (int highRes : {0, 1}) {
    SetSetting(L"Settings", L"RealVGA", static_cast<DWORD>(highRes));
    Skin skin;
    skin.LoadResources(Resources());
    for (HBITMAP picture : {skin.GetPersonBitmap(), skin.GetFlaggedBitmap(), skin.GetCompanyBitmap()}) {
      SIZE size = BitmapSize(picture);
      CAPTURE(size.cx);
      CHECK(PixelAt(picture, 0, 0) == 0);
      CHECK(PixelAt(picture, size.cx - 1, size.cy - 1) == 0);
      CHECK(PixelAt(picture, size.cx / 2, size.cy / 2) != 0);
      CHECK(PixelAt(picture, size.cx / 2, 1) != 0);
    }
  }
}

TEST_CASE_FIXTURE(CleanSkin, "Start makes one skin, keeps the module and loads its resources") {
  Skin::Start(Resources());
  Skin* first = Skin::Get();
  REQUIRE(first != nullptr);
  CHECK(first->IsLoaded());
  CHECK(first->GetPersonBitmap() != nullptr);
  CHECK(GetModuleInstance() == Resources());
  Skin::Start(Resources());
  CHECK(Skin::Get() == first);
}
