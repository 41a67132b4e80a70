#include "lists/PhoneSelectWnd.h"

PhoneSelectWnd::PhoneSelectWnd() {}

PhoneSelectWnd::~PhoneSelectWnd() {}

BOOL PhoneSelectWnd::Show(HWND, const Contact*, PhoneTemplates*) {
  // LATER(phone select): the full-screen chooser isn't built yet, so it never comes up; false lets
  // the caller dial by its own rules.
  return FALSE;
}
