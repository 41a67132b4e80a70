// Damaged index files: every header byte changed, the two findings of the damaged-file trials (a
// changed byte in the header's list link, a chain slot that names no node followed by a delete), the
// allocator given back what isn't a block, and the mutation loop over whole index files opened as the
// product opens them (at once with the whole check, or deferred with the walk left for later) and then
// searched, listed, added to, removed from, updated and checked.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "IndexFixture.h"
#include "MutationLoop.h"
#include "WideText.h"
#include "storage/index/BulkBuilder.h"

using namespace indextest;

namespace {

typedef std::vector<uint8_t> Bytes;

const uint32_t kFreshOid = 900001;

uint32_t WordAt(const Bytes& bytes, uint32_t at) {
  uint32_t value = 0;
  if (at + 4 <= bytes.size()) memcpy(&value, bytes.data() + at, 4);
  return value;
}

void PutWord(Bytes& bytes, uint32_t at, uint32_t value) { memcpy(bytes.data() + at, &value, 4); }

// A saved pair of index files and what the test knows of its contacts.
struct Image {
  Bytes index;
  Bytes props;
  std::map<uint32_t, std::pair<std::wstring, std::wstring>> keys;
};

Image Saved(IndexFixture& f) {
  REQUIRE(f.index.Save(FALSE));
  Image image;
  image.index = ReadFileBytes(f.indexPath);
  image.props = ReadFileBytes(f.propsPath);
  image.keys = f.keys.keys;
  REQUIRE(image.index.size() > 1000);
  return image;
}

// Three indexes of `contacts` contacts or so: one made by single adds, one with many removed and updated
// since (a free ring of many blocks), and one written by a full rebuild.
std::vector<Image> BuildImages(uint32_t contacts) {
  std::vector<Image> images;
  {
    IndexFixture f(L"damage_build_adds");
    RandomContacts random(41);
    for (uint32_t k = 0; k < contacts; ++k) {
      std::wstring note;
      Contact c = random.Make(10 + k * 3, &note);
      f.Add(c, note.c_str());
    }
    images.push_back(Saved(f));
  }
  {
    IndexFixture f(L"damage_build_changed");
    RandomContacts random(42);
    for (uint32_t k = 0; k < contacts * 16 / 15; ++k) {
      std::wstring note;
      Contact c = random.Make(20 + k * 5, &note);
      f.Add(c, note.c_str());
    }
    for (uint32_t k = 0; k < contacts * 16 / 15; k += 4) f.Remove(20 + k * 5);
    for (uint32_t k = 1; k < contacts * 16 / 15; k += 8) {
      std::wstring note;
      Contact c = random.Make(20 + k * 5, &note);
      f.Update(c, note.c_str());
    }
    images.push_back(Saved(f));
  }
  {
    IndexFixture f(L"damage_build_bulk");
    BulkBuilder builder;
    for (int k = 0; k < static_cast<int>(contacts * 5 / 6); ++k) {
      std::wstring note;
      Contact c = Generated(7, k, 500 + static_cast<uint32_t>(k) * 2, &note);
      f.keys.Put(c);
      REQUIRE(builder.AddContact(new Contact(c), note.c_str()));
    }
    REQUIRE(f.index.WriteBulk(builder));
    images.push_back(Saved(f));
  }
  return images;
}

const std::vector<Image>& Images() {
  static const std::vector<Image> images = BuildImages(300);
  return images;
}

// The same kinds of index of some 60 contacts, for the mutation loop: every structure is there, and a
// damaged byte lands in a structure more often than in the text of a word.
const std::vector<Image>& SmallImages() {
  static const std::vector<Image> images = BuildImages(60);
  return images;
}

// The prefixes every run looks up: beginnings of the words the random contacts are made of, digits of
// phones (the reversed numbers behind `~` too), and keypad digits.
const wchar_t* const kWordProbes[] = {L"a",  L"ab", L"abc", L"b", L"иван", L"ан", L"x",  L"zz",
                                      L"q1", L"m",  L"ü",   L"1", L"~",    L"~1", L"79", L"summer"};
const wchar_t* const kKeypadProbes[] = {L"2", L"22", L"222", L"6", L"9", L"4", L"7"};

std::string Text(const Str& text) { return U8(static_cast<const wchar_t*>(text)); }

// Runs one image of pim_index1.dat (beside a sound pim_index2.dat) through everything an index does.
class DamagedIndexRun {
 public:
  explicit DamagedIndexRun(const std::wstring& name)
      : indexPath(TempPath(name + L"_1.dat")), propsPath(TempPath(name + L"_2.dat")) {
    UseEnglishRussianGroups();
    index.Store().SetPath(indexPath.c_str());
    index.Props().SetPath(propsPath.c_str());
    index.SetKeySource(&keys);
  }
  ~DamagedIndexRun() {
    index.CloseStores();
    DeleteFileW(indexPath.c_str());
    DeleteFileW(propsPath.c_str());
  }

