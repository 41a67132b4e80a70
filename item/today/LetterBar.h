// The strip of letter-group cells on the Today screen. Until letter sets are loaded it has no cells
// and shows the bare strip at its natural height.
#pragma once
#include "foundation/BaseWindow.h"
#include "foundation/Array.h"

class LetterBar : public BaseWindow {
 public:
  LetterBar();
  ~LetterBar() override;
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;

  BOOL Create(HWND parent, const RECT& rect, HINSTANCE instance);
  // Stores the cells and sizes the window to its width at Height(). A null second row: one row.
  void SetCells(const Array<Str>& captions, const Array<Str>* secondCaptions, const Array<int>& commandIds,
                int cellCount);
  int Height() const;
  void SetExtraHeight(int pixels) { extraHeight = pixels; }
  int GetExtraHeight() const { return extraHeight; }
  void SetColors(COLORREF first, COLORREF second, COLORREF text);
  int GetCellCount() const { return cellCount; }
  int GetSelection() const { return selection; }
  void SetSelection(int cell);
  void SetEnabled(BOOL enable) { enabled = enable ? 1 : 0; }
  BOOL IsEnabled() const { return enabled; }
  void SetIconIndex(int index);
  void ClearCounts();
  // Takes the given width at the bar's own height.
  void Relayout(int width);

 private:
  void Paint(HDC dc);

  int cellCount;
  Array<Str> captions;
  Array<Str> secondCaptions;
  Array<int> commandIds;
  Array<int> pickCounts;
  int selection;
  int twoRows;
  int extraHeight;
  COLORREF color1;
  COLORREF color2;
  COLORREF textColor;
  int iconIndex;
  int enabled;
};
