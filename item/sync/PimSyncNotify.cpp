// PimSync: what the master tells the slaves, and what a slave asks of the master.
#include "sync/PimSync.h"

#include "sync/PimSyncLock.h"
#include "sync/PimSyncMessages.h"

int PimSync::CopySlaves(uint32_t* slaves) {
  PimSyncLock lock(mutex.Get());
  int count = 0;
  for (int i = kPimSyncMasterWord + 1; i < kPimSyncWindowWords && record->words[i] != 0; ++i)
    slaves[count++] = record->words[i];
  return count;
}

BOOL PimSync::SlaveStop() {
  if (!ready || !isMaster) {
    SetLastError(ready ? ERROR_ACCESS_DENIED : ERROR_NOT_READY);
    return FALSE;
  }
  uint32_t slaves[kPimSyncWindowWords];
  int count = CopySlaves(slaves);
  // Sent, so that each slave has let go of the index when this returns.
  for (int i = 0; i < count; ++i) SendMessageW(PimSyncWindow(slaves[i]), g_pimSyncMessages.slaveStop, 0, 0);
  return TRUE;
}

BOOL PimSync::SlaveReload() {
  if (!ready || !isMaster) {
    SetLastError(ready ? ERROR_ACCESS_DENIED : ERROR_NOT_READY);
    return FALSE;
  }
  uint32_t slaves[kPimSyncWindowWords];
  int count = CopySlaves(slaves);
  // Posted: the master must not wait on a slave that is busy reading.
  for (int i = 0; i < count; ++i) PostMessageW(PimSyncWindow(slaves[i]), g_pimSyncMessages.slaveReload, 0, 0);
  return TRUE;
}

BOOL PimSync::UpdateLinkType(DWORD id, DWORD item) {
  if (!ready) {
    SetLastError(ERROR_NOT_READY);
    return FALSE;
  }
  if (isMaster) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  uint32_t master = 0;
  {
    PimSyncLock lock(mutex.Get());
    master = record->words[kPimSyncMasterWord];
  }
  // No master, or this very window in word 0 before it took over: nobody to ask.
  if (master == 0 || master == PimSyncWord(myWindow)) {
    SetLastError(ERROR_NOT_FOUND);
    return FALSE;
  }
  SendMessageW(PimSyncWindow(master), g_pimSyncMessages.updateLinkType, static_cast<WPARAM>(id),
               static_cast<LPARAM>(item));
  return TRUE;
}
