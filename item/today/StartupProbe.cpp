#include "today/StartupProbe.h"

#ifdef PAGEMARK_TEST_HOOKS
#include <cstdlib>

void StartupProbe(int step) {
  wchar_t value[16];
  DWORD length = GetEnvironmentVariableW(L"PAGEMARK_DIE_AT_STEP", value, 16);
  if (length == 0 || length >= 16) return;
  if (_wtoi(value) != step) return;
  // The process ends here as a crash would end it: no unwinding, nothing written after this point.
  TerminateProcess(GetCurrentProcess(), 0xDEAD);
}
#endif
