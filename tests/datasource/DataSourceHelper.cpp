#include "DataSourceHelper.h"

#include "SharedLog.h"
#include "TestPaths.h"

namespace dstest {

namespace {

const helperproc::HelperProgram kDataSourceHelper = {
    L"datasource_helper.exe", dshelper::kDataSourceHelperClass, dshelper::CmdQuit, 60000, true};

}  // namespace

std::wstring HelperLogPath() { return testpaths::TempFolder() + L"pagemark_datasource_test.log"; }

void ClearHelperLog() { DeleteFileW(HelperLogPath().c_str()); }

std::vector<std::string> HelperLog() { return sharedlog::ReadLines(HelperLogPath()); }

HelperProcess::HelperProcess(const std::string& name)
    : helperproc::HelperProcess(kDataSourceHelper, name, HelperLogPath()) {}

}  // namespace dstest
