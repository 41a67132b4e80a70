#include "phone/DeviceIntegration.h"

#include <objbase.h>

#include "foundation/Handles.h"
#include "foundation/Settings.h"
#include "phone/DeviceIntegrationRegistry.h"

using deviceregistry::ReadText;
using deviceregistry::WriteText;

namespace {

const wchar_t kUnreadSmsKey[] = L"System\\State\\Messages\\sms\\Unread";
const wchar_t kPhoneStateKey[] = L"System\\State\\Phone";

// The platform's contacts command: its default value "1" is what runs for the contacts.
const wchar_t kContactsCommandKey[] = L"Software\\Microsoft\\Shell\\Rai\\:MSCONTACTS";
const wchar_t kCommandValue[] = L"1";
const wchar_t kSavedCommandValue[] = L"1temp";
const DWORD kCommandBytes = 520;
const wchar_t kProgramName[] = L"Pagemark.exe";
// What the platform's own contacts program is started by.
const wchar_t kPlatformContacts[] = L":MSPOUTLOOK contacts";

typedef LRESULT (*NotificationRemover)(const CLSID* clsid, DWORD id);

}  // namespace

DWORD GetUnreadSmsCount() { return deviceregistry::ReadCounter(kUnreadSmsKey, L"Count"); }

DWORD GetMissedCallCount() { return deviceregistry::ReadCounter(kPhoneStateKey, L"Missed Call Count"); }

BOOL RemoveNotification(const wchar_t* clsidText, DWORD id) {
  if (!clsidText) return FALSE;
  CLSID clsid;
  if (FAILED(CLSIDFromString(clsidText, &clsid))) return FALSE;
  // The shell's library is needed for this one call only.
  LoadedLibrary shell(LoadLibraryW(L"Aygshell.dll"));
  if (shell.IsEmpty()) return FALSE;
  NotificationRemover remove = reinterpret_cast<NotificationRemover>(
      reinterpret_cast<void*>(GetProcAddress(shell.Get(), "SHNotificationRemove")));
  if (!remove) return FALSE;
  return remove(&clsid, id) == ERROR_SUCCESS;
}

BOOL IsDefaultContactsApp() {
  RegKey key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kContactsCommandKey, 0, KEY_READ, key.Receive()) != ERROR_SUCCESS)
    return FALSE;
  return ReadText(key.Get(), kCommandValue, kCommandBytes).Find(kProgramName) >= 0;
}

BOOL SetDefaultContactsApp(BOOL makeDefault) {
  RegKey key;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kContactsCommandKey, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                      key.Receive(), nullptr) != ERROR_SUCCESS)
    return FALSE;
  if (makeDefault) {
    Str program = GetSettingString(SECTION_SETTINGS, L"ProgramPath", L"");
    if (program.IsEmpty()) return FALSE;
    Str command;
    command.Format(L"\"%s\"", static_cast<const wchar_t*>(program));
    // The command found first is kept once: setting the default again leaves it as it is.
    if (ReadText(key.Get(), kSavedCommandValue, kCommandBytes).IsEmpty()) {
      DWORD type = 0, bytes = kCommandBytes;
      BYTE saved[kCommandBytes];
      if (RegQueryValueExW(key.Get(), kCommandValue, nullptr, &type, saved, &bytes) != ERROR_SUCCESS ||
          RegSetValueExW(key.Get(), kSavedCommandValue, 0, type, saved, bytes) != ERROR_SUCCESS)
        return FALSE;
    }
    WriteText(key.Get(), kCommandValue, command);
  } else {
    Str saved = ReadText(key.Get(), kSavedCommandValue, kCommandBytes);
    if (!saved.IsEmpty()) {
      // A saved command of this very program would keep the role here: the platform's program takes it.
      if (saved.Find(kProgramName) >= 0) saved = kPlatformContacts;
      WriteText(key.Get(), kCommandValue, saved);
      RegDeleteValueW(key.Get(), kSavedCommandValue);
    }
  }
  SetSettingDword(SECTION_SETTINGS, L"DefaultAssign", 1, TRUE);
  return TRUE;
}
