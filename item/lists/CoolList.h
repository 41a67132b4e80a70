// COOL.LIST: the program's own list control for a stylus and a five-way key. It owns no row data; it
// keeps the row count and height, the scroll position (a top row and, when the top row shows only its
// lower part, the height of that part), the caret and a bit set of marked rows, and asks its owner
// (CoolListOwner) for everything else. A tap selects, a held stylus or Action key asks for a menu, a
// drag marks a run of rows. Scrolling is by whole rows; the only timers are the two long-press timers.
#pragma once
#include <windows.h>
#include "foundation/Array.h"
#include "foundation/ClassWindow.h"
#include "lists/CoolListOwner.h"

// One of the list's two long-press timers. Stopping it also takes every expiry of it that already
// waits in the queue, so that a stale one is never delivered.
struct CoolListTimer {
  UINT_PTR id;
  int idle;  // 1 while not running
  HWND window;

  void Start(UINT ms);
  void Stop();
};

class CoolList : public ClassWindow {
 public:
  static const UINT_PTR kPressTimerId = 100;
  static const UINT_PTR kActionTimerId = 200;
  static const UINT kLongPressMs = 400;
  // The Action key of the five-way pad.
  static const UINT kActionKey = 134;
  // Class style of the control: CS_PARENTDC | CS_DBLCLKS | CS_HREDRAW.
  static const UINT kClassStyle = 138;
  // Stylus travel that cancels a tap: at least this far up or down, or more than kTapSlackX sideways.
  static const int kTapSlackY = 6;
  static const int kTapSlackX = 5;
  // Colour of the one-pixel line along the top.
  static const COLORREF kTopLineColor = 0x636363;

  explicit CoolList(HINSTANCE instance);
  ~CoolList() override;
  // Also answers, read-only, LB_GETCOUNT (row count), LB_GETCURSEL (caret, -1 when empty) and
  // LB_GETTOPINDEX (top row), so that tests and accessibility tools of other processes can read it.
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
  BOOL Create(const wchar_t* title, DWORD style, HWND parent, const RECT& rect, DWORD exStyle) override;
  // Registers "COOL.LIST" and makes the window at CW_USEDEFAULT in all four coordinates.
  BOOL Create(HWND parent, DWORD style);

  void SetOwner(CoolListOwner* listOwner) { owner = listOwner; }
  CoolListOwner* GetOwner() const { return owner; }
  void SetNoGesture(BOOL flag) { noGesture = flag ? 1 : 0; }
  void SetDragEnabled(BOOL flag) { dragEnabled = flag ? 1 : 0; }

  void SetRowHeight(int height);
  int RowHeight() const { return rowHeight; }
  // New row count. `reset` clears marks, caret and scroll position; `selectRow` (not -1) becomes the
  // caret, alone marked.
  void SetRowCount(int count, BOOL reset, int selectRow);
  int RowCount() const { return rowCount; }
  // Repaints the rows (and under them, when they don't fill the window) of a visible list.
  void Refresh();
  void SetCaret(int row);
  int Caret() const { return caret; }
  // The marked rows in ascending order.
  void GetMarkedRows(Array<int>& rows) const;
  int MarkedCount() const { return markedCount; }
  BOOL IsMarked(int row) const;
  void SetTopLine(BOOL flag);
  void RepaintRow(int row);
  void RepaintRowsFrom(int row);
  int FirstVisible() const;
  int LastVisible() const;
  // All rows show and no scroll bar is needed.
  BOOL RowFits() const;

  // --- geometry --------------------------------------------------------------------------------------
  RECT RowRect(int row) const;
  // The row under client y, or -1.
  int RowFromY(int y) const;
  // 0 in the upper half of the row under y, 1 in the lower half, -1 outside the rows.
  int RowFromYRounded(int y) const;
  BOOL IsOutOfView(int row) const;
  BOOL IsEdgeRow(int row) const;
  int TopRow() const { return topRow; }
  int TopPart() const { return topPart; }
  int FullRows() const { return fullRows; }
  int VisibleRows() const { return visibleRows; }
  BOOL HasFocus() const { return focused; }
  BOOL CaretShown() const { return caretShown; }
  BOOL IsTracking() const { return trackingOff == 0; }
  const RECT& ClientRect() const { return clientRect; }

 protected:
  // Moves the window over the rows; see the .cpp. True when the move jumped (the whole client area
  // was invalidated instead of scrolled).
  BOOL ScrollTo(int position, int mode, int direction, int oldCaret);
  void MoveCaret(int row, UINT key);
  BOOL ScrollByKey(UINT key, int oldCaret);
  BOOL ScrollLine(int direction);
  // The first wholly shown row, which is what the scroll bar shows as its position.
  int FirstWholeRow() const { return topRow + (topPart != 0 ? 1 : 0); }
  // How far the rows moved down, in pixels, since the scroll position was (oldFirstWhole, oldTopPart).
  int PixelShift(int oldFirstWhole, int oldTopPart) const;
  // Moves the pixels of the rows `dy` down within `clip` and invalidates what the move uncovered.
  void ScrollPixels(int dy, const RECT& clip);
  // Whether the rows end above the bottom of the window, leaving a strip under the last row.
  BOOL RowsRunOut() const;
  // The row becomes the caret; true when the caret moved.
  BOOL SelectRow(int row);
  void MarkRow(int row);
  void BottomAlign();
  void Normalise();
  void UpdateScrollBar();
  int ScrollPosition(int* trackPosition) const;
  void ComputeRowMetrics();
  void ClearMarks();
  void SetMark(int row, BOOL on);
  void RepaintMarkedInView();
  // Invalidates a row between the first and the last visible rows, without updating the window.
  void InvalidateRow(int row);
  void Activate();
  void TestStuckActionKey();
  void DrainKeyDown();
  void DrainKeys();
  // After the rows' area changed its height from `oldHeight` to the client rectangle's.
  void GrowScroll(int oldHeight);
  void ShrinkScroll();
  void EndTracking();
  // The client area the rows use: the window's, under the top line when it is drawn.
  RECT RowArea() const;

  void OnKeyDownMessage(UINT key, LPARAM lParam);
  void OnKeyUpMessage(UINT key, LPARAM lParam);
  void OnPress(int x, int y);
  void OnMove(int x, int y);
  void OnRelease(int y);
  void OnDoubleTap(int x, int y);
  void OnTimerMessage(UINT_PTR id);
  void OnSizeMessage();
  void OnPaintMessage();
  void OnVScroll(int code);
  void OnFocusMessage(BOOL gained);
  void OnActionKeyDown();
  UINT RowState(int row) const;

  CoolListOwner* owner;
  Array<DWORD> markBits;
  int rowHeight;
  int rowCount;
  int visibleRows;
  int fullRows;
  int topRow;
  int caret;
  BYTE actionDown;
  BYTE actionLong;
  BYTE caretShown;
  BYTE focused;
  BYTE focusTap;
  BYTE trackingOff;
  BYTE moved;
  BYTE topLine;
  int dragAnchor;
  int dragRow;
  POINT tapPoint;
  RECT clientRect;
  int markedCount;
  int lastHeight;
  int topPart;
  CoolListTimer actionTimer;
  CoolListTimer pressTimer;
  int tapOnMarked;
  int dragEnabled;
  int noGesture;

 private:
  CoolList(const CoolList&) = delete;
  CoolList& operator=(const CoolList&) = delete;
};
