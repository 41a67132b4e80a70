#include "phone/PhoneTemplates.h"

PhoneTemplates::PhoneTemplates() : words() {}
PhoneTemplates::~PhoneTemplates() {}

BOOL PhoneTemplates::Load() {
  // LATER(phone templates): numbers are shown as stored until the template list loads; returns true.
  return TRUE;
}

BOOL PhoneTemplates::FormatNumber(Str&) const {
  // LATER(phone templates): no template is loaded, so a number keeps the form it was stored in;
  // returns false.
  return FALSE;
}

void PhoneTemplates::FormatContact(Contact&) const {
  // LATER(phone templates): no template is loaded, so the contact's phones keep their stored form.
}
