// A helper process seen from the test: a program of the build started as  PROGRAM NAME LOGFILE,
// which makes a hidden window of its class titled NAME and carries out the commands sent to that
// window. The constructor waits (at most 30 s) until the window stands; the destructor asks the
// helper to leave and ends it if it doesn't within 10 s.
#pragma once
#include <windows.h>

#include <string>

namespace helperproc {

// What the test knows of one kind of helper.
struct HelperProgram {
  const wchar_t* file;         // in the test program's folder: "sync_helper.exe"
  const wchar_t* windowClass;  // of the helper's window
  UINT quitCommand;            // the command that makes the helper leave
  DWORD answerMs;              // how long a command may take before the test fails
  // Whether the test's own windows are served while a helper leaves, for a helper that may still
  // speak to them then.
  bool serveWhileLeaving;
};

class HelperProcess {
 public:
  HelperProcess(const HelperProgram& program, const std::string& name, const std::wstring& logPath);
  ~HelperProcess();
  HelperProcess(const HelperProcess&) = delete;
  HelperProcess& operator=(const HelperProcess&) = delete;

  // Sends a command and gives its result; a helper that doesn't answer in time fails the test.
  LRESULT Command(UINT command, WPARAM wParam = 0, LPARAM lParam = 0);
  // Ends the process at once, as a crash would, and waits until its window is gone.
  void Kill();

  HWND Window() const { return window; }
  const std::string& Name() const { return name; }

 private:
  void WaitServing();

  HelperProgram program;
  std::string name;
  PROCESS_INFORMATION process;
  HWND window;
};

}  // namespace helperproc
