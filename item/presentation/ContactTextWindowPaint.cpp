// Painting of the contact page's rows: each row in the clip box through a bitmap of its own size.
#include "presentation/ContactTextWindow.h"
#include "presentation/Skin.h"

namespace {

const COLORREF kWhite = RGB(255, 255, 255);
const COLORREF kBlack = RGB(0, 0, 0);
const COLORREF kFocusedSelection = 0x00820000;
const COLORREF kUnfocusedSelection = 0x00BFBFBF;
const COLORREF kGrey = 0x007F7F7F;
const UINT kDrawFlags = 0x810;  // DT_WORDBREAK | DT_NOPREFIX

int Gap5() { return (Skin::dpiX * 5 + 48) / 96; }
int Gap10() { return (Skin::dpiX * 10 + 48) / 96; }
int HeadLeft() { return (Skin::dpiX + 24) * 2 / 96; }
int HeadTop() { return (Skin::dpiY + 16) * 3 / 96; }

void Fill(HDC dc, const RECT& rect, COLORREF color) {
  COLORREF old = SetBkColor(dc, color);
  ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &rect, nullptr, 0, nullptr);
  SetBkColor(dc, old);
}

// The label cut from the end, one character at a time, until it and "..." fit `width`.
Str FitLabel(HDC dc, const Str& label, int width) {
  SIZE size = {0, 0};
  GetTextExtentPoint32W(dc, label, label.GetLength(), &size);
  if (size.cx <= width) return label;
  for (int length = label.GetLength() - 1; length >= 0; --length) {
    Str cut = label.Left(length) + L"...";
    GetTextExtentPoint32W(dc, cut, cut.GetLength(), &size);
    if (size.cx <= width || length == 0) return cut;
  }
  return Str(L"...");
}

}  // namespace

bool ContactTextWindow::IsSelected(int index) const {
  if (selAnchor < 0 || selEnd < 0) return false;
  int low = selAnchor < selEnd ? selAnchor : selEnd;
  int high = selAnchor < selEnd ? selEnd : selAnchor;
  return index >= low && index <= high;
}

RECT ContactTextWindow::TextRect(const ContactTextItem& item) const { return item.textRect; }

void ContactTextWindow::Paint(HDC dc, const RECT& clip) {
  RECT client;
  GetClientRect(hwnd, &client);
  int bottom = ItemTop(0);
  for (int i = 0; i < items.GetCount(); ++i) {
    int top = bottom;
    bottom = top + items[i].rect.bottom;
    if (bottom <= clip.top || top >= clip.bottom || items[i].rect.bottom <= 0) continue;
    HDC memory = CreateCompatibleDC(dc);
    HBITMAP bitmap = memory ? CreateCompatibleBitmap(dc, client.right, items[i].rect.bottom) : nullptr;
    if (!bitmap) {
      if (memory) DeleteDC(memory);
      continue;
    }
    HGDIOBJ oldBitmap = SelectObject(memory, bitmap);
    PaintItem(memory, i, client.right);
    BitBlt(dc, 0, top, client.right, items[i].rect.bottom, memory, 0, 0, SRCCOPY);
    SelectObject(memory, oldBitmap);
    DeleteObject(bitmap);
    DeleteDC(memory);
  }
  if (bottom < clip.bottom) {
    RECT rest = {client.left, bottom > clip.top ? bottom : clip.top, client.right, clip.bottom};
    Fill(dc, rest, kWhite);
  }
}

void ContactTextWindow::PaintItem(HDC dc, int index, int width) {
  ContactTextItem& item = items[index];
  RECT all = {0, 0, width, item.rect.bottom};
  Fill(dc, all, kWhite);
  SetBkMode(dc, TRANSPARENT);
  bool selected = IsSelected(index);
  bool focused = GetFocus() == hwnd;
  COLORREF brush = focused ? kFocusedSelection : kUnfocusedSelection;
  COLORREF text = focused ? kWhite : kBlack;
  if (item.kind == ItemHead)
    PaintHead(dc, item, selected, brush, text);
  else if (item.kind == ItemTitle)
    PaintTitle(dc, item);
  else
    PaintField(dc, item, selected, brush, text);
}

