// Shared pieces of the phone tests: clean settings, contacts made in a line, and the device journal
// read as the device's programs write it (they run beside the test, so their lines come a little later).
#pragma once
#include <windows.h>
#include <string>
#include <vector>
#include "TestPaths.h"
#include "storage/contact/Contact.h"

namespace phonetest {

// Deletes the item's settings tree (the templates, DialupMode, SortType).
void ClearSettings();

// A contact with these fields; empty texts stay empty.
Contact MakeContact(const wchar_t* first, const wchar_t* last, const wchar_t* fileAs = L"",
                    const wchar_t* company = L"");

// The journal lines of `source` written since `mark` (a count of lines read before).
std::vector<std::string> EventsSince(size_t mark, const std::string& source);
// The number of lines in the journal now.
size_t JournalMark();
// Waits up to `timeoutMs` until the journal holds, after `mark`, a line of `source` with `event`.
bool WaitForEvent(size_t mark, const std::string& source, const std::string& event, DWORD timeoutMs = 15000);
// Waits until `source` has written at least `count` lines after `mark`; the lines, in order.
std::vector<std::string> WaitForEvents(size_t mark, const std::string& source, size_t count,
                                       DWORD timeoutMs = 15000);

// Ends the phone program if it runs, and waits for it to be gone.
void StopPhoneProgram();
// Whether the device's programs folder holds `file`.
bool DeviceHas(const wchar_t* file);

std::string Narrow(const std::wstring& text);

// While it lives, closes every visible top-level window of this process that the shell puts up (the
// device's own boxes, such as the one for a file of no known type), and remembers their titles.
class ShellBoxCloser {
 public:
  ShellBoxCloser();
  ~ShellBoxCloser();
  std::vector<std::wstring> Titles();

 private:
  static DWORD WINAPI Run(void* self);
  HANDLE thread;
  HANDLE stop;
  CRITICAL_SECTION lock;
  std::vector<std::wstring> titles;
};

}  // namespace phonetest
