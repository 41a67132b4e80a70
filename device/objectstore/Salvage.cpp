// Salvaging a damaged store file.
//
// The file is read from its first entry to its end. An entry whose checks all pass is applied as a
// reader applies it, with these allowances:
//   - a record replaced whose earlier versions were lost is taken as created: each version holds the
//     whole record;
//   - a version no newer than the record's version already applied, or a version of a record already
//     deleted, is a copy of an older entry and is left out (a record's versions carry the strictly
//     increasing modification times of its database);
//   - a deletion of a record that isn't there, and any entry that contradicts the image otherwise, is
//     left out.
// Where no entry checks out, the bytes up to the next entry that does are a damaged stretch. If its
// payload and trailing checksum still agree, only the entry's head was hit: the head is rebuilt (the
// operation is the one whose head checksum matches, or the stored one when the checksum itself was
// hit) and the entry applied. Otherwise, when the head checks out, the operation is known, and so is
// the record the entry concerned (the head's checksum covers the ids at the start of the payload; in
// files of version 1 the ids are taken as they are): the record is left out, since its newest state
// is lost and an older one would be wrong. A damaged deletion of a database deletes the database it
// names.
//
// The number of records lost is what the file's header says the store held at its last write less
// what was recovered; without a sound header it is the number of records known to have been left out.
#include "Salvage.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

namespace objstore {

namespace {

uint32_t ReadU32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

bool KnownOp(uint32_t op) { return op >= OpDbCreate && op <= OpRecDelete; }

// The versions an entry may be of: the file's, or, when its header is lost, any.
struct Versions {
  uint32_t known = 0;  // 0: unknown
  uint32_t First() const { return known ? known : kVersion; }
  uint32_t Last() const { return known ? known : kFirstVersion; }
};

Parse ParseAny(const uint8_t* p, size_t avail, Entry* e, std::string* why, Versions v) {
  bool torn = false;
  for (uint32_t version = v.First(); version >= v.Last() && version >= kFirstVersion; --version) {
    Parse r = ParseEntry(p, avail, e, why, version);
    if (r == Parse::Ok) return r;
    torn = torn || r == Parse::Torn;
  }
  return torn ? Parse::Torn : Parse::Corrupt;
}

// Offset of the first entry at or after `from` that checks out whole, or n.
size_t NextEntry(const uint8_t* p, size_t n, size_t from, Versions v) {
  static const uint8_t kTag[4] = {kEntryTag & 0xFF, (kEntryTag >> 8) & 0xFF, (kEntryTag >> 16) & 0xFF,
                                  kEntryTag >> 24};
  for (size_t q = from; q + kEntryHeaderSize + kEntryTrailerSize <= n; ++q) {
    if (p[q] != kTag[0] || std::memcmp(p + q, kTag, 4) != 0) continue;
    Entry e;
    std::string why;
    if (ParseAny(p + q, n - q, &e, &why, v) == Parse::Ok) return q;
  }
  return n;
}

// The entry of a damaged stretch whose payload and trailer are intact, its head rebuilt.
bool RepairHead(const uint8_t* s, size_t len, Entry* e, Versions v) {
  if (len < kEntryHeaderSize + 8 + kEntryTrailerSize) return false;
  const uint32_t payload = static_cast<uint32_t>(len - kEntryHeaderSize - kEntryTrailerSize);
  if (payload > kMaxPayload) return false;
  if (Crc32(s + kEntryHeaderSize, payload) != ReadU32(s + len - kEntryTrailerSize)) return false;
  const uint32_t storedOp = ReadU32(s + 4), storedCrc = ReadU32(s + 12);
  for (uint32_t version = v.First(); version >= v.Last() && version >= kFirstVersion; --version) {
    std::string whole(reinterpret_cast<const char*>(s), len);
    uint8_t* w = reinterpret_cast<uint8_t*>(&whole[0]);
    auto put = [w](size_t at, uint32_t x) {
      for (int i = 0; i < 4; ++i) w[at + i] = static_cast<uint8_t>(x >> (8 * i));
    };
    put(0, kEntryTag);
    put(8, payload);
    uint32_t op = 0;
    for (uint32_t candidate = OpDbCreate; candidate <= OpRecDelete && !op; ++candidate) {
      put(4, candidate);
      if (HeadChecksum(w, version) == storedCrc) op = candidate;
    }
    // No operation matches the checksum: then the checksum was hit, and the rest of the head must be
    // as written.
    if (!op && ReadU32(s) == kEntryTag && ReadU32(s + 8) == payload && KnownOp(storedOp)) op = storedOp;
    if (!op) continue;
    put(4, op);
    SealEntry(whole, version);
    std::string why;
    if (ParseEntry(w, whole.size(), e, &why, version) == Parse::Ok) return true;
  }
  return false;
}

class Scan {
 public:
  Scan(Image* image, SalvageReport* report, Versions v) : image_(*image), report_(*report), versions_(v) {}

