// Registry helpers for tests: clean state and direct reads that don't go through the code under test.
#pragma once
#include <windows.h>
#include <string>

namespace testreg {

void DeleteTree(HKEY root, const std::wstring& path);
bool KeyExists(HKEY root, const std::wstring& path);
// Number of values in the key, or -1 when it can't be opened.
int ValueCount(HKEY root, const std::wstring& path);
// Type of a value, or REG_NONE with found = false.
bool ReadValue(HKEY root, const std::wstring& path, const std::wstring& name, DWORD* type, std::wstring* text,
               DWORD* number);
bool ReadDword(HKEY root, const std::wstring& path, const std::wstring& name, DWORD* number);
void WriteDword(HKEY root, const std::wstring& path, const std::wstring& name, DWORD number);
void WriteString(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& text);

// The item's settings tree and Today registration.
extern const wchar_t kSettingsRoot[];  // Software\Zovrix\PIM
extern const wchar_t kTodayItemKey[];  // Software\Microsoft\Today\Items\Pagemark

}  // namespace testreg
