// PropsStore: the extended block of every contact in serialised form, with the contact's checksum, in
// the file pim_index2.dat of the temporary folder. It lives whole in a MappedFile; its header also
// records the state of the contacts database that the whole index reflects, which is where staleness
// is judged.
//
// Data layout (all integers little-endian, offsets from the data's start unless said otherwise):
//
//   0   u32  format mark, 1
//   4   u32  version, 5
//   8   u64  lastModTime: the database's last modification time at the last completed change
//   16  u8   in-change byte: not 0 while a change is in progress
//   17  3    pad
//   20  u32  offset of the first record, 0 if none
//   24  u32  number of records
//   28       the BlockPool of 128-byte blocks, to the end of the data
//
// A record is a chain of blocks. Its first block: next block u32 (0 at the end), length of the record's
// data u32, previous record u32, next record u32, then the first 112 bytes of the data. A further
// block: next block u32, then up to 124 bytes of data. The offset of a record's first block is the key
// under which the contact index refers to it. The records' previous and next links make a closed ring
// that is used to unlink a record and to walk the store when checking it.
//
// Record data, the serialised extended block (see PropsRecord.h): total length, checksum, the three
// address formats, ten section offsets, then the sections Phone, Email, WebPage, People, Link,
// OtherProp, Messenger, Address, Date, Image. The checksum is the data's second word, at block
// offset 20, so it is read without touching more than one block.
//
// The store never writes past its mapping: a growth that would pass the mapping's end is refused, the
// operation fails with kMappingFullError, the refusal is logged and the data stays as it was.
#pragma once

#include <windows.h>
#include <stdint.h>

#include "foundation/Array.h"
#include "foundation/Str.h"
#include "storage/props/BlockPool.h"
#include "storage/contact/ContactExtended.h"
#include "storage/mapped/MappedFile.h"

class Contact;

// The kinds of extended items, numbered as the Note's block of extended data numbers them.
enum PropsKind {
  PropsKindPhone = 0,      // "phone"
  PropsKindEmail = 1,      // "email"
  PropsKindMessenger = 2,  // "messenger"
  PropsKindWebPage = 3,    // "webpage"
  PropsKindAddress = 4,    // "address"
  PropsKindPeople = 5,     // "people"
  PropsKindDate = 6,       // "date"
  PropsKindLink = 7,       // "link"
  PropsKindImage = 8,      // "image"
  PropsKindOtherProp = 9,  // "otherprop"
};

class PropsStore {
 public:
  static constexpr uint32_t kMark = 1;
  static constexpr uint32_t kVersion = 5;
  static constexpr uint32_t kHeaderSize = 28;
  // Header fields.
  static constexpr uint32_t kMarkOffset = 0;
  static constexpr uint32_t kVersionOffset = 4;
  static constexpr uint32_t kTimeOffset = 8;
  static constexpr uint32_t kInChangeOffset = 16;
  static constexpr uint32_t kFirstRecordOffset = 20;
  static constexpr uint32_t kCountOffset = 24;
  // A record's first block.
  static constexpr uint32_t kNextBlockField = 0;
  static constexpr uint32_t kLengthField = 4;
  static constexpr uint32_t kPrevRecordField = 8;
  static constexpr uint32_t kNextRecordField = 12;
  static constexpr uint32_t kFirstBlockData = 112;
  static constexpr uint32_t kFurtherBlockData = 124;
  // Where the checksum of a record stands, from its first block.
  static constexpr uint32_t kChecksumField = 20;
  // The smallest store made, and what comes on top of the expected bytes: header and pool header.
  static constexpr uint32_t kMinimumLength = 1024;
  static constexpr uint32_t kOverhead = 40;
  // Bytes of the data that a deferred open reads before it returns: the header and the pool's.
  static constexpr uint32_t kHeadBytes = 4096;
  // The file's name in the temporary folder.
  static constexpr const wchar_t* kFileName = L"pim_index2.dat";

  PropsStore();
  virtual ~PropsStore();