  // The pristine image that `input` most likely came from: the most bytes alike in its head.
  const Image& Closest(const Bytes& input) const {
    const Image* best = &(*images)[0];
    size_t bestSame = 0;
    for (const Image& image : *images) {
      size_t same = 0;
      const size_t n = std::min<size_t>(4096, std::min(image.index.size(), input.size()));
      for (size_t k = 0; k < n; ++k) same += image.index[k] == input[k];
      if (same > bestSame) {
        bestSame = same;
        best = &image;
      }
    }
    return *best;
  }

  // Opens `input` at once (with the whole check) or deferred, and exercises it. False, with the
  // reason, for a wrong result.
  bool Run(const Bytes& input, bool deferred, std::string& why) {
    const Image& image = Closest(input);
    keys.keys = image.keys;
    index.CloseStores();
    if (inMemory) {
      // The same opens, over the bytes themselves instead of files.
      index.Store().File().UseImage(input.data(), static_cast<uint32_t>(input.size()));
      index.Props().File().UseImage(image.props.data(), static_cast<uint32_t>(image.props.size()));
    } else if (!testpaths::WriteFileBytes(indexPath, input) ||
               !testpaths::WriteFileBytes(propsPath, image.props)) {
      why = "the test couldn't write its files";
      return false;
    }
    SetLastError(0);
    if (!index.OpenStores(deferred ? TRUE : FALSE)) {
      opened = false;
      if (GetLastError() == 0) {
        why = "the open was refused without an error";
        return false;
      }
      return true;
    }
    opened = true;
    const bool right = deferred ? Deferred(input, why) : AtOnce(why);
    index.CloseStores();
    return right;
  }

  bool opened = false;
  // The pristine images the damaged ones are made from.
  const std::vector<Image>* images = &Images();
  // Whether the files are opened from memory (MappedFile::UseImage) rather than written and read.
  bool inMemory = false;

 private:
  // Ids of every list, lookup and word search; false when one failed. Failures must be damage.
  bool Lookups(std::vector<std::vector<uint32_t>>& results, std::string& failure) {
    bool all = true;
    auto note = [&](BOOL done, const char* what) {
      if (done) return;
      all = false;
      if (GetLastError() != ERROR_INVALID_DATA && failure.empty())
        failure = std::string(what) + " failed with error " + std::to_string(GetLastError());
    };
    Array<CEOID> ids;
    for (int kind = 0; kind < 2; ++kind) {
      note(index.ListAll(kind, ids), "a sorted list");
      results.push_back(Ids(ids));
    }
    for (const wchar_t* probe : kWordProbes) {
      note(index.FindPrefix(WordTree, probe, ids), "a word lookup");
      results.push_back(Ids(ids));
    }
    for (const wchar_t* probe : kKeypadProbes) {
      note(index.FindPrefix(KeypadTree, probe, ids), "a keypad lookup");
      results.push_back(Ids(ids));
    }
    note(index.FindWords(WordTree, L"ab x", ids), "a word search");
    results.push_back(Ids(ids));
    return all;
  }

  // What the comparison of a stale start reads before anything waits for the copies: the name list,
  // and for each contact the map names its record's checksum. Each read answers or fails with
  // ERROR_INVALID_DATA.
  bool CompareReads(std::string& why) {
    auto refused = [&](const char* what) {
      if (GetLastError() == ERROR_INVALID_DATA) return true;
      why = std::string(what) + " failed with error " + std::to_string(GetLastError());
      return false;
    };
    SetLastError(0);
    if (!index.FetchForCompare()) return refused("the comparison's fetch");
    Array<CEOID> names;
    if (!index.ListNamesForCompare(names)) return refused("the comparison's name list");
    for (int k = 0; k < names.GetSize(); ++k) {
      uint32_t record = 0;
      uint32_t checksum = 0;
      if (!index.FindForCompare(names[k], &record)) continue;
      SetLastError(0);
      if (!index.ChecksumForCompare(record, checksum) && !refused("a checksum of the comparison"))
        return false;
    }
    return true;
  }