void ContactTextWindow::PaintHead(HDC dc, ContactTextItem& item, bool selected, COLORREF brush,
                                  COLORREF text) {
  int x = HeadLeft(), y = HeadTop();
  HBITMAP picture = static_cast<HBITMAP>(item.image);
  BITMAP info;
  if (picture && GetObjectW(picture, sizeof info, &info)) {
    int width = info.bmWidth, height = info.bmHeight < 0 ? -info.bmHeight : info.bmHeight;
    HDC source = CreateCompatibleDC(dc);
    if (source) {
      HGDIOBJ old = SelectObject(source, picture);
      if (item.transparent)
        TransparentBlt(dc, x, y, width, height, source, 0, 0, width, height, kBlack);
      else if (width > item.imageWidth || height > item.imageHeight)
        StretchBlt(dc, x, y, item.imageWidth, item.imageHeight, source, 0, 0, width, height, SRCCOPY);
      else
        BitBlt(dc, x, y, width, height, source, 0, 0, SRCCOPY);
      SelectObject(source, old);
      DeleteDC(source);
    }
  }
  if (item.text.IsEmpty()) return;
  RECT box = {x + item.imageWidth + Gap5(), item.textRect.top, item.rect.right - Gap5(), item.rect.bottom};
  if (selected) {
    RECT mark = item.textRect;
    InflateRect(&mark, 2, 0);
    Fill(dc, mark, brush);
    item.text.DrawColored(dc, &box, kDrawFlags, text);
  } else {
    item.text.Draw(dc, &box, kDrawFlags);
  }
}

void ContactTextWindow::PaintField(HDC dc, ContactTextItem& item, bool selected, COLORREF brush,
                                   COLORREF text) {
  int gap5 = Gap5(), gap10 = Gap10();
  bool wholeRow = selected && selMode == 1;
  if (wholeRow) {
    RECT all = {item.rect.left, 0, item.rect.right, item.rect.bottom};
    Fill(dc, all, brush);
  }
  if (!item.label.IsEmpty()) {
    HGDIOBJ oldFont = SelectObject(dc, labelFont ? labelFont : Skin::Get()->GetBoldFont());
    Str shown = FitLabel(dc, item.label, labelColumn - gap10);
    SetTextColor(dc, wholeRow ? text : kGrey);
    RECT box = {item.rect.left, 0, item.rect.left + labelColumn - gap10 + gap5, item.rect.bottom};
    DrawTextW(dc, shown, shown.GetLength(), &box, DT_RIGHT | DT_SINGLELINE | DT_NOPREFIX);
    SelectObject(dc, oldFont);
  }
  // The value wraps in the box the layout measured it in, which keeps clear of the icon.
  RECT value = {item.rect.left + labelColumn + gap5, 0, item.valueRight, item.rect.bottom};
  if (selected && selMode == 2) {
    RECT mark = {value.left - 2, 0, value.right + 2, item.rect.bottom};
    Fill(dc, mark, brush);
  }
  if (selected)
    item.text.DrawColored(dc, &value, kDrawFlags | kMarkupAddressBreak, text);
  else
    item.text.Draw(dc, &value, kDrawFlags | kMarkupAddressBreak);
  if (item.image) {
    // The icon fills its cell, and no more than the row's height: an icon resource of another size
    // would otherwise spill over the next row.
    int side = item.imageWidth < item.rect.bottom ? item.imageWidth : item.rect.bottom;
    const int iconLeft = item.rect.right - gap5 - item.imageWidth;
    DrawIconEx(dc, iconLeft + (item.imageWidth - side) / 2, 0, static_cast<HICON>(item.image), side, side, 0,
               nullptr, DI_NORMAL);
  }
}

void ContactTextWindow::PaintTitle(HDC dc, ContactTextItem& item) {
  int gap5 = Gap5();
  RECT box = {item.rect.left + gap5, 0, item.rect.right - gap5, item.rect.bottom};
  RECT measured = box;
  item.text.Draw(dc, &measured, DT_CALCRECT | DT_SINGLELINE);
  int textWidth = measured.right - measured.left;
  int textHeight = measured.bottom - measured.top;
  int left = box.left + (box.right - box.left - textWidth) / 2;
  RECT centred = {left, 0, left + textWidth, textHeight};
  item.text.DrawColored(dc, &centred, DT_SINGLELINE, kGrey);
  HGDIOBJ oldPen = SelectObject(dc, Skin::Get()->GetGreyPen());
  int y = textHeight / 2;
  if (left - 5 > item.rect.left + 5) {
    MoveToEx(dc, item.rect.left + 5, y, nullptr);
    LineTo(dc, left - 5, y);
  }
  if (left + textWidth + 5 < item.rect.right - 5) {
    MoveToEx(dc, left + textWidth + 5, y, nullptr);
    LineTo(dc, item.rect.right - 5, y);
  }
  SelectObject(dc, oldPen);
}
