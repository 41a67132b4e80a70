// The settings store: small stateless functions over the registry root
// HKEY_CURRENT_USER\Software\Zovrix\PIM\<subkey>. Each call opens the key, reads or writes one value
// and closes the key again; nothing is cached, so a value written by another process of the product
// is seen at the next read. Getters fall back to their default on every failure; setters say
// whether the value was written.
#pragma once
#include <windows.h>
#include "foundation/Str.h"

#define SETTINGS_ROOT L"Software\\Zovrix\\PIM\\"
#define SECTION_SETTINGS L"Settings"
#define SECTION_ABC L"ABC"
#define SECTION_LIST_FONT L"ListFont"
#define SECTION_VIEW_FONT L"ViewFont"
#define SECTION_TEMPLATES L"Templates"

// Opens root + subkey: for reading with RegOpenKeyExW (an absent key makes nothing), for writing
// with RegCreateKeyExW. Null when the key can't be opened or the subkey is null.
HKEY OpenSettingsKey(const wchar_t* subkey, BOOL create);

DWORD GetSettingDword(const wchar_t* subkey, const wchar_t* value, DWORD defaultValue);
Str GetSettingString(const wchar_t* subkey, const wchar_t* value, const wchar_t* defaultText);
// Copies the stored text when it is shorter than size characters, else the default, whole.
void GetSettingBuffer(const wchar_t* subkey, const wchar_t* value, wchar_t* destination, int size,
                      const wchar_t* defaultText);
// A block from LocalAlloc with the value's bytes (the caller frees it with LocalFree), or null.
BYTE* GetSettingBinary(const wchar_t* subkey, const wchar_t* value, DWORD* size);

// The flush mark is taken and has no effect: callers pass 1 on the last write of a group.
BOOL SetSettingDword(const wchar_t* subkey, const wchar_t* value, DWORD number, BOOL flush);
BOOL SetSettingString(const wchar_t* subkey, const wchar_t* value, const wchar_t* text, BOOL flush);
BOOL SetSettingBinary(const wchar_t* subkey, const wchar_t* value, const BYTE* bytes, DWORD length);
BOOL DeleteSettingValue(const wchar_t* subkey, const wchar_t* value);
// Deletes the key with everything under it, depth first. The subkey may hold a backslash.
BOOL DeleteSettingKey(const wchar_t* subkey);
BOOL FlushSettings(const wchar_t* subkey);

// Dirty marks of mapped files: a 32-bit 1 under the file's base name in Settings means that the
// file may hold unsaved state.
BOOL IsDirtyMark(const wchar_t* path);
BOOL SetDirtyMark(const wchar_t* path);
BOOL ClearDirtyMark(const wchar_t* path);

// The home area code: the platform's own value when its key opens, else AreaCode of Settings.
Str GetAreaCode();
BOOL SetAreaCode(const wchar_t* areaCode);

// For the sibling programs: load the item's library by name, call its registration export, tell
// the Today screen to reload its items and remember the outcome in TodayPlug.
BOOL SetTodayPlug(BOOL enable);
BOOL IsTodayPlugRegistered();
