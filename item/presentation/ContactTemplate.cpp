#include "presentation/ContactTemplate.h"

ContactTemplate* g_contactTemplate = nullptr;

ContactTemplate::ContactTemplate() : isDefault(0) {}
ContactTemplate::~ContactTemplate() {}

BOOL ContactTemplate::Load(const wchar_t* file) {
  // LATER(contact template reader): the file is not read; returns false with ERROR_NOT_SUPPORTED.
  path = file;
  // A file that can't be read is no failure: the item falls back to the defaults.
  SetLastError(ERROR_NOT_SUPPORTED);
  return FALSE;
}

void ContactTemplate::CreateDefault() { isDefault = 1; }
