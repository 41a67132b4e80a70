// PhoneSelectWnd: the full-screen chooser between the talk key and the dial: a heading with the
// contact's name, the list of its numbers and the Dial, SMS and Cancel buttons.
#pragma once
#include <windows.h>

class Contact;
class PhoneTemplates;

class PhoneSelectWnd {
 public:
  PhoneSelectWnd();
  virtual ~PhoneSelectWnd();

  // The talk key's entry for `contact`: true when the window took the call over, false when the
  // caller dials by its own rules.
  BOOL Show(HWND parent, const Contact* contact, PhoneTemplates* templates);

 private:
  PhoneSelectWnd(const PhoneSelectWnd&) = delete;
  PhoneSelectWnd& operator=(const PhoneSelectWnd&) = delete;
};
