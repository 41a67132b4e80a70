// sms.dll of the device. On a phone this library is the door to the short message service; its presence
// in \windows is what marks the device as a phone. The stand-in device has no radio: opening the service
// is refused with "not supported", and every attempt is written to the device journal so that tests
// see who tried.
#include <windows.h>

#include <DeviceJournal.h>

namespace {
constexpr wchar_t kSource[] = L"sms";
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }

// Opens the message service for a protocol. There is no radio: the handle and event come back empty
// and the answer is HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED).
extern "C" __declspec(dllexport) HRESULT
    SmsOpen(const wchar_t* protocol, DWORD modes, DWORD* handle, HANDLE* messageEvent) {
  if (handle) *handle = 0;
  if (messageEvent) *messageEvent = nullptr;
  DeviceJournalWrite(kSource, L"sms open %ls modes %lu not supported", protocol ? protocol : L"(none)",
                     modes);
  return HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);
}

// Closes a handle from SmsOpen. Since no open succeeds, every handle is invalid.
extern "C" __declspec(dllexport) HRESULT SmsClose(DWORD handle) {
  DeviceJournalWrite(kSource, L"sms close %lu invalid handle", handle);
  return HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE);
}
