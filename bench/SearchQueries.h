// The queries of the search benchmarks, taken from the names of generated contacts: keypad keys of 1
// to 5 groups, text of one and two words, and the tails of phone numbers.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

// The seed of the generated contacts of every search benchmark.
const uint64_t kSearchSeed = 42;
// Queries of each kind.
const int kQueries = 100;

enum QueryKind { Keypad1, Keypad2, Keypad3, Keypad4, Keypad5, Text1, Text2, Phone, KindCount };
extern const char* const kKindName[KindCount];

inline bool IsKeypadKind(int kind) { return kind >= Keypad1 && kind <= Keypad5; }
inline bool IsTextKind(int kind) { return kind == Text1 || kind == Text2; }

struct QuerySet {
  std::vector<std::wstring> queries[KindCount];
};

// Queries from the first and last names of generated contacts [0, count): keypad queries are the keys
// of name words as the letter bar makes them (each key a group's key), text queries the first three
// letters of a name word, or of a first name and a last name of one contact; numbers are the last
// seven digits of a contact's first phone that has as many. `kQueries` of each kind, evenly spread
// over all that the contacts give, so that a common name is asked as often as it occurs.
QuerySet MakeQueries(int count);

// The words of a text in lower case, as the index splits them.
std::vector<std::wstring> NameWords(const std::wstring& text);
// The characters 0 to 9 of `text`, in order.
std::wstring DigitsOf(const wchar_t* text);
