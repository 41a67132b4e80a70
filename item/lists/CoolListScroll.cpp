// Moving the window over the rows: the row count and height, scrolling by keys, by line and by the
// scroll bar, the caret's moves, and what a new window size does to the scroll position.
//
// The scroll bar's position is the first wholly shown row: the top row, or the one under it when the
// top row shows only in part.
#include "lists/CoolList.h"

#include <stdlib.h>

void CoolList::SetRowCount(int count, BOOL reset, int selectRow) {
  if (count < 0) count = 0;
  rowCount = count;
  markBits.SetSize((count + 31) / 32);
  // Marks of rows that no longer exist go, and the count follows what is left.
  if (count % 32 != 0) markBits[count / 32] &= (DWORD(1) << (count % 32)) - 1;
  markedCount = 0;
  for (int i = 0; i < markBits.GetSize(); ++i)
    for (DWORD bits = markBits[i]; bits != 0; bits &= bits - 1) ++markedCount;
  ComputeRowMetrics();

  if (reset) {
    ClearMarks();
    caretShown = 0;
    caret = 0;
    topRow = 0;
    topPart = 0;
  } else {
    if (selectRow != -1) {
      ClearMarks();
      caret = selectRow;
    }
    if (count > caret) {
      if (RowsRunOut()) BottomAlign();
      if (selectRow != -1 && IsOutOfView(caret)) {
        topRow = caret;
        topPart = 0;
        if (visibleRows + caret > count) BottomAlign();
      }
    }
  }
  if (count <= caret) {
    BottomAlign();
    caret = count > 0 ? count - 1 : 0;
  }
  if (count != 0) SetMark(caret, TRUE);
  UpdateScrollBar();
}

void CoolList::SetRowHeight(int height) {
  const int old = rowHeight;
  rowHeight = height;
  ComputeRowMetrics();
  if (height < old) {
    if (topPart >= height) topPart = 0;
    // The rows end above the bottom of the window when the whole rows run past the count, or reach it
    // exactly while the top part leaves a strip unfilled.
    const int rest = clientRect.bottom - clientRect.top - fullRows * rowHeight;
    const int first = FirstWholeRow();
    if (first + fullRows > rowCount || (first + fullRows == rowCount && topPart < rest)) BottomAlign();
  }
  UpdateScrollBar();
}

void CoolList::UpdateScrollBar() {
  if (!hwnd) return;
  SCROLLINFO info = {};
  info.cbSize = sizeof(info);
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  info.nMin = 0;
  info.nMax = rowCount > 1 ? rowCount - 1 : 0;
  info.nPage = fullRows;
  info.nPos = FirstWholeRow();
  SetScrollInfo(hwnd, SB_VERT, &info, TRUE);
}

int CoolList::ScrollPosition(int* trackPosition) const {
  SCROLLINFO info = {};
  info.cbSize = sizeof(info);
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_TRACKPOS;
  if (!hwnd || !GetScrollInfo(hwnd, SB_VERT, &info)) {
    info.nPos = FirstWholeRow();
    info.nTrackPos = info.nPos;
  }
  if (trackPosition) *trackPosition = info.nTrackPos;
  return info.nPos;
}

int CoolList::PixelShift(int oldFirstWhole, int oldTopPart) const {
  // A row r starts at (r - first whole row) * row height + top part.
  return (topPart - oldTopPart) - (FirstWholeRow() - oldFirstWhole) * rowHeight;
}

void CoolList::ScrollPixels(int dy, const RECT& clip) {
  if (!hwnd || dy == 0) return;
  // Only the rows' area moves, so that a top line above it stays where it is.
  RECT uncovered = {0, 0, 0, 0};
  ScrollWindowEx(hwnd, 0, dy, &clientRect, &clip, nullptr, &uncovered, 0);
  InvalidateRect(hwnd, &uncovered, FALSE);
}

// Modes 0 and 2 put `position` at the top, modes 1 and 3 make it the last row. Direction 1 is a move
// down, which aligns the last row with the bottom of the window. `oldCaret` (-1: none) is the caret
// before a move to a neighbouring row, whose two rows the caller repaints anyway.
BOOL CoolList::ScrollTo(int position, int mode, int direction, int oldCaret) {
  const int height = clientRect.bottom - clientRect.top;
  const int rest = height - fullRows * rowHeight;
  const int oldFirst = FirstWholeRow();
  const int oldTopPart = topPart;

  if (mode == 0 || mode == 2) {
    if (position > rowCount - fullRows) position = rowCount - fullRows;
    if (position < 0) position = 0;
    if (position + fullRows == rowCount || direction == 1) {
      topPart = rest;
      if (direction == 1 && rowHeight > 0 && (height - oldTopPart) / rowHeight < fullRows) {
        --position;
        if (position < 0) position = 0;
      }
    } else if (position == 0 || direction == 0) {
      topPart = 0;
    }
  } else {
    int p = position - fullRows + (mode == 1 ? 1 : 2);
    if (p > rowCount - 1) p = rowCount - 1;
    if (p < 0) {
      position = 0;
      topPart = 0;
    } else {
      position = p;
      topPart = p == 0 ? 0 : rest;
    }
  }

  topRow = position;
  Normalise();
  UpdateScrollBar();

  if (abs(FirstWholeRow() - oldFirst) > visibleRows) {
    if (hwnd) InvalidateRect(hwnd, nullptr, FALSE);
    return TRUE;
  }
  const int dy = PixelShift(oldFirst, oldTopPart);
  RECT clip = clientRect;
  // A step to a neighbouring row: the strip beside the two rows that repaint anyway is left alone.
  if (oldCaret != -1 && markedCount == 1 && abs(dy) <= rowHeight) {
    if (oldCaret == caret + 1)
      clip.top += dy;
    else if (oldCaret == caret - 1)
      clip.bottom += dy;
  }
  ScrollPixels(dy, clip);
  return FALSE;
}

