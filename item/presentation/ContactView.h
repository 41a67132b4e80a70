// The contact page of the popup: one contact as a page under the caption strip. The page reports to
// its parent with kDoneMessage when the user is done with it, and passes the End key's release on.
#pragma once
#include <windows.h>
#include <windbase.h>
#include "foundation/BaseWindow.h"
#include "foundation/Str.h"

class Contact;

class ContactView : public BaseWindow {
 public:
  // To the parent: this page is done.
  static const UINT kDoneMessage = WM_USER + 4;
  // To the page itself: run the call action of the selected row (the green key).
  static const UINT kCallMessage = WM_USER + 5;

  ContactView();
  ~ContactView() override;
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;

  // Makes the page's window, once; a second call gives the existing one.
  BOOL Create(HWND parent, DWORD style);
  // Fills the page with `contact`.
  BOOL Show(const Contact& contact);
  CEOID ContactId() const { return contactId; }
  // The composed name the page shows at its head, and the line under it.
  const Str& HeadName() const { return headName; }
  const Str& HeadSecond() const { return headSecond; }
  // Label font and base font of the page; the page draws with them and doesn't own them.
  void SetFonts(HFONT labelFont, HFONT baseFont);
  // The window that holds the page's rows; shown before the page is.
  HWND TextWindow() const;

 private:
  ContactView(const ContactView&) = delete;
  ContactView& operator=(const ContactView&) = delete;

  void Paint(HDC dc);

  CEOID contactId;
  Str headName;
  Str headSecond;
  HFONT boldFont;
  HFONT plainFont;
};
