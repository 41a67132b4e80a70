// Model-based tests: long seeded sequences of adds, updates (growing and shrinking) and deletes against
// a plain model. After every step the record count agrees; every so many steps, after each reopening
// and at the end, each record reads back equal to the model, its bytes are those of the independent
// serialiser, the check finds nothing, and an independent reading of the pool agrees.
#include <doctest/doctest.h>

#include <cstring>
#include <map>

#include "PropsFixture.h"

namespace {

struct ModelRun {
  PropsFixture f;
  std::map<uint32_t, ModelRecord> model;
  std::mt19937 random;
  int adds = 0, updates = 0, growing = 0, shrinking = 0, deletes = 0, reopens = 0;

  ModelRun(const std::wstring& name, uint32_t seed) : f(name), random(seed) {}

  int Scale() {
    uint32_t roll = random() % 100;
    return roll < 70 ? 0 : (roll < 97 ? 1 : 2);
  }

  void Step(int low, int high) {
    uint32_t roll = random() % 100;
    int size = int(model.size());
    bool add = size == 0 || size < low || (size < high && roll < 40);
    bool remove = !add && (size > high || roll >= 75);
    if (add) {
      ModelRecord record = RandomRecord(random, Scale());
      uint32_t offset = f.Add(record);
      REQUIRE(offset != 0);
      REQUIRE(model.count(offset) == 0);
      model[offset] = record;
      ++adds;
    } else {
      auto it = model.begin();
      std::advance(it, random() % model.size());
      if (remove) {
        REQUIRE(f.store.DeleteRecord(it->first));
        model.erase(it);
        ++deletes;
      } else {
        ModelRecord record = RandomRecord(random, Scale());
        // Now and then only one part changes, as an edit of one field would.
        if (random() % 3 == 0) {
          ModelRecord edited = it->second;
          edited.lists[random() % 6].push_back({RandomText(random, 12), RandomText(random, 30)});
          if (random() % 2 == 0) edited.image.clear();
          edited.checksum = random();
          record = edited;
        }
        size_t before = Serialize(it->second).size(), after = Serialize(record).size();
        if (PropsStore::BlockCount(uint32_t(after), TRUE) > PropsStore::BlockCount(uint32_t(before), TRUE))
          ++growing;
        if (PropsStore::BlockCount(uint32_t(after), TRUE) < PropsStore::BlockCount(uint32_t(before), TRUE))
          ++shrinking;
        REQUIRE(f.Update(it->first, record));
        it->second = record;
        ++updates;
      }
    }
  }

  // What every step keeps: as many records as the model.
  void VerifyCount() { REQUIRE(f.store.RecordCount() == model.size()); }

  // The whole store against the model.
  void Verify() {
    REQUIRE(f.store.RecordCount() == model.size());
    Array<uint32_t> named;
    for (const auto& entry : model) {
      named.Add(entry.first);
      bool ok = false;
      ModelRecord back = f.Read(entry.first, ok);
      REQUIRE(ok);
      if (back != entry.second) {
        FAIL("record " << entry.first << " reads back as\n"
                       << Describe(back) << "instead of\n"
                       << Describe(entry.second));
      }
      REQUIRE(ChainBytes(f.store.Data(), f.store.Length(), entry.first) == Serialize(entry.second));
      uint32_t checksum = 0;
      REQUIRE(f.store.GetChecksum(entry.first, checksum));
      REQUIRE(checksum == entry.second.checksum);
    }
    Str report;
    BOOL clean = f.store.Check(report, named);
    if (!clean) FAIL(f.CheckReport());
    StoreLayout layout = ReadLayout(f.store.Data(), f.store.Length());
    REQUIRE_MESSAGE(layout.ok(), layout.error);
    REQUIRE(layout.records.size() == model.size());
    REQUIRE(layout.freeCount == f.store.Pool().FreeCount());
  }

