// Resource ids of the contact list's phone menu: the texts of its last line and its check mark.
#pragma once

// The line that acts on the default at once.
#define IDS_PHONE_MENU_DIAL 41217
#define IDS_PHONE_MENU_MAIL 41211
// The check mark of the default (BMP, white is left out where it is drawn), drawn by
// scripts/make-check-mark.py: 11 x 11, and 22 x 22 (_VGA) for high resolution.
#define IDB_PHONE_MENU_CHECK_VGA 618
#define IDB_PHONE_MENU_CHECK 619
