// What the pimtool tests and tool_peer, a process that plays the item beside the tool, agree on.
// tool_peer is started as  tool_peer.exe NAME LOGFILE  with the test's object store, makes a hidden
// window of kPeerClass titled NAME, writes each coordinator message it receives to the shared log as
// "NAME MESSAGE" and reacts to it as the item's data source does. Commands are sent to its window.
#pragma once

#include <windows.h>

namespace toolpeer {

const wchar_t kPeerClass[] = L"PagemarkToolPeer";
// The name the test's contact gets, and that CmdFound looks for.
const wchar_t kLookedFor[] = L"Zzyzx";

enum Command : UINT {
  CmdOpen = WM_APP + 1,  // registers and opens a contact manager: 1 when it worked, + 2 when master
  CmdIsMaster,           // 1 when master
  CmdFound,              // how many contacts the text search for kLookedFor finds
  CmdCount,              // how many contacts the index holds; -1 when it isn't open
  CmdQuit,               // unregisters and leaves
};

}  // namespace toolpeer
