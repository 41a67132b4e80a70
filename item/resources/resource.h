// Resource ids of PagemarkToday.dll.
#pragma once

// Captions of the popup's menu bar.
#define IDS_OPEN_PAGEMARK   107
#define IDS_EDIT_CONTACT    108
#define IDS_CLOSE           41286
#define IDS_BACK            41287
