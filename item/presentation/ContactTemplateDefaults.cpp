// The template as the product ships it: the built-in labels from the string table, and the default
// choice of groups, order and name parts.
#include "foundation/Diagnostics.h"
#include "presentation/ContactTemplate.h"
#include "presentation/CountryAddressFormats.h"
#include "resources/ListIds.h"
#include "resources/resource.h"

namespace {

struct LabelIds {
  UINT longId;
  UINT shortId;
};

const LabelIds kNameLabels[] = {
    {IDS_LABEL_NAME, IDS_SHORT_NAME},
    {IDS_LABEL_TITLE, IDS_SHORT_TITLE},
    {IDS_LABEL_FIRST, IDS_FIELD_FIRST},
    {IDS_LABEL_MIDDLE, IDS_SHORT_MIDDLE},
    {IDS_LABEL_LAST, IDS_FIELD_LAST},
    {IDS_LABEL_SUFFIX, IDS_SHORT_SUFFIX},
    {IDS_LABEL_JOB_TITLE, IDS_SHORT_JOB_TITLE},
    {IDS_LABEL_COMPANY, IDS_FIELD_COMPANY},
    {IDS_LABEL_DEPARTMENT, IDS_SHORT_DEPARTMENT},
    {IDS_LABEL_FILE_AS, IDS_SHORT_FILE_AS},
};
const LabelIds kPhoneLabels[] = {
    {IDS_LABEL_WORK_PHONE, IDS_LABEL_WORK},
    {IDS_LABEL_HOME_PHONE, IDS_LABEL_HOME},
    {IDS_LABEL_MOBILE_PHONE, IDS_LABEL_MOBILE},
    {IDS_LABEL_HOME_FAX_PHONE, IDS_LABEL_HOME_FAX},
    {IDS_LABEL_WORK_FAX_PHONE, IDS_LABEL_WORK_FAX},
    {IDS_LABEL_CAR_PHONE, IDS_LABEL_CAR},
    {IDS_LABEL_PAGER_PHONE, IDS_LABEL_PAGER},
    {IDS_LABEL_RADIO_PHONE, IDS_LABEL_RADIO},
    {IDS_LABEL_ASSISTANT_PHONE, IDS_LABEL_ASSISTANT_SHORT},
    {IDS_LABEL_MMS, IDS_SHORT_MMS},
    {IDS_LABEL_COMPANY_PHONE, IDS_SHORT_COMPANY_PHONE},
};
const LabelIds kEmailLabels[] = {{IDS_LABEL_EMAIL, IDS_LABEL_EMAIL1},
                                 {IDS_LABEL_EMAIL_2, IDS_LABEL_EMAIL2},
                                 {IDS_LABEL_EMAIL_3, IDS_LABEL_EMAIL3}};
const LabelIds kMessengerLabels[] = {
    {IDS_LABEL_IM, IDS_SHORT_IM}, {IDS_LABEL_IM_2, IDS_SHORT_IM_2}, {IDS_LABEL_IM_3, IDS_SHORT_IM_3}};
const UINT kMessengerKinds[] = {IDS_MESSENGER_AOL, IDS_MESSENGER_ICQ, IDS_MESSENGER_MSN};
const LabelIds kWebLabels[] = {{IDS_LABEL_WEB, IDS_SHORT_WEB}};
const LabelIds kOfficeLabels[] = {{IDS_LABEL_OFFICE, IDS_SHORT_OFFICE}};
const LabelIds kAddressLabels[] = {{IDS_LABEL_WORK_ADDRESS, IDS_SHORT_WORK_ADDRESS},
                                   {IDS_LABEL_HOME_ADDRESS, IDS_SHORT_HOME_ADDRESS},
                                   {IDS_LABEL_OTHER_ADDRESS, IDS_SHORT_OTHER_ADDRESS}};
const LabelIds kCategoryLabels[] = {{IDS_LABEL_CATEGORIES, IDS_SHORT_CATEGORIES}};
const LabelIds kPeopleLabels[] = {{IDS_LABEL_ASSISTANT, IDS_SHORT_ASSISTANT},
                                  {IDS_LABEL_CHILDREN, IDS_SHORT_CHILDREN},
                                  {IDS_LABEL_SPOUSE, IDS_SHORT_SPOUSE},
                                  {IDS_LABEL_FRIEND, IDS_SHORT_FRIEND},
                                  {IDS_LABEL_MANAGER, IDS_SHORT_MANAGER}};
const LabelIds kDateLabels[] = {{IDS_LABEL_BIRTHDAY, IDS_SHORT_BIRTHDAY},
                                {IDS_LABEL_ANNIVERSARY, IDS_SHORT_ANNIVERSARY}};
const LabelIds kLinkLabels[] = {{IDS_LABEL_RINGTONE, IDS_LABEL_RINGTONE_SHORT},
                                {IDS_LABEL_LINKED_FILE, IDS_SHORT_LINKED_FILE}};
const LabelIds kOtherLabels[] = {{IDS_LABEL_NICKNAME, IDS_SHORT_NICKNAME},
                                 {IDS_LABEL_ACCOUNT, IDS_SHORT_ACCOUNT},
                                 {IDS_LABEL_CUSTOMER_ID, IDS_SHORT_CUSTOMER_ID},
                                 {IDS_LABEL_GOVERNMENT_ID, IDS_SHORT_GOVERNMENT_ID}};

struct SectionIds {
  const LabelIds* labels;
  int count;
  UINT promptId;  // 0: the section has no prompt
};

#define PM_LABELS(table) table, static_cast<int>(sizeof(table) / sizeof(table[0]))

const SectionIds kSections[SectionCount] = {
    {PM_LABELS(kNameLabels), 0},
    {PM_LABELS(kPhoneLabels), IDS_PROMPT_PHONE},
    {PM_LABELS(kEmailLabels), IDS_PROMPT_EMAIL},
    {PM_LABELS(kMessengerLabels), IDS_PROMPT_MESSENGER},
    {PM_LABELS(kWebLabels), IDS_PROMPT_WEB},
    {PM_LABELS(kOfficeLabels), IDS_PROMPT_OFFICE},
    {PM_LABELS(kAddressLabels), 0},
    {PM_LABELS(kCategoryLabels), IDS_PROMPT_CATEGORY},
    {PM_LABELS(kPeopleLabels), IDS_PROMPT_PEOPLE},
    {PM_LABELS(kDateLabels), IDS_PROMPT_DATE},
    {PM_LABELS(kLinkLabels), IDS_PROMPT_LINK},
    {PM_LABELS(kOtherLabels), IDS_PROMPT_OTHER},
};

// A missing string is reported under this name, with the line of the call.
const wchar_t kReporterName[] = L"ContactTemplate";

// The spouse is the one of the people shown by default.
const int32_t kDefaultPeopleLabel = 2;

}  // namespace

