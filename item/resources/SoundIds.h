// Resource ids of the sounds of PagemarkToday.dll, resources of the type "WAVE".
#pragma once

// The five key sounds that KeyPressFeedback 1 to 5 choose, drawn by scripts/make-key-sounds.py.
#define IDW_KEY_SOUND_FIRST 151
#define IDW_KEY_SOUND_LAST 155

// The dial tones, all of one length, made at build time by scripts/make-dial-tones.py: "9" comes
// first, then "0" to "8", then "*" and "#".
#define IDW_TONE_9 171
#define IDW_TONE_0 172
#define IDW_TONE_1 173
#define IDW_TONE_2 174
#define IDW_TONE_3 175
#define IDW_TONE_4 176
#define IDW_TONE_5 177
#define IDW_TONE_6 178
#define IDW_TONE_7 179
#define IDW_TONE_8 180
#define IDW_TONE_STAR 181
#define IDW_TONE_HASH 182
