// The contact manager's searches against two ways of doing without its index, on the same generated
// contacts in the device's contacts database: 1,000, 10,000 and the largest count whose full rebuild
// fits the index mapping.
//
// This program measures the manager (full rebuild at start, start with the index in step, start after
// ten changes made by another program, keypad searches of 1 to 5 keys, text searches of one and two
// words, the lookup of a caller by the last seven digits of a number) and the first peer
// (bench/NaivePeer.h): what a dialer without an index does, holding every contact's words in memory in
// name-list order, mapping them to keypad keys anew for each query and ranking its match by name. For
// the second peer, a native SQLite program (bench/sqlite_peer.cpp), it writes each count's contacts
// (ids, name-list positions, words, keypad words, phone digits, name words and their keys), the query
// list and the manager's result for every query to `search-COUNT.txt` in the folder named on the
// command line; that program runs the same queries, compares its results, contacts and order, and
// prints the whole table (scripts/bench-search.sh runs both). Without a folder this program prints the
// figures of the manager and the first peer itself.
//
// Usage: bench_search [FOLDER [COUNT...]]   the counts replace 1,000, 10,000 and the largest.
//
// The contacts database lives in a store file of the bench's own and the index files in a folder of
// its own, so the device's contacts and the item's index are left alone. The letter set is English and
// Russian for the run (the generated names are of both), and the setting is put back afterwards.
#include <windows.h>
#include <windbase.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "BenchBook.h"
#include "BenchFolder.h"
#include "BenchLetters.h"
#include "BenchTimer.h"
#include "NaivePeer.h"
#include "SearchQueries.h"
#include "DeviceDatabases.h"
#include "Output.h"
#include "manager/core/ContactManager.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/mapped/MappedFile.h"

namespace {

const wchar_t kStore[] = L"\\Temp\\bench-search.cdb";
// Timed passes over the query list, over opens and over rebuilds; the figures are their medians.
const int kSearchRepeats = 5;
const int kOpenRepeats = 5;
// Timed starts with the index in step and after changes: their spread is wider than a search's.
const int kStartRepeats = 9;
const int kRebuildRepeats = 3;
// Records another program changes while the item is away.
const int kChanges = 10;
// The shortest tail of a number that the caller lookup still tries.
const int kMinDigits = 4;

// --- small helpers ---------------------------------------------------------------------------------------

std::vector<uint32_t> InOrder(const Array<CEOID>& ids) {
  std::vector<uint32_t> out;
  for (int k = 0; k < ids.GetSize(); ++k) out.push_back(static_cast<uint32_t>(ids[k]));
  return out;
}

void Progress(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vfprintf(stdout, format, args);
  va_end(args);
  std::fflush(stdout);
}

// --- the manager -----------------------------------------------------------------------------------------

std::wstring g_folder;  // the index files' folder
// Whether this program runs alone and prints its own figures.
bool g_summary = false;

std::wstring IndexPath() { return g_folder + L"search-bench-index1.dat"; }
std::wstring PropsPath() { return g_folder + L"search-bench-index2.dat"; }

void DeleteIndexFiles() {
  DeleteFileW(IndexPath().c_str());
  DeleteFileW(PropsPath().c_str());
}

// The manager with the stages of its searches within reach, so that their parts can be timed alone.
class StagedManager : public ContactManager {
 public:
  // The lookup alone, over positions an earlier OrderedMatch brought in step.
  void MatchPositions(const Str& query, BOOL keypad, PositionSet& hits) {
    aids.Match(Index().Tree(keypad ? KeypadTree : WordTree), query, keypad, hits);
  }
  using ContactManager::OrderedMatch;
  using ContactManager::ReorderByName;
};

// The manager as a program without a coordinator opens it: it may write the index.
class BenchManager {
 public:
  BenchManager() {
    manager.Index().Store().SetPath(IndexPath().c_str());
    manager.Index().Props().SetPath(PropsPath().c_str());
  }
  ~BenchManager() { manager.Close(); }
  // Opens and gives the time it took in milliseconds, or a negative number when the open failed.
  double TimedOpen() {
    const double start = NowMs();
    const BOOL opened = manager.Open(GetModuleHandleW(nullptr), nullptr, nullptr, nullptr);
    const double ms = NowMs() - start;
    error = opened ? 0 : GetLastError();
    return opened ? ms : -1;
  }
  // Closes; a save still due is made now and waited for.
  void Close() { manager.Close(); }
  StagedManager& Get() { return manager; }
  DWORD error = 0;

