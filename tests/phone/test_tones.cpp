// Dial tones: the twelve WAVE resources, the order of tones and pauses, the speaker's volume, and the
// countdown dialog of tone dialling.
#include <doctest/doctest.h>
#include <windows.h>
#include <mmsystem.h>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>
#include "ImportHook.h"
#include "PhoneTestSupport.h"
#include "foundation/BaseDialog.h"
#include "foundation/Settings.h"
#include "phone/Communication.h"
#include "phone/ToneDialDlg.h"
#include "resources/resource.h"
#include "resources/SoundIds.h"

using namespace phonetest;

namespace {

struct ToneKey {
  UINT id;
  int low;
  int high;
};

// The keypad's pairs of frequencies.
const ToneKey kTones[] = {
    {IDW_TONE_1, 697, 1209}, {IDW_TONE_2, 697, 1336}, {IDW_TONE_3, 697, 1477},    {IDW_TONE_4, 770, 1209},
    {IDW_TONE_5, 770, 1336}, {IDW_TONE_6, 770, 1477}, {IDW_TONE_7, 852, 1209},    {IDW_TONE_8, 852, 1336},
    {IDW_TONE_9, 852, 1477}, {IDW_TONE_0, 941, 1336}, {IDW_TONE_STAR, 941, 1209}, {IDW_TONE_HASH, 941, 1477},
};
const int kAllFrequencies[] = {697, 770, 852, 941, 1209, 1336, 1477, 1633};

// The power of one frequency in 16-bit samples (Goertzel).
double Power(const int16_t* samples, size_t count, int rate, int frequency) {
  const double pi = 3.14159265358979323846;
  const double coefficient = 2 * std::cos(2 * pi * frequency / rate);
  double s1 = 0, s2 = 0;
  for (size_t i = 0; i < count; ++i) {
    const double s0 = samples[i] + coefficient * s1 - s2;
    s2 = s1;
    s1 = s0;
  }
  return s1 * s1 + s2 * s2 - coefficient * s1 * s2;
}

// What PlayDialTones did, in order: "tone N" for a sound, "sleep N" for a wait.
std::vector<std::string>& Steps() {
  static std::vector<std::string> steps;
  return steps;
}

BOOL WINAPI RecordPlay(LPCWSTR sound, HMODULE, DWORD flags) {
  Steps().push_back("tone " + std::to_string(reinterpret_cast<ULONG_PTR>(sound)) +
                    (flags == 0x40004 ? "" : " flags " + std::to_string(flags)));
  return TRUE;
}

void WINAPI RecordSleep(DWORD ms) { Steps().push_back("sleep " + std::to_string(ms)); }

// PlayDialTones with the sounds and the waits recorded instead of made.
std::vector<std::string> StepsOf(const wchar_t* number) {
  HMODULE self = GetModuleHandleW(nullptr);
  void* play = importhook::Replace(self, "waveapi.dll", "PlaySoundW", reinterpret_cast<void*>(&RecordPlay));
  void* sleep = importhook::Replace(self, "kernel32.dll", "Sleep", reinterpret_cast<void*>(&RecordSleep));
  REQUIRE(play != nullptr);
  REQUIRE(sleep != nullptr);
  Steps().clear();
  PlayDialTones(number);
  importhook::Replace(self, "waveapi.dll", "PlaySoundW", play);
  importhook::Replace(self, "kernel32.dll", "Sleep", sleep);
  return Steps();
}

std::string Tone(UINT id) { return "tone " + std::to_string(id); }

std::string PlayLine(UINT id) {
  char module[MAX_PATH];
  GetModuleFileNameA(GetModuleHandleW(nullptr), module, MAX_PATH);
  const char* base = strrchr(module, '\\');
  return "PlaySoundW resource " + std::to_string(id) + " of " + (base ? base + 1 : module) +
         " flags 0x00040004";
}

// A tone dialog that presses Cancel as soon as it opens.
class CancelledToneDialog : public ToneDialDlg {
 public:
  CancelledToneDialog() : ToneDialDlg(L"Dialing...", 3000, 1000, L"123") {}
  BOOL OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override {
    if (message == WM_INITDIALOG)
      PostMessageW(window, WM_COMMAND, MAKEWPARAM(IDC_INFO_CANCEL, BN_CLICKED), 0);
    return ToneDialDlg::OnMessage(window, message, wParam, lParam, result);
  }
};

}  // namespace

TEST_SUITE_BEGIN("phone");

