#include "storage/index/WordSplitter.h"

#include <wchar.h>

const wchar_t kWordSeparators[38] = L"\r\n\t `!@#$%^&*()_|{}:\"//<>?[];',./\x2116-=\\";
const wchar_t kNumberDigits[] = L"1234567890";
const wchar_t kPhoneChars[] = L"1234567890-+()*# .";

static_assert(sizeof kWordSeparators / sizeof kWordSeparators[0] == 38, "37 separators and the terminator");

WordSplitter::WordSplitter(const wchar_t* separatorSet)
    : position(0), separators(separatorSet), ascii{0, 0, 0, 0}, hasOther(false) {
  for (const wchar_t* at = separators; at != nullptr && *at != 0; ++at) {
    if (*at < 128)
      ascii[*at >> 5] |= 1u << (*at & 31);
    else
      hasOther = true;
  }
}

WordSplitter::~WordSplitter() {}

void WordSplitter::Reset(const Str& newText) {
  text = newText;
  position = 0;
}

bool WordSplitter::IsOtherSeparator(wchar_t ch) const {
  return hasOther && wcschr(separators, ch) != nullptr;
}

bool WordSplitter::NextSpan(const wchar_t* chars, int length, int& at, int& start, int& count) const {
  while (at < length && IsSeparator(chars[at])) ++at;
  if (at >= length) {
    count = 0;
    return false;
  }
  start = at;
  while (at < length && !IsSeparator(chars[at])) ++at;
  count = at - start;
  if (at < length) ++at;  // the separator behind the word
  return true;
}

bool WordSplitter::Next(Str& word) {
  int start = 0;
  int count = 0;
  if (!NextSpan(text, text.GetLength(), position, start, count)) {
    word.Empty();
    return false;
  }
  word = text.Mid(start, count);
  return true;
}
