// The store as one process sees it.
//
// Sharing between processes. The file is the only truth. A named mutex serialises every access to it;
// under the mutex a process first catches up (reads and applies the entries appended since it last
// looked), then, for a change, appends one entry and applies it. A small named mapping holds the valid
// end of the log and the file's id as last published under the mutex; a call whose image already
// reaches that end needs neither the mutex nor the file, which keeps reads cheap. A writer publishes
// before it reports success, so a later call in any process sees the write.
//
// A killed writer. WAIT_ABANDONED on the mutex means that the previous owner died holding it. Its entry
// is either complete (it counts, even if the writer never heard back) or the file ends inside it (a
// torn tail): catching up stops before it and cuts it off, with a line in the log.
//
// Handles. A database handle is a named event whose name says which database and which sort order it
// uses; the process keeps a table from the HANDLE value to the handle's state (sort order, position,
// notification request). CloseHandle cannot be intercepted, so a closed handle is noticed lazily: when
// notifications are delivered, each table entry's HANDLE must still name an event of its own name
// (NtQueryObject), else the entry is dropped; a new handle that the kernel gives the value of an old
// one replaces the old entry. Whether a database or one of its sort orders is open anywhere is asked
// of the kernel: the handle count of the named event, which follows every CloseHandle and every
// process's death exactly.
//
// Notifications. Every change applied to the image, the process's own or one caught up from another
// process, is posted to the notification windows of this process's open handles on that database:
// WM_DBNOTIFICATION with a CENOTIFICATION from the request's heap, or the legacy DB_CEOID_* message.
// A process with notification requests runs a thread with a hidden message-only window of a class named
// after the store; a writer posts a registered message to every such window of other processes, whose
// thread then catches up and so posts the notifications. The thread also looks once a second, in case a
// message was lost. PostMessage puts each notification on the queue of the thread owning the window.
#include "Store.h"

#include <winternl.h>

#include "DeviceJournal.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

