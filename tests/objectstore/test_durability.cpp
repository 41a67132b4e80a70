// The store file under stress: writers killed in the middle of bursts, torn tails, damaged files and
// compaction. The damaged files are read by a second process each (a store is chosen per process).
#include <doctest/doctest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "StoreTestKit.h"

using namespace storekit;

namespace {

const CEPROPID kValue = MAKE_CEPROPID(1, CEVT_I4);
const CEPROPID kBlob = MAKE_CEPROPID(2, CEVT_BLOB);

struct Ack {
  CEOID oid;
  long seq;
};

void TakeAck(const std::string& line, std::vector<Ack>* acks) {
  std::vector<std::string> f = Split(line);
  if (f.size() == 3 && f[0] == "ack") acks->push_back(Ack{std::stoul(f[1]), std::stol(f[2])});
}

// Offsets of the entries of a store file, from the layout its writer documents: a 64-byte header, then
// entries of a 16-byte head (whose third u32 is the payload length), the payload and a 4-byte checksum.
std::vector<size_t> EntryOffsets(const std::string& file) {
  std::vector<size_t> offsets;
  size_t pos = 64;
  while (pos + 16 <= file.size()) {
    uint32_t len = 0;
    std::memcpy(&len, file.data() + pos + 8, 4);
    if (pos + 20 + len > file.size()) break;
    offsets.push_back(pos);
    pos += 20 + len;
  }
  offsets.push_back(pos);  // the end
  return offsets;
}

struct ProbeResult {
  int exitCode = -1;
  std::string line;
  int dbs = -1;
  int recs = -1;
  bool refused = false;
  std::string run;  // how the probe's run went, when it didn't end by itself
};

ProbeResult Probe(const std::wstring& store) {
  ProbeResult r;
  Child c;
  if (!c.Start(L"storehelper.exe", L"probe", store)) {
    r.run = "the probe could not be started (error " + std::to_string(GetLastError()) + ")";
    return r;
  }
  const ULONGLONG started = GetTickCount64();
  r.exitCode = c.Wait(60000);
  const ULONGLONG took = GetTickCount64() - started;
  if (r.exitCode != 0)
    r.run = "the probe ended with " + std::to_string(r.exitCode) + " after " + std::to_string(took) +
            " ms (a wait of 60000 ms that runs out ends it)";
  std::vector<std::string> out = c.RestOfOutput(1000);
  r.line = out.empty() ? std::string() : out.back();
  for (const std::string& l : out) {
    if (l.rfind("bad", 0) == 0) r.line = l;  // any inconsistency wins
  }
  std::vector<std::string> f = Split(r.line);
  if (f.size() == 3 && f[0] == "ok") {
    r.dbs = std::stoi(f[1]);
    r.recs = std::stoi(f[2]);
  }
  r.refused = f.size() == 2 && f[0] == "refused" && f[1] == std::to_string(ERROR_FILE_CORRUPT);
  return r;
}

std::wstring LogOf(const std::wstring& store) { return store.substr(0, store.size() - 4) + L".log"; }

struct Populated {
  std::string bytes;
  int dbs = 0;
  int recs = 0;     // at the end
  int created = 0;  // ever: a shorter log may hold records that the full one deletes later
};

// A store with databases of every value type, made once by a second process.
const Populated& Base() {
  static Populated base;
  if (!base.bytes.empty()) return base;
  std::wstring path = WorkDir() + L"base.cdb";
  DeleteFileW(path.c_str());
  Child c;
  REQUIRE(c.Start(L"storehelper.exe", L"populate", path));
  REQUIRE(c.Wait(60000) == 0);
  std::vector<std::string> out = c.RestOfOutput(1000);
  REQUIRE_FALSE(out.empty());
  std::vector<std::string> f = Split(out.back());
  REQUIRE(f.size() == 4);
  REQUIRE(f[0] == "populated");
  base.dbs = std::stoi(f[1]);
  base.recs = std::stoi(f[2]);
  base.created = std::stoi(f[3]);
  base.bytes = ReadFileBytes(path);
  REQUIRE(base.bytes.size() > 64);
  return base;
}

}  // namespace

