// The product's device service: a library that the platform's service manager hosts, reached under the
// prefix "XQM" with index 0. These calls find it, start it and hand it control calls; the platform's
// calls are looked up in "coredll.dll" each time.
#pragma once
#include <windows.h>

// The running service's handle: INVALID_HANDLE_VALUE when it doesn't run, null when "coredll.dll" or
// its GetServiceHandle can't be had.
HANDLE GetServiceHandleXqm();
// True when the service runs: it already did, or "ZovrixPimServ.dll" registered it and the service
// manager started it.
BOOL EnsureService();
// Hands `code` and the buffers to the running service; `outBytes` (may be null) takes the count of
// bytes written when the call succeeds. The result of the service's call, or 0 when it doesn't run.
BOOL ServiceControl(DWORD code, void* inBuffer, DWORD inSize, void* outBuffer, DWORD outSize,
                    DWORD* outBytes);
