// DbEnumerator: walks the databases of the object store, all of them or those of one type.
#pragma once

#include "foundation/Handles.h"

#include <windows.h>
#include <windbase.h>

class DbEnumerator {
 public:
  DbEnumerator();
  virtual ~DbEnumerator();

  // Starts a walk over the databases of `type`, 0 meaning every database. False when the platform
  // gives no enumeration.
  bool First(DWORD type = 0);
  // The next database's oid, or 0 at the end (last error ERROR_NO_MORE_ITEMS) or on failure.
  CEOID Next();
  // Ends the walk; false when none was running.
  bool Close();

 private:
  DbEnumerator(const DbEnumerator&) = delete;
  DbEnumerator& operator=(const DbEnumerator&) = delete;

  // INVALID_HANDLE_VALUE while no walk runs.
  KernelHandle m_handle;
};