namespace objstore {

namespace {

const DWORD kMutexTimeoutMs = 60000;
const uint64_t kCompactMinDead = 1u << 20;

uint64_t Fnv1a(const std::wstring& s) {
  std::wstring u = s;
  if (!u.empty()) CharUpperBuffW(&u[0], static_cast<DWORD>(u.size()));  // Windows paths ignore case
  uint64_t h = 1469598103934665603ull;
  for (wchar_t c : u) {
    h ^= static_cast<uint16_t>(c);
    h *= 1099511628211ull;
  }
  return h;
}

std::wstring Hex(uint64_t v, int digits) {
  static const wchar_t kDigits[] = L"0123456789abcdef";
  std::wstring out(static_cast<size_t>(digits), L'0');
  for (int i = digits - 1; i >= 0; --i, v >>= 4) out[static_cast<size_t>(i)] = kDigits[v & 0xF];
  return out;
}

std::string Utf8(const std::wstring& w) {
  if (w.empty()) return std::string();
  int n =
      WideCharToMultiByte(CP_UTF8, 0, w.c_str(), static_cast<int>(w.size()), nullptr, 0, nullptr, nullptr);
  std::string s(static_cast<size_t>(n), '\0');
  WideCharToMultiByte(CP_UTF8, 0, w.c_str(), static_cast<int>(w.size()), &s[0], n, nullptr, nullptr);
  return s;
}

uint32_t NewFileId() {
  LARGE_INTEGER q;
  QueryPerformanceCounter(&q);
  uint64_t h = 1469598103934665603ull;
  uint64_t parts[3] = {static_cast<uint64_t>(q.QuadPart), GetCurrentProcessId(), GetTickCount64()};
  for (uint64_t p : parts) {
    for (int i = 0; i < 8; ++i) {
      h ^= (p >> (8 * i)) & 0xFF;
      h *= 1099511628211ull;
    }
  }
  uint32_t id = static_cast<uint32_t>(h ^ (h >> 32));
  return id ? id : 1;
}

typedef LONG(NTAPI* NtQueryObjectFn)(HANDLE, int, PVOID, ULONG, PULONG);
NtQueryObjectFn QueryObject() {
  static NtQueryObjectFn fn = reinterpret_cast<NtQueryObjectFn>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryObject")));
  return fn;
}

struct BasicInfo {
  ULONG Attributes;
  ACCESS_MASK GrantedAccess;
  ULONG HandleCount;
  ULONG PointerCount;
  ULONG Reserved[10];
};

// True when `h` is an open handle to a kernel object whose name ends with the name we gave our event.
bool NamesOurEvent(HANDLE h, const std::wstring& name) {
  NtQueryObjectFn q = QueryObject();
  if (!q) return true;
  alignas(8) BYTE buf[1024];
  ULONG len = 0;
  if (q(h, 1 /* ObjectNameInformation */, buf, sizeof buf, &len) != 0) return false;
  const UNICODE_STRING* us = reinterpret_cast<const UNICODE_STRING*>(buf);
  std::wstring got(us->Buffer ? us->Buffer : L"", us->Length / sizeof(wchar_t));
  // Our names are "Local\<rest>"; the kernel reports "...\BaseNamedObjects\<rest>".
  std::wstring rest = name.substr(name.find(L'\\') + 1);
  return got.size() > rest.size() && got.compare(got.size() - rest.size(), rest.size(), rest) == 0 &&
         got[got.size() - rest.size() - 1] == L'\\';
}

}  // namespace

Store& Store::Get() {
  static Store* store = new Store();  // lives as long as the process: the listener thread may use it
  return *store;
}

Store::Store() { InitializeCriticalSection(&cs_); }

uint64_t Store::Now() {
  FILETIME ft;
  GetSystemTimeAsFileTime(&ft);
  return (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

uint64_t Store::NextModTime(const Database* db) const {
  // Strictly increasing per database, so that every write shows as a newer modification time.
  uint64_t now = Now();
  return db && db->desc.modTime >= now ? db->desc.modTime + 1 : now;
}

int Store::SlotOf(const Database* db, CEPROPID sortProp) {
  if (sortProp == 0) return -1;
  for (size_t i = 0; i < db->desc.sorts.size(); ++i) {
    if (db->desc.sorts[i].propid == sortProp) return static_cast<int>(i);
  }
  return -2;
}

// ---- Attaching ---------------------------------------------------------------------------------------

// The store is chosen once per process, at its first Ce call: PAGEMARK_OBJECT_STORE if set, else the
// device's \windows\objectstore.cdb (unless a device tool chose one with PagemarkStoreUse). Its log is
// the same path with the extension ".log".
DWORD Store::Attach() {
  if (attached_) return ERROR_SUCCESS;
  wchar_t buf[MAX_PATH * 2];
  DWORD n = GetEnvironmentVariableW(L"PAGEMARK_OBJECT_STORE", buf, MAX_PATH * 2);
  std::wstring given;
  if (!chosenPath_.empty()) {
    given = chosenPath_;
  } else if (n > 0 && n < MAX_PATH * 2) {
    given = buf;
  } else {
    // The device's \windows folder on the device's drive (the drive that holds the Windows folder).
    wchar_t win[MAX_PATH];
    UINT w = GetWindowsDirectoryW(win, MAX_PATH);
    std::wstring drive = (w >= 2 && win[1] == L':') ? std::wstring(win, 2) : std::wstring(L"C:");
    given = drive + L"\\windows\\objectstore.cdb";
  }
  wchar_t full[MAX_PATH * 2];
  DWORD f = GetFullPathNameW(given.c_str(), MAX_PATH * 2, full, nullptr);
  path_ = (f > 0 && f < MAX_PATH * 2) ? std::wstring(full) : given;
  size_t slash = path_.find_last_of(L"\\/");
  size_t dot = path_.find_last_of(L'.');
  logPath_ = (dot != std::wstring::npos && (slash == std::wstring::npos || dot > slash))
                 ? path_.substr(0, dot)
                 : path_;
  logPath_ += L".log";

  std::wstring id = Hex(Fnv1a(path_), 16);
  prefix_ = L"Local\\PagemarkObjectStore-" + id + L"-";
  listenerClass_ = L"PagemarkObjectStoreListener-" + id;
  mutex_ = CreateMutexW(nullptr, FALSE, (prefix_ + L"mutex").c_str());
  if (!mutex_) return GetLastError();
  mapping_ = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Shared),
                                (prefix_ + L"state").c_str());
  if (!mapping_) return GetLastError();
  shared_ = static_cast<Shared*>(MapViewOfFile(mapping_, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Shared)));
  if (!shared_) return GetLastError();
  changedMsg_ = RegisterWindowMessageW(L"PagemarkObjectStoreChanged");
  image_.onRecordRemoving = [this](Record* r) { OnRecordRemoving(r); };
  attached_ = true;
  return ERROR_SUCCESS;
}

DWORD Store::AcquireMutex() {
  DWORD w = WaitForSingleObject(mutex_, kMutexTimeoutMs);
  if (w == WAIT_OBJECT_0) return ERROR_SUCCESS;
  if (w == WAIT_ABANDONED) {
    // The previous owner died inside a call. The log is consistent up to its last complete entry; a
    // torn tail is cut off by the catch-up that follows.
    Log("the previous owner of the store died while holding it; checking the end of the file");
    return ERROR_SUCCESS;
  }
  return w == WAIT_TIMEOUT ? ERROR_TIMEOUT : GetLastError();
}

void Store::ReleaseStoreMutex() { ReleaseMutex(mutex_); }

void Store::CloseFile() {
  if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
  file_ = INVALID_HANDLE_VALUE;
}

// ---- Sync and commit ---------------------------------------------------------------------------------

