// The letter set of a search benchmark's run, English and Russian (the generated names are of both);
// the setting as it was goes back when the object ends.
#pragma once
#include <windows.h>

class LetterSetForRun {
 public:
  LetterSetForRun();
  ~LetterSetForRun();

 private:
  static const DWORD kAbsent = 0xFFFFFFFF;
  DWORD previous;
};
