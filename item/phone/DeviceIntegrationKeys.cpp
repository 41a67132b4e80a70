// The hardware keys: HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Shell\Keys\40C1 to 40C5, each with the
// command it runs (ResetCmd, and the same in the default value), its Icon and its Name.
#include "phone/DeviceIntegration.h"

#include "foundation/Handles.h"
#include "foundation/Settings.h"
#include "phone/DeviceIntegrationRegistry.h"

using deviceregistry::ReadText;
using deviceregistry::WriteText;

namespace {

const wchar_t kKeysPath[] = L"SOFTWARE\\Microsoft\\Shell\\Keys\\";
const DWORD kFirstKey = 0x40C1;
const DWORD kLastKey = 0x40C5;
const DWORD kTextBytes = 520;

const wchar_t kProgramName[] = L"Pagemark.exe";
const wchar_t kContacts[] = L"contact";
const wchar_t kSpeedDial[] = L"\\Speed Dial.lnk";

// A value name and the one that keeps its content while this program holds the key.
struct SavedValue {
  const wchar_t* value;  // null: the default value
  const wchar_t* saved;
};
// In the order in which they are given back.
const SavedValue kSavedValues[] = {
    {L"Name", L"PrevName"},
    {L"Icon", L"PrevIcon"},
    {L"ResetCmd", L"PrevResetCmd"},
    {nullptr, L"PrevDef"},
};

bool Holds(HKEY key, const wchar_t* value, const Str& lowerText) {
  Str content = ReadText(key, value, kTextBytes);
  content.MakeLower();
  return content.Find(lowerText) >= 0;
}

// Copies one value, whatever its type, to another name; false when there is none to copy.
bool CopyValue(HKEY key, const wchar_t* from, const wchar_t* to) {
  BYTE bytes[kTextBytes];
  DWORD type = 0, size = kTextBytes;
  if (RegQueryValueExW(key, from, nullptr, &type, bytes, &size) != ERROR_SUCCESS) return false;
  return RegSetValueExW(key, to, 0, type, bytes, size) == ERROR_SUCCESS;
}

}  // namespace

BOOL FindHardwareKey(const wchar_t* text, Str& keyName) {
  if (!text) return FALSE;
  Str lowerText(text);
  lowerText.MakeLower();
  for (DWORD number = kFirstKey; number <= kLastKey; ++number) {
    Str name;
    name.Format(L"%X", number);
    Str path(kKeysPath);
    path += name;
    RegKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, key.Receive()) != ERROR_SUCCESS) continue;
    if (Holds(key.Get(), L"ResetCmd", lowerText) || Holds(key.Get(), nullptr, lowerText)) {
      keyName = name;
      return TRUE;
    }
  }
  return FALSE;
}

BOOL IsAnyKeyAssigned() {
  Str name;
  return FindHardwareKey(kProgramName, name) || FindHardwareKey(kContacts, name) ||
         FindHardwareKey(kSpeedDial, name);
}

BOOL IsKeyAssigned() {
  Str name;
  return FindHardwareKey(kProgramName, name);
}

BOOL AssignHardwareKey(BOOL assign) {
  Str name;
  BOOL found = assign ? (FindHardwareKey(kContacts, name) || FindHardwareKey(kSpeedDial, name))
                      : FindHardwareKey(kProgramName, name);
  if (!found) return FALSE;
  Str path(kKeysPath);
  path += name;
  RegKey key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ | KEY_WRITE, key.Receive()) != ERROR_SUCCESS)
    return FALSE;

  if (!assign) {
    for (const SavedValue& value : kSavedValues)
      if (CopyValue(key.Get(), value.saved, value.value)) RegDeleteValueW(key.Get(), value.saved);
    return TRUE;
  }

  Str program = GetSettingString(SECTION_SETTINGS, L"ProgramPath", L"");
  if (program.IsEmpty()) return FALSE;
  Str icon, command;
  icon.Format(L"%s, 0", static_cast<const wchar_t*>(program));
  command.Format(L"\"%s\"", static_cast<const wchar_t*>(program));
  // A key that runs this program already keeps what it ran before.
  if (ReadText(key.Get(), L"ResetCmd", kTextBytes) == command) return TRUE;
  CopyValue(key.Get(), L"ResetCmd", L"PrevResetCmd");
  CopyValue(key.Get(), nullptr, L"PrevDef");
  CopyValue(key.Get(), L"Icon", L"PrevIcon");
  CopyValue(key.Get(), L"Name", L"PrevName");
  WriteText(key.Get(), nullptr, command);
  WriteText(key.Get(), L"ResetCmd", command);
  WriteText(key.Get(), L"Icon", icon);
  return TRUE;
}
