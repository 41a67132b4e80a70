#include "sync/PimSyncMessages.h"

const wchar_t kPimSyncChangeToMasterName[] = L"PimSyncChangeToMaster";
const wchar_t kPimSyncChangeToSlaveName[] = L"PimSyncChangeToSlave";
const wchar_t kPimSyncSlaveReloadName[] = L"PimSyncSlaveReload";
const wchar_t kPimSyncSlaveStopName[] = L"PimSyncSlaveStop";
const wchar_t kPimSyncUpdateLinkTypeName[] = L"PimSyncUpdateLinkType";

PimSyncMessages g_pimSyncMessages;

PimSyncMessages::PimSyncMessages()
    : changeToMaster(RegisterWindowMessageW(kPimSyncChangeToMasterName)),
      changeToSlave(RegisterWindowMessageW(kPimSyncChangeToSlaveName)),
      slaveReload(RegisterWindowMessageW(kPimSyncSlaveReloadName)),
      slaveStop(RegisterWindowMessageW(kPimSyncSlaveStopName)),
      updateLinkType(RegisterWindowMessageW(kPimSyncUpdateLinkTypeName)) {}

bool PimSyncMessages::Is(UINT message) const {
  // A registration that failed leaves 0, which must never stand for WM_NULL.
  if (message == 0) return false;
  return message == changeToMaster || message == changeToSlave || message == slaveReload ||
         message == slaveStop || message == updateLinkType;
}
