// What a COOL.LIST control asks of its owner. The list owns no row data: it knows a row count, one
// row height, the scroll position, the caret and the marked rows, and calls its owner for everything
// else, the painting of each row included.
//
// The owner is one object reached through three tables: the thirteen row and stylus calls first, then
// the key-up call and the character call, each alone in a table of its own.
#pragma once
#include <windows.h>

// Bits of the state handed to OnDrawRow.
enum CoolListRowState {
  kRowMarked = 0x1,   // set together with kRowMarkedToo for a marked row
  kRowFocused = 0x2,  // the list has the focus
  kRowMarkedToo = 0x4,
};

class CoolListRowCalls {
 public:
  // A key the list doesn't take, and Up at row 0.
  virtual void OnKeyDown(HWND list, UINT key, LPARAM lParam) = 0;
  // The stylus was lifted over `row`; `tapOnMarked` is set when the row was already marked at the press.
  virtual void OnRowClicked(int row, BOOL tapOnMarked) = 0;
  virtual void OnRowDoubleClicked(int row) = 0;
  virtual void OnCaretChanged(int row) = 0;
  // Held stylus or held Action key, at a point of the list's client area.
  virtual void OnLongPress(int x, int y) = 0;
  // Return, or a short press of the Action key.
  virtual void OnActivate(int row) = 0;
  virtual void OnWidthChanged(int left, int width) = 0;
  // Paints one row into `rect` of `dc`, the whole rectangle; `state` is of CoolListRowState.
  virtual void OnDrawRow(HDC dc, const RECT& rect, int row, UINT state) = 0;
  // A press landed on a row; true means the owner took it, and the list does nothing more with it.
  virtual BOOL OnPressTest(int x, int y) = 0;
  virtual LRESULT OnMeasureItem(WPARAM wParam, LPARAM lParam) = 0;
  virtual LRESULT OnDrawItem(WPARAM wParam, LPARAM lParam) = 0;
  // Every stylus move, after the list's own work.
  virtual void OnMouseMove(int x, int y) = 0;
  // The focus came (1) or went (0).
  virtual void OnFocusChanged(BOOL focused) = 0;

 protected:
  ~CoolListRowCalls() {}
};

class CoolListKeyUpCall {
 public:
  // A key came up, other than the Action key.
  virtual void OnKeyUp(HWND list, UINT key, LPARAM lParam) = 0;

 protected:
  ~CoolListKeyUpCall() {}
};

class CoolListCharCall {
 public:
  // WM_CHAR, except the character 13.
  virtual void OnChar(HWND list, WPARAM character, LPARAM lParam) = 0;

 protected:
  ~CoolListCharCall() {}
};

class CoolListOwner : public CoolListRowCalls, public CoolListKeyUpCall, public CoolListCharCall {
 protected:
  ~CoolListOwner() {}
};
