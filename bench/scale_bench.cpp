// How the search's in-memory structures scale with the size of the address book: at 1,000, 10,000,
// 30,000 and 100,000 generated contacts, the word tree and the keypad tree built by the product's own
// code (BulkBuilder, as the full rebuild builds them) in an index store held in ordinary memory (the
// index file's mapping is limited to 8 MB), the name-list positions (ListPositions) and the name-key
// cache (NameKeyCache); then keypad queries of 1 to 5 keys and text queries of one and two words,
// each taken the way the contact manager takes it: the lookup gathered as name-list positions, the
// match read off in list order, and for two characters or more the ranking by name from the cache.
// No contacts database is involved: the figures are those of the search alone.
//
// Every result is compared, contacts and order, with the peer without index (bench/NaivePeer.h) over
// the same contacts.
//
// Usage: bench_search_scale [COUNT...]   the counts replace 1,000, 10,000, 30,000 and 100,000.
#include <windows.h>
#include <windbase.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "BenchLetters.h"
#include "BenchTimer.h"
#include "DeviceContacts.h"
#include "Generator.h"
#include "MemoryIndexStore.h"
#include "NaivePeer.h"
#include "SearchQueries.h"
#include "manager/letters/KeypadGroups.h"
#include "manager/aids/ListPositions.h"
#include "manager/aids/NameKeyCache.h"
#include "manager/aids/PositionSearch.h"
#include "storage/contact/Contact.h"
#include "storage/index/BulkBuilder.h"
#include "storage/index/SearchTree.h"

namespace {

const int kSearchRepeats = 5;
// Room of the store: far more than 100,000 contacts need.
const uint32_t kStoreCapacity = 1024u * 1024u * 1024u;
// The search kinds of the table: keypad 1 to 5 keys, text of one and two words.
const int kTableKinds = Text2 + 1;
// Above this count only the first queries of each kind are compared with the peer.
const int kCompareAllUpTo = 30000;
const size_t kComparedQueries = 20;

// No database stands behind the bench: a contact the cache can't rank is counted and stays with the
// rest, where the manager would read its record.
class NoRecords : public NameSource {
 public:
  bool ReadNames(CEOID, Str&, Str&, Str&) override {
    ++undecided;
    return false;
  }
  long long undecided = 0;
};

// The search structures of one address book and the manager's own search over them (PositionSearch).
class ScaledSearch {
 public:
  ScaledSearch()
      : store(kStoreCapacity), words(&store, kWordRootSlot, kWordReverseSlot),
        keys(&store, kKeypadRootSlot, kKeypadReverseSlot), aids(positions, names) {}

  // Builds the trees and lists of the builder's contacts; false when the store refuses.
  bool Build(BulkBuilder& builder) {
    return store.CreateInMemory(IndexStore::kCreateSize) && builder.WriteTree(store, WordTree) &&
           builder.WriteTree(store, KeypadTree) && builder.WriteSortedLists(store) && aids.Sync(store);
  }

  // The keypad or text search as the contact manager runs it on its aids, in its three stages.
  void Search(const std::wstring& query, bool keypad, std::vector<uint32_t>& out) {
    Match(query, keypad);
    ReadOff(result, &resultAt);
    Rank(query, keypad, result, &resultAt);
    out.assign(result.GetData(), result.GetData() + result.GetSize());
  }

  // The lookup: the name-list positions of the contacts that match.
  void Match(const std::wstring& query, bool keypad) {
    aids.Match(keypad ? keys : words, Str(query.c_str()), keypad ? TRUE : FALSE, hits);
  }

  // The match in name-list order, with the position of each contact when `at` is given.
  void ReadOff(Array<CEOID>& out, Array<int32_t>* at = nullptr) const { aids.ReadOff(hits, 0, out, at); }

  // From two characters on: the contacts with a word of the last name beginning with the query
  // first, then of the first name, then of the company, each part in list order.
  void Rank(const std::wstring& query, bool keypad, Array<CEOID>& out, const Array<int32_t>* at) {
    aids.Rank(Str(query.c_str()), keypad ? TRUE : FALSE, TRUE, records, nullptr, out, keypad ? at : nullptr);
  }

  MemoryIndexStore& Store() { return store; }
  const ListPositions& Positions() const { return positions; }
  NameKeyCache& Names() { return names; }
  // Contacts the cache couldn't rank (none expected: no query is longer than what it keeps).
  long long Undecided() const { return records.undecided; }

