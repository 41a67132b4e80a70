// The popup over the Today screen: a caption strip with two links, and under it the contact list or
// the contact page. It only presents; every decision on what it shows is the item window's, to which
// it reports by the item's private messages (WM_ITEM_CLOSE and the others).
#pragma once
#include <windows.h>
#include <windbase.h>
#include "foundation/BaseWindow.h"
#include "foundation/Handles.h"
#include "lists/ContactList.h"
#include "presentation/ContactView.h"

class Contact;
class ContactDataSource;
class PhoneTemplates;

class PopupWnd : public BaseWindow, public ContactListListener {
 public:
  // The popup closes itself five minutes after it lost the activation.
  static const UINT_PTR kInactivityTimerId = 1;
  static const UINT kInactivityMs = 300000;
  // The view asks to go back to the list with this message.
  static const UINT kLeaveContactMessage = 1028;
  // The talk key, and the override that makes the menu bar hand it to the popup as WM_HOTKEY.
  static const UINT kTalkKey = 114;
  static const LPARAM kTalkOverride = 0x30003;
  // Style of the list page and of the contact page.
  static const DWORD kListStyle = WS_CHILD | WS_VSCROLL;
  static const DWORD kViewStyle = WS_CHILD;

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
  void SetSource(ContactDataSource* dataSource);
  // Fills the list from the data source's result, the caret at (group, item); (-1, -1): the first row.
  void Populate(int group, int item);
  // Rows of the list (headers included), 0 when empty.
  int RowCount() const { return list.RowCount(); }
  // The record id under the list's caret, 0 when none.
  CEOID CurrentContactId() const;
  ContactList& GetList() { return list; }

  // --- the contact page ------------------------------------------------------------------------------
  // Puts the contact on the contact page.
  BOOL ShowContact(const Contact& contact);
  CEOID ShownContactId() const { return view.ContactId(); }
  ContactView& GetView() { return view; }
  HWND GetMenuBar() const { return menuBar; }
  // What the menu bar kept of the talk key before the popup took it over.
  LRESULT KeptTalkOverride() const { return keyOverride; }

  // --- ContactListListener ----------------------------------------------------------------------------
  void OnKeyDown(HWND list, UINT key, LPARAM lParam) override;
  void OnActivate(int group, int item) override;
  void OnClicked(int group, int item, BOOL tapOnMarked) override;
  void OnDoubleClicked(int group, int item) override;
  void OnCaretChanged(int group, int item) override;
  void OnPhoneMenuUsed(CEOID id) override;
  void OnMakeAppointment() override;
  void OnDialed() override;
  void OnQueryHighlight(const Str& name, Array<int>& positions) override;
  void OnChar(HWND list, WPARAM character, LPARAM lParam) override;

  // The subject and body of an appointment with `contact`: the name parts (else the company), and a
  // line for each filled phone.
  static void ComposeAppointment(const Contact& contact, Str& subject, Str& body);

  // --- settings read again when another process changed them ------------------------------------------
  void ReloadListFont();
  void ReloadViewFont();
  void ReloadNameOnly();
  void ReloadDoubleSized();
  void ReloadSortType();
  int SortType() const { return sortType; }
  BOOL NameOnly() const { return list.NameOnly(); }
  BOOL DoubleSized() const { return list.DoubleSized(); }

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
  void LayoutPages(int width, int height);
  void OverrideTalkKey();
  void RestoreTalkKey();
  void OnHotKey(WPARAM wParam, LPARAM lParam);

  PhoneTemplates* phoneTemplates;
  ContactList list;
  ContactView view;
  HWND menuBar;
  HWND owner;
  COLORREF color1, color2, textColor;
  GdiObject<HBITMAP> stripBitmap;
  HICON icon;
  GdiObject<HFONT> captionFont;
  int sortType;
  int leftCaptionId;
  int rightCaptionId;
  int leftWidth;
  int rightWidth;
  LRESULT keyOverride;
  int lastWidth;
  int lastHeight;
  int inactivityTimer;
  int keepFocus;
  ContactDataSource* source;
  int showsList;
};
