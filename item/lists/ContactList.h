// ContactList: the current search result in a COOL.LIST control. A flat list has one row per contact;
// under sort kind 2 the rows are company headers, each followed by its contacts while it is expanded.
// The list owns the row table that maps a row of the control to a (group, item) position of the data
// source, paints the rows, offers the per-row phone menu, the long-press menu and the left and right
// keys, and reports what the user does to its listener.
#pragma once
#include <windows.h>
#include <windbase.h>
#include <stdint.h>
#include "foundation/Array.h"
#include "foundation/Str.h"
#include "lists/ContactListListener.h"
#include "lists/ContactListPhoneMenu.h"
#include "lists/CoolList.h"
#include "lists/PhoneSelectWnd.h"

class Contact;
class ContactDataSource;
class PhoneTemplates;

// A place in the result: item -1 is a group's header, (-1, -1) is nothing.
struct ListPosition {
  int group;
  int item;
};

// One entry of a contact's field list, as the menus show it.
struct ContactFieldEntry {
  Str label;
  Str value;
  int code;
  int ordinal;
};

class ContactList : public CoolListOwner {
 public:
  // Menu commands of the long-press menu.
  static constexpr UINT kCommandMail = 100;
  static constexpr UINT kCommandBeam = 101;
  static constexpr UINT kCommandCallMenu = 103;
  static constexpr UINT kCommandAppointment = 41211;
  static constexpr UINT kFirstPluginCommand = 41222;
  static constexpr UINT kLastPluginCommand = 41286;
  static constexpr UINT kFirstCallCommand = 1000;
  static constexpr UINT kFirstSmsCommand = 1100;
  static constexpr UINT kFirstMailCommand = 1200;
  // Row backgrounds and colours.
  static constexpr COLORREF kEvenRowColor = 0xFFE7CE;
  static constexpr COLORREF kHeaderColor = 0xEBFFFF;
  static constexpr COLORREF kSelectedFocused = 0x9B4600;
  static constexpr COLORREF kSelectedUnfocused = 0xB5B5B5;
  static constexpr COLORREF kMarkLineColor = 0xFF804A;
  static constexpr COLORREF kKindColor = 0xC68442;
  static constexpr COLORREF kHighlightColor = 0xB4FFFF;

  explicit ContactList(HINSTANCE instance);
  virtual ~ContactList();

  BOOL Create(HWND parent, DWORD style);
  void SetListener(ContactListListener* value) { listener = value; }
  void SetTemplates(PhoneTemplates* value) { templates = value; }
  void SetDoubleSized(BOOL flag) { twoLines = flag ? 1 : 0; }
  void SetNameOnly(BOOL flag) { nameOnly = flag ? 1 : 0; }
  void SetSortType(int value) { sortType = value; }
  void SetDisabled(BOOL flag);
  BOOL DoubleSized() const { return twoLines; }
  BOOL NameOnly() const { return nameOnly; }
  int SortType() const { return sortType; }

  // A null source empties the list; another source fills it from its result.
  void SetSource(ContactDataSource* value);
  ContactDataSource* GetSource() const { return source; }
  // Rebuilds the rows from the source's result, the caret at (group, item); (-1, -1) resets the list.
  void Populate(int group, int item);
  // Metrics from the list font, then a refresh.
  void Recalculate();

  // The caret's position; (-1, -1) for an empty list.
  ListPosition GetCurrent() const;
  ListPosition RowToPosition(int row) const;
  int RowCount() const { return list.RowCount(); }
  // The contact of a contact row through the source's cache; null for a header or an unreadable one.
  Contact* GetContactAtRow(int row);
  BOOL ToggleRow(int row);
  BOOL ExpandRow(int row);
  BOOL CollapseRow(int row);
  BOOL IsExpanded(int row) const;
  const Array<Str>& ExpandedTitles() const { return expanded; }
  BOOL NextContact();
  BOOL PrevContact();
  // The green key's action for `contact`, or for the caret's contact when null.
  BOOL CallContact(Contact* contact);
  HWND ContactWindow() const { return list.GetHwnd(); }
  CoolList& Control() { return list; }

  // A contact's fields as the menus list them; returns the mail start (see the .cpp).
  static int AddContactFields(const Contact& contact, Array<ContactFieldEntry>& fields);
  // Shortens `text` with "..." to fit `width` in the font selected into `dc`.
  void TrimToWidth(HDC dc, Str& text, int width) const;

  // --- CoolListOwner --------------------------------------------------------------------------------
  void OnKeyDown(HWND window, UINT key, LPARAM lParam) override;
  void OnRowClicked(int row, BOOL tapOnMarked) override;
  void OnRowDoubleClicked(int row) override;
  void OnCaretChanged(int row) override;
  void OnLongPress(int x, int y) override;
  void OnActivate(int row) override;
  void OnWidthChanged(int left, int width) override;
  void OnDrawRow(HDC dc, const RECT& rect, int row, UINT state) override;
  BOOL OnPressTest(int x, int y) override;
  LRESULT OnMeasureItem(WPARAM wParam, LPARAM lParam) override;
  LRESULT OnDrawItem(WPARAM wParam, LPARAM lParam) override;
  void OnMouseMove(int x, int y) override;
  void OnFocusChanged(BOOL focused) override;
  void OnKeyUp(HWND window, UINT key, LPARAM lParam) override;
  void OnChar(HWND window, WPARAM character, LPARAM lParam) override;

