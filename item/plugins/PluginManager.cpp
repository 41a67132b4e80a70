#include "plugins/PluginManager.h"

PluginManager::PluginManager() : firstCommandId(0), count(0) {}
PluginManager::~PluginManager() {}

BOOL PluginManager::Load(UINT firstId) {
  // LATER(plug-ins): no add-in is read from the registry, so the count stays 0; returns true.
  firstCommandId = firstId;
  count = 0;
  return TRUE;
}

BOOL PluginManager::BuildMenu(HMENU, const Array<CEOID>&) {
  // LATER(plug-ins): no add-in or shell extension is known, so nothing is appended; returns false.
  return FALSE;
}

BOOL PluginManager::Invoke(UINT, const Array<CEOID>&) {
  // LATER(plug-ins): no add-in or shell extension is known, so no id is theirs; returns false.
  return FALSE;
}

PluginManager* GetPluginManager() {
  static PluginManager manager;
  return &manager;
}
