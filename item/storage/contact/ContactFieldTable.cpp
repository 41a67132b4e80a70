#include "storage/contact/ContactFieldTable.h"

#include "resources/resource.h"

namespace {

struct FieldLabels {
  UINT label;
  UINT listLabel;
};

const FieldLabels kLabels[kContactTextCount] = {
    {IDS_LABEL_EMAIL1, 0},                                   // Email1
    {IDS_LABEL_EMAIL2, 0},                                   // Email2
    {IDS_LABEL_EMAIL3, 0},                                   // Email3
    {IDS_LABEL_OTHER_ADDRESS, 0},                            // OtherCountry
    {IDS_LABEL_OTHER_ADDRESS, 0},                            // OtherPostalCode
    {IDS_LABEL_OTHER_ADDRESS, 0},                            // OtherState
    {IDS_LABEL_OTHER_ADDRESS, 0},                            // OtherCity
    {IDS_LABEL_OTHER_ADDRESS, 0},                            // OtherStreet
    {IDS_LABEL_WORK_ADDRESS, 0},                             // WorkCountry
    {IDS_LABEL_WORK_ADDRESS, 0},                             // WorkPostalCode
    {IDS_LABEL_WORK_ADDRESS, 0},                             // WorkState
    {IDS_LABEL_WORK_ADDRESS, 0},                             // WorkCity
    {IDS_LABEL_WORK_ADDRESS, 0},                             // WorkStreet
    {IDS_LABEL_WORK, IDS_LABEL_WORK_PHONE},                  // WorkPhone
    {IDS_LABEL_WORK, IDS_LABEL_WORK_PHONE},                  // WorkPhone2
    {IDS_LABEL_WORK_FAX, IDS_LABEL_WORK_FAX_PHONE},          // WorkFax
    {IDS_LABEL_HOME_ADDRESS, 0},                             // HomeCountry
    {IDS_LABEL_HOME_ADDRESS, 0},                             // HomePostalCode
    {IDS_LABEL_HOME_ADDRESS, 0},                             // HomeState
    {IDS_LABEL_HOME_ADDRESS, 0},                             // HomeCity
    {IDS_LABEL_HOME_ADDRESS, 0},                             // HomeStreet
    {IDS_LABEL_HOME, IDS_LABEL_HOME_PHONE},                  // HomePhone
    {IDS_LABEL_HOME, IDS_LABEL_HOME_PHONE},                  // HomePhone2
    {IDS_LABEL_HOME_FAX, IDS_LABEL_HOME_FAX_PHONE},          // HomeFax
    {IDS_LABEL_TITLE, 0},                                    // Title
    {IDS_LABEL_SUFFIX, 0},                                   // Suffix
    {IDS_LABEL_FIRST, 0},                                    // FirstName
    {IDS_LABEL_MIDDLE, 0},                                   // MiddleName
    {IDS_LABEL_LAST, 0},                                     // LastName
    {IDS_LABEL_SPOUSE, 0},                                   // Spouse
    {IDS_LABEL_CHILDREN, 0},                                 // Children
    {IDS_LABEL_PAGER, IDS_LABEL_PAGER_PHONE},                // Pager
    {IDS_LABEL_WEB, 0},                                      // WebPage
    {IDS_LABEL_CAR, IDS_LABEL_CAR_PHONE},                    // CarPhone
    {IDS_LABEL_RADIO, IDS_LABEL_RADIO_PHONE},                // RadioPhone
    {IDS_LABEL_MOBILE, IDS_LABEL_MOBILE_PHONE},              // MobilePhone
    {IDS_LABEL_OFFICE, 0},                                   // Office
    {IDS_LABEL_DEPARTMENT, 0},                               // Department
    {IDS_LABEL_JOB_TITLE, 0},                                // JobTitle
    {IDS_LABEL_COMPANY, 0},                                  // Company
    {IDS_LABEL_ASSISTANT_SHORT, IDS_LABEL_ASSISTANT_PHONE},  // AssistantPhone
    {IDS_LABEL_ASSISTANT, 0},                                // Assistant
    {IDS_LABEL_FILE_AS, 0},                                  // FileAs
};

}  // namespace