  // Saves, closes and opens the store again: the data is the same byte for byte.
  void Reopen() {
    REQUIRE(f.store.Save(FALSE));
    std::vector<uint8_t> image = f.Image();
    f.store.Close();
    REQUIRE(f.store.Open(TRUE));
    REQUIRE(f.store.Length() == image.size());
    // The data's last word carries the file's size since the save; all else is as it was.
    REQUIRE(std::memcmp(f.store.Data(), image.data(), image.size()) == 0);
    ++reopens;
  }
};

void RunSequence(const std::wstring& name, uint32_t seed, int steps, int low, int high) {
  ModelRun run(name, seed);
  REQUIRE(run.f.store.Create(0));
  for (int step = 0; step < steps; ++step) {
    CAPTURE(step);
    run.Step(low, high);
    if (step % 20 == 19)
      run.Verify();
    else
      run.VerifyCount();
    if (step % 500 == 499) {
      run.Reopen();
      run.Verify();
    }
  }
  // Everything goes, and the pool is whole again.
  while (!run.model.empty()) {
    REQUIRE(run.f.store.DeleteRecord(run.model.begin()->first));
    run.model.erase(run.model.begin());
  }
  run.Verify();
  CHECK(run.f.store.FirstRecord() == 0u);
  uint32_t blocks = (run.f.FirstUnused() - 12) / 128;
  CHECK(run.f.FreeCount() == blocks);
  MESSAGE("seed " << seed << ": " << run.adds << " adds, " << run.updates << " updates (" << run.growing
                  << " growing, " << run.shrinking << " shrinking), " << run.deletes << " deletes, "
                  << run.reopens << " reopens, data " << run.f.store.Length() << " bytes");
  CHECK(run.adds > steps / 5);
  CHECK(run.growing > 0);
  CHECK(run.shrinking > 0);
  CHECK(run.deletes > steps / 10);
}

}  // namespace

TEST_CASE("model: 3000 random adds, updates and deletes around a few dozen records") {
  RunSequence(L"model_a.dat", 20240611, 3000, 20, 60);
}

TEST_CASE("model: 2000 steps that grow to a few hundred records and shrink again") {
  ModelRun run(L"model_b.dat", 77);
  REQUIRE(run.f.store.Create(0));
  for (int step = 0; step < 2000; ++step) {
    CAPTURE(step);
    // Up to step 1200 the store mostly grows, then it mostly shrinks.
    if (step < 1200)
      run.Step(int(step / 4), 400);
    else
      run.Step(0, 10);
    if (step % 20 == 0 || step > 1990)
      run.Verify();
    else
      run.VerifyCount();
    if (step % 400 == 399) run.Reopen();
  }
  run.Verify();
  MESSAGE(run.adds << " adds, " << run.updates << " updates, " << run.deletes << " deletes, data "
                   << run.f.store.Length() << " bytes");
  CHECK(run.deletes > 200);
}

TEST_CASE("model: 1500 steps on a store created with the exact room of its first records") {
  std::mt19937 random(4242);
  std::vector<ModelRecord> first;
  uint32_t total = 0;
  for (int i = 0; i < 40; ++i) {
    first.push_back(RandomRecord(random, 0));
    ContactExtended block;
    ToBlock(first.back(), block);
    uint32_t size = PropsStore::RecordSize(block);
    REQUIRE(size == Serialize(first.back()).size());
    total += PropsStore::RoomFor(size, TRUE);
  }
  ModelRun run(L"model_c.dat", 99);
  REQUIRE(run.f.store.Create(total));
  uint32_t length = run.f.store.Length();
  for (const ModelRecord& record : first) {
    uint32_t offset = run.f.Add(record);
    REQUIRE(offset != 0);
    run.model[offset] = record;
  }
  // The room given at creation was enough: nothing grew.
  CHECK(run.f.store.Length() == length);
  run.Verify();
  for (int step = 0; step < 1500; ++step) {
    CAPTURE(step);
    run.Step(30, 50);
    if (step % 20 == 19)
      run.Verify();
    else
      run.VerifyCount();
  }
  run.Verify();
}
