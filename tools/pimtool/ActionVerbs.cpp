// format, call, sms, mail and web: numbers through the item's phone templates, and the item's own
// communication actions for a contact's default entries, so that people and tests can reach the
// device's phone, messaging, mail and browser programs from the command line.
#include "ActionVerbs.h"

#include <windows.h>
#include <string>

#include "DeviceContacts.h"
#include "Output.h"
#include "ToolManager.h"
#include "phone/Communication.h"
#include "phone/PhoneTemplates.h"
#include "storage/contact/ContactDatabase.h"

namespace {

std::wstring Text(const Str& s) { return std::wstring(static_cast<const wchar_t*>(s)); }

// The contact with its extended data, read from the device's database; false with a message.
bool ReadContact(const wchar_t* idText, Contact& contact) {
  const CEOID id = ParseId(idText);
  if (id == 0) return false;
  ContactDatabase database;
  if (!database.Open(nullptr)) {
    PrintError(L"pimtool: the device's contacts database can't be opened (error " +
               std::to_wstring(GetLastError()) + L")");
    return false;
  }
  if (!database.LoadByOid(id, contact)) {
    PrintError(L"pimtool: no contact with the id " + std::wstring(idText));
    return false;
  }
  // The Note's block of extended data fills the further phones, mails and pages.
  ContactNote note;
  bool understood = true;
  NoteText(note, contact, understood);
  return true;
}

// The phone that the default item names, else the first the contact has.
bool DefaultPhone(const Contact& contact, Str& number) {
  uint32_t id = contact.defaultItem;
  Str label;
  return contact.GetPhoneByType(id, number, label) && !number.IsEmpty();
}

// The mail that the default item names, else the first of the fixed fields, else the first further one.
bool DefaultMail(const Contact& contact, Str& address) {
  for (int i = 0; i < kEmailFieldCount; ++i) {
    const int field = kEmailFields[i];
    if (ContactTextId(field) == contact.defaultItem && !contact.text[field].IsEmpty()) {
      address = contact.text[field];
      return true;
    }
  }
  for (int i = 0; i < kEmailFieldCount; ++i) {
    if (contact.text[kEmailFields[i]].IsEmpty()) continue;
    address = contact.text[kEmailFields[i]];
    return true;
  }
  for (int i = 0; i < contact.Email.GetSize(); ++i) {
    if (contact.Email[i].value.IsEmpty()) continue;
    address = contact.Email[i].value;
    return true;
  }
  return false;
}

// The web page field, else the first further page.
bool DefaultPage(const Contact& contact, Str& url) {
  url = contact.text[ContactField::WebPage];
  for (int i = 0; url.IsEmpty() && i < contact.WebPage.GetSize(); ++i) url = contact.WebPage[i].value;
  return !url.IsEmpty();
}

int Missing(const wchar_t* what, const wchar_t* id) {
  PrintError(std::wstring(L"pimtool: the contact ") + id + L" has no " + what);
  return 1;
}

}  // namespace

// The numbers as the item shows them, one a line: the device's template list (or the defaults) with its
// IsIgnorePhoneFormat, whether or not the item's formatting is switched on.
int FormatVerb(int argc, wchar_t** argv) {
  if (argc < 3) {
    PrintError(L"usage: pimtool format NUMBER ...");
    return 2;
  }
  PhoneTemplates templates;
  templates.Load();
  templates.SetActive(TRUE);
  for (int i = 2; i < argc; ++i) {
    Str number(argv[i]);
    templates.FormatNumber(number);
    PrintLine(Text(number));
  }
  return 0;
}

int ActionVerb(int argc, wchar_t** argv) {
  const std::wstring verb = argv[1];
  if (argc != 3 || ParseId(argv[2]) == 0) {
    PrintError(L"usage: pimtool " + verb + L" ID");
    return 2;
  }
  Contact contact;
  if (!ReadContact(argv[2], contact)) return 1;
  Str target;
  if (verb == L"call") {
    if (!DefaultPhone(contact, target)) return Missing(L"phone", argv[2]);
    if (ResolveDialMode(0) == DialModeNone) {
      PrintError(L"pimtool: the device has no way to dial");
      return 1;
    }
    const int result = Dial(nullptr, target, &contact, 0, nullptr);
    PrintLine(L"call " + Text(target) + L": " + std::to_wstring(result));
    return result == 0 ? 0 : 1;
  }
  if (verb == L"sms") {
    if (!DefaultPhone(contact, target)) return Missing(L"phone", argv[2]);
    SendSmsToContact(target, &contact);
    PrintLine(L"sms " + Text(target));
    return 0;
  }
  if (verb == L"mail") {
    if (!DefaultMail(contact, target)) return Missing(L"mail address", argv[2]);
    SendMail(target);
    PrintLine(L"mail " + Text(target));
    return 0;
  }
  if (!DefaultPage(contact, target)) return Missing(L"web page", argv[2]);
  OpenUrl(target);
  PrintLine(L"web " + Text(target));
  return 0;
}
