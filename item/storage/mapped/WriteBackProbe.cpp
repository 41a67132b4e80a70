#include "storage/mapped/WriteBackProbe.h"

#ifdef PAGEMARK_TEST_HOOKS

namespace {

WriteBackProbeFunction volatile g_probe = nullptr;

}  // namespace

void SetWriteBackProbe(WriteBackProbeFunction probe) { g_probe = probe; }

void WriteBackProbe(MappedFile* file, DWORD bytesWritten) {
  WriteBackProbeFunction probe = g_probe;
  if (probe != nullptr) probe(file, bytesWritten);
}

#endif