TEST_CASE("every write a killed writer acknowledged is in the store, and the store opens") {
  std::wstring name = UniqueName(L"Killed");
  CEOID db = MakeDb(name);
  REQUIRE(db);
  std::mt19937 rng(20240611);
  std::vector<Ack> acks;
  for (int round = 0; round < 6; ++round) {
    Child writer;
    REQUIRE(writer.Start(L"storehelper.exe",
                         L"burst \"" + name + L"\" 1000000 " + std::to_wstring(2000 + round * 6000)));
    size_t target = acks.size() + 10 + rng() % 60;
    std::string line;
    while (acks.size() < target && writer.ReadLine(&line, 30000)) TakeAck(line, &acks);
    REQUIRE(acks.size() == target);
    writer.Kill();  // TerminateProcess in the middle of the burst
    for (const std::string& l : writer.RestOfOutput(1000)) TakeAck(l, &acks);

    // Every acknowledged record is there, whole.
    HANDLE h = OpenDb(db);
    REQUIRE(h != INVALID_HANDLE_VALUE);
    for (const Ack& a : acks) {
      Seek s = SeekTo(h, CEDB_SEEK_CEOID, a.oid);
      INFO("round ", round, " oid ", a.oid, " seq ", a.seq);
      REQUIRE(s.oid == a.oid);
      Read r;
      ReadCurrent(h, &r, {kValue, kBlob});
      REQUIRE(r.props.size() == 2);
      CHECK(r.props[0].val.lVal == a.seq);
      const CEBLOB& b = r.props[1].val.blob;
      REQUIRE(b.dwCount > 0);
      CHECK(b.lpb[0] == static_cast<BYTE>(a.seq * 31));
      CHECK(b.lpb[b.dwCount - 1] == static_cast<BYTE>(a.seq * 31 + b.dwCount - 1));
    }
    // The store takes writes again at once.
    CHECK(Write(h, 0, {I4(1, -1)}) != 0);
    CloseHandle(h);
  }
  ProbeResult p = Probe(TestStorePath());
  CHECK(p.exitCode == 0);
  INFO(p.line);
  CHECK(p.dbs > 0);
}

TEST_CASE("a torn tail is left out and cut off by the next writer") {
  const Populated& base = Base();
  std::vector<size_t> entries = EntryOffsets(base.bytes);
  REQUIRE(entries.back() == base.bytes.size());
  std::wstring path = WorkDir() + L"torn.cdb";
  DeleteFileW(LogOf(path).c_str());
  // A writer died halfway through a copy of the largest entry.
  size_t largest = 0, largestSize = 0;
  for (size_t i = 0; i + 1 < entries.size(); ++i) {
    if (entries[i + 1] - entries[i] > largestSize) {
      largest = entries[i];
      largestSize = entries[i + 1] - entries[i];
    }
  }
  REQUIRE(largestSize > 40);
  size_t half = largestSize / 2;
  std::string torn = base.bytes + base.bytes.substr(largest, half);
  REQUIRE(WriteFileBytes(path, torn));
  ProbeResult p = Probe(path);
  CHECK(p.exitCode == 0);
  CHECK(p.line == "ok " + std::to_string(base.dbs) + " " + std::to_string(base.recs));
  CHECK(ReadFileBytes(path) == base.bytes);  // cut off
  CHECK(ReadFileBytes(LogOf(path))
            .find("torn tail of " + std::to_string(half) + " bytes at offset " +
                  std::to_string(base.bytes.size())) != std::string::npos);

  // Torn again, then written: the new entry goes where the torn one began.
  REQUIRE(WriteFileBytes(path, torn));
  Child w;
  REQUIRE(w.Start(L"storehelper.exe", L"write \"Populated 0\" 99", path));
  CHECK(w.Wait(30000) == 0);
  std::string after = ReadFileBytes(path);
  // The entries stay as they were; the header now records the new end of the log.
  CHECK(after.compare(64, base.bytes.size() - 64, base.bytes, 64, std::string::npos) == 0);
  std::vector<size_t> now = EntryOffsets(after);
  CHECK(now.back() == after.size());
  CHECK(now.size() == entries.size() + 1);
  p = Probe(path);
  CHECK(p.line == "ok " + std::to_string(base.dbs) + " " + std::to_string(base.recs + 1));
}

