// ContactListPhoneMenu: measuring and drawing the owner-drawn lines. A line is the check mark of the
// default, the label and, right-aligned, the number or address, shortened with dots to what the list's
// width and the screen leave.
#include "lists/ContactListPhoneMenu.h"

#include "presentation/Skin.h"
#include "presentation/TextFit.h"
#include "resources/PhoneMenuIds.h"

namespace {

const COLORREF kCheckKey = RGB(255, 255, 255);

// The module that holds this code, whose resources carry the check mark.
HINSTANCE OwnModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&OwnModule), &module);
  return module;
}

// A screen context with `font` selected for as long as it lives.
class MeasureDC {
 public:
  explicit MeasureDC(HFONT font) : dc(GetDC(nullptr)), old(nullptr) {
    if (dc && font) old = SelectObject(dc, font);
  }
  ~MeasureDC() {
    if (!dc) return;
    if (old) SelectObject(dc, old);
    ReleaseDC(nullptr, dc);
  }
  HDC Get() const { return dc; }

 private:
  MeasureDC(const MeasureDC&) = delete;
  MeasureDC& operator=(const MeasureDC&) = delete;
  HDC dc;
  HGDIOBJ old;
};

// The average character width of the system's menu font, as the system reckons it for a menu's
// spacing: the width of the alphabet in both cases, per letter, rounded.
int MenuCharWidth() {
  NONCLIENTMETRICSW metrics;
  ZeroMemory(&metrics, sizeof metrics);
  metrics.cbSize = sizeof metrics;
  if (!SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0)) return 0;
  GdiObject<HFONT> font(CreateFontIndirectW(&metrics.lfMenuFont));
  MeasureDC dc(font.Get());
  if (!dc.Get()) return 0;
  static const wchar_t kLetters[] = L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  SIZE size = {0, 0};
  if (!GetTextExtentPoint32W(dc.Get(), kLetters, 52, &size)) return 0;
  return (size.cx / 26 + 1) / 2;
}

}  // namespace

int ContactListPhoneMenu::ScreenLineWidth() {
  // A popup menu adds twice its font's average character to an owner-drawn line, and its frame on
  // both sides; a line wider than what that leaves of the screen would push the menu past an edge.
  const int frame = 2 * MenuCharWidth() + 2 * (GetSystemMetrics(SM_CXFIXEDFRAME) +
                                               GetSystemMetrics(SM_CXBORDER) + GetSystemMetrics(SM_CXEDGE));
  return GetSystemMetrics(SM_CXSCREEN) - frame;
}

HFONT ContactListPhoneMenu::CreateItemFont() {
  LOGFONTW font;
  ZeroMemory(&font, sizeof font);
  GetObjectW(GetStockObject(SYSTEM_FONT), sizeof font, &font);
  font.lfHeight = Skin::isHighRes ? 28 : 14;
  // The width follows the height, not the stock font's cell.
  font.lfWidth = 0;
  font.lfWeight = 200;
  return CreateFontIndirectW(&font);
}

void ContactListPhoneMenu::LoadCheckBitmap() {
  if (checkHighRes == Skin::isHighRes && !checkBitmap.IsEmpty()) return;
  checkHighRes = Skin::isHighRes;
  checkBitmap.Reset(LoadBitmapW(
      OwnModule(), MAKEINTRESOURCEW(Skin::isHighRes ? IDB_PHONE_MENU_CHECK_VGA : IDB_PHONE_MENU_CHECK)));
  BITMAP info = {};
  if (checkBitmap.IsEmpty() || !GetObjectW(checkBitmap.Get(), sizeof info, &info)) {
    checkWidth = checkHeight = 0;
    return;
  }
  checkWidth = info.bmWidth;
  checkHeight = info.bmHeight;
}

int ContactListPhoneMenu::TextWidth(HDC dc, const Str& text) const {
  SIZE size = {0, 0};
  if (!text.IsEmpty()) GetTextExtentPoint32W(dc, text, text.GetLength(), &size);
  return size.cx;
}

void ContactListPhoneMenu::SetListRect(const RECT& client) {
  GdiObject<HFONT> font(CreateItemFont());
  MeasureDC dc(font.Get());
  TEXTMETRICW metrics = {};
  if (dc.Get() && GetTextMetricsW(dc.Get(), &metrics))
    itemHeight = metrics.tmHeight + metrics.tmInternalLeading;
  widestItem = client.right - client.left - ScaleX(10);
}

