// The contact page built from the record: the head's text and picture, and the rows of every section
// in the order of the contact template.
#include "foundation/Diagnostics.h"
#include "presentation/ContactTemplate.h"
#include "presentation/ContactView.h"
#include "presentation/CountryAddressFormats.h"
#include "presentation/Skin.h"
#include "resources/resource.h"
#include "storage/categories/PPC2003CategoryDBManager.h"

namespace {

// The labels of the name section, by name part.
const UINT kNamePartLabels[NamePartCount] = {
    IDS_LABEL_NAME,   IDS_LABEL_TITLE,     IDS_LABEL_FIRST,   IDS_LABEL_MIDDLE,     IDS_LABEL_LAST,
    IDS_LABEL_SUFFIX, IDS_LABEL_JOB_TITLE, IDS_LABEL_COMPANY, IDS_LABEL_DEPARTMENT, IDS_LABEL_FILE_AS};

// A photo larger than this square is scaled down for the head.
const int kHeadPhotoSide = 64;

const Str& LabelOf(const LabelValue& entry) { return entry.label; }
const Str& LabelOf(const DateEntry& entry) { return entry.label; }
const Str& LabelOf(const MessengerEntry& entry) { return entry.kind; }
const Str& LabelOf(const AddressEntry& entry) { return entry.label; }

// Removes the first entry under `label` into `out`; false when there is none.
template <class T>
bool TakeByLabel(Array<T>& list, const Str& label, T& out) {
  for (int i = 0; i < list.GetSize(); ++i) {
    if (Str::IsEqual(LabelOf(list[i]), label)) {
      out = list[i];
      list.RemoveAt(i);
      return true;
    }
  }
  return false;
}

// The rule of the template's order: the entries under each label of the order, in that order, all of
// them under one label together; then the entries whose labels the order lacks, in list order.
template <class T, class Emit>
void TakeInOrder(Array<T>& list, int section, Emit emit) {
  const TemplateSection* part = g_contactTemplate ? g_contactTemplate->GetSection(section) : nullptr;
  if (part) {
    for (int i = 0; i < part->order.GetSize(); ++i) {
      int index = part->order[i];
      if (index < 0 || index >= part->labels.GetSize()) continue;
      T entry;
      while (TakeByLabel(list, part->labels[index], entry)) emit(entry);
    }
  }
  for (int i = 0; i < list.GetSize(); ++i) emit(list[i]);
  list.RemoveAll();
}

Str ShortLabel(int section, const Str& longLabel) {
  return g_contactTemplate ? g_contactTemplate->ShortLabelOf(section, longLabel) : longLabel;
}

// The address on one line: the parts the country has, in its order, each after a blank once the text
// has begun. False when neither the address's country nor the default one is known.
bool AddressLine(const AddressEntry& address, Str& out) {
  CountryAddressFormats& formats = GetCountryAddressFormats();
  CountryAddressRow row;
  if (!formats.GetRow(static_cast<int>(address.format), row) &&
      !formats.GetRow(formats.GetDefaultIndex(), row))
    return false;
  out.Empty();
  for (int position = 0; position < AddressPartCount; ++position) {
    for (int part = 0; part < AddressPartCount; ++part) {
      if (row.position[part] != position) continue;
      if (!out.IsEmpty()) out += L' ';
      out += address.parts[part];
    }
  }
  return true;
}

Str FormatDate(const FILETIME& value) {
  SYSTEMTIME time;
  if (!FileTimeToSystemTime(&value, &time)) return Str();
  wchar_t text[80];
  int length = GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, text, 80);
  return length > 1 ? Str(text, length - 1) : Str();
}

}  // namespace

ContactViewModel::ContactViewModel() : photo(nullptr), photoOwned(0) {}

ContactViewModel::~ContactViewModel() { Clear(); }

void ContactViewModel::Clear() {
  if (photo && photoOwned) DeleteObject(photo);
  photo = nullptr;
  photoOwned = 0;
  headText.Empty();
  note = ByteBuffer();
  fields.RemoveAll();
  lists.Clear();
}

void ContactViewModel::AddRow(const Str& label, const Str& value, const Str& extra, int section, HICON icon) {
  ContactViewField field;
  field.label = ShortLabel(section, label);
  field.value = value;
  field.extra = extra;
  field.section = section;
  field.icon = icon;
  fields.Add(field);
}

void ContactViewModel::FillHead(Str& displayName, Str& company) {
  Str head;
  for (int index = 0; index < NamePartCount; ++index) {
    Str label;
    LOAD_STRING_OR_STOP(label, kNamePartLabels[index]);
    LabelValue entry;
    bool found = TakeByLabel(lists.name, label, entry);
    if (index == NamePartJobTitle) {
      // The name ends before the job title.
      if (!displayName.IsEmpty()) displayName += L"</B>";
      if (!head.IsEmpty()) head += L' ';
      head += displayName;
    }
    if (!found || index == NamePartFileAs) continue;
    if (index >= NamePartTitle && index <= NamePartSuffix) {
      if (!displayName.IsEmpty()) {
        displayName += L' ';
        displayName += entry.value;
      } else {
        displayName = Str(L"<B>") + entry.value;
      }
    } else if (index == NamePartCompany) {
      company = entry.value;
      if (!head.IsEmpty()) head += L'\n';
      if (displayName.IsEmpty())
        head += Str(L"<B>") + entry.value + L"</B>";
      else
        head += entry.value;
    } else {
      if (!head.IsEmpty()) head += L' ';
      head += entry.value;
    }
  }
  headText = head;
}

