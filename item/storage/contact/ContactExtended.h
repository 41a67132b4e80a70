// ContactExtended: what a contact holds beyond the platform's fixed fields. It travels in the contact's
// Note and is kept parsed in the props store.
#pragma once

#include "foundation/Array.h"
#include "foundation/Str.h"

#include <windows.h>

#include <stdint.h>

struct LabelValue {
  Str label;
  Str value;
};

struct MessengerEntry {
  Str kind;
  Str id;
  Str note;
};

struct AddressEntry {
  Str parts[5];  // street, city, state, postal code, country
  uint32_t format;
  Str label;
};

struct DateEntry {
  Str label;
  FILETIME value;
};

typedef Array<LabelValue> LabelValueList;

class ContactExtended {
 public:
  ContactExtended();
  virtual bool Equals(const ContactExtended& other) const;
  virtual bool Differs(const ContactExtended& other) const;
  virtual ~ContactExtended();

  // Reached through Contact::Clear and Contact::IsEmpty.
  void ClearExtended();
  // All nine lists empty, the three formats 0 and no image.
  bool IsExtendedEmpty() const;
  void CopyExtended(const ContactExtended& other);

  LabelValueList Phone;
  LabelValueList Email;
  LabelValueList WebPage;
  LabelValueList People;
  LabelValueList Link;
  LabelValueList OtherProp;
  Array<MessengerEntry> Messenger;
  Array<AddressEntry> Address;
  Array<DateEntry> Date;
  uint32_t HomeFormat;
  uint32_t WorkFormat;
  uint32_t OtherFormat;
  Str Image;
};
