// Resource ids of PagemarkToday.dll.
#pragma once

// Captions of the popup's menu bar.
#define IDS_OPEN_PAGEMARK 107
#define IDS_EDIT_CONTACT 108
// The popup's left link before any mode is shown.
#define IDS_PRODUCT_NAME 123
#define IDS_CLOSE 41286
#define IDS_BACK 41287

// The countdown dialog: its template, its text and Cancel, and their labels.
#define IDD_INFO_PROCESS 216
#define IDC_INFO_TEXT 1018
#define IDC_INFO_CANCEL 1009
#define IDS_CANCEL 106
#define IDS_WAITING_FOR_SECONDS 41216

// Labels of the contact record's fields. The long labels (phone lists, addresses, names) are also the
// keys under which values are found, and are compared exactly; a text with "@" is one whole key.
#define IDS_LABEL_FIRST 41148
#define IDS_LABEL_MIDDLE 41149
#define IDS_LABEL_LAST 41150
#define IDS_LABEL_SUFFIX 41151
#define IDS_LABEL_JOB_TITLE 41152
#define IDS_LABEL_COMPANY 41153
#define IDS_LABEL_DEPARTMENT 41154
#define IDS_LABEL_WORK_PHONE 41155
#define IDS_LABEL_HOME_PHONE 41156
#define IDS_LABEL_MOBILE_PHONE 41157
#define IDS_LABEL_HOME_FAX_PHONE 41158
#define IDS_LABEL_CAR_PHONE 41159
#define IDS_LABEL_PAGER_PHONE 41160
#define IDS_LABEL_RADIO_PHONE 41161
#define IDS_LABEL_ASSISTANT_PHONE 41162
#define IDS_LABEL_WEB 41170
#define IDS_LABEL_OFFICE 41171
#define IDS_LABEL_WORK_ADDRESS 41172
#define IDS_LABEL_HOME_ADDRESS 41173
#define IDS_LABEL_OTHER_ADDRESS 41174
#define IDS_LABEL_ASSISTANT 41176
#define IDS_LABEL_CHILDREN 41177
#define IDS_LABEL_SPOUSE 41178
#define IDS_LABEL_TITLE 41183
#define IDS_LABEL_WORK_FAX_PHONE 41197
#define IDS_LABEL_RINGTONE 41277
#define IDS_LABEL_FILE_AS 41279
#define IDS_LABEL_WORK 41323
#define IDS_LABEL_MOBILE 41324
#define IDS_LABEL_HOME_FAX 41325
#define IDS_LABEL_WORK_FAX 41326
#define IDS_LABEL_CAR 41327
#define IDS_LABEL_PAGER 41328
#define IDS_LABEL_RADIO 41329
#define IDS_LABEL_ASSISTANT_SHORT 41330
#define IDS_LABEL_EMAIL1 41333
#define IDS_LABEL_EMAIL2 41334
#define IDS_LABEL_EMAIL3 41335
#define IDS_LABEL_RINGTONE_SHORT 41354
#define IDS_LABEL_HOME 41360
