#include "manager/core/IndexFileVerdict.h"

#include <stdint.h>
#include <string.h>

#include "foundation/Handles.h"
#include "storage/index/IndexFormat.h"
#include "storage/mapped/ArenaAllocator.h"
#include "storage/mapped/MappedFile.h"
#include "storage/props/PropsStore.h"

namespace {

// What a file's image holds at the places the opens judge.
struct FileHead {
  DWORD error;     // of opening the file; NO_ERROR when it was read
  DWORD size;      // the file's size
  BYTE head[64];   // its first bytes (zeros past its end)
  uint32_t check;  // the word at size - 8, or 0 when the file is shorter
};

uint32_t HeadWord(const FileHead& file, uint32_t offset) {
  uint32_t value = 0;
  if (offset + 4 <= sizeof file.head) memcpy(&value, file.head + offset, sizeof value);
  return value;
}

BOOL ReadAt(HANDLE file, DWORD offset, void* out, DWORD count) {
  if (SetFilePointer(file, static_cast<LONG>(offset), nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER &&
      GetLastError() != NO_ERROR)
    return FALSE;
  DWORD read = 0;
  return ReadFile(file, out, count, &read, nullptr) && read == count;
}

FileHead ReadHead(const wchar_t* path) {
  FileHead file = {};
  KernelHandle handle(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (handle.IsEmpty()) {
    file.error = GetLastError();
    return file;
  }
  file.size = GetFileSize(handle.Get(), nullptr);
  if (file.size == INVALID_FILE_SIZE) {
    file.error = GetLastError();
    return file;
  }
  const DWORD headBytes = file.size < sizeof file.head ? file.size : static_cast<DWORD>(sizeof file.head);
  if (!ReadAt(handle.Get(), 0, file.head, headBytes) ||
      (file.size >= 8 && !ReadAt(handle.Get(), file.size - 8, &file.check, 4)))
    file.error = GetLastError() != NO_ERROR ? GetLastError() : ERROR_READ_FAULT;
  return file;
}

// What is wrong with the image of the file as a MappedFile reads it; empty when nothing.
Str ImageVerdict(const wchar_t* name, const FileHead& file) {
  Str why;
  if (file.error == ERROR_FILE_NOT_FOUND || file.error == ERROR_PATH_NOT_FOUND) {
    why.Format(L"%s is missing", name);
  } else if (file.error != NO_ERROR) {
    why.Format(L"%s can't be read (error %u)", name, static_cast<unsigned>(file.error));
  } else if (file.size > MappedFile::kMaxLength + 4) {
    why.Format(L"%s has %u bytes, more than its mapping holds", name, static_cast<unsigned>(file.size));
  } else if (!MappedFile::IsValidImage(file.size, file.check)) {
    why.Format(L"%s wasn't written whole: its size word is %u for %u bytes", name,
               static_cast<unsigned>(file.check), static_cast<unsigned>(file.size));
  }
  return why;
}

Str PropsVerdict(const wchar_t* name, const FileHead& file) {
  Str why = ImageVerdict(name, file);
  if (!why.IsEmpty()) return why;
  const uint32_t mark = HeadWord(file, PropsStore::kMarkOffset);
  const uint32_t version = HeadWord(file, PropsStore::kVersionOffset);
  if (file.size - 4 < PropsStore::kHeaderSize) {
    why.Format(L"%s has %u bytes, fewer than its header", name, static_cast<unsigned>(file.size));
  } else if (mark != PropsStore::kMark || version != PropsStore::kVersion) {
    why.Format(L"%s has the format mark %u and version %u, not %u and %u", name, mark, version,
               PropsStore::kMark, PropsStore::kVersion);
  } else if (file.head[PropsStore::kInChangeOffset] != 0) {
    why.Format(L"%s was left in the middle of a change", name);
  }
  return why;
}

Str IndexVerdict(const wchar_t* name, const FileHead& file) {
  Str why = ImageVerdict(name, file);
  if (!why.IsEmpty()) return why;
  const uint32_t length = file.size - 4;
  const uint32_t smallest = kIndexHeaderSize + ArenaAllocator::kHeaderBytes + ArenaAllocator::kTagBytes +
                            ArenaAllocator::kMinimumPayload;
  const uint32_t mark = HeadWord(file, kIndexMarkSlot);
  const uint32_t version = HeadWord(file, kIndexVersionSlot);
  const uint32_t arenaSize = HeadWord(file, kIndexHeaderSize);
  if (length < smallest) {
    why.Format(L"%s has %u bytes, too few for its header and arena", name, static_cast<unsigned>(file.size));
  } else if (mark != kIndexMark && version != kIndexVersion) {
    why.Format(L"%s has the format mark %u and version %u, not %u and %u", name, mark, version, kIndexMark,
               kIndexVersion);
  } else if (arenaSize != length - kIndexHeaderSize) {
    why.Format(L"%s has an arena of %u bytes in %u bytes of data", name, arenaSize, length);
  }
  return why;
}

}  // namespace

const wchar_t* BareFileName(const wchar_t* path) {
  if (path == nullptr) return L"";
  const wchar_t* name = path;
  for (const wchar_t* at = path; *at != 0; ++at) {
    if (*at == L'\\' || *at == L'/') name = at + 1;
  }
  return name;
}

Str DescribeUnusableIndex(const wchar_t* indexPath, const wchar_t* propsPath, DWORD error) {
  Str why = PropsVerdict(BareFileName(propsPath), ReadHead(propsPath));
  if (why.IsEmpty()) why = IndexVerdict(BareFileName(indexPath), ReadHead(indexPath));
  if (why.IsEmpty()) {
    why.Format(L"%s and %s can't be opened (error %u)", BareFileName(indexPath), BareFileName(propsPath),
               static_cast<unsigned>(error));
  }
  return why;
}