  static Contact Fresh() {
    Contact c = Named(kFreshOid, L"Zqxmutant", L"Fresh", L"Mutant Works");
    c.checksum = c.ComputeChecksum();
    return c;
  }

  // A store that passed the whole check at open: everything works, every id found is a contact of the
  // index, and a store whose own check passed still passes it after the changes.
  bool AtOnce(std::string& why) {
    Str before;
    const bool soundBefore = index.Check(before) != FALSE;
    std::vector<std::vector<uint32_t>> results;
    std::string failure;
    if (!Lookups(results, failure)) {
      why = "a lookup failed on a store that passed its check at open: " + failure;
      return false;
    }
    const std::set<uint32_t> held(results[0].begin(), results[0].end());
    for (const auto& ids : results) {
      for (uint32_t id : ids) {
        if (held.count(id) == 0 || !index.Find(id, nullptr)) {
          why = "a lookup found " + std::to_string(id) + ", which isn't a contact of the index";
          return false;
        }
      }
    }
    if (!held.empty()) {
      const uint32_t victim = *held.begin();
      if (!index.RemoveContact(victim)) {
        if (!soundBefore && GetLastError() == ERROR_INVALID_DATA) return true;
        why = "removing a contact failed with error " + std::to_string(GetLastError());
        return false;
      }
      keys.Drop(victim);
      for (const wchar_t* probe : kWordProbes) {
        Array<CEOID> ids;
        index.FindPrefix(WordTree, probe, ids);
        if (std::count(ids.GetData(), ids.GetData() + ids.GetSize(), static_cast<CEOID>(victim)) > 0) {
          why = "a removed contact is still found";
          return false;
        }
      }
    }
    const Contact fresh = Fresh();
    keys.Put(fresh);
    if (!index.AddContact(fresh, L"mutant note")) {
      if (!soundBefore && GetLastError() == ERROR_INVALID_DATA) return true;
      why = "adding a contact failed with error " + std::to_string(GetLastError());
      return false;
    }
    Array<CEOID> ids;
    if (!index.FindPrefix(WordTree, L"zqxmut", ids) || Ids(ids) != std::vector<uint32_t>{kFreshOid}) {
      why = "an added contact isn't found by its word";
      return false;
    }
    if (held.size() > 1) {
      Contact changed = Named(*held.rbegin(), L"Changedname", L"Again");
      changed.checksum = changed.ComputeChecksum();
      keys.Put(changed);
      if (!index.UpdateContact(changed, L"") && !(!soundBefore && GetLastError() == ERROR_INVALID_DATA)) {
        why = "updating a contact failed with error " + std::to_string(GetLastError());
        return false;
      }
    }
    Str after;
    if (soundBefore && !index.Check(after)) {
      why = "a sound store fails its check after the changes: " + Text(after);
      return false;
    }
    return true;
  }

