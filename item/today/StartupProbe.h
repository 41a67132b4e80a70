// Test builds can make the start-up die at a chosen step, to prove that the crash guard catches a
// start that ends half way. The switch is the environment variable PAGEMARK_DIE_AT_STEP; builds
// without PAGEMARK_TEST_HOOKS compile the probe away and ignore it.
#pragma once
#include <windows.h>

#ifdef PAGEMARK_TEST_HOOKS
void StartupProbe(int step);
#else
inline void StartupProbe(int) {}
#endif
