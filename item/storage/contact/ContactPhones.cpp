// The phones and mails of a contact: custom item ids, the default item, phone lists and labels.
#include "storage/contact/Contact.h"

#include "foundation/Diagnostics.h"
#include "resources/resource.h"
#include "storage/contact/LabelTranslator.h"

namespace {

Str FieldLabel(int field) {
  Str label;
  LOAD_STRING_OR_STOP(label, ContactFieldLabel(field));
  return label;
}

Str FieldListLabel(int field) {
  UINT id = ContactFieldListLabel(field);
  Str label;
  LOAD_STRING_OR_STOP(label, id != 0 ? id : ContactFieldLabel(field));
  return label;
}

Str Lower(Str text) {
  text.MakeLower();
  return text;
}

Str Trimmed(Str text) {
  text.TrimLeft();
  text.TrimRight();
  return text;
}

// A list entry as the default item shows it: both sides trimmed, the label in lower case.
void TakeEntry(const LabelValue& entry, Str& value, Str& label) {
  value = Trimmed(entry.value);
  label = Lower(Trimmed(entry.label));
}

void TakeField(const Contact& contact, int field, Str& value, Str& label) {
  value = contact.text[field];
  label = Lower(FieldLabel(field));
}

// The field among `fields` whose property id is `id`, or -1.
int FieldWithId(const int* fields, int count, uint32_t id) {
  for (int i = 0; i < count; ++i) {
    if (ContactTextId(fields[i]) == id) return fields[i];
  }
  return -1;
}

// The entry of `list` whose custom item id is `id`, or -1.
int EntryWithId(const LabelValueList& list, uint32_t id) {
  for (int i = 0; i < list.GetSize(); ++i) {
    if (Contact::CustomItemId(list[i].label, list[i].value) == id) return i;
  }
  return -1;
}

int FirstFilledField(const Contact& contact, const int* fields, int count) {
  for (int i = 0; i < count; ++i) {
    if (!contact.text[fields[i]].IsEmpty()) return fields[i];
  }
  return -1;
}

int FirstFilledEntry(const LabelValueList& list) {
  for (int i = 0; i < list.GetSize(); ++i) {
    if (!list[i].value.IsEmpty()) return i;
  }
  return -1;
}

// The fields that LabelForNumber searches, in its order; the second home phone is not among them.
const int kNumberSearchFields[] = {
    ContactField::WorkPhone,      ContactField::WorkPhone2, ContactField::HomePhone,
    ContactField::MobilePhone,    ContactField::HomeFax,    ContactField::WorkFax,
    ContactField::Pager,          ContactField::CarPhone,   ContactField::RadioPhone,
    ContactField::AssistantPhone, ContactField::Email1,     ContactField::Email2,
    ContactField::Email3,
};

bool DigitsContain(const wchar_t* field, const wchar_t* text) {
  Str digits;
  for (const wchar_t* p = field; *p != 0; ++p) {
    if (*p >= L'0' && *p <= L'9') digits += *p;
  }
  if (digits.IsEmpty()) return false;
  return digits.Find(text) >= 0;
}

}  // namespace

uint32_t Contact::Hash(const wchar_t* text) {
  uint32_t sum = 0;
  if (text == nullptr) return 0;
  for (int i = 0; text[i] != 0; ++i) {
    uint32_t c = text[i];
    uint32_t term = (i % 2 == 0) ? c : ((c * 256) | (c >= 256 ? 1u : 0u));
    // Each term counts as a signed 16-bit number.
    sum += static_cast<uint32_t>(static_cast<int32_t>(static_cast<int16_t>(term & 0xFFFF)));
  }
  return sum;
}

uint32_t Contact::CustomItemId(const wchar_t* label, const wchar_t* value) {
  uint32_t high = ((Hash(label) | 0xF000u) << 16);
  // The value's hash is sign-extended: with its bit 15 set the high half becomes all ones.
  uint32_t low = static_cast<uint32_t>(static_cast<int32_t>(static_cast<int16_t>(Hash(value) & 0xFFFF)));
  return high | low;
}

bool Contact::GetPhoneByType(uint32_t& propertyId, Str& value, Str& label) const {
  int field = FieldWithId(kPhoneFields, kPhoneFieldCount, propertyId);
  if (field >= 0) {
    TakeField(*this, field, value, label);
    return true;
  }
  if (IsCustomItemId(propertyId)) {
    int entry = EntryWithId(Phone, propertyId);
    if (entry >= 0) {
      TakeEntry(Phone[entry], value, label);
      return true;
    }
  }

  field = FirstFilledField(*this, kPhoneFields, kPhoneFieldCount);
  if (field >= 0) {
    TakeField(*this, field, value, label);
    propertyId = ContactTextId(field);
    return true;
  }
  int entry = FirstFilledEntry(Phone);
  if (entry >= 0) {
    TakeEntry(Phone[entry], value, label);
    propertyId = CustomItemId(Phone[entry].label, Phone[entry].value);
    return true;
  }
  value.Empty();
  label.Empty();
  return false;
}

