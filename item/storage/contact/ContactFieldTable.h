// The fixed fields of a contact as the platform's "Contacts Database" stores them: 43 text fields in
// a fixed order, their property numbers and their labels, and the other properties of a record.
#pragma once

#include <windows.h>
#include <windbase.h>

// Indexes of the 43 text fields of a Contact.
struct ContactField {
  enum Index {
    Email1 = 0,
    Email2,
    Email3,
    OtherCountry,
    OtherPostalCode,
    OtherState,
    OtherCity,
    OtherStreet,
    WorkCountry,
    WorkPostalCode,
    WorkState,
    WorkCity,
    WorkStreet,
    WorkPhone,
    WorkPhone2,
    WorkFax,
    HomeCountry,
    HomePostalCode,
    HomeState,
    HomeCity,
    HomeStreet,
    HomePhone,
    HomePhone2,
    HomeFax,
    Title,
    Suffix,
    FirstName,
    MiddleName,
    LastName,
    Spouse,
    Children,
    Pager,
    WebPage,
    CarPhone,
    RadioPhone,
    MobilePhone,
    Office,
    Department,
    JobTitle,
    Company,
    AssistantPhone,
    Assistant,
    FileAs,
    Count
  };
};

const int kContactTextCount = ContactField::Count;

// Property numbers of the other properties of a contact record.
const WORD kPropCategories = 0x0016;   // CEVT_BLOB, category bit mask
const WORD kPropNote = 0x0017;         // CEVT_BLOB, the Note
const WORD kPropDefaultItem = 0x0050;  // CEVT_I4, preferred phone or mail
const WORD kPropFlag102 = 0x0102;      // CEVT_BOOL, carried only
const WORD kPropBirthday = 0x4001;     // CEVT_FILETIME
const WORD kPropAnniversary = 0x4003;  // CEVT_FILETIME

const CEPROPID kIdCategories = MAKE_CEPROPID(kPropCategories, CEVT_BLOB);
const CEPROPID kIdNote = MAKE_CEPROPID(kPropNote, CEVT_BLOB);
const CEPROPID kIdDefaultItem = MAKE_CEPROPID(kPropDefaultItem, CEVT_I4);
const CEPROPID kIdFlag102 = MAKE_CEPROPID(kPropFlag102, CEVT_BOOL);
const CEPROPID kIdBirthday = MAKE_CEPROPID(kPropBirthday, CEVT_FILETIME);
const CEPROPID kIdAnniversary = MAKE_CEPROPID(kPropAnniversary, CEVT_FILETIME);

// The property number of each text field, in field order; the type is always CEVT_LPWSTR.
extern const WORD kContactTextProperties[kContactTextCount];
// The full property id of a text field.
CEPROPID ContactTextId(int field);
// The text field stored under a property number, or -1.
int ContactFieldOfProperty(WORD number);

// The 11 phone fields in the order in which a contact's phones are offered, and the 3 mails.
const int kPhoneFieldCount = 11;
extern const int kPhoneFields[kPhoneFieldCount];
const int kEmailFieldCount = 3;
extern const int kEmailFields[kEmailFieldCount];

// The label of a field (for an address part, the label of its address), and for a phone also its
// label in phone lists; 0 where there is none.
UINT ContactFieldLabel(int field);
UINT ContactFieldListLabel(int field);

// The 47 properties read for display: the 43 texts in field order, both dates, the default item and
// the categories.
const int kDisplayPropertyCount = 47;
extern const CEPROPID kDisplayProperties[kDisplayPropertyCount];
