// The checksum of a contact, which the props store keeps beside the contact and compares with the
// quick checksum of the raw record (ContactDatabase::QuickChecksum): both must add the same terms.
#include "storage/contact/Contact.h"

#include <wchar.h>

uint32_t Contact::TextHash(const wchar_t* text) {
  if (text == nullptr) return 0;
  // Characters in pairs: the first as it is, the second in the high half, and a last one alone. The
  // length first, so that the sum runs over the pairs without a test for the end in between (which a
  // start's pass over every record of the book notices).
  const size_t length = wcslen(text);
  uint32_t sum = 0;
  size_t i = 0;
  for (; i + 1 < length; i += 2)
    sum += static_cast<uint32_t>(text[i]) + (static_cast<uint32_t>(text[i + 1]) << 16);
  if (i < length) sum += static_cast<uint32_t>(text[i]);
  return sum;
}

uint32_t Contact::BlobHash(const BYTE* data, uint32_t length) {
  uint32_t sum = length;
  // The bytes in pairs: the first as it is, the second shifted by a byte (the step counter of the
  // shift runs 0, 1, 0, 1, ...), and a last one alone.
  uint32_t i = 0;
  for (; i + 1 < length; i += 2)
    sum += static_cast<uint32_t>(data[i]) + (static_cast<uint32_t>(data[i + 1]) << 8);
  if (i < length) sum += static_cast<uint32_t>(data[i]);
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
