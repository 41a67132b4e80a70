// The contact manager's searches against two ways of doing without its index, on the same generated
// contacts in the device's contacts database: 1,000, 10,000 and the largest count whose full rebuild
// fits the index mapping.
//
// This program measures the manager (full rebuild at start, start with the index in step, start after
// ten changes made by another program, keypad searches of 1, 2, 3 and 5 keys, text searches of one and
// two words, the lookup of a caller by the last seven digits of a number) and the first peer: what a
// dialer without an index does, holding every contact's words in memory and mapping them to keypad keys
// anew for each query. For the second peer, a native SQLite program (bench/sqlite_peer.cpp), it writes
// each count's contacts (ids, words, keypad words, phone digits), the query list and the manager's
// result for every query to `search-COUNT.txt` in the folder named on the command line; that program
// runs the same queries, compares its results and prints the whole table (scripts/bench-search.sh runs
// both). Without a folder this program prints the figures of the manager and the first peer itself.
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

#include "BenchFolder.h"
#include "BenchTimer.h"
#include "DeviceContacts.h"
#include "DeviceDatabases.h"
#include "Generator.h"
#include "Output.h"
#include "ToolCategories.h"
#include "extended/ContactNote.h"
#include "foundation/Settings.h"
#include "manager/core/ContactManager.h"
#include "manager/letters/KeypadGroups.h"
#include "manager/letters/LetterSet.h"
#include "storage/contact/ContactDatabase.h"
#include "storage/index/ContactFeed.h"
#include "storage/mapped/MappedFile.h"
#include "storage/index/WordSplitter.h"

