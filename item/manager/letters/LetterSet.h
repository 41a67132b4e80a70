// Letter sets: which letters share a key of the phone's keypad in the user's language, and how the
// keys are captioned on the letter bar.
//
// A set is UTF-16 text, a group a word: "caption/letters", groups apart by a blank, "/" or "\" ending
// the caption. A caption may hold "^", which splits it into a first and a second row ("ABC^абвг").
// Blanks in a caption are skipped; in the letters a blank ends the group and punctuation, tabs and
// line ends are dropped. A group with no caption or no letters is dropped.
//
// Sets come from the library's resources of the type "ABC" (starting with the byte order mark) or
// from the user's own text, the binary value Custom of section ABC (no mark).
#pragma once

#include <windows.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"

struct LetterSet {
  Str text;                   // the raw text
  Array<Str> captions;        // one a group
  Array<Str> secondCaptions;  // the part after "^", empty for a group without one
  Array<Str> letters;         // one a group
  int32_t twoRows;            // some second caption isn't empty

  LetterSet() : twoRows(0) {}
  void Clear();
};

// The values of Type in section ABC.
enum LetterSetType {
  LetterSetCustom = 0,
  LetterSetEnglish = 1,
  LetterSetRussian = 2,
  LetterSetEnglishRussian = 3,
  LetterSetGerman = 4,
};

// Parses `length` characters of `text` into `set`, replacing what it held. False when no group
// comes out.
BOOL ParseLetterSet(const wchar_t* text, int length, LetterSet* set);

// The resource of the type "ABC" with the id `resourceId` in `module` (null: the module holding this
// code). A resource under 4 bytes or without the byte order mark counts as missing.
BOOL LoadLetterSetResource(UINT resourceId, LetterSet* set, HMODULE module = nullptr);
// The binary value Custom of section ABC, its byte length halved for the characters.
BOOL LoadCustomLetterSet(LetterSet* set);

// The resource of a Type from 1 to 4, else 0.
UINT LetterSetResourceOf(int type);
// The set for a language (the low 8 bits of the language id): English 9 gives 1, Russian 25 gives
// 2, German 7 gives 4; any other gives 1.
int LetterSetTypeForLanguage(DWORD language);
// The low 8 bits of the user's language id, or 9 when the platform can't say.
DWORD UserLanguage();
// Type of section ABC when it is 0 to 4, otherwise the one of the user's language.
int ChooseLetterSetType();

// Loads the active set: the chosen Type's, or the English set of resource 198 when that can't be
// read or has no group. False only when even that fails.
BOOL LoadLetterSet(LetterSet* set);
