// The object store file.
//
// One file holds every database of the device. It is an append-only log: each call that changes the
// store appends exactly one entry with a single WriteFile while it holds the store's named mutex, and
// only then reports success. Every process keeps an image of the store in memory and brings it up to
// date by reading the entries appended since it last looked. All integers are little-endian and of
// fixed width; nothing in the file depends on the pointer size.
//
// Header, 64 bytes at offset 0:
//   0   char[8]  magic "PMOBJSTR"
//   8   u32      version: 2 (1 in files of earlier writers, read as well; see the entries' head
//                checksum)
//   12  u32      header size, 64
//   16  u32      file id: a random number chosen when the file is written from scratch (created or
//                compacted); processes compare it to notice that the file was replaced
//   20  u32      first free object id (when the file was written, and again after every write)
//   24  u64      time the file was written (FILETIME)
//   32  u64      end of the log after the last write, rewritten after every write: a file shorter
//                than this lost its tail (0: not kept, as in files of earlier writers)
//   40  u32      records in the store at that end
//   44  u32      records lost by the salvage that wrote this file (see Salvage.cpp), 0 if none
//   48  u32      records that salvage recovered
//   52  u64      when that salvage ran (FILETIME), 0 if the store was never salvaged
//   60  u32      CRC-32 of bytes 0..59
//
// Entries follow from offset 64 to the end of the file:
//   0   u32      tag "ENR1"
//   4   u32      operation (Op)
//   8   u32      payload length P (at most 1 MB)
//   12  u32      CRC-32 of bytes 0..11 and of the payload's first 8 bytes, which name the object the
//                entry concerns, so that a damaged entry still says which record it held (version 1:
//                of bytes 0..11 alone)
//   16  u8[P]    payload, at least 8 bytes
//   16+P u32     CRC-32 of the payload
//
// Payloads:
//   OpDbCreate, OpDbSet  u32 oid, u32 database flags, u32 type, u64 last modification time,
//                        u32 name length N (1..31), N UTF-16 units, u32 sort order count S (0..4),
//                        S x (u32 propid, u32 flags)
//   OpDbDelete           u32 0, u32 oid, u64 time
//   OpRecPut             u32 database oid, u32 record oid, u32 1 = created / 0 = replaced,
//                        u64 the database's new modification time, then the record's whole property
//                        list: u32 count, count x (u32 propid, u32 length, bytes)
//   OpRecDelete          u32 database oid, u32 record oid, u64 the database's new modification time
//
// Property values: CEVT_I2/UI2 2 bytes, I4/UI4/BOOL 4, FILETIME 8 (low, high), R8 8 (IEEE double),
// LPWSTR the UTF-16 units without the NUL (none may be NUL), BLOB the bytes.
//
// Reading checks every invariant and trusts nothing: the header's magic, version, size and CRC; each
// entry's tag, header CRC and payload CRC; payload fields within their limits and exactly filling the
// payload; and, when applied to the image, that each entry makes sense there (a created object id is
// new, a replaced or deleted record exists in the named database, names are unique, ...).
// A file that ends inside an entry past the end its header records has a torn tail: a writer was killed
// in the middle of its WriteFile. The entries before it are the store; the partial one was never
// reported as written, and the next writer cuts it off before appending. Any other failed check, and a
// file shorter than the end its header records, means the file is damaged: it is salvaged (Salvage.cpp).
// Only a sound header of an unknown version is refused, and the Ce calls then fail with
// ERROR_FILE_CORRUPT.
//
// A file whose dead entries (replaced or deleted records) outweigh the live ones is rewritten from the
// image into a new file, renamed over the old one, when a process attaches to it while no other process
// has it open.
#include "StoreFormat.h"

#include <cstring>

namespace objstore {

namespace {
const char kMagic[8] = {'P', 'M', 'O', 'B', 'J', 'S', 'T', 'R'};

uint32_t g_crcTable[256];
bool g_crcReady = false;

void InitCrc() {
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t c = i;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    g_crcTable[i] = c;
  }
  g_crcReady = true;
}

std::string Frame(uint32_t op, const std::string& payload) {
  ByteWriter w;
  w.U32(kEntryTag);
  w.U32(op);
  w.U32(static_cast<uint32_t>(payload.size()));
  w.U32(0);
  w.Bytes(payload.data(), payload.size());
  w.U32(Crc32(payload.data(), payload.size()));
  SealEntry(w.Buffer(), kVersion);
  return std::move(w.Buffer());
}
}  // namespace

uint32_t HeadChecksum(const uint8_t* entry, uint32_t version) {
  uint8_t covered[20];
  std::memcpy(covered, entry, 12);
  if (version < 2) return Crc32(covered, 12);
  std::memcpy(covered + 12, entry + kEntryHeaderSize, 8);
  return Crc32(covered, 20);
}

