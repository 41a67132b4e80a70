// The user's choice of how a contact is presented: which groups of fields there are, the order of
// the labels within each group, the labels the user added, and which name parts and groups are on.
// Built from the item's string table, then overlaid by "Contact template.tpl" in the user's data
// folder. The item only reads the file; saving and the setters serve an editor of the template.
#pragma once
#include <stdint.h>
#include <windows.h>
#include "foundation/Array.h"
#include "foundation/Str.h"

// The sections, numbered as the field groups of the contact page; 12 there means the note, which has
// no section here.
enum TemplateSectionNumber {
  SectionName,
  SectionPhone,
  SectionEmail,
  SectionMessenger,
  SectionWeb,
  SectionOffice,
  SectionAddress,
  SectionCategory,
  SectionPeople,
  SectionDate,
  SectionLink,
  SectionOther,
  SectionCount
};

// The labels of the name section, and the name parts of its field flags.
enum NamePart {
  NamePartName,
  NamePartTitle,
  NamePartFirst,
  NamePartMiddle,
  NamePartLast,
  NamePartSuffix,
  NamePartJobTitle,
  NamePartCompany,
  NamePartDepartment,
  NamePartFileAs,
  NamePartCount
};

// One group of fields. Long labels are the keys under which a contact's values are found and are
// compared exactly; a label such as "Middle@Mid." is one whole key. The short label is what the
// screen shows.
struct TemplateSection {
  Array<Str> labels;       // the built-in labels, then the ones the file added
  int32_t builtinCount;    // labels at this index and behind it are the user's
  Array<int32_t> order;    // indexes into labels, in display order
  int32_t enabled;         // the group is on; 1 after a reset
  Str prompt;              // the hint for an empty value of the group
  Array<Str> shortLabels;  // the short label of each built-in label, at the same index
};

struct NameTemplateSection : TemplateSection {
  int32_t nameCollapsed;
  int32_t fieldFlags[NamePartCount];  // 1 shows the name part
};

// The messengers, with a second list for their kinds.
struct MessengerTemplateSection : TemplateSection {
  Array<Str> typeLabels;
  int32_t typeBuiltinCount;
  Array<int32_t> typeOrder;
};

// The addresses, with a country layout (an index into CountryAddressFormats) per entry of the order.
struct AddressTemplateSection : TemplateSection {
  Array<int32_t> addressFormats;
};

class ContactTemplate {
 public:
  // Fills the built-in labels, short labels and prompts of every section from the string table; a
  // string that is missing stops the program through the resource failure.
  ContactTemplate();
  virtual ~ContactTemplate();

  // Reset, then the file overlaid. True when the file could be opened; otherwise false with the
  // platform's error, and the caller calls SetDefaults.
  virtual BOOL Load(const wchar_t* path);
  // Writes the whole template anew (an old file is replaced). False when the file can't be created
  // or a write fails, with the platform's error; a failed write leaves a short file.
  virtual BOOL Save(const wchar_t* path) const;
  // Every section back to its built-in labels with an empty order, and on.
  virtual void Reset();
  // Reset, then the product's own choice of groups, order and name parts.
  virtual void SetDefaults();
  // The name flags, the user's labels, the orders, the enabled flags and the kind and country lists
  // of `other`.
  virtual void CopyFrom(const ContactTemplate& other);

  // The section `number` (0 to 11), or null.
  virtual TemplateSection* GetSection(int number);
  const TemplateSection* GetSection(int number) const;
  NameTemplateSection& GetNameSection() { return names; }
  const NameTemplateSection& GetNameSection() const { return names; }
  MessengerTemplateSection& GetMessengerSection() { return messengers; }
  const MessengerTemplateSection& GetMessengerSection() const { return messengers; }
  AddressTemplateSection& GetAddressSection() { return addresses; }
  const AddressTemplateSection& GetAddressSection() const { return addresses; }

  // The flag of name part `index` (NamePart); outside 0 to 9 it reads 1 and can't be set.
  virtual int32_t GetFieldFlag(int index) const;
  virtual void SetFieldFlag(int index, int32_t value);
  BOOL IsNameCollapsed() const { return names.nameCollapsed != 0; }
  void SetNameCollapsed(BOOL value) { names.nameCollapsed = value ? 1 : 0; }

  // Section 0 always; 5 and 7 (a single value each) as they are on; the others when on and with an
  // order. False outside 0 to 11.
  virtual BOOL IsSectionVisible(int number) const;
  // Switches a section on or off; switched on with an empty order, it takes its order (and kinds and
  // country) as SetDefaults gives them.
  virtual void SetSectionEnabled(int number, BOOL value);

  // The short label of a long one in `section`, or the label itself when the section has no short
  // label for it (a user's own label); and the other way round.
  virtual Str ShortLabelOf(int section, const Str& longLabel) const;
  virtual Str LongLabelOf(int section, const Str& shortLabel) const;

  // The file of the last Load, whether it could be read or not.
  const Str& GetPath() const { return path; }
  // True from SetDefaults until a file is loaded.
  BOOL IsDefault() const { return isDefault != 0; }
  // The item's start names SetDefaults so.
  void CreateDefault() { SetDefaults(); }

  // The name of the file's section for section `number`; null for the name section, which the file
  // keeps as flags, and outside 0 to 11.
  static const wchar_t* SectionFileName(int number);
  // The name parts that the user can switch and the file keeps: Title, Suffix, Job Title, Department
  // and File As. The others are always shown.
  static bool IsSwitchableNamePart(int index);

 private:
  ContactTemplate(const ContactTemplate&) = delete;
  ContactTemplate& operator=(const ContactTemplate&) = delete;

  void LoadLabels();
  // The order (and kinds and country) that SetDefaults gives section `number`.
  void FillDefaultOrder(int number);

  NameTemplateSection names;
  TemplateSection phones;
  TemplateSection emails;
  MessengerTemplateSection messengers;
  TemplateSection webPages;
  TemplateSection office;
  AddressTemplateSection addresses;
  TemplateSection categories;
  TemplateSection people;
  TemplateSection dates;
  TemplateSection links;
  TemplateSection others;
  TemplateSection* sections[SectionCount];

  Str path;
  int32_t isDefault;
};

extern ContactTemplate* g_contactTemplate;
