// Where the contact manager's start goes, at one count of contacts (10,000 unless another is named):
// the whole start with the index in step and after ten changes by another program, each next to the
// parts it is made of, timed alone in the same way the start runs them. Medians of repeated starts,
// each in a state like the item's own start: the index files on disk, no mapping held by anyone, the
// device at rest (LetDeviceSettle).
//
// Usage: bench_start [COUNT [REPEATS]]
#include <windows.h>
#include <windbase.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>
#include <wchar.h>

#include "BenchBook.h"
#include "BenchFolder.h"
#include "BenchLetters.h"
#include "BenchTimer.h"
#include "DeviceDatabases.h"
#include "foundation/DataFolder.h"
#include "manager/core/ContactManager.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/contact/Contact.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/events/DbEventsListener.h"
#include "storage/events/DbMsgStack.h"
#include "storage/events/IdleWorkWindow.h"
#include "storage/index/ContactIndex.h"

namespace {

// Where the timed sums go, so that the compiler keeps them.
volatile uint32_t g_hashSink = 0;

const wchar_t kStore[] = L"\\Temp\\bench-start.cdb";
const int kChanges = 10;

std::wstring g_folder;
std::wstring IndexPath() { return g_folder + L"start-bench-index1.dat"; }
std::wstring PropsPath() { return g_folder + L"start-bench-index2.dat"; }

double Median(std::vector<double> values) {
  if (values.empty()) return -1;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// A manager on the bench's own index files, opened as a program without coordinator opens it.
class BenchManager {
 public:
  BenchManager() {
    manager.Index().Store().SetPath(IndexPath().c_str());
    manager.Index().Props().SetPath(PropsPath().c_str());
  }
  ~BenchManager() { manager.Close(); }
  double TimedOpen() {
    const double start = NowMs();
    const BOOL opened = manager.Open(GetModuleHandleW(nullptr), nullptr, nullptr, nullptr);
    const double ms = NowMs() - start;
    return opened ? ms : -1;
  }
  ContactManager& Get() { return manager; }

 private:
  ContactManager manager;
};

// What the hidden windows tell: nothing is done with it here.
class QuietTarget : public DbEventTarget {
 public:
  void OnDbEvent(DWORD, CEOID, CEOID) override {}
  void OnEventTimer() override {}
  void OnSaveTimer() override {}
  void OnIdleTimer() override {}
};

// The parts of a start in step, each timed alone, in the order the start runs them.
struct Parts {
  std::vector<double> groups, windows, database, stores, counts, copy, firstSearch, close;
  // For comparison, not part of the start: the same three windows, each a top-level one.
  std::vector<double> topLevelWindows;
};

void TimeTopLevelWindows(Parts& parts) {
  const HINSTANCE instance = GetModuleHandleW(nullptr);
  QuietTarget target;
  DbEventsListener events;
  DbMsgStack pending;
  IdleWorkWindow idle;
  const double at = NowMs();
  events.Create(instance, &target);
  pending.Create(instance, &target);
  idle.Create(instance, &target);
  parts.topLevelWindows.push_back(NowMs() - at);
}

void TimeParts(Parts& parts) {
  const HINSTANCE instance = GetModuleHandleW(nullptr);
  double at = NowMs();
  RebuildKeypadGroups();
  GetDataFolder();
  parts.groups.push_back(NowMs() - at);

  QuietTarget target;
  DbEventsListener events;
  DbMsgStack pending;
  IdleWorkWindow idle;
  at = NowMs();
  events.Create(instance, &target);
  pending.Create(instance, &target, events.GetHwnd());
  idle.Create(instance, &target, events.GetHwnd());
  parts.windows.push_back(NowMs() - at);

  ContactDatabase database;
  at = NowMs();
  database.Open(events.GetNotifyRequest());
  parts.database.push_back(NowMs() - at);

  ContactIndex index;
  index.Store().SetPath(IndexPath().c_str());
  index.Props().SetPath(PropsPath().c_str());
  at = NowMs();
  index.OpenStores(TRUE);
  parts.stores.push_back(NowMs() - at);

  at = NowMs();
  FILETIME time;
  DWORD count = 0;
  database.GetCountAndTime(time, count);
  parts.counts.push_back(NowMs() - at);
  // The copies begin once the start is through, as the manager lets them.
  index.StartLoading();

  at = NowMs();
  index.EnsureLoaded();
  parts.copy.push_back(NowMs() - at);

  Array<CEOID> ids;
  at = NowMs();
  index.FindPrefix(KeypadTree, L"2", ids);
  parts.firstSearch.push_back(NowMs() - at);

  at = NowMs();
  index.CloseStores();
  database.Close();
  idle.Destroy();
  pending.Destroy();
  events.Destroy();
  parts.close.push_back(NowMs() - at);
}

// The inspection's pass over the table alone: every record's quick checksum, in table order.
double TimeChecksumPass() {
  ContactDatabase database;
  if (!database.Open(nullptr)) return -1;
  const double at = NowMs();
  DbDatabase& table = database.Contacts();
  table.SetAtEnd(false);
  if (table.SeekIndex(0) == 0) table.SetAtEnd(true);
  int records = 0;
  while (!table.IsAtEnd()) {
    uint32_t sum = 0;
    CEOID oid = 0;
    if (!database.QuickChecksum(sum, oid)) break;
    ++records;
    table.SeekNext();
  }
  const double ms = NowMs() - at;
  if (records != static_cast<int>(BenchRecords().size()))
    std::printf("  (the pass read %d records)\n", records);
  return ms;
}

// A new mapping of the size the index files get, in the steps of its making: made, viewed, first
// word written (which pays for the whole mapping), a word in the middle written, let go.
struct MappingSteps {
  std::vector<double> make, view, firstTouch, secondTouch, release;
};

void TimeMapping(MappingSteps& steps, int round) {
  wchar_t name[64];
  swprintf(name, 64, L"START-BENCH-PROBE-%d-%lu", round, GetCurrentProcessId());
  double at = NowMs();
  HANDLE mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 0x800000, name);
  steps.make.push_back(NowMs() - at);
  at = NowMs();
  BYTE* view = static_cast<BYTE*>(MapViewOfFile(mapping, 0xF001F, 0, 0, 0));
  steps.view.push_back(NowMs() - at);
  at = NowMs();
  view[0] = 1;
  steps.firstTouch.push_back(NowMs() - at);
  at = NowMs();
  view[0x400000] = 1;
  steps.secondTouch.push_back(NowMs() - at);
  at = NowMs();
  UnmapViewOfFile(view);
  CloseHandle(mapping);
  steps.release.push_back(NowMs() - at);
}

// The parts of the inspection's pass alone, each as many times as the table has records: the steps to
// the next record, the reads of a record whole and of one property of it, and the sums over one
// record's values.
void TimeTableCalls(double* seeks, double* reads, double* smallReads, double* hashes) {
  ContactDatabase database;
  if (!database.Open(nullptr)) return;
  DbDatabase& table = database.Contacts();
  table.SeekIndex(0);
  const int count = static_cast<int>(BenchRecords().size());
  double at = NowMs();
  for (int k = 1; k < count; ++k) table.SeekNext();
  *seeks = NowMs() - at;
  table.SeekIndex(0);
  LPBYTE buffer = nullptr;
  DWORD size = 0;
  at = NowMs();
  for (int k = 0; k < count; ++k) {
    WORD props = 0;
    CeReadRecordProps(table.GetHandle(), CEDB_ALLOWREALLOC, &props, nullptr, &buffer, &size);
  }
  *reads = NowMs() - at;
  // The sums over what the reads gave: the same record's values hashed `count` times.
  {
    WORD props = 0;
    table.SeekIndex(count / 2);
    CeReadRecordProps(table.GetHandle(), CEDB_ALLOWREALLOC, &props, nullptr, &buffer, &size);
    const CEPROPVAL* values = reinterpret_cast<const CEPROPVAL*>(buffer);
    uint32_t sum = 0;
    at = NowMs();
    for (int k = 0; k < count; ++k) {
      for (WORD i = 0; i < props; ++i) {
        if (TypeFromPropID(values[i].propid) == CEVT_LPWSTR) sum += Contact::TextHash(values[i].val.lpwstr);
        if (TypeFromPropID(values[i].propid) == CEVT_BLOB)
          sum += Contact::BlobHash(values[i].val.blob.lpb, values[i].val.blob.dwCount);
      }
    }
    *hashes = NowMs() - at;
    g_hashSink = sum;
  }
  // One property only: what every read costs whatever the record holds.
  table.SeekIndex(0);
  CEPROPID one[] = {MAKE_CEPROPID(0x3A06, CEVT_LPWSTR)};
  at = NowMs();
  for (int k = 0; k < count; ++k) {
    WORD props = 1;
    CeReadRecordProps(table.GetHandle(), CEDB_ALLOWREALLOC, &props, one, &buffer, &size);
  }
  *smallReads = NowMs() - at;
  LocalFree(buffer);
}

void Row(const char* name, double ms) { std::printf("  %-52s %8.2f ms\n", name, ms); }

}  // namespace

