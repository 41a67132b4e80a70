#include "storage/index/WordSplitter.h"

#include <wchar.h>

const wchar_t kWordSeparators[38] = L"\r\n\t `!@#$%^&*()_|{}:\"//<>?[];',./\x2116-=\\";
const wchar_t kNumberDigits[] = L"1234567890";
const wchar_t kPhoneChars[] = L"1234567890-+()*# .";

static_assert(sizeof kWordSeparators / sizeof kWordSeparators[0] == 38, "37 separators and the terminator");

WordSplitter::WordSplitter(const wchar_t* separatorSet) : position(0), separators(separatorSet) {}

WordSplitter::~WordSplitter() {}

void WordSplitter::Reset(const Str& newText) {
  text = newText;
  position = 0;
}

bool WordSplitter::IsSeparator(wchar_t ch) const { return ch != 0 && wcschr(separators, ch) != nullptr; }

bool WordSplitter::Next(Str& word) {
  const int length = text.GetLength();
  const wchar_t* chars = text;
  while (position < length && IsSeparator(chars[position])) ++position;
  if (position >= length) {
    word.Empty();
    return false;
  }
  int start = position;
  while (position < length && !IsSeparator(chars[position])) ++position;
  word = text.Mid(start, position - start);
  if (position < length) ++position;  // the separator behind the word
  return true;
}