namespace {

const uint64_t kSeed = 42;
const wchar_t kStore[] = L"\\Temp\\bench-search.cdb";
// Queries of each kind, taken from the contacts' names; every query runs once per timed pass.
const int kQueries = 100;
// Timed passes over the query list, over opens and over rebuilds; the figures are their medians.
const int kSearchRepeats = 5;
const int kOpenRepeats = 5;
const int kRebuildRepeats = 3;
// Records another program changes while the item is away.
const int kChanges = 10;
// The shortest tail of a number that the caller lookup still tries.
const int kMinDigits = 4;

// --- small helpers ---------------------------------------------------------------------------------------

std::wstring DigitsOf(const wchar_t* text) {
  std::wstring digits;
  for (const wchar_t* at = text; at != nullptr && *at != 0; ++at) {
    if (*at >= L'0' && *at <= L'9') digits += *at;
  }
  return digits;
}

std::vector<uint32_t> Sorted(const Array<CEOID>& ids) {
  std::vector<uint32_t> out;
  for (int k = 0; k < ids.GetSize(); ++k) out.push_back(static_cast<uint32_t>(ids[k]));
  std::sort(out.begin(), out.end());
  return out;
}

void Progress(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vfprintf(stdout, format, args);
  va_end(args);
  std::fflush(stdout);
}

// --- the device: a contacts database of the bench's own -------------------------------------------------

// The records of the database in the order they were written: record k holds generated contact k.
std::vector<CEOID> g_records;

// Writes or deletes records at the end so that the database holds generated contacts [0, count).
bool HoldContacts(int count) {
  const int have = static_cast<int>(g_records.size());
  if (count == have) return true;
  ContactDatabase database;
  if (!database.Open(nullptr)) return false;
  if (count < have) {
    while (static_cast<int>(g_records.size()) > count) {
      if (!database.DeleteContact(g_records.back())) return false;
      g_records.pop_back();
    }
    return true;
  }
  ToolCategories categories;
  if (!categories.Open()) return false;
  ContactNote note;
  for (int k = have; k < count; ++k) {
    Contact contact;
    if (!ToContactRecord(GenerateContact(kSeed, k), categories, note, contact)) return false;
    if (!database.AddContact(contact, true)) return false;
    g_records.push_back(contact.oid);
  }
  categories.Flush();
  return true;
}

// Another program changes the company of `kChanges` records spread over the database; `round` picks
// other records each time. The company gets " Ltd" added, or loses it.
bool ChangeRecords(int round) {
  ContactDatabase database;
  if (!database.Open(nullptr)) return false;
  const int count = static_cast<int>(g_records.size());
  for (int k = 0; k < kChanges; ++k) {
    const CEOID oid = g_records[(static_cast<size_t>(k) * count / kChanges + round) % count];
    Contact contact;
    if (!database.LoadByOid(oid, contact)) return false;
    Str& company = contact.text[ContactField::Company];
    const int length = company.GetLength();
    if (length >= 4 && wcscmp(static_cast<const wchar_t*>(company) + length - 4, L" Ltd") == 0)
      company = company.Left(length - 4);
    else
      company += L" Ltd";
    if (!database.UpdateContact(contact, true)) return false;
  }
  return true;
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
  using ContactManager::KeypadMatch;
  using ContactManager::PlainOrder;
  using ContactManager::ReorderByName;
  using ContactManager::TextMatch;
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

// --- the queries ----------------------------------------------------------------------------------------

enum QueryKind { Keypad1, Keypad2, Keypad3, Keypad5, Text1, Text2, Phone, KindCount };
const char* const kKindName[KindCount] = {"keypad1", "keypad2", "keypad3", "keypad5",
                                          "text1",   "text2",   "phone"};
const int kKeypadLength[4] = {1, 2, 3, 5};

struct QuerySet {
  std::vector<std::wstring> queries[KindCount];
};

// `kQueries` entries of `all`, evenly spread, so a common name is asked as often as it occurs.
std::vector<std::wstring> Spread(const std::vector<std::wstring>& all) {
  std::vector<std::wstring> picked;
  if (all.empty()) return picked;
  for (int q = 0; q < kQueries; ++q) picked.push_back(all[static_cast<size_t>(q) * all.size() / kQueries]);
  return picked;
}

// The words of a name in lower case, as the index splits them.
std::vector<std::wstring> NameWords(const std::wstring& name) {
  std::vector<std::wstring> words;
  WordSplitter splitter;
  splitter.Reset(Str(name.c_str()));
  Str word;
  while (splitter.Next(word)) {
    word.MakeLower();
    words.push_back(static_cast<const wchar_t*>(word));
  }
  return words;
}

// Queries from the first and last names of contacts [0, count): keypad queries are the keys of name
// words as the letter bar makes them (each key a group's key), text queries the first three letters
// of a name word, or of a first name and a last name of one contact; numbers are the last seven digits
// of a contact's first phone that has as many.
QuerySet MakeQueries(int count) {
  std::vector<std::wstring> keys[4], single, pairs, numbers;
  for (int k = 0; k < count; ++k) {
    const ToolContact contact = GenerateContact(kSeed, k);
    const std::vector<std::wstring> first = NameWords(contact.text[FieldFirstName]);
    const std::vector<std::wstring> last = NameWords(contact.text[FieldLastName]);
    for (const std::vector<std::wstring>* words : {&first, &last}) {
      for (const std::wstring& word : *words) {
        const Str mapped = MapToGroupKeys(word.c_str());
        for (int n = 0; n < 4; ++n) {
          if (mapped.GetLength() >= kKeypadLength[n])
            keys[n].push_back(static_cast<const wchar_t*>(mapped.Left(kKeypadLength[n])));
        }
        if (word.size() >= 3) single.push_back(word.substr(0, 3));
      }
    }
    if (!first.empty() && !last.empty() && first[0].size() >= 2 && last[0].size() >= 2)
      pairs.push_back(first[0].substr(0, 3) + L" " + last[0].substr(0, 3));
    for (int p = 0; p < kPhoneFieldCount; ++p) {
      const std::wstring digits = DigitsOf(contact.text[kPhoneFields[p]].c_str());
      if (digits.size() >= 7) {
        numbers.push_back(digits.substr(digits.size() - 7));
        break;
      }
    }
  }
  QuerySet set;
  for (int n = 0; n < 4; ++n) set.queries[Keypad1 + n] = Spread(keys[n]);
  set.queries[Text1] = Spread(single);
  set.queries[Text2] = Spread(pairs);
  set.queries[Phone] = Spread(numbers);
  return set;
}

// --- the naive peer -------------------------------------------------------------------------------------

// A dialer without an index: every contact's words (lower case, each once) and the digits of its
// numbers, read into memory once; each query walks all of them.
struct NaiveContact {
  CEOID oid;
  std::vector<std::wstring> words;
  std::vector<std::wstring> phones;
};

// Collects the words the feed would put into the word tree; the number ends ("~...") are index keys,
// not words of the contact.
class WordCollector : public IndexKeySink {
 public:
  BOOL AddKey(int tree, CEOID, const Str& key) override {
    if (tree == WordTree && key.GetLength() > 0 && key[0] != kNumberEndMark)
      words->push_back(static_cast<const wchar_t*>(key));
    return TRUE;
  }
  std::vector<std::wstring>* words = nullptr;
};

class NaivePeer {
 public:
  // Reads every record of the database in one pass and keeps its words and numbers: the peer's start.
  bool Load() {
    contacts.clear();
    ContactDatabase database;
    if (!database.Open(nullptr)) return false;
    ContactNote note;
    KeypadGroups none;  // the feed's keypad side is left empty: this peer maps at query time
    WordCollector collector;
    ContactFeed feed(&collector, &none);
    DbDatabase& table = database.Contacts();
    table.SetAtEnd(false);
    if (table.SeekIndex(0) == 0) return true;
    while (!table.IsAtEnd()) {
      Contact contact;
      if (!database.LoadCurrent(contact)) break;
      Str text;
      note.GetNoteText(contact, text);
      NaiveContact entry;
      entry.oid = contact.oid;
      collector.words = &entry.words;
      feed.FeedContact(contact, text);
      std::sort(entry.words.begin(), entry.words.end());
      entry.words.erase(std::unique(entry.words.begin(), entry.words.end()), entry.words.end());
      for (int p = 0; p < kPhoneFieldCount; ++p) AddPhone(entry, contact.text[kPhoneFields[p]]);
      for (int p = 0; p < contact.Phone.GetSize(); ++p) AddPhone(entry, contact.Phone[p].value);
      contacts.push_back(std::move(entry));
    }
    return true;
  }

  // The keypad layout: the key of each character's group, 0 for none. A table of the letters, not of
  // the contacts: a dialer has it without any index.
  void TakeKeypad() {
    keyOf.assign(65536, 0);
    for (int ch = 1; ch < 65536; ++ch) {
      const int group = g_keypadGroups.GroupOf(static_cast<wchar_t>(ch));
      if (group >= 0) keyOf[ch] = g_keypadGroups.GroupKeyOf(group);
    }
  }

  // Contacts with a word whose keys begin with `keys`: each word mapped key by key as far as needed.
  void Keypad(const std::wstring& keys, std::vector<uint32_t>& out) const {
    out.clear();
    const size_t n = keys.size();
    for (const NaiveContact& contact : contacts) {
      for (const std::wstring& word : contact.words) {
        if (word.size() < n) continue;
        size_t k = 0;
        while (k < n && keyOf[static_cast<uint16_t>(word[k])] == keys[k]) ++k;
        if (k == n) {
          out.push_back(static_cast<uint32_t>(contact.oid));
          break;
        }
      }
    }
  }

  // Contacts that have, for every word of the query, a word beginning with it.
  void Text(const std::wstring& query, std::vector<uint32_t>& out) const {
    out.clear();
    const std::vector<std::wstring> wanted = NameWords(query);
    if (wanted.empty()) return;
    for (const NaiveContact& contact : contacts) {
      bool all = true;
      for (const std::wstring& part : wanted) {
        bool found = false;
        for (const std::wstring& word : contact.words) {
          if (word.compare(0, part.size(), part) == 0) {
            found = true;
            break;
          }
        }
        if (!found) {
          all = false;
          break;
        }
      }
      if (all) out.push_back(static_cast<uint32_t>(contact.oid));
    }
  }

  // Contacts with a number that matches `digits` by the caller lookup's rule: numbers of six digits or
  // more against the last seven digits of each phone, shorter ones whole.
  void Number(const std::wstring& digits, std::vector<uint32_t>& out) const {
    out.clear();
    for (const NaiveContact& contact : contacts) {
      for (const std::wstring& phone : contact.phones) {
        bool hit;
        if (digits.size() < 6) {
          hit = phone == digits;
        } else {
          const size_t tail = std::min<size_t>(phone.size(), 7);
          hit = tail <= digits.size() &&
                phone.compare(phone.size() - tail, tail, digits, digits.size() - tail, tail) == 0;
        }
        if (hit) {
          out.push_back(static_cast<uint32_t>(contact.oid));
          break;
        }
      }
    }
  }

  void Run(QueryKind kind, const std::wstring& query, std::vector<uint32_t>& out) const {
    if (kind == Phone)
      Number(query, out);
    else if (kind == Text1 || kind == Text2)
      Text(query, out);
    else
      Keypad(query, out);
    std::sort(out.begin(), out.end());
  }

  const std::vector<NaiveContact>& Contacts() const { return contacts; }

 private:
  static void AddPhone(NaiveContact& entry, const wchar_t* text) {
    std::wstring digits = DigitsOf(text);
    if (!digits.empty()) entry.phones.push_back(digits);
  }

  std::vector<NaiveContact> contacts;
  std::vector<wchar_t> keyOf;
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
// index, the walk of the sorted list that puts the match in order, and the ranking by name, which reads
// the names of every contact found (for queries of two characters or more).
struct Stages {
  double lookupUs = 0, orderUs = 0, rankUs = 0;
};

Stages TimeStages(StagedManager& manager, QueryKind kind, const std::vector<std::wstring>& list) {
  const bool keypad = kind != Text1 && kind != Text2;
  const CategoryFilter everyone;
  std::vector<Str> queries;
  for (const std::wstring& query : list) queries.push_back(Str(query.c_str()));
  std::vector<Array<CEOID>> matches(list.size()), ordered(list.size());
  for (size_t q = 0; q < list.size(); ++q) {
    if (keypad)
      manager.KeypadMatch(queries[q], matches[q]);
    else
      manager.TextMatch(queries[q], matches[q]);
    manager.PlainOrder(FALSE, matches[q], SortKindName, everyone, ordered[q]);
  }
  Array<CEOID> ids;
  Stages stages;
  stages.lookupUs = MedianMs(kSearchRepeats,
                             [&] {
                               for (const Str& query : queries) {
                                 if (keypad)
                                   manager.KeypadMatch(query, ids);
                                 else
                                   manager.TextMatch(query, ids);
                               }
                             }) *
                    1000.0 / list.size();
  stages.orderUs = MedianMs(kSearchRepeats,
                            [&] {
                              for (size_t q = 0; q < list.size(); ++q)
                                manager.PlainOrder(FALSE, matches[q], SortKindName, everyone, ids);
                            }) *
                   1000.0 / list.size();
  // The copy that the ranking works on is made outside the timing.
  std::vector<double> times;
  for (int r = 0; r < kSearchRepeats; ++r) {
    std::vector<Array<CEOID>> work(ordered);
    const double start = NowMs();
    for (size_t q = 0; q < list.size(); ++q)
      manager.ReorderByName(queries[q], keypad ? TRUE : FALSE, work[q], nullptr);
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
  void AddContact(const NaiveContact& contact) {
    std::fprintf(file, "C\t%lu\t", static_cast<unsigned long>(contact.oid));
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
    std::fputc('\n', file);
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
              {"keypad search, 5 keys, us", "keypad5_us"},  {"text search, 1 word, us", "text1_us"},
              {"text search, 2 words, us", "text2_us"},     {"caller by last 7 digits, us", "phone_us"}};
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
  std::printf("  queries whose result differs between the two: %d\n", differ);
  for (const std::string& info : out.Infos()) std::printf("  note: %s\n", info.c_str());
}

// --- one count --------------------------------------------------------------------------------------------

double Median(std::vector<double> values) {
  if (values.empty()) return -1;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Brings the database to `count` contacts and makes the index anew by a start on a device without
// one; false when the start fails (the rebuild doesn't fit). The manager is closed again.
bool RebuildFits(int count, DWORD* error) {
  if (!HoldContacts(count)) {
    std::printf("  the database can't hold %d contacts (error %lu)\n", count, GetLastError());
    std::exit(1);
  }
  DeleteIndexFiles();
  BenchManager bench;
  const bool fits = bench.TimedOpen() >= 0 && bench.Get().LastOpenReport().rebuilt;
  if (error != nullptr) *error = bench.error;
  bench.Close();
  return fits;
}

struct Sizes {
  uint32_t index = 0;
  uint32_t props = 0;
};

// Every query of `queries` through the manager: the answers into `results`, the figures into `out`.
Sizes ProductSearches(const QuerySet& queries, Export& out,
                      std::vector<std::vector<uint32_t>> results[KindCount]) {
  BenchManager bench;
  if (bench.TimedOpen() < 0) {
    std::printf("\n  the manager can't be opened for the searches (error %lu)\n", bench.error);
    std::exit(1);
  }
  StagedManager& manager = bench.Get();
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
      results[kind].push_back(Sorted(ids));
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
  if (!HoldContacts(count)) {
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
  for (int r = 0; r < kOpenRepeats; ++r) {
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
  const Sizes sizes = ProductSearches(queries, out, results);

  // The naive peer: its start reads every contact; then the same queries.
  Progress(", naive peer");
  NaivePeer naive;
  const double load = MedianMs(kOpenRepeats, [&] {
    if (!naive.Load()) std::printf("\n  (the naive peer can't read the database)");
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
  for (; rounds < kOpenRepeats; ++rounds) {
    if (!ChangeRecords(rounds)) {
      std::printf("\n  the records can't be changed (error %lu)\n", GetLastError());
      std::exit(1);
    }
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
  for (int r = 0; r < rounds; ++r) ChangeRecords(r);
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
                  std::to_string(refused) + " fails its rebuild (error " + std::to_string(error) +
                  "); found by " + std::to_string(rebuilds) + " starts on a device without index");
  return fits;
}

// The letter set of the run, English and Russian; the setting as it was goes back at the end.
class LetterSetForRun {
 public:
  LetterSetForRun() {
    previous = GetSettingDword(SECTION_ABC, L"Type", kAbsent);
    SetSettingDword(SECTION_ABC, L"Type", LetterSetEnglishRussian, TRUE);
  }
  ~LetterSetForRun() {
    if (previous == kAbsent)
      DeleteSettingValue(SECTION_ABC, L"Type");
    else
      SetSettingDword(SECTION_ABC, L"Type", previous, TRUE);
  }

 private:
  static const DWORD kAbsent = 0xFFFFFFFF;
  DWORD previous;
};

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
