#include "today/KeyFeedback.h"
#include <mmsystem.h>
#include "foundation/Settings.h"
#include "phone/DeviceIntegration.h"
#include "resources/SoundIds.h"

namespace {

const DWORD kVibration = 6;
const DWORD kVibrationMs = 50;

}  // namespace

void GiveKeyFeedback(HINSTANCE module) {
  DWORD feedback = GetSettingDword(SECTION_SETTINGS, L"KeyPressFeedback", 0);
  if (feedback >= 1 && feedback <= 5) {
    // A new key cuts the sound of the one before.
    PlaySoundW(nullptr, nullptr, 0);
    PlaySoundW(MAKEINTRESOURCEW(IDW_KEY_SOUND_FIRST + feedback - 1), module,
               SND_RESOURCE | SND_ASYNC | SND_NODEFAULT);
  } else if (feedback == kVibration) {
    Vibrate(kVibrationMs);
  }
}
