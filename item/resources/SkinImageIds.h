// Resource ids of the skin's icons and default pictures, drawn by scripts/make-skin-pictures.py.
// Each comes in two sizes; the id with _VGA is the one for high-resolution screens.
#pragma once

// Icons at the end of a contact page's rows: 16 x 16, and 32 x 32 for high resolution.
#define IDI_ROW_PHONE 321
#define IDI_ROW_PHONE_VGA 322
#define IDI_ROW_MAIL 323
#define IDI_ROW_MAIL_VGA 324
#define IDI_ROW_WEB 325
#define IDI_ROW_WEB_VGA 326
#define IDI_ROW_LINK 373
#define IDI_ROW_LINK_VGA 372

// Pictures of a contact without a photo (PNG, black is transparent): 26 x 26, and 52 x 52 for high
// resolution.
#define IDP_PERSON 611
#define IDP_PERSON_VGA 610
#define IDP_PERSON_FLAGGED 711
#define IDP_PERSON_FLAGGED_VGA 710
#define IDP_COMPANY 613
#define IDP_COMPANY_VGA 612

// The popup's icon (16 x 16, and 32 x 32 for high resolution), drawn by scripts/make-popup-icon.py.
#define IDI_POPUP 126
#define IDI_POPUP_VGA 141