DWORD Store::Sync() {
  DWORD err = Attach();
  if (err) return err;
  if (state_ == State::Ready) {
    LONG64 end = InterlockedCompareExchange64(&shared_->end, 0, 0);
    LONG id = InterlockedCompareExchange(&shared_->fileId, 0, 0);
    if (static_cast<uint32_t>(id) == fileId_ && static_cast<uint64_t>(end) == appliedEnd_)
      return ERROR_SUCCESS;
  } else if (state_ == State::Broken && BrokenFileUnchanged()) {
    return ERROR_FILE_CORRUPT;
  }
  err = AcquireMutex();
  if (err) return err;
  std::vector<Change> changes;
  try {
    err = CatchUpLocked(&changes);
  } catch (...) {
    DropImageLocked();
    ReleaseStoreMutex();
    throw;
  }
  ReleaseStoreMutex();
  Dispatch(changes);
  return err;
}

void Store::DropImageLocked() {
  // Out of memory half-way through: forget everything and read the file anew next time.
  CloseFile();
  image_.Reset(kFirstOid);
  state_ = State::Detached;
}

DWORD Store::Commit(const std::function<DWORD(std::string& entry)>& prepare) {
  DWORD err = Attach();
  if (err) return err;
  err = AcquireMutex();
  if (err) return err;
  std::vector<Change> changes;
  bool wrote = false;
  try {
    err = CommitLocked(prepare, &changes, &wrote);
  } catch (...) {
    DropImageLocked();
    ReleaseStoreMutex();
    throw;
  }
  ReleaseStoreMutex();
  Dispatch(changes);
  if (wrote) Broadcast();
  return err;
}

DWORD Store::CommitLocked(const std::function<DWORD(std::string& entry)>& prepare, std::vector<Change>* out,
                          bool* wrote) {
  std::vector<Change>& changes = *out;
  DWORD err = CatchUpLocked(&changes);
  std::string entry;
  if (!err) err = prepare(entry);
  if (!err && !entry.empty()) SealEntry(entry, header_.version);  // a file of an earlier writer
  if (!err && !entry.empty()) {
    LARGE_INTEGER at;
    at.QuadPart = static_cast<LONGLONG>(appliedEnd_);
    DWORD written = 0;
    BOOL ok = SetFilePointerEx(file_, at, nullptr, FILE_BEGIN) &&
              WriteFile(file_, entry.data(), static_cast<DWORD>(entry.size()), &written, nullptr) &&
              written == entry.size();
    if (!ok) {
      err = GetLastError();
      if (err == ERROR_SUCCESS || err == ERROR_HANDLE_DISK_FULL) err = ERROR_DISK_FULL;
      SetFilePointerEx(file_, at, nullptr, FILE_BEGIN);
      SetEndOfFile(file_);
    } else {
      Entry e;
      std::string why;
      Change c;
      image_.BeginBatch();
      bool parsed = ParseEntry(reinterpret_cast<const uint8_t*>(entry.data()), entry.size(), &e, &why,
                               header_.version) == Parse::Ok;
      bool applied = parsed && image_.Apply(e, &c, &why);
      image_.EndBatch();
      if (!applied) {
        // Never leave an entry that readers would refuse: take it back while still holding the mutex.
        Log("internal: an entry was taken back before anyone read it: " + why);
        SetFilePointerEx(file_, at, nullptr, FILE_BEGIN);
        SetEndOfFile(file_);
        err = ERROR_INVALID_PARAMETER;
      } else {
        appliedEnd_ += entry.size();
        WriteHeaderLocked();
        if (c.kind) changes.push_back(c);
        Publish();
        *wrote = true;
      }
    }
  }
  return err;
}

void Store::Publish() {
  InterlockedExchange(&shared_->fileId, static_cast<LONG>(fileId_));
  InterlockedExchange64(&shared_->end, static_cast<LONG64>(appliedEnd_));
}

DWORD Store::CatchUpLocked(std::vector<Change>* changes) {
  if (state_ != State::Ready) return LoadLocked();
  LONG sharedId = InterlockedCompareExchange(&shared_->fileId, 0, 0);
  if (sharedId != 0 && static_cast<uint32_t>(sharedId) != fileId_) {
    // Another process wrote the store from scratch (a new store file in its place): read it anew.
    return LoadLocked();
  }
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file_, &size)) return GetLastError();
  if (static_cast<uint64_t>(size.QuadPart) < appliedEnd_) return LoadLocked();
  DWORD err = ApplyRange(appliedEnd_, static_cast<uint64_t>(size.QuadPart), changes, 0);
  // Damage in what was appended since: the file is read anew, and salvaged.
  if (err == ERROR_FILE_CORRUPT) return LoadLocked();
  if (!err) Publish();
  return err;
}