  // The backing file. Until set, the store uses pim_index2.dat in the temporary folder.
  virtual BOOL SetPath(const wchar_t* path);
  const wchar_t* Path() const { return path; }
  // pim_index2.dat in the temporary folder (GetTempPathW, with a backslash added if it lacks one).
  static Str DefaultPath();

  // A new, empty store with room for about `expectedBytes` of blocks: 1024 bytes when expectedBytes +
  // 40 is at most that, otherwise expectedBytes + 1% of it + 40, rounded up to a multiple of 4.
  virtual BOOL Create(uint32_t expectedBytes);
  // Attaches to the store's mapping, reading the file if no process holds it. With `check` the length
  // is taken from the data, and a store is refused (closed, false, ERROR_INVALID_DATA) whose header is
  // short, whose in-change byte is set, whose mark isn't 1 or version isn't 5, or whose pool and
  // records don't hold together (see Check). Without `check` the known length is kept as the least
  // length and only the pool is attached again.
  virtual BOOL Open(BOOL check = TRUE);
  // The store for a quick start: only the header is judged (short, in-change byte, mark, version) and
  // the file behind it is copied in the background (MappedFile::OpenInBackground). Until WaitLoaded has
  // said true no record may be touched; the walk over the pool and the records is Check's, left to the
  // owner.
  virtual BOOL OpenDeferred();
  // Waits for the background copy; false when it failed.
  BOOL WaitLoaded() {
    const BOOL whole = file.WaitLoaded();
    // The data was an interim buffer while the copy ran: the mapping's is taken from here on.
    if (data != file.Data()) Attach(file.Length());
    return whole;
  }
  BOOL IsLoading() const { return file.IsLoading(); }
  // Finishes a running write-back, then unmaps.
  virtual void Close();
  virtual BOOL Save(BOOL background);
  // Stops a running write-back. Every change of the store does this first, since the write-back reads
  // the live data without a lock.
  virtual void CancelSave();

  // Stores the extended block and the checksum as a new record and returns its offset; 0 when the
  // store isn't open or has no room left in its mapping.
  virtual uint32_t AddRecord(const ContactExtended& block, uint32_t checksum);
  // The contact's extended block and its `checksum`.
  uint32_t AddRecord(const Contact& contact);
  // Reads the record at `offset` into `block` (cleared first) and its checksum into `checksum` when
  // not null. False, with ERROR_INVALID_DATA, when there is no well-formed record there.
  virtual BOOL GetRecord(uint32_t offset, ContactExtended& block, uint32_t* checksum) const;
  // Into a Contact: its extended block and its checksum.
  BOOL GetRecord(uint32_t offset, Contact& contact) const;
  // Replaces the record's data, keeping its offset. A record that needs more room than the mapping has
  // left is refused and stays as it was.
  virtual BOOL UpdateRecord(uint32_t offset, const ContactExtended& block, uint32_t checksum);
  BOOL UpdateRecord(uint32_t offset, const Contact& contact);
  // Unlinks the record and gives its blocks back to the pool.
  virtual BOOL DeleteRecord(uint32_t offset);
  // The checksum stored with the record at `offset`, read from its first block.
  virtual BOOL GetChecksum(uint32_t offset, uint32_t& checksum) const;
  // The same, while the copy of a deferred open is still due: from the read-only view of the file
  // that MappedFile::ViewFile made, or from the data when there is none.
  BOOL GetChecksumBeforeLoad(uint32_t offset, uint32_t& checksum) const;

  virtual void SetInChange(BYTE value);
  virtual BYTE GetInChange() const;
  // Stores the database's last modification time as lastModTime.
  virtual void SetDbState(const FILETIME& time);
  virtual FILETIME GetDbState() const;
  // Whether the index must be inspected against a database of `time` and `count` records: with
  // `countOnly` when the record count differs, otherwise when the count or the time differs.
  virtual BOOL IsNeedInspect(const FILETIME& time, uint32_t count, BOOL countOnly) const;

