// The rows of the contact page: the reusable list, and adding fields, the head and clearing.
#include "presentation/ContactTextWindow.h"
#include "presentation/Skin.h"

namespace {

void ResetItem(ContactTextItem& item) {
  item.kind = ItemField;
  item.label.Empty();
  item.text.Clear();
  item.extra.Empty();
  SetRect(&item.rect, 0, 0, 0, 0);
  SetRect(&item.textRect, 0, 0, 0, 0);
  item.section = 0;
  item.spacing = 0;
  item.image = nullptr;
  item.imageWidth = 0;
  item.imageHeight = 0;
  item.transparent = 0;
  item.valueRight = 0;
}

}  // namespace

ContactTextItemList::ContactTextItemList() : items(nullptr), count(0), capacity(0) {}

ContactTextItemList::~ContactTextItemList() { delete[] items; }

ContactTextItem& ContactTextItemList::Add() {
  if (count == capacity) {
    int grown = capacity ? capacity * 2 : 30;
    ContactTextItem* larger = new ContactTextItem[grown];
    for (int i = 0; i < count; ++i) larger[i] = items[i];
    delete[] items;
    items = larger;
    capacity = grown;
  }
  ContactTextItem& item = items[count++];
  ResetItem(item);
  return item;
}

void ContactTextWindow::AddField(const Str& label, const Str& value, const Str& extra, int section,
                                 int spacing, HICON icon) {
  ContactTextItem& item = items.Add();
  item.kind = ItemField;
  item.label = label;
  item.text.SetFontCache(&fontCache);
  item.text.Parse(value);
  item.extra = extra;
  item.section = section;
  item.spacing = spacing;
  item.image = icon;
  if (icon) {
    int side = (Skin::dpiX + 24) * 2 / 96 + (Skin::dpiY + 3) * 16 / 96;
    item.imageWidth = side;
    item.imageHeight = side;
  }
}

void ContactTextWindow::SetHead(HBITMAP photo, const Str& text, int section, int spacing, BOOL transparent) {
  ContactTextItem& item = items.Add();
  item.kind = ItemHead;
  item.text.SetFontCache(&fontCache);
  item.text.Parse(text);
  item.section = section;
  item.spacing = spacing;
  item.image = photo;
  item.transparent = transparent ? 1 : 0;
  // Without a photo the row keeps the room of the default picture, which it doesn't draw.
  HBITMAP sized = photo ? photo : Skin::Get()->GetPersonBitmap();
  BITMAP info;
  if (sized && GetObjectW(sized, sizeof info, &info)) {
    item.imageWidth = info.bmWidth;
    item.imageHeight = info.bmHeight < 0 ? -info.bmHeight : info.bmHeight;
  }
}

void ContactTextWindow::Clear() {
  items.Clear();
  if (note.GetHwnd()) ShowWindow(note.GetHwnd(), SW_HIDE);
  noteVisible = 0;
  textPos = 0;
  textMax = 0;
  allPos = 0;
  allMax = 0;
  noteRest = 0;
  lastStepShort = 0;
  selAnchor = -1;
  selEnd = -1;
  pendingItem = -1;
  tapAlive = 0;
  StopTimers();
}

void ContactTextWindow::SetFonts(HFONT label, HFONT base) {
  labelFont = label;
  valueFont = base;
  if (base) fontCache.SetBaseFont(base);
  for (int i = 0; i < items.GetCount(); ++i) items[i].text.Invalidate();
  Relayout();
}

void ContactTextWindow::SetLabelColumn(int width) {
  labelColumn = width;
  Relayout();
}