 private:
  StagedManager manager;
};

// --- the product's queries ------------------------------------------------------------------------------

bool RunProduct(ContactManager& manager, QueryKind kind, const std::wstring& query, Array<CEOID>& ids) {
  const CategoryFilter everyone;
  const Str text(query.c_str());
  switch (kind) {
    case Phone:
      manager.FindByPhone(text, ids, nullptr, kMinDigits, 0);
      return true;
    case Text1:
    case Text2:
      return manager.Search(text, SortKindName, everyone, ids, nullptr) != FALSE;
    default:
      return manager.KeypadSearch(text, SortKindName, everyone, ids) != FALSE;
  }
}

// The three stages of a keypad or text search, each timed alone over the query list: the lookup in the
// index (the match gathered as name-list positions), the read-off of the match in list order, and the
// ranking by name (from the name-key cache, for queries of two characters or more).
struct Stages {
  double lookupUs = 0, orderUs = 0, rankUs = 0;
};

Stages TimeStages(StagedManager& manager, QueryKind kind, const std::vector<std::wstring>& list) {
  const BOOL keypad = kind != Text1 && kind != Text2 ? TRUE : FALSE;
  const CategoryFilter everyone;
  std::vector<Str> queries;
  for (const std::wstring& query : list) queries.push_back(Str(query.c_str()));
  std::vector<Array<CEOID>> ordered(list.size());
  std::vector<Array<int32_t>> orderedAt(list.size());
  for (size_t q = 0; q < list.size(); ++q) {
    BOOL handled = FALSE;
    manager.OrderedMatch(queries[q], keypad, SortKindName, everyone, ordered[q], handled, &orderedAt[q]);
  }
  Array<CEOID> ids;
  PositionSet hits;
  Stages stages;
  stages.lookupUs = MedianMs(kSearchRepeats,
                             [&] {
                               for (const Str& query : queries) manager.MatchPositions(query, keypad, hits);
                             }) *
                    1000.0 / list.size();
  // The ordered match does the lookup again; the order is what it takes beyond that.
  const double orderedUs =
      MedianMs(kSearchRepeats,
               [&] {
                 for (const Str& query : queries) {
                   BOOL handled = FALSE;
                   manager.OrderedMatch(query, keypad, SortKindName, everyone, ids, handled);
                 }
               }) *
      1000.0 / list.size();
  stages.orderUs = std::max(0.0, orderedUs - stages.lookupUs);
  // The copy that the ranking works on is made outside the timing.
  std::vector<double> times;
  for (int r = 0; r < kSearchRepeats; ++r) {
    std::vector<Array<CEOID>> work(ordered);
    const double start = NowMs();
    for (size_t q = 0; q < list.size(); ++q)
      manager.ReorderByName(queries[q], keypad, work[q], nullptr, keypad ? &orderedAt[q] : nullptr);
    times.push_back(NowMs() - start);
  }
  std::sort(times.begin(), times.end());
  stages.rankUs = times[times.size() / 2] * 1000.0 / list.size();
  return stages;
}

// --- the export ---------------------------------------------------------------------------------------

class Export {
 public:
  explicit Export(const std::wstring& path) { file = _wfopen(path.c_str(), L"wb"); }
  ~Export() {
    if (file != nullptr) std::fclose(file);
  }
  bool IsOpen() const { return file != nullptr; }
  void Figure(const std::string& name, double value) {
    std::fprintf(file, "F\t%s\t%.4f\n", name.c_str(), value);
    figures[name] = value;
  }
  void Info(const std::string& text) {
    std::fprintf(file, "I\t%s\n", text.c_str());
    infos.push_back(text);
  }
  // The figures as written, for a summary of this side alone.
  double Get(const std::string& name) const {
    auto found = figures.find(name);
    return found == figures.end() ? -1 : found->second;
  }
  const std::vector<std::string>& Infos() const { return infos; }
  // A contact: oid, name-list position, words, keypad words, phone digits, then the words of last
  // name, first name and company and the keypad keys of each (a word without keys as "-"), and
  // whether the last name is empty.
  void AddContact(const NaiveContact& contact) {
    std::fprintf(file, "C\t%lu\t%d\t", static_cast<unsigned long>(contact.oid), contact.position);
    Words(contact.words);
    std::fputc('\t', file);
    std::vector<std::wstring> keys;
    for (const std::wstring& word : contact.words) {
      const Str mapped = MapToGroupKeys(word.c_str());
      if (!mapped.IsEmpty()) keys.push_back(static_cast<const wchar_t*>(mapped));
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    Words(keys);
    std::fputc('\t', file);
    Words(contact.phones);
    for (const std::vector<std::wstring>& name : contact.names) {
      std::fputc('\t', file);
      Words(name);
      std::fputc('\t', file);
      std::vector<std::wstring> nameKeys;
      for (const std::wstring& word : name) {
        const Str mapped = MapToGroupKeys(word.c_str());
        nameKeys.push_back(mapped.IsEmpty() ? L"-" : static_cast<const wchar_t*>(mapped));
      }
      Words(nameKeys);
    }
    std::fprintf(file, "\t%d\n", contact.noLastName ? 1 : 0);
  }
  void Query(QueryKind kind, const std::wstring& query, const std::vector<uint32_t>& result) {
    std::fprintf(file, "Q\t%s\t%s\t", kKindName[kind], ToUtf8(query).c_str());
    for (size_t k = 0; k < result.size(); ++k) std::fprintf(file, k == 0 ? "%u" : " %u", result[k]);
    std::fputc('\n', file);
  }

 private:
  void Words(const std::vector<std::wstring>& words) {
    for (size_t k = 0; k < words.size(); ++k) {
      if (k > 0) std::fputc(' ', file);
      std::fputs(ToUtf8(words[k]).c_str(), file);
    }
  }
  FILE* file = nullptr;
  std::map<std::string, double> figures;
  std::vector<std::string> infos;
};

// The figures of the product and the peer without index, when no SQLite peer comes after this program.
void PrintSummary(const Export& out) {
  std::printf("  %-34s %10s %10s %14s\n", "", "product", "naive", "product/naive");
  const struct {
    const char* label;
    const char* name;
  } rows[] = {{"full rebuild, ms", "rebuild_ms"},           {"start, index in step, ms", "open_ms"},
              {"start after 10 changes, ms", "inspect_ms"}, {"keypad search, 1 key, us", "keypad1_us"},
              {"keypad search, 2 keys, us", "keypad2_us"},  {"keypad search, 3 keys, us", "keypad3_us"},
              {"keypad search, 4 keys, us", "keypad4_us"},  {"keypad search, 5 keys, us", "keypad5_us"},
              {"text search, 1 word, us", "text1_us"},      {"text search, 2 words, us", "text2_us"},
              {"caller by last 7 digits, us", "phone_us"}};
  for (const auto& row : rows) {
    const double product = out.Get(std::string("product.") + row.name);
    const double naive = out.Get(std::string("naive.") + row.name);
    char cells[3][32];
    std::snprintf(cells[0], 32, product < 0 ? "-" : "%.1f", product);
    std::snprintf(cells[1], 32, naive < 0 ? "-" : "%.1f", naive);
    std::snprintf(cells[2], 32, product < 0 || naive <= 0 ? "-" : "%.2f", product / naive);
    std::printf("  %-34s %10s %10s %14s\n", row.label, cells[0], cells[1], cells[2]);
  }
  int differ = 0;
  for (const char* kind : kKindName)
    differ += static_cast<int>(std::max(0.0, out.Get(std::string("naive.") + kind + "_disagree")));
  std::printf("  queries whose result (the contacts and their order) differs between the two: %d\n", differ);
  for (const std::string& info : out.Infos()) std::printf("  note: %s\n", info.c_str());
}

// --- one count --------------------------------------------------------------------------------------------

double Median(std::vector<double> values) {
  if (values.empty()) return -1;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Brings the database to `count` contacts and makes the index anew by a start on a device without
// one; false when the start fails or the index could take only some of the contacts (the rebuild
// doesn't fit). The manager is closed again.
bool RebuildFits(int count, DWORD* error) {
  if (!HoldBenchContacts(count)) {
    std::printf("  the database can't hold %d contacts (error %lu)\n", count, GetLastError());
    std::exit(1);
  }
  DeleteIndexFiles();
  BenchManager bench;
  const bool started = bench.TimedOpen() >= 0;
  const IndexOpenReport& report = bench.Get().LastOpenReport();
  const bool fits = started && report.rebuilt && !report.overCapacity;
  if (error != nullptr) *error = started && report.overCapacity ? kMappingFullError : bench.error;
  bench.Close();
  return fits;
}

struct Sizes {
  uint32_t index = 0;
  uint32_t props = 0;
};

// Every query of `queries` through the manager: the answers into `results`, the figures into `out`.
Sizes ProductSearches(const QuerySet& queries, Export& out,
                      std::vector<std::vector<uint32_t>> results[KindCount], ListPositionMap& positions) {
  BenchManager bench;
  if (bench.TimedOpen() < 0) {
    std::printf("\n  the manager can't be opened for the searches (error %lu)\n", bench.error);
    std::exit(1);
  }
  StagedManager& manager = bench.Get();
  // What the item's idle time does after a start with the index in step: every listed contact gets
  // its name-key entry, which the ranking then reads instead of the record.
  const double fillStart = NowMs();
  if (!manager.FillNameKeys(0)) out.Info("the name-key fill after the start left contacts without an entry");
  out.Figure("product.namefill_ms", NowMs() - fillStart);
  Array<CEOID> all;
  if (!manager.Index().ListAll(SortByName, all)) {
    std::printf("\n  the name list can't be read (error %lu)\n", GetLastError());
    std::exit(1);
  }
  positions.clear();
  for (int k = 0; k < all.GetSize(); ++k) positions[static_cast<uint32_t>(all[k])] = k;
  Sizes sizes;
  sizes.index = manager.Index().Store().Length();
  sizes.props = manager.Index().Props().Length();
  out.Figure("product.index_bytes", sizes.index);
  out.Figure("product.props_bytes", sizes.props);

  Array<CEOID> ids;
  for (int kind = 0; kind < KindCount; ++kind) {
    const std::vector<std::wstring>& list = queries.queries[kind];
    if (list.empty()) continue;
    long long hits = 0;
    for (const std::wstring& query : list) {
      if (!RunProduct(manager, static_cast<QueryKind>(kind), query, ids)) {
        std::printf("\n  the product's search failed (error %lu)\n", GetLastError());
        std::exit(1);
      }
      results[kind].push_back(InOrder(ids));
      hits += ids.GetSize();
    }
    const double ms = MedianMs(kSearchRepeats, [&] {
      for (const std::wstring& query : list) RunProduct(manager, static_cast<QueryKind>(kind), query, ids);
    });
    const std::string name = kKindName[kind];
    out.Figure("queries." + name, static_cast<double>(list.size()));
    out.Figure("product." + name + "_us", ms * 1000.0 / list.size());
    out.Figure("product." + name + "_hits", static_cast<double>(hits) / list.size());
    if (kind != Phone) {
      const Stages stages = TimeStages(manager, static_cast<QueryKind>(kind), list);
      out.Figure("product." + name + "_lookup_us", stages.lookupUs);
      out.Figure("product." + name + "_order_us", stages.orderUs);
      out.Figure("product." + name + "_rank_us", stages.rankUs);
    }
  }
  return sizes;
}

Sizes RunCount(int count, const std::wstring& outFolder, const std::vector<std::string>& notes) {
  const double begin = NowMs();
  Progress("%d contacts: writing them", count);
  if (!HoldBenchContacts(count)) {
    std::printf("\n  the database can't hold %d contacts (error %lu)\n", count, GetLastError());
    std::exit(1);
  }
  Export out(outFolder + L"search-" + std::to_wstring(count) + L".txt");
  if (!out.IsOpen()) {
    std::printf("\n  can't write the export file in the given folder\n");
    std::exit(1);
  }
  out.Figure("count", count);
  for (const std::string& note : notes) out.Info(note);

  // Full rebuild: a start on a device that has no index.
  Progress(", rebuilds");
  std::vector<double> times;
  for (int r = 0; r < kRebuildRepeats; ++r) {
    DeleteIndexFiles();
    LetDeviceSettle();
    BenchManager bench;
    const double ms = bench.TimedOpen();
    if (ms < 0 || !bench.Get().LastOpenReport().rebuilt) {
      std::printf("\n  the rebuild failed (error %lu)\n", bench.error);
      std::exit(1);
    }
    times.push_back(ms);
    bench.Close();  // the save of both files, not timed
  }
  out.Figure("product.rebuild_ms", Median(times));

  // A start with the index in step.
  Progress(", opens");
  times.clear();
  for (int r = 0; r < kStartRepeats; ++r) {
    LetDeviceSettle();
    BenchManager bench;
    const double ms = bench.TimedOpen();
    if (ms < 0 || bench.Get().LastOpenReport().state != IndexInStep) {
      std::printf("\n  the index isn't in step at a start (error %lu)\n", bench.error);
      std::exit(1);
    }
    times.push_back(ms);
  }
  out.Figure("product.open_ms", Median(times));

  // The product's searches, on the index in step.
  Progress(", searches");
  const QuerySet queries = MakeQueries(count);
  std::vector<std::vector<uint32_t>> results[KindCount];
  ListPositionMap positions;
  const Sizes sizes = ProductSearches(queries, out, results, positions);

  // The naive peer: its start reads every contact; then the same queries.
  Progress(", naive peer");
  NaivePeer naive;
  const double load = MedianMs(kOpenRepeats, [&] {
    ContactDatabase database;
    if (!database.Open(nullptr) || !naive.Load(database))
      std::printf("\n  (the naive peer can't read the database)");
    naive.Order(positions);
  });
  naive.TakeKeypad();
  out.Figure("naive.open_ms", load);
  size_t words = 0;
  for (const NaiveContact& contact : naive.Contacts()) words += contact.words.size();
  out.Figure("naive.words", static_cast<double>(words));
  std::vector<uint32_t> found;
  for (int kind = 0; kind < KindCount; ++kind) {
    const std::vector<std::wstring>& list = queries.queries[kind];
    if (list.empty()) continue;
    int disagree = 0;
    for (size_t q = 0; q < list.size(); ++q) {
      naive.Run(static_cast<QueryKind>(kind), list[q], found);
      if (found != results[kind][q]) ++disagree;
    }
    const double ms = MedianMs(kSearchRepeats, [&] {
      for (const std::wstring& query : list) naive.Run(static_cast<QueryKind>(kind), query, found);
    });
    const std::string name = kKindName[kind];
    out.Figure("naive." + name + "_us", ms * 1000.0 / list.size());
    out.Figure("naive." + name + "_disagree", disagree);
  }

  // What the SQLite peer needs: the same contacts, queries and the product's answers.
  Progress(", export");
  for (const NaiveContact& contact : naive.Contacts()) out.AddContact(contact);
  for (int kind = 0; kind < KindCount; ++kind) {
    const std::vector<std::wstring>& list = queries.queries[kind];
    for (size_t q = 0; q < list.size(); ++q)
      out.Query(static_cast<QueryKind>(kind), list[q], results[kind][q]);
  }
  // A start after another program changed ten records; last, since at the largest count the changes
  // may no longer fit, and every start after a failed one rebuilds.
  Progress(", inspections");
  times.clear();
  int rounds = 0;
  for (; rounds < kStartRepeats; ++rounds) {
    if (!ChangeBenchContacts(rounds, kChanges)) {
      std::printf("\n  the records can't be changed (error %lu)\n", GetLastError());
      std::exit(1);
    }
    LetDeviceSettle();
    BenchManager bench;
    const double ms = bench.TimedOpen();
    const IndexOpenReport& report = bench.Get().LastOpenReport();
    if (ms < 0 || !report.inspected || report.rebuilt || report.changed != kChanges) {
      out.Info("the start after " + std::to_string(kChanges) + " changes " +
               (ms < 0 ? "failed" : "succeeded") + " (inspected " + std::to_string(report.inspected) +
               ", rebuilt " + std::to_string(report.rebuilt) + ", " + std::to_string(report.changed) +
               " changed, error " + std::to_string(bench.error) + ")" +
               (bench.error == kMappingFullError ? ": the index mapping has no room for the changed contacts"
                                                 : ""));
      ++rounds;
      break;
    }
    times.push_back(ms);
  }
  if (static_cast<int>(times.size()) == rounds) {
    out.Figure("product.inspect_ms", Median(times));
  } else {
    out.Figure("product.inspect_failed", 1);
    // What the start after that makes of it.
    BenchManager bench;
    const double ms = bench.TimedOpen();
    const IndexOpenReport& report = bench.Get().LastOpenReport();
    out.Info(std::string("the start after that ") + (ms < 0 ? "failed too" : "succeeded") + " (state " +
             std::to_string(report.state) + ", rebuilt " + std::to_string(report.rebuilt) + ", error " +
             std::to_string(bench.error) + ")");
  }
  // The changed records get their contents back (each change toggles).
  for (int r = 0; r < rounds; ++r) ChangeBenchContacts(r, kChanges);
  Progress(" (%.1f s)\n", (NowMs() - begin) / 1000.0);
  if (g_summary) PrintSummary(out);
  return sizes;
}

// The largest count whose full rebuild fits: from an estimate by the sizes at `known` contacts,
// bracketed by rebuilds that fit and that don't, then bisected.
int FindLargest(int known, const Sizes& sizes, std::vector<std::string>& notes) {
  const double begin = NowMs();
  Progress("largest rebuild that fits: ");
  const double limit = MappedFile::kMaxLength;
  const double perContact = std::max(sizes.index, sizes.props) / static_cast<double>(known);
  const int estimate = static_cast<int>(limit / perContact);
  int fits = known;
  int refused = 0;
  DWORD error = 0;
  int rebuilds = 0;
  // Up from the estimate until a rebuild is refused.
  for (int n = estimate + estimate / 50; refused == 0; n += estimate / 20) {
    ++rebuilds;
    DWORD failure = 0;
    if (RebuildFits(n, &failure)) {
      fits = n;
    } else {
      refused = n;
      error = failure;
    }
  }
  // Down from the estimate for the lower end of the bracket.
  const int low = estimate - estimate / 50;
  if (low > fits && low < refused) {
    ++rebuilds;
    DWORD failure = 0;
    if (RebuildFits(low, &failure)) {
      fits = low;
    } else {
      refused = low;
      error = failure;
    }
  }
  while (refused - fits > 1) {
    const int middle = fits + (refused - fits) / 2;
    ++rebuilds;
    Progress(".");
    DWORD failure = 0;
    if (RebuildFits(middle, &failure)) {
      fits = middle;
    } else {
      refused = middle;
      error = failure;
    }
  }
  Progress(" %d contacts (%d refused, error %lu; %d rebuilds, %.1f s)\n", fits, refused, error, rebuilds,
           (NowMs() - begin) / 1000.0);
  notes.push_back("largest full rebuild that fits the " +
                  std::to_string(MappedFile::kMappingSize / (1024 * 1024)) +
                  " MB mapping: " + std::to_string(fits) + " contacts; a start with " +
                  std::to_string(refused) + " can't index them all (error " + std::to_string(error) +
                  "); found by " + std::to_string(rebuilds) + " starts on a device without index");
  return fits;
}

}  // namespace

int main(int argc, char** argv) {
  // With a folder the exports go there for the SQLite peer; without one this program runs alone (as
  // scripts/bench.sh runs it), prints its own figures and keeps its exports in its temporary folder.
  g_folder = MakeBenchFolder(L"pagemark-search-bench");
  std::wstring outFolder = g_folder;
  if (argc >= 2) {
    wchar_t folder[MAX_PATH];
    MultiByteToWideChar(CP_ACP, 0, argv[1], -1, folder, MAX_PATH);
    outFolder = folder;
    if (outFolder.empty() || outFolder.back() != L'\\') outFolder += L'\\';
  } else {
    g_summary = true;
    std::printf(
        "contact search benchmark: the product against a peer without index (for the SQLite peer as\n"
        "well, run scripts/bench-search.sh)\n");
  }
  std::vector<int> counts;
  for (int k = 2; k < argc; ++k) counts.push_back(std::atoi(argv[k]));
  for (int count : counts) {
    if (count <= 0) {
      std::printf("usage: bench_search [FOLDER [COUNT...]]\n");
      return 2;
    }
  }

  SetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", kStore);
  DeleteFileW(kStore);
  if (!MakeEmptyContactDatabases()) {
    std::printf("could not make the databases (error %lu)\n", GetLastError());
    return 1;
  }
  // Static, so that the setting goes back also when a failure ends the run early.
  static LetterSetForRun letters;
  RebuildKeypadGroups();

  const double begin = NowMs();
  std::vector<std::string> notes;
  if (counts.empty()) {
    RunCount(1000, outFolder, notes);
    const Sizes sizes = RunCount(10000, outFolder, notes);
    const int largest = FindLargest(10000, sizes, notes);
    RunCount(largest, outFolder, notes);
  } else {
    for (int count : counts) RunCount(count, outFolder, notes);
  }
  Progress("(%.1f s on the device)\n", (NowMs() - begin) / 1000.0);

  // The bench's own folder with the index files (and the exports when it ran alone).
  RemoveBenchFolder(g_folder);
  DeleteDatabaseNamed(kContactsDatabaseName);
  DeleteDatabaseNamed(kCategoriesDatabaseName);
  DeleteFileW(kStore);
  return 0;
}
