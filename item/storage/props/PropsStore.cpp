#include "storage/props/PropsStore.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "foundation/DebugUtils.h"
#include "storage/contact/Contact.h"
#include "storage/props/PropsRecord.h"

namespace {

const wchar_t kUnableToMap[] = L"Unable open memory as mapped file!!!";
const wchar_t kSource[] = L"PropsStore";

uint64_t RoundUp4(uint64_t value) { return (value + 3) & ~static_cast<uint64_t>(3); }

}  // namespace

PropsStore::PropsStore() : data(nullptr), length(0) {
  path[0] = 0;
  Str defaultPath = DefaultPath();
  if (defaultPath.GetLength() < MAX_PATH) wcscpy(path, defaultPath);
}

PropsStore::~PropsStore() { Close(); }

// --- the file ----------------------------------------------------------------------------------------------

Str PropsStore::DefaultPath() {
  wchar_t folder[MAX_PATH];
  DWORD size = GetTempPathW(MAX_PATH, folder);
  Str result;
  if (size > 0 && size < MAX_PATH) result = Str(folder, static_cast<int>(size));
  if (result.IsEmpty() || result[result.GetLength() - 1] != L'\\') result += L'\\';
  result += kFileName;
  return result;
}

BOOL PropsStore::SetPath(const wchar_t* newPath) {
  if (newPath == nullptr || wcslen(newPath) >= MAX_PATH) {
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return FALSE;
  }
  wcscpy(path, newPath);
  return TRUE;
}

uint64_t PropsStore::CreationLength(uint32_t expectedBytes) {
  uint64_t bytes = expectedBytes;
  if (bytes + kOverhead <= kMinimumLength) return kMinimumLength;
  return RoundUp4(bytes + bytes / 100 + kOverhead);
}

uint32_t PropsStore::PoolSize(uint32_t dataLength) {
  const uint32_t reserved = kHeaderSize + 4;
  return dataLength > reserved ? dataLength - reserved : 0;
}

void PropsStore::Attach(uint32_t dataLength) {
  data = file.Data();
  length = data != nullptr ? dataLength : 0;
  pool = data != nullptr ? BlockPool(data + kHeaderSize, PoolSize(length)) : BlockPool();
}

uint32_t PropsStore::Word(uint32_t offset) const {
  uint32_t value;
  memcpy(&value, data + offset, sizeof value);
  return value;
}

void PropsStore::SetWord(uint32_t offset, uint32_t value) { memcpy(data + offset, &value, sizeof value); }

BOOL PropsStore::Create(uint32_t expectedBytes) {
  Close();
  uint64_t size = CreationLength(expectedBytes);
  if (size > MappedFile::kMaxLength) {
    Str message;
    message.Format(L"PropsStore::Create: %I64u bytes don't fit the mapping", size);
    LogError(message, kSource, L"Create", __LINE__);
    SetLastError(kMappingFullError);
    return FALSE;
  }
  if (!file.Create(path, static_cast<uint32_t>(size))) return FALSE;
  Attach(file.Length());
  memset(data, 0, kHeaderSize);
  SetWord(kMarkOffset, kMark);
  SetWord(kVersionOffset, kVersion);
  pool.Reset();
  return TRUE;
}

