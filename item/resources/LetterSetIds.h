// Resource ids of the letter sets, resources of the type "ABC": UTF-16 text that starts with the byte
// order mark, one group a word, written caption/letters.
#pragma once

// The sets that the setting Type of section ABC chooses, 1 to 4; 0 is the user's own set.
#define IDR_ABC_ENGLISH 198
#define IDR_ABC_RUSSIAN 199
#define IDR_ABC_ENGLISH_RUSSIAN 215
#define IDR_ABC_GERMAN 220
// A further set that no value of Type chooses.
#define IDR_ABC_POLISH 256

// Names of the sets in the item's string table, by the same Type.
#define IDS_ABC_CUSTOM 119
#define IDS_ABC_ENGLISH 117
#define IDS_ABC_RUSSIAN 118
#define IDS_ABC_ENGLISH_RUSSIAN 122
#define IDS_ABC_GERMAN 130
