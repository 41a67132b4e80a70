// The rows of the contact page: the head with its picture, one row for each value with its label, the
// titles, and the contact's note below them in the platform's rich text control. The window lays the
// rows out with the markup text, scrolls rows and note as one page, selects rows, and reports taps and
// keys to its parent as WM_NOTIFY; a hold opens the copy menu.
#pragma once
#include <windows.h>
#include <stdint.h>
#include "foundation/BaseWindow.h"
#include "foundation/Str.h"
#include "foundation/SubclassWindow.h"
#include "presentation/MarkupFontCache.h"
#include "presentation/MarkupText.h"

// What a row is.
enum ContactTextItemKind { ItemField = 0, ItemHead = 1, ItemTitle = 2 };

struct ContactTextItem {
  int32_t kind;
  Str label;        // a field row's label
  MarkupText text;  // the value; the name of the head; the text of a title
  Str extra;        // what a tap reports; empty: the plain text of `text`
  RECT rect;        // left, 0, right, the row's height
  int32_t section;
  int32_t spacing;  // blank pixels below the row
  HANDLE image;     // the head's picture or a row's icon
  int32_t imageWidth;
  int32_t imageHeight;
  int32_t transparent;  // the picture's black is transparent
  RECT textRect;        // the text as measured, in the row's own coordinates
  int32_t valueRight;   // a field row's value wraps and is drawn left of this x
};

// The rows, kept for reuse: clearing only forgets the count.
class ContactTextItemList {
 public:
  ContactTextItemList();
  ~ContactTextItemList();
  // The next row, a reused one when there is one; its fields are reset.
  ContactTextItem& Add();
  void Clear() { count = 0; }
  int GetCount() const { return count; }
  ContactTextItem& operator[](int index) { return items[index]; }
  const ContactTextItem& operator[](int index) const { return items[index]; }

 private:
  ContactTextItemList(const ContactTextItemList&) = delete;
  ContactTextItemList& operator=(const ContactTextItemList&) = delete;

  ContactTextItem* items;
  int count;
  int capacity;
};

// What the window reports with WM_NOTIFY; the text to act on comes as the wParam.
struct ContactTextNotify {
  NMHDR header;
  int32_t section;  // -1: no row
  int32_t isValue;
  int32_t key;  // 0 for a tap, otherwise the virtual key
};

class ContactTextWindow;

// The note control, read only: the keys that would change it are swallowed and its caret stays hidden,
// and what it does is posted to the rows' window.
class ContactNoteControl : public SubclassWindow {
 public:
  ContactNoteControl();
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;
  int32_t editable;

 private:
  UINT oldBlinkTime;
};

class ContactTextWindow : public BaseWindow {
 public:
  static const UINT kNotifyCode = 1544;
  static const UINT_PTR kHoldTimer = 1;
  static const UINT_PTR kAutoScrollTimer = 2;
  static const UINT kHoldMs = 500;
  static const UINT kAutoScrollMs = 200;
  static const UINT kNoteId = 1;
  static const UINT kCopyCommand = 100;
  // The note control's own reports to this window.
  static const UINT kNoteScrolled = 1350;
  static const UINT kNoteFocus = 1351;
  static const UINT kNoteLostFocus = 1352;
  static const UINT kNoteKey = 1353;
  static const UINT kNoteTapped = 1354;
  static const UINT kNoteKeyDown = 1355;
  // The control's notification that asks for the copy menu, and its question whether text is selected.
  static const UINT kNoteMenuNotify = 1000;
  static const UINT kNoteHasSelection = 1234;
  // The scroll bar's relative move by the high word.
  static const UINT kScrollRelative = 1005;

  ContactTextWindow();
  ~ContactTextWindow() override;
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;

  BOOL Create(HWND parent, DWORD style, UINT id);

