#include "storage/mapped/WriteBackProbe.h"

#ifdef PAGEMARK_TEST_HOOKS

namespace {

// Set by the test's thread and read by every write-back thread, so only through interlocked
// operations.
void* g_probe = nullptr;

}  // namespace

void SetWriteBackProbe(WriteBackProbeFunction probe) {
  InterlockedExchangePointer(&g_probe, reinterpret_cast<void*>(probe));
}

void WriteBackProbe(MappedFile* file, DWORD bytesWritten) {
  void* current = InterlockedCompareExchangePointer(&g_probe, nullptr, nullptr);
  WriteBackProbeFunction probe = reinterpret_cast<WriteBackProbeFunction>(current);
  if (probe != nullptr) probe(file, bytesWritten);
}

#endif
