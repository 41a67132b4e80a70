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

void LogFailure(const wchar_t* call, DWORD error, const wchar_t* subject, const wchar_t* function, int line) {
  LogCallFailure(call, error, subject, L"MappedFile", function, line);
}

// A backing file that isn't there yet is the normal state before the first save, not a failure.
bool IsMissingFile(DWORD error) { return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND; }

// The turn of the background copies: one at a time in the process.
struct CopyTurn {
  CopyTurn() { InitializeCriticalSection(&section); }
  ~CopyTurn() { DeleteCriticalSection(&section); }
  CRITICAL_SECTION section;
};

// The flags cross threads: this side writes them, the write-back thread reads them.
void SetFlag(LONG* flag, LONG value) { InterlockedExchange(flag, value); }

bool IsFlagSet(const LONG* flag) { return InterlockedCompareExchange(const_cast<LONG*>(flag), 0, 0) != 0; }

}  // namespace

MappedFile::MappedFile()
    : cancel(0), hurry(0), beforeSave(nullptr), loadStarted(FALSE), loadDropped(FALSE), loadSize(0),
      loadLength(0), loadFailed(FALSE), loadError(NO_ERROR), loadAttached(FALSE), interim(nullptr),
      interimHead(0), image(nullptr), imageSize(0), imageOpen(FALSE), imageDirty(0) {
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

BOOL MappedFile::MapSection(BOOL* existed, uint32_t firstWord) {
  wchar_t name[MAX_PATH];
  wchar_t guardName[MAX_PATH];
  static const wchar_t kGuardSuffix[] = L".OPENING";
  if (!MappingName(path, name, MAX_PATH - static_cast<int>(wcslen(kGuardSuffix)))) {
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return FALSE;
  }
  wcscpy(guardName, name);
  wcscat(guardName, kGuardSuffix);
  KernelHandle guard(CreateMutexW(nullptr, FALSE, guardName));
  if (guard.IsEmpty()) {
    LogFailure(L"CreateMutexW", GetLastError(), path, L"MapSection", __LINE__);
    return FALSE;
  }
  // A holder that died leaves the mutex abandoned, which still hands it over.
  const DWORD waited = WaitForSingleObject(guard.Get(), kAttachWaitMs);
  if (waited != WAIT_OBJECT_0 && waited != WAIT_ABANDONED) {
    const DWORD error = waited == WAIT_TIMEOUT ? ERROR_TIMEOUT : GetLastError();
    LogFailure(L"WaitForSingleObject", error, path, L"MapSection", __LINE__);
    SetLastError(error);
    return FALSE;
  }
  // Backed by the page file (no file handle), so the memory lives as long as some process holds it.
  mapping.Reset(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kMappingSize, name));
  DWORD error = GetLastError();
  if (mapping.IsEmpty()) {
    LogFailure(L"CreateFileMappingW", error, path, L"MapSection", __LINE__);
  } else {
    *existed = error == ERROR_ALREADY_EXISTS;
    view.Reset(MapViewOfFile(mapping.Get(), kViewAccess, 0, 0, 0));
    if (view.IsEmpty()) {
      error = GetLastError();
      LogFailure(L"MapViewOfFile", error, path, L"MapSection", __LINE__);
      mapping.Reset();
    } else if (!*existed) {
      SetLength(firstWord);
    }
  }
  ReleaseMutex(guard.Get());
  if (view.IsEmpty()) {
    SetLastError(error);
    return FALSE;
  }
  return TRUE;
}

BOOL MappedFile::MapForOpen(BOOL* first) {
  const DWORD started = GetTickCount();
  for (;;) {
    BOOL existed = FALSE;
    if (!MapSection(&existed, kLoadingLength)) return FALSE;
    *first = !existed;
    if (!existed) return TRUE;
    // Another process made the mapping: it holds the live data once its copy has ended.
    const LONG* word = static_cast<LONG*>(view.Get());
    uint32_t length = kLoadingLength;
    while ((length = static_cast<uint32_t>(InterlockedCompareExchange(const_cast<LONG*>(word), 0, 0))) ==
               kLoadingLength &&
           GetTickCount() - started < kAttachWaitMs)
      Sleep(1);
    if (length != kLoadingLength && length != kFailedLength) return TRUE;
    Unmap();
    if (GetTickCount() - started >= kAttachWaitMs) {
      // The process that was copying the file went away in the middle, or copies fail again and
      // again: what the mapping holds is neither the file nor a store.
      LogFailure(L"OpenFileMapping", ERROR_TIMEOUT, path, L"MapForOpen", __LINE__);
      SetLastError(ERROR_TIMEOUT);
      return FALSE;
    }
    // Its copy failed: once it has let go, this process reads the file itself.
    Sleep(5);
  }
}

