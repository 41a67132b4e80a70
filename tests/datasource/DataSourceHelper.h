// A datasource_helper process seen from the test (HelperProcess.h of the shared support): commands
// that get no answer within 60 s fail the test, and the test's own windows are served while the
// helper leaves, since it may still speak to them then.
#pragma once
#include <windows.h>

#include <string>
#include <vector>

#include "DataSourceHelperProtocol.h"
#include "HelperProcess.h"

namespace dstest {

// The file the helpers write their lines to; cleared by ClearHelperLog.
std::wstring HelperLogPath();
void ClearHelperLog();
std::vector<std::string> HelperLog();

class HelperProcess : public helperproc::HelperProcess {
 public:
  explicit HelperProcess(const std::string& name);
};

}  // namespace dstest
