// ContactList: the green key, which calls the caret's contact on the number its default item names.
#include "lists/ContactList.h"

#include "phone/Communication.h"
#include "storage/contact/Contact.h"

namespace {

// The phones in the order in which a contact without a default is called.
const int kCallOrder[] = {
    ContactField::WorkPhone,  ContactField::WorkPhone2,     ContactField::HomePhone,
    ContactField::HomePhone2, ContactField::MobilePhone,    ContactField::HomeFax,
    ContactField::WorkFax,    ContactField::Pager,          ContactField::CarPhone,
    ContactField::RadioPhone, ContactField::AssistantPhone,
};

}  // namespace

BOOL ContactList::NumberToCall(const Contact& contact, Str& number) {
  number.Empty();
  const uint32_t wanted = contact.defaultItem;
  if (wanted == 0) {
    for (int field : kCallOrder) {
      if (contact.text[field].IsEmpty()) continue;
      number = contact.text[field];
      return TRUE;
    }
    for (int i = 0; i < contact.Phone.GetSize(); ++i) {
      if (contact.Phone[i].value.IsEmpty()) continue;
      number = contact.Phone[i].value;
      return TRUE;
    }
    return FALSE;
  }
  // A named field is called even when another one is filled and it isn't.
  for (int field : kCallOrder) {
    if (ContactTextId(field) != wanted) continue;
    number = contact.text[field];
    return !number.IsEmpty();
  }
  if (Contact::IsCustomItemId(wanted)) {
    for (int i = 0; i < contact.Phone.GetSize(); ++i) {
      const LabelValue& entry = contact.Phone[i];
      if (Contact::CustomItemId(entry.label, entry.value) != wanted) continue;
      number = entry.value;
      return !number.IsEmpty();
    }
  }
  return FALSE;
}

BOOL ContactList::CallContact(Contact* contact) {
  if (!contact && source && list.RowCount() > 0) contact = GetContactAtRow(list.Caret());
  if (!contact || contact->IsEmpty()) return FALSE;
  if (phoneSelect.Show(list.GetHwnd(), contact, templates)) return TRUE;
  Str number;
  if (!NumberToCall(*contact, number)) return FALSE;
  DialNumber(number, contact);
  if (listener) listener->OnDialed();
  return TRUE;
}

int ContactList::DialNumber(const wchar_t* number, const Contact* contact) {
  return Dial(list.GetHwnd(), number, contact, 0, nullptr);
}

void ContactList::SendSms(const wchar_t* number, const Contact* contact) {
  SendSmsToContact(number, contact);
}

void ContactList::StartMail(const wchar_t* address) { SendMail(address); }

BOOL ContactList::Beam(const Array<CEOID>& ids) { return BeamContacts(ids); }
