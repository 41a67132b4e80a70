// The device's object store with generated contacts: writing them, reading all sequentially,
// seeking each by oid, and reading the five name properties of every record. Runs on a store file
// of its own, so the device's contacts are left alone.
#include <windows.h>
#include <windbase.h>
#include <cstdio>
#include <vector>
#include "BenchTimer.h"
#include "DeviceDatabases.h"
#include "Generator.h"
#include "storage/contact/ContactDatabase.h"

namespace {

const wchar_t kStore[] = L"\\Temp\\bench-objectstore.cdb";

void Row(const char* what, int count, double ms) {
  std::printf("  %-44s %9.1f ms  %9.1f us/record\n", what, ms, ms * 1000.0 / count);
}

void Run(int count) {
  if (!MakeEmptyContactDatabases()) {
    std::printf("could not create the databases (error %lu)\n", GetLastError());
    return;
  }
  std::vector<ToolContact> generated = GenerateContacts(count, 42);
  std::printf("%d generated contacts\n", count);

  ContactDatabase database;
  if (!database.Open(nullptr)) return;
  std::vector<CEOID> oids;
  double start = NowMs();
  for (const ToolContact& source : generated) {
    Contact contact;
    for (int f = 0; f < ToolFieldCount; ++f) contact.text[f] = source.text[f].c_str();
    database.AddContact(contact, true);
    oids.push_back(contact.oid);
  }
  Row("write every contact (AddContact)", count, NowMs() - start);

  DbDatabase& table = database.Contacts();
  double sequential = MedianMs(5, [&] {
    table.SeekIndex(0);
    DbRecord record;
    int read = 0;
    while (table.ReadRecord(record)) {
      ++read;
      table.SeekNext();
    }
    if (read != count) std::printf("  (read %d of %d)\n", read, count);
  });
  Row("read all sequentially (all properties)", count, sequential);

  double byOid = MedianMs(5, [&] {
    DbRecord record;
    for (CEOID oid : oids) {
      table.SeekOid(oid);
      table.ReadRecord(record);
    }
  });
  Row("seek each by oid and read it", count, byOid);

  const CEPROPID names[5] = {MAKE_CEPROPID(0x3A11, CEVT_LPWSTR), MAKE_CEPROPID(0x3A06, CEVT_LPWSTR),
                             MAKE_CEPROPID(0x3A16, CEVT_LPWSTR), MAKE_CEPROPID(0x4023, CEVT_LPWSTR),
                             MAKE_CEPROPID(0x0016, CEVT_BLOB)};
  double fiveNames = MedianMs(5, [&] {
    table.SeekIndex(0);
    DbRecord record;
    while (table.ReadRecord(record, 5, names)) table.SeekNext();
  });
  Row("read the 5 name properties of every record", count, fiveNames);

  ListFilter all;
  Array<ListEntry> entries;
  double enumeration = MedianMs(5, [&] { database.EnumerateContacts(all, entries); });
  Row("enumerate contacts for a list", count, enumeration);
  database.Close();

  WIN32_FILE_ATTRIBUTE_DATA info;
  if (GetFileAttributesExW(kStore, GetFileExInfoStandard, &info))
    std::printf("  store file now: %lu bytes (a log: earlier runs' entries stay until it is compacted)\n",
                info.nFileSizeLow);
}

}  // namespace

int main() {
  SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", kStore);
  DeleteFileW(kStore);
  std::printf("object store benchmark (medians of 5 runs where repeated)\n");
  Run(1000);
  Run(10000);
  return 0;
}