void ContactViewModel::FillPhoto(const Str& displayName, const Str& company) {
  Skin* skin = Skin::Get();
  if (!contact.photo.IsEmpty()) {
    ContactPhoto shown = contact.photo;
    int side = ScaleX(kHeadPhotoSide);
    if (shown.Width() > side || shown.Height() > side) ScalePhotoToSquare(shown, side);
    // A photo that can't be made into a bitmap leaves the page without a picture.
    photo = MakePhotoBitmap(shown);
    photoOwned = photo ? 1 : 0;
    return;
  }
  photoOwned = 0;
  if (displayName.IsEmpty() && !company.IsEmpty())
    photo = skin->GetCompanyBitmap();
  else if (contact.flag102)
    photo = skin->GetFlaggedBitmap();
  else
    photo = skin->GetPersonBitmap();
}

void ContactViewModel::Fill(const Contact& source) {
  Clear();
  contact = source;
  lists.Fill(contact);
  Skin* skin = Skin::Get();
  Str displayName, company;
  for (int section = 0; section <= 12; ++section) {
    switch (section) {
      case SectionName:
        FillHead(displayName, company);
        FillPhoto(displayName, company);
        break;
      case SectionPhone:
        TakeInOrder(lists.phones, section, [&](const LabelValue& entry) {
          AddRow(entry.label, entry.value, Str(), section, skin->GetPhoneIcon());
        });
        break;
      case SectionEmail:
        TakeInOrder(lists.emails, section, [&](const LabelValue& entry) {
          AddRow(entry.label, Str(L"<#004080><I>") + entry.value + L"</I></#>", Str(), section,
                 skin->GetMailIcon());
        });
        break;
      case SectionMessenger:
        TakeInOrder(lists.messengers, section, [&](const MessengerEntry& entry) {
          AddRow(entry.kind, entry.id + L" <B>" + entry.note + L"</B>", Str(), section, nullptr);
        });
        break;
      case SectionWeb:
        TakeInOrder(lists.webPages, section, [&](const LabelValue& entry) {
          AddRow(entry.label, Str(L"<I>") + entry.value + L"</I>", Str(), section, skin->GetWebIcon());
        });
        break;
      case SectionOffice: {
        const Str& office = contact.text[ContactField::Office];
        const TemplateSection* part = g_contactTemplate ? g_contactTemplate->GetSection(section) : nullptr;
        if (!office.IsEmpty()) {
          Str label;
          if (part && part->labels.GetSize() > 0)
            label = part->labels[0];
          else
            LOAD_STRING_OR_STOP(label, IDS_LABEL_OFFICE);
          AddRow(label, office, Str(), section, nullptr);
        }
        break;
      }
      case SectionAddress:
        TakeInOrder(lists.addresses, section, [&](const AddressEntry& entry) {
          Str line;
          if (AddressLine(entry, line)) AddRow(entry.label, line, Str(), section, nullptr);
        });
        break;
      case SectionCategory: {
        Array<Str> names;
        CategoriesDBManager categories;
        if (!contact.categories.IsEmpty() && categories.Open()) categories.NamesOf(contact.categories, names);
        if (names.GetSize() > 0) {
          Str joined;
          for (int i = 0; i < names.GetSize(); ++i) {
            if (i > 0) joined += L", ";
            joined += names[i];
          }
          Str label;
          LOAD_STRING_OR_STOP(label, IDS_LABEL_CATEGORIES);
          AddRow(label, joined, Str(), section, nullptr);
        }
        break;
      }
      case SectionPeople:
        TakeInOrder(lists.people, section, [&](const LabelValue& entry) {
          AddRow(entry.label, entry.value, Str(), section, nullptr);
        });
        break;
      case SectionDate:
        TakeInOrder(lists.dates, section, [&](const DateEntry& entry) {
          Str text = FormatDate(entry.value);
          if (!text.IsEmpty()) AddRow(entry.label, text, Str(), section, nullptr);
        });
        break;
      case SectionLink:
        TakeInOrder(lists.links, section, [&](const LabelValue& entry) {
          int slash = entry.value.ReverseFind(L'\\');
          Str name = slash >= 0 ? entry.value.Mid(slash + 1) : entry.value;
          AddRow(entry.label, name, entry.value, section, skin->GetLinkIcon());
        });
        break;
      case SectionOther:
        TakeInOrder(lists.other, section, [&](const LabelValue& entry) {
          AddRow(entry.label, entry.value, Str(), section, nullptr);
        });
        break;
      default:
        note = contact.rawNote;
        break;
    }
  }
}
