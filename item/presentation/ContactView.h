// The contact page of the popup: one contact as a page, with a head of its picture and composed name,
// a row for each value in the order of the contact template, and the note at the end. The rows live in
// a ContactTextWindow; the page turns the contact into rows and carries out what a tap or a key on a
// row asks for (dial, SMS, mail, web page, linked file). It reports to its parent with kDoneMessage when
// the user is done with it, and passes the End key's release on.
#pragma once
#include <windows.h>
#include <windbase.h>
#include <stdint.h>
#include "foundation/Array.h"
#include "foundation/BaseWindow.h"
#include "foundation/Str.h"
#include "presentation/ContactTextWindow.h"
#include "storage/contact/Contact.h"

// The values of a contact sorted into lists by section, each in the record's order, under the long
// labels of the contact template. Only values that are not empty enter a list.
struct ContactFieldLists {
  LabelValueList name;
  LabelValueList phones;
  LabelValueList emails;
  LabelValueList webPages;
  LabelValueList people;
  LabelValueList links;
  Array<DateEntry> dates;
  Array<MessengerEntry> messengers;  // kind is the label, id the value, note the type
  Array<AddressEntry> addresses;
  LabelValueList other;

  void Clear();
  void Fill(const Contact& contact);
};

// One row of the page.
struct ContactViewField {
  Str label;  // the short label for the screen
  Str value;  // the text, with tags
  Str extra;  // the text to act on when it differs from the one shown: a link's full path
  int32_t section;
  HICON icon;
};

// The page of one contact, built from the record.
struct ContactViewModel {
  ContactViewModel();
  ~ContactViewModel();
  void Clear();
  // Fills the head, the rows and the note from `contact` under the template.
  void Fill(const Contact& source);

  HBITMAP photo;
  int32_t photoOwned;
  Str headText;
  ByteBuffer note;
  Array<ContactViewField> fields;
  ContactFieldLists lists;
  Contact contact;

 private:
  ContactViewModel(const ContactViewModel&) = delete;
  ContactViewModel& operator=(const ContactViewModel&) = delete;

  void FillHead(Str& displayName, Str& company);
  void FillPhoto(const Str& displayName, const Str& company);
  void AddRow(const Str& label, const Str& value, const Str& extra, int section, HICON icon);
};

class ContactView : public BaseWindow {
 public:
  // To the parent: this page is done.
  static const UINT kDoneMessage = WM_USER + 4;
  // To the page itself: run the call action of the selected row (the green key).
  static const UINT kCallMessage = WM_USER + 5;
  static const UINT kTextWindowId = 1;

  ContactView();
  ~ContactView() override;
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;

  // Makes the page's window and its rows' window, once; a second call gives the existing one.
  BOOL Create(HWND parent, DWORD style);
  // Fills the page with `contact`.
  BOOL Show(const Contact& contact);
  CEOID ContactId() const { return model.contact.oid; }
  // The head's text with its tags.
  const Str& HeadText() const { return model.headText; }
  const ContactViewModel& Model() const { return model; }
  // Label font and base font of the page; the page draws with them and doesn't own them.
  void SetFonts(HFONT labelFont, HFONT baseFont);
  // Shows or hides the rows' window.
  void ShowText(BOOL hide);
  void SetFocus();
  // The centre key on the selected row.
  void PressEnter();
  HWND TextWindow() const { return text.GetHwnd(); }
  ContactTextWindow& Text() { return text; }

 private:
  ContactView(const ContactView&) = delete;
  ContactView& operator=(const ContactView&) = delete;

  void OnRowNotify(const wchar_t* value, const ContactTextNotify& report);
  void CallSelected();
  void Done();

  ContactTextWindow text;
  ContactViewModel model;
};
