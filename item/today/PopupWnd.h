// The popup over the Today screen: a caption strip with two links, and under it the contact list or
// the contact page. It only presents; every decision on what it shows is the item window's, to which
// it reports by the item's private messages (WM_ITEM_CLOSE and the others).
#pragma once
#include <windows.h>
#include <windbase.h>
#include "foundation/BaseWindow.h"
#include "foundation/Handles.h"

class Contact;
class ContactDataSource;
class PhoneTemplates;

class PopupWnd : public BaseWindow {
 public:
  // The popup closes itself five minutes after it lost the activation.
  static const UINT_PTR kInactivityTimerId = 1;
  static const UINT kInactivityMs = 300000;
  // The view asks to go back to the list with this message.
  static const UINT kLeaveContactMessage = 1028;

  PopupWnd();
  ~PopupWnd() override;
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;

  // Makes the hidden window (once) and what it holds; the owner receives all reports.
  virtual BOOL Create(HWND owner);
  virtual void Destroy();

  void SetColors(COLORREF first, COLORREF second, COLORREF text);
  // String ids of the two links of the strip.
  void SetCaptions(int leftId, int rightId);
  int LeftCaption() const { return leftCaptionId; }
  int RightCaption() const { return rightCaptionId; }
  void SetPhoneTemplates(PhoneTemplates* templates) { phoneTemplates = templates; }
  void SetKeepFocus(BOOL keep) { keepFocus = keep ? 1 : 0; }
  BOOL KeepFocus() const { return keepFocus; }

  // Shows the list page (non-zero) or the contact page (0), then gives the focus.
  void ShowPage(BOOL list);
  BOOL ShowsList() const { return showsList; }
  // Unless keep focus is set: the page that shows gets the focus.
  void GiveFocus();
  void Hide();

  // --- the list page ---------------------------------------------------------------------------------
  // The result the list shows its rows from.
  void SetSource(ContactDataSource* dataSource) { source = dataSource; }
  // Fills the list from the data source's result, the caret at (group, item); (-1, -1): the first row.
  void Populate(int group, int item);
  // Rows of the list, 0 when empty.
  int RowCount() const;
  // The record id under the list's caret, 0 when none.
  CEOID CurrentContactId() const;

  // --- the contact page ------------------------------------------------------------------------------
  // Puts the contact on the contact page.
  BOOL ShowContact(const Contact& contact);
  CEOID ShownContactId() const { return shownContact; }

  // --- settings read again when another process changed them ------------------------------------------
  void ReloadListFont();
  void ReloadViewFont();
  void ReloadNameOnly();
  void ReloadDoubleSized();
  void ReloadSortType();
  int SortType() const { return sortType; }
  BOOL NameOnly() const { return nameOnly; }
  BOOL DoubleSized() const { return doubleSized; }

  // The strip: its rectangle, and the two links in it.
  RECT StripRect() const;
  RECT LeftLinkRect() const;
  RECT RightLinkRect() const;

 private:
  PopupWnd(const PopupWnd&) = delete;
  PopupWnd& operator=(const PopupWnd&) = delete;

  void PaintStrip(HDC dc);
  void MeasureCaptions();
  void OnActivateMessage(WPARAM wParam);
  void OnTap(POINT point);
  void SendToOwner(UINT message, WPARAM wParam, LPARAM lParam);

  PhoneTemplates* phoneTemplates;
  ContactDataSource* source;
  HWND owner;
  COLORREF color1, color2, textColor;
  GdiObject<HBITMAP> stripBitmap;
  GdiObject<HFONT> captionFont;
  int sortType;
  int nameOnly;
  int doubleSized;
  int leftCaptionId;
  int rightCaptionId;
  int leftWidth;
  int rightWidth;
  int lastWidth;
  int lastHeight;
  int inactivityTimer;
  int keepFocus;
  int showsList;
  int caretGroup;
  int caretItem;
  CEOID shownContact;
};
