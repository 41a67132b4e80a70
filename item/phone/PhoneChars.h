// Character-set helpers on which numbers are stripped, counted and matched across the system. A set
// is a zero-terminated list of characters whose order doesn't matter.
#pragma once
#include <windows.h>
#include "foundation/Str.h"

// The character sets of numbers and templates.
extern const wchar_t kDigitChars[];        // "1234567890"
extern const wchar_t kPlaceholderChars[];  // "#1234567890": the positions of a template
extern const wchar_t kShapeChars[];        // signs that may stand between a template's positions
extern const wchar_t kPrefixShapeChars[];  // signs that end a number's or a template's prefix
extern const wchar_t kOpenerChars[];       // signs that belong to the number when they close a prefix
extern const wchar_t kCloserChars[];       // signs that belong to the number when they open a suffix
extern const wchar_t kForbiddenChars[];    // a stored template holding one of these is refused

// How many characters of `s` stand in `set`.
int CountChars(const wchar_t* s, const wchar_t* set);
// The first position from `start` on whose character is in `set` (with `invert`: isn't); -1 when
// there is none or `start` is past the end.
int FindFirstOf(int start, const wchar_t* s, const wchar_t* set, BOOL invert);
// The last position whose character is in `set`; -1 when there is none.
int FindLastOf(const wchar_t* s, const wchar_t* set);
// Copies `s` into `out` without the characters of `set` that stand at positions from `from` up to
// before `to` (`to` below 0: the end); `out` holds `size` characters with the terminator. False and an
// empty `out` when the copy doesn't fit or `from` is past the end.
BOOL StripChars(const wchar_t* s, wchar_t* out, const wchar_t* set, int size, int from, int to);
// Copies only the characters of `set`; false and an empty `out` when they don't fit in `size`.
BOOL KeepChars(const wchar_t* s, wchar_t* out, const wchar_t* set, int size);
// Keeps in place only the characters "0" to "9".
void DigitsOnly(wchar_t* s);
void DigitsOnly(Str& s);
