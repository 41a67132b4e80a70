// Holds the mutex of the shared record for one scope. The wait has no time limit: the record is
// held for a few instructions at a time and never across a message. A mutex left behind by a process
// that died while holding it is taken over all the same.
#pragma once

#include <windows.h>

class PimSyncLock {
 public:
  explicit PimSyncLock(HANDLE mutex) : m_mutex(mutex), m_held(false) {
    DWORD result = WaitForSingleObject(m_mutex, INFINITE);
    m_held = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
  }
  ~PimSyncLock() {
    if (m_held) ReleaseMutex(m_mutex);
  }
  PimSyncLock(const PimSyncLock&) = delete;
  PimSyncLock& operator=(const PimSyncLock&) = delete;

 private:
  HANDLE m_mutex;
  bool m_held;
};
