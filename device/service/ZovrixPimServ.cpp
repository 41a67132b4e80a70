// ZovrixPimServ.dll of the stand-in device: the product's device service as far as the item meets it.
// Its export RegisterService writes the service's key, so that the service manager can start it under
// the prefix "XQM" with index 0; the manager then calls XQM_Init, XQM_IOControl and XQM_Deinit. Two
// control codes: kEchoCode copies the input buffer into the output buffer, and kCountCode gives the
// number of control calls the service has taken since it started. Each call reached is journalled.
#include <windows.h>

#include <DeviceJournal.h>

#include <cstring>
#include <cwchar>

namespace {

constexpr wchar_t kSource[] = L"ZovrixPimServ";
constexpr wchar_t kServiceKey[] = L"Services\\ZovrixPim";
constexpr wchar_t kLibrary[] = L"ZovrixPimServ.dll";
constexpr wchar_t kPrefix[] = L"XQM";

constexpr DWORD kEchoCode = 1;
constexpr DWORD kCountCode = 2;

// The context handed back by XQM_Init: any number but 0.
constexpr DWORD kContext = 0x584D51;

LONG g_calls = 0;

LONG SetText(HKEY key, const wchar_t* name, const wchar_t* text) {
  return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                        static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t)));
}

LONG SetNumber(HKEY key, const wchar_t* name, DWORD value) {
  return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
}

// The first bytes of a buffer as hexadecimal digits, for the journal.
void Hex(const BYTE* bytes, DWORD length, wchar_t* out, size_t size) {
  size_t at = 0;
  out[0] = 0;
  for (DWORD i = 0; bytes && i < length && at + 3 < size; ++i, at += 2)
    _snwprintf(out + at, 3, L"%02X", bytes[i]);
  out[at] = 0;
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }

// Self-registration: 1 when the service's key holds its library, prefix and index, else 0.
extern "C" DWORD RegisterService() {
  HKEY key = nullptr;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kServiceKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                      nullptr) != ERROR_SUCCESS)
    return 0;
  LONG result = SetText(key, L"Dll", kLibrary);
  if (result == ERROR_SUCCESS) result = SetText(key, L"Prefix", kPrefix);
  if (result == ERROR_SUCCESS) result = SetNumber(key, L"Index", 0);
  if (result == ERROR_SUCCESS) result = SetNumber(key, L"Context", 0);
  if (result == ERROR_SUCCESS) result = SetNumber(key, L"Keep", 1);
  RegCloseKey(key);
  DeviceJournalWrite(kSource, L"RegisterService %ls", result == ERROR_SUCCESS ? L"done" : L"failed");
  return result == ERROR_SUCCESS ? 1 : 0;
}

extern "C" DWORD XQM_Init(DWORD dwData) {
  InterlockedExchange(&g_calls, 0);
  DeviceJournalWrite(kSource, L"XQM_Init %lu", static_cast<unsigned long>(dwData));
  return kContext;
}

extern "C" BOOL XQM_Deinit(DWORD dwData) {
  DeviceJournalWrite(kSource, L"XQM_Deinit");
  return dwData == kContext;
}

extern "C" BOOL XQM_IOControl(DWORD dwData, DWORD dwCode, PBYTE pBufIn, DWORD dwLenIn, PBYTE pBufOut,
                              DWORD dwLenOut, PDWORD pdwActualOut) {
  if (dwData != kContext) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  LONG calls = InterlockedIncrement(&g_calls);
  wchar_t hex[130];
  Hex(pBufIn, dwLenIn, hex, 130);
  DeviceJournalWrite(kSource, L"XQM_IOControl code %lu in %lu bytes [%ls] out %lu bytes",
                     static_cast<unsigned long>(dwCode), static_cast<unsigned long>(dwLenIn), hex,
                     static_cast<unsigned long>(dwLenOut));
  switch (dwCode) {
    case kEchoCode: {
      if (dwLenIn > 0 && !pBufIn) break;
      if (dwLenOut < dwLenIn || (dwLenIn > 0 && !pBufOut)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
      }
      if (dwLenIn > 0) memcpy(pBufOut, pBufIn, dwLenIn);
      if (pdwActualOut) *pdwActualOut = dwLenIn;
      return TRUE;
    }
    case kCountCode: {
      if (!pBufOut || dwLenOut < sizeof(DWORD)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
      }
      DWORD count = static_cast<DWORD>(calls);
      memcpy(pBufOut, &count, sizeof count);
      if (pdwActualOut) *pdwActualOut = sizeof count;
      return TRUE;
    }
    default:
      break;
  }
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}
