// The process-wide skin: the logical resolution every pixel size is scaled by, the colours a skin
// file can change, the row icons, the default pictures of a contact, the grey pen and label colour,
// the small "Tahoma" fonts, and the one screen context on which text is measured. A window draws with
// these handles and never owns them.
#pragma once
#include <windows.h>
#include "foundation/Handles.h"
#include "foundation/Str.h"
#include "presentation/AppFolders.h"  // the folders and the module, asked for beside the skin

// A colour read from the skin file at its first use: `value` is good once `loaded` is set.
struct SkinColor {
  DWORD value;
  DWORD loaded;
};

// The colours a skin file can change, in the order of the skin's slots.
enum SkinColorSlot {
  kBigAbcFontColor,
  kSmallAbcFontColor,
  kSmallAbcColor1,
  kSmallAbcColor2,
  kTodayFontColor,
  kTodayAbcColor1,
  kTodayAbcColor2,
  kSkinColorCount
};

class Skin {
 public:
  // Takes the screen's context and fixes the logical resolution: the screen's, or 192 dpi both ways
  // when the setting RealVGA is 1. Holds no other handle yet.
  Skin();
  virtual ~Skin();

  // Once per process: makes the skin, remembers `instance` as the module of the item's resources
  // and loads the skin's resources from it.
  static void Start(HINSTANCE instance);
  static Skin* Get();

  // Each colour is looked up in the skin file at its first call and kept; a key the file lacks (or no
  // file) gives the built-in colour.
  COLORREF GetBigAbcFontColor() { return Color(kBigAbcFontColor); }
  COLORREF GetSmallAbcFontColor() { return Color(kSmallAbcFontColor); }
  COLORREF GetSmallAbcColor1() { return Color(kSmallAbcColor1); }
  COLORREF GetSmallAbcColor2() { return Color(kSmallAbcColor2); }
  COLORREF GetTodayFontColor() { return Color(kTodayFontColor); }
  COLORREF GetTodayAbcColor1() { return Color(kTodayAbcColor1); }
  COLORREF GetTodayAbcColor2() { return Color(kTodayAbcColor2); }
  COLORREF Color(SkinColorSlot slot);

  // Loads, once, the icons and pictures of the current resolution from `instance`, and makes the
  // label colour, the grey pen and the plain and bold 8-point "Tahoma".
  void LoadResources(HINSTANCE instance);
  bool IsLoaded() const { return loaded != 0; }

  HICON GetPhoneIcon() const { return phoneIcon; }
  HICON GetMailIcon() const { return mailIcon; }
  HICON GetWebIcon() const { return webIcon; }
  HICON GetLinkIcon() const { return linkIcon; }
  HFONT GetBoldFont() const { return boldFont.Get(); }
  HFONT GetPlainFont() const { return plainFont.Get(); }
  COLORREF GetLabelColor() const { return labelColor; }
  HPEN GetGreyPen() const { return greyPen.Get(); }
  HBITMAP GetPersonBitmap() const { return personBitmap.Get(); }
  HBITMAP GetFlaggedBitmap() const { return flaggedBitmap.Get(); }
  HBITMAP GetCompanyBitmap() const { return companyBitmap.Get(); }
  HDC GetScreenDC() const { return screenDC.Get(); }

  // The logical resolution, fixed by the skin's constructor; isHighRes picks the large form of every
  // picture and icon.
  static int dpiX;
  static int dpiY;
  static int isHighRes;

 private:
  Skin(const Skin&) = delete;
  Skin& operator=(const Skin&) = delete;

  SkinColor colors[kSkinColorCount];
  HICON phoneIcon;
  HICON mailIcon;
  HICON webIcon;
  HICON linkIcon;
  GdiObject<HFONT> boldFont;
  GdiObject<HFONT> plainFont;
  COLORREF labelColor;
  GdiObject<HPEN> greyPen;
  GdiObject<HBITMAP> personBitmap;
  GdiObject<HBITMAP> flaggedBitmap;
  GdiObject<HBITMAP> companyBitmap;
  WindowDC screenDC;
  DWORD loaded;
};

// Sizes are written at 96 dpi and scaled with rounding, in integer arithmetic.
inline int ScaleX(int n) { return (n * Skin::dpiX + 48) / 96; }
inline int ScaleY(int n) { return (n * Skin::dpiY + 48) / 96; }
