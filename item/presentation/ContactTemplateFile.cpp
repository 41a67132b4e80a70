// The template and "Contact template.tpl": Load overlays the file on the built-in labels, Save writes
// the whole template.
#include "presentation/ContactTemplate.h"
#include "presentation/TextConfigFile.h"

namespace {

// Each line in turn: found among the labels, or added behind them, and its index put in the order.
// Lines that appear twice are kept twice. The lines are used up.
void MergeLines(Array<Str>& lines, Array<Str>& labels, Array<int32_t>& order) {
  for (int i = 0; i < lines.GetSize(); ++i) {
    int index = -1;
    for (int j = 0; j < labels.GetSize(); ++j) {
      if (labels[j] == lines[i]) {
        index = j;
        break;
      }
    }
    if (index < 0) index = labels.Add(lines[i]);
    order.Add(index);
  }
  lines.RemoveAll();
}

void MergeSection(TemplateSection& section, Array<Str>& lines) {
  MergeLines(lines, section.labels, section.order);
}

// Files of older versions named phones and addresses by a single word; they stand for today's labels.
void ReplaceWord(Array<Str>& lines, const wchar_t* word, const Str& label) {
  for (int i = 0; i < lines.GetSize(); ++i) {
    if (lines[i] == word) lines[i] = label;
  }
}

}  // namespace

BOOL ContactTemplate::Load(const wchar_t* file) {
  Reset();
  path = file;
  TextConfigFile config;
  if (!config.Open(file, FALSE)) return FALSE;

  config.ReadFlag(L"NameColl", names.nameCollapsed);
  for (int index = 0; index < NamePartCount; ++index) {
    if (IsSwitchableNamePart(index)) {
      Str section;
      section.Format(L"Field%d", index);
      config.ReadFlag(section, names.fieldFlags[index]);
    } else {
      names.fieldFlags[index] = 1;
    }
  }

  Array<Str> lines;
  if (config.ReadStrings(SectionFileName(SectionPhone), lines)) {
    ReplaceWord(lines, L"Work", phones.labels[0]);
    ReplaceWord(lines, L"Home", phones.labels[1]);
    ReplaceWord(lines, L"Assistant", phones.labels[8]);
    MergeSection(phones, lines);
  }
  if (config.ReadStrings(SectionFileName(SectionEmail), lines)) MergeSection(emails, lines);
  if (config.ReadStrings(SectionFileName(SectionMessenger), lines)) MergeSection(messengers, lines);
  if (config.ReadStrings(L"MsgType", lines)) MergeLines(lines, messengers.typeLabels, messengers.typeOrder);
  if (config.ReadStrings(SectionFileName(SectionWeb), lines)) MergeSection(webPages, lines);
  config.ReadFlag(SectionFileName(SectionOffice), office.enabled);
  if (config.ReadStrings(SectionFileName(SectionAddress), lines)) {
    ReplaceWord(lines, L"Work", addresses.labels[0]);
    ReplaceWord(lines, L"Home", addresses.labels[1]);
    ReplaceWord(lines, L"Other", addresses.labels[2]);
    MergeSection(addresses, lines);
  }
  config.ReadNumbers(L"AddrFormat", addresses.addressFormats);
  config.ReadFlag(SectionFileName(SectionCategory), categories.enabled);
  const int lists[] = {SectionPeople, SectionDate, SectionLink, SectionOther};
  for (int number : lists) {
    if (config.ReadStrings(SectionFileName(number), lines)) MergeSection(*sections[number], lines);
  }
  config.Close();
  isDefault = 0;
  return TRUE;
}

BOOL ContactTemplate::Save(const wchar_t* file) const {
  TextConfigFile config;
  if (!config.Open(file, TRUE)) return FALSE;
  BOOL written = config.WriteFlag(L"NameColl", names.nameCollapsed);
  for (int index = 0; written && index < NamePartCount; ++index) {
    if (!IsSwitchableNamePart(index)) continue;
    Str section;
    section.Format(L"Field%d", index);
    written = config.WriteFlag(section, names.fieldFlags[index]);
  }
  // A section that is off is left out: read back, it is on with an empty order, which shows nothing.
  const int lists[] = {SectionPhone, SectionEmail, SectionMessenger, SectionWeb};
  for (int number : lists) {
    const TemplateSection& section = *sections[number];
    if (!written || !section.enabled) continue;
    written = config.WriteStrings(SectionFileName(number), section.labels, section.order);
    if (written && number == SectionMessenger)
      written = config.WriteStrings(L"MsgType", messengers.typeLabels, messengers.typeOrder);
  }
  if (written) written = config.WriteFlag(SectionFileName(SectionOffice), office.enabled);
  if (written && addresses.enabled) {
    written = config.WriteStrings(SectionFileName(SectionAddress), addresses.labels, addresses.order) &&
              config.WriteNumbers(L"AddrFormat", addresses.addressFormats);
  }
  if (written) written = config.WriteFlag(SectionFileName(SectionCategory), categories.enabled);
  const int tail[] = {SectionPeople, SectionDate, SectionLink, SectionOther};
  for (int number : tail) {
    const TemplateSection& section = *sections[number];
    if (!written || !section.enabled) continue;
    written = config.WriteStrings(SectionFileName(number), section.labels, section.order);
  }
  DWORD error = written ? NO_ERROR : GetLastError();
  config.Close();
  if (!written) SetLastError(error);
  return written;
}