  void Apply(const Entry& e);
  // A damaged stretch at `s` of `len` bytes that no repair could read.
  void Damaged(const uint8_t* s, size_t len);
  uint32_t KnownLost() const;

 private:
  void Drop(CEOID oid);
  void Dropped() { ++report_.droppedEntries; }

  Image& image_;
  SalvageReport& report_;
  Versions versions_;
  std::unordered_map<CEOID, uint64_t> versionTime_;  // record: modification time of its applied version
  std::unordered_set<CEOID> deleted_;                // records whose deletion was read
  std::unordered_set<CEOID> left_;                   // records left out, unless a later version came
};

void Scan::Apply(const Entry& in) {
  Entry e = in;
  Change change;
  std::string why;
  switch (e.op) {
    case OpRecPut: {
      const CEOID oid = e.rec.oid;
      auto seen = versionTime_.find(oid);
      if (deleted_.count(oid) || (seen != versionTime_.end() && e.rec.modTime <= seen->second)) {
        Dropped();
        return;
      }
      Record* r = image_.FindRecord(oid);
      if (e.rec.created && r) {
        Dropped();
        return;
      }
      if (!e.rec.created && !r) e.rec.created = true;  // its earlier versions were lost
      if (!image_.Apply(e, &change, &why)) {
        // Most likely its database's creation was lost: the record is lost with it.
        Dropped();
        left_.insert(oid);
        return;
      }
      versionTime_[oid] = e.rec.modTime;
      left_.erase(oid);
      return;
    }
    case OpRecDelete: {
      deleted_.insert(e.del.oid);
      left_.erase(e.del.oid);
      if (!image_.Apply(e, &change, &why)) Dropped();
      return;
    }
    default:
      if (!image_.Apply(e, &change, &why)) Dropped();
      return;
  }
}

void Scan::Drop(CEOID oid) {
  Record* r = image_.FindRecord(oid);
  if (!r) return;
  Database* db = image_.FindDb(r->db);
  Entry del;
  del.op = OpRecDelete;
  del.del.db = r->db;
  del.del.oid = oid;
  del.del.time = db ? db->desc.modTime : 0;
  Change change;
  std::string why;
  image_.Apply(del, &change, &why);
}

void Scan::Damaged(const uint8_t* s, size_t len) {
  // Only a head that checks out says what the entry was; from version 2 on, its checksum covers the
  // ids at the start of the payload too. In a file of version 1 they are taken as they are.
  if (len < kEntryHeaderSize + 8 || ReadU32(s) != kEntryTag) return;
  bool head = false;
  for (uint32_t version = versions_.First(); version >= versions_.Last() && version >= kFirstVersion && !head;
       --version)
    head = HeadChecksum(s, version) == ReadU32(s + 12);
  if (!head) return;
  const uint32_t op = ReadU32(s + 4);
  const CEOID first = ReadU32(s + kEntryHeaderSize);
  const CEOID second = ReadU32(s + kEntryHeaderSize + 4);
  switch (op) {
    case OpRecPut:
    case OpRecDelete:
      // Its newest state is lost: left out, unless a later version comes.
      if (image_.FindRecord(second)) {
        Drop(second);
        left_.insert(second);
        versionTime_.erase(second);
      } else if (op == OpRecPut && !deleted_.count(second)) {
        left_.insert(second);  // created here
      }
      return;
    case OpDbDelete:
      if (first == 0 && image_.FindDb(second)) {
        Entry del;
        del.op = OpDbDelete;
        del.del.db = 0;
        del.del.oid = second;
        Change change;
        std::string why;
        image_.Apply(del, &change, &why);
      }
      return;
    default:
      return;  // a database's description: its records go if it never gets one
  }
}

uint32_t Scan::KnownLost() const {
  uint32_t n = 0;
  for (CEOID oid : left_) {
    if (!image_.FindRecord(oid)) ++n;
  }
  return n;
}

}  // namespace

void SalvageScan(const uint8_t* p, size_t n, Image* image, Header* header, SalvageReport* report) {
  *report = SalvageReport{};
  Header h;
  std::string why;
  const bool headerOk = n >= kHeaderSize && DecodeHeader(p, n, &h, &why) == HeaderCheck::Ok;
  if (!headerOk) {
    report->headerDamaged = true;
    report->firstWhy = why.empty() ? "the file is shorter than its header" : why;
    report->firstAt = 0;
    h = Header{};
  }
  report->truncated = headerOk && h.committedEnd > n;
  image->Reset(h.nextOid);
  Versions versions;
  versions.known = headerOk ? h.version : 0;
  Scan scan(image, report, versions);
  auto damage = [&](const std::string& reason, size_t at, size_t bytes) {
    if (report->firstWhy.empty()) {
      report->firstWhy = reason;
      report->firstAt = at;
    }
    ++report->damagedSpans;
    report->damagedBytes += bytes;
  };

  image->BeginBatch();
  size_t pos = n < kHeaderSize ? n : kHeaderSize;
  while (pos < n) {
    Entry e;
    std::string reason;
    Parse parsed = ParseAny(p + pos, n - pos, &e, &reason, versions);
    if (parsed == Parse::Ok) {
      scan.Apply(e);
      pos += e.size;
      continue;
    }
    const size_t next = NextEntry(p, n, pos + 1, versions);
    if (parsed == Parse::Torn && next == n) {
      // The file ends inside this entry: a killed writer's, or the file was cut.
      if (report->truncated || (headerOk && h.committedEnd > pos)) {
        damage("the file ends inside an entry", pos, n - pos);
        scan.Damaged(p + pos, n - pos);
      }
      break;
    }
    if (parsed == Parse::Torn) reason = "an entry runs past the end of the file";
    damage(reason, pos, next - pos);
    Entry repaired;
    if (RepairHead(p + pos, next - pos, &repaired, versions)) {
      ++report->repairedEntries;
      scan.Apply(repaired);
    } else {
      scan.Damaged(p + pos, next - pos);
    }
    pos = next;
  }
  image->EndBatch();

  if (report->truncated && report->firstWhy.empty()) {
    report->firstWhy = "the file ends before the end of its log";
    report->firstAt = n;
  }
  report->kept = static_cast<uint32_t>(image->RecordCount());
  if (headerOk && h.committedEnd != 0) {
    report->lost = h.records > report->kept ? h.records - report->kept : 0;
  } else {
    report->lost = scan.KnownLost();
  }
  // Ids that a lost entry may have given out must stay unused: without the header's count, leave a
  // wide gap.
  uint64_t next = std::max<uint64_t>(h.nextOid, image->NextOid());
  if (!headerOk) next += 0x10000;
  if (next >= 0xFFFFFFF0ull) next = 0xFFFFFFF0ull;
  *header = Header{};
  header->nextOid = static_cast<uint32_t>(next);
  header->created = h.created;
}

}  // namespace objstore