DWORD Store::CreateFileLocked() {
  std::wstring tmp = path_ + L".new";
  HANDLE h =
      CreateFileW(tmp.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return GetLastError();
  Header hdr;
  hdr.fileId = NewFileId();
  hdr.nextOid = kFirstOid;
  hdr.created = Now();
  hdr.committedEnd = kHeaderSize;
  std::string bytes = EncodeHeader(hdr);
  DWORD written = 0;
  BOOL ok = WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
            written == bytes.size() && FlushFileBuffers(h);
  DWORD err = ok ? ERROR_SUCCESS : GetLastError();
  CloseHandle(h);
  // The store appears whole or not at all: the header is written aside and renamed into place.
  if (!err && !MoveFileExW(tmp.c_str(), path_.c_str(), MOVEFILE_WRITE_THROUGH)) err = GetLastError();
  if (err) DeleteFileW(tmp.c_str());
  if (!err) Log("created a new store");
  return err;
}

DWORD Store::LoadLocked() {
  CloseFile();
  image_.Reset(kFirstOid);
  state_ = State::Detached;
  file_ = CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                      FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file_ == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_NOT_FOUND) {
    DWORD err = CreateFileLocked();
    if (err && err != ERROR_ALREADY_EXISTS && err != ERROR_FILE_EXISTS) return err;
    file_ = CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                        FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  if (file_ == INVALID_HANDLE_VALUE) return GetLastError();
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file_, &size)) return GetLastError();
  const uint64_t fileSize = static_cast<uint64_t>(size.QuadPart);
  if (fileSize > 0x7FFFFFFFull) {
    Refuse("the file is larger than a store can be", fileSize);
    return ERROR_FILE_CORRUPT;
  }
  uint8_t head[kHeaderSize] = {};
  std::string why;
  Header hdr;
  HeaderCheck check = HeaderCheck::Damaged;
  if (fileSize < kHeaderSize) {
    why = "the file is shorter than its header";
  } else {
    DWORD err = ReadAt(0, head, kHeaderSize);
    if (err) return err;
    check = DecodeHeader(head, kHeaderSize, &hdr, &why);
  }
  if (check == HeaderCheck::NewerVersion) {
    Refuse(why, 0);
    return ERROR_FILE_CORRUPT;
  }
  if (check == HeaderCheck::Damaged) return SalvageLocked(why, 0);
  if (hdr.committedEnd > fileSize) return SalvageLocked("the file ends before the end of its log", fileSize);
  image_.Reset(hdr.nextOid);
  header_ = hdr;
  fileId_ = hdr.fileId;
  appliedEnd_ = kHeaderSize;
  state_ = State::Ready;
  // Changes read while loading concern no open handle's view yet, except after a reload of a replaced
  // file, where they are the whole store again: nobody is told of them.
  std::vector<Change> ignored;
  DWORD err = ApplyRange(kHeaderSize, fileSize, &ignored, hdr.committedEnd);
  if (err == ERROR_FILE_CORRUPT && !damageWhy_.empty()) return SalvageLocked(damageWhy_, damageAt_);
  if (err) return err;
  brokenReason_.clear();
  MaybeCompactLocked();
  if (state_ == State::Ready) Publish();
  return state_ == State::Ready ? ERROR_SUCCESS : ERROR_FILE_CORRUPT;
}

DWORD Store::ReadAt(uint64_t offset, void* buf, DWORD size) {
  OVERLAPPED ov{};
  ov.Offset = static_cast<DWORD>(offset);
  ov.OffsetHigh = static_cast<DWORD>(offset >> 32);
  DWORD got = 0;
  if (!ReadFile(file_, buf, size, &got, &ov)) return GetLastError();
  return got == size ? ERROR_SUCCESS : ERROR_HANDLE_EOF;
}

DWORD Store::ApplyRange(uint64_t from, uint64_t to, std::vector<Change>* changes, uint64_t mustReach) {
  damageWhy_.clear();
  if (to <= from) return ERROR_SUCCESS;
  uint64_t span = to - from;
  if (span > 0x7FFFFFFFull) {
    Refuse("the file is larger than a store can be", to);
    return ERROR_FILE_CORRUPT;
  }
  std::vector<uint8_t> buf(static_cast<size_t>(span));
  DWORD err = ReadAt(from, buf.data(), static_cast<DWORD>(span));
  if (err) return err;
  size_t pos = 0;
  image_.BeginBatch();
  while (pos < buf.size()) {
    Entry e;
    std::string why;
    Parse p = ParseEntry(buf.data() + pos, buf.size() - pos, &e, &why, header_.version);
    if (p == Parse::Torn && from + pos >= mustReach) break;
    if (p == Parse::Torn) why = "the file ends inside an entry before the end of its log";
    Change c;
    if (p != Parse::Ok || !image_.Apply(e, &c, &why)) {
      image_.EndBatch();
      state_ = State::Detached;
      damageWhy_ = why.empty() ? std::string("damaged entry") : why;
      damageAt_ = from + pos;
      return ERROR_FILE_CORRUPT;
    }
    if (c.kind) changes->push_back(c);
    pos += e.size;
  }
  image_.EndBatch();
  appliedEnd_ = from + pos;
  if (pos < buf.size()) {
    // Only the mutex's owner writes, and we own it: these bytes are what a killed writer left.
    char line[160];
    snprintf(line, sizeof line, "cut off a torn tail of %llu bytes at offset %llu",
             static_cast<unsigned long long>(buf.size() - pos), static_cast<unsigned long long>(appliedEnd_));
    Log(line);
    LARGE_INTEGER at;
    at.QuadPart = static_cast<LONGLONG>(appliedEnd_);
    if (!SetFilePointerEx(file_, at, nullptr, FILE_BEGIN) || !SetEndOfFile(file_)) {
      Log("could not cut off the torn tail; it stays ignored");
    }
  }
  return ERROR_SUCCESS;
}

