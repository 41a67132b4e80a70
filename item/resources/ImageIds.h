// Resource ids of the pictures of PagemarkToday.dll: resources of the type "PNG", read through the
// product's image library. Where a picture comes in two sizes, the first id is the one for 96 dpi and
// the second the one for high-resolution screens.
#pragma once

// The letter bar's last cell: "step back" while the popup is open, "contacts" otherwise.
#define IDP_BAR_STEP_BACK 575
#define IDP_BAR_STEP_BACK_VGA 576
#define IDP_BAR_CONTACTS 190
#define IDP_BAR_CONTACTS_VGA 191