 protected:
  // --- rows ------------------------------------------------------------------------------------------
  // Font metrics into the tail and ellipsis widths, the row height and the phone menu's width.
  void ComputeMetrics();
  // The size of the photo square a row asks the source for: the row height with two lines, else 1.
  int PhotoSize() const;
  // The contact at a position through the source's cache; null for a header or an unreadable one.
  Contact* ContactAt(const ListPosition& position);
  // The group's title of the source; expanded groups are kept by it.
  BOOL IsTitleExpanded(const Str& title) const;
  void ForgetTitle(const Str& title);

  // --- the green key ---------------------------------------------------------------------------------
  // The number the green key dials for `contact` by its default item; false when none is named or the
  // one named is empty.
  static BOOL NumberToCall(const Contact& contact, Str& number);

  // --- the long-press menu -------------------------------------------------------------------------------
  // The contact menu of `contact` into `menu`: its title, the call, SMS and mail sub-menus and "Beam...".
  // `fields` gets the contact's field list; returns the mail start.
  int AddContactMenu(HMENU menu, const Contact& contact, Array<ContactFieldEntry>& fields);
  // The menu of the marked rows, with the add-ins' commands for `ids`, the marked contacts. `contact`
  // gets the one contact the menu is about, if any, `fields` and `mailStart` its field list. Null when
  // a header's one contact can't be read.
  HMENU BuildLongPressMenu(const Array<int>& marked, const Array<CEOID>& ids, Contact& contact,
                           Array<ContactFieldEntry>& fields, int& mailStart);
  // The contacts of the marked rows: a contact row's own, all of a header's group.
  void MarkedContactIds(const Array<int>& marked, Array<CEOID>& ids) const;
  // Carries out a command of the long-press menu.
  void RunMenuCommand(UINT command, const Array<CEOID>& ids, const Contact& contact,
                      const Array<ContactFieldEntry>& fields, int mailStart, int markedCount);

  // --- painting --------------------------------------------------------------------------------------
  // Each draws the content of a row over its background into `dc`, whose rectangle `rect` starts at
  // (0, 0). A header shows `title`, its group's size and whether it is `open`.
  void DrawHeaderRow(HDC dc, const RECT& rect, int group, Str title, BOOL open, UINT state);
  void DrawSingleLine(HDC dc, const RECT& rect, const Contact& contact, UINT state);
  void DrawDoubleLine(HDC dc, const RECT& rect, const Contact& contact, UINT state);
  // The stripes, the selection and the marked frame.
  void DrawRowBackground(HDC dc, const RECT& rect, UINT state, COLORREF background) const;
  // The picture column of a two-line row: the photo fitted into the square, or the skin's picture.
  void DrawPicture(HDC dc, const Contact& contact, int side) const;
  // `text` in `rect`, the characters the listener names on the highlight colour.
  void DrawHighlighted(HDC dc, const Str& text, const RECT& rect, UINT flags);
  // The name a row shows: FileAs under sort type 1, else the built name and its second line.
  void RowTexts(const Contact& contact, Str& name, Str& second) const;
  // The default number in the templates' form, its kind's label and the label's first letter.
  void RowNumber(const Contact& contact, Str& number, Str& label, Str& kind) const;

  // --- the calls that leave the list, one place each ---------------------------------------------------
  // The phone menu of a row: false when it showed none. `dialed` is set when it dialled, `newDefault`
  // gets the default the user chose (0 for none).
  virtual BOOL TrackPhoneMenu(Contact& contact, const RECT& rect, BOOL& dialed, uint32_t& newDefault);
  // The long-press menu, modal at the screen point; the command chosen, 0 for none.
  virtual UINT TrackLongPressMenu(HMENU menu, POINT screen);
  virtual int DialNumber(const wchar_t* number, const Contact* contact);
  virtual void SendSms(const wchar_t* number, const Contact* contact);
  virtual void StartMail(const wchar_t* address);
  virtual BOOL Beam(const Array<CEOID>& ids);
  virtual BOOL AddPluginCommands(HMENU menu, const Array<CEOID>& ids);
  virtual BOOL RunPluginCommand(UINT command, const Array<CEOID>& ids);

  PhoneSelectWnd phoneSelect;
  int twoLines;
  PhoneTemplates* templates;
  ContactListListener* listener;
  ContactDataSource* source;
  CoolList list;
  ContactListPhoneMenu phoneMenu;
  Array<ListPosition> rows;
  Array<Str> expanded;
  int sortType;
  BYTE grouped;
  BYTE nameOnly;
  int tailWidth;
  int ellipsisWidth;
  int disabled;

 private:
  ContactList(const ContactList&) = delete;
  ContactList& operator=(const ContactList&) = delete;
};
