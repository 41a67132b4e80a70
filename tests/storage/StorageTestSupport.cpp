#include "StorageTestSupport.h"

#include "TestPaths.h"

#include "storage/contact/ContactDatabase.h"

#include <stdio.h>

namespace {

// The storage tests keep to a store file of their own.
testpaths::OwnObjectStore g_ownStore(storetest::kTestStoreFile);

}  // namespace

namespace storetest {

const wchar_t kTestStoreFile[] = L"\\windows\\test_storage.cdb";

std::string Bytes(const ByteBuffer& buffer) {
  if (buffer.GetLength() == 0) return std::string();
  return std::string(reinterpret_cast<const char*>(buffer.GetData()), buffer.GetLength());
}

std::string Hex(const ByteBuffer& buffer) {
  std::string text;
  char piece[4];
  for (uint32_t i = 0; i < buffer.GetLength(); ++i) {
    snprintf(piece, sizeof(piece), "%02x", buffer.GetData()[i]);
    text += piece;
  }
  return text.empty() ? "-" : text;
}

std::map<CEPROPID, RawValue> RawRecord(HANDLE db, CEOID oid) {
  std::map<CEPROPID, RawValue> result;
  DWORD index = 0;
  if (CeSeekDatabase(db, CEDB_SEEK_CEOID, oid, &index) == 0) return result;
  WORD count = 0;
  BYTE* buffer = nullptr;
  DWORD size = 0;
  CEOID read = CeReadRecordProps(db, CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size);
  if (read != 0) {
    const CEPROPVAL* values = reinterpret_cast<const CEPROPVAL*>(buffer);
    for (WORD i = 0; i < count; ++i) {
      RawValue value;
      value.type = TypeFromPropID(values[i].propid);
      switch (value.type) {
        case CEVT_LPWSTR:
          value.text = values[i].val.lpwstr != nullptr ? values[i].val.lpwstr : L"";
          break;
        case CEVT_BLOB:
          value.blob.assign(reinterpret_cast<const char*>(values[i].val.blob.lpb),
                            values[i].val.blob.dwCount);
          break;
        case CEVT_FILETIME:
          value.time = values[i].val.filetime;
          break;
        case CEVT_I2:
          value.number = static_cast<uint32_t>(static_cast<int32_t>(values[i].val.iVal));
          break;
        case CEVT_UI2:
          value.number = values[i].val.uiVal;
          break;
        case CEVT_BOOL:
          value.number = static_cast<uint32_t>(values[i].val.boolVal);
          break;
        default:
          value.number = static_cast<uint32_t>(values[i].val.ulVal);
          break;
      }
      result[values[i].propid] = value;
    }
  }
  if (buffer != nullptr) LocalFree(buffer);
  return result;
}

bool HasNumber(const std::map<CEPROPID, RawValue>& record, WORD number) {
  for (const auto& entry : record) {
    if (IdFromPropID(entry.first) == number) return true;
  }
  return false;
}

bool RecordingCounter::CountContact(const ByteBuffer& mask) {
  calls.push_back("count " + Hex(mask));
  return true;
}

bool RecordingCounter::UncountContact(const ByteBuffer& mask) {
  calls.push_back("uncount " + Hex(mask));
  return true;
}

bool RecordingCounter::RecountContact(const ByteBuffer& oldMask, const ByteBuffer& newMask) {
  calls.push_back("recount " + Hex(oldMask) + " " + Hex(newMask));
  return true;
}

FILETIME TimeOf(uint32_t high, uint32_t low) {
  FILETIME time;
  time.dwHighDateTime = high;
  time.dwLowDateTime = low;
  return time;
}

Contact FullContact(int seed) {
  Contact contact;
  for (int i = 0; i < kContactTextCount; ++i) {
    wchar_t text[64];
    _snwprintf(text, 63, L"Field %d of contact %d \u00e4\u00df\u0416", i, seed);
    text[63] = 0;
    contact.text[i] = text;
  }
  contact.birthday = TimeOf(0x01C80000u + static_cast<uint32_t>(seed), 0x12345678u);
  contact.anniversary = TimeOf(0x01C90000u, 0x9ABCDEF0u + static_cast<uint32_t>(seed));
  contact.defaultItem = ContactTextId(ContactField::MobilePhone);
  std::string note = "Note of contact " + std::to_string(seed) + "\r\nsecond line";
  contact.noteBlob = BufferOf(note);
  std::string categories = std::string(1, static_cast<char>(1 << (seed % 8))) + std::string(3, '\0');
  contact.categories = BufferOf(categories);
  return contact;
}

}  // namespace storetest
