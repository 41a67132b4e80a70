// The device's sound calls: PlaySoundW, sndPlaySoundW and the wave volume, under the platform's names.
// The stand-in device has no speaker: every sound asked for is written to the device journal with what
// the caller gave (the sound's name or resource number, its module and the flags), and the volume is a
// value of the device's registry, so that programs read back what they set.
#include <windows.h>
#include <wchar.h>

#include <DeviceJournal.h>

namespace {

constexpr wchar_t kSource[] = L"sound";
constexpr wchar_t kVolumeKey[] = L"Software\\PagemarkDevice\\Sound";
constexpr wchar_t kVolumeValue[] = L"Volume";
// Flags of the calls, as the platform numbers them.
constexpr DWORD kSndAlias = 0x00010000;
constexpr DWORD kSndResourceBits = 0x00040004;
constexpr UINT kNoError = 0;
constexpr UINT kInvalidParameter = 11;
constexpr DWORD kFullVolume = 0xFFFFFFFF;

// The file name of `module`, without its folder; "(none)" for a null one.
void ModuleName(HMODULE module, wchar_t* name, DWORD size) {
  wchar_t path[MAX_PATH] = L"";
  if (!module || !GetModuleFileNameW(module, path, MAX_PATH)) {
    lstrcpynW(name, L"(none)", static_cast<int>(size));
    return;
  }
  const wchar_t* base = wcsrchr(path, L'\\');
  lstrcpynW(name, base ? base + 1 : path, static_cast<int>(size));
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }

extern "C" BOOL WINAPI PlaySoundW(LPCWSTR sound, HMODULE module, DWORD flags) {
  if (!sound) {
    DeviceJournalWrite(kSource, L"PlaySoundW stop flags 0x%08lx", static_cast<unsigned long>(flags));
    return TRUE;
  }
  if ((flags & kSndResourceBits) == kSndResourceBits) {
    wchar_t name[MAX_PATH];
    ModuleName(module, name, MAX_PATH);
    const bool found = module && FindResourceW(module, sound, L"WAVE") != nullptr;
    if (IS_INTRESOURCE(sound))
      DeviceJournalWrite(kSource, L"PlaySoundW resource %u of %ls flags 0x%08lx%ls",
                         static_cast<unsigned>(reinterpret_cast<ULONG_PTR>(sound)), name,
                         static_cast<unsigned long>(flags), found ? L"" : L" not found");
    else
      DeviceJournalWrite(kSource, L"PlaySoundW resource \"%ls\" of %ls flags 0x%08lx%ls", sound, name,
                         static_cast<unsigned long>(flags), found ? L"" : L" not found");
    return found ? TRUE : FALSE;
  }
  DeviceJournalWrite(kSource, L"PlaySoundW %ls \"%ls\" flags 0x%08lx",
                     (flags & kSndAlias) ? L"alias" : L"file", sound, static_cast<unsigned long>(flags));
  return TRUE;
}

extern "C" BOOL WINAPI sndPlaySoundW(LPCWSTR sound, UINT flags) {
  if (!sound)
    DeviceJournalWrite(kSource, L"sndPlaySoundW stop flags 0x%08x", flags);
  else
    DeviceJournalWrite(kSource, L"sndPlaySoundW \"%ls\" flags 0x%08x", sound, flags);
  return TRUE;
}

// The wave device's volume: the low word the left channel, the high word the right.
extern "C" UINT WINAPI waveOutGetVolume(void*, DWORD* volume) {
  if (!volume) return kInvalidParameter;
  *volume = kFullVolume;
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, kVolumeKey, 0, KEY_READ, &key) == ERROR_SUCCESS) {
    DWORD value = 0;
    DWORD size = sizeof value;
    DWORD type = 0;
    if (RegQueryValueExW(key, kVolumeValue, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size) ==
            ERROR_SUCCESS &&
        type == REG_DWORD)
      *volume = value;
    RegCloseKey(key);
  }
  return kNoError;
}

extern "C" UINT WINAPI waveOutSetVolume(void*, DWORD volume) {
  HKEY key = nullptr;
  if (RegCreateKeyExW(HKEY_CURRENT_USER, kVolumeKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) !=
      ERROR_SUCCESS)
    return kInvalidParameter;
  RegSetValueExW(key, kVolumeValue, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&volume), sizeof volume);
  RegCloseKey(key);
  DeviceJournalWrite(kSource, L"waveOutSetVolume 0x%08lx", static_cast<unsigned long>(volume));
  return kNoError;
}
