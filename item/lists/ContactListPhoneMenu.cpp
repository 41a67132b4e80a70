#include "lists/ContactListPhoneMenu.h"

#include "presentation/Skin.h"

ContactListPhoneMenu::ContactListPhoneMenu() : templates(nullptr), widestItem(0), newDefault(0) {}

ContactListPhoneMenu::~ContactListPhoneMenu() {}

void ContactListPhoneMenu::SetListRect(const RECT& client) {
  widestItem = client.right - client.left - ScaleX(10);
}

BOOL ContactListPhoneMenu::Track(Contact&, HWND, const RECT&, BOOL& dialed) {
  // LATER(phone menu): the menu of a contact's numbers and addresses isn't built yet, so none is shown:
  // no default is chosen, nothing is dialled, and false lets the press go on as a tap.
  newDefault = 0;
  dialed = FALSE;
  return FALSE;
}

LRESULT ContactListPhoneMenu::OnMeasureItem(WPARAM, LPARAM) {
  // LATER(phone menu): the menu has no owner-drawn items yet; returns 0, the item isn't the menu's.
  return 0;
}

LRESULT ContactListPhoneMenu::OnDrawItem(WPARAM, LPARAM) {
  // LATER(phone menu): the menu has no owner-drawn items yet; returns 0, the item isn't the menu's.
  return 0;
}
