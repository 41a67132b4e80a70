// What the hand-over tests and handover_peer, a process of the product with a contact manager, agree
// on. handover_peer is started as  handover_peer.exe NAME LOGFILE  on the test's object store, makes a
// hidden window of kHandoverClass titled NAME, writes each coordinator message it receives to the
// shared log as "NAME MESSAGE" and reacts to it as the item's data source does. Commands are sent to
// its window.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace handover {

const wchar_t kHandoverClass[] = L"PagemarkHandoverPeer";
// A name only the test's own contacts have, and which CmdFound looks for.
const wchar_t kLookedFor[] = L"Quillfeather";

enum Command : UINT {
  CmdOpen = WM_APP + 1,  // registers and opens a contact manager: 1 when it worked, + 2 when master
  CmdIsMaster,           // 1 when master
  CmdCount,              // how many contacts the index holds; -1 when it isn't open
  CmdFound,              // how many contacts the text search for kLookedFor finds; -1 when it fails
  CmdDigest,             // Digest of what the search for everyone finds; -1 when it fails
  CmdReport,             // the last open of the index: its state, + 4 when inspected, + 8 when rebuilt
  CmdSpoil,              // the master sets the props store's in-change byte and saves both files
  CmdPause,              // posted: takes no message for wParam milliseconds
  CmdTakeOver,           // asks to become master (PimSync::ChangeToMaster): 1 when it is
  CmdQuit,               // closes, unregisters and leaves
};

// A digest of a set of contact ids, whatever their order: 31 bits, never negative.
inline LRESULT Digest(std::vector<uint32_t> ids) {
  std::sort(ids.begin(), ids.end());
  uint32_t hash = 2166136261u;
  for (uint32_t id : ids) hash = (hash ^ id) * 16777619u;
  return static_cast<LRESULT>(hash & 0x7FFFFFFF);
}

}  // namespace handover
