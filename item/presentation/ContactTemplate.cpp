#include "presentation/ContactTemplate.h"

ContactTemplate* g_contactTemplate = nullptr;

ContactTemplate::ContactTemplate() : isDefault(0) {}
ContactTemplate::~ContactTemplate() {}

BOOL ContactTemplate::Load(const wchar_t* file) {
  path = file;
  // The template reader comes with the contact page; a file that can't be read is no failure.
  SetLastError(ERROR_NOT_SUPPORTED);
  return FALSE;
}

void ContactTemplate::CreateDefault() { isDefault = 1; }