void MappedFile::Unmap() {
  view.Reset();
  mapping.Reset();
}

BYTE* MappedFile::Data() const {
  if (interim != nullptr) return interim;
  return view.IsEmpty() ? nullptr : static_cast<BYTE*>(view.Get()) + 4;
}

uint32_t MappedFile::Length() const {
  // While this object's copy runs, the word says so to other processes; here the length is known.
  if (interim != nullptr) return loadLength;
  if (view.IsEmpty()) return 0;
  const uint32_t length = ReadWord(static_cast<BYTE*>(view.Get()));
  return length == kFailedLength ? 0 : length;
}

void MappedFile::SetLength(uint32_t length) { WriteWord(static_cast<BYTE*>(view.Get()), length); }

BOOL MappedFile::Create(const wchar_t* filePath, uint32_t length) {
  Close();
  if (!RememberPath(filePath)) return FALSE;
  if (length > kMaxLength) {
    LogTooLarge(L"Create", __LINE__, length, path);
    SetLastError(kMappingFullError);
    return FALSE;
  }
  if (!DeleteFileW(path) && !IsMissingFile(GetLastError()))
    LogFailure(L"DeleteFileW", GetLastError(), path, L"Create", __LINE__);
  BOOL existed = FALSE;
  if (!MapSection(&existed, length)) return FALSE;
  if (existed) {
    Unmap();
    SetLastError(ERROR_ALREADY_EXISTS);
    return FALSE;
  }
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
  if (image != nullptr) return OpenImage();
  BOOL first = FALSE;
  if (!MapForOpen(&first)) return FALSE;
  if (!first) {
    // Another process holds the live data: that is the current state, whatever the file says.
    if (Length() < minimumLength) SetLength(minimumLength);
    return TRUE;
  }
  // Until the copy has ended, a process that attaches finds the length word saying so.
  KernelHandle file;
  DWORD size = 0;
  if (!OpenBackingFile(file, &size)) return FALSE;
  return ReadWhole(file.Get(), size, L"Open");
}

BOOL MappedFile::OpenInBackground(const wchar_t* filePath, uint32_t headBytes) {
  Close();
  if (!RememberPath(filePath)) return FALSE;
  if (image != nullptr) return OpenImage();
  // A mapping some process holds has the live data, whatever the file says: it is attached at once.
  if (!IsMappingHeld() && OpenWithInterim(headBytes)) return TRUE;
  BOOL first = FALSE;
  if (!MapForOpen(&first)) return FALSE;
  if (!first) return TRUE;
  KernelHandle file;
  DWORD size = 0;
  if (!OpenBackingFile(file, &size)) return FALSE;
  return ReadWhole(file.Get(), size, L"OpenInBackground");
}

BOOL MappedFile::IsMappingHeld() const {
  wchar_t name[MAX_PATH];
  // A name too long for a mapping: the open that follows says so.
  if (!MappingName(path, name, MAX_PATH)) return TRUE;
  HANDLE held = OpenFileMappingW(FILE_MAP_READ, FALSE, name);
  if (held == nullptr) return FALSE;
  CloseHandle(held);
  return TRUE;
}

