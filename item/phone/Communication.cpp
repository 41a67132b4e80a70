#include "phone/Communication.h"
#include <aygshell.h>
#include <phone.h>
#include <shellapi.h>
#include <wchar.h>
#include "foundation/BaseDialog.h"
#include "foundation/Settings.h"
#include "phone/DialPlugin.h"
#include "phone/PhoneChars.h"
#include "phone/PhoneDevice.h"
#include "phone/ToneDialDlg.h"
#include "plugins/PimObjectModel.h"
#include "resources/PhoneIds.h"
#include "resources/resource.h"
#include "storage/contact/Contact.h"
#include "storage/contact/ContactNames.h"

namespace {

// The phone program's main window. It is looked for with both spellings the platform's programs use;
// class names compare without case, so both find the same window.
const wchar_t kPhoneClassBeforeStart[] = L"MSCprog";
const wchar_t kPhoneClassWhileWaiting[] = L"MSCProg";
// The window that takes service codes (numbers ending in "#") from other programs.
const wchar_t kCallPolicyClass[] = L"CallPol";
const ULONG_PTR kServiceCodeData = 1150;
const DWORD kPhoneWaitStepMs = 100;

// Starts `program` with `arguments` and waits for nothing; true when it started. A program named
// without a folder is one of the device's own, which live in \windows.
BOOL StartProgram(const wchar_t* program, const wchar_t* arguments) {
  Str path(program);
  if (path.Find(L'\\') < 0) path = L"\\windows\\" + path;
  Str line(arguments ? arguments : L"");
  wchar_t* writable = line.GetBuffer(line.GetLength());
  STARTUPINFOW startup;
  ZeroMemory(&startup, sizeof startup);
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process;
  BOOL started =
      CreateProcessW(path, writable, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
  line.ReleaseBuffer();
  if (!started) return FALSE;
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return TRUE;
}

// Starts the device's mail program with `arguments`, or the pocket mail program when that fails.
void StartMailProgram(const wchar_t* arguments) {
  Str program;
  GetMailProgram(program);
  if (!StartProgram(program, arguments)) StartProgram(L"pmail.exe", arguments);
}

BOOL IsDialMode(int mode) {
  return mode == DialModePhone || mode == DialModeTones || mode == DialModePlugin || mode == DialModeNone;
}

// The name the phone shows for the call: the contact's FileAs, else its composed name; for no contact,
// `party`. Null when there is none.
Str CalledParty(const Contact* contact, const wchar_t* party, BOOL& any) {
  any = FALSE;
  if (!contact) {
    any = party != nullptr;
    return Str(party);
  }
  Str name = contact->text[ContactField::FileAs];
  if (name.IsEmpty()) {
    Str second;
    BuildName(contact->text[ContactField::LastName], contact->text[ContactField::FirstName],
              contact->text[ContactField::Company], contact->text[ContactField::MiddleName],
              contact->text[ContactField::Title], contact->text[ContactField::Suffix], name, second);
  }
  any = !name.IsEmpty();
  return name;
}

int DialByPhone(HWND owner, const wchar_t* number, const Contact* contact, const wchar_t* party) {
  // The library stays loaded for the life of the process once it was found.
  static HMODULE phone = nullptr;
  if (!phone) phone = LoadLibraryW(L"phone.dll");
  if (!phone) return kDialNoPhone;
  auto makeCall =
      reinterpret_cast<PFNPHONEMAKECALL>(reinterpret_cast<void*>(GetProcAddress(phone, "PhoneMakeCall")));
  if (!makeCall) return kDialNoPhone;

  SHSipPreference(owner, SIP_FORCEDOWN);
  BOOL named = FALSE;
  Str calledParty = CalledParty(contact, party, named);
  PHONEMAKECALLINFO call;
  ZeroMemory(&call, sizeof call);
  call.cbSize = sizeof call;
  call.dwFlags = 0;
  call.pszDestAddress = number;
  call.pszAppName = nullptr;
  call.pszCalledParty = named ? static_cast<const wchar_t*>(calledParty) : nullptr;
  StartPhoneProcess(2000, FALSE);
  return makeCall(&call);
}

// A number ending in "#" is a service code for the network, handed to the call policy window.
int SendServiceCode(HWND owner, const wchar_t* number) {
  HWND policy = FindWindowW(kCallPolicyClass, nullptr);
  if (!policy) return kDialNoPhone;
  const DWORD length = static_cast<DWORD>(wcslen(number));
  const DWORD size = (2 * length + 25) & ~3u;
  // The block stays allocated on purpose: the receiver may still look at it after the send returns.
  BYTE* block = static_cast<BYTE*>(LocalAlloc(LPTR, size));
  if (!block) return kDialNoPhone;
  reinterpret_cast<DWORD*>(block)[0] = 1;
  reinterpret_cast<DWORD*>(block)[1] = 20;
  memcpy(block + 20, number, (length + 1) * sizeof(wchar_t));
  COPYDATASTRUCT data;
  data.dwData = kServiceCodeData;
  data.cbData = size;
  data.lpData = block;
  SendMessageW(policy, WM_COPYDATA, reinterpret_cast<WPARAM>(owner), reinterpret_cast<LPARAM>(&data));
  return kDialDone;
}

int DialByPlugin(const Contact* contact) {
  if (!contact) return kDialNoPhone;
  Array<CEOID> ids;
  ids.Add(contact->oid);
  GetDialPlugin()->Run(ids);
  return kDialDone;
}

int DialByTones(HWND owner, const wchar_t* number) {
  Str text;
  text.LoadResource(IDS_DIALING, BaseDialog::ResourceModule());
  text += L"\n";
  text += number;
  ToneDialDlg dialog(text, 3000, 1000, number);
  dialog.DoModal(owner);
  return kDialDone;
}

}  // namespace

BOOL StartPhoneProcess(DWORD timeoutMs, BOOL passMinusN) {
  if (FindWindowW(kPhoneClassBeforeStart, nullptr)) return TRUE;
  StartProgram(L"cprog.exe", passMinusN ? L"-n" : L"");
  if (timeoutMs == 0) return TRUE;
  for (DWORD waited = 0; waited < timeoutMs; waited += kPhoneWaitStepMs) {
    if (FindWindowW(kPhoneClassWhileWaiting, nullptr)) return TRUE;
    Sleep(kPhoneWaitStepMs);
  }
  return FALSE;
}

int ResolveDialMode(int mode) {
  int m = mode ? mode : static_cast<int>(GetSettingDword(SECTION_SETTINGS, L"DialupMode", 0));
  if (m == DialModePlugin && !GetDialPlugin()->IsInstalled()) m = 0;
  if (IsPhoneDevice()) {
    if (m != DialModePhone && m != DialModeTones && m != DialModePlugin) m = DialModePhone;
  } else if (m != DialModePlugin && m != DialModeTones && m != DialModeNone) {
    m = GetDialPlugin()->IsInstalled() ? DialModePlugin : DialModeNone;
  }
  return m;
}

int Dial(HWND owner, const wchar_t* number, const Contact* contact, int mode, const wchar_t* party) {
  if (!number || !*number) return kDialDone;
  const int resolved = ResolveDialMode(mode);
  if (!IsDialMode(resolved)) return kDialUnknownMode;
  switch (resolved) {
    case DialModeNone:
      return kDialDone;
    case DialModePhone:
      if (number[wcslen(number) - 1] == L'#') return SendServiceCode(owner, number);
      return DialByPhone(owner, number, contact, party);
    case DialModePlugin:
      return DialByPlugin(contact);
    case DialModeTones:
      return DialByTones(owner, number);
  }
  return kDialUnknownMode;
}

void GetMailProgram(Str& out) {
  out.Empty();
  HKEY key = nullptr;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Shell\\Rai\\:MSINBOX", 0, nullptr, 0,
                      KEY_READ | KEY_WRITE, nullptr, &key, nullptr) == ERROR_SUCCESS) {
    // At most 520 bytes, with room behind them for a terminator the value may lack.
    wchar_t value[261] = L"";
    DWORD size = 520;
    DWORD type = 0;
    if (RegQueryValueExW(key, L"1", nullptr, &type, reinterpret_cast<BYTE*>(value), &size) == ERROR_SUCCESS &&
        (type == REG_SZ || type == REG_EXPAND_SZ)) {
      value[size / sizeof(wchar_t)] = 0;
      out = value;
      out.Remove(L'"');
    }
    RegCloseKey(key);
  }
  if (out.IsEmpty()) out = L"tmail.exe";
}

