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

// A 32-bit top-down bitmap whose pixels can be read and written, selected into a context of its own.
struct PixelBuffer {
  HDC dc = nullptr;
  HBITMAP bitmap = nullptr;
  HGDIOBJ old = nullptr;
  DWORD* bits = nullptr;
  int width = 0;

  PixelBuffer(HDC like, int w, int h) : width(w) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = w;
    info.bmiHeader.biHeight = -h;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* data = nullptr;
    bitmap = CreateDIBSection(like, &info, DIB_RGB_COLORS, &data, nullptr, 0);
    dc = CreateCompatibleDC(like);
    if (!bitmap || !dc) return;
    old = SelectObject(dc, bitmap);
    bits = static_cast<DWORD*>(data);
  }
  ~PixelBuffer() {
    if (old) SelectObject(dc, old);
    if (dc) DeleteDC(dc);
    if (bitmap) DeleteObject(bitmap);
  }
  bool IsEmpty() const { return bits == nullptr; }
  DWORD& At(int x, int y) { return bits[y * width + x]; }
};

// How much of each source pixel a target pixel covers when `from` pixels shrink to `to` (to < from):
// for target t, the source span [t * from / to, (t + 1) * from / to).
void CoverSpan(int t, int from, int to, int& first, int& last, float* weights) {
  const float begin = t * static_cast<float>(from) / to;
  const float end = (t + 1) * static_cast<float>(from) / to;
  first = static_cast<int>(begin);
  last = static_cast<int>(end);
  if (last >= from || end <= last) last = (last >= from ? from : last) - 1;
  for (int s = first; s <= last; ++s) {
    const float low = s > begin ? s : begin;
    const float high = s + 1 < end ? s + 1 : end;
    weights[s - first] = high - low;
  }
}

// Shrinks a picture with black as its transparent colour into `target`, whose pixels hold what lies
// below: each target pixel averages the opaque source pixels it covers and lets the ground show
// through as far as it covers transparent ones, so that a smaller picture keeps smooth edges.
void ShrinkOver(PixelBuffer& picture, int width, int height, PixelBuffer& target, int tw, int th) {
  float wx[64], wy[64];
  for (int ty = 0; ty < th; ++ty) {
    int y0, y1;
    CoverSpan(ty, height, th, y0, y1, wy);
    for (int tx = 0; tx < tw; ++tx) {
      int x0, x1;
      CoverSpan(tx, width, tw, x0, x1, wx);
      float all = 0, opaque = 0, red = 0, green = 0, blue = 0;
      for (int y = y0; y <= y1 && y - y0 < 64; ++y) {
        for (int x = x0; x <= x1 && x - x0 < 64; ++x) {
          const float weight = wx[x - x0] * wy[y - y0];
          const DWORD pixel = picture.At(x, y) & 0xFFFFFF;
          all += weight;
          if (pixel == 0) continue;
          opaque += weight;
          red += weight * ((pixel >> 16) & 0xFF);
          green += weight * ((pixel >> 8) & 0xFF);
          blue += weight * (pixel & 0xFF);
        }
      }
      if (opaque <= 0 || all <= 0) continue;
      const float cover = opaque / all;
      DWORD& ground = target.At(tx, ty);
      const auto mix = [&](float sum, int shift) {
        const float below = static_cast<float>((ground >> shift) & 0xFF);
        return static_cast<DWORD>(below + (sum / opaque - below) * cover + 0.5f) << shift;
      };
      ground = mix(red, 16) | mix(green, 8) | mix(blue, 0);
    }
  }
}

// Draws `bitmap` into the square of `side` at (x, y), leaving its black pixels out: at its own size
// when it fits, else shrunk evenly to the square, so that the whole picture shows in any row height.
void DrawTransparentFitted(HDC dc, int x, int y, int side, HBITMAP bitmap) {
  BITMAP info = {};
  if (!bitmap || side <= 0 || !GetObjectW(bitmap, sizeof(info), &info)) return;
  const int width = info.bmWidth;
  const int height = info.bmHeight < 0 ? -info.bmHeight : info.bmHeight;
  if (width <= 0 || height <= 0) return;
  HDC source = CreateCompatibleDC(dc);
  HGDIOBJ old = SelectObject(source, bitmap);
  const int larger = width > height ? width : height;
  if (larger <= side) {
    GdiTransparentBlt(dc, x, y, width, height, source, 0, 0, width, height, kBlack);
  } else {
    const int tw = width * side / larger > 0 ? width * side / larger : 1;
    const int th = height * side / larger > 0 ? height * side / larger : 1;
    PixelBuffer picture(dc, width, height);
    PixelBuffer target(dc, tw, th);
    // A picture may shrink at most 64 times, which no row comes near.
    if (!picture.IsEmpty() && !target.IsEmpty() && larger / side < 63) {
      BitBlt(picture.dc, 0, 0, width, height, source, 0, 0, SRCCOPY);
      BitBlt(target.dc, 0, 0, tw, th, dc, x, y, SRCCOPY);
      GdiFlush();
      ShrinkOver(picture, width, height, target, tw, th);
      BitBlt(dc, x, y, tw, th, target.dc, 0, 0, SRCCOPY);
    }
  }
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
  // The picture stands ScaleX(2) in from the row's left and top; it keeps as much room below.
  DrawTransparentFitted(dc, ScaleX(2), ScaleX(2), side - 2 * ScaleX(2), picture);
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
  if (icon) {
    DrawIconEx(dc, iconX, iconY, icon, iconWidth, iconHeight, 0, nullptr, DI_NORMAL);
    // The dark mark would vanish on the dark ground of the focused selection: there it takes the
    // text's colour. The ground is read beside the mark, as the row's bitmap holds it.
    if (IsSelectedFocused(state)) {
      const COLORREF ground = GetPixel(dc, iconX - 1, iconY);
      const COLORREF light = GetSysColor(COLOR_HIGHLIGHTTEXT);
      for (int y = iconY; y < iconY + iconHeight; ++y)
        for (int x = iconX; x < iconX + iconWidth; ++x)
          if (GetPixel(dc, x, y) != ground) SetPixel(dc, x, y, light);
    }
  }

  Str count;
  count.Format(L" (%i)", source->RowsInGroup(group));
  const int textLeft = iconX + iconWidth + ScaleX(4);
  const int textRight = rect.right - ScaleX(4);
  TrimToWidth(dc, title, textRight - textLeft - TextWidth(dc, count));
  // The contacts without a company have no title: their count stands where the titles start.
  DrawLine(dc, title.IsEmpty() ? count.Mid(1) : title + count,
           RECT{textLeft, rect.top, textRight, rect.bottom}, kLineFlags);
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
  // The dots are measured in the font the text is drawn in, which may be the bold one.
  SIZE dots = {0, 0};
  const int budget = width - (GetTextExtentPoint32W(dc, L"...", 3, &dots) ? dots.cx : ellipsisWidth);
  // Every character that fits within the budget is kept: the kept text and the dots fit the width.
  int kept = 0;
  while (kept < fit && offsets[kept] <= budget) ++kept;
  while (kept > 0 && wcschr(kSeparators, text[kept - 1]) != nullptr) --kept;
  if (kept == 0)
    text = L"...";
  else
    text = text.Left(kept) + L"...";
}