 private:
  MemoryIndexStore store;
  SearchTree words;
  SearchTree keys;
  ListPositions positions;
  NameKeyCache names;
  PositionSearch aids;
  NoRecords records;
  PositionSet hits;
  Array<CEOID> result;
  Array<int32_t> resultAt;
};

struct CountFigures {
  int count = 0;
  double buildMs = 0;
  double namesMs = 0;  // of which the name-key cache
  uint32_t storeBytes = 0;
  double us[kTableKinds] = {};
  double lookupUs[kTableKinds] = {}, readOffUs[kTableKinds] = {}, rankUs[kTableKinds] = {};
  double hits[kTableKinds] = {};
  double naiveUs[kTableKinds] = {};
  int compared = 0;  // queries compared with the peer
  int differ = 0;
  long long undecided = 0;
};

// Median microseconds per query of `work` over the list.
double PerQueryUs(size_t queries, const std::function<void()>& work) {
  return MedianMs(kSearchRepeats, work) * 1000.0 / static_cast<double>(queries);
}

// Times the search of each kind, whole and by stage, and compares its results with the peer's.
void Measure(const QuerySet& queries, ScaledSearch& search, NaivePeer& naive, CountFigures& figures) {
  std::vector<uint32_t> found, expected;
  for (int kind = 0; kind < kTableKinds; ++kind) {
    const std::vector<std::wstring>& list = queries.queries[kind];
    if (list.empty()) continue;
    const bool keypad = IsKeypadKind(kind);
    long long hits = 0;
    std::vector<Array<CEOID>> ordered(list.size());
    std::vector<Array<int32_t>> orderedAt(list.size());
    for (size_t q = 0; q < list.size(); ++q) {
      search.Match(list[q], keypad);
      search.ReadOff(ordered[q], &orderedAt[q]);
      search.Search(list[q], keypad, found);
      hits += static_cast<long long>(found.size());
    }
    // The peer walks every contact for each query: at large counts only the first queries of each
    // kind, to keep the run short.
    const size_t compared =
        figures.count > kCompareAllUpTo ? std::min(list.size(), kComparedQueries) : list.size();
    const double naiveStart = NowMs();
    for (size_t q = 0; q < compared; ++q) {
      naive.Run(static_cast<QueryKind>(kind), list[q], expected);
      search.Search(list[q], keypad, found);
      if (found != expected) ++figures.differ;
    }
    figures.naiveUs[kind] = (NowMs() - naiveStart) * 1000.0 / static_cast<double>(compared);
    figures.compared += static_cast<int>(compared);

    figures.us[kind] = PerQueryUs(list.size(), [&] {
      for (const std::wstring& query : list) search.Search(query, keypad, found);
    });
    figures.lookupUs[kind] = PerQueryUs(list.size(), [&] {
      for (const std::wstring& query : list) search.Match(query, keypad);
    });
    Array<CEOID> readOff;
    const double matchedUs = PerQueryUs(list.size(), [&] {
      for (const std::wstring& query : list) {
        search.Match(query, keypad);
        search.ReadOff(readOff);
      }
    });
    figures.readOffUs[kind] = std::max(0.0, matchedUs - figures.lookupUs[kind]);
    // The copies that the ranking works on are made outside the timing.
    std::vector<double> times;
    for (int r = 0; r < kSearchRepeats; ++r) {
      std::vector<Array<CEOID>> work(ordered);
      const double start = NowMs();
      for (size_t q = 0; q < list.size(); ++q) search.Rank(list[q], keypad, work[q], &orderedAt[q]);
      times.push_back(NowMs() - start);
    }
    std::sort(times.begin(), times.end());
    figures.rankUs[kind] = times[times.size() / 2] * 1000.0 / static_cast<double>(list.size());
    figures.hits[kind] = static_cast<double>(hits) / static_cast<double>(list.size());
  }
  figures.undecided = search.Undecided();
}

CountFigures RunCount(int count) {
  CountFigures figures;
  figures.count = count;
  const double begin = NowMs();
  std::printf("%d contacts: generating", count);
  std::fflush(stdout);
  // The contacts as a full rebuild reads them: oids in ascending order, the Note's plain text beside.
  std::vector<Str> notes(static_cast<size_t>(count));
  std::vector<Contact*> contacts(static_cast<size_t>(count));
  for (int k = 0; k < count; ++k) {
    const ToolContact tool = GenerateContact(kSearchSeed, k);
    contacts[k] = new Contact();
    ToContactFields(tool, *contacts[k]);
    contacts[k]->oid = static_cast<CEOID>(k + 1);
    notes[k] = tool.note.c_str();
  }

  std::printf(", the peer");
  std::fflush(stdout);
  NaivePeer naive;
  for (int k = 0; k < count; ++k) naive.Add(*contacts[k], notes[k]);
  naive.TakeKeypad();

  std::printf(", building");
  std::fflush(stdout);
  ScaledSearch search;
  const double start = NowMs();
  for (int k = 0; k < count; ++k) {
    const Contact& contact = *contacts[k];
    search.Names().Remember(contact.oid, contact.text[ContactField::LastName],
                            contact.text[ContactField::FirstName], contact.text[ContactField::Company]);
  }
  figures.namesMs = NowMs() - start;
  BulkBuilder builder;
  for (int k = 0; k < count; ++k) builder.AddContact(contacts[k], notes[k]);  // the builder keeps it
  if (!search.Build(builder)) {
    std::printf("\n  the structures of %d contacts can't be built (error %lu)\n", count, GetLastError());
    std::exit(1);
  }
  figures.buildMs = NowMs() - start;
  figures.storeBytes = search.Store().Length();
  builder.Clear();

  ListPositionMap listed;
  for (int position = 0; position < search.Positions().Count(); ++position)
    listed[search.Positions().OidAt(position)] = position;
  naive.Order(listed);

  std::printf(", searching");
  std::fflush(stdout);
  Measure(MakeQueries(count), search, naive, figures);
  std::printf(" (%.1f s)\n", (NowMs() - begin) / 1000.0);
  return figures;
}

std::string Grouped(long long value) {
  std::string digits = std::to_string(value);
  for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3)
    digits.insert(static_cast<size_t>(at), ",");
  return digits;
}

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, value >= 100 ? "%.0f" : value >= 10 ? "%.1f" : "%.2f", value);
  return text;
}

