// ContactList: the menu of a long press, built from the marked rows, and what its commands do.
#include "lists/ContactList.h"

#include "manager/datasource/ContactDataSource.h"
#include "phone/PhoneDevice.h"
#include "phone/PhoneTemplates.h"
#include "plugins/PluginManager.h"
#include "resources/ListIds.h"
#include "resources/resource.h"
#include "storage/contact/Contact.h"

namespace {

struct FixedField {
  UINT label;
  int field;  // also the entry's code
  int ordinal;
};

// The names, then the phones with the ordinals their commands carry.
const FixedField kNameFields[] = {
    {IDS_FIELD_FIRST, ContactField::FirstName, 0},
    {IDS_FIELD_LAST, ContactField::LastName, 0},
    {IDS_FIELD_COMPANY, ContactField::Company, 0},
};
const FixedField kPhoneEntries[] = {
    {IDS_LABEL_WORK, ContactField::WorkPhone, 1},
    {IDS_LABEL_WORK, ContactField::WorkPhone2, 2},
    {IDS_LABEL_HOME, ContactField::HomePhone, 3},
    {IDS_LABEL_HOME, ContactField::HomePhone2, 4},
    {IDS_LABEL_MOBILE, ContactField::MobilePhone, 5},
    {IDS_LABEL_HOME_FAX, ContactField::HomeFax, 6},
    {IDS_LABEL_WORK_FAX, ContactField::WorkFax, 7},
    {IDS_LABEL_PAGER, ContactField::Pager, 8},
    {IDS_LABEL_CAR, ContactField::CarPhone, 9},
    {IDS_LABEL_RADIO, ContactField::RadioPhone, 10},
    {IDS_LABEL_ASSISTANT_SHORT, ContactField::AssistantPhone, 11},
};
const FixedField kMailEntries[] = {
    {IDS_LABEL_EMAIL1, ContactField::Email1, 0},
    {IDS_LABEL_EMAIL2, ContactField::Email2, 0},
    {IDS_LABEL_EMAIL3, ContactField::Email3, 0},
};
const int kFirstPhoneEntry = 3;

Str Text(UINT id) {
  Str text;
  text.LoadResource(id);
  return text;
}

void AddEntry(Array<ContactFieldEntry>& fields, const Str& label, const Str& value, int code, int ordinal) {
  ContactFieldEntry entry;
  entry.label = label;
  entry.value = value;
  entry.code = code;
  entry.ordinal = ordinal;
  fields.Add(entry);
}

void AddFixed(Array<ContactFieldEntry>& fields, const Contact& contact, const FixedField& fixed,
              int ordinal) {
  AddEntry(fields, Text(fixed.label), contact.text[fixed.field], fixed.field, ordinal);
}

// The item text of an entry in a sub-menu: its label, a tab and its value.
Str ItemText(const ContactFieldEntry& entry) { return entry.label + L"\t" + entry.value; }

}  // namespace

int ContactList::AddContactFields(const Contact& contact, Array<ContactFieldEntry>& fields) {
  fields.RemoveAll();
  for (const FixedField& fixed : kNameFields) AddFixed(fields, contact, fixed, fixed.ordinal);
  for (const FixedField& fixed : kPhoneEntries) AddFixed(fields, contact, fixed, fixed.ordinal);
  int ordinal = kPhoneEntries[sizeof(kPhoneEntries) / sizeof(kPhoneEntries[0]) - 1].ordinal + 1;
  for (int i = 0; i < contact.Phone.GetSize(); ++i) {
    const LabelValue& phone = contact.Phone[i];
    AddEntry(fields, phone.label, phone.value,
             static_cast<int>(Contact::CustomItemId(phone.label, phone.value)), ordinal++);
  }
  for (const FixedField& fixed : kMailEntries) AddFixed(fields, contact, fixed, ordinal++);
  // Of the further addresses every second one is listed, from the first on, under its place in the
  // contact's list.
  for (int i = 0; i < contact.Email.GetSize(); i += 2) {
    const LabelValue& mail = contact.Email[i];
    AddEntry(fields, mail.label, mail.value, static_cast<int>(Contact::CustomItemId(mail.label, mail.value)),
             i);
  }
  for (int i = 0; i < fields.GetSize(); ++i)
    if (fields[i].code == ContactField::Email1) return i;
  return fields.GetSize();
}

