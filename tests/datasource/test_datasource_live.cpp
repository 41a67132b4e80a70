// The data source on the real contact manager and database: contacts written by someone else while it
// is open reach its searches once the gathering of changes has run, and the index files saved a little
// later pass the index check when read back from disk.
#include <doctest/doctest.h>

#include <algorithm>

#include "DataSourceTestSupport.h"
#include "DataSourceHelper.h"
#include "ManagerTestSupport.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/index/ContactIndex.h"
#include "storage/index/ContactKeySource.h"
#include "storage/index/IndexStore.h"
#include "storage/props/PropsStore.h"

using namespace dstest;

namespace {

std::vector<CEOID> Sorted(std::vector<CEOID> ids) {
  std::sort(ids.begin(), ids.end());
  return ids;
}

std::vector<CEOID> AllRows(const ContactDataSource& source) {
  std::vector<CEOID> ids;
  for (const std::vector<CEOID>& group : Groups(source)) ids.insert(ids.end(), group.begin(), group.end());
  return ids;
}

// The real data source of the process, opened on a fresh database, with a recording view.
struct LiveSource {
  RecordingView view;
  CategoryFilter noFilter;
  Array<CEOID> noKeep;

  explicit LiveSource(PimSync* sync = nullptr) {
    REQUIRE(g_contactManager == nullptr);
    REQUIRE(g_dataSource.Open(GetModuleHandleW(nullptr), nullptr, sync));
    g_dataSource.SetListener(&view);
  }
  ~LiveSource() { g_dataSource.Close(); }
  ContactDataSource& source() { return g_dataSource; }
  std::vector<CEOID> SearchAll() {
    REQUIRE(g_dataSource.SearchText(Str(), SortKindName, noFilter, noKeep, FALSE, nullptr));
    return AllRows(g_dataSource);
  }
};

// Copies of the two index files as they stand on disk, opened as an index of their own: a mapping
// made from the files, not the one the manager writes to.
struct IndexOnDisk {
  std::wstring indexCopy;
  std::wstring propsCopy;
  ContactIndex index;
  ContactDatabase database;
  DatabaseKeySource keys;

  IndexOnDisk() : keys(&database) {
    wchar_t folder[MAX_PATH];
    DWORD length = GetTempPathW(MAX_PATH, folder);
    indexCopy = std::wstring(folder, length) + L"ds_disk_index1.dat";
    propsCopy = std::wstring(folder, length) + L"ds_disk_index2.dat";
  }
  ~IndexOnDisk() {
    index.CloseStores();
    DeleteFileW(indexCopy.c_str());
    DeleteFileW(propsCopy.c_str());
  }
  // Copies and opens; false when the files on disk don't make a sound index of `count` contacts yet.
  bool Read(int count, std::string& report) {
    index.CloseStores();
    if (!CopyFileW(IndexStore::DefaultPath(), indexCopy.c_str(), FALSE)) return false;
    if (!CopyFileW(PropsStore::DefaultPath(), propsCopy.c_str(), FALSE)) return false;
    index.Store().SetPath(indexCopy.c_str());
    if (!index.Props().SetPath(propsCopy.c_str())) return false;
    if (!index.OpenStores()) return false;
    if (index.ContactCount() != count) return false;
    if (!database.Open(nullptr)) return false;
    index.SetKeySource(&keys);
    Str text;
    const bool sound = index.Check(text) != FALSE;
    report = Ascii(text);
    return sound;
  }
};

}  // namespace

