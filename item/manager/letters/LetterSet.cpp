#include "manager/letters/LetterSet.h"

#include <stdlib.h>
#include <wchar.h>

#include "foundation/Handles.h"
#include "foundation/Settings.h"
#include "resources/LetterSetIds.h"

namespace {

const wchar_t kByteOrderMark = 0xFEFF;

// Characters dropped from the letters of a group (the blank ends the group before it gets here).
const wchar_t kDroppedLetters[] = L"\r\n\t `!@#$%^&*()_|{}:\"/<>?[];',.\x2116-=\\";

// The module that holds this code: the library on the device, the program in tools and tests.
HMODULE OwnModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&OwnModule), &module);
  return module;
}

// Ends the group in the buffers: kept when both parts have something, and the buffers clear.
void EndGroup(Str& caption, Str& letters, LetterSet* set) {
  if (!caption.IsEmpty() && !letters.IsEmpty()) {
    set->captions.Add(caption);
    set->letters.Add(letters);
  }
  caption.Empty();
  letters.Empty();
}

}  // namespace

void LetterSet::Clear() {
  text.Empty();
  captions.RemoveAll();
  secondCaptions.RemoveAll();
  letters.RemoveAll();
  twoRows = 0;
}

BOOL ParseLetterSet(const wchar_t* text, int length, LetterSet* set) {
  set->Clear();
  if (text == nullptr || length <= 0) return FALSE;
  set->text = Str(text, length);

  Str caption;
  Str letters;
  bool inLetters = false;
  for (int i = 0; i < length; ++i) {
    wchar_t ch = text[i];
    if (!inLetters) {
      if (ch == L'/' || ch == L'\\')
        inLetters = true;
      else if (ch != L' ')
        caption += ch;
      continue;
    }
    if (ch == L' ') {
      EndGroup(caption, letters, set);
      inLetters = false;
    } else if (ch == 0 || wcschr(kDroppedLetters, ch) == nullptr) {
      letters += ch;
    }
  }
  EndGroup(caption, letters, set);
  if (set->captions.GetSize() == 0) return FALSE;

  // Second rows of the captions.
  for (int i = 0; i < set->captions.GetSize(); ++i) {
    Str& full = set->captions[i];
    int split = full.Find(L'^');
    Str second;
    if (split >= 0) {
      second = full.Mid(split + 1);
      full = full.Left(split);
      if (!second.IsEmpty()) set->twoRows = 1;
    }
    set->secondCaptions.Add(second);
  }
  return TRUE;
}

BOOL LoadLetterSetResource(UINT resourceId, LetterSet* set, HMODULE module) {
  set->Clear();
  if (module == nullptr) module = OwnModule();
  HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(resourceId), L"ABC");
  if (found == nullptr) return FALSE;
  DWORD bytes = SizeofResource(module, found);
  HGLOBAL loaded = LoadResource(module, found);
  const wchar_t* text = loaded != nullptr ? static_cast<const wchar_t*>(LockResource(loaded)) : nullptr;
  if (text == nullptr || bytes < 4 || text[0] != kByteOrderMark) return FALSE;
  return ParseLetterSet(text + 1, static_cast<int>(bytes / 2) - 1, set);
}

BOOL LoadCustomLetterSet(LetterSet* set) {
  set->Clear();
  DWORD bytes = 0;
  LocalMemory block(GetSettingBinary(SECTION_ABC, L"Custom", &bytes));
  if (block.IsEmpty()) return FALSE;
  return ParseLetterSet(static_cast<const wchar_t*>(block.Get()), static_cast<int>(bytes / 2), set);
}

UINT LetterSetResourceOf(int type) {
  switch (type) {
    case LetterSetEnglish:
      return IDR_ABC_ENGLISH;
    case LetterSetRussian:
      return IDR_ABC_RUSSIAN;
    case LetterSetEnglishRussian:
      return IDR_ABC_ENGLISH_RUSSIAN;
    case LetterSetGerman:
      return IDR_ABC_GERMAN;
    default:
      return 0;
  }
}

int LetterSetTypeForLanguage(DWORD language) {
  // Languages in the order of the sets they pick; the first match wins, so the mixed set (the second
  // Russian entry) is never picked by language.
  static const DWORD kLanguages[] = {9, 25, 25, 7};
  for (int i = 0; i < 4; ++i) {
    if (kLanguages[i] == language) return i + 1;
  }
  return LetterSetEnglish;
}

DWORD UserLanguage() {
  wchar_t number[16] = {0};
  if (GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_ILANGUAGE, number, 16) == 0) return 9;
  return static_cast<DWORD>(wcstoul(number, nullptr, 16)) & 0xFF;
}

int ChooseLetterSetType() {
  DWORD type = GetSettingDword(SECTION_ABC, L"Type", static_cast<DWORD>(-1));
  if (type <= LetterSetGerman) return static_cast<int>(type);
  return LetterSetTypeForLanguage(UserLanguage());
}

BOOL LoadLetterSet(LetterSet* set) {
  int type = ChooseLetterSetType();
  BOOL loaded = type == LetterSetCustom ? LoadCustomLetterSet(set)
                                        : LoadLetterSetResource(LetterSetResourceOf(type), set);
  if (loaded) return TRUE;
  return LoadLetterSetResource(IDR_ABC_ENGLISH, set);
}
