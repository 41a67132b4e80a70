// The device service: found, started through its own registration and the service manager, and given
// control calls, on the stand-in device's service manager with ZovrixPimServ.dll.
#include <doctest/doctest.h>
#include <windows.h>

#include <service.h>

#include <cstring>
#include <string>

#include "DeviceTestSupport.h"
#include "TestRegistry.h"
#include "sync/DeviceService.h"

using devicetest::EventsSince;
using devicetest::JournalMark;

namespace {

const std::wstring kServiceKey = L"Services\\ZovrixPim";
const DWORD kEchoCode = 1;
const DWORD kCountCode = 2;

bool Running(HANDLE handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }

void StopService() {
  wchar_t name[] = L"XQM0:";
  HANDLE handle = GetServiceHandle(name, nullptr, nullptr);
  if (Running(handle)) DeregisterService(handle);
}

// Each test starts with the service stopped and unregistered, and leaves it so.
struct NoService {
  NoService() {
    StopService();
    testreg::DeleteTree(HKEY_LOCAL_MACHINE, kServiceKey);
  }
  ~NoService() {
    StopService();
    testreg::DeleteTree(HKEY_LOCAL_MACHINE, kServiceKey);
  }
};

}  // namespace

TEST_SUITE("device service") {
  TEST_CASE_FIXTURE(NoService, "a service that doesn't run has the handle -1 and takes no control calls") {
    CHECK(GetServiceHandleXqm() == INVALID_HANDLE_VALUE);
    size_t mark = JournalMark();
    char out[8] = "keep";
    DWORD bytes = 77;
    CHECK_FALSE(ServiceControl(kEchoCode, const_cast<char*>("abc"), 3, out, sizeof out, &bytes));
    CHECK(bytes == 77);
    CHECK(std::string(out) == "keep");
    CHECK(EventsSince(mark, "services").empty());
    CHECK(EventsSince(mark, "ZovrixPimServ").empty());
  }

  TEST_CASE_FIXTURE(NoService,
                    "without the system library the handle is 0 and the service can't be started") {
    devicetest::MissingLibrary missing(L"coredll.dll");
    REQUIRE(missing.Active());
    CHECK(GetServiceHandleXqm() == nullptr);
    size_t mark = JournalMark();
    CHECK_FALSE(EnsureService());
    CHECK(EventsSince(mark, "services").empty());
    DWORD bytes = 77;
    char out[4];
    CHECK_FALSE(ServiceControl(kCountCode, nullptr, 0, out, sizeof out, &bytes));
    CHECK(bytes == 77);
  }

  TEST_CASE_FIXTURE(NoService, "a service library that won't load gives false and starts nothing") {
    size_t mark = JournalMark();
    {
      devicetest::MissingLibrary missing(L"ZovrixPimServ.dll");
      REQUIRE(missing.Active());
      CHECK_FALSE(EnsureService());
    }
    CHECK(EventsSince(mark, "services").empty());
    CHECK_FALSE(testreg::KeyExists(HKEY_LOCAL_MACHINE, kServiceKey));
    CHECK(GetServiceHandleXqm() == INVALID_HANDLE_VALUE);
  }

  TEST_CASE_FIXTURE(NoService, "a service library without its registration export gives false") {
    devicetest::ReplacedExport missing("RegisterService", nullptr);
    REQUIRE(missing.Active());
    size_t mark = JournalMark();
    CHECK_FALSE(EnsureService());
    CHECK(EventsSince(mark, "services").empty());
    CHECK(GetServiceHandleXqm() == INVALID_HANDLE_VALUE);
  }

  TEST_CASE_FIXTURE(NoService,
                    "EnsureService registers the service and has the service manager start it, once") {
    size_t mark = JournalMark();
    CHECK(EnsureService());
    // The library's registration wrote where the service manager looks.
    DWORD type = 0, index = 99;
    std::wstring text;
    CHECK(testreg::ReadValue(HKEY_LOCAL_MACHINE, kServiceKey, L"Dll", &type, &text, nullptr));
    CHECK(text == L"ZovrixPimServ.dll");
    CHECK(testreg::ReadValue(HKEY_LOCAL_MACHINE, kServiceKey, L"Prefix", &type, &text, nullptr));
    CHECK(text == L"XQM");
    CHECK(testreg::ReadDword(HKEY_LOCAL_MACHINE, kServiceKey, L"Index", &index));
    CHECK(index == 0);

    std::vector<std::string> service = EventsSince(mark, "ZovrixPimServ");
    REQUIRE(service.size() == 2);
    CHECK(service[0] == "RegisterService done");
    CHECK(service[1] == "XQM_Init 0");
    std::vector<std::string> manager = EventsSince(mark, "services");
    REQUIRE(manager.size() == 1);
    CHECK(manager[0] == "ActivateService ZovrixPim: XQM0: ZovrixPimServ.dll info 0");

    HANDLE handle = GetServiceHandleXqm();
    CHECK(Running(handle));
    wchar_t name[] = L"XQM0:";
    CHECK(handle == GetServiceHandle(name, nullptr, nullptr));

    // Running already: no second registration or start.
    mark = JournalMark();
    CHECK(EnsureService());
    CHECK(EventsSince(mark, "ZovrixPimServ").empty());
    CHECK(EventsSince(mark, "services").empty());
    CHECK(GetServiceHandleXqm() == handle);
  }

  TEST_CASE_FIXTURE(NoService, "a service that won't start gives false") {
    // The service manager is pointed at a library that isn't there.
    testreg::WriteString(HKEY_LOCAL_MACHINE, kServiceKey, L"Dll", L"NoSuchService.dll");
    testreg::WriteString(HKEY_LOCAL_MACHINE, kServiceKey, L"Prefix", L"XQM");
    HMODULE system = GetModuleHandleW(L"coredll.dll");
    REQUIRE(system != nullptr);
    PFN_ActivateService activate = reinterpret_cast<PFN_ActivateService>(
        reinterpret_cast<void*>(GetProcAddress(system, "ActivateService")));
    bool found = activate != nullptr;
    REQUIRE(found);
    CHECK(activate(L"ZovrixPim", 0) == nullptr);
    CHECK(GetServiceHandleXqm() == INVALID_HANDLE_VALUE);
    // EnsureService writes the right key first, and then the start succeeds.
    CHECK(EnsureService());
    CHECK(Running(GetServiceHandleXqm()));
  }

  TEST_CASE_FIXTURE(NoService, "control calls reach the service with their buffers") {
    REQUIRE(EnsureService());
    size_t mark = JournalMark();

    char in[] = "hello";
    char out[16] = {0};
    DWORD bytes = 0;
    CHECK(ServiceControl(kEchoCode, in, 5, out, sizeof out, &bytes));
    CHECK(bytes == 5);
    CHECK(std::string(out) == "hello");

    // The count of calls so far comes back in the output buffer; the count of bytes may be left out.
    DWORD count = 0;
    CHECK(ServiceControl(kCountCode, nullptr, 0, &count, sizeof count, nullptr));
    CHECK(count == 2);

    // A failed call leaves the count of bytes alone and keeps the service's error.
    bytes = 77;
    SetLastError(0);
    CHECK_FALSE(ServiceControl(99, in, 2, out, sizeof out, &bytes));
    CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
    CHECK(bytes == 77);
    char small[2];
    CHECK_FALSE(ServiceControl(kEchoCode, in, 5, small, sizeof small, &bytes));
    CHECK(GetLastError() == ERROR_INSUFFICIENT_BUFFER);
    CHECK(bytes == 77);

    std::vector<std::string> service = EventsSince(mark, "ZovrixPimServ");
    REQUIRE(service.size() == 4);
    CHECK(service[0] == "XQM_IOControl code 1 in 5 bytes [68656C6C6F] out 16 bytes");
    CHECK(service[1] == "XQM_IOControl code 2 in 0 bytes [] out 4 bytes");
    CHECK(service[2] == "XQM_IOControl code 99 in 2 bytes [6865] out 16 bytes");
    CHECK(service[3] == "XQM_IOControl code 1 in 5 bytes [68656C6C6F] out 2 bytes");
    std::vector<std::string> manager = EventsSince(mark, "services");
    REQUIRE(manager.size() == 4);
    CHECK(manager[0] == "ServiceIoControl XQM0: code 1 in 5 bytes out 16 bytes");
  }
}
