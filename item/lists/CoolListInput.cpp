// Keys and the stylus: moving the caret by keys, the Action key's short and long press, the tap, the
// long press, the drag that marks a run of rows, and the double tap.
#include "lists/CoolList.h"

#include <aygshell.h>
#include <stdlib.h>
#include "foundation/Settings.h"

namespace {

// 1: moving past either end of the list wraps to the other end. Read at each key press, so that a
// change made elsewhere counts at once.
DWORD ListCyclic() { return GetSettingDword(SECTION_SETTINGS, L"ListCyclic", 0); }

}  // namespace

// --- keys ------------------------------------------------------------------------------------------

void CoolList::DrainKeyDown() {
  MSG msg;
  while (PeekMessageW(&msg, hwnd, WM_KEYDOWN, WM_KEYDOWN, PM_REMOVE | PM_NOYIELD)) {
  }
}

void CoolList::DrainKeys() {
  MSG msg;
  while (PeekMessageW(&msg, hwnd, WM_KEYDOWN, WM_KEYUP, PM_REMOVE | PM_NOYIELD)) {
  }
}

void CoolList::OnKeyDownMessage(UINT key, LPARAM lParam) {
  if (key != kActionKey) TestStuckActionKey();
  int target;
  switch (key) {
    case VK_RETURN:
      if (actionDown) return;
      // Key repeat that queued up meanwhile must not act on whatever the activation opened.
      DrainKeys();
      Activate();
      DrainKeys();
      return;
    case VK_HOME:
      target = 0;
      break;
    case VK_END:
      target = rowCount - 1;
      break;
    case VK_PRIOR:
      target = caret - fullRows;
      break;
    case VK_NEXT:
      target = caret + fullRows;
      break;
    case VK_UP:
      if (caret == 0 && ListCyclic() == 1) {
        target = rowCount - 1;
        key = VK_END;
      } else {
        target = caret - 1;
        if (target < 0) {
          // Above the first row the key belongs to the owner, e.g. to go back to a search field.
          if (owner) owner->OnKeyDown(hwnd, VK_UP, lParam);
          DrainKeyDown();
          return;
        }
      }
      break;
    case VK_DOWN:
      if (caret == rowCount - 1 && ListCyclic() == 1) {
        target = 0;
        key = VK_HOME;
      } else {
        target = caret + 1;
      }
      break;
    case kActionKey:
      OnActionKeyDown();
      return;
    default:
      if (owner) owner->OnKeyDown(hwnd, key, lParam);
      return;
  }
  if (target > rowCount - 1) target = rowCount - 1;
  if (target < 0) target = 0;
  if (target != caret) MoveCaret(target, key);
  // Repeats that queued up while the list scrolled are dropped, so it stops when the key comes up.
  DrainKeyDown();
}

void CoolList::OnActionKeyDown() {
  if (actionDown) return;
  const BYTE wasShown = caretShown;
  caretShown = 1;
  if (!wasShown || !IsOutOfView(caret)) {
    InvalidateRow(caret);
    UpdateWindow(hwnd);
  }
  actionDown = 1;
  actionTimer.Start(kLongPressMs);
}

void CoolList::OnKeyUpMessage(UINT key, LPARAM lParam) {
  if (key == kActionKey) {
    if (!actionDown) return;
    actionTimer.Stop();
    actionDown = 0;
    if (!actionLong) {
      DrainKeys();
      Activate();
      DrainKeys();
    }
    actionLong = 0;
    return;
  }
  TestStuckActionKey();
  if (owner) owner->OnKeyUp(hwnd, key, lParam);
}

void CoolList::Activate() {
  if (owner) owner->OnActivate(caret);
  RepaintMarkedInView();
  InvalidateRow(caret);
  ClearMarks();
  if (rowCount > 0) SetMark(caret, TRUE);
  if (hwnd) UpdateWindow(hwnd);
  TestStuckActionKey();
}

// A WM_KEYUP of the Action key can be lost (drained, or taken by a window that came up meanwhile).
// When the key is no longer down, the flag is taken for a key up.
void CoolList::TestStuckActionKey() {
  if (actionDown && !(GetAsyncKeyState(kActionKey) & 0x8000)) OnKeyUpMessage(kActionKey, 0);
}

// --- stylus ----------------------------------------------------------------------------------------

BOOL CoolList::SelectRow(int row) {
  if (row == caret || IsMarked(row)) return FALSE;
  caret = row;
  BOOL jumped = FALSE;
  if (IsOutOfView(row)) {
    // A tapped row out of view shows in part at an edge: one line brings it in.
    if (row == topRow)
      jumped = ScrollLine(0);
    else if (IsEdgeRow(row))
      jumped = ScrollLine(1);
  }
  if (!jumped) {
    InvalidateRow(caret);
    RepaintMarkedInView();
  }
  ClearMarks();
  SetMark(caret, TRUE);
  if (hwnd) UpdateWindow(hwnd);
  if (owner) owner->OnCaretChanged(caret);
  return TRUE;
}