  // A store opened for a quick start, its walk not yet run: every operation works or fails with
  // ERROR_INVALID_DATA, every id found is a word of the file (nothing is read from outside it), and
  // after a failure the index says it is damaged; the check and the walk then end.
  bool Deferred(const Bytes& input, std::string& why) {
    // What the data holds: the file at first, and after the changes the data as they left it. Every
    // id found must stand in it as a word; the words are looked up in the few ids found rather than
    // the other way round.
    std::vector<std::pair<const uint8_t*, size_t>> sources{{input.data(), input.size()}};
    auto fromFile = [&](const std::vector<std::vector<uint32_t>>& results) {
      std::vector<uint32_t> ids;
      for (const auto& found : results) ids.insert(ids.end(), found.begin(), found.end());
      std::sort(ids.begin(), ids.end());
      ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
      std::vector<bool> seen(ids.size(), false);
      size_t unseen = ids.size();
      for (const auto& source : sources) {
        for (size_t at = 0; at + 4 <= source.second && unseen > 0; at += 4) {
          uint32_t word;
          memcpy(&word, source.first + at, 4);
          const auto hit = std::lower_bound(ids.begin(), ids.end(), word);
          if (hit == ids.end() || *hit != word || seen[hit - ids.begin()]) continue;
          seen[hit - ids.begin()] = true;
          --unseen;
        }
      }
      for (size_t k = 0; k < ids.size(); ++k) {
        if (seen[k]) continue;
        why = "a lookup found " + std::to_string(ids[k]) + ", which stands nowhere in the data";
        return false;
      }
      return true;
    };
    if (!CompareReads(why)) return false;
    std::vector<std::vector<uint32_t>> results;
    std::string failure;
    const bool looked = Lookups(results, failure);
    if (!failure.empty()) {
      why = failure;
      return false;
    }
    if (!looked && !index.IsDamaged()) {
      why = "a lookup failed, yet the index doesn't say it is damaged";
      return false;
    }
    if (!fromFile(results)) return false;

    auto damageOnly = [&](BOOL done, const char* what) {
      if (done) return true;
      const DWORD error = GetLastError();
      if (error == ERROR_INVALID_DATA || error == ERROR_NOT_FOUND) return true;
      why = std::string(what) + " failed with error " + std::to_string(error);
      return false;
    };
    const Image& image = Closest(input);
    const uint32_t victim = image.keys.empty() ? 1 : image.keys.begin()->first;
    if (!damageOnly(index.RemoveContact(victim), "removing a contact")) return false;
    const Contact fresh = Fresh();
    keys.Put(fresh);
    const BOOL added = index.AddContact(fresh, L"mutant note");
    if (!damageOnly(added, "adding a contact")) return false;
    if (image.keys.size() > 1) {
      Contact changed = Named(image.keys.rbegin()->first, L"Changedname", L"Again");
      changed.checksum = changed.ComputeChecksum();
      keys.Put(changed);
      if (!damageOnly(index.UpdateContact(changed, L""), "updating a contact")) return false;
    }
    IndexStore& store = index.Store();
    if (store.Data() != nullptr) sources.emplace_back(store.Data(), store.Length());
    results.clear();
    failure.clear();
    Lookups(results, failure);
    if (!failure.empty()) {
      why = failure;
      return false;
    }
    if (!fromFile(results)) return false;
    Str report;
    index.Check(report);
    index.Walk(0, TRUE);
    return true;
  }

  std::wstring indexPath;
  std::wstring propsPath;
  ContactIndex index;
  MapKeySource keys;
};

std::vector<Bytes> IndexCorpus(const std::vector<Image>& images) {
  std::vector<Bytes> corpus;
  for (const Image& image : images) corpus.push_back(image.index);
  return corpus;
}

// The offset of the first word slot of contact `oid`'s chain in the word tree, from the file alone.
uint32_t ChainSlotOf(const Bytes& file, uint32_t oid) {
  const uint32_t map = WordAt(file, kWordReverseSlot);
  const uint32_t count = WordAt(file, map);
  for (uint32_t k = 0; k < count; ++k) {
    if (WordAt(file, map + 4 + 8 * k) != oid) continue;
    const uint32_t chain = WordAt(file, map + 8 + 8 * k);
    return chain + 12;
  }
  return 0;
}

}  // namespace

TEST_CASE("every byte of the index file's header changed to 0, 0xFF, +1, -1 and 0x80: refused, or sound") {
  DamagedIndexRun run(L"damage_header");
  for (size_t n = 0; n < Images().size(); ++n) {
    const Bytes& pristine = Images()[n].index;
    int refused = 0, accepted = 0;
    for (uint32_t at = 0; at < kIndexHeaderSize + 8; ++at) {
      const uint8_t old = pristine[at];
      const uint8_t values[] = {0x00, 0xFF, static_cast<uint8_t>(old + 1), static_cast<uint8_t>(old - 1),
                                0x80};
      for (uint8_t value : values) {
        if (value == old) continue;
        Bytes damaged = pristine;
        damaged[at] = value;
        for (int deferred = 0; deferred < 2; ++deferred) {
          std::string why;
          INFO("image " << n << ", byte " << at << " set to " << int(value)
                        << (deferred ? ", deferred" : ""));
          CHECK_MESSAGE(run.Run(damaged, deferred != 0, why), why);
          if (!deferred) (run.opened ? accepted : refused)++;
        }
      }
    }
    // The mark and version bytes alone leave a sound index; the links of the header don't.
    CHECK(accepted > 0);
    CHECK(refused > 0);
  }
}

