#include "presentation/Skin.h"
#include <new>
#include "foundation/Settings.h"
#include "presentation/PngResource.h"
#include "presentation/SkinFile.h"
#include "presentation/UserFonts.h"
#include "resources/SkinImageIds.h"

int Skin::dpiX = 96;
int Skin::dpiY = 96;
int Skin::isHighRes = 0;

static Skin* g_skin = nullptr;

namespace {

struct SkinColorKey {
  const wchar_t* key;
  COLORREF standard;
};

// In the order of SkinColorSlot. The letter window's colours stand beside the Today strip's.
const SkinColorKey kSkinColorKeys[kSkinColorCount] = {
    {L"BigAbcFontColor", RGB(0x4A, 0x4A, 0x4A)}, {L"SmallAbcFontColor", RGB(0x20, 0x20, 0x20)},
    {L"SmallAbcColor1", RGB(0xD6, 0xDF, 0xF7)},  {L"SmallAbcColor2", RGB(0x9B, 0xBE, 0xEF)},
    {L"TodayFontColor", RGB(0x00, 0x20, 0x9C)},  {L"TodayAbcColor1", RGB(0xD6, 0xDF, 0xF7)},
    {L"TodayAbcColor2", RGB(0x73, 0x96, 0xEF)},
};

const COLORREF kGrey = 0x007F7F7F;

// The resource of the current resolution: the first of a pair on a high-resolution screen.
int ForResolution(int highRes, int lowRes) { return Skin::isHighRes ? highRes : lowRes; }

HICON LoadSkinIcon(HINSTANCE instance, int highRes, int lowRes) {
  return LoadIconW(instance, MAKEINTRESOURCEW(ForResolution(highRes, lowRes)));
}

HBITMAP LoadSkinPicture(HINSTANCE instance, int highRes, int lowRes) {
  return LoadPngResource(instance, ForResolution(highRes, lowRes));
}

void FreeIcon(HICON& icon) {
  if (icon) DestroyIcon(icon);
  icon = nullptr;
}

}  // namespace

Skin::Skin()
    : phoneIcon(nullptr), mailIcon(nullptr), webIcon(nullptr), linkIcon(nullptr), labelColor(0),
      screenDC(nullptr), loaded(0) {
  for (SkinColor& color : colors) color = SkinColor{0, 0};
  if (!screenDC.IsEmpty()) {
    dpiX = GetDeviceCaps(screenDC.Get(), LOGPIXELSX);
    dpiY = GetDeviceCaps(screenDC.Get(), LOGPIXELSY);
  }
  // A device that pretends to 96 dpi on a VGA screen gets the double-size layout.
  if (GetSettingDword(SECTION_SETTINGS, L"RealVGA", 0) == 1) {
    dpiX = 192;
    dpiY = 192;
  }
  isHighRes = dpiX > 96 ? 1 : 0;
}

Skin::~Skin() {
  // In the reverse of the fields' order; the owners free the GDI objects and the context.
  companyBitmap.Reset();
  flaggedBitmap.Reset();
  personBitmap.Reset();
  greyPen.Reset();
  plainFont.Reset();
  boldFont.Reset();
  FreeIcon(linkIcon);
  FreeIcon(webIcon);
  FreeIcon(mailIcon);
  FreeIcon(phoneIcon);
  screenDC.Reset();
}

void Skin::Start(HINSTANCE instance) {
  if (!g_skin) g_skin = new (std::nothrow) Skin;
  if (!g_skin) return;
  if (instance) SetModuleInstance(instance);
  g_skin->LoadResources(instance);
}

Skin* Skin::Get() { return g_skin; }

COLORREF Skin::Color(SkinColorSlot slot) {
  SkinColor& color = colors[slot];
  if (!color.loaded) {
    COLORREF found = 0;
    color.value = GetSkinColor(kSkinColorKeys[slot].key, found) ? found : kSkinColorKeys[slot].standard;
    color.loaded = 1;
  }
  return color.value;
}

void Skin::LoadResources(HINSTANCE instance) {
  if (loaded) return;
  phoneIcon = LoadSkinIcon(instance, IDI_ROW_PHONE_VGA, IDI_ROW_PHONE);
  mailIcon = LoadSkinIcon(instance, IDI_ROW_MAIL_VGA, IDI_ROW_MAIL);
  webIcon = LoadSkinIcon(instance, IDI_ROW_WEB_VGA, IDI_ROW_WEB);
  linkIcon = LoadSkinIcon(instance, IDI_ROW_LINK_VGA, IDI_ROW_LINK);
  personBitmap.Reset(LoadSkinPicture(instance, IDP_PERSON_VGA, IDP_PERSON));
  flaggedBitmap.Reset(LoadSkinPicture(instance, IDP_PERSON_FLAGGED_VGA, IDP_PERSON_FLAGGED));
  companyBitmap.Reset(LoadSkinPicture(instance, IDP_COMPANY_VGA, IDP_COMPANY));

  labelColor = kGrey;
  greyPen.Reset(CreatePen(PS_SOLID, (dpiY + 48) / 96, kGrey));

  LOGFONTW font;
  GetBaseFontTemplate(font);
  plainFont.Reset(CreateFontIndirectW(&font));
  font.lfWeight = FW_BOLD;
  boldFont.Reset(CreateFontIndirectW(&font));
  loaded = 1;
}