void SealEntry(std::string& entry, uint32_t version) {
  if (entry.size() < kEntryHeaderSize + 8) return;
  uint8_t* p = reinterpret_cast<uint8_t*>(&entry[0]);
  const uint32_t c = HeadChecksum(p, version);
  for (int i = 0; i < 4; ++i) p[12 + i] = static_cast<uint8_t>(c >> (8 * i));
}

uint32_t Crc32(const void* data, size_t size) {
  if (!g_crcReady) InitCrc();  // first use happens under the process lock
  const uint8_t* p = static_cast<const uint8_t*>(data);
  uint32_t c = 0xFFFFFFFFu;
  for (size_t i = 0; i < size; ++i) c = g_crcTable[(c ^ p[i]) & 0xFF] ^ (c >> 8);
  return c ^ 0xFFFFFFFFu;
}

void ByteWriter::U16(uint16_t v) {
  U8(static_cast<uint8_t>(v));
  U8(static_cast<uint8_t>(v >> 8));
}
void ByteWriter::U32(uint32_t v) {
  U16(static_cast<uint16_t>(v));
  U16(static_cast<uint16_t>(v >> 16));
}
void ByteWriter::U64(uint64_t v) {
  U32(static_cast<uint32_t>(v));
  U32(static_cast<uint32_t>(v >> 32));
}

bool ByteReader::U16(uint16_t* v) {
  if (Left() < 2) return false;
  *v = static_cast<uint16_t>(p_[pos_] | (p_[pos_ + 1] << 8));
  pos_ += 2;
  return true;
}
bool ByteReader::U32(uint32_t* v) {
  if (Left() < 4) return false;
  *v = static_cast<uint32_t>(p_[pos_]) | (static_cast<uint32_t>(p_[pos_ + 1]) << 8) |
       (static_cast<uint32_t>(p_[pos_ + 2]) << 16) | (static_cast<uint32_t>(p_[pos_ + 3]) << 24);
  pos_ += 4;
  return true;
}
bool ByteReader::U64(uint64_t* v) {
  uint32_t lo, hi;
  if (Left() < 8 || !U32(&lo) || !U32(&hi)) return false;
  *v = (static_cast<uint64_t>(hi) << 32) | lo;
  return true;
}
bool ByteReader::Bytes(size_t n, const uint8_t** out) {
  if (Left() < n) return false;
  *out = p_ + pos_;
  pos_ += n;
  return true;
}

std::string EncodeHeader(const Header& h) {
  ByteWriter w;
  w.Bytes(kMagic, 8);
  w.U32(h.version);
  w.U32(kHeaderSize);
  w.U32(h.fileId);
  w.U32(h.nextOid);
  w.U64(h.created);
  w.U64(h.committedEnd);
  w.U32(h.records);
  w.U32(h.salvageLost);
  w.U32(h.salvageKept);
  w.U64(h.salvageTime);
  w.U32(Crc32(w.Buffer().data(), 60));
  return std::move(w.Buffer());
}

HeaderCheck DecodeHeader(const uint8_t* p, size_t n, Header* h, std::string* why) {
  if (n < kHeaderSize) {
    *why = "the file is shorter than its header";
    return HeaderCheck::Damaged;
  }
  if (std::memcmp(p, kMagic, 8) != 0) {
    *why = "wrong magic, not an object store file";
    return HeaderCheck::Damaged;
  }
  uint32_t stored = 0;
  std::memcpy(&stored, p + 60, 4);
  if (Crc32(p, 60) != stored) {
    *why = "header checksum mismatch";
    return HeaderCheck::Damaged;
  }
  ByteReader r(p + 8, kHeaderSize - 8);
  uint32_t version = 0, size = 0;
  r.U32(&version);
  r.U32(&size);
  if (version < kFirstVersion || version > kVersion) {
    *why = "unsupported version " + std::to_string(version);
    return HeaderCheck::NewerVersion;
  }
  if (size != kHeaderSize) {
    *why = "wrong header size " + std::to_string(size);
    return HeaderCheck::NewerVersion;
  }
  h->version = version;
  r.U32(&h->fileId);
  r.U32(&h->nextOid);
  r.U64(&h->created);
  r.U64(&h->committedEnd);
  r.U32(&h->records);
  r.U32(&h->salvageLost);
  r.U32(&h->salvageKept);
  r.U64(&h->salvageTime);
  if (h->nextOid < kFirstOid || h->nextOid == 0xFFFFFFFFu) {
    *why = "header holds an impossible first free id";
    return HeaderCheck::Damaged;
  }
  if (h->committedEnd != 0 && h->committedEnd < kHeaderSize) {
    *why = "header holds an impossible end of the log";
    return HeaderCheck::Damaged;
  }
  return HeaderCheck::Ok;
}

