// The object store's file format: header, log entries, checksums and the encoded property list.
// The layout itself is described at the top of StoreFormat.cpp.
#pragma once
#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "windbase.h"

namespace objstore {

constexpr uint32_t kHeaderSize = 64;
constexpr uint32_t kVersion = 2;            // of the files this store writes
constexpr uint32_t kFirstVersion = 1;       // the oldest it reads
constexpr uint32_t kEntryTag = 0x31524E45;  // "ENR1"
constexpr uint32_t kEntryHeaderSize = 16;
constexpr uint32_t kEntryTrailerSize = 4;
constexpr uint32_t kMaxPayload = 1u << 20;  // far above the largest legal entry (one record of 128 KB)
constexpr CEOID kFirstOid = 0x00010001;

enum Op : uint32_t {
  OpDbCreate = 1,
  OpDbSet = 2,
  OpDbDelete = 3,
  OpRecPut = 4,
  OpRecDelete = 5,
};

uint32_t Crc32(const void* data, size_t size);

// Little-endian writer and bounds-checked reader.
class ByteWriter {
 public:
  void U8(uint8_t v) { buf_.push_back(static_cast<char>(v)); }
  void U16(uint16_t v);
  void U32(uint32_t v);
  void U64(uint64_t v);
  void Bytes(const void* p, size_t n) { buf_.append(static_cast<const char*>(p), n); }
  std::string& Buffer() { return buf_; }

 private:
  std::string buf_;
};

class ByteReader {
 public:
  ByteReader(const uint8_t* p, size_t n) : p_(p), n_(n) {}
  bool U16(uint16_t* v);
  bool U32(uint32_t* v);
  bool U32(unsigned long* v) {  // DWORD, CEOID and CEPROPID: 32 bits on Windows
    uint32_t x = 0;
    if (!U32(&x)) return false;
    *v = x;
    return true;
  }
  bool U64(uint64_t* v);
  bool Bytes(size_t n, const uint8_t** out);
  size_t Left() const { return n_ - pos_; }
  size_t Pos() const { return pos_; }

 private:
  const uint8_t* p_;
  size_t n_;
  size_t pos_ = 0;
};

struct Header {
  uint32_t version = kVersion;
  uint32_t fileId = 0;
  uint32_t nextOid = kFirstOid;
  uint64_t created = 0;
  uint64_t committedEnd = 0;  // end of the log after the last write; 0 when the file doesn't keep it
  uint32_t records = 0;       // records in the store at that end
  uint32_t salvageLost = 0;   // the last salvage that made this store: records it could not recover,
  uint32_t salvageKept = 0;   // records it recovered,
  uint64_t salvageTime = 0;   // and when it ran (FILETIME; 0: the store was never salvaged)
};
std::string EncodeHeader(const Header& h);
enum class HeaderCheck { Ok, Damaged, NewerVersion };
// Checks magic, checksum, version and size; `why` names the first failed check. NewerVersion: a sound
// header of a format this store doesn't know, which is refused rather than salvaged.
HeaderCheck DecodeHeader(const uint8_t* p, size_t n, Header* h, std::string* why);

struct DbEntry {
  CEOID oid = 0;
  uint32_t dbFlags = 0;
  uint32_t type = 0;
  uint64_t modTime = 0;
  std::wstring name;
  std::vector<SORTORDERSPEC> sorts;
};

struct RecEntry {
  CEOID db = 0;
  CEOID oid = 0;
  bool created = false;
  uint64_t modTime = 0;
  std::string props;  // encoded property list (see EncodePropList)
};

struct DelEntry {
  CEOID db = 0;  // OpRecDelete: the record's database; OpDbDelete: the database itself (oid 0)
  CEOID oid = 0;
  uint64_t time = 0;
};

struct Entry {
  uint32_t op = 0;
  uint32_t size = 0;  // bytes of the whole entry in the file
  DbEntry db;
  RecEntry rec;
  DelEntry del;
};

std::string EncodeDbEntry(uint32_t op, const DbEntry& e);
std::string EncodeRecEntry(const RecEntry& e);
std::string EncodeDelEntry(uint32_t op, const DelEntry& e);

// The checksum of an entry's head: of its first 12 bytes, and from version 2 on also of the first 8
// bytes of its payload, which name the object the entry concerns (`entry` holds at least 24 bytes).
uint32_t HeadChecksum(const uint8_t* entry, uint32_t version);
// Sets the head checksum of an encoded entry (the encoders seal for kVersion) for a file's version.
void SealEntry(std::string& entry, uint32_t version);

enum class Parse { Ok, Torn, Corrupt };
// Parses the entry at p (avail bytes up to the end of the file) of a file of `version`. Torn: the file
// ends inside the entry. Corrupt: the bytes there cannot be an entry this store wrote; `why` says which
// check failed.
Parse ParseEntry(const uint8_t* p, size_t avail, Entry* e, std::string* why, uint32_t version);

// ---- Properties ---------------------------------------------------------------------------------------
// An encoded property list: u32 count, then per property u32 propid, u32 length, `length` bytes.

bool IsStoredType(WORD type);
// Byte length that a fixed-size type must have, or 0 for text and blobs.
uint32_t FixedSize(WORD type);
// Checks every invariant of an encoded list: known types, exact sizes, text of whole UTF-16 units
// without NUL, no property twice, limits.
bool ValidatePropList(const uint8_t* p, size_t n, std::string* why);

struct PropView {
  CEPROPID propid;
  uint32_t len;
  const uint8_t* data;
};
// Iterates a list already validated.
class PropIter {
 public:
  explicit PropIter(const std::string& list);
  bool Next(PropView* v);
  uint32_t Count() const { return count_; }

 private:
  const uint8_t* p_;
  size_t n_;
  size_t pos_ = 4;
  uint32_t count_ = 0;
};
std::string EncodePropList(const std::vector<std::pair<CEPROPID, std::string>>& props);

}  // namespace objstore
