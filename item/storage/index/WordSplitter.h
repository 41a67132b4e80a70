// WordSplitter: a cursor over a text that hands out its words, a word being a run of characters
// that aren't separators. The same separators cut the texts that go into the index, the text
// queries, and names when results are ranked.
#pragma once

#include <stdint.h>

#include "foundation/Str.h"

// Carriage return, line feed, tab, space and ` ! @ # $ % ^ & * ( ) _ | { } : " / / < > ? [ ] ; ' , . / №
// - = \ : 37 characters. The slash stands in it three times, which does no harm.
extern const wchar_t kWordSeparators[38];
// The digits of a number, and the characters a phone number may hold.
extern const wchar_t kNumberDigits[];  // "1234567890"
extern const wchar_t kPhoneChars[];    // "1234567890-+()*# ."

class WordSplitter {
 public:
  explicit WordSplitter(const wchar_t* separators = kWordSeparators);
  virtual ~WordSplitter();

  // Starts over on `text`.
  virtual void Reset(const Str& text);
  // Skips separators; false at the end of the text. Otherwise gives the run of characters up to the
  // next separator and moves one past that separator.
  virtual bool Next(Str& word);

  // The same walk over `length` characters of `text` without a copy: from `position` on, the next
  // word's first character and length, and `position` moved one past the separator behind it.
  bool NextSpan(const wchar_t* text, int length, int& position, int& start, int& count) const;

  bool IsSeparator(wchar_t ch) const {
    if (ch < 128) return (ascii[ch >> 5] >> (ch & 31)) & 1u;
    return IsOtherSeparator(ch);
  }

 private:
  // A separator from outside the ASCII range (the set's characters looked up one by one).
  bool IsOtherSeparator(wchar_t ch) const;

  Str text;
  int position;
  const wchar_t* separators;
  // The set's ASCII characters as bits (never the terminator), and whether it holds any other.
  uint32_t ascii[4];
  bool hasOther;
};
