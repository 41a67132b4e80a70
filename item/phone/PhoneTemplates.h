// Display formats for phone numbers, read from the Templates section. Its ten words stay zero until
// the templates are loaded.
#pragma once
#include <windows.h>
#include "foundation/Str.h"

class Contact;

class PhoneTemplates {
 public:
  PhoneTemplates();
  virtual ~PhoneTemplates();
  virtual BOOL Load();
  // Rebuilds `number` in the shape of the first template that its digits match; true when it changed.
  virtual BOOL FormatNumber(Str& number) const;
  // FormatNumber on each of the contact's phones.
  virtual void FormatContact(Contact& contact) const;

 private:
  DWORD words[10];
};
