#include "storage/db/DbEnumerator.h"

#include "foundation/DebugUtils.h"

#include <wchar.h>

DbEnumerator::DbEnumerator() : m_handle(INVALID_HANDLE_VALUE) {}

DbEnumerator::~DbEnumerator() { Close(); }

bool DbEnumerator::First(DWORD type) {
  Close();
  m_handle.Reset(CeFindFirstDatabase(type));
  if (m_handle.IsEmpty()) {
    wchar_t subject[48];
    _snwprintf(subject, 47, L"databases of type %lu", static_cast<unsigned long>(type));
    subject[47] = 0;
    LogCallFailure(L"CeFindFirstDatabase", GetLastError(), subject, L"DbEnumerator", L"First", __LINE__);
    return false;
  }
  return true;
}

CEOID DbEnumerator::Next() {
  if (m_handle.IsEmpty()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  CEOID oid = CeFindNextDatabase(m_handle.Get());
  // The end of the walk, and a database deleted while it runs, are normal outcomes.
  if (oid == 0 && GetLastError() != ERROR_NO_MORE_ITEMS && GetLastError() != ERROR_KEY_DELETED)
    LogCallFailure(L"CeFindNextDatabase", GetLastError(), L"the walk over the databases", L"DbEnumerator",
                   L"Next", __LINE__);
  return oid;
}

bool DbEnumerator::Close() {
  if (m_handle.IsEmpty()) return false;
  m_handle.Reset(INVALID_HANDLE_VALUE);
  return true;
}
