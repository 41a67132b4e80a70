// Helpers of the storage tests: readable text, clean databases made by the test itself, raw reads of
// a record through the platform's own calls, and a category counter that records its calls.
#pragma once

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

// UTF-8 copy of a wide text, so that doctest can print what it compares.
std::string U8(const wchar_t* text);
inline std::string U8(const Str& text) { return U8(static_cast<const wchar_t*>(text)); }
inline std::string U8(const std::wstring& text) { return U8(text.c_str()); }

std::string Bytes(const ByteBuffer& buffer);
inline ByteBuffer BufferOf(const std::string& bytes) {
  return ByteBuffer(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

// Deletes the database `name` if it exists; true when it is gone afterwards.
bool DeleteDatabaseNamed(const wchar_t* name);
// Deletes and creates `name` with the given sort orders; returns its oid.
CEOID RecreateDatabase(const wchar_t* name, DWORD type, std::vector<SORTORDERSPEC> sorts);

// The sort orders the tests give the two platform databases.
std::vector<SORTORDERSPEC> ContactSortOrders(bool withCompany = true);
std::vector<SORTORDERSPEC> CategorySortOrders();
// Fresh, empty "Contacts Database" and "\Categories Database".
void MakeCleanContactStore(bool withCompanySort = true);

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
