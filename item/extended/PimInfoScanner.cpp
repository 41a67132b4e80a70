// The tokens of the block of extended data.
#include "extended/PimInfoReader.h"

#include "extended/PimInfoText.h"

bool PimInfoReader::NextToken() {
  tokenStart = cursor;
  tokenEnd = cursor;
  isDelimiter = false;
  const wchar_t* p = cursor;
  while (p < blockEnd && *p != 0) {
    wchar_t ch = *p;
    // A stop character escaped by the character before it belongs to the word. The check looks at
    // one character only, and a stop character at the very start of the scan is always a delimiter.
    if (IsPimBlank(ch) || (IsPimStop(ch) && (p == tokenStart || p[-1] != L'\\'))) break;
    ++p;
  }
  if (p >= blockEnd || *p == 0) {
    if (p == tokenStart) {
      cursor = blockEnd;
      tokenStart = blockEnd;
      tokenEnd = blockEnd;
      return false;
    }
    tokenEnd = p;
    cursor = p;
    return true;
  }
  if (p == tokenStart) {
    isDelimiter = true;
    tokenEnd = p + 1;
    cursor = p + 1;
    return true;
  }
  tokenEnd = p;
  cursor = p;
  return true;
}

bool PimInfoReader::SkipSpace() {
  for (;;) {
    if (!NextToken()) return false;
    if (isDelimiter && IsPimBlank(*tokenStart)) continue;
    PutBack();
    return true;
  }
}

bool PimInfoReader::Expect(wchar_t ch) {
  if (!NextToken()) return false;
  return TokenIs(ch);
}

bool PimInfoReader::ReadText(Str& out) {
  // The first word after white space, then every token up to a delimiter. The tokens lie side by side,
  // so the text is taken once, as the run they cover.
  if (!SkipSpace()) return false;
  const wchar_t* first = cursor;
  const wchar_t* last = cursor;
  if (!NextToken()) return false;
  if (isDelimiter)
    PutBack();
  else
    last = tokenEnd;
  for (;;) {
    if (!NextToken()) return false;
    if (isDelimiter && !IsPimBlank(*tokenStart)) {
      PutBack();
      break;
    }
    last = tokenEnd;
  }
  if (last > first) out += Str(first, static_cast<int>(last - first));
  return true;
}

bool PimInfoReader::SkipEntry() {
  for (;;) {
    if (!NextToken()) return false;
    if (isDelimiter && *tokenStart == L']') return true;
  }
}

void PimInfoReader::Unescape(Str& text) {
  int length = text.GetLength();
  const wchar_t* chars = text;
  while (length > 0 && IsPimBlank(chars[length - 1])) --length;
  Str result;
  wchar_t* out = result.GetBuffer(length);
  int written = 0;
  for (int i = 0; i < length; ++i) {
    if (chars[i] == L'\\' && i + 1 < length && IsPimEscaped(chars[i + 1])) ++i;
    out[written++] = chars[i];
  }
  result.ReleaseBuffer(written);
  text = result;
}
