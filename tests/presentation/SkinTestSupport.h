// Shared by the skin tests: a clean settings tree and skin file for each test, the skin file written
// byte for byte, and readable texts for failure messages.
#pragma once
#include <windows.h>
#include <string>
#include "foundation/Str.h"

namespace skintest {

// Where the tests put the main program, and so the skin file.
extern const wchar_t kProgramFolder[];  // \Temp\SkinTest
extern const wchar_t kSkinFile[];       // \Temp\SkinTest\skin.txt

// Removes the settings tree and the skin file, points ProgramPath at kProgramFolder and fixes the
// logical resolution again from the screen (a skin made by an earlier test may have forced 192 dpi).
struct CleanSkin {
  CleanSkin();
  ~CleanSkin();
};

// Writes `bytes` as the whole skin file.
void WriteSkinFile(const std::string& bytes);
void SetSetting(const wchar_t* subkey, const wchar_t* name, DWORD number);
void SetSetting(const wchar_t* subkey, const wchar_t* name, const wchar_t* text);

std::string U8(const wchar_t* text);
inline std::string U8(const Str& text) { return U8(static_cast<const wchar_t*>(text)); }

}  // namespace skintest
