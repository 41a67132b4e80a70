// Model-based runs: long seeded sequences of contact adds, updates and removals against the test's own
// model of which contact holds which key. Between steps the index must answer the lookups of what the
// steps touched as the model does; every so many steps, and at the end, it must answer every prefix
// lookup in both trees as the model does, hold exactly the model's keys, keep its arena, reverse maps
// and lists sound, and pass its own check.
#include <doctest/doctest.h>

#include <algorithm>

#include "IndexFixture.h"

using namespace indextest;

namespace {

class ModelRun {
 public:
  ModelRun(const std::wstring& name, uint32_t seed, int population)
      : f(name), random(seed), population(population), nextOid(1000) {}

  // One step: an add, an update or a removal, chosen at random around the wanted population.
  void Step() {
    const uint32_t roll = random.Below(100);
    const bool grow = live.size() < static_cast<size_t>(population);
    // Below the population adds win; above it removals do, so that the size stays near it.
    if (live.empty() || (grow && roll < 55) || (!grow && roll < 15)) {
      Add();
    } else if (roll < 80) {
      Update();
    } else {
      Remove();
    }
  }

  // Between checks of the whole structure: lookups of every prefix of what the steps since the last
  // verification touched, and of keys that aren't there.
  void VerifyTouched() {
    LookupAllPrefixes(0, touched);
    LookupAllPrefixes(1, touchedKeypad);
    LookupAbsent();
    touched.clear();
    touchedKeypad.clear();
  }
  // The whole structure: the index's check, the arena, the lists, and lookups of every prefix of what
  // the steps since the last verification touched and of a sample.
  void VerifyQuick() { Verify(false); }
  // Everything: also the dump of both trees against the model, and every prefix of every key.
  void VerifyAll() { Verify(true); }

  IndexFixture f;
  Model model;

 private:
  void Add() {
    // Now and then an oid with the top bit set, so that the unsigned order shows.
    uint32_t oid = random.Below(10) == 0 ? 0x80000000u + nextOid : nextOid;
    nextOid += 1 + random.Below(3);
    std::wstring note;
    Contact c = random.Make(oid, &note);
    f.Add(c, note.c_str());
    Note(oid, KeysOfContact(c, note));
    live.push_back(oid);
  }

  void Update() {
    uint32_t oid = live[random.Below(static_cast<uint32_t>(live.size()))];
    std::wstring note;
    Contact c = random.Make(oid, &note);
    Forget(oid);
    f.Update(c, note.c_str());
    Note(oid, KeysOfContact(c, note));
  }

  void Remove() {
    size_t at = random.Below(static_cast<uint32_t>(live.size()));
    uint32_t oid = live[at];
    Forget(oid);
    f.Remove(oid);
    model.Drop(oid);
    live.erase(live.begin() + static_cast<long>(at));
  }

  void Note(uint32_t oid, const ModelKeys& keys) {
    model.Put(oid, keys);
    touched.insert(touched.end(), keys.word.begin(), keys.word.end());
    for (const std::wstring& key : keys.keypad) touchedKeypad.push_back(key);
  }

  void Forget(uint32_t oid) {
    auto found = model.contacts.find(oid);
    if (found == model.contacts.end()) return;
    touched.insert(touched.end(), found->second.word.begin(), found->second.word.end());
    touchedKeypad.insert(touchedKeypad.end(), found->second.keypad.begin(), found->second.keypad.end());
  }

  void Lookup(int tree, const std::wstring& prefix) {
    std::vector<uint32_t> expected = model.Prefix(tree, prefix);
    std::vector<uint32_t> found = f.Prefix(tree, prefix.c_str());
    if (found != expected) {
      FAIL_CHECK("tree " << tree << ", prefix " << U8(prefix) << ": " << found.size() << " ids, the model "
                         << expected.size());
    }
  }

  // Each distinct prefix of the keys once.
  void LookupAllPrefixes(int tree, const std::vector<std::wstring>& keys) {
    std::set<std::wstring> prefixes;
    for (const std::wstring& key : keys)
      for (size_t n = 1; n <= key.size(); ++n) prefixes.insert(key.substr(0, n));
    for (const std::wstring& prefix : prefixes) Lookup(tree, prefix);
  }

