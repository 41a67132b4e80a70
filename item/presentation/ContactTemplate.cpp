#include "presentation/ContactTemplate.h"

namespace {

const wchar_t* const kSectionFileNames[SectionCount] = {nullptr,   L"Phone",  L"EMail", L"Msg",
                                                        L"Web",    L"Office", L"Addr",  L"Category",
                                                        L"People", L"Date",   L"Link",  L"Other"};

int FindLabel(const Array<Str>& labels, const Str& label) {
  for (int i = 0; i < labels.GetSize(); ++i) {
    if (labels[i] == label) return i;
  }
  return -1;
}

// The built-in part of `labels` and the user's labels of `from` behind it.
void CopyUserLabels(Array<Str>& labels, int32_t builtinCount, const Array<Str>& from,
                    int32_t fromBuiltinCount) {
  labels.SetSize(builtinCount);
  for (int i = fromBuiltinCount; i < from.GetSize(); ++i) labels.Add(from[i]);
}

}  // namespace

const wchar_t* ContactTemplate::SectionFileName(int number) {
  if (number < 0 || number >= SectionCount) return nullptr;
  return kSectionFileNames[number];
}

bool ContactTemplate::IsSwitchableNamePart(int index) {
  return index == NamePartTitle || index == NamePartSuffix || index == NamePartJobTitle ||
         index == NamePartDepartment || index == NamePartFileAs;
}

void ContactTemplate::Reset() {
  for (int number = 0; number < SectionCount; ++number) {
    TemplateSection& section = *sections[number];
    section.labels.SetSize(section.builtinCount);
    section.order.RemoveAll();
    section.enabled = 1;
  }
  messengers.typeLabels.SetSize(messengers.typeBuiltinCount);
  messengers.typeOrder.RemoveAll();
  addresses.addressFormats.RemoveAll();
}

void ContactTemplate::CopyFrom(const ContactTemplate& other) {
  if (&other == this) return;
  names.nameCollapsed = other.names.nameCollapsed;
  for (int index = 0; index < NamePartCount; ++index) names.fieldFlags[index] = other.names.fieldFlags[index];
  for (int number = 0; number < SectionCount; ++number) {
    TemplateSection& section = *sections[number];
    const TemplateSection& from = *other.sections[number];
    CopyUserLabels(section.labels, section.builtinCount, from.labels, from.builtinCount);
    section.order.Copy(from.order);
    section.enabled = from.enabled;
  }
  CopyUserLabels(messengers.typeLabels, messengers.typeBuiltinCount, other.messengers.typeLabels,
                 other.messengers.typeBuiltinCount);
  messengers.typeOrder.Copy(other.messengers.typeOrder);
  addresses.addressFormats.Copy(other.addresses.addressFormats);
}

TemplateSection* ContactTemplate::GetSection(int number) {
  if (number < 0 || number >= SectionCount) return nullptr;
  return sections[number];
}

const TemplateSection* ContactTemplate::GetSection(int number) const {
  if (number < 0 || number >= SectionCount) return nullptr;
  return sections[number];
}

int32_t ContactTemplate::GetFieldFlag(int index) const {
  if (index < 0 || index >= NamePartCount) return 1;
  return names.fieldFlags[index];
}

void ContactTemplate::SetFieldFlag(int index, int32_t value) {
  if (index < 0 || index >= NamePartCount) return;
  names.fieldFlags[index] = value;
}

BOOL ContactTemplate::IsSectionVisible(int number) const {
  if (number < 0 || number >= SectionCount) return FALSE;
  if (number == SectionName) return TRUE;
  const TemplateSection& section = *sections[number];
  if (number == SectionOffice || number == SectionCategory) return section.enabled != 0;
  return section.enabled != 0 && section.order.GetSize() > 0;
}

void ContactTemplate::SetSectionEnabled(int number, BOOL value) {
  if (number < 0 || number >= SectionCount) return;
  TemplateSection& section = *sections[number];
  section.enabled = value ? 1 : 0;
  if (value && section.order.GetSize() == 0) FillDefaultOrder(number);
}

Str ContactTemplate::ShortLabelOf(int number, const Str& longLabel) const {
  if (number < 0 || number >= SectionCount) return longLabel;
  const TemplateSection& section = *sections[number];
  int index = FindLabel(section.labels, longLabel);
  if (index < 0 || index >= section.shortLabels.GetSize()) return longLabel;
  return section.shortLabels[index];
}

Str ContactTemplate::LongLabelOf(int number, const Str& shortLabel) const {
  if (number < 0 || number >= SectionCount) return shortLabel;
  const TemplateSection& section = *sections[number];
  int index = FindLabel(section.shortLabels, shortLabel);
  if (index < 0 || index >= section.labels.GetSize()) return shortLabel;
  return section.labels[index];
}
