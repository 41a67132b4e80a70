// Helpers of the storage tests: raw reads of a record through the platform's own calls and a category
// counter that records its calls; readable text and clean databases come from the shared helpers.
#pragma once

#include "DeviceDatabases.h"
#include "WideText.h"
#include "foundation/Str.h"
#include "storage/db/ByteBuffer.h"
#include "storage/categories/CategoryCounter.h"
#include "storage/contact/Contact.h"

#include <windows.h>
#include <windbase.h>

#include <map>
#include <string>
#include <vector>

namespace storetest {

// The store file of the storage tests, unless PAGEMARK_OBJECT_STORE names one.
extern const wchar_t kTestStoreFile[];

std::string Bytes(const ByteBuffer& buffer);
inline ByteBuffer BufferOf(const std::string& bytes) {
  return ByteBuffer(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

// Every property of record `oid` of database `db`, read with the platform's own calls: id -> value.
struct RawValue {
  WORD type = 0;
  std::wstring text;
  std::string blob;
  uint32_t number = 0;
  FILETIME time = {};
};
std::map<CEPROPID, RawValue> RawRecord(HANDLE db, CEOID oid);
bool HasNumber(const std::map<CEPROPID, RawValue>& record, WORD number);

// Records the calls that contact writes make to the category counters.
class RecordingCounter : public CategoryCounter {
 public:
  bool CountContact(const ByteBuffer& mask) override;
  bool UncountContact(const ByteBuffer& mask) override;
  bool RecountContact(const ByteBuffer& oldMask, const ByteBuffer& newMask) override;
  std::vector<std::string> calls;  // "count <hex>", "uncount <hex>", "recount <hex> <hex>"
};
std::string Hex(const ByteBuffer& buffer);

FILETIME TimeOf(uint32_t high, uint32_t low);

// A contact with every text field filled with a text of its own, both dates, a default item, a Note
// and categories.
Contact FullContact(int seed);

}  // namespace storetest
