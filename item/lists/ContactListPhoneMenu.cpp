// ContactListPhoneMenu: the object, and the menu's one road from the press to the new default or the
// call.
#include "lists/ContactListPhoneMenu.h"

#include "phone/Communication.h"
#include "presentation/Skin.h"
#include "storage/contact/Contact.h"

ContactListPhoneMenu::ContactListPhoneMenu()
    : templates(nullptr), entries(), defaultItem(0), defaultIsCustom(0), contact(nullptr), itemHeight(0),
      widestItem(0), defaultIndex(-1), checkBitmap(), checkWidth(0), checkHeight(0), newDefault(0),
      checkHighRes(-1) {
  LoadCheckBitmap();
}

ContactListPhoneMenu::~ContactListPhoneMenu() {}

BOOL ContactListPhoneMenu::Track(Contact& from, HWND window, const RECT& rect, BOOL& dialed) {
  dialed = FALSE;
  newDefault = 0;
  // The menu is modal and the list's cache may change under it; the menu works on its own copy.
  Contact copy(from);
  const int real = BuildEntries(copy);
  if (real < 2) {
    entries.RemoveAll();
    contact = nullptr;
    return FALSE;
  }
  // The resolution may have been fixed after this object was made.
  LoadCheckBitmap();

  HMENU menu = CreatePopupMenu();
  if (!menu) {
    entries.RemoveAll();
    contact = nullptr;
    return FALSE;
  }
  const int count = entries.GetSize();
  for (int i = 0; i < count - 1; ++i)
    AppendMenuW(menu, MF_OWNERDRAW | MF_CHECKED, static_cast<UINT_PTR>(i + 1),
                reinterpret_cast<LPCWSTR>(static_cast<INT_PTR>(i)));
  AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(menu, MF_OWNERDRAW, static_cast<UINT_PTR>(count),
              reinterpret_cast<LPCWSTR>(static_cast<INT_PTR>(count - 1)));
  // Every line went in checked; the radio check leaves the default's alone.
  CheckMenuRadioItem(menu, 0, static_cast<UINT>(count - 1), static_cast<UINT>(defaultIndex), MF_BYPOSITION);

  // From the row's lower right corner down; upward from its upper right corner when the screen
  // hasn't room below for every line.
  POINT at = {rect.right - 1, rect.bottom - 1};
  ClientToScreen(window, &at);
  UINT flags = TPM_RETURNCMD | TPM_RIGHTALIGN;
  if (GetSystemMetrics(SM_CYSCREEN) - at.y < count * itemHeight) {
    at.x = rect.right - 1;
    at.y = rect.top;
    ClientToScreen(window, &at);
    flags |= TPM_BOTTOMALIGN;
  }
  // The menu's right edge stands at x: never past the screen's, whatever the row reaches to.
  const int screenRight = GetSystemMetrics(SM_CXSCREEN);
  if (at.x > screenRight) at.x = screenRight;
  const int command = static_cast<int>(TrackPopupMenuEx(menu, flags, at.x, at.y, window, nullptr));
  DestroyMenu(menu);

  if (command >= 1 && command <= count - 1) newDefault = EntryId(entries[command - 1]);
  if (command == count) dialed = ActOnDefault(window);
  entries.RemoveAll();
  contact = nullptr;
  return TRUE;
}

BOOL ContactListPhoneMenu::ActOnDefault(HWND window) {
  if (defaultIndex < 0 || defaultIndex >= entries.GetSize()) return FALSE;
  const PhoneMenuEntry& entry = entries[defaultIndex];
  const uint32_t id = EntryId(entry);
  if (IsPhoneId(id)) {
    Dial(window, entry.value, contact, 0, nullptr);
    return TRUE;
  }
  if (IsMailId(id)) SendMail(entry.value);
  return FALSE;
}