TEST_CASE(
    "contacts written into the database while the data source is open reach its searches after the "
    "gathering") {
  managertest::FreshDevice();
  std::vector<CEOID> first = managertest::WriteGenerated(30);
  REQUIRE(first.size() == 30);
  LiveSource live;
  CHECK(Sorted(live.SearchAll()) == Sorted(first));

  // Five more, written by a second database object as another program would.
  std::vector<CEOID> more = managertest::WriteGenerated(5, 7, 30);
  REQUIRE(more.size() == 5);
  std::vector<CEOID> all = first;
  all.insert(all.end(), more.begin(), more.end());
  // Nothing changes before the messages are handled.
  CHECK(live.source().TotalRows() == 30);
  CHECK(PumpUntil([&] { return live.source().TotalRows() == 35; }, 10000));
  CHECK(Sorted(AllRows(live.source())) == Sorted(all));
  CHECK(live.view.resultsChanged >= 1);
  CHECK(live.view.lastEnable == 1);

  // A new name is found by the text search and by the keypad search of its keys.
  CEOID named = managertest::WriteNamed(L"Quuxley", L"Zebediah", L"Omnicorp");
  REQUIRE(named != 0);
  int group = -1, row = -1;
  CHECK(PumpUntil([&] { return live.source().FindPosition(named, group, row) != FALSE; }, 10000));
  REQUIRE(live.source().SearchText(Str(L"quux"), SortKindName, live.noFilter, live.noKeep, FALSE, nullptr));
  CHECK(AllRows(live.source()) == std::vector<CEOID>{named});
  REQUIRE(live.source().SearchKeypad(Str(L"pttw"), SortKindName, live.noFilter, live.noKeep, FALSE));
  CHECK(AllRows(live.source()) == std::vector<CEOID>{named});
  Contact* contact = nullptr;
  REQUIRE(live.source().GetCachedContact(0, 0, contact, 1));
  CHECK(Ascii(contact->text[ContactField::Company]) == "Omnicorp");

  // A change: the cached contact is let go and read anew.
  REQUIRE(managertest::TouchRecord(named, L"Initech"));
  CHECK(PumpUntil([&] { return live.source().FindCached(named) == nullptr; }, 10000));
  REQUIRE(live.source().GetCachedContact(0, 0, contact, 1));
  CHECK(Ascii(contact->text[ContactField::Company]) == "Initech");

  // A deletion: the remembered keypad search runs again and comes back empty; the view hears which.
  REQUIRE(managertest::DeleteRecord(named));
  CHECK(PumpUntil([&] { return !live.view.gone.empty(); }, 10000));
  CHECK(live.view.gone == std::vector<CEOID>{named});
  CHECK(live.source().TotalRows() == 0);
  CHECK(live.source().FindCached(named) == nullptr);

  // About two seconds after the last change the index files are saved; read back from disk they are
  // sound and hold every contact.
  IndexOnDisk disk;
  std::string report;
  CHECK(PumpUntil([&] { return disk.Read(35, report); }, 20000));
  CHECK(report == "");
}

TEST_CASE(
    "contacts written by another process reach the data source's searches, and the saved index holds them") {
  managertest::FreshDevice();
  std::vector<CEOID> first = managertest::WriteGenerated(12);
  REQUIRE(first.size() == 12);
  ClearHelperLog();
  LiveSource live;
  REQUIRE(live.SearchAll().size() == 12);
  // The remembered search is the text "written".
  REQUIRE(
      live.source().SearchText(Str(L"written"), SortKindName, live.noFilter, live.noKeep, FALSE, nullptr));
  CHECK(live.source().TotalRows() == 0);

  HelperProcess writer("W");
  CHECK(writer.Command(dshelper::CmdWriteNamed, 4) == 4);
  CHECK(PumpUntil([&] { return live.source().TotalRows() == 4; }, 10000));
  CHECK(live.view.resultsChanged >= 1);
  for (int row = 0; row < live.source().TotalRows(); ++row) {
    Contact* contact = nullptr;
    REQUIRE(live.source().GetCachedContact(0, row, contact, 1));
    CHECK(Ascii(contact->text[ContactField::FirstName]) == "Written");
  }
  // Under sort kind 2 they form one group without company.
  REQUIRE(
      live.source().SearchText(Str(L"written"), SortKindGrouped, live.noFilter, live.noKeep, FALSE, nullptr));
  CHECK(live.source().GroupCount() == 1);
  CHECK(live.source().RowsInGroup(0) == 4);
  CHECK(live.source().GroupTitle(0).IsEmpty());

  IndexOnDisk disk;
  std::string report;
  CHECK(PumpUntil([&] { return disk.Read(16, report); }, 20000));
  CHECK(report == "");
}
