// PimSync: the shared record, its flags and the process's single instance.
#include "sync/PimSync.h"

#include "foundation/DebugUtils.h"
#include "sync/PimSyncLock.h"

#include <new>

const wchar_t kPimSyncMappingName[] = L"450DC470-F520-401d-8A4B-F51506298DBE";
const wchar_t kPimSyncMutexName[] = L"9694E7F0-1902-4855-AA4D-F879CF68BE6A";

PimSync* g_pimSync = nullptr;

PimSync::PimSync() : record(nullptr), ready(FALSE), isMaster(FALSE), myWindow(nullptr) {}

PimSync::~PimSync() { CloseHandles(); }

void PimSync::CloseHandles() {
  ready = FALSE;
  record = nullptr;
  // The owners keep the last error.
  view.Reset();
  mapping.Reset();
  mutex.Reset();
}

BOOL PimSync::Open() {
  if (ready) return TRUE;
  // Whichever process comes first creates them; the others open the same objects. A new mapping,
  // backed by no file, starts as zeros.
  mutex.Reset(CreateMutexW(nullptr, FALSE, kPimSyncMutexName));
  if (mutex.IsEmpty()) {
    LogCallFailure(L"CreateMutexW", GetLastError(), kPimSyncMutexName, L"PimSync", L"Open", __LINE__);
    return FALSE;
  }
  mapping.Reset(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(PimSyncRecord),
                                   kPimSyncMappingName));
  if (mapping.IsEmpty()) {
    LogCallFailure(L"CreateFileMappingW", GetLastError(), kPimSyncMappingName, L"PimSync", L"Open", __LINE__);
    CloseHandles();
    return FALSE;
  }
  view.Reset(MapViewOfFile(mapping.Get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0));
  if (view.IsEmpty()) {
    LogCallFailure(L"MapViewOfFile", GetLastError(), kPimSyncMappingName, L"PimSync", L"Open", __LINE__);
    CloseHandles();
    return FALSE;
  }
  record = static_cast<PimSyncRecord*>(view.Get());
  ready = TRUE;
  return TRUE;
}

DWORD PimSync::GetFlag(int index) {
  int word = PimSyncFlagWord(index);
  if (!ready || word < 0) return 0;
  PimSyncLock lock(mutex.Get());
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
  PimSyncLock lock(mutex.Get());
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
