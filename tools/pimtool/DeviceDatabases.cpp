#include "DeviceDatabases.h"

#include "storage/contact/ContactDatabase.h"

bool DeleteDatabaseNamed(const wchar_t* name) {
  for (;;) {
    CEOID oid = 0;
    HANDLE handle = CeOpenDatabase(&oid, const_cast<LPWSTR>(name), 0, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_FILE_NOT_FOUND;
    CloseHandle(handle);
    if (!CeDeleteDatabase(oid)) return false;
  }
}

CEOID RecreateDatabase(const wchar_t* name, DWORD type, std::vector<SORTORDERSPEC> sorts) {
  DeleteDatabaseNamed(name);
  return CeCreateDatabase(const_cast<LPWSTR>(name), type, static_cast<WORD>(sorts.size()),
                          sorts.empty() ? nullptr : sorts.data());
}

std::vector<SORTORDERSPEC> ContactSortOrders(bool withCompany) {
  const DWORD text = CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_UNKNOWNFIRST;
  std::vector<SORTORDERSPEC> sorts = {{MAKE_CEPROPID(0x4013, CEVT_LPWSTR), text},
                                      {MAKE_CEPROPID(0x3A11, CEVT_LPWSTR), text}};
  if (withCompany) sorts.push_back({MAKE_CEPROPID(0x3A16, CEVT_LPWSTR), text});
  sorts.push_back({MAKE_CEPROPID(0x3A06, CEVT_LPWSTR), text});
  return sorts;
}

std::vector<SORTORDERSPEC> CategorySortOrders() {
  return {
      {MAKE_CEPROPID(0x4002, CEVT_I2), 0},
      {MAKE_CEPROPID(0x4001, CEVT_LPWSTR), CEDB_SORT_CASEINSENSITIVE},
  };
}

bool MakeEmptyContactDatabases(bool withCompanySort) {
  const bool contacts = RecreateDatabase(kContactsDatabaseName, 0, ContactSortOrders(withCompanySort)) != 0;
  const bool categories = RecreateDatabase(kCategoriesDatabaseName, 0, CategorySortOrders()) != 0;
  return contacts && categories;
}
