// Helpers of the categories tests: a store file of their own, clean databases made by the test, and
// categories written and read with the platform's own calls, beside the code under test.
#pragma once

#include "WideText.h"
#include "foundation/Str.h"
#include "storage/db/ByteBuffer.h"

#include <windows.h>
#include <windbase.h>

#include <map>
#include <string>
#include <vector>

namespace cattest {

// The store file of the categories tests, unless PAGEMARK_OBJECT_STORE names one.
extern const wchar_t kTestStoreFile[];

// A property a test category leaves out.
const int kAbsent = -32768 - 1;

// A category record as the test writes it; kAbsent leaves a number out, an empty name leaves the
// name out.
struct Category {
  std::wstring name;
  int position = kAbsent;
  int visible = kAbsent;
  int contacts = kAbsent;
  int second = kAbsent;
  int third = kAbsent;
};
Category Visible(const std::wstring& name, int position, int contacts = 0);
Category Hidden(const std::wstring& name, int position, int contacts = 0);

// Fresh "Contacts Database" and "\Categories Database"; the categories database with the device's
// orders (position, then name), or with the position order alone.
void MakeCleanStore(bool withNameOrder = true);
// Writes a category record with the platform's calls; its oid.
CEOID PutCategory(const Category& category);
// Every 16-bit and text property of a categories record, read with the platform's calls: number ->
// value (texts under their number in `texts`). False when the record is gone.
struct RawCategory {
  std::map<WORD, int> numbers;
  std::map<WORD, std::wstring> texts;
  bool Has(WORD number) const { return numbers.count(number) != 0; }
  int Number(WORD number) const;
};
bool ReadCategory(CEOID oid, RawCategory& out);
// How many records the categories database holds.
int CategoryCount();
// The last modification time of the categories database, as one number.
unsigned long long CategoriesModified();
// The contacts count (0x4004) of record `oid`; kAbsent when it has none or is gone.
int ContactsCountOf(CEOID oid);

inline ByteBuffer Mask(const std::vector<BYTE>& bytes) {
  return ByteBuffer(bytes.data(), static_cast<uint32_t>(bytes.size()));
}
std::vector<BYTE> BytesOf(const ByteBuffer& buffer);

}  // namespace cattest
