// The device's service manager: RegisterService loads a service library and starts it under its
// prefix and index ("XQM0:"), ActivateService does the same from the service's key under
// HKEY_LOCAL_MACHINE\Services, GetServiceHandle finds a running service, ServiceIoControl hands a
// control call to it and DeregisterService stops it. The stand-in hosts the services of a process in
// that process. Every start, stop and control call is written to the device journal.
#include <windows.h>

#include <DeviceJournal.h>
#include <service.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace {

constexpr wchar_t kSource[] = L"services";
constexpr int kMaxServices = 16;

struct RunningService {
  bool used;
  wchar_t name[8];    // "XQM0:"
  wchar_t prefix[4];  // "XQM"
  wchar_t library[MAX_PATH];
  HMODULE module;
  DWORD context;
  PFN_SERVICE_DEINIT deinit;
  PFN_SERVICE_IOCONTROL ioControl;
};

RunningService g_services[kMaxServices];
CRITICAL_SECTION g_lock;
INIT_ONCE g_lockOnce = INIT_ONCE_STATIC_INIT;

BOOL CALLBACK InitLock(INIT_ONCE*, void*, void**) {
  InitializeCriticalSection(&g_lock);
  return TRUE;
}

class Locked {
 public:
  Locked() {
    InitOnceExecuteOnce(&g_lockOnce, InitLock, nullptr, nullptr);
    EnterCriticalSection(&g_lock);
  }
  ~Locked() { LeaveCriticalSection(&g_lock); }
};

// The service of a handle, or null when the handle names none that runs.
RunningService* FromHandle(HANDLE handle) {
  for (RunningService& service : g_services)
    if (service.used && handle == static_cast<HANDLE>(&service)) return &service;
  return nullptr;
}

RunningService* FromName(const wchar_t* name) {
  for (RunningService& service : g_services)
    if (service.used && _wcsicmp(service.name, name) == 0) return &service;
  return nullptr;
}

FARPROC Entry(HMODULE module, const wchar_t* prefix, const char* suffix) {
  char name[64];
  snprintf(name, sizeof name, "%ls_%s", prefix, suffix);
  return GetProcAddress(module, name);
}

// Loads the library, calls its <prefix>_Init with `info` and enters it in the table. `request` heads
// the one journal line of the call, success or failure.
HANDLE Start(const wchar_t* request, const wchar_t* prefix, DWORD index, const wchar_t* library, DWORD info) {
  if (!prefix || wcslen(prefix) != 3 || index > 9 || !library || !*library) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  wchar_t name[8];
  _snwprintf(name, 8, L"%ls%lu:", prefix, static_cast<unsigned long>(index));
  name[7] = 0;
  Locked lock;
  if (FromName(name)) {
    DeviceJournalWrite(kSource, L"%ls %ls refused: already running", request, name);
    SetLastError(ERROR_DEVICE_IN_USE);
    return nullptr;
  }
  RunningService* slot = nullptr;
  for (RunningService& service : g_services)
    if (!service.used) {
      slot = &service;
      break;
    }
  if (!slot) {
    SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
  }
  HMODULE module = LoadLibraryW(library);
  if (!module) {
    DWORD error = GetLastError();
    DeviceJournalWrite(kSource, L"%ls %ls failed: %ls doesn't load", request, name, library);
    SetLastError(error);
    return nullptr;
  }
  PFN_SERVICE_INIT init =
      reinterpret_cast<PFN_SERVICE_INIT>(reinterpret_cast<void*>(Entry(module, prefix, "Init")));
  PFN_SERVICE_DEINIT deinit =
      reinterpret_cast<PFN_SERVICE_DEINIT>(reinterpret_cast<void*>(Entry(module, prefix, "Deinit")));
  PFN_SERVICE_IOCONTROL ioControl =
      reinterpret_cast<PFN_SERVICE_IOCONTROL>(reinterpret_cast<void*>(Entry(module, prefix, "IOControl")));
  if (!init || !deinit) {
    FreeLibrary(module);
    DeviceJournalWrite(kSource, L"%ls %ls failed: %ls has no %ls_Init or %ls_Deinit", request, name, library,
                       prefix, prefix);
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
  }
  DWORD context = init(info);
  if (context == 0) {
    FreeLibrary(module);
    DeviceJournalWrite(kSource, L"%ls %ls failed: %ls_Init refused", request, name, prefix);
    SetLastError(ERROR_OPEN_FAILED);
    return nullptr;
  }
  *slot = RunningService();
  slot->used = true;
  wcscpy(slot->name, name);
  wcscpy(slot->prefix, prefix);
  wcsncpy(slot->library, library, MAX_PATH - 1);
  slot->module = module;
  slot->context = context;
  slot->deinit = deinit;
  slot->ioControl = ioControl;
  DeviceJournalWrite(kSource, L"%ls %ls %ls info %lu", request, name, library,
                     static_cast<unsigned long>(info));
  return static_cast<HANDLE>(slot);
}