  void AddField(const Str& label, const Str& value, const Str& extra, int section, int spacing, HICON icon);
  void SetHead(HBITMAP photo, const Str& text, int section, int spacing, BOOL transparent);
  void SetNote(const BYTE* data, uint32_t size, int section);
  void Clear();
  void Relayout();
  void SetFonts(HFONT label, HFONT base);
  void SetLabelColumn(int width);

  // --- what the page shows, for its owner --------------------------------------------------------------
  int ItemCount() const { return items.GetCount(); }
  const ContactTextItem& Item(int index) const { return items[index]; }
  int SelAnchor() const { return selAnchor; }
  int SelEnd() const { return selEnd; }
  int SelMode() const { return selMode; }
  int TextPos() const { return textPos; }
  int TextMax() const { return textMax; }
  int AllPos() const { return allPos; }
  int AllMax() const { return allMax; }
  int LabelColumn() const { return labelColumn; }
  HWND NoteWindow() const { return note.GetHwnd(); }
  BOOL NoteVisible() const;
  // The row's top in the client area, after scrolling.
  int ItemTop(int index) const;
  // The row under (x, y), or -1, and the part of it: 1 the label, 2 the text, 3 the icon, 0 elsewhere.
  int HitTest(int x, int y, int& part) const;
  // The text the copy menu puts on the clipboard for the current selection.
  Str SelectionText() const;

 private:
  ContactTextWindow(const ContactTextWindow&) = delete;
  ContactTextWindow& operator=(const ContactTextWindow&) = delete;

  // Layout and scrolling (ContactTextWindowLayout.cpp).
  void Layout();
  void UpdateScroll();
  int ScrollUnit() const;
  int PageSteps() const;
  int TotalHeight() const;
  int NoteRange() const;
  int NotePos() const;
  void PlaceNote();
  void ScrollTo(int position);
  void OnVScroll(int code, int thumb);
  void ScrollIntoView(int index);

  // Painting (ContactTextWindowPaint.cpp).
  void Paint(HDC dc, const RECT& clip);
  void PaintItem(HDC dc, int index, int width);
  void PaintHead(HDC dc, ContactTextItem& item, bool selected, COLORREF brush, COLORREF text);
  void PaintField(HDC dc, ContactTextItem& item, bool selected, COLORREF brush, COLORREF text);
  void PaintTitle(HDC dc, ContactTextItem& item);
  RECT TextRect(const ContactTextItem& item) const;
  bool IsSelected(int index) const;

  // Taps, holds and keys (ContactTextWindowInput.cpp).
  void OnButtonDown(int x, int y);
  void OnMouseMove(int x, int y);
  void OnButtonUp();
  void OnHold();
  void OnAutoScroll();
  void OnKeyDown(UINT key);
  void OnChar(UINT key);
  void Select(int anchor, int end);
  void Notify(int section, int isValue, const wchar_t* text, int key);
  void NotifyItem(int index, int key);
  bool IsSelectable(int index) const;
  int FirstOutOfView(int direction) const;
  void StopTimer(UINT_PTR id);
  void StopTimers();

  // The copy menu (ContactTextWindowCopy.cpp).
  void OpenCopyMenu(POINT at);
  void OpenNoteMenu();
  void CopyToClipboard(const Str& text);

  // The note control (ContactTextWindowNote.cpp).
  void CreateNote();

  ContactTextItemList items;
  MarkupFontCache fontCache;
  ContactNoteControl note;
  HFONT labelFont;
  HFONT valueFont;
  int labelColumn;
  int selAnchor;
  int selEnd;
  int pendingItem;
  int selMode;
  int textPos;
  int textMax;
  int allPos;
  int allMax;
  int noteRest;
  int lastStepShort;
  int noteVisible;
  int noteSection;
  // The tap under way.
  int tapSection;
  int tapNothing;
  Str tapText;
  POINT downPoint;
  int tapAlive;
  int holdTimerOn;
  int autoScrollDir;
  int autoScrollStep;
  int valueTapped;
  int iconTapped;
  int labelSide;
};