BOOL MappedFile::OpenWithInterim(uint32_t headBytes) {
  KernelHandle file(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
  // Whatever fails here is found again, and said, by the open that reads the file whole.
  if (file.IsEmpty()) return FALSE;
  DWORD high = 0;
  const DWORD size = GetFileSize(file.Get(), &high);
  if (size == INVALID_FILE_SIZE || high != 0 || size < 8 || size > kMaxLength + 4) return FALSE;
  BYTE* memory =
      static_cast<BYTE*>(VirtualAlloc(nullptr, kMappingSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
  if (memory == nullptr) return FALSE;
  const DWORD head = headBytes < size ? headBytes : size;
  // The check word first, from the file's end: a file that fails it is read whole, as Open reads it.
  if (!ReadSpan(file.Get(), memory, size - 8, 8) || !IsValidImage(size, ReadWord(memory + size - 8)) ||
      !ReadSpan(file.Get(), memory, 0, head)) {
    VirtualFree(memory, 0, MEM_RELEASE);
    return FALSE;
  }
  loadFile = static_cast<KernelHandle&&>(file);
  loadSize = size;
  loadLength = size - 4;
  loadFailed = FALSE;
  loadError = NO_ERROR;
  loadAttached = FALSE;
  interim = memory;
  interimHead = head;
  HANDLE thread = CreateThread(nullptr, 0, LoadThread, this, CREATE_SUSPENDED, nullptr);
  if (thread != nullptr) {
    loader.Reset(thread);
    loadStarted = FALSE;
    loadDropped = FALSE;
    // Below the opener, which goes on with its start meanwhile; whoever waits for the copy raises it.
    // It runs from StartLoad on.
    SetThreadPriority(thread, THREAD_PRIORITY_LOWEST);
    return TRUE;
  }
  LogFailure(L"CreateThread", GetLastError(), path, L"OpenInBackground", __LINE__);
  interim = nullptr;
  VirtualFree(memory, 0, MEM_RELEASE);
  loadFile.Reset();
  return FALSE;
}

BOOL MappedFile::FetchSpan(uint32_t offset, uint32_t count) {
  if (interim == nullptr) return Data() != nullptr;
  if (offset > loadSize || count > loadSize - offset) {
    SetLastError(ERROR_HANDLE_EOF);
    return FALSE;
  }
  return ReadSpan(loadFile.Get(), interim, offset, count);
}

BOOL MappedFile::ViewFile() {
  if (interim == nullptr) return Data() != nullptr;
  if (!fileView.IsEmpty()) return TRUE;
  fileSection.Reset(CreateFileMappingW(loadFile.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  if (fileSection.IsEmpty()) return FALSE;
  fileView.Reset(MapViewOfFile(fileSection.Get(), FILE_MAP_READ, 0, 0, 0));
  if (fileView.IsEmpty()) {
    fileSection.Reset();
    return FALSE;
  }
  return TRUE;
}

BOOL MappedFile::OpenImage() {
  const BYTE* bytes = image;
  const uint32_t size = imageSize;
  image = nullptr;
  imageSize = 0;
  // As a file larger than the mapping: nothing of it is taken.
  if (size > kMaxLength + 4) {
    LogTooLarge(L"Open", __LINE__, size, path);
    SetLastError(kMappingFullError);
    return FALSE;
  }
  // Without a name: nobody else can attach to it, and nobody has to be kept out while it is filled.
  if (imageSection.IsEmpty()) {
    imageSection.Reset(
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kMappingSize, nullptr));
    if (imageSection.IsEmpty()) {
      const DWORD error = GetLastError();
      LogFailure(L"CreateFileMappingW", error, path, L"OpenImage", __LINE__);
      SetLastError(error);
      return FALSE;
    }
    imageDirty = 0;
  }
  if (imageView.IsEmpty()) {
    imageView.Reset(MapViewOfFile(imageSection.Get(), kViewAccess, 0, 0, 0));
    if (imageView.IsEmpty()) {
      const DWORD error = GetLastError();
      LogFailure(L"MapViewOfFile", error, path, L"OpenImage", __LINE__);
      SetLastError(error);
      return FALSE;
    }
  }
  view = static_cast<MappedView&&>(imageView);
  imageOpen = TRUE;
  // All zeros again, as a new mapping is, whatever the last image left.
  memset(view.Get(), 0, imageDirty);
  imageDirty = 4 + size;
  if (size > 0) memcpy(Data(), bytes, size);
  if (!IsValidImage(size, size >= 8 ? ReadWord(Data() + size - 8) : 0)) {
    SetLength(kFailedLength);
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  SetLength(size - 4);
  return TRUE;
}

BOOL MappedFile::ReadWhole(HANDLE file, DWORD size, const wchar_t* caller) {
  if (!ReadSpan(file, Data(), 0, size)) {
    DWORD error = GetLastError();
    LogFailure(L"ReadFile", error, path, caller, __LINE__);
    SetLength(kFailedLength);
    Unmap();
    SetLastError(error);
    return FALSE;
  }
  if (!IsValidImage(size, size >= 8 ? ReadWord(Data() + size - 8) : 0)) {
    SetLength(kFailedLength);
    SetLastError(ERROR_INVALID_DATA);
    return FALSE;
  }
  SetLength(size - 4);
  return TRUE;
}

BOOL MappedFile::OpenBackingFile(KernelHandle& file, DWORD* fileSize) {
  file.Reset(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                         nullptr));
  if (file.IsEmpty()) {
    DWORD error = GetLastError();
    if (!IsMissingFile(error)) LogFailure(L"CreateFileW", error, path, L"Open", __LINE__);
    SetLength(kFailedLength);
    Unmap();
    SetLastError(error);
    return FALSE;
  }
  SetLastError(NO_ERROR);
  DWORD high = 0;
  DWORD size = GetFileSize(file.Get(), &high);
  DWORD error = GetLastError();
  if (size == INVALID_FILE_SIZE && error != NO_ERROR) {
    LogFailure(L"GetFileSize", error, path, L"Open", __LINE__);
    file.Reset();
    SetLength(kFailedLength);
    Unmap();
    SetLastError(error);
    return FALSE;
  }
  // A file larger than the mapping can take is not an image this program wrote; nothing of it is
  // read.
  if (high != 0 || size > kMaxLength + 4) {
    file.Reset();
    SetLength(kFailedLength);
    Unmap();
    LogTooLarge(L"Open", __LINE__, size, path);
    SetLastError(kMappingFullError);
    return FALSE;
  }
  *fileSize = size;
  return TRUE;
}

BOOL MappedFile::ReadSpan(HANDLE file, BYTE* data, DWORD offset, DWORD count) {
  if (count == 0) return TRUE;
  // At an offset of its own rather than the file's pointer: the copy's thread and FetchSpan read the
  // same handle at once.
  OVERLAPPED at = {};
  at.Offset = offset;
  DWORD read = 0;
  if (!ReadFile(file, data + offset, count, &read, &at)) return FALSE;
  if (read != count) {
    SetLastError(ERROR_HANDLE_EOF);
    return FALSE;
  }
  return TRUE;
}

DWORD WINAPI MappedFile::LoadThread(void* parameter) {
  // One copy at a time in the process: the opener, which goes on meanwhile, keeps a processor to
  // itself on a device with two, and the copies of a start's two files end no later than side by side.
  static CopyTurn turn;
  MappedFile* self = static_cast<MappedFile*>(parameter);
  if (self->loadDropped) return 1;
  EnterCriticalSection(&turn.section);
  const BOOL loaded = self->LoadInBackground();
  LeaveCriticalSection(&turn.section);
  return loaded ? 0 : 1;
}

BOOL MappedFile::LoadInBackground() {
  BOOL first = FALSE;
  if (!MapForOpen(&first)) {
    loadError = GetLastError();
    loadFailed = TRUE;
    return FALSE;
  }
  BYTE* target = static_cast<BYTE*>(view.Get()) + 4;
  if (!first) {
    // Another process made the mapping since the look at it, from the same file: its data is the live
    // one. What was judged from the head must still be what it holds.
    loadAttached = TRUE;
    if (ReadWord(static_cast<BYTE*>(view.Get())) != loadLength || memcmp(target, interim, interimHead) != 0) {
      loadError = ERROR_INVALID_DATA;
      loadFailed = TRUE;
    }
    return !loadFailed;
  }
  const BOOL ok = CopyWholeFile();
  if (!ok) {
    loadError = GetLastError() != NO_ERROR ? GetLastError() : ERROR_READ_FAULT;
    loadFailed = TRUE;
  }
  // Other processes may use the data from here on; the length word says when.
  InterlockedExchange(static_cast<LONG*>(view.Get()), static_cast<LONG>(ok ? loadLength : kFailedLength));
  return ok;
}

BOOL MappedFile::CopyWholeFile() {
  BYTE* target = static_cast<BYTE*>(view.Get()) + 4;
  // Through a view of the file rather than ReadFile into the mapping: a read into memory not yet
  // touched holds the platform's lock of the address space while it runs, and the opener's thread
  // would wait on it. The handle's sharing keeps writers of the file away meanwhile.
  KernelHandle section(CreateFileMappingW(loadFile.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  if (!section.IsEmpty()) {
    MappedView source(MapViewOfFile(section.Get(), FILE_MAP_READ, 0, 0, 0));
    if (!source.IsEmpty()) {
      memcpy(target, source.Get(), loadSize);
      return TRUE;
    }
  }
  // Without a view, in slices, so that the lock is never held for long.
  for (DWORD at = 0; at < loadSize;) {
    const DWORD slice = loadSize - at < kLoadSlice ? loadSize - at : kLoadSlice;
    if (!ReadSpan(loadFile.Get(), target, at, slice)) return FALSE;
    at += slice;
  }
  return TRUE;
}

void MappedFile::DropInterim() {
  if (interim == nullptr) return;
  // A copy of this process's own takes the head as the opener may have changed it meanwhile.
  if (!loadFailed && !loadAttached && !view.IsEmpty())
    memcpy(static_cast<BYTE*>(view.Get()) + 4, interim, interimHead);
  VirtualFree(interim, 0, MEM_RELEASE);
  interim = nullptr;
  interimHead = 0;
  fileView.Reset();
  fileSection.Reset();
}

void MappedFile::StartLoad() {
  if (loader.IsEmpty() || loadStarted) return;
  loadStarted = TRUE;
  ResumeThread(loader.Get());
}

void MappedFile::DropUnstartedLoad() {
  if (loader.IsEmpty() || loadStarted) return;
  loadDropped = TRUE;
  loadStarted = TRUE;
  ResumeThread(loader.Get());
  if (WaitForSingleObject(loader.Get(), INFINITE) == WAIT_FAILED)
    LogFailure(L"WaitForSingleObject", GetLastError(), path, L"Close", __LINE__);
  loader.Reset();
  loadFile.Reset();
  // Nothing was mapped: the head written meanwhile goes with the buffer.
  VirtualFree(interim, 0, MEM_RELEASE);
  interim = nullptr;
  interimHead = 0;
  fileView.Reset();
  fileSection.Reset();
  loadDropped = FALSE;
}

BOOL MappedFile::WaitLoaded() {
  if (loader.IsEmpty()) return !loadFailed;
  SetThreadPriority(loader.Get(), THREAD_PRIORITY_NORMAL);
  StartLoad();
  if (WaitForSingleObject(loader.Get(), INFINITE) == WAIT_FAILED)
    LogFailure(L"WaitForSingleObject", GetLastError(), path, L"WaitLoaded", __LINE__);
  loader.Reset();
  loadFile.Reset();
  DropInterim();
  if (loadFailed) {
    LogFailure(L"ReadFile", loadError, path, L"WaitLoaded", __LINE__);
    SetLastError(ERROR_READ_FAULT);
    return FALSE;
  }
  return TRUE;
}

BOOL MappedFile::IsLoading() const {
  return !loader.IsEmpty() && WaitForSingleObject(loader.Get(), 0) == WAIT_TIMEOUT;
}

BOOL MappedFile::Grow(uint32_t newLength) {
  // During a copy the mapping is the copy's thread's until it has ended.
  WaitLoaded();
  if (view.IsEmpty()) {
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
  // A copy that never began makes no mapping; one that runs is waited for, so that whoever attaches
  // later finds the whole file, not the part copied so far.
  DropUnstartedLoad();
  WaitLoaded();
  FinishSave();
  // The view of an image stays for the next; the data may have grown since its open, and the next
  // open clears that far.
  if (imageOpen) {
    if (4 + Length() > imageDirty) imageDirty = 4 + Length();
    imageView = static_cast<MappedView&&>(view);
    imageOpen = FALSE;
  }
  Unmap();
  loadFailed = FALSE;
}

// --- saving ---------------------------------------------------------------------------------------------

uint32_t MappedFile::StampImage() {
  uint32_t length = Length();
  WriteWord(Data() + length - 4, length + 4);
  return length + 4;
}

BOOL MappedFile::Save(BOOL background) {
  if (!IsMapped()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  // Never an image of a copy that failed: the file on disk is the better one.
  if (!WaitLoaded() || view.IsEmpty()) {
    SetLastError(ERROR_INVALID_DATA);
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
    SetFlag(&cancel, 0);
    SetFlag(&hurry, 0);
    HANDLE created = CreateThread(nullptr, 0, WriteBackThread, this, CREATE_SUSPENDED, nullptr);
    if (created == nullptr) {
      LogFailure(L"CreateThread", GetLastError(), path, L"Save", __LINE__);
      return FALSE;
    }
    thread.Reset(created);
    // The platform's lowest normal priority, so that the device stays responsive while it writes.
    SetThreadPriority(created, THREAD_PRIORITY_LOWEST);
    ResumeThread(created);
    return TRUE;
  }

  KernelHandle file(
      CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file.IsEmpty()) {
    LogFailure(L"CreateFileW", GetLastError(), path, L"Save", __LINE__);
    return FALSE;
  }
  uint32_t bytes = StampImage();
  DWORD written = 0;
  BOOL ok = WriteFile(file.Get(), Data(), bytes, &written, nullptr);
  DWORD error = ok ? ERROR_WRITE_FAULT : GetLastError();
  // Closed before a short image is deleted.
  file.Reset();
  if (!ok || written != bytes) {
    LogFailure(L"WriteFile", error, path, L"Save", __LINE__);
    DeleteFileW(path);
    SetLastError(error);
    return FALSE;
  }
  return TRUE;
}

BOOL MappedFile::IsSaving() const {
  return !thread.IsEmpty() && WaitForSingleObject(thread.Get(), 0) == WAIT_TIMEOUT;
}

BOOL MappedFile::IsCancelRequested() const { return IsFlagSet(&cancel); }

void MappedFile::WaitForWriteBack() {
  // The thread uses this object up to its last instruction; nothing it uses may go before it has
  // ended.
  if (WaitForSingleObject(thread.Get(), INFINITE) == WAIT_FAILED)
    LogFailure(L"WaitForSingleObject", GetLastError(), path, L"WaitForWriteBack", __LINE__);
  thread.Reset();
}

void MappedFile::CancelSave() {
  if (thread.IsEmpty()) return;
  SetFlag(&cancel, 1);
  WaitForWriteBack();
  SetFlag(&cancel, 0);
}

void MappedFile::FinishSave() {
  if (thread.IsEmpty()) return;
  // A close waits for it: from here on it writes at a raised priority and without yielding.
  SetThreadPriority(thread.Get(), THREAD_PRIORITY_ABOVE_NORMAL);
  SetFlag(&hurry, 1);
  WaitForWriteBack();
  SetFlag(&hurry, 0);
}

DWORD WINAPI MappedFile::WriteBackThread(void* parameter) {
  MappedFile* self = static_cast<MappedFile*>(parameter);
  return self->WriteBack() ? 0 : 1;
}

BOOL MappedFile::WriteBack() {
  BYTE* buffer = static_cast<BYTE*>(malloc(kSliceSize));
  if (buffer == nullptr) return FALSE;
  BYTE* data = Data();
  if (beforeSave != nullptr) beforeSave(data);

  KernelHandle file(
      CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file.IsEmpty()) {
    LogFailure(L"CreateFileW", GetLastError(), path, L"WriteBack", __LINE__);
    free(buffer);
    return FALSE;
  }

  uint32_t remaining = StampImage();
  uint32_t position = 0;
  // Slices staged through the buffer, each copied at once from the live data, with a yield after
  // each unless a close is waiting.
  while (remaining > 0 && !IsFlagSet(&cancel)) {
    uint32_t slice = remaining < kSliceSize ? remaining : kSliceSize;
    memcpy(buffer, data + position, slice);
    DWORD written = 0;
    BOOL ok = WriteFile(file.Get(), buffer, slice, &written, nullptr);
    if (!ok || written != slice) {
      LogFailure(L"WriteFile", ok ? ERROR_WRITE_FAULT : GetLastError(), path, L"WriteBack", __LINE__);
      break;
    }
    position += slice;
    remaining -= slice;
    WriteBackProbe(this, position);
    if (IsFlagSet(&cancel)) break;
    if (!IsFlagSet(&hurry)) Sleep(0);
  }
  file.Reset();
  free(buffer);

  // A partial file stays as it is: its check word is wrong, and that is how the next open finds out.
  if (remaining > 0) return FALSE;
  ClearDirtyMark(path);
  return TRUE;
}
