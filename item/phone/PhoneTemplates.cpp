#include "phone/PhoneTemplates.h"

PhoneTemplates::PhoneTemplates() : words() {}
PhoneTemplates::~PhoneTemplates() {}

BOOL PhoneTemplates::Load() {
  // LATER(phone templates): numbers are shown as stored until the template list loads; returns true.
  return TRUE;
}
