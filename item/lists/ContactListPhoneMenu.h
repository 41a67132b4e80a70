// ContactListPhoneMenu: the popup that opens on the right-hand end of a contact row, listing every
// number and address of the contact with the default one checked and, under a separator, one line
// that dials or mails the default at once. Choosing a number only makes it the contact's default.
#pragma once
#include <windows.h>
#include <stdint.h>

class Contact;
class PhoneTemplates;

class ContactListPhoneMenu {
 public:
  ContactListPhoneMenu();
  virtual ~ContactListPhoneMenu();

  void SetTemplates(PhoneTemplates* value) { templates = value; }
  PhoneTemplates* GetTemplates() const { return templates; }
  // The list's client rectangle, from which the items' widest width follows.
  void SetListRect(const RECT& client);

  // Shows the menu of `contact` from the lower right corner of `rect` (client coordinates of
  // `window`). False when no menu was shown (fewer than two entries), so that the press goes on as a
  // normal tap. `dialed` is set when the action line dialled.
  BOOL Track(Contact& contact, HWND window, const RECT& rect, BOOL& dialed);
  // The default the user chose in the last Track; 0 for no choice.
  uint32_t NewDefault() const { return newDefault; }

  // WM_MEASUREITEM and WM_DRAWITEM of the menu's owner-drawn items; 0 when the item isn't the menu's.
  LRESULT OnMeasureItem(WPARAM wParam, LPARAM lParam);
  LRESULT OnDrawItem(WPARAM wParam, LPARAM lParam);

 private:
  ContactListPhoneMenu(const ContactListPhoneMenu&) = delete;
  ContactListPhoneMenu& operator=(const ContactListPhoneMenu&) = delete;

  PhoneTemplates* templates;
  int widestItem;
  uint32_t newDefault;
};
