// A contact of the given names, the rest of it empty, as the tests write them.
#pragma once

#include "storage/contact/Contact.h"

inline Contact NamedContact(const wchar_t* last, const wchar_t* first, const wchar_t* company = L"",
                            const wchar_t* fileAs = L"") {
  Contact c;
  c.text[ContactField::LastName] = last;
  c.text[ContactField::FirstName] = first;
  c.text[ContactField::Company] = company;
  c.text[ContactField::FileAs] = fileAs;
  return c;
}