void Store::Refuse(const std::string& reason, uint64_t offset) {
  LARGE_INTEGER size{};
  if (file_ != INVALID_HANDLE_VALUE) GetFileSizeEx(file_, &size);
  char line[512];
  snprintf(line, sizeof line, "refused %s: %s at offset %llu (file of %llu bytes)", Utf8(path_).c_str(),
           reason.c_str(), static_cast<unsigned long long>(offset),
           static_cast<unsigned long long>(size.QuadPart));
  if (lastLogged_ != line) Log(line);
  lastLogged_ = line;
  brokenReason_ = reason;
  brokenOffset_ = offset;
  state_ = State::Broken;
  image_.Reset(kFirstOid);
  CloseFile();
  WIN32_FILE_ATTRIBUTE_DATA a{};
  if (GetFileAttributesExW(path_.c_str(), GetFileExInfoStandard, &a)) {
    brokenSize_ = (static_cast<uint64_t>(a.nFileSizeHigh) << 32) | a.nFileSizeLow;
    brokenWrite_ = a.ftLastWriteTime;
  }
}

bool Store::BrokenFileUnchanged() {
  WIN32_FILE_ATTRIBUTE_DATA a{};
  if (!GetFileAttributesExW(path_.c_str(), GetFileExInfoStandard, &a)) return false;
  uint64_t size = (static_cast<uint64_t>(a.nFileSizeHigh) << 32) | a.nFileSizeLow;
  return size == brokenSize_ && CompareFileTime(&a.ftLastWriteTime, &brokenWrite_) == 0;
}

