#include "storage/index/ContactFeed.h"

#include <string.h>
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
// Room for a short date.
const int kDateChars = 80;

bool IsZero(const FILETIME& time) { return time.dwLowDateTime == 0 && time.dwHighDateTime == 0; }

bool IsNumberDigit(wchar_t ch) { return ch >= L'0' && ch <= L'9'; }

// The characters of kPhoneChars: the digits and "-+()*# .".
bool IsPhoneChar(wchar_t ch) {
  if (IsNumberDigit(ch)) return true;
  switch (ch) {
    case L'-':
    case L'+':
    case L'(':
    case L')':
    case L'*':
    case L'#':
    case L' ':
    case L'.':
      return true;
    default:
      return false;
  }
}

// The short date of `time` in `out` (kDateChars); its length, or 0 when it can't be formatted.
int FormatDate(const FILETIME& time, wchar_t* out) {
  SYSTEMTIME date;
  if (!FileTimeToSystemTime(&time, &date)) return 0;
  const int length = GetDateFormatW(LOCALE_USER_DEFAULT, 0, &date, nullptr, out, kDateChars);
  return length > 0 ? length : 0;
}

}  // namespace

IndexKeySink::~IndexKeySink() {}

BOOL IndexKeySink::AddKeyChars(int tree, CEOID oid, const wchar_t* key, int length) {
  return AddKey(tree, oid, Str(key, length));
}

ContactFeed::ContactFeed(IndexKeySink* keySink, const KeypadGroups* keypadGroups)
    : sink(keySink), groups(keypadGroups) {}

ContactFeed::~ContactFeed() {}

wchar_t* ContactFeed::Room(int count) {
  if (buffer.GetSize() < count) buffer.SetSize(count < 256 ? 256 : count * 2);
  return buffer.GetData();
}

Str ContactFeed::DateText(const FILETIME& time) {
  wchar_t text[kDateChars];
  return FormatDate(time, text) > 0 ? Str(text) : Str();
}

Str ContactFeed::NumberEndKey(const wchar_t* number) {
  Str key;
  if (number == nullptr) return key;
  int digits = 0;
  for (const wchar_t* at = number; *at != 0; ++at) digits += IsNumberDigit(*at) ? 1 : 0;
  if (digits == 0) return key;
  wchar_t* out = key.GetBuffer(digits + 1);
  int k = 0;
  out[k++] = kNumberEndMark;
  for (const wchar_t* at = number + wcslen(number); at != number;) {
    if (IsNumberDigit(*--at)) out[k++] = *at;
  }
  key.ReleaseBuffer(k);
  return key;
}

int ContactFeed::CutLastNumber(const wchar_t* s, int length) {
  int i = length - 1;
  // The last digit.
  while (i > kShortestNumber - 1 && !IsNumberDigit(s[i])) --i;
  if (i <= kShortestNumber - 1) return 0;
  // Down through the number to the first character that a phone number can't hold.
  while (i > kShortestNumber - 1 && IsPhoneChar(s[i])) --i;
  if (i <= kShortestNumber - 1) return 0;
  // The last digit of the number before.
  while (i >= kShortestNumber - 1 && !IsNumberDigit(s[i])) --i;
  if (i < kShortestNumber - 1) return 0;
  return i + 1;
}

Str ContactFeed::CutLastNumber(const Str& text) { return text.Left(CutLastNumber(text, text.GetLength())); }

BOOL ContactFeed::AddText(CEOID oid, const wchar_t* text) {
  if (text == nullptr || text[0] == 0) return TRUE;
  const KeypadGroups& table = groups != nullptr ? *groups : g_keypadGroups;
  const int length = static_cast<int>(wcslen(text));
  int position = 0;
  int start = 0;
  int count = 0;
  while (splitter.NextSpan(text, length, position, start, count)) {
    // The lowered word, and its keys behind it.
    wchar_t* word = Room(2 * count);
    memcpy(word, text + start, static_cast<size_t>(count) * sizeof(wchar_t));
    CharLowerBuffW(word, static_cast<DWORD>(count));
    if (!sink->AddKeyChars(WordTree, oid, word, count)) return FALSE;
    wchar_t* keys = word + count;
    int mapped = 0;
    while (mapped < count) {
      const wchar_t key = table.KeyOf(word[mapped]);
      if (key == 0) break;
      keys[mapped++] = key;
    }
    if (mapped > 0 && !sink->AddKeyChars(KeypadTree, oid, keys, mapped)) return FALSE;
  }
  return TRUE;
}

BOOL ContactFeed::AddNumberEnd(CEOID oid, const wchar_t* number, int length) {
  wchar_t* key = Room(length + 1);
  int k = 0;
  key[k++] = kNumberEndMark;
  for (int at = length - 1; at >= 0; --at) {
    if (IsNumberDigit(number[at])) key[k++] = number[at];
  }
  if (k == 1) return TRUE;
  return sink->AddKeyChars(WordTree, oid, key, k);
}

BOOL ContactFeed::AddPhone(CEOID oid, const wchar_t* number) {
  if (number == nullptr || number[0] == 0) return TRUE;
  if (!AddText(oid, number)) return FALSE;
  return AddNumberText(oid, number);
}

BOOL ContactFeed::AddNumberText(CEOID oid, const wchar_t* number) {
  int length = static_cast<int>(wcslen(number));
  if (!AddNumberEnd(oid, number, length)) return FALSE;
  for (;;) {
    length = CutLastNumber(number, length);
    if (length < kShortestNumber) return TRUE;
    if (!AddNumberEnd(oid, number, length)) return FALSE;
  }
}

BOOL ContactFeed::AddDate(CEOID oid, const FILETIME& time) {
  wchar_t text[kDateChars];
  if (FormatDate(time, text) == 0) return TRUE;
  return AddText(oid, text);
}

BOOL ContactFeed::AddDecimal(CEOID oid, uint32_t value) {
  wchar_t text[16];
  _snwprintf(text, 15, L"%u", value);
  text[15] = 0;
  return AddText(oid, text);
}

BOOL ContactFeed::FeedContact(const Contact& contact, const wchar_t* noteText) {
  const CEOID oid = contact.oid;
  for (int f = 0; f < kContactTextCount; ++f) {
    if (!AddText(oid, contact.text[f])) return FALSE;
  }
  if (!IsZero(contact.birthday) && !AddDate(oid, contact.birthday)) return FALSE;
  if (!IsZero(contact.anniversary) && !AddDate(oid, contact.anniversary)) return FALSE;

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
    if (!AddDate(oid, contact.Date[k].value)) return FALSE;
  }
  static const int kAddressPartOrder[] = {1, 4, 3, 2, 0};
  for (int k = 0; k < contact.Address.GetSize(); ++k) {
    const AddressEntry& address = contact.Address[k];
    if (address.format != 0 && !AddDecimal(oid, address.format)) return FALSE;
    for (int part : kAddressPartOrder) {
      if (!AddText(oid, address.parts[part])) return FALSE;
    }
  }
  const uint32_t formats[] = {contact.HomeFormat, contact.OtherFormat, contact.WorkFormat};
  for (uint32_t format : formats) {
    if (format != 0 && !AddDecimal(oid, format)) return FALSE;
  }
  return AddText(oid, noteText);
}
