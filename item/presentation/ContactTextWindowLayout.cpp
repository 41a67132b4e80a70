// Layout of the contact page's rows, and scrolling over the rows and the note as one page.
#include "presentation/ContactTextWindow.h"
#include "presentation/Skin.h"

namespace {

int Gap5() { return (Skin::dpiX * 5 + 48) / 96; }
// The head's picture stands this far from the left and from the top.
int HeadLeft() { return (Skin::dpiX + 24) * 2 / 96; }
int HeadTop() { return (Skin::dpiY + 16) * 3 / 96; }

}  // namespace

int ContactTextWindow::ScrollUnit() const { return (Skin::dpiY * 10 + 48) / 96; }

int ContactTextWindow::PageSteps() const {
  RECT client;
  GetClientRect(hwnd, &client);
  int steps = client.bottom / ScrollUnit();
  return steps > 0 ? steps : 1;
}

BOOL ContactTextWindow::NoteVisible() const { return noteVisible != 0; }

void ContactTextWindow::Layout() {
  if (!hwnd) return;
  RECT client;
  GetClientRect(hwnd, &client);
  int gap5 = Gap5();
  RECT base = {labelColumn + gap5, 0, client.right - gap5, client.bottom};
  HDC dc = Skin::Get()->GetScreenDC();
  for (int i = 0; i < items.GetCount(); ++i) {
    ContactTextItem& item = items[i];
    SetRect(&item.rect, client.left, 0, client.right, 0);
    RECT text = base;
    if (item.kind == ItemHead) {
      text.left = client.left + gap5 + HeadLeft() + item.imageWidth;
      text.top += HeadTop();
    } else if (item.kind == ItemTitle) {
      text.left = client.left + gap5;
      text.right = client.right - gap5;
    } else {
      // A value keeps the gap to its icon, and its last letter's slant stays inside its box.
      if (item.image) text.right = base.right - item.imageWidth - gap5;
      text.right -= item.text.InkOverhang(dc);
      item.valueRight = text.right;
    }
    if (text.right < text.left) text.right = text.left;
    if (!item.text.IsEmpty()) {
      // A value too wide for its line breaks as an address would, after an "@" or a ".".
      item.text.Draw(
          dc, &text,
          item.kind == ItemField ? kMarkupMeasureFlags | kMarkupAddressBreak : kMarkupMeasureFlags);
    } else {
      // Nothing to measure: the text takes no room.
      text.right = text.left;
      text.bottom = text.top;
    }
    item.textRect = text;
    int bottom = text.bottom;
    if (item.kind == ItemHead && bottom < item.imageHeight + HeadTop()) bottom = item.imageHeight + HeadTop();
    if (!item.text.IsEmpty()) bottom += (Skin::dpiY + 24) * 2 / 96;
    bottom += item.spacing;
    item.rect.bottom = bottom;
  }
}

int ContactTextWindow::TotalHeight() const {
  int height = 0;
  for (int i = 0; i < items.GetCount(); ++i) height += items[i].rect.bottom;
  if (noteVisible) {
    RECT client;
    GetClientRect(hwnd, &client);
    height += client.bottom;
  }
  return height;
}

int ContactTextWindow::NoteRange() const {
  if (!noteVisible || !note.GetHwnd()) return 0;
  SCROLLINFO info = {sizeof info, SIF_RANGE | SIF_PAGE, 0, 0, 0, 0, 0};
  if (!GetScrollInfo(note.GetHwnd(), SB_VERT, &info)) return 0;
  int range = info.nMax - info.nMin - static_cast<int>(info.nPage ? info.nPage : 1) + 1;
  return range > 0 ? range : 0;
}

int ContactTextWindow::NotePos() const {
  if (!noteVisible || !note.GetHwnd()) return 0;
  SCROLLINFO info = {sizeof info, SIF_POS, 0, 0, 0, 0, 0};
  if (!GetScrollInfo(note.GetHwnd(), SB_VERT, &info)) return 0;
  return info.nPos;
}

int ContactTextWindow::ItemTop(int index) const {
  int offset = textPos * ScrollUnit();
  if (textMax > 0 && textPos == textMax) offset -= lastStepShort;
  int top = -offset;
  for (int i = 0; i < index && i < items.GetCount(); ++i) top += items[i].rect.bottom;
  return top;
}

