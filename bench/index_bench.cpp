// The contact index with generated contacts: a full rebuild (BulkBuilder and WriteBulk), the size of
// both files on disk, prefix lookups in the word tree and the keypad tree, single adds, updates and
// removals on a built index, a synchronous save, and how many contacts fit into the 8 MB mapping, by
// a rebuild and by single adds. The files live in a folder of the bench's own under the temporary
// folder, so the item's own index is left alone; the sorted lists read their keys from memory, not
// from the contacts database, so the figures are the index's alone.
#include <windows.h>
#include <windbase.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "BenchFolder.h"
#include "BenchTimer.h"
#include "DeviceContacts.h"
#include "Generator.h"
#include "manager/letters/KeypadGroups.h"
#include "storage/index/BulkBuilder.h"
#include "storage/contact/Contact.h"
#include "storage/index/ContactIndex.h"
#include "storage/index/ContactKeySource.h"
#include "storage/mapped/MappedFile.h"
#include "storage/index/WordSplitter.h"

namespace {

const uint64_t kSeed = 42;
// Contents the updates give to contacts that are already in the index.
const uint64_t kUpdateSeed = 4242;
// Single adds, updates and removals timed on each built index.
const int kSingleOps = 300;
// Lookups timed together for each key length and tree.
const int kLookups = 1000;

// --- contacts ------------------------------------------------------------------------------------------

// The whole generated contact, its extended block included, as the item holds it.
Contact ToContact(const ToolContact& source, CEOID oid) {
  Contact contact;
  contact.oid = oid;
  ToContactFields(source, contact);
  contact.checksum = contact.ComputeChecksum();
  return contact;
}

struct Source {
  Contact contact;
  std::wstring note;
};

CEOID OidOf(int index) { return static_cast<CEOID>(0x10000 + 3 * index); }

// Generated contacts of the bench's seed, made once each and kept: the capacity search asks for the
// same ones again and again.
class Contacts {
 public:
  const Source& At(int index) {
    while (static_cast<int>(made.size()) <= index) {
      const int next = static_cast<int>(made.size());
      ToolContact tool = GenerateContact(kSeed, next);
      made.push_back(Source{ToContact(tool, OidOf(next)), tool.note});
    }
    return made[index];
  }

 private:
  std::vector<Source> made;
};

Contacts g_contacts;

// Sort keys from memory, kept in step with what the index is given.
class MemoryKeySource : public ContactKeySource {
 public:
  bool ReadSortKey(int kind, CEOID oid, Str& key) override {
    auto found = keys.find(static_cast<uint32_t>(oid));
    if (found == keys.end()) return false;
    key = kind == SortByFileAs ? found->second.second : found->second.first;
    return true;
  }
  void Put(const Contact& contact) {
    keys[static_cast<uint32_t>(contact.oid)] = {SortKeyOf(SortByName, contact),
                                                SortKeyOf(SortByFileAs, contact)};
  }
  void Drop(CEOID oid) { keys.erase(static_cast<uint32_t>(oid)); }
  void Clear() { keys.clear(); }

 private:
  std::map<uint32_t, std::pair<Str, Str>> keys;
};

// --- files -----------------------------------------------------------------------------------------------

std::wstring g_folder;

std::wstring BenchPath(const std::wstring& name) { return g_folder + name; }

uint64_t FileBytes(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA info;
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &info)) return 0;
  return (static_cast<uint64_t>(info.nFileSizeHigh) << 32) | info.nFileSizeLow;
}

// An index with both files in the bench's folder under `name`, fresh on every start.
struct BenchIndex {
  std::wstring indexPath;
  std::wstring propsPath;
  ContactIndex index;
  MemoryKeySource keys;