void SendMail(const wchar_t* address) {
  Str arguments;
  arguments.Format(L"-To \"%s\"", address ? address : L"");
  StartMailProgram(arguments);
}

void SendSmsToContact(const wchar_t* number, const Contact* contact) {
  Str name;
  if (contact) {
    Str second;
    if (GetSettingDword(SECTION_SETTINGS, L"SortType", 0) == 1) {
      name = contact->text[ContactField::FileAs];
      second = contact->text[ContactField::Company];
    } else {
      BuildName(contact->text[ContactField::LastName], contact->text[ContactField::FirstName],
                contact->text[ContactField::Company], contact->text[ContactField::MiddleName],
                contact->text[ContactField::Title], contact->text[ContactField::Suffix], name, second);
    }
    if (name.IsEmpty()) name = second;
  }
  SendSms(number, name);
}

void SendSms(const wchar_t* number, const wchar_t* name) {
  wchar_t digits[200];
  KeepChars(number ? number : L"", digits, L"+1234567890", 200);
  wchar_t recipient[256];
  // A name too long for the line is left out whole.
  StripChars(name ? name : L"", recipient, L",;[]{}<>:", 256, 0, -1);
  Str arguments;
  if (recipient[0])
    arguments.Format(L"-service \"SMS\" -To \"%s<%s>\"", recipient, digits);
  else
    arguments.Format(L"-service \"SMS\" -To \"%s\"", digits);
  StartMailProgram(arguments);
}

void OpenUrl(const wchar_t* url) {
  if (StartProgram(L"iexplore.exe", url ? url : L"")) return;
  Str text, caption;
  text.LoadResource(IDS_NO_BROWSER, BaseDialog::ResourceModule());
  caption.LoadResource(IDS_PRODUCT_NAME, BaseDialog::ResourceModule());
  MessageBoxW(nullptr, text, caption, MB_OK | MB_ICONEXCLAMATION);
}

BOOL ShellOpen(const wchar_t* file, HWND owner) {
  SHELLEXECUTEINFOW info;
  ZeroMemory(&info, sizeof info);
  // The record of this build: 60 bytes on the 32-bit device.
  info.cbSize = sizeof info;
  info.fMask = SEE_MASK_NOCLOSEPROCESS;
  info.hwnd = owner;
  info.lpVerb = L"open";
  info.lpFile = file;
  info.nShow = SW_SHOWNORMAL;
  BOOL opened = ShellExecuteExW(&info);
  if (info.hProcess) CloseHandle(info.hProcess);
  return opened;
}

BOOL BeamContacts(const Array<CEOID>& ids) { return GetPimObjectModel()->BeamContacts(ids); }
