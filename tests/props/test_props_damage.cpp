// Damaged props store files opened as the product opens them: every header byte changed, and the
// mutation loop over whole files. A store opened with its check is sound and takes every change; one
// opened for a quick start, its check not yet run, answers every read and write with its result or
// ERROR_INVALID_DATA, and never reads or writes outside its data.
#include <doctest/doctest.h>

#include <map>
#include <string>

#include "MutationLoop.h"
#include "PropsFixture.h"

namespace {

typedef std::vector<uint8_t> Bytes;

// A saved store of a few hundred records, some deleted and some updated since (a free ring of many
// blocks and records of one to many blocks), and the records that remain.
struct Saved {
  Bytes file;
  std::map<uint32_t, ModelRecord> records;
};

Saved Build(uint32_t seed, int count) {
  PropsFixture f(L"damage_build_" + std::to_wstring(seed));
  REQUIRE(f.store.Create(0));
  std::mt19937 random(seed);
  Saved saved;
  std::vector<uint32_t> order;
  for (int i = 0; i < count; ++i) {
    ModelRecord record = RandomRecord(random, i % 7 == 0 ? 1 : 0);
    const uint32_t offset = f.Add(record);
    REQUIRE(offset != 0);
    saved.records[offset] = record;
    order.push_back(offset);
  }
  for (size_t i = 0; i < order.size(); i += 5) {
    REQUIRE(f.store.DeleteRecord(order[i]));
    saved.records.erase(order[i]);
  }
  for (size_t i = 2; i < order.size(); i += 9) {
    if (i % 5 == 0) continue;  // deleted above
    ModelRecord record = RandomRecord(random, 1);
    REQUIRE(f.Update(order[i], record));
    saved.records[order[i]] = record;
  }
  REQUIRE(f.CheckReport() == "");
  REQUIRE(f.store.Save(FALSE));
  saved.file = ReadFileBytes(f.path);
  return saved;
}

const std::vector<Saved>& Stores() {
  static const std::vector<Saved> stores = {Build(501, 260), Build(502, 120)};
  return stores;
}

bool Damage(DWORD error) { return error == ERROR_INVALID_DATA; }

class DamagedStoreRun {
 public:
  explicit DamagedStoreRun(const std::wstring& name) : path(PropsTempFile(name)) {
    store.SetPath(path.c_str());
  }
  ~DamagedStoreRun() {
    store.Close();
    DeleteFileW(path.c_str());
  }

  // The pristine store whose file `input` most likely came from: the most bytes alike in its head.
  static const Saved& Closest(const Bytes& input) {
    const Saved* best = &Stores()[0];
    size_t bestSame = 0;
    for (const Saved& saved : Stores()) {
      size_t same = 0;
      const size_t n = std::min<size_t>(4096, std::min(saved.file.size(), input.size()));
      for (size_t k = 0; k < n; ++k) same += saved.file[k] == input[k];
      if (same > bestSame) {
        bestSame = same;
        best = &saved;
      }
    }
    return *best;
  }

  bool Run(const Bytes& input, bool deferred, std::string& why) {
    store.Close();
    if (inMemory) {
      // The same opens, over the bytes themselves instead of a file.
      store.File().UseImage(input.data(), static_cast<uint32_t>(input.size()));
    } else if (!WriteFileBytes(path, input)) {
      why = "the test couldn't write its file";
      return false;
    }
    SetLastError(0);
    const BOOL opened = deferred ? store.OpenDeferred() : store.Open(TRUE);
    if (!opened) {
      this->opened = false;
      ++refusals[GetLastError()];
      if (GetLastError() == 0) {
        why = "the open was refused without an error";
        return false;
      }
      return true;
    }
    this->opened = true;
    if (deferred && !store.WaitLoaded()) {
      store.Close();
      return true;
    }
    const bool right = deferred ? Deferred(input, why) : AtOnce(input, why);
    store.Close();
    return right;
  }

  bool opened = false;
  std::map<DWORD, int> refusals;
  // Whether the file is opened from memory (MappedFile::UseImage) rather than written and read.
  bool inMemory = false;

 private:
  ModelRecord Fresh() const {
    std::mt19937 random(static_cast<uint32_t>(serial));
    return RandomRecord(random, 1);
  }

