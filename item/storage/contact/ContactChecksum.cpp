// The checksum of a contact, which the props store keeps beside the contact and compares with the
// quick checksum of the raw record (ContactDatabase::QuickChecksum): both must add the same terms.
#include "storage/contact/Contact.h"

uint32_t Contact::TextHash(const wchar_t* text) {
  uint32_t sum = 0;
  if (text == nullptr) return 0;
  // Characters in pairs: the first as it is, the second in the high half.
  for (const wchar_t* p = text; *p != 0; ++p) {
    sum += static_cast<uint32_t>(*p);
    ++p;
    if (*p == 0) break;
    sum += static_cast<uint32_t>(*p) << 16;
  }
  return sum;
}

uint32_t Contact::BlobHash(const BYTE* data, uint32_t length) {
  uint32_t sum = length;
  uint32_t shift = 0;
  for (uint32_t i = 0; i < length; ++i) {
    sum += static_cast<uint32_t>(data[i]) << (shift * 8);
    // The step counter runs 0, 1, 0, 1, ...
    shift = (shift + 1) & 0x11;
  }
  return sum;
}

uint32_t Contact::ComputeChecksum() const {
  uint32_t sum = defaultItem;
  sum += oid;
  sum += anniversary.dwLowDateTime;
  sum += anniversary.dwHighDateTime;
  sum += birthday.dwLowDateTime;
  sum += birthday.dwHighDateTime;
  for (int i = 0; i < kContactTextCount; ++i) sum += TextHash(text[i]);
  sum += BlobHash(noteBlob.GetData(), noteBlob.GetLength());
  return sum;
}
