// What a ContactList reports to the window that holds it. The first table has eleven operations, two
// of them reserved and never called; the character call sits alone in a second table.
#pragma once
#include <windows.h>
#include <windbase.h>
#include "foundation/Array.h"
#include "foundation/Str.h"

class ContactListRowListener {
 public:
  // A key the list doesn't take.
  virtual void OnKeyDown(HWND list, UINT key, LPARAM lParam) = 0;
  // Return or a short press of the Action key on the row at (group, item); item -1 is a header.
  virtual void OnActivate(int group, int item) = 0;
  virtual void OnClicked(int group, int item, BOOL tapOnMarked) = 0;
  virtual void OnDoubleClicked(int group, int item) = 0;
  virtual void OnCaretChanged(int group, int item) = 0;
  virtual void OnReserved1() {}
  // The row's phone menu closed with a choice.
  virtual void OnPhoneMenuUsed(CEOID id) = 0;
  virtual void OnMakeAppointment() = 0;
  virtual void OnReserved2() {}
  // A menu of the list dialled.
  virtual void OnDialed() = 0;
  // Character positions of `name` to highlight, ascending; empty for none.
  virtual void OnQueryHighlight(const Str& name, Array<int>& positions) = 0;

 protected:
  ~ContactListRowListener() {}
};

class ContactListCharListener {
 public:
  virtual void OnChar(HWND list, WPARAM character, LPARAM lParam) = 0;

 protected:
  ~ContactListCharListener() {}
};

class ContactListListener : public ContactListRowListener, public ContactListCharListener {
 protected:
  ~ContactListListener() {}
};
