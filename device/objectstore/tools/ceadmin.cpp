// ceadmin: the device's databases from the command line.
//   ceadmin init          creates the platform's "Contacts Database" and "\Categories Database" if absent
//   ceadmin list          one line per database: oid, type, record count, sort orders, name
//   ceadmin drop NAME     deletes a database and its records
//   ceadmin check         reads the whole store (salvaging a damaged file) and says what it holds and
//                         what the last salvage recovered and lost; exit status 1 when that salvage
//                         lost records or the store can't be read, 0 otherwise
// The store is the device's (\windows\objectstore.cdb), or PAGEMARK_OBJECT_STORE's.
#include <windows.h>

#include <cstdio>
#include <string>

#include "../StoreAdmin.h"
#include "windbase.h"

namespace {

std::string Utf8(const wchar_t* w) {
  int n = WideCharToMultiByte(CP_UTF8, 0, w, -1, nullptr, 0, nullptr, nullptr);
  std::string s(n > 0 ? static_cast<size_t>(n - 1) : 0, '\0');
  if (n > 1) WideCharToMultiByte(CP_UTF8, 0, w, -1, &s[0], n, nullptr, nullptr);
  return s;
}

bool Exists(const wchar_t* name) {
  CEOID oid = 0;
  HANDLE h = CeOpenDatabase(&oid, const_cast<LPWSTR>(name), 0, 0, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  CloseHandle(h);
  return true;
}

int Create(const wchar_t* name, DWORD type, WORD count, SORTORDERSPEC* sorts) {
  if (Exists(name)) {
    std::printf("exists: %s\n", Utf8(name).c_str());
    return 0;
  }
  CEOID oid = CeCreateDatabase(const_cast<LPWSTR>(name), type, count, sorts);
  if (!oid) {
    std::fprintf(stderr, "ceadmin: cannot create %s: error %lu\n", Utf8(name).c_str(),
                 static_cast<unsigned long>(GetLastError()));
    return 1;
  }
  std::printf("created: %s (oid 0x%08lx)\n", Utf8(name).c_str(), static_cast<unsigned long>(oid));
  return 0;
}

int Init() {
  const DWORD text = CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_UNKNOWNFIRST;
  // File-as, last name, company and first name: the orders the contact screens offer.
  SORTORDERSPEC contacts[4] = {
      {0x4013001F, text}, {0x3A11001F, text}, {0x3A16001F, text}, {0x3A06001F, text}};
  // Category records by their bit position in a contact's mask, and by name.
  SORTORDERSPEC categories[2] = {{0x40020002, 0}, {0x4001001F, CEDB_SORT_CASEINSENSITIVE}};
  int rc = Create(L"Contacts Database", 0, 4, contacts);
  rc |= Create(L"\\Categories Database", 0, 2, categories);
  return rc;
}

int List() {
  HANDLE e = CeFindFirstDatabase(0);
  if (e == INVALID_HANDLE_VALUE) {
    std::fprintf(stderr, "ceadmin: cannot list: error %lu\n", static_cast<unsigned long>(GetLastError()));
    return 1;
  }
  CEOID oid;
  while ((oid = CeFindNextDatabase(e)) != 0) {
    CEOIDINFO info;
    if (!CeOidGetInfo(oid, &info)) continue;
    const CEDBASEINFO& d = info.infDatabase;
    std::printf("0x%08lx type 0x%lx records %u sorts", static_cast<unsigned long>(oid),
                static_cast<unsigned long>(d.dwDbaseType), d.wNumRecords);
    for (WORD i = 0; i < d.wNumSortOrder; ++i) {
      std::printf(" 0x%08lx/%lx", static_cast<unsigned long>(d.rgSortSpecs[i].propid),
                  static_cast<unsigned long>(d.rgSortSpecs[i].dwFlags));
    }
    std::printf(" name %s\n", Utf8(d.szDbaseName).c_str());
  }
  CloseHandle(e);
  return 0;
}

int Drop(const wchar_t* name) {
  CEOID oid = 0;
  HANDLE h = CeOpenDatabase(&oid, const_cast<LPWSTR>(name), 0, 0, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    std::fprintf(stderr, "ceadmin: no database %s\n", Utf8(name).c_str());
    return 1;
  }
  CloseHandle(h);
  if (!CeDeleteDatabase(oid)) {
    std::fprintf(stderr, "ceadmin: cannot drop %s: error %lu\n", Utf8(name).c_str(),
                 static_cast<unsigned long>(GetLastError()));
    return 1;
  }
  std::printf("dropped: %s\n", Utf8(name).c_str());
  return 0;
}

int Check() {
  PAGEMARK_STORE_CHECK c{};
  c.cbSize = sizeof c;
  if (!PagemarkStoreCheck(&c)) {
    DWORD err = GetLastError();
    std::fprintf(stderr, "ceadmin: the store can't be read: error %lu%s\n", static_cast<unsigned long>(err),
                 err == ERROR_FILE_CORRUPT ? " (refused, see the store's log)" : "");
    return 1;
  }
  std::printf("store %s: %lu databases, %lu records\n", Utf8(c.szStore).c_str(),
              static_cast<unsigned long>(c.dwDatabases), static_cast<unsigned long>(c.dwRecords));
  if (!c.dwSalvaged) {
    std::printf("never salvaged\n");
    return 0;
  }
  SYSTEMTIME st{};
  FileTimeToSystemTime(&c.ftSalvaged, &st);
  std::printf(
      "salvaged %04u-%02u-%02u %02u:%02u:%02u UTC from a damaged file: %lu records recovered, %lu lost\n",
      st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond,
      static_cast<unsigned long>(c.dwRecordsKept), static_cast<unsigned long>(c.dwRecordsLost));
  std::printf("damaged file kept as %s\n", Utf8(c.szDamagedCopy).c_str());
  return c.dwRecordsLost ? 1 : 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::wstring verb = argc > 1 ? argv[1] : L"";
  if (verb == L"init" && argc == 2) return Init();
  if (verb == L"list" && argc == 2) return List();
  if (verb == L"drop" && argc == 3) return Drop(argv[2]);
  if (verb == L"check" && argc == 2) return Check();
  std::fprintf(stderr, "usage: ceadmin init | list | drop NAME | check\n");
  return 2;
}