  explicit BenchIndex(const std::wstring& name)
      : indexPath(BenchPath(name + L"-pim_index1.dat")), propsPath(BenchPath(name + L"-pim_index2.dat")) {
    DeleteFileW(indexPath.c_str());
    DeleteFileW(propsPath.c_str());
    index.Store().SetPath(indexPath.c_str());
    index.Props().SetPath(propsPath.c_str());
    index.SetKeySource(&keys);
  }
  ~BenchIndex() {
    index.CloseStores();
    DeleteFileW(indexPath.c_str());
    DeleteFileW(propsPath.c_str());
  }
};

// --- figures -------------------------------------------------------------------------------------------

double Median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void Row(const char* what, double ms, int count) {
  std::printf("  %-46s %10.2f ms  %9.2f us/contact\n", what, ms, ms * 1000.0 / count);
}

// A rebuild of contacts [0, count): the builder fed, then written. False when the files refuse it.
bool BulkBuild(BenchIndex& bench, int count, double* feedMs, double* writeMs) {
  bench.keys.Clear();
  for (int k = 0; k < count; ++k) bench.keys.Put(g_contacts.At(k).contact);
  BulkBuilder builder;
  const double start = NowMs();
  for (int k = 0; k < count; ++k) {
    const Source& source = g_contacts.At(k);
    builder.AddContact(new Contact(source.contact), source.note.c_str());
  }
  const double fed = NowMs();
  const BOOL written = bench.index.WriteBulk(builder);
  const double end = NowMs();
  if (feedMs != nullptr) *feedMs = fed - start;
  if (writeMs != nullptr) *writeMs = end - fed;
  return written != FALSE;
}

// Keys for the lookups: prefixes of `length` characters of the words in the contacts' names,
// companies and cities, taken in the order they occur, so a common word is looked up as often as
// it occurs. Keypad keys are the words' group keys.
std::vector<Str> LookupKeys(int count, int tree, int length) {
  static const int kFields[] = {ContactField::FirstName, ContactField::MiddleName, ContactField::LastName,
                                ContactField::Company,   ContactField::HomeCity,   ContactField::WorkCity};
  std::vector<Str> all;
  WordSplitter splitter;
  for (int k = 0; k < count; ++k) {
    const Contact& contact = g_contacts.At(k).contact;
    for (int field : kFields) {
      splitter.Reset(contact.text[field]);
      Str word;
      while (splitter.Next(word)) {
        word.MakeLower();
        Str key = tree == KeypadTree ? g_keypadGroups.MapToGroupKeys(word) : word;
        if (key.GetLength() >= length) all.push_back(key.Left(length));
      }
    }
  }
  std::vector<Str> keys;
  if (all.empty()) return keys;
  for (int q = 0; q < kLookups; ++q) keys.push_back(all[static_cast<size_t>(q) * all.size() / kLookups]);
  return keys;
}

int Distinct(const std::vector<Str>& keys) {
  std::vector<std::wstring> texts;
  for (const Str& key : keys) texts.push_back(static_cast<const wchar_t*>(key));
  std::sort(texts.begin(), texts.end());
  return static_cast<int>(std::unique(texts.begin(), texts.end()) - texts.begin());
}

void Lookups(BenchIndex& bench, int count, int tree) {
  std::printf("  prefix lookups, %s tree (%d lookups a run)\n", tree == KeypadTree ? "keypad" : "word",
              kLookups);
  std::printf("    %-10s %14s %14s %14s\n", "key length", "distinct keys", "lookups/s", "oids/lookup");
  for (int length = 1; length <= 5; ++length) {
    std::vector<Str> keys = LookupKeys(count, tree, length);
    if (keys.empty()) continue;
    Array<CEOID> ids;
    long long found = 0;
    for (const Str& key : keys) {
      bench.index.FindPrefix(tree, key, ids);
      found += ids.GetSize();
    }
    const double ms = MedianMs(5, [&] {
      for (const Str& key : keys) bench.index.FindPrefix(tree, key, ids);
    });
    std::printf("    %-10d %14d %14.0f %14.1f\n", length, Distinct(keys), keys.size() * 1000.0 / ms,
                static_cast<double>(found) / keys.size());
  }
}