int ContactList::AddContactMenu(HMENU menu, const Contact& contact, Array<ContactFieldEntry>& fields) {
  Contact shown(contact);
  if (templates) templates->FormatContact(shown);
  const int mailStart = AddContactFields(shown, fields);
  if (fields.GetSize() == 0) return mailStart;

  const Str& first = shown.text[ContactField::FirstName];
  const Str& last = shown.text[ContactField::LastName];
  const Str& company = shown.text[ContactField::Company];
  Str title;
  if (!first.IsEmpty() || !last.IsEmpty())
    title = first + L" " + last;
  else if (!company.IsEmpty())
    title = company;
  if (!title.IsEmpty()) {
    AppendMenuW(menu, MF_STRING | MF_GRAYED, 0, title);
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  }

  HMENU call = CreatePopupMenu();
  HMENU sms = IsPhoneDevice() ? CreatePopupMenu() : nullptr;
  HMENU mail = CreatePopupMenu();
  BOOL anyPhone = FALSE;
  BOOL anyMail = FALSE;
  for (int i = kFirstPhoneEntry; i < mailStart && i < fields.GetSize(); ++i) {
    const ContactFieldEntry& entry = fields[i];
    if (entry.value.IsEmpty()) continue;
    const Str text = ItemText(entry);
    AppendMenuW(call, MF_STRING, kFirstCallCommand + entry.ordinal, text);
    if (sms) AppendMenuW(sms, MF_STRING, kFirstSmsCommand + entry.ordinal, text);
    anyPhone = TRUE;
  }
  for (int i = mailStart; i < fields.GetSize(); ++i) {
    const ContactFieldEntry& entry = fields[i];
    if (entry.value.IsEmpty()) continue;
    AppendMenuW(mail, MF_STRING, kFirstMailCommand + entry.ordinal, ItemText(entry));
    anyMail = TRUE;
  }

  if (anyPhone) {
    AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(call), Text(IDS_CALL_PHONE));
    if (sms) AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(sms), Text(IDS_SEND_SMS));
  } else {
    DestroyMenu(call);
    if (sms) DestroyMenu(sms);
  }
  if (anyMail)
    AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(mail), Text(IDS_SEND_EMAIL));
  else
    DestroyMenu(mail);
  if (anyPhone || anyMail) AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(menu, MF_STRING, kCommandBeam, Text(IDS_BEAM));
  return mailStart;
}

void ContactList::MarkedContactIds(const Array<int>& marked, Array<CEOID>& ids) const {
  ids.RemoveAll();
  if (!source) return;
  for (int i = 0; i < marked.GetSize(); ++i) {
    const ListPosition position = RowToPosition(marked[i]);
    if (position.group < 0) continue;
    const int first = position.item >= 0 ? position.item : 0;
    const int end = position.item >= 0 ? position.item + 1 : source->RowsInGroup(position.group);
    for (int j = first; j < end; ++j) {
      const CEOID id = source->GetIdAt(position.group, j);
      BOOL known = id == 0;
      for (int k = 0; k < ids.GetSize() && !known; ++k) known = ids[k] == id;
      if (!known) ids.Add(id);
    }
  }
}

HMENU ContactList::BuildLongPressMenu(const Array<int>& marked, const Array<CEOID>& ids, Contact& contact,
                                      Array<ContactFieldEntry>& fields, int& mailStart) {
  fields.RemoveAll();
  mailStart = 0;
  contact.Clear();
  if (!source || marked.GetSize() == 0) return nullptr;
  HMENU menu = CreatePopupMenu();
  if (!menu) return nullptr;
  const Contact* about = nullptr;
  if (marked.GetSize() > 1) {
    AppendMenuW(menu, MF_STRING, kCommandBeam, Text(IDS_BEAM));
  } else {
    const ListPosition position = RowToPosition(marked[0]);
    if (position.item >= 0) {
      about = ContactAt(position);
    } else if (source->RowsInGroup(position.group) == 1) {
      // A company of one contact is that contact.
      about = ContactAt(ListPosition{position.group, 0});
      if (!about) {
        DestroyMenu(menu);
        return nullptr;
      }
    } else {
      AppendMenuW(menu, MF_STRING, kCommandBeam, Text(IDS_BEAM));
    }
    if (about) {
      // The cached contact may go while the menu is up: the commands work on a copy.
      contact = *about;
      mailStart = AddContactMenu(menu, contact, fields);
      AppendMenuW(menu, MF_STRING, kCommandAppointment, Text(IDS_MAKE_APPOINTMENT));
    }
  }
  AddPluginCommands(menu, ids);
  return menu;
}

