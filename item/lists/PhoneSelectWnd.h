// PhoneSelectWnd: the full-screen chooser between the talk key and the dial: a heading with the
// contact's name, the list of its numbers and the Dial, SMS and Cancel buttons. In pick mode a caller
// asks for one of its own numbers and gets the index back instead of a call.
#pragma once
#include <windows.h>
#include "foundation/Array.h"
#include "foundation/BaseWindow.h"
#include "foundation/ClassWindow.h"
#include "foundation/Handles.h"
#include "foundation/Str.h"
#include "storage/contact/Contact.h"

class PhoneTemplates;

// What a caller of pick mode hears: the chosen index, or that the user cancelled.
class PhoneSelectCallback {
 public:
  virtual void OnPhonePicked(int index) = 0;
  virtual void OnPhonePickCancelled() = 0;

 protected:
  ~PhoneSelectCallback() {}
};

// What the list of numbers asks of the window that owns it.
class PhoneSelectListOwner {
 public:
  // The label and the number of `row`; false outside the rows.
  virtual BOOL GetRowTexts(int row, Str& label, Str& number) const = 0;
  // The label's font and the number's.
  virtual HFONT GetLargeFont() const = 0;
  virtual HFONT GetSmallFont() const = 0;

 protected:
  ~PhoneSelectListOwner() {}
};

// The numbers, two lines a row: the label above, the number below at the right.
class PhoneSelectList : public ClassWindow {
 public:
  static constexpr COLORREF kSelectedColor = 0xAD8C7A;
  static constexpr COLORREF kEvenColor = 0xF6ECE6;
  static constexpr COLORREF kOddColor = 0xF0DED4;
  static constexpr COLORREF kFrameColor = 0xA69686;
  // While the stylus is held above or below the rows, this timer scrolls a row each period.
  static constexpr UINT_PTR kScrollTimer = 1;
  static constexpr UINT kScrollMs = 100;

  explicit PhoneSelectList(PhoneSelectListOwner* owner);
  ~PhoneSelectList() override;
  LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

  // The class is registered in `module`, the item's own, once it is known.
  BOOL Create(HWND parent, HINSTANCE module);
  // The row count; the selection and the top row start again at the first row.
  void SetCount(int count);
  // Selects `row` and scrolls it into view; nothing outside the rows.
  void Select(int row);
  // The row height from the owner's small font: twice its height with the internal leading.
  void Measure();

  int Count() const { return rowCount; }
  int Selected() const { return selected; }
  int Top() const { return topRow; }
  int RowHeight() const { return rowHeight; }
  int ScrollDirection() const { return scrollDirection; }
  // Rows that fit whole in the client area, at least 1.
  int WholeRows() const;
  // The row under a client point, or -1.
  int RowAt(int x, int y) const;
  RECT RowRect(int row) const;
  // Paints `row` into `dc` at `rect` (origin 0, 0).
  void DrawRow(HDC dc, const RECT& rect, int row) const;

 private:
  PhoneSelectList(const PhoneSelectList&) = delete;
  PhoneSelectList& operator=(const PhoneSelectList&) = delete;

  void Paint(HDC dc);
  void RepaintRow(int row);
  void OnKeyDown(WPARAM key, LPARAM lParam);
  void OnPress(int x, int y);
  void OnDrag(int x, int y);
  void OnRelease(int x, int y);
  void OnScrollTimer();
  void StopScrolling();

  PhoneSelectListOwner* owner;
  int rowCount;
  int rowHeight;
  int selected;
  int topRow;
  int scrollDirection;
};

class PhoneSelectWnd : public BaseWindow, public PhoneSelectListOwner {
 public:
  // Commands of the buttons and keys.
  static constexpr UINT kCommandDial = 100;
  static constexpr UINT kCommandCancel = 101;
  static constexpr UINT kCommandSms = 102;
  // The talk key and the override that makes the menu bar hand it over as WM_HOTKEY.
  static constexpr UINT kTalkKey = 114;
  static constexpr LPARAM kTalkOverride = 0x30003;
  // The End key and the pad's centre.
  static constexpr UINT kEndKey = 115;
  static constexpr UINT kActionKey = 134;
  // The settings change that tells of a new screen size.
  static constexpr WPARAM kScreenChanged = 0x3002;
  // For this long after it came up the window takes the foreground back from any other window; it
  // does so once the change of activation is through, by this message to itself.
  static constexpr DWORD kDefendMs = 2000;
  static constexpr UINT kReclaimMessage = WM_APP + 1;
  static constexpr COLORREF kHeadingTextColor = 0x6B240D;
  static constexpr COLORREF kBandColor = 0xDBA68F;
  enum ButtonIndex { kDialButton, kSmsButton, kCancelButton, kButtonCount };

