// ContextMenuExtensions: the shell's library reached by name, and the extensions it loads and runs.
#include "plugins/ContextMenuExtensions.h"

#include <objbase.h>

namespace {

const wchar_t kShellLibrary[] = L"Aygshell.dll";
// Where the contacts' extensions are registered with the shell.
const wchar_t kContext[] = L"Contacts";
const wchar_t kMenuClass[] = L"Main_ContextMenu";

template <class Proc>
Proc Find(HMODULE library, const char* name) {
  return reinterpret_cast<Proc>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

}  // namespace

ContextMenuExtensions::ContextMenuExtensions()
    : handle(nullptr), loadExtensions(nullptr), freeExtensions(nullptr), invokeCommand(nullptr),
      state(NotTried), references(1), format(RegisterClipboardFormatW(kItemRefArrayFormat)),
      comStarted(FALSE) {}

// The global instance dies as the process ends, when the extensions' libraries and COM may be gone
// already: what is still loaded then is left to the end of the process.
ContextMenuExtensions::~ContextMenuExtensions() {}

BOOL ContextMenuExtensions::Bind() {
  if (state != NotTried) return state == Ready;
  state = Failed;
  // The library stays loaded for the life of the process: the handles it gives out live in it.
  HMODULE shell = LoadLibraryW(kShellLibrary);
  if (!shell) return FALSE;
  loadExtensions = Find<LoadProc>(shell, "SHLoadContextMenuExtensions");
  freeExtensions = Find<FreeProc>(shell, "SHFreeContextMenuExtensions");
  invokeCommand = Find<InvokeProc>(shell, "SHInvokeContextMenuCommand");
  if (!loadExtensions || !freeExtensions || !invokeCommand) {
    FreeLibrary(shell);
    return FALSE;
  }
  state = Ready;
  return TRUE;
}

BOOL ContextMenuExtensions::Load(HMENU popup, UINT first, UINT last, const Array<CEOID>& ids) {
  if (!Bind()) return FALSE;
  Free();
  selection = ids;
  const HRESULT started = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  comStarted = SUCCEEDED(started);
  const int before = GetMenuItemCount(popup);
  HANDLE loaded = nullptr;
  if (!loadExtensions(this, kContext, kMenuClass, popup, first, last, &loaded) || !loaded) {
    if (comStarted) CoUninitialize();
    comStarted = FALSE;
    return FALSE;
  }
  handle = loaded;
  return GetMenuItemCount(popup) > before;
}

BOOL ContextMenuExtensions::Invoke(UINT command, const Array<CEOID>& ids) {
  if (state != Ready || !handle) return FALSE;
  selection = ids;
  return invokeCommand(nullptr, command, handle);
}

void ContextMenuExtensions::Free() {
  if (handle && freeExtensions) freeExtensions(handle);
  handle = nullptr;
  if (comStarted) CoUninitialize();
  comStarted = FALSE;
}