BOOL PropsStore::Open(BOOL check) {
  uint32_t known = length;
  Close();
  if (!file.Open(path, check ? 0 : known)) {
    DWORD error = GetLastError();
    file.Close();
    SetLastError(error);
    return FALSE;
  }
  // Never more than the mapping says it holds: whatever lies behind its length is not the store's.
  Attach(file.Length());
  if (!check) return TRUE;

  if (length < kHeaderSize || Word(kMarkOffset) != kMark || Word(kVersionOffset) != kVersion ||
      data[kInChangeOffset] != 0) {
    Close();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  Str report;
  if (!CheckData(data, length, nullptr, &report)) {
    int end = report.Find(L'\n');
    Str message = L"PropsStore::Open: ";
    message += end >= 0 ? report.Left(end) : report;
    LogError(message, kSource, L"Open", __LINE__);
    Close();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  return TRUE;
}

BOOL PropsStore::OpenDeferred() {
  Close();
  if (!file.OpenInBackground(path, kHeadBytes)) {
    DWORD error = GetLastError();
    file.Close();
    SetLastError(error);
    return FALSE;
  }
  Attach(file.Length());
  if (length < kHeaderSize || Word(kMarkOffset) != kMark || Word(kVersionOffset) != kVersion ||
      data[kInChangeOffset] != 0) {
    Close();
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  return TRUE;
}

void PropsStore::Close() {
  file.Close();
  data = nullptr;
  length = 0;
  pool = BlockPool();
}

BOOL PropsStore::Save(BOOL background) {
  if (data == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return file.Save(background);
}

void PropsStore::CancelSave() { file.CancelSave(); }

// --- header ---------------------------------------------------------------------------------------------

BOOL PropsStore::HasHeader() const { return data != nullptr && length >= kHeaderSize; }

uint32_t PropsStore::RecordCount() const { return HasHeader() ? Word(kCountOffset) : 0; }

uint32_t PropsStore::FirstRecord() const { return HasHeader() ? Word(kFirstRecordOffset) : 0; }

void PropsStore::SetInChange(BYTE value) {
  if (!HasHeader()) return;
  CancelSave();
  data[kInChangeOffset] = value;
}

BYTE PropsStore::GetInChange() const { return HasHeader() ? data[kInChangeOffset] : 0; }

void PropsStore::SetDbState(const FILETIME& time) {
  if (!HasHeader()) return;
  CancelSave();
  SetWord(kTimeOffset, time.dwLowDateTime);
  SetWord(kTimeOffset + 4, time.dwHighDateTime);
}

FILETIME PropsStore::GetDbState() const {
  FILETIME time = {0, 0};
  if (!HasHeader()) return time;
  time.dwLowDateTime = Word(kTimeOffset);
  time.dwHighDateTime = Word(kTimeOffset + 4);
  return time;
}

BOOL PropsStore::IsNeedInspect(const FILETIME& time, uint32_t count, BOOL countOnly) const {
  // A store that isn't open reflects no database at all.
  if (!HasHeader()) return TRUE;
  FILETIME stored = GetDbState();
  BOOL timeDiffers =
      stored.dwLowDateTime != time.dwLowDateTime || stored.dwHighDateTime != time.dwHighDateTime;
  if (timeDiffers) {
    Str message;
    message.Format(L"PropsStore::IsNeedInspect: lastModTime diffs(mHeader time: %x %x db_time: %x %x)",
                   stored.dwHighDateTime, stored.dwLowDateTime, time.dwHighDateTime, time.dwLowDateTime);
    OutputDebugStringW(message);
  }
  BOOL countDiffers = RecordCount() != count;
  if (countOnly) return countDiffers;
  return timeDiffers || countDiffers;
}

// --- room ------------------------------------------------------------------------------------------------

uint32_t PropsStore::BlockCount(uint32_t n, BOOL firstBlock) {
  if (!firstBlock) return (n + kFurtherBlockData - 1) / kFurtherBlockData;
  uint32_t rest = n > kFirstBlockData ? n - kFirstBlockData : 0;
  return 1 + (rest + kFurtherBlockData - 1) / kFurtherBlockData;
}

uint32_t PropsStore::RoomFor(uint32_t n, BOOL firstBlock) {
  uint64_t bytes = static_cast<uint64_t>(BlockCount(n, firstBlock)) * BlockPool::kBlockSize;
  return bytes > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(bytes);
}

BOOL PropsStore::EnsureRoom(uint32_t n, BOOL firstBlock) {
  if (data == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  uint32_t need = RoomFor(n, firstBlock);
  uint32_t capacity = pool.Capacity();
  if (need <= capacity) return TRUE;

  uint64_t sum = static_cast<uint64_t>(length) + (need - capacity);
  uint64_t target = RoundUp4(sum + sum / 100);
  if (target > MappedFile::kMaxLength) {
    // The last stretch of the mapping: the room without the extra percent, if that still fits.
    if (RoundUp4(sum) > MappedFile::kMaxLength) {
      Str message;
      message.Format(L"PropsStore: no room for %u bytes of records, the mapping is full at %u bytes", need,
                     length);
      LogError(message, kSource, L"EnsureRoom", __LINE__);
      SetLastError(kMappingFullError);
      return FALSE;
    }
    target = MappedFile::kMaxLength;
  }
  if (!file.Grow(static_cast<uint32_t>(target))) {
    if (GetLastError() == kMappingFullError) return FALSE;
    FailureStop(kUnableToMap, kSource, __LINE__);
  }
  // The view never moves, but the pool's limit is its size: the pool object is always made again.
  Attach(file.Length());
  if (pool.Capacity() < need) {
    SetLastError(kMappingFullError);
    return FALSE;
  }
  return TRUE;
}

// --- chains ----------------------------------------------------------------------------------------------

BOOL PropsStore::IsUsedBlock(uint32_t offset) const {
  return data != nullptr && offset >= kHeaderSize && pool.IsUsedBlock(offset - kHeaderSize);
}

namespace {

int CompareOffsets(const void* a, const void* b) {
  uint32_t x = *static_cast<const uint32_t*>(a);
  uint32_t y = *static_cast<const uint32_t*>(b);
  return x < y ? -1 : (x > y ? 1 : 0);
}

BOOL AllDistinct(const Array<uint32_t>& blocks) {
  Array<uint32_t> sorted = blocks;
  if (sorted.GetSize() < 2) return TRUE;
  qsort(sorted.GetData(), static_cast<size_t>(sorted.GetSize()), sizeof(uint32_t), CompareOffsets);
  for (int i = 1; i < sorted.GetSize(); ++i)
    if (sorted[i] == sorted[i - 1]) return FALSE;
  return TRUE;
}

}  // namespace

BOOL PropsStore::CollectChain(uint32_t offset, Array<uint32_t>& blocks) const {
  blocks.RemoveAll();
  if (!IsUsedBlock(offset)) return FALSE;
  uint32_t dataLength = Word(offset + kLengthField);
  uint32_t count = BlockCount(dataLength, TRUE);
  uint32_t usedBlocks = (pool.FirstUnused() - BlockPool::kHeaderSize) / BlockPool::kBlockSize;
  if (count > usedBlocks) return FALSE;
  blocks.SetSize(static_cast<int>(count), 16);
  uint32_t current = offset;
  for (uint32_t i = 0; i < count; ++i) {
    if (!IsUsedBlock(current)) {
      blocks.RemoveAll();
      return FALSE;
    }
    blocks[static_cast<int>(i)] = current;
    current = Word(current + kNextBlockField);
  }
  // The last block ends the chain, and no block comes twice.
  if (current != 0 || !AllDistinct(blocks)) {
    blocks.RemoveAll();
    return FALSE;
  }
  return TRUE;
}

BOOL PropsStore::TakeBlocks(uint32_t count, Array<uint32_t>& blocks) {
  blocks.RemoveAll();
  for (uint32_t i = 0; i < count; ++i) {
    BYTE* block = pool.TakeBlock();
    if (block == nullptr) {
      // A ring that has members but gives none is damaged; otherwise the pool is simply full.
      DWORD error = pool.FreeHead() != 0 ? ERROR_INVALID_DATA : kMappingFullError;
      // All or none: what was taken goes back, the last first, so the pool holds the same blocks again.
      for (int j = blocks.GetSize() - 1; j >= 0; --j) pool.GiveBlock(data + blocks[j]);
      blocks.RemoveAll();
      SetLastError(error);
      return FALSE;
    }
    blocks.Add(static_cast<uint32_t>(block - data));
  }
  return TRUE;
}

void PropsStore::WriteChain(const Array<uint32_t>& blocks, const BYTE* bytes, uint32_t dataLength) {
  uint32_t done = 0;
  for (int i = 0; i < blocks.GetSize(); ++i) {
    uint32_t block = blocks[i];
    uint32_t next = i + 1 < blocks.GetSize() ? blocks[i + 1] : 0;
    SetWord(block + kNextBlockField, next);
    uint32_t at = block + 4;
    uint32_t room = kFurtherBlockData;
    if (i == 0) {
      SetWord(block + kLengthField, dataLength);
      at = block + 16;
      room = kFirstBlockData;
    }
    uint32_t part = dataLength - done < room ? dataLength - done : room;
    memcpy(data + at, bytes + done, part);
    done += part;
  }
}

BYTE* PropsStore::Serialise(const ContactExtended& block, uint32_t checksum, uint32_t& size) {
  size = PropsRecord::Size(block);
  BYTE* bytes = CheckAllocation(static_cast<BYTE*>(malloc(size)));
  PropsRecord::Write(block, checksum, bytes, size);
  return bytes;
}

uint32_t PropsStore::RecordSize(const ContactExtended& block) { return PropsRecord::Size(block); }

// --- records ---------------------------------------------------------------------------------------------

uint32_t PropsStore::AddRecord(const ContactExtended& block, uint32_t checksum) {
  if (!HasHeader()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  CancelSave();
  // The ring the record joins must be sound before anything is written.
  uint32_t count = RecordCount();
  uint32_t first = FirstRecord();
  if (count > 0 && (!IsUsedBlock(first) || !IsUsedBlock(Word(first + kPrevRecordField)))) {
    SetLastError(ERROR_INVALID_DATA);
    return 0;
  }

  uint32_t size = 0;
  BYTE* bytes = Serialise(block, checksum, size);
  Array<uint32_t> blocks;
  if (!EnsureRoom(size, TRUE) || !TakeBlocks(BlockCount(size, TRUE), blocks)) {
    DWORD error = GetLastError();
    free(bytes);
    SetLastError(error);
    return 0;
  }
  WriteChain(blocks, bytes, size);
  free(bytes);

  uint32_t record = blocks[0];
  if (count == 0) {
    SetWord(record + kPrevRecordField, record);
    SetWord(record + kNextRecordField, record);
    SetWord(kFirstRecordOffset, record);
  } else {
    // Into the ring just before the first record. The ring is kept closed both ways (the first
    // record's previous link follows too, and DeleteRecord moves the first-record field on), so that
    // no link ever names a freed block: such a block may come back as a further block of another
    // record, and writing a link through it would overwrite that record's data.
    uint32_t last = Word(first + kPrevRecordField);
    SetWord(record + kNextRecordField, first);
    SetWord(record + kPrevRecordField, last);
    SetWord(last + kNextRecordField, record);
    SetWord(first + kPrevRecordField, record);
  }
  SetWord(kCountOffset, count + 1);
  return record;
}

uint32_t PropsStore::AddRecord(const Contact& contact) {
  return AddRecord(static_cast<const ContactExtended&>(contact), contact.checksum);
}

BOOL PropsStore::GetRecord(uint32_t offset, ContactExtended& block, uint32_t* checksum) const {
  block.ClearExtended();
  Array<uint32_t> blocks;
  if (!CollectChain(offset, blocks)) {
    SetLastError(data == nullptr ? ERROR_INVALID_HANDLE : ERROR_INVALID_DATA);
    return FALSE;
  }
  uint32_t dataLength = Word(offset + kLengthField);
  BYTE* bytes = CheckAllocation(static_cast<BYTE*>(malloc(dataLength > 0 ? dataLength : 1)));
  uint32_t done = 0;
  for (int i = 0; i < blocks.GetSize(); ++i) {
    uint32_t at = blocks[i] + (i == 0 ? 16 : 4);
    uint32_t room = i == 0 ? kFirstBlockData : kFurtherBlockData;
    uint32_t part = dataLength - done < room ? dataLength - done : room;
    memcpy(bytes + done, data + at, part);
    done += part;
  }
  BOOL ok = PropsRecord::Parse(bytes, dataLength, block, checksum);
  free(bytes);
  if (!ok) SetLastError(ERROR_INVALID_DATA);
  return ok;
}

BOOL PropsStore::GetRecord(uint32_t offset, Contact& contact) const {
  return GetRecord(offset, static_cast<ContactExtended&>(contact), &contact.checksum);
}

BOOL PropsStore::UpdateRecord(uint32_t offset, const ContactExtended& block, uint32_t checksum) {
  if (data == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  CancelSave();
  Array<uint32_t> chain;
  if (!CollectChain(offset, chain)) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  uint32_t oldLength = Word(offset + kLengthField);
  uint32_t oldCount = static_cast<uint32_t>(chain.GetSize());

  uint32_t size = 0;
  BYTE* bytes = Serialise(block, checksum, size);
  uint32_t newCount = BlockCount(size, TRUE);
  if (newCount > oldCount) {
    Array<uint32_t> extra;
    if (!EnsureRoom(size - oldLength, FALSE) || !TakeBlocks(newCount - oldCount, extra)) {
      DWORD error = GetLastError();
      free(bytes);
      SetLastError(error);
      return FALSE;
    }
    chain.Append(extra);
  }
  Array<uint32_t> used = chain;
  used.SetSize(static_cast<int>(newCount));
  WriteChain(used, bytes, size);
  free(bytes);
  // The chain was cut behind its last block used; what followed goes back in chain order.
  for (uint32_t i = newCount; i < oldCount; ++i) pool.GiveBlock(data + chain[static_cast<int>(i)]);
  return TRUE;
}

BOOL PropsStore::UpdateRecord(uint32_t offset, const Contact& contact) {
  return UpdateRecord(offset, static_cast<const ContactExtended&>(contact), contact.checksum);
}

BOOL PropsStore::DeleteRecord(uint32_t offset) {
  if (!HasHeader()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  CancelSave();
  Array<uint32_t> chain;
  uint32_t count = RecordCount();
  if (count == 0 || !CollectChain(offset, chain)) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  uint32_t prev = Word(offset + kPrevRecordField);
  uint32_t next = Word(offset + kNextRecordField);
  if (count > 1) {
    // Only a record whose neighbours name it back is unlinked: anything else at `offset` is left alone.
    if (prev == offset || next == offset || !IsUsedBlock(prev) || !IsUsedBlock(next) ||
        Word(prev + kNextRecordField) != offset || Word(next + kPrevRecordField) != offset) {
      SetLastError(ERROR_INVALID_DATA);
      return FALSE;
    }
    SetWord(prev + kNextRecordField, next);
    SetWord(next + kPrevRecordField, prev);
    if (FirstRecord() == offset) SetWord(kFirstRecordOffset, next);
  } else {
    if (prev != offset || next != offset || FirstRecord() != offset) {
      SetLastError(ERROR_INVALID_DATA);
      return FALSE;
    }
    SetWord(kFirstRecordOffset, 0);
  }
  for (int i = 0; i < chain.GetSize(); ++i) pool.GiveBlock(data + chain[i]);
  SetWord(kCountOffset, count - 1);
  return TRUE;
}

BOOL PropsStore::ChecksumIn(const BYTE* bytes, uint32_t dataLength, uint32_t offset, uint32_t& checksum) {
  if (bytes == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  const BlockPool blocks(const_cast<BYTE*>(bytes) + kHeaderSize, PoolSize(dataLength));
  uint32_t recordLength = 0;
  if (offset >= kHeaderSize && blocks.IsUsedBlock(offset - kHeaderSize))
    memcpy(&recordLength, bytes + offset + kLengthField, sizeof recordLength);
  if (recordLength < PropsRecord::kHeaderSize) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  memcpy(&checksum, bytes + offset + kChecksumField, sizeof checksum);
  return TRUE;
}

BOOL PropsStore::GetChecksum(uint32_t offset, uint32_t& checksum) const {
  return ChecksumIn(data, length, offset, checksum);
}

BOOL PropsStore::GetChecksumBeforeLoad(uint32_t offset, uint32_t& checksum) const {
  const BYTE* bytes = file.FileView();
  if (bytes == nullptr) return GetChecksum(offset, checksum);
  // A file shorter than the length its head gives holds no records past its end.
  const uint32_t viewed = file.FileViewSize();
  return ChecksumIn(bytes, viewed < length ? viewed : length, offset, checksum);
}