  struct Button {
    HBITMAP bitmap;
    int pressed;
    int visible;
    RECT rect;
    UINT command;
    int width;
    int height;
  };

  PhoneSelectWnd();
  ~PhoneSelectWnd() override;
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;

  // The talk key's entry for `contact`: true when the window took the call over, false when the
  // caller dials by its own rules.
  BOOL Show(HWND parent, const Contact* contact, PhoneTemplates* templates);
  // Pick mode: the caller's `numbers`, the first selected; `callback` hears the choice. False with
  // fewer than two numbers.
  BOOL ShowForPick(HWND parent, const Contact* contact, const Array<LabelValue>& numbers,
                   PhoneTemplates* templates, PhoneSelectCallback* callback);
  // Hides the window and gives the focus back to the parent.
  void Close();

  BOOL IsShown() const { return shown; }
  BOOL IsPickMode() const { return pickMode; }
  const Array<LabelValue>& Numbers() const { return numbers; }
  const Str& Name() const { return name; }
  const Str& Second() const { return second; }
  const Button& GetButton(int index) const { return buttons[index]; }
  int PressedButton() const { return pressedButton; }
  const PhoneSelectList& List() const { return list; }
  PhoneSelectList& List() { return list; }
  RECT HeadingRect() const { return heading; }
  HWND GetMenuBar() const { return menuBar; }

  // Shortens `text` a character at a time, "..." in place of what went, until it fits `width` in the
  // font of `dc`; a single character left stands without dots.
  static void FitWithDots(HDC dc, Str& text, int width);

  // --- PhoneSelectListOwner --------------------------------------------------------------------------
  BOOL GetRowTexts(int row, Str& label, Str& number) const override;
  HFONT GetLargeFont() const override { return largeFont.Get(); }
  HFONT GetSmallFont() const override { return smallFont.Get(); }

 private:
  PhoneSelectWnd(const PhoneSelectWnd&) = delete;
  PhoneSelectWnd& operator=(const PhoneSelectWnd&) = delete;

  // --- coming up (PhoneSelectWnd.cpp) -----------------------------------------------------------------
  // The window, its list and menu bar, the pictures and fonts, once; false when the window can't be made.
  BOOL CreateWindowOnce();
  void LoadPictures();
  // Steps shared by both modes once the numbers stand: heading, key, layout, full screen.
  BOOL Present(HWND parent, int selectedIndex);
  void OverrideTalkKey();
  void RestoreTalkKey();

  // --- what it shows (PhoneSelectWndNumbers.cpp) ------------------------------------------------------
  // Moves the numbers into the contact template's phone order; `selectedIndex` follows its number.
  void SortByTemplate(int& selectedIndex);
  void FormatNumbers(PhoneTemplates* templates);
  void ComposeHeading();

  // --- layout and painting (PhoneSelectWndLayout.cpp, PhoneSelectWndPaint.cpp) -------------------------
  void Layout();
  void Paint(HDC dc);
  void PaintHeading(HDC dc);
  void PaintButtons(HDC dc);

  // --- input (PhoneSelectWndInput.cpp) ----------------------------------------------------------------
  void OnCommand(UINT command);
  void OnActivateMessage(WPARAM wParam, LPARAM lParam);
  // Back to the front and topmost, unless it closed in the meantime.
  void Reclaim();
  void OnButtonPress(int x, int y);
  void OnButtonDrag(int x, int y);
  void OnButtonRelease(int x, int y);
  void DropPress();

  Array<LabelValue> numbers;
  Str name;
  Str second;
  int shown;
  Button buttons[kButtonCount];
  PhoneSelectList list;
  HWND menuBar;
  GdiObject<HBITMAP> headingBitmap;
  GdiObject<HBITMAP> buttonBitmaps[kButtonCount];
  GdiObject<HFONT> smallFont;
  GdiObject<HFONT> largeFont;
  LRESULT keyOverride;
  int pressedButton;
  HWND parent;
  Contact contact;
  DWORD shownAt;
  int pickMode;
  PhoneSelectCallback* callback;
  RECT heading;
  int headingWidth;
  int headingHeight;
};
