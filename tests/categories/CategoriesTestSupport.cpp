#include "CategoriesTestSupport.h"

#include "DeviceDatabases.h"
#include "TestPaths.h"
#include "storage/categories/PPC2003CategoryDBManager.h"

namespace {

// The categories tests keep to a store file of their own.
testpaths::OwnObjectStore g_ownStore(cattest::kTestStoreFile);

const wchar_t kContacts[] = L"Contacts Database";
const wchar_t kCategories[] = L"\\Categories Database";

// A handle on the categories database in the platform's own order.
struct Handle {
  HANDLE handle = INVALID_HANDLE_VALUE;
  Handle() {
    CEOID oid = 0;
    handle = CeOpenDatabase(&oid, const_cast<LPWSTR>(kCategories), 0, 0, nullptr);
  }
  ~Handle() {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  }
};

void PutI2(std::vector<CEPROPVAL>& values, WORD number, int value) {
  if (value == cattest::kAbsent) return;
  CEPROPVAL v = {};
  v.propid = MAKE_CEPROPID(number, CEVT_I2);
  v.val.iVal = static_cast<short>(value);
  values.push_back(v);
}

}  // namespace

namespace cattest {

const wchar_t kTestStoreFile[] = L"\\windows\\test_categories.cdb";

Category Visible(const std::wstring& name, int position, int contacts) {
  Category category;
  category.name = name;
  category.position = position;
  category.visible = 1;
  category.contacts = contacts;
  category.second = 0;
  category.third = 0;
  return category;
}

Category Hidden(const std::wstring& name, int position, int contacts) {
  Category category = Visible(name, position, contacts);
  category.visible = 0;
  return category;
}

void MakeCleanStore(bool withNameOrder) {
  const DWORD text = CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_UNKNOWNFIRST;
  RecreateDatabase(kContacts, 0,
                   {{MAKE_CEPROPID(0x4013, CEVT_LPWSTR), text}, {MAKE_CEPROPID(0x3A11, CEVT_LPWSTR), text}});
  std::vector<SORTORDERSPEC> sorts = {{MAKE_CEPROPID(0x4002, CEVT_I2), 0}};
  if (withNameOrder) sorts.push_back({MAKE_CEPROPID(0x4001, CEVT_LPWSTR), CEDB_SORT_CASEINSENSITIVE});
  RecreateDatabase(kCategories, 0, sorts);
}

CEOID PutCategory(const Category& category) {
  std::vector<CEPROPVAL> values;
  if (!category.name.empty()) {
    CEPROPVAL v = {};
    v.propid = MAKE_CEPROPID(0x4001, CEVT_LPWSTR);
    v.val.lpwstr = const_cast<LPWSTR>(category.name.c_str());
    values.push_back(v);
  }
  PutI2(values, 0x4002, category.position);
  PutI2(values, 0x4003, category.visible);
  PutI2(values, 0x4004, category.contacts);
  PutI2(values, 0x4005, category.second);
  PutI2(values, 0x4006, category.third);
  Handle db;
  return CeWriteRecordProps(db.handle, 0, static_cast<WORD>(values.size()), values.data());
}

int RawCategory::Number(WORD number) const {
  auto found = numbers.find(number);
  return found == numbers.end() ? kAbsent : found->second;
}

bool ReadCategory(CEOID oid, RawCategory& out) {
  out = RawCategory();
  Handle db;
  DWORD index = 0;
  if (CeSeekDatabase(db.handle, CEDB_SEEK_CEOID, oid, &index) == 0) return false;
  WORD count = 0;
  BYTE* buffer = nullptr;
  DWORD size = 0;
  CEOID read = CeReadRecordProps(db.handle, CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size);
  if (read != 0) {
    const CEPROPVAL* values = reinterpret_cast<const CEPROPVAL*>(buffer);
    for (WORD i = 0; i < count; ++i) {
      WORD number = IdFromPropID(values[i].propid);
      if (TypeFromPropID(values[i].propid) == CEVT_I2)
        out.numbers[number] = values[i].val.iVal;
      else if (TypeFromPropID(values[i].propid) == CEVT_LPWSTR)
        out.texts[number] = values[i].val.lpwstr != nullptr ? values[i].val.lpwstr : L"";
    }
  }
  if (buffer != nullptr) LocalFree(buffer);
  return read != 0;
}

int CategoryCount() {
  CEOID oid = 0;
  HANDLE handle = CeOpenDatabase(&oid, const_cast<LPWSTR>(kCategories), 0, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return -1;
  CloseHandle(handle);
  CEOIDINFO info = {};
  if (!CeOidGetInfo(oid, &info)) return -1;
  return info.infDatabase.wNumRecords;
}

unsigned long long CategoriesModified() {
  CEOID oid = 0;
  HANDLE handle = CeOpenDatabase(&oid, const_cast<LPWSTR>(kCategories), 0, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return 0;
  CloseHandle(handle);
  CEOIDINFO info = {};
  if (!CeOidGetInfo(oid, &info)) return 0;
  return (static_cast<unsigned long long>(info.infDatabase.ftLastModified.dwHighDateTime) << 32) |
         info.infDatabase.ftLastModified.dwLowDateTime;
}

int ContactsCountOf(CEOID oid) {
  RawCategory raw;
  if (!ReadCategory(oid, raw)) return kAbsent;
  return raw.Number(0x4004);
}

std::vector<BYTE> BytesOf(const ByteBuffer& buffer) {
  if (buffer.GetLength() == 0) return {};
  return std::vector<BYTE>(buffer.GetData(), buffer.GetData() + buffer.GetLength());
}

}  // namespace cattest
