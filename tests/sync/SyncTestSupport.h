// Helpers of the sync tests: helper processes driven through their windows, the shared log of what
// their windows received, a view of the shared record of the test's own, and windows of the test
// process that write down the coordinator messages they receive.
#pragma once

#include "SyncTestProtocol.h"

#include <windows.h>

#include <stdint.h>

#include <string>
#include <vector>

#include "DoctestVectors.h"
#include "HelperProcess.h"
#include "SyncRecordView.h"

namespace synctest {

inline uint32_t WordOf(HWND window) { return static_cast<uint32_t>(reinterpret_cast<UINT_PTR>(window)); }

// The log that the helpers of this test program write to; ClearLog empties it.
std::wstring LogPath();
void ClearLog();
std::vector<std::string> Log();
// Whether `line` stands in the log, and where; -1 when it doesn't.
int LogIndex(const std::vector<std::string>& lines, const std::string& line);

// One sync_helper process; commands that get no answer within 30 s fail the test.
class Helper : public helperproc::HelperProcess {
 public:
  explicit Helper(const std::string& name);

  // Register: 1 registered as slave, 3 as master, 0 refused.
  LRESULT Register() { return Command(CmdRegister); }
  LRESULT Unregister() { return Command(CmdUnregister); }
  bool IsMaster() { return Command(CmdIsMaster) != 0; }
  // Lets the helper handle what is queued for it already, such as posted reloads.
  void Drain() { Command(CmdDrain); }
  uint32_t Word() const { return WordOf(Window()); }
};

// The shared record through a view of the test's own (SyncRecordView.h).
using RecordView = SyncRecordView;

// Windows of the test process that write down each coordinator message they receive.
struct Received {
  HWND window;
  std::string message;  // "ChangeToMaster", "UpdateLinkType <id> <item>", ...
};
HWND MakeListeningWindow();
std::vector<Received>& ReceivedMessages();
// Lets the test's own windows handle the messages queued for them.
void PumpOwnMessages();

}  // namespace synctest
