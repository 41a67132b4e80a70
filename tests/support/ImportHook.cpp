#include "ImportHook.h"
#include <string.h>

namespace importhook {

void* Replace(HMODULE module, const char* library, const char* function, void* replacement) {
  BYTE* base = reinterpret_cast<BYTE*>(module);
  IMAGE_DOS_HEADER* dos = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
  IMAGE_NT_HEADERS* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  IMAGE_DATA_DIRECTORY directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (directory.VirtualAddress == 0) return nullptr;
  void* replaced = nullptr;
  for (IMAGE_IMPORT_DESCRIPTOR* entry =
           reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
       entry->Name != 0; ++entry) {
    if (_stricmp(reinterpret_cast<const char*>(base + entry->Name), library) != 0) continue;
    if (entry->OriginalFirstThunk == 0) continue;
    IMAGE_THUNK_DATA* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->OriginalFirstThunk);
    IMAGE_THUNK_DATA* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++slots) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      IMAGE_IMPORT_BY_NAME* name = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
      if (strcmp(reinterpret_cast<const char*>(name->Name), function) != 0) continue;
      DWORD old = 0;
      VirtualProtect(&slots->u1.Function, sizeof slots->u1.Function, PAGE_READWRITE, &old);
      replaced = reinterpret_cast<void*>(slots->u1.Function);
      slots->u1.Function = reinterpret_cast<ULONG_PTR>(replacement);
      VirtualProtect(&slots->u1.Function, sizeof slots->u1.Function, old, &old);
    }
  }
  return replaced;
}

}  // namespace importhook
