// tool_peer NAME LOGFILE: the item as the coordination and the index see it, for the tests of pimtool
// running beside it (ToolPeerProtocol.h). It leaves on CmdQuit, or after two minutes.
#include "ToolPeerProtocol.h"

#include <windows.h>

#include "ManagerPeer.h"
#include "sync/PimSync.h"

namespace {

LRESULT Carry(HWND window, UINT command, WPARAM) {
  switch (command) {
    case toolpeer::CmdOpen:
      return managerpeer::Open(window);
    case toolpeer::CmdIsMaster:
      return PimSync::GetInstance()->IsMaster() ? 1 : 0;
    case toolpeer::CmdFound:
      return managerpeer::Found(toolpeer::kLookedFor);
    case toolpeer::CmdCount:
      return managerpeer::Count();
    default:
      return 0;
  }
}

}  // namespace

int main() { return managerpeer::Run(toolpeer::kPeerClass, toolpeer::CmdOpen, toolpeer::CmdQuit, Carry); }