void CoolList::OnPress(int x, int y) {
  const BYTE wasFocused = focused;
  SetFocus(hwnd);
  if (!wasFocused) focusTap = 1;
  TestStuckActionKey();
  tapPoint.x = x;
  tapPoint.y = y;
  moved = 0;

  const int row = RowFromY(y);
  if (row >= 0) {
    tapOnMarked = IsMarked(row);
    if (!caretShown) InvalidateRow(caret);
    caretShown = 1;
    if (!actionDown) {
      const BOOL caretMoved = SelectRow(row);
      if (owner && owner->OnPressTest(x, y)) {
        // The owner took the tap (a button drawn in the row, say).
        InvalidateRow(caret);
        UpdateWindow(hwnd);
        trackingOff = 1;
        return;
      }
      if (caretMoved) UpdateWindow(hwnd);
    } else {
      // With the Action key held a tap adds the row to the marked ones.
      MarkRow(row);
    }
    dragAnchor = row;
    dragRow = row;
    trackingOff = 0;
  } else {
    tapOnMarked = 0;
    trackingOff = 1;
    if (rowCount > 0) {
      // A press under the rows hides the selection; the caret alone stays marked.
      caretShown = 0;
      RepaintMarkedInView();
      ClearMarks();
      SetMark(caret, TRUE);
      InvalidateRow(caret);
      UpdateWindow(hwnd);
    }
  }

  SetCapture(hwnd);
  pressTimer.Start(kLongPressMs);
  if (!noGesture) {
    // The shell draws its tap-and-hold feedback; the list's own press timer decides on the long press.
    SHRGINFO info = {};
    info.cbSize = sizeof(info);
    info.hwndClient = hwnd;
    info.ptDown.x = x;
    info.ptDown.y = y;
    info.dwFlags = SHRG_RETURNCMD;
    SHRecognizeGesture(&info);
  }
}

void CoolList::OnMove(int x, int y) {
  if (dragEnabled) {
    if (!trackingOff) {
      // Beyond an edge the list scrolls a line towards the stylus.
      if (y < clientRect.top) {
        ScrollLine(0);
        y = clientRect.top;
      } else if (y > clientRect.bottom) {
        ScrollLine(1);
        y = clientRect.bottom;
      }
    }
    if (abs(y - tapPoint.y) >= kTapSlackY || abs(x - tapPoint.x) > kTapSlackX) {
      moved = 1;
      pressTimer.Stop();
    }
    if (!trackingOff) {
      const int row = RowFromY(y);
      if (row >= 0 && row != dragRow) {
        pressTimer.Stop();
        moved = 1;
        // The run from the anchor to the stylus is marked; rows that left it lose their mark. Each
        // row that changes repaints with its neighbours, which the owner may draw joined to it.
        const int oldLow = dragAnchor < dragRow ? dragAnchor : dragRow;
        const int oldHigh = dragAnchor < dragRow ? dragRow : dragAnchor;
        const int low = dragAnchor < row ? dragAnchor : row;
        const int high = dragAnchor < row ? row : dragAnchor;
        const int from = oldLow < low ? oldLow : low;
        const int to = oldHigh > high ? oldHigh : high;
        for (int r = from; r <= to; ++r) {
          const BOOL inRun = r >= low && r <= high;
          if ((IsMarked(r) != 0) == (inRun != 0)) continue;
          SetMark(r, inRun);
          InvalidateRow(r - 1);
          InvalidateRow(r);
          InvalidateRow(r + 1);
        }
        dragRow = row;
        UpdateWindow(hwnd);
      }
    }
  }
  if (owner) owner->OnMouseMove(x, y);
}

void CoolList::OnRelease(int y) {
  if (GetCapture() == hwnd) {
    ReleaseCapture();
    pressTimer.Stop();
    if (!actionLong && !moved) {
      const int row = RowFromY(y);
      if (row >= 0 && rowCount > 0) {
        const int old = caret;
        caret = row;
        RepaintMarkedInView();
        InvalidateRow(caret);
        ClearMarks();
        SetMark(caret, TRUE);
        UpdateWindow(hwnd);
        if (row != old && owner) owner->OnCaretChanged(caret);
        if (owner) owner->OnRowClicked(caret, tapOnMarked);
        TestStuckActionKey();
      } else {
        // Lifted under the rows: the caret goes back to the first row, silently.
        caret = 0;
      }
    }
  }
  EndTracking();
}

void CoolList::OnDoubleTap(int x, int y) {
  const int row = RowFromY(y);
  if (row >= 0 && row == RowFromY(tapPoint.y) && owner && rowCount > 0)
    owner->OnRowDoubleClicked(row);
  else
    OnPress(x, y);
}