BOOL CoolList::ScrollByKey(UINT key, int oldCaret) {
  const int p = ScrollPosition(nullptr);
  switch (key) {
    case VK_PRIOR:
      return ScrollTo(p - fullRows, 0, 0, oldCaret);
    case VK_NEXT:
      return ScrollTo(p + fullRows, 0, 0, oldCaret);
    case VK_END:
      return ScrollTo(rowCount, 0, 0, oldCaret);
    case VK_HOME:
      return ScrollTo(0, 0, 0, oldCaret);
    case VK_UP:
      return ScrollTo(p - 1, 0, 0, oldCaret);
    case VK_DOWN:
      return ScrollTo(p + 1, 0, 1, oldCaret);
    default:
      return ScrollTo(p, 0, 0, oldCaret);
  }
}

BOOL CoolList::ScrollLine(int direction) {
  const int p = ScrollPosition(nullptr);
  return ScrollTo(direction ? p + 1 : p - 1, 0, direction, -1);
}

void CoolList::MoveCaret(int row, UINT key) {
  const int old = caret;
  caret = row;
  BOOL jumped = FALSE;
  if (IsOutOfView(row)) {
    if (key == VK_HOME || key == VK_END) {
      jumped = ScrollByKey(key, old);
    } else if (IsOutOfView(old)) {
      // The caret was not in view either: show the new row without scrolling from where the window is.
      if (key == VK_PRIOR || key == VK_NEXT)
        jumped = ScrollTo(row, 2, 0, -1);
      else if (key == VK_UP)
        jumped = ScrollTo(row, IsEdgeRow(old) ? 2 : 3, 0, -1);
      else if (key == VK_DOWN)
        jumped = ScrollTo(row, IsEdgeRow(old) ? 1 : 2, 0, -1);
    } else if (key == VK_UP || key == VK_DOWN || key == VK_PRIOR || key == VK_NEXT) {
      jumped = ScrollByKey(key, old);
    }
  }
  // After a jump the whole window is invalid already.
  if (!jumped) {
    RepaintMarkedInView();
    InvalidateRow(caret);
  }
  ClearMarks();
  if (rowCount > 0) SetMark(caret, TRUE);
  if (hwnd) UpdateWindow(hwnd);
  if (owner) owner->OnCaretChanged(caret);
}

void CoolList::OnVScroll(int code) {
  int track = 0;
  const int p = ScrollPosition(&track);
  int target;
  switch (code) {
    case SB_LINEUP:
      target = p - 1;
      break;
    case SB_LINEDOWN:
      target = p + 1;
      break;
    case SB_PAGEUP:
      target = p - fullRows;
      break;
    case SB_PAGEDOWN:
      target = p + fullRows;
      break;
    case SB_THUMBTRACK:
      target = track;
      break;
    case SB_TOP:
      target = 0;
      break;
    case SB_BOTTOM:
      target = rowCount;
      break;
    case SB_ENDSCROLL:
      return;
    default:
      target = p;
      break;
  }
  ScrollTo(target, 0, 0, -1);
  UpdateWindow(hwnd);
}

// --- size ------------------------------------------------------------------------------------------

void CoolList::OnSizeMessage() {
  // Measured before anything changes: the caret wholly in view as the only marked row.
  const BOOL caretWhole = !IsOutOfView(caret) && markedCount == 1;
  const RECT rect = RowArea();
  const int oldWidth = clientRect.right - clientRect.left;
  const int oldHeight = lastHeight;
  const int width = rect.right - rect.left;
  const int height = rect.bottom - rect.top;
  clientRect = rect;

  if (width != oldWidth) {
    if (owner) owner->OnWidthChanged(rect.left, width);
    InvalidateRect(hwnd, nullptr, FALSE);
  }
  if (height != oldHeight) {
    // Stored first: the scroll bar may come or go below, which sends WM_SIZE again.
    lastHeight = height;
    ComputeRowMetrics();
    if (height < oldHeight && !RowFits() && caretWhole)
      ShrinkScroll();
    else
      GrowScroll(oldHeight);
  }
  // A press in progress no longer points at what it was pressed on.
  if (GetCapture() == hwnd) {
    ReleaseCapture();
    pressTimer.Stop();
    EndTracking();
  }
}

void CoolList::GrowScroll(int oldHeight) {
  if (RowsRunOut()) {
    // The last row would end above the bottom: bring it down to the bottom edge.
    const int oldFirst = FirstWholeRow();
    const int oldTopPart = topPart;
    BottomAlign();
    ScrollPixels(PixelShift(oldFirst, oldTopPart), clientRect);
  } else if (hwnd && clientRect.bottom - clientRect.top > oldHeight) {
    RECT strip = clientRect;
    strip.top = clientRect.top + oldHeight;
    InvalidateRect(hwnd, &strip, FALSE);
  }
  UpdateScrollBar();
}

void CoolList::ShrinkScroll() {
  if (IsOutOfView(caret) && caret != topRow) {
    // The caret becomes the last whole row.
    const int oldFirst = FirstWholeRow();
    const int oldTopPart = topPart;
    topPart = clientRect.bottom - clientRect.top - fullRows * rowHeight;
    topRow = caret - fullRows + 1;
    if (topRow > caret) {
      topRow = caret;
      topPart = 0;
    }
    Normalise();
    ScrollPixels(PixelShift(oldFirst, oldTopPart), clientRect);
  }
  UpdateScrollBar();
}

void CoolList::EndTracking() {
  focusTap = 0;
  trackingOff = 1;
  tapOnMarked = 0;
}
