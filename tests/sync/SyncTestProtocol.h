// What the sync tests and their helper processes agree on: the helper's window class, the commands
// the test sends to a helper's window, and the shared log in which every helper writes down each
// coordinator message its window receives.
//
// A helper is started as  sync_helper.exe NAME LOGFILE  and makes a hidden window of the class
// kHelperClass titled NAME. Commands are sent with SendMessageTimeoutW, so the test waits until the
// helper carried them out; the result of the command is the result of the send.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace synctest {

extern const wchar_t kHelperClass[];
// Serialises the helpers' appends to the log, so that lines stay whole and in the order of events.
extern const wchar_t kLogMutex[];

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

// Appends one line to the log file under the log mutex; false when that took longer than 10 s or
// the file can't be written.
bool AppendLogLine(const std::wstring& path, const std::string& line);
// The lines of the log, without line ends; none when there is no log.
std::vector<std::string> ReadLogLines(const std::wstring& path);

}  // namespace synctest
