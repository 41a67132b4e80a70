// A dialog that paints its own banner: a picture tiled across the top, the title engraved on it, and
// a flat grey below, on which static controls stand transparent.
#pragma once
#include <windows.h>
#include "foundation/BaseDialog.h"
#include "foundation/Handles.h"
#include "foundation/Str.h"

class TitledDialog : public BaseDialog {
 public:
  static constexpr COLORREF kBackColor = 0x00CBCBCB;
  static constexpr COLORREF kTitleLightColor = 0x00E8E8E8;
  static constexpr COLORREF kTitleDarkColor = 0x00222222;

  explicit TitledDialog(UINT templateId, const wchar_t* title = nullptr);
  ~TitledDialog() override;
  BOOL OnMessage(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
  virtual void OnPaint();

  void SetTitle(const wchar_t* text);
  const wchar_t* GetTitle() const { return title; }
  // The picture tiled across the banner, whose height it sets; the caller keeps it alive.
  void SetBanner(HBITMAP picture);
  int GetBannerHeight() const { return bannerHeight; }
  // The font of the title; the caller keeps it alive. Without one the dialog's own font is used.
  void SetTitleFont(HFONT font);
  HBRUSH GetBackBrush() const { return backBrush.Get(); }

 protected:
  Str title;
  HBITMAP backBitmap;
  int bannerHeight;
  GdiObject<HBRUSH> backBrush;
  HFONT titleFont;

 private:
  void PaintBanner(HDC dc, const RECT& client, const RECT& dirty);
  void PaintTitle(HDC dc);
};
