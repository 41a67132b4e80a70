// What the device's own tools ask of coredll.dll beyond the platform's Ce... calls: the state of the
// store file (and of the last salvage of a damaged one), and which store file a process uses.
// Exported by name with plain C linkage, like the platform's calls.
#pragma once
#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _PAGEMARK_STORE_CHECK {
  DWORD cbSize;  // sizeof(PAGEMARK_STORE_CHECK), set by the caller
  DWORD dwDatabases;
  DWORD dwRecords;
  // A salvage made the store from a damaged file: how many records it recovered and how many it
  // lost, when, and where the damaged file was kept. dwSalvaged 0: the store was never salvaged.
  DWORD dwSalvaged;
  DWORD dwRecordsKept;
  DWORD dwRecordsLost;
  FILETIME ftSalvaged;
  WCHAR szStore[MAX_PATH];
  WCHAR szDamagedCopy[MAX_PATH];
} PAGEMARK_STORE_CHECK;

// Reads the store (salvaging it if it is damaged) and fills *check. FALSE with the last error when the
// store can't be read (ERROR_FILE_CORRUPT: refused, see the store's log).
BOOL PagemarkStoreCheck(PAGEMARK_STORE_CHECK* check);

// From now on this process uses the store file at `path` (NULL: the device's store, or
// PAGEMARK_OBJECT_STORE's). Handles open on the previous store stop working.
BOOL PagemarkStoreUse(LPCWSTR path);

#ifdef __cplusplus
}
#endif
