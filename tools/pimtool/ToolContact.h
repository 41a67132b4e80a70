// A contact as the tool's generator and vCard reader produce it: the 43 text fields of the contact
// record in their fixed order, the two dates, category names, the Note's plain text and its form, and
// what the fixed fields can't hold (further phones, mails, pages, messengers, addresses, people, dates,
// links, other values and the photo's name), which goes into the extended block in the Note.
#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

enum ToolField {
  FieldEmail1,
  FieldEmail2,
  FieldEmail3,
  FieldOtherCountry,
  FieldOtherPostalCode,
  FieldOtherState,
  FieldOtherCity,
  FieldOtherStreet,
  FieldWorkCountry,
  FieldWorkPostalCode,
  FieldWorkState,
  FieldWorkCity,
  FieldWorkStreet,
  FieldWorkPhone,
  FieldWorkPhone2,
  FieldWorkFax,
  FieldHomeCountry,
  FieldHomePostalCode,
  FieldHomeState,
  FieldHomeCity,
  FieldHomeStreet,
  FieldHomePhone,
  FieldHomePhone2,
  FieldHomeFax,
  FieldTitle,
  FieldSuffix,
  FieldFirstName,
  FieldMiddleName,
  FieldLastName,
  FieldSpouse,
  FieldChildren,
  FieldPager,
  FieldWebPage,
  FieldCarPhone,
  FieldRadioPhone,
  FieldMobilePhone,
  FieldOffice,
  FieldDepartment,
  FieldJobTitle,
  FieldCompany,
  FieldAssistantPhone,
  FieldAssistant,
  FieldFileAs,
  ToolFieldCount
};

// Property number of each field, in the field order above (the value type is text).
extern const uint16_t kFieldProperty[ToolFieldCount];
// A short name of each field for printing ("Email1", "WorkPhone", ...).
extern const char* const kFieldName[ToolFieldCount];

struct LabelledValue {
  std::wstring label;
  std::wstring value;
};

struct ToolMessenger {
  std::wstring kind;  // "ICQ", "Skype", "Jabber", ...
  std::wstring id;
  std::wstring note;
};

struct ToolAddress {
  std::wstring label;
  std::wstring parts[5];  // street, city, state, postal code, country
  uint32_t format = 0;    // the address layout, 0 for the device's default
};

struct ToolDate {
  std::wstring label;
  uint64_t date = 0;  // FILETIME of a midnight
};

struct ToolContact {
  std::wstring text[ToolFieldCount];
  uint64_t birthday = 0;     // FILETIME, 0 when none
  uint64_t anniversary = 0;  // FILETIME, 0 when none
  std::vector<std::wstring> categories;
  std::wstring note;
  std::vector<LabelledValue> phones;  // beyond the fixed phone fields
  std::vector<LabelledValue> emails;  // beyond the three mail fields
  std::vector<LabelledValue> webPages;
  std::vector<ToolMessenger> messengers;
  std::vector<ToolAddress> addresses;  // beyond home, work and other
  std::vector<LabelledValue> people;   // beyond spouse, children and assistant
  std::vector<ToolDate> dates;         // beyond birthday and anniversary
  std::vector<LabelledValue> links;    // files the contact is linked to
  std::vector<LabelledValue> otherValues;
  std::wstring photo;     // the photo's file name
  std::string photoData;  // an embedded picture as its file's bytes: JPEG, PNG or BMP
  int photoLine = 0;      // the line of the card that holds it
  bool richNote = false;  // the Note is kept as a rich document rather than plain text
  int sourceLine = 0;     // the first line of the card it was read from; 0 when not read from a file

  // Whether anything goes into the extended block.
  bool HasExtended() const {
    return !phones.empty() || !emails.empty() || !webPages.empty() || !messengers.empty() ||
           !addresses.empty() || !people.empty() || !dates.empty() || !links.empty() ||
           !otherValues.empty() || !photo.empty();
  }

  bool HasName() const {
    return !text[FieldFirstName].empty() || !text[FieldLastName].empty() || !text[FieldMiddleName].empty();
  }
};

// FILETIME of a calendar date at midnight UTC.
uint64_t DateToFileTime(int year, int month, int day);