  // A store that passed its check at open: the records it holds read back, and every change works and
  // leaves it sound.
  bool AtOnce(const Bytes& input, std::string& why) {
    ++serial;
    const Saved& saved = Closest(input);
    uint32_t readable = 0;
    for (const auto& entry : saved.records) {
      ContactExtended block;
      uint32_t checksum = 0;
      if (store.GetRecord(entry.first, block, &checksum)) {
        ++readable;
      } else if (!Damage(GetLastError())) {
        why = "a record read failed with error " + std::to_string(GetLastError());
        return false;
      }
    }
    const ModelRecord fresh = Fresh();
    ContactExtended block;
    ToBlock(fresh, block);
    const uint32_t added = store.AddRecord(block, fresh.checksum);
    if (added == 0) {
      why = "adding to a sound store failed with error " + std::to_string(GetLastError());
      return false;
    }
    ContactExtended back;
    uint32_t checksum = 0;
    if (!store.GetRecord(added, back, &checksum) || FromBlock(back, checksum) != fresh) {
      why = "a record added to a sound store doesn't read back";
      return false;
    }
    ModelRecord bigger = fresh;
    bigger.image = std::wstring(600, L'x');
    ToBlock(bigger, block);
    if (!store.UpdateRecord(added, block, bigger.checksum)) {
      why = "updating a record of a sound store failed with error " + std::to_string(GetLastError());
      return false;
    }
    for (const auto& entry : saved.records) {
      if (entry.first == added || !store.GetRecord(entry.first, back, &checksum)) continue;
      if (!store.DeleteRecord(entry.first)) {
        why =
            "deleting a readable record of a sound store failed with error " + std::to_string(GetLastError());
        return false;
      }
      break;
    }
    Str report;
    if (!store.Check(report)) {
      std::string text;
      for (int i = 0; i < report.GetLength(); ++i) text += char(report[i] < 128 ? report[i] : '?');
      why = "a sound store fails its check after the changes: " + text;
      return false;
    }
    (void)readable;
    return true;
  }

  // A store whose check hasn't run: every operation gives its result or ERROR_INVALID_DATA (or, for a
  // store that must grow, the full mapping's error).
  bool Deferred(const Bytes& input, std::string& why) {
    ++serial;
    const Saved& saved = Closest(input);
    auto allowed = [&](const char* what) {
      const DWORD error = GetLastError();
      if (Damage(error) || error == kMappingFullError) return true;
      why = std::string(what) + " failed with error " + std::to_string(error);
      return false;
    };
    for (const auto& entry : saved.records) {
      ContactExtended block;
      uint32_t checksum = 0;
      if (!store.GetRecord(entry.first, block, &checksum) && !allowed("a record read")) return false;
      if (!store.GetChecksum(entry.first, checksum) && !allowed("a checksum read")) return false;
    }
    const ModelRecord fresh = Fresh();
    ContactExtended block;
    ToBlock(fresh, block);
    const uint32_t added = store.AddRecord(block, fresh.checksum);
    if (added == 0 && !allowed("adding a record")) return false;
    int changed = 0;
    for (const auto& entry : saved.records) {
      if (changed++ == 3) break;
      if (!store.UpdateRecord(entry.first, block, fresh.checksum) && !allowed("updating a record"))
        return false;
    }
    if (!saved.records.empty() && !store.DeleteRecord(saved.records.rbegin()->first) &&
        !allowed("deleting a record"))
      return false;
    if (added != 0 && !store.DeleteRecord(added) && !allowed("deleting the added record")) return false;
    Str report;
    store.Check(report);
    return true;
  }

  std::wstring path;
  PropsStore store;
  uint64_t serial = 0;
};

std::vector<Bytes> Corpus() {
  std::vector<Bytes> corpus;
  for (const Saved& saved : Stores()) corpus.push_back(saved.file);
  return corpus;
}

}  // namespace

TEST_CASE("every byte of the props store's header and pool header changed to 0, 0xFF, +1, -1 and 0x80") {
  DamagedStoreRun run(L"damage_header.dat");
  for (const Saved& saved : Stores()) {
    int refused = 0, accepted = 0;
    for (uint32_t at = 0; at < PropsStore::kHeaderSize + BlockPool::kHeaderSize; ++at) {
      const uint8_t old = saved.file[at];
      const uint8_t values[] = {0x00, 0xFF, static_cast<uint8_t>(old + 1), static_cast<uint8_t>(old - 1),
                                0x80};
      for (uint8_t value : values) {
        if (value == old) continue;
        Bytes damaged = saved.file;
        damaged[at] = value;
        for (int deferred = 0; deferred < 2; ++deferred) {
          std::string why;
          INFO("byte " << at << " set to " << int(value) << (deferred ? ", deferred" : ""));
          CHECK_MESSAGE(run.Run(damaged, deferred != 0, why), why);
          if (!deferred) (run.opened ? accepted : refused)++;
        }
      }
    }
    // The database's time is only a value; the mark, the version, the in-change byte, the records'
    // link and count and the pool's header are structure.
    CHECK(accepted > 0);
    CHECK(refused > 0);
  }
}

TEST_CASE("mutations: the props store file") {
  DamagedStoreRun run(L"damage_mutations.dat");
  run.inMemory = true;
  uint64_t serial = 0, opened = 0;
  const mutation::Summary summary = mutation::Run(
      "props-file", Corpus(),
      [&](const mutation::Bytes& input, std::string& why) {
        const bool deferred = (serial++ % 2) == 1;
        const bool right = run.Run(input, deferred, why);
        if (run.opened) ++opened;
        return right;
      },
      3000, 22);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  for (const auto& refusal : run.refusals)
    MESSAGE("refused with error " << refusal.first << ": " << refusal.second);
  CHECK(summary.wrong == 0);
  CHECK(opened * 4 > summary.inputs);
}