LRESULT ContactListPhoneMenu::OnMeasureItem(WPARAM, LPARAM lParam) {
  MEASUREITEMSTRUCT* item = reinterpret_cast<MEASUREITEMSTRUCT*>(lParam);
  if (!item || item->CtlType != ODT_MENU) return 0;
  const INT_PTR index = static_cast<INT_PTR>(item->itemData);
  if (index < 0 || index >= entries.GetSize()) return 0;
  PhoneMenuEntry& entry = entries[static_cast<int>(index)];

  GdiObject<HFONT> font(CreateItemFont());
  MeasureDC dc(font.Get());
  const int margin = ScaleX(4) + ScaleX(6);
  const int labelWidth = TextWidth(dc.Get(), entry.label);
  // The number takes what the list's width leaves, and no more than the screen holds; what doesn't fit
  // is shortened and ends in dots, measured in the font it is drawn in.
  int widest = ScreenLineWidth();
  if (widestItem < widest) widest = widestItem;
  const int room = widest - 2 * margin - labelWidth - checkWidth;
  if (!entry.display.IsEmpty() && TextWidth(dc.Get(), entry.display) > room)
    entry.display = room > 0 ? FitText(dc.Get(), entry.display, room) : Str();
  const int valueWidth = TextWidth(dc.Get(), entry.display);

  item->itemHeight = static_cast<UINT>(itemHeight);
  item->itemWidth = static_cast<UINT>(checkWidth + 2 * margin + labelWidth + valueWidth);
  return TRUE;
}

LRESULT ContactListPhoneMenu::OnDrawItem(WPARAM, LPARAM lParam) {
  DRAWITEMSTRUCT* item = reinterpret_cast<DRAWITEMSTRUCT*>(lParam);
  if (!item || item->CtlType != ODT_MENU) return 0;
  const INT_PTR index = static_cast<INT_PTR>(item->itemData);
  if (index < 0 || index >= entries.GetSize()) return 0;
  const PhoneMenuEntry& entry = entries[static_cast<int>(index)];
  HDC dc = item->hDC;
  const RECT& box = item->rcItem;

  const bool selected = (item->itemState & ODS_SELECTED) != 0;
  FillRect(dc, &box, GetSysColorBrush(selected ? COLOR_HIGHLIGHT : COLOR_MENU));
  const COLORREF oldColor = SetTextColor(dc, GetSysColor(selected ? COLOR_HIGHLIGHTTEXT : COLOR_MENUTEXT));
  const int oldMode = SetBkMode(dc, TRANSPARENT);
  GdiObject<HFONT> font(CreateItemFont());
  HGDIOBJ oldFont = SelectObject(dc, font.Get());

  if ((item->itemState & ODS_CHECKED) && !checkBitmap.IsEmpty()) {
    HGDIOBJ oldPen = SelectObject(dc, GetStockObject(BLACK_PEN));
    HGDIOBJ oldBrush = SelectObject(dc, GetStockObject(WHITE_BRUSH));
    HDC source = CreateCompatibleDC(dc);
    HGDIOBJ oldBitmap = SelectObject(source, checkBitmap.Get());
    const int y = box.top + (box.bottom - box.top - checkHeight) / 2;
    GdiTransparentBlt(dc, box.left + ScaleX(6), y, checkWidth, checkHeight, source, 0, 0, checkWidth,
                      checkHeight, kCheckKey);
    SelectObject(source, oldBitmap);
    DeleteDC(source);
    SelectObject(dc, oldBrush);
    SelectObject(dc, oldPen);
  }

  RECT label = box;
  label.left = box.left + checkWidth + 2 * ScaleX(6);
  label.right = label.left + TextWidth(dc, entry.label);
  DrawTextW(dc, entry.label, entry.label.GetLength(), &label, DT_SINGLELINE | DT_VCENTER);
  RECT value = box;
  value.left = label.right + ScaleX(4);
  value.right = box.right - ScaleX(4);
  DrawTextW(dc, entry.display, entry.display.GetLength(), &value, DT_SINGLELINE | DT_VCENTER | DT_RIGHT);

  SelectObject(dc, oldFont);
  SetBkMode(dc, oldMode);
  SetTextColor(dc, oldColor);
  return TRUE;
}
