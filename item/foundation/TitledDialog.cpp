#include "foundation/TitledDialog.h"
#include "foundation/LogicalResolution.h"

TitledDialog::TitledDialog(UINT id, const wchar_t* text)
    : BaseDialog(id), title(text), backBitmap(nullptr), bannerHeight(0), titleFont(nullptr) {
  backBrush.Reset(CreateSolidBrush(kBackColor));
}

TitledDialog::~TitledDialog() {}

void TitledDialog::SetTitle(const wchar_t* text) {
  title = text;
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
}

void TitledDialog::SetBanner(HBITMAP picture) {
  backBitmap = picture;
  bannerHeight = 0;
  BITMAP info;
  if (picture && GetObjectW(picture, sizeof(info), &info)) bannerHeight = info.bmHeight;
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
}

void TitledDialog::SetTitleFont(HFONT font) {
  titleFont = font;
  if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
}

BOOL TitledDialog::OnMessage(HWND, UINT message, WPARAM wParam, LPARAM, LRESULT& result) {
  switch (message) {
    case WM_PAINT:
      OnPaint();
      result = 0;
      return TRUE;
    case WM_ERASEBKGND:
      // OnPaint covers the whole client area.
      result = 1;
      return TRUE;
    case WM_CTLCOLORSTATIC:
      SetBkMode(reinterpret_cast<HDC>(wParam), TRANSPARENT);
      result = reinterpret_cast<LRESULT>(backBrush.Get());
      return TRUE;
  }
  return FALSE;
}

void TitledDialog::OnPaint() {
  PAINTSTRUCT paint;
  HDC dc = BeginPaint(hwnd, &paint);
  if (!dc) return;
  RECT client;
  GetClientRect(hwnd, &client);
  PaintBanner(dc, client, paint.rcPaint);
  PaintTitle(dc);
  RECT rest = {client.left, client.top + bannerHeight, client.right, client.bottom};
  if (rest.top < rest.bottom) FillRect(dc, &rest, backBrush.Get());
  EndPaint(hwnd, &paint);
}

// The picture is tiled across the width; only tiles that touch the dirty rectangle are copied.
void TitledDialog::PaintBanner(HDC dc, const RECT& client, const RECT& dirty) {
  if (!backBitmap || bannerHeight <= 0 || dirty.top >= bannerHeight) return;
  BITMAP info;
  if (!GetObjectW(backBitmap, sizeof(info), &info) || info.bmWidth <= 0) return;
  HDC source = CreateCompatibleDC(dc);
  if (!source) return;
  HGDIOBJ old = SelectObject(source, backBitmap);
  for (int x = client.left; x < client.right; x += info.bmWidth) {
    if (x + info.bmWidth <= dirty.left || x >= dirty.right) continue;
    BitBlt(dc, x, client.top, info.bmWidth, bannerHeight, source, 0, 0, SRCCOPY);
  }
  SelectObject(source, old);
  DeleteDC(source);
}

// The title in light grey, and in dark grey one pixel above it: an engraved look on the banner.
void TitledDialog::PaintTitle(HDC dc) {
  if (title.IsEmpty()) return;
  HFONT font = titleFont ? titleFont : reinterpret_cast<HFONT>(SendMessageW(hwnd, WM_GETFONT, 0, 0));
  HGDIOBJ old = font ? SelectObject(dc, font) : nullptr;
  SIZE size = {};
  GetTextExtentPoint32W(dc, title, title.GetLength(), &size);
  int x = (LogicalDpiX() * 5 + 48) / 96;
  int y = (bannerHeight - size.cy) / 2 - (LogicalDpiY() + 24) * 2 / 96 + 1;
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, kTitleLightColor);
  ExtTextOutW(dc, x, y, 0, nullptr, title, static_cast<UINT>(title.GetLength()), nullptr);
  SetTextColor(dc, kTitleDarkColor);
  ExtTextOutW(dc, x, y - 1, 0, nullptr, title, static_cast<UINT>(title.GetLength()), nullptr);
  if (old) SelectObject(dc, old);
}
