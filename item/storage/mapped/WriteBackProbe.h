// Test builds can look into a background write-back after each slice it writes, to stop it, cancel
// it or end the process at a known point of the file. Builds without PAGEMARK_TEST_HOOKS compile the
// probe away.
#pragma once
#include <windows.h>

class MappedFile;

// Called on the write-back thread after each slice, with the bytes of the file written so far.
typedef void (*WriteBackProbeFunction)(MappedFile* file, DWORD bytesWritten);

#ifdef PAGEMARK_TEST_HOOKS
// One probe for the process; null removes it.
void SetWriteBackProbe(WriteBackProbeFunction probe);
void WriteBackProbe(MappedFile* file, DWORD bytesWritten);
#else
inline void WriteBackProbe(MappedFile*, DWORD) {}
#endif
