#include "phone/PhoneChars.h"
#include <wchar.h>

const wchar_t kDigitChars[] = L"1234567890";
const wchar_t kPlaceholderChars[] = L"#1234567890";
const wchar_t kShapeChars[] = L"()[]{}=-~|/_ ";
const wchar_t kPrefixShapeChars[] = L"()[]{}=-+~|/";
const wchar_t kOpenerChars[] = L"+([{";
const wchar_t kCloserChars[] = L")]}";
const wchar_t kForbiddenChars[] = L"[]{}<>";

namespace {

bool InSet(wchar_t c, const wchar_t* set) { return c != 0 && set && wcschr(set, c) != nullptr; }

}  // namespace

int CountChars(const wchar_t* s, const wchar_t* set) {
  if (!s) return 0;
  int count = 0;
  for (; *s; ++s)
    if (InSet(*s, set)) ++count;
  return count;
}

int FindFirstOf(int start, const wchar_t* s, const wchar_t* set, BOOL invert) {
  if (!s) return -1;
  if (start < 0) start = 0;
  const int length = static_cast<int>(wcslen(s));
  for (int i = start; i < length; ++i)
    if (InSet(s[i], set) != (invert != FALSE)) return i;
  return -1;
}

int FindLastOf(const wchar_t* s, const wchar_t* set) {
  if (!s) return -1;
  for (int i = static_cast<int>(wcslen(s)) - 1; i >= 0; --i)
    if (InSet(s[i], set)) return i;
  return -1;
}

BOOL StripChars(const wchar_t* s, wchar_t* out, const wchar_t* set, int size, int from, int to) {
  if (!out || size <= 0) return FALSE;
  out[0] = 0;
  if (!s) return FALSE;
  const int length = static_cast<int>(wcslen(s));
  if (from < 0) from = 0;
  if (from > length) return FALSE;
  if (to < 0 || to > length) to = length;
  int n = 0;
  for (int i = 0; i < length; ++i) {
    if (i >= from && i < to && InSet(s[i], set)) continue;
    if (n >= size - 1) {
      out[0] = 0;
      return FALSE;
    }
    out[n++] = s[i];
  }
  out[n] = 0;
  return TRUE;
}

BOOL KeepChars(const wchar_t* s, wchar_t* out, const wchar_t* set, int size) {
  if (!out || size <= 0) return FALSE;
  out[0] = 0;
  if (!s) return TRUE;
  int n = 0;
  for (; *s; ++s) {
    if (!InSet(*s, set)) continue;
    if (n >= size - 1) {
      out[0] = 0;
      return FALSE;
    }
    out[n++] = *s;
  }
  out[n] = 0;
  return TRUE;
}

void DigitsOnly(wchar_t* s) {
  if (!s) return;
  wchar_t* to = s;
  for (const wchar_t* from = s; *from; ++from)
    if (*from >= L'0' && *from <= L'9') *to++ = *from;
  *to = 0;
}

void DigitsOnly(Str& s) {
  if (s.IsEmpty()) return;
  wchar_t* text = s.GetBuffer(s.GetLength());
  DigitsOnly(text);
  s.ReleaseBuffer(-1);
}
