// WordSeparators: the characters that cut words (kWordSeparators) as a lookup, a table for the
// characters below 128 and the list for the others, for the loops that test every character of a
// name.
#pragma once

#include <string.h>
#include <wchar.h>

#include "storage/index/WordSplitter.h"

class WordSeparators {
 public:
  WordSeparators() {
    memset(ascii, 0, sizeof(ascii));
    for (const wchar_t* at = kWordSeparators; *at != 0; ++at) {
      if (*at < kTableSize) ascii[*at] = true;
    }
  }
  bool Is(wchar_t ch) const { return ch < kTableSize ? ascii[ch] : wcschr(kWordSeparators, ch) != nullptr; }
  // The next word of the `length` characters at `chars` from `at` on: its start and length, with
  // `at` moved behind it; false when only separators are left.
  bool NextWord(const wchar_t* chars, int length, int& at, int& start, int& wordLength) const {
    while (at < length && Is(chars[at])) ++at;
    if (at >= length) return false;
    start = at;
    while (at < length && !Is(chars[at])) ++at;
    wordLength = at - start;
    return true;
  }

 private:
  static const int kTableSize = 128;
  bool ascii[kTableSize];
};
