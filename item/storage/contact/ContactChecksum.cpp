// The checksum of a contact, which the props store keeps beside the contact and compares with the
// quick checksum of the raw record (ContactDatabase::QuickChecksum): both must add the same terms.
#include "storage/contact/Contact.h"

#include <wchar.h>

uint32_t Contact::TextHash(const wchar_t* text) {
  if (text == nullptr) return 0;
  // Characters in pairs: the first as it is, the second in the high half, and a last one alone. The
  // two halves are summed apart and joined at the end (the shift spreads over the sum, which wraps the
  // same way). One walk to the end, two characters a step: the names and numbers of a record are
  // short, and a start's pass over every record of the book sums them all.
  uint32_t low = 0;
  uint32_t high = 0;
  for (const wchar_t* at = text;; at += 2) {
    const uint32_t first = static_cast<uint16_t>(at[0]);
    if (first == 0) break;
    low += first;
    const uint32_t second = static_cast<uint16_t>(at[1]);
    if (second == 0) break;
    high += second;
  }
  return low + (high << 16);
}

uint32_t Contact::BlobHash(const BYTE* data, uint32_t length) {
  // The bytes in pairs: the first as it is, the second shifted by a byte, and a last one alone; the
  // two are summed apart and joined at the end.
  uint32_t low = 0;
  uint32_t high = 0;
  uint32_t i = 0;
  for (; i + 1 < length; i += 2) {
    low += data[i];
    high += data[i + 1];
  }
  if (i < length) low += data[i];
  return length + low + (high << 8);
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
