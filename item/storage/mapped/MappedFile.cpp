#include "storage/mapped/MappedFile.h"

#include <stdlib.h>
#include <string.h>

#include "foundation/DebugUtils.h"
#include "foundation/Settings.h"
#include "foundation/Str.h"
#include "storage/mapped/WriteBackProbe.h"

namespace {

// Access of the view: read, write and everything else the section allows.
const DWORD kViewAccess = 0xF001F;

uint32_t ReadWord(const BYTE* at) {
  uint32_t value;
  memcpy(&value, at, sizeof value);
  return value;
}

void WriteWord(BYTE* at, uint32_t value) { memcpy(at, &value, sizeof value); }

void LogTooLarge(const wchar_t* function, int line, uint32_t length, const wchar_t* path) {
  Str message;
  message.Format(L"MappedFile::%s: %u bytes of data don't fit the mapping of %s", function, length, path);
  LogError(message, L"MappedFile", function, line);
}

}  // namespace

MappedFile::MappedFile()
    : mapping(nullptr), view(nullptr), thread(nullptr), cancel(0), hurry(0), beforeSave(nullptr),
      threadWait(nullptr) {
  path[0] = 0;
}

MappedFile::~MappedFile() { Close(); }

// --- names and paths ----------------------------------------------------------------------------------

BOOL MappedFile::MappingName(const wchar_t* source, wchar_t* name, int size) {
  if (source == nullptr || name == nullptr || size < 1) return FALSE;
  int length = 0;
  for (const wchar_t* at = source; *at != 0; ++at) {
    if (*at == L'\\') continue;
    if (length >= size - 1) return FALSE;
    name[length++] = *at;
  }
  name[length] = 0;
  if (length > 0) CharUpperBuffW(name, static_cast<DWORD>(length));
  return TRUE;
}

BOOL MappedFile::IsValidImage(uint32_t fileSize, uint32_t checkWord) {
  return fileSize >= 8 && checkWord == fileSize;
}

BOOL MappedFile::RememberPath(const wchar_t* source) {
  if (source == nullptr || wcslen(source) >= MAX_PATH) {
    path[0] = 0;
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return FALSE;
  }
  wcscpy(path, source);
  return TRUE;
}

// --- the mapping --------------------------------------------------------------------------------------

BOOL MappedFile::MapSection(BOOL* existed) {
  wchar_t name[MAX_PATH];
  if (!MappingName(path, name, MAX_PATH)) {
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return FALSE;
  }
  // Backed by the page file (no file handle), so the memory lives as long as some process holds it.
  mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kMappingSize, name);
  if (mapping == nullptr) return FALSE;
  *existed = GetLastError() == ERROR_ALREADY_EXISTS;
  view = static_cast<BYTE*>(MapViewOfFile(mapping, kViewAccess, 0, 0, 0));
  if (view == nullptr) {
    DWORD error = GetLastError();
    CloseHandle(mapping);
    mapping = nullptr;
    SetLastError(error);
    return FALSE;
  }
  return TRUE;
}

void MappedFile::Unmap() {
  if (view != nullptr) UnmapViewOfFile(view);
  if (mapping != nullptr) CloseHandle(mapping);
  view = nullptr;
  mapping = nullptr;
}

BYTE* MappedFile::Data() const { return view != nullptr ? view + 4 : nullptr; }

uint32_t MappedFile::Length() const { return view != nullptr ? ReadWord(view) : 0; }

void MappedFile::SetLength(uint32_t length) { WriteWord(view, length); }

BOOL MappedFile::Create(const wchar_t* filePath, uint32_t length) {
  Close();
  if (!RememberPath(filePath)) return FALSE;
  if (length > kMaxLength) {
    LogTooLarge(L"Create", __LINE__, length, path);
    SetLastError(kMappingFullError);
    return FALSE;
  }
  DeleteFileW(path);
  BOOL existed = FALSE;
  if (!MapSection(&existed)) return FALSE;
  if (existed) {
    Unmap();
    SetLastError(ERROR_ALREADY_EXISTS);
    return FALSE;
  }
  SetLength(length);
  return TRUE;
}

BOOL MappedFile::Open(const wchar_t* filePath, uint32_t minimumLength) {
  Close();
  if (!RememberPath(filePath)) return FALSE;
  if (minimumLength > kMaxLength) {
    LogTooLarge(L"Open", __LINE__, minimumLength, path);
    SetLastError(kMappingFullError);
    return FALSE;
  }
  BOOL existed = FALSE;
  if (!MapSection(&existed)) return FALSE;
  if (existed) {
    // Another process holds the live data: that is the current state, whatever the file says.
    if (Length() < minimumLength) SetLength(minimumLength);
    return TRUE;
  }

  HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    DWORD error = GetLastError();
    Unmap();
    SetLastError(error);
    return FALSE;
  }
  DWORD high = 0;
  DWORD size = GetFileSize(file, &high);
  DWORD error = GetLastError();
  if (size == INVALID_FILE_SIZE && error != NO_ERROR) {
    CloseHandle(file);
    Unmap();
    SetLastError(error);
    return FALSE;
  }
  // A file larger than the mapping can take is not an image this program wrote; nothing of it is
  // read.
  if (high != 0 || size > kMaxLength + 4) {
    CloseHandle(file);
    Unmap();
    LogTooLarge(L"Open", __LINE__, size, path);
    SetLastError(kMappingFullError);
    return FALSE;
  }
  DWORD read = 0;
  BOOL ok = ReadFile(file, Data(), size, &read, nullptr);
  error = GetLastError();
  CloseHandle(file);
  if (!ok || read != size) {
    Unmap();
    SetLastError(ok ? ERROR_HANDLE_EOF : error);
    return FALSE;
  }
  if (!IsValidImage(size, size >= 8 ? ReadWord(Data() + size - 8) : 0)) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  SetLength(size - 4);
  return TRUE;
}

