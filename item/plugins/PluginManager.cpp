#include "plugins/PluginManager.h"

PluginManager::PluginManager() : firstCommandId(0), count(0) {}
PluginManager::~PluginManager() {}

BOOL PluginManager::Load(UINT firstId) {
  firstCommandId = firstId;
  count = 0;
  return TRUE;
}

PluginManager* GetPluginManager() {
  static PluginManager manager;
  return &manager;
}
