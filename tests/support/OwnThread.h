// A body run on a thread of its own, so that the failure stop (or any raised exception) ends that
// thread and not the test. This compiler has no structured exception handling: a vectored handler
// sees the exception first on the watched thread, keeps its record and ends the thread right there;
// the test thread then reads the record.
#pragma once
#include <windows.h>

#include <functional>

namespace ownthread {

struct Outcome {
  bool started = false;   // the thread could be made
  bool finished = false;  // it ended within 20 s; a thread that didn't is ended by force
  DWORD exitCode = 0;     // 1 when the body returned, 2 when an exception ended it
  bool raised = false;
  DWORD code = 0;
  DWORD flags = 0;
  DWORD parameters = 0;
  ULONG_PTR firstParameter = 0;
};

Outcome Run(std::function<void()> body);

// Run, and the test's checks that the thread was made, ended in time and ended the way the record
// says.
Outcome RunChecked(std::function<void()> body);

}  // namespace ownthread