BOOL MappedFile::Grow(uint32_t newLength) {
  if (view == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (newLength <= Length()) return TRUE;
  if (newLength > kMaxLength) {
    LogTooLarge(L"Grow", __LINE__, newLength, path);
    SetLastError(kMappingFullError);
    return FALSE;
  }
  SetLength(newLength);
  return TRUE;
}

void MappedFile::Close() {
  FinishSave();
  Unmap();
}

// --- saving ---------------------------------------------------------------------------------------------

uint32_t MappedFile::StampImage() {
  uint32_t length = Length();
  WriteWord(Data() + length - 4, length + 4);
  return length + 4;
}

BOOL MappedFile::Save(BOOL background) {
  if (view == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  // The image's size word goes into the data's last word: without one there is no image.
  if (Length() < 4) {
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  // One writer of the file at a time.
  CancelSave();

  if (background) {
    cancel = 0;
    hurry = 0;
    HANDLE created = CreateThread(nullptr, 0, WriteBackThread, this, CREATE_SUSPENDED, nullptr);
    if (created == nullptr) return FALSE;
    HANDLE own = nullptr;
    if (!DuplicateHandle(GetCurrentProcess(), created, GetCurrentProcess(), &own, 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
      DWORD error = GetLastError();
      TerminateThread(created, 1);
      CloseHandle(created);
      SetLastError(error);
      return FALSE;
    }
    threadWait = own;
    thread = created;
    // The platform's lowest normal priority, so that the device stays responsive while it writes.
    SetThreadPriority(created, THREAD_PRIORITY_LOWEST);
    ResumeThread(created);
    return TRUE;
  }

  HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return FALSE;
  uint32_t bytes = StampImage();
  DWORD written = 0;
  BOOL ok = WriteFile(file, Data(), bytes, &written, nullptr);
  DWORD error = GetLastError();
  CloseHandle(file);
  if (!ok || written != bytes) {
    DeleteFileW(path);
    SetLastError(ok ? ERROR_WRITE_FAULT : error);
    return FALSE;
  }
  return TRUE;
}

void MappedFile::WaitForWriteBack() {
  while (thread != nullptr) Sleep(10);
  if (threadWait != nullptr) {
    // The thread has cleared its handle as its last act; let it end completely before anything it
    // used goes away.
    WaitForSingleObject(threadWait, INFINITE);
    CloseHandle(threadWait);
    threadWait = nullptr;
  }
}

void MappedFile::CancelSave() {
  if (threadWait == nullptr) return;
  cancel = 1;
  WaitForWriteBack();
  cancel = 0;
}

void MappedFile::FinishSave() {
  if (threadWait == nullptr) return;
  SetThreadPriority(threadWait, THREAD_PRIORITY_ABOVE_NORMAL);
  hurry = 1;
  WaitForWriteBack();
  hurry = 0;
}

DWORD WINAPI MappedFile::WriteBackThread(void* parameter) {
  MappedFile* self = static_cast<MappedFile*>(parameter);
  BOOL saved = self->WriteBack();
  // Clearing the handle is the thread's last touch of the object: the waiting side may release it
  // from then on.
  HANDLE own = self->thread;
  CloseHandle(own);
  self->thread = nullptr;
  return saved ? 0 : 1;
}

BOOL MappedFile::WriteBack() {
  BYTE* buffer = static_cast<BYTE*>(malloc(kSliceSize));
  if (buffer == nullptr) return FALSE;
  BYTE* data = Data();
  if (beforeSave != nullptr) beforeSave(data);

  HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    free(buffer);
    return FALSE;
  }

  uint32_t remaining = StampImage();
  uint32_t position = 0;
  // Slices staged through the buffer, each copied at once from the live data, with a yield after
  // each unless a close is waiting.
  while (remaining > 0 && cancel == 0) {
    uint32_t slice = remaining < kSliceSize ? remaining : kSliceSize;
    memcpy(buffer, data + position, slice);
    DWORD written = 0;
    if (!WriteFile(file, buffer, slice, &written, nullptr) || written != slice) break;
    position += slice;
    remaining -= slice;
    WriteBackProbe(this, position);
    if (cancel != 0) break;
    if (hurry == 0) Sleep(0);
  }
  CloseHandle(file);
  free(buffer);

  // A partial file stays as it is: its check word is wrong, and that is how the next open finds out.
  if (remaining > 0) return FALSE;
  ClearDirtyMark(path);
  return TRUE;
}