  // The kind whose name is `text`, compared in lower case. False for any other text.
  static BOOL KindFromName(const wchar_t* text, int& kind);

  // Bytes of the record data of an extended block: 60 and the sections. The sum over all contacts is
  // the `expectedBytes` of a store made for them.
  static uint32_t RecordSize(const ContactExtended& block);
  // Blocks that `n` bytes of data take as a record (the first block holding 112 and each further one
  // 124), and the bytes of those blocks. Without `firstBlock`, ceil(n / 124) blocks.
  static uint32_t BlockCount(uint32_t n, BOOL firstBlock);
  static uint32_t RoomFor(uint32_t n, BOOL firstBlock);
  // Makes sure the pool can hand out RoomFor(n, firstBlock) bytes of blocks, growing the data if not.
  // False when the growth would pass the end of the mapping (logged, kMappingFullError).
  virtual BOOL EnsureRoom(uint32_t n, BOOL firstBlock);

  // Checks every invariant of the store: header, pool and its free ring, the ring of records, every
  // record's chain of blocks (inside the pool, acyclic, as long as its data, not shared) and its data
  // (well-formed, exactly as the store writes it), the record count, and that every used block belongs
  // to a record or to the free ring. Appends one line per broken invariant to `report` and says
  // whether there was none.
  BOOL Check(Str& report) const;
  // The same, and that `records`, the offsets by which the contact index knows the records, name every
  // record exactly once and nothing else.
  BOOL Check(Str& report, const Array<uint32_t>& records) const;
  // The same checks on `length` bytes of store data anywhere in memory; nothing outside them is read.
  // `report` may be null. `records` may be null to leave out the comparison.
  static BOOL CheckData(const BYTE* data, uint32_t length, const Array<uint32_t>* records, Str* report);

  BOOL IsOpen() const { return data != nullptr; }
  BYTE* Data() const { return data; }
  uint32_t Length() const { return length; }
  uint32_t RecordCount() const;
  uint32_t FirstRecord() const;
  MappedFile& File() { return file; }
  const BlockPool& Pool() const { return pool; }

  // Length of a new store for `expectedBytes`, before the mapping's limit is applied.
  static uint64_t CreationLength(uint32_t expectedBytes);
  // The pool's usable size in store data of `length` bytes: everything behind the header but the data's
  // last word, which the file image takes for its size word on every save.
  static uint32_t PoolSize(uint32_t length);
  // The checksum of the record at `offset` in the bytes of a store of `dataLength` bytes, by the
  // rules of GetChecksum: a used block of the pool whose record is at least a record's head long.
  static BOOL ChecksumIn(const BYTE* bytes, uint32_t dataLength, uint32_t offset, uint32_t& checksum);

 private:
  PropsStore(const PropsStore&);
  PropsStore& operator=(const PropsStore&);

  // Open with data at least as long as the header: nothing of the header is read or written otherwise.
  BOOL HasHeader() const;
  // Fetches the data's address and length from the file and remakes the pool over them.
  void Attach(uint32_t dataLength);
  // Whether `offset` is where a block of the pool starts and the block lies in the used region.
  BOOL IsUsedBlock(uint32_t offset) const;
  // The blocks of the record at `offset` in chain order; false when the chain is broken.
  BOOL CollectChain(uint32_t offset, Array<uint32_t>& blocks) const;
  // Takes `count` blocks, all or none.
  BOOL TakeBlocks(uint32_t count, Array<uint32_t>& blocks);
  // Writes `length` bytes of `bytes` into the chain `blocks`, linking it and ending it with 0.
  void WriteChain(const Array<uint32_t>& blocks, const BYTE* bytes, uint32_t length);
  // Serialises into a new buffer, which the caller frees.
  static BYTE* Serialise(const ContactExtended& block, uint32_t checksum, uint32_t& size);
  uint32_t Word(uint32_t offset) const;
  void SetWord(uint32_t offset, uint32_t value);

  BYTE* data;
  BlockPool pool;
  MappedFile file;
  uint32_t length;
  wchar_t path[MAX_PATH];
};
