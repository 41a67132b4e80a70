// What a process does when a coordinator, of another process or its own, speaks to its window. The
// window procedure that receives the registered messages hands them on through DispatchSyncMessage;
// the contact data source reacts to them once it is open and has the coordinator.
#pragma once

#include <windows.h>

class SyncMessageHandler {
 public:
  virtual ~SyncMessageHandler() {}
  // "PimSyncChangeToMaster": this process is master now.
  virtual void OnChangeToMaster() = 0;
  // "PimSyncChangeToSlave": another process took over as master.
  virtual void OnChangeToSlave() = 0;
  // "PimSyncSlaveReload": the master changed the index; open it anew.
  virtual void OnSlaveReload() = 0;
  // "PimSyncSlaveStop": let go of the index; the master may replace its files.
  virtual void OnSlaveStop() = 0;
  // "PimSyncUpdateLinkType": a slave asks the master to store a contact's default item.
  virtual void OnUpdateLinkType(DWORD id, DWORD item) = 0;
};

// The handler of this process, or null while nothing reacts: the messages are then taken and ignored.
extern SyncMessageHandler* g_syncMessageHandler;

// If `message` is one of the coordinator's registered messages, hands it to `handler` (null ignores
// it) and gives true; otherwise false, and the caller handles the message.
bool DispatchSyncMessage(SyncMessageHandler* handler, UINT message, WPARAM wParam, LPARAM lParam);
