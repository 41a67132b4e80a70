// A scrolling list of text items that drops down under a field or pops up as a menu, and runs a modal
// loop of its own until the user confirms an item or cancels.
#pragma once
#include <windows.h>
#include "foundation/Array.h"
#include "foundation/BaseWindow.h"
#include "foundation/Str.h"

struct PopupListItem {
  int index;    // the item's place in the list; items stand in the order of their indexes
  DWORD flags;  // bit 0: selected
  Str text;
  DWORD data;  // what Track gives back when this item is confirmed
};

class ModalPopupList : public BaseWindow {
 public:
  // Where AddItem puts a new item.
  enum Position {
    AtStart = 1,
    AtEnd = 2,
    Sorted = 3,  // before the first item whose text sorts after it
    Behind = 4,  // right behind a given item
  };
  static constexpr DWORD kSelectedFlag = 1;
  // Posted by the list to itself when the user confirms or cancels; it ends the modal loop.
  static constexpr UINT kDoneMessage = WM_USER + 25;
  // The item pointers stand in slots that are made and grow in steps of this many.
  static constexpr int kSlotStep = 100;

  ModalPopupList();
  ~ModalPopupList() override;

  // Adds an item and gives its index; -1 for an unknown position or, with Behind, an item that isn't
  // there (last error ERROR_INVALID_PARAMETER).
  int AddItem(const wchar_t* text, DWORD data, int position, int behind = -1);
  // Removes an item and closes the gap; when it was the selected one, the item before it is selected.
  bool RemoveItem(int index);
  void RemoveAll();
  int GetCount() const { return count; }
  int GetSlotCount() const { return slots.GetSize(); }
  const PopupListItem* GetItem(int index) const;
  int GetSelection() const { return selected; }
  // Selects the item (-1: none) and scrolls it into view when the list is shown.
  bool SetSelection(int index);

  // The font of the rows; the caller keeps it alive while the list is shown. Default: the system font.
  void SetFont(HFONT rowFont);

  // Shows the list over `area` (screen coordinates; null: the parent's window rectangle) and runs the
  // loop until the user confirms an item or cancels. Gives the data of the confirmed item, else 0.
  DWORD Track(HWND parent, const RECT* area);

  // The layout of the list shown now (valid during Track).
  int GetRowHeight() const { return rowHeight; }
  int GetTopRow() const { return topRow; }
  int GetVisibleRows() const { return visibleRows; }
  const wchar_t* GetTypedText() const { return typed; }

  LRESULT WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  ModalPopupList(const ModalPopupList&) = delete;
  ModalPopupList& operator=(const ModalPopupList&) = delete;

  struct Layout {
    int rowHeight;
    int visibleRows;
    bool scrolls;
    RECT window;
  };
  Layout Measure(const RECT& area) const;

  // Input.
  void OnKeyDown(UINT key);
  void OnChar(wchar_t ch);
  void OnButtonDown(POINT point);
  void OnButtonUp(POINT point);
  void OnMouseMove(POINT point);
  void OnScroll(UINT request);
  int RowAt(POINT point) const;
  void MoveSelection(int index);
  void FindTyped();
  void Finish(bool confirm);

  // Display.
  void OnPaint();
  void ScrollTo(int row);
  void ShowSelection();
  void UpdateScrollBar();

  Array<PopupListItem*> slots;
  int count;
  int selected;
  HFONT font;

  int rowHeight;
  int textMargin;
  int visibleRows;
  int topRow;
  bool pressed;
  bool confirmed;
  Str typed;
};
