// PhoneSelectWnd: what it shows. The numbers in the contact template's phone order and in the user's
// number form, and the heading's two lines.
#include "lists/PhoneSelectWnd.h"

#include "foundation/Settings.h"
#include "phone/PhoneTemplates.h"
#include "presentation/AppFolders.h"
#include "presentation/ContactTemplate.h"
#include "resources/ListIds.h"
#include "storage/contact/ContactNames.h"

void PhoneSelectWnd::SortByTemplate(int& selectedIndex) {
  const TemplateSection* phones = g_contactTemplate ? g_contactTemplate->GetSection(SectionPhone) : nullptr;
  if (!phones) return;
  int next = 0;
  for (int i = 0; i < phones->order.GetSize() && next < numbers.GetSize(); ++i) {
    const int labelIndex = phones->order[i];
    if (labelIndex < 0 || labelIndex >= phones->labels.GetSize()) continue;
    const Str& label = phones->labels[labelIndex];
    for (int j = next; j < numbers.GetSize(); ++j) {
      if (!(numbers[j].label == label)) continue;
      if (j != next) {
        const LabelValue moving = numbers[j];
        numbers.RemoveAt(j);
        numbers.InsertAt(next, moving);
        // The selection stays on its number: the one moved, or one that moved down to make room.
        if (selectedIndex == j)
          selectedIndex = next;
        else if (selectedIndex >= next && selectedIndex < j)
          ++selectedIndex;
      }
      ++next;
      break;
    }
  }
}

void PhoneSelectWnd::FormatNumbers(PhoneTemplates* templates) {
  if (!templates) return;
  for (int i = 0; i < numbers.GetSize(); ++i) templates->FormatNumber(numbers[i].value);
}

void PhoneSelectWnd::ComposeHeading() {
  name.Empty();
  second.Empty();
  if (GetSettingDword(SECTION_SETTINGS, L"SortType", 0) == 1) {
    name = contact.text[ContactField::FileAs];
    second = contact.text[ContactField::Company];
    if (name == second) second.Empty();
  } else {
    BuildName(contact.text[ContactField::LastName], contact.text[ContactField::FirstName],
              contact.text[ContactField::Company], contact.text[ContactField::MiddleName],
              contact.text[ContactField::Title], contact.text[ContactField::Suffix], name, second);
  }
  if (name.IsEmpty()) {
    name = second;
    second.Empty();
  }
  if (name.IsEmpty()) name.LoadResource(IDS_UNNAMED, GetModuleInstance());
}

BOOL PhoneSelectWnd::GetRowTexts(int row, Str& label, Str& number) const {
  if (row < 0 || row >= numbers.GetSize()) return FALSE;
  label = numbers[row].label;
  number = numbers[row].value;
  return TRUE;
}
