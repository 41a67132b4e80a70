// The object store as one process sees it: the store file, its named mutex and shared state, the image,
// the table of open handles, and the delivery of change notifications.
#pragma once
#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Image.h"
#include "Salvage.h"
#include "StoreAdmin.h"
#include "windbase.h"

namespace objstore {

// Where a database handle stands in its sort order.
struct Position {
  enum Kind { Start, OnRecord, End };
  Kind kind = Start;     // Start: on whatever record is first in the order
  CEOID oid = 0;         // OnRecord
  bool deleted = false;  // the record at `oid` is gone; `ghost` keeps its place between its neighbours
  SortKey ghost;
  bool autoseek = false;  // reached by the automatic advance of a CEDB_AUTOINCREMENT handle
  size_t at = 0;          // OnRecord: where the record stood in the order when the handle came to it
};

struct OpenDb {
  CEOID db = 0;
  CEPROPID sortProp = 0;  // 0: the natural order (by object id, which is creation order)
  bool autoIncrement = false;
  Position pos;
  bool exNotify = false;  // CENOTIFYREQUEST given
  HWND notifyHwnd = nullptr;
  HANDLE notifyHeap = nullptr;
  DWORD notifyParam = 0;
  HWND legacyHwnd = nullptr;  // CeOpenDatabase's hwndNotify
  std::wstring kernelName;
};

struct Enumeration {
  std::vector<CEOID> oids;
  size_t next = 0;
  std::wstring kernelName;
};

class Store {
 public:
  static Store& Get();

  // The process lock: every Ce call and the listener hold it while they touch the image or the table.
  void Lock() { EnterCriticalSection(&cs_); }
  void Unlock() { LeaveCriticalSection(&cs_); }

  // Brings the image up to date with the file. ERROR_SUCCESS, or the last error the call should report.
  DWORD Sync();
  // Runs `prepare` under the store mutex with the image up to date. `prepare` returns an error, or
  // ERROR_SUCCESS with the entry to append in `entry` (an empty entry appends nothing). The entry is
  // appended with one write and applied to the image before Commit returns.
  DWORD Commit(const std::function<DWORD(std::string& entry)>& prepare);

  Image& Img() { return image_; }
  uint64_t NextModTime(const Database* db) const;
  static uint64_t Now();

  // Handles. Each is a real kernel object (a named event), so CloseHandle works on it and the kernel
  // counts the handles open on every database in every process.
  HANDLE AddDbHandle(std::unique_ptr<OpenDb> h, DWORD* error);
  HANDLE AddEnumHandle(std::unique_ptr<Enumeration> e, DWORD* error);
  OpenDb* DbHandle(HANDLE h);
  Enumeration* EnumHandle(HANDLE h);
  std::wstring DbObjectName(CEOID db, CEPROPID sortProp) const;
  // Handles open, in all processes, on a database with one sort order.
  LONG OpenCount(CEOID db, CEPROPID sortProp) const;
  // Starts the thread whose hidden window hears of other processes' writes.
  DWORD EnsureListener();

  // Slot of a sort property in a database: -1 for the natural order (0), -2 when the database has no
  // such sort order.
  static int SlotOf(const Database* db, CEPROPID sortProp);

  const std::wstring& Path() const { return path_; }

  // The store file's state and its last salvage, for the device's tools (the store is read first).
  DWORD Check(PAGEMARK_STORE_CHECK* check);
  // Leaves the current store file (forgetting its handles) for the one at `path` (empty: the default).
  DWORD Use(const std::wstring& path);

 private:
  Store();
  enum class State { Detached, Ready, Broken };

  DWORD Attach();
  DWORD AcquireMutex();
  void ReleaseStoreMutex();
  DWORD CommitLocked(const std::function<DWORD(std::string& entry)>& prepare, std::vector<Change>* changes,
                     bool* wrote);
  DWORD CatchUpLocked(std::vector<Change>* changes);
  void DropImageLocked();
  DWORD LoadLocked();
  DWORD CreateFileLocked();
  // Applies the entries in [from, to). A file that ends inside an entry before `mustReach` is damaged,
  // after it has a torn tail. ERROR_FILE_CORRUPT with damageWhy_ and damageAt_ on damage.
  DWORD ApplyRange(uint64_t from, uint64_t to, std::vector<Change>* changes, uint64_t mustReach);
  DWORD ReadAt(uint64_t offset, void* buf, DWORD size);
  void Refuse(const std::string& reason, uint64_t offset);
  // Replaces the damaged store file by what can be recovered of it, keeping the damaged file aside.
  DWORD SalvageLocked(const std::string& why, uint64_t offset);
  // The name under which a salvage at `time` keeps the damaged file.
  std::wstring AsidePath(uint64_t time) const;
  // Writes the image as a whole new store file under `header` (its end and record count filled in).
  bool WriteImageFile(const std::wstring& file, Header header, uint64_t* bytes);
  // Records the end of the log and the record count in the header after a write.
  void WriteHeaderLocked();
  void Publish();
  void MaybeCompactLocked();
  bool CompactLocked(std::string* why);
  void CloseFile();
  bool BrokenFileUnchanged();

  void Dispatch(const std::vector<Change>& changes);
  void Broadcast();
  void PruneStale();
  void OnRecordRemoving(Record* r);
  void Log(const std::string& line);
  static DWORD WINAPI ListenerMain(LPVOID param);
  static LRESULT CALLBACK ListenerProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp);

  struct Shared {
    volatile LONG64 end;   // valid end of the log as last published under the mutex
    volatile LONG fileId;  // id of the file that `end` belongs to
    volatile LONG reserved;
  };
  struct HandleEntry {
    std::unique_ptr<OpenDb> db;
    std::unique_ptr<Enumeration> en;
  };

  CRITICAL_SECTION cs_;
  State state_ = State::Detached;
  bool attached_ = false;
  std::wstring chosenPath_;  // set by Use; empty: PAGEMARK_OBJECT_STORE or the device's store
  std::wstring path_, logPath_, prefix_, listenerClass_;
  HANDLE mutex_ = nullptr;
  HANDLE mapping_ = nullptr;
  Shared* shared_ = nullptr;
  HANDLE file_ = INVALID_HANDLE_VALUE;
  uint32_t fileId_ = 0;
  uint64_t appliedEnd_ = 0;
  Header header_;  // of the file loaded
  Image image_;
  std::string damageWhy_;
  uint64_t damageAt_ = 0;
  bool salvaging_ = false;
  std::string brokenReason_;
  uint64_t brokenOffset_ = 0;
  uint64_t brokenSize_ = 0;
  FILETIME brokenWrite_{};
  std::string lastLogged_;

  std::map<HANDLE, HandleEntry> table_;
  unsigned enumCounter_ = 0;
  HWND listener_ = nullptr;
  UINT changedMsg_ = 0;
};

// Holds the process lock for the length of a Ce call.
class ApiLock {
 public:
  ApiLock() { Store::Get().Lock(); }
  ~ApiLock() { Store::Get().Unlock(); }
  ApiLock(const ApiLock&) = delete;
  ApiLock& operator=(const ApiLock&) = delete;
};

}  // namespace objstore
