/*
 * The service manager (service.h): libraries that the platform hosts and that programs reach by a
 * three-letter prefix and an index, such as "XQM0:". coredll.dll exports the calls.
 *
 * A service library exports <prefix>_Init, <prefix>_Deinit and <prefix>_IOControl. ActivateService
 * reads the service's key under HKEY_LOCAL_MACHINE\Services: Dll (REG_SZ), Prefix (REG_SZ), Index
 * (REG_DWORD, 0 when absent) and Context (REG_DWORD, 0 when absent).
 */
#ifndef SERVICE_H
#define SERVICE_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

#define SERVICES_KEY L"Services"

HANDLE GetServiceHandle(LPWSTR szPrefix, LPWSTR szDllName, DWORD* pdwDllBuf);
HANDLE RegisterService(LPCWSTR lpszType, DWORD dwIndex, LPCWSTR lpszLib, DWORD dwInfo);
HANDLE ActivateService(LPCWSTR lpszDevKey, DWORD dwClientInfo);
BOOL DeregisterService(HANDLE hDevice);
BOOL ServiceIoControl(HANDLE hService, DWORD dwIoControlCode, LPVOID lpInBuf, DWORD nInBufSize,
                      LPVOID lpOutBuf, DWORD nOutBufSize, LPDWORD lpBytesReturned, LPOVERLAPPED lpOverlapped);

typedef HANDLE (*PFN_GetServiceHandle)(LPWSTR szPrefix, LPWSTR szDllName, DWORD* pdwDllBuf);
typedef HANDLE (*PFN_ActivateService)(LPCWSTR lpszDevKey, DWORD dwClientInfo);
typedef BOOL (*PFN_ServiceIoControl)(HANDLE hService, DWORD dwIoControlCode, LPVOID lpInBuf, DWORD nInBufSize,
                                     LPVOID lpOutBuf, DWORD nOutBufSize, LPDWORD lpBytesReturned,
                                     LPOVERLAPPED lpOverlapped);

/* The entry points of a service library. */
typedef DWORD (*PFN_SERVICE_INIT)(DWORD dwData);
typedef BOOL (*PFN_SERVICE_DEINIT)(DWORD dwData);
typedef BOOL (*PFN_SERVICE_IOCONTROL)(DWORD dwData, DWORD dwCode, PBYTE pBufIn, DWORD dwLenIn, PBYTE pBufOut,
                                      DWORD dwLenOut, PDWORD pdwActualOut);

#ifdef __cplusplus
}
#endif

#endif /* SERVICE_H */
