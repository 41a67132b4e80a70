// What the sync tests and their helper processes agree on: the helper's window class and the commands
// the test sends to a helper's window. Every helper writes down each coordinator message its window
// receives in the shared log (SharedLog.h).
//
// A helper is started as  sync_helper.exe NAME LOGFILE  and makes a hidden window of the class
// kHelperClass titled NAME. Commands are sent with SendMessageTimeoutW, so the test waits until the
// helper carried them out; the result of the command is the result of the send.
#pragma once

#include <windows.h>

namespace synctest {

const wchar_t kHelperClass[] = L"PagemarkSyncTestHelper";

enum Command : UINT {
  CmdRegister = WM_APP + 1,  // Register(own window): 1 when it worked, + 2 when master
  CmdUnregister,             // Unregister(own window)
  CmdChangeToMaster,         // ChangeToMaster(own window)
  CmdChangeToMasterOther,    // ChangeToMaster(a window that isn't the own one)
  CmdUpdateLinkType,         // UpdateLinkType(wParam, lParam)
  CmdSetFlag,                // SetFlag(wParam, lParam)
  CmdGetFlag,                // GetFlag(wParam)
  CmdIsMaster,               // IsMaster()
  CmdDrain,                  // handles every message already queued for the helper, then 1
  CmdQuit,                   // leaves without unregistering
};

}  // namespace synctest