TEST_CASE("damaged store files are salvaged by the next process: read consistently, kept aside, no crash") {
  const Populated& base = Base();
  const std::string& good = base.bytes;
  std::vector<size_t> entries = EntryOffsets(good);
  std::wstring path = WorkDir() + L"damaged.cdb";
  std::wstring log = LogOf(path);
  std::mt19937 rng(77);

  const int kAny = -1;
  struct Variant {
    std::string what;
    std::string bytes;
    int dbs;  // databases and records the salvaged store must hold, or kAny (at most the original's)
    int recs;
  };
  std::vector<Variant> variants;
  for (size_t cut : {size_t(0), size_t(1), size_t(8), size_t(40), size_t(63)}) {
    variants.push_back({"truncated to " + std::to_string(cut), good.substr(0, cut), 0, 0});
  }
  // From the header on, a cut leaves a shorter store: whole entries, then a torn one.
  for (size_t i = 0; i < entries.size(); i += std::max<size_t>(1, entries.size() / 12)) {
    for (size_t extra : {size_t(0), size_t(1), size_t(15), size_t(17)}) {
      size_t cut = entries[i] + extra;
      if (cut > 64 && cut < good.size())
        variants.push_back({"truncated to " + std::to_string(cut), good.substr(0, cut), kAny, kAny});
    }
  }
  // The header's damage loses nothing: every entry checks out by itself.
  std::string magic = good;
  magic[0] ^= 0x20;
  variants.push_back({"wrong magic", magic, base.dbs, base.recs});
  std::string version = good;
  version[8] ^= 0x04;
  variants.push_back({"version changed", version, base.dbs, base.recs});
  for (size_t size : {size_t(10), size_t(64), size_t(100), size_t(1000), size_t(5000), size_t(70000)}) {
    std::string junk(size, '\0');
    for (char& c : junk) c = static_cast<char>(rng());
    variants.push_back({"random bytes " + std::to_string(size), junk, 0, 0});
  }
  std::string appended = good;
  for (int i = 0; i < 100; ++i) appended.push_back(static_cast<char>(rng()));
  variants.push_back({"garbage after the last entry", appended, base.dbs, base.recs});
  // Every byte is under a checksum: a flipped bit anywhere is found.
  for (int i = 0; i < 30; ++i) {
    std::string flipped = good;
    size_t at = (i < 4) ? static_cast<size_t>(i * 17) : rng() % good.size();
    flipped[at] = static_cast<char>(flipped[at] ^ (1 << (rng() % 8)));
    bool header = at < 64;
    variants.push_back(
        {"bit flip at " + std::to_string(at), flipped, header ? base.dbs : kAny, header ? base.recs : kAny});
  }

  for (const Variant& v : variants) {
    INFO(v.what);
    DeleteFileW(log.c_str());
    REQUIRE(WriteFileBytes(path, v.bytes));
    ProbeResult p = Probe(path);
    INFO("probe said: ", p.line, "; ", p.run);
    CHECK(p.exitCode == 0);
    CHECK_FALSE(p.refused);
    CHECK(p.dbs >= 0);
    CHECK(p.dbs <= base.dbs);
    CHECK(p.recs <= base.created);
    if (v.dbs != kAny) CHECK(p.dbs == v.dbs);
    if (v.recs != kAny) CHECK(p.recs == v.recs);
    // The salvage says so in the log, and keeps the damaged bytes aside.
    std::string text = ReadFileBytes(log);
    CHECK(text.find("salvaged ") != std::string::npos);
    CHECK(text.find(" at offset ") != std::string::npos);
    WIN32_FIND_DATAW fd;
    HANDLE f = FindFirstFileW((WorkDir() + L"damaged-damaged-*").c_str(), &fd);
    REQUIRE(f != INVALID_HANDLE_VALUE);
    std::wstring aside = WorkDir() + fd.cFileName;
    CHECK_FALSE(FindNextFileW(f, &fd));
    FindClose(f);
    CHECK(ReadFileBytes(aside) == v.bytes);
    DeleteFileW(aside.c_str());
  }
}

TEST_CASE("a store of mostly dead entries is compacted when it is opened alone, and only then") {
  std::wstring path = WorkDir() + L"compact.cdb";
  DeleteFileW(path.c_str());
  DeleteFileW(LogOf(path).c_str());
  Child churn;
  REQUIRE(churn.Start(L"storehelper.exe", L"churn Churn 40 60000", path));
  REQUIRE(churn.Wait(60000) == 0);
  size_t before = ReadFileBytes(path).size();
  CHECK(before > 2000000);

  // Open elsewhere (here, as any process of the store keeps it): left as it is.
  HANDLE open =
      CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
  REQUIRE(open != INVALID_HANDLE_VALUE);
  ProbeResult p = Probe(path);
  CHECK(p.line == "ok 1 6");
  CHECK(ReadFileBytes(path).size() == before);
  CloseHandle(open);

  // Alone: rewritten small, with the same contents.
  p = Probe(path);
  CHECK(p.line == "ok 1 6");
  size_t after = ReadFileBytes(path).size();
  CHECK(after < before / 10);
  CHECK(ReadFileBytes(LogOf(path)).find("compacted the store") != std::string::npos);
  Child reader;
  REQUIRE(reader.Start(L"storehelper.exe", L"read Churn", path));
  CHECK(reader.Wait(30000) == 0);
  std::vector<std::string> out = reader.RestOfOutput(1000);
  REQUIRE(out.size() == 7);
  CHECK(Split(out[0]).at(2) == "39");
  CHECK(Split(out[5]).at(2) == "1004");
  CHECK(out[6] == "end 259");
}
