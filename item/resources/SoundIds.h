// Resource ids of the sounds of PagemarkToday.dll, resources of the type "WAVE".
#pragma once

// The five key sounds that KeyPressFeedback 1 to 5 choose, drawn by scripts/make-key-sounds.py.
#define IDW_KEY_SOUND_FIRST 151
#define IDW_KEY_SOUND_LAST 155
