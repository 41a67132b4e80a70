// The process-wide skin: the logical resolution every pixel size is scaled by, and the colours of
// the Today strip. Loaded once per process.
#pragma once
#include <windows.h>
#include "foundation/Handles.h"
#include "foundation/Str.h"

class Skin {
 public:
  Skin();
  virtual ~Skin();

  // Once per process: reads the screen's logical resolution (or RealVGA) and keeps the module.
  static void Start(HINSTANCE instance);
  static Skin* Get();

  COLORREF GetTodayFontColor() const { return RGB(0x00, 0x20, 0x9C); }
  COLORREF GetTodayAbcColor1() const { return RGB(0xD6, 0xDF, 0xF7); }
  COLORREF GetTodayAbcColor2() const { return RGB(0x73, 0x96, 0xEF); }

  static int dpiX;
  static int dpiY;
  static int isHighRes;

 private:
  HINSTANCE instance;
  // The screen's context, held for the life of the process.
  WindowDC screenDC;
};

// Sizes are written at 96 dpi and scaled with rounding, in integer arithmetic.
inline int ScaleX(int n) { return (n * Skin::dpiX + 48) / 96; }
inline int ScaleY(int n) { return (n * Skin::dpiY + 48) / 96; }

// The user's data folder: FolderPath without a trailing backslash, or "\My Documents\Pagemark Files";
// created when missing.
Str GetDataFolder();
