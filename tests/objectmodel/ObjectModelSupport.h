// Shared pieces of the object model tests: the device journal read since a mark, contacts written
// straight into the device's "Contacts Database", the object model's registration, and the calendar.
#pragma once
#include <windows.h>
#include <windbase.h>

#include <string>
#include <vector>

namespace omtest {

// The number of journal lines now.
size_t JournalMark();
// The events of `source` written since `mark`.
std::vector<std::string> EventsSince(size_t mark, const std::string& source);
// Waits until `source` has written at least `count` events since `mark`; the events, in order.
std::vector<std::string> WaitForEvents(size_t mark, const std::string& source, size_t count,
                                       DWORD timeoutMs = 15000);
// How many of `events` begin with `prefix`.
int CountStartingWith(const std::vector<std::string>& events, const std::string& prefix);

// A record in the "Contacts Database" with this file-as name; its record id, 0 on failure.
CEOID WriteContact(const wchar_t* fileAs);

// The object model's class registration (HKCR\CLSID\{...}), taken away for as long as this lives.
class ServerUnregistered {
 public:
  ServerUnregistered();
  ~ServerUnregistered();
  bool Removed() const { return removed; }

 private:
  std::wstring library;
  std::wstring threading;
  bool removed;
};

// Closes the calendar program's window, if it shows, and waits for the program's end in the journal.
void CloseCalendar(size_t mark);

std::string Narrow(const std::wstring& text);

}  // namespace omtest
