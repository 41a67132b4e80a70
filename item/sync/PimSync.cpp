// PimSync: the shared record, its flags and the process's single instance.
#include "sync/PimSync.h"

#include "foundation/DebugUtils.h"
#include "sync/PimSyncLock.h"

#include <new>

const wchar_t kPimSyncMappingName[] = L"450DC470-F520-401d-8A4B-F51506298DBE";
const wchar_t kPimSyncMutexName[] = L"9694E7F0-1902-4855-AA4D-F879CF68BE6A";

PimSync* g_pimSync = nullptr;

PimSync::PimSync()
    : mapping(nullptr), view(nullptr), mutex(nullptr), record(nullptr), ready(FALSE), isMaster(FALSE),
      myWindow(nullptr) {}

PimSync::~PimSync() { CloseHandles(); }

void PimSync::CloseHandles() {
  DWORD error = GetLastError();
  ready = FALSE;
  record = nullptr;
  if (view != nullptr) {
    UnmapViewOfFile(view);
    view = nullptr;
  }
  if (mapping != nullptr) {
    CloseHandle(mapping);
    mapping = nullptr;
  }
  if (mutex != nullptr) {
    CloseHandle(mutex);
    mutex = nullptr;
  }
  SetLastError(error);
}

BOOL PimSync::Open() {
  if (ready) return TRUE;
  // Whichever process comes first creates them; the others open the same objects. A new mapping,
  // backed by no file, starts as zeros.
  mutex = CreateMutexW(nullptr, FALSE, kPimSyncMutexName);
  if (mutex == nullptr) return FALSE;
  mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(PimSyncRecord),
                               kPimSyncMappingName);
  if (mapping == nullptr) {
    CloseHandles();
    return FALSE;
  }
  view = MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0);
  if (view == nullptr) {
    CloseHandles();
    return FALSE;
  }
  record = static_cast<PimSyncRecord*>(view);
  ready = TRUE;
  return TRUE;
}

DWORD PimSync::GetFlag(int index) {
  int word = PimSyncFlagWord(index);
  if (!ready || word < 0) return 0;
  PimSyncLock lock(mutex);
  return record->words[word];
}

BOOL PimSync::SetFlag(int index, DWORD value) {
  if (!ready) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  int word = PimSyncFlagWord(index);
  if (word < 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  PimSyncLock lock(mutex);
  record->words[word] = value;
  return TRUE;
}

BOOL PimSync::IsMaster() const { return isMaster; }

void PimSync::SetMaster(BOOL flag) { isMaster = flag ? TRUE : FALSE; }

PimSync* PimSync::GetInstance() {
  if (g_pimSync == nullptr) g_pimSync = CheckAllocation(new (std::nothrow) PimSync);
  return g_pimSync;
}

void PimSync::DestroyInstance() {
  delete g_pimSync;
  g_pimSync = nullptr;
}
