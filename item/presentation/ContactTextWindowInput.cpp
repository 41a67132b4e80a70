// Taps, holds and keys on the contact page's rows, and the reports they make to the parent.
#include "presentation/ContactTextWindow.h"
#include "presentation/Skin.h"

namespace {

int Gap5() { return (Skin::dpiX * 5 + 48) / 96; }
// A move of this many pixels from the down point is no tap any more.
const int kTapSlop = 3;

}  // namespace

int ContactTextWindow::HitTest(int x, int y, int& part) const {
  part = 0;
  int top = ItemTop(0);
  for (int i = 0; i < items.GetCount(); ++i) {
    const ContactTextItem& item = items[i];
    int bottom = top + item.rect.bottom;
    // A point on the border between two rows belongs to the upper one.
    if (y >= top && y <= bottom && (i == 0 || y > top)) {
      int rowY = y - top;
      if (item.kind == ItemField && x < labelColumn + Gap5()) {
        part = 1;
      } else if (x >= item.textRect.left && x < item.textRect.right && rowY >= item.textRect.top &&
                 rowY < item.textRect.bottom) {
        part = 2;
      } else if (item.kind == ItemField && item.image) {
        int iconLeft = item.rect.right - Gap5() - item.imageWidth;
        if (x >= iconLeft && x < iconLeft + item.imageWidth && rowY < item.imageHeight) part = 3;
      }
      return i;
    }
    top = bottom;
  }
  return -1;
}

bool ContactTextWindow::IsSelectable(int index) const {
  if (index < 0 || index >= items.GetCount()) return false;
  return items[index].kind != ItemTitle && !items[index].text.IsEmpty();
}

void ContactTextWindow::Select(int anchor, int end) {
  if (anchor == selAnchor && end == selEnd) return;
  selAnchor = anchor;
  selEnd = end;
  InvalidateRect(hwnd, nullptr, FALSE);
}

void ContactTextWindow::StopTimer(UINT_PTR id) {
  KillTimer(hwnd, id);
  // A tick already queued must not arrive after the stop.
  MSG message;
  while (PeekMessageW(&message, hwnd, WM_TIMER, WM_TIMER, PM_REMOVE)) {
    if (message.wParam != id) {
      PostMessageW(hwnd, WM_TIMER, message.wParam, message.lParam);
      break;
    }
  }
  if (id == kHoldTimer) holdTimerOn = 0;
  if (id == kAutoScrollTimer) autoScrollDir = 0;
}

void ContactTextWindow::StopTimers() {
  if (!hwnd) return;
  StopTimer(kHoldTimer);
  StopTimer(kAutoScrollTimer);
}

void ContactTextWindow::Notify(int section, int isValue, const wchar_t* text, int key) {
  ContactTextNotify report;
  report.header.hwndFrom = hwnd;
  report.header.idFrom = static_cast<UINT_PTR>(GetDlgCtrlID(hwnd));
  report.header.code = kNotifyCode;
  report.section = section;
  report.isValue = isValue;
  report.key = key;
  SendMessageW(GetParent(hwnd), WM_NOTIFY, reinterpret_cast<WPARAM>(text ? text : L""),
               reinterpret_cast<LPARAM>(&report));
}

void ContactTextWindow::NotifyItem(int index, int key) {
  if (index < 0 || index >= items.GetCount()) {
    Notify(-1, 0, L"", key);
    return;
  }
  const ContactTextItem& item = items[index];
  const wchar_t* plain = item.text.GetPlainText();
  Str text = item.extra.IsEmpty() ? Str(plain ? plain : L"") : item.extra;
  Notify(item.section, 1, text, key);
}

void ContactTextWindow::OnButtonDown(int x, int y) {
  SetFocus(hwnd);
  SetCapture(hwnd);
  StopTimers();
  tapAlive = 0;
  tapNothing = 0;
  tapSection = -1;
  tapText.Empty();
  valueTapped = 0;
  iconTapped = 0;
  pendingItem = -1;
  downPoint.x = x;
  downPoint.y = y;
  int part = 0;
  int hit = HitTest(x, y, part);
  if (hit < 0) {
    Select(-1, -1);
    tapNothing = 1;
    tapAlive = 1;
    return;
  }
  const ContactTextItem& item = items[hit];
  if (item.kind == ItemHead && part != 2) return;
  tapAlive = 1;
  holdTimerOn = SetTimer(hwnd, kHoldTimer, kHoldMs, nullptr) != 0;
  if (part == 2 || part == 3) {
    const wchar_t* plain = item.text.GetPlainText();
    tapSection = item.section;
    tapText = item.extra.IsEmpty() ? Str(plain ? plain : L"") : item.extra;
    valueTapped = 1;
    iconTapped = part == 3;
  }
  labelSide = part == 1;
  if (item.kind == ItemTitle) {
    Select(-1, -1);
  } else if (part == 0) {
    pendingItem = hit;
  } else if (!IsSelected(hit)) {
    selMode = part == 1 ? 1 : 2;
    Select(hit, hit);
  }
}

