// PluginManager: the popup of the add-ins' and the shell extensions' commands.
#include "plugins/PluginManager.h"

#include "resources/PluginIds.h"

BOOL PluginManager::BuildMenu(HMENU parent, const Array<CEOID>& ids) {
  HMENU popup = CreatePopupMenu();
  if (!popup) return FALSE;
  for (int i = 0; i < count; ++i)
    AppendMenuW(popup, MF_STRING, firstCommand + static_cast<UINT>(i), plugins[i].text);
  const BOOL shellAdded =
      extensions.Load(popup, firstCommand + static_cast<UINT>(count), firstCommand + kCommandRange, ids);
  if (!shellAdded && count == 0) {
    DestroyMenu(popup);
    return FALSE;
  }
  Str label;
  label.LoadResource(IDS_OUTLOOK_PLUGIN);
  AppendMenuW(parent, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(parent, MF_POPUP | MF_ENABLED, reinterpret_cast<UINT_PTR>(popup), label);
  return TRUE;
}
