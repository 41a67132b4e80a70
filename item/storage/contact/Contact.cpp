#include "storage/contact/Contact.h"

#include <string.h>

namespace {

const BYTE kNoCategory = 0;

bool SameTime(const FILETIME& a, const FILETIME& b) {
  return a.dwLowDateTime == b.dwLowDateTime && a.dwHighDateTime == b.dwHighDateTime;
}

bool IsZeroTime(const FILETIME& time) { return time.dwLowDateTime == 0 && time.dwHighDateTime == 0; }

// An empty mask, or one of a single zero byte, holds no category.
bool HasNoCategory(const ByteBuffer& mask) {
  return mask.GetLength() == 0 || (mask.GetLength() == 1 && mask.GetData()[0] == 0);
}

}  // namespace

// --- ContactRoot ---------------------------------------------------------------------------------------------

ContactRoot::ContactRoot() : oid(0), defaultItem(0), flag102(0) {
  memset(&anniversary, 0, sizeof(anniversary));
  memset(&birthday, 0, sizeof(birthday));
}

ContactRoot::ContactRoot(const ContactRoot& other) : ContactRoot() { ContactRoot::CopyCore(other); }

ContactRoot& ContactRoot::operator=(const ContactRoot& other) {
  Assign(other);
  return *this;
}

ContactRoot::~ContactRoot() {}

void ContactRoot::CopyCore(const ContactRoot& other) {
  oid = other.oid;
  anniversary = other.anniversary;
  birthday = other.birthday;
  defaultItem = other.defaultItem;
  flag102 = other.flag102;
}

bool ContactRoot::EqualsCore(const ContactRoot& other) const {
  // flag102 is carried along and is no part of what makes two contacts the same.
  return oid == other.oid && SameTime(anniversary, other.anniversary) && SameTime(birthday, other.birthday) &&
         defaultItem == other.defaultItem;
}

bool ContactRoot::DiffersCore(const ContactRoot& other) const { return !EqualsCore(other); }

void ContactRoot::Clear() {
  oid = 0;
  memset(&anniversary, 0, sizeof(anniversary));
  memset(&birthday, 0, sizeof(birthday));
  defaultItem = 0;
  flag102 = 0;
}

bool ContactRoot::IsEmpty() const { return IsZeroTime(anniversary) && IsZeroTime(birthday); }

void ContactRoot::Assign(const ContactRoot& other) {
  if (this == &other) return;
  CopyCore(other);
}

bool ContactRoot::Equals(const ContactRoot& other) const { return this == &other || EqualsCore(other); }

bool ContactRoot::Differs(const ContactRoot& other) const { return !Equals(other); }

// --- ContactText ---------------------------------------------------------------------------------------------

ContactText::ContactText() : categories(&kNoCategory, 1) {}

ContactText::ContactText(const ContactText& other) : ContactRoot(), categories(&kNoCategory, 1) {
  ContactText::CopyCore(other);
}

ContactText& ContactText::operator=(const ContactText& other) {
  Assign(other);
  return *this;
}

void ContactText::CopyCore(const ContactRoot& other) {
  ContactRoot::CopyCore(other);
  const ContactText* fields = dynamic_cast<const ContactText*>(&other);
  if (fields == nullptr) return;
  for (int i = 0; i < kContactTextCount; ++i) text[i] = fields->text[i];
  scratch = fields->scratch;
  categories = fields->categories;
  noteBlob = fields->noteBlob;
}

bool ContactText::EqualsCore(const ContactRoot& other) const {
  if (!ContactRoot::EqualsCore(other)) return false;
  const ContactText* fields = dynamic_cast<const ContactText*>(&other);
  if (fields == nullptr) return false;
  for (int i = 0; i < kContactTextCount; ++i) {
    if (!Str::IsEqual(text[i], fields->text[i])) return false;
  }
  return categories.Equals(fields->categories) && noteBlob.Equals(fields->noteBlob);
}

void ContactText::Clear() {
  ContactRoot::Clear();
  for (int i = 0; i < kContactTextCount; ++i) text[i].Empty();
  scratch.RemoveAll();
  categories.Assign(&kNoCategory, 1);
  noteBlob.Empty();
}

bool ContactText::IsEmpty() const {
  if (!ContactRoot::IsEmpty()) return false;
  for (int i = 0; i < kContactTextCount; ++i) {
    if (!text[i].IsEmpty()) return false;
  }
  return noteBlob.IsEmpty() && HasNoCategory(categories);
}

// --- Contact -------------------------------------------------------------------------------------------------

Contact::Contact() : checksum(0), photoLoaded(false) {}

Contact::Contact(const Contact& other) : ContactText(), ContactExtended(), checksum(0), photoLoaded(false) {
  Contact::CopyCore(other);
}

Contact& Contact::operator=(const Contact& other) {
  Assign(other);
  return *this;
}

Contact::~Contact() {}

void Contact::CopyCore(const ContactRoot& other) {
  ContactText::CopyCore(other);
  const Contact* contact = dynamic_cast<const Contact*>(&other);
  if (contact == nullptr) return;
  CopyExtended(*contact);
  checksum = contact->checksum;
  rawNote = contact->rawNote;
  photoLoaded = contact->photoLoaded;
  photo = contact->photo;
}

bool Contact::EqualsCore(const ContactRoot& other) const {
  if (!ContactText::EqualsCore(other)) return false;
  const Contact* contact = dynamic_cast<const Contact*>(&other);
  if (contact == nullptr) return false;
  return ContactExtended::Equals(*contact);
}

void Contact::Clear() {
  ContactText::Clear();
  ClearExtended();
  checksum = 0;
  rawNote.Empty();
  photoLoaded = false;
  photo.Empty();
}

bool Contact::IsEmpty() const { return ContactText::IsEmpty() && IsExtendedEmpty(); }

void Contact::StripForSort() {
  for (int i = 0; i < kContactTextCount; ++i) {
    switch (i) {
      case ContactField::Title:
      case ContactField::FirstName:
      case ContactField::MiddleName:
      case ContactField::LastName:
      case ContactField::Company:
      case ContactField::FileAs:
        break;
      default:
        text[i].Empty();
        break;
    }
  }
  defaultItem = 0;
  memset(&anniversary, 0, sizeof(anniversary));
  memset(&birthday, 0, sizeof(birthday));
  categories.Empty();
  noteBlob.Empty();
  rawNote.Empty();
  photo.Empty();
}
