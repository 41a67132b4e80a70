// Helpers of the sync tests: helper processes driven through their windows, the shared log of what
// their windows received, a view of the shared record of the test's own, and windows of the test
// process that write down the coordinator messages they receive.
#pragma once

#include "SyncTestProtocol.h"

#include <windows.h>

#include <stdint.h>

#include <doctest/doctest.h>

#include <string>
#include <vector>

// Lists of lines as doctest shows them in a failed comparison.
namespace doctest {
template <>
struct StringMaker<std::vector<std::string>> {
  static String convert(const std::vector<std::string>& lines) {
    std::string text = "{";
    for (size_t i = 0; i < lines.size(); ++i) text += (i ? ", \"" : "\"") + lines[i] + "\"";
    return String((text + "}").c_str());
  }
};
}  // namespace doctest

namespace synctest {

// The log that the helpers of this test program write to; ClearLog empties it.
std::wstring LogPath();
void ClearLog();
std::vector<std::string> Log();
// Whether `line` stands in the log, and where; -1 when it doesn't.
int LogIndex(const std::vector<std::string>& lines, const std::string& line);

// One helper process, started by the constructor, which waits (at most 30 s) until its window is
// there. The destructor asks it to leave and ends it if it doesn't within 10 s.
class Helper {
 public:
  explicit Helper(const std::string& name);
  ~Helper();
  Helper(const Helper&) = delete;
  Helper& operator=(const Helper&) = delete;

  // Sends a command and gives its result; a helper that doesn't answer within 30 s fails the test.
  LRESULT Command(UINT command, WPARAM wParam = 0, LPARAM lParam = 0);
  // Register: 1 registered as slave, 3 as master, 0 refused.
  LRESULT Register() { return Command(CmdRegister); }
  LRESULT Unregister() { return Command(CmdUnregister); }
  bool IsMaster() { return Command(CmdIsMaster) != 0; }
  // Lets the helper handle what is queued for it already, such as posted reloads.
  void Drain() { Command(CmdDrain); }
  // Ends the process at once, as a crash would, and waits until its window is gone.
  void Kill();

  HWND Window() const { return m_window; }
  uint32_t Word() const { return static_cast<uint32_t>(reinterpret_cast<UINT_PTR>(m_window)); }
  const std::string& Name() const { return m_name; }

 private:
  std::string m_name;
  PROCESS_INFORMATION m_process;
  HWND m_window;
};

// The shared record through a view of the test's own, made with the names the processes use. The
// constructor zeroes it, so that each test starts from an empty record whatever ran before.
class RecordView {
 public:
  RecordView();
  ~RecordView();
  RecordView(const RecordView&) = delete;
  RecordView& operator=(const RecordView&) = delete;

  uint32_t Word(int index) const;
  void SetWord(int index, uint32_t value);
  // The window words 0 to 9 up to the first 0.
  std::vector<uint32_t> Windows() const;

 private:
  HANDLE m_mutex;
  HANDLE m_mapping;
  uint32_t* m_words;
};

// Windows of the test process that write down each coordinator message they receive.
struct Received {
  HWND window;
  std::string message;  // "ChangeToMaster", "UpdateLinkType <id> <item>", ...
};
HWND MakeListeningWindow();
std::vector<Received>& ReceivedMessages();
// Lets the test's own windows handle the messages queued for them.
void PumpOwnMessages();

inline uint32_t WordOf(HWND window) { return static_cast<uint32_t>(reinterpret_cast<UINT_PTR>(window)); }

}  // namespace synctest
