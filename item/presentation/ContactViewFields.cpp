// The values of a contact sorted into the page's lists, under the long labels of the template.
#include "foundation/Diagnostics.h"
#include "presentation/ContactView.h"
#include "resources/resource.h"

namespace {

struct FieldLabel {
  int field;
  UINT labelId;
};

const FieldLabel kViewNameFields[] = {
    {ContactField::Title, IDS_LABEL_TITLE},       {ContactField::FirstName, IDS_LABEL_FIRST},
    {ContactField::MiddleName, IDS_LABEL_MIDDLE}, {ContactField::LastName, IDS_LABEL_LAST},
    {ContactField::Suffix, IDS_LABEL_SUFFIX},     {ContactField::JobTitle, IDS_LABEL_JOB_TITLE},
    {ContactField::Company, IDS_LABEL_COMPANY},   {ContactField::Department, IDS_LABEL_DEPARTMENT},
    {ContactField::FileAs, IDS_LABEL_FILE_AS},
};
const FieldLabel kViewPhoneFields[] = {
    {ContactField::WorkPhone, IDS_LABEL_WORK_PHONE},
    {ContactField::WorkPhone2, IDS_LABEL_WORK_PHONE},
    {ContactField::HomePhone, IDS_LABEL_HOME_PHONE},
    {ContactField::HomePhone2, IDS_LABEL_HOME_PHONE},
    {ContactField::MobilePhone, IDS_LABEL_MOBILE_PHONE},
    {ContactField::HomeFax, IDS_LABEL_HOME_FAX_PHONE},
    {ContactField::WorkFax, IDS_LABEL_WORK_FAX_PHONE},
    {ContactField::Pager, IDS_LABEL_PAGER_PHONE},
    {ContactField::CarPhone, IDS_LABEL_CAR_PHONE},
    {ContactField::RadioPhone, IDS_LABEL_RADIO_PHONE},
    {ContactField::AssistantPhone, IDS_LABEL_ASSISTANT_PHONE},
};
const FieldLabel kViewEmailFields[] = {{ContactField::Email1, IDS_LABEL_EMAIL},
                                       {ContactField::Email2, IDS_LABEL_EMAIL_2},
                                       {ContactField::Email3, IDS_LABEL_EMAIL_3}};
const FieldLabel kViewWebFields[] = {{ContactField::WebPage, IDS_LABEL_WEB}};
const FieldLabel kViewPeopleFields[] = {{ContactField::Spouse, IDS_LABEL_SPOUSE},
                                        {ContactField::Assistant, IDS_LABEL_ASSISTANT},
                                        {ContactField::Children, IDS_LABEL_CHILDREN}};

// The five parts of each platform address, in the order of AddressEntry.
const int kHomeParts[5] = {ContactField::HomeStreet, ContactField::HomeCity, ContactField::HomeState,
                           ContactField::HomePostalCode, ContactField::HomeCountry};
const int kWorkParts[5] = {ContactField::WorkStreet, ContactField::WorkCity, ContactField::WorkState,
                           ContactField::WorkPostalCode, ContactField::WorkCountry};
const int kOtherParts[5] = {ContactField::OtherStreet, ContactField::OtherCity, ContactField::OtherState,
                            ContactField::OtherPostalCode, ContactField::OtherCountry};

Str Label(UINT id) {
  Str text;
  LOAD_STRING_OR_STOP(text, id);
  return text;
}

void AddFields(const Contact& contact, const FieldLabel* table, int count, LabelValueList& list) {
  for (int i = 0; i < count; ++i) {
    const Str& value = contact.text[table[i].field];
    if (value.IsEmpty()) continue;
    LabelValue entry;
    entry.label = Label(table[i].labelId);
    entry.value = value;
    list.Add(entry);
  }
}

void AddExtended(const LabelValueList& extended, LabelValueList& list) {
  for (int i = 0; i < extended.GetSize(); ++i)
    if (!extended[i].value.IsEmpty()) list.Add(extended[i]);
}

void AddAddress(const Contact& contact, const int parts[5], uint32_t format, UINT labelId,
                Array<AddressEntry>& list) {
  AddressEntry entry;
  bool any = false;
  for (int i = 0; i < 5; ++i) {
    entry.parts[i] = contact.text[parts[i]];
    if (!entry.parts[i].IsEmpty()) any = true;
  }
  if (!any) return;
  entry.format = format;
  entry.label = Label(labelId);
  list.Add(entry);
}

void AddDate(const FILETIME& value, UINT labelId, Array<DateEntry>& list) {
  if (value.dwLowDateTime == 0 && value.dwHighDateTime == 0) return;
  DateEntry entry;
  entry.label = Label(labelId);
  entry.value = value;
  list.Add(entry);
}

#define PM_COUNT(table) static_cast<int>(sizeof(table) / sizeof(table[0]))

}  // namespace

void ContactFieldLists::Clear() {
  name.RemoveAll();
  phones.RemoveAll();
  emails.RemoveAll();
  webPages.RemoveAll();
  people.RemoveAll();
  links.RemoveAll();
  dates.RemoveAll();
  messengers.RemoveAll();
  addresses.RemoveAll();
  other.RemoveAll();
}

void ContactFieldLists::Fill(const Contact& contact) {
  Clear();
  AddFields(contact, kViewNameFields, PM_COUNT(kViewNameFields), name);
  AddFields(contact, kViewPhoneFields, PM_COUNT(kViewPhoneFields), phones);
  AddExtended(contact.Phone, phones);
  AddFields(contact, kViewEmailFields, PM_COUNT(kViewEmailFields), emails);
  AddExtended(contact.Email, emails);
  AddFields(contact, kViewWebFields, PM_COUNT(kViewWebFields), webPages);
  AddExtended(contact.WebPage, webPages);
  AddFields(contact, kViewPeopleFields, PM_COUNT(kViewPeopleFields), people);
  AddExtended(contact.People, people);
  AddExtended(contact.Link, links);
  AddDate(contact.birthday, IDS_LABEL_BIRTHDAY, dates);
  AddDate(contact.anniversary, IDS_LABEL_ANNIVERSARY, dates);
  for (int i = 0; i < contact.Date.GetSize(); ++i) dates.Add(contact.Date[i]);
  for (int i = 0; i < contact.Messenger.GetSize(); ++i)
    if (!contact.Messenger[i].id.IsEmpty()) messengers.Add(contact.Messenger[i]);
  AddAddress(contact, kHomeParts, contact.HomeFormat, IDS_LABEL_HOME_ADDRESS, addresses);
  AddAddress(contact, kWorkParts, contact.WorkFormat, IDS_LABEL_WORK_ADDRESS, addresses);
  AddAddress(contact, kOtherParts, contact.OtherFormat, IDS_LABEL_OTHER_ADDRESS, addresses);
  for (int i = 0; i < contact.Address.GetSize(); ++i) addresses.Add(contact.Address[i]);
  AddExtended(contact.OtherProp, other);
}
