// Display formats for phone numbers, read from the Templates section. Its ten words stay zero until
// the templates are loaded.
#pragma once
#include <windows.h>

class PhoneTemplates {
 public:
  PhoneTemplates();
  virtual ~PhoneTemplates();
  virtual BOOL Load();

 private:
  DWORD words[10];
};
