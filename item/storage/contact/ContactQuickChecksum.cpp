// The checksum of the current record, straight from the platform's raw property list, without making a
// Contact: the same terms as Contact::ComputeChecksum.
#include "storage/contact/ContactDatabase.h"

#include "foundation/DebugUtils.h"
#include "foundation/Handles.h"

bool ContactDatabase::QuickChecksum(uint32_t& checksum, CEOID& oid) {
  checksum = 0;
  WORD count = 0;
  // Through the buffer of the whole-record reads, which the platform fills again in place; a failed
  // read leaves it with the database all the same.
  m_read.count = 0;
  oid = CeReadRecordProps(m_contacts.GetHandle(), CEDB_ALLOWREALLOC, &count, nullptr, &m_read.buffer,
                          &m_read.size);
  const BYTE* buffer = m_read.buffer;
  if (oid == 0) {
    // The end of the table ends the walk that asks; a record deleted under it is a writer's race.
    DWORD error = GetLastError();
    if (error != ERROR_NO_MORE_ITEMS && error != ERROR_KEY_DELETED)
      LogCallFailure(L"CeReadRecordProps", error, L"the contacts database", L"ContactDatabase",
                     L"QuickChecksum", __LINE__);
    return false;
  }

  uint32_t sum = oid;
  const CEPROPVAL* values = reinterpret_cast<const CEPROPVAL*>(buffer);
  for (WORD i = 0; i < count && values != nullptr; ++i) {
    const CEPROPVAL& value = values[i];
    if ((value.wFlags & CEDB_PROPNOTFOUND) != 0) continue;
    WORD number = IdFromPropID(value.propid);
    switch (TypeFromPropID(value.propid)) {
      case CEVT_I4:
      case CEVT_UI4:
        if (number == kPropDefaultItem) sum += static_cast<uint32_t>(value.val.ulVal);
        break;
      case CEVT_LPWSTR:
        sum += Contact::TextHash(value.val.lpwstr);
        break;
      case CEVT_FILETIME:
        if (number == kPropBirthday || number == kPropAnniversary)
          sum += value.val.filetime.dwLowDateTime + value.val.filetime.dwHighDateTime;
        break;
      case CEVT_BLOB:
        if (number == kPropNote) sum += Contact::BlobHash(value.val.blob.lpb, value.val.blob.dwCount);
        break;
      default:
        break;
    }
  }
  checksum = sum;
  return true;
}
