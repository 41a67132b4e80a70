// The two pictures of the letter bar's last cell. They are drawn in black on magenta; black takes the
// skin's text colour and magenta is transparent, so one pair of pictures suits every skin.
#include "presentation/PngResource.h"
#include "presentation/Skin.h"
#include "resources/ImageIds.h"
#include "today/LetterBar.h"

namespace {

const COLORREF kMaskColor = 0x00FF00FF;

// Every pure black pixel of a 24-bit section takes `color`.
void Recolour(HBITMAP bitmap, COLORREF color) {
  DIBSECTION section;
  if (GetObjectW(bitmap, sizeof section, &section) != sizeof section) return;
  if (section.dsBm.bmBitsPixel != 24 || section.dsBm.bmBits == nullptr) return;
  GdiFlush();
  BYTE* rows = static_cast<BYTE*>(section.dsBm.bmBits);
  for (int y = 0; y < section.dsBm.bmHeight; ++y) {
    BYTE* pixel = rows + y * section.dsBm.bmWidthBytes;
    for (int x = 0; x < section.dsBm.bmWidth; ++x, pixel += 3) {
      if (pixel[0] != 0 || pixel[1] != 0 || pixel[2] != 0) continue;
      pixel[0] = GetBValue(color);
      pixel[1] = GetGValue(color);
      pixel[2] = GetRValue(color);
    }
  }
}

}  // namespace

void LetterBar::FreeImages() {
  if (images) ImageList_Destroy(images);
  images = nullptr;
  iconBitmaps[0].Reset();
  iconBitmaps[1].Reset();
  imageWidth = imageHeight = 0;
}

void LetterBar::RebuildImages() {
  FreeImages();
  if (!instance) return;
  const int ids[2][2] = {{IDP_BAR_STEP_BACK, IDP_BAR_STEP_BACK_VGA},
                         {IDP_BAR_CONTACTS, IDP_BAR_CONTACTS_VGA}};
  for (int i = 0; i < 2; ++i) {
    int width = 0, height = 0;
    iconBitmaps[i].Reset(LoadPngResource(instance, ids[i][Skin::isHighRes ? 1 : 0], &width, &height));
    if (iconBitmaps[i].IsEmpty()) continue;
    Recolour(iconBitmaps[i].Get(), textColor);
    // The list takes the size of the first picture.
    if (!images) {
      images = ImageList_Create(width, height, ILC_COLOR24 | ILC_MASK, 2, 2);
      imageWidth = width;
      imageHeight = height;
    }
  }
  // A missing picture leaves the last cell empty at its narrowest.
  if (!images || iconBitmaps[0].IsEmpty() || iconBitmaps[1].IsEmpty()) {
    FreeImages();
    return;
  }
  for (int i = 0; i < 2; ++i) ImageList_AddMasked(images, iconBitmaps[i].Get(), kMaskColor);
}
