// The device tools' calls into the object store (StoreAdmin.h).
#include <new>

#include "Store.h"
#include "StoreAdmin.h"

using namespace objstore;

extern "C" {

BOOL PagemarkStoreCheck(PAGEMARK_STORE_CHECK* check) {
  if (!check || check->cbSize < sizeof(PAGEMARK_STORE_CHECK)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  ApiLock lock;
  DWORD err;
  try {
    err = Store::Get().Check(check);
  } catch (const std::bad_alloc&) {
    err = ERROR_NOT_ENOUGH_MEMORY;
  }
  SetLastError(err);
  return err == ERROR_SUCCESS;
}

BOOL PagemarkStoreUse(LPCWSTR path) {
  ApiLock lock;
  DWORD err = Store::Get().Use(path ? std::wstring(path) : std::wstring());
  SetLastError(err);
  return err == ERROR_SUCCESS;
}

}  // extern "C"