const WORD kContactTextProperties[kContactTextCount] = {
    0x4083, 0x4093, 0x40A3,                  // mails
    0x404E, 0x404D, 0x404C, 0x404B, 0x404A,  // other address, country first
    0x4049, 0x4048, 0x4047, 0x4046, 0x4045,  // work address
    0x3A08, 0x4007, 0x3A24,                  // work phones and fax
    0x4044, 0x4043, 0x4042, 0x4041, 0x4040,  // home address
    0x3A09, 0x3A2F, 0x3A25,                  // home phones and fax
    0x4023, 0x3A05, 0x3A06, 0x4024, 0x3A11,  // title, suffix, first, middle, last
    0x400A, 0x4006, 0x4009, 0x4008,          // spouse, children, pager, web page
    0x3A1E, 0x3A1D, 0x3A1C,                  // car, radio, mobile
    0x3A19, 0x3A18, 0x3A17, 0x3A16,          // office, department, job title, company
    0x4004, 0x4002, 0x4013,                  // assistant's phone, assistant, file as
};

const int kPhoneFields[kPhoneFieldCount] = {
    ContactField::WorkPhone,  ContactField::WorkPhone2,     ContactField::HomePhone,
    ContactField::HomePhone2, ContactField::MobilePhone,    ContactField::HomeFax,
    ContactField::WorkFax,    ContactField::Pager,          ContactField::CarPhone,
    ContactField::RadioPhone, ContactField::AssistantPhone,
};

const int kEmailFields[kEmailFieldCount] = {ContactField::Email1, ContactField::Email2, ContactField::Email3};

const CEPROPID kDisplayProperties[kDisplayPropertyCount] = {
    MAKE_CEPROPID(0x4083, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4093, CEVT_LPWSTR),
    MAKE_CEPROPID(0x40A3, CEVT_LPWSTR),
    MAKE_CEPROPID(0x404E, CEVT_LPWSTR),
    MAKE_CEPROPID(0x404D, CEVT_LPWSTR),
    MAKE_CEPROPID(0x404C, CEVT_LPWSTR),
    MAKE_CEPROPID(0x404B, CEVT_LPWSTR),
    MAKE_CEPROPID(0x404A, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4049, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4048, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4047, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4046, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4045, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A08, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4007, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A24, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4044, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4043, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4042, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4041, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4040, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A09, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A2F, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A25, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4023, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A05, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A06, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4024, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A11, CEVT_LPWSTR),
    MAKE_CEPROPID(0x400A, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4006, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4009, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4008, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A1E, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A1D, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A1C, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A19, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A18, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A17, CEVT_LPWSTR),
    MAKE_CEPROPID(0x3A16, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4004, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4002, CEVT_LPWSTR),
    MAKE_CEPROPID(0x4013, CEVT_LPWSTR),
    kIdBirthday,
    kIdAnniversary,
    kIdDefaultItem,
    kIdCategories,
};

CEPROPID ContactTextId(int field) {
  if (field < 0 || field >= kContactTextCount) return 0;
  return MAKE_CEPROPID(kContactTextProperties[field], CEVT_LPWSTR);
}

namespace {

// The text properties' numbers all lie in this range; a table over it answers a lookup at once.
const WORD kFirstTextNumber = 0x3A00;
const WORD kTextNumberSpan = 0x0700;

struct FieldOfNumber {
  FieldOfNumber() {
    for (int n = 0; n < kTextNumberSpan; ++n) field[n] = -1;
    // The first field of a number wins, as the search from the start of the table gives it.
    for (int i = kContactTextCount - 1; i >= 0; --i) {
      const int at = kContactTextProperties[i] - kFirstTextNumber;
      if (at >= 0 && at < kTextNumberSpan) field[at] = static_cast<signed char>(i);
    }
  }
  signed char field[kTextNumberSpan];
};

}  // namespace

int ContactFieldOfProperty(WORD number) {
  static const FieldOfNumber table;
  const int at = static_cast<int>(number) - kFirstTextNumber;
  if (at >= 0 && at < kTextNumberSpan) return table.field[at];
  for (int i = 0; i < kContactTextCount; ++i) {
    if (kContactTextProperties[i] == number) return i;
  }
  return -1;
}

UINT ContactFieldLabel(int field) {
  if (field < 0 || field >= kContactTextCount) return 0;
  return kLabels[field].label;
}

UINT ContactFieldListLabel(int field) {
  if (field < 0 || field >= kContactTextCount) return 0;
  return kLabels[field].listLabel;
}
