// tool_peer NAME LOGFILE: the item as the coordination and the index see it, for the tests of pimtool
// running beside it (ToolPeerProtocol.h). It leaves on CmdQuit, or after two minutes.
#include "ToolPeerProtocol.h"

#include <windows.h>

#include "ManagerPeer.h"
#include "sync/PimSync.h"

namespace {

LRESULT Carry(HWND window, UINT command) {
  switch (command) {
    case toolpeer::CmdOpen:
      return managerpeer::Open(window);
    case toolpeer::CmdIsMaster:
      return PimSync::GetInstance()->IsMaster() ? 1 : 0;
    case toolpeer::CmdFound:
      return managerpeer::Found(toolpeer::kLookedFor);
    case toolpeer::CmdCount:
      return managerpeer::Count();
    case toolpeer::CmdQuit:
      PostQuitMessage(0);
      return 1;
    default:
      return 0;
  }
}

LRESULT CALLBACK PeerProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (managerpeer::CoordinatorMessage(message, wParam, lParam)) return 0;
  if (message >= toolpeer::CmdOpen && message <= toolpeer::CmdQuit) return Carry(window, message);
  return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

int main() { return managerpeer::Run(toolpeer::kPeerClass, PeerProc); }
