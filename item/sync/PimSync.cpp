#include "sync/PimSync.h"

PimSync* g_pimSync = nullptr;

PimSync::PimSync() : open(0) {}
PimSync::~PimSync() {}

BOOL PimSync::Open() {
  SetLastError(ERROR_NOT_SUPPORTED);
  return FALSE;
}

BOOL PimSync::Register(HWND) { return open; }
BOOL PimSync::Unregister(HWND) { return open; }
BOOL PimSync::GetFlag(int) { return FALSE; }
void PimSync::SetFlag(int, BOOL) {}