TEST_CASE("Twelve WAVE resources of one length, each the two frequencies of its key") {
  HINSTANCE module = BaseDialog::ResourceModule();
  for (const ToneKey& key : kTones) {
    INFO("tone resource " << key.id);
    HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(key.id), L"WAVE");
    REQUIRE(found != nullptr);
    CHECK(SizeofResource(module, found) == 3246);
    const BYTE* wave = static_cast<const BYTE*>(LockResource(LoadResource(module, found)));
    REQUIRE(wave != nullptr);
    REQUIRE(memcmp(wave, "RIFF", 4) == 0);
    REQUIRE(memcmp(wave + 8, "WAVEfmt ", 8) == 0);
    uint16_t format, channels, bits;
    uint32_t rate, dataSize;
    memcpy(&format, wave + 20, 2);
    memcpy(&channels, wave + 22, 2);
    memcpy(&rate, wave + 24, 4);
    memcpy(&bits, wave + 34, 2);
    REQUIRE(memcmp(wave + 36, "data", 4) == 0);
    memcpy(&dataSize, wave + 40, 4);
    CHECK(format == 1);
    CHECK(channels == 1);
    CHECK(bits == 16);
    CHECK(dataSize == 3246 - 44);
    std::vector<int16_t> samples(dataSize / 2);
    memcpy(samples.data(), wave + 44, samples.size() * 2);
    // Both of the key's frequencies stand far above every other of the keypad.
    const double low = Power(samples.data(), samples.size(), static_cast<int>(rate), key.low);
    const double high = Power(samples.data(), samples.size(), static_cast<int>(rate), key.high);
    for (int other : kAllFrequencies) {
      if (other == key.low || other == key.high) continue;
      const double power = Power(samples.data(), samples.size(), static_cast<int>(rate), other);
      CHECK(low > 20 * power);
      CHECK(high > 20 * power);
    }
  }
}

TEST_CASE("Each dial character plays its resource, 100 ms between tones, others skipped") {
  CHECK(StepsOf(L"09*#") == std::vector<std::string>{Tone(172), "sleep 100", Tone(171), "sleep 100",
                                                     Tone(181), "sleep 100", Tone(182)});
  CHECK(StepsOf(L"+7 (8)") == std::vector<std::string>{Tone(179), "sleep 100", Tone(180)});
  CHECK(StepsOf(L"ab").empty());
}

TEST_CASE("The number 1,2 plays two tones 900 ms apart, with no 100 ms gap after the comma") {
  CHECK(StepsOf(L"1,2") == std::vector<std::string>{Tone(173), "sleep 900", Tone(174)});
  CHECK(StepsOf(L",,5") == std::vector<std::string>{"sleep 900", "sleep 900", Tone(177)});
  // A skipped character doesn't break the rule: the gap still comes.
  CHECK(StepsOf(L"1-2") == std::vector<std::string>{Tone(173), "sleep 100", Tone(174)});
}

TEST_CASE("The tones reach the speaker, raised to half volume while they play when it is quieter") {
  waveOutSetVolume(nullptr, 0x10002000);
  size_t mark = JournalMark();
  PlayDialTones(L"12");
  std::vector<std::string> events = WaitForEvents(mark, "sound", 4);
  CHECK(events == std::vector<std::string>{"waveOutSetVolume 0x7fff7fff", PlayLine(173), PlayLine(174),
                                           "waveOutSetVolume 0x10002000"});
  DWORD volume = 0;
  CHECK(waveOutGetVolume(nullptr, &volume) == MMSYSERR_NOERROR);
  CHECK(volume == 0x10002000);

  // One loud channel is enough: the volume isn't touched.
  waveOutSetVolume(nullptr, 0x80001000);
  mark = JournalMark();
  PlayDialTones(L"#");
  events = WaitForEvents(mark, "sound", 1);
  CHECK(events == std::vector<std::string>{PlayLine(182)});
}

// The texts the countdown dialog of this thread showed, each once, in order.
std::vector<std::wstring>& ShownTexts() {
  static std::vector<std::wstring> texts;
  return texts;
}

void CALLBACK ReadDialogText(HWND, UINT, UINT_PTR, DWORD) {
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND window, LPARAM) -> BOOL {
        wchar_t text[256] = L"";
        if (!GetDlgItemTextW(window, IDC_INFO_TEXT, text, 256)) return TRUE;
        if (ShownTexts().empty() || ShownTexts().back() != text) ShownTexts().push_back(text);
        return TRUE;
      },
      0);
}

TEST_CASE("Tone dialling counts down over the owner, then plays the number") {
  ClearSettings();
  waveOutSetVolume(nullptr, 0xFFFFFFFF);
  const size_t mark = JournalMark();
  const DWORD start = GetTickCount();
  ShownTexts().clear();
  const UINT_PTR reader = SetTimer(nullptr, 0, 100, &ReadDialogText);
  CHECK(Dial(nullptr, L"5,1", nullptr, DialModeTones, nullptr) == 0);
  KillTimer(nullptr, reader);
  // 3, 2, 1 with the number under the count, then the closing text with the number.
  CHECK(ShownTexts() == std::vector<std::wstring>{L"Waiting for 3 seconds...\n5,1",
                                                  L"Waiting for 2 seconds...\n5,1",
                                                  L"Waiting for 1 seconds...\n5,1", L"Dialing...\n5,1"});
  // 3 s of waiting and one step of "Dialing...", then the tones with the comma's pause.
  CHECK(GetTickCount() - start >= 3000);
  CHECK(EventsSince(mark, "sound") == std::vector<std::string>{PlayLine(177), PlayLine(173)});
  CHECK(EventsSince(mark, "phone").empty());
}

TEST_CASE("Cancel ends the countdown and nothing is played") {
  const size_t mark = JournalMark();
  CancelledToneDialog dialog;
  CHECK(dialog.DoModal(nullptr) == IDCANCEL);
  Sleep(200);
  CHECK(EventsSince(mark, "sound").empty());
}

TEST_SUITE_END();
