#include "storage/db/DbEnumerator.h"

DbEnumerator::DbEnumerator() : m_handle(INVALID_HANDLE_VALUE) {}

DbEnumerator::~DbEnumerator() { Close(); }

bool DbEnumerator::First(DWORD type) {
  Close();
  m_handle = CeFindFirstDatabase(type);
  return m_handle != INVALID_HANDLE_VALUE;
}

CEOID DbEnumerator::Next() {
  if (m_handle == INVALID_HANDLE_VALUE) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  return CeFindNextDatabase(m_handle);
}

bool DbEnumerator::Close() {
  if (m_handle == INVALID_HANDLE_VALUE) return false;
  CloseHandle(m_handle);
  m_handle = INVALID_HANDLE_VALUE;
  return true;
}
