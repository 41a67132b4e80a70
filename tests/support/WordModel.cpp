#include "WordModel.h"

#include <windows.h>

#include <algorithm>
#include <utility>

namespace wordmodel {

namespace {

const std::wstring kSeparators = L"\r\n\t `!@#$%^&*()_|{}:\"/<>?[];',.\u2116-=\\";
const std::wstring kDigits = L"0123456789";
const std::wstring kPhoneChars = L"0123456789-+()*# .";

bool In(const std::wstring& set, wchar_t c) { return set.find(c) != std::wstring::npos; }

std::wstring W(const Str& text) { return static_cast<const wchar_t*>(text); }

bool Zero(const FILETIME& time) { return time.dwLowDateTime == 0 && time.dwHighDateTime == 0; }

// The date as the feed writes it: the short date of the user's locale.
std::wstring ShortDate(const FILETIME& time) {
  SYSTEMTIME date;
  if (!FileTimeToSystemTime(&time, &date)) return L"";
  wchar_t buffer[80];
  if (GetDateFormatW(LOCALE_USER_DEFAULT, 0, &date, nullptr, buffer, 80) <= 0) return L"";
  return buffer;
}

}  // namespace

void Keys::Merge(const Keys& other) {
  word.insert(other.word.begin(), other.word.end());
  keypad.insert(other.keypad.begin(), other.keypad.end());
}

std::vector<std::wstring> Words(const std::wstring& text) {
  std::vector<std::wstring> out;
  std::wstring current;
  for (wchar_t c : text) {
    if (In(kSeparators, c)) {
      if (!current.empty()) out.push_back(current);
      current.clear();
    } else {
      current += c;
    }
  }
  if (!current.empty()) out.push_back(current);
  return out;
}

std::wstring Lower(const std::wstring& text) {
  std::wstring lower = text;
  if (!lower.empty()) CharLowerBuffW(&lower[0], static_cast<DWORD>(lower.size()));
  return lower;
}

std::wstring DigitsOnly(const std::wstring& text) {
  std::wstring digits;
  for (wchar_t c : text)
    if (In(kDigits, c)) digits += c;
  return digits;
}

std::wstring NumberEnd(const std::wstring& number) {
  std::wstring digits = DigitsOnly(number);
  if (digits.empty()) return digits;
  std::reverse(digits.begin(), digits.end());
  return L"~" + digits;
}

std::wstring CutLastNumber(const std::wstring& text) {
  // From the end: the last digit, then down through phone characters to one that isn't, then the
  // next digit; each step needs index 6 or more (the last one 5 or more).
  int i = static_cast<int>(text.size()) - 1;
  while (i >= 6 && !In(kDigits, text[i])) --i;
  if (i < 6) return L"";
  while (i >= 6 && In(kPhoneChars, text[i])) --i;
  if (i < 6) return L"";
  while (i >= 5 && !In(kDigits, text[i])) --i;
  if (i < 5) return L"";
  return text.substr(0, static_cast<size_t>(i) + 1);
}

WordModel::WordModel(std::vector<std::wstring> letterGroups) : groups(std::move(letterGroups)) {}

std::wstring WordModel::Keypad(const std::wstring& lowerWord) const {
  std::wstring keys;
  for (wchar_t c : lowerWord) {
    const std::wstring* group = nullptr;
    for (const std::wstring& g : groups) {
      if (In(g, c)) {
        group = &g;
        break;
      }
    }
    if (group == nullptr) break;
    keys += (*group)[0];
  }
  return keys;
}

Keys WordModel::OfText(const std::wstring& text) const {
  Keys keys;
  for (const std::wstring& word : Words(text)) {
    std::wstring lower = Lower(word);
    keys.word.insert(lower);
    std::wstring keypad = Keypad(lower);
    if (!keypad.empty()) keys.keypad.insert(keypad);
  }
  return keys;
}

Keys WordModel::OfPhone(const std::wstring& number) const {
  Keys keys = OfText(number);
  std::wstring end = NumberEnd(number);
  if (!end.empty()) keys.word.insert(end);
  std::wstring rest = number;
  for (;;) {
    rest = CutLastNumber(rest);
    if (rest.size() <= 5) break;
    std::wstring cut = NumberEnd(rest);
    if (!cut.empty()) keys.word.insert(cut);
  }
  return keys;
}

Keys WordModel::OfContact(const Contact& c, const std::wstring& note) const {
  Keys keys;
  for (int f = 0; f < kContactTextCount; ++f) keys.Merge(OfText(W(c.text[f])));
  if (!Zero(c.birthday)) keys.Merge(OfText(ShortDate(c.birthday)));
  if (!Zero(c.anniversary)) keys.Merge(OfText(ShortDate(c.anniversary)));
  const int phones[] = {ContactField::WorkPhone,  ContactField::HomePhone,  ContactField::MobilePhone,
                        ContactField::Pager,      ContactField::RadioPhone, ContactField::AssistantPhone,
                        ContactField::CarPhone,   ContactField::WorkFax,    ContactField::WorkPhone2,
                        ContactField::HomePhone2, ContactField::HomeFax};
  for (int f : phones)
    if (!c.text[f].IsEmpty()) keys.Merge(OfPhone(W(c.text[f])));
  for (int k = 0; k < c.Phone.GetSize(); ++k)
    if (!c.Phone[k].value.IsEmpty()) keys.Merge(OfPhone(W(c.Phone[k].value)));
  const LabelValueList* lists[] = {&c.Email, &c.WebPage, &c.People, &c.Link, &c.OtherProp};
  for (const LabelValueList* list : lists)
    for (int k = 0; k < list->GetSize(); ++k) keys.Merge(OfText(W((*list)[k].value)));
  for (int k = 0; k < c.Messenger.GetSize(); ++k) keys.Merge(OfText(W(c.Messenger[k].id)));
  for (int k = 0; k < c.Date.GetSize(); ++k) keys.Merge(OfText(ShortDate(c.Date[k].value)));
  for (int k = 0; k < c.Address.GetSize(); ++k) {
    const AddressEntry& a = c.Address[k];
    if (a.format != 0) keys.Merge(OfText(std::to_wstring(a.format)));
    for (int part = 0; part < 5; ++part) keys.Merge(OfText(W(a.parts[part])));
  }
  for (uint32_t format : {c.HomeFormat, c.OtherFormat, c.WorkFormat})
    if (format != 0) keys.Merge(OfText(std::to_wstring(format)));
  keys.Merge(OfText(note));
  return keys;
}

const std::vector<std::wstring>& EnglishGroups() {
  static const std::vector<std::wstring> groups = {L"abc", L"def",  L"ghi", L"jkl",
                                                   L"mno", L"pqrs", L"tuv", L"wxyz"};
  return groups;
}

}  // namespace wordmodel
