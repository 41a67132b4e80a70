// The window messages by which the product's processes speak to each other. Each is registered by
// its name once, when the library is loaded, so that every process knows the same numbers.
#pragma once

#include <windows.h>

extern const wchar_t kPimSyncChangeToMasterName[];  // "PimSyncChangeToMaster"
extern const wchar_t kPimSyncChangeToSlaveName[];   // "PimSyncChangeToSlave"
extern const wchar_t kPimSyncSlaveReloadName[];     // "PimSyncSlaveReload"
extern const wchar_t kPimSyncSlaveStopName[];       // "PimSyncSlaveStop"
extern const wchar_t kPimSyncUpdateLinkTypeName[];  // "PimSyncUpdateLinkType"

struct PimSyncMessages {
  // Registers the five in the order of the fields.
  PimSyncMessages();
  // Whether `message` is one of the five.
  bool Is(UINT message) const;

  UINT changeToMaster;
  UINT changeToSlave;
  UINT slaveReload;
  UINT slaveStop;
  UINT updateLinkType;  // wParam: contact id; lParam: the contact's default item
};

extern PimSyncMessages g_pimSyncMessages;
