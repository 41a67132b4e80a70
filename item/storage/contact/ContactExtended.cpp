#include "storage/contact/ContactExtended.h"

namespace {

bool SameLabelValues(const LabelValueList& a, const LabelValueList& b) {
  if (a.GetSize() != b.GetSize()) return false;
  for (int i = 0; i < a.GetSize(); ++i) {
    if (!Str::IsEqual(a[i].label, b[i].label) || !Str::IsEqual(a[i].value, b[i].value)) return false;
  }
  return true;
}

bool SameMessengers(const Array<MessengerEntry>& a, const Array<MessengerEntry>& b) {
  if (a.GetSize() != b.GetSize()) return false;
  for (int i = 0; i < a.GetSize(); ++i) {
    if (!Str::IsEqual(a[i].kind, b[i].kind) || !Str::IsEqual(a[i].id, b[i].id) ||
        !Str::IsEqual(a[i].note, b[i].note))
      return false;
  }
  return true;
}

bool SameAddresses(const Array<AddressEntry>& a, const Array<AddressEntry>& b) {
  if (a.GetSize() != b.GetSize()) return false;
  for (int i = 0; i < a.GetSize(); ++i) {
    for (int part = 0; part < 5; ++part) {
      if (!Str::IsEqual(a[i].parts[part], b[i].parts[part])) return false;
    }
    if (a[i].format != b[i].format || !Str::IsEqual(a[i].label, b[i].label)) return false;
  }
  return true;
}

bool SameDates(const Array<DateEntry>& a, const Array<DateEntry>& b) {
  if (a.GetSize() != b.GetSize()) return false;
  for (int i = 0; i < a.GetSize(); ++i) {
    if (!Str::IsEqual(a[i].label, b[i].label) || a[i].value.dwLowDateTime != b[i].value.dwLowDateTime ||
        a[i].value.dwHighDateTime != b[i].value.dwHighDateTime)
      return false;
  }
  return true;
}

}  // namespace

ContactExtended::ContactExtended() : HomeFormat(0), WorkFormat(0), OtherFormat(0) {}

ContactExtended::~ContactExtended() {}

bool ContactExtended::Equals(const ContactExtended& other) const {
  return SameLabelValues(Phone, other.Phone) && SameLabelValues(Email, other.Email) &&
         SameLabelValues(WebPage, other.WebPage) && SameLabelValues(People, other.People) &&
         SameLabelValues(Link, other.Link) && SameLabelValues(OtherProp, other.OtherProp) &&
         SameMessengers(Messenger, other.Messenger) && SameAddresses(Address, other.Address) &&
         SameDates(Date, other.Date) && HomeFormat == other.HomeFormat && WorkFormat == other.WorkFormat &&
         OtherFormat == other.OtherFormat && Str::IsEqual(Image, other.Image);
}

bool ContactExtended::Differs(const ContactExtended& other) const { return !Equals(other); }

void ContactExtended::ClearExtended() {
  Phone.RemoveAll();
  Email.RemoveAll();
  WebPage.RemoveAll();
  People.RemoveAll();
  Link.RemoveAll();
  OtherProp.RemoveAll();
  Messenger.RemoveAll();
  Address.RemoveAll();
  Date.RemoveAll();
  HomeFormat = 0;
  WorkFormat = 0;
  OtherFormat = 0;
  Image.Empty();
}

bool ContactExtended::IsExtendedEmpty() const {
  return Phone.GetSize() == 0 && Email.GetSize() == 0 && WebPage.GetSize() == 0 && People.GetSize() == 0 &&
         Link.GetSize() == 0 && OtherProp.GetSize() == 0 && Messenger.GetSize() == 0 &&
         Address.GetSize() == 0 && Date.GetSize() == 0 && HomeFormat == 0 && WorkFormat == 0 &&
         OtherFormat == 0 && Image.IsEmpty();
}

void ContactExtended::CopyExtended(const ContactExtended& other) {
  if (this == &other) return;
  Phone = other.Phone;
  Email = other.Email;
  WebPage = other.WebPage;
  People = other.People;
  Link = other.Link;
  OtherProp = other.OtherProp;
  Messenger = other.Messenger;
  Address = other.Address;
  Date = other.Date;
  HomeFormat = other.HomeFormat;
  WorkFormat = other.WorkFormat;
  OtherFormat = other.OtherFormat;
  Image = other.Image;
}