std::string EncodeDbEntry(uint32_t op, const DbEntry& e) {
  ByteWriter w;
  w.U32(e.oid);
  w.U32(e.dbFlags);
  w.U32(e.type);
  w.U64(e.modTime);
  w.U32(static_cast<uint32_t>(e.name.size()));
  for (wchar_t c : e.name) w.U16(static_cast<uint16_t>(c));
  w.U32(static_cast<uint32_t>(e.sorts.size()));
  for (const SORTORDERSPEC& s : e.sorts) {
    w.U32(s.propid);
    w.U32(s.dwFlags);
  }
  return Frame(op, w.Buffer());
}

std::string EncodeRecEntry(const RecEntry& e) {
  ByteWriter w;
  w.U32(e.db);
  w.U32(e.oid);
  w.U32(e.created ? 1 : 0);
  w.U64(e.modTime);
  w.Bytes(e.props.data(), e.props.size());
  return Frame(OpRecPut, w.Buffer());
}

std::string EncodeDelEntry(uint32_t op, const DelEntry& e) {
  ByteWriter w;
  w.U32(e.db);
  w.U32(e.oid);
  w.U64(e.time);
  return Frame(op, w.Buffer());
}

namespace {
bool DecodeDb(ByteReader& r, DbEntry* e, std::string* why) {
  uint32_t nameLen = 0, sortCount = 0;
  if (!r.U32(&e->oid) || !r.U32(&e->dbFlags) || !r.U32(&e->type) || !r.U64(&e->modTime) || !r.U32(&nameLen)) {
    *why = "database entry too short";
    return false;
  }
  if (nameLen == 0 || nameLen >= CEDB_MAXDBASENAMELEN) {
    *why = "database name length out of range";
    return false;
  }
  e->name.clear();
  for (uint32_t i = 0; i < nameLen; ++i) {
    uint16_t c = 0;
    if (!r.U16(&c)) {
      *why = "database entry too short";
      return false;
    }
    if (c == 0) {
      *why = "NUL inside a database name";
      return false;
    }
    e->name.push_back(static_cast<wchar_t>(c));
  }
  if (!r.U32(&sortCount) || sortCount > CEDB_MAXSORTORDER) {
    *why = "sort order count out of range";
    return false;
  }
  e->sorts.clear();
  for (uint32_t i = 0; i < sortCount; ++i) {
    SORTORDERSPEC s{};
    if (!r.U32(&s.propid) || !r.U32(&s.dwFlags)) {
      *why = "database entry too short";
      return false;
    }
    if (!IsStoredType(TypeFromPropID(s.propid))) {
      *why = "sort order on an unknown value type";
      return false;
    }
    e->sorts.push_back(s);
  }
  return true;
}
}  // namespace

Parse ParseEntry(const uint8_t* p, size_t avail, Entry* e, std::string* why, uint32_t version) {
  if (avail < kEntryHeaderSize + (version >= 2 ? 8 : 0)) return Parse::Torn;
  ByteReader h(p, kEntryHeaderSize);
  uint32_t tag = 0, op = 0, len = 0, hcrc = 0;
  h.U32(&tag);
  h.U32(&op);
  h.U32(&len);
  h.U32(&hcrc);
  if (tag != kEntryTag) {
    *why = "no entry tag";
    return Parse::Corrupt;
  }
  if (HeadChecksum(p, version) != hcrc) {
    *why = "entry header checksum mismatch";
    return Parse::Corrupt;
  }
  if (len > kMaxPayload || (version >= 2 && len < 8)) {
    *why = "entry length out of range";
    return Parse::Corrupt;
  }
  size_t total = size_t(kEntryHeaderSize) + len + kEntryTrailerSize;
  if (avail < total) return Parse::Torn;
  const uint8_t* payload = p + kEntryHeaderSize;
  uint32_t pcrc = 0;
  std::memcpy(&pcrc, payload + len, 4);
  if (Crc32(payload, len) != pcrc) {
    *why = "entry payload checksum mismatch";
    return Parse::Corrupt;
  }
  e->op = op;
  e->size = static_cast<uint32_t>(total);
  ByteReader r(payload, len);
  switch (op) {
    case OpDbCreate:
    case OpDbSet:
      if (!DecodeDb(r, &e->db, why)) return Parse::Corrupt;
      break;
    case OpDbDelete:
    case OpRecDelete:
      if (!r.U32(&e->del.db) || !r.U32(&e->del.oid) || !r.U64(&e->del.time)) {
        *why = "delete entry too short";
        return Parse::Corrupt;
      }
      break;
    case OpRecPut: {
      uint32_t created = 0;
      if (!r.U32(&e->rec.db) || !r.U32(&e->rec.oid) || !r.U32(&created) || !r.U64(&e->rec.modTime)) {
        *why = "record entry too short";
        return Parse::Corrupt;
      }
      if (created > 1) {
        *why = "record entry with a bad created flag";
        return Parse::Corrupt;
      }
      e->rec.created = created == 1;
      const uint8_t* list = nullptr;
      size_t n = r.Left();
      r.Bytes(n, &list);
      if (!ValidatePropList(list, n, why)) return Parse::Corrupt;
      e->rec.props.assign(reinterpret_cast<const char*>(list), n);
      break;
    }
    default:
      *why = "unknown operation " + std::to_string(op);
      return Parse::Corrupt;
  }
  if (r.Left() != 0) {
    *why = "entry payload longer than its fields";
    return Parse::Corrupt;
  }
  return Parse::Ok;
}