int main(int argc, char** argv) {
  const int count = argc >= 2 ? std::atoi(argv[1]) : 10000;
  const int repeats = argc >= 3 ? std::atoi(argv[2]) : 9;
  if (count <= 0 || repeats <= 0) {
    std::printf("usage: bench_start [COUNT [REPEATS]]\n");
    return 2;
  }
  g_folder = MakeBenchFolder(L"pagemark-start-bench");
  SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", kStore);
  DeleteFileW(kStore);
  if (!MakeEmptyContactDatabases()) {
    std::printf("could not make the databases (error %lu)\n", GetLastError());
    return 1;
  }
  static LetterSetForRun letters;
  RebuildKeypadGroups();
  if (!HoldBenchContacts(count)) {
    std::printf("the database can't hold %d contacts (error %lu)\n", count, GetLastError());
    return 1;
  }
  {
    BenchManager bench;
    if (bench.TimedOpen() < 0 || !bench.Get().LastOpenReport().rebuilt) {
      std::printf("the first start didn't rebuild the index (error %lu)\n", GetLastError());
      return 1;
    }
  }

  std::vector<double> inStep, afterChanges;
  Parts parts;
  for (int r = 0; r < repeats; ++r) {
    {
      LetDeviceSettle();
      BenchManager bench;
      const double ms = bench.TimedOpen();
      if (ms < 0 || bench.Get().LastOpenReport().state != IndexInStep) {
        std::printf("the index isn't in step at a start\n");
        return 1;
      }
      inStep.push_back(ms);
    }
    TimeParts(parts);
    TimeTopLevelWindows(parts);
  }
  MappingSteps mapping;
  for (int r = 0; r < repeats; ++r) TimeMapping(mapping, r);
  // Starts one right after the other, as the search bench times them.
  std::vector<double> backToBack;
  for (int r = 0; r < repeats; ++r) {
    BenchManager bench;
    backToBack.push_back(bench.TimedOpen());
  }
  std::vector<double> checksums, firstSearchAfterChanges;
  for (int r = 0; r < repeats; ++r) {
    if (!ChangeBenchContacts(r, kChanges)) {
      std::printf("the records can't be changed (error %lu)\n", GetLastError());
      return 1;
    }
    LetDeviceSettle();
    BenchManager bench;
    const double ms = bench.TimedOpen();
    const IndexOpenReport& report = bench.Get().LastOpenReport();
    if (ms < 0 || !report.inspected || report.rebuilt || report.changed != kChanges) {
      std::printf("the start after %d changes didn't take them in singly (rebuilt %d, %d changed)\n",
                  kChanges, report.rebuilt, report.changed);
      return 1;
    }
    afterChanges.push_back(ms);
    // The start leaves the differences to whatever needs the index first: here a search, which waits
    // for the copies and writes them.
    Array<CEOID> ids;
    const double searchStart = NowMs();
    if (!bench.Get().KeypadSearch(Str(L"2"), 0, CategoryFilter(), ids) || bench.Get().AreChangesDue()) {
      std::printf("the first search after the start didn't take the changes in\n");
      return 1;
    }
    firstSearchAfterChanges.push_back(NowMs() - searchStart);
    checksums.push_back(TimeChecksumPass());
  }
  for (int r = 0; r < repeats; ++r) ChangeBenchContacts(r, kChanges);

  std::printf("start of the contact manager at %d contacts, medians of %d starts\n", count, repeats);
  Row("start, index in step", Median(inStep));
  Row("start, index in step, one start right after another", Median(backToBack));
  Row("  keypad groups and data folder", Median(parts.groups));
  Row("  three hidden windows (one top-level, two children)", Median(parts.windows));
  Row("  (for comparison) the three windows each top-level", Median(parts.topLevelWindows));
  Row("  contacts and categories databases opened", Median(parts.database));
  Row("  both index files opened, deferred", Median(parts.stores));
  Row("  the database's count and time", Median(parts.counts));
  Row("  (after the start) the copy, begun at once", Median(parts.copy));
  Row("  (after the start) first lookup", Median(parts.firstSearch));
  Row("  (after the start) closing it all", Median(parts.close));
  Row("a new 8 MB mapping made", Median(mapping.make));
  Row("  its view mapped", Median(mapping.view));
  Row("  its first word written", Median(mapping.firstTouch));
  Row("  a word in its middle written", Median(mapping.secondTouch));
  Row("  unmapped and closed", Median(mapping.release));
  Row("start after 10 changes", Median(afterChanges));
  Row("  (after the start) first search, with the apply", Median(firstSearchAfterChanges));
  Row("  the table's quick checksums alone", Median(checksums));
  double seeks = 0, reads = 0, smallReads = 0, hashes = 0;
  TimeTableCalls(&seeks, &reads, &smallReads, &hashes);
  Row("    steps to the next record alone", seeks);
  Row("    reads of one record alone", reads);
  Row("    reads of one property of one record alone", smallReads);
  Row("    the sums of one record's values, as often", hashes);

  RemoveBenchFolder(g_folder);
  // The store file goes, and the databases with it.
  DeleteFileW(kStore);
  return 0;
}
