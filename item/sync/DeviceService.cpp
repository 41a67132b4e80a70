#include "sync/DeviceService.h"

#include <service.h>

#include "foundation/Handles.h"
#include "foundation/Str.h"

namespace {

const wchar_t kSystemLibrary[] = L"coredll.dll";
const wchar_t kServiceLibrary[] = L"ZovrixPimServ.dll";
const wchar_t kServicePrefix[] = L"XQM";
const wchar_t kServiceKey[] = L"ZovrixPim";

// The export of the service library that writes the service's key.
typedef DWORD (*SelfRegister)();

bool IsValid(HANDLE handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }

}  // namespace

HANDLE GetServiceHandleXqm() {
  LoadedLibrary system(LoadLibraryW(kSystemLibrary));
  if (system.IsEmpty()) return nullptr;
  PFN_GetServiceHandle getHandle = reinterpret_cast<PFN_GetServiceHandle>(
      reinterpret_cast<void*>(GetProcAddress(system.Get(), "GetServiceHandle")));
  if (!getHandle) return nullptr;
  Str name;
  name.Format(L"%s0:", kServicePrefix);
  return getHandle(name.GetBuffer(0), nullptr, nullptr);
}

BOOL EnsureService() {
  if (IsValid(GetServiceHandleXqm())) return TRUE;
  LoadedLibrary service(LoadLibraryW(kServiceLibrary));
  if (service.IsEmpty()) return FALSE;
  SelfRegister registerService = reinterpret_cast<SelfRegister>(
      reinterpret_cast<void*>(GetProcAddress(service.Get(), "RegisterService")));
  if (!registerService || registerService() == 0) return FALSE;
  // The service manager loads the library itself; this process needed it for the registration only.
  service.Reset();
  LoadedLibrary system(LoadLibraryW(kSystemLibrary));
  if (system.IsEmpty()) return FALSE;
  PFN_ActivateService activate = reinterpret_cast<PFN_ActivateService>(
      reinterpret_cast<void*>(GetProcAddress(system.Get(), "ActivateService")));
  if (!activate) return FALSE;
  return activate(kServiceKey, 0) != nullptr;
}

BOOL ServiceControl(DWORD code, void* inBuffer, DWORD inSize, void* outBuffer, DWORD outSize,
                    DWORD* outBytes) {
  HANDLE handle = GetServiceHandleXqm();
  if (!IsValid(handle)) return FALSE;
  LoadedLibrary system(LoadLibraryW(kSystemLibrary));
  if (system.IsEmpty()) return FALSE;
  PFN_ServiceIoControl control = reinterpret_cast<PFN_ServiceIoControl>(
      reinterpret_cast<void*>(GetProcAddress(system.Get(), "ServiceIoControl")));
  if (!control) return FALSE;
  DWORD bytes = 0;
  BOOL result = control(handle, code, inBuffer, inSize, outBuffer, outSize, &bytes, nullptr);
  if (result && outBytes) *outBytes = bytes;
  return result;
}