// Single adds of new contacts, updates of contacts of the rebuild, and removals of the added ones,
// each timed alone; the medians.
void SingleChanges(BenchIndex& bench, int count) {
  ContactIndex& index = bench.index;
  std::vector<Source> added;
  for (int k = 0; k < kSingleOps; ++k) {
    added.push_back(g_contacts.At(count + k));
    bench.keys.Put(added.back().contact);
  }
  std::vector<double> times;
  int failed = 0;
  for (const Source& source : added) {
    const double start = NowMs();
    if (!index.AddContact(source.contact, source.note.c_str())) ++failed;
    times.push_back(NowMs() - start);
  }
  std::printf("  %-46s %10.1f us  (median of %d)\n", "single add (AddContact, with its props record)",
              Median(times) * 1000.0, kSingleOps);

  times.clear();
  for (int k = 0; k < kSingleOps; ++k) {
    const int target = static_cast<int>(static_cast<long long>(k) * count / kSingleOps);
    ToolContact tool = GenerateContact(kUpdateSeed, k);
    Contact changed = ToContact(tool, OidOf(target));
    bench.keys.Put(changed);
    const double start = NowMs();
    if (!index.UpdateContact(changed, tool.note.c_str())) ++failed;
    times.push_back(NowMs() - start);
  }
  std::printf("  %-46s %10.1f us  (median of %d)\n", "single update (UpdateContact, new contents)",
              Median(times) * 1000.0, kSingleOps);

  times.clear();
  for (const Source& source : added) {
    const double start = NowMs();
    if (!index.RemoveContact(source.contact.oid)) ++failed;
    times.push_back(NowMs() - start);
    bench.keys.Drop(source.contact.oid);
  }
  std::printf("  %-46s %10.1f us  (median of %d)\n", "single remove (RemoveContact)", Median(times) * 1000.0,
              kSingleOps);
  if (failed != 0) std::printf("  (%d single changes failed)\n", failed);
  if (index.ContactCount() != count)
    std::printf("  (the index holds %d contacts, not %d)\n", index.ContactCount(), count);
}

void Run(int count, int repeats) {
  std::printf("\n%d generated contacts\n", count);
  for (int k = 0; k < count + kSingleOps; ++k) g_contacts.At(k);
  BenchIndex bench(L"run" + std::to_wstring(count));

  std::vector<double> feed, write, total;
  for (int r = 0; r < repeats; ++r) {
    double feedMs = 0, writeMs = 0;
    if (!BulkBuild(bench, count, &feedMs, &writeMs)) {
      std::printf("  the rebuild failed (error %lu)\n", GetLastError());
      return;
    }
    feed.push_back(feedMs);
    write.push_back(writeMs);
    total.push_back(feedMs + writeMs);
  }
  std::printf("  (rebuild figures: medians of %d rebuilds)\n", repeats);
  Row("bulk build: BulkBuilder fed and WriteBulk", Median(total), count);
  Row("  of which feeding the BulkBuilder", Median(feed), count);
  Row("  of which WriteBulk", Median(write), count);

  ContactIndex& index = bench.index;
  const double save = MedianMs(5, [&] {
    if (!index.Save(FALSE)) std::printf("  (the save failed, error %lu)\n", GetLastError());
  });
  Row("save, both files at once (Save(FALSE))", save, count);
  const uint64_t indexBytes = FileBytes(bench.indexPath);
  const uint64_t propsBytes = FileBytes(bench.propsPath);
  std::printf("  %-46s %10llu bytes %8.1f bytes/contact\n", "pim_index1.dat on disk",
              static_cast<unsigned long long>(indexBytes), static_cast<double>(indexBytes) / count);
  std::printf("  %-46s %10llu bytes %8.1f bytes/contact\n", "pim_index2.dat on disk",
              static_cast<unsigned long long>(propsBytes), static_cast<double>(propsBytes) / count);

  Lookups(bench, count, WordTree);
  Lookups(bench, count, KeypadTree);
  SingleChanges(bench, count);
}

