#include "sync/SyncMessageHandler.h"

#include "sync/PimSyncMessages.h"

SyncMessageHandler* g_syncMessageHandler = nullptr;

bool DispatchSyncMessage(SyncMessageHandler* handler, UINT message, WPARAM wParam, LPARAM lParam) {
  const PimSyncMessages& messages = g_pimSyncMessages;
  if (!messages.Is(message)) return false;
  if (handler == nullptr) return true;
  if (message == messages.changeToMaster)
    handler->OnChangeToMaster();
  else if (message == messages.changeToSlave)
    handler->OnChangeToSlave();
  else if (message == messages.slaveReload)
    handler->OnSlaveReload();
  else if (message == messages.slaveStop)
    handler->OnSlaveStop();
  else
    handler->OnUpdateLinkType(static_cast<DWORD>(wParam), static_cast<DWORD>(lParam));
  return true;
}
