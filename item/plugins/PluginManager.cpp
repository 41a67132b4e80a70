#include "plugins/PluginManager.h"

PluginManager::PluginManager() : firstCommandId(0), count(0) {}
PluginManager::~PluginManager() {}

BOOL PluginManager::Load(UINT firstId) {
  // LATER(plug-ins): no add-in is read from the registry, so the count stays 0; returns true.
  firstCommandId = firstId;
  count = 0;
  return TRUE;
}

PluginManager* GetPluginManager() {
  static PluginManager manager;
  return &manager;
}
