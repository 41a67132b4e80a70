// ContactListPhoneMenu: the popup that opens on the right-hand end of a contact row, listing every
// number and address of the contact with the default one checked and, under a separator, one line
// that dials or mails the default at once. Choosing a number only makes it the contact's default.
#pragma once
#include <windows.h>
#include <stdint.h>
#include "foundation/Array.h"
#include "foundation/Handles.h"
#include "foundation/Str.h"

class Contact;
class PhoneTemplates;

// One line of the menu: a number or an address of the contact, or the line that acts.
struct PhoneMenuEntry {
  uint32_t code;  // the fixed field's property id; 0 for an entry of the contact's Phone or Email list
  Str label;
  Str value;    // as stored
  Str display;  // as shown: a phone through the templates, the action line's text
};

class ContactListPhoneMenu {
 public:
  ContactListPhoneMenu();
  virtual ~ContactListPhoneMenu();

  void SetTemplates(PhoneTemplates* value) { templates = value; }
  PhoneTemplates* GetTemplates() const { return templates; }
  // The list's client rectangle, from which the items' height and widest width follow.
  void SetListRect(const RECT& client);

  // Shows the menu of `contact` from the lower right corner of `rect` (client coordinates of
  // `window`). False when no menu was shown (fewer than two numbers and addresses), so that the press
  // goes on as a normal tap. `dialed` is set when the action line dialled.
  BOOL Track(Contact& contact, HWND window, const RECT& rect, BOOL& dialed);
  // The default the user chose in the last Track; 0 for no choice.
  uint32_t NewDefault() const { return newDefault; }

  // WM_MEASUREITEM and WM_DRAWITEM of the menu's owner-drawn items; 0 when the item isn't the menu's.
  LRESULT OnMeasureItem(WPARAM wParam, LPARAM lParam);
  LRESULT OnDrawItem(WPARAM wParam, LPARAM lParam);

  // The metrics of the last SetListRect, and the check mark's size.
  int ItemHeight() const { return itemHeight; }
  int WidestItem() const { return widestItem; }
  int CheckWidth() const { return checkWidth; }
  int CheckHeight() const { return checkHeight; }
  // The widest line a menu can have and still lie wholly on the screen.
  static int ScreenLineWidth();

  // Fills the entries of `contact` for a menu: its numbers and addresses in their fixed order, then
  // the action line when the default can be acted on. Returns the number of numbers and addresses.
  int BuildEntries(Contact& contact);
  const Array<PhoneMenuEntry>& Entries() const { return entries; }
  // The entry checked as the default; -1 before a build or without entries.
  int DefaultIndex() const { return defaultIndex; }

 private:
  ContactListPhoneMenu(const ContactListPhoneMenu&) = delete;
  ContactListPhoneMenu& operator=(const ContactListPhoneMenu&) = delete;

  // --- building ------------------------------------------------------------------------------------
  void AddEntry(uint32_t code, const Str& label, const Str& value, bool formatted);
  // The id an entry stands for as a default: its code, or for a list entry the id made from its label
  // and value.
  uint32_t EntryId(const PhoneMenuEntry& entry) const;
  // Whether `id` names one of the fixed phones or mails; a custom id, by the list that holds it.
  bool IsPhoneId(uint32_t id) const;
  bool IsMailId(uint32_t id) const;
  void FindDefault();
  void AddActionEntry();
  // Acts on the default entry: dials a phone, mails an address. True when it dialled.
  BOOL ActOnDefault(HWND window);

  // --- drawing -------------------------------------------------------------------------------------
  // The font of the items, made for each measure and draw; the caller deletes it.
  static HFONT CreateItemFont();
  // Loads the check mark of the current resolution, when the one held isn't it.
  void LoadCheckBitmap();
  int TextWidth(HDC dc, const Str& text) const;

  PhoneTemplates* templates;
  Array<PhoneMenuEntry> entries;
  uint32_t defaultItem;
  int defaultIsCustom;
  Contact* contact;
  int itemHeight;
  int widestItem;
  int defaultIndex;
  GdiObject<HBITMAP> checkBitmap;
  int checkWidth;
  int checkHeight;
  uint32_t newDefault;
  // The resolution the check mark was loaded for: -1 for none.
  int checkHighRes;
};
