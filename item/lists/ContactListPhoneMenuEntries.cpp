// ContactListPhoneMenu: the lines of a contact's menu. The fixed phones, the Phone list, the fixed
// mails and the Email list, each filled one in this order; the default among them; and the line that
// acts on the default, which dials a phone and mails an address.
#include "lists/ContactListPhoneMenu.h"

#include "foundation/Diagnostics.h"
#include "phone/PhoneTemplates.h"
#include "resources/PhoneMenuIds.h"
#include "resources/resource.h"
#include "storage/contact/Contact.h"

namespace {

struct FixedField {
  UINT label;
  int field;
};

// The phones, each under the label the menu gives it.
const FixedField kPhones[] = {
    {IDS_LABEL_WORK, ContactField::WorkPhone},
    {IDS_LABEL_WORK, ContactField::WorkPhone2},
    {IDS_LABEL_HOME, ContactField::HomePhone},
    {IDS_LABEL_HOME, ContactField::HomePhone2},
    {IDS_LABEL_MOBILE, ContactField::MobilePhone},
    {IDS_LABEL_HOME_FAX, ContactField::HomeFax},
    {IDS_LABEL_WORK_FAX, ContactField::WorkFax},
    {IDS_LABEL_PAGER, ContactField::Pager},
    {IDS_LABEL_CAR, ContactField::CarPhone},
    {IDS_LABEL_RADIO, ContactField::RadioPhone},
    {IDS_LABEL_ASSISTANT_SHORT, ContactField::AssistantPhone},
};

const FixedField kMails[] = {
    {IDS_LABEL_EMAIL1, ContactField::Email1},
    {IDS_LABEL_EMAIL2, ContactField::Email2},
    {IDS_LABEL_EMAIL3, ContactField::Email3},
};

// Ids are told apart by their property number, the high half.
bool IsFixedOf(uint32_t id, const FixedField* fields, int count) {
  for (int i = 0; i < count; ++i)
    if ((ContactTextId(fields[i].field) >> 16) == (id >> 16)) return true;
  return false;
}

bool ListHolds(const LabelValueList& list, uint32_t id) {
  for (int i = 0; i < list.GetSize(); ++i)
    if (Contact::CustomItemId(list[i].label, list[i].value) == id) return true;
  return false;
}

Str Label(UINT id) {
  Str text;
  // A label missing from the resources is a broken build: the lookup stops.
  LOAD_STRING_OR_STOP(text, id);
  return text;
}

}  // namespace

void ContactListPhoneMenu::AddEntry(uint32_t code, const Str& label, const Str& value, bool formatted) {
  PhoneMenuEntry entry;
  entry.code = code;
  entry.label = label;
  entry.value = value;
  entry.display = value;
  if (formatted && templates) templates->FormatNumber(entry.display);
  entries.Add(entry);
}

uint32_t ContactListPhoneMenu::EntryId(const PhoneMenuEntry& entry) const {
  if (entry.code != 0) return entry.code;
  return Contact::CustomItemId(entry.label, entry.value);
}

bool ContactListPhoneMenu::IsPhoneId(uint32_t id) const {
  if (IsFixedOf(id, kPhones, sizeof kPhones / sizeof kPhones[0])) return true;
  return Contact::IsCustomItemId(id) && contact && ListHolds(contact->Phone, id);
}

bool ContactListPhoneMenu::IsMailId(uint32_t id) const {
  if (IsFixedOf(id, kMails, sizeof kMails / sizeof kMails[0])) return true;
  return Contact::IsCustomItemId(id) && contact && ListHolds(contact->Email, id);
}

int ContactListPhoneMenu::BuildEntries(Contact& from) {
  contact = &from;
  defaultItem = from.defaultItem;
  defaultIsCustom = Contact::IsCustomItemId(defaultItem) ? 1 : 0;
  defaultIndex = -1;
  entries.RemoveAll();

  // Only the fixed phones are shown in the templates' form; the lists' numbers and the mails as
  // stored.
  for (const FixedField& phone : kPhones) {
    const Str& value = from.text[phone.field];
    if (!value.IsEmpty()) AddEntry(ContactTextId(phone.field), Label(phone.label), value, true);
  }
  for (int i = 0; i < from.Phone.GetSize(); ++i) AddEntry(0, from.Phone[i].label, from.Phone[i].value, false);
  for (const FixedField& mail : kMails) {
    const Str& value = from.text[mail.field];
    if (!value.IsEmpty()) AddEntry(ContactTextId(mail.field), Label(mail.label), value, false);
  }
  for (int i = 0; i < from.Email.GetSize(); ++i) AddEntry(0, from.Email[i].label, from.Email[i].value, false);

  const int count = entries.GetSize();
  FindDefault();
  AddActionEntry();
  return count;
}

void ContactListPhoneMenu::FindDefault() {
  for (int i = 0; i < entries.GetSize() && defaultIndex < 0; ++i)
    if (entries[i].code != 0 && entries[i].code == defaultItem) defaultIndex = i;
  if (defaultIndex >= 0 || !defaultIsCustom) return;
  for (int i = 0; i < entries.GetSize() && defaultIndex < 0; ++i)
    if (entries[i].code == 0 && EntryId(entries[i]) == defaultItem) defaultIndex = i;
}

void ContactListPhoneMenu::AddActionEntry() {
  if (entries.GetSize() == 0) return;
  // No default named, or one naming an empty field: the first line stands for it.
  if (defaultIndex < 0) defaultIndex = 0;
  const PhoneMenuEntry& chosen = entries[defaultIndex];
  const uint32_t id = EntryId(chosen);
  UINT text = 0;
  if (IsPhoneId(id))
    text = IDS_PHONE_MENU_DIAL;
  else if (IsMailId(id))
    text = IDS_PHONE_MENU_MAIL;
  // Neither: the last number or address stands under the separator in its place.
  if (text == 0) return;
  PhoneMenuEntry action;
  action.code = id;
  action.label = Str();
  action.value = chosen.value;
  action.display = Label(text);
  entries.Add(action);
}