void PrintRowHead(const std::string& first, const std::string& second, const std::string& third) {
  std::printf("  %-9s %13s %7s", first.c_str(), second.c_str(), third.c_str());
}

void PrintTable(const std::vector<CountFigures>& all) {
  static const char* const kLabels[kTableKinds] = {"1 key",  "2 keys", "3 keys", "4 keys",
                                                   "5 keys", "1 word", "2 words"};
  std::printf(
      "\nThe search structures alone as the book grows (on the stand-in device; no database): the word and\n"
      "keypad trees built by the product's own bulk builder in an index store in ordinary memory, the\n"
      "name-list positions and the name-key cache. A search is taken as the contact manager takes it: the\n"
      "lookup gathered as list positions, the match read off in name-list order and, from 2 characters on,\n"
      "the ranking by name from the cache. Medians of %d passes, us per query, %d queries of each kind;\n"
      "in brackets the peer without index (one pass).\n\n",
      kSearchRepeats, kQueries);
  PrintRowHead("contacts", "build ms", "MB");
  for (const char* label : kLabels) std::printf(" %15s", label);
  std::printf("  %s\n", "differ");
  for (const CountFigures& figures : all) {
    PrintRowHead(Grouped(figures.count), Number(figures.buildMs) + " (" + Number(figures.namesMs) + ")",
                 Number(figures.storeBytes / (1024.0 * 1024.0)));
    for (int kind = 0; kind < kTableKinds; ++kind) {
      const std::string cell = Number(figures.us[kind]) + " (" + Number(figures.naiveUs[kind]) + ")";
      std::printf(" %15s", cell.c_str());
    }
    std::printf("  %d/%d\n", figures.differ, figures.compared);
  }
  std::printf("\n  by stage, us per query: lookup / read-off in list order / ranking\n");
  for (const CountFigures& figures : all) {
    PrintRowHead(Grouped(figures.count), "", "");
    for (int kind = 0; kind < kTableKinds; ++kind) {
      const std::string cell = Number(figures.lookupUs[kind]) + "/" + Number(figures.readOffUs[kind]) + "/" +
                               Number(figures.rankUs[kind]);
      std::printf(" %15s", cell.c_str());
    }
    std::printf("\n");
  }
  std::printf("\n  hits per query\n");
  for (const CountFigures& figures : all) {
    PrintRowHead(Grouped(figures.count), "", "");
    for (int kind = 0; kind < kTableKinds; ++kind) std::printf(" %15s", Number(figures.hits[kind]).c_str());
    std::printf("\n");
  }
  long long undecided = 0;
  for (const CountFigures& figures : all) undecided += figures.undecided;
  std::printf(
      "\n  build ms: the generated contacts' name-key entries made (in brackets), the contacts fed to the\n"
      "  bulk builder, both trees and both sorted lists written into the store, the list positions taken.\n"
      "  MB: the store's data. differ: queries whose result (the contacts and their order) differs from\n"
      "  the peer's / queries compared (above %s contacts the first %d of each kind).\n",
      Grouped(kCompareAllUpTo).c_str(), static_cast<int>(kComparedQueries));
  if (undecided > 0)
    std::printf("  %lld contacts found could not be ranked from the cache and stayed in the rest.\n",
                undecided);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<int> counts;
  for (int k = 1; k < argc; ++k) {
    const int count = std::atoi(argv[k]);
    if (count <= 0) {
      std::printf("usage: bench_search_scale [COUNT...]\n");
      return 2;
    }
    counts.push_back(count);
  }
  if (counts.empty()) counts = {1000, 10000, 30000, 100000};
  // Static, so that the setting goes back also when a failure ends the run early.
  static LetterSetForRun letters;
  RebuildKeypadGroups();
  std::vector<CountFigures> all;
  for (int count : counts) all.push_back(RunCount(count));
  PrintTable(all);
  return 0;
}