  void Verify(bool all) {
    std::string report = CheckReport(f.index);
    REQUIRE_MESSAGE(report.empty(), report);
    std::string arena = ArenaProblem(f.index.Store());
    REQUIRE_MESSAGE(arena.empty(), arena);

    // The dump of each tree holds exactly the model's keys and holders.
    RawIndex raw;
    if (all) raw = ReadRaw(f.index.Store());
    REQUIRE_MESSAGE(raw.error.empty(), raw.error);
    for (int t = 0; t < 2 && all; ++t) {
      std::map<std::wstring, std::vector<uint32_t>> expected;
      for (const auto& entry : model.holders[t])
        expected[entry.first] = std::vector<uint32_t>(entry.second.begin(), entry.second.end());
      REQUIRE_MESSAGE(raw.keys[t] == expected, "tree " << t << " holds other keys than the model");
      // The reverse maps name only live nodes, and only the contacts that hold keys.
      std::set<uint32_t> holders;
      for (const auto& entry : model.holders[t]) holders.insert(entry.second.begin(), entry.second.end());
      std::set<uint32_t> mapped;
      for (const auto& chain : raw.chains[t]) {
        mapped.insert(chain.first);
        for (uint32_t node : chain.second)
          REQUIRE_MESSAGE(raw.nodes[t].count(node) == 1, "a chain names a dead node");
      }
      REQUIRE(mapped == holders);
      if (model.holders[t].empty()) REQUIRE(raw.root[t] == 0);
    }

    // Both lists: the live contacts, each once, in the order of their keys.
    std::vector<uint32_t> sortedLive(live.begin(), live.end());
    std::sort(sortedLive.begin(), sortedLive.end());
    for (int kind = 0; kind < 2; ++kind) {
      std::vector<uint32_t> list = f.List(kind);
      std::vector<uint32_t> members = list;
      std::sort(members.begin(), members.end());
      REQUIRE(members == sortedLive);
      for (size_t k = 1; k < list.size(); ++k) {
        const auto& a = f.keys.keys.at(list[k - 1]);
        const auto& b = f.keys.keys.at(list[k]);
        REQUIRE(CompareKeys(kind == 0 ? a.first : a.second, list[k - 1], kind == 0 ? b.first : b.second,
                            list[k]) < 0);
      }
    }
    for (uint32_t oid : live) {
      uint32_t record = 0;
      REQUIRE(f.index.Find(oid, &record));
      REQUIRE(record != 0);
    }
    REQUIRE(f.index.ContactCount() == static_cast<int>(live.size()));

    if (all) {
      for (int t = 0; t < 2; ++t) {
        std::vector<std::wstring> keys;
        for (const auto& entry : model.holders[t]) keys.push_back(entry.first);
        LookupAllPrefixes(t, keys);
      }
    } else {
      LookupAllPrefixes(0, touched);
      LookupAllPrefixes(1, touchedKeypad);
      // A sample of the model's keys and their prefixes.
      for (int t = 0; t < 2; ++t) {
        if (model.holders[t].empty()) continue;
        for (int k = 0; k < 8; ++k) {
          auto at = model.holders[t].begin();
          std::advance(at, random.Below(static_cast<uint32_t>(model.holders[t].size())));
          LookupAllPrefixes(t, {at->first});
        }
      }
    }
    LookupAbsent();
    touched.clear();
    touchedKeypad.clear();
  }

  // Keys that aren't there: longer than a stored one, or of characters no key has.
  void LookupAbsent() {
    for (int t = 0; t < 2; ++t) {
      if (!model.holders[t].empty()) Lookup(t, model.holders[t].rbegin()->first + L"zz");
      Lookup(t, L"\x4E00");
      Lookup(t, L"");
    }
  }
  RandomContacts random;
  int population;
  uint32_t nextOid;
  std::vector<uint32_t> live;
  std::vector<std::wstring> touched;
  std::vector<std::wstring> touchedKeypad;
};

}  // namespace

TEST_CASE(
    "model run: 1500 steps, touched keys after every step, every prefix every 50 steps and at the end") {
  ModelRun run(L"model_every", 1, 25);
  for (int step = 0; step < 1500; ++step) {
    CAPTURE(step);
    run.Step();
    if (step % 50 == 49 || step == 1499)
      run.VerifyAll();
    else if (step % 10 == 9)
      run.VerifyQuick();
    else
      run.VerifyTouched();
  }
}

TEST_CASE("model run: 6000 steps around 120 contacts, touched keys every 4 steps, everything every 1000") {
  ModelRun run(L"model_long", 2, 120);
  for (int step = 0; step < 6000; ++step) {
    CAPTURE(step);
    run.Step();
    if (step % 1000 == 999)
      run.VerifyAll();
    else if (step % 100 == 99)
      run.VerifyQuick();
    else if (step % 4 == 3)
      run.VerifyTouched();
  }
}

TEST_CASE("model run: growing to 400 contacts and emptying again") {
  ModelRun run(L"model_empty", 3, 400);
  for (int step = 0; step < 700; ++step) run.Step();
  run.VerifyAll();
  // Now down to nothing: the trees empty and their roots 0.
  std::vector<uint32_t> oids;
  for (const auto& entry : run.model.contacts) oids.push_back(entry.first);
  for (size_t k = 0; k < oids.size(); ++k) {
    run.f.Remove(oids[k]);
    run.model.Drop(oids[k]);
  }
  CHECK(run.f.Header(kWordRootSlot) == 0);
  CHECK(run.f.Header(kKeypadRootSlot) == 0);
  CHECK(run.f.Header(kNameListSlot) == 0);
  CHECK(run.f.Header(kContactMapSlot) == 0);
  CHECK(CheckReport(run.f.index).empty());
  CHECK(UsedBlocks(run.f.index.Store()).size() == 2);  // the two reverse maps, counting 0
}