// The largest rebuild that fits: doubling from `start` until a rebuild is refused, then bisecting
// between the last that fitted and the first that didn't.
void Capacity(int start) {
  std::printf("\nlargest rebuild that fits the %u-byte mapping\n", MappedFile::kMappingSize);
  BenchIndex bench(L"capacity");
  const double begin = NowMs();
  int fits = 0;
  int refused = start;
  int builds = 0;
  while (true) {
    ++builds;
    if (!BulkBuild(bench, refused, nullptr, nullptr)) break;
    fits = refused;
    refused *= 2;
  }
  const DWORD error = GetLastError();
  while (refused - fits > 1) {
    const int middle = fits + (refused - fits) / 2;
    ++builds;
    if (BulkBuild(bench, middle, nullptr, nullptr))
      fits = middle;
    else
      refused = middle;
  }
  std::printf("  %-46s %10d contacts\n", "fits", fits);
  std::printf("  %-46s %10d contacts (error %lu)\n", "refused", refused, error);
  if (fits > 0 && BulkBuild(bench, fits, nullptr, nullptr)) {
    std::printf("  %-46s %10u bytes\n", "pim_index1.dat data at that count", bench.index.Store().Length());
    std::printf("  %-46s %10u bytes\n", "pim_index2.dat data at that count", bench.index.Props().Length());
  }
  std::printf("  (%d rebuilds, %.1f s)\n", builds + 1, (NowMs() - begin) / 1000.0);
}

// The same by single adds into new, empty files, until an add is refused.
void CapacityBySingleAdds() {
  std::printf("\nsingle adds into empty files until one is refused\n");
  BenchIndex bench(L"adds");
  ContactIndex& index = bench.index;
  const double begin = NowMs();
  if (!index.CreateStores(0)) {
    std::printf("  could not make the files (error %lu)\n", GetLastError());
    return;
  }
  const int kGiveUp = 1000000;
  int added = 0;
  DWORD error = 0;
  for (; added < kGiveUp; ++added) {
    const Source& source = g_contacts.At(added);
    bench.keys.Put(source.contact);
    if (!index.AddContact(source.contact, source.note.c_str())) {
      error = GetLastError();
      break;
    }
  }
  std::printf("  %-46s %10d contacts\n", "added", added);
  std::printf("  %-46s %10s (error %lu)\n", "the next one refused", added < kGiveUp ? "yes" : "no", error);
  std::printf("  %-46s %10u bytes\n", "pim_index1.dat data then", index.Store().Length());
  std::printf("  %-46s %10u bytes\n", "pim_index2.dat data then", index.Props().Length());
  std::printf("  (%.1f s)\n", (NowMs() - begin) / 1000.0);
}

}  // namespace

int main() {
  setvbuf(stdout, nullptr, _IONBF, 0);
  g_folder = MakeBenchFolder(L"pagemark-index-bench");
  // The keypad letters of a device with English and Russian: the generated contacts have names of both.
  Array<Str> letters;
  const wchar_t* const groups[] = {L"ABCабвг", L"DEFдеёжз", L"GHIийкл", L"JKLмноп",
                                   L"MNOрсту", L"PQRSфхцч", L"TUVшщъы", L"WXYZьэюя"};
  for (const wchar_t* group : groups) letters.Add(Str(group));
  g_keypadGroups.Fill(letters);

  std::printf("contact index benchmark: generated contacts (seed %llu), English and Russian keypad letters\n",
              static_cast<unsigned long long>(kSeed));
  const double begin = NowMs();
  Run(1000, 5);
  Run(10000, 3);
  Capacity(10000);
  CapacityBySingleAdds();
  std::printf("\n(%.1f s in all)\n", (NowMs() - begin) / 1000.0);
  RemoveBenchFolder(g_folder);
  return 0;
}
