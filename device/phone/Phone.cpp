// phone.dll of the device: PhoneMakeCall hands a number to the phone program. The stand-in device has no
// radio: every call asked for is written to the device journal, with the number and the called party
// exactly as given, and counts as handed over.
#include <windows.h>

#include <DeviceJournal.h>
#include <phone.h>

namespace {
constexpr wchar_t kSource[] = L"phone";
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }

extern "C" LONG PhoneMakeCall(PHONEMAKECALLINFO* call) {
  if (!call || call->cbSize != sizeof(PHONEMAKECALLINFO) || !call->pszDestAddress) {
    DeviceJournalWrite(kSource, L"PhoneMakeCall refused: record of %lu bytes",
                       call ? static_cast<unsigned long>(call->cbSize) : 0ul);
    return ERROR_INVALID_PARAMETER;
  }
  if (call->pszCalledParty)
    DeviceJournalWrite(kSource, L"PhoneMakeCall number \"%ls\" party \"%ls\" flags %lu", call->pszDestAddress,
                       call->pszCalledParty, static_cast<unsigned long>(call->dwFlags));
  else
    DeviceJournalWrite(kSource, L"PhoneMakeCall number \"%ls\" party null flags %lu", call->pszDestAddress,
                       static_cast<unsigned long>(call->dwFlags));
  return 0;
}
