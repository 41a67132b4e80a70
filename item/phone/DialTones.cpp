// Dial tones: each dial character plays one WAVE resource of the module, one after the other.
#include <windows.h>
#include <mmsystem.h>
#include "foundation/BaseDialog.h"
#include "phone/Communication.h"
#include "resources/SoundIds.h"

namespace {

const DWORD kCommaPauseMs = 900;
const DWORD kToneGapMs = 100;
// Half of the full volume, on both channels.
const WORD kLoudEnough = 0x7FFF;

// The resource of a dial character; 0 for a character without a tone.
UINT ToneOf(wchar_t c) {
  if (c >= L'0' && c <= L'8') return IDW_TONE_0 + (c - L'0');
  if (c == L'9') return IDW_TONE_9;
  if (c == L'*') return IDW_TONE_STAR;
  if (c == L'#') return IDW_TONE_HASH;
  return 0;
}

}  // namespace

void PlayDialTones(const wchar_t* number) {
  if (!number) return;
  // Tones held to another phone's microphone must be heard: a quiet speaker is raised for them.
  DWORD volume = 0;
  BOOL raised = FALSE;
  if (waveOutGetVolume(nullptr, &volume) == MMSYSERR_NOERROR && LOWORD(volume) < kLoudEnough &&
      HIWORD(volume) < kLoudEnough)
    raised = waveOutSetVolume(nullptr, MAKELONG(kLoudEnough, kLoudEnough)) == MMSYSERR_NOERROR;

  HINSTANCE module = BaseDialog::ResourceModule();
  BOOL lastWasTone = FALSE;
  for (const wchar_t* c = number; *c; ++c) {
    if (*c == L',') {
      Sleep(kCommaPauseMs);
      lastWasTone = FALSE;
      continue;
    }
    const UINT tone = ToneOf(*c);
    if (!tone) continue;
    if (lastWasTone) Sleep(kToneGapMs);
    PlaySoundW(MAKEINTRESOURCEW(tone), module, SND_RESOURCE);
    lastWasTone = TRUE;
  }
  if (raised) waveOutSetVolume(nullptr, volume);
}
