#include "SearchQueries.h"

#include "Generator.h"
#include "foundation/Str.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/contact/ContactFieldTable.h"
#include "storage/index/WordSplitter.h"

const char* const kKindName[KindCount] = {"keypad1", "keypad2", "keypad3", "keypad4",
                                          "keypad5", "text1",   "text2",   "phone"};

namespace {

const int kKeypadKinds = Keypad5 - Keypad1 + 1;

std::vector<std::wstring> Spread(const std::vector<std::wstring>& all) {
  std::vector<std::wstring> picked;
  if (all.empty()) return picked;
  for (int q = 0; q < kQueries; ++q) picked.push_back(all[static_cast<size_t>(q) * all.size() / kQueries]);
  return picked;
}

}  // namespace

std::wstring DigitsOf(const wchar_t* text) {
  std::wstring digits;
  for (const wchar_t* at = text; at != nullptr && *at != 0; ++at) {
    if (*at >= L'0' && *at <= L'9') digits += *at;
  }
  return digits;
}

std::vector<std::wstring> NameWords(const std::wstring& text) {
  std::vector<std::wstring> words;
  WordSplitter splitter;
  splitter.Reset(Str(text.c_str()));
  Str word;
  while (splitter.Next(word)) {
    word.MakeLower();
    words.push_back(static_cast<const wchar_t*>(word));
  }
  return words;
}

QuerySet MakeQueries(int count) {
  std::vector<std::wstring> keys[kKeypadKinds], single, pairs, numbers;
  for (int k = 0; k < count; ++k) {
    const ToolContact contact = GenerateContact(kSearchSeed, k);
    const std::vector<std::wstring> first = NameWords(contact.text[FieldFirstName]);
    const std::vector<std::wstring> last = NameWords(contact.text[FieldLastName]);
    for (const std::vector<std::wstring>* words : {&first, &last}) {
      for (const std::wstring& word : *words) {
        const Str mapped = MapToGroupKeys(word.c_str());
        for (int n = 0; n < kKeypadKinds; ++n) {
          if (mapped.GetLength() >= n + 1) keys[n].push_back(static_cast<const wchar_t*>(mapped.Left(n + 1)));
        }
        if (word.size() >= 3) single.push_back(word.substr(0, 3));
      }
    }
    if (!first.empty() && !last.empty() && first[0].size() >= 2 && last[0].size() >= 2)
      pairs.push_back(first[0].substr(0, 3) + L" " + last[0].substr(0, 3));
    for (int p = 0; p < kPhoneFieldCount; ++p) {
      const std::wstring digits = DigitsOf(contact.text[kPhoneFields[p]].c_str());
      if (digits.size() >= 7) {
        numbers.push_back(digits.substr(digits.size() - 7));
        break;
      }
    }
  }
  QuerySet set;
  for (int n = 0; n < kKeypadKinds; ++n) set.queries[Keypad1 + n] = Spread(keys[n]);
  set.queries[Text1] = Spread(single);
  set.queries[Text2] = Spread(pairs);
  set.queries[Phone] = Spread(numbers);
  return set;
}
