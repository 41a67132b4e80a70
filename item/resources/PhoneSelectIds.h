// Resource ids of the phone chooser: its title and its pictures, drawn by
// scripts/make-phone-select-pictures.py. Each picture comes in two sizes: the first id of a pair is
// the one for high-resolution screens.
#pragma once

// The window's title.
#define IDS_SELECT_PHONE 41369

// The heading's picture, whose right edge is repeated across the heading.
#define IDP_PHONESEL_HEAD_VGA 737
#define IDP_PHONESEL_HEAD 609
// The buttons: the normal face and the pressed one side by side.
#define IDP_PHONESEL_DIAL_VGA 740
#define IDP_PHONESEL_DIAL 739
#define IDP_PHONESEL_SMS_VGA 738
#define IDP_PHONESEL_SMS 743
#define IDP_PHONESEL_CANCEL_VGA 742
#define IDP_PHONESEL_CANCEL 741
