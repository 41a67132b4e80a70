// The letter bar: the one row the user sees on the Today screen, a cell for each letter group as on a
// phone's keypad and a last cell with a picture. A tap on a cell posts WM_COMMAND with the cell's
// command id to the parent; a hold of 500 ms on the last cell posts the long-press id instead. The bar
// keeps no search state of its own beyond how often each cell was picked, which it marks.
#pragma once
#include <windows.h>
#include <commctrl.h>
#include "foundation/Array.h"
#include "foundation/BaseWindow.h"
#include "foundation/Handles.h"
#include "foundation/Str.h"

class LetterBar : public BaseWindow {
 public:
  // The long press on the last cell runs this timer.
  static const UINT_PTR kHoldTimerId = 1;
  static const UINT kHoldMs = 500;
  // The pick marks show at most this many.
  static const int kMostMarks = 3;

  LetterBar();
  ~LetterBar() override;
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;

  // Creates the child window (WS_CHILD | WS_VISIBLE) in the item window's class; enables the bar.
  BOOL Create(HWND parent, const RECT& rect, HINSTANCE instance);
  // Stores the captions (a null second row: one row) and the command ids, zeroes the picks, sizes the
  // window to its width at Height() and lays the cells out. `cellCount` counts the last cell too.
  void SetCells(const Array<Str>& captions, const Array<Str>* secondCaptions, const Array<int>& commandIds,
                int cellCount);
  int Height() const;
  // Pixels over the natural height; a change resizes the window and lays the cells out anew.
  void SetExtraHeight(int pixels);
  int ExtraHeight() const { return extraHeight; }
  void SetColors(COLORREF first, COLORREF second, COLORREF text);

  // The cell chosen by keys, -1 for none; a change repaints the two cells concerned.
  void SetSelection(int cell);
  int Selection() const { return selection; }
  int CellCount() const { return cellCount; }

  // Pick count of `cell` + `delta`, never under 0.
  void AddPick(int cell, int delta);
  void ClearPicks();
  int PickCount(int cell) const;

  // Which picture the last cell shows: 0 while the popup is open, 1 otherwise.
  void SetIcon(int index);
  int Icon() const { return iconIndex; }
  void SetEnabled(BOOL enable) { enabled = enable ? 1 : 0; }
  BOOL IsEnabled() const { return enabled; }

  // As a tap on `cell`: posts its command to the parent and gives the key feedback.
  void TapCell(int cell);

  // Where the cells stand after the last layout, for painting, hit tests and tests.
  int CellWidth(int cell) const;
  BOOL GetCellRect(int cell, RECT* rect) const;
  // The cell under a point of the client area, or -1.
  int CellAt(POINT point) const;
  // The height of the font the last layout chose, in pixels (0 before any layout).
  int FontHeight() const { return fontHeight; }
  int PressedCell() const { return pressedCell; }
  BOOL PressedLook() const { return pressedLook; }
  HIMAGELIST Images() const { return images; }

  // Lays the cells out for the client area: the font steps down until all fit, spare width is shared.
  void LayoutCells();

 private:
  LetterBar(const LetterBar&) = delete;
  LetterBar& operator=(const LetterBar&) = delete;

  // Drawing (LetterBarPaint.cpp).
  void Paint(HDC target, const RECT& clip);
  // `gradient` is a context holding the background bitmap, or null.
  void PaintCell(HDC dc, HDC gradient, int cell, const RECT& rect);
  void PaintCellEdges(HDC dc, HDC gradient, int cell, const RECT& rect);
  void PaintCellContent(HDC dc, int cell, const RECT& rect);
  void RedrawBackground();
  void InvalidateCell(int cell);

  // Pictures of the last cell (LetterBarImages.cpp).
  void RebuildImages();
  void FreeImages();

  // Stylus (LetterBarInput.cpp).
  void OnButtonDown(POINT point);
  void OnMouseMove(POINT point);
  void OnButtonUp(POINT point);
  void OnHoldTimer();
  void OnCancelMode();
  void StopHoldTimer();
  void PostCommand(int id);
  void GiveFeedback();

  void MakeBrushes();
  int MeasureCells(HDC dc, int* total, int* tallest);

  HINSTANCE instance;
  int cellCount;
  Array<Str> captions;
  Array<Str> secondCaptions;
  Array<int> commandIds;
  Array<int> cellWidths;
  Array<int> pickCounts;
  int selection;
  int twoRows;
  int pressedCell;
  int pressedLook;
  int extraHeight;
  LOGFONTW logFont;
  GdiObject<HBRUSH> cornerBrush;
  GdiObject<HBRUSH> frameBrush;
  GdiObject<HBRUSH> topLightBrush;
  GdiObject<HBRUSH> topInnerBrush;
  GdiObject<HBRUSH> pressedTopBrush;
  GdiObject<HBRUSH> pressedSideBrush;
  GdiObject<HBRUSH> selectionBrush;
  GdiObject<HFONT> font;
  int fontHeight;
  GdiObject<HBITMAP> iconBitmaps[2];
  HIMAGELIST images;
  int imageWidth;
  int imageHeight;
  // A cell's gradient, drawn once per layout as wide as the widest cell.
  GdiObject<HBITMAP> background;
  int backgroundWidth;
  int backgroundHeight;
  COLORREF color1;
  COLORREF color2;
  COLORREF textColor;
  int iconIndex;
  int enabled;
};
