// The keys a contact puts into the index's two trees, worked out by the tests themselves from the
// rules of the feed, without the item's code: the separators that cut words, lower case, the keypad
// key of each letter under a choice of letter groups, and the reversed digits of phone numbers.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "storage/contact/Contact.h"

namespace wordmodel {

// The word keys and the keypad keys of a text or a contact.
struct Keys {
  std::set<std::wstring> word;
  std::set<std::wstring> keypad;
  void Merge(const Keys& other);
};

// The words of a text, cut at the separators, in their order.
std::vector<std::wstring> Words(const std::wstring& text);
std::wstring Lower(const std::wstring& text);
std::wstring DigitsOnly(const std::wstring& text);
// "~" and the digits of a number from the last to the first; empty when it has no digit.
std::wstring NumberEnd(const std::wstring& number);
// The text up to the number before the last one, or nothing.
std::wstring CutLastNumber(const std::wstring& text);

class WordModel {
 public:
  // `groups` in lower case; the key of a letter is the first letter of its group.
  explicit WordModel(std::vector<std::wstring> groups = {});

  // The keys of the letters of a lower-case word up to the first letter of no group.
  std::wstring Keypad(const std::wstring& lowerWord) const;
  Keys OfText(const std::wstring& text) const;
  // The keys of the text, and the number ends of the whole number and of what stands before each of
  // its later numbers.
  Keys OfPhone(const std::wstring& number) const;
  // Every text field, the dates, the phones, the extended data and the Note's text.
  Keys OfContact(const Contact& contact, const std::wstring& note) const;

 private:
  std::vector<std::wstring> groups;
};

// The English groups of a telephone keypad: abc, def, ghi, jkl, mno, pqrs, tuv, wxyz.
const std::vector<std::wstring>& EnglishGroups();

}  // namespace wordmodel
