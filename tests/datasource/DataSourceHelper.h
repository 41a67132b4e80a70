// A datasource_helper process seen from the test: started by the constructor, which waits (at most
// 30 s) until its window stands; the destructor asks it to leave and ends it if it doesn't in 10 s.
#pragma once
#include <windows.h>

#include <string>
#include <vector>

#include "DataSourceHelperProtocol.h"

namespace dstest {

// The file the helpers write their lines to; cleared by ClearHelperLog.
std::wstring HelperLogPath();
void ClearHelperLog();
std::vector<std::string> HelperLog();

class HelperProcess {
 public:
  explicit HelperProcess(const std::string& name);
  ~HelperProcess();
  HelperProcess(const HelperProcess&) = delete;
  HelperProcess& operator=(const HelperProcess&) = delete;

  // Sends a command and gives its result; a helper that doesn't answer within 60 s fails the test.
  LRESULT Command(UINT command, WPARAM wParam = 0, LPARAM lParam = 0);
  HWND Window() const { return window; }

 private:
  std::string name;
  PROCESS_INFORMATION process;
  HWND window;
};

}  // namespace dstest