void ContactTextWindow::OnMouseMove(int x, int y) {
  if (GetCapture() != hwnd) return;
  if (tapAlive && (abs(x - downPoint.x) >= kTapSlop || abs(y - downPoint.y) >= kTapSlop)) {
    tapAlive = 0;
    StopTimer(kHoldTimer);
  }
  if (tapAlive || tapNothing) return;
  RECT client;
  GetClientRect(hwnd, &client);
  if (y >= 0 && y < client.bottom) {
    if (autoScrollDir) StopTimer(kAutoScrollTimer);
    selMode = x < labelColumn + Gap5() ? 1 : 2;
    int part = 0;
    int hit = HitTest(x, y, part);
    if (pendingItem >= 0) {
      selAnchor = pendingItem;
      pendingItem = -1;
    }
    if (hit >= 0 && selAnchor >= 0 && items[hit].kind != ItemTitle) {
      selEnd = hit;
      InvalidateRect(hwnd, nullptr, FALSE);
    }
    return;
  }
  int unit = ScrollUnit();
  int beyond = y < 0 ? -y : y - client.bottom;
  autoScrollStep = (beyond + unit) / unit;
  int direction = y < 0 ? -1 : 1;
  if (autoScrollDir != direction) {
    SetTimer(hwnd, kAutoScrollTimer, kAutoScrollMs, nullptr);
    autoScrollDir = direction;
  }
}

int ContactTextWindow::FirstOutOfView(int direction) const {
  RECT client;
  GetClientRect(hwnd, &client);
  if (direction < 0) {
    for (int i = items.GetCount() - 1; i >= 0; --i)
      if (ItemTop(i) < 0 && IsSelectable(i)) return i;
  } else {
    for (int i = 0; i < items.GetCount(); ++i)
      if (ItemTop(i) + items[i].rect.bottom > client.bottom && IsSelectable(i)) return i;
  }
  return -1;
}

void ContactTextWindow::OnAutoScroll() {
  if (!autoScrollDir) return;
  int next = FirstOutOfView(autoScrollDir);
  if (next >= 0 && selAnchor >= 0) {
    selEnd = next;
    InvalidateRect(hwnd, nullptr, FALSE);
  }
  OnVScroll(SB_THUMBTRACK, allPos + autoScrollDir * autoScrollStep);
}

void ContactTextWindow::OnButtonUp() {
  StopTimers();
  if (GetCapture() == hwnd) ReleaseCapture();
  if (pendingItem >= 0) {
    int item = pendingItem;
    pendingItem = -1;
    if (selAnchor == item && selEnd == item)
      InvalidateRect(hwnd, nullptr, FALSE);
    else {
      selMode = 2;
      Select(item, item);
    }
  }
  if (!tapAlive) return;
  tapAlive = 0;
  if (tapNothing)
    Notify(-1, 0, L"", 0);
  else
    Notify(tapSection, iconTapped, tapText, 0);
}

void ContactTextWindow::OnHold() {
  StopTimer(kHoldTimer);
  if (GetCapture() == hwnd) ReleaseCapture();
  tapAlive = 0;
  if (pendingItem >= 0) {
    selMode = 2;
    Select(pendingItem, pendingItem);
    pendingItem = -1;
  }
  if (selAnchor < 0) return;
  POINT at = downPoint;
  OpenCopyMenu(at);
}

void ContactTextWindow::OnKeyDown(UINT key) {
  // A held key fills the queue with repeats; only the first counts.
  MSG repeat;
  while (PeekMessageW(&repeat, hwnd, WM_KEYDOWN, WM_KEYDOWN, PM_NOREMOVE) && repeat.wParam == key)
    PeekMessageW(&repeat, hwnd, WM_KEYDOWN, WM_KEYDOWN, PM_REMOVE);
  RECT client;
  GetClientRect(hwnd, &client);
  switch (key) {
    case VK_UP: {
      selMode = 2;
      int last = -1;
      for (int i = items.GetCount() - 1; i >= 0 && last < 0; --i)
        if (IsSelectable(i)) last = i;
      bool lastInView =
          last >= 0 && ItemTop(last) + items[last].rect.bottom <= client.bottom && ItemTop(last) >= 0;
      if (last >= 0 && selEnd == last && !lastInView) {
        ScrollTo(allPos - 2);
        return;
      }
      int previous = -1;
      for (int i = (selEnd < 0 ? items.GetCount() : selEnd) - 1; i >= 0 && previous < 0; --i)
        if (IsSelectable(i)) previous = i;
      if (previous >= 0) {
        Select(previous, previous);
        ScrollIntoView(previous);
      } else {
        ScrollTo(allPos - 2);
      }
      return;
    }
    case VK_DOWN: {
      selMode = 2;
      int next = -1;
      for (int i = selEnd + 1; i < items.GetCount() && next < 0; ++i)
        if (IsSelectable(i)) next = i;
      if (next >= 0) {
        Select(next, next);
        ScrollIntoView(next);
      } else {
        ScrollTo(allPos + 2);
      }
      return;
    }
    case VK_LEFT:
      Notify(-1, 0, L"", VK_LEFT);
      return;
    case VK_RIGHT:
      NotifyItem(selEnd, VK_RIGHT);
      return;
    case VK_RETURN:
    case 134:
    case 114:
      // Acted on with their character (the pad's centre comes with a Return).
      return;
    default:
      SendMessageW(GetParent(hwnd), WM_KEYDOWN, key, 0);
      return;
  }
}

void ContactTextWindow::OnChar(UINT key) {
  if (key == VK_RETURN || key == 134 || key == 114) {
    NotifyItem(selEnd, static_cast<int>(key));
    return;
  }
  SendMessageW(GetParent(hwnd), WM_CHAR, key, 0);
}