bool IsStoredType(WORD type) {
  switch (type) {
    case CEVT_I2:
    case CEVT_UI2:
    case CEVT_I4:
    case CEVT_UI4:
    case CEVT_FILETIME:
    case CEVT_LPWSTR:
    case CEVT_BLOB:
    case CEVT_BOOL:
    case CEVT_R8:
      return true;
    default:
      return false;
  }
}

uint32_t FixedSize(WORD type) {
  switch (type) {
    case CEVT_I2:
    case CEVT_UI2:
      return 2;
    case CEVT_I4:
    case CEVT_UI4:
    case CEVT_BOOL:
      return 4;
    case CEVT_FILETIME:
    case CEVT_R8:
      return 8;
    default:
      return 0;
  }
}

bool ValidatePropList(const uint8_t* p, size_t n, std::string* why) {
  ByteReader r(p, n);
  uint32_t count = 0;
  if (!r.U32(&count)) {
    *why = "property list too short";
    return false;
  }
  if (count > 0xFFFF) {
    *why = "property count out of range";
    return false;
  }
  std::vector<CEPROPID> seen;
  seen.reserve(count);
  size_t total = 0;
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t propid = 0, len = 0;
    const uint8_t* data = nullptr;
    if (!r.U32(&propid) || !r.U32(&len) || !r.Bytes(len, &data)) {
      *why = "property list too short";
      return false;
    }
    WORD type = TypeFromPropID(propid);
    if (!IsStoredType(type)) {
      *why = "property of an unknown value type";
      return false;
    }
    uint32_t fixed = FixedSize(type);
    if (fixed != 0 && len != fixed) {
      *why = "property value of the wrong size";
      return false;
    }
    if (type == CEVT_LPWSTR) {
      if (len % 2 != 0 || len + 2 > CEDB_MAXPROPDATASIZE) {
        *why = "text property of a bad length";
        return false;
      }
      for (uint32_t k = 0; k < len; k += 2) {
        if (data[k] == 0 && data[k + 1] == 0) {
          *why = "NUL inside a text property";
          return false;
        }
      }
    }
    if (type == CEVT_BLOB && len > CEDB_MAXPROPDATASIZE) {
      *why = "blob property too long";
      return false;
    }
    for (CEPROPID s : seen) {
      if (s == propid) {
        *why = "property stored twice in one record";
        return false;
      }
    }
    seen.push_back(propid);
    total += len;
  }
  if (r.Left() != 0) {
    *why = "property list longer than its properties";
    return false;
  }
  if (total > CEDB_MAXRECORDSIZE) {
    *why = "record larger than the limit";
    return false;
  }
  return true;
}

PropIter::PropIter(const std::string& list)
    : p_(reinterpret_cast<const uint8_t*>(list.data())), n_(list.size()) {
  if (n_ >= 4) std::memcpy(&count_, p_, 4);
}

bool PropIter::Next(PropView* v) {
  if (pos_ + 8 > n_) return false;
  std::memcpy(&v->propid, p_ + pos_, 4);
  std::memcpy(&v->len, p_ + pos_ + 4, 4);
  v->data = p_ + pos_ + 8;
  pos_ += 8 + v->len;
  return true;
}

std::string EncodePropList(const std::vector<std::pair<CEPROPID, std::string>>& props) {
  ByteWriter w;
  w.U32(static_cast<uint32_t>(props.size()));
  for (const auto& p : props) {
    w.U32(p.first);
    w.U32(static_cast<uint32_t>(p.second.size()));
    w.Bytes(p.second.data(), p.second.size());
  }
  return std::move(w.Buffer());
}

}  // namespace objstore
