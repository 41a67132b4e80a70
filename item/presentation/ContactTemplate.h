// The layout of the contact page, kept in "Contact template.tpl" in the user's data folder.
#pragma once
#include <windows.h>
#include "foundation/Str.h"

class ContactTemplate {
 public:
  ContactTemplate();
  virtual ~ContactTemplate();
  // True when the file was read; the item falls back to CreateDefault otherwise.
  virtual BOOL Load(const wchar_t* path);
  virtual void CreateDefault();
  const Str& GetPath() const { return path; }
  BOOL IsDefault() const { return isDefault; }

 private:
  Str path;
  int isDefault;
};

extern ContactTemplate* g_contactTemplate;
