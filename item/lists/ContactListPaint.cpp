// ContactList: painting a row. Every row is drawn whole into a bitmap of its own size and copied to
// the screen at once, so that a row never flickers.
#include "lists/ContactList.h"

#include <string.h>

#include "foundation/Handles.h"
#include "manager/datasource/ContactDataSource.h"
#include "phone/PhoneTemplates.h"
#include "presentation/AppFolders.h"
#include "presentation/Skin.h"
#include "presentation/UserFonts.h"
#include "resources/ListIds.h"
#include "storage/contact/Contact.h"
#include "storage/contact/ContactNames.h"

namespace {

const COLORREF kWhite = RGB(255, 255, 255);
const COLORREF kBlack = RGB(0, 0, 0);
// Text flags: one line, centred in the height, no prefix; then right-aligned, and centred.
const UINT kLineFlags = DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX;
const UINT kRightFlags = kLineFlags | DT_RIGHT;
const UINT kCentreFlags = kLineFlags | DT_CENTER;
// Characters that never stand right before the dots of a shortened text.
const wchar_t kSeparators[] = L" .,;:~@#$%^&*_-=+";

// Both mark bits of a row.
bool IsMarked(UINT state) { return (state & kRowMarked) && (state & kRowMarkedToo); }
// A marked row of the focused list: light text on the dark selection.
bool IsSelectedFocused(UINT state) { return IsMarked(state) && (state & kRowFocused); }

int TextWidth(HDC dc, const Str& text) {
  SIZE size = {0, 0};
  if (!text.IsEmpty()) GetTextExtentPoint32W(dc, text, text.GetLength(), &size);
  return size.cx;
}

void DrawLine(HDC dc, const Str& text, RECT box, UINT flags) {
  DrawTextW(dc, text, text.GetLength(), &box, flags);
}

void FillSolid(HDC dc, const RECT& rect, COLORREF color) {
  if (color == kWhite) {
    FillRect(dc, &rect, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    return;
  }
  GdiObject<HBRUSH> brush(CreateSolidBrush(color));
  FillRect(dc, &rect, brush.Get());
}

// Draws `bitmap` at its own size at (x, y), leaving its black pixels out.
void DrawTransparent(HDC dc, int x, int y, HBITMAP bitmap) {
  BITMAP info = {};
  if (!bitmap || !GetObjectW(bitmap, sizeof(info), &info)) return;
  HDC source = CreateCompatibleDC(dc);
  HGDIOBJ old = SelectObject(source, bitmap);
  GdiTransparentBlt(dc, x, y, info.bmWidth, info.bmHeight, source, 0, 0, info.bmWidth, info.bmHeight, kBlack);
  SelectObject(source, old);
  DeleteDC(source);
}

Str Unnamed() {
  Str text;
  text.LoadResource(IDS_UNNAMED);
  return text;
}

}  // namespace

void ContactList::OnDrawRow(HDC dc, const RECT& rect, int row, UINT state) {
  if (!source) return;
  const ListPosition position = RowToPosition(row);
  if (position.group < 0) return;
  const int width = rect.right - rect.left;
  const int height = rect.bottom - rect.top;
  if (width <= 0 || height <= 0) return;
  // A header is titled by its group's first contact. A contact that can't be read leaves the
  // rectangle as it was.
  Contact* contact = ContactAt(ListPosition{position.group, position.item >= 0 ? position.item : 0});
  if (!contact) return;

  HDC memory = CreateCompatibleDC(dc);
  if (!memory) return;
  GdiObject<HBITMAP> bitmap(CreateCompatibleBitmap(dc, width, height));
  if (bitmap.IsEmpty()) {
    DeleteDC(memory);
    return;
  }
  HGDIOBJ oldBitmap = SelectObject(memory, bitmap.Get());
  HGDIOBJ oldFont = GetCurrentObject(memory, OBJ_FONT);
  const RECT local = {0, 0, width, height};
  // The stripes go by the contact's place in its group, so that they start anew in each group.
  const COLORREF background =
      position.item < 0 ? kHeaderColor : (position.item % 2 == 0 ? kEvenRowColor : kWhite);
  DrawRowBackground(memory, local, state, background);
  SetBkMode(memory, TRANSPARENT);
  if (position.item < 0)
    DrawHeaderRow(memory, local, position.group, contact->text[ContactField::Company], IsExpanded(row),
                  state);
  else if (twoLines)
    DrawDoubleLine(memory, local, *contact, state);
  else
    DrawSingleLine(memory, local, *contact, state);
  BitBlt(dc, rect.left, rect.top, width, height, memory, 0, 0, SRCCOPY);
  SelectObject(memory, oldFont);
  SelectObject(memory, oldBitmap);
  DeleteDC(memory);
}

void ContactList::DrawRowBackground(HDC dc, const RECT& rect, UINT state, COLORREF background) const {
  if (IsMarked(state)) {
    FillSolid(dc, rect, (state & kRowFocused) ? kSelectedFocused : kSelectedUnfocused);
    return;
  }
  FillSolid(dc, rect, background);
  if (!(state & kRowMarked)) return;
  // Marked without the second bit: a frame line along the top and the bottom.
  GdiObject<HPEN> pen(CreatePen(PS_SOLID, 1, kMarkLineColor));
  HGDIOBJ old = SelectObject(dc, pen.Get());
  MoveToEx(dc, rect.left, rect.top, nullptr);
  LineTo(dc, rect.right, rect.top);
  MoveToEx(dc, rect.left, rect.bottom - 1, nullptr);
  LineTo(dc, rect.right, rect.bottom - 1);
  SelectObject(dc, old);
}

void ContactList::RowTexts(const Contact& contact, Str& name, Str& second) const {
  name.Empty();
  second.Empty();
  if (sortType == 1) {
    name = contact.text[ContactField::FileAs];
  } else {
    BuildName(contact.text[ContactField::LastName], contact.text[ContactField::FirstName],
              contact.text[ContactField::Company], contact.text[ContactField::MiddleName],
              contact.text[ContactField::Title], contact.text[ContactField::Suffix], name, second);
  }
  if (name.IsEmpty()) name = Unnamed();
}

void ContactList::RowNumber(const Contact& contact, Str& number, Str& label, Str& kind) const {
  contact.GetDefaultCommunication(number, label);
  if (templates) templates->FormatNumber(number);
  kind = label.Left(1);
}

void ContactList::DrawSingleLine(HDC dc, const RECT& rect, const Contact& contact, UINT state) {
  const int width = rect.right - rect.left;
  SetTextColor(dc, IsSelectedFocused(state) ? kWhite : kBlack);
  HFONT font = GetListFont(false);
  if (font) SelectObject(dc, font);

  const int left = ScaleX(6) + (grouped ? ScaleX(6) : 0);
  Str name, second;
  RowTexts(contact, name, second);
  Str number, label, kind;
  if (!nameOnly) RowNumber(contact, number, label, kind);

  const int avail = width - ScaleX(4) - ScaleX(6) * (grouped ? 2 : 1);
  int nameWidth = avail;
  int numberWidth = 0;
  if (!nameOnly) {
    const int x = avail - ScaleX(4) - ScaleX(2) - tailWidth;
    TrimToWidth(dc, number, x - static_cast<int>(0.4 * x));
    numberWidth = TextWidth(dc, number);
    nameWidth = avail - ScaleX(4) - ScaleX(2) - numberWidth - tailWidth;
  }
  TrimToWidth(dc, name, nameWidth);
  DrawHighlighted(dc, name, RECT{left, rect.top, left + nameWidth, rect.bottom}, kLineFlags);
  if (nameOnly) return;
  const int numberLeft = left + nameWidth + ScaleX(4);
  DrawLine(dc, number, RECT{numberLeft, rect.top, numberLeft + numberWidth, rect.bottom}, kRightFlags);
  SetTextColor(dc, IsMarked(state) ? kWhite : kKindColor);
  const int kindRight = width - ScaleX(4);
  DrawLine(dc, kind, RECT{kindRight - tailWidth, rect.top, kindRight, rect.bottom}, kRightFlags);
}

void ContactList::DrawPicture(HDC dc, const Contact& contact, int side) const {
  const ContactPhoto& photo = contact.photo;
  if (!photo.IsEmpty() && photo.Width() > 0 && photo.Height() > 0) {
    const float scale = side / static_cast<float>(photo.Width()) < side / static_cast<float>(photo.Height())
                            ? side / static_cast<float>(photo.Width())
                            : side / static_cast<float>(photo.Height());
    const int marginX = static_cast<int>((side - photo.Width() * scale) / 2);
    const int marginY = static_cast<int>((side - photo.Height() * scale) / 2);
    RECT square = {0, 0, side, side};
    FillRect(dc, &square, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = photo.Width();
    info.bmiHeader.biHeight = photo.Height();
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = static_cast<WORD>(photo.BitsPerPixel());
    info.bmiHeader.biCompression = BI_RGB;
    SetStretchBltMode(dc, COLORONCOLOR);
    StretchDIBits(dc, marginX, marginY, side - 2 * marginX, side - 2 * marginY, 0, 0, photo.Width(),
                  photo.Height(), photo.Pixels().GetData(), &info, DIB_RGB_COLORS, SRCCOPY);
    return;
  }
  Skin* skin = Skin::Get();
  if (!skin) return;
  const Str* text = contact.text;
  const bool companyOnly = text[ContactField::Title].IsEmpty() && text[ContactField::Suffix].IsEmpty() &&
                           text[ContactField::FirstName].IsEmpty() &&
                           text[ContactField::MiddleName].IsEmpty() &&
                           text[ContactField::LastName].IsEmpty() && !text[ContactField::Company].IsEmpty();
  HBITMAP picture = companyOnly            ? skin->GetCompanyBitmap()
                    : contact.flag102 != 0 ? skin->GetFlaggedBitmap()
                                           : skin->GetPersonBitmap();
  DrawTransparent(dc, ScaleX(2), ScaleX(2), picture);
}

void ContactList::DrawDoubleLine(HDC dc, const RECT& rect, const Contact& contact, UINT state) {
  const int width = rect.right - rect.left;
  const int h = rect.bottom - rect.top;
  DrawPicture(dc, contact, h);
  const COLORREF textColor = IsSelectedFocused(state) ? kWhite : kBlack;
  const COLORREF kindColor = IsMarked(state) ? kWhite : kKindColor;
  SetTextColor(dc, textColor);

  const int column = h - ScaleX(2);
  const int left = column + ScaleX(6) + (grouped ? ScaleX(6) : 0);
  const RECT top = {rect.left, rect.top, rect.right, rect.top + h / 2};
  const RECT bottom = {rect.left, rect.top + h / 2, rect.right, rect.bottom};

  Str name, second;
  RowTexts(contact, name, second);
  Str number, label, kind;
  if (!nameOnly) RowNumber(contact, number, label, kind);

  HFONT plain = GetListFont(false);
  if (plain) SelectObject(dc, plain);
  int numberWidth = TextWidth(dc, number);
  const int labelWidth = TextWidth(dc, label);
  const int secondWidth = TextWidth(dc, second);

  // The name in a bold copy of the list font, made for this row alone.
  LOGFONTW record = {};
  if (plain) GetObjectW(plain, sizeof(record), &record);
  record.lfWeight = FW_BOLD;
  GdiObject<HFONT> bold(CreateFontIndirectW(&record));
  if (!bold.IsEmpty()) SelectObject(dc, bold.Get());
  if (nameOnly) TrimToWidth(dc, name, width - left - ScaleX(4));
  const int nameWidth = TextWidth(dc, name);
  DrawHighlighted(dc, name, RECT{left, top.top, left + nameWidth, top.bottom}, kLineFlags);
  if (plain) SelectObject(dc, plain);

  if (!second.IsEmpty()) {
    const int secondLeft = left + nameWidth + ScaleX(6);
    if (secondWidth > width - secondLeft) TrimToWidth(dc, second, width - secondLeft);
    DrawLine(dc, second, RECT{secondLeft, top.top, width, top.bottom}, kLineFlags);
  }
  if (nameOnly) return;

  const int numberLeft = left + ScaleX(60);
  const int numberRight = width - ScaleX(4) - tailWidth;
  if (numberWidth > numberRight - numberLeft) {
    TrimToWidth(dc, number, numberRight - numberLeft);
    numberWidth = TextWidth(dc, number);
  }
  DrawLine(dc, number, RECT{numberLeft, bottom.top, numberRight, bottom.bottom}, kLineFlags);

  SetTextColor(dc, kindColor);
  const int labelRight = left + ScaleX(60) - ScaleX(4);
  if (labelWidth > labelRight - left) {
    TrimToWidth(dc, label, labelRight - left);
    DrawLine(dc, label, RECT{left, bottom.top, labelRight, bottom.bottom}, kLineFlags);
  } else {
    DrawLine(dc, label, RECT{left, bottom.top, labelRight, bottom.bottom}, kRightFlags);
  }
  const int kindRight = width - ScaleX(4);
  DrawLine(dc, kind, RECT{kindRight - tailWidth, bottom.top, kindRight, bottom.bottom}, kCentreFlags);
}

void ContactList::DrawHeaderRow(HDC dc, const RECT& rect, int group, Str title, BOOL open, UINT state) {
  SetTextColor(dc, IsSelectedFocused(state) ? GetSysColor(COLOR_HIGHLIGHTTEXT) : kBlack);
  HFONT bold = GetListFont(true);
  if (bold) SelectObject(dc, bold);

  const int iconWidth = ScaleX(8);
  const int iconHeight = ScaleY(8);
  const int iconId = open ? (Skin::isHighRes ? IDI_GROUP_EXPANDED_VGA : IDI_GROUP_EXPANDED)
                          : (Skin::isHighRes ? IDI_GROUP_COLLAPSED_VGA : IDI_GROUP_COLLAPSED);
  HICON icon = static_cast<HICON>(LoadImageW(GetModuleInstance(), MAKEINTRESOURCEW(iconId), IMAGE_ICON,
                                             iconWidth, iconHeight, LR_SHARED));
  const int iconX = ScaleX(6);
  const int iconY = rect.top + (rect.bottom - rect.top - iconHeight) / 2 + (open ? 0 : ScaleY(1));
  if (icon) DrawIconEx(dc, iconX, iconY, icon, iconWidth, iconHeight, 0, nullptr, DI_NORMAL);

  Str count;
  count.Format(L" (%i)", source->RowsInGroup(group));
  const int textLeft = iconX + iconWidth + ScaleX(4);
  const int textRight = rect.right - ScaleX(4);
  TrimToWidth(dc, title, textRight - textLeft - TextWidth(dc, count));
  DrawLine(dc, title + count, RECT{textLeft, rect.top, textRight, rect.bottom}, kLineFlags);
}

void ContactList::DrawHighlighted(HDC dc, const Str& text, const RECT& rect, UINT flags) {
  Array<int> positions;
  if (listener) listener->OnQueryHighlight(text, positions);
  const int length = text.GetLength();
  if (positions.GetSize() == 0 || length == 0) {
    DrawLine(dc, text, rect, flags);
    return;
  }
  int first = positions[0];
  int last = positions[positions.GetSize() - 1];
  first = first < 0 ? 0 : (first > length ? length : first);
  last = last < first ? first : (last >= length ? length - 1 : last);
  const Str before = text.Left(first);
  const Str marked = text.Mid(first, last - first + 1);
  const Str after = text.Mid(last + 1);
  RECT box = rect;
  DrawLine(dc, before, box, flags);
  box.left += TextWidth(dc, before);
  const COLORREF oldText = SetTextColor(dc, kBlack);
  const COLORREF oldBack = SetBkColor(dc, kHighlightColor);
  const int oldMode = SetBkMode(dc, OPAQUE);
  DrawLine(dc, marked, box, flags);
  SetBkMode(dc, oldMode);
  SetBkColor(dc, oldBack);
  SetTextColor(dc, oldText);
  box.left += TextWidth(dc, marked);
  DrawLine(dc, after, box, flags);
}

void ContactList::TrimToWidth(HDC dc, Str& text, int width) const {
  const int length = text.GetLength();
  if (length == 0) return;
  Array<int> offsets;
  offsets.SetSize(length);
  int fit = 0;
  SIZE size = {0, 0};
  GetTextExtentExPointW(dc, text, length, width > 0 ? width : 0, &fit, offsets.GetData(), &size);
  if (fit >= length) return;
  const int budget = width - ellipsisWidth;
  int kept = 0;
  while (kept < fit && offsets[kept] <= budget) ++kept;
  const bool walkedToEnd = kept == fit;
  while (kept > 0 && wcschr(kSeparators, text[kept - 1]) != nullptr) --kept;
  if (walkedToEnd || kept == 0)
    text = L"...";
  else
    text = text.Left(kept) + L"...";
}