void Store::Log(const std::string& text) {
  HANDLE h =
      CreateFileW(logPath_.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return;
  SYSTEMTIME st;
  GetLocalTime(&st);
  char head[96];
  snprintf(head, sizeof head, "%04u-%02u-%02u %02u:%02u:%02u objectstore[%lu]: ", st.wYear, st.wMonth,
           st.wDay, st.wHour, st.wMinute, st.wSecond, static_cast<unsigned long>(GetCurrentProcessId()));
  std::string line = head + text + "\r\n";
  DWORD written = 0;
  WriteFile(h, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
  CloseHandle(h);
}

// ---- Salvage -----------------------------------------------------------------------------------------

std::wstring Store::AsidePath(uint64_t time) const {
  FILETIME ft;
  ft.dwLowDateTime = static_cast<DWORD>(time);
  ft.dwHighDateTime = static_cast<DWORD>(time >> 32);
  SYSTEMTIME st{};
  FileTimeToSystemTime(&ft, &st);
  wchar_t stamp[64];
  swprintf(stamp, 64, L"-damaged-%04u%02u%02u-%02u%02u%02u-%07u", st.wYear, st.wMonth, st.wDay, st.wHour,
           st.wMinute, st.wSecond, static_cast<unsigned>(time % 10000000u));
  size_t slash = path_.find_last_of(L"\\/");
  size_t dot = path_.find_last_of(L'.');
  if (dot == std::wstring::npos || (slash != std::wstring::npos && dot < slash)) return path_ + stamp;
  return path_.substr(0, dot) + stamp + path_.substr(dot);
}

DWORD Store::SalvageLocked(const std::string& why, uint64_t offset) {
  if (salvaging_) {
    // What a salvage just wrote doesn't read back: leave it as it is.
    Refuse("the salvaged store does not read back: " + why, offset);
    return ERROR_FILE_CORRUPT;
  }
  LARGE_INTEGER size{};
  if (file_ == INVALID_HANDLE_VALUE || !GetFileSizeEx(file_, &size)) return GetLastError();
  std::vector<uint8_t> bytes(static_cast<size_t>(size.QuadPart));
  if (!bytes.empty()) {
    DWORD err = ReadAt(0, bytes.data(), static_cast<DWORD>(bytes.size()));
    if (err) return err;
  }
  state_ = State::Detached;
  SalvageReport report;
  Header fresh;
  SalvageScan(bytes.data(), bytes.size(), &image_, &fresh, &report);

  // The damaged bytes are kept first, under a name of their own that nothing else uses; only then is
  // the store replaced, in one rename, so that an interruption leaves either file whole.
  uint64_t when = Now();
  std::wstring aside;
  HANDLE h = INVALID_HANDLE_VALUE;
  for (int attempt = 0; attempt < 100 && h == INVALID_HANDLE_VALUE; ++attempt, ++when) {
    aside = AsidePath(when);
    h = CreateFileW(aside.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE && GetLastError() != ERROR_FILE_EXISTS &&
        GetLastError() != ERROR_ALREADY_EXISTS)
      break;
  }
  if (h == INVALID_HANDLE_VALUE) {
    Refuse(why + "; the damaged file could not be kept aside", offset);
    return ERROR_FILE_CORRUPT;
  }
  --when;
  DWORD written = 0;
  bool kept =
      (bytes.empty() || (WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
                         written == bytes.size())) &&
      FlushFileBuffers(h);
  CloseHandle(h);
  if (!kept) {
    DeleteFileW(aside.c_str());
    Refuse(why + "; the damaged file could not be kept aside", offset);
    return ERROR_FILE_CORRUPT;
  }
  fresh.fileId = NewFileId();
  if (fresh.fileId == fileId_) fresh.fileId ^= 0x5A5A5A5A;
  fresh.created = Now();
  fresh.salvageKept = report.kept;
  fresh.salvageLost = report.lost;
  fresh.salvageTime = when;
  CloseFile();
  std::wstring tmp = path_ + L".salvage";
  uint64_t written64 = 0;
  bool replaced = WriteImageFile(tmp, fresh, &written64) &&
                  MoveFileExW(tmp.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
  if (!replaced) {
    DeleteFileW(tmp.c_str());
    file_ = CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                        FILE_ATTRIBUTE_NORMAL, nullptr);
    Refuse(why + "; the salvaged store could not be written", offset);
    return ERROR_FILE_CORRUPT;
  }
  char line[1024];
  snprintf(line, sizeof line,
           "salvaged %s: %s at offset %llu (file of %llu bytes); %u records recovered, %u lost, %u damaged "
           "stretches of %llu bytes, %u entries repaired, %u left out; the damaged file is kept as %s",
           Utf8(path_).c_str(), why.c_str(), static_cast<unsigned long long>(offset),
           static_cast<unsigned long long>(bytes.size()), report.kept, report.lost, report.damagedSpans,
           static_cast<unsigned long long>(report.damagedBytes), report.repairedEntries,
           report.droppedEntries, Utf8(aside).c_str());
  Log(line);
  DeviceJournalWrite(L"objectstore", L"salvaged %ls: %u records recovered, %u lost; damaged file kept as %ls",
                     path_.c_str(), report.kept, report.lost, aside.c_str());
  salvaging_ = true;
  DWORD err = LoadLocked();
  salvaging_ = false;
  return err;
}

bool Store::WriteImageFile(const std::wstring& file, Header header, uint64_t* bytes) {
  HANDLE h =
      CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  header.version = kVersion;  // the encoders' entries
  header.records = static_cast<uint32_t>(image_.RecordCount());
  header.committedEnd = 0;
  bool ok = true;
  uint64_t total = 0;
  std::string chunk = EncodeHeader(header);
  auto flush = [&]() {
    DWORD written = 0;
    ok = ok && WriteFile(h, chunk.data(), static_cast<DWORD>(chunk.size()), &written, nullptr) &&
         written == chunk.size();
    total += chunk.size();
    chunk.clear();
  };
  for (auto& d : image_.Databases()) {
    chunk += EncodeDbEntry(OpDbCreate, d.second->desc);
    for (Record* r : d.second->natural) {
      RecEntry re;
      re.db = d.first;
      re.oid = r->oid;
      re.created = true;
      re.modTime = d.second->desc.modTime;
      re.props = r->props;
      chunk += EncodeRecEntry(re);
      if (chunk.size() > (1u << 20)) flush();
    }
  }
  flush();
  // The header again, now that the end of the log is known.
  header.committedEnd = total;
  chunk = EncodeHeader(header);
  LARGE_INTEGER start{};
  DWORD written = 0;
  ok = ok && SetFilePointerEx(h, start, nullptr, FILE_BEGIN) &&
       WriteFile(h, chunk.data(), static_cast<DWORD>(chunk.size()), &written, nullptr) &&
       written == chunk.size();
  ok = ok && FlushFileBuffers(h);
  CloseHandle(h);
  *bytes = total;
  return ok;
}

void Store::WriteHeaderLocked() {
  header_.committedEnd = appliedEnd_;
  header_.records = static_cast<uint32_t>(image_.RecordCount());
  header_.nextOid = image_.NextOid();
  std::string bytes = EncodeHeader(header_);
  LARGE_INTEGER start{};
  DWORD written = 0;
  // The entry is in the file already; a header left behind only weakens the check of the file's length.
  if (!SetFilePointerEx(file_, start, nullptr, FILE_BEGIN) ||
      !WriteFile(file_, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
      written != bytes.size()) {
    Log("could not record the end of the log in the header");
  }
}

DWORD Store::Check(PAGEMARK_STORE_CHECK* check) {
  DWORD err = Sync();
  if (err) return err;
  check->dwDatabases = static_cast<DWORD>(image_.Databases().size());
  check->dwRecords = static_cast<DWORD>(image_.RecordCount());
  check->dwSalvaged = header_.salvageTime != 0;
  check->dwRecordsKept = header_.salvageKept;
  check->dwRecordsLost = header_.salvageLost;
  check->ftSalvaged.dwLowDateTime = static_cast<DWORD>(header_.salvageTime);
  check->ftSalvaged.dwHighDateTime = static_cast<DWORD>(header_.salvageTime >> 32);
  lstrcpynW(check->szStore, path_.c_str(), MAX_PATH);
  check->szDamagedCopy[0] = 0;
  if (header_.salvageTime) lstrcpynW(check->szDamagedCopy, AsidePath(header_.salvageTime).c_str(), MAX_PATH);
  return ERROR_SUCCESS;
}

DWORD Store::Use(const std::wstring& path) {
  CloseFile();
  image_.Reset(kFirstOid);
  state_ = State::Detached;
  table_.clear();
  if (listener_) {
    // The listener belongs to the store left behind: its thread ends.
    PostMessageW(listener_, WM_QUIT, 0, 0);
    listener_ = nullptr;
  }
  if (shared_) UnmapViewOfFile(shared_);
  shared_ = nullptr;
  if (mapping_) CloseHandle(mapping_);
  mapping_ = nullptr;
  if (mutex_) CloseHandle(mutex_);
  mutex_ = nullptr;
  header_ = Header{};
  brokenReason_.clear();
  lastLogged_.clear();
  fileId_ = 0;
  appliedEnd_ = 0;
  attached_ = false;
  chosenPath_ = path;
  return Attach();
}

// ---- Compaction --------------------------------------------------------------------------------------

void Store::MaybeCompactLocked() {
  // A file of an earlier writer is rewritten in the current form as well, when it can be.
  const bool old = header_.version < kVersion;
  if (!old && (image_.DeadBytes() < kCompactMinDead || image_.DeadBytes() <= image_.LiveBytes())) return;
  std::string why;
  if (!CompactLocked(&why) && !why.empty()) Log("compaction skipped: " + why);
}

bool Store::CompactLocked(std::string* why) {
  // Only when no other process has the file open: they read it by offset.
  CloseFile();
  HANDLE alone =
      CreateFileW(path_.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  bool exclusive = alone != INVALID_HANDLE_VALUE;
  if (exclusive) CloseHandle(alone);
  bool done = false;
  uint64_t before = appliedEnd_, after = 0;
  std::wstring tmp = path_ + L".compact";
  if (exclusive) {
    Header hdr = header_;
    hdr.fileId = NewFileId();
    if (hdr.fileId == fileId_) hdr.fileId ^= 0x5A5A5A5A;
    hdr.nextOid = image_.NextOid();
    hdr.created = Now();
    done = WriteImageFile(tmp, hdr, &after) &&
           MoveFileExW(tmp.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    if (!done) {
      *why = "could not write the compacted file";
      DeleteFileW(tmp.c_str());
    }
  }
  if (done) {
    char line[160];
    snprintf(line, sizeof line, "compacted the store from %llu to %llu bytes",
             static_cast<unsigned long long>(before), static_cast<unsigned long long>(after));
    Log(line);
    // Read back what was written, with every check a reader makes.
    return LoadLocked() == ERROR_SUCCESS;
  }
  file_ = CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                      FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file_ == INVALID_HANDLE_VALUE) {
    state_ = State::Detached;
    *why = "could not reopen the store";
  }
  return false;
}

// ---- Handles -----------------------------------------------------------------------------------------

std::wstring Store::DbObjectName(CEOID db, CEPROPID sortProp) const {
  return prefix_ + L"db-" + Hex(db, 8) + L"-" + Hex(sortProp, 8);
}

LONG Store::OpenCount(CEOID db, CEPROPID sortProp) const {
  HANDLE probe = OpenEventW(SYNCHRONIZE, FALSE, DbObjectName(db, sortProp).c_str());
  if (!probe) return 0;
  LONG count = 1;
  NtQueryObjectFn q = QueryObject();
  BasicInfo bi{};
  ULONG len = 0;
  if (q && q(probe, 0 /* ObjectBasicInformation */, &bi, sizeof bi, &len) == 0) {
    count = static_cast<LONG>(bi.HandleCount) - 1;  // less our probe
  }
  CloseHandle(probe);
  return count;
}

HANDLE Store::AddDbHandle(std::unique_ptr<OpenDb> h, DWORD* error) {
  h->kernelName = DbObjectName(h->db, h->sortProp);
  HANDLE k = CreateEventW(nullptr, TRUE, FALSE, h->kernelName.c_str());
  if (!k) {
    *error = GetLastError() ? GetLastError() : ERROR_NOT_ENOUGH_MEMORY;
    return INVALID_HANDLE_VALUE;
  }
  if (table_.size() >= 64) PruneStale();
  HandleEntry& e = table_[k];  // a value the kernel handed out again replaces the closed handle's entry
  e.en.reset();
  e.db = std::move(h);
  return k;
}

HANDLE Store::AddEnumHandle(std::unique_ptr<Enumeration> en, DWORD* error) {
  en->kernelName = prefix_ + L"enum-" + Hex(GetCurrentProcessId(), 8) + L"-" + Hex(++enumCounter_, 8);
  HANDLE k = CreateEventW(nullptr, TRUE, FALSE, en->kernelName.c_str());
  if (!k) {
    *error = ERROR_OUTOFMEMORY;
    return INVALID_HANDLE_VALUE;
  }
  if (table_.size() >= 64) PruneStale();
  HandleEntry& e = table_[k];
  e.db.reset();
  e.en = std::move(en);
  return k;
}

OpenDb* Store::DbHandle(HANDLE h) {
  auto it = table_.find(h);
  return it == table_.end() ? nullptr : it->second.db.get();
}

Enumeration* Store::EnumHandle(HANDLE h) {
  auto it = table_.find(h);
  return it == table_.end() ? nullptr : it->second.en.get();
}

void Store::PruneStale() {
  for (auto it = table_.begin(); it != table_.end();) {
    const std::wstring& name = it->second.db ? it->second.db->kernelName : it->second.en->kernelName;
    if (NamesOurEvent(it->first, name)) {
      ++it;
    } else {
      it = table_.erase(it);
    }
  }
}

void Store::OnRecordRemoving(Record* r) {
  Database* db = image_.FindDb(r->db);
  for (auto& e : table_) {
    OpenDb* h = e.second.db.get();
    if (!h || h->db != r->db || h->pos.kind != Position::OnRecord || h->pos.deleted || h->pos.oid != r->oid) {
      continue;
    }
    int slot = db ? SlotOf(db, h->sortProp) : -1;
    h->pos.deleted = true;
    h->pos.ghost = slot >= 0 ? r->keys[slot] : SortKey{};
  }
}

// ---- Notifications -----------------------------------------------------------------------------------

void Store::Dispatch(const std::vector<Change>& changes) {
  if (changes.empty()) return;
  bool any = false;
  for (auto& e : table_) {
    if (e.second.db && (e.second.db->exNotify || e.second.db->legacyHwnd)) any = true;
  }
  if (!any) return;
  PruneStale();
  for (const Change& c : changes) {
    for (auto& e : table_) {
      OpenDb* h = e.second.db.get();
      if (!h || h->db != c.db) continue;
      if (h->exNotify && h->notifyHwnd) {
        HANDLE heap = h->notifyHeap ? h->notifyHeap : GetProcessHeap();
        CENOTIFICATION* n =
            static_cast<CENOTIFICATION*>(HeapAlloc(heap, HEAP_ZERO_MEMORY, sizeof(CENOTIFICATION)));
        if (n) {
          n->dwSize = sizeof(CENOTIFICATION);
          n->dwParam = h->notifyParam;
          n->uType = c.kind;
          CREATE_SYSTEMGUID(&n->guid);
          n->oid = c.oid;
          n->oidParent = c.db;
          if (!PostMessageW(h->notifyHwnd, WM_DBNOTIFICATION, 0, reinterpret_cast<LPARAM>(n)))
            HeapFree(heap, 0, n);
        }
      }
      if (h->legacyHwnd) PostMessageW(h->legacyHwnd, c.kind, c.oid, c.db);
    }
  }
}

void Store::Broadcast() {
  HWND w = nullptr;
  while ((w = FindWindowExW(HWND_MESSAGE, w, listenerClass_.c_str(), nullptr)) != nullptr) {
    if (w != listener_) PostMessageW(w, changedMsg_, 0, 0);
  }
}

LRESULT CALLBACK Store::ListenerProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Store& s = Store::Get();
  if ((msg == s.changedMsg_ && msg != 0) || msg == WM_TIMER) {
    ApiLock lock;
    try {
      s.Sync();
    } catch (const std::bad_alloc&) {
      // Nothing to tell anyone now; the next look, a second later at most, tries again.
    }
    return 0;
  }
  return DefWindowProcW(hwnd, msg, wp, lp);
}

DWORD WINAPI Store::ListenerMain(LPVOID param) {
  Store& s = Store::Get();
  HANDLE ready = static_cast<HANDLE>(param);
  HMODULE self = nullptr;
  // The thread runs code of this module until the process ends: keep the module loaded.
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                     reinterpret_cast<LPCWSTR>(&Store::ListenerMain), &self);
  WNDCLASSW wc{};
  wc.lpfnWndProc = &Store::ListenerProc;
  wc.hInstance = self;
  wc.lpszClassName = s.listenerClass_.c_str();
  RegisterClassW(&wc);
  HWND hwnd =
      CreateWindowExW(0, s.listenerClass_.c_str(), L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, self, nullptr);
  s.listener_ = hwnd;
  if (hwnd) SetTimer(hwnd, 1, 1000, nullptr);
  SetEvent(ready);
  if (!hwnd) return 1;
  MSG m;
  while (GetMessageW(&m, nullptr, 0, 0) > 0) DispatchMessageW(&m);
  return 0;
}

DWORD Store::EnsureListener() {
  if (listener_) return ERROR_SUCCESS;
  DWORD err = Attach();  // the window class is named after the store
  if (err) return err;
  HANDLE ready = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (!ready) return GetLastError();
  HANDLE t = CreateThread(nullptr, 0, &Store::ListenerMain, ready, 0, nullptr);
  if (!t) {
    err = GetLastError();
    CloseHandle(ready);
    return err;
  }
  // The thread needs no lock to make its window; it may take the process lock only afterwards.
  WaitForSingleObject(ready, 10000);
  CloseHandle(ready);
  CloseHandle(t);
  return listener_ ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

}  // namespace objstore
