// PluginManager: running a command of the popup for the selected contacts.
#include "plugins/PluginManager.h"

#include "foundation/Handles.h"
#include "plugins/PimObjectModel.h"

namespace {

const char kCommandExport[] = "CePimCommand";
// The add-ins' item type of contacts.
const int kContactsItemType = 0;
const wchar_t kParentClass[] = L"STATIC";

// A top-level window for the add-in to own its windows by: no height, the width of the working area,
// so that nothing of it shows.
HWND CreatePluginParent() {
  RECT area = {0, 0, GetSystemMetrics(SM_CXSCREEN), 0};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
  return CreateWindowExW(0, kParentClass, L"", WS_POPUP | WS_VISIBLE, area.left, area.top,
                         area.right - area.left, 0, nullptr, nullptr, nullptr, nullptr);
}

}  // namespace

BOOL PluginManager::Invoke(UINT command, const Array<CEOID>& ids) {
  const int index = static_cast<int>(command) - static_cast<int>(firstCommand);
  if (index < 0) return FALSE;
  if (index >= count) return extensions.Invoke(command, ids);
  return RunPlugin(index, ids);
}

BOOL PluginManager::RunPlugin(int index, const Array<CEOID>& ids) {
  LoadedLibrary library(LoadLibraryW(plugins[index].path));
  if (library.IsEmpty()) return FALSE;
  PimCommandProc run = reinterpret_cast<PimCommandProc>(
      reinterpret_cast<void*>(GetProcAddress(library.Get(), kCommandExport)));
  if (!run) return FALSE;
  if (!EnsureObjectModel()) return FALSE;
  HWND parent = CreatePluginParent();
  run(parent, kContactsItemType, static_cast<UINT>(ids.GetSize()), ids.GetData(), nullptr);
  if (parent) DestroyWindow(parent);
  return TRUE;
}

// Add-ins work on the contacts through the platform's object model, which must be logged on first.
BOOL PluginManager::EnsureObjectModel() { return GetPimObjectModel()->Ensure(); }
