#include "storage/index/ContactFeed.h"

#include <wchar.h>

#include "manager/letters/KeypadGroups.h"
#include "storage/contact/Contact.h"
#include "storage/index/IndexFormat.h"

namespace {

// The fixed phones in the order of the feed, which isn't the order in which they are shown.
const int kFeedPhones[] = {
    ContactField::WorkPhone,  ContactField::HomePhone,      ContactField::MobilePhone, ContactField::Pager,
    ContactField::RadioPhone, ContactField::AssistantPhone, ContactField::CarPhone,    ContactField::WorkFax,
    ContactField::WorkPhone2, ContactField::HomePhone2,     ContactField::HomeFax,
};

// The shortest number that a cut may give.
const int kShortestNumber = 6;

bool IsZero(const FILETIME& time) { return time.dwLowDateTime == 0 && time.dwHighDateTime == 0; }

bool IsNumberDigit(wchar_t ch) { return ch != 0 && wcschr(kNumberDigits, ch) != nullptr; }

bool IsPhoneChar(wchar_t ch) { return ch != 0 && wcschr(kPhoneChars, ch) != nullptr; }

Str Decimal(uint32_t value) {
  Str text;
  text.Format(L"%u", value);
  return text;
}

}  // namespace

IndexKeySink::~IndexKeySink() {}

ContactFeed::ContactFeed(IndexKeySink* keySink, const KeypadGroups* keypadGroups)
    : sink(keySink), groups(keypadGroups) {}

ContactFeed::~ContactFeed() {}

Str ContactFeed::DateText(const FILETIME& time) {
  SYSTEMTIME date;
  if (!FileTimeToSystemTime(&time, &date)) return Str();
  wchar_t buffer[80];
  int length = GetDateFormatW(LOCALE_USER_DEFAULT, 0, &date, nullptr, buffer, 80);
  if (length <= 0) return Str();
  return Str(buffer);
}

Str ContactFeed::NumberEndKey(const wchar_t* number) {
  Str digits;
  if (number == nullptr) return digits;
  for (const wchar_t* at = number; *at != 0; ++at) {
    if (IsNumberDigit(*at)) digits += *at;
  }
  if (digits.IsEmpty()) return digits;
  digits += kNumberEndMark;
  digits.MakeReverse();
  return digits;
}

Str ContactFeed::CutLastNumber(const Str& text) {
  const wchar_t* s = text;
  int i = text.GetLength() - 1;
  // The last digit.
  while (i > kShortestNumber - 1 && !IsNumberDigit(s[i])) --i;
  if (i <= kShortestNumber - 1) return Str();
  // Down through the number to the first character that a phone number can't hold.
  while (i > kShortestNumber - 1 && IsPhoneChar(s[i])) --i;
  if (i <= kShortestNumber - 1) return Str();
  // The last digit of the number before.
  while (i >= kShortestNumber - 1 && !IsNumberDigit(s[i])) --i;
  if (i < kShortestNumber - 1) return Str();
  return text.Left(i + 1);
}

BOOL ContactFeed::AddText(CEOID oid, const wchar_t* text) {
  if (text == nullptr || text[0] == 0) return TRUE;
  const KeypadGroups& table = groups != nullptr ? *groups : g_keypadGroups;
  splitter.Reset(Str(text));
  Str word;
  while (splitter.Next(word)) {
    word.MakeLower();
    if (!sink->AddKey(WordTree, oid, word)) return FALSE;
    Str keys = table.MapToGroupKeys(word);
    if (!keys.IsEmpty() && !sink->AddKey(KeypadTree, oid, keys)) return FALSE;
  }
  return TRUE;
}

BOOL ContactFeed::AddNumberEnd(CEOID oid, const wchar_t* number) {
  Str key = NumberEndKey(number);
  if (key.IsEmpty()) return TRUE;
  return sink->AddKey(WordTree, oid, key);
}

BOOL ContactFeed::AddPhone(CEOID oid, const wchar_t* number) {
  if (number == nullptr || number[0] == 0) return TRUE;
  if (!AddText(oid, number)) return FALSE;
  return AddNumberText(oid, number);
}

BOOL ContactFeed::AddNumberText(CEOID oid, const wchar_t* number) {
  if (!AddNumberEnd(oid, number)) return FALSE;
  Str rest(number);
  for (;;) {
    rest = CutLastNumber(rest);
    if (rest.GetLength() < kShortestNumber) return TRUE;
    if (!AddNumberEnd(oid, rest)) return FALSE;
  }
}

BOOL ContactFeed::FeedContact(const Contact& contact, const wchar_t* noteText) {
  const CEOID oid = contact.oid;
  for (int f = 0; f < kContactTextCount; ++f) {
    if (!AddText(oid, contact.text[f])) return FALSE;
  }
  if (!IsZero(contact.birthday) && !AddText(oid, DateText(contact.birthday))) return FALSE;
  if (!IsZero(contact.anniversary) && !AddText(oid, DateText(contact.anniversary))) return FALSE;

  for (int field : kFeedPhones) {
    if (!AddPhone(oid, contact.text[field])) return FALSE;
  }
  for (int k = 0; k < contact.Phone.GetSize(); ++k) {
    if (!AddPhone(oid, contact.Phone[k].value)) return FALSE;
  }

  const LabelValueList* lists[] = {&contact.Email, &contact.WebPage, &contact.People, &contact.Link,
                                   &contact.OtherProp};
  for (const LabelValueList* list : lists) {
    for (int k = 0; k < list->GetSize(); ++k) {
      if (!AddText(oid, (*list)[k].value)) return FALSE;
    }
  }
  for (int k = 0; k < contact.Messenger.GetSize(); ++k) {
    if (!AddText(oid, contact.Messenger[k].id)) return FALSE;
  }
  for (int k = 0; k < contact.Date.GetSize(); ++k) {
    if (!AddText(oid, DateText(contact.Date[k].value))) return FALSE;
  }
  static const int kAddressPartOrder[] = {1, 4, 3, 2, 0};
  for (int k = 0; k < contact.Address.GetSize(); ++k) {
    const AddressEntry& address = contact.Address[k];
    if (address.format != 0 && !AddText(oid, Decimal(address.format))) return FALSE;
    for (int part : kAddressPartOrder) {
      if (!AddText(oid, address.parts[part])) return FALSE;
    }
  }
  const uint32_t formats[] = {contact.HomeFormat, contact.OtherFormat, contact.WorkFormat};
  for (uint32_t format : formats) {
    if (format != 0 && !AddText(oid, Decimal(format))) return FALSE;
  }
  return AddText(oid, noteText);
}