void ContactTextWindow::UpdateScroll() {
  if (!hwnd) return;
  RECT client;
  GetClientRect(hwnd, &client);
  int unit = ScrollUnit();
  int height = TotalHeight();
  textMax = (height - client.bottom + unit - 1) / unit;
  if (textMax < 0) textMax = 0;
  if (textPos > textMax) textPos = textMax;
  lastStepShort = textMax > 0 ? unit * textMax + client.bottom - height : 0;
  // The note's own range follows its size: it is placed before it is asked, and again when the range
  // it gave changed its width.
  PlaceNote();
  int range = NoteRange();
  PlaceNote();
  if (NoteRange() != range) range = NoteRange();
  noteRest = range;
  if (range > 0) {
    allMax = textMax + range;
    allPos = textPos == textMax ? textMax + NotePos() : textPos;
  } else {
    allMax = textMax;
    allPos = textPos;
  }
  int page = client.bottom / unit;
  SCROLLINFO info = {
      sizeof info, SIF_RANGE | SIF_PAGE | SIF_POS, 0, allMax + page - 1, static_cast<UINT>(page), allPos, 0};
  SetScrollInfo(hwnd, SB_VERT, &info, TRUE);
}

void ContactTextWindow::PlaceNote() {
  if (!noteVisible || !note.GetHwnd()) return;
  RECT client;
  GetClientRect(hwnd, &client);
  int gap5 = Gap5();
  int width = client.right - gap5;
  // A note with a scroll range of its own keeps its scroll bar out of sight: the page's bar serves.
  if (NoteRange() > 0) width += GetSystemMetrics(SM_CXVSCROLL) + 1;
  SetWindowPos(note.GetHwnd(), nullptr, gap5, ItemTop(items.GetCount()), width, client.bottom,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

void ContactTextWindow::Relayout() {
  if (!hwnd) return;
  Layout();
  UpdateScroll();
  InvalidateRect(hwnd, nullptr, FALSE);
  UpdateWindow(hwnd);
}

void ContactTextWindow::ScrollTo(int position) {
  if (position > allMax) position = allMax;
  if (position < 0) position = 0;
  int textTarget = position < textMax ? position : textMax;
  int noteTarget = position - textTarget;
  int oldTop = ItemTop(0);
  textPos = textTarget;
  int newTop = ItemTop(0);
  if (newTop != oldTop)
    ScrollWindowEx(hwnd, 0, newTop - oldTop, nullptr, nullptr, nullptr, nullptr,
                   SW_INVALIDATE | SW_SCROLLCHILDREN);
  if (noteVisible && note.GetHwnd() && NoteRange() > 0 && NotePos() != noteTarget)
    SendMessageW(note.GetHwnd(), WM_VSCROLL, MAKEWPARAM(SB_THUMBPOSITION, noteTarget), 0);
  UpdateScroll();
  UpdateWindow(hwnd);
}

void ContactTextWindow::OnVScroll(int code, int thumb) {
  int page = PageSteps();
  // At the border between rows and note, a page is the note's own page.
  if (noteRest > 0 && allPos >= textMax && note.GetHwnd()) {
    SCROLLINFO info = {sizeof info, SIF_PAGE, 0, 0, 0, 0, 0};
    if (GetScrollInfo(note.GetHwnd(), SB_VERT, &info) && info.nPage > 0) page = static_cast<int>(info.nPage);
  }
  int target = allPos;
  switch (code) {
    case SB_LINEUP:
      target -= 1;
      break;
    case SB_LINEDOWN:
      target += 1;
      break;
    case SB_PAGEUP:
      target -= page;
      break;
    case SB_PAGEDOWN:
      target += page;
      break;
    case SB_THUMBTRACK:
      target = thumb;
      break;
    case SB_TOP:
      target = 0;
      break;
    case SB_BOTTOM:
      target = allMax;
      break;
    case SB_THUMBPOSITION:
      return;
    case kScrollRelative:
      target += static_cast<short>(thumb);
      break;
    default:
      return;
  }
  ScrollTo(target);
}

void ContactTextWindow::ScrollIntoView(int index) {
  if (index < 0 || index >= items.GetCount()) return;
  RECT client;
  GetClientRect(hwnd, &client);
  int unit = ScrollUnit();
  int top = ItemTop(index);
  int bottom = top + items[index].rect.bottom;
  int steps = 0;
  if (bottom - top > client.bottom || bottom > client.bottom)
    steps = (bottom - client.bottom + unit - 1) / unit;
  else if (top < 0)
    steps = -((-top + unit - 1) / unit);
  if (steps != 0) ScrollTo(allPos + steps);
}
