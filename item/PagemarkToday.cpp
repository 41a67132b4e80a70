// Entry of PagemarkToday.dll: the module handle for the log and the resources, and the item's
// cleanup when the host lets the library go.
#include <windows.h>
#include "foundation/DebugUtils.h"
#include "today/PimToday.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      g_hModule = instance;
      SetLogModule(instance);
      DisableThreadLibraryCalls(instance);
      break;
    case DLL_PROCESS_DETACH:
      OnLibraryDetach();
      break;
  }
  return TRUE;
}