bool ReadText(HKEY key, const wchar_t* value, std::wstring* text) {
  wchar_t buffer[MAX_PATH] = {0};
  DWORD type = 0, bytes = sizeof buffer - sizeof(wchar_t);
  if (RegQueryValueExW(key, value, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes) !=
          ERROR_SUCCESS ||
      type != REG_SZ)
    return false;
  *text = buffer;
  return true;
}

DWORD ReadNumber(HKEY key, const wchar_t* value, DWORD defaultValue) {
  DWORD number = 0, type = 0, bytes = sizeof number;
  if (RegQueryValueExW(key, value, nullptr, &type, reinterpret_cast<BYTE*>(&number), &bytes) !=
          ERROR_SUCCESS ||
      type != REG_DWORD)
    return defaultValue;
  return number;
}

}  // namespace

extern "C" HANDLE RegisterService(LPCWSTR lpszType, DWORD dwIndex, LPCWSTR lpszLib, DWORD dwInfo) {
  return Start(L"RegisterService", lpszType, dwIndex, lpszLib, dwInfo);
}

extern "C" HANDLE ActivateService(LPCWSTR lpszDevKey, DWORD dwClientInfo) {
  if (!lpszDevKey || !*lpszDevKey) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  std::wstring path = std::wstring(SERVICES_KEY) + L"\\" + lpszDevKey;
  HKEY key = nullptr;
  LONG result = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key);
  if (result != ERROR_SUCCESS) {
    DeviceJournalWrite(kSource, L"ActivateService %ls failed: no key", lpszDevKey);
    SetLastError(static_cast<DWORD>(result));
    return nullptr;
  }
  std::wstring library, prefix;
  bool complete = ReadText(key, L"Dll", &library) && ReadText(key, L"Prefix", &prefix);
  DWORD index = ReadNumber(key, L"Index", 0);
  RegCloseKey(key);
  if (!complete) {
    DeviceJournalWrite(kSource, L"ActivateService %ls failed: no Dll or Prefix", lpszDevKey);
    SetLastError(ERROR_BAD_CONFIGURATION);
    return nullptr;
  }
  std::wstring request = std::wstring(L"ActivateService ") + lpszDevKey + L":";
  return Start(request.c_str(), prefix.c_str(), index, library.c_str(), dwClientInfo);
}

extern "C" HANDLE GetServiceHandle(LPWSTR szPrefix, LPWSTR szDllName, DWORD* pdwDllBuf) {
  if (!szPrefix) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  Locked lock;
  RunningService* service = FromName(szPrefix);
  if (!service) {
    SetLastError(ERROR_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  if (szDllName && pdwDllBuf) {
    DWORD needed = static_cast<DWORD>((wcslen(service->library) + 1) * sizeof(wchar_t));
    if (*pdwDllBuf < needed) {
      *pdwDllBuf = needed;
      SetLastError(ERROR_INSUFFICIENT_BUFFER);
      return INVALID_HANDLE_VALUE;
    }
    wcscpy(szDllName, service->library);
  }
  return static_cast<HANDLE>(service);
}

extern "C" BOOL ServiceIoControl(HANDLE hService, DWORD dwIoControlCode, LPVOID lpInBuf, DWORD nInBufSize,
                                 LPVOID lpOutBuf, DWORD nOutBufSize, LPDWORD lpBytesReturned, LPOVERLAPPED) {
  PFN_SERVICE_IOCONTROL ioControl = nullptr;
  DWORD context = 0;
  wchar_t name[8] = {0};
  {
    Locked lock;
    RunningService* service = FromHandle(hService);
    if (!service) {
      SetLastError(ERROR_INVALID_HANDLE);
      return FALSE;
    }
    ioControl = service->ioControl;
    context = service->context;
    wcscpy(name, service->name);
  }
  DeviceJournalWrite(kSource, L"ServiceIoControl %ls code %lu in %lu bytes out %lu bytes", name,
                     static_cast<unsigned long>(dwIoControlCode), static_cast<unsigned long>(nInBufSize),
                     static_cast<unsigned long>(nOutBufSize));
  if (!ioControl) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return FALSE;
  }
  DWORD actual = 0;
  BOOL done = ioControl(context, dwIoControlCode, static_cast<PBYTE>(lpInBuf), nInBufSize,
                        static_cast<PBYTE>(lpOutBuf), nOutBufSize, &actual);
  if (done && lpBytesReturned) *lpBytesReturned = actual;
  return done;
}

extern "C" BOOL DeregisterService(HANDLE hDevice) {
  RunningService stopped;
  {
    Locked lock;
    RunningService* service = FromHandle(hDevice);
    if (!service) {
      SetLastError(ERROR_INVALID_HANDLE);
      return FALSE;
    }
    stopped = *service;
    *service = RunningService();
  }
  stopped.deinit(stopped.context);
  FreeLibrary(stopped.module);
  DeviceJournalWrite(kSource, L"DeregisterService %ls", stopped.name);
  return TRUE;
}