TEST_CASE(
    "the header's name list link changed in its low byte (to 0xF1 and others): no crash, refused or failing "
    "cleanly") {
  for (const uint8_t value : {0xF1, 0x0C, 0x00, 0xFF, 0x80}) {
    IndexFixture f(L"damage_name_link");
    RandomContacts random(43);
    for (uint32_t k = 0; k < 200; ++k) {
      std::wstring note;
      f.Add(random.Make(30 + k, &note), note.c_str());
    }
    REQUIRE(f.index.Save(FALSE));
    f.index.CloseStores();
    Bytes file = ReadFileBytes(f.indexPath);
    if (file[kNameListSlot] == value) continue;
    file[kNameListSlot] = value;
    REQUIRE(testpaths::WriteFileBytes(f.indexPath, file));
    INFO("byte 24 set to " << int(value));

    // The whole check at open refuses it: the link names no list of its own.
    SetLastError(0);
    CHECK_FALSE(f.index.OpenStores(FALSE));
    CHECK(GetLastError() == ERROR_INVALID_DATA);

    // Opened for a quick start, as the product starts: reads and writes either work or fail with
    // ERROR_INVALID_DATA, and the walk finds the damage.
    REQUIRE(f.index.OpenStores(TRUE));
    Array<CEOID> ids;
    BOOL listed = f.index.ListAll(SortByName, ids);
    if (!listed) CHECK(GetLastError() == ERROR_INVALID_DATA);
    f.keys.Put(Named(5000, L"Newcomer", L"Ann"));
    BOOL added = f.index.AddContact(Named(5000, L"Newcomer", L"Ann"), L"");
    if (!added) CHECK(GetLastError() == ERROR_INVALID_DATA);
    BOOL removed = f.index.RemoveContact(31);
    if (!removed) CHECK(GetLastError() == ERROR_INVALID_DATA);
    CHECK((listed && added && removed) == !f.index.IsDamaged());
    f.index.Walk(0, TRUE);
    CHECK(f.index.WalkFoundDamage());
    Str report;
    CHECK_FALSE(f.index.Check(report));

    // A rebuild starts from nothing and never reads the damaged file.
    REQUIRE(f.index.CreateStores(0));
    CHECK_FALSE(f.index.IsDamaged());
    f.Add(Named(31, L"Again", L"Bob"));
    CHECK(f.Prefix(WordTree, L"again") == std::vector<uint32_t>{31});
    CHECK(CheckReport(f.index).empty());
  }
}

TEST_CASE(
    "a chain slot that names no node, then the contact is deleted: the delete fails with "
    "ERROR_INVALID_DATA") {
  // Slots set to the inside of a node, to a list block, to the header and past the end.
  for (int variant = 0; variant < 4; ++variant) {
    IndexFixture f(L"damage_chain");
    RandomContacts random(44);
    for (uint32_t k = 0; k < 150; ++k) {
      std::wstring note;
      f.Add(random.Make(100 + k, &note), note.c_str());
    }
    REQUIRE(f.index.Save(FALSE));
    f.index.CloseStores();
    Bytes file = ReadFileBytes(f.indexPath);
    const uint32_t victim = 120;
    const uint32_t slot = ChainSlotOf(file, victim);
    REQUIRE(slot != 0);
    const uint32_t node = WordAt(file, slot);
    uint32_t bad = 0;
    switch (variant) {
      case 0:
        bad = node + 4;
        break;
      case 1:
        bad = WordAt(file, kNameListSlot);
        break;
      case 2:
        bad = 8;
        break;
      default:
        bad = static_cast<uint32_t>(file.size()) + 64;
        break;
    }
    PutWord(file, slot, bad);
    REQUIRE(testpaths::WriteFileBytes(f.indexPath, file));
    INFO("variant " << variant);

    // The whole check finds the slot.
    CHECK_FALSE(f.index.OpenStores(FALSE));

    REQUIRE(f.index.OpenStores(TRUE));
    // Searches go on as before: the chain is read only to take a contact out.
    Array<CEOID> all;
    CHECK(f.index.ListAll(SortByName, all));
    CHECK(all.GetSize() == 150);
    SetLastError(0);
    CHECK_FALSE(f.index.RemoveContact(victim));
    CHECK(GetLastError() == ERROR_INVALID_DATA);
    CHECK(f.index.IsDamaged());
    // From then on every operation fails the same way, until the index is made anew.
    Array<CEOID> ids;
    SetLastError(0);
    CHECK_FALSE(f.index.FindPrefix(WordTree, L"a", ids));
    CHECK(GetLastError() == ERROR_INVALID_DATA);
    CHECK_FALSE(f.index.Save(FALSE));
    // Nothing of the data changed on the way: it is the file's image still.
    IndexStore& store = f.index.Store();
    REQUIRE(store.Length() + 4 == file.size());
    CHECK(std::memcmp(store.Data(), file.data(), store.Length() - 4) == 0);
  }
}