void ContactList::OnLongPress(int x, int y) {
  if (disabled || !source || list.MarkedCount() == 0) return;
  Array<int> marked;
  list.GetMarkedRows(marked);
  Array<CEOID> ids;
  MarkedContactIds(marked, ids);
  Contact contact;
  Array<ContactFieldEntry> fields;
  int mailStart = 0;
  HMENU menu = BuildLongPressMenu(marked, ids, contact, fields, mailStart);
  if (!menu) return;
  POINT point = {x, y};
  ClientToScreen(list.GetHwnd(), &point);
  const UINT command = TrackLongPressMenu(menu, point);
  DestroyMenu(menu);
  RunMenuCommand(command, ids, contact, fields, mailStart, marked.GetSize());
}

UINT ContactList::TrackLongPressMenu(HMENU menu, POINT screen) {
  return static_cast<UINT>(
      TrackPopupMenuEx(menu, TPM_RETURNCMD | TPM_RIGHTALIGN, screen.x, screen.y, list.GetHwnd(), nullptr));
}

void ContactList::RunMenuCommand(UINT command, const Array<CEOID>& ids, const Contact& contact,
                                 const Array<ContactFieldEntry>& fields, int mailStart, int markedCount) {
  if (command == 0) return;
  const int end = mailStart < fields.GetSize() ? mailStart : fields.GetSize();
  if (command == kCommandBeam) {
    Beam(ids);
  } else if (command == kCommandAppointment) {
    if (listener) listener->OnMakeAppointment();
  } else if (command >= kFirstPluginCommand && command <= kLastPluginCommand) {
    RunPluginCommand(command, ids);
  } else if (command == kCommandMail) {
    for (int i = mailStart; i < fields.GetSize(); ++i) {
      if (fields[i].value.IsEmpty()) continue;
      StartMail(fields[i].value);
      break;
    }
  } else if (command >= kFirstCallCommand && command < kFirstSmsCommand) {
    const int ordinal = static_cast<int>(command - kFirstCallCommand);
    for (int i = 0; i < end; ++i) {
      if (fields[i].ordinal != ordinal) continue;
      DialNumber(fields[i].value, &contact);
      if (listener) listener->OnDialed();
      break;
    }
  } else if (command >= kFirstSmsCommand && command < kFirstMailCommand) {
    const int ordinal = static_cast<int>(command - kFirstSmsCommand);
    for (int i = 0; i < end; ++i) {
      if (fields[i].ordinal != ordinal || fields[i].value.IsEmpty()) continue;
      SendSms(fields[i].value, &contact);
      break;
    }
  } else if (command >= kFirstMailCommand && markedCount == 1) {
    // The addresses stand at the end of the list; the search goes back at most as many entries as
    // there are phones.
    const int ordinal = static_cast<int>(command - kFirstMailCommand);
    const int steps = mailStart - kFirstPhoneEntry;
    for (int i = fields.GetSize() - 1, step = 0; i >= 0 && step < steps; --i, ++step) {
      if (fields[i].ordinal != ordinal) continue;
      StartMail(fields[i].value);
      break;
    }
  }
}

BOOL ContactList::AddPluginCommands(HMENU menu, const Array<CEOID>& ids) {
  return GetPluginManager()->BuildMenu(menu, ids);
}

BOOL ContactList::RunPluginCommand(UINT command, const Array<CEOID>& ids) {
  return GetPluginManager()->Invoke(command, ids);
}