ContactTemplate* g_contactTemplate = nullptr;

ContactTemplate::ContactTemplate() : isDefault(0) {
  TemplateSection* all[SectionCount] = {&names,     &phones,     &emails, &messengers, &webPages, &office,
                                        &addresses, &categories, &people, &dates,      &links,    &others};
  for (int number = 0; number < SectionCount; ++number) {
    sections[number] = all[number];
    sections[number]->builtinCount = 0;
    sections[number]->enabled = 1;
  }
  messengers.typeBuiltinCount = 0;
  // Until a file or SetDefaults says otherwise: not collapsed, the name parts as the defaults show them.
  names.nameCollapsed = 0;
  for (int index = 0; index < NamePartCount; ++index) names.fieldFlags[index] = 1;
  names.fieldFlags[NamePartSuffix] = 0;
  names.fieldFlags[NamePartFileAs] = 0;
  LoadLabels();
}

ContactTemplate::~ContactTemplate() {}

void ContactTemplate::LoadLabels() {
  for (int number = 0; number < SectionCount; ++number) {
    TemplateSection& section = *sections[number];
    const SectionIds& ids = kSections[number];
    section.labels.SetSize(ids.count);
    section.shortLabels.SetSize(ids.count);
    for (int i = 0; i < ids.count; ++i) {
      LoadStringOrStop(section.labels[i], ids.labels[i].longId, kReporterName, __LINE__);
      LoadStringOrStop(section.shortLabels[i], ids.labels[i].shortId, kReporterName, __LINE__);
    }
    section.builtinCount = ids.count;
    if (ids.promptId != 0) LoadStringOrStop(section.prompt, ids.promptId, kReporterName, __LINE__);
  }
  const int kinds = static_cast<int>(sizeof(kMessengerKinds) / sizeof(kMessengerKinds[0]));
  messengers.typeLabels.SetSize(kinds);
  for (int i = 0; i < kinds; ++i)
    LoadStringOrStop(messengers.typeLabels[i], kMessengerKinds[i], kReporterName, __LINE__);
  messengers.typeBuiltinCount = kinds;
}

void ContactTemplate::FillDefaultOrder(int number) {
  if (number < 0 || number >= SectionCount) return;
  TemplateSection& section = *sections[number];
  section.order.RemoveAll();
  switch (number) {
    case SectionPhone:
      for (int32_t i = 0; i < 3; ++i) section.order.Add(i);
      break;
    case SectionMessenger:
      section.order.Add(0);
      if (messengers.typeOrder.GetSize() == 0) messengers.typeOrder.Add(0);
      break;
    case SectionAddress:
      section.order.Add(0);
      addresses.addressFormats.RemoveAll();
      addresses.addressFormats.Add(GetCountryAddressFormats().GetDefaultIndex());
      break;
    case SectionPeople:
      section.order.Add(kDefaultPeopleLabel);
      break;
    case SectionOther:
      for (int32_t i = 0; i < section.labels.GetSize(); ++i) section.order.Add(i);
      break;
    default:
      section.order.Add(0);
      break;
  }
}

void ContactTemplate::SetDefaults() {
  Reset();
  names.nameCollapsed = 0;
  for (int index = 0; index < NamePartCount; ++index) names.fieldFlags[index] = 1;
  names.fieldFlags[NamePartSuffix] = 0;
  names.fieldFlags[NamePartFileAs] = 0;
  const int filled[] = {SectionPhone,  SectionEmail, SectionMessenger, SectionWeb,  SectionAddress,
                        SectionPeople, SectionDate,  SectionLink,      SectionOther};
  for (int number : filled) FillDefaultOrder(number);
  webPages.enabled = 0;
  people.enabled = 0;
  others.enabled = 0;
  isDefault = 1;
}