TEST_CASE("a tree whose links go in circles ends every lookup, add and remove") {
  IndexFixture f(L"damage_circle");
  RandomContacts random(45);
  for (uint32_t k = 0; k < 80; ++k) {
    std::wstring note;
    f.Add(random.Make(200 + k, &note), note.c_str());
  }
  REQUIRE(f.index.Save(FALSE));
  f.index.CloseStores();
  Bytes file = ReadFileBytes(f.indexPath);
  // The root's equal child names the root: every walk down the first character goes round.
  const uint32_t root = WordAt(file, kWordRootSlot);
  PutWord(file, root + 8, root);
  PutWord(file, root + 4, root);
  PutWord(file, root + 12, root);
  REQUIRE(testpaths::WriteFileBytes(f.indexPath, file));
  CHECK_FALSE(f.index.OpenStores(FALSE));
  REQUIRE(f.index.OpenStores(TRUE));
  Array<CEOID> ids;
  SetLastError(0);
  CHECK_FALSE(f.index.FindPrefix(WordTree, L"abcabcabc", ids));
  CHECK(GetLastError() == ERROR_INVALID_DATA);
  CHECK(f.index.IsDamaged());
  CHECK_FALSE(f.index.AddContact(Named(7000, L"Abcabcabc", L"X"), L""));
  CHECK(GetLastError() == ERROR_INVALID_DATA);
}

TEST_CASE("the arena is given back what isn't a block: nothing changes, and the store is damaged") {
  IndexFixture f(L"damage_free");
  for (uint32_t k = 1; k <= 40; ++k) f.Add(Named(k, L"Name", L"First"));
  REQUIRE(f.index.Save(FALSE));
  IndexStore& store = f.index.Store();
  // The inside of a block, the header, the arena's own header and past the end.
  for (int variant = 0; variant < 5; ++variant) {
    const uint32_t list = store.HeaderWord(kNameListSlot);
    const uint32_t offsets[] = {list + 8, 4u, kIndexHeaderSize + 4, store.Length() + 16, list + 2};
    const uint32_t offset = offsets[variant];
    INFO("offset " << offset);
    const Bytes before(store.Data(), store.Data() + store.Length());
    store.FreeOffset(offset);
    CHECK(store.IsDamaged());
    CHECK(Bytes(store.Data(), store.Data() + store.Length()) == before);
    // Damage lasts until the store is opened or made anew.
    uint32_t at = 0;
    CHECK_FALSE(store.AllocateBlock(16, &at));
    CHECK(GetLastError() == ERROR_INVALID_DATA);
    REQUIRE(f.index.Save(FALSE) == FALSE);
    f.index.CloseStores();
    REQUIRE(f.index.OpenStores(FALSE));
    CHECK_FALSE(f.index.IsDamaged());
  }
  // A block freed twice: the second is refused.
  uint32_t block = 0;
  REQUIRE(store.AllocateBlock(40, &block));
  store.FreeOffset(block);
  CHECK_FALSE(store.IsDamaged());
  store.FreeOffset(block);
  CHECK(store.IsDamaged());
}

TEST_CASE("mutations: the index file") {
  DamagedIndexRun run(L"damage_mutations");
  run.inMemory = true;
  run.images = &SmallImages();
  uint64_t serial = 0, opened = 0;
  const mutation::Summary summary = mutation::Run(
      "index-file", IndexCorpus(SmallImages()),
      [&](const mutation::Bytes& input, std::string& why) {
        // Both ways of opening, each on its own copy of the file.
        bool right = true;
        for (int deferred = 0; deferred < 2 && right; ++deferred) {
          right = run.Run(input, deferred != 0, why);
          if (run.opened) ++opened;
          ++serial;
        }
        return right;
      },
      2000, 21);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  CHECK(summary.wrong == 0);
  // Enough damaged files open to exercise the operations.
  CHECK(opened * 4 > serial);
}
