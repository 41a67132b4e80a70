// Resource ids of the contact list: its strings, and the marks of its company headers.
#pragma once

// A contact without a name.
#define IDS_UNNAMED 41280
// The long-press menu and its sub-menus.
#define IDS_CALL_PHONE 103
#define IDS_SEND_EMAIL 41135
#define IDS_BEAM 41136
#define IDS_SEND_SMS 41137
#define IDS_MAKE_APPOINTMENT 41267
// Labels of the name fields in a contact's field list.
#define IDS_FIELD_FIRST 41315
#define IDS_FIELD_LAST 41317
#define IDS_FIELD_COMPANY 41320

// Marks of a company header, drawn by scripts/make-group-icons.py: 8 x 8, and 16 x 16 (_VGA) for high
// resolution. Each icon's image has a resource number of its own (_IMAGE), which its group names.
#define IDI_GROUP_EXPANDED_VGA 138
#define IDI_GROUP_COLLAPSED_VGA 140
#define IDI_GROUP_EXPANDED 184
#define IDI_GROUP_COLLAPSED 186
#define IDI_GROUP_EXPANDED_VGA_IMAGE 1380
#define IDI_GROUP_COLLAPSED_VGA_IMAGE 1400
#define IDI_GROUP_EXPANDED_IMAGE 1840
#define IDI_GROUP_COLLAPSED_IMAGE 1860
