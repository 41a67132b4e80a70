#include "BenchLetters.h"

#include "foundation/Settings.h"
#include "manager/letters/LetterSet.h"

LetterSetForRun::LetterSetForRun() {
  previous = GetSettingDword(SECTION_ABC, L"Type", kAbsent);
  SetSettingDword(SECTION_ABC, L"Type", LetterSetEnglishRussian, TRUE);
}

LetterSetForRun::~LetterSetForRun() {
  if (previous == kAbsent)
    DeleteSettingValue(SECTION_ABC, L"Type");
  else
    SetSettingDword(SECTION_ABC, L"Type", previous, TRUE);
}