bool Contact::GetDefaultCommunication(Str& value, Str& label) const {
  uint32_t id = defaultItem;
  int field = FieldWithId(kPhoneFields, kPhoneFieldCount, id);
  if (field < 0) field = FieldWithId(kEmailFields, kEmailFieldCount, id);
  if (field >= 0) {
    TakeField(*this, field, value, label);
    return true;
  }
  if (IsCustomItemId(id)) {
    int entry = EntryWithId(Phone, id);
    if (entry >= 0) {
      TakeEntry(Phone[entry], value, label);
      return true;
    }
    entry = EntryWithId(Email, id);
    if (entry >= 0) {
      TakeEntry(Email[entry], value, label);
      return true;
    }
    value.Empty();
    label.Empty();
    return false;
  }

  field = FirstFilledField(*this, kPhoneFields, kPhoneFieldCount);
  if (field < 0) field = FirstFilledField(*this, kEmailFields, kEmailFieldCount);
  if (field >= 0) {
    TakeField(*this, field, value, label);
    return true;
  }
  int entry = FirstFilledEntry(Phone);
  if (entry >= 0) {
    TakeEntry(Phone[entry], value, label);
    return true;
  }
  entry = FirstFilledEntry(Email);
  if (entry >= 0) {
    TakeEntry(Email[entry], value, label);
    return true;
  }
  value.Empty();
  label.Empty();
  return false;
}

void Contact::ListPhonesWithIds(Array<LabelValue>& pairs, Array<uint32_t>& ids) const {
  pairs.RemoveAll();
  ids.RemoveAll();
  for (int i = 0; i < kPhoneFieldCount; ++i) {
    int field = kPhoneFields[i];
    if (text[field].IsEmpty()) continue;
    LabelValue pair;
    pair.label = FieldListLabel(field);
    pair.value = text[field];
    pairs.Add(pair);
    ids.Add(ContactTextId(field));
  }
  for (int i = 0; i < Phone.GetSize(); ++i) {
    const LabelValue& entry = Phone[i];
    if (entry.value.IsEmpty()) continue;
    LabelValue pair;
    pair.label = TranslateLabel(entry.label);
    pair.value = entry.value;
    pairs.Add(pair);
    ids.Add(CustomItemId(entry.label, entry.value));
  }
}

void Contact::ListPhones(Array<LabelValue>& pairs, int& selectedIndex) const {
  Array<uint32_t> ids;
  ListPhonesWithIds(pairs, ids);
  selectedIndex = 0;
  for (int i = 0; i < ids.GetSize(); ++i) {
    if (ids[i] == defaultItem) {
      selectedIndex = i;
      break;
    }
  }
}

void Contact::CollectItems(Array<uint32_t>& ids, bool phonesOnly) const {
  ids.RemoveAll();
  for (int i = 0; i < kPhoneFieldCount; ++i) {
    if (!text[kPhoneFields[i]].IsEmpty()) ids.Add(ContactTextId(kPhoneFields[i]));
  }
  for (int i = 0; i < Phone.GetSize(); ++i) {
    if (!Phone[i].value.IsEmpty()) ids.Add(CustomItemId(Phone[i].label, Phone[i].value));
  }
  if (phonesOnly) return;
  for (int i = 0; i < kEmailFieldCount; ++i) {
    if (!text[kEmailFields[i]].IsEmpty()) ids.Add(ContactTextId(kEmailFields[i]));
  }
  for (int i = 0; i < Email.GetSize(); ++i) {
    if (!Email[i].value.IsEmpty()) ids.Add(CustomItemId(Email[i].label, Email[i].value));
  }
}

uint32_t Contact::NextPhone(int step, bool forPhonesOnly) {
  Array<uint32_t> ids;
  CollectItems(ids, forPhonesOnly);
  int count = ids.GetSize();
  if (count < 2) return 0;
  // With no item chosen yet, the first one is the one shown.
  int position = 0;
  for (int i = 0; i < count; ++i) {
    if (ids[i] == defaultItem) {
      position = i;
      break;
    }
  }
  position += step;
  if (position < 0)
    position = count - 1;
  else if (position >= count)
    position = 0;
  defaultItem = ids[position];
  return defaultItem;
}

bool Contact::LabelForNumber(const wchar_t* number, Str& label) const {
  if (number == nullptr || number[0] == 0) return false;
  for (int field : kNumberSearchFields) {
    if (DigitsContain(text[field], number)) {
      label = FieldListLabel(field);
      return true;
    }
  }
  for (int i = 0; i < Phone.GetSize(); ++i) {
    if (DigitsContain(Phone[i].value, number)) {
      label = Phone[i].label;
      return true;
    }
  }
  return false;
}

Str Contact::Ringtone() const {
  Str ringtone;
  Str shortRingtone;
  LOAD_STRING_OR_STOP(ringtone, IDS_LABEL_RINGTONE);
  LOAD_STRING_OR_STOP(shortRingtone, IDS_LABEL_RINGTONE_SHORT);
  for (int i = 0; i < Link.GetSize(); ++i) {
    const LabelValue& entry = Link[i];
    if (entry.value.IsEmpty()) continue;
    if (Str::IsEqual(entry.label, ringtone) || Str::IsEqual(entry.label, shortRingtone)) return entry.value;
  }
  return Str();
}
