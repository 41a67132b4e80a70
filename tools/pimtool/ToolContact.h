// A contact as the tool's generator and vCard reader produce it: the 43 text fields of the contact
// record in their fixed order, the two dates, category names, the Note's plain text, and what the
// fixed fields can't hold (further phones, mails, pages), kept for the extended block.
#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

enum ToolField {
  FieldEmail1, FieldEmail2, FieldEmail3,
  FieldOtherCountry, FieldOtherPostalCode, FieldOtherState, FieldOtherCity, FieldOtherStreet,
  FieldWorkCountry, FieldWorkPostalCode, FieldWorkState, FieldWorkCity, FieldWorkStreet,
  FieldWorkPhone, FieldWorkPhone2, FieldWorkFax,
  FieldHomeCountry, FieldHomePostalCode, FieldHomeState, FieldHomeCity, FieldHomeStreet,
  FieldHomePhone, FieldHomePhone2, FieldHomeFax,
  FieldTitle, FieldSuffix, FieldFirstName, FieldMiddleName, FieldLastName,
  FieldSpouse, FieldChildren, FieldPager, FieldWebPage, FieldCarPhone, FieldRadioPhone, FieldMobilePhone,
  FieldOffice, FieldDepartment, FieldJobTitle, FieldCompany, FieldAssistantPhone, FieldAssistant, FieldFileAs,
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

struct ToolContact {
  std::wstring text[ToolFieldCount];
  uint64_t birthday = 0;     // FILETIME, 0 when none
  uint64_t anniversary = 0;  // FILETIME, 0 when none
  std::vector<std::wstring> categories;
  std::wstring note;
  std::vector<LabelledValue> phones;  // beyond the fixed phone fields
  std::vector<LabelledValue> emails;  // beyond the three mail fields
  std::vector<LabelledValue> webPages;

  bool HasName() const {
    return !text[FieldFirstName].empty() || !text[FieldLastName].empty() || !text[FieldMiddleName].empty();
  }
};

// FILETIME of a calendar date at midnight UTC.
uint64_t DateToFileTime(int year, int month, int day);
